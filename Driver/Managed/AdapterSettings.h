// Settings record access, adapter identification and the managed dispatch.
#ifndef DRIVER_MANAGED_ADAPTER_SETTINGS_H_
#define DRIVER_MANAGED_ADAPTER_SETTINGS_H_

#include "ModuleState.h"

extern EFI_GUID gAdapterSettingsProtocolGuid;

BOOLEAN AcceptController(FUNCTION_SETTINGS *Settings);
BOOLEAN IdentifyAdapterFamily(FUNCTION_SETTINGS *Settings);

EFI_STATUS ManagedModeQuery(EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                            EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock, UINTN *ParameterBlockSize);
EFI_STATUS RunManagedStep(UINTN *Instance, FUNCTION_SETTINGS **Settings, CHAR8 **CommandText,
                          BOOLEAN *ParseFlag, UINTN *ResponseCode);
EFI_STATUS ManagedModeResponse(EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                               EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock, UINTN ParameterBlockSize);
VOID NoteClpSuccess(FUNCTION_SETTINGS *Settings, EFI_CONFIGURE_CLP_PARAMETER_BLK *ParameterBlock,
                    UINTN CommandCode);

#endif
