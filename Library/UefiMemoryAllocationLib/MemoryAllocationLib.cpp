// Pool memory of type EfiBootServicesData from the boot services.
#include "Library/MemoryAllocationLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"
#include "Library/UefiBootServicesTableLib.h"

VOID *AllocatePool(UINTN AllocationSize) {
  ASSERT(gBS != nullptr);
  if (gBS == nullptr) {
    return nullptr;
  }
  VOID *Buffer = nullptr;
  EFI_STATUS Status = gBS->AllocatePool(EfiBootServicesData, AllocationSize, &Buffer);
  if (EFI_ERROR(Status)) {
    return nullptr;
  }
  return Buffer;
}

VOID *AllocateZeroPool(UINTN AllocationSize) {
  VOID *Buffer = AllocatePool(AllocationSize);
  if (Buffer != nullptr) {
    ZeroMem(Buffer, AllocationSize);
  }
  return Buffer;
}

VOID FreePool(VOID *Buffer) {
  ASSERT(Buffer != nullptr);
  ASSERT(gBS != nullptr);
  if (Buffer == nullptr || gBS == nullptr) {
    return;
  }
  EFI_STATUS Status = gBS->FreePool(Buffer);
  ASSERT(!EFI_ERROR(Status));
  (void)Status;
}
