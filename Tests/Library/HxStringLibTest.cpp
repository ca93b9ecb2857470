#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Library/HxStringLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

TEST(HxMemSearch, FindsAcrossEmbeddedNulAndRespectsBounds) {
  const char Buffer[] = "key\0Value=12\0end";
  const UINTN Length = sizeof(Buffer) - 1;
  struct Case {
    const char *Pattern;
    UINTN PatternLength;
    UINTN BufferLength;
    INTN ExpectedOffset; // -1: not found
  };
  const Case Cases[] = {
      {"Value=", 6, Length, 4},
      {"end", 3, Length, 13},
      {"end", 3, Length - 1, -1},
      {"key", 3, Length, 0},
      {"\0Val", 4, Length, 3},
      {"", 0, Length, 0},
      {"", 0, 0, 0},
      {"missing", 7, Length, -1},
      {"key", 3, 2, -1},
  };
  for (const Case &C : Cases) {
    CHAR8 *Found = HxMemSearch(A(Buffer), C.BufferLength, A(C.Pattern), C.PatternLength);
    if (C.ExpectedOffset < 0) {
      EXPECT_EQ(Found, nullptr) << C.Pattern;
    } else {
      EXPECT_EQ(Found, A(Buffer) + C.ExpectedOffset) << C.Pattern;
    }
  }
  EXPECT_EQ(HxMemSearch(nullptr, 4, A("a"), 1), nullptr);
  EXPECT_EQ(HxMemSearch(A("abc"), 3, nullptr, 1), nullptr);
}

TEST(HxStrnDecimalToUint, DigitLimitAndFirstNonDigit) {
  struct Case {
    const char *Text;
    UINT8 MaxDigits;
    UINTN Expected;
  };
  const Case Cases[] = {{"123", 2, 12}, {"7x", 5, 7},    {"x7", 5, 0},
                        {"123", 0, 0},  {"0042", 4, 42}, {" 5", 3, 0}};
  for (const Case &C : Cases) {
    EXPECT_EQ(HxStrnDecimalToUint(A(C.Text), C.MaxDigits), C.Expected) << C.Text;
  }
}

TEST(HxStrDecimalToUintnAdvance, AdvancesPastDigits) {
  const CHAR8 *Text = A("42 rest");
  const CHAR8 *Cursor = Text;
  UINTN Value = 0;
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_SUCCESS);
  EXPECT_EQ(Value, 42u);
  EXPECT_EQ(Cursor, Text + 2);

  const char *const Refused[] = {" 42", "+1", "-1", "", "99999999999999999999", "55340232221128654848"};
  for (const char *Bad : Refused) {
    Cursor = A(Bad);
    Value = 7;
    EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_INVALID_PARAMETER) << Bad;
    EXPECT_EQ(Value, 7u) << Bad;
    EXPECT_EQ(Cursor, A(Bad)) << Bad;
  }

  Cursor = A("18446744073709551615");
  EXPECT_EQ(HxStrDecimalToUintnAdvance(&Cursor, &Value), EFI_SUCCESS);
  EXPECT_EQ(Value, ~(UINTN)0);
  EXPECT_EQ(*Cursor, '\0');
}

TEST(HxStringLib, NullArgumentsAssertUnderTheLibraryName) {
  CaptureSerial Serial;
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
  EXPECT_EQ(Serial.Text().rfind("ASSERT HxStringLib(", 0), 0u);
}

} // namespace

// The search reads eight bytes at a time: matches and near-matches on both sides of every word
// boundary, the first of several matches, a first byte that recurs as 0x01-neighbours (the
// zero-byte test flags those too), and a pattern that would end past the buffer.
TEST(HxMemSearch, WordBoundariesAndFirstMatch) {
  struct Case {
    std::string Buffer;
    std::string Pattern;
    UINTN BufferLength; // 0: the whole buffer
    INTN ExpectedOffset;
  };
  const Case Cases[] = {
      {"abcdefgXYZ", "XYZ", 0, 7},
      {"abcdefghXYZ", "XYZ", 0, 8},
      {"abcdefghijklmnoX", "X", 0, 15},
      {"abcdefghijklmnoX", "X", 15, -1},
      {"abcdefghijklmnXY", "XYZ", 0, -1},
      {"XaXbXcXdXYXYZXYZ", "XYZ", 0, 10},
      {std::string("\x01\x00\x01\x00\x01\x00\x01\x00\x01\x00\x00\x01", 12), std::string("\x00\x00", 2), 0, 9},
      {std::string("\x00\x01\x01\x01\x01\x01\x01\x01\x00\x01q", 11), std::string("\x00\x01q", 3), 0, 8},
      {"PfMAC=1\r\nMFG_PfMAC=2", "PfMAC=", 0, 0},
      {"MFG_PfMAC=2\r\nPfMAC=1", "PfMAC=", 0, 4},
      {"short", "rt", 0, 3},
      {"aaaaaaaaaaaaaaaaaaaab", "aab", 0, 18},
  };
  for (const Case &C : Cases) {
    const UINTN Length = C.BufferLength != 0 ? C.BufferLength : C.Buffer.size();
    CHAR8 *Found = HxMemSearch(A(C.Buffer.data()), Length, A(C.Pattern.data()), C.Pattern.size());
    if (C.ExpectedOffset < 0) {
      EXPECT_EQ(Found, nullptr) << C.Buffer;
    } else {
      EXPECT_EQ(Found, A(C.Buffer.data()) + C.ExpectedOffset) << C.Buffer;
    }
  }
}
