// Putting parse results into the settings records; see RecordStore.h.
#include "ModuleState.h"
#include "Parsers/RecordStore.h"
#include "Strings/Vocabulary.h"

// A NULL entry ends the list even when the count says more. The lists are read as members of the
// packed record, never through a pointer to their first entry: the platform's record need not be
// 8-byte aligned, and only the member access tells the compiler so.
FUNCTION_SETTINGS *FunctionListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index) {
  if (Index >= Settings->FunctionCount || Index >= FUNCTION_LIST_ENTRIES) {
    return nullptr;
  }
  return Settings->Functions[Index];
}

FUNCTION_SETTINGS *PortListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index) {
  if (Index >= Settings->PortCount || Index >= FUNCTION_LIST_ENTRIES) {
    return nullptr;
  }
  return Settings->Ports[Index];
}

VOID StoreVlanId(FUNCTION_SETTINGS *Settings, UINT16 VlanId) {
  mModule.Discovered.mCurrentVlanId = VlanId;
  mModule.Discovered.mTargetVlanId = VlanId;
  Settings->VlanId = VlanId == VLAN_NONE ? 0 : VlanId;
}

VOID RecordPortEnable(FUNCTION_SETTINGS *Settings, UINT8 Enabled) {
  Settings->PortEnable = Enabled;
  Settings->PortEnableToApply = Enabled;
}

VOID RecordBootEnable(FUNCTION_SETTINGS *Settings, UINT8 Enabled) {
  Settings->BootEnable = Enabled;
  Settings->BootEnableToApply = Enabled;
}
