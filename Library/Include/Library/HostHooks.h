// Host build only: where the library's serial output and failed assertions go. The fake firmware
// and the tests install these; the firmware image has neither.
#ifndef LIBRARY_HOST_HOOKS_H_
#define LIBRARY_HOST_HOOKS_H_

#include "Uefi.h"

// Receives every byte written to the serial port. NULL drops the output.
typedef void (*HOST_SERIAL_SINK)(const UINT8 *Bytes, UINTN Count);
void HostSetSerialSink(HOST_SERIAL_SINK Sink);

// Called after a failed assertion has been printed. NULL restores the default handler, which
// prints to stderr and aborts. A handler that returns lets the caller continue past the
// assertion; every library routine copes with that.
typedef void (*HOST_ASSERT_HANDLER)(const CHAR8 *File, UINTN Line, const CHAR8 *Description);
void HostSetAssertHandler(HOST_ASSERT_HANDLER Handler);

// The debug library's print mask, as a platform would patch it; DEBUG_PRINT_ERROR_LEVEL at start.
void HostSetDebugPrintErrorLevel(UINTN Level);

#endif
