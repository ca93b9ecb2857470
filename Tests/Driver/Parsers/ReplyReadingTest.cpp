// Replies off the common road: very long lines before a key, empty and failed replies, replies
// followed by memory that is not theirs, CR-only lines, NULs inside, no prefix; and the record
// rules that the parsers and planners share: a NULL list entry ends the list, and the port's
// address reset is planned by the first function that needs it.
//
// Every reply is handed over in a buffer whose bytes after the reply's length would change the
// result if they were read.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ModuleState.h"
#include "Driver/Planning/PlanningFixture.h"
#include "Integration/ScriptedAdapter.h"
#include "Parsers/DiscoveredState.h"

namespace {

using std::string;

enum Family { Other, QLogic2031, QLogic2261, QLogic8070, Emulex0710, Emulex0720, Emulex0700, Mellanox1013 };

struct Device {
  Family Id;
  UINT16 Vendor, DeviceId;
};

const Device kQLogic2031 = {QLogic2031, 0x1077, 0x2031};
const Device kQLogic2261 = {QLogic2261, 0x1077, 0x2261};
const Device kQLogic8070 = {QLogic8070, 0x1077, 0x8070};
const Device kEmulex0710 = {Emulex0710, 0x19A2, 0x0710};
const Device kEmulex0720 = {Emulex0720, 0x10DF, 0x0720};
const Device kEmulex0700 = {Emulex0700, 0x19A2, 0x0700};
const Device kEmulexE200 = {Other, 0x10DF, 0xE200};
const Device kMellanox1013 = {Mellanox1013, 0x15B3, 0x1013};
const Device kIntel = {Other, 0x8086, 0x1572};

string Text(const CHAR8 *Slot) {
  return reinterpret_cast<const char *>(Slot);
}

void SetText(CHAR8 *Slot, const char *Value) {
  std::strcpy(reinterpret_cast<char *>(Slot), Value);
}

class ReplyReadingTest : public ::testing::Test {
protected:
  void SetUp() override { ResetModuleState(); }

  // Ports x Pfs records of one adapter, linked as the platform links them; returns port 0, PF 0.
  FUNCTION_SETTINGS *NewAdapter(const Device &D, UINT8 Ports = 1, UINT8 Pfs = 1) {
    ResetModuleState();
    ADAPTER_FAMILY &F = mModule.Run.mFamily;
    F = {};
    F.QLogic2031 = D.Id == QLogic2031 || D.Id == QLogic2261;
    F.QLogic2261 = D.Id == QLogic2261;
    F.QLogic8070 = D.Id == QLogic8070;
    F.Emulex0710 = D.Id == Emulex0710;
    F.Emulex0720 = D.Id == Emulex0720;
    F.Emulex0700 = D.Id == Emulex0700;
    F.Mellanox1013 = D.Id == Mellanox1013;
    std::vector<std::vector<FUNCTION_SETTINGS *>> Grid(Ports);
    for (UINT8 Port = 0; Port < Ports; Port++) {
      for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
        Records.push_back(std::make_unique<FUNCTION_SETTINGS>());
        FUNCTION_SETTINGS *R = Records.back().get();
        std::memset(R, 0, sizeof(*R));
        R->VendorId = D.Vendor;
        R->DeviceId = D.DeviceId;
        R->PortIndex = Port;
        R->PfIndex = Pf;
        Grid[Port].push_back(R);
      }
    }
    for (auto &PortRecords : Grid) {
      for (FUNCTION_SETTINGS *R : PortRecords) {
        R->FunctionCount = Pfs;
        R->PortCount = Ports;
        std::copy(PortRecords.begin(), PortRecords.end(), R->Functions);
        for (UINT8 Port = 0; Port < Ports; Port++) {
          R->Ports[Port] = Grid[Port][0];
        }
      }
    }
    return Grid[0][0];
  }

  // The reply's bytes are followed by Beyond, which is not part of the reply.
  static void Parse(FUNCTION_SETTINGS *S, const string &Reply, UINTN Code, const string &Beyond = "") {
    std::vector<CHAR8> Memory(Reply.begin(), Reply.end());
    Memory.insert(Memory.end(), Beyond.begin(), Beyond.end());
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, ParseClpReply(S, &Instance, Memory.data(), (UINT32)Reply.size(), Code));
  }

  std::vector<std::unique_ptr<FUNCTION_SETTINGS>> Records;
};

using Check = std::function<void(const FUNCTION_SETTINGS *)>;

// ---- The whole reply is searched, whatever its length --------------------------------------------

TEST_F(ReplyReadingTest, KeysAndKeywordsAfterVeryLongLinesAreFound) {
  const string Line1100(1100, 'x');
  const string Line70k(70000, ' ');
  struct Case {
    const char *Name;
    Device D;
    UINTN Code;
    string Reply;
    Check Expect;
  };
  const Case Cases[] = {
      {"Emulex0720 keys after a 1100-character line", kEmulex0720, SHOW_PF_INFO,
       "retdata=\r\nPfType=NIC\r\nDescription=" + Line1100 +
           "\r\nPortEnable=Disabled\r\nMAC=0000C9AABB01\r\nPfVLANID=100\r\n",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(S->PortEnable, 0);
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "0000C9AABB01");
         EXPECT_EQ(S->CurrentAddress[0][5], 0x01);
         EXPECT_EQ(S->VlanId, 100);
       }},
      {"Emulex0720 address after 70000 characters", kEmulex0720, SHOW_PF_INFO,
       "retdata=\r\nNote=" + Line70k + "\r\nMfgMAC=0000C9AABB02\r\nInitiatorIscsiName=iqn.a\r\n",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->MfgAddressText[0]), "0000C9AABB02");
         EXPECT_EQ(Text(S->IscsiInitiatorName), "iqn.a");
       }},
      {"Emulex0710 VLAN after 70000 characters", kEmulex0710, SHOW_PF_INFO,
       "retdata=" + Line70k + "PfVLANID=0x0064\r\n",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->VlanId, 100); }},
      {"QLogic2031 WWNN after 5000 characters", kQLogic2031, SHOW_PF_INFO,
       "retdata=" + string(5000, 'y') + "WWNN=20000024FF000002\r\n",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->MfgAddressText[0]), "20000024FF000002"); }},
      {"QLogic2261 port disabled after 70000 characters", kQLogic2261, SHOW_PORT_EN,
       "retdata=\r\n" + Line70k + "Port Disabled",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->PortEnable, 0); }},
      {"Emulex boot disabled after 2000 characters", kEmulexE200, SHOW_BOOT_EN,
       "retdata=" + string(2000, '-') + "disabled",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->BootEnable, 0); }},
      {"QLogic8070 version tag after 2000 characters", kQLogic8070, SHOW_VERSION,
       "data=\"" + string(2000, '.') + "MBI:7.1,UEFI:6.2\"",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->FirmwareVersion[0]), "7.1");
         EXPECT_EQ(Text(S->FirmwareVersion[1]), "6.2");
       }},
      {"QLogic8070 SR-IOV after 2000 characters", kQLogic8070, SHOW_SRIOV,
       "data=" + string(2000, ' ') + "Enabled",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->SriovEnabled, 1); }},
      {"Mellanox SR-IOV after 2000 characters", kMellanox1013, SHOW_SRIOV,
       "data=" + string(2000, ' ') + "enabled",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->SriovEnabled, 1); }},
      {"QLogic8070 UMC after 2000 characters", kQLogic8070, SHOW_UMC, "data=" + string(2000, ' ') + "NPAR",
       [](const FUNCTION_SETTINGS *) {
         EXPECT_EQ(mModule.Discovered.mCurrentUmc + mModule.Discovered.mTargetUmc, 2);
       }},
      {"QLogic8070 PXE VLAN after 2000 characters", kQLogic8070, SHOW_PXE_VLAN,
       "data=" + string(2000, ' ') + "Enable",
       [](const FUNCTION_SETTINGS *) { EXPECT_EQ(mModule.Discovered.mPxeVlanEnabled, 1); }},
      {"Emulex0720 link configuration after 3000 characters", kEmulex0720, SHOW_LINK_CONFIG,
       "retdata=" + string(3000, ' ') + "ELX_4x1G",
       [](const FUNCTION_SETTINGS *) { EXPECT_EQ(mModule.Discovered.mLinkConfig, 1u); }},
      {"QLogic2261 speed after 2000 leading zeros", kQLogic2261, SHOW_MAX_LINK_SPEED,
       "retdata=\r\n" + string(2000, '0') + "16",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->MaxLinkSpeedText), "16 Gb/s");
         EXPECT_EQ(S->MaxLinkSpeedCode, 0x4010);
       }},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    FUNCTION_SETTINGS *S = NewAdapter(C.D);
    S->PortEnable = S->BootEnable = 1;
    Parse(S, C.Reply, C.Code);
    C.Expect(S);
  }
}

// A value longer than its conversion's limit is still cut at the limit.
TEST_F(ReplyReadingTest, ConversionsKeepTheirOwnLimits) {
  FUNCTION_SETTINGS *S = NewAdapter(kEmulex0720);
  Parse(S, "retdata=InitiatorIscsiName=" + string(300, 'n') + "\r\nPortEnable=Disabled" + string(40, 'd'),
        SHOW_PF_INFO);
  EXPECT_EQ(Text(S->IscsiInitiatorName), string(254, 'n'));
  // 32 characters of "Disabledddd..." are not the word Disabled.
  EXPECT_EQ(S->PortEnable, 1);
  // The name's copy stops at its line end and leaves what the field held past it.
  S = NewAdapter(kEmulex0720);
  SetText(S->IscsiInitiatorName, "0123456789");
  Parse(S, "retdata=InitiatorIscsiName=iqn\r\n", SHOW_PF_INFO);
  EXPECT_EQ(Text(S->IscsiInitiatorName) + "|" + Text(S->IscsiInitiatorName + 4), "iqn|456789");
}

// A colon MAC too short to read leaves the platform's text, which is then converted as it stands.
TEST_F(ReplyReadingTest, ShortColonMacLeavesThePlatformText) {
  struct Case {
    const char *Current, *Mfg, *Expected;
    std::vector<int> Bytes;
  } Cases[] = {
      {"0000C901234567", "0000C9FEDCBA", "0000C901234567", {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"00000000000012", "0000C9FEDCBA", "0000C9FEDCBA", {0x00, 0x00, 0xC9, 0xFE, 0xDC, 0xBA}},
      // Only the manufacturer text's 13 bytes are copied over the all-zero one.
      {"00000000000012", "0000C9FEDCBA34", "0000C9FEDCBA32", {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Current + string(" ") + C.Mfg);
    FUNCTION_SETTINGS *S = NewAdapter(kQLogic8070);
    SetText(S->CurrentAddressText[0], C.Current);
    SetText(S->MfgAddressText[0], C.Mfg);
    std::memset(S->CurrentAddress[0], 0xEE, sizeof(S->CurrentAddress[0]));
    Parse(S, "data=\"00:0e:1e\"", SHOW_PF_MAC);
    EXPECT_EQ(Text(S->CurrentAddressText[0]), C.Expected);
    EXPECT_EQ(std::vector<int>(S->CurrentAddress[0], S->CurrentAddress[0] + 6), C.Bytes);
  }
}

// The QLogic8070 type table takes sixteen replies; a seventeenth sets the record's type only.
TEST_F(ReplyReadingTest, QLogic8070TypeTableTakesSixteenReplies) {
  FUNCTION_SETTINGS *S = NewAdapter(kQLogic8070);
  mModule.Discovered.mPfTypeCount = 15;
  Parse(S, "data=\"FCoE\"", SHOW_PF_TYPE);
  Parse(S, "data=\"iSCSI\"", SHOW_PF_TYPE);
  EXPECT_EQ((Fields{mModule.Discovered.mPfTypeTable[15], mModule.Discovered.mPfTypeCount, S->PfType}),
            (Fields{2, 16, 3}));
}

// Emulex0720's enable words set what the adapter reports, but never re-enable what the platform
// switched off: a PortEnableToApply or BootEnableToApply of 0 stays 0.
TEST_F(ReplyReadingTest, Emulex0720EnableWordsNeverReEnableAPlatformZero) {
  struct Case {
    const char *Word;
    UINT8 ToApplyBefore, Reported, ToApplyAfter;
  } Cases[] = {{"Enabled", 0, 1, 0}, {"Disabled", 0, 0, 0}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Word);
    FUNCTION_SETTINGS *S = NewAdapter(kEmulex0720);
    S->PortEnableToApply = S->BootEnableToApply = C.ToApplyBefore;
    Parse(S, string("retdata=PortEnable=") + C.Word + "\r\nBootEnable=" + C.Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Reported, S->PortEnable);
    EXPECT_EQ(C.ToApplyAfter, S->PortEnableToApply);
    EXPECT_EQ(C.Reported, S->BootEnable);
    EXPECT_EQ(C.ToApplyAfter, S->BootEnableToApply);
  }
}

// ---- Empty and failed replies go through the same steps --------------------------------------------

TEST_F(ReplyReadingTest, EmptyRepliesGiveTheResultsOfAbsentKeywords) {
  struct Case {
    const char *Name;
    Device D;
    UINT16 Subsystem;
    UINTN Code;
    std::function<void(FUNCTION_SETTINGS *)> Preset;
    std::function<long long(const FUNCTION_SETTINGS *)> Read;
    long long Before, After;
  };
  const auto PortEnables = [](const FUNCTION_SETTINGS *S) {
    return S->PortEnable * 10LL + S->PortEnableToApply;
  };
  const auto BootEnables = [](const FUNCTION_SETTINGS *S) {
    return S->BootEnable * 10LL + S->BootEnableToApply;
  };
  const auto Nothing = [](FUNCTION_SETTINGS *) {};
  const Case Cases[] = {
      {"QLogic2261 port enable", kQLogic2261, 0, SHOW_PORT_EN, Nothing, PortEnables, 0, 11},
      {"Emulex port enable", kEmulexE200, 0, SHOW_PORT_EN, Nothing, PortEnables, 0, 11},
      {"Mellanox port enable", kMellanox1013, 0, SHOW_PORT_EN, Nothing, PortEnables, 0, 11},
      {"QLogic2261 boot enable", kQLogic2261, 0, SHOW_BOOT_EN, Nothing, BootEnables, 0, 11},
      {"Emulex boot enable", kEmulexE200, 0, SHOW_BOOT_EN, Nothing, BootEnables, 0, 11},
      {"QLogic8070 boot enable of the port", kQLogic8070, 0, SHOW_BOOT_EN, Nothing,
       [](const FUNCTION_SETTINGS *S) {
         return S->Functions[1]->BootEnable * 10LL + S->Functions[1]->BootEnableToApply;
       },
       0, 11},
      {"QLogic8070 SR-IOV of every port's PFs", kQLogic8070, 0, SHOW_SRIOV,
       [](FUNCTION_SETTINGS *S) { S->Ports[1]->Functions[1]->SriovEnabled = 1; },
       [](const FUNCTION_SETTINGS *S) { return (long long)S->Ports[1]->Functions[1]->SriovEnabled; }, 1, 0},
      {"Mellanox SR-IOV of every port", kMellanox1013, 0, SHOW_SRIOV,
       [](FUNCTION_SETTINGS *S) { S->Ports[1]->SriovEnabled = 1; },
       [](const FUNCTION_SETTINGS *S) { return (long long)S->Ports[1]->SriovEnabled; }, 1, 0},
      {"Emulex0720 link configuration 4x10G board", kEmulex0720, 0xE868, SHOW_LINK_CONFIG,
       [](FUNCTION_SETTINGS *) { mModule.Discovered.mLinkConfig = mModule.Discovered.mActiveLinkConfig = 9; },
       [](const FUNCTION_SETTINGS *) {
         return mModule.Discovered.mLinkConfig * 10LL + mModule.Discovered.mActiveLinkConfig;
       },
       99, 22},
      {"Emulex0720 link configuration other board", kEmulex0720, 0x0001, SHOW_LINK_CONFIG,
       [](FUNCTION_SETTINGS *) { mModule.Discovered.mLinkConfig = mModule.Discovered.mActiveLinkConfig = 9; },
       [](const FUNCTION_SETTINGS *) {
         return mModule.Discovered.mLinkConfig * 10LL + mModule.Discovered.mActiveLinkConfig;
       },
       99, 0},
      {"Emulex0700 personality", kEmulex0700, 0, SHOW_PF_TYPE,
       [](FUNCTION_SETTINGS *) {
         mModule.Discovered.mCurrentPersonality = mModule.Discovered.mTargetPersonality = 3;
       },
       [](const FUNCTION_SETTINGS *) {
         return mModule.Discovered.mCurrentPersonality * 10LL + mModule.Discovered.mTargetPersonality;
       },
       33, 0},
      {"QLogic8070 PF type", kQLogic8070, 0, SHOW_PF_TYPE, Nothing,
       [](const FUNCTION_SETTINGS *S) { return S->PfType * 10LL + mModule.Discovered.mPfTypeTable[0]; }, 0,
       55},
      {"QLogic2261 IOV support", kQLogic2261, 0, SHOW_PF_INFO,
       [](FUNCTION_SETTINGS *) { mModule.Discovered.mFcIovSupported = 1; },
       [](const FUNCTION_SETTINGS *) { return (long long)mModule.Discovered.mFcIovSupported; }, 1, 0},
      {"Emulex0710 versions", kEmulex0710, 0, SHOW_VERSION,
       [](FUNCTION_SETTINGS *S) { SetText(S->FirmwareVersion[2], "x"); },
       [](const FUNCTION_SETTINGS *S) { return (long long)S->FirmwareVersion[2][0]; }, 'x', 0},
      {"Intel version", kIntel, 0, SHOW_VERSION,
       [](FUNCTION_SETTINGS *S) { SetText(S->FirmwareVersion[0], "x"); },
       [](const FUNCTION_SETTINGS *S) { return (long long)S->FirmwareVersion[0][0]; }, 'x', 0},
      {"QLogic8070 UMC", kQLogic8070, 0, SHOW_UMC,
       [](FUNCTION_SETTINGS *) { mModule.Discovered.mCurrentUmc = mModule.Discovered.mTargetUmc = 1; },
       [](const FUNCTION_SETTINGS *) {
         return mModule.Discovered.mCurrentUmc * 10LL + mModule.Discovered.mTargetUmc;
       },
       11, 0},
      {"QLogic8070 PXE VLAN", kQLogic8070, 0, SHOW_PXE_VLAN,
       [](FUNCTION_SETTINGS *S) {
         mModule.Discovered.mPxeVlanEnabled = 1;
         S->Functions[1]->VlanId = 7;
       },
       [](const FUNCTION_SETTINGS *S) {
         return mModule.Discovered.mPxeVlanEnabled * 10000LL + S->Functions[1]->VlanId;
       },
       10007, 0},
  };
  const CHAR8 Empty[1] = {'E'}; // a reply of length 0 whose first byte is not to be read
  struct Reply {
    const char *Name;
    CHAR8 *Text;
    UINT32 Length;
    bool Read;
  };
  const Reply Replies[] = {{"empty string", const_cast<CHAR8 *>(Empty), 0, true},
                           {"NULL of length 0", nullptr, 0, true},
                           {"NULL with a length", nullptr, 300, false}};
  for (const Case &C : Cases) {
    for (const Reply &R : Replies) {
      SCOPED_TRACE(string(C.Name) + ", " + R.Name);
      FUNCTION_SETTINGS *S = NewAdapter(C.D, 2, 2);
      for (auto &Record : Records) {
        Record->SubsystemId = C.Subsystem;
      }
      C.Preset(S);
      ASSERT_EQ(C.Read(S), C.Before);
      UINTN Instance = 0;
      EXPECT_EQ(EFI_SUCCESS, ParseClpReply(S, &Instance, R.Text, R.Length, C.Code));
      EXPECT_EQ(C.Read(S), R.Read ? C.After : C.Before);
    }
  }
}

// ---- Replies that end without a terminator, CR-only lines, NULs, no prefix ---------------------------

TEST_F(ReplyReadingTest, NothingPastTheReplyIsReadAndOddTextIsReadAsWritten) {
  struct Case {
    const char *Name;
    Device D;
    UINTN Code;
    string Reply, Beyond;
    Check Expect;
  };
  const Case Cases[] = {
      {"address text ends with the reply", kEmulexE200, SHOW_PF_MAC, "retdata=0000c9", "AABB01",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "0000C9");
         EXPECT_EQ(
             (std::vector<int>{S->CurrentAddress[0][0], S->CurrentAddress[0][2], S->CurrentAddress[0][3]}),
             (std::vector<int>{0x00, 0xC9, 0xEE}));
       }},
      {"colon MAC ends with the reply", kQLogic8070, SHOW_PF_MAC, "data=\"00:11:22:33:44:5", "6\"",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->CurrentAddressText[0]), "00112233445"); }},
      {"colon MAC cut by a NUL is too short", kQLogic8070, SHOW_PF_MFG_MAC,
       string("data=\"00:11:22\0:33:44:55:66\"", 28), "",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->MfgAddressText[0]), "PRESET"); }},
      {"speed digits end with the reply", kQLogic2261, SHOW_MAX_LINK_SPEED, "retdata=\r\n16", "5",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->MaxLinkSpeedCode, 0x4010); }},
      {"hexadecimal speed ends with the reply", kMellanox1013, SHOW_MAX_LINK_SPEED, "data=0x19", "0",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->MaxLinkSpeedText), "25 Gb/s"); }},
      {"a speed of 20 digits is not read", kQLogic2261, SHOW_MAX_LINK_SPEED, "retdata=\r\n" + string(20, '9'),
       "", [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->MaxLinkSpeedCode, 0x1234); }},
      {"PXE VLAN digits end with the reply", kMellanox1013, SHOW_PXE_VLANID, "data=10", "00",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->VlanId, 10); }},
      {"word ends with the reply", kEmulex0720, SHOW_PF_INFO, "retdata=PortEnable=Disabled", "X",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->PortEnable, 0); }},
      {"hexadecimal VLAN ends with the reply", kEmulex0710, SHOW_PF_INFO, "retdata=PfVLANID=0x06", "4",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->VlanId, 6); }},
      {"WWN run ends with the reply", kQLogic2031, SHOW_PF_INFO, "retdata=WWNN=20000024FF00000", "1",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "20000024FF00000");
         EXPECT_EQ(S->CurrentAddress[0][0], 0x02); // 15 digits: a leading half byte
       }},
      {"name ends with the reply", kEmulex0720, SHOW_PF_INFO, "retdata=InitiatorIscsiName=iqn", ".x",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->IscsiInitiatorName), "iqn"); }},
      {"version ends with the reply", kIntel, SHOW_VERSION, "1.2", "3",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(Text(S->FirmwareVersion[0]), "1.2"); }},
      {"version list ends with the reply", kEmulex0710, SHOW_PF_INFO, "retdata=FirmwareVersions=1.0,2.0", "9",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->FirmwareVersion[1]), "2.0");
         EXPECT_EQ(Text(S->FirmwareVersion[2]), "");
       }},
      {"CR-only lines", kEmulex0720, SHOW_PF_INFO,
       "retdata=PortEnable=Disabled\rMAC=0000C9AABB01\rPfVLANID=7\r", "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(S->PortEnable, 0);
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "0000C9AABB01");
         EXPECT_EQ(S->VlanId, 7);
       }},
      {"keys after a NUL", kEmulex0720, SHOW_PF_INFO,
       string("retdata=PfType=FC\0\r\nPortEnable=Disabled", 39), "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(S->PfType, 1u);
         EXPECT_EQ(S->PortEnable, 0);
       }},
      {"address cut by a NUL", kEmulexE200, SHOW_PF_MAC, string("retdata=0000\0C9AABB01", 21), "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "0000");
         EXPECT_EQ(
             (std::vector<int>{S->CurrentAddress[0][0], S->CurrentAddress[0][1], S->CurrentAddress[0][2]}),
             (std::vector<int>{0x00, 0x00, 0xEE}));
       }},
      {"key at the very end of the reply", kEmulex0720, SHOW_PF_INFO,
       "retdata=PortEnable=Disabled\r\nMfgMAC=", "00",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(S->PortEnable, 0);
         EXPECT_EQ(Text(S->MfgAddressText[0]), "");
       }},
      {"keys that share one equals sign", kEmulex0710, SHOW_PF_INFO,
       "retdata=MFG_WWNN=20000000c9000001\r\nWWNN=20000000c9000002\r\nMFG_PfMAC=0000c9aabbcc\r\nPfMAC="
       "0000c9112233",
       "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->CurrentAddressText[1]) + " " + Text(S->MfgAddressText[1]),
                   "20000000c9000001 20000000c9000001");
         EXPECT_EQ(Text(S->CurrentAddressText[0]) + " " + Text(S->MfgAddressText[0]),
                   "0000c9aabbcc 0000c9aabbcc");
       }},
      {"one key for two rows", kQLogic2031, SHOW_PF_INFO,
       "retdata=WWPN=21000024FF000001\r\nWWNN=20000024FF000001", "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(Text(S->CurrentAddressText[0]) + " " + Text(S->MfgAddressText[0]),
                   "20000024FF000001 20000024FF000001");
         EXPECT_EQ(Text(S->CurrentAddressText[1]) + " " + Text(S->MfgAddressText[1]),
                   "21000024FF000001 21000024FF000001");
       }},
      {"no prefix", kEmulex0720, SHOW_PF_INFO, "PortEnable=Disabled\r\nMAC=0000C9AABB03", "",
       [](const FUNCTION_SETTINGS *S) {
         EXPECT_EQ(S->PortEnable, 0);
         EXPECT_EQ(Text(S->CurrentAddressText[0]), "0000C9AABB03");
       }},
      {"QLogic2261 prefix without its line end", kQLogic2261, SHOW_PORT_EN, "retdata=Disabled", "",
       [](const FUNCTION_SETTINGS *S) { EXPECT_EQ(S->PortEnable, 0); }},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Name);
    FUNCTION_SETTINGS *S = NewAdapter(C.D);
    S->PortEnable = 1;
    S->MaxLinkSpeedCode = 0x1234;
    std::memset(S->CurrentAddress[0], 0xEE, sizeof(S->CurrentAddress[0]));
    SetText(S->MfgAddressText[0], "PRESET");
    Parse(S, C.Reply, C.Code, C.Beyond);
    C.Expect(S);
  }
}

// The scan variables tell the last search: the key, its length and where it matched.
TEST_F(ReplyReadingTest, ScanVariablesFollowTheSearch) {
  FUNCTION_SETTINGS *S = NewAdapter(kQLogic8070);
  std::vector<CHAR8> Reply;
  const string Text = "data=" + string(3000, ' ') + "NPAR";
  Reply.assign(Text.begin(), Text.end());
  UINTN Instance = 0;
  ParseClpReply(S, &Instance, Reply.data(), (UINT32)Reply.size(), SHOW_UMC);
  EXPECT_EQ(string(reinterpret_cast<const char *>(mModule.Discovered.mSearchKey)), "NPAR");
  EXPECT_EQ(mModule.Discovered.mScanLength, 4u);
  EXPECT_EQ(mModule.Discovered.mScanPtr, Reply.data() + 3005);
  // A failed search leaves no match behind.
  ParseClpReply(S, &Instance, Reply.data(), 3005, SHOW_UMC);
  EXPECT_EQ(mModule.Discovered.mScanPtr, nullptr);

  // An address: the prefix was the last search; the conversion tells its text, bytes and digits.
  S = NewAdapter(kEmulexE200);
  Parse(S, "retdata=0000c9aabbcc", SHOW_PF_MAC);
  EXPECT_EQ(string(reinterpret_cast<const char *>(mModule.Discovered.mSearchKey)), "retdata=");
  EXPECT_EQ(mModule.Discovered.mScanPtr, S->CurrentAddressText[0]);
  EXPECT_EQ(mModule.Discovered.mDestPtr, S->CurrentAddress[0]);
  EXPECT_EQ((std::vector<UINTN>{mModule.Discovered.mByteLength, mModule.Discovered.mScanLength}),
            (std::vector<UINTN>{6, 12}));
  Parse(S, "retdata=zz", SHOW_PF_MAC);
  EXPECT_EQ((std::vector<UINTN>{mModule.Discovered.mByteLength, mModule.Discovered.mScanLength}),
            (std::vector<UINTN>{0, 0}));
  // A PF information reply: every key is searched, the table's last one last.
  S = NewAdapter(kEmulex0720);
  Parse(S, "retdata=MAC=0000c9aabbcc", SHOW_PF_INFO);
  EXPECT_EQ(string(reinterpret_cast<const char *>(mModule.Discovered.mSearchKey)), "InitiatorIscsiName=");
  EXPECT_EQ(mModule.Discovered.mScanPtr, nullptr);
}

// The value prefix follows the record's vendor: a family's own prefix only for a record of the
// family's vendor, otherwise the vendor's ("retdata=" for every vendor but 0x15B3 and 0x8086).
TEST_F(ReplyReadingTest, ValuePrefixFollowsTheRecordsVendor) {
  // "data=" first: it also stands inside every "retdata=".
  const string Reply =
      "data=CCCCCCCCCCCC retdata=AAAAAAAAAAAA retdata=\r\nBBBBBBBBBBBB permanentaddress=DDDDDDDDDDDD";
  const struct {
    Device Family;
    UINT16 RecordVendor;
    const char *Mac;
  } Cases[] = {
      {kQLogic2261, 0x1077, "BBBBBBBBBBBB"}, {kQLogic2261, 0x10DF, "AAAAAAAAAAAA"},
      {kQLogic2031, 0x1077, "AAAAAAAAAAAA"}, {kEmulexE200, 0x15B3, "CCCCCCCCCCCC"},
      {kQLogic2261, 0x8086, "DDDDDDDDDDDD"}, {kMellanox1013, 0x19A2, "AAAAAAAAAAAA"},
      {kQLogic2261, 0x1234, "AAAAAAAAAAAA"},
  };
  for (const auto &C : Cases) {
    FUNCTION_SETTINGS *S = NewAdapter(C.Family);
    mModule.Run.mFamily.EmulexE200 = C.Family.DeviceId == 0xE200;
    S->VendorId = C.RecordVendor;
    Parse(S, Reply, SHOW_PF_MAC);
    EXPECT_EQ(Text(S->CurrentAddressText[0]), C.Mac)
        << std::hex << C.Family.DeviceId << " " << C.RecordVendor;
  }
}

// ---- A NULL entry ends a Functions or Ports list ----------------------------------------------------

TEST_F(ReplyReadingTest, NullListEntryEndsEveryWalk) {
  struct Case {
    const char *Name;
    Device D;
    UINTN Code;
    const char *Reply;
    bool PortHole; // the hole is Ports[1] instead of Functions[1]
    std::function<long long(const FUNCTION_SETTINGS *)> Read;
  };
  // The record behind the hole keeps its preset 7 / "7" whatever the reply says.
  const Case Cases[] = {
      {"boot enable", kQLogic8070, SHOW_BOOT_EN, "data=\"Disabled\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->BootEnable; }},
      {"bandwidths", kQLogic8070, SHOW_PF_BANDWIDTH, "data=\"30,40,50\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->MinBandwidth; }},
      {"rate limits", kQLogic8070, SHOW_PF_RATE_LIMIT, "data=\"30,40,50\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->MaxBandwidth; }},
      {"PXE VLAN ID", kQLogic8070, SHOW_PXE_VLANID, "data=\"100\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->VlanId; }},
      {"PXE VLAN off", kQLogic8070, SHOW_PXE_VLAN, "data=\"Disabled\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->VlanId; }},
      {"SR-IOV of a port's PFs", kQLogic8070, SHOW_SRIOV, "data=\"Enabled\"", false,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->SriovEnabled; }},
      {"SR-IOV of the ports", kQLogic8070, SHOW_SRIOV, "data=\"Enabled\"", true,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->SriovEnabled; }},
      {"versions of the ports", kQLogic8070, SHOW_VERSION, "data=\"MBI:1.1\"", true,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->FirmwareVersion[0][0]; }},
      {"Mellanox SR-IOV of the ports", kMellanox1013, SHOW_SRIOV, "data=enabled", true,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->SriovEnabled; }},
      {"Mellanox versions of the ports", kMellanox1013, SHOW_VERSION, "data=1.1,2.2", true,
       [](const FUNCTION_SETTINGS *S) { return (long long)S->FirmwareVersion[0][0]; }},
  };
  for (const Case &C : Cases) {
    for (const bool ByCount : {false, true}) {
      SCOPED_TRACE(string(C.Name) + (ByCount ? ", count 1" : ", NULL entry"));
      FUNCTION_SETTINGS *S = NewAdapter(C.D, 3, 3);
      for (auto &R : Records) {
        R->BootEnable = R->MinBandwidth = R->MaxBandwidth = R->SriovEnabled = 7;
        R->VlanId = 7;
        SetText(R->FirmwareVersion[0], "7");
        // The count ends the list as well, even with the entries behind it set.
        (C.PortHole ? R->PortCount : R->FunctionCount) = ByCount ? 1 : 3;
      }
      // Behind the hole, or the first entry past the count.
      const int Past = ByCount ? 1 : 2;
      FUNCTION_SETTINGS *Behind = C.PortHole ? S->Ports[Past] : S->Functions[Past];
      if (!ByCount) {
        (C.PortHole ? S->Ports[1] : S->Functions[1]) = nullptr;
      }
      Parse(S, C.Reply, C.Code);
      const long long Preset = C.Code == SHOW_VERSION ? '7' : 7;
      EXPECT_NE(C.Read(S), Preset) << "the walk did not reach the first record";
      EXPECT_EQ(C.Read(Behind), Preset);
      if (C.PortHole) {
        EXPECT_EQ(C.Read(Behind->Functions[1]), Preset) << "a PF behind the hole";
      }
    }
  }
}

// A count above the sixteen list entries is read as sixteen: what lies past the list is not a record.
TEST_F(ReplyReadingTest, ListCountAboveSixteenStopsAtTheLastEntry) {
  FUNCTION_SETTINGS *S = NewAdapter(kMellanox1013, 16, 1);
  for (auto &R : Records) {
    R->PortCount = 17;
  }
  Parse(S, "data=enabled", SHOW_SRIOV);
  EXPECT_EQ(S->Ports[15]->SriovEnabled, 1);
  // Past Functions[15] lies Ports[0], here another port's record.
  S = NewAdapter(kQLogic8070, 2, 16);
  FUNCTION_SETTINGS *Port1 = S->Ports[1];
  for (auto &R : Records) {
    R->FunctionCount = 17;
  }
  Parse(Port1, "data=\"100\"", SHOW_PXE_VLANID);
  EXPECT_EQ((Fields{Port1->Functions[15]->VlanId, S->VlanId}), (Fields{100, 0}));
}

// ---- Planner side of the record rules ------------------------------------------------------------------

class RecordRulesPlanningTest : public PlanningTest {};

TEST_F(RecordRulesPlanningTest, AddressResetIsPlannedByTheFirstFunctionThatNeedsIt) {
  P.Defaults[1] = TRUE; // the platform wants the manufacturer's addresses back
  std::vector<FUNCTION_SETTINGS *> Pf = Port(0x10DF, 0x0720, 0, 3);
  // PF 0 already runs on its manufacturer address; PFs 1 and 2 do not.
  for (FUNCTION_SETTINGS *F : Pf) {
    SetText(F->MfgAddressText[0], "0000C9AABB01");
    SetText(F->CurrentAddressText[0], "0200C9000001");
  }
  SetText(Pf[0]->CurrentAddressText[0], "0000C9AABB01");
  EXPECT_FALSE(PlanCommand(Pf[0], SET_ADDR_DEFAULTS, &Count));
  EXPECT_FALSE(mModule.Run.mAddrDefaultsPlanned);
  EXPECT_TRUE(PlanCommand(Pf[1], SET_ADDR_DEFAULTS, &Count));
  EXPECT_TRUE(mModule.Run.mAddrDefaultsPlanned);
  EXPECT_FALSE(PlanCommand(Pf[2], SET_ADDR_DEFAULTS, &Count));
  EXPECT_EQ(Planned(), (Codes{SET_ADDR_DEFAULTS}));
  // PF 2 still takes its manufacturer address into its record.
  EXPECT_EQ(Text(Pf[2]->CurrentAddressText[0]), "0000C9AABB01");
}

TEST_F(RecordRulesPlanningTest, ControllerSriovStopsAtANullPort) {
  mModule.Tables.mNaloHeader.SriovValid = 1;
  mModule.Tables.mNaloPortTable.Function[0].SriovEnable = 1;
  FUNCTION_SETTINGS *Port0 = NewRecord(0x1077, 0x8070, 0);
  FUNCTION_SETTINGS *Port2 = NewRecord(0x1077, 0x8070, 2);
  S = NewRecord(0x1077, 0x8070, 1);
  S->PortCount = 3;
  S->Ports[0] = Port0; // Ports[1] is NULL: the list ends there
  S->Ports[2] = Port2;
  EXPECT_TRUE(Plan(SET_SRIOV_FOR_CONTROLLER));
  EXPECT_EQ(Planned(), (Codes{SET_SRIOV_FOR_CONTROLLER}));
  EXPECT_EQ(Port0->SriovEnabled, 1);
  EXPECT_EQ(Port2->SriovEnabled, 0);
}

// ---- Two whole runs through the installed protocol ----------------------------------------------------

class ReplyReadingRunTest : public IntegrationTest {};

// A long line before the keys hid the adapter's port enable, MAC and VLAN: the plan then set all
// three although the adapter already had them.
TEST_F(ReplyReadingRunTest, Emulex0720KeysAfterALongLinePlanNoNeedlessSets) {
  const BuiltAdapter A =
      Add(0x10DF, 0x0720, 0x21, 1, 1, PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6, 1);
  FUNCTION_SETTINGS *R = A.Record(0, 0);
  R->PortEnable = 0;
  R->VlanId = 5;
  fake::NaloEntry &N = ValidTables(0);
  N.PortTable.PortMode = 1;
  N.PortTable.DesiredFunctionCount = 1;
  NALO_FUNCTION_ENTRY &E = N.PortTable.Function[0];
  E.Enabled = 1;
  E.FunctionType = PF_TYPE_NIC;
  E.FunctionVlanId = N.Own<UINT16>(100);
  N.AddressTable[0].Enabled = 1;
  N.AddressTable[0].Mac = N.OwnBytes({0x02, 0x00, 0xC9, 0x00, 0x00, 0x01});
  const string Info = "retdata=\r\nPfType=NIC\r\nDescription=" + string(1100, 'x') +
                      "\r\nPortEnable=Enabled\r\nMAC=0200C9000001\r\nMfgMAC=0000C9AABB01\r\nPfVLANID=100\r\n";
  const Texts Commands = Dialogue(A.Handle(0, 0), {{"show port0/pf0 OEMELX_PFInfo", {Info}}});
  ASSERT_FALSE(Commands.empty());
  EXPECT_EQ(Commands.front(), "show port0/pf0 OEMELX_PFInfo");
  EXPECT_EQ(Commands.back(), "exit");
  for (const string &Command : Commands) {
    EXPECT_EQ(Command.find("OEMELX_PortEnable"), string::npos) << Command;
    EXPECT_EQ(Command.find("OEMELX_PFVlanID"), string::npos) << Command;
    EXPECT_EQ(Command.find("OEMELX_VolatileMAC"), string::npos) << Command;
  }
  EXPECT_EQ((Fields{R->PortEnable, R->VlanId}), (Fields{1, 100}));
}

// The port-enable show fails with an empty reply: no disable word, so the port counts as enabled
// and needs no set.
TEST_F(ReplyReadingRunTest, QLogic2261FailedEmptyPortEnableReplyIsReadAsEnabled) {
  const BuiltAdapter A = Add(0x1077, 0x2261, 0x22);
  FUNCTION_SETTINGS *R = A.Record(0, 0);
  R->PfType = PF_TYPE_FC;
  R->PortEnable = 0;
  fake::NaloEntry &N = Fw().Nalo(0, 0, 0);
  N.Header.PortTableValid = 1;
  N.PortTable.DesiredPortEnable = 1;
  const Texts Commands =
      Dialogue(A.Handle(0, 0), {{"show port1", {"retdata=\r\nFirmwareVersions=8.08.1,6.01,1.2,6.07.02\r\n"}},
                                {"show netport1 OEM_PortEnable", {ScriptedReply("", 2, 1)}}});
  ASSERT_GE(Commands.size(), 2u);
  EXPECT_EQ(Commands[1], "show netport1 OEM_PortEnable");
  for (const string &Command : Commands) {
    EXPECT_EQ(Command.find("set netport1 OEM_PortEnable"), string::npos) << Command;
  }
  EXPECT_EQ((Fields{R->PortEnable, R->PortEnableToApply}), (Fields{1, 1}));
}

} // namespace
