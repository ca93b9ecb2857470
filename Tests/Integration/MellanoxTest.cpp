// Mellanox adapters driven end to end through the installed protocol: the two-phase plan of
// Mellanox1013 with and without port defaults and over two functions, and the read-only
// Mellanox1017 plan.
#include "Integration/ScriptedAdapter.h"

namespace {

constexpr uint8_t kFlags =
    PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6 | PLATFORM_FLAG_RECONFIGURE_REQUESTED;

// The adapter reports port and boot enabled, SR-IOV disabled, no VLAN and its own MAC.
const Script kReplies = {{"show netport1 FirmwareVersions", {"data=14.32.1010 3.6.502"}},
                         {"show netport1 SRIOVState", {"data=disabled"}},
                         {"show netport1 PortEnable", {"data=enabled"}},
                         {"show netport1 BootEnable", {"data=enabled"}},
                         {"show netport1 MAXLinkSpeed", {"data=19"}},
                         {"show netport1 MfgMAC", {"data=98039B000001"}},
                         {"show netport1 MAC", {"data=98039b000001"}},
                         {"show netport1 VlanID", {"data=4095"}}};

const Texts kFunctionShows = {"show netport1 PortEnable",   "show netport1 BootEnable",
                              "show netport1 MAXLinkSpeed", "show netport1 MfgMAC",
                              "show netport1 MAC",          "show netport1 VlanID"};

class MellanoxRunTest : public IntegrationTest {
protected:
  // One port; the platform's wishes equal what the adapter reports: port and boot enabled, no
  // boot VLAN, function 0 keeps its MAC, function 1 has no virtual address.
  void AddBoard(uint16_t Device, uint8_t Functions) {
    A = Add(0x15B3, Device, 0x5E, 1, Functions, kFlags);
    A.Record(0, 0)->NaloIndex = 1;
    fake::NaloEntry &N = ValidTables(1);
    N.AddressTable[0].Enabled = 1;
    N.AddressTable[0].Mac = N.OwnBytes({0x98, 0x03, 0x9B, 0x00, 0x00, 0x01});
    for (int I = 0; I < 2; ++I) {
      N.BootTable[I].Enabled = 1;
      N.BootTable[I].BootVlanId = N.Own<UINT16>(0);
    }
  }

  BuiltAdapter A;
};

// Second phase: every decision is "no change", yet the MAC is shown again.
const Texts kNothingToChange = Join({{"show netport1 FirmwareVersions", "show netport1 SRIOVState"},
                                     kFunctionShows,
                                     {"show netport1 MAC", "exit"}});

TEST_F(MellanoxRunTest, Mellanox1013WithNothingToChangeStillShowsTheMacBeforeExit) {
  AddBoard(0x1013, 1);
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies), kNothingToChange);

  FUNCTION_SETTINGS *R = A.Record(0, 0);
  EXPECT_EQ(Str(R->FirmwareVersion[0]), "14.32.1010");
  EXPECT_EQ(Str(R->FirmwareVersion[1]), "3.6.502");
  // The maximum link speed reply is hexadecimal: 19 is 25 Gb/s.
  EXPECT_EQ(Str(R->MaxLinkSpeedText), "25 Gb/s");
  EXPECT_EQ(R->MaxLinkSpeedCode, 0x4019);
  EXPECT_EQ(Str(R->CurrentAddressText[0]), "98039B000001");
  // Port and boot enabled, SR-IOV off, no VLAN (a reported 4095 is none).
  EXPECT_EQ((Fields{R->PortEnable, R->BootEnable, R->SriovEnabled, R->VlanId, mModule.mCurrentVlanId}),
            (Fields{1, 1, 0, 0, 4095}));
  EXPECT_EQ(PlanDone(R), kBothPlansDone);
  EXPECT_NE(R->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
  EXPECT_EQ(R->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED, 0);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Ipmi).empty());
}

TEST_F(MellanoxRunTest, Mellanox1013PortDefaultsComeBetweenSriovAndPortEnable) {
  AddBoard(0x1013, 1);
  // The platform's answer about port defaults belongs to the tables it last handed out; the
  // first run loads them, the reconfiguration run then asks at Instance 0.
  Fw().Nalo(1, 0, 0).QueryDefaultsPort = true;
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies), kNothingToChange);

  A.Record(0, 0)->PlatformFlags |= PLATFORM_FLAG_RECONFIGURE_REQUESTED;
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies),
            Join({{"show netport1 FirmwareVersions", "show netport1 SRIOVState", "set netport1 Default"},
                  kFunctionShows,
                  {"show netport1 MAC", "exit"}}));
  EXPECT_EQ(A.Record(0, 0)->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED, 0);
}

TEST_F(MellanoxRunTest, Mellanox1013SecondFunctionPlansNoVersionOrSriov) {
  AddBoard(0x1015, 2);
  // Function 0, function 1, then the second phase with one MAC refresh per function.
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies),
            Join({{"show netport1 FirmwareVersions", "show netport1 SRIOVState"},
                  kFunctionShows,
                  kFunctionShows,
                  {"show netport1 MAC", "show netport1 MAC", "exit"}}));
  for (FUNCTION_SETTINGS *R : {A.Record(0, 0), A.Record(0, 1)}) {
    EXPECT_EQ(PlanDone(R), kBothPlansDone);
    EXPECT_NE(R->ProgressFlags & PROGRESS_FLAG_PORT_ENABLE_PLANNED, 0);
    EXPECT_EQ(Str(R->MaxLinkSpeedText), "25 Gb/s");
  }
}

class Mellanox1017Test : public MellanoxRunTest, public ::testing::WithParamInterface<uint16_t> {};

TEST_P(Mellanox1017Test, FourLinePlanReadsVersionsAndSpeed) {
  A = Add(0x15B3, GetParam(), 0, 1, 1, kFlags);
  // The fourth entry, END, ends the run.
  EXPECT_EQ(Dialogue(A.Handle(0, 0), {{"show netport1 FirmwareVersions", {"data=16.35.2000,4.1.4"}},
                                      {"show netport1 MAXLinkSpeed", {"data=64"}}}),
            (Texts{"show netport1 FirmwareVersions", "show netport1 MAXLinkSpeed", "exit"}));
  FUNCTION_SETTINGS *R = A.Record(0, 0);
  EXPECT_EQ(Str(R->FirmwareVersion[0]), "16.35.2000");
  EXPECT_EQ(Str(R->FirmwareVersion[1]), "4.1.4");
  EXPECT_EQ(Str(R->MaxLinkSpeedText), "100 Gb/s");
  EXPECT_EQ(R->MaxLinkSpeedCode, 0x4064);
  EXPECT_EQ(PlanDone(R), 0);
  EXPECT_NE(R->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
  EXPECT_EQ(R->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED, 0);
  EXPECT_TRUE(Fw().NaloCalls().empty());
}

INSTANTIATE_TEST_SUITE_P(Devices, Mellanox1017Test, ::testing::Values(0x1017, 0x101B),
                         [](const ::testing::TestParamInfo<uint16_t> &I) {
                           return I.param == 0x1017 ? std::string("Device1017") : std::string("Device101B");
                         });

} // namespace
