// The adapter families and vendors as data, the acceptance of a controller for ManagedMode and its
// classification into a family.
#include "ModuleState.h"
#include "Managed/AdapterFamilies.h"
#include "Managed/AdapterSettings.h"
#include "Strings/Vocabulary.h"

EFI_GUID gAdapterSettingsProtocolGuid = ADAPTER_SETTINGS_PROTOCOL_GUID;

// clang-format off
#define DEVICES(...) (UINT8)(sizeof((const UINT16[]){__VA_ARGS__}) / sizeof(UINT16)), {__VA_ARGS__}
#define ANY_DEVICE 0, {}
#define FLAG(Name) (UINT8) __builtin_offsetof(ADAPTER_FAMILY, Name)

// A controller's flags are those of the first row that lists its vendor:device pair. Rows whose
// flags are a subset of an earlier row's come after it, so that the flags lead back to the row;
// the rows with a value prefix of their own come first, so that it wins wherever their flag is set.
// Columns: vendor, devices; flag, sub-family, planner, builder, value prefix (empty: the
// vendor's), SHOW_PF_INFO keys, planned through the first function of each port only.
constexpr ADAPTER_FAMILY_ROW mAdapterFamilies[] = {
  {VENDOR_QLOGIC, DEVICES(DEVICE_QLOGIC_8070, DEVICE_QLOGIC_1644, DEVICE_QLOGIC_1656),
   FLAG(QLogic8070), NO_SUB_FAMILY, PlannerQLogic8070, BuilderQLogic8070, "data=", PfInfoNone, TRUE},
  {VENDOR_QLOGIC, DEVICES(DEVICE_QLOGIC_2261),
   FLAG(QLogic2031), FLAG(QLogic2261), PlannerGeneral, BuilderDefault, "retdata=\r\n", PfInfoQLogic2031, FALSE},
  {VENDOR_INTEL, ANY_DEVICE,
   FLAG(Intel), NO_SUB_FAMILY, PlannerGeneral, BuilderDefault, "", PfInfoNone, FALSE},
  {VENDOR_QLOGIC, DEVICES(DEVICE_QLOGIC_2031, DEVICE_QLOGIC_2532),
   FLAG(QLogic2031), NO_SUB_FAMILY, PlannerQLogic2031, BuilderQLogic2031, "", PfInfoQLogic2031, FALSE},
  {VENDOR_EMULEX, DEVICES(DEVICE_EMULEX_0720, DEVICE_EMULEX_0722, DEVICE_EMULEX_0724),
   FLAG(Emulex0720), NO_SUB_FAMILY, PlannerEmulex0720, BuilderEmulex0720, "", PfInfoEmulex0720, TRUE},
  {VENDOR_EMULEX, DEVICES(DEVICE_EMULEX_E200, DEVICE_EMULEX_E300),
   FLAG(EmulexE200), NO_SUB_FAMILY, PlannerGeneral, BuilderDefault, "", PfInfoNone, FALSE},
  {VENDOR_EMULEX_OC, DEVICES(DEVICE_EMULEX_0700, DEVICE_EMULEX_0702, DEVICE_EMULEX_0704),
   FLAG(Emulex0700), NO_SUB_FAMILY, PlannerGeneral, BuilderDefault, "", PfInfoNone, TRUE},
  {VENDOR_EMULEX_OC, DEVICES(DEVICE_EMULEX_0710, DEVICE_EMULEX_0712, DEVICE_EMULEX_0714),
   FLAG(Emulex0710), NO_SUB_FAMILY, PlannerGeneral, BuilderDefault, "", PfInfoEmulex0710, TRUE},
  {VENDOR_MELLANOX, DEVICES(DEVICE_MELLANOX_1013, DEVICE_MELLANOX_1015),
   FLAG(Mellanox1013), NO_SUB_FAMILY, PlannerMellanox1013, BuilderMellanox1013, "", PfInfoNone, FALSE},
  {VENDOR_MELLANOX, DEVICES(DEVICE_MELLANOX_1017, DEVICE_MELLANOX_101B),
   FLAG(Mellanox1017), NO_SUB_FAMILY, PlannerMellanox1017, BuilderMellanox1017, "", PfInfoNone, FALSE},
};

static const ADAPTER_VENDOR_ROW mAdapterVendors[] = {
  // vendor          value prefix          BuildDefaultClpCommand lines  reconfigurable
  {VENDOR_INTEL,     "permanentaddress=",  DialectIntel,                 TRUE},
  {VENDOR_QLOGIC,    "retdata=",           DialectNetPort,               FALSE},
  {VENDOR_EMULEX,    "retdata=",           DialectFcPort,                FALSE},
  {VENDOR_EMULEX_OC, "retdata=",           DialectOemPortFunction,       FALSE},
  {VENDOR_MELLANOX,  "data=",              DialectNone,                  TRUE},
};
// clang-format on

const UINTN mAdapterFamilyCount = sizeof(mAdapterFamilies) / sizeof(mAdapterFamilies[0]);

constexpr BOOLEAN DeviceListsFit() {
  for (const ADAPTER_FAMILY_ROW &Row : mAdapterFamilies) {
    if (Row.DeviceCount > FAMILY_DEVICE_SLOTS) {
      return FALSE;
    }
  }
  return TRUE;
}
static_assert(DeviceListsFit(), "a family row lists more devices than it has room for");

static BOOLEAN ListsDevice(const ADAPTER_FAMILY_ROW &Row, UINT16 DeviceId) {
  for (UINTN Index = 0; Index < Row.DeviceCount; Index++) {
    if (Row.DeviceIds[Index] == DeviceId) {
      return TRUE;
    }
  }
  return Row.DeviceCount == 0;
}

const ADAPTER_FAMILY_ROW *FindAdapterFamily(UINT16 VendorId, UINT16 DeviceId) {
  for (const ADAPTER_FAMILY_ROW &Row : mAdapterFamilies) {
    if (Row.VendorId == VendorId && ListsDevice(Row, DeviceId)) {
      return &Row;
    }
  }
  return nullptr;
}

// The flags are all BOOLEANs, so a flag's place is its index.
static_assert(sizeof(ADAPTER_FAMILY) == 10 * sizeof(BOOLEAN), "ADAPTER_FAMILY holds only its ten flags");
static BOOLEAN *FamilyFlag(UINT8 Place) {
  return (BOOLEAN *)&mModule.Run.mFamily + Place;
}

const ADAPTER_FAMILY_ROW *IdentifiedFamily(VOID) {
  for (const ADAPTER_FAMILY_ROW &Row : mAdapterFamilies) {
    if (*FamilyFlag(Row.Flag) && (Row.SubFlag == NO_SUB_FAMILY || *FamilyFlag(Row.SubFlag))) {
      return &Row;
    }
  }
  return nullptr;
}

const ADAPTER_VENDOR_ROW *FindAdapterVendor(UINT16 VendorId) {
  for (const ADAPTER_VENDOR_ROW &Row : mAdapterVendors) {
    if (Row.VendorId == VendorId) {
      return &Row;
    }
  }
  return nullptr;
}

const char *ReplyValuePrefix(const FUNCTION_SETTINGS *Settings) {
  const ADAPTER_FAMILY_ROW *Family = IdentifiedFamily();
  if (Family != nullptr && Family->ValuePrefix[0] != '\0' && Family->VendorId == Settings->VendorId) {
    return (const char *)Family->ValuePrefix;
  }
  const ADAPTER_VENDOR_ROW *Vendor = FindAdapterVendor(Settings->VendorId);
  return Vendor != nullptr ? (const char *)Vendor->ValuePrefix : "retdata=";
}

BOOLEAN AcceptController(FUNCTION_SETTINGS *Settings) {
  if ((Settings->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE) != 0) {
    // Only some vendors' controllers can be configured twice in one boot, and only on the
    // platform's request.
    const ADAPTER_VENDOR_ROW *Vendor = FindAdapterVendor(Settings->VendorId);
    if (Vendor == nullptr || !Vendor->Reconfigurable ||
        (Settings->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED) == 0) {
      return FALSE;
    }
  }
  return (Settings->PlatformFlags & PLATFORM_FLAG_MANAGED_MODE_ENABLED) != 0;
}

BOOLEAN IdentifyAdapterFamily(FUNCTION_SETTINGS *Settings) {
  mModule.Run.mFamily = ADAPTER_FAMILY{};
  const ADAPTER_FAMILY_ROW *Row = FindAdapterFamily(Settings->VendorId, Settings->DeviceId);
  if (Row == nullptr) {
    return FALSE;
  }
  *FamilyFlag(Row->Flag) = TRUE;
  if (Row->SubFlag != NO_SUB_FAMILY) {
    *FamilyFlag(Row->SubFlag) = TRUE;
  }
  return TRUE;
}
