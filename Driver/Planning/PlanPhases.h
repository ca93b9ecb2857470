// The three-phase mechanism that every family planner shares.
//
// A planner call works on a local copy of the command count and writes it back when it ends.
// Whether a phase "grew" the plan is judged against the count the planner received, so a phase-2
// pass that appended nothing lets phase 3 follow in the same call.
#ifndef DRIVER_PLANNING_PLAN_PHASES_H_
#define DRIVER_PLANNING_PLAN_PHASES_H_

#include "ModuleState.h"

typedef struct {
  UINT64 Instance;
  PLAN_STATE *State; // the call's private snapshot
  UINTN *Count;      // the caller's count, written back by PlanEnd
  UINTN Received;    // the count when the call started
  UINTN Local;       // the working count that appends advance
} PLAN_CALL;

VOID PlanBegin(PLAN_CALL *Call, UINT64 Instance, PLAN_STATE *State, UINTN *Count);
// Writes the local count back to the caller.
VOID PlanEnd(PLAN_CALL *Call);

BOOLEAN PlanAtPhase1(const PLAN_CALL *Call);
BOOLEAN PlanAtPhase2(const PLAN_CALL *Call);
BOOLEAN PlanAtPhase3(const PLAN_CALL *Call);
// After the discovery codes: the second phase runs at the Instance the list has grown to.
VOID PlanEndPhase1(PLAN_CALL *Call);
// After the codes that need discovery: the third phase runs at the new end of the list, or in this
// very call when nothing was appended.
VOID PlanEndPhase2(PLAN_CALL *Call);
// The plan is complete for this function: EXIT and END follow, and the record is marked planned.
VOID PlanFinish(FUNCTION_SETTINGS *Settings);
BOOLEAN PlanGrew(const PLAN_CALL *Call);

// Appends one code directly (dropped when the list is full); TRUE when appended.
BOOLEAN PlanAppend(PLAN_CALL *Call, UINT32 Code);
VOID PlanAppendAll(PLAN_CALL *Call, const UINT32 *Codes, UINTN CodeCount);
// Asks the planning predicate; TRUE when it appended anything.
BOOLEAN PlanDecide(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings, UINT32 Code);
VOID PlanDecideAll(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings, const UINT32 *Codes, UINTN CodeCount);

#define PLAN_CODES(Array) (Array), (sizeof(Array) / sizeof((Array)[0]))

// Sequences that several families plan in the same order.
extern const UINT32 mFibreChannelNameCodes[6];
// The initiator name first: it is the one iSCSI setting that does not need a usable boot entry.
extern const UINT32 mIscsiSettingCodes[14];

#endif
