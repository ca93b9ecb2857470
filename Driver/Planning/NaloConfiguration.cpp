// The platform's virtual-I/O configuration tables and the platform policy switch.
//
// The tables are one static set for the whole driver, refilled for each controller at the start
// of its second planning phase. Everything that reads them treats a table whose valid flag is not
// 1, or an entry pointer that is NULL, as "the platform has no wish", so a missing protocol or a
// failed load simply means that nothing table-driven is planned.
#include "Planning/NaloConfiguration.h"
#include "Library/BaseMemoryLib.h"
#include "Library/UefiBootServicesTableLib.h"

EFI_GUID gNaloConfigurationProtocolGuid = NALO_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gPlatformPolicyProtocolGuid = PLATFORM_POLICY_PROTOCOL_GUID;

static VOID ZeroNaloTables(VOID) {
  ZeroMem(&mModule.mNaloHeader, sizeof(mModule.mNaloHeader));
  ZeroMem(&mModule.mNaloPortTable, sizeof(mModule.mNaloPortTable));
  ZeroMem(mModule.mNaloAddressTable, sizeof(mModule.mNaloAddressTable));
  ZeroMem(mModule.mNaloBootTable, sizeof(mModule.mNaloBootTable));
}

EFI_STATUS LocateNaloConfig(VOID) {
  if (mModule.mNaloConfig != nullptr) {
    return EFI_SUCCESS;
  }
  if (gBS == nullptr) {
    return EFI_NOT_READY;
  }
  VOID *Interface = nullptr;
  EFI_STATUS Status = gBS->LocateProtocol(&gNaloConfigurationProtocolGuid, nullptr, &Interface);
  if (EFI_ERROR(Status)) {
    mModule.mNaloConfig = nullptr;
    return Status;
  }
  // A success without an interface is no protocol either; keep retrying at the next use.
  if (Interface == nullptr) {
    mModule.mNaloConfig = nullptr;
    return EFI_NOT_FOUND;
  }
  mModule.mNaloConfig = (NALO_CONFIGURATION_PROTOCOL *)Interface;
  return EFI_SUCCESS;
}

EFI_STATUS LoadNaloConfiguration(FUNCTION_SETTINGS *Settings) {
  // Zero first: the tables may still hold the previous controller's port.
  ZeroNaloTables();
  if (Settings == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if ((Settings->PlatformFlags & PLATFORM_FLAG_6) == 0) {
    return EFI_UNSUPPORTED;
  }
  EFI_STATUS Status = LocateNaloConfig();
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (mModule.mNaloConfig->GetPortConfiguration == nullptr) {
    return EFI_UNSUPPORTED;
  }
  Status = mModule.mNaloConfig->GetPortConfiguration(
      Settings->NaloIndex, Settings->CardIndex, Settings->PortIndex, &mModule.mNaloHeader,
      &mModule.mNaloPortTable, mModule.mNaloAddressTable, mModule.mNaloBootTable);
  // A failed load must not leave half-written tables behind that the predicate would trust.
  if (EFI_ERROR(Status)) {
    ZeroNaloTables();
  }
  return Status;
}

BOOLEAN QueryDefaults(UINTN Selector) {
  if (EFI_ERROR(LocateNaloConfig()) || mModule.mNaloConfig->QueryDefaults == nullptr) {
    return FALSE;
  }
  // Only the low byte of the answer carries the BOOLEAN.
  return (mModule.mNaloConfig->QueryDefaults(Selector) & 0xFF) != 0 ? TRUE : FALSE;
}

UINT8 GetForceAdapterEnable(VOID) {
  if (mModule.mPlatformPolicyRead) {
    return mModule.mForceAdapterEnable;
  }
  // A failed lookup is not cached: the policy driver may load later in the boot.
  if (mModule.mPlatformPolicy == nullptr) {
    if (gBS == nullptr) {
      return mModule.mForceAdapterEnable;
    }
    VOID *Interface = nullptr;
    EFI_STATUS Status = gBS->LocateProtocol(&gPlatformPolicyProtocolGuid, nullptr, &Interface);
    if (EFI_ERROR(Status) || Interface == nullptr) {
      mModule.mPlatformPolicy = nullptr;
      return mModule.mForceAdapterEnable;
    }
    mModule.mPlatformPolicy = (PLATFORM_POLICY_PROTOCOL *)Interface;
  }
  if (mModule.mPlatformPolicy->GetPolicy == nullptr ||
      EFI_ERROR(mModule.mPlatformPolicy->GetPolicy(mModule.mPlatformPolicyRecord))) {
    return mModule.mForceAdapterEnable;
  }
  mModule.mForceAdapterEnable = mModule.mPlatformPolicyRecord[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET];
  mModule.mPlatformPolicyRead = TRUE;
  return mModule.mForceAdapterEnable;
}

VOID NotifyRestartOnce(VOID) {
  if (mModule.mAdapterNotified != 0 || EFI_ERROR(LocateNaloConfig())) {
    return;
  }
  if (mModule.mNaloConfig->NotifyRestartRequired != nullptr) {
    mModule.mNaloConfig->NotifyRestartRequired();
  }
  mModule.mAdapterNotified = 1;
}

VOID SelectNaloEntries(UINTN Index) {
  if (Index >= NALO_FUNCTION_ENTRIES) {
    mModule.mCurFunctionEntry = nullptr;
    mModule.mCurAddressEntry = nullptr;
    mModule.mCurBootEntry = nullptr;
    return;
  }
  mModule.mCurFunctionEntry = &mModule.mNaloPortTable.Function[Index];
  mModule.mCurAddressEntry = &mModule.mNaloAddressTable[Index];
  mModule.mCurBootEntry = &mModule.mNaloBootTable[Index];
}
