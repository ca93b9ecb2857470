// What the parsers share for putting a result into the settings records: the walks over a
// record's Functions and Ports lists and the values that more than one family reports.
#ifndef DRIVER_PARSERS_RECORD_STORE_H_
#define DRIVER_PARSERS_RECORD_STORE_H_

#include "ModuleState.h"

// Entry Index of a record's Functions / Ports list, or NULL where the list has ended: at the
// record's count, at the 16 list slots, or at the first NULL entry, whichever comes first.
FUNCTION_SETTINGS *FunctionListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index);
FUNCTION_SETTINGS *PortListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index);

// A VLAN ID the adapter reports: the working pair takes it as it is, the record keeps 4095 (no
// VLAN) as 0.
VOID StoreVlanId(FUNCTION_SETTINGS *Settings, UINT16 VlanId);

// A port or boot enable the adapter reports, as it is now and as the value to apply.
VOID RecordPortEnable(FUNCTION_SETTINGS *Settings, UINT8 Enabled);
VOID RecordBootEnable(FUNCTION_SETTINGS *Settings, UINT8 Enabled);

#endif
