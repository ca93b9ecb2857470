// What happens after a failed assertion has been printed differs between the firmware image
// (stop the processor where a debugger finds it) and the host build (hand over to the test
// harness); each build links exactly one implementation.
#ifndef LIBRARY_BASE_DEBUG_LIB_SERIAL_PORT_INTERNAL_H_
#define LIBRARY_BASE_DEBUG_LIB_SERIAL_PORT_INTERNAL_H_

#include "Uefi.h"

void DebugAssertFinish(const char *FileName, UINTN LineNumber, const char *Description);

// The print mask DebugPrint applies; DEBUG_PRINT_ERROR_LEVEL unless a host test changed it.
extern UINTN mDebugPrintErrorLevel;

#endif
