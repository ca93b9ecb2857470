// Appending to the command list, and the text comparison the decisions share: the layer under
// both the planners and the decision routines of the predicate.
#include "ModuleState.h"
#include "Planning/PlanObserver.h"
#include "Planning/PredicateInternal.h"

BOOLEAN AppendCommand(UINT32 Code, UINTN *Count) {
  if (Count == nullptr || *Count > PLAN_LAST_APPEND_INDEX) {
    return FALSE;
  }
  mModule.Run.CommandList[*Count] = (INT32)Code;
  PLAN_OBSERVE(PlanObserveAppend, Code, nullptr, *Count, TRUE);
  (*Count)++;
  return TRUE;
}

BOOLEAN PlanTextDiffers(const CHAR8 *First, const CHAR8 *Second, UINTN Bound) {
  for (UINTN Index = 0; Index < Bound; Index++) {
    if (First[Index] != Second[Index]) {
      return TRUE;
    }
    if (First[Index] == 0) {
      return FALSE;
    }
  }
  return FALSE;
}
