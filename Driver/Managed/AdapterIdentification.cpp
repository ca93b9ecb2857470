// Acceptance of a controller for ManagedMode and its classification into an adapter family.
#include "Managed/AdapterSettings.h"
#include "Strings/Vocabulary.h"

EFI_GUID gAdapterSettingsProtocolGuid = ADAPTER_SETTINGS_PROTOCOL_GUID;

typedef struct {
  UINT32 VidDid;
  BOOLEAN ADAPTER_FAMILY::*Family;
  BOOLEAN ADAPTER_FAMILY::*SubFamily; // set together with Family, or nullptr
} FAMILY_ID;

static const FAMILY_ID mFamilyIds[] = {
    {VidDid(0x1077, 0x2031), &ADAPTER_FAMILY::QLogic2031, nullptr},
    {VidDid(0x1077, 0x2532), &ADAPTER_FAMILY::QLogic2031, nullptr},
    {VidDid(0x1077, 0x2261), &ADAPTER_FAMILY::QLogic2031, &ADAPTER_FAMILY::QLogic2261},
    {VidDid(0x1077, 0x8070), &ADAPTER_FAMILY::QLogic8070, nullptr},
    {VidDid(0x1077, 0x1644), &ADAPTER_FAMILY::QLogic8070, nullptr},
    {VidDid(0x1077, 0x1656), &ADAPTER_FAMILY::QLogic8070, nullptr},
    {VidDid(0x10DF, 0x0720), &ADAPTER_FAMILY::Emulex0720, nullptr},
    {VidDid(0x10DF, 0x0722), &ADAPTER_FAMILY::Emulex0720, nullptr},
    {VidDid(0x10DF, 0x0724), &ADAPTER_FAMILY::Emulex0720, nullptr},
    {VidDid(0x10DF, 0xE200), &ADAPTER_FAMILY::EmulexE200, nullptr},
    {VidDid(0x10DF, 0xE300), &ADAPTER_FAMILY::EmulexE200, nullptr},
    {VidDid(0x19A2, 0x0700), &ADAPTER_FAMILY::Emulex0700, nullptr},
    {VidDid(0x19A2, 0x0702), &ADAPTER_FAMILY::Emulex0700, nullptr},
    {VidDid(0x19A2, 0x0704), &ADAPTER_FAMILY::Emulex0700, nullptr},
    {VidDid(0x19A2, 0x0710), &ADAPTER_FAMILY::Emulex0710, nullptr},
    {VidDid(0x19A2, 0x0712), &ADAPTER_FAMILY::Emulex0710, nullptr},
    {VidDid(0x19A2, 0x0714), &ADAPTER_FAMILY::Emulex0710, nullptr},
    {VidDid(0x15B3, 0x1013), &ADAPTER_FAMILY::Mellanox1013, nullptr},
    {VidDid(0x15B3, 0x1015), &ADAPTER_FAMILY::Mellanox1013, nullptr},
    {VidDid(0x15B3, 0x1017), &ADAPTER_FAMILY::Mellanox1017, nullptr},
    {VidDid(0x15B3, 0x101B), &ADAPTER_FAMILY::Mellanox1017, nullptr},
};

BOOLEAN AcceptController(FUNCTION_SETTINGS *Settings) {
  if ((Settings->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE) != 0) {
    // Only Intel and Mellanox controllers can be configured twice in one boot, and only on the
    // platform's request.
    const BOOLEAN Reconfigurable =
        Settings->VendorId == VENDOR_INTEL || Settings->VendorId == VENDOR_MELLANOX;
    if (!Reconfigurable || (Settings->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED) == 0) {
      return FALSE;
    }
  }
  return (Settings->PlatformFlags & PLATFORM_FLAG_MANAGED_MODE_ENABLED) != 0;
}

BOOLEAN IdentifyAdapterFamily(FUNCTION_SETTINGS *Settings) {
  mModule.mPciVidDid = VidDid(Settings->VendorId, Settings->DeviceId);
  mModule.mFamily = ADAPTER_FAMILY{};

  if (Settings->VendorId == VENDOR_INTEL) {
    mModule.mFamily.Intel = TRUE;
    return TRUE;
  }
  BOOLEAN Found = FALSE;
  for (const FAMILY_ID &Id : mFamilyIds) {
    if (Id.VidDid == mModule.mPciVidDid) {
      mModule.mFamily.*Id.Family = TRUE;
      if (Id.SubFamily != nullptr) {
        mModule.mFamily.*Id.SubFamily = TRUE;
      }
      Found = TRUE;
    }
  }
  return Found;
}
