// Shared setup of the builder tests: one settings record, platform table entries with known
// values, and a runner that checks text, status, parse flag and termination of one build.
#ifndef TESTS_DRIVER_BUILDERS_BUILDER_FIXTURE_H_
#define TESTS_DRIVER_BUILDERS_BUILDER_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "Builders/Builders.h"

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
  UINT16 VendorId;
  UINT8 Port, Pf;
  std::function<void(BuilderEnv &)> Setup;
  UINT64 Code;
  const char *Expected;
  EFI_STATUS Status;
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

  void RunCases(CLP_BUILDER Builder, const std::vector<BuildCase> &Cases) {
    for (const BuildCase &C : Cases) {
      SetUp();
      E.Function.VendorId = C.VendorId;
      E.Function.PortIndex = C.Port;
      E.Function.PfIndex = C.Pf;
      if (C.Setup) {
        C.Setup(E);
      }
      BOOLEAN Parse = FALSE;
      const EFI_STATUS Status = Build(Builder, C.Code, &Parse);
      EXPECT_EQ(Command(), C.Expected) << C.Name;
      EXPECT_EQ(Status, C.Status) << C.Name;
      EXPECT_EQ(Parse != FALSE, C.Parse) << C.Name;
    }
  }
};

#define OK EFI_SUCCESS
#define NF EFI_NOT_FOUND
// Setup of one case.
#define FN []([[maybe_unused]] BuilderEnv & E)
#define STATE(Statement) [](BuilderEnv &) { Statement; }

#endif
