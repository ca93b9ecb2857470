// Decimal and hexadecimal text to UINTN with EDK II BaseLib behaviour: leading blanks, tabs and
// zeros are skipped, the number ends at the first character that is not a digit of its base, and
// no digit at all gives 0. Overflow asserts and saturates at MAX_UINTN.
#include "Library/BaseLib.h"
#include "Library/DebugLib.h"

namespace {

const UINTN kMaxUintn = ~(UINTN)0;

const CHAR8 *SkipBlanks(const CHAR8 *String) {
  while (*String == ' ' || *String == '\t') {
    String++;
  }
  return String;
}

BOOLEAN HexValue(CHAR8 Char, UINTN *Value) {
  if (Char >= '0' && Char <= '9') {
    *Value = (UINTN)Char - '0';
  } else if (Char >= 'A' && Char <= 'F') {
    *Value = (UINTN)Char - 'A' + 10;
  } else if (Char >= 'a' && Char <= 'f') {
    *Value = (UINTN)Char - 'a' + 10;
  } else {
    return FALSE;
  }
  return TRUE;
}

} // namespace

UINTN AsciiStrDecimalToUintn(const CHAR8 *String) {
  ASSERT(String != nullptr);
  if (String == nullptr) {
    return 0;
  }
  ASSERT(AsciiStrLen(String) <= PCD_MAXIMUM_ASCII_STRING_LENGTH);
  String = SkipBlanks(String);
  while (*String == '0') {
    String++;
  }
  UINTN Result = 0;
  while (*String >= '0' && *String <= '9') {
    UINTN Digit = (UINTN)(*String - '0');
    const BOOLEAN Overflow = Result > (kMaxUintn - Digit) / 10;
    ASSERT(!Overflow);
    if (Overflow) {
      return kMaxUintn;
    }
    Result = Result * 10 + Digit;
    String++;
  }
  return Result;
}

UINTN AsciiStrHexToUintn(const CHAR8 *String) {
  ASSERT(String != nullptr);
  if (String == nullptr) {
    return 0;
  }
  ASSERT(AsciiStrLen(String) <= PCD_MAXIMUM_ASCII_STRING_LENGTH);
  String = SkipBlanks(String);
  BOOLEAN SawZero = FALSE;
  while (*String == '0') {
    SawZero = TRUE;
    String++;
  }
  if (*String == 'x' || *String == 'X') {
    // The prefix is only a prefix when it follows a zero ("0x"); a bare "x" is not a number.
    if (!SawZero) {
      return 0;
    }
    String++;
  }
  UINTN Result = 0;
  UINTN Digit = 0;
  while (HexValue(*String, &Digit)) {
    const BOOLEAN Overflow = Result > ((kMaxUintn - Digit) >> 4);
    ASSERT(!Overflow);
    if (Overflow) {
      return kMaxUintn;
    }
    Result = (Result << 4) + Digit;
    String++;
  }
  return Result;
}
