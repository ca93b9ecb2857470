// Shared pieces of the planning predicate. PlanCommand (PlanCommand.cpp) dispatches each code to
// one of the decision routines below; each routine appends through AppendCommand only, so none of
// them can write past the command list. The table-state tests are the family planners' too.
#ifndef DRIVER_PLANNING_PREDICATE_INTERNAL_H_
#define DRIVER_PLANNING_PREDICATE_INTERNAL_H_

#include "ModuleState.h"
#include "Planning/Planning.h"
#include "Strings/Vocabulary.h"

#define VLAN_ID_MASK 0x0FFF

// Table state. Every test is for the exact value 1, as the platform marks valid tables.
static inline BOOLEAN PortTableValid(VOID) {
  return mModule.Tables.mNaloHeader.PortTableValid == 1;
}
static inline BOOLEAN AddressTableValid(VOID) {
  return mModule.Tables.mNaloHeader.AddressTableValid == 1;
}
static inline BOOLEAN BootTableValid(VOID) {
  return mModule.Tables.mNaloHeader.BootTableValid == 1;
}
static inline BOOLEAN SriovValid(VOID) {
  return mModule.Tables.mNaloHeader.SriovValid == 1;
}
// (ConfigType, ConfigSubtype) = (2, 5) moves VLAN to the boot entry and suppresses bandwidth.
static inline BOOLEAN ConfigIsType2Subtype5(VOID) {
  return mModule.Tables.mNaloHeader.ConfigType == 2 && mModule.Tables.mNaloHeader.ConfigSubtype == 5;
}
// The boot entry of the function at hand exists and carries boot settings.
static inline BOOLEAN BootEntryUsable(VOID) {
  return BootTableValid() && mModule.Tables.mCurBootEntry != nullptr &&
         mModule.Tables.mCurBootEntry->Enabled == 1;
}
// The platform assigns virtual addresses to the function at hand.
static inline BOOLEAN AddressEntryEnabled(VOID) {
  return AddressTableValid() && mModule.Tables.mCurAddressEntry != nullptr &&
         mModule.Tables.mCurAddressEntry->Enabled == 1;
}
// The platform's address table says the function at hand uses its manufacturer addresses.
static inline BOOLEAN AddressEntryWantsManufacturer(VOID) {
  return AddressTableValid() && mModule.Tables.mCurAddressEntry != nullptr &&
         mModule.Tables.mCurAddressEntry->Enabled == 0;
}
// Function entries the platform describes for the port, never more than the table holds.
static inline UINTN DesiredFunctionEntries(VOID) {
  UINTN Count = mModule.Tables.mNaloPortTable.DesiredFunctionCount;
  return Count > NALO_FUNCTION_ENTRIES ? NALO_FUNCTION_ENTRIES : Count;
}
// Link layouts in which functions can be typed and partitioned.
static inline BOOLEAN LayoutAllowsTyping(VOID) {
  return mModule.Discovered.mActiveLinkConfig == 0 || mModule.Discovered.mActiveLinkConfig == 2 ||
         mModule.Discovered.mActiveLinkConfig == 3;
}

// TRUE when two NUL-terminated texts differ within Bound bytes; a field that the platform left
// without a terminator is never read beyond its size.
BOOLEAN PlanTextDiffers(const CHAR8 *First, const CHAR8 *Second, UINTN Bound);

// PlanEnables.cpp
VOID PlanPortEnable(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanBootEnable(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanAddressDefaults(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanPortDefaults(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanShowPxeVlanId(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);

// PlanAddresses.cpp
VOID PlanPfMac(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanPfWorldWideName(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);

// PlanBootTargets.cpp
VOID PlanFcBootTarget(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanIscsi(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);

// PlanVlanBandwidth.cpp
VOID PlanBandwidth(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanVlan(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);

// PlanLayout.cpp
VOID PlanMode(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanPfCount(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanPf1Type(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanPf2Types(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanUmc(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);
VOID PlanSriov(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count);

#endif
