// Subset of EDK II UefiMemoryAllocationLib: EfiBootServicesData pool through gBS.
#ifndef LIBRARY_MEMORY_ALLOCATION_LIB_H_
#define LIBRARY_MEMORY_ALLOCATION_LIB_H_

#include "Uefi.h"

VOID *AllocatePool(UINTN AllocationSize);
VOID *AllocateZeroPool(UINTN AllocationSize);
VOID FreePool(VOID *Buffer);

#endif
