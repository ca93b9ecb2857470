// QLogic8070 replies: quoted types, percentage lists, tagged versions, PXE VLAN and partitioning.
#include "ParserTestSupport.h"

namespace {

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

TEST_F(QLogic8070Test, PfTypeTableFillsInReplyOrderAndStopsAtSixteen) {
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
  Parse(S, "data=\"FCoE\"", SHOW_PF_TYPE);
  Parse(S, "data=\"iSCSI\"", SHOW_PF_TYPE);
  EXPECT_EQ(2u, mModule.mPfTypeTable[0]);
  EXPECT_EQ(3u, mModule.mPfTypeTable[1]);
  for (int Reply = 2; Reply < 20; Reply++) {
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

TEST_F(QLogic8070Test, BandwidthListSkipsMissingRecordsAndOnlyRunsOnTheFirstPf) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 3);
  FUNCTION_SETTINGS *Pf2 = Pf0->Functions[2];
  Pf0->Functions[1] = nullptr;
  Pf0->FunctionCount = 40; // more than the list holds
  Parse(Pf0, "data=\"30,40,50\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(30, Pf0->MinBandwidth);
  EXPECT_EQ(50, Pf2->MinBandwidth);
  Parse(Pf2, "data=\"1,1,1\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(50, Pf2->MinBandwidth);
}

TEST_F(QLogic8070Test, VersionsByTagIntoEveryFunctionOfEveryPort) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 2, 2);
  Parse(Pf0, "data=\"MFW:8.50.1,UEFI:6.1.4,MBI:15.20\"", SHOW_VERSION);
  for (FUNCTION_SETTINGS *Port : {Pf0->Ports[0], Pf0->Ports[1]}) {
    for (int Pf = 0; Pf < 2; Pf++) {
      EXPECT_EQ("15.20", Text(Port->Functions[Pf]->FirmwareVersion[0]));
      EXPECT_EQ("6.1.4", Text(Port->Functions[Pf]->FirmwareVersion[1]));
      EXPECT_EQ("8.50.1", Text(Port->Functions[Pf]->FirmwareVersion[2]));
    }
  }
  // Absent tags keep their slot; a version is cut at 31 characters and at the end of the reply.
  Parse(Pf0, "data=UEFI:" + std::string(40, '7'), SHOW_VERSION);
  EXPECT_EQ("15.20", Text(Pf0->FirmwareVersion[0]));
  EXPECT_EQ(std::string(31, '7'), Text(Pf0->FirmwareVersion[1]));
  Parse(Pf0, "data=MBI:1.2", SHOW_VERSION);
  EXPECT_EQ("1.2", Text(Pf0->FirmwareVersion[0]));
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

TEST_F(QLogic8070Test, PartitioningFromTheFirstFunctionOfTheAdapter) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 2, 1);
  Parse(Pf0, "data=\"NPAR1.5\"", SHOW_UMC);
  EXPECT_EQ(1, mModule.mCurrentUmc);
  EXPECT_EQ(1, mModule.mTargetUmc);
  Parse(Pf0->Ports[1], "data=\"Default\"", SHOW_UMC);
  EXPECT_EQ(1, mModule.mCurrentUmc);
  Parse(Pf0, "data=\"Default\"", SHOW_UMC);
  EXPECT_EQ(0, mModule.mTargetUmc);
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
