// QLogic8070 converged adapters driven end to end through the installed protocol: partitioned
// adapters that are only read, the three phases of a non-partitioned port, the discovery of a
// second port, the device 1077:1656, the quoted replies of this family, and what a successful
// virtual MAC and a platform restart request mean for it.
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "Integration/ScriptedAdapter.h"

extern "C++" {
#include "ModuleState.h"
}

namespace {

std::string Str(const CHAR8 *Text) {
  return reinterpret_cast<const char *>(Text);
}

// Replies that change from one asking to the next: each command's queue is consumed one reply
// per executed command; the last reply stays.
class Replies {
public:
  void Add(const std::string &Command, std::deque<std::string> Sequence) {
    Queues[Command] = std::move(Sequence);
  }
  void Fail(const std::string &Command, uint8_t Status) { Failures[Command] = Status; }
  void Install(ScriptedAdapter &Driver, std::function<void(const ScriptedStep &)> Also = nullptr) {
    for (const auto &Q : Queues) {
      Driver.On(Q.first, Reply(Q.first, Q.second.front()));
    }
    Driver.AfterResponse = [this, &Driver, Also](const ScriptedStep &Step) {
      auto It = Queues.find(Step.Command);
      if (It != Queues.end() && It->second.size() > 1) {
        It->second.pop_front();
        Driver.On(Step.Command, Reply(Step.Command, It->second.front()));
      }
      if (Also) {
        Also(Step);
      }
    };
    for (const auto &F : Failures) {
      if (Queues.count(F.first) == 0) {
        Driver.On(F.first, Reply(F.first, ""));
      }
    }
  }

private:
  ScriptedReply Reply(const std::string &Command, const std::string &Text) {
    ScriptedReply R{Text};
    auto It = Failures.find(Command);
    if (It != Failures.end()) {
      R.Status = It->second;
    }
    return R;
  }
  std::map<std::string, std::deque<std::string>> Queues;
  std::map<std::string, uint8_t> Failures;
};

class QLogic8070RunTest : public DriverTest {
protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  }

  // Two ports of two functions; the platform wants a virtual MAC and boot with PXE VLAN 200 on
  // the first function of port 0, and no virtual address on its second function.
  void AddBoard(uint16_t Device, uint16_t Subsystem = 0x0001) {
    AdapterSpec Spec;
    Spec.VendorId = 0x1077;
    Spec.DeviceId = Device;
    Spec.SubsystemId = Subsystem;
    Spec.Bus = 0x41;
    Spec.Ports = 2;
    Spec.FunctionsPerPort = 2;
    Spec.PlatformFlags = PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6;
    A = AddAdapter(Fw(), Spec);
    A.Record(0, 0)->NaloIndex = 1;
    A.Record(1, 0)->NaloIndex = 1;
    fake::NaloEntry &N = Fw().Nalo(1, 0, 0);
    N.Header.PortTableValid = 1;
    N.Header.AddressTableValid = 1;
    N.Header.BootTableValid = 1;
    N.PortTable.DesiredPortEnable = 1;
    N.AddressTable[0].Enabled = 1;
    N.AddressTable[0].Mac = N.OwnBytes({0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0x00});
    N.BootTable[0].Enabled = 1;
    N.BootTable[0].BootVlanId = N.Own<UINT16>(200);
  }

  // Replies of an adapter that is not partitioned: PXE VLAN 100 enabled, boot disabled, an
  // all-zero current MAC on function 1 and a foreign virtual MAC on function 2.
  void ScriptNonPartitioned(Replies &R) {
    R.Add("show device VirtualizationMode", {"data=\"Default\""});
    R.Add("show device SRIOVMode", {"data=\"Disabled\""});
    R.Add("show device FirmwareInformation", {"data=\"MFW:8.50.1,MBI:7.14.6,UEFI:6.1.2\""});
    R.Add("show port1 PXEVlan", {"data=\"Enabled\""});
    R.Add("show port1 BootMode", {"data=\"Disabled\""});
    R.Add("show port1 MacAddress", {"data=\"00:0E:1E:AA:BB:00\"", "data=\"00:0e:1e:aa:bb:01\""});
    R.Add("show port1 VirtualMacAddress", {"data=\"00:00:00:00:00:00\"", "data=\"02:11:22:AB:CD:EF\"",
                                           "data=\"02:AA:BB:CC:DD:00\"", "data=\"00:00:00:00:00:00\""});
    R.Add("show port1 PXEVlanId", {"data=\"100\""});
  }

  // Replies of a partitioned (NPAR) adapter for port 1.
  void ScriptPartitioned(Replies &R) {
    R.Add("show device VirtualizationMode", {"data=\"NPAR\""});
    R.Add("show device SRIOVMode", {"data=\"Disabled\""});
    R.Add("show device FirmwareInformation", {"data=\"MBI:7.14.6,UEFI:6.1.2,MFW:8.50.1\""});
    R.Add("show port1 PXEVlan", {"data=\"Disabled\""});
    R.Add("show port1 BootMode", {"data=\"Disabled\""});
    R.Add("show port1 MinimumBandwidthAllocation", {"data=\"25,75\""});
    R.Add("show port1 MaximumBandwidthAllocation", {"data=\"100,50\""});
    R.Add("show port1.pf1 Personality", {"data=\"Ethernet\""});
    R.Add("show port1.pf2 Personality", {"data=\"iSCSI\""});
  }

  std::vector<std::string> Run(EFI_HANDLE Handle, Replies &R, UINTN ExpectedEnd,
                               std::function<void(const ScriptedStep &)> Also = nullptr) {
    ScriptedAdapter Driver(Protocol, Handle);
    R.Install(Driver, Also);
    const std::vector<ScriptedStep> Steps = Driver.Run();
    EXPECT_EQ(Driver.EndStatus, EFI_NOT_FOUND);
    EXPECT_EQ(Driver.EndInstance, ExpectedEnd);
    return ScriptedAdapter::Commands(Steps);
  }

  static uint8_t PlanDone(const FUNCTION_SETTINGS *R) {
    return R->ProgressFlags & (PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  }

  BuiltAdapter A;
};

// ---- Partitioned: read only ---------------------------------------------------------------------

struct PartitionedCase {
  const char *Name;
  uint16_t Subsystem;
  bool ShowsMinimumBandwidth;
};

void PrintTo(const PartitionedCase &C, std::ostream *Os) {
  *Os << C.Name;
}

class QLogic8070PartitionedTest : public QLogic8070RunTest,
                                  public ::testing::WithParamInterface<PartitionedCase> {};

TEST_P(QLogic8070PartitionedTest, GetsOnlyShowCodesThenExit) {
  const PartitionedCase &C = GetParam();
  AddBoard(0x8070, C.Subsystem);
  Replies R;
  ScriptPartitioned(R);
  std::vector<std::string> Expected = {"show device VirtualizationMode",
                                       "show device SRIOVMode",
                                       "show device FirmwareInformation",
                                       "show port1 PXEVlan",
                                       "show port1 PXEVlan",
                                       "show port1 BootMode"};
  if (C.ShowsMinimumBandwidth) {
    Expected.push_back("show port1 MinimumBandwidthAllocation");
  }
  for (const char *Line :
       {"show port1 MaximumBandwidthAllocation", "show port1.pf1 MacAddress",
        "show port1.pf1 VirtualMacAddress", "show port1.pf1 Personality", "show port1.pf2 MacAddress",
        "show port1.pf2 VirtualMacAddress", "show port1.pf2 Personality", "exit"}) {
    Expected.push_back(Line);
  }
  EXPECT_EQ(Run(A.Handle(0, 0), R, Expected.size()), Expected);

  FUNCTION_SETTINGS *R00 = A.Record(0, 0), *R01 = A.Record(0, 1);
  EXPECT_EQ(mModule.mCurrentUmc, 1);
  // One reply describes the bandwidths of every function of the port, in function order.
  EXPECT_EQ(R00->MinBandwidth, C.ShowsMinimumBandwidth ? 25 : 0);
  EXPECT_EQ(R01->MinBandwidth, C.ShowsMinimumBandwidth ? 75 : 0);
  EXPECT_EQ(R00->MaxBandwidth, 100);
  EXPECT_EQ(R01->MaxBandwidth, 50);
  // Personalities, one reply per function, in reply order.
  EXPECT_EQ(R00->PfType, static_cast<UINT32>(PF_TYPE_NIC));
  EXPECT_EQ(R01->PfType, static_cast<UINT32>(PF_TYPE_ISCSI));
  EXPECT_EQ(mModule.mPfTypeTable[0], static_cast<UINT32>(PF_TYPE_NIC));
  EXPECT_EQ(mModule.mPfTypeTable[1], static_cast<UINT32>(PF_TYPE_ISCSI));
  EXPECT_EQ(mModule.mPfTypeCount, 2);
  // Nothing was changed or marked as planned.
  EXPECT_EQ(PlanDone(R00), 0);
  EXPECT_EQ(R00->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_NE(R00->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
}

INSTANTIATE_TEST_SUITE_P(Boards, QLogic8070PartitionedTest,
                         ::testing::Values(PartitionedCase{"Subsystem01", 0x0001, true},
                                           PartitionedCase{"Subsystem61", 0x0061, false}),
                         [](const ::testing::TestParamInfo<PartitionedCase> &I) { return I.param.Name; });

TEST_F(QLogic8070RunTest, SecondPortReadsItsOwnBlockAtInstanceZeroUnderTheFirstPortsPartitioning) {
  AddBoard(0x8070);
  Replies First;
  ScriptPartitioned(First);
  Run(A.Handle(0, 0), First, 15);

  Replies Second;
  Second.Add("show port2 BootMode", {"data=\"Enabled\""});
  Second.Add("show port2 MinimumBandwidthAllocation", {"data=\"40,60\""});
  Second.Add("show port2.pf1 Personality", {"data=\"FCoE\""});
  Second.Add("show port2.pf2 Personality", {"data=\"Disabled\""});
  Second.Add("show port2 PXEVlan", {"data=\"Disabled\""});
  const std::vector<std::string> Expected = {
      "show port2 BootMode",
      "show port2 MinimumBandwidthAllocation",
      "show port2 MaximumBandwidthAllocation",
      "show port2.pf1 MacAddress",
      "show port2.pf1 VirtualMacAddress",
      "show port2.pf1 Personality",
      "show port2 PXEVlan",
      "show port2.pf2 MacAddress",
      "show port2.pf2 VirtualMacAddress",
      "show port2.pf2 Personality",
      "show port2 PXEVlan",
      "exit",
  };
  EXPECT_EQ(Run(A.Handle(1, 0), Second, 12), Expected);
  FUNCTION_SETTINGS *R10 = A.Record(1, 0), *R11 = A.Record(1, 1);
  EXPECT_EQ(R10->BootEnable, 1);
  EXPECT_EQ(R11->BootEnable, 1);
  EXPECT_EQ(R10->MinBandwidth, 40);
  EXPECT_EQ(R11->MinBandwidth, 60);
  EXPECT_EQ(R10->PfType, static_cast<UINT32>(PF_TYPE_FCOE));
  EXPECT_EQ(R11->PfType, static_cast<UINT32>(PF_TYPE_DISABLED)); // a quoted Disabled reads as Disable
}

// ---- Not partitioned: three phases -----------------------------------------------------------------

struct NonPartitionedCase {
  const char *Name;
  uint16_t Device;
  std::vector<std::string> Expected;
  uint8_t SecondFunctionBootEnable; // where 1077:1656 also writes its boot decision
};

void PrintTo(const NonPartitionedCase &C, std::ostream *Os) {
  *Os << C.Name;
}

class QLogic8070PhasesTest : public QLogic8070RunTest,
                             public ::testing::WithParamInterface<NonPartitionedCase> {};

TEST_P(QLogic8070PhasesTest, FirstPortReadsThenSetsWhatDiffers) {
  const NonPartitionedCase &C = GetParam();
  AddBoard(C.Device);
  FUNCTION_SETTINGS *R00 = A.Record(0, 0), *R01 = A.Record(0, 1);
  Replies R;
  ScriptNonPartitioned(R);
  int VirtualMacShown = 0;
  const std::vector<std::string> Commands =
      Run(A.Handle(0, 0), R, C.Expected.size(), [&](const ScriptedStep &S) {
        if (S.Command == "show port1 VirtualMacAddress" && VirtualMacShown++ == 0) {
          // An all-zero current MAC is taken as the manufacturer's.
          EXPECT_EQ(Str(R00->CurrentAddressText[0]), "000E1EAABB00");
          const uint8_t Mfg[6] = {0x00, 0x0E, 0x1E, 0xAA, 0xBB, 0x00};
          EXPECT_EQ(std::memcmp(R00->CurrentAddress[0], Mfg, 6), 0);
          EXPECT_EQ(std::memcmp(R00->MfgAddress[0], Mfg, 6), 0);
        }
        if (S.Command == "show port1 PXEVlanId") {
          EXPECT_EQ(R00->VlanId, 100);
          EXPECT_EQ(R01->VlanId, 100);
        }
      });
  EXPECT_EQ(Commands, C.Expected);

  // Tagged versions, in any order, for every function of every port.
  for (const auto &Port : A.Records) {
    for (FUNCTION_SETTINGS *F : Port) {
      EXPECT_EQ(Str(F->FirmwareVersion[0]), "7.14.6");
      EXPECT_EQ(Str(F->FirmwareVersion[1]), "6.1.2");
      EXPECT_EQ(Str(F->FirmwareVersion[2]), "8.50.1");
    }
  }
  EXPECT_EQ(Str(R01->MfgAddressText[0]), "000E1EAABB01");
  EXPECT_EQ(Str(R00->CurrentAddressText[0]), "02AABBCCDD00");
  EXPECT_EQ(Str(R01->CurrentAddressText[0]), "000E1EAABB01");
  EXPECT_EQ(R00->BootEnable, 1);
  EXPECT_EQ(R00->BootEnableToApply, 1);
  EXPECT_EQ(R01->BootEnable, C.SecondFunctionBootEnable);
  EXPECT_EQ(R01->BootEnableToApply, C.SecondFunctionBootEnable);
  EXPECT_EQ(R00->VlanId, 200);
  EXPECT_NE(R00->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_EQ(R01->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_EQ(PlanDone(R00), PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  EXPECT_EQ(PlanDone(R01), PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Devices, QLogic8070PhasesTest,
    ::testing::Values(
        NonPartitionedCase{"Device8070",
                           0x8070,
                           {"show device VirtualizationMode", "show device SRIOVMode",
                            "show device FirmwareInformation", "show port1 PXEVlan", "show port1 PXEVlan",
                            // phase 2: the first port's own block, then the PXE VLAN that is enabled
                            "show port1 BootMode", "show port1 MacAddress", "show port1 VirtualMacAddress",
                            "show port1 PXEVlanId", "show port1 MacAddress", "show port1 VirtualMacAddress",
                            // phase 3
                            "set port1 BootMode=UNDI", "set port1 PXEVlan=Enabled",
                            "set port1 PXEVlanId=0200", "set port1 VirtualMacAddress=02:AA:BB:CC:DD:00",
                            "show port1 VirtualMacAddress", "set port1 VirtualMacAddress=00:00:00:00:00:00",
                            "show port1 VirtualMacAddress", "exit"},
                           0},
        // 1077:1656: its PXE VLAN replies are not read, it boots "Ethernet", never resets the port's
        // defaults, and its boot decision lands in the records of Instances 1 to 7.
        NonPartitionedCase{"Device1656",
                           0x1656,
                           {"show device VirtualizationMode", "show device SRIOVMode",
                            "show device FirmwareInformation", "show port1 PXEVlan", "show port1 PXEVlan",
                            "show port1 BootMode", "show port1 MacAddress", "show port1 VirtualMacAddress",
                            "show port1 MacAddress", "show port1 VirtualMacAddress",
                            "set port1 BootMode=Ethernet", "set port1 PXEVlan=Enabled",
                            "set port1 PXEVlanId=0200", "set port1 VirtualMacAddress=02:AA:BB:CC:DD:00",
                            "show port1 VirtualMacAddress", "show port1 VirtualMacAddress", "exit"},
                           1}),
    [](const ::testing::TestParamInfo<NonPartitionedCase> &I) { return I.param.Name; });

// ---- MacApplied -----------------------------------------------------------------------------------

struct MacAppliedCase {
  const char *Name;
  uint8_t ResponseFlag;
  uint8_t Status;
  bool Applied;
};

void PrintTo(const MacAppliedCase &C, std::ostream *Os) {
  *Os << C.Name;
}

class QLogic8070MacAppliedTest : public QLogic8070RunTest,
                                 public ::testing::WithParamInterface<MacAppliedCase> {};

TEST_P(QLogic8070MacAppliedTest, OnlyASuccessfulSetWithResponseFlagZero) {
  const MacAppliedCase &C = GetParam();
  AddBoard(0x8070);
  Fw().Nalo(1, 0, 0).Header.ResponseFlag = C.ResponseFlag;
  Replies R;
  ScriptNonPartitioned(R);
  R.Fail("set port1 VirtualMacAddress=02:AA:BB:CC:DD:00", C.Status);
  Run(A.Handle(0, 0), R, 19);
  EXPECT_EQ((A.Record(0, 0)->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED) != 0, C.Applied);
  // A failed command is reported, a successful one is not.
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::StatusCode).empty(), C.Status == 0);
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::Ipmi).empty(), C.Status == 0);
}

INSTANTIATE_TEST_SUITE_P(Responses, QLogic8070MacAppliedTest,
                         ::testing::Values(MacAppliedCase{"SucceededFlag0", 0, 0, true},
                                           MacAppliedCase{"SucceededFlag1", 1, 0, false},
                                           MacAppliedCase{"FailedFlag0", 0, 3, false}),
                         [](const ::testing::TestParamInfo<MacAppliedCase> &I) { return I.param.Name; });

// ---- RestartPlatform ----------------------------------------------------------------------------

TEST_F(QLogic8070RunTest, RestartPlatformDuringARunDoesNotResetAndTheRunGoesOn) {
  AddBoard(0x8070);
  Replies R;
  ScriptPartitioned(R);
  ScriptedAdapter Driver(Protocol, A.Handle(0, 0));
  R.Install(Driver);
  Driver.On("show device SRIOVMode",
            ScriptedReply{"data=\"Disabled\"", 0, 0, EfiPlatformConfigurationActionRestartPlatform});
  const std::vector<ScriptedStep> Steps = Driver.Run();
  ASSERT_GE(Steps.size(), 2u);
  EXPECT_EQ(Steps[1].Command, "show device SRIOVMode");
  EXPECT_EQ(Steps[1].Response, EFI_SUCCESS);
  EXPECT_EQ(Driver.EndInstance, 15u);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
}

struct ResetCase {
  const char *Name;
  uint16_t Vendor, Device;
};

void PrintTo(const ResetCase &C, std::ostream *Os) {
  *Os << C.Name;
}

class RestartPlatformOutsideQLogic8070Test : public DriverTest,
                                             public ::testing::WithParamInterface<ResetCase> {};

TEST_P(RestartPlatformOutsideQLogic8070Test, OtherFamiliesResetCold) {
  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  AdapterSpec Spec;
  Spec.VendorId = GetParam().Vendor;
  Spec.DeviceId = GetParam().Device;
  Spec.PlatformFlags = PLATFORM_FLAG_MANAGED_MODE_ENABLED;
  const BuiltAdapter A = AddAdapter(Fw(), Spec);
  EFI_HANDLE Controller = A.Handle(0, 0);
  static char Reply[] = "retdata=ok";
  bool Returned = false;
  EFI_STATUS QueryStatus = EFI_NOT_FOUND;
  const bool Reset = Fw().RunUntilReset([&] {
    UINTN Instance = 0, Size = 0;
    EFI_GUID *Guid = nullptr;
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
    QueryStatus = Protocol->Query(Protocol, Controller, nullptr, &Instance, &Guid,
                                  reinterpret_cast<VOID **>(&Block), &Size);
    if (EFI_ERROR(QueryStatus)) {
      return;
    }
    Block->CLPReturnString = reinterpret_cast<CHAR8 *>(Reply);
    Block->CLPReturnStringLength = sizeof(Reply) - 1;
    Protocol->Response(Protocol, Controller, nullptr, &Instance, Guid, Block, Size,
                       EfiPlatformConfigurationActionRestartPlatform);
    Returned = true;
  });
  EXPECT_EQ(QueryStatus, EFI_SUCCESS);
  EXPECT_TRUE(Reset);
  EXPECT_FALSE(Returned);
  const auto Resets = Fw().EventsOf(fake::EventKind::Reset);
  ASSERT_EQ(Resets.size(), 1u);
  EXPECT_EQ(Resets[0].ResetType, EfiResetCold);
}

INSTANTIATE_TEST_SUITE_P(Families, RestartPlatformOutsideQLogic8070Test,
                         ::testing::Values(ResetCase{"Emulex0720", 0x10DF, 0x0720},
                                           ResetCase{"Mellanox1013", 0x15B3, 0x1013},
                                           ResetCase{"Mellanox1017", 0x15B3, 0x1017}),
                         [](const ::testing::TestParamInfo<ResetCase> &I) { return I.param.Name; });

} // namespace
