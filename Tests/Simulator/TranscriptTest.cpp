// The transcript: a hand-checked golden text, the JSON shape of the contract, and exit statuses.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Simulator/Simulator.h"

namespace {

using nlohmann::json;

std::string Golden(const std::string &Name) {
  const std::string File = __FILE__;
  std::ifstream In(File.substr(0, File.find_last_of('/')) + "/golden/" + Name, std::ios::binary);
  std::ostringstream Out;
  Out << In.rdbuf();
  return Out.str();
}

TEST(Transcript, GoldenFailedCommandAndToolModeIsReproducedExactly) {
  std::istringstream Expected(Golden("e200-failure-toolmode.txt"));
  std::string Text, Line;
  while (std::getline(Expected, Line)) {
    if (Line.rfind("#", 0) != 0) {
      Text += Line + "\n";
    }
  }
  ASSERT_GT(Text.size(), 100u);
  const sim::Transcript T = sim::RunScenario(sim::LoadScenarioText(Golden("e200-failure-toolmode.json")));
  EXPECT_EQ(sim::TranscriptToText(T), Text);
  EXPECT_EQ(T.ExitStatus, 0);
}

TEST(Transcript, JsonParsesBackWithTheContractShapes) {
  const sim::Transcript T = sim::RunScenario(sim::LoadScenarioText(Golden("e200-failure-toolmode.json")));
  const json J = json::parse(sim::TranscriptToJson(T).dump());
  EXPECT_EQ(J["scenario"], "EmulexE200 failed show with BMC busy, and a ToolMode device");
  EXPECT_EQ(J["load"]["status"], "EFI_SUCCESS");
  ASSERT_EQ(J["boots"].size(), 1u);
  EXPECT_TRUE(J["boots"][0]["reset"].is_null());
  const json &Controllers = J["boots"][0]["controllers"];
  ASSERT_EQ(Controllers.size(), 2u);
  EXPECT_EQ(Controllers[0]["name"], "fc/p0/f0");
  const json &Run = Controllers[0]["runs"][0];
  ASSERT_EQ(Run["steps"].size(), 16u);
  for (const json &Step : Run["steps"]) {
    EXPECT_TRUE(Step["instance"].is_number_integer());
    for (const char *Key : {"query", "command", "reply", "action", "response"}) {
      EXPECT_TRUE(Step[Key].is_string()) << Key;
    }
    EXPECT_TRUE(Step["cmdStatus"].is_number_integer());
    EXPECT_TRUE(Step["errorValue"].is_number_integer());
    EXPECT_TRUE(Step["events"].is_array());
  }
  const json &Failed = Run["steps"][1];
  EXPECT_EQ(Failed["cmdStatus"], 2);
  EXPECT_EQ(Failed["errorValue"], 0xF7);
  const json &Code = Failed["events"][0];
  EXPECT_EQ(Code, json::parse(R"({"kind":"statusCode","type":"0x80000002","value":"0x03808014",
      "instance":"0x00003AA6","callerId":"D083E94C-6560-42E4-B6D4-2DF75ADF6A2A"})"));
  const json &Ipmi = Failed["events"][2];
  EXPECT_EQ(Ipmi["kind"], "ipmi");
  EXPECT_EQ(Ipmi["netFn"], 0x2E);
  EXPECT_EQ(Ipmi["lun"], 0);
  EXPECT_EQ(Ipmi["command"], 0xF5);
  EXPECT_EQ(Ipmi["data"].get<std::string>().substr(0, 10), "802800"
                                                           "0C"
                                                           "2B");
  EXPECT_EQ(Ipmi["completionCode"], 0xC0);
  EXPECT_EQ(Run["end"], json::parse(R"({"instance":16,"query":"EFI_NOT_FOUND","events":[]})"));
  const json &Tool = Controllers[1]["runs"][0]["steps"][0]["events"];
  EXPECT_EQ(Tool[1], json::parse(R"({"kind":"setVariable","name":"CLPCMD000_0_RESULT","attributes":7,
      "data":"726574646174613D6F6B"})"));
  EXPECT_EQ(J["records"]["fc/p0/f0"]["VendorId"], 0x10DF);
  EXPECT_EQ(J["records"]["fc/p0/f0"]["FirmwareVersion"][0], "12.8.340.8");
  EXPECT_TRUE(J["records"]["tool/p0/f0"].is_object());
}

// An Emulex0720 that asks for a restart on every exit never settles.
const char *AlwaysRestarts = R"({"adapters":[{"name":"a","VendorId":"0x10DF","DeviceId":"0x0720",
  "replies":[{"command":"exit","action":"RestartController"}],
  "ports":[{"functions":[{"function":0,"record":{"PlatformFlags":["ManagedModeEnabled"]}}]}]}],
  "run":{"maxRestarts":2}})";

TEST(Transcript, ExitStatusSaysHowTheScenarioEnded) {
  const sim::Transcript Ran = sim::RunScenario(sim::LoadScenarioText(Golden("e200-failure-toolmode.json")));
  EXPECT_EQ(Ran.ExitStatus, 0);
  const sim::Transcript Looped = sim::RunScenario(sim::LoadScenarioText(AlwaysRestarts));
  EXPECT_EQ(Looped.ExitStatus, 1);
  ASSERT_EQ(Looped.Boots[0].Controllers.size(), 1u);
  EXPECT_EQ(Looped.Boots[0].Controllers[0].Runs.size(), 3u); // the first run and two restarts
  ASSERT_EQ(Looped.Problems.size(), 1u);
  EXPECT_NE(Looped.Problems[0].find("restarted more than 2 times"), std::string::npos);
  EXPECT_THROW(sim::LoadScenarioText(R"({"adapters":[],"run":{"maxRestarts":"many"}})"), sim::ScenarioError);
}

} // namespace
