// Emulex0720 planner and its RoCE/SR-IOV probe of the platform's port configurations.
#include "PlannerFixture.h"

namespace {

class Emulex0720PlannerTest : public PlannerTest {
protected:
  FUNCTION_SETTINGS *Adapter(UINT16 Subsystem, UINT8 PortIndex, UINT8 Functions) {
    mModule.mFamily.Emulex0720 = TRUE;
    std::vector<FUNCTION_SETTINGS *> Fs = Port(0x10DF, 0x0720, PortIndex, Functions);
    for (FUNCTION_SETTINGS *F : Fs) {
      F->SubsystemId = Subsystem;
      F->PortEnable = 1;
    }
    mModule.mCurrentPortEnable = mModule.mTargetPortEnable = 1;
    return Fs[0];
  }
  static NALO_PORT_TABLE Wish(UINT8 FunctionCount, UINT8 Enabled, UINT8 Roce, UINT8 Sriov) {
    NALO_PORT_TABLE T = {};
    T.DesiredFunctionCount = FunctionCount;
    T.Function[0].Enabled = Enabled;
    T.Function[0].RoceMode = Roce;
    T.Function[0].SriovEnable = Sriov;
    return T;
  }
};

TEST_F(Emulex0720PlannerTest, FirstPhasesDependOnWhereTheLayoutIsKnown) {
  struct Case {
    UINT16 Subsystem;
    UINT8 Port;
    std::vector<int> Phase1, Phase2;
  };
  const Case Cases[] = {
      {0xE868, 0, {SHOW_LINK_CONFIG}, {SHOW_PF_INFO}},
      {0x11F9, 0, {SHOW_LINK_CONFIG}, {SHOW_PF_INFO}},
      {0xE868, 1, {SHOW_PF_INFO}, {EXIT}},
      {0x0001, 0, {SHOW_PF_INFO}, {EXIT}},
  };
  for (const Case &C : Cases) {
    Prepare();
    FUNCTION_SETTINGS *F = Adapter(C.Subsystem, C.Port, 1);
    mModule.mPfTypeTable[0] = 3;
    mModule.mPfTypeTable[15] = 0;
    EXPECT_EQ(Pass(0, F), C.Phase1) << std::hex << C.Subsystem;
    EXPECT_EQ(mModule.mPfTypeTable[0], 0u);
    EXPECT_EQ(mModule.mPfTypeTable[15], 7u);
    EXPECT_EQ(Pass(1, F), C.Phase2) << std::hex << C.Subsystem;
  }
}

TEST_F(Emulex0720PlannerTest, RoceOnAnyPortAddsTheProfileAndEndsThePlanWithARestart) {
  FUNCTION_SETTINGS *F = Adapter(0x0001, 0, 1);
  F->PortCount = 2;
  F->NaloIndex = 10;
  F->CardIndex = 1;
  F->PortNumber = 2;
  EXPECT_EQ(Pass(0, F), Codes({SHOW_PF_INFO}));

  mModule.mNaloHeader.PortTableValid = 1;
  mModule.mNaloPortTable.DesiredPortEnable = 1;
  mModule.mNaloPortTable.DesiredFunctionCount = 1;
  mModule.mNaloPortTable.Function[0].Enabled = 1;
  PortAnswers[10].Table = Wish(0, 1, 1, 0); // no function count wish: passed over
  PortAnswers[11].Table = Wish(2, 1, 2, 1);
  EXPECT_EQ(Pass(1, F), Codes({SET_ROCE_PROFILE, SET_PF2_TYPE, EXIT}));
  EXPECT_EQ(mModule.mRoceMode, 1);
  EXPECT_EQ(mModule.mSriovRequested, 0);
  EXPECT_EQ(mModule.mPfTypeTable[0], (UINT32)PF_TYPE_ROCE);
  EXPECT_EQ(RestartNotifications, 1);
  EXPECT_EQ(mModule.mEmulex0720Flag, 1);
  EXPECT_EQ(F->ProgressFlags & (PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2), 0);
  EXPECT_EQ(PortCalls, (std::vector<std::tuple<UINT8, UINT8, UINT8>>{{10, 1, 2}, {11, 1, 2}}));
  EXPECT_EQ(Allocations, 1);
  EXPECT_EQ(Frees, 1);
}

TEST_F(Emulex0720PlannerTest, LaterFunctionsOfAPortStopAtTheDesiredFunctionCount) {
  UINT8 Mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
  struct Case {
    UINT8 DesiredFunctionCount;
    std::vector<int> Phase3;
  };
  const Case Cases[] = {
      {1, {SET_PXE_VLAN, EXIT}},
      {2, {SET_PXE_VLAN, SET_PXE_VLAN, SET_PF_MAC, EXIT}},
  };
  for (const Case &C : Cases) {
    Prepare();
    FUNCTION_SETTINGS *F = Adapter(0x0001, 0, 2);
    Pass(0, F);
    mModule.mNaloHeader.PortTableValid = 1;
    mModule.mNaloHeader.AddressTableValid = 1;
    mModule.mNaloPortTable.DesiredPortEnable = 1;
    mModule.mNaloPortTable.DesiredFunctionCount = C.DesiredFunctionCount;
    mModule.mNaloAddressTable[1].Enabled = 1;
    mModule.mNaloAddressTable[1].Mac = Mac;
    EXPECT_EQ(Pass(2, F), C.Phase3) << (int)C.DesiredFunctionCount;
    EXPECT_EQ(RestartNotifications, 0);
  }
}

TEST_F(Emulex0720PlannerTest, ProbeStopsAtTheFirstPortThatAsksAndBoundsItsIndices) {
  struct Answer {
    UINT8 Index;
    NALO_PORT_TABLE Table;
  };
  struct Case {
    const char *Name;
    UINT8 NaloIndex, PortCount;
    UINT16 Subsystem;
    std::vector<Answer> Answers;
    UINT8 Roce, Sriov;
    UINT32 Layout;
    std::vector<UINT8> Calls;
  };
  const Case Cases[] = {
      {"roce on the second port",
       10,
       3,
       0,
       {{10, Wish(1, 1, 0, 0)}, {11, Wish(1, 1, 1, 0)}, {12, Wish(1, 1, 0, 1)}},
       1,
       0,
       9,
       {10, 11}},
      {"roce wins over sriov", 10, 3, 0, {{10, Wish(1, 1, 2, 1)}}, 1, 0, 9, {10}},
      {"sriov after a disabled entry",
       10,
       3,
       0,
       {{10, Wish(1, 0, 1, 1)}, {11, Wish(1, 1, 0, 1)}},
       0,
       1,
       9,
       {10, 11}},
      {"indices wrap at 256", 255, 3, 0, {}, 0, 0, 9, {255, 0, 1}},
      {"card index stays", 224, 2, 0, {}, 0, 0, 9, {224, 224}},
      {"four ports known", 20, 0, 0xE868, {{20, {}}, {21, {}}}, 0, 0, 3, {20, 21}},
      {"only the first known", 20, 0, 0xE868, {{20, {}}}, 0, 0, 2, {20, 21, 22, 23}},
  };
  for (const Case &C : Cases) {
    Prepare();
    FUNCTION_SETTINGS *F = Record(0x10DF, 0x0720, 0, 0);
    F->NaloIndex = C.NaloIndex;
    F->PortCount = C.PortCount;
    F->SubsystemId = C.Subsystem;
    for (const Answer &A : C.Answers) {
      PortAnswers[A.Index].Table = A.Table;
    }
    UINT8 Roce = 0, Sriov = 0;
    UINT32 Layout = 9;
    ProbeRoceAndSriov(F, &Roce, &Sriov, &Layout);
    EXPECT_EQ(Roce, C.Roce) << C.Name;
    EXPECT_EQ(Sriov, C.Sriov) << C.Name;
    EXPECT_EQ(Layout, C.Layout) << C.Name;
    std::vector<UINT8> Calls;
    for (auto &Call : PortCalls) {
      Calls.push_back(std::get<0>(Call));
    }
    EXPECT_EQ(Calls, C.Calls) << C.Name;
    EXPECT_EQ(Allocations, 1) << C.Name;
    EXPECT_EQ(Frees, 1) << C.Name;
  }
}

TEST_F(Emulex0720PlannerTest, ProbeOfTwoHundredFiftyFivePortsAsksEachOnce) {
  FUNCTION_SETTINGS *F = Record(0x10DF, 0x0720, 0, 0);
  F->NaloIndex = 1;
  F->PortCount = 255;
  UINT8 Roce = 0, Sriov = 0;
  UINT32 Layout = 0;
  ProbeRoceAndSriov(F, &Roce, &Sriov, &Layout);
  ASSERT_EQ(PortCalls.size(), 255u);
  EXPECT_EQ(std::get<0>(PortCalls[254]), 255);
}

TEST_F(Emulex0720PlannerTest, ProbeWithoutPoolMemoryAsksNothing) {
  FUNCTION_SETTINGS *F = Record(0x10DF, 0x0720, 0, 0);
  F->PortCount = 2;
  F->SubsystemId = 0xE868;
  PortAnswers[0].Table = Wish(1, 1, 1, 0);
  FailAllocation = true;
  UINT8 Roce = 0, Sriov = 0;
  UINT32 Layout = 0;
  ProbeRoceAndSriov(F, &Roce, &Sriov, &Layout);
  EXPECT_TRUE(PortCalls.empty());
  EXPECT_EQ(Roce, 0);
  EXPECT_EQ(Layout, 0u);
}

} // namespace
