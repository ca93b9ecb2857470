#include <gtest/gtest.h>

#include <cstring>

#include "Library/PrintLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

TEST(AsciiSPrint, WidthsAndFlags) {
  struct Case {
    const char *Format;
    UINT32 Value;
    const char *Expected;
  };
  const Case Cases[] = {
      {"%04d", 7, "0007"},
      {"%03d", 42, "042"},
      {"%05d", 123456, "123456"},
      {"%01d", 0, "0"},
      {"%02x", 0xa, "0A"},
      {"%04x", 0xbeef, "BEEF"},
      {"%02X", 0x5, "05"},
      {"%x", 0xabcdef, "ABCDEF"},
      {"%X", 0x1f, "1F"},
      {"%d", 0, "0"},
      {"%x", 0, "0"},
      {"%u", 4294967295u, "4294967295"},
      {"%4d", 12, "  12"},
      {"%-4d|", 12, "12  |"},
      {"%-04d|", 12, "12  |"},
      {"%08X", 0x1234, "00001234"},
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[64];
    UINTN Count = AsciiSPrint(Buffer, sizeof(Buffer), C.Format, C.Value);
    EXPECT_EQ(Narrow(Buffer), C.Expected) << C.Format;
    EXPECT_EQ(Count, std::string(C.Expected).size()) << C.Format;
  }
}

TEST(AsciiSPrint, SignedAndLongArguments) {
  CHAR8 Buffer[80];
  AsciiSPrint(Buffer, sizeof(Buffer), "%d %05d %ld %lx %Lu", -5, -42, (INT64)-9000000000LL,
              (UINT64)0x1122334455667788ULL, (UINT64)18446744073709551615ULL);
  EXPECT_EQ(Narrow(Buffer), "-5 -0042 -9000000000 1122334455667788 18446744073709551615");
  // Without L/l the argument is int-sized: a negative int printed as hex shows 32 bits.
  AsciiSPrint(Buffer, sizeof(Buffer), "%x", -1);
  EXPECT_EQ(Narrow(Buffer), "FFFFFFFF");
}

TEST(AsciiSPrint, StringsCharactersAndPercent) {
  CHAR8 Buffer[80];
  AsciiSPrint(Buffer, sizeof(Buffer), "[%a][%s][%S][%c][%%][%5a][%-5a][%.2a]", A("ab"), W(u"cd"), W(u"ef"),
              'Z', A("x"), A("y"), A("xyz"));
  EXPECT_EQ(Narrow(Buffer), "[ab][cd][ef][Z][%][    x][y    ][xy]");
  AsciiSPrint(Buffer, sizeof(Buffer), "%a|%s", (const CHAR8 *)nullptr, (const CHAR16 *)nullptr);
  EXPECT_EQ(Narrow(Buffer), "<null string>|<null string>");
  // An unknown type prints as itself and consumes no argument.
  AsciiSPrint(Buffer, sizeof(Buffer), "%q%d", 3);
  EXPECT_EQ(Narrow(Buffer), "q3");
}

TEST(AsciiSPrint, LineEndsOfTheFormatBecomeCrLf) {
  struct Case {
    const char *Format;
    const char *Expected;
  };
  const Case Cases[] = {
      {"\n_VID/x", "\r\n_VID/x"}, {"a\n", "a\r\n"}, {"a\n\rb", "a\r\nb"},
      {"a\r\nb", "a\r\nb"},       {"a\rb", "a\rb"}, {"\n\n", "\r\n\r\n"},
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[32];
    UINTN Count = AsciiSPrint(Buffer, sizeof(Buffer), C.Format);
    EXPECT_EQ(Narrow(Buffer), C.Expected);
    EXPECT_EQ(Count, std::string(C.Expected).size());
  }
  // Arguments are not translated.
  CHAR8 Buffer[32];
  AsciiSPrint(Buffer, sizeof(Buffer), "%a", A("x\ny"));
  EXPECT_EQ(Narrow(Buffer), "x\ny");
}

TEST(AsciiSPrint, StatusNames) {
  const EFI_STATUS Error = (EFI_STATUS)1 << 63;
  struct Case {
    EFI_STATUS Status;
    const char *Expected;
  };
  const Case Cases[] = {
      {0, "Success"},
      {Error | 1, "Load Error"},
      {Error | 2, "Invalid Parameter"},
      {Error | 3, "Unsupported"},
      {Error | 5, "Buffer Too Small"},
      {Error | 13, "Media changed"},
      {Error | 14, "Not Found"},
      {Error | 17, "No mapping"},
      {Error | 18, "Time out"},
      {Error | 24, "Protocol Error"},
      {1, "Warning Unknown Glyph"},
      {4, "Warning Buffer Too Small"},
      {5, "00000005"},
      {0x1234, "00001234"},
      {Error | 25, "8000000000000019"},
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[64];
    AsciiSPrint(Buffer, sizeof(Buffer), "%r", C.Status);
    EXPECT_EQ(Narrow(Buffer), C.Expected);
  }
}

TEST(AsciiSPrint, CapacityCutsAndAlwaysTerminates) {
  struct Case {
    UINTN BufferSize;
    const char *Expected;
    UINTN Count;
  };
  const Case Cases[] = {{0, "", 0},    {1, "", 0},         {2, "a", 1},
                        {4, "abc", 3}, {7, "abc\r\n1", 6}, {64, "abc\r\n12", 7}};
  for (const Case &C : Cases) {
    CHAR8 Buffer[64];
    std::memset(Buffer, 'Q', sizeof(Buffer));
    UINTN Count = AsciiSPrint(Buffer, C.BufferSize, "abc\n%d", 12);
    EXPECT_EQ(Count, C.Count) << C.BufferSize;
    if (C.BufferSize <= 1) {
      EXPECT_EQ(Buffer[0], 'Q') << "nothing may be written";
    } else {
      EXPECT_EQ(Narrow(Buffer), C.Expected);
      EXPECT_EQ(Buffer[C.Count + 1], 'Q') << "no byte after the terminator";
    }
  }
}

TEST(UnicodeSPrint, BufferSizeIsInBytes) {
  CHAR16 Buffer[300];
  for (CHAR16 &C : Buffer) {
    C = u'Q';
  }
  std::u16string Long(400, u'x');
  // 512 bytes hold 255 characters and the terminator.
  UINTN Count = UnicodeSPrint(Buffer, 512, W(u"%s"), W(Long.c_str()));
  EXPECT_EQ(Count, 255u);
  EXPECT_EQ(Buffer[255], 0);
  EXPECT_EQ(Buffer[256], u'Q');

  Count = UnicodeSPrint(Buffer, 6, W(u"%d"), 12345);
  EXPECT_EQ(Count, 2u);
  EXPECT_EQ(Wide(Buffer), u"12");
}

TEST(UnicodeSPrint, SameRulesAsAscii) {
  CHAR16 Buffer[128];
  UnicodeSPrint(Buffer, sizeof(Buffer), W(u"%a %02X %x %r\n"), A("nic"), 7, 0xabu,
                (EFI_STATUS)((1ULL << 63) | 14));
  EXPECT_EQ(Wide(Buffer), u"nic 07 AB Not Found\r\n");
}

} // namespace
