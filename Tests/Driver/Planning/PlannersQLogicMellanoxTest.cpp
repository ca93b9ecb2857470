// QLogic8070 and Mellanox planners.
#include "PlannerFixture.h"

namespace {

class QLogic8070PlannerTest : public PlannerTest {
protected:
  FUNCTION_SETTINGS *Function(UINT16 Device, UINT16 Subsystem, UINT8 PortIndex) {
    mModule.mFamily.QLogic8070 = TRUE;
    FUNCTION_SETTINGS *F = Port(0x1077, Device, PortIndex, 1)[0];
    F->SubsystemId = Subsystem;
    return F;
  }
};

TEST_F(QLogic8070PlannerTest, FirstPortReadsTheControllerFirstAndThePortInPhaseTwo) {
  struct Case {
    UINT8 Partitioned;
    UINT8 PxeVlan;
    std::vector<int> Phase2, Phase3;
  };
  const Case Cases[] = {
      {0, 0, {SHOW_BOOT_EN, SHOW_PF_MFG_MAC, SHOW_PF_MAC}, {SHOW_PF_MAC, EXIT}},
      {0, 1, {SHOW_BOOT_EN, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PXE_VLANID}, {SHOW_PF_MAC, EXIT}},
      {1,
       0,
       {SHOW_BOOT_EN, SHOW_PF_BANDWIDTH, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE},
       {EXIT}},
  };
  for (const Case &C : Cases) {
    Prepare();
    FUNCTION_SETTINGS *F = Function(0x8070, 0x0001, 0);
    F->PfType = PF_TYPE_NIC;
    mModule.mPfTypeCount = 5;
    EXPECT_EQ(Pass(0, F), Codes({SHOW_UMC, SHOW_SRIOV, SHOW_VERSION, SHOW_PXE_VLAN}));
    EXPECT_EQ(mModule.mPfTypeCount, 0);
    EXPECT_EQ(mModule.mPlanInstance, 4);
    mModule.mCurrentUmc = C.Partitioned; // as the SHOW_UMC and SHOW_PXE_VLAN replies left them
    mModule.mPxeVlanEnabled = C.PxeVlan;
    EXPECT_EQ(Pass(4, F), C.Phase2) << (int)C.Partitioned << (int)C.PxeVlan;
    EXPECT_EQ(Pass(mModule.mPlanInstance2, F), C.Phase3);
    EXPECT_EQ((F->ProgressFlags & PROGRESS_FLAG_PLAN_DONE1) != 0, C.Partitioned == 0);
  }
}

TEST_F(QLogic8070PlannerTest, SecondPortDiscoversAtInstanceZeroWithTheAdaptersPartitioning) {
  struct Case {
    UINT16 Device, Subsystem;
    std::vector<int> Phase1;
  };
  const Case Cases[] = {
      {0x8070,
       0x0001,
       {SHOW_BOOT_EN, SHOW_PF_BANDWIDTH, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE,
        SHOW_PXE_VLAN}},
      {0x8070,
       0x0029,
       {SHOW_BOOT_EN, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE, SHOW_PXE_VLAN}},
      {0x8070,
       0x0061,
       {SHOW_BOOT_EN, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE, SHOW_PXE_VLAN}},
      {0x8070,
       0x0064,
       {SHOW_BOOT_EN, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE, SHOW_PXE_VLAN}},
      {0x1644,
       0x0061,
       {SHOW_BOOT_EN, SHOW_PF_BANDWIDTH, SHOW_PF_RATE_LIMIT, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PF_TYPE,
        SHOW_PXE_VLAN}},
  };
  for (const Case &C : Cases) {
    Prepare();
    FUNCTION_SETTINGS *F = Function(C.Device, C.Subsystem, 1);
    mModule.mCurrentUmc = 1; // read on the first port
    EXPECT_EQ(Pass(0, F), C.Phase1) << std::hex << C.Device << ":" << C.Subsystem;
  }
  Prepare();
  FUNCTION_SETTINGS *F = Function(0x8070, 0x0001, 1);
  EXPECT_EQ(Pass(0, F), Codes({SHOW_BOOT_EN, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PXE_VLAN}));
}

class MellanoxPlannerTest : public PlannerTest {};

TEST_F(MellanoxPlannerTest, Mellanox1013ReadsThenSetsInTwoPhases) {
  struct Case {
    UINT8 Pf;
    BOOLEAN PortDefaults;
    std::vector<int> Phase1;
  };
  const Case Cases[] = {
      {0,
       TRUE,
       {SHOW_VERSION, SHOW_SRIOV, SET_PORT_DEFAULTS, SHOW_PORT_EN, SHOW_BOOT_EN, SHOW_MAX_LINK_SPEED,
        SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PXE_VLANID}},
      {0,
       FALSE,
       {SHOW_VERSION, SHOW_SRIOV, SHOW_PORT_EN, SHOW_BOOT_EN, SHOW_MAX_LINK_SPEED, SHOW_PF_MFG_MAC,
        SHOW_PF_MAC, SHOW_PXE_VLANID}},
      {1,
       FALSE,
       {SHOW_PORT_EN, SHOW_BOOT_EN, SHOW_MAX_LINK_SPEED, SHOW_PF_MFG_MAC, SHOW_PF_MAC, SHOW_PXE_VLANID}},
  };
  for (const Case &C : Cases) {
    Prepare();
    mModule.mFamily.Mellanox1013 = TRUE;
    Defaults[NALO_QUERY_DEFAULTS_PORT] = C.PortDefaults;
    FUNCTION_SETTINGS *F = Record(0x15B3, 0x1013, 0, C.Pf);
    F->FunctionCount = 1;
    F->Functions[0] = F;
    F->PortEnable = 1; // already enabled: port defaults do not force an enable
    mModule.mCurrentPortEnable = mModule.mTargetPortEnable = 1;
    EXPECT_EQ(Pass(0, F), C.Phase1) << (int)C.Pf << (int)C.PortDefaults;
    EXPECT_EQ(mModule.mPlanInstance, C.Phase1.size());
    EXPECT_EQ(Pass(mModule.mPlanInstance, F), Codes({SHOW_PF_MAC, EXIT}));
    EXPECT_NE(F->ProgressFlags & PROGRESS_FLAG_PLAN_DONE2, 0);
  }
}

TEST_F(MellanoxPlannerTest, Mellanox1017ReadsVersionsAndSpeedOnly) {
  for (UINT8 Pf : {0, 1}) {
    Prepare();
    mModule.mFamily.Mellanox1017 = TRUE;
    FUNCTION_SETTINGS *F = Record(0x15B3, 0x1017, 0, Pf);
    F->FunctionCount = 1;
    F->Functions[0] = F;
    EXPECT_EQ(Pass(0, F), Pf == 0 ? Codes({SHOW_VERSION, SHOW_MAX_LINK_SPEED, EXIT})
                                  : Codes({SHOW_MAX_LINK_SPEED, EXIT}));
    EXPECT_EQ(F->ProgressFlags, 0);
  }
}

} // namespace
