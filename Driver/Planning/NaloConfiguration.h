// The platform's virtual-I/O configuration tables and policy, as the planners see them.
#ifndef DRIVER_PLANNING_NALO_CONFIGURATION_H_
#define DRIVER_PLANNING_NALO_CONFIGURATION_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Protocol/NaloConfiguration.h"
#include "Protocol/PlatformPolicy.h"

// The platform's configuration tables for the adapter at hand and the entries of the function
// being planned or built.
struct CONFIGURATION_TABLES_STATE {
  NALO_CONFIGURATION_PROTOCOL *mNaloConfig = nullptr;
  NALO_CONFIG_HEADER mNaloHeader = {};
  NALO_PORT_TABLE mNaloPortTable = {};
  NALO_ADDRESS_ENTRY mNaloAddressTable[NALO_FUNCTION_ENTRIES] = {};
  NALO_BOOT_ENTRY mNaloBootTable[NALO_FUNCTION_ENTRIES] = {};
  NALO_FUNCTION_ENTRY *mCurFunctionEntry = nullptr;
  NALO_ADDRESS_ENTRY *mCurAddressEntry = nullptr;
  NALO_BOOT_ENTRY *mCurBootEntry = nullptr;
  PLATFORM_POLICY_PROTOCOL *mPlatformPolicy = nullptr;
  UINT8 mPlatformPolicyRecord[PLATFORM_POLICY_RECORD_SIZE] = {};
  BOOLEAN mPlatformPolicyRead = FALSE;
  UINT8 mForceAdapterEnable = 0;
  UINT8 mAdapterNotified = 0;
};

extern EFI_GUID gNaloConfigurationProtocolGuid;
extern EFI_GUID gPlatformPolicyProtocolGuid;

EFI_STATUS LocateNaloConfig(VOID);
EFI_STATUS LoadNaloConfiguration(FUNCTION_SETTINGS *Settings);
// Calls the platform's QueryDefaults; FALSE when the protocol cannot be located.
BOOLEAN QueryDefaults(UINTN Selector);
UINT8 GetForceAdapterEnable(VOID);
VOID NotifyRestartOnce(VOID);
// Points the three work-entry pointers at entry Index of their tables; an Index beyond the
// 16-entry tables has no entries (NULL), which the builders read as absent values.
VOID SelectNaloEntries(UINTN Index);

#endif
