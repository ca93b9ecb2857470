// The platform's configuration tables, what of the family planners the end-to-end runs do not
// reach (the Emulex0720 port probe, the QLogic2261 firmware message, the QLogic1644 bandwidth
// query) and the rewriting of the settings records for the alternative link layouts.
#include "ModuleState.h"
#include "PlanningFixture.h"

namespace {

using NaloTablesTest = PlanningTest;

// Fills the four tables with Byte, if one is given, and tells whether they hold only zeros.
bool Tables(int Byte = -1) {
  bool Zero = true;
  for (auto [Data, Size] : {std::pair<void *, size_t>{&mModule.Tables.mNaloHeader, 24},
                            {&mModule.Tables.mNaloPortTable, 648},
                            {mModule.Tables.mNaloAddressTable, 512},
                            {mModule.Tables.mNaloBootTable, 3328}}) {
    if (Byte >= 0) {
      std::memset(Data, Byte, Size);
    }
    Zero = Zero && std::all_of((UINT8 *)Data, (UINT8 *)Data + Size, [](UINT8 B) { return B == 0; });
  }
  return Zero;
}

TEST_F(NaloTablesTest, LoadQueryAndPolicy) {
  Tables(0x5A); // stale data of the previous controller
  NALO_FUNCTION_ENTRY *const Selected = &mModule.Tables.mNaloPortTable.Function[3];
  mModule.Tables.mCurFunctionEntry = Selected;
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_UNSUPPORTED);
  EXPECT_TRUE(Tables());
  EXPECT_EQ(mModule.Tables.mCurFunctionEntry, Selected) << "the clear ends with the tables";
  EXPECT_TRUE(P.PortCalls.empty());
  std::tie(S->PlatformFlags, S->NaloIndex, S->CardIndex, S->PortIndex) =
      std::make_tuple(PLATFORM_FLAG_6, 7, 2, 1);
  P.PortAnswers[7].Header.PortTableValid = 1;
  Tables(0x5A);
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_SUCCESS);
  EXPECT_EQ(P.PortCalls, (std::vector<std::array<UINT8, 3>>{{7, 2, 1}}));
  EXPECT_EQ(mModule.Tables.mNaloHeader.PortTableValid, 1);
  EXPECT_EQ(mModule.Tables.mNaloAddressTable[0].Enabled + mModule.Tables.mNaloBootTable[0].Enabled,
            0); // stale bytes
  // A failed load leaves no half-written tables that the predicate would trust.
  P.PortAnswers[7].Status = EFI_DEVICE_ERROR;
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_DEVICE_ERROR);
  EXPECT_TRUE(Tables());
  P.NaloPresent = false;
  mModule.Tables.mNaloConfig = nullptr;
  Tables(0x5A);
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_NOT_FOUND);
  EXPECT_TRUE(Tables());
  SelectNaloEntries(15); // the entries of a function stay inside the tables
  EXPECT_EQ(mModule.Tables.mCurBootEntry, &mModule.Tables.mNaloBootTable[15]);
  SelectNaloEntries(16);
  EXPECT_TRUE(!mModule.Tables.mCurFunctionEntry && !mModule.Tables.mCurAddressEntry &&
              !mModule.Tables.mCurBootEntry);
  // Missing protocols are looked up again later; the policy switch is cached once read.
  Fresh();
  P.NaloPresent = false;
  P.Defaults[0] = TRUE;
  EXPECT_FALSE(QueryDefaults(0));
  P.NaloPresent = true; // the platform driver arrives later in the boot
  EXPECT_TRUE(QueryDefaults(0));
  mModule.Tables.mPlatformPolicyRead = FALSE;
  EXPECT_EQ(GetForceAdapterEnable(), 0);
  EXPECT_EQ(P.PolicyLocates, 1);
  P.PolicyPresent = true;
  P.PolicyStatus = EFI_NOT_READY;
  P.PolicyByte2 = 1;
  EXPECT_EQ(GetForceAdapterEnable(), 0);
  P.PolicyStatus = EFI_SUCCESS;
  EXPECT_EQ(GetForceAdapterEnable(), 1);
  P.PolicyByte2 = 0;
  EXPECT_EQ(GetForceAdapterEnable(), 1);
  EXPECT_EQ(P.PolicyCalls, 2);
  // The platform hears of a needed restart once per boot, as soon as its protocol is there.
  P.NaloPresent = false;
  mModule.Tables.mNaloConfig = nullptr;
  NotifyRestartOnce();
  EXPECT_EQ(P.RestartNotes, 0);
  P.NaloPresent = true;
  NotifyRestartOnce();
  NotifyRestartOnce();
  EXPECT_EQ(P.RestartNotes, 1);
}

using PlannerTest = PlanningTest;

TEST_F(PlannerTest, Emulex0720ProbeStopsAtTheFirstPortThatAsksAndBoundsItsIndices) {
  const struct {
    const char *Name;
    UINT8 NaloIndex, PortCount;
    UINT32 Subsystem, Roce, Sriov, Layout;
    std::vector<UINT8> Calls;
    std::vector<std::array<UINT8, 5>> Answers; // index, function count, enabled, RoCE mode, SR-IOV
  } Cases[] = {
      {"RoceWinsOverSriov", 10, 3, 0, 1, 0, 9, {10}, {{10, 1, 1, 2, 1}}},
      {"RoceProfileOne", 10, 3, 0, 1, 0, 9, {10}, {{10, 1, 1, 1, 0}}},
      {"SriovThird", 10, 4, 0, 0, 1, 9, {10, 11, 12}, {{10, 0, 1, 1, 0}, {11, 1, 0, 1, 1}, {12, 1, 1, 0, 1}}},
      {"IndicesWrapAt256", 255, 3, 0, 0, 0, 9, {255, 0, 1}, {}},
      {"CardIndexStays", 224, 2, 0, 0, 0, 9, {224, 224}, {}},
      {"FourPortsKnown", 20, 0, 0xE868, 0, 0, 3, {20, 21}, {{20}, {21}}},
      {"OnlyTheFirstKnown", 20, 0, 0xE868, 0, 0, 2, {20, 21, 22, 23}, {{20}}},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    Fresh();
    std::tie(S->NaloIndex, S->PortCount, S->SubsystemId) =
        std::make_tuple(C.NaloIndex, C.PortCount, C.Subsystem);
    for (const auto &A : C.Answers) {
      P.PortAnswers[A[0]].Table.DesiredFunctionCount = A[1];
      P.PortAnswers[A[0]].Table.Function[0] = {A[2], 0, 0, A[3], {}, nullptr, nullptr, nullptr, A[4], {}};
    }
    UINT8 Roce = 0, Sriov = 0;
    UINT32 Layout = 9;
    ProbeRoceAndSriov(S, &Roce, &Sriov, &Layout);
    EXPECT_EQ(std::tie(Roce, Sriov, Layout), std::tie(C.Roce, C.Sriov, C.Layout));
    std::vector<UINT8> Calls;
    std::transform(P.PortCalls.begin(), P.PortCalls.end(), std::back_inserter(Calls),
                   [](auto &A) { return A[0]; });
    EXPECT_EQ(Calls, C.Calls);
    EXPECT_EQ(P.Allocations + P.Frees, 2);
  }
  for (bool FailAllocation : {false, true}) { // every one of 255 ports, or none without pool memory
    Fresh();
    std::tie(S->NaloIndex, S->PortCount, S->SubsystemId) = std::make_tuple(1, 255, 0xE868);
    P.FailAllocation = FailAllocation;
    UINT8 Roce = 0, Sriov = 0;
    UINT32 Layout = 0;
    ProbeRoceAndSriov(S, &Roce, &Sriov, &Layout);
    EXPECT_EQ(P.PortCalls.size(), FailAllocation ? 0u : 255u + 4u);
  }
}

// What of the family planners the end-to-end runs leave open. Phase 3 is run at Instance 5.
TEST_F(PlannerTest, DetailsTheEndToEndRunsLeaveOpen) {
  PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
  // An Emulex0720 function at the wished function count ends the plan without settings
  mModule.Run.mFamily.Emulex0720 = TRUE;
  mModule.Tables.mNaloHeader.PortTableValid = mModule.Tables.mNaloPortTable.DesiredPortEnable = 1;
  mModule.Tables.mNaloPortTable.DesiredFunctionCount = 1;
  PlanEmulex0720(5, NewRecord(0x10DF, 0x0720, 0, 1), &State, &Count);
  EXPECT_EQ(Planned(), Codes{});
  EXPECT_EQ(mModule.Run.mPlanComplete, 1);
  Fresh(); // a later function of a Mellanox1017 adapter reads no versions
  mModule.Run.mFamily.Mellanox1017 = TRUE;
  PlanMellanox1017(0, NewRecord(0x15B3, 0x1017, 0, 1), &State, &Count);
  EXPECT_EQ(Planned(), Codes{SHOW_MAX_LINK_SPEED});
  // A partitioned second port shows the minimum bandwidth but on three boards of the 1077:8070.
  const std::array<UINT16, 3> Boards[] = {
      {0x8070, 0x29, 0}, {0x8070, 0x61, 0}, {0x8070, 0x64, 0}, {0x8070, 0x62, 1}, {0x1644, 0x61, 1}};
  for (const auto &B : Boards) {
    Fresh();
    mModule.Run.mFamily.QLogic8070 = TRUE;
    mModule.Discovered.mCurrentUmc = 1;
    FUNCTION_SETTINGS *F = NewRecord(0x1077, B[0], 1, 0);
    F->SubsystemId = B[1];
    PlanQLogic8070(0, F, &State, &Count);
    Codes Expected = {SHOW_BOOT_EN, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC,
                      SHOW_PF_MAC,  SHOW_PF_TYPE,       SHOW_PXE_VLAN};
    if (B[2] != 0) {
      Expected.insert(Expected.begin() + 1, SHOW_PF_BANDWIDTH);
    }
    EXPECT_EQ(Planned(), Expected) << std::hex << B[0] << ":" << B[1];
  }
  // A QLogic2261 without IOV support tells the management controller when virtual names are wanted.
  const std::tuple<UINT8, const char *, const char *> Firmware[] = {
      {1, "1.2.3.4.5.6.7.8.9.1.2.3.4.5.6.7", "1.2"},
      {0, "1.2", nullptr},
      {1, "7", "7.0"}}; // wanted, version, shown
  for (const auto &[Wanted, Version, Shown] : Firmware) {
    Fresh();
    mModule.Run.mFamily.QLogic2031 = mModule.Run.mFamily.QLogic2261 = TRUE;
    FUNCTION_SETTINGS *F = NewRecord(0x1077, 0x2261, 0, 0);
    SetText(F->FirmwareVersion[3], Version);
    mModule.Tables.mNaloHeader.AddressTableValid = 1;
    mModule.Tables.mNaloAddressTable[0].Enabled = Wanted;
    State = {PLAN_INSTANCE_NONE, PLAN_INSTANCE_NONE, 0, 0, 0};
    PlanGeneral(0, F, &State, &Count);
    State.PlanInstance = mModule.Run.mPlanInstance;
    PlanGeneral(1, F, &State, &Count); // phase 2 is empty: phase 3 follows at once
    EXPECT_EQ(Planned(), Codes{SHOW_PF_INFO});
    // PrintLib writes the newline as CR LF.
    EXPECT_EQ(P.IpmiText, Shown ? "Current QLogic FC FW Version(" + std::string(Shown) +
                                      ") does not support IOV Command. Supported from 6.7\r\n"
                                : "");
  }
}

// Where an Emulex0720 board's layout comes from, and the layout decisions of its first functions.
TEST_F(PlannerTest, Emulex0720LayoutSourceAndRestart) {
  // Boards that report their link configuration read it first, on the first port only.
  const std::array<UINT16, 3> Boards[] = {{0x11F8, 0, SHOW_PF_INFO},     {0x11F9, 0, SHOW_LINK_CONFIG},
                                          {0x11FA, 0, SHOW_LINK_CONFIG}, {0x11FB, 0, SHOW_PF_INFO},
                                          {0xE868, 0, SHOW_LINK_CONFIG}, {0xE868, 1, SHOW_PF_INFO}};
  for (const auto &B : Boards) {
    Fresh();
    mModule.Run.mFamily.Emulex0720 = TRUE;
    FUNCTION_SETTINGS *F = NewRecord(0x10DF, 0x0720, (UINT8)B[1], 0);
    F->SubsystemId = B[0];
    PLAN_STATE State = {PLAN_INSTANCE_NONE, PLAN_INSTANCE_NONE, 0, 0, 0};
    PlanEmulex0720(0, F, &State, &Count);
    EXPECT_EQ(Planned(), Codes{(INT32)B[2]}) << std::hex << B[0] << " port " << B[1];
  }
  // The platform is asked for RoCE and SR-IOV wishes only in a layout whose functions are typed.
  for (UINT8 Layout : {0, 1, 2, 3, 4}) {
    Fresh();
    mModule.Run.mFamily.Emulex0720 = TRUE;
    mModule.Tables.mNaloHeader.PortTableValid = 1;
    FUNCTION_SETTINGS *F = NewRecord(0x10DF, 0x0720, 0, 0);
    std::tie(F->LinkConfig, F->PortCount) = std::make_tuple(Layout, 1);
    PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
    PlanEmulex0720(5, F, &State, &Count);
    EXPECT_EQ(P.PortCalls.size(), Layout == 1 || Layout == 4 ? 0u : 1u) << int(Layout);
  }
  // A new link configuration ends the plan for a restart; the record is not marked planned.
  Fresh();
  mModule.Run.mFamily.Emulex0720 = TRUE;
  FUNCTION_SETTINGS *F = NewRecord(0x10DF, 0x0720, 0, 0);
  F->SubsystemId = 0x11F9;
  std::tie(mModule.Discovered.mLinkConfig, mModule.Discovered.mActiveLinkConfig) = std::make_tuple(1, 0);
  PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
  PlanEmulex0720(5, F, &State, &Count);
  EXPECT_EQ(Planned(), Codes{SET_MODE});
  EXPECT_EQ(mModule.Run.mPlanComplete, 1);
  EXPECT_EQ(F->ProgressFlags & 0x30, 0);
  // A later port whose layout stands goes on to its settings.
  Fresh();
  mModule.Run.mFamily.Emulex0720 = TRUE;
  mModule.Tables.mNaloHeader.PortTableValid = mModule.Tables.mNaloPortTable.DesiredPortEnable = 1;
  std::fill(mModule.Discovered.mPfTypeTable + 1, mModule.Discovered.mPfTypeTable + 16,
            (UINT32)PF_TYPE_DISABLED);
  mModule.Builder.mEmulexPfTypeSetIndex = 3; // left by the builder in the previous plan
  PlanEmulex0720(5, NewRecord(0x10DF, 0x0720, 1, 0), &State, &Count);
  EXPECT_EQ(Planned(), (Codes{SET_PORT_EN, SET_PXE_VLAN}));
  EXPECT_EQ(mModule.Builder.mEmulexPfTypeSetIndex, 0); // the builder walks the new type queue from its start
}

// The function-type table of the previous port must not leak into this one: the first function
// of a port starts it afresh (only function 0 exists until the replies say otherwise), except in
// the 4 x 1 Gb/s layout, where every port has a single function and the table is left alone.
TEST_F(PlannerTest, FirstFunctionOfAPortStartsTheFunctionTypeTableAfresh) {
  const struct {
    bool QLogic;
    UINT32 LinkConfig;
    UINT8 PfIndex;
    bool Reset, RestReset;
  } Cases[] = {
      {false, 0, 0, true, true}, {false, 1, 0, true, false}, {false, 0, 1, false, false},
      {true, 0, 0, true, true},  {true, 0, 1, false, false},
  };
  for (const auto &C : Cases) {
    Fresh();
    (C.QLogic ? mModule.Run.mFamily.QLogic8070 : mModule.Run.mFamily.Emulex0720) = TRUE;
    FUNCTION_SETTINGS *F =
        C.QLogic ? NewRecord(0x1077, 0x8070, 1, C.PfIndex) : NewRecord(0x10DF, 0x0720, 0, C.PfIndex);
    F->LinkConfig = C.LinkConfig;
    std::fill(std::begin(mModule.Discovered.mPfTypeTable), std::end(mModule.Discovered.mPfTypeTable), 0x5Au);
    mModule.Discovered.mPfTypeCount = 7;
    mModule.Discovered.mPxeVlanEnabled = 1;
    PLAN_STATE State = {PLAN_INSTANCE_NONE, PLAN_INSTANCE_NONE, 0, 0, 0};
    (C.QLogic ? PlanQLogic8070 : PlanEmulex0720)(0, F, &State, &Count);
    EXPECT_EQ(mModule.Discovered.mPxeVlanEnabled, 1) << "nothing is written behind the table";
    const std::string Case = std::string(C.QLogic ? "QLogic8070" : "Emulex0720") + " layout " +
                             std::to_string(C.LinkConfig) + " pf " + std::to_string(C.PfIndex);
    EXPECT_EQ(mModule.Discovered.mPfTypeTable[0], C.Reset ? (UINT32)PF_TYPE_NIC : 0x5Au) << Case;
    for (int K = 1; K < PF_TYPE_TABLE_ENTRIES; K++) {
      EXPECT_EQ(mModule.Discovered.mPfTypeTable[K], C.RestReset ? (UINT32)PF_TYPE_DISABLED : 0x5Au)
          << Case << " entry " << K;
    }
    EXPECT_EQ(mModule.Discovered.mPfTypeCount, C.QLogic && C.Reset ? 0 : 7) << Case;
  }
  // A not partitioned QLogic8070 port counts its function-type replies from zero again once its
  // first function has planned its settings.
  for (UINT8 Pf : {0, 1}) {
    Fresh();
    mModule.Run.mFamily.QLogic8070 = TRUE;
    mModule.Discovered.mPfTypeCount = 7;
    PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
    PlanQLogic8070(5, NewRecord(0x1077, 0x8070, 1, Pf), &State, &Count);
    EXPECT_EQ(mModule.Discovered.mPfTypeCount, Pf == 0 ? 0 : 7) << int(Pf);
  }
}

using LinkLayoutTest = PlanningTest;

TEST_F(LinkLayoutTest, LaterControllersGetTheFirstFunctionsVersionsBoundedAlongTheWalk) {
  std::vector<FUNCTION_SETTINGS *> Fs = Port(0x19A2, 0x0700, 1, 12); // a controller on port 1
  FUNCTION_SETTINGS *First = NewRecord(0x19A2, 0x0700, 0, 0);
  std::memset(First->FirmwareVersion[2], 'A', 31); // a full slot: 31 characters and NUL
  SetText(First->FirmwareVersion[3], "13.1.2");    // not copied
  mModule.Planner.mFirstFunctionSettings = First;
  // The walk ends after eight functions, at the function count and at the first gap.
  for (const auto &W : {std::array<int, 3>{3, 12, 3}, {12, 5, 5}, {12, 12, 8}}) { // count, gap, copied
    Fs[0]->FunctionCount = W[0];
    Fs[0]->Functions[5] = W[1] == 5 ? nullptr : Fs[5];
    AdjustLinkLayout(Fs[0]);
    for (int K = 0; K < 12; K++) {
      EXPECT_EQ(Text(Fs[K]->FirmwareVersion[2]), K < W[2] ? std::string(31, 'A') : "") << W[0] << " " << K;
      EXPECT_EQ(Text(Fs[K]->FirmwareVersion[3]), "");
    }
  }
  mModule.Run.mFamily.EmulexE200 = TRUE; // the same for a later controller of an EmulexE200 adapter
  FUNCTION_SETTINGS *Second = NewRecord(0x10DF, 0xE200, 1, 0);
  AdjustLinkLayout(Second);
  EXPECT_EQ(Text(Second->FirmwareVersion[2]) + Text(Second->FirmwareVersion[3]), std::string(31, 'A'));
}

// A four-port 10 Gb/s board: sixteen functions listed by the first record; the platform's port
// list points at the records of function numbers 0..3.
std::vector<FUNCTION_SETTINGS *> FourByFour(std::vector<FUNCTION_SETTINGS *> Fs) {
  for (UINT8 K = 0; K < 16; K++) {
    Fs[K]->SubsystemId = 0xE868;
    Fs[K]->PciAddress = (UINT16)(0x3A00 | K);
  }
  std::copy(Fs.begin(), Fs.begin() + 4, Fs[0]->Ports);
  mModule.Discovered.mLinkConfig = 3;
  return Fs;
}

TEST_F(LinkLayoutTest, FourByTenGigabitSkipsRecordsWithoutAPlaceAndStaysInsideTheLists) {
  std::vector<FUNCTION_SETTINGS *> Fs = FourByFour(Port(0x10DF, 0x0720, 0, 16));
  Fs[5]->PciAddress = 0x3A10;         // function number 16: outside the layout's tables
  Fs[0]->Ports[2] = nullptr;          // the platform gave no record for port 2
  mModule.Discovered.mLinkConfig = 2; // nothing moves but in layout 3
  AdjustLinkLayout(Fs[0]);
  EXPECT_EQ(Fs[9]->PfIndex, 9);
  mModule.Discovered.mLinkConfig = 3;
  AdjustLinkLayout(Fs[0]);
  for (UINT8 K : {2, 5, 6, 10, 14}) {
    EXPECT_EQ(Fs[K]->PfIndex + Fs[K]->MaxLinkSpeedCode, K) << int(K);
  }
  EXPECT_EQ((std::vector<FUNCTION_SETTINGS *>(Fs[1]->Functions, Fs[1]->Functions + 4)),
            (std::vector<FUNCTION_SETTINGS *>{Fs[1], Fs[9], Fs[13], nullptr}));
  EXPECT_EQ(Fs[1]->FunctionCount, 3);
  EXPECT_EQ(Fs[9]->PfIndex, 2); // function number 9 is function 2 of port 1
  Fs = FourByFour(Port(0x10DF, 0x0720, 0, 16));
  for (FUNCTION_SETTINGS *F : Fs) {
    F->PciAddress = 0x3A00; // all claim function number 0: sixteen functions on port 0
    F->Ports[0] = Fs[0];
  }
  AdjustLinkLayout(Fs[0]);
  for (FUNCTION_SETTINGS *F : Fs) {
    EXPECT_EQ(F->FunctionCount, 16);
    EXPECT_EQ(F->Ports[0], Fs[0]) << "the slot after Functions[15] must stay intact";
  }
}

} // namespace
