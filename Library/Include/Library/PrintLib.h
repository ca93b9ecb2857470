// Subset of EDK II MdePkg BasePrintLib. Differences from C's printf that matter:
// Formats are `const char *` (gnu-efi's CHAR8 is unsigned char, so EDK II-style literals would
// need a cast at every call); the output and "%a" arguments are CHAR8 text.
// "%x" prints upper-case digits, "%X" is "%x" zero-padded, a "\n" of the FORMAT becomes "\r\n",
// BufferSize is in bytes and includes the terminator, "%r" prints an EFI_STATUS by name.
// Only "%a", "%d", "%x", "%X" and "%r" with a '0' flag and a width are formatted; any other type
// character prints itself (see Library/README.md).
#ifndef LIBRARY_PRINT_LIB_H_
#define LIBRARY_PRINT_LIB_H_

#include "Uefi.h"
#include <stdarg.h>

UINTN AsciiSPrint(CHAR8 *StartOfBuffer, UINTN BufferSize, const char *FormatString, ...);
UINTN AsciiVSPrint(CHAR8 *StartOfBuffer, UINTN BufferSize, const char *FormatString, va_list Marker);
UINTN UnicodeSPrint(CHAR16 *StartOfBuffer, UINTN BufferSize, const CHAR16 *FormatString, ...);
UINTN UnicodeVSPrint(CHAR16 *StartOfBuffer, UINTN BufferSize, const CHAR16 *FormatString, va_list Marker);

#endif
