// QLogic8070 converged adapters driven end to end through the installed protocol: partitioned
// adapters that are only read, the three phases of a non-partitioned port, the discovery of a
// second port, the device 1077:1656, the quoted replies of this family, and what a successful
// virtual MAC and a platform restart request mean for it.
#include "Integration/ScriptedAdapter.h"

namespace {

// An adapter that is not partitioned: PXE VLAN 100 enabled, boot disabled, an all-zero current
// MAC on function 1 and a foreign virtual MAC on function 2.
const Script kNonPartitioned = {
    {"show device VirtualizationMode", {"data=\"Default\""}},
    {"show device SRIOVMode", {"data=\"Disabled\""}},
    {"show device FirmwareInformation", {"data=\"MFW:8.50.1,MBI:7.14.6,UEFI:6.1.2\""}},
    {"show port1 PXEVlan", {"data=\"Enabled\""}},
    {"show port1 BootMode", {"data=\"Disabled\""}},
    {"show port1 MacAddress", {"data=\"00:0E:1E:AA:BB:00\"", "data=\"00:0e:1e:aa:bb:01\""}},
    {"show port1 VirtualMacAddress",
     {"data=\"00:00:00:00:00:00\"", "data=\"02:11:22:AB:CD:EF\"", "data=\"02:AA:BB:CC:DD:00\"",
      "data=\"00:00:00:00:00:00\""}},
    {"show port1 PXEVlanId", {"data=\"100\""}}};

// Port 1 of a partitioned (NPAR) adapter.
const Script kPartitioned = {
    {"show device VirtualizationMode", {"data=\"NPAR\""}},
    {"show device SRIOVMode", {"data=\"Disabled\""}},
    {"show device FirmwareInformation", {"data=\"MBI:7.14.6,UEFI:6.1.2,MFW:8.50.1\""}},
    {"show port1 PXEVlan", {"data=\"Disabled\""}},
    {"show port1 BootMode", {"data=\"Disabled\""}},
    {"show port1 MinimumBandwidthAllocation", {"data=\"25,75\""}},
    {"show port1 MaximumBandwidthAllocation", {"data=\"100,50\""}},
    {"show port1.pf1 Personality", {"data=\"Ethernet\""}},
    {"show port1.pf2 Personality", {"data=\"iSCSI\""}}};

Texts PartitionedShows(bool MinimumBandwidth) {
  Texts Out = {"show device VirtualizationMode",
               "show device SRIOVMode",
               "show device FirmwareInformation",
               "show port1 PXEVlan",
               "show port1 PXEVlan",
               "show port1 BootMode"};
  if (MinimumBandwidth) {
    Out.push_back("show port1 MinimumBandwidthAllocation");
  }
  return Join({Out,
               {"show port1 MaximumBandwidthAllocation", "show port1.pf1 MacAddress",
                "show port1.pf1 VirtualMacAddress", "show port1.pf1 Personality", "show port1.pf2 MacAddress",
                "show port1.pf2 VirtualMacAddress", "show port1.pf2 Personality", "exit"}});
}

class QLogic8070RunTest : public IntegrationTest {
protected:
  // Two ports of two functions; the platform wants a virtual MAC and boot with PXE VLAN 200 on
  // the first function of port 0, and no virtual address on its second function.
  void AddBoard(uint16_t Device, uint16_t Subsystem = 0x0001) {
    A = Add(0x1077, Device, 0x41, 2, 2, PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6, Subsystem);
    A.Record(0, 0)->NaloIndex = 1;
    A.Record(1, 0)->NaloIndex = 1;
    fake::NaloEntry &N = ValidTables(1);
    N.AddressTable[0].Enabled = 1;
    N.AddressTable[0].Mac = N.OwnBytes({0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0x00});
    N.BootTable[0].Enabled = 1;
    N.BootTable[0].BootVlanId = N.Own<UINT16>(200);
  }

  BuiltAdapter A;
};

// ---- Partitioned: read only ---------------------------------------------------------------------

struct PartitionedCase {
  const char *Name;
  uint16_t Subsystem;
  bool ShowsMinimumBandwidth;
};

class QLogic8070PartitionedTest : public QLogic8070RunTest,
                                  public ::testing::WithParamInterface<PartitionedCase> {};

TEST_P(QLogic8070PartitionedTest, GetsOnlyShowCodesThenExit) {
  const PartitionedCase &C = GetParam();
  AddBoard(0x8070, C.Subsystem);
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kPartitioned), PartitionedShows(C.ShowsMinimumBandwidth));

  FUNCTION_SETTINGS *R00 = A.Record(0, 0), *R01 = A.Record(0, 1);
  EXPECT_EQ(mModule.mCurrentUmc, 1);
  // One reply describes the bandwidths of every function of the port, in function order;
  // personalities come one reply per function, in reply order.
  const int Min = C.ShowsMinimumBandwidth;
  EXPECT_EQ((Fields{R00->MinBandwidth, R01->MinBandwidth, R00->MaxBandwidth, R01->MaxBandwidth, R00->PfType,
                    R01->PfType, mModule.mPfTypeTable[0], mModule.mPfTypeTable[1], mModule.mPfTypeCount}),
            (Fields{Min * 25, Min * 75, 100, 50, PF_TYPE_NIC, PF_TYPE_ISCSI, PF_TYPE_NIC, PF_TYPE_ISCSI, 2}));
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
  Dialogue(A.Handle(0, 0), kPartitioned);
  EXPECT_EQ(Dialogue(A.Handle(1, 0), {{"show port2 BootMode", {"data=\"Enabled\""}},
                                      {"show port2 MinimumBandwidthAllocation", {"data=\"40,60\""}},
                                      {"show port2.pf1 Personality", {"data=\"FCoE\""}},
                                      {"show port2.pf2 Personality", {"data=\"Disabled\""}},
                                      {"show port2 PXEVlan", {"data=\"Disabled\""}}}),
            (Texts{"show port2 BootMode", "show port2 MinimumBandwidthAllocation",
                   "show port2 MaximumBandwidthAllocation", "show port2.pf1 MacAddress",
                   "show port2.pf1 VirtualMacAddress", "show port2.pf1 Personality", "show port2 PXEVlan",
                   "show port2.pf2 MacAddress", "show port2.pf2 VirtualMacAddress",
                   "show port2.pf2 Personality", "show port2 PXEVlan", "exit"}));
  FUNCTION_SETTINGS *R10 = A.Record(1, 0), *R11 = A.Record(1, 1);
  // Boot enables, minimum bandwidths, types; a quoted Disabled reads as Disable.
  EXPECT_EQ((Fields{R10->BootEnable, R11->BootEnable, R10->MinBandwidth, R11->MinBandwidth, R10->PfType,
                    R11->PfType}),
            (Fields{1, 1, 40, 60, PF_TYPE_FCOE, PF_TYPE_DISABLED}));
}

// ---- Not partitioned: three phases -----------------------------------------------------------------

struct NonPartitionedCase {
  const char *Name;
  uint16_t Device;
  Texts Expected;
  uint8_t SecondFunctionBootEnable; // where 1077:1656 also writes its boot decision
};

class QLogic8070PhasesTest : public QLogic8070RunTest,
                             public ::testing::WithParamInterface<NonPartitionedCase> {};

TEST_P(QLogic8070PhasesTest, FirstPortReadsThenSetsWhatDiffers) {
  const NonPartitionedCase &C = GetParam();
  AddBoard(C.Device);
  FUNCTION_SETTINGS *R00 = A.Record(0, 0), *R01 = A.Record(0, 1);
  ScriptedAdapter Driver(Protocol, A.Handle(0, 0), kNonPartitioned);
  bool VirtualMacShown = false;
  Driver.AfterResponse = [&](const ScriptedStep &S) {
    if (S.Command == "show port1 VirtualMacAddress" && !VirtualMacShown) {
      VirtualMacShown = true;
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
  };
  EXPECT_EQ(Driver.Dialogue(), C.Expected);

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
  EXPECT_EQ((Fields{R00->BootEnable, R00->BootEnableToApply, R01->BootEnable, R01->BootEnableToApply}),
            (Fields{1, 1, C.SecondFunctionBootEnable, C.SecondFunctionBootEnable}));
  EXPECT_EQ(R00->VlanId, 200);
  EXPECT_NE(R00->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_EQ(R01->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_EQ((Fields{PlanDone(R00), PlanDone(R01)}), (Fields{kBothPlansDone, kBothPlansDone}));
  EXPECT_EQ(PlanDone(R01), kBothPlansDone);
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

class QLogic8070MacAppliedTest : public QLogic8070RunTest,
                                 public ::testing::WithParamInterface<MacAppliedCase> {};

TEST_P(QLogic8070MacAppliedTest, OnlyASuccessfulSetWithResponseFlagZero) {
  const MacAppliedCase &C = GetParam();
  AddBoard(0x8070);
  Fw().Nalo(1, 0, 0).Header.ResponseFlag = C.ResponseFlag;
  Script Replies = kNonPartitioned;
  Replies["set port1 VirtualMacAddress=02:AA:BB:CC:DD:00"] = {ScriptedReply{"", C.Status}};
  EXPECT_EQ(Dialogue(A.Handle(0, 0), Replies).size(), 19u);
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

TEST_F(QLogic8070RunTest, RestartPlatformDuringARunDoesNotResetAndTheRunGoesOn) {
  AddBoard(0x8070);
  Script Replies = kPartitioned;
  Replies["show device SRIOVMode"] = {
      ScriptedReply{"data=\"Disabled\"", 0, 0, EfiPlatformConfigurationActionRestartPlatform}};
  EXPECT_EQ(Dialogue(A.Handle(0, 0), Replies), PartitionedShows(true));
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
}

} // namespace
