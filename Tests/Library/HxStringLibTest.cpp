#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "Library/HxStringLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

// The search reads eight bytes at a time: matches and near-matches on both sides of every word
// boundary, the first of several matches, a first byte that recurs as 0x01-neighbours (the
// zero-byte test flags those too), embedded NULs, and a pattern that would end past the buffer.
TEST(HxMemSearch, WordBoundariesFirstMatchAndBounds) {
  struct Case {
    std::string Buffer;
    std::string Pattern;
    UINTN BufferLength;  // ~0: the whole buffer
    INTN ExpectedOffset; // -1: not found
  };
  const UINTN All = ~(UINTN)0;
  const std::string KeyValue("key\0Value=12\0end", 16);
  const Case Cases[] = {
      {KeyValue, "Value=", All, 4},
      {KeyValue, std::string("\0Val", 4), All, 3},
      {KeyValue, "end", All, 13},
      {KeyValue, "end", 15, -1},
      {KeyValue, "key", 2, -1},
      {KeyValue, "", All, 0},
      {KeyValue, "", 0, 0},
      {"abcdefgXYZ", "XYZ", All, 7},
      {"abcdefghXYZ", "XYZ", All, 8},
      {"abcdefghijklmnoX", "X", All, 15},
      {"abcdefghijklmnoX", "X", 15, -1},
      {"abcdefghijklmnXY", "XYZ", All, -1},
      {"XaXbXcXdXYXYZXYZ", "XYZ", All, 10},
      {std::string("\x01\x00\x01\x00\x01\x00\x01\x00\x01\x00\x00\x01", 12), std::string("\x00\x00", 2), All,
       9},
      {std::string("\x00\x01\x01\x01\x01\x01\x01\x01\x00\x01q", 11), std::string("\x00\x01q", 3), All, 8},
      {"MFG_PfMAC=2\r\nPfMAC=1", "PfMAC=", All, 4},
      {"short", "rt", All, 3},
      {"aaaaaaaaaaaaaaaaaaaab", "aab", All, 18},
      // The only candidate at the first and at the last byte of a word ("x" ^ "y" is 1, which no
      // zero-byte test flags), and a long pattern whose last start is a word boundary.
      {"x" + std::string(15, 'y'), "x", All, 0},
      {std::string(7, 'y') + "x" + std::string(8, 'y'), "x", All, 7},
      {std::string(25, 'a'), "ZZZZZZZZZZ", All, -1},
  };
  for (const Case &C : Cases) {
    const UINTN Length = C.BufferLength != All ? C.BufferLength : C.Buffer.size();
    CHAR8 *Found = HxMemSearch(A(C.Buffer.data()), Length, A(C.Pattern.data()), C.Pattern.size());
    if (C.ExpectedOffset < 0) {
      EXPECT_EQ(Found, nullptr) << C.Buffer << " / " << C.Pattern;
    } else {
      EXPECT_EQ(Found, A(C.Buffer.data()) + C.ExpectedOffset) << C.Buffer << " / " << C.Pattern;
    }
  }
  EXPECT_EQ(HxMemSearch(nullptr, 4, A("a"), 1), nullptr);
  EXPECT_EQ(HxMemSearch(A("abc"), 3, nullptr, 1), nullptr);
}

// A buffer that ends where readable memory ends: no length makes the search read past it.
TEST(HxMemSearch, NeverReadsPastTheBuffer) {
  const long Page = sysconf(_SC_PAGESIZE);
  void *Pages = mmap(nullptr, 2 * Page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(Pages, MAP_FAILED);
  ASSERT_EQ(mprotect((char *)Pages + Page, Page, PROT_NONE), 0);
  CHAR8 *const End = (CHAR8 *)Pages + Page;
  for (UINTN Length = 1; Length <= 48; Length++) {
    CHAR8 *Buffer = End - Length;
    std::memset(Buffer, 'a', Length);
    EXPECT_EQ(HxMemSearch(Buffer, Length, A("Z"), 1), nullptr) << Length;
    End[-1] = 'Z';
    EXPECT_EQ(HxMemSearch(Buffer, Length, A("Z"), 1), End - 1) << Length;
  }
  munmap(Pages, 2 * Page);
}

TEST(HxStrnDecimalToUint, DigitLimitAndFirstNonDigit) {
  struct Case {
    const char *Text;
    UINT8 MaxDigits;
    UINTN Expected;
  };
  const Case Cases[] = {{"123", 2, 12}, {"2090", 4, 2090}, {"7x", 5, 7},
                        {"x7", 5, 0},   {"123", 0, 0},     {" 5", 3, 0}};
  for (const Case &C : Cases) {
    EXPECT_EQ(HxStrnDecimalToUint(A(C.Text), C.MaxDigits), C.Expected) << C.Text;
  }
}

TEST(HxStrDecimalToUintnAdvance, AdvancesPastDigitsOrLeavesEverything) {
  const CHAR8 *Text = A("42 rest");
  const CHAR8 *Cursor = Text;
  UINTN Value = 0;
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_SUCCESS);
  EXPECT_EQ(Value, 42u);
  EXPECT_EQ(Cursor, Text + 2);
  Cursor = Text = A("90x");
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_SUCCESS);
  EXPECT_EQ(Value, 90u);
  EXPECT_EQ(Cursor, Text + 2);
  Cursor = A("18446744073709551615");
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_SUCCESS);
  EXPECT_EQ(Value, ~(UINTN)0);
  EXPECT_EQ(*Cursor, '\0');

  for (const char *Bad : {" 42", "+1", "", "18446744073709551616", "55340232221128654848"}) {
    Cursor = A(Bad);
    Value = 7;
    EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_INVALID_PARAMETER) << Bad;
    EXPECT_EQ(Value, 7u) << Bad;
    EXPECT_EQ(Cursor, A(Bad)) << Bad;
  }
}

TEST(HxStringLib, NullArgumentsAssertUnderTheLibraryName) {
  ExpectAsserts Expect;
  EXPECT_EQ(HxStrnDecimalToUint(nullptr, 3), 0u);
  UINTN Value = 0;
  EXPECT_EQ(HxStrDecimalToUintnAdvance(nullptr, &Value), EFI_INVALID_PARAMETER);
  const CHAR8 *Cursor = A("1");
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, nullptr), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Expect.Records().size(), 3u);
  for (const AssertRecord &Record : Expect.Records()) {
    EXPECT_EQ(Record.File, "HxStringLib");
    EXPECT_EQ(Record.Description, "0");
  }
}

} // namespace
