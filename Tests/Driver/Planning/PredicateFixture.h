// Test doubles for the planning predicate and the platform configuration tables: a NALO protocol,
// a policy protocol and a status-code listener behind a boot-services table that only knows
// LocateProtocol. Every test starts from the driver's load state.
#ifndef TESTS_DRIVER_PLANNING_PREDICATE_FIXTURE_H_
#define TESTS_DRIVER_PLANNING_PREDICATE_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ModuleState.h"
#include "Planning/NaloConfiguration.h"
#include "Planning/Planning.h"
#include "Library/UefiBootServicesTableLib.h"

namespace predicate_test {

struct StatusReport {
  UINT32 Type;
  UINT32 Value;
  UINT32 Instance;
  EFI_GUID Caller;
  bool HasCaller;
};

struct Platform {
  // NALO protocol
  bool NaloPresent = true;
  BOOLEAN QueryAnswer[2] = {FALSE, FALSE};
  int QueryCalls[2] = {0, 0};
  int NotifyCalls = 0;
  int GetPortCalls = 0;
  UINT8 GetPortArgs[3] = {0, 0, 0};
  EFI_STATUS GetPortStatus = EFI_SUCCESS;
  NALO_CONFIG_HEADER HeaderToGive = {};
  NALO_PORT_TABLE PortTableToGive = {};
  // Policy protocol
  bool PolicyPresent = false;
  EFI_STATUS PolicyStatus = EFI_SUCCESS;
  UINT8 PolicyByte2 = 0;
  int PolicyLocateCalls = 0;
  int GetPolicyCalls = 0;
  // Status codes
  std::vector<StatusReport> Reports;
};

inline Platform *gPlatform = nullptr;

inline bool SameGuid(const EFI_GUID *A, const EFI_GUID &B) {
  return std::memcmp(A, &B, sizeof(EFI_GUID)) == 0;
}

inline EFI_STATUS EFIAPI FakeGetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                                  NALO_CONFIG_HEADER *Header, NALO_PORT_TABLE *PortTable,
                                                  NALO_ADDRESS_ENTRY *AddressTable,
                                                  NALO_BOOT_ENTRY *BootTable) {
  gPlatform->GetPortCalls++;
  gPlatform->GetPortArgs[0] = NaloIndex;
  gPlatform->GetPortArgs[1] = CardIndex;
  gPlatform->GetPortArgs[2] = PortIndex;
  if (Header != nullptr) {
    *Header = gPlatform->HeaderToGive;
  }
  if (PortTable != nullptr) {
    *PortTable = gPlatform->PortTableToGive;
  }
  if (AddressTable != nullptr) {
    AddressTable[3].Enabled = 1;
  }
  if (BootTable != nullptr) {
    BootTable[15].Enabled = 1;
  }
  return gPlatform->GetPortStatus;
}

inline BOOLEAN EFIAPI FakeQueryDefaults(UINTN Selector) {
  if (Selector > 1) {
    ADD_FAILURE() << "QueryDefaults selector " << Selector;
    return FALSE;
  }
  gPlatform->QueryCalls[Selector]++;
  return gPlatform->QueryAnswer[Selector];
}

inline EFI_STATUS EFIAPI FakeNotifyRestartRequired(VOID) {
  gPlatform->NotifyCalls++;
  return EFI_SUCCESS;
}

inline EFI_STATUS EFIAPI FakeGetPolicy(UINT8 *Record) {
  gPlatform->GetPolicyCalls++;
  if (EFI_ERROR(gPlatform->PolicyStatus)) {
    return gPlatform->PolicyStatus;
  }
  Record[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET] = gPlatform->PolicyByte2;
  return EFI_SUCCESS;
}

inline EFI_STATUS EFIAPI FakeReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                              UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *) {
  StatusReport Report = {Type, Value, Instance, {}, CallerId != nullptr};
  if (CallerId != nullptr) {
    Report.Caller = *CallerId;
  }
  gPlatform->Reports.push_back(Report);
  return EFI_SUCCESS;
}

inline NALO_CONFIGURATION_PROTOCOL gFakeNalo = {
    nullptr, nullptr, FakeGetPortConfiguration, FakeQueryDefaults, nullptr,
    nullptr, nullptr, FakeNotifyRestartRequired};
inline PLATFORM_POLICY_PROTOCOL gFakePolicy = {nullptr, nullptr, nullptr, FakeGetPolicy};
inline EFI_STATUS_CODE_RUNTIME_PROTOCOL gFakeStatusCode = {FakeReportStatusCode};

inline EFI_STATUS EFIAPI FakeLocateProtocol(EFI_GUID *Protocol, VOID *, VOID **Interface) {
  static const EFI_GUID Nalo = NALO_CONFIGURATION_PROTOCOL_GUID;
  static const EFI_GUID Policy = PLATFORM_POLICY_PROTOCOL_GUID;
  static const EFI_GUID StatusCode = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;
  *Interface = nullptr;
  if (SameGuid(Protocol, Nalo) && gPlatform->NaloPresent) {
    *Interface = &gFakeNalo;
  } else if (SameGuid(Protocol, Policy)) {
    gPlatform->PolicyLocateCalls++;
    if (gPlatform->PolicyPresent) {
      *Interface = &gFakePolicy;
    }
  } else if (SameGuid(Protocol, StatusCode)) {
    *Interface = &gFakeStatusCode;
  }
  return *Interface != nullptr ? EFI_SUCCESS : EFI_NOT_FOUND;
}

// Sizes and values used across the predicate tests.
constexpr UINTN kLastAppendIndex = 252; // EXIT and END must still fit behind the plan

class PredicateTest : public ::testing::Test {
protected:
  PredicateTest() : SavedBootServices(gBS) {}
  // Tests may call SetUp again to start a fresh case inside one table-driven test.
  void SetUp() override {
    ResetModuleState();
    PlatformState = Platform{};
    Count = 0;
    gPlatform = &PlatformState;
    std::memset(&BootServices, 0, sizeof(BootServices));
    BootServices.LocateProtocol = FakeLocateProtocol;
    gBS = &BootServices;
    // Records are platform memory: zeroed, reached only through pointers.
    for (auto &Record : Records) {
      Record = std::make_unique<FUNCTION_SETTINGS>();
      std::memset(Record.get(), 0, sizeof(FUNCTION_SETTINGS));
    }
    S = Records[0].get();
    mModule.mPlatformPolicyRead = TRUE; // no forced enable unless a test asks for it
    mModule.mFirstFunctionOfPort = TRUE;
    mModule.mFirstFunctionOfAdapter = TRUE;
    SelectNaloEntries(0);
  }
  void TearDown() override {
    gBS = SavedBootServices;
    gPlatform = nullptr;
  }

  void SetDevice(UINT16 Vendor, UINT16 Device) {
    S->VendorId = Vendor;
    S->DeviceId = Device;
  }
  void ForceAdapterEnable(UINT8 Value) {
    mModule.mPlatformPolicyRead = TRUE;
    mModule.mForceAdapterEnable = Value;
  }
  BOOLEAN Plan(UINT32 Code) { return PlanCommand(S, Code, &Count); }
  std::vector<INT32> Planned() const {
    return std::vector<INT32>(mModule.CommandList, mModule.CommandList + (Count < 255 ? Count : 255));
  }
  static void SetText(CHAR8 *Field, const char *Text) { std::strcpy(reinterpret_cast<char *>(Field), Text); }
  static std::string Text(const CHAR8 *Field) { return std::string(reinterpret_cast<const char *>(Field)); }

  Platform PlatformState;
  EFI_BOOT_SERVICES BootServices;
  EFI_BOOT_SERVICES *SavedBootServices;
  std::unique_ptr<FUNCTION_SETTINGS> Records[20];
  FUNCTION_SETTINGS *S = nullptr;
  UINTN Count = 0;
};

using Codes = std::vector<INT32>;

} // namespace predicate_test

#endif
