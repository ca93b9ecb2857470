// General planner and QLogic2031 planner, driven phase by phase.
#include "PlannerFixture.h"

namespace {

class GeneralPlannerTest : public PlannerTest {
protected:
  // Platform tables as the load at the start of phase 2 leaves them for an FC function whose
  // enables match, whose boot entry is usable and whose virtual names differ from the current ones.
  CHAR8 Wwnn[17] = "20000090fa000001";
  CHAR8 Wwpn[17] = "10000090FA000001";
  CHAR8 Tar1[17] = "500507680B000001";
  CHAR8 Tar2[17] = "500507680B000002";
  CHAR8 Lun1[5] = "0001";
  CHAR8 Lun2[5] = "0002";
  CHAR8 Speed[5] = "0008";
  CHAR8 Topology[3] = "01";

  void LoadFibreChannelTables() {
    mModule.mNaloHeader.PortTableValid = 1;
    mModule.mNaloHeader.AddressTableValid = 1;
    mModule.mNaloHeader.BootTableValid = 1;
    mModule.mNaloPortTable.DesiredPortEnable = 1;
    NALO_ADDRESS_ENTRY &A = mModule.mNaloAddressTable[0];
    A.Enabled = 1;
    A.Wwnn = Wwnn;
    A.Wwpn = Wwpn;
    NALO_BOOT_ENTRY &B = mModule.mNaloBootTable[0];
    B.Enabled = 1;
    B.Target1Wwpn = Tar1;
    B.Target2Wwpn = Tar2;
    B.Target1Lun = Lun1;
    B.Target2Lun = Lun2;
    B.FcLinkSpeed = Speed;
    B.FcTopology = Topology;
  }
};

TEST_F(GeneralPlannerTest, EmulexE200FibreChannelRoadThroughThreePhases) {
  mModule.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x10DF, 0xE200, 0, 1)[0];
  F->PfType = PF_TYPE_FC;
  F->PortEnable = 1;
  F->BootEnable = 1;
  mModule.mCurrentPortEnable = mModule.mTargetPortEnable = 1;
  std::strcpy(reinterpret_cast<char *>(F->CurrentAddressText[0]), "20000090FA0000FF");
  std::strcpy(reinterpret_cast<char *>(F->CurrentAddressText[1]), "10000090FA0000FF");

  EXPECT_EQ(Pass(0, F), Codes({SHOW_VERSION, SHOW_PORT_EN, SHOW_BOOT_EN}));
  EXPECT_EQ(mModule.mPlanInstance, 3);
  EXPECT_EQ(mModule.mPlanInstance2, PLAN_INSTANCE_NONE);

  LoadFibreChannelTables();
  EXPECT_EQ(Pass(3, F),
            Codes({SHOW_PF_MFG_WWNN, SHOW_PF_WWNN, SHOW_PF_MFG_WWPN, SHOW_PF_WWPN, SHOW_PF_VOLATILE_WWNN,
                   SHOW_PF_VOLATILE_WWPN, SHOW_PF_TAR_WWPN1, SHOW_PF_TAR_WWPN2, SHOW_PF_TAR_LUN1,
                   SHOW_PF_TAR_LUN2, SHOW_LINK_SPEED, SHOW_TOPOLOGY}));
  EXPECT_EQ(mModule.mPlanInstance2, 15);
  EXPECT_EQ(F->ProgressFlags & (PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2), 0);

  EXPECT_EQ(Pass(15, F), Codes({SET_PF_WWNN, SET_PF_WWPN, SET_PF_TAR_WWPN1, SET_PF_TAR_WWPN2, SET_PF_TAR_LUN1,
                                SET_PF_TAR_LUN2, SET_LINK_SPEED, SET_TOPOLOGY, EXIT}));
  EXPECT_EQ(mModule.mCommandCount, 24u);
  EXPECT_EQ(mModule.CommandList[24], END);
  EXPECT_EQ(F->ProgressFlags & (PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2),
            PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
}

TEST_F(GeneralPlannerTest, EmulexE200NicFunctionGetsNoNameCodes) {
  mModule.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x10DF, 0xE200, 0, 1)[0];
  F->PfType = PF_TYPE_NIC;
  F->PortEnable = F->BootEnable = 1;
  mModule.mCurrentPortEnable = mModule.mTargetPortEnable = 1;
  Pass(0, F);
  Pass(3, F);
  LoadFibreChannelTables();
  EXPECT_EQ(Pass(15, F), Codes({EXIT}));
}

TEST_F(GeneralPlannerTest, Emulex0710FunctionCountChangeStopsThePlanAndAsksForOneRestart) {
  mModule.mFamily.Emulex0710 = TRUE;
  std::vector<FUNCTION_SETTINGS *> Fs = Port(0x19A2, 0x0710, 0, 2);
  EXPECT_EQ(Pass(0, Fs[0]), Codes({SHOW_PF_INFO, SHOW_PF_INFO}));
  EXPECT_EQ(mModule.mPlanInstance, 2);

  mModule.mCurrentPfCount = 1;
  mModule.mNaloHeader.PortTableValid = 1;
  mModule.mNaloPortTable.DesiredFunctionCount = 2;
  mModule.mNaloPortTable.Function[1].FunctionType = 0; // second function keeps its personality
  EXPECT_EQ(Pass(2, Fs[0]), Codes({SET_PFCOUNT, EXIT}));
  EXPECT_EQ(mModule.mPlanStopped, 1);
  EXPECT_EQ(mModule.mPlanComplete, 1);
  EXPECT_EQ(mModule.mPlanInstance2, 3);
  EXPECT_EQ(RestartNotifications, 1);

  // The adapter comes back still differing: the notification is not repeated.
  mModule.mPlanStopped = mModule.mPlanComplete = 0;
  mModule.mCommandCount = 0;
  mModule.mPlanInstance = mModule.mPlanInstance2 = PLAN_INSTANCE_NONE;
  Pass(0, Fs[0]);
  EXPECT_EQ(Pass(2, Fs[0]), Codes({SET_PFCOUNT, EXIT}));
  EXPECT_EQ(RestartNotifications, 1);
}

TEST_F(GeneralPlannerTest, QLogic2261WithoutIovRunsPhaseThreeAtOnceAndReportsTheFirmware) {
  mModule.mFamily.QLogic2031 = mModule.mFamily.QLogic2261 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x1077, 0x2261, 0, 1)[0];
  F->PfType = PF_TYPE_FC;
  std::strcpy(reinterpret_cast<char *>(F->FirmwareVersion[3]), "5.02.01");
  EXPECT_EQ(Pass(0, F), Codes({SHOW_PF_INFO}));
  EXPECT_EQ(mModule.mPlanInstance, 1);

  LoadFibreChannelTables();
  EXPECT_EQ(Pass(1, F), Codes({EXIT}));
  EXPECT_EQ(mModule.mPlanInstance2, PLAN_INSTANCE_NONE);
  EXPECT_EQ(IpmiText,
            "Current QLogic FC FW Version(5.2) does not support IOV Command. Supported from 6.7\r\n");
  EXPECT_NE(F->ProgressFlags & PROGRESS_FLAG_PLAN_DONE1, 0);
}

TEST_F(GeneralPlannerTest, QLogic2261WithoutVirtualAddressesSendsNoMessage) {
  mModule.mFamily.QLogic2031 = mModule.mFamily.QLogic2261 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x1077, 0x2261, 0, 1)[0];
  Pass(0, F);
  EXPECT_EQ(Pass(1, F), Codes({EXIT}));
  EXPECT_EQ(IpmiText, "");
}

TEST_F(GeneralPlannerTest, QLogic2261MessageTakesMajorAndMinorOfAnyDottedVersion) {
  const std::pair<const char *, const char *> Cases[] = {
      {"6.07.02", "Current QLogic FC FW Version(6.7) does not support IOV Command. Supported from 6.7\r\n"},
      {"1.2.3.4.5.6.7.8.9.1.2.3.4.5.6.7", // sixteen components
       "Current QLogic FC FW Version(1.2) does not support IOV Command. Supported from 6.7\r\n"},
      {"", "Current QLogic FC FW Version(0.0) does not support IOV Command. Supported from 6.7\r\n"},
  };
  for (const auto &C : Cases) {
    Prepare();
    mModule.mFamily.QLogic2031 = mModule.mFamily.QLogic2261 = TRUE;
    FUNCTION_SETTINGS *F = Port(0x1077, 0x2261, 0, 1)[0];
    std::strcpy(reinterpret_cast<char *>(F->FirmwareVersion[3]), C.first);
    Pass(0, F);
    LoadFibreChannelTables();
    Pass(1, F);
    EXPECT_EQ(IpmiText, C.second) << C.first;
  }
}

TEST_F(GeneralPlannerTest, QLogic2031IsOnlyRead) {
  mModule.mFamily.QLogic2031 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x1077, 0x2031, 0, 1)[0];
  EXPECT_EQ(Pass(0, F), Codes({SHOW_PF_INFO, EXIT}));
  EXPECT_EQ(mModule.mPlanInstance, 1);
}

TEST_F(GeneralPlannerTest, IntelPhasesFollowPlatformFlag6) {
  struct Case {
    UINT8 Flags;
    std::vector<int> Phase1, Phase2, Phase3;
  };
  const Case Cases[] = {
      {PLATFORM_FLAG_6, {SET_ADDR_DEFAULTS}, {SHOW_PF_MFG_MAC}, {SHOW_PF_MAC, EXIT}},
      {0, {SHOW_PF_MFG_MAC}, {SHOW_PF_MAC}, {EXIT}},
  };
  for (const Case &C : Cases) {
    Prepare();
    mModule.mFamily.Intel = TRUE;
    FUNCTION_SETTINGS *F = Port(0x8086, 0x1572, 0, 1)[0];
    F->PlatformFlags = C.Flags;
    F->PfType = PF_TYPE_NIC;
    EXPECT_EQ(Pass(0, F), C.Phase1);
    EXPECT_EQ(Pass(1, F), C.Phase2);
    EXPECT_EQ(Pass(2, F), C.Phase3);
  }
}

TEST_F(GeneralPlannerTest, AppendsStopShortOfTheEndOfTheCommandList) {
  mModule.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x10DF, 0xE200, 1, 1)[0];
  mModule.mCommandCount = 248;
  PLAN_STATE State = {248, PLAN_INSTANCE_NONE, 0, 0, 0};
  UINTN Count = 248;
  PlanGeneral(248, F, &State, &Count);
  // Two entries stay free for EXIT and END.
  EXPECT_EQ(Count, (UINTN)COMMAND_LIST_ENTRIES - 2);
  EXPECT_EQ(mModule.CommandList[252], SHOW_PF_VOLATILE_WWNN); // the fifth of the twelve shows
  EXPECT_EQ(mModule.CommandList[253], END);
  EXPECT_EQ(mModule.mPlanInstance2, (UINT8)Count);
}

} // namespace
