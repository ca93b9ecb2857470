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

TEST(AsciiHexStringToBuf, LittleEndianStopsAtNonHexAndNeverOverruns) {
  struct Case {
    const char *Text;
    UINTN Len;
    EFI_STATUS Status;
    UINTN LenAfter;
    std::vector<UINT8> Buffer; // all 8 bytes, pre-filled with 0xEE
  };
  const std::vector<UINT8> Untouched(8, 0xEE);
  const Case Cases[] = {
      {"0064", 2, EFI_SUCCESS, 2, {0x64, 0x00, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"ABC,1", 8, EFI_SUCCESS, 2, {0xBC, 0x0A, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"0123456789aBfFg", 8, EFI_SUCCESS, 7, {0xFF, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01, 0xEE}},
      {"9/", 8, EFI_SUCCESS, 1, {0x09, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"0123456789abcd", 6, EFI_BUFFER_TOO_SMALL, 7, Untouched},
      {"Gxyz", 6, EFI_SUCCESS, 0, Untouched},
  };
  for (const Case &C : Cases) {
    UINT8 Buf[8];
    std::memset(Buf, 0xEE, sizeof(Buf));
    UINTN Len = C.Len;
    UINTN Converted = 99;
    EXPECT_EQ(AsciiHexStringToBuf(Buf, &Len, A(C.Text), &Converted), C.Status) << C.Text;
    EXPECT_EQ(Len, C.LenAfter) << C.Text;
    EXPECT_EQ(Bytes(Buf, 8), C.Buffer) << C.Text;
    const bool Converts = C.Status == EFI_SUCCESS && C.LenAfter != 0;
    EXPECT_EQ(Converted, Converts ? std::strspn(C.Text, "0123456789abcdefABCDEF") : 99u) << C.Text;
  }
  UINT8 Buf[3] = {1, 2, 3};
  ReverseBytes(Buf, 1);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{1, 2, 3}));
  ReverseBytes(Buf, 3);
  EXPECT_EQ(Bytes(Buf, 3), (std::vector<UINT8>{3, 2, 1})) << "an odd length keeps its middle";
}

// Dest has Max + 1 bytes plus guard bytes after it, all pre-filled with 'Q'; returns all of them.
std::string RunCopy(void (*Copy)(CHAR8 *, const CHAR8 *, UINTN), const char *Src, UINTN Max) {
  std::vector<CHAR8> Dest(Max + 4, 'Q');
  Copy(Dest.data(), A(Src), Max);
  return std::string(Dest.begin(), Dest.end());
}

TEST(CopyRoutines, StopWhereTheValueEndsAndTerminateAtMax) {
  using std::string;
  const string Forty(40, 'k');
  struct Case {
    void (*Copy)(CHAR8 *, const CHAR8 *, UINTN);
    const char *Src;
    UINTN Max;
    string Expected; // Dest including the guard bytes
  };
  const Case Cases[] = {
      // CopyLine leaves what lies after the line end as it was.
      {CopyLine, "Enabled\r\nmore", 8, string("Enabled\0QQQQ", 12)},
      {CopyLine, Forty.c_str(), 32, string(32, 'k') + string("\0QQQ", 4)},
      {CopyLine, "ab", 5, string("ab\0\0\0QQQQ", 9)},
      {CopyLine, "\nx", 2, string("\0QQQQQ", 6)},
      {CopyChars, "a\r\nb", 6, string("a\r\nb\0\0\0QQQ", 10)},
      {CopyChars, "abcdef", 3, string("abc\0QQQ", 7)},
      {CopyChars, "\0X", 3, string("\0\0\0\0QQQ", 7)}, // nothing after the terminator is read
      {CopyCharsUpper, "iqn.x-Z9", 8, string("IQN.X-Z9\0QQQ", 12)},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(RunCopy(C.Copy, C.Src, C.Max), C.Expected) << C.Src;
  }
  CHAR8 Dest[4] = {'Q', 'Q', 'Q', 'Q'};
  CopyChars(Dest, nullptr, 3);
  EXPECT_EQ(Dest[0], 0);
  Dest[0] = 'Q';
  CopyLine(Dest, nullptr, 3);
  EXPECT_EQ(Dest[0], 0);
  CopyChars(nullptr, A("x"), 3); // must not crash
  CopyLine(nullptr, A("x"), 3);
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
      {3, "1.2.3,4.5.6 7.8", {"1.2.3", "4.5.6", "7.8"}},
      {3, "1.2.3", {"1.2.3", "", ""}},
      {4, "1.0\r\n2.0", {"1.0", "", "2.0", ""}},
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
  EXPECT_EQ(SplitVersionList(FUNCTION_FIRMWARE_VERSIONS + 1, A("1"), &Settings), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Settings.FirmwareVersion[0][0], 0x5A);
}

TEST(ParseDottedVersion, ComponentsToBytesWithinTheWalkAndOutputLimits) {
  struct Case {
    const char *Version;
    std::vector<UINT8> Expected; // first bytes of Out; the rest stays 0xEE
  };
  const Case Cases[] = {
      {"6.07.02", {6, 7, 2}},
      {"300.1", {300 & 0xFF, 1}},
      {"1..3", {1, 0, 3}},
      {"", {0}},
      {"123456789.5", {(UINT8)(1234567 & 0xFF), 5}}, // a component keeps seven characters
      // 32 characters without a terminator: the unfinished last component is not stored.
      {"1.2.3.4.5.6.7.8.9.10.11.12.13.14.15", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}},
      {"1.1.1.1.1.1.1.1.1.1.1.1.1.1.1.1.1", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
      {"....................", std::vector<UINT8>(16, 0)}, // Out holds sixteen components
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
