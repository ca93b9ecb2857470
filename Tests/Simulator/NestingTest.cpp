// A controller restart as firmware plays it: the front's disconnect stops the adapter driver, its
// connect starts a new one whose whole configuration run happens inside the old one's Response.
#include <gtest/gtest.h>

#include "Simulator/Simulator.h"

namespace {

using nlohmann::json;

// An Emulex0710 port with two functions whose platform wants four: the first run asks for the new
// count and a restart at "exit"; after the restart the adapter reports four and nothing changes.
const char *Emulex0710Restart = R"({"name":"nested","adapters":[{"name":"E","VendorId":"0x19A2",
  "DeviceId":"0x0710","bus":"0x10","device":0,
  "ports":[{"nalo":{"Header":{"PortTableValid":1},"PortTable":{"DesiredPortEnable":1,"DesiredFunctionCount":4}},
            "functions":[{"function":0,"record":{"PlatformFlags":"0x60"}},
                         {"function":1,"record":{"PlatformFlags":"0x60"}}]}],
  "replies":[
    {"command":"show port0/pf0 OEMVDR_PfInfo","reply":"retdata=PortEn=enabled\r\nPfCount=2\r\nPfType=NIC\r\n","times":1},
    {"command":"show port0/pf1 OEMVDR_PfInfo","reply":"retdata=PortEn=enabled\r\nPfCount=2\r\nPfType=NIC\r\n","times":1},
    {"command":"exit","action":"RestartController","times":1},
    {"command":"show port0/pf0 OEMVDR_PfInfo","reply":"retdata=PortEn=enabled\r\nPfCount=4\r\nPfType=NIC\r\n"},
    {"command":"show port0/pf1 OEMVDR_PfInfo","reply":"retdata=PortEn=enabled\r\nPfCount=4\r\nPfType=NIC\r\n"}]}]})";

std::vector<std::string> Kinds(const json &Events) {
  std::vector<std::string> Out;
  for (const json &E : Events) {
    Out.push_back(E["kind"]);
  }
  return Out;
}

std::vector<std::string> Commands(const json &Run) {
  std::vector<std::string> Out;
  for (const json &S : Run["steps"]) {
    Out.push_back(S["command"]);
  }
  return Out;
}

TEST(Nesting, RestartedRunHappensInsideTheResponseThatAskedForIt) {
  const sim::Transcript T = sim::RunScenario(sim::LoadScenarioText(Emulex0710Restart));
  const json J = json::parse(sim::TranscriptToJson(T).dump());
  const json &First = J["boots"][0]["controllers"][0];
  ASSERT_EQ(First["name"], "E/p0/f0");
  ASSERT_EQ(First["runs"].size(), 2u);
  const json &Outer = First["runs"][0];
  const json &Inner = First["runs"][1];

  EXPECT_EQ(Commands(Outer),
            (std::vector<std::string>{"show port0/pf0 OEMVDR_PfInfo", "show port0/pf1 OEMVDR_PfInfo",
                                      "set OEMVDR_PfCount=04", "exit"}));
  // Stop (the disconnect), then the new Start with its whole run, then the connect returns.
  const json &Exit = Outer["steps"][3];
  EXPECT_EQ(Kinds(Exit["events"]), (std::vector<std::string>{"disconnect", "start", "connect"}));
  EXPECT_EQ(Exit["events"][1]["controller"], "E/p0/f0");
  EXPECT_EQ(Exit["events"][1]["run"], 1);
  EXPECT_EQ(Exit["events"][2]["status"], "EFI_SUCCESS");
  EXPECT_EQ(Exit["response"], "EFI_SUCCESS");
  EXPECT_FALSE(Outer.contains("nested"));

  // The restarted run starts at Instance 0 with a fresh plan: the shows again, no set, exit.
  EXPECT_EQ(Inner["nested"], true);
  EXPECT_EQ(Inner["steps"][0]["instance"], 0);
  EXPECT_EQ(Commands(Inner), (std::vector<std::string>{"show port0/pf0 OEMVDR_PfInfo",
                                                       "show port0/pf1 OEMVDR_PfInfo", "exit"}));
  EXPECT_EQ(Inner["end"], json::parse(R"({"instance":3,"query":"EFI_NOT_FOUND","events":[]})"));

  // The old driver asks once more after its Response returns and gets the end, with no effect.
  EXPECT_EQ(Outer["end"], json::parse(R"({"instance":4,"query":"EFI_NOT_FOUND","events":[]})"));

  // Notified once per boot, although both runs passed the layout decision.
  size_t Notifications = 0;
  for (const json &Run : First["runs"]) {
    for (const json &Step : Run["steps"]) {
      for (const std::string &K : Kinds(Step["events"])) {
        Notifications += K == "restartNotification" ? 1 : 0;
      }
    }
  }
  EXPECT_EQ(Notifications, 1u);
  EXPECT_EQ(J["records"]["E/p0/f0"]["ProgressFlags"].get<unsigned>() & 0x80, 0x80u);
  EXPECT_EQ(T.ExitStatus, 0);
}

TEST(Nesting, TextShowsTheInnerRunUnderTheStepThatStartedIt) {
  const std::string Text = sim::TranscriptToText(sim::RunScenario(sim::LoadScenarioText(Emulex0710Restart)));
  const std::string Expected = "    3 exit  ->  (empty)  [action RestartController]\n"
                               "        disconnect status=EFI_SUCCESS\n"
                               "        start E/p0/f0 (run 2)\n"
                               "            0 show port0/pf0 OEMVDR_PfInfo  ->  "
                               "retdata=PortEn=enabled\\r\\nPfCount=4\\r\\nPfType=NIC\\r\\n\n"
                               "            1 show port0/pf1 OEMVDR_PfInfo  ->  "
                               "retdata=PortEn=enabled\\r\\nPfCount=4\\r\\nPfType=NIC\\r\\n\n"
                               "            2 exit  ->  (empty)\n"
                               "            3 Query EFI_NOT_FOUND\n"
                               "        connect status=EFI_SUCCESS\n"
                               "    4 Query EFI_NOT_FOUND\n"
                               "\n"
                               "E/p0/f1 (run 1)\n";
  EXPECT_NE(Text.find(Expected), std::string::npos) << Text;
  EXPECT_EQ(Text.find("\nE/p0/f0 (run 2)"), std::string::npos) << "a nested run is printed only in place";
}

// Restarts nest one inside the other; past maxRestarts the adapter driver refuses to start, so
// the connect finds no driver and the innermost Response reports it.
TEST(Nesting, RestartLimitRefusesTheNextStartInsideTheInnermostResponse) {
  const char *AlwaysRestarts = R"({"adapters":[{"name":"a","VendorId":"0x10DF","DeviceId":"0x0720",
    "replies":[{"command":"exit","action":"RestartController"}],
    "ports":[{"functions":[{"function":0,"record":{"PlatformFlags":["ManagedModeEnabled"]}}]}]}],
    "run":{"maxRestarts":1}})";
  const sim::Transcript T = sim::RunScenario(sim::LoadScenarioText(AlwaysRestarts));
  const json J = json::parse(sim::TranscriptToJson(T).dump());
  const json &Runs = J["boots"][0]["controllers"][0]["runs"];
  ASSERT_EQ(Runs.size(), 2u);
  const json &InnerExit = Runs[1]["steps"].back();
  EXPECT_EQ(InnerExit["response"], "EFI_NOT_FOUND");
  EXPECT_EQ(Kinds(InnerExit["events"]), (std::vector<std::string>{"disconnect", "connect"}));
  EXPECT_EQ(InnerExit["events"][1]["status"], "EFI_NOT_FOUND");
  EXPECT_EQ(Kinds(Runs[0]["steps"].back()["events"]),
            (std::vector<std::string>{"disconnect", "start", "connect"}));
  EXPECT_EQ(T.ExitStatus, 1);
}

// An adapter that never takes the new count asks for the layout change in every nested run; the
// platform hears of it once.
TEST(Nesting, EveryNestedRunPlansTheLayoutChangeButThePlatformIsNotifiedOnce) {
  const char *NeverTakes = R"({"adapters":[{"name":"E","VendorId":"0x19A2","DeviceId":"0x0710",
    "ports":[{"nalo":{"Header":{"PortTableValid":1},"PortTable":{"DesiredPortEnable":1,"DesiredFunctionCount":4}},
              "functions":[{"function":0,"record":{"PlatformFlags":"0x60"}}]}],
    "defaultReply":{"reply":"retdata=PortEn=enabled\r\nPfCount=2\r\nPfType=NIC\r\n"},
    "replies":[{"command":"exit","action":"RestartController"}]}],"run":{"maxRestarts":2}})";
  const json J =
      json::parse(sim::TranscriptToJson(sim::RunScenario(sim::LoadScenarioText(NeverTakes))).dump());
  const json &Runs = J["boots"][0]["controllers"][0]["runs"];
  ASSERT_EQ(Runs.size(), 3u);
  std::vector<size_t> Notifications;
  for (const json &Run : Runs) {
    EXPECT_EQ(Commands(Run),
              (std::vector<std::string>{"show port0/pf0 OEMVDR_PfInfo", "set OEMVDR_PfCount=04", "exit"}));
    size_t Count = 0;
    for (const json &Step : Run["steps"]) {
      for (const std::string &K : Kinds(Step["events"])) {
        Count += K == "restartNotification" ? 1 : 0;
      }
    }
    Notifications.push_back(Count);
  }
  EXPECT_EQ(Notifications, (std::vector<size_t>{1, 0, 0}));
}

// A name given twice in the run order starts the adapter driver again from Instance 0 after the
// first run returned: that run is not nested.
TEST(Nesting, SecondStartFromTheRunOrderIsNotNested) {
  const char *Twice = R"({"adapters":[{"name":"i","VendorId":"0x8086","DeviceId":"0x10D3",
    "ports":[{"functions":[{"function":0,"record":{"PlatformFlags":["ManagedModeEnabled"]}}]}]}],
    "run":{"order":["i/p0/f0","i/p0/f0"]}})";
  const json J = json::parse(sim::TranscriptToJson(sim::RunScenario(sim::LoadScenarioText(Twice))).dump());
  const json &Runs = J["boots"][0]["controllers"][0]["runs"];
  ASSERT_EQ(Runs.size(), 2u);
  EXPECT_FALSE(Runs[1].contains("nested"));
  EXPECT_EQ(Runs[1]["end"]["instance"], 0);
  EXPECT_EQ(Runs[1]["end"]["query"], "EFI_NOT_FOUND");
}

} // namespace
