// HxStringLib: bounded search over text that need not be terminated, and decimal parsing with a
// digit limit or with pointer advance.
#ifndef LIBRARY_HX_STRING_LIB_H_
#define LIBRARY_HX_STRING_LIB_H_

#include "Uefi.h"

CHAR8 *HxMemSearch(const CHAR8 *Buffer, UINTN BufferLength, const CHAR8 *Pattern, UINTN PatternLength);
UINTN HxStrnDecimalToUint(const CHAR8 *String, UINT8 MaxDigits);
EFI_STATUS HxStrDecimalToUintnAdvance(const CHAR8 **String, UINTN *Value);

#endif
