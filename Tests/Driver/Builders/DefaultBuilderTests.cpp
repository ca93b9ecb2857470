// BuildDefaultClpCommand in its four vendor dialects and its vendor-independent lines.
#include "BuilderFixture.h"

// One case per line, as the dialect tables list them.
// clang-format off


TEST_F(BuilderTest, OemPortFunctionDialect) {
  RunCases(BuildDefaultClpCommand, {
    {"pf info", 0x19A2, 1, 2, nullptr, 1, "show port1/pf2 OEMVDR_PfInfo", OK, true},
    {"versions", 0x19A2, 1, 0, nullptr, 2, "show port1 OEMVDR_FirmwareVersions", OK, true},
    {"boot enable 1", 0x19A2, 1, 0, FN { E.Function.BootEnable = 1; }, 10, "set port1/pf0 OEMVDR_PfBootEnable=enabled", OK, false},
    {"boot enable 2", 0x19A2, 0, 0, FN { E.Function.BootEnable = 2; }, 10, "set port0/pf0 OEMVDR_PfBootEnable=disable", OK, false},
    {"port enable 2", 0x19A2, 0, 0, FN { E.Function.PortEnable = 2; }, 8, "set port0 OEMVDR_PortEn=enabled", OK, false},
    {"port enable 0", 0x19A2, 0, 0, nullptr, 8, "set port0 OEMVDR_PortEn=disable", OK, false},
    {"addr defaults keep port0", 0x19A2, 1, 0, nullptr, 11, "set port0 OEMVDR_AddressDefaults=0", OK, false},
    {"mfg mac", 0x19A2, 1, 1, nullptr, 12, "show port1/pf1 OEMVDR_MFG_PfMAC", OK, true},
    {"mac", 0x19A2, 0, 3, nullptr, 14, "set port0/pf3 OEMVDR_PfMAC=021122ABCDEF", OK, false},
    {"wwnn upper", 0x19A2, 0, 1, nullptr, 17, "set port0/pf1 OEMVDR_WWNN=20000011AABBCCDD", OK, false},
    {"show wwpn", 0x19A2, 0, 0, nullptr, 19, "show port0/pf0 OEMVDR_WWPN", OK, true},
    {"target 1 wwpn", 0x19A2, 0, 1, nullptr, 24, "set port0/pf1/target0 OEMVDR_TargetWWPN=21000011aabbccdd", OK, false},
    {"target 2 wwpn", 0x19A2, 0, 1, nullptr, 25, "set port0/pf1/target1 OEMVDR_TargetWWPN=21000011AABBCCEE", OK, false},
    {"target 2 lun cut to 4", 0x19A2, 0, 1, nullptr, 27, "set port0/pf1/target1 OEMVDR_TargetLUN=1234", OK, false},
    {"link speed: value alone", 0x19A2, 0, 0, nullptr, 28, "0016", OK, false},
    {"code 56 unknown", 0x19A2, 0, 0, nullptr, 56, "", NF, false},
    {"END unknown", 0x19A2, 0, 0, nullptr, 0, "", NF, false},
    {"code 257 is not code 1", 0x19A2, 0, 0, nullptr, 257, "", NF, false},
    {"chap name never planned", 0x19A2, 0, 0, nullptr, 55, "", NF, false},
  });
}

TEST_F(BuilderTest, VendorIndependentLines) {
  RunCases(BuildDefaultClpCommand, {
    {"mode 1G", 0x19A2, 0, 0, FN { mModule.mActiveLinkConfig = 1; }, 3, "set OEMVDR_Mode=1G", OK, false},
    {"mode 10G", 0x10DF, 0, 0, FN { mModule.mActiveLinkConfig = 3; }, 3, "set OEMVDR_Mode=10G", OK, false},
    {"pf count", 0x8086, 0, 0, FN { mModule.mTargetPfCount = 4; }, 4, "set OEMVDR_PfCount=04", OK, false},
    {"show pf type", 0x1077, 0, 0, nullptr, 5, "show pf1 OEMVDR_PfType", OK, true},
    {"pf type FCoE", 0x19A2, 0, 0, FN { mModule.mTargetPersonality = 2; }, 6, "set pf1 OEMVDR_PfType=FCoE", OK, false},
    {"pf type out of table", 0x19A2, 0, 0, FN { mModule.mTargetPersonality = 8; }, 6, "set pf1 OEMVDR_PfType=", OK, false},
    {"vlan 0 -> FFF", 0x19A2, 0, 0, FN { E.FunctionVlan = 0; }, 21, "set port0/pf0 OEMVDR_PfVLANID=FFF", OK, false},
    {"vlan masked", 0x19A2, 0, 0, FN { E.FunctionVlan = 0x1064; }, 21, "set port0/pf0 OEMVDR_PfVLANID=064", OK, false},
    {"pf 12 keeps first digit", 0x19A2, 0, 12, nullptr, 21, "set port0/pf1 OEMVDR_PfVLANID=064", OK, false},
    {"bandwidth hex", 0x19A2, 0, 0, FN { E.MinShare = 50; }, 22, "set port0/pf0 OEMVDR_PfBandwidth=32", OK, false},
    {"rate limit hex", 0x19A2, 1, 1, nullptr, 23, "set port1/pf1 OEMVDR_PfRateLimit=64", OK, false},
    {"initiator static", 0x19A2, 0, 1, nullptr, 30, "set port0/pf1 OEMVDR_InitiatorAddressOrigin=static", OK, false},
    {"initiator name", 0x19A2, 0, 1, nullptr, 31, "set port0/pf1 OEMVDR_InitiatorIscsiName=iqn.2001-04.com.example:host", OK, false},
    {"initiator ip", 0x19A2, 0, 1, nullptr, 32, "set port0/pf1 OEMVDR_IPv4InitiatorAddress=C0A80001", OK, false},
    {"mask", 0x19A2, 0, 1, nullptr, 33, "set port0/pf1 OEMVDR_IPv4InitiatorSubnetMask=FFFFFF00", OK, false},
    {"target DHCP", 0x19A2, 0, 1, nullptr, 35, "set port0/pf1 OEMVDR_BootTargetAddressOrigin=DHCP", OK, false},
    {"target ip", 0x19A2, 1, 3, nullptr, 37, "set port1/pf3/target0 OEMVDR_IPv4TargetAddress=C0A80002", OK, false},
    {"tcp port", 0x19A2, 0, 1, nullptr, 38, "set port0/pf1/target0 OEMVDR_TcpPort=0CBC", OK, false},
    {"boot lun", 0x19A2, 0, 1, nullptr, 39, "set port0/pf1/target0 OEMVDR_BootableLun=0A", OK, false},
    {"auth CHAP", 0x19A2, 0, 1, nullptr, 40, "set port0/pf1/target0 OEMVDR_AuthenticationMethod=CHAP", OK, false},
    {"auth mutual", 0x19A2, 0, 1, FN { E.Auth = 2; }, 40, "set port0/pf1/target0 OEMVDR_AuthenticationMethod=mutualCHAP", OK, false},
    {"auth other", 0x19A2, 0, 1, FN { E.Auth = 9; }, 40, "set port0/pf1/target0 OEMVDR_AuthenticationMethod=none", OK, false},
    {"chap name", 0x19A2, 1, 3, nullptr, 41, "set port1/pf3/target0 OEMVDR_ChapName=user", OK, false},
    {"mutual secret", 0x19A2, 0, 1, nullptr, 43, "set port0/pf1/target0 OEMVDR_InitiatorChapSecret=fghij", OK, false},
    {"sriov", 0x19A2, 0, 0, FN { E.Function.SriovEnabled = 1; }, 45, "set OEMVDR_SRIOV=enabled", OK, false},
    {"sriov off", 0x19A2, 0, 0, nullptr, 45, "set OEMVDR_SRIOV=disabled", OK, false},
    {"default wwnn", 0x10DF, 0, 1, nullptr, 49, "set port0/pf1 OEMVDR_WWNN=20000090FA000001", OK, false},
    {"default wwpn", 0x1077, 1, 1, nullptr, 50, "set port1/pf1 OEMVDR_WWPN=10000090FA000001", OK, false},
  });
}

TEST_F(BuilderTest, IntelDialect) {
  RunCases(BuildDefaultClpCommand, {
    {"pf info", 0x8086, 1, 2, nullptr, 1, "show port1/pf2 OEMVDR_PfInfo", OK, true},
    {"defaults", 0x8086, 0, 0, nullptr, 11, "set Default", OK, false},
    {"mfg mac", 0x8086, 0, 0, nullptr, 12, "show PermanentAddress", OK, true},
    {"mac", 0x8086, 0, 0, nullptr, 13, "show PermanentAddress", OK, true},
    {"set mac", 0x8086, 0, 0, nullptr, 14, "set PermanentAddress=021122ABCDEF", OK, false},
    {"no version line", 0x8086, 0, 0, nullptr, 2, "", OK, true},
    {"port enable: value alone", 0x8086, 0, 0, FN { E.Function.PortEnable = 1; }, 8, "enabled", OK, false},
  });
}

TEST_F(BuilderTest, FibreChannelPortDialect) {
  RunCases(BuildDefaultClpCommand, {
    {"pf info", 0x10DF, 1, 1, nullptr, 1, "show port1/pf1 OEMVDR_PfInfo", OK, true},
    {"versions", 0x10DF, 1, 0, nullptr, 2, "show fcport1 OEMELX_FirmwareVersions", OK, true},
    {"port enable 0", 0x10DF, 0, 0, nullptr, 8, "set fcport0 OEMELX_PortEnable=disable", OK, false},
    {"boot enable 1", 0x10DF, 0, 0, FN { E.Function.BootEnable = 1; }, 10, "set fcport0 OEMELX_BootEnable=enabled", OK, false},
    {"addr defaults", 0x10DF, 1, 0, nullptr, 11, "set fcport1 OEMELX_AddressDefaults=0", OK, false},
    {"mfg mac: none", 0x10DF, 0, 0, nullptr, 12, "", OK, true},
    {"mac alone", 0x10DF, 0, 0, nullptr, 14, "021122ABCDEF", OK, false},
    {"wwnn", 0x10DF, 0, 0, nullptr, 17, "set fcport0 OEMELX_VolatileWWNN=20000011AABBCCDD", OK, false},
    {"target 2 wwpn", 0x10DF, 1, 0, FN { strcpy(E.Target2Wwpn, "21000011aabbccdd"); }, 25, "set fcport1 OEMELX_TargetWWPN[1]=21000011aabbccdd", OK, false},
    {"lun 1", 0x10DF, 0, 0, nullptr, 26, "set fcport0 OEMELX_TargetLUN[0]=0001", OK, false},
    {"link speed cut", 0x10DF, 0, 0, FN { strcpy(E.LinkSpeed, "16Gb/s"); }, 28, "set fcport0 OEMELX_LinkSpeed=16Gb", OK, false},
    {"link speed short", 0x10DF, 0, 0, FN { strcpy(E.LinkSpeed, "8"); }, 28, "set fcport0 OEMELX_LinkSpeed=8", OK, false},
    {"topology", 0x10DF, 0, 0, nullptr, 29, "set fcport0 OEMELX_Topology=0C", OK, false},
    {"show target 2 lun", 0x10DF, 2, 0, nullptr, 63, "show fcport2 OEMELX_TargetLUN[1]", OK, false},
    {"volatile wwpn", 0x10DF, 0, 0, nullptr, 68, "show fcport0 OEMELX_VolatileWWPN", OK, false},
    {"max speed: none", 0x10DF, 0, 0, nullptr, 59, "", OK, true},
  });
}

TEST_F(BuilderTest, NetworkPortDialect) {
  RunCases(BuildDefaultClpCommand, {
    {"port info", 0x1077, 0, 3, nullptr, 1, "show port1", OK, true},
    {"defaults", 0x1077, 0, 0, nullptr, 66, "set netport1 default", OK, false},
    {"topology 0c", 0x1077, 0, 0, FN { strcpy(E.Topology, "0c"); }, 29, "set netport1 OEM_hbaportTopology=00", OK, false},
    {"topology 04", 0x1077, 0, 0, FN { strcpy(E.Topology, "04"); }, 29, "set netport1 OEM_hbaportTopology=01", OK, false},
    {"topology 00", 0x1077, 0, 0, FN { strcpy(E.Topology, "00"); }, 29, "set netport1 OEM_hbaportTopology=02", OK, false},
    {"topology 08", 0x1077, 0, 0, FN { strcpy(E.Topology, "08"); }, 29, "set netport1 OEM_hbaportTopology=08", OK, false},
    {"link speed last two", 0x1077, 0, 0, nullptr, 28, "set netport1 OEM_hbaportLinkSpeed=16", OK, false},
    {"link speed of two", 0x1077, 0, 0, FN { strcpy(E.LinkSpeed, "16"); }, 28, "set netport1 OEM_hbaportLinkSpeed=", OK, false},
    {"link speed of one", 0x1077, 0, 0, FN { memcpy(E.LinkSpeed, "8\0XY", 5); }, 28, "set netport1 OEM_hbaportLinkSpeed=", OK, false},
    {"port enable", 0x1077, 1, 0, FN { E.Function.PortEnable = 1; }, 8, "set netport2 OEM_PortEnable=Enable", OK, false},
    {"boot enable 2", 0x1077, 0, 0, FN { E.Function.BootEnable = 2; }, 10, "set netport1 OEM_BootEnable=Disable", OK, false},
    {"target 1 wwpn", 0x1077, 0, 0, nullptr, 24, "set netport1 OEM_TargetWWPN[0]=21000011aabbccdd", OK, false},
    {"wwnn", 0x1077, 0, 0, nullptr, 17, "set netport1 NetworkAddresses[0]=20000011AABBCCDD", OK, false},
    {"wwpn", 0x1077, 0, 0, nullptr, 20, "set netport1 PermanentAddress=10000011AABBCCDD", OK, false},
    {"max speed", 0x1077, 1, 0, nullptr, 59, "show netport2 OEM_hbaportMaxSpeed", OK, true},
    {"addr defaults: none", 0x1077, 0, 0, nullptr, 11, "", OK, false},
    {"mac alone", 0x1077, 0, 0, nullptr, 14, "021122ABCDEF", OK, false},
  });
}

TEST_F(BuilderTest, DefaultBuilderUnknownCodeEndsTheRun) {
  for (UINT64 Code : {0ull, 44ull, 47ull, 56ull, 70ull, 71ull, 254ull, 256ull + 255ull}) {
    SetUp();
    E.Function.VendorId = 0x19A2;
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(BuildDefaultClpCommand, Code, &Parse), EFI_NOT_FOUND) << Code;
    EXPECT_EQ(Command(), "") << Code;
    EXPECT_TRUE(E.Adapter.ProgressFlags & PROGRESS_FLAG_CONFIG_DONE) << Code;
    EXPECT_FALSE(E.Adapter.PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED) << Code;
    EXPECT_TRUE(E.Adapter.PlatformFlags & PLATFORM_FLAG_MANAGED_MODE_ENABLED) << Code;
  }
}

TEST_F(BuilderTest, DefaultBuilderStoresWhatItSends) {
  E.Function.VendorId = 0x19A2;
  E.FunctionVlan = 0;
  BOOLEAN Parse = FALSE;
  Build(BuildDefaultClpCommand, SET_PF_VLANID, &Parse);
  EXPECT_EQ(mModule.mTargetVlanId, 4095);
  Build(BuildDefaultClpCommand, SET_PF_BANDWIDTH, &Parse);
  EXPECT_EQ(mModule.mTargetBandwidth, 25);
  Build(BuildDefaultClpCommand, SET_PF_RATE_LIMIT, &Parse);
  EXPECT_EQ(mModule.mTargetRateLimit, 100);
  E.Function.PortEnable = 2;
  E.Function.BootEnable = 3;
  Build(BuildDefaultClpCommand, SET_PORT_EN, &Parse);
  Build(BuildDefaultClpCommand, SET_BOOT_EN, &Parse);
  EXPECT_EQ(mModule.mTargetPortEnable, 2);
  EXPECT_EQ(mModule.mTargetBootEnable, 3);
}
// clang-format on
