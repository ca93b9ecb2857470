// ManagedMode Query: finds the controller's settings record, plans the controller's command list
// in phases and hands out one CLP command per Instance.
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

// Function indices beyond the 16-entry tables have no entries; the builders treat the missing
// entries as absent values.
static VOID PointEntriesAt(UINTN Index) {
  if (Index < NALO_FUNCTION_ENTRIES) {
    SelectNaloEntries(Index);
  } else {
    mModule.mCurFunctionEntry = nullptr;
    mModule.mCurAddressEntry = nullptr;
    mModule.mCurBootEntry = nullptr;
  }
}

static VOID StartControllerRun(const ADAPTER_FAMILY_ROW *Family, FUNCTION_SETTINGS *Adapter, BOOLEAN *Plan) {
  if (IsFirstFunctionOfAdapter(Adapter)) {
    // A new adapter: forget what the previous adapter's first function discovered.
    mModule.mLinkConfig = 0;
    mModule.mActiveLinkConfig = 0;
    mModule.mCurrentUmc = 0;
    mModule.mTargetUmc = 0;
    mModule.mCurrentPersonality = 0;
    mModule.mTargetPersonality = 0;
    mModule.mCurrentPfCount = 0;
    mModule.mTargetPfCount = 0;
    mModule.mRoceMode = 0;
    mModule.mSriovRequested = 0;
    mModule.mRoceTypeFound = 0;
    mModule.mPlanStopped = 0;
  }
  mModule.mPlanInstance = PLAN_INSTANCE_NONE;
  mModule.mCurrentPortEnable = Adapter->PortEnable;
  mModule.mTargetPortEnable = Adapter->PortEnable;
  mModule.mPlanInstance2 = PLAN_INSTANCE_NONE;
  mModule.mPlanComplete = 0;
  mModule.mLinkAdjusted = 0;

  for (UINTN Index = 0; Index < COMMAND_LIST_ENTRIES; Index++) {
    mModule.CommandList[Index] = END;
  }
  mModule.mCommandCount = 0;

  if (mModule.mFamily.Emulex0720 && (mModule.mActiveLinkConfig == 1 || mModule.mActiveLinkConfig == 3)) {
    AdjustLinkLayout(Adapter);
    mModule.mLinkAdjusted = 1;
  }

  // Taken after the layout adjustment, which may renumber the record.
  const BOOLEAN FirstOfPort = IsFirstFunctionOfPort(Adapter);
  if (FirstOfPort) {
    mModule.mAddrDefaultsPlanned = FALSE;
  }
  if (Family != nullptr && Family->FirstFunctionOfPortOnly && !FirstOfPort) {
    *Plan = FALSE;
  }
}

static VOID RunPlanningPass(const ADAPTER_FAMILY_ROW *Family, UINTN Instance, FUNCTION_SETTINGS *Adapter) {
  const PLAN_STATE Snapshot = {mModule.mPlanInstance, mModule.mPlanInstance2, mModule.mPlanStopped,
                               mModule.mPlanComplete, mModule.mLinkAdjusted};

  // The record's function list has 16 slots whatever FunctionCount claims.
  const UINTN FunctionCount =
      Adapter->FunctionCount < FUNCTION_LIST_ENTRIES ? Adapter->FunctionCount : FUNCTION_LIST_ENTRIES;
  for (UINTN Index = 0; Index < FunctionCount; Index++) {
    FUNCTION_SETTINGS *Function = Adapter->Functions[Index];
    if ((Index > 0 && mModule.mLinkConfig == 1) || Function == nullptr || mModule.mPlanStopped != 0) {
      break;
    }
    const UINTN First = mModule.mCommandCount;
    PointEntriesAt(Index);
    PLAN_STATE Copy = Snapshot;
    RunFamilyPlanner(Family->Planner, Instance, Function, &Copy, &mModule.mCommandCount);
    for (UINTN Entry = First; Entry < mModule.mCommandCount && Entry < COMMAND_LIST_ENTRIES; Entry++) {
      mModule.mCommandSettings[Entry] = Function;
    }
  }

  // Planners stop appending two entries short of the end, so EXIT and END always fit.
  if (mModule.mPlanComplete != 0 && mModule.mCommandCount < COMMAND_LIST_ENTRIES) {
    mModule.CommandList[mModule.mCommandCount] = (INT32)EXIT;
    mModule.mCommandSettings[mModule.mCommandCount] = Adapter;
    mModule.mCommandCount++;
    if (mModule.mCommandCount < COMMAND_LIST_ENTRIES) {
      mModule.CommandList[mModule.mCommandCount] = END;
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
  const BOOLEAN AtPhase2 = mModule.mPlanInstance != PLAN_INSTANCE_NONE && N == mModule.mPlanInstance;
  const BOOLEAN AtPhase3 = mModule.mPlanInstance2 != PLAN_INSTANCE_NONE && N == mModule.mPlanInstance2;
  if (N != 0 && !AtPhase2 && !AtPhase3) {
    Plan = FALSE;
  }
  if (mModule.mPlanComplete != 0 || mModule.mPlanStopped != 0) {
    Plan = FALSE;
  }
  if (AtPhase2) {
    if (mModule.mLinkAdjusted == 0) {
      AdjustLinkLayout(Adapter);
    }
    LoadNaloConfiguration(Adapter);
  }
  if (Plan && Family != nullptr) {
    RunPlanningPass(Family, N, Adapter);
  }

  FUNCTION_SETTINGS *Function = Adapter;
  if (N < mModule.mCommandCount && N < COMMAND_LIST_ENTRIES) {
    mModule.mCurrentCommandCode = (UINTN)(INTN)mModule.CommandList[N];
    if (mModule.mCommandSettings[N] != nullptr) {
      Function = mModule.mCommandSettings[N];
    }
  } else {
    mModule.mCurrentCommandCode = END;
  }

  PointEntriesAt(Function->PfIndex);
  const EFI_STATUS Status = BuildClpCommand(Family != nullptr ? Family->Builder : BuilderDefault, Adapter,
                                            Function, mModule.mCurrentCommandCode, ParseFlag);

  *Settings = Function;
  *CommandText = mModule.ClpCommandBuffer;
  *ResponseCode = mModule.mCurrentCommandCode;
  return Status;
}

static EFI_STATUS GetControllerSettings(EFI_HANDLE ControllerHandle, FUNCTION_SETTINGS **Settings) {
  if (mModule.mAdapterSettingsProtocol == nullptr) {
    // Only proves that the platform provides the protocol at all.
    if (EFI_ERROR(gBS->LocateProtocol(&gAdapterSettingsProtocolGuid, nullptr,
                                      (VOID **)&mModule.mAdapterSettingsProtocol))) {
      return EFI_NOT_FOUND;
    }
  }
  if (EFI_ERROR(gBS->HandleProtocol(ControllerHandle, &gAdapterSettingsProtocolGuid,
                                    (VOID **)&mModule.mAdapterSettingsProtocol)) ||
      mModule.mAdapterSettingsProtocol == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (EFI_ERROR(
          mModule.mAdapterSettingsProtocol->GetAdapterSettings(mModule.mAdapterSettingsProtocol, Settings)) ||
      *Settings == nullptr) {
    return EFI_NOT_FOUND;
  }
  return EFI_SUCCESS;
}

EFI_STATUS ManagedModeQuery(EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                            EFI_GUID **ParameterTypeGuid, VOID **ParameterBlock, UINTN *ParameterBlockSize) {
  mModule.mCurrentSettings = nullptr;
  mModule.mParseResponse = FALSE;
  mModule.mResponseCommandCode = 0;
  mModule.mManagedCommandOut = FALSE;

  if (ChildHandle != nullptr) {
    return EFI_NOT_FOUND;
  }
  FUNCTION_SETTINGS *Settings = nullptr;
  if (EFI_ERROR(GetControllerSettings(ControllerHandle, &Settings))) {
    return EFI_NOT_FOUND;
  }
  mModule.mCurrentSettings = Settings;
  if (!AcceptController(Settings) || !IdentifyAdapterFamily(Settings)) {
    return EFI_NOT_FOUND;
  }

  CHAR8 *CommandText = mModule.ClpCommandBuffer;
  const EFI_STATUS Status = RunManagedStep(Instance, &mModule.mCurrentSettings, &CommandText,
                                           &mModule.mParseResponse, &mModule.mResponseCommandCode);

  ZeroMem(&mModule.mClpParameterBlock, sizeof(mModule.mClpParameterBlock));
  mModule.mClpParameterBlock.CLPCommand = CommandText;
  mModule.mClpParameterBlock.CLPCommandLength = (UINT32)AsciiStrLen(CommandText);
  *ParameterTypeGuid = &gEfiPlatformToDriverConfigurationClpGuid;
  *ParameterBlock = &mModule.mClpParameterBlock;
  *ParameterBlockSize = sizeof(mModule.mClpParameterBlock);

  mModule.mManagedCommandOut = !EFI_ERROR(Status);
  return Status;
}
