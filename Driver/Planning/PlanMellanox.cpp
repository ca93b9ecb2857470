// Mellanox planners: two phases, reading first and setting second (1013), or reading only (1017).
#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Strings/Vocabulary.h"

static const UINT32 mMellanox1013Shows[] = {SHOW_PORT_EN,    SHOW_BOOT_EN, SHOW_MAX_LINK_SPEED,
                                            SHOW_PF_MFG_MAC, SHOW_PF_MAC,  SHOW_PXE_VLANID};
static const UINT32 mMellanox1013Settings[] = {SET_SRIOV_FOR_CONTROLLER, SET_PORT_EN, SET_BOOT_EN,
                                               SET_PF_MAC};

VOID PlanMellanox1013(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState, UINTN *Count) {
  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  if (PlanAtPhase1(&Call)) {
    if (IsFirstFunctionOfAdapter(Settings)) {
      PlanAppend(&Call, SHOW_VERSION);
      PlanAppend(&Call, SHOW_SRIOV);
    }
    // Port defaults go first, so that the shows below read the state they leave.
    PlanDecide(&Call, Settings, SET_PORT_DEFAULTS);
    PlanAppendAll(&Call, PLAN_CODES(mMellanox1013Shows));
    mModule.Run.mPlanInstance = (UINT8)Call.Local;
  } else if (PlanAtPhase2(&Call)) {
    PlanDecideAll(&Call, Settings, PLAN_CODES(mMellanox1013Settings));
    PlanAppend(&Call, SHOW_PF_MAC);
    PlanDecide(&Call, Settings, SET_PF_VLANID);
    PlanFinish(Settings);
  }
  PlanEnd(&Call);
}

VOID PlanMellanox1017(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState, UINTN *Count) {
  (VOID) Settings;
  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  if (PlanAtPhase1(&Call)) {
    if (IsFirstFunctionOfAdapter(Settings)) {
      PlanAppend(&Call, SHOW_VERSION);
    }
    PlanAppend(&Call, SHOW_MAX_LINK_SPEED);
    mModule.Run.mPlanComplete = 1;
  }
  PlanEnd(&Call);
}
