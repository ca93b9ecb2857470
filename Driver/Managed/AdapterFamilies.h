// The adapter families: one row per family and sub-family, with everything in which one family's
// handling differs from another's. Adding a family is adding a row here and the tables it names
// (see Managed/AddingAnAdapterFamily.md).
#ifndef DRIVER_MANAGED_ADAPTER_FAMILIES_H_
#define DRIVER_MANAGED_ADAPTER_FAMILIES_H_

#include "ModuleState.h"
#include "Builders/Builders.h"
#include "Parsers/PfInfoParsers.h"
#include "Planning/Planning.h"

#define FAMILY_DEVICE_SLOTS 3
#define NO_SUB_FAMILY 0xFF
// "permanentaddress=" and its terminator.
#define VALUE_PREFIX_SIZE 18

typedef struct {
  UINT16 VendorId;
  // The devices of the family; a row without devices takes every device of its vendor.
  UINT8 DeviceCount;
  UINT16 DeviceIds[FAMILY_DEVICE_SLOTS];
  // The family flag the row sets, and the flag of a sub-family set with it (or NO_SUB_FAMILY), as
  // their places in ADAPTER_FAMILY.
  UINT8 Flag;
  UINT8 SubFlag;
  FAMILY_PLANNER Planner;
  CLP_BUILDER_ID Builder;
  // Where the value of a reply starts, when it is not the vendor's (empty: the vendor's).
  CHAR8 ValuePrefix[VALUE_PREFIX_SIZE];
  // The SHOW_PF_INFO key table, or nullptr when the family reads nothing from that reply.
  PF_INFO_KEYS PfInfoKeys;
  // Planned through the first function of each port only; the other functions' controllers get END.
  BOOLEAN FirstFunctionOfPortOnly;
} ADAPTER_FAMILY_ROW;

// What a record's vendor decides whatever its family: replies and lines of a record are read and
// written the vendor's way.
typedef struct {
  UINT16 VendorId;
  CHAR8 ValuePrefix[VALUE_PREFIX_SIZE];
  // BuildDefaultClpCommand's lines for the vendor's codes.
  CLP_VENDOR_DIALECT Dialect;
  // May be configured a second time in one boot, on the platform's request.
  BOOLEAN Reconfigurable;
} ADAPTER_VENDOR_ROW;

extern const ADAPTER_FAMILY_ROW mAdapterFamilies[];
extern const UINTN mAdapterFamilyCount;

// The row of a vendor:device pair, or nullptr.
const ADAPTER_FAMILY_ROW *FindAdapterFamily(UINT16 VendorId, UINT16 DeviceId);
// The row whose flags are set in mFamily: the family IdentifyAdapterFamily chose, or nullptr.
const ADAPTER_FAMILY_ROW *IdentifiedFamily(VOID);
// The row of a vendor, or nullptr.
const ADAPTER_VENDOR_ROW *FindAdapterVendor(UINT16 VendorId);
// Where the value of a reply for this record starts.
const char *ReplyValuePrefix(const FUNCTION_SETTINGS *Settings);

#endif
