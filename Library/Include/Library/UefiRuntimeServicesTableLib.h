#ifndef LIBRARY_UEFI_RUNTIME_SERVICES_TABLE_LIB_H_
#define LIBRARY_UEFI_RUNTIME_SERVICES_TABLE_LIB_H_

#include "Uefi.h"

extern EFI_RUNTIME_SERVICES *gRT;

EFI_STATUS UefiRuntimeServicesTableLibConstructor(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

#endif
