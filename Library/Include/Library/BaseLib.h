// Subset of EDK II MdePkg BaseLib: ASCII string length, compare, copy and number conversion,
// with EDK II's documented behaviour (see Library/README.md).
#ifndef LIBRARY_BASE_LIB_H_
#define LIBRARY_BASE_LIB_H_

#include "Uefi.h"

// PcdMaximumAsciiStringLength of this build.
#define PCD_MAXIMUM_ASCII_STRING_LENGTH 1000000

UINTN AsciiStrLen(const CHAR8 *String);
INTN AsciiStrCmp(const CHAR8 *FirstString, const CHAR8 *SecondString);
INTN AsciiStrnCmp(const CHAR8 *FirstString, const CHAR8 *SecondString, UINTN Length);
INTN AsciiStriCmp(const CHAR8 *FirstString, const CHAR8 *SecondString);
CHAR8 *AsciiStrCpy(CHAR8 *Destination, const CHAR8 *Source);
UINTN AsciiStrDecimalToUintn(const CHAR8 *String);
UINTN AsciiStrHexToUintn(const CHAR8 *String);

#endif
