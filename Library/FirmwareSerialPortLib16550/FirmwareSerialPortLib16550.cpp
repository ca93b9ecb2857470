// 16550 UART at I/O base 0x2F8 (COM2), 115200 baud, 8 data bits, no parity, 1 stop bit. Output
// only; each byte waits for the transmit holding register to empty.
#include "Library/SerialPortLib.h"

namespace {

const UINT16 kBase = 0x2F8;
const UINT16 kThr = 0; // transmit holding register (DLAB = 0)
const UINT16 kDll = 0; // divisor latch low (DLAB = 1)
const UINT16 kDlm = 1; // divisor latch high (DLAB = 1)
const UINT16 kIer = 1;
const UINT16 kFcr = 2;
const UINT16 kLcr = 3;
const UINT16 kMcr = 4;
const UINT16 kLsr = 5;

const UINT8 kLcrDlab = 0x80;
const UINT8 kLcr8N1 = 0x03;
const UINT8 kLsrThre = 0x20;
// 1.8432 MHz input clock / 16 / 115200 baud.
const UINT16 kDivisor = 1;
// A missing or wedged UART must not hang the boot: give up on a byte after this many polls.
const UINTN kPollLimit = 1000000;

inline void Out8(UINT16 Port, UINT8 Value) {
  __asm__ __volatile__("outb %0, %1" : : "a"(Value), "Nd"(Port));
}

inline UINT8 In8(UINT16 Port) {
  UINT8 Value;
  __asm__ __volatile__("inb %1, %0" : "=a"(Value) : "Nd"(Port));
  return Value;
}

} // namespace

EFI_STATUS SerialPortInitialize(VOID) {
  Out8(kBase + kLcr, kLcrDlab);
  Out8(kBase + kDll, (UINT8)(kDivisor & 0xFF));
  Out8(kBase + kDlm, (UINT8)(kDivisor >> 8));
  Out8(kBase + kLcr, kLcr8N1);
  Out8(kBase + kIer, 0x00);
  Out8(kBase + kFcr, 0x07); // enable and clear both FIFOs
  Out8(kBase + kMcr, 0x03); // DTR and RTS
  return EFI_SUCCESS;
}

UINTN SerialPortWrite(const UINT8 *Buffer, UINTN NumberOfBytes) {
  if (Buffer == nullptr) {
    return 0;
  }
  for (UINTN Index = 0; Index < NumberOfBytes; Index++) {
    for (UINTN Poll = 0; Poll < kPollLimit && (In8(kBase + kLsr) & kLsrThre) == 0; Poll++) {
    }
    Out8(kBase + kThr, Buffer[Index]);
  }
  return NumberOfBytes;
}
