// Subset of EDK II MdePkg DebugLib (BaseDebugLibSerialPort flavour).
// Messages whose level shares no bit with the print mask are compiled in but not printed.
#ifndef LIBRARY_DEBUG_LIB_H_
#define LIBRARY_DEBUG_LIB_H_

#include "Uefi.h"

#define DEBUG_INIT 0x00000001
#define DEBUG_WARN 0x00000002
#define DEBUG_LOAD 0x00000004
#define DEBUG_INFO 0x00000040
#define DEBUG_ERROR 0x80000000

// PcdDebugPrintErrorLevel of this build.
#define DEBUG_PRINT_ERROR_LEVEL 0x80000006u

void DebugPrint(UINTN ErrorLevel, const char *Format, ...);
void DebugAssert(const char *FileName, UINTN LineNumber, const char *Description);

#define DEBUG(Expression)                                                                                    \
  do {                                                                                                       \
    DebugPrint Expression;                                                                                   \
  } while (FALSE)

#define ASSERT(Expression)                                                                                   \
  do {                                                                                                       \
    if (!(Expression)) {                                                                                     \
      DebugAssert(__FILE__, __LINE__, #Expression);                                                          \
    }                                                                                                        \
  } while (FALSE)

#endif
