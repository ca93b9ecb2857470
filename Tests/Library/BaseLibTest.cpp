#include <gtest/gtest.h>

#include "Library/BaseLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

TEST(AsciiStrDecimalToUintn, SkipsBlanksAndZerosAndStopsAtNonDigit) {
  struct Case {
    const char *Text;
    UINTN Expected;
  };
  const Case Cases[] = {
      {"0", 0},      {"", 0},    {"abc", 0}, {"42", 42}, {"  \t 0042x", 42},
      {"7 8", 7},    {"-5", 0},  {"+5", 0},  {"000", 0}, {"18446744073709551615", ~(UINTN)0},
      {"12.34", 12}, {"\n5", 0},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(AsciiStrDecimalToUintn(A(C.Text)), C.Expected) << C.Text;
  }
}

TEST(AsciiStrDecimalToUintn, OverflowAssertsAndSaturates) {
  ExpectAsserts Expect;
  EXPECT_EQ(AsciiStrDecimalToUintn(A("18446744073709551616")), ~(UINTN)0);
  EXPECT_EQ(Expect.Records().size(), 1u);
}

TEST(AsciiStrHexToUintn, PrefixOnlyAfterZero) {
  struct Case {
    const char *Text;
    UINTN Expected;
  };
  const Case Cases[] = {
      {"19", 0x19},     {"0x19", 0x19},
      {"0X19", 0x19},   {"  00x1f", 0x1F},
      {"x19", 0},       {" X19", 0},
      {"aBcD", 0xABCD}, {"12g4", 0x12},
      {"0x", 0},        {"", 0},
      {"\t0", 0},       {"FFFFFFFFFFFFFFFF", ~(UINTN)0},
      {"0xx1", 0},      {"00000000000000000001", 1},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(AsciiStrHexToUintn(A(C.Text)), C.Expected) << C.Text;
  }
  ExpectAsserts Expect;
  EXPECT_EQ(AsciiStrHexToUintn(A("10000000000000000")), ~(UINTN)0);
  EXPECT_EQ(Expect.Records().size(), 1u);
}

TEST(AsciiStrCompare, UnsignedBytesAndCaseFolding) {
  EXPECT_EQ(AsciiStrCmp(A("abc"), A("abc")), 0);
  EXPECT_LT(AsciiStrCmp(A("abc"), A("abd")), 0);
  EXPECT_GT(AsciiStrCmp(A("abc"), A("ab")), 0);
  // Bytes compare unsigned: 0x80 sorts after 'a'.
  EXPECT_GT(AsciiStrCmp(A("\x80"), A("a")), 0);
  EXPECT_EQ(AsciiStriCmp(A("Enabled"), A("ENABLED")), 0);
  EXPECT_LT(AsciiStriCmp(A("abc"), A("ABD")), 0);
  EXPECT_NE(AsciiStriCmp(A("["), A("{")), 0) << "only letters fold";
  EXPECT_EQ(AsciiStrnCmp(A("abcX"), A("abcY"), 3), 0);
  EXPECT_NE(AsciiStrnCmp(A("abcX"), A("abcY"), 4), 0);
  EXPECT_EQ(AsciiStrnCmp(A("a"), A("b"), 0), 0);
  EXPECT_LT(AsciiStrnCmp(A("ab"), A("abc"), 5), 0);
}

TEST(AsciiStrLenAndCpy, CountAndCopy) {
  EXPECT_EQ(AsciiStrLen(A("")), 0u);
  EXPECT_EQ(AsciiStrLen(A("hello")), 5u);
  CHAR8 Buffer[8] = {'Q', 'Q', 'Q', 'Q', 'Q', 'Q', 'Q', 'Q'};
  EXPECT_EQ(AsciiStrCpy(Buffer, A("abc")), Buffer);
  EXPECT_EQ(Narrow(Buffer), "abc");
  EXPECT_EQ(Buffer[4], 'Q');
}

TEST(AsciiStrLen, AssertsOnNullAndOverlongStrings) {
  {
    ExpectAsserts Expect;
    EXPECT_EQ(AsciiStrLen(nullptr), 0u);
    EXPECT_EQ(Expect.Records().size(), 1u);
  }
  std::string Limit(PCD_MAXIMUM_ASCII_STRING_LENGTH, 'a');
  EXPECT_EQ(AsciiStrLen(A(Limit.c_str())), (UINTN)PCD_MAXIMUM_ASCII_STRING_LENGTH);
  {
    ExpectAsserts Expect;
    std::string Over(PCD_MAXIMUM_ASCII_STRING_LENGTH + 1, 'a');
    AsciiStrLen(A(Over.c_str()));
    EXPECT_EQ(Expect.Records().size(), 1u);
  }
}

} // namespace
