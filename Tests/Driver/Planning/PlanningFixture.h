// The driver's load state on a test platform: LocateProtocol and a pool that is not zeroed, a
// scripted NALO protocol, a policy protocol, a status-code listener and a recording IPMI transport.
#ifndef TESTS_DRIVER_PLANNING_PLANNING_FIXTURE_H_
#define TESTS_DRIVER_PLANNING_PLANNING_FIXTURE_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "ModuleState.h"
#include "Planning/NaloConfiguration.h"
#include "Planning/Planning.h"
#include "Library/UefiBootServicesTableLib.h"

using Codes = std::vector<INT32>;

class PlanningTest : public ::testing::Test {
public:
  struct PortAnswer { // what GetPortConfiguration answers for one management index
    EFI_STATUS Status = EFI_SUCCESS;
    NALO_CONFIG_HEADER Header = {};
    NALO_PORT_TABLE Table = {};
  };
  struct Platform {
    bool NaloPresent = true, PolicyPresent = false, FailAllocation = false;
    std::map<UINT8, PortAnswer> PortAnswers; // an index missing here answers EFI_NOT_FOUND
    std::vector<std::array<UINT8, 3>> PortCalls;
    BOOLEAN Defaults[2] = {FALSE, FALSE};
    int DefaultsCalls[2] = {0, 0};
    int Allocations = 0, Frees = 0, PolicyLocates = 0, PolicyCalls = 0, RestartNotes = 0;
    EFI_STATUS PolicyStatus = EFI_SUCCESS;
    UINT8 PolicyByte2 = 0;
    std::vector<std::array<UINT32, 4>> Reports; // type, value, instance, first word of the caller GUID
    std::string IpmiText;
  };

  inline static PlanningTest *Current = nullptr;
  Platform P;
  NALO_CONFIGURATION_PROTOCOL Nalo = {nullptr, nullptr, GetPortConfiguration, QueryDefaultsFake, nullptr,
                                      nullptr, nullptr, NotifyRestartRequired};
  PLATFORM_POLICY_PROTOCOL Policy = {nullptr, nullptr, nullptr, GetPolicy};
  EFI_STATUS_CODE_RUNTIME_PROTOCOL StatusCode = {ReportStatusCode};
  IPMI_TRANSPORT_PROTOCOL Ipmi = {};
  EFI_BOOT_SERVICES BootServices = {};
  EFI_BOOT_SERVICES *SavedBootServices = gBS;
  std::deque<FUNCTION_SETTINGS> Records; // platform memory: zeroed, reached only through pointers
  FUNCTION_SETTINGS *S = nullptr;        // the function the predicate tests decide for
  UINTN Count = 0;

  void SetUp() override { Fresh(); }
  void TearDown() override {
    gBS = SavedBootServices;
    Current = nullptr;
    ResetModuleState();
  }
  // Table-driven tests call it to start each case afresh.
  virtual void Fresh() {
    ResetModuleState();
    Current = this;
    P = Platform{};
    Count = 0;
    BootServices.LocateProtocol = LocateProtocol;
    BootServices.AllocatePool = AllocatePool;
    BootServices.FreePool = FreePool;
    gBS = &BootServices;
    Ipmi.SendIpmiCommand = SendIpmiCommand;
    mModule.Reporting.mIpmiTransport = &Ipmi;
    // The policy has been read and forces nothing.
    mModule.Tables.mPlatformPolicyRead = TRUE;
    SelectNaloEntries(0);
    S = NewRecord();
  }

  FUNCTION_SETTINGS *NewRecord(UINT16 Vendor = 0, UINT16 Device = 0, UINT8 Port = 0, UINT8 Pf = 0) {
    FUNCTION_SETTINGS *R = &Records.emplace_back(); // value-initialized: all zero
    std::tie(R->VendorId, R->DeviceId, R->PortIndex, R->PfIndex) = std::make_tuple(Vendor, Device, Port, Pf);
    R->PciAddress = (UINT16)(Port * 2 + Pf);
    return R;
  }
  // One port of N functions; every record lists them all.
  std::vector<FUNCTION_SETTINGS *> Port(UINT16 Vendor, UINT16 Device, UINT8 PortIndex, UINT8 N) {
    std::vector<FUNCTION_SETTINGS *> Fs;
    for (UINT8 Pf = 0; Pf < N; Pf++) {
      Fs.push_back(NewRecord(Vendor, Device, PortIndex, Pf));
    }
    for (FUNCTION_SETTINGS *F : Fs) {
      F->FunctionCount = N;
      std::copy(Fs.begin(), Fs.end(), F->Functions);
    }
    return Fs;
  }
  void SetDevice(UINT16 Vendor, UINT16 Device) {
    std::tie(S->VendorId, S->DeviceId) = std::make_tuple(Vendor, Device);
  }
  BOOLEAN Plan(UINT32 Code) { return PlanCommand(S, Code, &Count); }
  Codes Planned() const {
    return Codes(mModule.Run.CommandList, mModule.Run.CommandList + std::min<UINTN>(Count, 255));
  }
  static void SetText(CHAR8 *Field, const char *Text) { std::strcpy(reinterpret_cast<char *>(Field), Text); }
  static std::string Text(const CHAR8 *Field) { return reinterpret_cast<const char *>(Field); }

  static EFI_STATUS EFIAPI GetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                                NALO_CONFIG_HEADER *Header, NALO_PORT_TABLE *Table,
                                                NALO_ADDRESS_ENTRY *, NALO_BOOT_ENTRY *) {
    Current->P.PortCalls.push_back({NaloIndex, CardIndex, PortIndex});
    auto Found = Current->P.PortAnswers.find(NaloIndex);
    if (Found == Current->P.PortAnswers.end()) {
      return EFI_NOT_FOUND;
    }
    if (Header != nullptr) {
      *Header = Found->second.Header;
    }
    *Table = Found->second.Table; // every caller asks for the port table
    return Found->second.Status;
  }
  static BOOLEAN EFIAPI QueryDefaultsFake(UINTN Selector) {
    EXPECT_LT(Selector, 2u);
    Current->P.DefaultsCalls[Selector & 1]++;
    return Current->P.Defaults[Selector & 1];
  }
  static EFI_STATUS EFIAPI NotifyRestartRequired(VOID) {
    Current->P.RestartNotes++;
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI GetPolicy(UINT8 *Record) {
    Current->P.PolicyCalls++;
    Record[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET] = Current->P.PolicyByte2; // even when failing
    return Current->P.PolicyStatus;
  }
  static EFI_STATUS EFIAPI ReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                            UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *) {
    Current->P.Reports.push_back({Type, Value, Instance, CallerId != nullptr ? CallerId->Data1 : 0});
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI LocateProtocol(EFI_GUID *Protocol, VOID *, VOID **Interface) {
    const EFI_GUID Guids[] = {NALO_CONFIGURATION_PROTOCOL_GUID, PLATFORM_POLICY_PROTOCOL_GUID,
                              EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID};
    VOID *Found[] = {Current->P.NaloPresent ? &Current->Nalo : nullptr,
                     Current->P.PolicyPresent ? &Current->Policy : nullptr, &Current->StatusCode};
    *Interface = nullptr;
    for (int K = 0; K < 3; K++) {
      if (std::memcmp(Protocol, &Guids[K], sizeof(EFI_GUID)) == 0) {
        Current->P.PolicyLocates += K == 1;
        *Interface = Found[K];
      }
    }
    return *Interface != nullptr ? EFI_SUCCESS : EFI_NOT_FOUND;
  }
  static EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE, UINTN Size, VOID **Buffer) {
    if (Current->P.FailAllocation) {
      return EFI_OUT_OF_RESOURCES;
    }
    Current->P.Allocations++;
    *Buffer = std::malloc(Size);
    std::memset(*Buffer, 0xA5, Size); // pool memory is not zeroed by the platform
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI FreePool(VOID *Buffer) {
    Current->P.Frees++;
    std::free(Buffer);
    return EFI_SUCCESS;
  }
  // Collects the text of the OEM log messages (bytes 5.. of each request).
  static EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *, UINT8, UINT8, UINT8, UINT8 *Data,
                                           UINT8 Size, UINT8 *, UINT8 *) {
    Current->P.IpmiText.append(reinterpret_cast<const char *>(Data) + 5, Size > 5 ? Size - 5 : 0);
    return EFI_SUCCESS;
  }
};

#endif
