// Byte copy, fill and compare. The empty asm statement in each loop keeps the compiler from
// turning the loop back into a call to memmove/memcpy/memset: the firmware image links gnu-efi's
// libefi, which has no memmove, and these routines must not depend on the C library anyway.
#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"

#define LOOP_BARRIER() __asm__ __volatile__("")

// Word stores into buffers of any type.
typedef UINT64 __attribute__((may_alias)) MEMORY_LIB_UINT64;

VOID *CopyMem(VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length) {
  if (Length == 0 || DestinationBuffer == SourceBuffer) {
    return DestinationBuffer;
  }
  ASSERT(DestinationBuffer != nullptr && SourceBuffer != nullptr);
  if (DestinationBuffer == nullptr || SourceBuffer == nullptr) {
    return DestinationBuffer;
  }
  UINT8 *Destination = (UINT8 *)DestinationBuffer;
  const UINT8 *Source = (const UINT8 *)SourceBuffer;
  // Unsigned distance: a destination below the source wraps to far more than Length.
  if ((UINTN)Destination - (UINTN)Source >= Length) {
    for (UINTN Index = 0; Index < Length; Index++) {
      LOOP_BARRIER();
      Destination[Index] = Source[Index];
    }
  } else {
    // Destination starts inside the source: copy from the end so no source byte is overwritten
    // before it is read.
    for (UINTN Index = Length; Index > 0; Index--) {
      LOOP_BARRIER();
      Destination[Index - 1] = Source[Index - 1];
    }
  }
  return DestinationBuffer;
}

VOID *SetMem(VOID *Buffer, UINTN Length, UINT8 Value) {
  if (Length == 0) {
    return Buffer;
  }
  ASSERT(Buffer != nullptr);
  if (Buffer == nullptr) {
    return Buffer;
  }
  // The driver clears its configuration tables and parameter blocks for every controller; eight
  // bytes per store once the destination is aligned.
  UINT8 *Bytes = (UINT8 *)Buffer;
  UINTN Index = 0;
  for (; Index < Length && ((UINTN)(Bytes + Index) & 7) != 0; Index++) {
    LOOP_BARRIER();
    Bytes[Index] = Value;
  }
  const UINT64 Repeated = 0x0101010101010101ULL * Value;
  for (; Length - Index >= 8; Index += 8) {
    LOOP_BARRIER();
    *(MEMORY_LIB_UINT64 *)(Bytes + Index) = Repeated;
  }
  for (; Index < Length; Index++) {
    LOOP_BARRIER();
    Bytes[Index] = Value;
  }
  return Buffer;
}

VOID *ZeroMem(VOID *Buffer, UINTN Length) {
  return SetMem(Buffer, Length, 0);
}

INTN CompareMem(const VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length) {
  if (Length == 0 || DestinationBuffer == SourceBuffer) {
    return 0;
  }
  ASSERT(DestinationBuffer != nullptr && SourceBuffer != nullptr);
  if (DestinationBuffer == nullptr || SourceBuffer == nullptr) {
    return 0;
  }
  const UINT8 *First = (const UINT8 *)DestinationBuffer;
  const UINT8 *Second = (const UINT8 *)SourceBuffer;
  for (UINTN Index = 0; Index < Length; Index++) {
    if (First[Index] != Second[Index]) {
      return (INTN)First[Index] - (INTN)Second[Index];
    }
  }
  return 0;
}

BOOLEAN CompareGuid(const EFI_GUID *Guid1, const EFI_GUID *Guid2) {
  ASSERT(Guid1 != nullptr && Guid2 != nullptr);
  if (Guid1 == nullptr || Guid2 == nullptr) {
    return FALSE;
  }
  return CompareMem(Guid1, Guid2, sizeof(EFI_GUID)) == 0 ? TRUE : FALSE;
}

EFI_GUID *CopyGuid(EFI_GUID *DestinationGuid, const EFI_GUID *SourceGuid) {
  CopyMem(DestinationGuid, SourceGuid, sizeof(EFI_GUID));
  return DestinationGuid;
}
