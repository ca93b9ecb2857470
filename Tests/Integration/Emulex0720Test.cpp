// Emulex0720 converged adapters driven end to end through the installed protocol: link layouts
// read from the adapter, the RoCE profile with its restart, the function-type queue, and the
// per-function settings once the layout is in place.
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

struct FourByTenCase {
  const char *Name;
  uint8_t NaloIndex, CardIndex, PortNumber;
  // Expected management indices of the record at port p: NaloIndex, CardIndex, PortNumber.
  uint8_t NaloBase;
  bool NaloPlusPort;
  uint8_t Card;
  uint8_t PortNumberBase;
  bool PortNumberPlusPort;
};

class Emulex0720FourByTenTest : public Emulex0720RunTest,
                                public ::testing::WithParamInterface<FourByTenCase> {};

TEST_P(Emulex0720FourByTenTest, LinkConfigFirstThenSixteenFunctionsRewrittenIntoFourPorts) {
  const FourByTenCase &C = GetParam();
  // Sixteen PCI functions (two devices of eight) that the platform lists as one port; its port
  // pointers already name the functions 0 to 3 as the first functions of the four ports.
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
  R[0]->NaloIndex = C.NaloIndex;
  R[0]->CardIndex = C.CardIndex;
  R[0]->PortNumber = C.PortNumber;

  ScriptedAdapter Driver(Protocol, Handles[0], {{"show / OEMELX_LinkConfig", {"retdata=ELX_4x10G"}}});
  Driver.AfterResponse = [&](const ScriptedStep &Step) {
    if (Step.Instance == 0) {
      EXPECT_EQ(mModule.mLinkConfig, 3u);
      EXPECT_EQ(mModule.mActiveLinkConfig, 3u);
    }
  };
  // Instance 0 reads the layout; the phase that starts at Instance 1 sees the rewritten port and
  // shows each of its four functions.
  EXPECT_EQ(Driver.Dialogue(), Join({{"show / OEMELX_LinkConfig"}, Shows(0, 4), {"exit"}}));

  for (uint8_t I = 0; I < 16; ++I) {
    const uint8_t P = I % 4, Pf = I / 4;
    SCOPED_TRACE("function " + std::to_string(I));
    // PortIndex and its copy, PfIndex, SubIndex, PfsPerPort, PortCount, FunctionCount, speed code,
    // NaloIndex, CardIndex, PortNumber.
    EXPECT_EQ((Fields{R[I]->PortIndex, R[I]->PortIndexCopy, R[I]->PfIndex, R[I]->SubIndex, R[I]->PfsPerPort,
                      R[I]->PortCount, R[I]->FunctionCount, R[I]->MaxLinkSpeedCode, R[I]->NaloIndex,
                      R[I]->CardIndex, R[I]->PortNumber}),
              (Fields{P, P, Pf, Pf + 1, 4, 4, 4, 0x400A, C.NaloBase + (C.NaloPlusPort ? P : 0), C.Card,
                      C.PortNumberBase + (C.PortNumberPlusPort ? P : 0)}));
    EXPECT_EQ(R[I]->Functions[4], nullptr);
    EXPECT_EQ(R[P]->Functions[Pf], R[P + 4 * Pf]);
  }
  EXPECT_EQ(Str(R[0]->MaxLinkSpeedText), "10 Gb/s");
  EXPECT_EQ(R[0]->LinkConfig, 3u);
  // The platform tables were asked for the rewritten first port.
  ASSERT_EQ(Fw().NaloCalls().size(), 1u);
  EXPECT_EQ(Fw().NaloCalls()[0].Key, fake::NaloKey(C.NaloBase, C.Card, 0));
  EXPECT_EQ(Fw().RestartNotifications(), 0u);
  EXPECT_NE(R[0]->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);

  // Another port's first function shows its functions at Instance 0: no link configuration.
  EXPECT_EQ(Dialogue(Handles[1]), Join({Shows(1, 4), {"exit"}}));
  ASSERT_EQ(Fw().NaloCalls().size(), 2u);
  EXPECT_EQ(Fw().NaloCalls()[1].Key,
            fake::NaloKey(static_cast<uint8_t>(C.NaloBase + (C.NaloPlusPort ? 1 : 0)), C.Card, 1));
}

INSTANTIATE_TEST_SUITE_P(ManagementIndices, Emulex0720FourByTenTest,
                         ::testing::Values(FourByTenCase{"Nalo224", 224, 5, 2, 224, false, 5, 2, true},
                                           FourByTenCase{"NaloPerPort", 10, 5, 2, 10, true, 0, 0, false}),
                         [](const ::testing::TestParamInfo<FourByTenCase> &I) { return I.param.Name; });

// ---- 4 x 1 Gb/s: each port keeps one function ---------------------------------------------------

TEST_F(Emulex0720RunTest, FourByOneBoardRewritesEachControllerToOneFunctionOfItsPort) {
  // The platform lists two ports of two functions; the adapter runs four 1 Gb/s ports.
  const BuiltAdapter A = Add(0x11F9, 2, 2);
  EXPECT_EQ(Dialogue(A.Handle(0, 0), {{"show / OEMELX_LinkConfig", {"retdata=ELX_4x1G"}}}),
            (Texts{"show / OEMELX_LinkConfig", "show port0/pf0 OEMELX_PFInfo", "exit"}));
  EXPECT_EQ(mModule.mLinkConfig, 1u);
  // The port's second function plans nothing; PCI function 2 becomes port 2 when its run starts.
  EXPECT_EQ(Dialogue(A.Handle(0, 1)), Texts{});
  EXPECT_EQ(Dialogue(A.Handle(1, 0)), (Texts{"show port2/pf0 OEMELX_PFInfo", "exit"}));

  for (const auto &[R, Port] : {std::pair{A.Record(0, 0), 0}, std::pair{A.Record(1, 0), 2}}) {
    SCOPED_TRACE("port " + std::to_string(Port));
    // LinkConfig, PortIndex and its two copies, NaloIndex, PfIndex, SubIndex, LinkWord, PfsPerPort,
    // PortCount, FunctionCount, speed code.
    EXPECT_EQ((Fields{R->LinkConfig, R->PortIndex, R->PortIndexCopy, R->PortIndexCopy2, R->NaloIndex,
                      R->PfIndex, R->SubIndex, R->LinkWord, R->PfsPerPort, R->PortCount, R->FunctionCount,
                      R->MaxLinkSpeedCode}),
              (Fields{1, Port, Port, Port, Port, 0, 0, 0, 4, 4, 1, 0x4001}));
    EXPECT_EQ(Str(R->MaxLinkSpeedText), "1 Gb/s");
  }
  // The second function of port 1 was never part of a walk.
  EXPECT_EQ(A.Record(1, 1)->FunctionCount, 2);
  EXPECT_EQ(A.Record(1, 1)->PortIndex, 1);
}

// ---- A port's second function ------------------------------------------------------------------------

TEST_F(Emulex0720RunTest, SecondFunctionOfAPortPlansNothingAndEndsAtOnce) {
  const BuiltAdapter A = Add(0x0001, 1, 2);
  UINTN Instance = 0, Size = 0;
  EFI_GUID *Guid = nullptr;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
  EXPECT_EQ(Protocol->Query(Protocol, A.Handle(0, 1), nullptr, &Instance, &Guid,
                            reinterpret_cast<VOID **>(&Block), &Size),
            EFI_NOT_FOUND);
  ASSERT_NE(Block, nullptr);
  EXPECT_EQ(Block->CLPCommandLength, 0u);
  EXPECT_EQ(Str(reinterpret_cast<CHAR8 *>(Block->CLPCommand)), "");
  EXPECT_NE(A.Record(0, 1)->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
  EXPECT_EQ(A.Record(0, 0)->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
  EXPECT_TRUE(Fw().NaloCalls().empty());
  EXPECT_EQ(Dialogue(A.Handle(0, 1)), Texts{}); // done for this boot
}

// ---- RoCE profile: a layout change that needs a restart ------------------------------------------

// Two ports of four functions on a board whose layout is in the settings record (2 x 10 Gb/s).
// Port 0's table wants one function; port 1's table reports RoCE profile 2.
class Emulex0720RoceTest : public Emulex0720RunTest {
protected:
  void SetUp() override {
    Emulex0720RunTest::SetUp();
    A = Add(0x0001, 2, 4);
    A.Record(0, 0)->NaloIndex = 1;

    fake::NaloEntry &Port0 = ValidTables(1);
    Port0.PortTable.DesiredFunctionCount = 1;
    Port0.PortTable.Function[0].Enabled = 1;
    Port0.PortTable.Function[0].FunctionType = PF_TYPE_ROCE;
    Port0.PortTable.Function[0].FunctionVlanId = Port0.Own<UINT16>(100);
    Port0.AddressTable[0].Enabled = 1;
    Port0.AddressTable[0].Mac = Port0.OwnBytes({0x02, 0x00, 0xC9, 0x00, 0x00, 0x10});
    Port0.BootTable[0].Enabled = 1;
    Port0.BootTable[0].BootVlanId = Port0.Own<UINT16>(100);

    fake::NaloEntry &Port1 = Fw().Nalo(2, 0, 0);
    Port1.Header.PortTableValid = 1;
    Port1.PortTable.DesiredPortEnable = 1;
    Port1.PortTable.DesiredFunctionCount = 1;
    Port1.PortTable.Function[0].Enabled = 1;
    Port1.PortTable.Function[0].RoceMode = 2;
  }

  BuiltAdapter A;
};

TEST_F(Emulex0720RoceTest, RoceOnAnyPortRetypesTheFunctionsAndAsksForOneRestart) {
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
  EXPECT_EQ(mModule.mRoceMode, 1);
  // The probe read port 1's port table only.
  bool ProbedPort1 = false;
  for (const fake::NaloCall &Call : Fw().NaloCalls()) {
    if (Call.Key == fake::NaloKey(2, 0, 0)) {
      ProbedPort1 = true;
      EXPECT_TRUE(Call.PortTable);
      EXPECT_FALSE(Call.Header || Call.AddressTable || Call.BootTable);
    }
  }
  EXPECT_TRUE(ProbedPort1);
  // A layout change ends the plan before any per-function setting: no plan-done marks.
  EXPECT_EQ(PlanDone(A.Record(0, 0)), 0);
  EXPECT_NE(A.Record(0, 0)->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, 0);
}

TEST_F(Emulex0720RoceTest, AfterTheRestartTheRoceFunctionGetsItsSettings) {
  // Next boot: the adapter comes up in the RoCE layout; only function 0 remains.
  EXPECT_EQ(
      Dialogue(A.Handle(0, 0), {{"show port0/pf0 OEMELX_PFInfo",
                                 {"retdata=\r\nPfType=RoCE\r\nPortEnable=Enabled\r\nUMCState=Disabled\r\n"
                                  "BootEnable=Disabled\r\nMAC=0000C9AABB00\r\nMfgMAC=0000C9AABB00\r\n"
                                  "PfVLANID=4095\r\n"}},
                                {"show port0/pf1 OEMELX_PFInfo", {"retdata=\r\nPfType=Disable\r\n"}},
                                {"show port0/pf2 OEMELX_PFInfo", {"retdata=\r\nPfType=Disable\r\n"}},
                                {"show port0/pf3 OEMELX_PFInfo", {"retdata=\r\nPfType=Disable\r\n"}}}),
      Join({Shows(0, 4),
            {"set / OEMELX_Profile=RoCE-2", "set port0/pf0 OEMELX_PFVlanID=0100",
             "set port0/pf0 OEMELX_PXEVlan=Enabled", "set port0/pf0 OEMELX_PXEVlanID=0100",
             "set port0/pf0 OEMELX_BootEnable=Enabled", "set port0/pf0 OEMELX_VolatileMAC=0200C9000010",
             "exit"}}));
  EXPECT_EQ(Fw().RestartNotifications(), 0u);
  FUNCTION_SETTINGS *R0 = A.Record(0, 0);
  EXPECT_EQ(R0->PfType, static_cast<UINT32>(PF_TYPE_ROCE));
  EXPECT_EQ(R0->VlanId, 100);
  EXPECT_EQ(R0->BootEnable, 1);
  EXPECT_EQ(Str(R0->CurrentAddressText[0]), "0200C9000010");
  EXPECT_EQ(PlanDone(R0), kBothPlansDone);
}

// ---- One partitioned port of four functions --------------------------------------------------------

class Emulex0720PortTest : public Emulex0720RunTest {
protected:
  void SetUp() override {
    Emulex0720RunTest::SetUp();
    A = Add(0x0001, 1, 4);
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
    // Function 2 boots from an iSCSI target with static addresses and mutual CHAP.
    NALO_BOOT_ENTRY &B = N.BootTable[2];
    B.Enabled = 1;
    B.BootVlanId = N.Own<UINT16>(300);
    B.InitiatorOrigin = N.Own<UINT8>(1);
    B.InitiatorAddress = N.OwnBytes({20, 1, 168, 192});
    B.InitiatorSubnetMask = N.OwnBytes({0, 255, 255, 255});
    B.InitiatorGateway = N.OwnBytes({1, 1, 168, 192});
    B.TargetOrigin = N.Own<UINT8>(1);
    B.TargetName = N.OwnText("iqn.2001-04.com.example:storage");
    B.TargetAddress = N.OwnBytes({50, 1, 168, 192});
    B.TargetTcpPort = N.Own<UINT16>(3260);
    B.TargetBootLun = N.Own<UINT8>(10);
    B.AuthMethod = N.Own<UINT8>(2);
    B.ChapUserName = N.OwnText("chapuser");
    B.ChapSecret = N.OwnText("secret123456");
    B.MutualChapSecret = N.OwnText("mutual123456");
  }

  BuiltAdapter A;
};

TEST_F(Emulex0720PortTest, TypeChangesAreQueuedAndBuiltOneFunctionAtATime) {
  // Platform: functions 0 NIC, 1 FCoE, 2 NIC, 3 not enabled.
  Fw().Nalo(1, 0, 0).PortTable.Function[1].FunctionType = PF_TYPE_FCOE;
  Fw().Nalo(1, 0, 0).PortTable.Function[2].FunctionType = PF_TYPE_NIC;
  // Adapter: partitioned, functions 0 NIC, 1 NIC, 2 NIC, 3 iSCSI. Function 2 (an enabled NIC
  // beyond the first) keeps partitioning on: no UMC setting.
  EXPECT_EQ(Dialogue(A.Handle(0, 0),
                     {{"show port0/pf0 OEMELX_PFInfo", {"retdata=\r\nPfType=NIC\r\nUMCState=Enabled\r\n"}},
                      {"show port0/pf1 OEMELX_PFInfo", {"retdata=\r\nPfType=NIC\r\n"}},
                      {"show port0/pf2 OEMELX_PFInfo", {"retdata=\r\nPfType=NIC\r\n"}},
                      {"show port0/pf3 OEMELX_PFInfo", {"retdata=\r\nPfType=iSCSI\r\n"}}}),
            Join({Shows(0, 4),
                  {"set port0/pf1 OEMELX_PFType=FCoE", "set port0/pf3 OEMELX_PFType=Disable", "exit"}}));
  EXPECT_EQ(mModule.mEmulexPfTypeSetIndex, 2);
  EXPECT_EQ(Fw().RestartNotifications(), 1u);
}

TEST_F(Emulex0720PortTest, LayoutInPlacePlansEveryPerFunctionSetting) {
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
  // limit; no virtual address, so the port's addresses go back to default. Function 2: iSCSI.
  EXPECT_EQ(
      Commands,
      Join(
          {Shows(0, 4),
           {"set port0/pf0 OEMELX_MinBandwidth=025", "set port0/pf0 OEMELX_PFVlanID=0100",
            "set port0/pf0 OEMELX_BootEnable=Disabled", "set port0/pf0 OEMELX_VolatileMAC=0200C9000001",
            "set port0/pf1 OEMELX_MaxBandwidth=050", "set port0 OEMELX_AddressDefaults=0"},
           Prefixed("set port0/pf2 OEMELX_",
                    {"PFVlanID=0300", "BootEnable=Enabled", "VolatileMAC=0200C9000003",
                     "InitiatorIscsiName=iqn.2001-04.com.example:host1", "InitiatorAddressOrigin=static_ipv4",
                     "IPv4InitiatorAddress=192168001020", "IPv4InitiatorSubnetMask=255255255000",
                     "IPv4InitiatorGateway=192168001001", "BootTargetAddressOrigin=static_ipv4",
                     "TargetIscsiName[0]=iqn.2001-04.com.example:storage",
                     "IPv4TargetAddress[0]=192168001050", "TcpPort[0]=03260", "BootableLun[0]=000A",
                     "AuthenticationMethod[0]=mutualCHAP", "ChapName[0]=chapuser",
                     "ChapSecret[0]=secret123456", "InitiatorChapSecret[0]=mutual123456"}),
           {"exit"}}));
  EXPECT_EQ(Fw().RestartNotifications(), 0u);

  FUNCTION_SETTINGS *R0 = A.Record(0, 0), *R1 = A.Record(0, 1), *R2 = A.Record(0, 2), *R3 = A.Record(0, 3);
  EXPECT_EQ(mModule.mCurrentUmc, 1);
  EXPECT_EQ(mModule.mTargetUmc, 1);
  // Bandwidths, VLANs, boot enables and types the plan wrote for the builders.
  EXPECT_EQ((Fields{R0->MinBandwidth, R0->MaxBandwidth, R1->MaxBandwidth, R0->VlanId, R1->VlanId, R2->VlanId,
                    R0->BootEnable, R2->BootEnable, R2->PfType}),
            (Fields{25, 100, 50, 100, 200, 300, 0, 1, PF_TYPE_ISCSI}));
  EXPECT_EQ(R3->PfType, static_cast<UINT32>(PF_TYPE_DISABLED));
  const uint8_t Mac0[6] = {0x02, 0x00, 0xC9, 0x00, 0x00, 0x01};
  EXPECT_EQ(Str(R0->CurrentAddressText[0]), "0200C9000001");
  EXPECT_EQ(std::memcmp(R0->CurrentAddress[0], Mac0, 6), 0);
  EXPECT_EQ(Str(R1->CurrentAddressText[0]), "0000C9AABB01"); // back to the manufacturer's
  EXPECT_EQ(Str(R2->IscsiInitiatorName), "iqn.2001-04.com.example:host1");
  for (FUNCTION_SETTINGS *R : {R0, R1, R2}) {
    EXPECT_EQ(R->ProgressFlags & (kBothPlansDone | PROGRESS_FLAG_PORT_ENABLE_PLANNED),
              kBothPlansDone | PROGRESS_FLAG_PORT_ENABLE_PLANNED);
  }
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Ipmi).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
}

} // namespace
