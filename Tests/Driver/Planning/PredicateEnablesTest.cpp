// Port and boot enable, address defaults, port defaults, PXE VLAN show, unknown codes and the
// command-list bound.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

using PredicateEnablesTest = PredicateTest;

struct PortEnableCase {
  const char *Name;
  UINT8 PortTableValid;
  UINT8 DesiredPortEnable;
  UINT8 Reported;
  bool Emulex0700;
  BOOLEAN QueryPortDefaults;
  UINT8 Force;
  UINT32 IscsiWord;
  bool ExpectAppend;
  UINT8 ExpectRecord;
};

const PortEnableCase kPortEnableCases[] = {
    {"TableEnablesDisabledPort", 1, 1, 0, false, FALSE, 0, 0, true, 1},
    {"TableAgrees", 1, 1, 1, false, FALSE, 0, 0, false, 1},
    {"TableDisablesPort", 1, 0, 1, false, FALSE, 0, 0, true, 0},
    {"Emulex0700AlwaysSets", 1, 1, 1, true, FALSE, 0, 0, true, 1},
    {"NoTablePortDefaultsEnable", 0, 0, 0, false, TRUE, 0, 0, true, 1},
    {"NoTableNoDefaults", 0, 0, 0, false, FALSE, 0, 0, false, 0},
    {"NoTableEnabledPortNotAsked", 0, 0, 1, false, TRUE, 0, 0, false, 1},
    {"NoTableDefaultsEmulex0700", 0, 0, 0, true, TRUE, 0, 0, true, 1},
    {"ForcedEnable", 1, 0, 0, false, FALSE, 1, 0, true, 1},
    {"ForcedEnableNeedsZeroIscsiWord", 1, 0, 0, false, FALSE, 1, 5, false, 0},
};

TEST_F(PredicateEnablesTest, PortEnableDecisions) {
  for (const PortEnableCase &Case : kPortEnableCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    mModule.mNaloHeader.PortTableValid = Case.PortTableValid;
    mModule.mNaloPortTable.DesiredPortEnable = Case.DesiredPortEnable;
    S->PortEnable = Case.Reported;
    S->PortEnableToApply = Case.Reported;
    mModule.mFamily.Emulex0700 = Case.Emulex0700;
    PlatformState.QueryAnswer[0] = Case.QueryPortDefaults;
    ForceAdapterEnable(Case.Force);
    S->IscsiWord = Case.IscsiWord;

    EXPECT_EQ(Plan(SET_PORT_EN), Case.ExpectAppend ? TRUE : FALSE);
    EXPECT_EQ(Planned(), Case.ExpectAppend ? Codes{SET_PORT_EN} : Codes{});
    EXPECT_EQ(S->PortEnable, Case.ExpectRecord);
    EXPECT_EQ(S->PortEnableToApply, Case.ExpectRecord);
    EXPECT_EQ((S->ProgressFlags & PROGRESS_FLAG_PORT_ENABLE_PLANNED) != 0, Case.PortTableValid == 1);
    if (Case.Reported != 0) {
      EXPECT_EQ(PlatformState.QueryCalls[0], 0);
    }
    TearDown();
  }
}

TEST_F(PredicateEnablesTest, LaterFunctionsInheritThePortDecisionWithoutACommand) {
  mModule.mNaloHeader.PortTableValid = 1;
  mModule.mNaloPortTable.DesiredPortEnable = 1;
  S->PortEnable = 0;
  ASSERT_TRUE(Plan(SET_PORT_EN));

  FUNCTION_SETTINGS *Second = Records[1].get();
  mModule.mFirstFunctionOfPort = FALSE;
  EXPECT_FALSE(PlanCommand(Second, SET_PORT_EN, &Count));
  EXPECT_EQ(Planned(), Codes{SET_PORT_EN});
  EXPECT_EQ(Second->PortEnable, 1);
  EXPECT_EQ(Second->PortEnableToApply, 1);
  EXPECT_NE(Second->ProgressFlags & PROGRESS_FLAG_PORT_ENABLE_PLANNED, 0);
}

struct BootEnableCase {
  const char *Name;
  UINT8 BootTableValid;
  UINT8 EntryEnabled;
  UINT8 Reported;
  bool Emulex0700;
  UINT8 Force;
  UINT32 IscsiWord;
  UINT32 PfType;
  bool ExpectAppend;
  UINT8 ExpectRecord;
};

const BootEnableCase kBootEnableCases[] = {
    {"TableEnables", 1, 1, 0, false, 0, 0, PF_TYPE_NIC, true, 1},
    {"TableAgrees", 1, 1, 1, false, 0, 0, PF_TYPE_NIC, false, 1},
    {"TableDisables", 1, 0, 1, false, 0, 0, PF_TYPE_NIC, true, 0},
    {"Emulex0700AlwaysSets", 1, 1, 1, true, 0, 0, PF_TYPE_NIC, true, 1},
    {"NoTableKeepsReported", 0, 1, 0, false, 0, 0, PF_TYPE_NIC, false, 0},
    {"ForcedOnNic", 0, 0, 0, false, 1, 0, PF_TYPE_NIC, true, 1},
    {"ForcedOnRoce", 0, 0, 0, false, 1, 0, PF_TYPE_ROCE, true, 1},
    {"NotForcedOnFc", 0, 0, 0, false, 1, 0, PF_TYPE_FC, false, 0},
    {"NotForcedWithIscsiWord", 0, 0, 0, false, 1, 1, PF_TYPE_NIC, false, 0},
};

TEST_F(PredicateEnablesTest, BootEnableDecisions) {
  for (const BootEnableCase &Case : kBootEnableCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    mModule.mNaloHeader.BootTableValid = Case.BootTableValid;
    mModule.mNaloBootTable[0].Enabled = Case.EntryEnabled;
    S->BootEnable = Case.Reported;
    S->BootEnableToApply = Case.Reported;
    mModule.mFamily.Emulex0700 = Case.Emulex0700;
    ForceAdapterEnable(Case.Force);
    S->IscsiWord = Case.IscsiWord;
    S->PfType = Case.PfType;

    EXPECT_EQ(Plan(SET_BOOT_EN), Case.ExpectAppend ? TRUE : FALSE);
    EXPECT_EQ(Planned(), Case.ExpectAppend ? Codes{SET_BOOT_EN} : Codes{});
    EXPECT_EQ(S->BootEnable, Case.ExpectRecord);
    EXPECT_EQ(S->BootEnableToApply, Case.ExpectRecord);
    TearDown();
  }
}

TEST_F(PredicateEnablesTest, QLogic1656BootEnableFollowsFirstEntryAndGoesToPlannedFunctions) {
  SetDevice(0x1077, 0x1656);
  mModule.mNaloHeader.BootTableValid = 1;
  mModule.mNaloBootTable[0].Enabled = 1;
  SelectNaloEntries(3); // the function's own entry is disabled; entry 0 decides
  for (UINTN Index = 0; Index < 9; Index++) {
    mModule.mCommandSettings[Index] = Records[Index + 1].get();
  }
  mModule.mCommandSettings[2] = nullptr;
  mModule.mCommandSettings[5] = nullptr;

  EXPECT_TRUE(Plan(SET_BOOT_EN));
  EXPECT_EQ(Planned(), Codes{SET_BOOT_EN});
  for (UINTN Index : {1, 3, 4, 6, 7}) {
    EXPECT_EQ(mModule.mCommandSettings[Index]->BootEnable, 1) << Index;
    EXPECT_EQ(mModule.mCommandSettings[Index]->BootEnableToApply, 1) << Index;
  }
  EXPECT_EQ(Records[1]->BootEnable, 0); // mCommandSettings[0]
  EXPECT_EQ(Records[9]->BootEnable, 0); // mCommandSettings[8]
  EXPECT_EQ(S->BootEnable, 0);
}

class AddressDefaultsTest : public PredicateTest {
protected:
  void SetUp() override {
    PredicateTest::SetUp();
    SetText(S->MfgAddressText[0], "001B210AFF3C");
    SetText(S->CurrentAddressText[0], "020000000001");
    const UINT8 Mfg[8] = {0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C, 0, 0};
    std::memcpy(S->MfgAddress[0], Mfg, 8);
    std::memset(S->CurrentAddress[0], 0xEE, 8);
    PlatformState.QueryAnswer[1] = TRUE;
  }
};

TEST_F(AddressDefaultsTest, AddressDefaultsCopyManufacturerValuesAndPlanOncePerPort) {
  EXPECT_TRUE(Plan(SET_ADDR_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3C");
  EXPECT_EQ(std::memcmp(S->CurrentAddress[0], S->MfgAddress[0], 8), 0);
  EXPECT_TRUE(mModule.mAddrDefaultsPlanned);

  FUNCTION_SETTINGS *Second = Records[1].get();
  SetText(Second->MfgAddressText[1], "ABCDEF");
  EXPECT_FALSE(PlanCommand(Second, SET_ADDR_DEFAULTS, &Count));
  EXPECT_EQ(Text(Second->CurrentAddressText[1]), "ABCDEF");
  EXPECT_EQ(Planned(), Codes{SET_ADDR_DEFAULTS});
}

TEST_F(AddressDefaultsTest, AddressDefaultsNeedADifferenceAndAreDecidedOncePerPort) {
  SetText(S->CurrentAddressText[0], "001B210AFF3C");
  EXPECT_FALSE(Plan(SET_ADDR_DEFAULTS));
  // The port's decision is made: a later function that differs does not ask again.
  EXPECT_TRUE(mModule.mAddrDefaultsPlanned);
  SetText(S->CurrentAddressText[0], "020000000001");
  EXPECT_FALSE(Plan(SET_ADDR_DEFAULTS));
}

TEST_F(AddressDefaultsTest, AddressTableWithoutVirtualAddressAlsoAsksForDefaults) {
  PlatformState.QueryAnswer[1] = FALSE;
  mModule.mNaloHeader.AddressTableValid = 1;
  mModule.mNaloAddressTable[0].Enabled = 0;
  EXPECT_TRUE(Plan(SET_ADDR_DEFAULTS));

  SetUp();
  PlatformState.QueryAnswer[1] = FALSE;
  mModule.mNaloHeader.AddressTableValid = 1;
  mModule.mNaloAddressTable[0].Enabled = 1;
  EXPECT_FALSE(Plan(SET_ADDR_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "020000000001");
}

TEST_F(AddressDefaultsTest, DefaultNamesAreAppendedEvenWhenAlreadyEqual) {
  SetText(S->CurrentAddressText[0], "001B210AFF3C");
  EXPECT_TRUE(Plan(SET_DEFAULT_WWNN));
  EXPECT_TRUE(Plan(SET_DEFAULT_WWPN));
  EXPECT_EQ(Planned(), (Codes{SET_DEFAULT_WWNN, SET_DEFAULT_WWPN}));
}

TEST_F(AddressDefaultsTest, MissingProtocolStoresItsStatus) {
  PlatformState.NaloPresent = false;
  for (UINT32 Code : {SET_ADDR_DEFAULTS, SET_DEFAULT_WWNN, SET_PORT_DEFAULTS}) {
    mModule.mConfigStatus = EFI_SUCCESS;
    EXPECT_FALSE(Plan(Code));
    EXPECT_EQ(mModule.mConfigStatus, EFI_NOT_FOUND);
  }
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "020000000001");
}

TEST_F(AddressDefaultsTest, PortDefaultsByFamily) {
  mModule.mFamily.QLogic2031 = TRUE;
  mModule.mFamily.QLogic2261 = TRUE;
  EXPECT_TRUE(Plan(SET_PORT_DEFAULTS));

  SetUp();
  mModule.mFamily.Mellanox1013 = TRUE;
  PlatformState.QueryAnswer[0] = FALSE;
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
  PlatformState.QueryAnswer[0] = TRUE;
  EXPECT_TRUE(Plan(SET_PORT_DEFAULTS));
  EXPECT_EQ(PlatformState.QueryCalls[1], 0);

  SetUp();
  mModule.mFamily.Emulex0720 = TRUE;
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
}

TEST_F(AddressDefaultsTest, QLogic8070PortDefaultsRestoreThePermanentMac) {
  mModule.mFamily.QLogic8070 = TRUE;
  SetDevice(0x1077, 0x8070);
  EXPECT_TRUE(Plan(SET_PORT_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3C");
  EXPECT_EQ(std::memcmp(S->CurrentAddress[0], S->MfgAddress[0], 7), 0);
  // Already permanent: nothing to restore, nothing planned.
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));

  SetUp();
  mModule.mFamily.QLogic8070 = TRUE;
  SetDevice(0x1077, 0x1656);
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "020000000001");
  EXPECT_FALSE(RestoreMacFromPermanent(nullptr));
  mModule.mFamily.QLogic8070 = FALSE;
  EXPECT_FALSE(RestoreMacFromPermanent(S));
}

TEST_F(PredicateEnablesTest, PxeVlanShowOnlyWhileEnabled) {
  EXPECT_FALSE(Plan(SHOW_PXE_VLANID));
  mModule.mPxeVlanEnabled = 1;
  EXPECT_TRUE(Plan(SHOW_PXE_VLANID));
  EXPECT_EQ(Planned(), Codes{SHOW_PXE_VLANID});
}

TEST_F(PredicateEnablesTest, UnknownCodesAppendNothing) {
  SetDevice(0x10DF, 0xE200);
  for (UINT32 Code :
       {0u, 1u, 2u, 5u, 7u, 9u, 12u, 44u, 46u, 52u, 54u, 55u, 56u, 65u, 67u, 70u, 71u, 255u, 4096u}) {
    mModule.mConfigStatus = EFI_SUCCESS;
    mModule.mPciVidDid = 0;
    EXPECT_FALSE(Plan(Code)) << Code;
    EXPECT_EQ(mModule.mConfigStatus, EFI_NOT_FOUND) << Code;
    EXPECT_EQ(mModule.mPciVidDid, 0x10DFE200u) << Code;
  }
  EXPECT_EQ(Count, 0u);
}

TEST_F(PredicateEnablesTest, AppendKeepsRoomForExitAndEnd) {
  Count = kLastAppendIndex;
  EXPECT_TRUE(AppendCommand(SET_UMC, &Count));
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  EXPECT_FALSE(AppendCommand(SET_UMC, &Count));
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  Count = COMMAND_LIST_ENTRIES + 10;
  EXPECT_FALSE(AppendCommand(SET_UMC, &Count));
  EXPECT_EQ(mModule.CommandList[253], 0);
  EXPECT_EQ(mModule.CommandList[254], 0);
  EXPECT_FALSE(AppendCommand(SET_UMC, nullptr));
}

TEST_F(PredicateEnablesTest, RepeatedPlanningStopsAtTheListBound) {
  mModule.mPxeVlanEnabled = 1;
  for (int Call = 0; Call < 300; Call++) {
    Plan(SHOW_PXE_VLANID);
  }
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  EXPECT_EQ(mModule.CommandList[252], SHOW_PXE_VLANID);
  EXPECT_EQ(mModule.CommandList[253], 0);
  EXPECT_EQ(mModule.CommandList[254], 0);
  EXPECT_FALSE(Plan(SHOW_PXE_VLANID));
}

} // namespace
} // namespace predicate_test
