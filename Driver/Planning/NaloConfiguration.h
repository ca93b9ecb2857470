// The platform's virtual-I/O configuration tables and policy, as the planners see them.
#ifndef DRIVER_PLANNING_NALO_CONFIGURATION_H_
#define DRIVER_PLANNING_NALO_CONFIGURATION_H_

#include "ModuleState.h"

extern EFI_GUID gNaloConfigurationProtocolGuid;
extern EFI_GUID gPlatformPolicyProtocolGuid;

EFI_STATUS LocateNaloConfig(VOID);
EFI_STATUS LoadNaloConfiguration(FUNCTION_SETTINGS *Settings);
// Calls the platform's QueryDefaults; FALSE when the protocol cannot be located.
BOOLEAN QueryDefaults(UINTN Selector);
UINT8 GetForceAdapterEnable(VOID);
VOID NotifyRestartOnce(VOID);
// Points the three work-entry pointers at entry Index of their tables (Index below 16).
VOID SelectNaloEntries(UINTN Index);

#endif
