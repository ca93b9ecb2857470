// Reply dispatch: value prefixes, the small parse steps, and the bounds of the reply.
#include "ParserTestSupport.h"

namespace {

enum FamilyId {
  None,
  QLogic2031,
  QLogic2261,
  QLogic8070,
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
  F.Emulex0720 = Family == Emulex0720;
  F.EmulexE200 = Family == EmulexE200;
  F.Emulex0700 = Family == Emulex0700;
  F.Mellanox1013 = Family == Mellanox1013;
  F.Mellanox1017 = Family == Mellanox1017;
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

TEST_F(ParserTest, BootEnableByFamily) {
  struct Case {
    UINT16 Vendor;
    FamilyId Family;
    std::string Reply;
    UINT8 Expected;
  } Cases[] = {
      {0x1077, QLogic2261, "retdata=\r\nDisabled", 0}, {0x1077, QLogic2261, "retdata=\r\nEnabled", 1},
      {0x1077, QLogic2031, "retdata=Disabled", 9},     {0x10DF, EmulexE200, "retdata=disabled", 0},
      {0x15B3, Mellanox1013, "data=Disabled", 1},      {0x8086, None, "disabled", 9},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Reply);
    SetFamily(C.Family);
    FUNCTION_SETTINGS *S = NewRecord(C.Vendor, 1);
    S->BootEnable = S->BootEnableToApply = 9;
    Parse(S, C.Reply, SHOW_BOOT_EN);
    EXPECT_EQ(C.Expected, S->BootEnable);
    EXPECT_EQ(C.Expected, S->BootEnableToApply);
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

TEST_F(ParserTest, QLogic8070ColonMac) {
  SetFamily(QLogic8070);
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
  Parse(S, "data=\"00:0e:1e:aa:bb:cc\"", SHOW_PF_MFG_MAC);
  EXPECT_EQ("000E1EAABBCC", Text(S->MfgAddressText[0]));
  EXPECT_EQ((std::vector<UINT8>{0x00, 0x0E, 0x1E, 0xAA, 0xBB, 0xCC}), Bytes(S->MfgAddress[0], 6));

  // An all-zero current MAC means the adapter runs on its manufacturer MAC.
  Parse(S, "data=\"00:00:00:00:00:00\"", SHOW_PF_MAC);
  EXPECT_EQ("000E1EAABBCC", Text(S->CurrentAddressText[0]));
  EXPECT_EQ((std::vector<UINT8>{0x00, 0x0E, 0x1E, 0xAA, 0xBB, 0xCC}), Bytes(S->CurrentAddress[0], 6));

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
      {0x15B3, Mellanox1013, "data=19", "25 Gb/s", 0x4019},
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

TEST_F(ParserTest, LinkConfigOnlyForEmulex0720) {
  struct Case {
    FamilyId Family;
    UINT16 Subsystem;
    std::string Reply;
    UINT32 Expected;
  } Cases[] = {
      {Emulex0720, 0xE868, "retdata=ELX_4x10G", 3}, {Emulex0720, 0xE868, "retdata=ELX_4x1G", 2},
      {Emulex0720, 0xE800, "retdata=ELX_4x1G", 1},  {Emulex0720, 0xE800, "retdata=ELX_2x10G", 0},
      {EmulexE200, 0xE800, "retdata=ELX_4x1G", 77},
  };
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Reply);
    SetFamily(C.Family);
    mModule.mLinkConfig = mModule.mActiveLinkConfig = 77;
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720);
    S->SubsystemId = C.Subsystem;
    Parse(S, C.Reply, SHOW_LINK_CONFIG);
    EXPECT_EQ(C.Expected, mModule.mLinkConfig);
    EXPECT_EQ(C.Expected, mModule.mActiveLinkConfig);
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

TEST_F(ParserTest, FirmwareVersionsByVendor) {
  FUNCTION_SETTINGS *S = NewRecord(0x19A2, 0x0700);
  Parse(S, "retdata=1.2.3,4.5.6 7.8", SHOW_VERSION);
  EXPECT_EQ("1.2.3", Text(S->FirmwareVersion[0]));
  EXPECT_EQ("4.5.6", Text(S->FirmwareVersion[1]));
  EXPECT_EQ("7.8", Text(S->FirmwareVersion[2]));

  FUNCTION_SETTINGS *Second = NewRecord(0x19A2, 0x0700, 0, 1);
  Parse(Second, "retdata=9.9", SHOW_VERSION); // only the adapter's first function reads them
  EXPECT_EQ("", Text(Second->FirmwareVersion[0]));

  FUNCTION_SETTINGS *E200 = NewRecord(0x10DF, 0xE200);
  std::strcpy(reinterpret_cast<char *>(E200->FirmwareVersion[1]), "keep");
  Parse(E200, "retdata=11.2.3,9", SHOW_VERSION);
  EXPECT_EQ("11.2.3", Text(E200->FirmwareVersion[0]));
  EXPECT_EQ("keep", Text(E200->FirmwareVersion[1]));

  SetFamily(Mellanox1013);
  FUNCTION_SETTINGS *Mlx = NewAdapter(0x15B3, 0x1013, 2, 1);
  Parse(Mlx, "data=14.20.1010,3.5", SHOW_VERSION);
  EXPECT_EQ("3.5", Text(Mlx->Ports[1]->FirmwareVersion[1]));
  Parse(Mlx, "14.99", SHOW_VERSION); // Mellanox needs the prefix
  EXPECT_EQ("14.20.1010", Text(Mlx->Ports[0]->FirmwareVersion[0]));
}

TEST_F(ParserTest, SriovSpreadsOverPortsFromTheFirstFunction) {
  SetFamily(Mellanox1013);
  FUNCTION_SETTINGS *Mlx = NewAdapter(0x15B3, 0x1013, 2, 1);
  Parse(Mlx, "data=enabled", SHOW_SRIOV);
  EXPECT_EQ(1, Mlx->Ports[0]->SriovEnabled);
  EXPECT_EQ(1, Mlx->Ports[1]->SriovEnabled);
  Parse(Mlx->Ports[1], "data=disabled", SHOW_SRIOV);
  EXPECT_EQ(1, Mlx->Ports[1]->SriovEnabled);
  Parse(Mlx, "data=Enabled", SHOW_SRIOV);
  EXPECT_EQ(0, Mlx->Ports[1]->SriovEnabled);

  SetFamily(QLogic8070);
  FUNCTION_SETTINGS *Ql = NewAdapter(0x1077, 0x8070, 2, 2);
  Parse(Ql, "data=\"Enabled\"", SHOW_SRIOV);
  EXPECT_EQ(1, Ql->Ports[1]->Functions[1]->SriovEnabled);
  Parse(Ql, "data=\"Disabled\"", SHOW_SRIOV);
  EXPECT_EQ(0, Ql->Ports[1]->Functions[1]->SriovEnabled);
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
  EXPECT_EQ(EFI_SUCCESS, ParseClpReply(S, &Instance, &Dummy, 0, SHOW_PORT_EN));
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
  // Values beyond the kept 1023 characters are not seen.
  Parse(S, "retdata=" + std::string(1100, ' ') + "disabled", SHOW_PORT_EN);
  EXPECT_EQ(1, S->PortEnable);
  Parse(S, "retdata=" + std::string(1000, ' ') + "disabled", SHOW_PORT_EN);
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

} // namespace
