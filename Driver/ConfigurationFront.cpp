// The Query and Response members: every Query is offered to ToolMode first; whatever ToolMode
// refuses goes to ManagedMode. The following Response goes to the mode that answered.
#include "PlatformToDriver.h"
#include "ModuleState.h"
#include "Managed/AdapterSettings.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"

EFI_STATUS EFIAPI PlatformToDriverQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This,
                                        EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                                        EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock,
                                        UINTN *ParameterBlockSize) {
  // Nothing may be read or written through a missing argument, and a refused call leaves every
  // flag as it was.
  if (ControllerHandle == nullptr || Instance == nullptr || ParameterTypeGuid == nullptr ||
      ParameterBlock == nullptr || ParameterBlockSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  EFI_STATUS Status = ToolModeQuery(This, ControllerHandle, ChildHandle, Instance, ParameterTypeGuid,
                                    ParameterBlock, ParameterBlockSize);
  if (!EFI_ERROR(Status)) {
    mModule.ToolMode.mToolModeAnswered = TRUE;
    mModule.Run.mManagedCommandOut = FALSE;
    return mModule.ToolMode.mToolModeFinished ? EFI_NOT_FOUND : Status;
  }

  mModule.ToolMode.mToolModeAnswered = FALSE;
  return ManagedModeQuery(ControllerHandle, ChildHandle, Instance, ParameterTypeGuid, ParameterBlock,
                          ParameterBlockSize);
}

EFI_STATUS EFIAPI PlatformToDriverResponse(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This,
                                           EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle,
                                           UINTN *Instance, EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock,
                                           UINTN ParameterBlockSize,
                                           EFI_PLATFORM_CONFIGURATION_ACTION ConfigurationAction) {
  if (ControllerHandle == nullptr || Instance == nullptr || ParameterTypeGuid == nullptr ||
      ParameterBlock == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  if (mModule.ToolMode.mToolModeAnswered) {
    mModule.ToolMode.mToolModeAnswered = FALSE;
    return ToolModeResponse(This, ControllerHandle, ChildHandle, Instance, ParameterTypeGuid, ParameterBlock,
                            ParameterBlockSize);
  }

  // A Response that no managed Query asked for (none handed out a command, or its Response came
  // already) has no command and no settings to act on: it changes nothing.
  if (!mModule.Run.mManagedCommandOut) {
    return EFI_SUCCESS;
  }
  mModule.Run.mManagedCommandOut = FALSE;

  EFI_STATUS Status = ManagedModeResponse(ControllerHandle, ChildHandle, Instance, ParameterTypeGuid,
                                          ParameterBlock, ParameterBlockSize);

  switch (ConfigurationAction) {
  case EfiPlatformConfigurationActionStopController:
    return EFI_ERROR(gBS->DisconnectController(ControllerHandle, nullptr, nullptr)) ? EFI_NOT_FOUND
                                                                                    : EFI_SUCCESS;
  case EfiPlatformConfigurationActionRestartController:
    if (EFI_ERROR(gBS->DisconnectController(ControllerHandle, nullptr, nullptr))) {
      return EFI_NOT_FOUND;
    }
    return EFI_ERROR(gBS->ConnectController(ControllerHandle, nullptr, nullptr, TRUE)) ? EFI_NOT_FOUND
                                                                                       : EFI_SUCCESS;
  case EfiPlatformConfigurationActionRestartPlatform:
    // The QLogic8070 drivers ask for a platform restart where the adapter itself reloads; the
    // platform must keep booting for them.
    if (!mModule.Run.mFamily.QLogic8070) {
      gRT->ResetSystem(EfiResetCold, EFI_SUCCESS, 0, nullptr);
    }
    return Status;
  default:
    return Status;
  }
}
