// Shared set-up for the planner and link-layout tests: module state reset, a boot-services table
// with a counting pool, a scripted NALO protocol and a recording IPMI transport.
#ifndef TESTS_DRIVER_PLANNING_PLANNER_FIXTURE_H_
#define TESTS_DRIVER_PLANNING_PLANNER_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "ModuleState.h"
#include "Planning/Planning.h"
#include "Library/UefiBootServicesTableLib.h"

class PlannerTest : public ::testing::Test {
protected:
  // What the scripted platform answers for one management index.
  struct PortAnswer {
    EFI_STATUS Status = EFI_SUCCESS;
    NALO_PORT_TABLE Table = {};
  };

  inline static PlannerTest *Current = nullptr;

  std::deque<FUNCTION_SETTINGS> Records;
  std::map<UINT8, PortAnswer> PortAnswers; // an index missing here answers EFI_NOT_FOUND
  std::vector<std::tuple<UINT8, UINT8, UINT8>> PortCalls;
  BOOLEAN Defaults[2] = {FALSE, FALSE};
  int RestartNotifications = 0;
  int Allocations = 0;
  int Frees = 0;
  bool FailAllocation = false;
  std::string IpmiText;

  NALO_CONFIGURATION_PROTOCOL Nalo = {};
  EFI_BOOT_SERVICES BootServices = {};
  EFI_BOOT_SERVICES *SavedBootServices = nullptr;
  IPMI_TRANSPORT_PROTOCOL Ipmi = {};

  void SetUp() override {
    SavedBootServices = gBS;
    Prepare();
  }

  // Load state of the driver with the test platform installed; also starts a table case afresh.
  void Prepare() {
    ResetModuleState();
    Current = this;
    PortAnswers.clear();
    PortCalls.clear();
    IpmiText.clear();
    RestartNotifications = 0;
    Allocations = Frees = 0;
    FailAllocation = false;
    Defaults[0] = Defaults[1] = FALSE;
    Nalo.GetPortConfiguration = GetPortConfiguration;
    Nalo.QueryDefaults = QueryDefaults;
    Nalo.NotifyRestartRequired = NotifyRestartRequired;
    mModule.mNaloConfig = &Nalo;
    BootServices.AllocatePool = AllocatePool;
    BootServices.FreePool = FreePool;
    gBS = &BootServices;
    Ipmi.SendIpmiCommand = SendIpmiCommand;
    mModule.mIpmiTransport = &Ipmi;
    // The platform policy has been read and forces nothing.
    mModule.mPlatformPolicyRead = TRUE;
    mModule.mForceAdapterEnable = 0;
  }

  void TearDown() override {
    gBS = SavedBootServices;
    Current = nullptr;
    ResetModuleState();
  }

  FUNCTION_SETTINGS *Record(UINT16 Vendor, UINT16 Device, UINT8 Port, UINT8 Pf) {
    Records.emplace_back();
    FUNCTION_SETTINGS *R = &Records.back();
    std::memset(R, 0, sizeof(*R));
    R->VendorId = Vendor;
    R->DeviceId = Device;
    R->PortIndex = Port;
    R->PfIndex = Pf;
    R->PciAddress = (UINT16)(Port * 2 + Pf);
    return R;
  }

  // One port of Count functions; the first record lists them all.
  std::vector<FUNCTION_SETTINGS *> Port(UINT16 Vendor, UINT16 Device, UINT8 PortIndex, UINT8 Count) {
    std::vector<FUNCTION_SETTINGS *> Functions;
    for (UINT8 Pf = 0; Pf < Count; Pf++) {
      Functions.push_back(Record(Vendor, Device, PortIndex, Pf));
    }
    for (FUNCTION_SETTINGS *F : Functions) {
      F->FunctionCount = Count;
      for (UINT8 Pf = 0; Pf < Count; Pf++) {
        F->Functions[Pf] = Functions[Pf];
      }
    }
    return Functions;
  }

  // Calls the six planners for one function in the dispatcher's order, each with its own copy of
  // the plan bytes as they stood before the pass.
  void PlanFunction(UINT64 Instance, FUNCTION_SETTINGS *F, const PLAN_STATE &Snapshot, UINTN Index) {
    mModule.mCurFunctionEntry = &mModule.mNaloPortTable.Function[Index];
    mModule.mCurAddressEntry = &mModule.mNaloAddressTable[Index];
    mModule.mCurBootEntry = &mModule.mNaloBootTable[Index];
    const UINTN First = mModule.mCommandCount;
    for (auto Planner :
         {PlanEmulex0720, PlanGeneral, PlanQLogic2031, PlanQLogic8070, PlanMellanox1013, PlanMellanox1017}) {
      PLAN_STATE Copy = Snapshot;
      Planner(Instance, F, &Copy, &mModule.mCommandCount);
    }
    for (UINTN K = First; K < mModule.mCommandCount; K++) {
      mModule.mCommandSettings[K] = F;
    }
  }

  // One planning pass over the functions of the controller's port; returns the codes it added
  // (EXIT included when the plan closed).
  std::vector<int> Pass(UINT64 Instance, FUNCTION_SETTINGS *Adapter) {
    const UINTN Before = mModule.mCommandCount;
    const PLAN_STATE Snapshot = {mModule.mPlanInstance, mModule.mPlanInstance2, mModule.mPlanStopped,
                                 mModule.mPlanComplete, mModule.mLinkAdjusted};
    for (UINTN I = 0; I < Adapter->FunctionCount && I < 16; I++) {
      FUNCTION_SETTINGS *F = Adapter->Functions[I];
      if ((I > 0 && mModule.mLinkConfig == 1) || F == nullptr || mModule.mPlanStopped) {
        break;
      }
      PlanFunction(Instance, F, Snapshot, I);
    }
    if (mModule.mPlanComplete) {
      mModule.CommandList[mModule.mCommandCount++] = EXIT;
    }
    return std::vector<int>(mModule.CommandList + Before, mModule.CommandList + mModule.mCommandCount);
  }

  static EFI_STATUS EFIAPI GetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                                NALO_CONFIG_HEADER *, NALO_PORT_TABLE *PortTable,
                                                NALO_ADDRESS_ENTRY *, NALO_BOOT_ENTRY *) {
    Current->PortCalls.emplace_back(NaloIndex, CardIndex, PortIndex);
    auto Found = Current->PortAnswers.find(NaloIndex);
    if (Found == Current->PortAnswers.end()) {
      return EFI_NOT_FOUND;
    }
    if (PortTable != nullptr) {
      *PortTable = Found->second.Table;
    }
    return Found->second.Status;
  }
  static BOOLEAN EFIAPI QueryDefaults(UINTN Selector) {
    return Selector < 2 ? Current->Defaults[Selector] : FALSE;
  }
  static EFI_STATUS EFIAPI NotifyRestartRequired(VOID) {
    Current->RestartNotifications++;
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE, UINTN Size, VOID **Buffer) {
    if (Current->FailAllocation) {
      return EFI_OUT_OF_RESOURCES;
    }
    Current->Allocations++;
    *Buffer = std::malloc(Size);
    std::memset(*Buffer, 0xA5, Size); // pool memory is not zeroed by the platform
    return EFI_SUCCESS;
  }
  static EFI_STATUS EFIAPI FreePool(VOID *Buffer) {
    Current->Frees++;
    std::free(Buffer);
    return EFI_SUCCESS;
  }
  // Collects the text of the OEM log messages (bytes 5.. of each request).
  static EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *, UINT8, UINT8, UINT8, UINT8 *Data,
                                           UINT8 Size, UINT8 *, UINT8 *ResponseSize) {
    if (Size >= 5) {
      Current->IpmiText.append(reinterpret_cast<const char *>(Data) + 5, Size - 5);
    }
    if (ResponseSize != nullptr) {
      *ResponseSize = 0;
    }
    return EFI_SUCCESS;
  }
};

inline std::vector<int> Codes(std::initializer_list<int> List) {
  return std::vector<int>(List);
}

#endif
