// QLogic8070 converged adapters driven end to end through the installed protocol: partitioned
// adapters that are only read (and not reset on a platform restart request), and the three phases
// of a non-partitioned port.
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

// Port 1 of a partitioned (NPAR) adapter; the adapter driver answers one Instance with a platform
// restart request, which this family does not act on.
const Script kPartitioned = {
    {"show device VirtualizationMode", {"data=\"NPAR\""}},
    {"show device SRIOVMode", {{"data=\"Disabled\"", 0, 0, EfiPlatformConfigurationActionRestartPlatform}}},
    {"show device FirmwareInformation", {"data=\"MBI:7.14.6,UEFI:6.1.2,MFW:8.50.1\""}},
    {"show port1 PXEVlan", {"data=\"Disabled\""}},
    {"show port1 BootMode", {"data=\"Disabled\""}},
    {"show port1 MinimumBandwidthAllocation", {"data=\"25,75\""}},
    {"show port1 MaximumBandwidthAllocation", {"data=\"100,50\""}},
    {"show port1.pf1 Personality", {"data=\"Ethernet\""}},
    {"show port1.pf2 Personality", {"data=\"iSCSI\""}}};

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

TEST_F(QLogic8070RunTest, PartitionedGetsOnlyShowCodesThenExit) {
  AddBoard(0x8070);
  EXPECT_EQ(
      Dialogue(A.Handle(0, 0), kPartitioned),
      Join({{"show device VirtualizationMode", "show device SRIOVMode", "show device FirmwareInformation",
             "show port1 PXEVlan", "show port1 PXEVlan", "show port1 BootMode",
             "show port1 MinimumBandwidthAllocation"},
            {"show port1 MaximumBandwidthAllocation", "show port1.pf1 MacAddress",
             "show port1.pf1 VirtualMacAddress", "show port1.pf1 Personality", "show port1.pf2 MacAddress",
             "show port1.pf2 VirtualMacAddress", "show port1.pf2 Personality", "exit"}}));
  // One reply describes the bandwidths of every function of the port, in function order.
  EXPECT_EQ(
      (Fields{A.Record(0, 0)->MinBandwidth, A.Record(0, 1)->MinBandwidth, A.Record(0, 1)->MaxBandwidth}),
      (Fields{25, 75, 50}));
  EXPECT_EQ(PlanDone(A.Record(0, 0)), 0);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
}

// ---- Not partitioned: three phases -----------------------------------------------------------------

TEST_F(QLogic8070RunTest, NonPartitionedFirstPortReadsThenSetsWhatDiffers) {
  AddBoard(0x8070);
  EXPECT_EQ(Dialogue(A.Handle(0, 0), kNonPartitioned),
            (Texts{"show device VirtualizationMode", "show device SRIOVMode",
                   "show device FirmwareInformation", "show port1 PXEVlan", "show port1 PXEVlan",
                   // phase 2: the first port's own block, then the PXE VLAN that is enabled
                   "show port1 BootMode", "show port1 MacAddress", "show port1 VirtualMacAddress",
                   "show port1 PXEVlanId", "show port1 MacAddress", "show port1 VirtualMacAddress",
                   // phase 3
                   "set port1 BootMode=UNDI", "set port1 PXEVlan=Enabled", "set port1 PXEVlanId=0200",
                   "set port1 VirtualMacAddress=02:AA:BB:CC:DD:00", "show port1 VirtualMacAddress",
                   "set port1 VirtualMacAddress=00:00:00:00:00:00", "show port1 VirtualMacAddress", "exit"}));
  // Tagged versions, in any order.
  EXPECT_EQ(Str(A.Record(1, 1)->FirmwareVersion[2]), "8.50.1");
  EXPECT_NE(A.Record(0, 0)->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
  EXPECT_EQ(A.Record(0, 1)->PlatformFlags & PLATFORM_FLAG_MAC_APPLIED, 0);
}

} // namespace
