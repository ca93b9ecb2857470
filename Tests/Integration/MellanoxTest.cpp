// Mellanox adapters driven end to end through the installed protocol: the two-phase plan of
// Mellanox1013 with and without port defaults, and the read-only
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

// Second phase: every decision is "no change", yet the MAC is shown again before exit.
const Texts kNothingToChange = Join({{"show netport1 FirmwareVersions", "show netport1 SRIOVState"},
                                     kFunctionShows,
                                     {"show netport1 MAC", "exit"}});

TEST_F(MellanoxRunTest, Mellanox1013PortDefaultsComeBetweenSriovAndPortEnable) {
  AddBoard(0x1013, 1);
  // The platform's answer about port defaults belongs to the tables it last handed out; the
  // first run loads them, the reconfiguration run then asks at Instance 0.
  Fw().Nalo(1, 0, 0).QueryDefaultsPort = true;
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies), kNothingToChange);
  // The maximum link speed reply is hexadecimal: 19 is 25 Gb/s.
  EXPECT_EQ(A.Record(0, 0)->MaxLinkSpeedCode, 0x4019);

  A.Record(0, 0)->PlatformFlags |= PLATFORM_FLAG_RECONFIGURE_REQUESTED;
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kReplies),
            Join({{"show netport1 FirmwareVersions", "show netport1 SRIOVState", "set netport1 Default"},
                  kFunctionShows,
                  {"show netport1 MAC", "exit"}}));
  EXPECT_EQ(A.Record(0, 0)->PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED, 0);
}

TEST_F(MellanoxRunTest, Mellanox1017FourLinePlanReadsVersionsAndSpeed) {
  A = Add(0x15B3, 0x1017, 0, 1, 1, kFlags);
  // The fourth entry, END, ends the run.
  EXPECT_EQ(Dialogue(A.Handle(0, 0), {{"show netport1 FirmwareVersions", {"data=16.35.2000,4.1.4"}},
                                      {"show netport1 MAXLinkSpeed", {"data=64"}}}),
            (Texts{"show netport1 FirmwareVersions", "show netport1 MAXLinkSpeed", "exit"}));
  EXPECT_EQ(Str(A.Record(0, 0)->MaxLinkSpeedText), "100 Gb/s");
  EXPECT_TRUE(Fw().NaloCalls().empty());
}

} // namespace
