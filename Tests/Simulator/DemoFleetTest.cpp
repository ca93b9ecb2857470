// The demo fleet closes the loop: one boot brings every simulated adapter to what the platform asks
// for, and the next boot of the same machine only discovers, apart from the settings that are
// written on every boot whatever the adapter reports.
#include <chrono>
#include <set>

#include <gtest/gtest.h>

#include "Simulator/Simulator.h"

extern const char *const kDemoFleet;

namespace {

using sim::ModelState;

struct TwoBoots {
  sim::Transcript First, Second;
  std::vector<std::optional<ModelState>> AfterFirst, AfterSecond;
};

const TwoBoots &Fleet() {
  static const TwoBoots Runs = [] {
    TwoBoots R;
    const sim::Scenario S = sim::LoadScenarioText(kDemoFleet);
    R.First = sim::RunScenario(S, {nullptr, &R.AfterFirst});
    R.Second = sim::RunScenario(S, {&R.AfterFirst, &R.AfterSecond});
    return R;
  }();
  return Runs;
}

std::vector<std::string> SetCommands(const sim::Transcript &T) {
  std::vector<std::string> Sets;
  for (const sim::TranscriptBoot &Boot : T.Boots) {
    for (const sim::TranscriptController &C : Boot.Controllers) {
      for (const sim::TranscriptRun &Run : C.Runs) {
        for (const sim::TranscriptStep &Step : Run.Steps) {
          if (Step.Command.rfind("set ", 0) == 0) {
            Sets.push_back(C.Name + ": " + Step.Command);
          }
        }
      }
    }
  }
  return Sets;
}

size_t Restarts(const sim::Transcript &T) {
  size_t N = 0;
  for (const sim::TranscriptBoot &Boot : T.Boots) {
    for (const sim::TranscriptController &C : Boot.Controllers) {
      N += C.Runs.size() - 1;
    }
  }
  return N;
}

// Adapter order in DemoFleet.json.
enum { Lom, Fc3, Cna4, Npar5, Fc6, Ib7, Eth8, Tool9 };

std::string Prop(const std::optional<ModelState> &M, int Port, int Function, const char *Name) {
  const sim::PropertyMap &P = Function < 0 ? M->Ports.at(Port) : M->Functions.at(Port).at(Function);
  auto It = P.find(Name);
  return It == P.end() ? "(unset)" : It->second;
}

TEST(DemoFleet, FirstBootReachesWhatThePlatformAskedFor) {
  const TwoBoots &R = Fleet();
  ASSERT_EQ(R.First.ExitStatus, 0);
  ASSERT_EQ(R.First.LoadStatus, "EFI_SUCCESS");
  const auto &M = R.AfterFirst;
  ASSERT_EQ(M.size(), 8u);
  EXPECT_FALSE(M[Tool9]); // scripted
  // The wishes below are the fleet's virtual-I/O entries, written out by hand.
  EXPECT_EQ(Prop(M[Lom], 0, 0, "PermanentAddress"), "02A098001000");
  EXPECT_EQ(Prop(M[Lom], 1, 0, "PermanentAddress"), "02A098001001");
  for (int P = 0; P < 2; P++) {
    const std::string N = std::to_string(P);
    EXPECT_EQ(Prop(M[Fc3], P, -1, "WWNN"), "20000090FAAA030" + N);
    EXPECT_EQ(Prop(M[Fc3], P, -1, "WWPN"), "10000090FAAA030" + N);
    EXPECT_EQ(Prop(M[Fc3], P, -1, "PortEnable"), "enabled");
    EXPECT_EQ(Prop(M[Fc3], P, -1, "BootEnable"), "enabled");
    EXPECT_EQ(Prop(M[Fc3], P, -1, "TargetWWPN[0]"), "50060E8007E2A10" + N);
    EXPECT_EQ(Prop(M[Fc3], P, -1, "TargetWWPN[1]"), "50060E8007E2A11" + N);
    EXPECT_EQ(Prop(M[Fc3], P, -1, "TargetLUN[1]"), "0001");
    EXPECT_EQ(Prop(M[Fc3], P, -1, "LinkSpeed"), "0008");
    EXPECT_EQ(Prop(M[Fc3], P, -1, "Topology"), "02");
  }
  // Converged adapter: NIC + FCoE + iSCSI partitions, after one layout restart.
  EXPECT_EQ(Prop(M[Cna4], 0, 0, "PfType"), "NIC");
  EXPECT_EQ(Prop(M[Cna4], 0, 1, "PfType"), "FCoE");
  EXPECT_EQ(Prop(M[Cna4], 0, 2, "PfType"), "iSCSI");
  EXPECT_EQ(Prop(M[Cna4], 0, 0, "MAC"), "02A098004000");
  EXPECT_EQ(Prop(M[Cna4], 0, 1, "WWNN"), "20000090FAAA0401");
  EXPECT_EQ(Prop(M[Cna4], 0, 1, "WWPN"), "10000090FAAA0401");
  EXPECT_EQ(Prop(M[Cna4], 0, 2, "MAC"), "02A098004002");
  // The port is partitioned, so each function's VLAN comes from its own entry.
  EXPECT_EQ(Prop(M[Cna4], 0, 0, "PfVLANID"), "0100");
  EXPECT_EQ(Prop(M[Cna4], 0, 2, "PfVLANID"), "0200");
  EXPECT_EQ(Prop(M[Cna4], 0, 0, "PXEVlanID"), "0100");
  EXPECT_EQ(Prop(M[Fc6], 0, -1, "WWNN"), "20000024FFAA0600");
  EXPECT_EQ(Prop(M[Fc6], 0, -1, "WWPN"), "21000024FFAA0600");
  EXPECT_EQ(Prop(M[Fc6], 0, -1, "BootEnable"), "Enable");
  EXPECT_EQ(Prop(M[Ib7], 0, 0, "MAC"), "02A098007000");
  EXPECT_EQ(M[Ib7]->Adapter.at("SRIOVState"), "enabled");
  EXPECT_EQ(Prop(M[Ib7], 0, 0, "VlanID"), "0300"); // from its boot entry

  // The records the platform reads afterwards carry the same addresses.
  const auto &Rec = R.First.Records;
  EXPECT_EQ(Rec["fc3/p0/f0"]["CurrentAddressText"][0], "20000090FAAA0300");
  EXPECT_EQ(Rec["fc3/p0/f0"]["CurrentAddressText"][1], "10000090FAAA0300");
  EXPECT_EQ(Rec["fc3/p1/f0"]["BootEnable"], 1);
  EXPECT_EQ(Rec["fc6/p0/f0"]["CurrentAddressText"][1], "21000024FFAA0600");
  EXPECT_EQ(Rec["cna4/p0/f1"]["PfType"], 2);
  EXPECT_EQ(Rec["cna4/p0/f2"]["PfType"], 3);
  EXPECT_EQ(Rec["ib7/p0/f0"]["SriovEnabled"], 1);
  EXPECT_EQ(Rec["ib7/p0/f0"]["VlanId"], 300);
  EXPECT_EQ(Rec["cna4/p0/f2"]["VlanId"], 200);
  EXPECT_EQ(Restarts(R.First), 1u); // the partition types
}

TEST(DemoFleet, NextBootOnlyDiscoversApartFromWhatIsWrittenEveryBoot) {
  const TwoBoots &R = Fleet();
  ASSERT_EQ(R.Second.ExitStatus, 0);
  EXPECT_EQ(Restarts(R.Second), 0u);
  std::vector<std::string> Expected = {
      // Intel with PlatformFlag6: "set Default" opens phase 1 of every boot; it brings back the
      // factory address, so the virtual one is written again.
      "lom/p0/f0: set Default",
      "lom/p0/f0: set PermanentAddress=02A098001000",
      "lom/p1/f0: set Default",
      "lom/p1/f0: set PermanentAddress=02A098001001",
  };
  // Fibre Channel boot targets, link speed and topology are written on every boot.
  for (const char *Port : {"0", "1"}) {
    const std::string C = std::string("fc3/p") + Port + "/f0: set fcport" + Port + " OEMELX_";
    const std::string N = Port;
    for (const std::string &S : {"TargetWWPN[0]=50060E8007E2A10" + N, "TargetWWPN[1]=50060E8007E2A11" + N,
                                 std::string("TargetLUN[0]=0000"), std::string("TargetLUN[1]=0001"),
                                 std::string("LinkSpeed=0008"), std::string("Topology=02")}) {
      Expected.push_back(C + S);
    }
  }
  // SET_PXE_VLAN follows every PXE VLAN decision of a NIC function, and outside the QLogic8070
  // family the PXE VLAN ID is written whenever the wanted VLAN is 1 to 4094.
  Expected.push_back("cna4/p0/f0: set port0/pf0 OEMELX_PXEVlan=Enabled");
  Expected.push_back("cna4/p0/f0: set port0/pf0 OEMELX_PXEVlanID=0100");
  for (const char *S :
       {"OEM_TargetWWPN[0]=50060E8007E2A120", "OEM_TargetWWPN[1]=50060E8007E2A130", "OEM_TargetLUN[0]=0000",
        "OEM_TargetLUN[1]=0000", "OEM_hbaportLinkSpeed=08", "OEM_hbaportTopology=02"}) {
    Expected.push_back(std::string("fc6/p0/f0: set netport1 ") + S);
  }
  // ToolMode replays the platform's stored command lines on every boot.
  Expected.push_back("tool9/p0/f0: set /system1/hba1 OEM_BootEnable=Enable");
  EXPECT_EQ(SetCommands(R.Second), Expected);
  // Nothing moved: the adapters end where the first boot left them.
  for (size_t A = 0; A < R.AfterFirst.size(); A++) {
    if (R.AfterFirst[A]) {
      EXPECT_EQ(R.AfterFirst[A]->Adapter, R.AfterSecond[A]->Adapter) << A;
      EXPECT_EQ(R.AfterFirst[A]->Ports, R.AfterSecond[A]->Ports) << A;
      EXPECT_EQ(R.AfterFirst[A]->Functions, R.AfterSecond[A]->Functions) << A;
    }
  }
}

TEST(DemoFleet, RunsWellUnderFiveSeconds) {
  const auto Start = std::chrono::steady_clock::now();
  const sim::Transcript T = sim::RunScenario(sim::LoadScenarioText(kDemoFleet));
  const double Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  EXPECT_EQ(T.ExitStatus, 0);
  EXPECT_LT(Seconds, 5.0);
}

} // namespace
