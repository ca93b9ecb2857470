// Reply parsing: value prefixes, the small parse steps, the PF_INFO key tables and the QLogic8070
// replies. Every reply is handed over in a buffer of exactly its length, without a terminator, as
// an option ROM may hand it: reading one byte more is an ASan error.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Parsers/DiscoveredState.h"

namespace {

enum FamilyId {
  None,
  QLogic2031,
  QLogic2261,
  QLogic8070,
  Emulex0710,
  Emulex0720,
  EmulexE200,
  Emulex0700,
  Mellanox1013,
  Mellanox1017
};

void SetFamily(FamilyId Family) {
  ADAPTER_FAMILY &F = mModule.mFamily;
  F = {};
  F.QLogic2031 = Family == QLogic2031 || Family == QLogic2261;
  F.QLogic2261 = Family == QLogic2261;
  F.QLogic8070 = Family == QLogic8070;
  F.Emulex0710 = Family == Emulex0710;
  F.Emulex0720 = Family == Emulex0720;
  F.EmulexE200 = Family == EmulexE200;
  F.Emulex0700 = Family == Emulex0700;
  F.Mellanox1013 = Family == Mellanox1013;
  F.Mellanox1017 = Family == Mellanox1017;
}

std::string Text(const CHAR8 *Slot) {
  return reinterpret_cast<const char *>(Slot);
}
std::vector<UINT8> Bytes(const UINT8 *Slot, size_t Count) {
  return {Slot, Slot + Count};
}
std::string Hex(const UINT8 *Slot, size_t Count) {
  std::string Out;
  char Pair[3];
  for (size_t Index = 0; Index < Count; Index++) {
    std::snprintf(Pair, sizeof(Pair), "%02X", Slot[Index]);
    Out += Pair;
  }
  return Out;
}

class ParserTest : public ::testing::Test {
protected:
  void SetUp() override { ResetModuleState(); }

  FUNCTION_SETTINGS *NewRecord(UINT16 Vendor, UINT16 Device, UINT8 Port = 0, UINT8 Pf = 0) {
    Records.push_back(std::make_unique<FUNCTION_SETTINGS>());
    FUNCTION_SETTINGS *Record = Records.back().get();
    std::memset(Record, 0, sizeof(*Record));
    Record->VendorId = Vendor;
    Record->DeviceId = Device;
    Record->PortIndex = Port;
    Record->PfIndex = Pf;
    return Record;
  }

  // Ports x Pfs records; every record lists its port's functions, the first lists the ports.
  // Returns the first function of the first port.
  FUNCTION_SETTINGS *NewAdapter(UINT16 Vendor, UINT16 Device, UINT8 Ports, UINT8 Pfs) {
    std::vector<std::vector<FUNCTION_SETTINGS *>> Grid(Ports);
    for (UINT8 Port = 0; Port < Ports; Port++) {
      for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
        Grid[Port].push_back(NewRecord(Vendor, Device, Port, Pf));
      }
    }
    for (auto &PortFunctions : Grid) {
      for (FUNCTION_SETTINGS *Record : PortFunctions) {
        Record->FunctionCount = Pfs;
        Record->PortCount = Ports;
        for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
          Record->Functions[Pf] = PortFunctions[Pf];
        }
        for (UINT8 Port = 0; Port < Ports; Port++) {
          Record->Ports[Port] = Grid[Port][0];
        }
      }
    }
    return Grid[0][0];
  }

  void Parse(FUNCTION_SETTINGS *Settings, const std::string &Reply, UINTN Code) {
    std::vector<CHAR8> Buffer(Reply.begin(), Reply.end());
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, ParseClpReply(Settings, &Instance, Buffer.empty() ? nullptr : Buffer.data(),
                                         (UINT32)Buffer.size(), Code));
  }

  std::vector<std::unique_ptr<FUNCTION_SETTINGS>> Records;
};

// Named probes of what a parse may change, so a case states its expectations as
// "Name=value;Name=value".
using Probe = std::function<std::string(const FUNCTION_SETTINGS *)>;
#define FIELD(Expression) [](const FUNCTION_SETTINGS *S) { return std::to_string(Expression); }
#define TEXT(Expression) [](const FUNCTION_SETTINGS *S) { return Text(Expression); }
#define HEX(Slot, Count) [](const FUNCTION_SETTINGS *S) { return Hex(Slot, Count); }
const std::map<std::string, Probe> kProbes = {
    {"PortEnable", FIELD(S->PortEnable)},
    {"PortEnableToApply", FIELD(S->PortEnableToApply)},
    {"BootEnable", FIELD(S->BootEnable)},
    {"BootEnableToApply", FIELD(S->BootEnableToApply)},
    {"Mac", TEXT(S->CurrentAddressText[0])},
    {"MacBytes", HEX(S->CurrentAddress[0], 6)},
    {"MfgMac", TEXT(S->MfgAddressText[0])},
    {"MfgMacBytes", HEX(S->MfgAddress[0], 6)},
    {"Wwnn", TEXT(S->CurrentAddressText[1])},
    {"MfgWwnn", TEXT(S->MfgAddressText[1])},
    {"WwpnBytes", HEX(S->CurrentAddress[2], 8)},
    {"MinBw", FIELD(S->MinBandwidth)},
    {"MaxBw", FIELD(S->MaxBandwidth)},
    {"Vlan", FIELD(S->VlanId)},
    {"Sriov", FIELD(S->SriovEnabled)},
    {"PfType", FIELD(S->PfType)},
    {"FunctionCount", FIELD(S->FunctionCount)},
    {"Fw0", TEXT(S->FirmwareVersion[0])},
    {"Fw2", TEXT(S->FirmwareVersion[2])},
    {"IniName", TEXT(S->IscsiInitiatorName)},
    {"CurVlan", FIELD(((void)S, mModule.mCurrentVlanId))},
    {"TgtVlan", FIELD(((void)S, mModule.mTargetVlanId))},
    {"CurPfCount", FIELD(((void)S, mModule.mCurrentPfCount))},
    {"TgtPfCount", FIELD(((void)S, mModule.mTargetPfCount))},
    {"CurPers", FIELD(((void)S, mModule.mCurrentPersonality))},
    {"TgtPers", FIELD(((void)S, mModule.mTargetPersonality))},
    {"CurUmc", FIELD(((void)S, mModule.mCurrentUmc))},
    {"TgtUmc", FIELD(((void)S, mModule.mTargetUmc))},
};

void ExpectProbes(const FUNCTION_SETTINGS *S, const std::string &Expected) {
  size_t Start = 0;
  while (Start < Expected.size()) {
    size_t End = Expected.find(';', Start);
    End = End == std::string::npos ? Expected.size() : End;
    const std::string Item = Expected.substr(Start, End - Start);
    const size_t Equals = Item.find('=');
    const std::string Name = Item.substr(0, Equals);
    ASSERT_TRUE(kProbes.count(Name)) << "no probe " << Name;
    EXPECT_EQ(Item.substr(Equals + 1), kProbes.at(Name)(S)) << Name;
    Start = End + 1;
  }
}

struct PrefixCase {
  UINT16 Vendor;
  FamilyId Family;
  std::string Reply;
  std::string Wwpn;
};

// SHOW_PF_WWPN of an FC function copies 16 characters from the value start into text slot 1.
TEST_F(ParserTest, ValuePrefixDependsOnVendorAndFamily) {
  const PrefixCase Cases[] = {
      {0x1077, QLogic8070, "status=0 data=0011223344556677", "0011223344556677"},
      {0x1077, QLogic2261, "x retdata=\r\n1122334455667788", "1122334455667788"},
      // Without its CR LF the QLogic2261 prefix is missing: the value starts at the first character.
      {0x1077, QLogic2261, "retdata=1122334455667788", "RETDATA=11223344"},
      {0x1077, QLogic2031, "retdata=aabbccddeeff0011", "AABBCCDDEEFF0011"},
      {0x15B3, Mellanox1013, "x=1 data=2233445566778899", "2233445566778899"},
      {0x8086, None, "permanentaddress=1020304050607080", "1020304050607080"},
      {0x10DF, EmulexE200, "data=99 retdata=3132333435363738", "3132333435363738"},
      {0x10DF, EmulexE200, "0011223344556677 trailing", "0011223344556677"},
      // "data=" lies inside "retdata=": the first occurrence wins.
      {0x1077, QLogic8070, "retdata=ABCD data=0011223344556677", "ABCD DATA=001122"},
  };
  for (const PrefixCase &Case : Cases) {
    SCOPED_TRACE(Case.Reply);
    ResetModuleState();
    SetFamily(Case.Family);
    FUNCTION_SETTINGS *S = NewRecord(Case.Vendor, 0x1234);
    S->PfType = PF_TYPE_FC;
    Parse(S, Case.Reply, SHOW_PF_WWPN);
    EXPECT_EQ(Case.Wwpn, Text(S->CurrentAddressText[1]));
  }
}

struct EnableCase {
  UINT16 Vendor;
  std::string Reply;
  UINT8 Expected; // 9: untouched
};

TEST_F(ParserTest, PortEnableDisableWordByVendor) {
  const EnableCase Cases[] = {
      {0x1077, "retdata=Port Disabled", 0},     {0x10DF, "retdata=Port Disabled", 1},
      {0x10DF, "retdata=disabled", 0},          {0x15B3, "data=disabled", 0},
      {0x1077, "retdata=Enabled", 1},           {0x1077, "nothing", 1},
      {0x8086, "permanentaddress=disabled", 9}, {0x19A2, "retdata=disabled", 9},
  };
  for (const EnableCase &Case : Cases) {
    SCOPED_TRACE(Case.Reply);
    FUNCTION_SETTINGS *S = NewRecord(Case.Vendor, 1);
    S->PortEnable = S->PortEnableToApply = 9;
    Parse(S, Case.Reply, SHOW_PORT_EN);
    EXPECT_EQ(Case.Expected, S->PortEnable);
    EXPECT_EQ(Case.Expected, S->PortEnableToApply);
  }
}

TEST_F(ParserTest, QLogic8070BootEnableAppliesToThePortFromItsFirstFunctionOnly) {
  SetFamily(QLogic8070);
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 3);
  Parse(Pf0, "data=\"Disabled\"", SHOW_BOOT_EN);
  for (int Pf = 0; Pf < 3; Pf++) {
    EXPECT_EQ(0, Pf0->Functions[Pf]->BootEnable);
    EXPECT_EQ(0, Pf0->Functions[Pf]->BootEnableToApply);
  }
  Parse(Pf0->Functions[1], "data=\"Enabled\"", SHOW_BOOT_EN);
  EXPECT_EQ(0, Pf0->Functions[1]->BootEnable);
  Parse(Pf0, "data=\"Disable\"", SHOW_BOOT_EN); // "Disabled" is the keyword here
  EXPECT_EQ(1, Pf0->Functions[2]->BootEnableToApply);
}

TEST_F(ParserTest, AddressSlotFollowsFunctionType) {
  struct Case {
    UINT32 Code;
    UINT32 PfType;
    bool Manufacturer;
    int Slot;
    int Bytes;
  } Cases[] = {
      {SHOW_PF_WWNN, PF_TYPE_FCOE, false, 1, 8},    {SHOW_PF_WWNN, PF_TYPE_FC, false, 0, 8},
      {SHOW_PF_MFG_WWNN, PF_TYPE_FCOE, true, 1, 8}, {SHOW_PF_MFG_WWPN, PF_TYPE_FC, true, 1, 8},
      {SHOW_PF_WWPN, PF_TYPE_FCOE, false, 2, 8},    {SHOW_PF_MAC, PF_TYPE_FCOE, false, 0, 6},
      {SHOW_PF_MFG_MAC, PF_TYPE_NIC, true, 0, 6},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Code);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
    S->PfType = C.PfType;
    Parse(S, "retdata=20000090fa1b2c3d", C.Code);
    const CHAR8 *TextSlot = C.Manufacturer ? S->MfgAddressText[C.Slot] : S->CurrentAddressText[C.Slot];
    const UINT8 *ByteSlot = C.Manufacturer ? S->MfgAddress[C.Slot] : S->CurrentAddress[C.Slot];
    const std::vector<UINT8> Wwn = {0x20, 0x00, 0x00, 0x90, 0xFA, 0x1B, 0x2C, 0x3D};
    EXPECT_EQ(std::string("20000090FA1B2C3D").substr(0, C.Bytes * 2), Text(TextSlot));
    EXPECT_EQ(std::vector<UINT8>(Wwn.begin(), Wwn.begin() + C.Bytes), Bytes(ByteSlot, C.Bytes));
  }
}

TEST_F(ParserTest, ShortOrNonHexAddressKeepsTheRemainingBytes) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  std::memset(S->CurrentAddress[0], 0xEE, 17);
  Parse(S, "retdata=12ab", SHOW_PF_MAC);
  EXPECT_EQ("12AB", Text(S->CurrentAddressText[0]));
  EXPECT_EQ((std::vector<UINT8>{0x12, 0xAB, 0xEE, 0xEE, 0xEE, 0xEE}), Bytes(S->CurrentAddress[0], 6));
  Parse(S, "retdata=zz0102030405", SHOW_PF_MAC);
  EXPECT_EQ("ZZ0102030405", Text(S->CurrentAddressText[0]));
  EXPECT_EQ(0x12, S->CurrentAddress[0][0]);
}

TEST_F(ParserTest, QLogic8070ColonMacTooShort) {
  SetFamily(QLogic8070);
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
  // Too short for a MAC: the text stays, and the bytes are converted from it again.
  std::strcpy(reinterpret_cast<char *>(S->CurrentAddressText[0]), "A1B2C3D4E5F6");
  Parse(S, "data=\"11:22:33\"", SHOW_PF_MAC);
  EXPECT_EQ("A1B2C3D4E5F6", Text(S->CurrentAddressText[0]));
  EXPECT_EQ((std::vector<UINT8>{0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6}), Bytes(S->CurrentAddress[0], 6));
}

TEST_F(ParserTest, MaxLinkSpeed) {
  struct Case {
    UINT16 Vendor;
    FamilyId Family;
    std::string Reply;
    std::string Text; // empty: untouched
    UINT16 Code;
  } Cases[] = {
      {0x1077, QLogic2261, "retdata=\r\n16", "16 Gb/s", 0x4010},
      {0x15B3, Mellanox1017, "data=64\r\n", "100 Gb/s", 0x4064},
      {0x1077, QLogic8070, "data=16", "", 0},
      {0x1077, QLogic2261, "retdata=\r\nfast", "", 0},
      {0x1077, QLogic2261, "retdata=\r\n0", "", 0},
      // A number no UINTN holds is ignored instead of tripping the library's overflow assertion.
      {0x1077, QLogic2261, "retdata=\r\n123456789012345678901234", "", 0},
      {0x15B3, Mellanox1013, "data=123456789abcdef01", "", 0},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Reply);
    SetFamily(C.Family);
    FUNCTION_SETTINGS *S = NewRecord(C.Vendor, 1);
    Parse(S, C.Reply, SHOW_MAX_LINK_SPEED);
    EXPECT_EQ(C.Text, Text(S->MaxLinkSpeedText));
    EXPECT_EQ(C.Code, S->MaxLinkSpeedCode);
  }
}

TEST_F(ParserTest, EmulexPersonalityLooksAtTheFirstFiveCharacters) {
  const std::pair<std::string, UINT32> Cases[] = {{"retdata=FCoE", 2},
                                                  {"retdata= FCoE", 2},
                                                  {"retdata=  FCoE", 0},
                                                  {"retdata=iSCSI", 3},
                                                  {"retdata=NIC", 0}};
  SetFamily(Emulex0700);
  for (const auto &[Reply, Personality] : Cases) {
    SCOPED_TRACE(Reply);
    mModule.mCurrentPersonality = mModule.mTargetPersonality = 9;
    Parse(NewRecord(0x19A2, 0x0700), Reply, SHOW_PF_TYPE);
    EXPECT_EQ(Personality, mModule.mCurrentPersonality);
    EXPECT_EQ(Personality, mModule.mTargetPersonality);
  }
}

TEST_F(ParserTest, MellanoxPxeVlanId) {
  SetFamily(Mellanox1013);
  FUNCTION_SETTINGS *S = NewRecord(0x15B3, 0x1013);
  Parse(S, "data=0100\r\n", SHOW_PXE_VLANID);
  EXPECT_EQ(100, S->VlanId);
  EXPECT_EQ(100, mModule.mTargetVlanId);
  Parse(S, "data=4095", SHOW_PXE_VLANID);
  EXPECT_EQ(0, S->VlanId);
  EXPECT_EQ(4095, mModule.mCurrentVlanId);
  EXPECT_EQ(4095, mModule.mTargetVlanId);
}

// Replies a function must not act on leave every record and the link layout as they were: versions
// and SR-IOV are read by the adapter's first function only, QLogic FC families take their versions
// from PF information, Mellanox needs its value prefix, the link layout is Emulex0720's alone, and
// a QLogic8070 version tag that is missing keeps its slot.
TEST_F(ParserTest, RepliesOutsideTheirFamilyOrFunctionChangeNothing) {
  const struct {
    FamilyId Family;
    UINT16 Vendor, Device;
    UINT8 Port, Pf;
    UINTN Code;
    const char *Reply;
  } Cases[] = {
      {Emulex0700, 0x19A2, 0x0700, 0, 1, SHOW_VERSION, "retdata=9.9"},
      {QLogic2031, 0x1077, 0x2031, 0, 0, SHOW_VERSION, "retdata=1.2,3.4"},
      {Mellanox1013, 0x15B3, 0x1013, 0, 0, SHOW_VERSION, "14.99,3.5"},
      {QLogic8070, 0x1077, 0x8070, 0, 0, SHOW_VERSION, "data=\"no tags here\""},
      {Mellanox1013, 0x15B3, 0x1013, 1, 0, SHOW_SRIOV, "data=disabled"},
      {EmulexE200, 0x10DF, 0xE200, 0, 0, SHOW_LINK_CONFIG, "retdata=ELX_4x1G"},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Reply);
    ResetModuleState();
    SetFamily(C.Family);
    mModule.mLinkConfig = mModule.mActiveLinkConfig = 77;
    FUNCTION_SETTINGS *First = NewAdapter(C.Vendor, C.Device, 2, 2);
    std::vector<FUNCTION_SETTINGS> Before;
    for (int Port = 0; Port < 2; Port++) {
      for (int Pf = 0; Pf < 2; Pf++) {
        FUNCTION_SETTINGS *R = First->Ports[Port]->Functions[Pf];
        for (auto &Slot : R->FirmwareVersion) {
          std::strcpy(reinterpret_cast<char *>(Slot), "old");
        }
        R->SriovEnabled = 1;
        Before.push_back(*R);
      }
    }
    Parse(First->Ports[C.Port]->Functions[C.Pf], C.Reply, C.Code);
    for (int Index = 0; Index < 4; Index++) {
      EXPECT_EQ(std::memcmp(First->Ports[Index / 2]->Functions[Index % 2], &Before[Index],
                            sizeof(FUNCTION_SETTINGS)),
                0)
          << "record " << Index;
    }
    EXPECT_EQ(mModule.mLinkConfig + mModule.mActiveLinkConfig, 77u + 77u);
  }
}

TEST_F(ParserTest, EntryStateAndRepliesThatParseNothing) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200, 1, 0);
  S->PortEnable = 9;
  UINTN Instance = 0;
  mModule.mConfigStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ(EFI_SUCCESS, ParseClpReply(S, &Instance, nullptr, 20, SHOW_PORT_EN));
  EXPECT_EQ(EFI_SUCCESS, mModule.mConfigStatus);
  EXPECT_EQ(0x10DFE200u, mModule.mPciVidDid);
  EXPECT_TRUE(mModule.mFirstFunctionOfPort);
  EXPECT_FALSE(mModule.mFirstFunctionOfAdapter);
  CHAR8 Dummy = 'x';
  EXPECT_EQ(EFI_SUCCESS, ParseClpReply(nullptr, &Instance, &Dummy, 1, SHOW_PORT_EN));
  EXPECT_EQ(9, S->PortEnable);
  Parse(S, "retdata=disabled", SET_PORT_EN); // not a show command
  Parse(S, "retdata=disabled", 200);
  EXPECT_EQ(9, S->PortEnable);
}

TEST_F(ParserTest, ReplyBoundsAndEmbeddedNuls) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  // A NUL inside the reply is an ordinary character for the searches.
  Parse(S, std::string("retdata=\0port disabled", 22), SHOW_PORT_EN);
  EXPECT_EQ(0, S->PortEnable);
  // The keyword is cut off by the reply's length.
  Parse(S, "retdata=disab", SHOW_PORT_EN);
  EXPECT_EQ(1, S->PortEnable);
  // However long the reply, it is searched to its end.
  Parse(S, "retdata=" + std::string(1100, ' ') + "disabled", SHOW_PORT_EN);
  EXPECT_EQ(0, S->PortEnable);
  // A prefix at the very end leaves an empty value.
  Parse(S, "xxretdata=", SHOW_PF_MAC);
  EXPECT_EQ("", Text(S->CurrentAddressText[0]));
}

TEST_F(ParserTest, ReplyWrittenIntoTheCommandBufferIsStillRead) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  const char Reply[] = "status=0 retdata=00112233AABB";
  std::memcpy(mModule.ClpCommandBuffer, Reply, sizeof(Reply) - 1);
  UINTN Instance = 0;
  ParseClpReply(S, &Instance, mModule.ClpCommandBuffer, sizeof(Reply) - 1, SHOW_PF_MAC);
  EXPECT_EQ("00112233AABB", Text(S->CurrentAddressText[0]));
}

// SHOW_PF_INFO key tables. Keys are searched from the value start, first occurrence wins (so
// "PfMAC=" is found inside "MFG_PfMAC="), and an absent key leaves its field alone.
TEST_F(ParserTest, PfInfoKeys) {
  const struct {
    FamilyId Family;
    std::string Lines; // after "retdata="
    std::string Expected;
    UINT16 PciAddress;
  } Cases[] = {
      {Emulex0710, "PortEn=disabled\r\nPfBootEnable=disabled\r\n",
       "PortEnable=0;PortEnableToApply=0;BootEnable=0;BootEnableToApply=0", 0},
      // Only the exact lower-case word disables.
      {Emulex0710, "PortEn=Disabled\r\nPfBootEnable=disabled \r\n", "PortEnable=1;BootEnableToApply=1", 0},
      {Emulex0710, "MFG_PfMAC=0000c9aabbcc\r\nPfMAC=0000c9112233\r\n",
       "Mac=0000c9aabbcc;MacBytes=0000C9AABBCC;MfgMac=0000c9aabbcc", 0},
      {Emulex0710, "PfMAC=0000c9112233\r\nMFG_PfMAC=0000c9aabbcc\r\n",
       "Mac=0000c9112233;MfgMacBytes=0000C9AABBCC", 0},
      {Emulex0710, "WWNN=20000000c9000002\r\nMFG_WWNN=20000000c9000001\r\nWWPN=10000000c9000003",
       "Wwnn=20000000c9000002;MfgWwnn=20000000c9000001;WwpnBytes=10000000C9000003", 0},
      // A run of 14 digits does not fit a MAC: the text takes 12, the bytes stay.
      {Emulex0710, "PfMAC=0000c9aabbccdd\r\n", "Mac=0000c9aabbcc;MacBytes=000000000000", 0},
      {Emulex0710, "PfBandwidth=32\r\nPfRateLimit=64\r\n", "MinBw=50;MaxBw=100", 0},
      {Emulex0710, "PfBandwidth=zz\r\n", "MinBw=7", 0},
      {Emulex0710, "PfVLANID=0x0064\r\n", "Vlan=100;TgtVlan=100", 0},
      {Emulex0710, "PfVLANID=0x0010", "Vlan=16", 0},
      {Emulex0710, "PfVLANID=0FFF\r\n", "Vlan=0;CurVlan=4095;TgtVlan=4095", 0},
      {Emulex0710, "PfCount=123\r\n", "CurPfCount=12;TgtPfCount=12;FunctionCount=12", 0},
      // The record's list has 16 slots; the discovered count keeps what the adapter said.
      {Emulex0710, "PfCount=99", "CurPfCount=99;FunctionCount=16", 0},
      {Emulex0710, "SRIOV=enabled\r\n", "Sriov=1", 0},
      {Emulex0710, "SRIOV=Enabled\r\n", "Sriov=0", 0},
      // The personality is taken only from PCI function 2.
      {Emulex0710, "PfType=iSCSI\r\n", "PfType=3;CurPers=9", 0},
      {Emulex0710, "PfType=FCoE", "PfType=2;CurPers=2;TgtPers=2", 0x0302},
      {Emulex0710, "FirmwareVersions=1.1,2.2 3.3\r\nPfCount=4", "Fw0=1.1;Fw2=3.3", 0},
      {Emulex0710, "InitiatorIscsiName=iqn.2001-05.com.example:host\r\nPfCount=2",
       "IniName=iqn.2001-05.com.example:host", 0},
      {Emulex0710, "InitiatorIscsiName=" + std::string(300, 'n'), "IniName=" + std::string(254, 'n'), 0},
      {Emulex0710, "Nothing=here", "MinBw=7;PortEnable=0;Fw0=", 0},
      {Emulex0720, "SRIOVState=Enabled\r\nUMCState=Enabled\r\n", "Sriov=1;CurUmc=1;TgtUmc=1", 0},
      {Emulex0720, "SRIOVState=enabled\r\nUMCState=ENABLED\r\n", "Sriov=0;CurUmc=0", 0},
      {Emulex0720, "MinBandwidth=25\r\nMaxBandwidth=300\r\n", "MinBw=25;MaxBw=44", 0},
      {Emulex0720, "MinBandwidth=abc\r\n", "MinBw=0", 0},
      {Emulex0720, "PfVLANID=4095\r\n", "Vlan=0;CurVlan=4095", 0},
      {Emulex0720, "MfgMAC=0000C9AABBCC\r\nMAC=0000C9112233", "Mac=0000C9AABBCC;MfgMac=0000C9AABBCC", 0},
      {Emulex0720, "MAC=0000C9112233\r\nMfgMAC=0000C9AABBCC", "Mac=0000C9112233;MfgMacBytes=0000C9AABBCC", 0},
      {Emulex0720, "FirmwareVersions=12.0.1,12.0.2,12.0.3\r\n", "Fw2=12.0.3", 0},
      // Families without a key table ignore the reply.
      {EmulexE200, "PortEn=disabled\r\nPortEnable=Disabled\r\nBootEnable=Disabled\r\nWWNN=2000",
       "Mac=;Wwnn=;BootEnableToApply=0", 0},
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Lines);
    ResetModuleState();
    SetFamily(Case.Family);
    FUNCTION_SETTINGS *S = NewRecord(Case.Family == Emulex0710 ? 0x19A2 : 0x10DF, 1);
    S->PciAddress = Case.PciAddress;
    S->MinBandwidth = S->MaxBandwidth = 7;
    mModule.mCurrentPersonality = 9;
    Parse(S, "retdata=" + Case.Lines, SHOW_PF_INFO);
    ExpectProbes(S, Case.Expected);
  }
}

TEST_F(ParserTest, Emulex0720EnableWordsNeverReEnableAPlatformZero) {
  mModule.mFamily.Emulex0720 = TRUE;
  struct Case {
    const char *Word;
    UINT8 ToApplyBefore, Reported, ToApplyAfter;
  } Cases[] = {{"Disabled", 1, 0, 0}, {"Enabled", 0, 1, 0}, {"Enabled", 1, 1, 1}, {"disabled", 1, 1, 1}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Word);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720);
    S->PortEnableToApply = S->BootEnableToApply = C.ToApplyBefore;
    Parse(S, std::string("retdata=PortEnable=") + C.Word + "\r\nBootEnable=" + C.Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Reported, S->PortEnable);
    EXPECT_EQ(C.ToApplyAfter, S->PortEnableToApply);
    EXPECT_EQ(C.Reported, S->BootEnable);
    EXPECT_EQ(C.ToApplyAfter, S->BootEnableToApply);
  }
}

TEST_F(ParserTest, Emulex0720PfTypeWords) {
  mModule.mFamily.Emulex0720 = TRUE;
  const std::pair<std::string, UINT32> Cases[] = {{"NIC", 0}, {"FCoE", 2},    {"iSCSI", 3},    {"RoCE", 6},
                                                  {"FC", 1},  {"Disable", 7}, {"Disabled", 5}, {"fc", 5}};
  for (const auto &[Word, Type] : Cases) {
    SCOPED_TRACE(Word);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720, 0, 3);
    Parse(S, "retdata=PfType=" + Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(Type, S->PfType);
    EXPECT_EQ(Type, mModule.mPfTypeTable[3]);
  }
  // No table entry for PF 16; UMC is read only on the adapter's first function.
  ResetModuleState();
  mModule.mFamily.Emulex0720 = TRUE;
  FUNCTION_SETTINGS *Far = NewRecord(0x10DF, 0x0720, 0, 16);
  Parse(Far, "retdata=PfType=FC\r\nUMCState=Enabled", SHOW_PF_INFO);
  EXPECT_EQ(1u, Far->PfType);
  EXPECT_EQ(0, mModule.mCurrentUmc);
  for (UINT32 Entry : mModule.mPfTypeTable) {
    EXPECT_EQ(0u, Entry);
  }
}

TEST_F(ParserTest, QLogic2261FirmwareGateForIov) {
  struct Case {
    bool Is2261;
    std::string Version;
    UINT8 Supported;
  } Cases[] = {{true, "6.07.02", 1}, {true, "6.6", 0},  {true, "5.9", 0},
               {true, "7.0", 1},     {false, "7.0", 0}, {true, std::string(31, '.'), 0}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Version);
    mModule.mFamily = {};
    mModule.mFamily.QLogic2031 = TRUE;
    mModule.mFamily.QLogic2261 = C.Is2261;
    FUNCTION_SETTINGS *S = NewRecord(0x1077, C.Is2261 ? 0x2261 : 0x2031);
    const std::string Prefix = C.Is2261 ? "retdata=\r\n" : "retdata=";
    Parse(S, Prefix + "FirmwareVersions=1.0,2.0,3.0," + C.Version + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Version, Text(S->FirmwareVersion[3]));
    EXPECT_EQ(C.Supported, mModule.mFcIovSupported);
  }
  // A reply without versions counts as firmware without support.
  mModule.mFcIovSupported = 1;
  Parse(NewRecord(0x1077, 0x2261), "retdata=\r\nBootEnable=Enabled", SHOW_PF_INFO);
  EXPECT_EQ(0, mModule.mFcIovSupported);
}

class QLogic8070Test : public ParserTest {
protected:
  void SetUp() override {
    ParserTest::SetUp();
    mModule.mFamily.QLogic8070 = TRUE;
  }
};

TEST_F(QLogic8070Test, PfTypeFromQuotedWordNearTheValueStart) {
  const std::pair<std::string, UINT32> Cases[] = {
      {"\"Ethernet\"", 0}, {" \"Ethernet\"", 5}, {"    \"FCoE\"", 2}, {"     \"FCoE\"", 5},
      {"\"iSCSI\"", 3},    {"\"Disabled\"", 7},  {"\"Disable\"", 7},  {"\"FC\"", 5},
  };
  for (const auto &[Value, Type] : Cases) {
    SCOPED_TRACE(Value);
    mModule.mPfTypeCount = 0;
    FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
    Parse(S, "data=" + Value, SHOW_PF_TYPE);
    EXPECT_EQ(Type, S->PfType);
    EXPECT_EQ(Type, mModule.mPfTypeTable[0]);
    EXPECT_EQ(1, mModule.mPfTypeCount);
  }
}

TEST_F(QLogic8070Test, PfTypeTableStopsAtSixteen) {
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
  for (int Reply = 0; Reply < 20; Reply++) {
    Parse(S, "data=\"Disabled\"", SHOW_PF_TYPE);
  }
  EXPECT_EQ(16, mModule.mPfTypeCount);
  EXPECT_EQ(7u, mModule.mPfTypeTable[15]);
  EXPECT_EQ(7u, S->PfType);
}

struct ListCase {
  std::string Value;
  UINT8 Pfs;
  std::vector<UINT8> Expected; // 99: kept
};

TEST_F(QLogic8070Test, BandwidthListOneNumberPerPf) {
  const ListCase Cases[] = {
      {"\"25,25,50,0\"", 4, {25, 25, 50, 0}},
      // The closing quote separates like a comma: the third PF reads what follows it.
      {"\"10,20\"7,", 3, {10, 20, 7}},
      {"\"10,20\"", 3, {10, 20, 99}},
      // No closing quote: the list ends with the reply.
      {"\"10,20", 3, {10, 99, 99}},
      {"25,25", 2, {99, 99}},
      // Longer elements keep their first three characters and stay with their own PF.
      {"\"1000,20,abc\"", 3, {100, 20, 0}},
  };
  for (const ListCase &Case : Cases) {
    SCOPED_TRACE(Case.Value);
    FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, Case.Pfs);
    for (UINT8 Pf = 0; Pf < Case.Pfs; Pf++) {
      Pf0->Functions[Pf]->MinBandwidth = Pf0->Functions[Pf]->MaxBandwidth = 99;
    }
    Parse(Pf0, "data=" + Case.Value, SHOW_PF_BANDWIDTH);
    Parse(Pf0, "data=" + Case.Value, SHOW_PF_RATE_LIMIT);
    for (UINT8 Pf = 0; Pf < Case.Pfs; Pf++) {
      EXPECT_EQ(Case.Expected[Pf], Pf0->Functions[Pf]->MinBandwidth) << "PF " << int(Pf);
      EXPECT_EQ(Case.Expected[Pf], Pf0->Functions[Pf]->MaxBandwidth) << "PF " << int(Pf);
    }
  }
}

TEST_F(QLogic8070Test, BandwidthListStopsAtTheListEndAndOnlyRunsOnTheFirstPf) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 3);
  FUNCTION_SETTINGS *Pf2 = Pf0->Functions[2];
  Pf0->FunctionCount = 40; // more than the list holds
  Parse(Pf0, "data=\"30,40,50\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(30, Pf0->MinBandwidth);
  EXPECT_EQ(50, Pf2->MinBandwidth);
  Parse(Pf2, "data=\"1,1,1\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(50, Pf2->MinBandwidth);
}

TEST_F(QLogic8070Test, PxeVlanIdQuotedOneToFourDigits) {
  const std::pair<std::string, UINT16> Cases[] = {{"\"100\"", 100},  {"\"4095\"", 4095}, {"\"\"", 0},
                                                  {"\"12345\"", 77}, {"100", 77},        {"\"12", 77}};
  for (const auto &[Value, VlanId] : Cases) {
    SCOPED_TRACE(Value);
    FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 2);
    Pf0->VlanId = Pf0->Functions[1]->VlanId = 77;
    Parse(Pf0, "data=" + Value, SHOW_PXE_VLANID);
    EXPECT_EQ(VlanId, Pf0->VlanId);
    EXPECT_EQ(VlanId, Pf0->Functions[1]->VlanId);
  }
  // Only the 8070 and 1644 devices have the PXE VLAN commands.
  FUNCTION_SETTINGS *Other = NewAdapter(0x1077, 0x1656, 1, 1);
  Other->VlanId = 77;
  Parse(Other, "data=\"100\"", SHOW_PXE_VLANID);
  EXPECT_EQ(77, Other->VlanId);
  FUNCTION_SETTINGS *Ql1644 = NewAdapter(0x1077, 0x1644, 1, 1);
  Parse(Ql1644, "data=\"100\"", SHOW_PXE_VLANID);
  EXPECT_EQ(100, Ql1644->VlanId);
}

TEST_F(QLogic8070Test, PxeVlanStateClearsVlanIdsWhenDisabled) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 2);
  Pf0->VlanId = Pf0->Functions[1]->VlanId = 10;
  Parse(Pf0, "data=\"Enabled\"", SHOW_PXE_VLAN);
  EXPECT_EQ(1, GetPxeVlanEnabled());
  EXPECT_EQ(10, Pf0->Functions[1]->VlanId);
  Parse(Pf0, "data=\"Disabled\"", SHOW_PXE_VLAN);
  EXPECT_EQ(0, GetPxeVlanEnabled());
  EXPECT_EQ(0, Pf0->VlanId);
  EXPECT_EQ(0, Pf0->Functions[1]->VlanId);
}

TEST_F(QLogic8070Test, NothingWithoutTheFamilyFlag) {
  mModule.mFamily.QLogic8070 = FALSE;
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 1);
  Pf0->PfType = 9;
  mModule.mCurrentUmc = 9;
  Parse(Pf0, "data=\"Ethernet\"", SHOW_PF_TYPE);
  Parse(Pf0, "data=\"NPAR\"", SHOW_UMC);
  Parse(Pf0, "data=\"50\"", SHOW_PF_BANDWIDTH);
  Parse(Pf0, "data=\"100\"", SHOW_PXE_VLANID);
  EXPECT_EQ(9u, Pf0->PfType);
  EXPECT_EQ(9, mModule.mCurrentUmc);
  EXPECT_EQ(0, Pf0->MinBandwidth);
  EXPECT_EQ(0, Pf0->VlanId);
}

} // namespace
