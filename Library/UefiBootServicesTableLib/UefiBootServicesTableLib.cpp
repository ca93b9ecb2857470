// The image handle, system table and boot services table, set once by the image entry point's
// library constructor and read everywhere after.
#include "Library/UefiBootServicesTableLib.h"
#include "Library/DebugLib.h"

EFI_HANDLE gImageHandle = nullptr;
EFI_SYSTEM_TABLE *gST = nullptr;
EFI_BOOT_SERVICES *gBS = nullptr;

EFI_STATUS UefiBootServicesTableLibConstructor(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  gImageHandle = ImageHandle;
  ASSERT(gImageHandle != nullptr);
  gST = SystemTable;
  ASSERT(gST != nullptr);
  gBS = SystemTable != nullptr ? SystemTable->BootServices : nullptr;
  ASSERT(gBS != nullptr);
  return EFI_SUCCESS;
}
