// Serial port used by the debug library. The firmware build drives a 16550 UART at I/O base
// 0x2F8 (115200 8N1); the host build hands the bytes to the fake firmware's debug sink.
#ifndef LIBRARY_SERIAL_PORT_LIB_H_
#define LIBRARY_SERIAL_PORT_LIB_H_

#include "Uefi.h"

EFI_STATUS SerialPortInitialize(VOID);
UINTN SerialPortWrite(const UINT8 *Buffer, UINTN NumberOfBytes);

#endif
