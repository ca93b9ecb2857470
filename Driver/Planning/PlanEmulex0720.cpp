// Emulex0720 planner: link layout, partitioning, function types, per-function SR-IOV and the RoCE
// profile are decided on the first function of the adapter and of each port; any of them ends the
// plan with a restart request, otherwise the per-function settings follow.
#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Planning/NaloConfiguration.h"
#include "Planning/PredicateInternal.h"
#include "Library/BaseMemoryLib.h"
#include "Library/MemoryAllocationLib.h"
#include "Strings/Vocabulary.h"

// A management index that names the whole card rather than one port.
#define NALO_INDEX_CARD 224
#define LAYOUT_PROBE_INDICES 4

static const UINT32 mEmulex0720Shares[] = {SET_PF_BANDWIDTH, SET_PF_RATE_LIMIT, SET_ADDR_DEFAULTS,
                                           SET_PORT_EN};

static BOOLEAN LayoutFromAdapter(const FUNCTION_SETTINGS *Settings) {
  const UINT16 Subsystem = Settings->SubsystemId;
  return Subsystem == SUBSYSTEM_EMULEX_4X10G ||
         (Subsystem >= SUBSYSTEM_EMULEX_4X1G_FIRST && Subsystem <= SUBSYSTEM_EMULEX_4X1G_LAST);
}

static UINT8 ProbeIndex(const FUNCTION_SETTINGS *Settings, UINTN Port) {
  if (Settings->NaloIndex == NALO_INDEX_CARD) {
    return NALO_INDEX_CARD;
  }
  return (UINT8)((Settings->NaloIndex + Port) & 0xFF);
}

static EFI_STATUS ProbePort(const FUNCTION_SETTINGS *Settings, UINTN Port, NALO_PORT_TABLE *Table) {
  ZeroMem(Table, sizeof(*Table));
  return mModule.Tables.mNaloConfig->GetPortConfiguration(ProbeIndex(Settings, Port), Settings->CardIndex,
                                                          Settings->PortNumber, nullptr, Table, nullptr,
                                                          nullptr);
}

VOID ProbeRoceAndSriov(FUNCTION_SETTINGS *Settings, UINT8 *RoceMode, UINT8 *SriovRequested,
                       UINT32 *ActiveLinkConfig) {
  if (Settings == nullptr || EFI_ERROR(LocateNaloConfig()) || mModule.Tables.mNaloConfig == nullptr ||
      mModule.Tables.mNaloConfig->GetPortConfiguration == nullptr) {
    return;
  }
  NALO_PORT_TABLE *Table = (NALO_PORT_TABLE *)AllocateZeroPool(sizeof(NALO_PORT_TABLE));
  if (Table == nullptr) {
    return;
  }
  // The first port that asks for RoCE or SR-IOV decides; RoCE wins on that port.
  for (UINTN Port = 0; Port < Settings->PortCount; Port++) {
    ProbePort(Settings, Port, Table);
    const NALO_FUNCTION_ENTRY &Entry = Table->Function[0];
    if (Table->DesiredFunctionCount == 0 || Entry.Enabled != 1) {
      continue;
    }
    if (Entry.RoceMode == 1 || Entry.RoceMode == 2) {
      *RoceMode = 1;
      break;
    }
    if (Entry.SriovEnable != 0) {
      *SriovRequested = 1;
      break;
    }
  }
  // The four-port board: the platform knows one index per port when the ports carry four
  // functions each, only the first when a port carries all sixteen.
  if (Settings->SubsystemId == SUBSYSTEM_EMULEX_4X10G) {
    for (UINTN Index = 0; Index < LAYOUT_PROBE_INDICES; Index++) {
      if (EFI_ERROR(ProbePort(Settings, Index, Table))) {
        continue;
      }
      if (Index == 0) {
        *ActiveLinkConfig = 2;
      } else {
        *ActiveLinkConfig = 3;
        break;
      }
    }
  }
  FreePool(Table);
}

// Layout decisions on the port's first function. TRUE when one of them needs a restart.
static BOOLEAN PlanEmulex0720Layout(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  BOOLEAN ModeChanged = FALSE;
  BOOLEAN UmcChanged = FALSE;
  if (IsFirstFunctionOfAdapter(Settings)) {
    if (LayoutAllowsTyping() && PortTableValid()) {
      ProbeRoceAndSriov(Settings, &mModule.Planner.mRoceMode, &mModule.Planner.mSriovRequested,
                        &mModule.Discovered.mActiveLinkConfig);
    }
    ModeChanged = PlanDecide(Call, Settings, SET_MODE);
    UmcChanged = PlanDecide(Call, Settings, SET_UMC);
    if (mModule.Planner.mRoceMode != 0) {
      PlanAppend(Call, SET_ROCE_PROFILE);
    }
  }
  const BOOLEAN TypesChanged = PlanDecide(Call, Settings, SET_PF2_TYPE);
  mModule.Builder.mEmulexPfTypeSetIndex = 0;
  const BOOLEAN SriovChanged = PlanDecide(Call, Settings, SET_SRIOV_FOR_PF);
  return ModeChanged || UmcChanged || TypesChanged || SriovChanged;
}

static VOID PlanEmulex0720Phase3(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  mModule.Discovered.mCurrentVlanId = Settings->VlanId;
  mModule.Discovered.mTargetVlanId = Settings->VlanId;
  mModule.Planner.mCurrentBootEnable = Settings->BootEnable;
  mModule.Planner.mTargetBootEnable = Settings->BootEnable;

  if (IsFirstFunctionOfPort(Settings)) {
    mModule.Builder.mEmulex0720Flag = 0;
    if (PlanEmulex0720Layout(Call, Settings)) {
      mModule.Builder.mEmulex0720Flag = 1;
      NotifyRestartOnce();
    }
  }
  // A layout change ends the plan for every function of the pass; the records are not marked
  // planned, the restart plans them again.
  if (mModule.Builder.mEmulex0720Flag != 0) {
    mModule.Run.mPlanComplete = 1;
    return;
  }
  if (Settings->PfIndex != 0 && Settings->PfIndex == mModule.Tables.mNaloPortTable.DesiredFunctionCount) {
    mModule.Run.mPlanComplete = 1;
    return;
  }
  PlanDecideAll(Call, Settings, PLAN_CODES(mEmulex0720Shares));
  PlanDecide(Call, Settings, SET_PF_VLANID);
  if (!(mModule.Discovered.mTargetUmc == 1 || Settings->PfType == PF_TYPE_ISCSI)) {
    PlanDecide(Call, Settings, SET_PXE_VLANID);
  }
  PlanDecide(Call, Settings, SET_BOOT_EN);
  const UINT32 PfType = Settings->PfType;
  if (PfType == PF_TYPE_NIC || PfType == PF_TYPE_FCOE || PfType == PF_TYPE_ISCSI || PfType == PF_TYPE_IB ||
      PfType == PF_TYPE_ROCE) {
    PlanDecide(Call, Settings, SET_PF_MAC);
  }
  if (PfType == PF_TYPE_FCOE || PfType == PF_TYPE_FC) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mFibreChannelNameCodes));
  }
  if (PfType == PF_TYPE_ISCSI) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mIscsiSettingCodes));
  }
  PlanFinish(Settings);
}

VOID PlanEmulex0720(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState, UINTN *Count) {
  const BOOLEAN FromAdapter = LayoutFromAdapter(Settings);
  const BOOLEAN FirstPort = Settings->PortIndex == 0;
  if (!FromAdapter) {
    mModule.Discovered.mLinkConfig = Settings->LinkConfig;
    mModule.Discovered.mActiveLinkConfig = mModule.Discovered.mLinkConfig;
  }

  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  if (PlanAtPhase1(&Call)) {
    if (FromAdapter && FirstPort) {
      if (IsFirstFunctionOfPort(Settings)) {
        PlanAppend(&Call, SHOW_LINK_CONFIG);
      }
    } else {
      PlanAppend(&Call, SHOW_PF_INFO);
    }
    // The function-type parser of SHOW_PF_INFO fills in the functions that exist.
    if (IsFirstFunctionOfPort(Settings)) {
      mModule.Discovered.mPfTypeTable[0] = PF_TYPE_NIC;
      if (mModule.Discovered.mActiveLinkConfig != 1) {
        for (UINTN Index = 1; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
          mModule.Discovered.mPfTypeTable[Index] = PF_TYPE_DISABLED;
        }
      }
    }
    PlanEndPhase1(&Call);
  }
  if (PlanAtPhase2(&Call)) {
    if (FromAdapter && FirstPort) {
      PlanAppend(&Call, SHOW_PF_INFO);
    }
    PlanEndPhase2(&Call);
  }
  if (PlanAtPhase3(&Call)) {
    PlanEmulex0720Phase3(&Call, Settings);
  }
  PlanEnd(&Call);
}
