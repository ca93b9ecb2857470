// The CLP builders: one golden table with every line of every dialect (each value rule, each
// conversion row and the parse flag), the guards against absent or oversized platform data, and
// the frame every builder shares.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ModuleState.h"
#include "Builders/Builders.h"

namespace {

// Texts one character longer than their bound, lower-case WWNs, one-byte hex values below 16 and
// distinct values per source, so that a wrong cut, case, pad or source changes the line.
struct BuilderEnv {
  FUNCTION_SETTINGS Adapter{};
  FUNCTION_SETTINGS Function{};
  UINT8 Mac[6] = {0x02, 0x11, 0x22, 0xAB, 0xCD, 0xEF};
  char Wwnn[24] = "20000011aabbccdd9";
  char Wwpn[24] = "10000011aabbccee9";
  UINT8 MinShare = 10, MaxShare = 100;
  UINT16 FunctionVlan = 0x20A, BootVlan = 100, TcpPort = 3260;
  char Target1Wwpn[24] = "21000011aabbccdd9", Target2Wwpn[24] = "22000011aabbccee9";
  char Lun1[8] = "00011", Lun2[8] = "12345";
  char LinkSpeed[8] = "00160", Topology[8] = "0C1";
  UINT8 InitiatorOrigin = 1, TargetOrigin = 2, BootLun = 10, Auth = 1;
  UINT8 InitiatorAddress[4] = {1, 0, 168, 192}, Mask[4] = {0, 255, 255, 255}, Gateway[4] = {254, 0, 168, 192};
  UINT8 TargetAddress[4] = {2, 0, 168, 192};
  char InitiatorName[512] = "iqn.2001-04.com.example:host";
  char TargetName[512] = "iqn.2001-04.com.example:disk";
  char ChapUser[256] = "user", ChapSecret[64] = "abcdefghijklmnop", MutualSecret[64] = "ponmlkjihgfedcba";
};

struct GoldenRow {
  const char *Name;
  CLP_BUILDER Builder;
  UINT16 VendorId;
  UINT8 Port, Pf;
  void (*Setup)(BuilderEnv &);
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
    NALO_ADDRESS_ENTRY &A = mModule.Tables.mNaloAddressTable[0];
    A.Enabled = 1;
    A.Mac = E.Mac;
    A.Wwnn = (CHAR8 *)E.Wwnn;
    A.Wwpn = (CHAR8 *)E.Wwpn;
    NALO_FUNCTION_ENTRY &F = mModule.Tables.mNaloPortTable.Function[0];
    F.Enabled = 1;
    F.MinBandwidthShare = &E.MinShare;
    F.MaxBandwidthShare = &E.MaxShare;
    F.FunctionVlanId = &E.FunctionVlan;
    NALO_BOOT_ENTRY &B = mModule.Tables.mNaloBootTable[0];
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
    mModule.Tables.mNaloHeader.InitiatorName = (CHAR8 *)E.InitiatorName;
    mModule.Tables.mCurAddressEntry = &A;
    mModule.Tables.mCurFunctionEntry = &F;
    mModule.Tables.mCurBootEntry = &B;
    E.Adapter.PlatformFlags = PLATFORM_FLAG_RECONFIGURE_REQUESTED | PLATFORM_FLAG_MANAGED_MODE_ENABLED;
    // Permanent names fill their 17-byte slots without a terminator: only 16 characters may go out.
    memcpy(E.Function.MfgAddressText[1], "20000090fa0000017", 17);
    memcpy(E.Function.MfgAddressText[2], "10000090fa0000028", 17); // slot 3 is zero
    const UINT8 CurrentMac[6] = {0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C};
    memcpy(E.Function.CurrentAddress[0], CurrentMac, 6);
  }

  // Text of the command; fails the test when no terminator lies inside the buffer.
  static std::string Command() {
    const char *Text = (const char *)mModule.Builder.ClpCommandBuffer;
    const size_t Length = strnlen(Text, CLP_COMMAND_BUFFER_SIZE);
    EXPECT_LT(Length, (size_t)CLP_COMMAND_BUFFER_SIZE) << "command not terminated";
    return std::string(Text, Length);
  }

  EFI_STATUS Build(CLP_BUILDER Builder, UINT64 Code, BOOLEAN *Parse) {
    // Leftovers of earlier commands must never show through a missing terminator.
    memset(mModule.Builder.ClpCommandBuffer, 'X', CLP_COMMAND_BUFFER_SIZE);
    return Builder(&E.Adapter, &E.Function, Code, Parse);
  }
};

#define FN []([[maybe_unused]] BuilderEnv & E)
#define M2031 BuildQLogic2031ClpCommand
#define M1017 BuildMellanox1017ClpCommand
#define DEF BuildDefaultClpCommand
#define ELX BuildEmulex0720ClpCommand
#define Q80 BuildQLogic8070ClpCommand
#define MLX BuildMellanox1013ClpCommand

} // namespace

TEST(BuilderHelpers, EncodeCopyAndSpace) {
  const UINT8 Bytes[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  CHAR8 Out[24];
  HexEncodeBytes(Bytes, 8, Out);
  EXPECT_STREQ((char *)Out, "0123456789ABCDEF");
  HexEncodeBytes(Bytes, 8, nullptr); // no destination: nothing happens

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

  FormatMacWithColons(Out, (const CHAR8 *)"021122ABCDEF99"); // twelve digits, no more
  EXPECT_STREQ((char *)Out, "02:11:22:AB:CD:EF");
  HexEncodeBytes(nullptr, 8, Out);
  EXPECT_STREQ((char *)Out, "");

  EXPECT_EQ(CheckClpBufferSpace(1024, 0), EFI_SUCCESS);
  EXPECT_EQ(CheckClpBufferSpace(1016, 8), EFI_SUCCESS);
  EXPECT_EQ(CheckClpBufferSpace(1017, 8), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(CheckClpBufferSpace(2000, 0), EFI_BUFFER_TOO_SMALL);
}

// Every line of every dialect, written out from the dialect descriptions. Port 1 and PF 2 unless a
// row says otherwise, so that each patched placeholder digit differs from the template's.
// clang-format off
static const GoldenRow kGolden[] = {
  // Default builder, lines for every vendor (spread over the vendors to show it).
  {"mode 1", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 1; }, 3, "set OEMVDR_Mode=1G", false},
  {"mode 2", DEF, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 2; }, 3, "set OEMVDR_Mode=10G", false},
  {"pf count", DEF, 0x1077, 1, 2, FN { mModule.Discovered.mTargetPfCount = 4; }, 4, "set OEMVDR_PfCount=04", false},
  {"pf count hex", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPfCount = 0xAB; }, 4, "set OEMVDR_PfCount=AB", false},
  {"pf type, no digits", DEF, 0x8086, 1, 2, nullptr, 5, "show pf1 OEMVDR_PfType", true},
  {"type 0", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 0; }, 6, "set pf1 OEMVDR_PfType=NIC", false},
  {"type 1", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 1; }, 6, "set pf1 OEMVDR_PfType=FC", false},
  {"type 2", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 2; }, 6, "set pf1 OEMVDR_PfType=FCoE", false},
  {"type 3", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 3; }, 6, "set pf1 OEMVDR_PfType=iSCSI", false},
  {"type 4", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 4; }, 6, "set pf1 OEMVDR_PfType=IB", false},
  {"type 5", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 5; }, 6, "set pf1 OEMVDR_PfType=UNKNOWN", false},
  {"type 6", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 6; }, 6, "set pf1 OEMVDR_PfType=RoCE", false},
  {"type 7", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 7; }, 6, "set pf1 OEMVDR_PfType=Disable", false},
  {"type past table", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 8; }, 6, "set pf1 OEMVDR_PfType=", false},
  {"type 9", DEF, 0x19A2, 1, 2, FN { mModule.Discovered.mTargetPersonality = 9; }, 6, "set pf1 OEMVDR_PfType=", false},
  {"vlan hex, pad, upper", DEF, 0x19A2, 1, 2, nullptr, 21, "set port1/pf2 OEMVDR_PfVLANID=20A", false},
  {"vlan 0", DEF, 0x19A2, 1, 2, FN { E.FunctionVlan = 0; }, 21, "set port1/pf2 OEMVDR_PfVLANID=FFF", false},
  {"vlan masked", DEF, 0x19A2, 1, 2, FN { E.FunctionVlan = 0x1ABC; }, 21, "set port1/pf2 OEMVDR_PfVLANID=ABC", false},
  {"pf 12: first digit", DEF, 0x19A2, 0, 12, nullptr, 21, "set port0/pf1 OEMVDR_PfVLANID=20A", false},
  {"port 12: two chars", DEF, 0x19A2, 12, 3, nullptr, 21, "set port1/pf2 OEMVDR_PfVLANID=20A", false},
  {"port 10: two chars", DEF, 0x19A2, 10, 3, nullptr, 21, "set port1/pf0 OEMVDR_PfVLANID=20A", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 22, "set port1/pf2 OEMVDR_PfBandwidth=0A", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 23, "set port1/pf2 OEMVDR_PfRateLimit=64", false},
  {"origin 1", DEF, 0x19A2, 1, 2, nullptr, 30, "set port1/pf2 OEMVDR_InitiatorAddressOrigin=static", false},
  {"origin 2", DEF, 0x19A2, 1, 2, FN { E.InitiatorOrigin = 2; }, 30, "set port1/pf2 OEMVDR_InitiatorAddressOrigin=DHCP", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 31, "set port1/pf2 OEMVDR_InitiatorIscsiName=iqn.2001-04.com.example:host", false},
  {"ip reversed", DEF, 0x19A2, 1, 2, nullptr, 32, "set port1/pf2 OEMVDR_IPv4InitiatorAddress=C0A80001", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 33, "set port1/pf2 OEMVDR_IPv4InitiatorSubnetMask=FFFFFF00", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 34, "set port1/pf2 OEMVDR_IPv4InitiatorGateway=C0A800FE", false},
  {"origin 2", DEF, 0x19A2, 1, 2, nullptr, 35, "set port1/pf2 OEMVDR_BootTargetAddressOrigin=DHCP", false},
  {"origin 1", DEF, 0x19A2, 1, 2, FN { E.TargetOrigin = 1; }, 35, "set port1/pf2 OEMVDR_BootTargetAddressOrigin=static", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 36, "set port1/pf2 OEMVDR_TargetIscsiName=iqn.2001-04.com.example:disk", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 37, "set port1/pf2/target0 OEMVDR_IPv4TargetAddress=C0A80002", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 38, "set port1/pf2/target0 OEMVDR_TcpPort=0CBC", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 39, "set port1/pf2/target0 OEMVDR_BootableLun=0A", false},
  {"auth 0", DEF, 0x19A2, 1, 2, FN { E.Auth = 0; }, 40, "set port1/pf2/target0 OEMVDR_AuthenticationMethod=none", false},
  {"auth 1", DEF, 0x19A2, 1, 2, nullptr, 40, "set port1/pf2/target0 OEMVDR_AuthenticationMethod=CHAP", false},
  {"auth 2", DEF, 0x19A2, 1, 2, FN { E.Auth = 2; }, 40, "set port1/pf2/target0 OEMVDR_AuthenticationMethod=mutualCHAP", false},
  {"auth 3", DEF, 0x19A2, 1, 2, FN { E.Auth = 3; }, 40, "set port1/pf2/target0 OEMVDR_AuthenticationMethod=none", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 41, "set port1/pf2/target0 OEMVDR_ChapName=user", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 42, "set port1/pf2/target0 OEMVDR_ChapSecret=abcdefghijklmnop", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 43, "set port1/pf2/target0 OEMVDR_InitiatorChapSecret=ponmlkjihgfedcba", false},
  {"sriov 1", DEF, 0x19A2, 1, 2, FN { E.Function.SriovEnabled = 1; }, 45, "set OEMVDR_SRIOV=enabled", false},
  {"sriov 2", DEF, 0x19A2, 1, 2, FN { E.Function.SriovEnabled = 2; }, 45, "set OEMVDR_SRIOV=disabled", false},
  {"permanent, 16 kept", DEF, 0x1077, 1, 2, nullptr, 49, "set port1/pf2 OEMVDR_WWNN=20000090fa000001", false},
  {"permanent, 16 kept", DEF, 0x10DF, 1, 2, nullptr, 50, "set port1/pf2 OEMVDR_WWPN=10000090fa000002", false},
  // Vendor 0x19A2: OEM port/function dialect. Codes without a line of this vendor give the empty
  // prefix (and the value alone, read as the plain copy of the Fibre Channel port dialect).
  {"", DEF, 0x19A2, 1, 2, nullptr, 1, "show port1/pf2 OEMVDR_PfInfo", true},
  {"", DEF, 0x19A2, 1, 2, nullptr, 2, "show port1 OEMVDR_FirmwareVersions", true},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 7, "", true},
  {"enable 2", DEF, 0x19A2, 1, 2, FN { E.Function.PortEnable = 2; }, 8, "set port1 OEMVDR_PortEn=enabled", false},
  {"enable 0", DEF, 0x19A2, 1, 2, nullptr, 8, "set port1 OEMVDR_PortEn=disable", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 9, "", true},
  {"boot 1", DEF, 0x19A2, 1, 2, FN { E.Function.BootEnable = 1; }, 10, "set port1/pf2 OEMVDR_PfBootEnable=enabled", false},
  {"boot 2", DEF, 0x19A2, 1, 2, FN { E.Function.BootEnable = 2; }, 10, "set port1/pf2 OEMVDR_PfBootEnable=disable", false},
  {"port digit kept", DEF, 0x19A2, 1, 2, nullptr, 11, "set port0 OEMVDR_AddressDefaults=0", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 12, "show port1/pf2 OEMVDR_MFG_PfMAC", true},
  {"", DEF, 0x19A2, 1, 2, nullptr, 13, "show port1/pf2 OEMVDR_PfMAC", true},
  {"", DEF, 0x19A2, 1, 2, nullptr, 14, "set port1/pf2 OEMVDR_PfMAC=021122ABCDEF", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 15, "show port1/pf2 OEMVDR_MFG_WWNN", true},
  {"", DEF, 0x19A2, 1, 2, nullptr, 16, "show port1/pf2 OEMVDR_WWNN", true},
  {"upper, 16", DEF, 0x19A2, 1, 2, nullptr, 17, "set port1/pf2 OEMVDR_WWNN=20000011AABBCCDD", false},
  {"", DEF, 0x19A2, 1, 2, nullptr, 18, "show port1/pf2 OEMVDR_MFG_WWPN", true},
  {"", DEF, 0x19A2, 1, 2, nullptr, 19, "show port1/pf2 OEMVDR_WWPN", true},
  {"upper, 16", DEF, 0x19A2, 1, 2, nullptr, 20, "set port1/pf2 OEMVDR_WWPN=10000011AABBCCEE", false},
  {"case kept, 16", DEF, 0x19A2, 1, 2, nullptr, 24, "set port1/pf2/target0 OEMVDR_TargetWWPN=21000011aabbccdd", false},
  {"target 1", DEF, 0x19A2, 1, 2, nullptr, 25, "set port1/pf2/target1 OEMVDR_TargetWWPN=22000011aabbccee", false},
  {"lun 4", DEF, 0x19A2, 1, 2, nullptr, 26, "set port1/pf2/target0 OEMVDR_TargetLUN=0001", false},
  {"target 1", DEF, 0x19A2, 1, 2, nullptr, 27, "set port1/pf2/target1 OEMVDR_TargetLUN=1234", false},
  {"value alone", DEF, 0x19A2, 1, 2, nullptr, 28, "0016", false},
  {"value alone", DEF, 0x19A2, 1, 2, nullptr, 29, "0C", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 59, "", true},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 60, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 61, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 62, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 63, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 64, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 65, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 66, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 67, "", false},
  {"no line", DEF, 0x19A2, 1, 2, nullptr, 68, "", false},
  // Vendor 0x10DF: Fibre Channel port dialect, port from 0.
  {"", DEF, 0x10DF, 1, 2, nullptr, 1, "show port1/pf2 OEMVDR_PfInfo", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 2, "show fcport1 OEMELX_FirmwareVersions", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 7, "show fcport1 OEMELX_PortEnable", true},
  {"enable 0", DEF, 0x10DF, 1, 2, nullptr, 8, "set fcport1 OEMELX_PortEnable=disable", false},
  {"enable 2", DEF, 0x10DF, 1, 2, FN { E.Function.PortEnable = 2; }, 8, "set fcport1 OEMELX_PortEnable=enabled", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 9, "show fcport1 OEMELX_BootEnable", true},
  {"boot 1", DEF, 0x10DF, 1, 2, FN { E.Function.BootEnable = 1; }, 10, "set fcport1 OEMELX_BootEnable=enabled", false},
  {"boot 2", DEF, 0x10DF, 1, 2, FN { E.Function.BootEnable = 2; }, 10, "set fcport1 OEMELX_BootEnable=disable", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 11, "set fcport1 OEMELX_AddressDefaults=0", false},
  {"no line", DEF, 0x10DF, 1, 2, nullptr, 12, "", true},
  {"no line", DEF, 0x10DF, 1, 2, nullptr, 13, "", true},
  {"value alone", DEF, 0x10DF, 1, 2, nullptr, 14, "021122ABCDEF", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 15, "show fcport1 OEMELX_MFG_WWNN", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 16, "show fcport1 OEMELX_WWNN", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 17, "set fcport1 OEMELX_VolatileWWNN=20000011AABBCCDD", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 18, "show fcport1 OEMELX_MFG_WWPN", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 19, "show fcport1 OEMELX_WWPN", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 20, "set fcport1 OEMELX_VolatileWWPN=10000011AABBCCEE", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 24, "set fcport1 OEMELX_TargetWWPN[0]=21000011aabbccdd", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 25, "set fcport1 OEMELX_TargetWWPN[1]=22000011aabbccee", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 26, "set fcport1 OEMELX_TargetLUN[0]=0001", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 27, "set fcport1 OEMELX_TargetLUN[1]=1234", false},
  {"speed cut to 4", DEF, 0x10DF, 1, 2, nullptr, 28, "set fcport1 OEMELX_LinkSpeed=0016", false},
  {"speed short", DEF, 0x10DF, 1, 2, FN { strcpy(E.LinkSpeed, "8"); }, 28, "set fcport1 OEMELX_LinkSpeed=8", false},
  {"topology cut to 2", DEF, 0x10DF, 1, 2, nullptr, 29, "set fcport1 OEMELX_Topology=0C", false},
  {"no line", DEF, 0x10DF, 1, 2, nullptr, 59, "", true},
  {"", DEF, 0x10DF, 1, 2, nullptr, 60, "show fcport1 OEMELX_TargetWWPN[0]", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 61, "show fcport1 OEMELX_TargetWWPN[1]", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 62, "show fcport1 OEMELX_TargetLUN[0]", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 63, "show fcport1 OEMELX_TargetLUN[1]", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 64, "show fcport1 OEMELX_LinkSpeed", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 65, "show fcport1 OEMELX_Topology", false},
  {"no line", DEF, 0x10DF, 1, 2, nullptr, 66, "", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 67, "show fcport1 OEMELX_VolatileWWNN", false},
  {"", DEF, 0x10DF, 1, 2, nullptr, 68, "show fcport1 OEMELX_VolatileWWPN", false},
  // Vendor 0x1077: network port dialect, port from 1.
  {"", DEF, 0x1077, 1, 2, nullptr, 1, "show port2", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 2, "show netport2 OEM_FWVersions", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 7, "show netport2 OEM_PortEnable", true},
  {"enable 2", DEF, 0x1077, 1, 2, FN { E.Function.PortEnable = 2; }, 8, "set netport2 OEM_PortEnable=Enable", false},
  {"enable 0", DEF, 0x1077, 1, 2, nullptr, 8, "set netport2 OEM_PortEnable=Disable", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 9, "show netport2 OEM_BootEnable", true},
  {"boot 1", DEF, 0x1077, 1, 2, FN { E.Function.BootEnable = 1; }, 10, "set netport2 OEM_BootEnable=Enable", false},
  {"boot 2", DEF, 0x1077, 1, 2, FN { E.Function.BootEnable = 2; }, 10, "set netport2 OEM_BootEnable=Disable", false},
  {"no line", DEF, 0x1077, 1, 2, nullptr, 11, "", false},
  {"no line", DEF, 0x1077, 1, 2, nullptr, 12, "", true},
  {"no line", DEF, 0x1077, 1, 2, nullptr, 13, "", true},
  {"value alone", DEF, 0x1077, 1, 2, nullptr, 14, "021122ABCDEF", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 15, "show netport2 OEM_MfgWWNN", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 16, "show netport2 NetworkAddresses[0]", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 17, "set netport2 NetworkAddresses[0]=20000011AABBCCDD", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 18, "show netport2 OEM_MfgWWPN", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 19, "show netport2 PermanentAddress", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 20, "set netport2 PermanentAddress=10000011AABBCCEE", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 24, "set netport2 OEM_TargetWWPN[0]=21000011aabbccdd", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 25, "set netport2 OEM_TargetWWPN[1]=22000011aabbccee", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 26, "set netport2 OEM_TargetLUN[0]=0001", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 27, "set netport2 OEM_TargetLUN[1]=1234", false},
  {"speed: 2 from third", DEF, 0x1077, 1, 2, nullptr, 28, "set netport2 OEM_hbaportLinkSpeed=16", false},
  {"speed of two", DEF, 0x1077, 1, 2, FN { strcpy(E.LinkSpeed, "16"); }, 28, "set netport2 OEM_hbaportLinkSpeed=", false},
  // Regression: a one-character text must not be read past its terminator.
  {"speed of one", DEF, 0x1077, 1, 2, FN { memcpy(E.LinkSpeed, "8\0XY", 5); }, 28, "set netport2 OEM_hbaportLinkSpeed=", false},
  {"topology 00", DEF, 0x1077, 1, 2, FN { strcpy(E.Topology, "00"); }, 29, "set netport2 OEM_hbaportTopology=02", false},
  {"topology 04", DEF, 0x1077, 1, 2, FN { strcpy(E.Topology, "04"); }, 29, "set netport2 OEM_hbaportTopology=01", false},
  {"topology 0C, 2 read", DEF, 0x1077, 1, 2, nullptr, 29, "set netport2 OEM_hbaportTopology=00", false},
  {"topology 0c", DEF, 0x1077, 1, 2, FN { strcpy(E.Topology, "0c"); }, 29, "set netport2 OEM_hbaportTopology=00", false},
  {"topology 08 kept", DEF, 0x1077, 1, 2, FN { strcpy(E.Topology, "08"); }, 29, "set netport2 OEM_hbaportTopology=08", false},
  {"topology short", DEF, 0x1077, 1, 2, FN { strcpy(E.Topology, "4"); }, 29, "set netport2 OEM_hbaportTopology=4", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 59, "show netport2 OEM_hbaportMaxSpeed", true},
  {"", DEF, 0x1077, 1, 2, nullptr, 60, "show netport2 OEM_TargetWWPN[0]", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 61, "show netport2 OEM_TargetWWPN[1]", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 62, "show netport2 OEM_TargetLUN[0]", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 63, "show netport2 OEM_TargetLUN[1]", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 64, "show netport2 OEM_hbaportLinkSpeed", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 65, "show netport2 OEM_hbaportTopology", false},
  {"", DEF, 0x1077, 1, 2, nullptr, 66, "set netport2 default", false},
  {"no line", DEF, 0x1077, 1, 2, nullptr, 67, "", false},
  {"no line", DEF, 0x1077, 1, 2, nullptr, 68, "", false},
  // Vendor 0x8086: bare lines on the default target; the rest is the empty prefix.
  {"", DEF, 0x8086, 1, 2, nullptr, 1, "show port1/pf2 OEMVDR_PfInfo", true},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 2, "", true},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 7, "", true},
  {"enable 2 alone", DEF, 0x8086, 1, 2, FN { E.Function.PortEnable = 2; }, 8, "enabled", false},
  {"enable 0 alone", DEF, 0x8086, 1, 2, nullptr, 8, "disable", false},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 9, "", true},
  {"boot 1 alone", DEF, 0x8086, 1, 2, FN { E.Function.BootEnable = 1; }, 10, "enabled", false},
  {"boot 2 alone", DEF, 0x8086, 1, 2, FN { E.Function.BootEnable = 2; }, 10, "disable", false},
  {"", DEF, 0x8086, 1, 2, nullptr, 11, "set Default", false},
  {"", DEF, 0x8086, 1, 2, nullptr, 12, "show PermanentAddress", true},
  {"", DEF, 0x8086, 1, 2, nullptr, 13, "show PermanentAddress", true},
  {"", DEF, 0x8086, 1, 2, nullptr, 14, "set PermanentAddress=021122ABCDEF", false},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 15, "", true},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 16, "", true},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 17, "20000011AABBCCDD", false},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 18, "", true},
  {"no line", DEF, 0x8086, 1, 2, nullptr, 19, "", true},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 20, "10000011AABBCCEE", false},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 24, "21000011aabbccdd", false},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 25, "22000011aabbccee", false},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 26, "0001", false},
  {"value alone", DEF, 0x8086, 1, 2, nullptr, 27, "1234", false},
  // Emulex0720: root target "/", port and PF from 0; formats print whole numbers.
  {"", ELX, 0x10DF, 1, 2, nullptr, 1, "show port1/pf2 OEMELX_PFInfo", true},
  {"pf 12 printed", ELX, 0x10DF, 0, 12, nullptr, 1, "show port0/pf12 OEMELX_PFInfo", true},
  {"link 0", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 0; }, 3, "set / OEMELX_LinkConfig=ELX_2x10G", false},
  {"link 1", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 1; }, 3, "set / OEMELX_LinkConfig=ELX_4x1G", false},
  {"link 2", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 2; }, 3, "set / OEMELX_LinkConfig=ELX_1x40G", false},
  {"link 3", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 3; }, 3, "set / OEMELX_LinkConfig=ELX_4x10G", false},
  {"link 4", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mActiveLinkConfig = 4; }, 3, "set / OEMELX_LinkConfig=ELX_1x40G", false},
  {"enable 0", ELX, 0x10DF, 1, 2, nullptr, 8, "set port1 OEMELX_PortEnable=Disabled", false},
  {"enable 3", ELX, 0x10DF, 1, 2, FN { E.Function.PortEnable = 3; }, 8, "set port1 OEMELX_PortEnable=Enabled", false},
  {"boot 1", ELX, 0x10DF, 1, 2, FN { E.Function.BootEnable = 1; }, 10, "set port1/pf2 OEMELX_BootEnable=Enabled", false},
  {"boot 2", ELX, 0x10DF, 1, 2, FN { E.Function.BootEnable = 2; }, 10, "set port1/pf2 OEMELX_BootEnable=Disabled", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 11, "set port1 OEMELX_AddressDefaults=0", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 14, "set port1/pf2 OEMELX_VolatileMAC=021122ABCDEF", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 17, "set port1/pf2 OEMELX_VolatileWWNN=20000011AABBCCDD", false},
  {"pf 12: first digit", ELX, 0x10DF, 0, 12, nullptr, 17, "set port0/pf1 OEMELX_VolatileWWNN=20000011AABBCCDD", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 20, "set port1/pf2 OEMELX_VolatileWWPN=10000011AABBCCEE", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 21, "set port1/pf2 OEMELX_PFVlanID=0522", false},
  {"vlan 0", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 0; }, 21, "set port1/pf2 OEMELX_PFVlanID=4095", false},
  {"vlan masked", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 0x1ABC; }, 21, "set port1/pf2 OEMELX_PFVlanID=2748", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 22, "set port1/pf2 OEMELX_MinBandwidth=010", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 23, "set port1/pf2 OEMELX_MaxBandwidth=100", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 24, "set port1/pf2 OEMELX_TargetWWPN[0]=21000011aabbccdd", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 25, "set port1/pf2 OEMELX_TargetWWPN[1]=22000011aabbccee", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 26, "set port1/pf2 OEMELX_TargetLUN[0]=0001", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 27, "set port1/pf2 OEMELX_TargetLUN[1]=1234", false},
  {"origin 1", ELX, 0x10DF, 1, 2, nullptr, 30, "set port1/pf2 OEMELX_InitiatorAddressOrigin=static_ipv4", false},
  {"origin 2", ELX, 0x10DF, 1, 2, FN { E.InitiatorOrigin = 2; }, 30, "set port1/pf2 OEMELX_InitiatorAddressOrigin=DHCP_ipv4", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 31, "set port1/pf2 OEMELX_InitiatorIscsiName=iqn.2001-04.com.example:host", false},
  {"ip decimal", ELX, 0x10DF, 1, 2, nullptr, 32, "set port1/pf2 OEMELX_IPv4InitiatorAddress=192168000001", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 33, "set port1/pf2 OEMELX_IPv4InitiatorSubnetMask=255255255000", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 34, "set port1/pf2 OEMELX_IPv4InitiatorGateway=192168000254", false},
  {"origin 2", ELX, 0x10DF, 1, 2, nullptr, 35, "set port1/pf2 OEMELX_BootTargetAddressOrigin=DHCP_ipv4", false},
  {"origin 1", ELX, 0x10DF, 1, 2, FN { E.TargetOrigin = 1; }, 35, "set port1/pf2 OEMELX_BootTargetAddressOrigin=static_ipv4", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 36, "set port1/pf2 OEMELX_TargetIscsiName[0]=iqn.2001-04.com.example:disk", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 37, "set port1/pf2 OEMELX_IPv4TargetAddress[0]=192168000002", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 38, "set port1/pf2 OEMELX_TcpPort[0]=03260", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 39, "set port1/pf2 OEMELX_BootableLun[0]=000A", false},
  {"auth 0", ELX, 0x10DF, 1, 2, FN { E.Auth = 0; }, 40, "set port1/pf2 OEMELX_AuthenticationMethod[0]=none", false},
  {"auth 1", ELX, 0x10DF, 1, 2, nullptr, 40, "set port1/pf2 OEMELX_AuthenticationMethod[0]=CHAP", false},
  {"auth 2", ELX, 0x10DF, 1, 2, FN { E.Auth = 2; }, 40, "set port1/pf2 OEMELX_AuthenticationMethod[0]=mutualCHAP", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 41, "set port1/pf2 OEMELX_ChapName[0]=user", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 42, "set port1/pf2 OEMELX_ChapSecret[0]=abcdefghijklmnop", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 43, "set port1/pf2 OEMELX_InitiatorChapSecret[0]=ponmlkjihgfedcba", false},
  {"sriov 1", ELX, 0x10DF, 1, 2, FN { E.Function.SriovEnabled = 1; }, 45, "set / OEMELX_SRIOVState=Enabled", false},
  {"sriov 2", ELX, 0x10DF, 1, 2, FN { E.Function.SriovEnabled = 2; }, 45, "set / OEMELX_SRIOVState=Disabled", false},
  {"", ELX, 0x10DF, 1, 2, nullptr, 46, "show / OEMELX_LinkConfig", true},
  {"k-th entry", ELX, 0x10DF, 1, 2, FN { mModule.Builder.mEmulexPfTypeSetIndex = 2; mModule.Builder.mPfTypePfNumber[2] = 3; mModule.Discovered.mPfTypeTable[2] = 6; }, 47, "set port1/pf3 OEMELX_PFType=RoCE", false},
  {"last entry", ELX, 0x10DF, 1, 2, FN { mModule.Builder.mEmulexPfTypeSetIndex = 15; mModule.Builder.mPfTypePfNumber[15] = 7; mModule.Discovered.mPfTypeTable[15] = 1; }, 47, "set port1/pf7 OEMELX_PFType=FC", false},
  {"past the queue", ELX, 0x10DF, 1, 2, FN { mModule.Builder.mEmulexPfTypeSetIndex = 16; }, 47, "", false},
  {"umc 1", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mTargetUmc = 1; }, 48, "set / OEMELX_UMCState=Enabled", false},
  {"umc 2", ELX, 0x10DF, 1, 2, FN { mModule.Discovered.mTargetUmc = 2; }, 48, "set / OEMELX_UMCState=Disabled", false},
  {"sriov 1", ELX, 0x10DF, 1, 2, FN { E.Function.SriovEnabled = 1; }, 51, "set port1/pf2 OEMELX_SRIOVState=Enabled", false},
  {"sriov 2", ELX, 0x10DF, 1, 2, FN { E.Function.SriovEnabled = 2; }, 51, "set port1/pf2 OEMELX_SRIOVState=Disabled", false},
  {"vlan", ELX, 0x10DF, 1, 2, nullptr, 52, "set port1/pf2 OEMELX_PXEVlan=Enabled", false},
  {"vlan 4095", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 4095; }, 52, "set port1/pf2 OEMELX_PXEVlan=Disabled", false},
  {"vlan 0", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 0; }, 52, "set port1/pf2 OEMELX_PXEVlan=Disabled", false},
  {"vlan masked to 4095", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 0xFFFF; }, 52, "set port1/pf2 OEMELX_PXEVlan=Disabled", false},
  {"vlan", ELX, 0x10DF, 1, 2, nullptr, 53, "set port1/pf2 OEMELX_PXEVlanID=0522", false},
  {"vlan 4095", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 4095; }, 53, "set port1/pf2 OEMELX_PXEVlanID=0000", false},
  {"vlan masked", ELX, 0x10DF, 1, 2, FN { E.FunctionVlan = 0x1ABC; }, 53, "set port1/pf2 OEMELX_PXEVlanID=2748", false},
  {"roce 1", ELX, 0x10DF, 1, 2, FN { mModule.Tables.mNaloPortTable.Function[0].RoceMode = 1; }, 54, "set / OEMELX_Profile=RoCE-1", false},
  {"roce 2", ELX, 0x10DF, 1, 2, FN { mModule.Tables.mNaloPortTable.Function[0].RoceMode = 2; }, 54, "set / OEMELX_Profile=RoCE-2", false},
  {"roce 0", ELX, 0x10DF, 1, 2, nullptr, 54, "set / OEMELX_Profile=RoCE-2", false},
  // QLogic8070: "device", port and PF from 1, MACs with colons.
  {"", Q80, 0x1077, 1, 2, nullptr, 2, "show device FirmwareInformation", true},
  {"past table", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mPfTypeCount = 16; }, 5, "", true},
  {"", Q80, 0x1077, 1, 2, nullptr, 9, "show port2 BootMode", true},
  {"boot 0", Q80, 0x1077, 1, 2, FN { E.Function.DeviceId = 0x8070; }, 10, "set port2 BootMode=Disabled", false},
  {"boot 1", Q80, 0x1077, 1, 2, FN { E.Function.DeviceId = 0x8070; E.Function.BootEnable = 1; }, 10, "set port2 BootMode=UNDI", false},
  {"boot 1 on 1644", Q80, 0x1077, 1, 2, FN { E.Function.DeviceId = 0x1644; E.Function.BootEnable = 1; }, 10, "set port2 BootMode=UNDI", false},
  {"boot 1 on 1656", Q80, 0x1077, 1, 2, FN { E.Function.DeviceId = 0x1656; E.Function.BootEnable = 1; }, 10, "set port2 BootMode=Ethernet", false},
  {"boot 2 on 1656", Q80, 0x1077, 1, 2, FN { E.Function.DeviceId = 0x1656; E.Function.BootEnable = 2; }, 10, "set port2 BootMode=Disabled", false},
  {"partitioned", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 1; }, 12, "show port2.pf3 MacAddress", true},
  {"umc 2", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 2; }, 12, "show port2 MacAddress", true},
  {"partitioned", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 1; }, 13, "show port2.pf3 VirtualMacAddress", true},
  {"umc 2", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 2; }, 13, "show port2 VirtualMacAddress", true},
  {"partitioned", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 1; }, 14, "set port2.pf3 VirtualMacAddress=00:1B:21:0A:FF:3C", false},
  {"umc 2", Q80, 0x1077, 1, 2, FN { mModule.Discovered.mCurrentUmc = 2; }, 14, "set port2 VirtualMacAddress=00:1B:21:0A:FF:3C", false},
  {"", Q80, 0x1077, 1, 2, nullptr, 44, "show device SRIOVMode", true},
  {"sriov 1", Q80, 0x1077, 1, 2, FN { E.Function.SriovEnabled = 1; }, 45, "set device SRIOVMode=Enabled", false},
  {"sriov 2", Q80, 0x1077, 1, 2, FN { E.Function.SriovEnabled = 2; }, 45, "set device SRIOVMode=Disabled", false},
  {"applied", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 1; }, 52, "set port2 PXEVlan=Enabled", false},
  {"masked", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 0x1064; }, 52, "set port2 PXEVlan=Enabled", false},
  {"4094", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 4094; }, 52, "set port2 PXEVlan=Enabled", false},
  {"not applied", Q80, 0x1077, 1, 2, nullptr, 52, "set port2 PXEVlan=Disabled", false},
  {"apply 2", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 2; }, 52, "set port2 PXEVlan=Disabled", false},
  {"4095", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 4095; }, 52, "set port2 PXEVlan=Disabled", false},
  {"masked to 0", Q80, 0x1077, 1, 2, FN { E.Function.BootEnableToApply = 1; E.BootVlan = 0xF000; }, 52, "set port2 PXEVlan=Disabled", false},
  {"", Q80, 0x1077, 1, 2, nullptr, 53, "set port2 PXEVlanId=0100", false},
  {"1", Q80, 0x1077, 1, 2, FN { E.BootVlan = 1; }, 53, "set port2 PXEVlanId=0001", false},
  {"4094", Q80, 0x1077, 1, 2, FN { E.BootVlan = 4094; }, 53, "set port2 PXEVlanId=4094", false},
  {"masked", Q80, 0x1077, 1, 2, FN { E.BootVlan = 0x1064; }, 53, "set port2 PXEVlanId=0100", false},
  {"0", Q80, 0x1077, 1, 2, FN { E.BootVlan = 0; }, 53, "", false},
  {"4095", Q80, 0x1077, 1, 2, FN { E.BootVlan = 4095; }, 53, "", false},
  {"masked to 4095", Q80, 0x1077, 1, 2, FN { E.BootVlan = 0xFFFF; }, 53, "", false},
  {"", Q80, 0x1077, 1, 2, nullptr, 56, "show device VirtualizationMode", true},
  {"", Q80, 0x1077, 1, 2, nullptr, 57, "show port2 MinimumBandwidthAllocation", true},
  {"", Q80, 0x1077, 1, 2, nullptr, 58, "show port2 MaximumBandwidthAllocation", true},
  {"", Q80, 0x1077, 1, 2, nullptr, 66, "set port2 VirtualMacAddress=00:00:00:00:00:00", false},
  {"", Q80, 0x1077, 1, 2, nullptr, 69, "show port2 PXEVlanId", true},
  {"", Q80, 0x1077, 1, 2, nullptr, 70, "show port2 PXEVlan", true},
  // Mellanox: one fixed target whatever the port and PF.
  {"", MLX, 0x15B3, 3, 2, nullptr, 2, "show netport1 FirmwareVersions", true},
  {"", MLX, 0x15B3, 3, 2, nullptr, 7, "show netport1 PortEnable", true},
  {"enable 1", MLX, 0x15B3, 3, 2, FN { E.Function.PortEnable = 1; }, 8, "set netport1 PortEnable=enabled", false},
  {"enable 2", MLX, 0x15B3, 3, 2, FN { E.Function.PortEnable = 2; }, 8, "set netport1 PortEnable=disabled", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 9, "show netport1 BootEnable", true},
  {"boot 1", MLX, 0x15B3, 3, 2, FN { E.Function.BootEnable = 1; }, 10, "set netport1 BootEnable=enabled", false},
  {"boot 2", MLX, 0x15B3, 3, 2, FN { E.Function.BootEnable = 2; }, 10, "set netport1 BootEnable=disabled", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 12, "show netport1 MfgMAC", true},
  {"", MLX, 0x15B3, 3, 2, nullptr, 13, "show netport1 MAC", true},
  {"", MLX, 0x15B3, 3, 2, nullptr, 14, "set netport1 MAC=021122ABCDEF", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 21, "set netport1 VlanID=0100", false},
  {"vlan 0", MLX, 0x15B3, 3, 2, FN { E.BootVlan = 0; }, 21, "set netport1 VlanID=4095", false},
  {"vlan 5", MLX, 0x15B3, 3, 2, FN { E.BootVlan = 5; }, 21, "set netport1 VlanID=0005", false},
  {"vlan masked", MLX, 0x15B3, 3, 2, FN { E.BootVlan = 0x1ABC; }, 21, "set netport1 VlanID=2748", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 44, "show netport1 SRIOVState", true},
  {"sriov 1", MLX, 0x15B3, 3, 2, FN { E.Function.SriovEnabled = 1; }, 45, "set netport1 SRIOVState=enabled", false},
  {"sriov 2", MLX, 0x15B3, 3, 2, FN { E.Function.SriovEnabled = 2; }, 45, "set netport1 SRIOVState=disabled", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 59, "show netport1 MAXLinkSpeed", true},
  {"", MLX, 0x15B3, 3, 2, nullptr, 66, "set netport1 Default", false},
  {"", MLX, 0x15B3, 3, 2, nullptr, 69, "show netport1 VlanID", true},
  {"", M1017, 0x15B3, 3, 2, nullptr, 2, "show netport1 FirmwareVersions", true},
  {"", M1017, 0x15B3, 3, 2, nullptr, 59, "show netport1 MAXLinkSpeed", true},
  // QLogic2031: port from 1.
  {"", M2031, 0x1077, 1, 2, nullptr, 1, "show port2", true},
};
// clang-format on

TEST_F(BuilderTest, GoldenLines) {
  for (size_t Row = 0; Row < sizeof(kGolden) / sizeof(kGolden[0]); Row++) {
    const GoldenRow &G = kGolden[Row];
    SCOPED_TRACE(testing::Message() << "row " << Row << " code " << G.Code << " " << G.Name << ": "
                                    << G.Expected);
    SetUp();
    E.Function.VendorId = G.VendorId;
    E.Function.PortIndex = G.Port;
    E.Function.PfIndex = G.Pf;
    if (G.Setup != nullptr) {
      G.Setup(E);
    }
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(G.Builder, G.Code, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), G.Expected);
    EXPECT_EQ(Parse != FALSE, G.Parse);
  }
}

// QLogic8070 reads the personality of one function per SHOW_PF_TYPE, in turn: the k-th query of a
// run shows function k + 1 of the port.
TEST_F(BuilderTest, QLogic8070PersonalityQueriesWalkTheFunctions) {
  E.Function.VendorId = 0x1077;
  E.Function.PortIndex = 1;
  for (UINT8 Count = 0; Count < 16; Count++) {
    mModule.Discovered.mPfTypeCount = Count;
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(BuildQLogic8070ClpCommand, SHOW_PF_TYPE, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), "show port2.pf" + std::to_string(Count + 1) + " Personality");
  }
}

// Every command starts on the first boot target: a line for the second target does not leave its
// digit to the next command.
TEST_F(BuilderTest, EachCommandStartsOnTheFirstTarget) {
  E.Function.VendorId = 0x19A2;
  E.Function.PortIndex = 1;
  E.Function.PfIndex = 2;
  BOOLEAN Parse = FALSE;
  EXPECT_EQ(Build(BuildDefaultClpCommand, SET_PF_TAR_WWPN2, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port1/pf2/target1 OEMVDR_TargetWWPN=22000011aabbccee");
  EXPECT_EQ(Build(BuildDefaultClpCommand, SET_ISCSI_TAR_IPV4_ADDR, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "set port1/pf2/target0 OEMVDR_IPv4TargetAddress=C0A80002");
}

// The placeholder digits are the first two characters of port and function number written one
// after the other: a port of two or more digits fills both, a function of two gives its first.
TEST_F(BuilderTest, PlaceholderDigitsOfLargeNumbers) {
  struct Case {
    UINT8 Port;
    UINT8 Pf;
    const char *Expected;
  };
  const Case Cases[] = {
      {12, 3, "set port1/pf2/target1 OEMVDR_TargetWWPN=22000011aabbccee"},
      {0, 10, "set port0/pf1/target1 OEMVDR_TargetWWPN=22000011aabbccee"},
      {9, 47, "set port9/pf4/target1 OEMVDR_TargetWWPN=22000011aabbccee"},
      {215, 1, "set port2/pf1/target1 OEMVDR_TargetWWPN=22000011aabbccee"},
      {10, 4, "set port1/pf0/target1 OEMVDR_TargetWWPN=22000011aabbccee"},
  };
  for (const Case &C : Cases) {
    E.Function.VendorId = 0x19A2;
    E.Function.PortIndex = C.Port;
    E.Function.PfIndex = C.Pf;
    BOOLEAN Parse = FALSE;
    EXPECT_EQ(Build(BuildDefaultClpCommand, SET_PF_TAR_WWPN2, &Parse), EFI_SUCCESS);
    EXPECT_EQ(Command(), C.Expected) << (int)C.Port << "/" << (int)C.Pf;
  }
}

// The buffer holds the previous command behind the new one's terminator; only the new text is
// searched for its placeholders.
TEST_F(BuilderTest, OnlyTheNewCommandIsPatched) {
  E.Function.VendorId = 0x19A2;
  E.Function.PortIndex = 1;
  E.Function.PfIndex = 2;
  strcpy(E.InitiatorName, "iqn.2001-04.com.example:host/pf7");
  BOOLEAN Parse = FALSE;
  EXPECT_EQ(Build(BuildDefaultClpCommand, SET_ISCSI_INI_NAME, &Parse), EFI_SUCCESS);
  E.Function.VendorId = 0x1077;
  mModule.Discovered.mCurrentUmc = 1;
  EXPECT_EQ(BuildQLogic8070ClpCommand(&E.Adapter, &E.Function, SHOW_PF_MFG_MAC, &Parse), EFI_SUCCESS);
  EXPECT_EQ(Command(), "show port2.pf3 MacAddress");
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
      {DEF, 36, E.TargetName, 225, "set port0/pf0 OEMVDR_TargetIscsiName=", 223},
      {DEF, 41, E.ChapUser, 129, "set port0/pf0/target0 OEMVDR_ChapName=", 127},
      {ELX, 31, E.InitiatorName, 225, "set port0/pf0 OEMELX_InitiatorIscsiName=", 223},
      {ELX, 36, E.TargetName, 224, "set port0/pf0 OEMELX_TargetIscsiName[0]=", 223},
      {ELX, 41, E.ChapUser, 128, "set port0/pf0 OEMELX_ChapName[0]=", 127},
      {ELX, 42, E.ChapSecret, 18, "set port0/pf0 OEMELX_ChapSecret[0]=", 16},
      {ELX, 43, E.MutualSecret, 17, "set port0/pf0 OEMELX_InitiatorChapSecret[0]=", 16},
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
      mModule.Tables.mNaloHeader.InitiatorName = nullptr;
      if (Variant == 0) {
        mModule.Tables.mCurAddressEntry = nullptr;
        mModule.Tables.mCurFunctionEntry = nullptr;
        mModule.Tables.mCurBootEntry = nullptr;
      } else {
        memset(&mModule.Tables.mNaloAddressTable[0], 0, sizeof(NALO_ADDRESS_ENTRY));
        memset(&mModule.Tables.mNaloPortTable.Function[0], 0, sizeof(NALO_FUNCTION_ENTRY));
        memset(&mModule.Tables.mNaloBootTable[0], 0, sizeof(NALO_BOOT_ENTRY));
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
  memset(mModule.Builder.ClpCommandBuffer, 'X', CLP_COMMAND_BUFFER_SIZE);
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
      {DEF, END, true},
      {DEF, SHOW_UMC, true},
      {DEF, 256 + SHOW_PF_INFO, true},
      {DEF, SET_ISCSI_INI_CHAP_NAME, true},
      {ELX, SHOW_VERSION, false},
      {Q80, SET_PORT_EN, false},
      {MLX, SET_MODE, true},
      {BuildMellanox1017ClpCommand, SHOW_PORT_EN, true},
      {BuildQLogic2031ClpCommand, SET_PORT_EN, false},
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
