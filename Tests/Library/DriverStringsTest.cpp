#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "LibraryTestSupport.h"
#include "Strings/DriverStrings.h"

using namespace LibraryTest;

namespace {

std::vector<UINT8> Bytes(const UINT8 *Data, UINTN Count) {
  return std::vector<UINT8>(Data, Data + Count);
}

TEST(IsHexDigitChar, DigitsOfBothCasesOnly) {
  const struct {
    char Char;
    BOOLEAN Valid;
    UINT8 Digit;
  } Cases[] = {{'0', TRUE, 0},      {'9', TRUE, 9},     {'A', TRUE, 10},    {'f', TRUE, 15},
               {'F', TRUE, 15},     {'g', FALSE, 0xEE}, {'G', FALSE, 0xEE}, {' ', FALSE, 0xEE},
               {'\0', FALSE, 0xEE}, {'/', FALSE, 0xEE}};
  for (const auto &C : Cases) {
    UINT8 Digit = 0xEE;
    EXPECT_EQ(IsHexDigitChar(&Digit, (CHAR8)C.Char), C.Valid) << C.Char;
    EXPECT_EQ(Digit, C.Digit) << C.Char;
  }
}

TEST(AsciiHexStringToBuf, LittleEndianAndCapacity) {
  UINT8 Buf[8];
  std::memset(Buf, 0xEE, sizeof(Buf));
  UINTN Len = 2;
  UINTN Converted = 0;
  EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A("0064"), &Converted), EFI_SUCCESS);
  EXPECT_EQ(Len, 2u);
  EXPECT_EQ(Converted, 4u);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{0x64, 0x00, 0xEE}));

  std::memset(Buf, 0xEE, sizeof(Buf));
  Len = 8;
  EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A("ABC,1"), &Converted), EFI_SUCCESS);
  EXPECT_EQ(Len, 2u);
  EXPECT_EQ(Converted, 3u);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{0xBC, 0x0A, 0xEE}));

  std::memset(Buf, 0xEE, sizeof(Buf));
  Len = 6;
  Converted = 99;
  EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A("0123456789abcd"), &Converted), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Len, 7u);
  EXPECT_EQ(Converted, 99u);
  EXPECT_EQ(Bytes(Buf, 8), std::vector<UINT8>(8, 0xEE)) << "nothing written on a short buffer";

  Len = 6;
  EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A("xyz"), nullptr), EFI_SUCCESS);
  EXPECT_EQ(Len, 0u);

  Len = 6;
  EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A("0123456789aB"), nullptr), EFI_SUCCESS);
  EXPECT_EQ(Len, 6u);
  EXPECT_EQ(Bytes(Buf, 6), (std::vector<UINT8>{0xAB, 0x89, 0x67, 0x45, 0x23, 0x01}));
  ReverseBytes(Buf, 6);
  EXPECT_EQ(Bytes(Buf, 6), (std::vector<UINT8>{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB}));
}

TEST(ReverseBytes, ShortLengthsUnchangedOddLengthKeepsMiddle) {
  UINT8 Buf[3] = {1, 2, 3};
  ReverseBytes(Buf, 0);
  ReverseBytes(Buf, 1);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{1, 2, 3}));
  ReverseBytes(Buf, 3);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{3, 2, 1}));
}

// Dest has Max + 1 bytes plus guard bytes after it, all pre-filled with 'Q'.
std::string RunCopy(void (*Copy)(CHAR8 *, const CHAR8 *, UINTN), const char *Src, UINTN Max,
                    std::string *Raw) {
  std::vector<CHAR8> Dest(Max + 4, 'Q');
  Copy(Dest.data(), A(Src), Max);
  *Raw = std::string(Dest.begin(), Dest.end());
  return Narrow(Dest.data());
}

TEST(CopyLine, StopsAtLineEndAndTerminatesAtMax) {
  std::string Raw;
  EXPECT_EQ(RunCopy(CopyLine, "Enabled\r\nmore", 32, &Raw), "Enabled");
  EXPECT_EQ(Raw.substr(0, 9), std::string("Enabled\0Q", 9)) << "bytes after the line end stay as they were";

  std::string Forty(40, 'k');
  EXPECT_EQ(RunCopy(CopyLine, Forty.c_str(), 32, &Raw), std::string(32, 'k'));
  EXPECT_EQ(Raw[33], 'Q');

  EXPECT_EQ(RunCopy(CopyLine, "ab", 5, &Raw), "ab");
  EXPECT_EQ(Raw.substr(0, 6), std::string("ab\0\0\0Q", 6)) << "filled up to Max - 1";

  EXPECT_EQ(RunCopy(CopyLine, "\nx", 5, &Raw), "");
}

TEST(CopyChars, KeepsLineEndsFillsAndTerminates) {
  std::string Raw;
  EXPECT_EQ(RunCopy(CopyChars, "a\r\nb", 8, &Raw), "a\r\nb");
  EXPECT_EQ(Raw.substr(0, 10), std::string("a\r\nb\0\0\0\0\0Q", 10));
  EXPECT_EQ(RunCopy(CopyChars, "abcdef", 3, &Raw), "abc");
  EXPECT_EQ(Raw.substr(0, 5), std::string("abc\0Q", 5));
  EXPECT_EQ(RunCopy(CopyCharsUpper, "iqn.x-Z9", 20, &Raw), "IQN.X-Z9");
  EXPECT_EQ(RunCopy(CopyCharsUpper, "enabled", 4, &Raw), "ENAB");

  CHAR8 Dest[4] = {'Q', 'Q', 'Q', 'Q'};
  CopyChars(Dest, nullptr, 3);
  EXPECT_EQ(Dest[0], 0);
  CopyLine(Dest, nullptr, 3);
  EXPECT_EQ(Dest[0], 0);
  CopyChars(nullptr, A("x"), 3); // must not crash
}

TEST(SplitVersionList, SlotsFromSeparatedText) {
  struct Case {
    UINT8 Count;
    const char *Src;
    std::vector<std::string> Expected;
  };
  const std::string ThirtyOne(31, 'v');
  const std::string LongFirst = ThirtyOne + "xy,z";
  const Case Cases[] = {
      {3, "1.2.3,4.5.6 7.8", {"1.2.3", "4.5.6", "7.8"}}, {3, "1.2.3", {"1.2.3", "", ""}},
      {4, "1.0\r\n2.0", {"1.0", "", "2.0", ""}},         {2, "", {"", ""}},
      {3, LongFirst.c_str(), {ThirtyOne, "xy", "z"}},
  };
  for (const Case &C : Cases) {
    FUNCTION_SETTINGS Settings;
    std::memset(&Settings, 0x5A, sizeof(Settings));
    EXPECT_EQ(SplitVersionList(C.Count, A(C.Src), &Settings), EFI_SUCCESS) << C.Src;
    for (UINTN Slot = 0; Slot < C.Count; Slot++) {
      EXPECT_EQ(Narrow(Settings.FirmwareVersion[Slot]), C.Expected[Slot]) << C.Src << " slot " << Slot;
    }
    for (UINTN Slot = C.Count; Slot < FUNCTION_FIRMWARE_VERSIONS; Slot++) {
      EXPECT_EQ(Settings.FirmwareVersion[Slot][0], 0x5A) << "slots past Count untouched";
    }
  }
  FUNCTION_SETTINGS Settings;
  std::memset(&Settings, 0x5A, sizeof(Settings));
  EXPECT_EQ(SplitVersionList(5, A("1"), &Settings), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Settings.FirmwareVersion[0][0], 0x5A);
}

TEST(ParseDottedVersion, ComponentsToBytes) {
  struct Case {
    const char *Version;
    std::vector<UINT8> Expected; // first bytes of Out; the rest stays 0xEE
  };
  const Case Cases[] = {
      {"6.07.02", {6, 7, 2}},
      {"11.2", {11, 2}},
      {"300.1", {300 & 0xFF, 1}},
      {"1..3", {1, 0, 3}},
      {"", {0}},
      {"123456789.5", {(UINT8)(1234567 & 0xFF), 5}},
      // 32 characters without a terminator: the unfinished last component is not stored.
      {"1.2.3.4.5.6.7.8.9.10.11.12.13.14.15", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}},
      {"1.1.1.1.1.1.1.1.1.1.1.1.1.1.1.1.1", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
  };
  for (const Case &C : Cases) {
    UINT8 Out[20];
    std::memset(Out, 0xEE, sizeof(Out));
    ParseDottedVersion(Out, A(C.Version));
    std::vector<UINT8> Expected = C.Expected;
    Expected.resize(20, 0xEE);
    EXPECT_EQ(Bytes(Out, 20), Expected) << C.Version;
  }
  ParseDottedVersion(nullptr, A("1.2"));
  UINT8 Out[2] = {9, 9};
  ParseDottedVersion(Out, nullptr);
  EXPECT_EQ(Out[0], 9);
}

} // namespace
