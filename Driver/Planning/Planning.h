// The planning predicate, the family planners and the link layout adjustment.
#ifndef DRIVER_PLANNING_PLANNING_H_
#define DRIVER_PLANNING_PLANNING_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Planning/CommandCodes.h"

// Snapshot of the five plan bytes, taken once per planning pass; every planner gets a copy.
typedef struct {
  UINT8 PlanInstance;
  UINT8 PlanInstance2;
  UINT8 PlanStopped;
  UINT8 PlanComplete;
  UINT8 LinkAdjusted;
} PLAN_STATE;
static_assert(sizeof(PLAN_STATE) == 5, "PLAN_STATE is five bytes");

// The planners' working values: the current and wanted value of the setting being decided.
struct PLANNER_STATE {
  UINT8 mCurrentPortEnable = 0;
  UINT8 mTargetPortEnable = 0;
  UINT8 mCurrentBootEnable = 0;
  UINT8 mTargetBootEnable = 0;
  UINT8 mCurrentBandwidth = 0;
  UINT8 mTargetBandwidth = 0;
  UINT8 mCurrentRateLimit = 0;
  UINT8 mTargetRateLimit = 0;
  UINT32 mCurrentPfTypeWork = 0;
  UINT32 mTargetPfTypeWork = 0;
  UINT8 mRoceMode = 0;
  UINT8 mSriovRequested = 0;
  UINT8 mRoceTypeFound = 0;
  FUNCTION_SETTINGS *mFirstFunctionSettings = nullptr;
};

// Highest CommandList index a planned code may take. The dispatcher closes a complete plan with
// EXIT and END, so the last two of the COMMAND_LIST_ENTRIES entries are kept for them: at most
// 253 planned codes (indices 0..252), EXIT at 253 at the latest and END at 254.
#define PLAN_LAST_APPEND_INDEX (COMMAND_LIST_ENTRIES - 3)

// Decides one code for one function; appends at CommandList[*Count] and advances *Count.
// TRUE when at least one code was appended. Never writes past the command list.
BOOLEAN PlanCommand(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
// Appends one code if the list has room below PLAN_LAST_APPEND_INDEX + 1; an append that finds the
// list full is dropped and answers FALSE.
BOOLEAN AppendCommand(UINT32 Code, UINTN *Count);
BOOLEAN RestoreMacFromPermanent(FUNCTION_SETTINGS *Settings);

// The family planners, as the family rows name them. A planner is called for every function of
// the pass; it appends the function's codes and moves the phases on.
enum FAMILY_PLANNER : UINT8 {
  PlannerGeneral,
  PlannerQLogic2031,
  PlannerQLogic8070,
  PlannerEmulex0720,
  PlannerMellanox1013,
  PlannerMellanox1017,
};
VOID RunFamilyPlanner(FAMILY_PLANNER Planner, UINT64 Instance, FUNCTION_SETTINGS *Settings,
                      PLAN_STATE *PlanState, UINTN *Count);

// Each planner keeps a frame of its own: inlined into the pass they would all add to the pass's
// frame, and with it to the deepest Query path.
#define PLANNER_ENTRY __attribute__((noinline))
PLANNER_ENTRY VOID PlanEmulex0720(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                                  UINTN *Count);
PLANNER_ENTRY VOID PlanGeneral(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                               UINTN *Count);
PLANNER_ENTRY VOID PlanQLogic2031(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                                  UINTN *Count);
PLANNER_ENTRY VOID PlanQLogic8070(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                                  UINTN *Count);
PLANNER_ENTRY VOID PlanMellanox1013(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                                    UINTN *Count);
PLANNER_ENTRY VOID PlanMellanox1017(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState,
                                    UINTN *Count);
VOID ProbeRoceAndSriov(FUNCTION_SETTINGS *Settings, UINT8 *RoceMode, UINT8 *SriovRequested,
                       UINT32 *ActiveLinkConfig);

VOID AdjustLinkLayout(FUNCTION_SETTINGS *Settings);
VOID AdjustLayoutEmulex07x0(FUNCTION_SETTINGS *Settings, FUNCTION_SETTINGS *First);
VOID AdjustLayout4x1G(FUNCTION_SETTINGS *Settings);
VOID AdjustLayout4x10G(FUNCTION_SETTINGS *Settings);
VOID CopyFirmwareVersions(FUNCTION_SETTINGS *Settings, FUNCTION_SETTINGS *First);

#endif
