// Serial output: raw bytes on the first serial port, no console translation, one line at a time.
#include "ScenarioApp.h"

namespace app {

SERIAL_IO_INTERFACE *gSerial;

namespace {
CHAR8 gLine[256 * 1024];
UINTN gLineLength;
LineSink gSink; // holds nothing: every sink puts into gLine
} // namespace

VOID LineSink::Put(char C) {
  if (gLineLength < sizeof(gLine) - 1) {
    gLine[gLineLength++] = (CHAR8)C;
  }
}

LineWriter BeginLine() {
  gLineLength = 0;
  for (const char *Prefix = "PTDT "; *Prefix != 0; Prefix++) {
    gSink.Put(*Prefix);
  }
  LineWriter Writer(gSink, ptd::HighBytes::Escape);
  Writer.BeginObject();
  return Writer;
}

VOID EndLine(LineWriter &Writer) {
  Writer.EndObject();
  gSink.Put('\r');
  gSink.Put('\n');
  UINTN Size = gLineLength;
  if (gSerial != nullptr) {
    gSerial->Write(gSerial, &Size, gLine);
  }
  gLineLength = 0;
}

VOID Fatal(const char *Message) {
  LineWriter Writer = BeginLine();
  Writer.Key(ptd::key::Error);
  Writer.String(Message);
  EndLine(Writer);
}

} // namespace app
