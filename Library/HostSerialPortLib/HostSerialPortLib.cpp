// Host build of the serial port: bytes go to the sink the fake firmware or a test installed.
#include "Library/HostHooks.h"
#include "Library/SerialPortLib.h"

namespace {
HOST_SERIAL_SINK gSerialSink = nullptr;
}

void HostSetSerialSink(HOST_SERIAL_SINK Sink) {
  gSerialSink = Sink;
}

EFI_STATUS SerialPortInitialize(VOID) {
  return EFI_SUCCESS;
}

UINTN SerialPortWrite(const UINT8 *Buffer, UINTN NumberOfBytes) {
  if (Buffer == nullptr) {
    return 0;
  }
  if (gSerialSink != nullptr && NumberOfBytes > 0) {
    gSerialSink(Buffer, NumberOfBytes);
  }
  return NumberOfBytes;
}
