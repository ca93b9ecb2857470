// All module-level state of the driver in one place.
//
// Each subsystem defines the state it owns in its folder's chief header; this structure only
// composes them, so the driver keeps no state anywhere else. Every member starts as zero, so the
// whole state is uninitialised data (.bss) that the image loader zero-fills and that takes no room
// in the image file. The few members whose load value is not zero are set by
// SetModuleLoadValues(), which the entry point calls before anything else; ResetModuleState()
// (host tests and the simulator's reboot) zeroes the state and calls the same routine, so both
// builds start from the same state. No constructor has to run on firmware.
#ifndef DRIVER_MODULE_STATE_H_
#define DRIVER_MODULE_STATE_H_

#include "PlatformToDriver.h"
#include "Builders/Builders.h"
#include "Managed/AdapterSettings.h"
#include "Parsers/DiscoveredState.h"
#include "Planning/NaloConfiguration.h"
#include "Planning/Planning.h"
#include "Reporting/Reporting.h"

struct DRIVER_MODULE_STATE {
  TOOL_MODE_STATE ToolMode;
  MANAGED_RUN_STATE Run;
  CONFIGURATION_TABLES_STATE Tables;
  BUILDER_STATE Builder;
  DISCOVERED_STATE Discovered;
  PLANNER_STATE Planner;
  REPORTING_STATE Reporting;
};

extern DRIVER_MODULE_STATE mModule;

// Sets the members whose load value is not zero; everything else is left as it is.
VOID SetModuleLoadValues(VOID);

// Host builds only: puts every field of mModule back to its load value.
VOID ResetModuleState(VOID);

#endif
