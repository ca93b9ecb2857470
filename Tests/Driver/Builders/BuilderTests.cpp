// The CLP builders: one exact line per distinct value rule, the guards against absent or
// oversized platform data, and the frame every builder shares. Whole dialogues, with most lines
// of each family, are pinned by the integration tests.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "Builders/Builders.h"

namespace {

struct BuilderEnv {
  FUNCTION_SETTINGS Adapter{};
  FUNCTION_SETTINGS Function{};
  UINT8 Mac[6] = {0x02, 0x11, 0x22, 0xAB, 0xCD, 0xEF};
  char Wwnn[17] = "20000011aabbccdd";
  char Wwpn[17] = "10000011aabbccdd";
  UINT8 MinShare = 25, MaxShare = 100;
  UINT16 FunctionVlan = 100, BootVlan = 100, TcpPort = 3260;
  char Target1Wwpn[17] = "21000011aabbccdd", Target2Wwpn[17] = "21000011AABBCCEE";
  char Lun1[8] = "0001", Lun2[8] = "12345";
  char LinkSpeed[8] = "0016", Topology[8] = "0C";
  UINT8 InitiatorOrigin = 1, TargetOrigin = 0, BootLun = 10, Auth = 1;
  UINT8 InitiatorAddress[4] = {1, 0, 168, 192}, Mask[4] = {0, 255, 255, 255}, Gateway[4] = {254, 0, 168, 192};
  UINT8 TargetAddress[4] = {2, 0, 168, 192};
  char InitiatorName[512] = "iqn.2001-04.com.example:host";
  char TargetName[512] = "iqn.2001-04.com.example:disk";
  char ChapUser[256] = "user", ChapSecret[64] = "abcde", MutualSecret[64] = "fghij";
};

struct BuildCase {
  const char *Name;
  CLP_BUILDER Builder;
  UINT16 VendorId;
  UINT8 Port, Pf;
  std::function<void(BuilderEnv &)> Setup;
  UINT64 Code;
  const char *Expected;
  bool Parse;
};

class BuilderTest : public ::testing::Test {
protected:
  BuilderEnv E;

  void SetUp() override {
    ResetModuleState();
    E = BuilderEnv{};
    NALO_ADDRESS_ENTRY &A = mModule.mNaloAddressTable[0];
    A.Enabled = 1;
    A.Mac = E.Mac;
    A.Wwnn = (CHAR8 *)E.Wwnn;
    A.Wwpn = (CHAR8 *)E.Wwpn;
    NALO_FUNCTION_ENTRY &F = mModule.mNaloPortTable.Function[0];
    F.Enabled = 1;
    F.MinBandwidthShare = &E.MinShare;
    F.MaxBandwidthShare = &E.MaxShare;
    F.FunctionVlanId = &E.FunctionVlan;
    NALO_BOOT_ENTRY &B = mModule.mNaloBootTable[0];
    B.Enabled = 1;
    B.BootVlanId = &E.BootVlan;
    B.Target1Wwpn = (CHAR8 *)E.Target1Wwpn;
    B.Target2Wwpn = (CHAR8 *)E.Target2Wwpn;
    B.Target1Lun = (CHAR8 *)E.Lun1;
    B.Target2Lun = (CHAR8 *)E.Lun2;
    B.FcLinkSpeed = (CHAR8 *)E.LinkSpeed;
    B.FcTopology = (CHAR8 *)E.Topology;
    B.InitiatorOrigin = &E.InitiatorOrigin;
    B.InitiatorAddress = E.InitiatorAddress;
    B.InitiatorSubnetMask = E.Mask;
    B.InitiatorGateway = E.Gateway;
    B.TargetOrigin = &E.TargetOrigin;
    B.TargetName = (CHAR8 *)E.TargetName;
    B.TargetAddress = E.TargetAddress;
    B.TargetTcpPort = &E.TcpPort;
    B.TargetBootLun = &E.BootLun;
    B.AuthMethod = &E.Auth;
    B.ChapUserName = (CHAR8 *)E.ChapUser;
    B.ChapSecret = (CHAR8 *)E.ChapSecret;
    B.MutualChapSecret = (CHAR8 *)E.MutualSecret;
    mModule.mNaloHeader.InitiatorName = (CHAR8 *)E.InitiatorName;
    mModule.mCurAddressEntry = &A;
    mModule.mCurFunctionEntry = &F;
    mModule.mCurBootEntry = &B;
    E.Adapter.PlatformFlags = PLATFORM_FLAG_RECONFIGURE_REQUESTED | PLATFORM_FLAG_MANAGED_MODE_ENABLED;
    strcpy((char *)E.Function.MfgAddressText[1], "20000090FA000001");
    strcpy((char *)E.Function.MfgAddressText[2], "10000090FA000001");
    memcpy(E.Function.CurrentAddress[0], E.Mac, 6);
  }

  // Text of the command; fails the test when no terminator lies inside the buffer.
  static std::string Command() {
    const char *Text = (const char *)mModule.ClpCommandBuffer;
    const size_t Length = strnlen(Text, CLP_COMMAND_BUFFER_SIZE);
    EXPECT_LT(Length, (size_t)CLP_COMMAND_BUFFER_SIZE) << "command not terminated";
    return std::string(Text, Length);
  }

  EFI_STATUS Build(CLP_BUILDER Builder, UINT64 Code, BOOLEAN *Parse) {
    // Leftovers of earlier commands must never show through a missing terminator.
    memset(mModule.ClpCommandBuffer, 'X', CLP_COMMAND_BUFFER_SIZE);
    return Builder(&E.Adapter, &E.Function, Code, Parse);
  }
};

#define FN []([[maybe_unused]] BuilderEnv & E)
#define DEF BuildDefaultClpCommand
#define ELX BuildEmulex0720ClpCommand
#define Q80 BuildQLogic8070ClpCommand
#define MLX BuildMellanox1013ClpCommand

} // namespace

TEST(BuilderHelpers, EncodeCopyAndSpace) {
  const UINT8 Mac[] = {0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C};
  CHAR8 Out[24];
  HexEncodeBytes(Mac, 6, Out);
  EXPECT_STREQ((char *)Out, "001B210AFF3C");
  HexEncodeBytes(Mac, 6, nullptr); // no destination: nothing happens

  // Short text: zero padding up to the bound and not one byte further.
  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, (const CHAR8 *)"abcde", 17);
  EXPECT_EQ(std::string((char *)Out, 18), std::string("abcde") + std::string(12, '\0') + "X");
  // A text longer than the bound fills it without a terminator.
  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, (const CHAR8 *)"0123456789", 4);
  EXPECT_EQ(std::string((char *)Out, 5), "0123X");
  memset(Out, 'X', sizeof(Out));
  CopyBoundedText(Out, nullptr, 4);
  EXPECT_EQ(std::string((char *)Out, 2), std::string("\0X", 2));

  FormatMacWithColons(Out, (const CHAR8 *)"021122ABCDEF");
  EXPECT_STREQ((char *)Out, "02:11:22:AB:CD:EF");
  FormatMacWithColons(Out, (const CHAR8 *)"0211"); // stops at a short text's end
  EXPECT_STREQ((char *)Out, "02:11");

  EXPECT_EQ(CheckClpBufferSpace(1016, 8), EFI_SUCCESS);
  EXPECT_EQ(CheckClpBufferSpace(1017, 8), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(CheckClpBufferSpace(2000, 0), EFI_BUFFER_TOO_SMALL);
}

// clang-format off
TEST_F(BuilderTest, OneLinePerValueRule) {
  const BuildCase Cases[] = {
    // Digits patched into templates; a two-digit number keeps only its first digit.
    {"target ip: port/pf/target digits, bytes reversed", DEF, 0x19A2, 1, 3, nullptr, 37, "set port1/pf3/target0 OEMVDR_IPv4TargetAddress=C0A80002", false},
    {"pf 12 keeps first digit", DEF, 0x19A2, 0, 12, nullptr, 21, "set port0/pf1 OEMVDR_PfVLANID=064", false},
    {"second target digit, text kept as is", DEF, 0x19A2, 0, 1, nullptr, 25, "set port0/pf1/target1 OEMVDR_TargetWWPN=21000011AABBCCEE", false},
    {"lun cut to 4", DEF, 0x19A2, 0, 1, nullptr, 27, "set port0/pf1/target1 OEMVDR_TargetLUN=1234", false},
    {"wwnn upper", DEF, 0x19A2, 0, 1, nullptr, 17, "set port0/pf1 OEMVDR_WWNN=20000011AABBCCDD", false},
    {"default wwpn from mfg text", DEF, 0x1077, 1, 1, nullptr, 50, "set port1/pf1 OEMVDR_WWPN=10000090FA000001", false},
    // Word rules: IfNonZero, IfOne, by index with fallbacks.
    {"port enable 2 is on", DEF, 0x19A2, 0, 0, FN { E.Function.PortEnable = 2; }, 8, "set port0 OEMVDR_PortEn=enabled", false},
    {"boot enable 2 is off", DEF, 0x19A2, 0, 0, FN { E.Function.BootEnable = 2; }, 10, "set port0/pf0 OEMVDR_PfBootEnable=disable", false},
    {"auth out of list", DEF, 0x19A2, 0, 1, FN { E.Auth = 9; }, 40, "set port0/pf1/target0 OEMVDR_AuthenticationMethod=none", false},
    {"link config fallback", ELX, 0x10DF, 0, 0, FN { mModule.mActiveLinkConfig = 9; }, 3, "set / OEMELX_LinkConfig=ELX_1x40G", false},
    {"pf type out of table", DEF, 0x19A2, 0, 0, FN { mModule.mTargetPersonality = 8; }, 6, "set pf1 OEMVDR_PfType=", false},
    // Numbers.
    {"vlan 0 -> FFF", DEF, 0x19A2, 0, 0, FN { E.FunctionVlan = 0; }, 21, "set port0/pf0 OEMVDR_PfVLANID=FFF", false},
    {"vlan masked", DEF, 0x19A2, 0, 0, FN { E.FunctionVlan = 0x1064; }, 21, "set port0/pf0 OEMVDR_PfVLANID=064", false},
    {"bandwidth hex", DEF, 0x19A2, 0, 0, FN { E.MinShare = 50; }, 22, "set port0/pf0 OEMVDR_PfBandwidth=32", false},
    {"tcp port hex", DEF, 0x19A2, 0, 1, nullptr, 38, "set port0/pf1/target0 OEMVDR_TcpPort=0CBC", false},
    {"initiator ip decimal", ELX, 0x10DF, 0, 1, nullptr, 32, "set port0/pf1 OEMELX_IPv4InitiatorAddress=192168000001", false},
    {"mask decimal", ELX, 0x10DF, 0, 1, nullptr, 33, "set port0/pf1 OEMELX_IPv4InitiatorSubnetMask=255255255000", false},
    {"gateway decimal", ELX, 0x10DF, 0, 1, nullptr, 34, "set port0/pf1 OEMELX_IPv4InitiatorGateway=192168000254", false},
    {"target origin DHCP", ELX, 0x10DF, 0, 1, nullptr, 35, "set port0/pf1 OEMELX_BootTargetAddressOrigin=DHCP_ipv4", false},
    {"boot lun four digits", ELX, 0x10DF, 0, 1, nullptr, 39, "set port0/pf1 OEMELX_BootableLun[0]=000A", false},
    {"vlan 0 -> 4095", ELX, 0x10DF, 0, 0, FN { E.FunctionVlan = 0; }, 21, "set port0/pf0 OEMELX_PFVlanID=4095", false},
    {"array index digit", ELX, 0x10DF, 0, 1, nullptr, 25, "set port0/pf1 OEMELX_TargetWWPN[1]=21000011AABBCCEE", false},
    {"port enable 3 is on", ELX, 0x10DF, 1, 0, FN { E.Function.PortEnable = 3; }, 8, "set port1 OEMELX_PortEnable=Enabled", false},
    {"pxe vlan 4095 off", ELX, 0x10DF, 0, 0, FN { E.FunctionVlan = 4095; }, 52, "set port0/pf0 OEMELX_PXEVlan=Disabled", false},
    {"pxe vlan id 4095 -> 0", ELX, 0x10DF, 0, 0, FN { E.FunctionVlan = 4095; }, 53, "set port0/pf0 OEMELX_PXEVlanID=0000", false},
    // Vendor without a line of its own: value alone, or nothing, with the code's parse flag.
    {"value alone", DEF, 0x19A2, 0, 0, nullptr, 28, "0016", false},
    {"no line, code parses", DEF, 0x8086, 0, 0, nullptr, 2, "", true},
    {"no line, FC port", DEF, 0x10DF, 0, 0, nullptr, 12, "", true},
    // Fibre Channel and network port texts.
    {"link speed cut", DEF, 0x10DF, 0, 0, FN { strcpy(E.LinkSpeed, "16Gb/s"); }, 28, "set fcport0 OEMELX_LinkSpeed=16Gb", false},
    {"link speed short", DEF, 0x10DF, 0, 0, FN { strcpy(E.LinkSpeed, "8"); }, 28, "set fcport0 OEMELX_LinkSpeed=8", false},
    {"topology 0c", DEF, 0x1077, 0, 0, FN { strcpy(E.Topology, "0c"); }, 29, "set netport1 OEM_hbaportTopology=00", false},
    {"topology 08 unchanged", DEF, 0x1077, 0, 0, FN { strcpy(E.Topology, "08"); }, 29, "set netport1 OEM_hbaportTopology=08", false},
    {"link speed last two", DEF, 0x1077, 0, 0, nullptr, 28, "set netport1 OEM_hbaportLinkSpeed=16", false},
    {"link speed of two", DEF, 0x1077, 0, 0, FN { strcpy(E.LinkSpeed, "16"); }, 28, "set netport1 OEM_hbaportLinkSpeed=", false},
    // Regression: a one-character text must not be read past its terminator.
    {"link speed of one", DEF, 0x1077, 0, 0, FN { memcpy(E.LinkSpeed, "8\0XY", 5); }, 28, "set netport1 OEM_hbaportLinkSpeed=", false},
    // QLogic8070: counted from one, MACs with colons, conditional lines.
    {"partitioned mac", Q80, 0x1077, 0, 1, FN { mModule.mCurrentUmc = 1; }, 14, "set port1.pf2 VirtualMacAddress=02:11:22:AB:CD:EF", false},
    {"boot off", Q80, 0x1077, 0, 0, FN { E.Function.DeviceId = 0x1656; E.Function.BootEnable = 2; }, 10, "set port1 BootMode=Disabled", false},
    {"pxe vlan not applied", Q80, 0x1077, 0, 0, nullptr, 52, "set port1 PXEVlan=Disabled", false},
    {"pxe vlan 4095 off", Q80, 0x1077, 0, 0, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 4095; }, 52, "set port1 PXEVlan=Disabled", false},
    {"pxe vlan id masked to 4095", Q80, 0x1077, 0, 0, FN { E.BootVlan = 0xFFFF; }, 53, "", false},
    {"pf type 3rd", Q80, 0x1077, 0, 0, FN { mModule.mPfTypeCount = 2; }, 5, "show port1.pf3 Personality", true},
    {"pf type past table", Q80, 0x1077, 0, 0, FN { mModule.mPfTypeCount = 16; }, 5, "", true},
    // Mellanox: one fixed target.
    {"mlx port enable 2 off", MLX, 0x15B3, 3, 2, FN { E.Function.PortEnable = 2; }, 8, "set netport1 PortEnable=disabled", false},
    {"mlx vlan 0", MLX, 0x15B3, 0, 0, FN { E.BootVlan = 0; }, 21, "set netport1 VlanID=4095", false},
    {"mlx vlan 5", MLX, 0x15B3, 0, 0, FN { E.BootVlan = 5; }, 21, "set netport1 VlanID=0005", false},
    {"2031 port info", BuildQLogic2031ClpCommand, 0x1077, 1, 0, nullptr, 1, "show port2", true},
  };
  for (const BuildCase &C : Cases) {
    SetUp();
    E.Function.VendorId = C.VendorId;
    E.Function.PortIndex = C.Port;
    E.Function.PfIndex = C.Pf;
    if (C.Setup) {
      C.Setup(E);
    }
    BOOLEAN Parse = FALSE;
    const EFI_STATUS Status = Build(C.Builder, C.Code, &Parse);
    EXPECT_EQ(Command(), C.Expected) << C.Name;
    EXPECT_EQ(Status, EFI_SUCCESS) << C.Name;
    EXPECT_EQ(Parse != FALSE, C.Parse) << C.Name;
  }
}

// Secrets and names as long as their bound or longer still leave a terminated command: the value
// is cut to the bound minus one.
TEST_F(BuilderTest, BoundedValuesStayTerminated) {
  const struct {
    CLP_BUILDER Builder;
    UINT64 Code;
    char *Field;
    size_t Length;
    const char *Prefix;
    size_t Sent;
  } Cases[] = {
    {DEF, 42, E.ChapSecret, 17, "set port0/pf0/target0 OEMVDR_ChapSecret=", 16},
    {DEF, 43, E.MutualSecret, 40, "set port0/pf0/target0 OEMVDR_InitiatorChapSecret=", 16},
    {DEF, 31, E.InitiatorName, 300, "set port0/pf0 OEMVDR_InitiatorIscsiName=", 223},
    {ELX, 41, E.ChapUser, 128, "set port0/pf0 OEMELX_ChapName[0]=", 127},
    {ELX, 36, E.TargetName, 224, "set port0/pf0 OEMELX_TargetIscsiName[0]=", 223},
  };
  for (const auto &C : Cases) {
    SetUp();
    E.Function.VendorId = 0x19A2;
    memset(C.Field, 'k', C.Length);
    C.Field[C.Length] = 0;
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(C.Builder, C.Code, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), std::string(C.Prefix) + std::string(C.Sent, 'k')) << C.Prefix;
  }
}

// NULL entries and NULL pointers inside entries are absent values: empty text or bytes, 0 for
// numbers; nothing is read through them.
TEST_F(BuilderTest, AbsentPlatformValues) {
  const struct {
    CLP_BUILDER Builder;
    UINT64 Code;
    const char *Expected;
  } Cases[] = {
    {DEF, 14, "set port0/pf1 OEMVDR_PfMAC="},
    {DEF, 17, "set port0/pf1 OEMVDR_WWNN="},
    {DEF, 21, "set port0/pf1 OEMVDR_PfVLANID=FFF"},
    {DEF, 22, "set port0/pf1 OEMVDR_PfBandwidth=00"},
    {DEF, 24, "set port0/pf1/target0 OEMVDR_TargetWWPN="},
    {DEF, 30, "set port0/pf1 OEMVDR_InitiatorAddressOrigin=DHCP"},
    {DEF, 31, "set port0/pf1 OEMVDR_InitiatorIscsiName="},
    {DEF, 32, "set port0/pf1 OEMVDR_IPv4InitiatorAddress="},
    {DEF, 38, "set port0/pf1/target0 OEMVDR_TcpPort=0000"},
    {DEF, 42, "set port0/pf1/target0 OEMVDR_ChapSecret="},
    {ELX, 37, "set port0/pf1 OEMELX_IPv4TargetAddress[0]="},
    {ELX, 53, "set port0/pf1 OEMELX_PXEVlanID=0000"},
    {MLX, 21, "set netport1 VlanID=4095"},
    {MLX, 14, "set netport1 MAC="},
    {Q80, 53, ""},
  };
  for (int Variant = 0; Variant < 2; Variant++) {
    for (const auto &C : Cases) {
      SetUp();
      E.Function.VendorId = 0x19A2;
      mModule.mNaloHeader.InitiatorName = nullptr;
      if (Variant == 0) {
        mModule.mCurAddressEntry = nullptr;
        mModule.mCurFunctionEntry = nullptr;
        mModule.mCurBootEntry = nullptr;
      } else {
        memset(&mModule.mNaloAddressTable[0], 0, sizeof(NALO_ADDRESS_ENTRY));
        memset(&mModule.mNaloPortTable.Function[0], 0, sizeof(NALO_FUNCTION_ENTRY));
        memset(&mModule.mNaloBootTable[0], 0, sizeof(NALO_BOOT_ENTRY));
      }
      E.Function.PfIndex = 1;
      BOOLEAN Parse = FALSE;
      EXPECT_EQ(Build(C.Builder, C.Code, &Parse), EFI_SUCCESS) << C.Expected;
      EXPECT_EQ(Command(), C.Expected) << "variant " << Variant;
    }
  }
}

TEST_F(BuilderTest, MissingRecordOrParseFlag) {
  BOOLEAN Parse = FALSE;
  memset(mModule.ClpCommandBuffer, 'X', CLP_COMMAND_BUFFER_SIZE);
  // Without a record there is no vendor, hence no line: the empty command, parse flag as the code says.
  EXPECT_EQ(BuildDefaultClpCommand(&E.Adapter, nullptr, SHOW_PF_INFO, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "");
  EXPECT_TRUE(Parse);
  EXPECT_EQ(BuildQLogic8070ClpCommand(nullptr, &E.Function, SHOW_VERSION, nullptr), EFI_SUCCESS);
  EXPECT_EQ(BuildEmulex0720ClpCommand(nullptr, nullptr, END, nullptr), EFI_NOT_FOUND);
}

// Unknown codes end the run; only the default and Mellanox builders also drop a reconfigure
// request. EXIT is "exit" everywhere and leaves the parse flag as it was.
TEST_F(BuilderTest, EveryBuilderFrame) {
  const struct {
    CLP_BUILDER Builder;
    UINT64 Unknown;
    bool ClearsReconfigure;
  } Builders[] = {
    {DEF, END, true}, {DEF, SHOW_UMC, true}, {DEF, 256 + SHOW_PF_INFO, true}, {DEF, SET_ISCSI_INI_CHAP_NAME, true},
    {ELX, SHOW_VERSION, false}, {Q80, SET_PORT_EN, false}, {MLX, SET_MODE, true},
    {BuildMellanox1017ClpCommand, SHOW_PORT_EN, true}, {BuildQLogic2031ClpCommand, SET_PORT_EN, false},
  };
  // clang-format on
  for (const auto &B : Builders) {
    SetUp();
    E.Function.VendorId = 0x19A2;
    BOOLEAN Parse = TRUE;
    EXPECT_EQ(Build(B.Builder, EXIT, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), "exit");
    EXPECT_TRUE(Parse);
    Parse = FALSE;
    EXPECT_EQ(Build(B.Builder, EXIT, &Parse), EFI_SUCCESS);
    EXPECT_FALSE(Parse);

    EXPECT_EQ(Build(B.Builder, B.Unknown, &Parse), EFI_NOT_FOUND) << B.Unknown;
    EXPECT_EQ(Command(), "");
    EXPECT_FALSE(Parse);
    EXPECT_TRUE(E.Adapter.ProgressFlags & PROGRESS_FLAG_CONFIG_DONE);
    EXPECT_EQ((E.Adapter.PlatformFlags & PLATFORM_FLAG_RECONFIGURE_REQUESTED) == 0, B.ClearsReconfigure);
    EXPECT_TRUE(E.Adapter.PlatformFlags & PLATFORM_FLAG_MANAGED_MODE_ENABLED);
  }
}

TEST_F(BuilderTest, Emulex0720FunctionTypesOneAtATime) {
  mModule.mPfTypePfNumber[0] = 1;
  mModule.mPfTypeTable[0] = 2;
  mModule.mPfTypePfNumber[1] = 3;
  mModule.mPfTypeTable[1] = 7;
  BOOLEAN Parse = FALSE;
  EXPECT_EQ(Build(ELX, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port0/pf1 OEMELX_PFType=FCoE");
  EXPECT_EQ(mModule.mTargetPfTypeWork, 2u);
  EXPECT_EQ(Build(ELX, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port0/pf3 OEMELX_PFType=Disable");
  EXPECT_EQ(mModule.mEmulexPfTypeSetIndex, 2);

  // Past the 16-entry tables nothing is left to name.
  mModule.mEmulexPfTypeSetIndex = 16;
  EXPECT_EQ(Build(ELX, SET_PF2_TYPE, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "");
  EXPECT_EQ(mModule.mEmulexPfTypeSetIndex, 16);
  EXPECT_FALSE(E.Adapter.ProgressFlags & PROGRESS_FLAG_CONFIG_DONE);
}

// The values sent are kept for the later check of what the adapter reports back.
TEST_F(BuilderTest, BuildersStoreWhatTheySend) {
  E.Function.VendorId = 0x19A2;
  E.FunctionVlan = 0;
  E.Function.PortEnable = 2;
  E.Function.BootEnable = 3;
  BOOLEAN Parse = FALSE;
  Build(DEF, SET_PF_VLANID, &Parse);
  EXPECT_EQ(mModule.mTargetVlanId, 4095);
  Build(DEF, SET_PF_BANDWIDTH, &Parse);
  EXPECT_EQ(mModule.mTargetBandwidth, 25);
  Build(DEF, SET_PF_RATE_LIMIT, &Parse);
  EXPECT_EQ(mModule.mTargetRateLimit, 100);
  Build(DEF, SET_PORT_EN, &Parse);
  Build(DEF, SET_BOOT_EN, &Parse);
  EXPECT_EQ(mModule.mTargetPortEnable, 2);
  EXPECT_EQ(mModule.mTargetBootEnable, 3);

  E.Function.BootEnableToApply = 1;
  E.BootVlan = 0x1064;
  Build(Q80, SET_PXE_VLAN, &Parse);
  EXPECT_EQ(mModule.mTargetBootEnable, 1);
  EXPECT_EQ(mModule.mTargetVlanId, 0x064);
  E.BootVlan = 0;
  Build(Q80, SET_PXE_VLANID, &Parse);
  EXPECT_EQ(mModule.mTargetVlanId, 0);
}
