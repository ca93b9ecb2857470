// Subset of EDK II MdePkg BaseMemoryLib.
#ifndef LIBRARY_BASE_MEMORY_LIB_H_
#define LIBRARY_BASE_MEMORY_LIB_H_

#include "Uefi.h"

// Handles overlapping buffers (memmove semantics). Returns DestinationBuffer.
VOID *CopyMem(VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length);
VOID *SetMem(VOID *Buffer, UINTN Length, UINT8 Value);
VOID *ZeroMem(VOID *Buffer, UINTN Length);
INTN CompareMem(const VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length);
BOOLEAN CompareGuid(const EFI_GUID *Guid1, const EFI_GUID *Guid2);
EFI_GUID *CopyGuid(EFI_GUID *DestinationGuid, const EFI_GUID *SourceGuid);

#endif
