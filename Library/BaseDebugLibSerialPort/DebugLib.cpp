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

// A variable, as a patchable PCD is: the host build lets a test widen it.
UINTN mDebugPrintErrorLevel = DEBUG_PRINT_ERROR_LEVEL;

void DebugPrint(UINTN ErrorLevel, const char *Format, ...) {
  if ((ErrorLevel & mDebugPrintErrorLevel) == 0 || Format == nullptr) {
    return;
  }
  CHAR8 Buffer[kMaxDebugMessageLength];
  va_list Marker;
  va_start(Marker, Format);
  UINTN Length = AsciiVSPrint(Buffer, sizeof(Buffer), Format, Marker);
  va_end(Marker);
  SerialPortWrite(Buffer, Length);
}

namespace {

// An assertion report goes to the port piece by piece, with no message buffer on the stack (the
// report may come from the deepest frame of a Query); it is cut at the length of a debug message
// all the same.
struct ASSERT_REPORT {
  UINTN Length;

  void Write(const char *Text) {
    UINTN Count = 0;
    while (Text[Count] != 0 && Length + Count < kMaxDebugMessageLength - 1) {
      Count++;
    }
    SerialPortWrite((const UINT8 *)Text, Count);
    Length += Count;
  }

  // Most significant digit first, one at a time.
  void WriteDecimal(UINT64 Value) {
    UINT64 Divisor = 1;
    while (Value / Divisor >= 10) {
      Divisor *= 10;
    }
    for (; Divisor != 0; Divisor /= 10) {
      const char Digit[] = {(char)('0' + Value / Divisor % 10), 0};
      Write(Digit);
    }
  }
};

} // namespace

// The report is put together here rather than with AsciiSPrint: the print library asserts on its
// own arguments, and an assertion report must never be able to re-enter itself.
void DebugAssert(const char *FileName, UINTN LineNumber, const char *Description) {
  ASSERT_REPORT Report = {0};
  Report.Write("ASSERT ");
  Report.Write(FileName != nullptr ? FileName : "<null string>");
  Report.Write("(");
  Report.WriteDecimal((UINT64)LineNumber);
  Report.Write("): ");
  Report.Write(Description != nullptr ? Description : "<null string>");
  Report.Write("\r\n");
  DebugAssertFinish(FileName, LineNumber, Description);
}
