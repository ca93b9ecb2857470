// Link configuration, function count and types, partitioning and SR-IOV.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

class PredicateLayoutTest : public PredicateTest {
protected:
  void SetUp() override {
    PredicateTest::SetUp();
    mModule.mNaloHeader.PortTableValid = 1;
  }
  static void EnableFunction(UINTN Index, UINT8 Type) {
    mModule.mNaloPortTable.Function[Index].Enabled = 1;
    mModule.mNaloPortTable.Function[Index].FunctionType = Type;
  }
};

TEST_F(PredicateLayoutTest, ModeFollowsTheActiveLinkConfiguration) {
  mModule.mLinkConfig = 1;
  mModule.mActiveLinkConfig = 1;
  EXPECT_FALSE(Plan(SET_MODE));
  mModule.mLinkConfig = 0;
  mModule.mActiveLinkConfig = 2;
  EXPECT_TRUE(Plan(SET_MODE));
  EXPECT_EQ(Planned(), Codes{SET_MODE});
}

struct PfCountCase {
  UINT32 ActiveLinkConfig;
  UINT8 Valid;
  UINT8 Wish;
  UINT8 Current;
  bool ExpectAppend;
  UINT8 ExpectRecord;
};

const PfCountCase kPfCountCases[] = {
    {0, 1, 3, 1, true, 2},  {0, 1, 3, 2, false, 9}, {0, 1, 4, 2, true, 4},  {0, 1, 5, 1, false, 9},
    {0, 1, 0, 1, false, 9}, {2, 1, 2, 1, false, 9}, {0, 0, 2, 1, false, 9},
};

TEST_F(PredicateLayoutTest, FunctionCountWish) {
  for (const PfCountCase &Case : kPfCountCases) {
    SCOPED_TRACE(testing::Message() << "wish " << int(Case.Wish) << " current " << int(Case.Current));
    SetUp();
    mModule.mActiveLinkConfig = Case.ActiveLinkConfig;
    mModule.mNaloHeader.PortTableValid = Case.Valid;
    mModule.mNaloPortTable.DesiredFunctionCount = Case.Wish;
    mModule.mCurrentPfCount = Case.Current;
    S->FunctionCount = 9;
    EXPECT_EQ(Plan(SET_PFCOUNT), Case.ExpectAppend ? TRUE : FALSE);
    EXPECT_EQ(S->FunctionCount, Case.ExpectRecord);
  }
}

TEST_F(PredicateLayoutTest, SecondFunctionPersonality) {
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_FCOE);
  EXPECT_TRUE(Plan(SET_PF1_TYPE));
  EXPECT_EQ(mModule.mTargetPersonality, PF_TYPE_FCOE);
  mModule.mCurrentPersonality = PF_TYPE_FCOE;
  EXPECT_FALSE(Plan(SET_PF1_TYPE));
  mModule.mCurrentPersonality = 0;
  mModule.mNaloPortTable.DesiredFunctionCount = 1;
  EXPECT_FALSE(Plan(SET_PF1_TYPE));
}

TEST_F(PredicateLayoutTest, TypeLoopLengthFollowsTheLayout) {
  const struct {
    UINT32 Layout;
    UINTN Examined;
  } Cases[] = {{2, 16}, {3, 4}, {0, 8}};
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Layout);
    SetUp();
    mModule.mActiveLinkConfig = Case.Layout;
    // Every function is a NIC today and nothing is wished: every examined one is disabled.
    Plan(SET_PF2_TYPE);
    EXPECT_EQ(Count, Case.Examined - 1);
    for (UINTN K = 0; K + 1 < Case.Examined; K++) {
      EXPECT_EQ(mModule.mPfTypePfNumber[K], K + 1);
      EXPECT_EQ(mModule.mPfTypeTable[K], (UINT32)PF_TYPE_DISABLED);
    }
  }
  SetUp();
  mModule.mActiveLinkConfig = 1;
  EXPECT_FALSE(Plan(SET_PF2_TYPE));
}

TEST_F(PredicateLayoutTest, TypeQueueHoldsTheChangesInOrder) {
  const UINT32 Current[8] = {0, 7, 7, 2, 7, 7, 7, 7};
  std::memcpy(mModule.mPfTypeTable, Current, sizeof(Current));
  mModule.mNaloPortTable.DesiredFunctionCount = 4;
  EnableFunction(1, PF_TYPE_FC);
  EnableFunction(2, PF_TYPE_NIC); // a further NIC without partitioning stays disabled
  EXPECT_TRUE(Plan(SET_PF2_TYPE));
  EXPECT_EQ(Planned(), (Codes{SET_PF2_TYPE, SET_PF2_TYPE}));
  EXPECT_EQ(mModule.mPfTypeTable[0], (UINT32)PF_TYPE_FC);
  EXPECT_EQ(mModule.mPfTypePfNumber[0], 1u);
  EXPECT_EQ(mModule.mPfTypeTable[1], (UINT32)PF_TYPE_DISABLED);
  EXPECT_EQ(mModule.mPfTypePfNumber[1], 3u);
  EXPECT_EQ(mModule.mPfTypePfNumber[2], 1u); // load value: nothing queued there
}

TEST_F(PredicateLayoutTest, RoceModeTypesFunctionZeroAndDisablesTheRest) {
  mModule.mRoceMode = 1;
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_NIC);
  const UINT32 Current[8] = {0, 0, 7, 7, 7, 7, 7, 7};
  std::memcpy(mModule.mPfTypeTable, Current, sizeof(Current));
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(Count, 2u);
  EXPECT_EQ(mModule.mPfTypeTable[0], (UINT32)PF_TYPE_ROCE);
  EXPECT_EQ(mModule.mPfTypePfNumber[0], 0u);
  EXPECT_EQ(mModule.mPfTypeTable[1], (UINT32)PF_TYPE_DISABLED);
  EXPECT_EQ(mModule.mPfTypePfNumber[1], 1u);
}

TEST_F(PredicateLayoutTest, LeftoverRoceTypeIsNoticedAndPartitioningTypesNewFunctions) {
  const UINT32 Current[8] = {6, 7, 7, 7, 7, 7, 7, 7};
  std::memcpy(mModule.mPfTypeTable, Current, sizeof(Current));
  mModule.mCurrentUmc = 0;
  mModule.mTargetUmc = 1;
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_NIC);
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(mModule.mRoceTypeFound, 1);
  // Function 0 back to NIC, function 1 (disabled, counted unknown) typed NIC, 2..7 typed disabled.
  EXPECT_EQ(Count, 8u);
  EXPECT_EQ(mModule.mPfTypeTable[1], (UINT32)PF_TYPE_NIC);
  EXPECT_EQ(mModule.mPfTypePfNumber[1], 1u);
}

TEST_F(PredicateLayoutTest, TypeQueueStopsWithTheList) {
  mModule.mActiveLinkConfig = 2;
  Count = 250;
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  EXPECT_EQ(mModule.mPfTypePfNumber[2], 3u);
  EXPECT_EQ(mModule.mPfTypeTable[3], 0u); // not queued: the command was not planned
  EXPECT_EQ(mModule.CommandList[253], 0);
}

TEST_F(PredicateLayoutTest, PartitioningForAFurtherNicFunction) {
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_NIC);
  S->SriovEnabled = 1;
  S->PfType = PF_TYPE_NIC;
  EXPECT_TRUE(Plan(SET_UMC));
  EXPECT_EQ(Planned(), (Codes{SET_SRIOV_FOR_CONTROLLER, SET_UMC}));
  EXPECT_EQ(S->SriovEnabled, 0);

  SetUp();
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_NIC);
  S->PfType = PF_TYPE_FC;
  EXPECT_TRUE(Plan(SET_UMC));
  EXPECT_EQ(Planned(), Codes{SET_UMC});
}

TEST_F(PredicateLayoutTest, NoPartitioningWanted) {
  const struct {
    const char *Name;
    void (*Arrange)();
  } Cases[] = {
      {"OnlyFcFunctions", [] { EnableFunction(1, PF_TYPE_FC); }},
      {"DisabledNic", [] { mModule.mNaloPortTable.Function[1].FunctionType = PF_TYPE_NIC; }},
      {"RoceMode",
       [] {
         EnableFunction(1, PF_TYPE_NIC);
         mModule.mRoceMode = 1;
       }},
      {"SriovRequested",
       [] {
         EnableFunction(1, PF_TYPE_NIC);
         mModule.mNaloHeader.SriovValid = 1;
         mModule.mSriovRequested = 1;
       }},
      {"UntypedLayout",
       [] {
         EnableFunction(1, PF_TYPE_NIC);
         mModule.mActiveLinkConfig = 1;
       }},
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    mModule.mNaloPortTable.DesiredFunctionCount = 2;
    Case.Arrange();
    EXPECT_FALSE(Plan(SET_UMC));
  }
}

TEST_F(PredicateLayoutTest, PartitioningLooksAtNoMoreThanSixteenEntries) {
  mModule.mNaloPortTable.DesiredFunctionCount = 200;
  EnableFunction(15, PF_TYPE_NIC);
  S->PfType = PF_TYPE_FC;
  EXPECT_TRUE(Plan(SET_UMC));
  EXPECT_EQ(mModule.mTargetUmc, 1);

  // Whatever lies behind the sixteenth entry is not a function entry and must not count.
  SetUp();
  mModule.mNaloPortTable.DesiredFunctionCount = 200;
  mModule.mNaloAddressTable[0].Enabled = 1;
  mModule.mNaloAddressTable[1].Enabled = 1;
  EXPECT_FALSE(Plan(SET_UMC));
}

TEST_F(PredicateLayoutTest, PartitioningPairStopsWithTheList) {
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  EnableFunction(1, PF_TYPE_NIC);
  Count = kLastAppendIndex;
  EXPECT_TRUE(Plan(SET_UMC));
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  EXPECT_EQ(mModule.CommandList[252], SET_SRIOV_FOR_CONTROLLER);
  EXPECT_EQ(mModule.CommandList[253], 0);
  EXPECT_EQ(mModule.CommandList[254], 0);
}

class PredicateSriovTest : public PredicateLayoutTest {
protected:
  void SetUp() override {
    PredicateLayoutTest::SetUp();
    mModule.mNaloHeader.SriovValid = 1;
    mModule.mNaloPortTable.Function[0].SriovEnable = 1;
    mModule.mNaloPortTable.DesiredFunctionCount = 2;
    S->PortCount = 1;
    S->Ports[0] = S;
  }
};

TEST_F(PredicateSriovTest, ControllerWideSriovOnASinglePortAdapter) {
  mModule.mFamily.QLogic8070 = TRUE;
  mModule.mActiveLinkConfig = 1; // the family, not the layout, allows the decision
  SetDevice(0x1077, 0x8070);
  EXPECT_TRUE(Plan(SET_SRIOV_FOR_CONTROLLER));
  EXPECT_EQ(Planned(), Codes{SET_SRIOV_FOR_CONTROLLER});
  EXPECT_EQ(S->SriovEnabled, 1);
  EXPECT_EQ(mModule.mSriovRequested, 1);
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
}

TEST_F(PredicateSriovTest, MultiPortAdapterDecidesOnALaterPortForEveryPort) {
  SetDevice(0x15B3, 0x1013);
  mModule.mFamily.Mellanox1013 = TRUE;
  S->PortCount = 2;
  S->Ports[1] = Records[1].get();
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  EXPECT_EQ(mModule.mSriovRequested, 1);

  FUNCTION_SETTINGS *SecondPort = Records[1].get();
  SecondPort->VendorId = 0x15B3;
  SecondPort->DeviceId = 0x1015;
  SecondPort->PortCount = 2;
  SecondPort->Ports[0] = S;
  SecondPort->Ports[1] = SecondPort;
  mModule.mFirstFunctionOfAdapter = FALSE;
  mModule.mNaloPortTable.Function[0].SriovEnable = 0; // the first port's wish is kept
  EXPECT_TRUE(PlanCommand(SecondPort, SET_SRIOV_FOR_PF, &Count));
  EXPECT_EQ(Planned(), Codes{SET_SRIOV_FOR_CONTROLLER});
  EXPECT_EQ(S->SriovEnabled, 1);
  EXPECT_EQ(SecondPort->SriovEnabled, 1);
}

TEST_F(PredicateSriovTest, PortListIsWalkedOnlyThroughItsSixteenEntries) {
  SetDevice(0x1077, 0x1644);
  mModule.mFamily.QLogic8070 = TRUE;
  mModule.mFirstFunctionOfAdapter = FALSE;
  S->PortCount = 255;
  for (UINTN Port = 0; Port < 16; Port++) {
    S->Ports[Port] = (Port % 3 == 1) ? nullptr : Records[Port + 1].get();
  }
  EXPECT_TRUE(Plan(SET_SRIOV_FOR_CONTROLLER));
  for (UINTN Port = 0; Port < 16; Port++) {
    if (S->Ports[Port] != nullptr) {
      EXPECT_EQ(S->Ports[Port]->SriovEnabled, 1) << Port;
    }
  }
  EXPECT_EQ(Records[17]->SriovEnabled, 0);
}

TEST_F(PredicateSriovTest, PortSriovIsHeldBackOnPortsWithManyFunctions) {
  const struct {
    UINT8 PfCount;
    UINT32 Personality;
    bool ExpectAppend;
  } Cases[] = {{1, 0, true}, {2, PF_TYPE_FCOE, true}, {2, PF_TYPE_NIC, false}, {3, PF_TYPE_FCOE, false}};
  for (const auto &Case : Cases) {
    SCOPED_TRACE(testing::Message() << int(Case.PfCount) << "/" << Case.Personality);
    SetUp();
    SetDevice(0x19A2, 0x0712);
    mModule.mNaloPortTable.Function[0].SriovEnable = 0;
    mModule.mNaloPortTable.Function[1].SriovEnable = 1; // any wished function counts
    mModule.mCurrentPfCount = Case.PfCount;
    mModule.mCurrentPersonality = Case.Personality;
    EXPECT_EQ(Plan(SET_SRIOV_FOR_CONTROLLER), Case.ExpectAppend ? TRUE : FALSE);
    EXPECT_EQ(S->SriovEnabled, Case.ExpectAppend ? 1 : 0);
  }
  // A count beyond the table reads no wish from behind it.
  SetUp();
  SetDevice(0x19A2, 0x0712);
  mModule.mNaloPortTable.Function[0].SriovEnable = 0;
  mModule.mNaloPortTable.DesiredFunctionCount = 200;
  mModule.mNaloAddressTable[0].Enabled = 1;
  mModule.mNaloAddressTable[1].Enabled = 1;
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  SetUp();
  SetDevice(0x19A2, 0x0712);
  mModule.mActiveLinkConfig = 1;
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  SetUp();
  SetDevice(0x19A2, 0x0712);
  mModule.mFirstFunctionOfPort = FALSE;
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
}

struct FunctionSriovCase {
  const char *Name;
  UINT8 Wish;
  UINT8 Current;
  UINT8 CurrentUmc;
  UINT8 TargetUmc;
  UINT8 RoceMode;
  UINT8 RoceTypeFound;
  bool ExpectAppend;
  UINT8 ExpectRecord;
};

const FunctionSriovCase kFunctionSriovCases[] = {
    {"SwitchOn", 1, 0, 0, 0, 0, 0, true, 1},
    {"HeldWhilePartitioningSwitchesOn", 1, 0, 0, 1, 0, 0, false, 0},
    {"NotOnUnderPartitioning", 1, 0, 1, 1, 0, 0, false, 0},
    {"OffUnderPartitioning", 0, 1, 1, 1, 0, 0, true, 0},
    {"HeldWhileRoceTypeLeftOver", 1, 0, 0, 0, 0, 1, false, 0},
    {"RoceModeSwitchesOff", 1, 1, 0, 0, 1, 0, true, 0},
    {"Agrees", 1, 1, 0, 0, 0, 0, false, 1},
};

TEST_F(PredicateSriovTest, PerFunctionSriovOnEmulex0720) {
  for (const FunctionSriovCase &Case : kFunctionSriovCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    SetDevice(0x10DF, 0x0722);
    mModule.mNaloPortTable.Function[0].SriovEnable = Case.Wish;
    S->SriovEnabled = Case.Current;
    mModule.mCurrentUmc = Case.CurrentUmc;
    mModule.mTargetUmc = Case.TargetUmc;
    mModule.mRoceMode = Case.RoceMode;
    mModule.mRoceTypeFound = Case.RoceTypeFound;
    EXPECT_EQ(Plan(SET_SRIOV_FOR_CONTROLLER), Case.ExpectAppend ? TRUE : FALSE);
    EXPECT_EQ(Planned(), Case.ExpectAppend ? Codes{SET_SRIOV_FOR_PF} : Codes{});
    EXPECT_EQ(S->SriovEnabled, Case.ExpectRecord);
  }
}

TEST_F(PredicateSriovTest, OtherDevicesHaveNoSriovDecision) {
  SetDevice(0x8086, 0x1572);
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_PF));
  EXPECT_TRUE(PlatformState.Reports.empty());
}

TEST_F(PredicateSriovTest, SriovWishInAnUntypedLayoutIsReported) {
  const EFI_GUID Caller = {0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};
  SetDevice(0x19A2, 0x0710);
  mModule.mActiveLinkConfig = 1;
  S->PciAddress = 0x3A01;
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  ASSERT_EQ(PlatformState.Reports.size(), 1u);
  const StatusReport &Report = PlatformState.Reports[0];
  EXPECT_EQ(Report.Type, 0x80000002u);
  EXPECT_EQ(Report.Value, 0x0380801Bu);
  EXPECT_EQ(Report.Instance, 0x00013AAAu);
  ASSERT_TRUE(Report.HasCaller);
  EXPECT_TRUE(SameGuid(&Report.Caller, Caller));
  EXPECT_NE(S->ErrorFlags & ERROR_FLAG_ERROR_REPORTED, 0);

  SetUp();
  mModule.mActiveLinkConfig = 1;
  mModule.mFirstFunctionOfPort = FALSE;
  Plan(SET_SRIOV_FOR_CONTROLLER);
  mModule.mFirstFunctionOfPort = TRUE;
  mModule.mActiveLinkConfig = 0;
  Plan(SET_SRIOV_FOR_CONTROLLER);
  EXPECT_TRUE(PlatformState.Reports.empty());
  EXPECT_EQ(S->ErrorFlags, 0);
}

} // namespace
} // namespace predicate_test
