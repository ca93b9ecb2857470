// Driver frame: image entry, the protocol instance, the Query/Response front and ToolMode.
#ifndef DRIVER_PLATFORM_TO_DRIVER_H_
#define DRIVER_PLATFORM_TO_DRIVER_H_

#include "Uefi.h"
#include "Protocol/ConsoleMessage.h"

#define TOOL_COMMAND_MAX 500
#define TOOL_BANNER_CHARS 256

// The configuration front and ToolMode.
struct TOOL_MODE_STATE {
  BOOLEAN mToolModeAnswered = FALSE;
  BOOLEAN mToolModeFinished = FALSE;
  BOOLEAN mToolModeDeclined = FALSE;
  BOOLEAN mToolBannerShown = FALSE;
  UINT64 mToolModeSetting = 0; // load value 255: CLPCMD_MODE not read yet
  CHAR8 mToolCommandBuffer[TOOL_COMMAND_MAX + 1] = {};
  CHAR16 mToolBanner[TOOL_BANNER_CHARS] = {};
  EFI_CONFIGURE_CLP_PARAMETER_BLK *mToolParameterBlock = nullptr;
  EFI_GUID *mToolParameterTypeGuid = nullptr;
  CONSOLE_MESSAGE_PROTOCOL *mConsoleMessage = nullptr;
};

extern EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL mPlatformToDriverConfiguration;
extern EFI_GUID gEfiPlatformToDriverConfigurationProtocolGuid;
extern EFI_GUID gEfiPlatformToDriverConfigurationClpGuid;

// Image entry as the EDK II UefiDriverEntryPoint library gives it.
EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

EFI_STATUS ConsoleMessagePrint(EFI_SYSTEM_TABLE *SystemTable, CHAR16 *String);

EFI_STATUS EFIAPI PlatformToDriverQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This,
                                        EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                                        EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock,
                                        UINTN *ParameterBlockSize);
EFI_STATUS EFIAPI PlatformToDriverResponse(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This,
                                           EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle,
                                           UINTN *Instance, EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock,
                                           UINTN ParameterBlockSize,
                                           EFI_PLATFORM_CONFIGURATION_ACTION ConfigurationAction);

EFI_STATUS ToolModeQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle,
                         EFI_HANDLE ChildHandle, UINTN *Instance, EFI_GUID **ParameterTypeGuid,
                         VOID **ParameterBlock, UINTN *ParameterBlockSize);
EFI_STATUS ToolModeResponse(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle,
                            EFI_HANDLE ChildHandle, UINTN *Instance, EFI_GUID *ParameterTypeGuid,
                            VOID *ParameterBlock, UINTN ParameterBlockSize);

#endif
