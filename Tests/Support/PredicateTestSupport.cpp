// Stand-ins for definitions that other parts of the driver provide and that have not reached
// this branch yet. They are weak, so the real definitions win as soon as they are linked in;
// remove each one once the real definition is merged.
#include "Builders/Builders.h"
#include "Reporting/Reporting.h"

// Status-code caller of the driver: D083E94C-6560-42E4-B6D4-2DF75ADF6A2A.
__attribute__((weak)) EFI_GUID gClpStatusCallerGuid = {
    0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};

__attribute__((weak)) VOID HexEncodeBytes(const UINT8 *Source, UINTN Count, CHAR8 *Destination) {
  static const char Digits[] = "0123456789ABCDEF";
  for (UINTN Index = 0; Index < Count; Index++) {
    Destination[2 * Index] = (CHAR8)Digits[Source[Index] >> 4];
    Destination[2 * Index + 1] = (CHAR8)Digits[Source[Index] & 0x0F];
  }
  Destination[2 * Count] = 0;
}
