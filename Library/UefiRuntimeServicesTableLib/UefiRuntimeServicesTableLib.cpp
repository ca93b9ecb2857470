// The runtime services table, set once by the image entry point's library constructor.
#include "Library/UefiRuntimeServicesTableLib.h"
#include "Library/DebugLib.h"

EFI_RUNTIME_SERVICES *gRT = nullptr;

EFI_STATUS UefiRuntimeServicesTableLibConstructor(EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable) {
  ASSERT(SystemTable != nullptr);
  gRT = SystemTable != nullptr ? SystemTable->RuntimeServices : nullptr;
  ASSERT(gRT != nullptr);
  return EFI_SUCCESS;
}
