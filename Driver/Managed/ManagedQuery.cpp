// ManagedMode Query: finds the controller's settings record, plans the controller's command list
// in phases and hands out one CLP command per Instance.
#include "ModuleState.h"
#include "PlatformToDriver.h"
#include "Managed/AdapterFamilies.h"
#include "Managed/AdapterSettings.h"
#include "Builders/Builders.h"
#include "Planning/NaloConfiguration.h"
#include "Planning/Planning.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Strings/Vocabulary.h"

static VOID StartControllerRun(const ADAPTER_FAMILY_ROW *Family, FUNCTION_SETTINGS *Adapter, BOOLEAN *Plan) {
  if (IsFirstFunctionOfAdapter(Adapter)) {
    // A new adapter: forget what the previous adapter's first function discovered.
    mModule.Discovered.mLinkConfig = 0;
    mModule.Discovered.mActiveLinkConfig = 0;
    mModule.Discovered.mCurrentUmc = 0;
    mModule.Discovered.mTargetUmc = 0;
    mModule.Discovered.mCurrentPersonality = 0;
    mModule.Discovered.mTargetPersonality = 0;
    mModule.Discovered.mCurrentPfCount = 0;
    mModule.Discovered.mTargetPfCount = 0;
    mModule.Planner.mRoceMode = 0;
    mModule.Planner.mSriovRequested = 0;
    mModule.Planner.mRoceTypeFound = 0;
    mModule.Run.mPlanStopped = 0;
  }
  mModule.Run.mPlanInstance = PLAN_INSTANCE_NONE;
  mModule.Planner.mCurrentPortEnable = Adapter->PortEnable;
  mModule.Planner.mTargetPortEnable = Adapter->PortEnable;
  mModule.Run.mPlanInstance2 = PLAN_INSTANCE_NONE;
  mModule.Run.mPlanComplete = 0;
  mModule.Run.mLinkAdjusted = 0;

  for (UINTN Index = 0; Index < COMMAND_LIST_ENTRIES; Index++) {
    mModule.Run.CommandList[Index] = END;
  }
  mModule.Run.mCommandCount = 0;

  if (mModule.Run.mFamily.Emulex0720 &&
      (mModule.Discovered.mActiveLinkConfig == 1 || mModule.Discovered.mActiveLinkConfig == 3)) {
    AdjustLinkLayout(Adapter);
    mModule.Run.mLinkAdjusted = 1;
  }

  // Taken after the layout adjustment, which may renumber the record.
  const BOOLEAN FirstOfPort = IsFirstFunctionOfPort(Adapter);
  if (FirstOfPort) {
    mModule.Run.mAddrDefaultsPlanned = FALSE;
  }
  if (Family != nullptr && Family->FirstFunctionOfPortOnly && !FirstOfPort) {
    *Plan = FALSE;
  }
}

static VOID RunPlanningPass(const ADAPTER_FAMILY_ROW *Family, UINTN Instance, FUNCTION_SETTINGS *Adapter) {
  const PLAN_STATE Snapshot = {mModule.Run.mPlanInstance, mModule.Run.mPlanInstance2,
                               mModule.Run.mPlanStopped, mModule.Run.mPlanComplete,
                               mModule.Run.mLinkAdjusted};

  // The record's function list has 16 slots whatever FunctionCount claims.
  const UINTN FunctionCount =
      Adapter->FunctionCount < FUNCTION_LIST_ENTRIES ? Adapter->FunctionCount : FUNCTION_LIST_ENTRIES;
  for (UINTN Index = 0; Index < FunctionCount; Index++) {
    FUNCTION_SETTINGS *Function = Adapter->Functions[Index];
    if ((Index > 0 && mModule.Discovered.mLinkConfig == 1) || Function == nullptr ||
        mModule.Run.mPlanStopped != 0) {
      break;
    }
    const UINTN First = mModule.Run.mCommandCount;
    SelectNaloEntries(Index);
    PLAN_STATE Copy = Snapshot;
    RunFamilyPlanner(Family->Planner, Instance, Function, &Copy, &mModule.Run.mCommandCount);
    for (UINTN Entry = First; Entry < mModule.Run.mCommandCount && Entry < COMMAND_LIST_ENTRIES; Entry++) {
      mModule.Run.mCommandSettings[Entry] = Function;
    }
  }

  // Planners stop appending two entries short of the end, so EXIT and END always fit.
  if (mModule.Run.mPlanComplete != 0 && mModule.Run.mCommandCount < COMMAND_LIST_ENTRIES) {
    mModule.Run.CommandList[mModule.Run.mCommandCount] = (INT32)EXIT;
    mModule.Run.mCommandSettings[mModule.Run.mCommandCount] = Adapter;
    mModule.Run.mCommandCount++;
    if (mModule.Run.mCommandCount < COMMAND_LIST_ENTRIES) {
      mModule.Run.CommandList[mModule.Run.mCommandCount] = END;
    }
  }
}

EFI_STATUS RunManagedStep(UINTN *Instance, FUNCTION_SETTINGS **Settings, CHAR8 **CommandText,
                          BOOLEAN *ParseFlag, UINTN *ResponseCode) {
  FUNCTION_SETTINGS *Adapter = *Settings;
  const UINTN N = *Instance;
  // Never NULL behind ManagedModeQuery, which identified the family first.
  const ADAPTER_FAMILY_ROW *Family = IdentifiedFamily();
  BOOLEAN Plan = TRUE;

  if (N == 0) {
    StartControllerRun(Family, Adapter, &Plan);
  }
  // 255 in a plan byte means "no such phase"; a plan never grows that long, so an Instance of 255
  // cannot be a real phase start.
  const BOOLEAN AtPhase2 = mModule.Run.mPlanInstance != PLAN_INSTANCE_NONE && N == mModule.Run.mPlanInstance;
  const BOOLEAN AtPhase3 =
      mModule.Run.mPlanInstance2 != PLAN_INSTANCE_NONE && N == mModule.Run.mPlanInstance2;
  if (N != 0 && !AtPhase2 && !AtPhase3) {
    Plan = FALSE;
  }
  if (mModule.Run.mPlanComplete != 0 || mModule.Run.mPlanStopped != 0) {
    Plan = FALSE;
  }
  if (AtPhase2) {
    if (mModule.Run.mLinkAdjusted == 0) {
      AdjustLinkLayout(Adapter);
    }
    LoadNaloConfiguration(Adapter);
  }
  if (Plan && Family != nullptr) {
    RunPlanningPass(Family, N, Adapter);
  }

  FUNCTION_SETTINGS *Function = Adapter;
  if (N < mModule.Run.mCommandCount && N < COMMAND_LIST_ENTRIES) {
    mModule.Run.mCurrentCommandCode = (UINTN)(INTN)mModule.Run.CommandList[N];
    if (mModule.Run.mCommandSettings[N] != nullptr) {
      Function = mModule.Run.mCommandSettings[N];
    }
  } else {
    mModule.Run.mCurrentCommandCode = END;
  }

  SelectNaloEntries(Function->PfIndex);
  const EFI_STATUS Status = BuildClpCommand(Family != nullptr ? Family->Builder : BuilderDefault, Adapter,
                                            Function, mModule.Run.mCurrentCommandCode, ParseFlag);

  *Settings = Function;
  *CommandText = mModule.Builder.ClpCommandBuffer;
  *ResponseCode = mModule.Run.mCurrentCommandCode;
  return Status;
}

static EFI_STATUS GetControllerSettings(EFI_HANDLE ControllerHandle, FUNCTION_SETTINGS **Settings) {
  if (mModule.Run.mAdapterSettingsProtocol == nullptr) {
    // Only proves that the platform provides the protocol at all.
    if (EFI_ERROR(gBS->LocateProtocol(&gAdapterSettingsProtocolGuid, nullptr,
                                      (VOID **)&mModule.Run.mAdapterSettingsProtocol))) {
      return EFI_NOT_FOUND;
    }
  }
  if (EFI_ERROR(gBS->HandleProtocol(ControllerHandle, &gAdapterSettingsProtocolGuid,
                                    (VOID **)&mModule.Run.mAdapterSettingsProtocol)) ||
      mModule.Run.mAdapterSettingsProtocol == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (EFI_ERROR(mModule.Run.mAdapterSettingsProtocol->GetAdapterSettings(mModule.Run.mAdapterSettingsProtocol,
                                                                         Settings)) ||
      *Settings == nullptr) {
    return EFI_NOT_FOUND;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ManagedModeQuery(EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                            EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock, UINTN *ParameterBlockSize) {
  mModule.Run.mCurrentSettings = nullptr;
  mModule.Run.mParseResponse = FALSE;
  mModule.Run.mResponseCommandCode = 0;
  mModule.Run.mManagedCommandOut = FALSE;

  if (ChildHandle != nullptr) {
    return EFI_NOT_FOUND;
  }
  FUNCTION_SETTINGS *Settings = nullptr;
  if (EFI_ERROR(GetControllerSettings(ControllerHandle, &Settings))) {
    return EFI_NOT_FOUND;
  }
  mModule.Run.mCurrentSettings = Settings;
  if (!AcceptController(Settings) || !IdentifyAdapterFamily(Settings)) {
    return EFI_NOT_FOUND;
  }

  CHAR8 *CommandText = mModule.Builder.ClpCommandBuffer;
  const EFI_STATUS Status = RunManagedStep(Instance, &mModule.Run.mCurrentSettings, &CommandText,
                                           &mModule.Run.mParseResponse, &mModule.Run.mResponseCommandCode);

  ZeroMem(&mModule.Run.mClpParameterBlock, sizeof(mModule.Run.mClpParameterBlock));
  mModule.Run.mClpParameterBlock.CLPCommand = CommandText;
  mModule.Run.mClpParameterBlock.CLPCommandLength = (UINT32)AsciiStrLen(CommandText);
  *ParameterTypeGuid = &gEfiPlatformToDriverConfigurationClpGuid;
  *ParameterBlock = &mModule.Run.mClpParameterBlock;
  *ParameterBlockSize = sizeof(mModule.Run.mClpParameterBlock);

  mModule.Run.mManagedCommandOut = !EFI_ERROR(Status);
  return Status;
}
