// gnu-efi's crt0 applies the image's relocations and then calls efi_main with the System V
// convention, so this bridge must not be EFIAPI; the driver's own entry keeps the firmware
// convention that an EDK II build would give it.
#include "PlatformToDriver.h"

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  return _ModuleEntryPoint(ImageHandle, SystemTable);
}
