// The driver's own conversions and copy routines for CLP text. Pure: no global state, no
// allocation, no boot services.
#ifndef DRIVER_STRINGS_H_
#define DRIVER_STRINGS_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"

// Length of Src up to its NUL, never looking at more than Max characters: a reply or field that
// is not terminated within its size is still read safely.
UINTN BoundedLength(const CHAR8 *Src, UINTN Max);
BOOLEAN IsHexDigitChar(UINT8 *Digit, CHAR8 Char);
// Converts the leading run of hexadecimal digits of Str into Buf, little-endian (the last two
// digits land in Buf[0]). Len: in the capacity, out the bytes produced or needed.
EFI_STATUS AsciiHexStringToBuf(UINT8 *Buf, UINTN *Len, const CHAR8 *Str, UINTN *ConvertedStrLen);
VOID ReverseBytes(UINT8 *Buf, UINT16 Len);
// Dest must have room for Max + 1 bytes in the three copy routines.
VOID CopyLine(CHAR8 *Dest, const CHAR8 *Src, UINTN Max);
VOID CopyChars(CHAR8 *Dest, const CHAR8 *Src, UINTN Max);
VOID CopyCharsUpper(CHAR8 *Dest, const CHAR8 *Src, UINTN Max);
EFI_STATUS SplitVersionList(UINT8 Count, const CHAR8 *Src, FUNCTION_SETTINGS *Settings);
VOID ParseDottedVersion(UINT8 *Out, const CHAR8 *Version);

#endif
