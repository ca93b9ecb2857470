// Port and boot enable, the return to manufacturer addresses and the PXE VLAN show.
#include "ModuleState.h"
#include "Planning/PredicateInternal.h"
#include "Planning/NaloConfiguration.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Strings/Vocabulary.h"

// Current values the adapter reports are not trusted on Emulex0700 boards: these stand-ins differ
// from any real enable value, so the SET is always planned there.

// The device whose boot enable is one setting for all its functions.
// The functions planned at Instances 1 to 7 of a 1077:1656 controller carry its boot enable.
#define SHARED_BOOT_ENABLE_FIRST 1
#define SHARED_BOOT_ENABLE_LAST 7

// Bytes of the manufacturer address copied over the current one per slot.
#define DEFAULT_TEXT_BYTES 16
#define DEFAULT_ADDRESS_BYTES 8
// RestoreMacFromPermanent compares and copies a MAC text with its terminator.
#define RESTORE_MAC_TEXT_BYTES 13
#define RESTORE_MAC_ADDRESS_BYTES 7

static BOOLEAN ForcedEnableApplies(const FUNCTION_SETTINGS *Settings) {
  return GetForceAdapterEnable() == 1 && Settings->IscsiWord == 0;
}

VOID PlanPortEnable(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  // Port enable is a port property: the first function decides, later functions inherit the
  // values it left in the working pair.
  if (IsFirstFunctionOfPort(Settings)) {
    mModule.Planner.mCurrentPortEnable = Settings->PortEnable;
    mModule.Planner.mTargetPortEnable = Settings->PortEnable;
    if (PortTableValid()) {
      mModule.Planner.mTargetPortEnable = mModule.Tables.mNaloPortTable.DesiredPortEnable == 1 ? 1 : 0;
      if (mModule.Run.mFamily.Emulex0700) {
        mModule.Planner.mCurrentPortEnable = PORT_ENABLE_UNKNOWN;
      }
    } else if (mModule.Planner.mCurrentPortEnable == 0 && QueryDefaults(NALO_QUERY_DEFAULTS_PORT)) {
      mModule.Planner.mTargetPortEnable = 1;
      if (mModule.Run.mFamily.Emulex0700) {
        mModule.Planner.mCurrentPortEnable = PORT_ENABLE_UNKNOWN;
      }
    }
    if (ForcedEnableApplies(Settings)) {
      mModule.Planner.mTargetPortEnable = 1;
    }
    if (mModule.Planner.mTargetPortEnable != mModule.Planner.mCurrentPortEnable) {
      AppendCommand(Code, Count);
    }
  }
  if (mModule.Planner.mTargetPortEnable != mModule.Planner.mCurrentPortEnable) {
    Settings->PortEnable = mModule.Planner.mTargetPortEnable;
    Settings->PortEnableToApply = mModule.Planner.mTargetPortEnable;
  }
  if (PortTableValid()) {
    Settings->ProgressFlags |= PROGRESS_FLAG_PORT_ENABLE_PLANNED;
  }
}

VOID PlanBootEnable(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  const BOOLEAN SharedBootEnable = RecordVidDid(Settings) == VIDDID_QLOGIC_1656;
  mModule.Planner.mCurrentBootEnable = Settings->BootEnable;
  mModule.Planner.mTargetBootEnable = Settings->BootEnable;
  if (BootTableValid()) {
    const NALO_BOOT_ENTRY *Entry =
        SharedBootEnable ? &mModule.Tables.mNaloBootTable[0] : mModule.Tables.mCurBootEntry;
    // Without an entry for the function there is no wish to act on.
    if (Entry != nullptr) {
      mModule.Planner.mTargetBootEnable = Entry->Enabled == 1 ? 1 : 0;
      if (mModule.Run.mFamily.Emulex0700) {
        mModule.Planner.mCurrentBootEnable = BOOT_ENABLE_UNKNOWN;
      }
    }
  }
  if (ForcedEnableApplies(Settings) &&
      (Settings->PfType == PF_TYPE_NIC || Settings->PfType == PF_TYPE_ROCE)) {
    mModule.Planner.mTargetBootEnable = 1;
  }
  if (mModule.Planner.mTargetBootEnable == mModule.Planner.mCurrentBootEnable ||
      !AppendCommand(Code, Count)) {
    return;
  }
  if (!SharedBootEnable) {
    Settings->BootEnableToApply = mModule.Planner.mTargetBootEnable;
    Settings->BootEnable = mModule.Planner.mTargetBootEnable;
    return;
  }
  for (UINTN Index = SHARED_BOOT_ENABLE_FIRST; Index <= SHARED_BOOT_ENABLE_LAST; Index++) {
    FUNCTION_SETTINGS *Function = mModule.Run.mCommandSettings[Index];
    if (Function != nullptr) {
      Function->BootEnableToApply = mModule.Planner.mTargetBootEnable;
      Function->BootEnable = mModule.Planner.mTargetBootEnable;
    }
  }
}

// The platform wants the function's manufacturer addresses back: either it says so for the whole
// port, or its address table gives the function no virtual address.
static BOOLEAN ManufacturerAddressesWanted(VOID) {
  return QueryDefaults(NALO_QUERY_DEFAULTS_ADDRESSES) || AddressEntryWantsManufacturer();
}

VOID PlanAddressDefaults(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  EFI_STATUS Status = LocateNaloConfig();
  if (EFI_ERROR(Status)) {
    mModule.Discovered.mConfigStatus = Status;
    return;
  }
  if (!ManufacturerAddressesWanted()) {
    return;
  }
  BOOLEAN Changed = FALSE;
  for (UINTN Slot = 0; Slot < FUNCTION_ADDRESS_SLOTS; Slot++) {
    if (PlanTextDiffers(Settings->MfgAddressText[Slot], Settings->CurrentAddressText[Slot],
                        FUNCTION_ADDRESS_SLOT_SIZE)) {
      CopyMem(Settings->CurrentAddressText[Slot], Settings->MfgAddressText[Slot], DEFAULT_TEXT_BYTES);
      CopyMem(Settings->CurrentAddress[Slot], Settings->MfgAddress[Slot], DEFAULT_ADDRESS_BYTES);
      Changed = TRUE;
    }
  }
  if (Code != SET_ADDR_DEFAULTS) {
    // The per-name defaults are written whether or not the texts already agree.
    AppendCommand(Code, Count);
    return;
  }
  // One reset per port: the command returns every address of the port, so once it is planned
  // later functions do not ask again until the dispatcher starts the port anew. A function that
  // needed no reset leaves the question open for the functions after it.
  if (Changed && !mModule.Run.mAddrDefaultsPlanned && AppendCommand(Code, Count)) {
    mModule.Run.mAddrDefaultsPlanned = TRUE;
  }
}

BOOLEAN RestoreMacFromPermanent(FUNCTION_SETTINGS *Settings) {
  if (Settings == nullptr || !mModule.Run.mFamily.QLogic8070) {
    return FALSE;
  }
  if (AsciiStrnCmp(Settings->MfgAddressText[0], Settings->CurrentAddressText[0], RESTORE_MAC_TEXT_BYTES) ==
      0) {
    return FALSE;
  }
  CopyMem(Settings->CurrentAddressText[0], Settings->MfgAddressText[0], RESTORE_MAC_TEXT_BYTES);
  CopyMem(Settings->CurrentAddress[0], Settings->MfgAddress[0], RESTORE_MAC_ADDRESS_BYTES);
  return TRUE;
}

VOID PlanPortDefaults(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  EFI_STATUS Status = LocateNaloConfig();
  if (EFI_ERROR(Status)) {
    mModule.Discovered.mConfigStatus = Status;
    return;
  }
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  if (Family.QLogic2261) {
    if (ManufacturerAddressesWanted()) {
      AppendCommand(Code, Count);
    }
  } else if (Family.Mellanox1013) {
    if (QueryDefaults(NALO_QUERY_DEFAULTS_PORT)) {
      AppendCommand(Code, Count);
    }
  } else if (Family.QLogic8070 && RecordVidDid(Settings) != VIDDID_QLOGIC_1656) {
    if (ManufacturerAddressesWanted() && RestoreMacFromPermanent(Settings)) {
      AppendCommand(Code, Count);
    }
  }
}

VOID PlanShowPxeVlanId(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  (VOID) Settings;
  if (GetPxeVlanEnabled() != 0) {
    AppendCommand(Code, Count);
  }
}
