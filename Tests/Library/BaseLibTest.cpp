#include <gtest/gtest.h>

#include "Library/BaseLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

TEST(AsciiStrToUintn, DecimalAndHexEdgeCases) {
  struct Case {
    UINTN (*Convert)(const CHAR8 *);
    const char *Text;
    UINTN Expected;
  };
  const auto Dec = AsciiStrDecimalToUintn;
  const auto Hex = AsciiStrHexToUintn;
  const Case Cases[] = {
      {Dec, "", 0},
      {Dec, "abc", 0},
      {Dec, "  \t 0042x", 42},
      {Dec, "7 8", 7},
      {Dec, "-5", 0},
      {Dec, "\n5", 0},
      {Dec, "000", 0},
      {Dec, "18446744073709551615", ~(UINTN)0},
      {Dec, "18446744073709551614", ~(UINTN)0 - 1}, // the last digit that still fits
      {Hex, "19", 0x19},
      {Hex, "  00x1f", 0x1F},
      {Hex, "0X19", 0x19},
      {Hex, "x19", 0},
      {Hex, "aBcD", 0xABCD},
      {Hex, "FfA0", 0xFFA0},
      {Hex, "12g4", 0x12},
      {Hex, "0x", 0},
      {Hex, "0xx1", 0},
      {Hex, "FFFFFFFFFFFFFFFF", ~(UINTN)0},
      {Hex, "FFFFFFFFFFFFFFFE", ~(UINTN)0 - 1},
      {Hex, "00000000000000000001", 1},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(C.Convert(A(C.Text)), C.Expected) << C.Text;
  }
}

TEST(AsciiStrToUintn, OverflowSaturatesAndOverflowOrNullAsserts) {
  ExpectAsserts Expect;
  EXPECT_EQ(AsciiStrDecimalToUintn(A("18446744073709551616")), ~(UINTN)0);
  EXPECT_EQ(AsciiStrHexToUintn(A("10000000000000000")), ~(UINTN)0);
  EXPECT_EQ(AsciiStrDecimalToUintn(nullptr), 0u);
  EXPECT_EQ(AsciiStrHexToUintn(nullptr), 0u);
  EXPECT_EQ(Expect.Records().size(), 4u);
  // A string at the platform's length limit converts quietly; one more character asserts in the
  // length count and in the conversion.
  std::string Zeros(1000000, '0');
  EXPECT_EQ(AsciiStrDecimalToUintn(A(Zeros.c_str())) + AsciiStrHexToUintn(A(Zeros.c_str())), 0u);
  EXPECT_EQ(Expect.Records().size(), 4u);
  Zeros.push_back('0');
  AsciiStrDecimalToUintn(A(Zeros.c_str()));
  AsciiStrHexToUintn(A(Zeros.c_str()));
  EXPECT_EQ(Expect.Records().size(), 8u);
}

TEST(AsciiStrCompare, UnsignedBytesAndCaseFolding) {
  EXPECT_EQ(AsciiStrCmp(A("abc"), A("abc")), 0);
  EXPECT_GT(AsciiStrCmp(A("abc"), A("ab")), 0);
  EXPECT_GT(AsciiStrCmp(A("\x80"), A("a")), 0) << "bytes compare unsigned";
  EXPECT_EQ(AsciiStriCmp(A("Enabled"), A("ENABLED")), 0);
  EXPECT_LT(AsciiStriCmp(A("abc"), A("ABD")), 0);
  EXPECT_NE(AsciiStriCmp(A("["), A("{")), 0) << "only letters fold";
  EXPECT_EQ(AsciiStrnCmp(A("abcX"), A("abcY"), 3), 0);
  EXPECT_NE(AsciiStrnCmp(A("abcX"), A("abcY"), 4), 0);
  EXPECT_EQ(AsciiStrnCmp(A("a"), A("b"), 0), 0);
  EXPECT_LT(AsciiStrnCmp(A("ab"), A("abc"), 5), 0);
  EXPECT_LT(AsciiStrCmp(A("ab"), A("abc")), 0);
  EXPECT_EQ(AsciiStriCmp(A("az"), A("AZ")), 0);
}

// Every argument that EDK II documents as asserted is asserted, and nothing else.
TEST(AsciiStrCompare, NullArgumentsOverlongLengthsAndOverlappingCopiesAssert) {
  CHAR8 Buffer[8] = {'a', 'b', 'c', 0, 'Q', 'Q', 'Q', 'Q'};
  ExpectAsserts Expect;
  AsciiStrnCmp(A("a"), A("a"), 1000000);
  AsciiStrCpy(Buffer + 4, Buffer);
  EXPECT_EQ(Expect.Records().size(), 0u);
  // A missing string compares equal to anything, so no caller acts on a difference.
  EXPECT_EQ(AsciiStrCmp(nullptr, A("a")), 0);
  EXPECT_EQ(AsciiStrCmp(A("a"), nullptr), 0);
  EXPECT_EQ(AsciiStriCmp(nullptr, A("a")), 0);
  EXPECT_EQ(AsciiStriCmp(A("a"), nullptr), 0);
  EXPECT_EQ(AsciiStrnCmp(nullptr, A("a"), 1), 0);
  EXPECT_EQ(AsciiStrnCmp(A("a"), nullptr, 1), 0);
  AsciiStrnCmp(A("a"), A("a"), 1000001);
  AsciiStrCpy(nullptr, A("a"));
  AsciiStrCpy(Buffer, nullptr);
  EXPECT_EQ(Expect.Records().size(), 9u);
  AsciiStrCpy(Buffer + 3, Buffer); // its terminator would land on the source's
  EXPECT_EQ(Expect.Records().size(), 10u);
}

TEST(AsciiStrLen, CopyAndTheLengthLimit) {
  CHAR8 Buffer[8] = {'Q', 'Q', 'Q', 'Q', 'Q', 'Q', 'Q', 'Q'};
  EXPECT_EQ(AsciiStrCpy(Buffer, A("abc")), Buffer);
  EXPECT_EQ(Narrow(Buffer), "abc");
  EXPECT_EQ(Buffer[4], 'Q');
  EXPECT_EQ(AsciiStrLen(A("\0abc")), 0u);
  std::string Limit(1000000, 'a'); // the platform's maximum ASCII string length
  EXPECT_EQ(AsciiStrLen(A(Limit.c_str())), 1000000u);
  ExpectAsserts Expect;
  EXPECT_EQ(AsciiStrLen(nullptr), 0u);
  Limit.push_back('a');
  AsciiStrLen(A(Limit.c_str()));
  EXPECT_EQ(Expect.Records().size(), 2u);
}

} // namespace
