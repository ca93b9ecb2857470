#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Strings/Vocabulary.h"

// Called by every planner: out of line, the image carries it once instead of six times.
__attribute__((noinline)) VOID PlanBegin(PLAN_CALL *Call, UINT64 Instance, PLAN_STATE *State, UINTN *Count) {
  Call->Instance = Instance;
  Call->State = State;
  Call->Count = Count;
  Call->Received = *Count;
  Call->Local = *Count;
}

VOID PlanEnd(PLAN_CALL *Call) {
  *Call->Count = Call->Local;
}

BOOLEAN PlanGrew(const PLAN_CALL *Call) {
  return Call->Local > Call->Received;
}

// A plan byte of 255 means "no such phase"; the list never grows that long, so it can never be a
// real phase start.
static BOOLEAN AtPlanByte(UINT64 Instance, UINT8 PlanByte) {
  return PlanByte != PLAN_INSTANCE_NONE && Instance == PlanByte;
}

BOOLEAN PlanAtPhase1(const PLAN_CALL *Call) {
  return Call->Instance == 0;
}

BOOLEAN PlanAtPhase2(const PLAN_CALL *Call) {
  return AtPlanByte(Call->Instance, Call->State->PlanInstance);
}

BOOLEAN PlanAtPhase3(const PLAN_CALL *Call) {
  return AtPlanByte(Call->Instance, Call->State->PlanInstance2);
}

VOID PlanEndPhase1(PLAN_CALL *Call) {
  if (PlanGrew(Call)) {
    mModule.Run.mPlanInstance = (UINT8)Call->Local;
  }
}

VOID PlanEndPhase2(PLAN_CALL *Call) {
  if (PlanGrew(Call)) {
    mModule.Run.mPlanInstance2 = (UINT8)Call->Local;
  } else {
    Call->State->PlanInstance2 = (UINT8)Call->Instance;
  }
}

VOID PlanFinish(FUNCTION_SETTINGS *Settings) {
  mModule.Run.mPlanComplete = 1;
  Settings->ProgressFlags |= PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2;
}

BOOLEAN PlanAppend(PLAN_CALL *Call, UINT32 Code) {
  return AppendCommand(Code, &Call->Local);
}

VOID PlanAppendAll(PLAN_CALL *Call, const UINT32 *Codes, UINTN CodeCount) {
  for (UINTN Index = 0; Index < CodeCount; Index++) {
    PlanAppend(Call, Codes[Index]);
  }
}

BOOLEAN PlanDecide(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings, UINT32 Code) {
  return PlanCommand(Settings, Code, &Call->Local);
}

VOID PlanDecideAll(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings, const UINT32 *Codes, UINTN CodeCount) {
  for (UINTN Index = 0; Index < CodeCount; Index++) {
    PlanDecide(Call, Settings, Codes[Index]);
  }
}

const UINT32 mFibreChannelNameCodes[6] = {SET_PF_WWNN,      SET_PF_WWPN,     SET_PF_TAR_WWPN1,
                                          SET_PF_TAR_WWPN2, SET_PF_TAR_LUN1, SET_PF_TAR_LUN2};

const UINT32 mIscsiSettingCodes[14] = {
    SET_ISCSI_INI_NAME,         SET_ISCSI_INI_ADDR_ORIGIN,
    SET_ISCSI_INI_IPV4_ADDR,    SET_ISCSI_INI_IPV4_SUBNET_MASK,
    SET_ISCSI_INI_IPV4_GATEWAY, SET_ISCSI_TAR_ADDR_ORIGIN,
    SET_ISCSI_TAR_NAME,         SET_ISCSI_TAR_IPV4_ADDR,
    SET_ISCSI_TAR_TCP_PORT,     SET_ISCSI_TAR_BOOT_LUN,
    SET_ISCSI_TAR_AUTH_METHOD,  SET_ISCSI_TAR_CHAP_USERNAME,
    SET_ISCSI_TAR_CHAP_SECRET,  SET_ISCSI_TAR_MUT_CHAP_SECRET,
};
