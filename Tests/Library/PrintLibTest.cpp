#include <gtest/gtest.h>

#include <cstring>

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
      {"%04d", 7, "0007"},        {"%05d", 123456, "123456"}, // width never cuts
      {"%x", 0xabcdef, "ABCDEF"}, {"%x", 0, "0"},             // upper case; at least one digit
      {"%4X", 0x5, "0005"},       {"%u", 4294967295u, "4294967295"},
      {"%4d", 12, "  12"},        {"%-4d|", 12, "12  |"},
      {"%-04d|", 12, "12  |"}, // left justification wins over zero padding
  };
  for (const Case &C : Cases) {
    CHAR8 Buffer[64];
    UINTN Count = AsciiSPrint(Buffer, sizeof(Buffer), C.Format, C.Value);
    EXPECT_EQ(Narrow(Buffer), C.Expected) << C.Format;
    EXPECT_EQ(Count, std::string(C.Expected).size()) << C.Format;
  }
}

TEST(AsciiSPrint, SignedLongStringsAndOddTypes) {
  CHAR8 Buffer[96];
  AsciiSPrint(Buffer, sizeof(Buffer), "%d %05d %ld %lx %Lu", -5, -42, (INT64)-9000000000LL,
              (UINT64)0x1122334455667788ULL, (UINT64)18446744073709551615ULL);
  EXPECT_EQ(Narrow(Buffer), "-5 -0042 -9000000000 1122334455667788 18446744073709551615");
  // Without L/l the argument is int-sized: a negative int printed as hex shows 32 bits.
  AsciiSPrint(Buffer, sizeof(Buffer), "%x", -1);
  EXPECT_EQ(Narrow(Buffer), "FFFFFFFF");
  AsciiSPrint(Buffer, sizeof(Buffer), "[%a][%s][%c][%%][%5a][%-5a][%.2a]", A("ab"), W(u"cd"), 'Z', A("x"),
              A("y"), A("xyz"));
  EXPECT_EQ(Narrow(Buffer), "[ab][cd][Z][%][    x][y    ][xy]");
  AsciiSPrint(Buffer, sizeof(Buffer), "%a|%S", (const CHAR8 *)nullptr, (const CHAR16 *)nullptr);
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

// The ends of both name tables and the values just past them.
TEST(AsciiSPrint, StatusNames) {
  const EFI_STATUS Error = (EFI_STATUS)1 << 63;
  struct Case {
    EFI_STATUS Status;
    const char *Expected;
  };
  const Case Cases[] = {
      {0, "Success"},
      {Error | 1, "Load Error"},
      {Error | 14, "Not Found"},
      {Error | 24, "Protocol Error"},
      {Error | 25, "8000000000000019"},
      {Error, "8000000000000000"},
      {1, "Warning Unknown Glyph"},
      {4, "Warning Buffer Too Small"},
      {5, "00000005"},
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

TEST(UnicodeSPrint, SizeInBytesAndSameRulesAsAscii) {
  CHAR16 Buffer[300];
  for (CHAR16 &C : Buffer) {
    C = u'Q';
  }
  std::u16string Long(400, u'x');
  // 512 bytes hold 255 characters and the terminator.
  EXPECT_EQ(UnicodeSPrint(Buffer, 512, W(u"%s"), W(Long.c_str())), 255u);
  EXPECT_EQ(Buffer[255], 0);
  EXPECT_EQ(Buffer[256], u'Q');
  EXPECT_EQ(UnicodeSPrint(Buffer, 6, W(u"%d"), 12345), 2u);
  EXPECT_EQ(Wide(Buffer), u"12");

  UnicodeSPrint(Buffer, sizeof(Buffer), W(u"%a %02X %x %r\n"), A("nic"), 7, 0xabu,
                (EFI_STATUS)((1ULL << 63) | 14));
  EXPECT_EQ(Wide(Buffer), u"nic 07 AB Not Found\r\n");
}

} // namespace
