#ifndef LIBRARY_UEFI_BOOT_SERVICES_TABLE_LIB_H_
#define LIBRARY_UEFI_BOOT_SERVICES_TABLE_LIB_H_

#include "Uefi.h"

extern EFI_HANDLE gImageHandle;
extern EFI_SYSTEM_TABLE *gST;
extern EFI_BOOT_SERVICES *gBS;

EFI_STATUS UefiBootServicesTableLibConstructor(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

#endif
