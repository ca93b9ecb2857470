// The planner a family row names.
#include "Planning/Planning.h"

// A switch rather than a table of planner addresses: it needs no load-time relocation.
VOID RunFamilyPlanner(FAMILY_PLANNER Planner, UINT64 Instance, FUNCTION_SETTINGS *Settings,
                      PLAN_STATE *PlanState, UINTN *Count) {
  switch (Planner) {
  case PlannerGeneral:
    PlanGeneral(Instance, Settings, PlanState, Count);
    break;
  case PlannerQLogic2031:
    PlanQLogic2031(Instance, Settings, PlanState, Count);
    break;
  case PlannerQLogic8070:
    PlanQLogic8070(Instance, Settings, PlanState, Count);
    break;
  case PlannerEmulex0720:
    PlanEmulex0720(Instance, Settings, PlanState, Count);
    break;
  case PlannerMellanox1013:
    PlanMellanox1013(Instance, Settings, PlanState, Count);
    break;
  case PlannerMellanox1017:
    PlanMellanox1017(Instance, Settings, PlanState, Count);
    break;
  }
}
