// Settings record access, adapter identification and the managed dispatch.
#ifndef DRIVER_MANAGED_ADAPTER_SETTINGS_H_
#define DRIVER_MANAGED_ADAPTER_SETTINGS_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"

#define COMMAND_LIST_ENTRIES 255
#define PLAN_INSTANCE_NONE 255

// One flag per adapter family; QLogic2261 is a sub-flag set together with QLogic2031.
typedef struct {
  BOOLEAN Intel;
  BOOLEAN QLogic2031;
  BOOLEAN QLogic2261;
  BOOLEAN QLogic8070;
  BOOLEAN Emulex0720;
  BOOLEAN EmulexE200;
  BOOLEAN Emulex0700;
  BOOLEAN Emulex0710;
  BOOLEAN Mellanox1013;
  BOOLEAN Mellanox1017;
} ADAPTER_FAMILY;

// The managed run of the controller at hand: its record and family, the command list and the
// phase bytes that say where planning stands.
struct MANAGED_RUN_STATE {
  INT32 CommandList[COMMAND_LIST_ENTRIES] = {};
  UINTN mCommandCount = 0;
  FUNCTION_SETTINGS *mCommandSettings[COMMAND_LIST_ENTRIES] = {};
  EFI_CONFIGURE_CLP_PARAMETER_BLK mClpParameterBlock = {};
  FUNCTION_SETTINGS *mCurrentSettings = nullptr;
  ADAPTER_SETTINGS_PROTOCOL *mAdapterSettingsProtocol = nullptr;
  BOOLEAN mParseResponse = FALSE;
  UINTN mCurrentCommandCode = 0;
  UINTN mResponseCommandCode = 0;
  ADAPTER_FAMILY mFamily = {};
  BOOLEAN mAddrDefaultsPlanned = FALSE;
  UINT8 mPlanInstance = 0;  // load value PLAN_INSTANCE_NONE
  UINT8 mPlanInstance2 = 0; // load value PLAN_INSTANCE_NONE
  UINT8 mPlanStopped = 0;
  UINT8 mPlanComplete = 0;
  UINT8 mLinkAdjusted = 0;
  // Set when a managed Query handed out a command; a managed Response without it has nothing to
  // act on and returns without effect.
  BOOLEAN mManagedCommandOut = FALSE;
};

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
