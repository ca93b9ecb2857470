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

// PcdDebugPropertyMask. Whether assertions are compiled in is the platform's choice: a release
// image leaves DEBUG_PROPERTY_DEBUG_ASSERT_ENABLED clear and carries neither the checks nor their
// texts. A build that does not choose keeps them (the host build, where a failed assertion fails
// the test).
#define DEBUG_PROPERTY_DEBUG_ASSERT_ENABLED 0x01
#ifndef PCD_DEBUG_PROPERTY_MASK
#define PCD_DEBUG_PROPERTY_MASK DEBUG_PROPERTY_DEBUG_ASSERT_ENABLED
#endif
#define DebugAssertEnabled() ((PCD_DEBUG_PROPERTY_MASK & DEBUG_PROPERTY_DEBUG_ASSERT_ENABLED) != 0)

void DebugPrint(UINTN ErrorLevel, const char *Format, ...);
void DebugAssert(const char *FileName, UINTN LineNumber, const char *Description);

#define DEBUG(Expression)                                                                                    \
  do {                                                                                                       \
    DebugPrint Expression;                                                                                   \
  } while (FALSE)

#define ASSERT(Expression)                                                                                   \
  do {                                                                                                       \
    if (DebugAssertEnabled() && !(Expression)) {                                                             \
      DebugAssert(__FILE__, __LINE__, #Expression);                                                          \
    }                                                                                                        \
  } while (FALSE)

#endif
