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
  double FirstSeconds = 0;
};

const TwoBoots &Fleet() {
  static const TwoBoots Runs = [] {
    TwoBoots R;
    const auto Start = std::chrono::steady_clock::now();
    const sim::Scenario S = sim::LoadScenarioText(kDemoFleet);
    R.First = sim::RunScenario(S, {nullptr, &R.AfterFirst});
    R.FirstSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
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
  EXPECT_LT(R.FirstSeconds, 5.0);
  EXPECT_EQ(Restarts(R.First), 1u); // the partition types
  const auto &M = R.AfterFirst;
  ASSERT_EQ(M.size(), 8u);
  EXPECT_FALSE(M[Tool9]); // scripted
  struct Wish {
    int Adapter, Port, Function; // Function -1: a port property
    const char *Name, *Value;
  };
  // The fleet's virtual-I/O entries, written out by hand.
  const Wish Wishes[] = {
      {Lom, 0, 0, "PermanentAddress", "02A098001000"},
      {Lom, 1, 0, "PermanentAddress", "02A098001001"},
      {Fc3, 0, -1, "WWNN", "20000090FAAA0300"},
      {Fc3, 1, -1, "WWPN", "10000090FAAA0301"},
      {Fc3, 1, -1, "PortEnable", "enabled"},
      {Fc3, 0, -1, "BootEnable", "enabled"},
      {Fc3, 1, -1, "TargetWWPN[1]", "50060E8007E2A111"},
      {Fc3, 0, -1, "TargetLUN[1]", "0001"},
      {Fc3, 1, -1, "LinkSpeed", "0008"},
      {Fc3, 0, -1, "Topology", "02"},
      // Converged adapter: NIC + FCoE + iSCSI partitions, after one layout restart.
      {Cna4, 0, 0, "PfType", "NIC"},
      {Cna4, 0, 1, "PfType", "FCoE"},
      {Cna4, 0, 2, "PfType", "iSCSI"},
      {Cna4, 0, 0, "MAC", "02A098004000"},
      {Cna4, 0, 1, "WWPN", "10000090FAAA0401"},
      {Cna4, 0, 2, "MAC", "02A098004002"},
      // The port is partitioned, so each function's VLAN comes from its own entry.
      {Cna4, 0, 0, "PfVLANID", "0100"},
      {Cna4, 0, 2, "PfVLANID", "0200"},
      {Cna4, 0, 0, "PXEVlanID", "0100"},
      {Fc6, 0, -1, "WWNN", "20000024FFAA0600"},
      {Fc6, 0, -1, "BootEnable", "Enable"},
      {Ib7, 0, 0, "MAC", "02A098007000"},
      {Ib7, 0, 0, "VlanID", "0300"}, // from its boot entry
  };
  for (const Wish &W : Wishes) {
    EXPECT_EQ(Prop(M[W.Adapter], W.Port, W.Function, W.Name), W.Value)
        << W.Adapter << " p" << W.Port << " f" << W.Function << " " << W.Name;
  }
  EXPECT_EQ(M[Ib7]->Adapter.at("SRIOVState"), "enabled");

  // The records the platform reads afterwards carry the same settings.
  const auto &Rec = R.First.Records;
  EXPECT_EQ(Rec["fc3/p0/f0"]["CurrentAddressText"][0], "20000090FAAA0300");
  EXPECT_EQ(Rec["fc3/p1/f0"]["BootEnable"], 1);
  EXPECT_EQ(Rec["fc6/p0/f0"]["CurrentAddressText"][1], "21000024FFAA0600");
  EXPECT_EQ(Rec["cna4/p0/f1"]["PfType"], 2);
  EXPECT_EQ(Rec["cna4/p0/f2"]["VlanId"], 200);
  EXPECT_EQ(Rec["ib7/p0/f0"]["SriovEnabled"], 1);
  EXPECT_EQ(Rec["ib7/p0/f0"]["VlanId"], 300);
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

} // namespace
