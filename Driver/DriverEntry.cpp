// Image entry and the one protocol instance. After the protocol is installed the driver does
// nothing by itself; all further work happens inside Query and Response.
#include "PlatformToDriver.h"
#include "ModuleState.h"
#include "Reporting/Reporting.h"
#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"
#include "Library/PciExpressLib.h"
#include "Library/SerialPortLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"

EFI_GUID gEfiPlatformToDriverConfigurationProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gEfiPlatformToDriverConfigurationClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
static EFI_GUID gConsoleMessageProtocolGuid = CONSOLE_MESSAGE_PROTOCOL_GUID;

EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL mPlatformToDriverConfiguration = {
    PlatformToDriverQuery,
    PlatformToDriverResponse,
};

// The console-message protocol may arrive after this driver; a failed lookup is retried at the
// next message.
static EFI_STATUS ConsoleMessageConstructor(EFI_SYSTEM_TABLE *SystemTable) {
  if (mModule.ToolMode.mConsoleMessage == nullptr) {
    SystemTable->BootServices->LocateProtocol(&gConsoleMessageProtocolGuid, nullptr,
                                              (VOID **)&mModule.ToolMode.mConsoleMessage);
  }
  return EFI_SUCCESS;
}

EFI_STATUS ConsoleMessagePrint(EFI_SYSTEM_TABLE *SystemTable, CHAR16 *String) {
  if (mModule.ToolMode.mConsoleMessage == nullptr) {
    SystemTable->BootServices->LocateProtocol(&gConsoleMessageProtocolGuid, nullptr,
                                              (VOID **)&mModule.ToolMode.mConsoleMessage);
  }
  if (mModule.ToolMode.mConsoleMessage == nullptr) {
    return EFI_NOT_FOUND;
  }
  return mModule.ToolMode.mConsoleMessage->ShowMessage(String);
}

// A failing library constructor is a platform integration fault, not a reason to refuse loading.
static VOID CheckConstructor(EFI_STATUS Status) {
  ASSERT(!EFI_ERROR(Status));
}

EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  // The state arrives zero-filled; the non-zero load values must be in place before any other
  // code of the driver runs.
  SetModuleLoadValues();
  if (PLATFORM_TO_DRIVER_REQUIRED_UEFI_REVISION > SystemTable->Hdr.Revision) {
    return EFI_INCOMPATIBLE_VERSION;
  }

  CheckConstructor(SerialPortInitialize());
  CheckConstructor(UefiBootServicesTableLibConstructor(ImageHandle, SystemTable));
  CheckConstructor(PciExpressLibConstructor());
  CheckConstructor(UefiRuntimeServicesTableLibConstructor(ImageHandle, SystemTable));
  CheckConstructor(IpmiTransportLibConstructor(ImageHandle, SystemTable));
  CheckConstructor(ConsoleMessageConstructor(SystemTable));

  // Installed on the image's own handle: adapter drivers find the protocol with LocateProtocol
  // or by handle, and no handle of our own has to be created.
  EFI_HANDLE Handle = ImageHandle;
  return gBS->InstallMultipleProtocolInterfaces(&Handle, &gEfiPlatformToDriverConfigurationProtocolGuid,
                                                &mPlatformToDriverConfiguration, nullptr);
}
