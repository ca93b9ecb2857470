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

namespace {

// Appends Text to the message, keeping the last byte of the buffer for the terminator.
void AppendText(CHAR8 *Buffer, UINTN *Length, const char *Text) {
  for (; *Text != 0 && *Length < kMaxDebugMessageLength - 1; Text++) {
    Buffer[(*Length)++] = (CHAR8)*Text;
  }
}

void AppendDecimal(CHAR8 *Buffer, UINTN *Length, UINT64 Value) {
  char Digits[21];
  UINTN Count = 0;
  do {
    Digits[Count++] = (char)('0' + Value % 10);
    Value /= 10;
  } while (Value != 0);
  char Text[21];
  for (UINTN Index = 0; Index < Count; Index++) {
    Text[Index] = Digits[Count - 1 - Index];
  }
  Text[Count] = 0;
  AppendText(Buffer, Length, Text);
}

} // namespace

// The report is put together here rather than with AsciiSPrint: the print library asserts on its
// own arguments, and an assertion report must never be able to re-enter itself.
void DebugAssert(const char *FileName, UINTN LineNumber, const char *Description) {
  CHAR8 Buffer[kMaxDebugMessageLength];
  UINTN Length = 0;
  AppendText(Buffer, &Length, "ASSERT ");
  AppendText(Buffer, &Length, FileName != nullptr ? FileName : "<null string>");
  AppendText(Buffer, &Length, "(");
  AppendDecimal(Buffer, &Length, (UINT64)LineNumber);
  AppendText(Buffer, &Length, "): ");
  AppendText(Buffer, &Length, Description != nullptr ? Description : "<null string>");
  AppendText(Buffer, &Length, "\r\n");
  Buffer[Length] = 0;
  SerialPortWrite(Buffer, Length);
  DebugAssertFinish(FileName, LineNumber, Description);
}
