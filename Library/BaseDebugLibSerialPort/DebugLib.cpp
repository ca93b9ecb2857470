// Debug output to the serial port. The message buffer is kept at 256 bytes: DebugPrint runs deep
// inside Query/Response on the adapter driver's stack, and longer messages are cut, not lost in
// a crash.
#include "Library/DebugLib.h"
#include "Library/PrintLib.h"
#include "Library/SerialPortLib.h"
#include "DebugLibInternal.h"

namespace {
const UINTN kMaxDebugMessageLength = 256;
}

void DebugPrint(UINTN ErrorLevel, const char *Format, ...) {
  if ((ErrorLevel & DEBUG_PRINT_ERROR_LEVEL) == 0 || Format == nullptr) {
    return;
  }
  CHAR8 Buffer[kMaxDebugMessageLength];
  va_list Marker;
  va_start(Marker, Format);
  UINTN Length = AsciiVSPrint(Buffer, sizeof(Buffer), Format, Marker);
  va_end(Marker);
  SerialPortWrite(Buffer, Length);
}

void DebugAssert(const char *FileName, UINTN LineNumber, const char *Description) {
  CHAR8 Buffer[kMaxDebugMessageLength];
  UINTN Length = AsciiSPrint(Buffer, sizeof(Buffer), "ASSERT %a(%Lu): %a\n", (const CHAR8 *)FileName,
                             (UINT64)LineNumber, (const CHAR8 *)Description);
  SerialPortWrite(Buffer, Length);
  DebugAssertFinish(FileName, LineNumber, Description);
}
