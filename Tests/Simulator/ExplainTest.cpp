// --explain, --plan and --boots on the demo fleet, and a scenario made to fight. The expected
// reasons follow from the demo fleet's platform tables and the planning rules: the EmulexE200 road
// reads port and boot enable at Instances 1 and 2, the current names at Instances 4 and 6, and
// plans the boot targets, link speed and topology whenever the boot entry is usable.
#include <cstdio>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Simulator/Convergence.h"
#include "Simulator/Explain.h"
#include "Simulator/Simulator.h"
#include "Simulator/SimulateCommand.h"

extern const char *const kDemoFleet;

namespace {

const sim::TranscriptRun &RunOf(const sim::Transcript &T, size_t Boot, const std::string &Name,
                                size_t Run = 0) {
  for (const sim::TranscriptController &C : T.Boots.at(Boot).Controllers) {
    if (C.Name == Name) {
      return C.Runs.at(Run);
    }
  }
  ADD_FAILURE() << "no controller " << Name;
  static const sim::TranscriptRun kNone;
  return kNone;
}

const sim::TranscriptStep *StepAt(const sim::TranscriptRun &Run, uint64_t Instance) {
  for (const sim::TranscriptStep &S : Run.Steps) {
    if (S.Instance == Instance) {
      return &S;
    }
  }
  return nullptr;
}

sim::Transcript Explained() {
  sim::Explainer Explainer;
  sim::RunOptions Options;
  Options.Listener = &Explainer;
  return sim::RunScenario(sim::LoadScenarioText(kDemoFleet), Options);
}

TEST(Explain, EmulexE200RoadGivesTheReasonOfEverySetCode) {
  const sim::Transcript T = Explained();
  const sim::TranscriptRun &Road = RunOf(T, 0, "fc3/p0/f0");
  const std::string Targets =
      "planned without comparing: boot targets are planned whenever the platform supplies them; ";
  const std::string Link =
      "planned without comparing: boot link settings are planned whenever the platform supplies them; ";
  const struct {
    uint64_t Instance;
    std::string Command, Reason;
  } Rows[] = {
      {15, "set fcport0 OEMELX_BootEnable=enabled",
       "SET_BOOT_EN: compared and different: desired 1 (boot table entry 0 Enabled) differs from current 0 "
       "(reply of "
       "Instance 2)"},
      {16, "set fcport0 OEMELX_VolatileWWNN=20000090FAAA0300",
       "SET_PF_WWNN: compared and different: desired 20000090FAAA0300 (address table entry 0 Wwnn) differs "
       "from "
       "current 20000090FA8C1A00 (reply of Instance 4)"},
      {17, "set fcport0 OEMELX_VolatileWWPN=10000090FAAA0300",
       "SET_PF_WWPN: compared and different: desired 10000090FAAA0300 (address table entry 0 Wwpn) differs "
       "from "
       "current 10000090FA8C1A00 (reply of Instance 6)"},
      {18, "set fcport0 OEMELX_TargetWWPN[0]=50060E8007E2A100",
       "SET_PF_TAR_WWPN1: " + Targets + "desired 50060E8007E2A100 (boot table entry 0 Target1Wwpn)"},
      {19, "set fcport0 OEMELX_TargetWWPN[1]=50060E8007E2A110",
       "SET_PF_TAR_WWPN2: " + Targets + "desired 50060E8007E2A110 (boot table entry 0 Target2Wwpn)"},
      {20, "set fcport0 OEMELX_TargetLUN[0]=0000",
       "SET_PF_TAR_LUN1: " + Targets + "desired 0000 (boot table entry 0 Target1Lun)"},
      {21, "set fcport0 OEMELX_TargetLUN[1]=0001",
       "SET_PF_TAR_LUN2: " + Targets + "desired 0001 (boot table entry 0 Target2Lun)"},
      {22, "set fcport0 OEMELX_LinkSpeed=0008",
       "SET_LINK_SPEED: " + Link + "desired 0008 (boot table entry 0 FcLinkSpeed)"},
      {23, "set fcport0 OEMELX_Topology=02",
       "SET_TOPOLOGY: " + Link + "desired 02 (boot table entry 0 FcTopology)"},
  };
  for (const auto &Row : Rows) {
    const sim::TranscriptStep *S = StepAt(Road, Row.Instance);
    ASSERT_NE(S, nullptr) << Row.Instance;
    EXPECT_EQ(S->Command, Row.Command);
    EXPECT_EQ(S->Reasons, std::vector<std::string>{Row.Reason}) << Row.Instance;
  }
  // The decision that planned nothing in the same pass, and the phase of the shows.
  EXPECT_EQ(StepAt(Road, 15)->Unchanged,
            std::vector<std::string>{"port enable: desired 1 = current 1, nothing to change"});
  EXPECT_EQ(StepAt(Road, 2)->Reasons,
            std::vector<std::string>{"SHOW_BOOT_EN: discovery, planned at Instance 0 (phase 1)"});
  EXPECT_EQ(StepAt(Road, 7)->Reasons,
            std::vector<std::string>{"SHOW_PF_VOLATILE_WWNN: discovery, planned at Instance 3 (phase 2)"});
  EXPECT_TRUE(StepAt(Road, 24)->Reasons.empty()); // "exit" is no planning decision
}

TEST(Plan, DemoFleetShowsOnlyTheChangesAndTheFleetTable) {
  const std::string Plan = sim::TranscriptToPlan(Explained());
  EXPECT_EQ(Plan.find(" show "), std::string::npos);
  EXPECT_NE(
      Plan.find(
          "\nfc3/p0/f0\n   15 set fcport0 OEMELX_BootEnable=enabled\n        why: SET_BOOT_EN: compared"),
      std::string::npos);
  EXPECT_NE(Plan.find("\ncna4/p0/f0\n  run 1\n"), std::string::npos);
  EXPECT_NE(Plan.find("    5 exit  [restart: RestartController]\n  run 2 (after the restart)\n"),
            std::string::npos);
  EXPECT_NE(Plan.find("\neth8/p0/f0  (no change)\n"), std::string::npos);
  // Changes per controller: the Intel LOM sets its defaults and its MAC; the EmulexE200 and the
  // QLogic2261 ports boot enable, two names, two targets, two LUNs, speed and topology; the
  // Emulex0720 two function types, then after the restart two VLANs, PXE VLAN and its ID, two MACs
  // and two names; the Mellanox1013 SR-IOV, MAC and VLAN; the ToolMode controller its one command.
  const std::vector<std::tuple<const char *, int, int, int>> Fleet = {
      {"lom/p0/f0", 2, 0, 0},   {"lom/p1/f0", 2, 0, 0},   {"fc3/p0/f0", 9, 0, 0}, {"fc3/p1/f0", 9, 0, 0},
      {"cna4/p0/f0", 10, 1, 0}, {"npar5/p0/f0", 0, 0, 0}, {"fc6/p0/f0", 9, 0, 0}, {"ib7/p0/f0", 3, 0, 0},
      {"eth8/p0/f0", 0, 0, 0},  {"tool9/p0/f0", 1, 0, 0}, {"all", 45, 1, 0},
  };
  for (const auto &[Name, Changes, Restarts, Failures] : Fleet) {
    char Line[128];
    std::snprintf(Line, sizeof(Line), "\n  %-24s %8d %8d %8d\n", Name, Changes, Restarts, Failures);
    EXPECT_NE(Plan.find(Line), std::string::npos) << Line;
  }
}

TEST(Boots, DemoFleetConvergesExceptWhatRulesReapply) {
  sim::Explainer Explainer;
  sim::Convergence C;
  const sim::Transcript T = sim::RunBoots(sim::LoadScenarioText(kDemoFleet), 3, &Explainer, &C);
  EXPECT_EQ(T.Boots.size(), 3u);
  EXPECT_EQ(T.ExitStatus, 0);
  EXPECT_EQ(C.Fights(), 0u);
  std::set<std::string> Reapplied;
  for (const sim::SettingOutcome &S : C.Settings) {
    if (S.Outcome == "reapplied") {
      Reapplied.insert(S.Controller + " " + S.Setting);
      EXPECT_EQ(S.SetIn, (std::vector<unsigned>{1, 2, 3})) << S.Setting;
    } else {
      EXPECT_EQ(S.Outcome, "converged") << S.Setting;
      EXPECT_EQ(S.SetIn, std::vector<unsigned>{1}) << S.Controller << " " << S.Setting;
    }
  }
  std::set<std::string> Expected = {
      "lom/p0/f0 set Default",
      "lom/p0/f0 set PermanentAddress",
      "lom/p1/f0 set Default",
      "lom/p1/f0 set PermanentAddress",
      "cna4/p0/f0 set port0/pf0 OEMELX_PXEVlan",
      "cna4/p0/f0 set port0/pf0 OEMELX_PXEVlanID",
      "tool9/p0/f0 set /system1/hba1 OEM_BootEnable",
  };
  for (const char *Port : {"fc3/p0/f0 set fcport0 OEMELX_", "fc3/p1/f0 set fcport1 OEMELX_"}) {
    for (const char *Name :
         {"TargetWWPN[0]", "TargetWWPN[1]", "TargetLUN[0]", "TargetLUN[1]", "LinkSpeed", "Topology"}) {
      Expected.insert(std::string(Port) + Name);
    }
  }
  for (const char *Name : {"OEM_TargetWWPN[0]", "OEM_TargetWWPN[1]", "OEM_TargetLUN[0]", "OEM_TargetLUN[1]",
                           "OEM_hbaportLinkSpeed", "OEM_hbaportTopology"}) {
    Expected.insert(std::string("fc6/p0/f0 set netport1 ") + Name);
  }
  EXPECT_EQ(Reapplied, Expected);
  const std::string Text = sim::ConvergenceToText(C);
  EXPECT_NE(
      Text.find(
          "  fc3/p0/f0  set fcport0 OEMELX_TargetWWPN[0]: re-applied at every boot by rule (boot targets "
          "are planned whenever the platform supplies them)\n"),
      std::string::npos);
  EXPECT_NE(Text.find("  fc3/p0/f0  set fcport0 OEMELX_BootEnable: converged\n"), std::string::npos);
}

#ifdef PTD_SIMULATE
TEST(Boots, AFightIsReportedWithItsTwoValuesAndExitStatusThree) {
  const std::string Fight = std::string("\"") + PTD_SOURCE_DIR + "/Tests/Simulator/scenarios/fight.json\"";
  const Command Three = Simulate("--boots 3 " + Fight);
  EXPECT_EQ(Three.Status, sim::kExitFight);
  EXPECT_NE(
      Three.Output.find("  fc3/p0/f0  set fcport0 OEMELX_BootEnable: never converges: the platform wants 1, "
                        "the adapter reports 0 at every boot\n"),
      std::string::npos);
  EXPECT_NE(Three.Output.find("  1 setting(s) never converge: exit status 3\n"), std::string::npos);
  // One boot alone cannot tell a fight from a first change.
  EXPECT_EQ(Simulate("--boots 1 " + Fight).Status, 0);
}
#endif

} // namespace
