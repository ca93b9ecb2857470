// QLogic8070 planner: controller-wide state is read once on the first port, per-port state on
// every port; a partitioned adapter is read but not changed.
#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Strings/Vocabulary.h"

static const UINT32 mControllerShows[] = {SHOW_UMC, SHOW_SRIOV, SHOW_VERSION};
static const UINT32 mControllerSettings[] = {SET_SRIOV_FOR_CONTROLLER, SET_PORT_DEFAULTS};

// Boards of the 8070 that cannot report the minimum bandwidth allocation.
static BOOLEAN LacksBandwidthQuery(const FUNCTION_SETTINGS *Settings) {
  if (RecordVidDid(Settings) != VIDDID_QLOGIC_8070) {
    return FALSE;
  }
  const UINT16 Subsystem = Settings->SubsystemId;
  return Subsystem == 0x29 || Subsystem == 0x61 || Subsystem == 0x64;
}

static VOID PlanPortDiscovery(PLAN_CALL *Call, const FUNCTION_SETTINGS *Settings) {
  const BOOLEAN Partitioned = mModule.Discovered.mCurrentUmc != 0;
  if (IsFirstFunctionOfPort(Settings)) {
    PlanAppend(Call, SHOW_BOOT_EN);
    if (Partitioned) {
      if (!LacksBandwidthQuery(Settings)) {
        PlanAppend(Call, SHOW_PF_BANDWIDTH);
      }
      PlanAppend(Call, SHOW_PF_RATE_LIMIT);
    }
  }
  PlanAppend(Call, SHOW_PF_MFG_MAC);
  PlanAppend(Call, SHOW_PF_MAC);
  if (Partitioned) {
    PlanAppend(Call, SHOW_PF_TYPE);
  }
}

static VOID PlanQLogic8070Phase3(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  mModule.Discovered.mCurrentVlanId = Settings->VlanId;
  mModule.Discovered.mTargetVlanId = Settings->VlanId;
  // Boot enable was read for the function planned at Instance 0.
  const FUNCTION_SETTINGS *First = mModule.Run.mCommandSettings[0];
  const UINT8 BootEnable = First != nullptr ? First->BootEnable : Settings->BootEnable;
  mModule.Planner.mCurrentBootEnable = BootEnable;
  mModule.Planner.mTargetBootEnable = BootEnable;

  if (mModule.Discovered.mCurrentUmc != 0) {
    mModule.Run.mPlanComplete = 1;
    return;
  }
  PlanDecideAll(Call, Settings, PLAN_CODES(mControllerSettings));
  if (IsFirstFunctionOfPort(Settings)) {
    PlanDecide(Call, Settings, SET_BOOT_EN);
    PlanDecide(Call, Settings, SET_PXE_VLANID);
    mModule.Discovered.mPfTypeCount = 0;
  }
  if (Settings->PfType == PF_TYPE_NIC) {
    PlanDecide(Call, Settings, SET_PF_MAC);
    // Read the MAC back whether or not it changed.
    PlanAppend(Call, SHOW_PF_MAC);
  }
  PlanFinish(Settings);
}

VOID PlanQLogic8070(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState, UINTN *Count) {
  const BOOLEAN FirstPort = Settings->PortIndex == 0;
  mModule.Discovered.mLinkConfig = Settings->LinkConfig;
  mModule.Discovered.mActiveLinkConfig = mModule.Discovered.mLinkConfig;

  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  if (PlanAtPhase1(&Call)) {
    if (FirstPort) {
      if (IsFirstFunctionOfPort(Settings)) {
        PlanAppendAll(&Call, PLAN_CODES(mControllerShows));
      }
    } else {
      PlanPortDiscovery(&Call, Settings);
    }
    PlanAppend(&Call, SHOW_PXE_VLAN);
    if (IsFirstFunctionOfPort(Settings)) {
      mModule.Discovered.mPfTypeTable[0] = PF_TYPE_NIC;
      for (UINTN Index = 1; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
        mModule.Discovered.mPfTypeTable[Index] = PF_TYPE_DISABLED;
      }
      mModule.Discovered.mPfTypeCount = 0;
    }
    PlanEndPhase1(&Call);
  }
  if (PlanAtPhase2(&Call)) {
    // The first port learns only now, from SHOW_UMC, whether the adapter is partitioned.
    if (FirstPort) {
      PlanPortDiscovery(&Call, Settings);
    }
    if (IsFirstFunctionOfPort(Settings)) {
      PlanDecide(&Call, Settings, SHOW_PXE_VLANID);
    }
    PlanEndPhase2(&Call);
  }
  if (PlanAtPhase3(&Call)) {
    PlanQLogic8070Phase3(&Call, Settings);
  }
  PlanEnd(&Call);
}
