// The managed step's bookkeeping between controllers: what Instance 0 forgets and what it keeps,
// and when the link layout is adjusted before any planning.
#include "ModuleState.h"
#include "PlanningFixture.h"
#include "Managed/AdapterFamilies.h"
#include "Managed/AdapterSettings.h"

namespace {

using DispatchTest = PlanningTest;

// Runs one Instance for the controller's record; Handed receives the record the command is for.
EFI_STATUS Step(UINTN Instance, FUNCTION_SETTINGS *Adapter, FUNCTION_SETTINGS **Handed = nullptr) {
  CHAR8 *Text = nullptr;
  BOOLEAN Parse = FALSE;
  UINTN Code = 0;
  const EFI_STATUS Status = RunManagedStep(&Instance, &Adapter, &Text, &Parse, &Code);
  if (Handed != nullptr) {
    *Handed = Adapter;
  }
  return Status;
}

Codes PlannedList() {
  return Codes(mModule.Run.CommandList, mModule.Run.CommandList + mModule.Run.mCommandCount);
}

// A controller without a family plans nothing: Instance 0 only resets and meets END.
TEST_F(DispatchTest, InstanceZeroForgetsThePreviousAdapterOnlyOnItsFirstFunction) {
  const struct {
    UINT8 Port, Pf;
    bool NewAdapter, NewPort;
  } Cases[] = {{0, 0, true, true}, {0, 1, false, false}, {1, 0, false, true}, {0, 16, false, false}};
  for (const auto &C : Cases) {
    SCOPED_TRACE(testing::Message() << "port " << int(C.Port) << " pf " << int(C.Pf));
    Fresh();
    FUNCTION_SETTINGS *A = NewRecord(0x19A2, 0x0714, C.Port, C.Pf);
    A->PortEnable = 1;
    mModule.Discovered.mLinkConfig = mModule.Discovered.mActiveLinkConfig =
        mModule.Discovered.mCurrentPersonality = mModule.Discovered.mTargetPersonality = 2;
    mModule.Discovered.mCurrentUmc = mModule.Discovered.mTargetUmc = mModule.Discovered.mCurrentPfCount =
        mModule.Discovered.mTargetPfCount = 2;
    mModule.Planner.mRoceMode = mModule.Planner.mSriovRequested = mModule.Planner.mRoceTypeFound =
        mModule.Run.mPlanStopped = 2;
    mModule.Run.mPlanInstance = mModule.Run.mPlanInstance2 = 7;
    mModule.Run.mPlanComplete = mModule.Run.mLinkAdjusted = 1;
    mModule.Planner.mCurrentPortEnable = mModule.Planner.mTargetPortEnable = 0x33;
    mModule.Run.mAddrDefaultsPlanned = TRUE;
    std::fill(std::begin(mModule.Run.CommandList), std::end(mModule.Run.CommandList), 0x5A);
    mModule.Run.mCommandCount = 9;
    EXPECT_EQ(Step(0, A), EFI_NOT_FOUND);
    const UINT32 Kept = C.NewAdapter ? 0 : 2;
    EXPECT_EQ(
        (std::vector<UINT32>{mModule.Discovered.mLinkConfig, mModule.Discovered.mActiveLinkConfig,
                             mModule.Discovered.mCurrentPersonality, mModule.Discovered.mTargetPersonality,
                             mModule.Discovered.mCurrentUmc, mModule.Discovered.mTargetUmc,
                             mModule.Discovered.mCurrentPfCount, mModule.Discovered.mTargetPfCount,
                             mModule.Planner.mRoceMode, mModule.Planner.mSriovRequested,
                             mModule.Planner.mRoceTypeFound, mModule.Run.mPlanStopped}),
        std::vector<UINT32>(12, Kept));
    EXPECT_EQ((std::vector<UINT32>{mModule.Run.mPlanInstance, mModule.Run.mPlanInstance2,
                                   mModule.Run.mPlanComplete, mModule.Run.mLinkAdjusted,
                                   mModule.Planner.mCurrentPortEnable, mModule.Planner.mTargetPortEnable}),
              (std::vector<UINT32>{255, 255, 0, 0, 1, 1}));
    EXPECT_EQ(std::count(std::begin(mModule.Run.CommandList), std::end(mModule.Run.CommandList), END), 255);
    EXPECT_EQ(mModule.Run.mCommandCount, 0u);
    // A function index beyond the 16-entry tables has no entries.
    EXPECT_EQ((std::vector<const void *>{mModule.Tables.mCurFunctionEntry, mModule.Tables.mCurAddressEntry,
                                         mModule.Tables.mCurBootEntry}),
              (C.Pf < 16 ? std::vector<const void *>{&mModule.Tables.mNaloPortTable.Function[C.Pf],
                                                     &mModule.Tables.mNaloAddressTable[C.Pf],
                                                     &mModule.Tables.mNaloBootTable[C.Pf]}
                         : std::vector<const void *>(3, nullptr)));
    EXPECT_EQ(mModule.Run.mAddrDefaultsPlanned != 0, !C.NewPort);
  }
}

// An Emulex0720 adapter already running in layout 1 or 3 has its records rewritten before the
// first phase of a later controller, and not again at the second.
TEST_F(DispatchTest, Emulex0720LayoutInForceIsAppliedAtInstanceZero) {
  for (UINT32 Layout : {0u, 1u, 2u, 3u}) {
    Fresh();
    mModule.Run.mFamily.Emulex0720 = TRUE;
    FUNCTION_SETTINGS *A = NewRecord(0x10DF, 0x0720, 1, 1); // a later function: nothing is planned
    A->SubsystemId = 0x11F9;
    A->FunctionCount = 1;
    A->Functions[0] = A;
    mModule.Discovered.mActiveLinkConfig = Layout;
    mModule.Discovered.mLinkConfig = 3; // rewrites only the layout field of each record
    Step(0, A);
    const bool Adjusted = Layout == 1 || Layout == 3;
    EXPECT_EQ(A->LinkConfig, Adjusted ? 3u : 0u) << Layout;
    EXPECT_EQ(mModule.Run.mLinkAdjusted != 0, Adjusted) << Layout;
  }
}

// A QLogic2031 plan completes at once. EXIT belongs to the controller's own record, and so does
// END, even where an earlier controller's plan left its records in the settings list.
TEST_F(DispatchTest, CompletedPlanIsClosedOnTheControllersOwnRecord) {
  mModule.Run.mFamily.QLogic2031 = TRUE;
  FUNCTION_SETTINGS *A = Port(0x1077, 0x2031, 0, 1)[0], *Stale = NewRecord(), *Handed = nullptr;
  std::fill(std::begin(mModule.Run.mCommandSettings), std::end(mModule.Run.mCommandSettings), Stale);
  EXPECT_EQ(Step(0, A, &Handed), EFI_SUCCESS);
  EXPECT_EQ(PlannedList(), (Codes{SHOW_PF_INFO, (INT32)EXIT}));
  EXPECT_EQ(mModule.Run.CommandList[2], END);
  EXPECT_EQ(Handed, A);
  EXPECT_EQ(Step(1, A, &Handed), EFI_SUCCESS);
  EXPECT_EQ(Handed, A);
  EXPECT_EQ(Step(2, A, &Handed), EFI_NOT_FOUND);
  EXPECT_EQ(Handed, A);
  EXPECT_EQ(A->ProgressFlags & PROGRESS_FLAG_CONFIG_DONE, PROGRESS_FLAG_CONFIG_DONE);
  EXPECT_EQ(Stale->ProgressFlags, 0);
}

// In layout 1 a port has one function: the pass ends after the record's first function entry.
TEST_F(DispatchTest, LayoutOnePlansOnlyThePortsFirstFunction) {
  for (UINT32 Layout : {0u, 1u, 2u}) {
    Fresh();
    mModule.Run.mFamily.QLogic8070 = TRUE;
    std::vector<FUNCTION_SETTINGS *> Fs = Port(0x1077, 0x8070, 0, 2);
    Fs[0]->LinkConfig = Fs[1]->LinkConfig = Layout;
    Step(0, Fs[0]);
    const bool Both = Layout != 1;
    EXPECT_EQ(PlannedList(), Both ? (Codes{SHOW_UMC, SHOW_SRIOV, SHOW_VERSION, SHOW_PXE_VLAN, SHOW_PXE_VLAN})
                                  : (Codes{SHOW_UMC, SHOW_SRIOV, SHOW_VERSION, SHOW_PXE_VLAN}))
        << Layout;
    FUNCTION_SETTINGS *const F0 = Fs[0];
    EXPECT_EQ(
        std::vector<FUNCTION_SETTINGS *>(mModule.Run.mCommandSettings, mModule.Run.mCommandSettings + 6),
        (std::vector<FUNCTION_SETTINGS *>{F0, F0, F0, F0, Both ? Fs[1] : nullptr, nullptr}))
        << Layout;
  }
}

// Between the phase Instances no planner runs: nothing is appended and the phases stay where they
// are.
TEST_F(DispatchTest, PlannersRunOnlyAtTheirPhaseInstances) {
  mModule.Run.mFamily.QLogic8070 = TRUE;
  std::vector<FUNCTION_SETTINGS *> Fs = Port(0x1077, 0x8070, 0, 2);
  Fs[1]->DeviceId = 0x1644;
  const struct {
    UINTN Instance, Count;
    UINT8 Phase2, Phase3;
  } Steps[] = {{0, 5, 5, 255}, {1, 5, 5, 255}, {5, 10, 5, 10}, {6, 10, 5, 10}, {9, 10, 5, 10}};
  for (const auto &T : Steps) {
    // A planner that ran would take the layout from the record again.
    const bool PhaseInstance = T.Instance == 0 || T.Instance == 5;
    mModule.Discovered.mLinkConfig = 7;
    Step(T.Instance, Fs[0]);
    EXPECT_EQ(mModule.Discovered.mLinkConfig == 7, !PhaseInstance) << T.Instance;
    EXPECT_EQ((std::vector<UINTN>{mModule.Run.mCommandCount, mModule.Run.mPlanInstance,
                                  mModule.Run.mPlanInstance2}),
              (std::vector<UINTN>{T.Count, T.Phase2, T.Phase3}))
        << T.Instance;
  }
}

// Every row of the family table, through the managed step: each listed device is identified as
// the row's family, the row's planner plans the first function's discovery codes and the row's
// builder writes the first line. The Mellanox families share their first line; their second
// line tells the two builders apart.
TEST_F(DispatchTest, EveryFamilyRowReachesItsPlannerAndBuilder) {
  const struct {
    UINT16 Vendor;
    std::vector<UINT16> Devices;
    Codes Planned;
    const char *Line0, *Line1;
  } Families[] = {
      {0x1077,
       {0x8070, 0x1644, 0x1656},
       {SHOW_UMC, SHOW_SRIOV, SHOW_VERSION, SHOW_PXE_VLAN},
       "show device VirtualizationMode",
       nullptr},
      {0x1077, {0x2261}, {SHOW_PF_INFO}, "show port1", nullptr},
      {0x8086, {0x1572}, {SHOW_PF_MFG_MAC}, "show PermanentAddress", nullptr},
      {0x1077, {0x2031, 0x2532}, {SHOW_PF_INFO, (INT32)EXIT}, "show port1", "exit"},
      {0x10DF, {0x0720, 0x0722, 0x0724}, {SHOW_PF_INFO}, "show port0/pf0 OEMELX_PFInfo", nullptr},
      {0x10DF,
       {0xE200, 0xE300},
       {SHOW_VERSION, SHOW_PORT_EN, SHOW_BOOT_EN},
       "show fcport0 OEMELX_FirmwareVersions",
       nullptr},
      {0x19A2,
       {0x0700, 0x0702, 0x0704},
       {SHOW_VERSION, SHOW_PF_TYPE, SHOW_PF_MFG_MAC},
       "show port0 OEMVDR_FirmwareVersions",
       nullptr},
      {0x19A2, {0x0710, 0x0712, 0x0714}, {SHOW_PF_INFO}, "show port0/pf0 OEMVDR_PfInfo", nullptr},
      {0x15B3,
       {0x1013, 0x1015},
       {SHOW_VERSION, SHOW_SRIOV, SHOW_PORT_EN, SHOW_BOOT_EN, SHOW_MAX_LINK_SPEED, SHOW_PF_MFG_MAC,
        SHOW_PF_MAC, SHOW_PXE_VLANID},
       "show netport1 FirmwareVersions",
       "show netport1 SRIOVState"},
      {0x15B3,
       {0x1017, 0x101B},
       {SHOW_VERSION, SHOW_MAX_LINK_SPEED, (INT32)EXIT},
       "show netport1 FirmwareVersions",
       "show netport1 MAXLinkSpeed"},
  };
  ASSERT_EQ(mAdapterFamilyCount, std::size(Families));
  for (UINTN Row = 0; Row < mAdapterFamilyCount; Row++) {
    const auto &F = Families[Row];
    for (UINT16 Device : F.Devices) {
      SCOPED_TRACE(testing::Message() << std::hex << F.Vendor << ":" << Device);
      Fresh();
      FUNCTION_SETTINGS *A = Port(F.Vendor, Device, 0, 1)[0];
      ASSERT_TRUE(IdentifyAdapterFamily(A));
      EXPECT_EQ(IdentifiedFamily(), &mAdapterFamilies[Row]);
      CHAR8 *Text = nullptr;
      BOOLEAN Parse = FALSE;
      UINTN Code = 0, Instance = 0;
      FUNCTION_SETTINGS *Handed = A;
      EXPECT_EQ(RunManagedStep(&Instance, &Handed, &Text, &Parse, &Code), EFI_SUCCESS);
      EXPECT_EQ(PlannedList(), F.Planned);
      EXPECT_STREQ((const char *)Text, F.Line0);
      if (F.Line1 != nullptr) {
        Instance = 1;
        Handed = A;
        EXPECT_EQ(RunManagedStep(&Instance, &Handed, &Text, &Parse, &Code), EFI_SUCCESS);
        EXPECT_STREQ((const char *)Text, F.Line1);
      }
      // The port's second function: the Emulex0720, Emulex0710, Emulex0700 and QLogic8070 families
      // are planned through the first function of each port only.
      Fresh();
      FUNCTION_SETTINGS *Second = Port(F.Vendor, Device, 0, 2)[1];
      ASSERT_TRUE(IdentifyAdapterFamily(Second));
      Instance = 0;
      Handed = Second;
      RunManagedStep(&Instance, &Handed, &Text, &Parse, &Code);
      const bool FirstOnly =
          F.Vendor == 0x19A2 || (F.Vendor == 0x10DF && Device != 0xE200 && Device != 0xE300) ||
          (F.Vendor == 0x1077 && (Device == 0x8070 || Device == 0x1644 || Device == 0x1656));
      EXPECT_EQ(mModule.Run.mCommandCount == 0, FirstOnly);
    }
  }
}

} // namespace
