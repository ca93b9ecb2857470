#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Library/PrintLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

// One row per rule of the number conversions; the driver's CLP texts depend on each of them.
TEST(AsciiSPrint, NumbersWidthsAndFlags) {
  struct Case {
    const char *Format;
    UINT32 Value;
    const char *Expected;
  };
  const Case Cases[] = {
      {"%04d", 7, "0007"},
      {"%05d", 123456, "123456"}, // width never cuts
      {"%x", 0xabcdef, "ABCDEF"},
      {"%x", 0, "0"}, // upper case; at least one digit
      {"%4X", 0x5, "0005"},
      {"%X", 0xb, "B"}, // "%X" pads with zeros, "%x" with blanks
      {"%4x", 0xb, "   B"},
      {"%9x", 0xb, "        B"},
      {"%10d", 5, "         5"},
      {"%010d", 5, "0000000005"}, // a width after the zero flag
      {"%03d", (UINT32)-7, "-07"},
      {"%4d", (UINT32)-7, "  -7"}, // zeros after the sign, blanks before
      {"%d", 0x80000000u, "-2147483648"},
      {"%x", (UINT32)-1, "FFFFFFFF"}, // the argument is int-sized
      {"ab%", 0, "ab"},               // a lone '%' at the end prints nothing
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[64];
    UINTN Count = AsciiSPrint(Buffer, sizeof(Buffer), C.Format, C.Value);
    EXPECT_EQ(Narrow(Buffer), C.Expected) << C.Format;
    EXPECT_EQ(Count, std::string(C.Expected).size()) << C.Format;
  }
}

TEST(AsciiSPrint, TextAndOtherTypes) {
  CHAR8 Buffer[96];
  AsciiSPrint(Buffer, sizeof(Buffer), "[%a][%5a][%a]|%a", A("ab"), A("x"), A("xyz"), (const CHAR8 *)nullptr);
  EXPECT_EQ(Narrow(Buffer), "[ab][    x][xyz]|<null string>");
  // Any other type character prints itself, padded like any piece, and consumes no argument:
  // the argument after it goes to the next conversion.
  AsciiSPrint(Buffer, sizeof(Buffer), "%q%d|%%|%2%|%s%c%u%d", 3, 4);
  EXPECT_EQ(Narrow(Buffer), "q3|%| %|scu4");
  // Empty strings take no room (the bytes behind their terminator are not text).
  const CHAR8 EmptyNarrow[] = {0, 'z', 0};
  EXPECT_EQ(AsciiSPrint(Buffer, sizeof(Buffer), "[%a]", EmptyNarrow), 2u);
  EXPECT_EQ(Narrow(Buffer), "[]");
}

// The size counts bytes, terminator included: what does not fit is cut, padding too, and nothing is
// written behind the terminator. Too small a buffer is left alone; a missing format asserts.
TEST(AsciiSPrint, BufferSizesAndAMissingFormat) {
  struct Case {
    UINTN Size;
    const char *Expected; // nullptr: the buffer is not touched
  };
  const Case Cases[] = {{0, nullptr}, {1, nullptr}, {2, " "}, {4, "   "}, {12, "         5a"}};
  for (const Case &C : Cases) {
    CHAR8 Buffer[16];
    std::memset(Buffer, 'Q', sizeof(Buffer));
    const UINTN Count = AsciiSPrint(Buffer, C.Size, "%10dab", 5);
    if (C.Expected == nullptr) {
      EXPECT_EQ(Count, 0u) << C.Size;
      EXPECT_EQ(Buffer[0], 'Q') << C.Size;
      continue;
    }
    EXPECT_EQ(Narrow(Buffer), C.Expected) << C.Size;
    EXPECT_EQ(Count, C.Size - 1);
    EXPECT_EQ(Buffer[C.Size], 'Q') << C.Size;
  }
  const Case WideCases[] = {{0, nullptr}, {1, nullptr}, {2, ""}, {3, ""}, {8, "   "}};
  for (const Case &C : WideCases) {
    CHAR16 Buffer[8];
    for (CHAR16 &Char : Buffer) {
      Char = u'Q';
    }
    const UINTN Count = UnicodeSPrint(Buffer, C.Size, W(u"%10dab"), 5);
    if (C.Expected == nullptr) {
      EXPECT_EQ(Count, 0u) << C.Size;
      EXPECT_EQ(Buffer[0], u'Q') << C.Size;
      continue;
    }
    const std::string Text = C.Expected;
    EXPECT_EQ(Wide(Buffer), std::u16string(Text.begin(), Text.end())) << C.Size;
    EXPECT_EQ(Count, Text.size()) << C.Size;
    EXPECT_EQ(Buffer[Text.size() + 1], u'Q') << C.Size;
  }
  ExpectAsserts Expect;
  CHAR8 NarrowText[4] = {'Q', 'Q', 0, 0};
  CHAR16 WideText[4] = {u'Q', u'Q', 0, 0};
  EXPECT_EQ(AsciiSPrint(NarrowText, sizeof(NarrowText), nullptr), 0u);
  EXPECT_EQ(UnicodeSPrint(WideText, sizeof(WideText), nullptr), 0u);
  EXPECT_EQ(NarrowText[0], 0);
  EXPECT_EQ(WideText[0], 0);
  EXPECT_EQ(Expect.Records().size(), 2u);
}

TEST(AsciiSPrint, LineEndsOfTheFormatBecomeCrLf) {
  struct Case {
    const char *Format;
    const char *Expected;
  };
  const Case Cases[] = {
      {"\n_VID/x", "\r\n_VID/x"}, {"a\n\rb", "a\r\nb"}, {"a\r\nb", "a\r\nb"},
      {"a\rb", "a\rb"},           {"\n\n", "\r\n\r\n"},
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[32];
    UINTN Count = AsciiSPrint(Buffer, sizeof(Buffer), C.Format);
    EXPECT_EQ(Narrow(Buffer), C.Expected);
    EXPECT_EQ(Count, std::string(C.Expected).size());
  }
  CHAR8 Buffer[32];
  AsciiSPrint(Buffer, sizeof(Buffer), "%a", A("x\ny"));
  EXPECT_EQ(Narrow(Buffer), "x\ny") << "arguments are not translated";
}

// Every name of both tables, and the values past them, which print as hexadecimal.
TEST(AsciiSPrint, StatusNames) {
  const EFI_STATUS Error = (EFI_STATUS)1 << 63;
  const char *const Errors[] = {"Load Error",       "Invalid Parameter", "Unsupported",   "Bad Buffer Size",
                                "Buffer Too Small", "Not Ready",         "Device Error",  "Write Protected",
                                "Out of Resources", "Volume Corrupt",    "Volume Full",   "No Media",
                                "Media changed",    "Not Found",         "Access Denied", "No Response",
                                "No mapping",       "Time out",          "Not started",   "Already started",
                                "Aborted",          "ICMP Error",        "TFTP Error",    "Protocol Error"};
  const char *const Warnings[] = {"Warning Unknown Glyph", "Warning Delete Failure", "Warning Write Failure",
                                  "Warning Buffer Too Small"};
  std::vector<std::pair<EFI_STATUS, std::string>> Cases = {
      {0, "Success"},
      {Error, "8000000000000000"},
      {Error | 25, "8000000000000019"},
      {Error | 26, "800000000000001A"},
      {Error | 0x1000000, "8000000001000000"},
      {5, "00000005"},
  };
  for (EFI_STATUS Index = 1; Index <= 24; Index++) {
    Cases.emplace_back(Error | Index, Errors[Index - 1]);
  }
  for (EFI_STATUS Index = 1; Index <= 4; Index++) {
    Cases.emplace_back(Index, Warnings[Index - 1]);
  }
  for (const auto &C : Cases) {
    CHAR8 Buffer[64];
    AsciiSPrint(Buffer, sizeof(Buffer), "%r", C.first);
    EXPECT_EQ(Narrow(Buffer), C.second);
  }
}

TEST(UnicodeSPrint, SizeInBytesAndSameRulesAsAscii) {
  CHAR16 Buffer[300];
  for (CHAR16 &C : Buffer) {
    C = u'Q';
  }
  std::string Long(400, 'x');
  // 512 bytes hold 255 characters and the terminator.
  EXPECT_EQ(UnicodeSPrint(Buffer, 512, W(u"%a"), A(Long.c_str())), 255u);
  EXPECT_EQ(Buffer[254], u'x');
  EXPECT_EQ(Buffer[255], 0);
  EXPECT_EQ(Buffer[256], u'Q');
  EXPECT_EQ(UnicodeSPrint(Buffer, 6, W(u"%d"), 12345), 2u);
  EXPECT_EQ(Wide(Buffer), u"12");

  EXPECT_EQ(UnicodeSPrint(Buffer, sizeof(Buffer), W(u"%a %02X %x %r\n"), A("nic"), 7, 0xabu,
                          (EFI_STATUS)((1ULL << 63) | 14)),
            21u);
  EXPECT_EQ(Wide(Buffer), u"nic 07 AB Not Found\r\n");
  // A character beyond ASCII in the format is copied whole, not cut to a byte.
  UnicodeSPrint(Buffer, sizeof(Buffer), W(u"\u20ac%c"));
  EXPECT_EQ(Wide(Buffer), u"\u20acc");
}

} // namespace
