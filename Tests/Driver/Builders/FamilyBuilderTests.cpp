// The builders of the Emulex0720, QLogic8070, Mellanox and QLogic2031 families.
#include "BuilderFixture.h"

// One case per line, as the dialect tables list them.
// clang-format off


TEST_F(BuilderTest, Emulex0720Lines) {
  RunCases(BuildEmulex0720ClpCommand, {
    {"pf info", 0x10DF, 1, 2, nullptr, 1, "show port1/pf2 OEMELX_PFInfo", OK, true},
    {"link 0", 0x10DF, 0, 0, nullptr, 3, "set / OEMELX_LinkConfig=ELX_2x10G", OK, false},
    {"link 1", 0x10DF, 0, 0, STATE(mModule.mActiveLinkConfig = 1), 3, "set / OEMELX_LinkConfig=ELX_4x1G", OK, false},
    {"link 2", 0x10DF, 0, 0, STATE(mModule.mActiveLinkConfig = 2), 3, "set / OEMELX_LinkConfig=ELX_1x40G", OK, false},
    {"link 3", 0x10DF, 0, 0, STATE(mModule.mActiveLinkConfig = 3), 3, "set / OEMELX_LinkConfig=ELX_4x10G", OK, false},
    {"link 9", 0x10DF, 0, 0, STATE(mModule.mActiveLinkConfig = 9), 3, "set / OEMELX_LinkConfig=ELX_1x40G", OK, false},
    {"port enable 3", 0x10DF, 1, 0, FN { E.Function.PortEnable = 3; }, 8, "set port1 OEMELX_PortEnable=Enabled", OK, false},
    {"boot enable 0", 0x10DF, 0, 1, nullptr, 10, "set port0/pf1 OEMELX_BootEnable=Disabled", OK, false},
    {"mac", 0x10DF, 1, 1, nullptr, 14, "set port1/pf1 OEMELX_VolatileMAC=021122ABCDEF", OK, false},
    {"wwpn", 0x10DF, 0, 1, nullptr, 20, "set port0/pf1 OEMELX_VolatileWWPN=10000011AABBCCDD", OK, false},
    {"vlan 0", 0x10DF, 0, 0, FN { E.FunctionVlan = 0; }, 21, "set port0/pf0 OEMELX_PFVlanID=4095", OK, false},
    {"min bandwidth", 0x10DF, 0, 0, nullptr, 22, "set port0/pf0 OEMELX_MinBandwidth=025", OK, false},
    {"max bandwidth", 0x10DF, 0, 0, nullptr, 23, "set port0/pf0 OEMELX_MaxBandwidth=100", OK, false},
    {"target 2 wwpn", 0x10DF, 0, 1, nullptr, 25, "set port0/pf1 OEMELX_TargetWWPN[1]=21000011AABBCCEE", OK, false},
    {"target 1 lun", 0x10DF, 0, 1, nullptr, 26, "set port0/pf1 OEMELX_TargetLUN[0]=0001", OK, false},
    {"origin", 0x10DF, 0, 1, nullptr, 30, "set port0/pf1 OEMELX_InitiatorAddressOrigin=static_ipv4", OK, false},
    {"initiator ip", 0x10DF, 0, 1, nullptr, 32, "set port0/pf1 OEMELX_IPv4InitiatorAddress=192168000001", OK, false},
    {"target DHCP", 0x10DF, 0, 1, nullptr, 35, "set port0/pf1 OEMELX_BootTargetAddressOrigin=DHCP_ipv4", OK, false},
    {"target name", 0x10DF, 1, 1, nullptr, 36, "set port1/pf1 OEMELX_TargetIscsiName[0]=iqn.2001-04.com.example:disk", OK, false},
    {"tcp port", 0x10DF, 0, 1, nullptr, 38, "set port0/pf1 OEMELX_TcpPort[0]=03260", OK, false},
    {"boot lun", 0x10DF, 0, 1, nullptr, 39, "set port0/pf1 OEMELX_BootableLun[0]=000A", OK, false},
    {"chap secret", 0x10DF, 0, 1, nullptr, 42, "set port0/pf1 OEMELX_ChapSecret[0]=abcde", OK, false},
    {"sriov", 0x10DF, 0, 0, FN { E.Function.SriovEnabled = 1; }, 45, "set / OEMELX_SRIOVState=Enabled", OK, false},
    {"link config", 0x10DF, 0, 0, nullptr, 46, "show / OEMELX_LinkConfig", OK, true},
    {"umc", 0x10DF, 0, 0, STATE(mModule.mTargetUmc = 1), 48, "set / OEMELX_UMCState=Enabled", OK, false},
    {"pf sriov", 0x10DF, 1, 2, nullptr, 51, "set port1/pf2 OEMELX_SRIOVState=Disabled", OK, false},
    {"pxe vlan 4095", 0x10DF, 0, 0, FN { E.FunctionVlan = 4095; }, 52, "set port0/pf0 OEMELX_PXEVlan=Disabled", OK, false},
    {"pxe vlan 100", 0x10DF, 0, 0, nullptr, 52, "set port0/pf0 OEMELX_PXEVlan=Enabled", OK, false},
    {"pxe vlan id 4095", 0x10DF, 0, 0, FN { E.FunctionVlan = 4095; }, 53, "set port0/pf0 OEMELX_PXEVlanID=0000", OK, false},
    {"roce 1", 0x10DF, 0, 0, STATE(mModule.mNaloPortTable.Function[0].RoceMode = 1), 54, "set / OEMELX_Profile=RoCE-1", OK, false},
    {"roce 2", 0x10DF, 0, 0, nullptr, 54, "set / OEMELX_Profile=RoCE-2", OK, false},
    {"no version line", 0x10DF, 0, 0, nullptr, 2, "", NF, false},
    {"no link speed line", 0x10DF, 0, 0, nullptr, 28, "", NF, false},
  });
}

TEST_F(BuilderTest, Emulex0720FunctionTypesOneAtATime) {
  mModule.mPfTypePfNumber[0] = 1;
  mModule.mPfTypeTable[0] = 2;
  mModule.mPfTypePfNumber[1] = 3;
  mModule.mPfTypeTable[1] = 7;
  BOOLEAN Parse = FALSE;
  EXPECT_EQ(Build(BuildEmulex0720ClpCommand, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port0/pf1 OEMELX_PFType=FCoE");
  EXPECT_EQ(mModule.mTargetPfTypeWork, 2u);
  EXPECT_EQ(Build(BuildEmulex0720ClpCommand, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port0/pf3 OEMELX_PFType=Disable");
  EXPECT_EQ(mModule.mEmulexPfTypeSetIndex, 2);

  // Past the 16-entry tables nothing is left to name.
  mModule.mEmulexPfTypeSetIndex = 16;
  EXPECT_EQ(Build(BuildEmulex0720ClpCommand, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "");
  EXPECT_EQ(mModule.mEmulexPfTypeSetIndex, 16);
  EXPECT_FALSE(E.Adapter.ProgressFlags & PROGRESS_FLAG_CONFIG_DONE);
}

TEST_F(BuilderTest, QLogic8070Lines) {
  RunCases(BuildQLogic8070ClpCommand, {
    {"version", 0x1077, 0, 0, nullptr, 2, "show device FirmwareInformation", OK, true},
    {"partitioned mac", 0x1077, 0, 1, STATE(mModule.mCurrentUmc = 1), 14, "set port1.pf2 VirtualMacAddress=02:11:22:AB:CD:EF", OK, false},
    {"port mac", 0x1077, 1, 1, nullptr, 14, "set port2 VirtualMacAddress=02:11:22:AB:CD:EF", OK, false},
    {"show mac", 0x1077, 1, 0, nullptr, 13, "show port2 VirtualMacAddress", OK, true},
    {"show pf mac", 0x1077, 0, 1, STATE(mModule.mCurrentUmc = 1), 13, "show port1.pf2 VirtualMacAddress", OK, true},
    {"show mfg mac", 0x1077, 0, 2, STATE(mModule.mCurrentUmc = 1), 12, "show port1.pf3 MacAddress", OK, true},
    {"boot UNDI 8070", 0x1077, 0, 0, FN { E.Function.DeviceId = 0x8070; E.Function.BootEnable = 1; }, 10, "set port1 BootMode=UNDI", OK, false},
    {"boot UNDI 1644", 0x1077, 0, 0, FN { E.Function.DeviceId = 0x1644; E.Function.BootEnable = 1; }, 10, "set port1 BootMode=UNDI", OK, false},
    {"boot Ethernet 1656", 0x1077, 0, 0, FN { E.Function.DeviceId = 0x1656; E.Function.BootEnable = 1; }, 10, "set port1 BootMode=Ethernet", OK, false},
    {"boot off", 0x1077, 0, 0, FN { E.Function.DeviceId = 0x1656; E.Function.BootEnable = 2; }, 10, "set port1 BootMode=Disabled", OK, false},
    {"show boot", 0x1077, 2, 0, nullptr, 9, "show port3 BootMode", OK, true},
    {"pxe vlan off", 0x1077, 0, 0, nullptr, 52, "set port1 PXEVlan=Disabled", OK, false},
    {"pxe vlan on", 0x1077, 0, 0, FN { E.Function.BootEnableToApply = 1; }, 52, "set port1 PXEVlan=Enabled", OK, false},
    {"pxe vlan 4095", 0x1077, 0, 0, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 4095; }, 52, "set port1 PXEVlan=Disabled", OK, false},
    {"pxe vlan id", 0x1077, 0, 0, nullptr, 53, "set port1 PXEVlanId=0100", OK, false},
    {"pxe vlan id 0", 0x1077, 0, 0, FN { E.BootVlan = 0; }, 53, "", OK, false},
    {"pxe vlan id 4095", 0x1077, 0, 0, FN { E.BootVlan = 0xFFFF; }, 53, "", OK, false},
    {"port defaults", 0x1077, 1, 0, nullptr, 66, "set port2 VirtualMacAddress=00:00:00:00:00:00", OK, false},
    {"pf type 3rd", 0x1077, 0, 0, STATE(mModule.mPfTypeCount = 2), 5, "show port1.pf3 Personality", OK, true},
    {"pf type past table", 0x1077, 0, 0, STATE(mModule.mPfTypeCount = 16), 5, "", OK, true},
    {"sriov", 0x1077, 0, 0, nullptr, 45, "set device SRIOVMode=Disabled", OK, false},
    {"bandwidth", 0x1077, 1, 0, nullptr, 57, "show port2 MinimumBandwidthAllocation", OK, true},
    {"pxe vlan show", 0x1077, 0, 0, nullptr, 70, "show port1 PXEVlan", OK, true},
    {"no port enable line", 0x1077, 0, 0, nullptr, 8, "", NF, false},
  });
}

TEST_F(BuilderTest, QLogic8070PxeLinesStoreTargets) {
  E.Function.BootEnableToApply = 1;
  E.BootVlan = 0x1064;
  BOOLEAN Parse = FALSE;
  Build(BuildQLogic8070ClpCommand, SET_PXE_VLAN, &Parse);
  EXPECT_EQ(mModule.mTargetBootEnable, 1);
  EXPECT_EQ(mModule.mTargetVlanId, 0x064);
  E.BootVlan = 0;
  Build(BuildQLogic8070ClpCommand, SET_PXE_VLANID, &Parse);
  EXPECT_EQ(mModule.mTargetVlanId, 0);
}

TEST_F(BuilderTest, MellanoxLines) {
  RunCases(BuildMellanox1013ClpCommand, {
    {"port enable show", 0x15B3, 3, 2, nullptr, 7, "show netport1 PortEnable", OK, true},
    {"port enable 2", 0x15B3, 0, 0, FN { E.Function.PortEnable = 2; }, 8, "set netport1 PortEnable=disabled", OK, false},
    {"boot enable 1", 0x15B3, 0, 0, FN { E.Function.BootEnable = 1; }, 10, "set netport1 BootEnable=enabled", OK, false},
    {"vlan 0", 0x15B3, 0, 0, FN { E.BootVlan = 0; }, 21, "set netport1 VlanID=4095", OK, false},
    {"vlan 5", 0x15B3, 0, 0, FN { E.BootVlan = 5; }, 21, "set netport1 VlanID=0005", OK, false},
    {"mac", 0x15B3, 0, 0, nullptr, 14, "set netport1 MAC=021122ABCDEF", OK, false},
    {"sriov", 0x15B3, 0, 0, FN { E.Function.SriovEnabled = 1; }, 45, "set netport1 SRIOVState=enabled", OK, false},
    {"defaults", 0x15B3, 0, 0, nullptr, 66, "set netport1 Default", OK, false},
    {"vlan show", 0x15B3, 0, 0, nullptr, 69, "show netport1 VlanID", OK, true},
    {"no mode line", 0x15B3, 0, 0, nullptr, 3, "", NF, false},
  });
  RunCases(BuildMellanox1017ClpCommand, {
    {"version", 0x15B3, 0, 0, nullptr, 2, "show netport1 FirmwareVersions", OK, true},
    {"max speed", 0x15B3, 0, 0, nullptr, 59, "show netport1 MAXLinkSpeed", OK, true},
    {"no port enable", 0x15B3, 0, 0, nullptr, 7, "", NF, false},
  });
}

TEST_F(BuilderTest, QLogic2031Lines) {
  RunCases(BuildQLogic2031ClpCommand, {
    {"port info", 0x1077, 1, 0, nullptr, 1, "show port2", OK, true},
    {"no port enable", 0x1077, 0, 0, nullptr, 8, "", NF, false},
  });
}

// Unknown codes end the run; only the default and Mellanox builders also drop a reconfigure
// request. EXIT is "exit" everywhere and leaves the parse flag as it was.
TEST_F(BuilderTest, EveryBuilderFrame) {
  const struct {
    CLP_BUILDER Builder;
    bool ClearsReconfigure;
  } Builders[] = {{BuildDefaultClpCommand, true},      {BuildEmulex0720ClpCommand, false},
                  {BuildQLogic8070ClpCommand, false},  {BuildMellanox1013ClpCommand, true},
                  {BuildMellanox1017ClpCommand, true}, {BuildQLogic2031ClpCommand, false}};
  for (const auto &B : Builders) {
    SetUp();
    BOOLEAN Parse = TRUE;
    EXPECT_EQ(Build(B.Builder, EXIT, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), "exit");
    EXPECT_TRUE(Parse);
    Parse = FALSE;
    EXPECT_EQ(Build(B.Builder, EXIT, &Parse), EFI_SUCCESS);
    EXPECT_FALSE(Parse);

    EXPECT_EQ(Build(B.Builder, END, &Parse), EFI_NOT_FOUND);
    EXPECT_EQ(Command(), "");
    EXPECT_FALSE(Parse);
    EXPECT_TRUE(E.Adapter.ProgressFlags & PROGRESS_FLAG_CONFIG_DONE);
    EXPECT_EQ((E.Adapter.PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED) == 0, B.ClearsReconfigure);
  }
}
// clang-format on
