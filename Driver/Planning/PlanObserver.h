// What the simulator's --explain sees of planning: each decision of the predicate (before and
// after it), each code appended to the command list, and each reply handed to the parsers.
//
// Host builds of the simulator only. Without PTD_PLAN_OBSERVER (the firmware image, the unit tests
// and the benchmark) every PLAN_OBSERVE expands to nothing, so the image is the same with or
// without the hook.
#ifndef DRIVER_PLANNING_PLAN_OBSERVER_H_
#define DRIVER_PLANNING_PLAN_OBSERVER_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"

typedef enum {
  PlanObserveDecisionStart, // the predicate is about to decide Code for Settings
  PlanObserveDecisionEnd,   // ... and has decided: Appended says whether it planned anything
  PlanObserveAppend,        // Code enters the command list at Position
  PlanObserveReply,         // the reply of Code for Settings goes to the parsers
} PLAN_OBSERVATION_KIND;

typedef struct PLAN_OBSERVATION {
  PLAN_OBSERVATION_KIND Kind;
  UINT32 Code;
  const FUNCTION_SETTINGS *Settings;
  UINTN Position;
  BOOLEAN Appended;
} PLAN_OBSERVATION;

#ifdef PTD_PLAN_OBSERVER
extern VOID (*gPlanObserver)(const PLAN_OBSERVATION *Observation);
#define PLAN_OBSERVE(KindValue, CodeValue, SettingsValue, PositionValue, AppendedValue)                      \
  do {                                                                                                       \
    if (gPlanObserver != nullptr) {                                                                          \
      const PLAN_OBSERVATION Observation = {(KindValue), (UINT32)(CodeValue), (SettingsValue),               \
                                            (UINTN)(PositionValue), (BOOLEAN)(AppendedValue)};               \
      gPlanObserver(&Observation);                                                                           \
    }                                                                                                        \
  } while (0)
#else
#define PLAN_OBSERVE(KindValue, CodeValue, SettingsValue, PositionValue, AppendedValue) ((VOID)0)
#endif

#endif
