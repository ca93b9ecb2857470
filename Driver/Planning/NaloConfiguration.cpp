// The platform's virtual-I/O configuration tables and the platform policy switch.
//
// The tables are one static set for the whole driver, refilled for each controller at the start
// of its second planning phase. Everything that reads them treats a table whose valid flag is not
// 1, or an entry pointer that is NULL, as "the platform has no wish", so a missing protocol or a
// failed load simply means that nothing table-driven is planned.
#include "ModuleState.h"
#include "Planning/NaloConfiguration.h"
#include "Library/BaseMemoryLib.h"
#include "Library/UefiBootServicesTableLib.h"

#define OFFSET_OF_TABLES(Field) __builtin_offsetof(CONFIGURATION_TABLES_STATE, Field)

EFI_GUID gNaloConfigurationProtocolGuid = NALO_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gPlatformPolicyProtocolGuid = PLATFORM_POLICY_PROTOCOL_GUID;

// The four tables lie one after the other in the state: one clear covers them.
static_assert(OFFSET_OF_TABLES(mNaloPortTable) ==
                      OFFSET_OF_TABLES(mNaloHeader) + sizeof(NALO_CONFIG_HEADER) &&
                  OFFSET_OF_TABLES(mNaloAddressTable) ==
                      OFFSET_OF_TABLES(mNaloPortTable) + sizeof(NALO_PORT_TABLE) &&
                  OFFSET_OF_TABLES(mNaloBootTable) ==
                      OFFSET_OF_TABLES(mNaloAddressTable) + sizeof(mModule.Tables.mNaloAddressTable),
              "the configuration tables are contiguous");

static VOID ZeroNaloTables(VOID) {
  ZeroMem(&mModule.Tables.mNaloHeader, OFFSET_OF_TABLES(mNaloBootTable) +
                                           sizeof(mModule.Tables.mNaloBootTable) -
                                           OFFSET_OF_TABLES(mNaloHeader));
}

EFI_STATUS LocateNaloConfig(VOID) {
  if (mModule.Tables.mNaloConfig != nullptr) {
    return EFI_SUCCESS;
  }
  if (gBS == nullptr) {
    return EFI_NOT_READY;
  }
  VOID *Interface = nullptr;
  EFI_STATUS Status = gBS->LocateProtocol(&gNaloConfigurationProtocolGuid, nullptr, &Interface);
  if (EFI_ERROR(Status)) {
    mModule.Tables.mNaloConfig = nullptr;
    return Status;
  }
  // A success without an interface is no protocol either; keep retrying at the next use.
  if (Interface == nullptr) {
    mModule.Tables.mNaloConfig = nullptr;
    return EFI_NOT_FOUND;
  }
  mModule.Tables.mNaloConfig = (NALO_CONFIGURATION_PROTOCOL *)Interface;
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
  if (mModule.Tables.mNaloConfig->GetPortConfiguration == nullptr) {
    return EFI_UNSUPPORTED;
  }
  Status = mModule.Tables.mNaloConfig->GetPortConfiguration(
      Settings->NaloIndex, Settings->CardIndex, Settings->PortIndex, &mModule.Tables.mNaloHeader,
      &mModule.Tables.mNaloPortTable, mModule.Tables.mNaloAddressTable, mModule.Tables.mNaloBootTable);
  // A failed load must not leave half-written tables behind that the predicate would trust.
  if (EFI_ERROR(Status)) {
    ZeroNaloTables();
  }
  return Status;
}

BOOLEAN QueryDefaults(UINTN Selector) {
  if (EFI_ERROR(LocateNaloConfig()) || mModule.Tables.mNaloConfig->QueryDefaults == nullptr) {
    return FALSE;
  }
  // Only the low byte of the answer carries the BOOLEAN.
  return (mModule.Tables.mNaloConfig->QueryDefaults(Selector) & 0xFF) != 0 ? TRUE : FALSE;
}

UINT8 GetForceAdapterEnable(VOID) {
  if (mModule.Tables.mPlatformPolicyRead) {
    return mModule.Tables.mForceAdapterEnable;
  }
  // A failed lookup is not cached: the policy driver may load later in the boot.
  if (mModule.Tables.mPlatformPolicy == nullptr) {
    if (gBS == nullptr) {
      return mModule.Tables.mForceAdapterEnable;
    }
    VOID *Interface = nullptr;
    EFI_STATUS Status = gBS->LocateProtocol(&gPlatformPolicyProtocolGuid, nullptr, &Interface);
    if (EFI_ERROR(Status) || Interface == nullptr) {
      mModule.Tables.mPlatformPolicy = nullptr;
      return mModule.Tables.mForceAdapterEnable;
    }
    mModule.Tables.mPlatformPolicy = (PLATFORM_POLICY_PROTOCOL *)Interface;
  }
  if (mModule.Tables.mPlatformPolicy->GetPolicy == nullptr ||
      EFI_ERROR(mModule.Tables.mPlatformPolicy->GetPolicy(mModule.Tables.mPlatformPolicyRecord))) {
    return mModule.Tables.mForceAdapterEnable;
  }
  mModule.Tables.mForceAdapterEnable =
      mModule.Tables.mPlatformPolicyRecord[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET];
  mModule.Tables.mPlatformPolicyRead = TRUE;
  return mModule.Tables.mForceAdapterEnable;
}

VOID NotifyRestartOnce(VOID) {
  if (mModule.Tables.mAdapterNotified != 0 || EFI_ERROR(LocateNaloConfig())) {
    return;
  }
  if (mModule.Tables.mNaloConfig->NotifyRestartRequired != nullptr) {
    mModule.Tables.mNaloConfig->NotifyRestartRequired();
  }
  mModule.Tables.mAdapterNotified = 1;
}

VOID SelectNaloEntries(UINTN Index) {
  if (Index >= NALO_FUNCTION_ENTRIES) {
    mModule.Tables.mCurFunctionEntry = nullptr;
    mModule.Tables.mCurAddressEntry = nullptr;
    mModule.Tables.mCurBootEntry = nullptr;
    return;
  }
  mModule.Tables.mCurFunctionEntry = &mModule.Tables.mNaloPortTable.Function[Index];
  mModule.Tables.mCurAddressEntry = &mModule.Tables.mNaloAddressTable[Index];
  mModule.Tables.mCurBootEntry = &mModule.Tables.mNaloBootTable[Index];
}
