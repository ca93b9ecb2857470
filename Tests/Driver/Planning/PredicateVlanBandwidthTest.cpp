// VLAN, PXE VLAN and bandwidth decisions.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

class PredicateVlanTest : public PredicateTest {
protected:
  void SetUp() override {
    PredicateTest::SetUp();
    mModule.mNaloHeader.PortTableValid = 1;
    mModule.mNaloPortTable.DesiredPortEnable = 1;
    mModule.mNaloHeader.BootTableValid = 1;
    mModule.mNaloBootTable[0].Enabled = 1;
    mModule.mNaloBootTable[0].BootVlanId = &BootVlan;
    mModule.mNaloPortTable.Function[0].FunctionVlanId = &FunctionVlan;
    mModule.mNaloPortTable.Function[0].MinBandwidthShare = &MinShare;
    mModule.mNaloPortTable.Function[0].MaxBandwidthShare = &MaxShare;
  }
  UINT16 BootVlan = 0;
  UINT16 FunctionVlan = 0;
  UINT8 MinShare = 25;
  UINT8 MaxShare = 80;
};

struct VlanCase {
  const char *Name;
  UINT16 ConfigType;
  UINT16 ConfigSubtype;
  UINT8 PortMode;
  UINT16 FunctionVlan;
  UINT16 BootVlan;
  UINT16 Reported;
  bool Emulex0700;
  bool ExpectSet;
  UINT16 ExpectRecord;
};

const VlanCase kVlanCases[] = {
    {"BootVlanDiffers", 0, 0, 0, 0, 100, 0, false, true, 100},
    {"BothNoneMeanTheSame", 0, 0, 0, 0, 0, 0, false, false, 0},
    {"ReportedNoneAs4095", 0, 0, 0, 0, 4095, 0, false, false, 0},
    {"BootVlanCleared", 0, 0, 0, 0, 0, 50, false, true, 0},
    {"OnlyLow12BitsCount", 0, 0, 0, 0, 0x1064, 100, false, false, 100},
    {"PartitionedUsesFunctionEntry", 0, 0, 2, 200, 100, 100, false, true, 200},
    {"Config25UsesBootEntry", 2, 5, 2, 200, 100, 100, false, false, 100},
    {"Emulex0700BootSentinel", 0, 0, 0, 0, 100, 100, true, true, 100},
    {"Emulex0700FunctionSentinel", 0, 0, 2, 100, 0, 100, true, true, 100},
};

TEST_F(PredicateVlanTest, FunctionVlanDecisions) {
  for (const VlanCase &Case : kVlanCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    mModule.mNaloHeader.ConfigType = Case.ConfigType;
    mModule.mNaloHeader.ConfigSubtype = Case.ConfigSubtype;
    mModule.mNaloPortTable.PortMode = Case.PortMode;
    FunctionVlan = Case.FunctionVlan;
    BootVlan = Case.BootVlan;
    S->VlanId = Case.Reported;
    mModule.mFamily.Emulex0700 = Case.Emulex0700;
    EXPECT_EQ(Plan(SET_PF_VLANID), Case.ExpectSet ? TRUE : FALSE);
    EXPECT_EQ(S->VlanId, Case.ExpectRecord);
  }
}

TEST_F(PredicateVlanTest, VlanNeedsAnEnabledPortAndNoFcoe) {
  BootVlan = 100;
  S->PfType = PF_TYPE_FCOE;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  S->PfType = PF_TYPE_NIC;
  mModule.mNaloPortTable.DesiredPortEnable = 0;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  mModule.mNaloPortTable.DesiredPortEnable = 1;
  mModule.mNaloBootTable[0].Enabled = 0;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  mModule.mNaloBootTable[0].Enabled = 1;
  mModule.mNaloBootTable[0].BootVlanId = nullptr;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  mModule.mNaloPortTable.PortMode = 2;
  mModule.mNaloPortTable.Function[0].FunctionVlanId = nullptr;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  mModule.mCurFunctionEntry = nullptr;
  mModule.mCurBootEntry = nullptr;
  EXPECT_FALSE(Plan(SET_PF_VLANID));
  EXPECT_EQ(S->VlanId, 0);
}

struct PxeCase {
  const char *Name;
  UINT32 PfType;
  bool QLogic8070;
  UINT16 BootVlan;
  UINT16 Reported;
  Codes Expected;
  UINT16 ExpectRecord;
};

const PxeCase kPxeCases[] = {
    {"NicNewVlan", PF_TYPE_NIC, false, 100, 0, {SET_PXE_VLAN, SET_PXE_VLANID}, 100},
    {"OtherFamilyAlwaysSetsId", PF_TYPE_NIC, false, 100, 100, {SET_PXE_VLAN, SET_PXE_VLANID}, 100},
    {"QLogic8070OnlyOnDifference", PF_TYPE_NIC, true, 100, 100, {SET_PXE_VLAN}, 100},
    {"QLogic8070Differs", PF_TYPE_ROCE, true, 100, 7, {SET_PXE_VLAN, SET_PXE_VLANID}, 100},
    {"NoVlanWantedOnlyTagging", PF_TYPE_NIC, false, 0, 100, {SET_PXE_VLAN}, 100},
    {"IscsiNothing", PF_TYPE_ISCSI, false, 100, 0, {}, 0},
    {"FcoeNothing", PF_TYPE_FCOE, false, 100, 0, {}, 0},
};

TEST_F(PredicateVlanTest, PxeVlanDecisions) {
  for (const PxeCase &Case : kPxeCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    S->PfType = Case.PfType;
    mModule.mFamily.QLogic8070 = Case.QLogic8070;
    BootVlan = Case.BootVlan;
    S->VlanId = Case.Reported;
    Plan(SET_PXE_VLANID);
    EXPECT_EQ(Planned(), Case.Expected);
    EXPECT_EQ(S->VlanId, Case.ExpectRecord);
  }
}

TEST_F(PredicateVlanTest, PxePairStopsAtTheListBound) {
  BootVlan = 100;
  Count = kLastAppendIndex;
  EXPECT_TRUE(Plan(SET_PXE_VLANID));
  EXPECT_EQ(Count, kLastAppendIndex + 1);
  EXPECT_EQ(mModule.CommandList[252], SET_PXE_VLAN);
  EXPECT_EQ(mModule.CommandList[253], 0);
  EXPECT_EQ(S->VlanId, 0); // the ID was not planned, so it is not recorded
}

class PredicateBandwidthTest : public PredicateVlanTest {
protected:
  void SetUp() override {
    PredicateVlanTest::SetUp();
    mModule.mNaloPortTable.PortMode = 2;
    mModule.mTargetUmc = 1;
    S->MinBandwidth = 10;
    S->MaxBandwidth = 80;
  }
};

TEST_F(PredicateBandwidthTest, SharesOfAPartitionedPort) {
  EXPECT_TRUE(Plan(SET_PF_BANDWIDTH));
  EXPECT_EQ(S->MinBandwidth, 25);
  EXPECT_EQ(mModule.mCurrentBandwidth, 10);
  EXPECT_FALSE(Plan(SET_PF_RATE_LIMIT)); // 80 already
  MaxShare = 50;
  EXPECT_TRUE(Plan(SET_PF_RATE_LIMIT));
  EXPECT_EQ(S->MaxBandwidth, 50);
  EXPECT_EQ(Planned(), (Codes{SET_PF_BANDWIDTH, SET_PF_RATE_LIMIT}));
}

TEST_F(PredicateBandwidthTest, NoBandwidthOutsidePartitioningOrInConfig25) {
  struct {
    const char *Name;
    void (*Break)();
  } const Cases[] = {
      {"Config25",
       [] {
         mModule.mNaloHeader.ConfigType = 2;
         mModule.mNaloHeader.ConfigSubtype = 5;
       }},
      {"NotPartitioned", [] { mModule.mNaloPortTable.PortMode = 0; }},
      {"UmcNotWanted", [] { mModule.mTargetUmc = 0; }},
      {"PortDisabled", [] { mModule.mNaloPortTable.DesiredPortEnable = 0; }},
      {"NoPortTable", [] { mModule.mNaloHeader.PortTableValid = 0; }},
      {"NoShares",
       [] {
         mModule.mNaloPortTable.Function[0].MinBandwidthShare = nullptr;
         mModule.mNaloPortTable.Function[0].MaxBandwidthShare = nullptr;
       }},
      {"NoEntry", [] { mModule.mCurFunctionEntry = nullptr; }},
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    MaxShare = 50;
    Case.Break();
    EXPECT_FALSE(Plan(SET_PF_BANDWIDTH));
    EXPECT_FALSE(Plan(SET_PF_RATE_LIMIT));
    EXPECT_EQ(S->MinBandwidth, 10);
    EXPECT_EQ(S->MaxBandwidth, 80);
  }
}

} // namespace
} // namespace predicate_test
