// Emulex0720 converged adapters driven end to end through the installed protocol: link layouts
// read from the adapter, the RoCE profile with its restart, and the per-function settings once the layout is
// in place.
#include "Integration/ScriptedAdapter.h"

namespace {

class Emulex0720RunTest : public IntegrationTest {
protected:
  BuiltAdapter Add(uint16_t Subsystem, uint8_t Ports, uint8_t PfsPerPort) {
    BuiltAdapter A = IntegrationTest::Add(0x10DF, 0x0720, 0x21, Ports, PfsPerPort,
                                          PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6, Subsystem);
    for (const auto &Port : A.Records) {
      for (FUNCTION_SETTINGS *R : Port) {
        R->PortEnable = 1;
      }
    }
    return A;
  }

  static Texts Shows(int Port, int Functions) {
    Texts Out;
    for (int Pf = 0; Pf < Functions; ++Pf) {
      Out.push_back("show port" + std::to_string(Port) + "/pf" + std::to_string(Pf) + " OEMELX_PFInfo");
    }
    return Out;
  }
};

// ---- 4 x 10 Gb/s: sixteen functions become four ports of four --------------------------------------

TEST_F(Emulex0720RunTest, LinkConfigFirstThenSixteenFunctionsRewrittenIntoFourPorts) {
  // Sixteen PCI functions that the platform lists as one port; functions 0 to 3 head the ports.
  std::vector<EFI_HANDLE> Handles;
  std::vector<FUNCTION_SETTINGS *> R;
  for (uint8_t I = 0; I < 16; ++I) {
    Handles.push_back(Fw().AddPciFunction(0, 0x30, I >> 3, I & 7, 0x10DF, 0x0720));
    R.push_back(Fw().AddAdapterSettings(Handles.back()));
  }
  AdapterSpec Spec;
  Spec.VendorId = 0x10DF;
  Spec.DeviceId = 0x0720;
  Spec.SubsystemId = 0xE868;
  Spec.Bus = 0x30;
  Spec.FunctionsPerPort = 16;
  Spec.PlatformFlags = PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6;
  LinkAdapterRecords({R}, Spec);
  for (uint8_t I = 0; I < 16; ++I) {
    R[I]->PciAddress = static_cast<UINT16>((0x30 << 8) | I);
    R[I]->PortEnable = 1;
    R[I]->PortCount = 4;
    std::copy(R.begin(), R.begin() + 4, R[I]->Ports);
  }
  R[0]->NaloIndex = 224; // the management indices then follow the card and port
  R[0]->CardIndex = 5;
  R[0]->PortNumber = 2;

  // Instance 0 reads the layout; the phase from Instance 1 shows the four functions of the new port.
  EXPECT_EQ(Dialogue(Handles[0], {{"show / OEMELX_LinkConfig", {"retdata=ELX_4x10G"}}}),
            Join({{"show / OEMELX_LinkConfig"}, Shows(0, 4), {"exit"}}));

  // Function 13 is pf3 of port 1: PortIndex, PfIndex, SubIndex, PfsPerPort, FunctionCount, speed
  // code, NaloIndex, CardIndex, PortNumber.
  const FUNCTION_SETTINGS *F = R[13];
  EXPECT_EQ((Fields{F->PortIndex, F->PfIndex, F->SubIndex, F->PfsPerPort, F->FunctionCount,
                    F->MaxLinkSpeedCode, F->NaloIndex, F->CardIndex, F->PortNumber}),
            (Fields{1, 3, 4, 4, 4, 0x400A, 224, 5, 3}));
  // The platform tables were asked for the rewritten first port.
  ASSERT_EQ(Fw().NaloCalls().size(), 1u);
  EXPECT_EQ(Fw().NaloCalls()[0].Key, fake::NaloKey(224, 5, 0));

  // Another port's first function shows its functions at Instance 0: no link configuration.
  EXPECT_EQ(Dialogue(Handles[1]), Join({Shows(1, 4), {"exit"}}));
  ASSERT_EQ(Fw().NaloCalls().size(), 2u);
  EXPECT_EQ(Fw().NaloCalls()[1].Key, fake::NaloKey(224, 5, 1));
}

// ---- RoCE profile: a layout change that needs a restart ------------------------------------------

// Two ports of four functions on a board whose layout is in the settings record (2 x 10 Gb/s).
// Port 0's table wants one function; port 1's table reports RoCE profile 2.
TEST_F(Emulex0720RunTest, RoceOnAnyPortRetypesTheFunctionsAndAsksForOneRestart) {
  const BuiltAdapter A = Add(0x0001, 2, 4);
  A.Record(0, 0)->NaloIndex = 1;
  fake::NaloEntry &Port0 = ValidTables(1);
  Port0.PortTable.DesiredFunctionCount = 1;
  Port0.PortTable.Function[0].Enabled = 1;
  Port0.PortTable.Function[0].FunctionType = PF_TYPE_ROCE;
  fake::NaloEntry &Port1 = Fw().Nalo(2, 0, 0);
  Port1.Header.PortTableValid = 1;
  Port1.PortTable.DesiredPortEnable = Port1.PortTable.DesiredFunctionCount = 1;
  Port1.PortTable.Function[0].Enabled = 1;
  Port1.PortTable.Function[0].RoceMode = 2;
  // The adapter still runs partitioned with two NIC functions and an iSCSI function.
  EXPECT_EQ(
      Dialogue(
          A.Handle(0, 0),
          {{"show port0/pf0 OEMELX_PFInfo",
            {"retdata=\r\nPfType=NIC\r\nPortEnable=Enabled\r\nUMCState=Enabled\r\nBootEnable=Enabled\r\n"}},
           {"show port0/pf1 OEMELX_PFInfo", {"retdata=\r\nPfType=NIC\r\n"}},
           {"show port0/pf2 OEMELX_PFInfo", {"retdata=\r\nPfType=iSCSI\r\n"}},
           {"show port0/pf3 OEMELX_PFInfo", {"retdata=\r\nPfType=Disable\r\n"}}}),
      Join({Shows(0, 4),
            {"set / OEMELX_UMCState=Disabled", "set / OEMELX_Profile=RoCE-2",
             "set port0/pf0 OEMELX_PFType=RoCE", "set port0/pf1 OEMELX_PFType=Disable",
             "set port0/pf2 OEMELX_PFType=Disable", "exit"}}));
  EXPECT_EQ(Fw().RestartNotifications(), 1u);
  // A layout change ends the plan before any per-function setting: no plan-done marks.
  EXPECT_EQ(PlanDone(A.Record(0, 0)), 0);
}

// ---- One partitioned port of four functions --------------------------------------------------------

TEST_F(Emulex0720RunTest, LayoutInPlacePlansEveryPerFunctionSetting) {
  const BuiltAdapter A = Add(0x0001, 1, 4);
  A.Record(0, 0)->NaloIndex = 1;
  fake::NaloEntry &N = ValidTables(1);
  N.Header.InitiatorName = N.OwnText("iqn.2001-04.com.example:host1");
  N.PortTable.PortMode = 2;
  N.PortTable.DesiredFunctionCount = 3;
  const struct {
    uint8_t Type, Min, Max;
    uint16_t Vlan;
  } Functions[3] = {{PF_TYPE_NIC, 25, 100, 100}, {PF_TYPE_NIC, 25, 50, 200}, {PF_TYPE_ISCSI, 50, 100, 300}};
  for (int I = 0; I < 3; ++I) {
    NALO_FUNCTION_ENTRY &E = N.PortTable.Function[I];
    E.Enabled = 1;
    E.FunctionType = Functions[I].Type;
    E.MinBandwidthShare = N.Own<UINT8>(Functions[I].Min);
    E.MaxBandwidthShare = N.Own<UINT8>(Functions[I].Max);
    E.FunctionVlanId = N.Own<UINT16>(Functions[I].Vlan);
  }
  N.AddressTable[0].Enabled = 1;
  N.AddressTable[0].Mac = N.OwnBytes({0x02, 0x00, 0xC9, 0x00, 0x00, 0x01});
  N.AddressTable[2].Enabled = 1;
  N.AddressTable[2].Mac = N.OwnBytes({0x02, 0x00, 0xC9, 0x00, 0x00, 0x03});
  const Texts Commands = Dialogue(
      A.Handle(0, 0),
      {{"show port0/pf0 OEMELX_PFInfo",
        {"retdata=\r\nPfType=NIC\r\nPortEnable=Enabled\r\nUMCState=Enabled\r\nBootEnable=Enabled\r\n"
         "MAC=0000C9AABB00\r\nMfgMAC=0000C9AABB00\r\nMinBandwidth=50\r\nMaxBandwidth=100\r\nPfVLANID="
         "4095\r\n"}},
       {"show port0/pf1 OEMELX_PFInfo",
        {"retdata=\r\nPfType=NIC\r\nPortEnable=Enabled\r\nBootEnable=Disabled\r\nMAC=0200C9FFFF01\r\n"
         "MfgMAC=0000C9AABB01\r\nMinBandwidth=25\r\nMaxBandwidth=100\r\nPfVLANID=200\r\n"}},
       {"show port0/pf2 OEMELX_PFInfo",
        {"retdata=\r\nPfType=iSCSI\r\nPortEnable=Enabled\r\nBootEnable=Disabled\r\nMAC=0000C9AABB02\r\n"
         "MfgMAC=0000C9AABB02\r\nMinBandwidth=50\r\nMaxBandwidth=100\r\nPfVLANID=0\r\n"
         "InitiatorIscsiName=iqn.old\r\n"}},
       {"show port0/pf3 OEMELX_PFInfo", {"retdata=\r\nPfType=Disable\r\n"}}});
  // Function 0: bandwidth, VLAN (no PXE VLAN while partitioned), boot, MAC. Function 1: rate
  // limit; no virtual address, so the port's addresses go back to default. Function 2: iSCSI
  // without a boot entry: only the port's initiator name (the boot targets have their own tests).
  EXPECT_EQ(
      Commands,
      Join({Shows(0, 4),
            {"set port0/pf0 OEMELX_MinBandwidth=025", "set port0/pf0 OEMELX_PFVlanID=0100",
             "set port0/pf0 OEMELX_BootEnable=Disabled", "set port0/pf0 OEMELX_VolatileMAC=0200C9000001",
             "set port0/pf1 OEMELX_MaxBandwidth=050", "set port0 OEMELX_AddressDefaults=0"},
            {"set port0/pf2 OEMELX_PFVlanID=0300", "set port0/pf2 OEMELX_VolatileMAC=0200C9000003",
             "set port0/pf2 OEMELX_InitiatorIscsiName=iqn.2001-04.com.example:host1"},
            {"exit"}}));
  EXPECT_EQ(Fw().RestartNotifications(), 0u);

  // The port's addresses went back to default: function 1 holds the manufacturer's again.
  EXPECT_EQ(Str(A.Record(0, 1)->CurrentAddressText[0]), "0000C9AABB01");
}

} // namespace
