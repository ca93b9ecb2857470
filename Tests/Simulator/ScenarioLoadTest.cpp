// A scenario is refused before anything runs, with the key path of the problem.
#include <gtest/gtest.h>

#include "Simulator/Scenario.h"

namespace {

using sim::LoadScenarioText;
using sim::ScenarioError;

std::string Refusal(const std::string &Text) {
  try {
    LoadScenarioText(Text);
  } catch (const ScenarioError &Error) {
    return Error.what();
  }
  return "(accepted)";
}

std::string WithRecord(const std::string &Record) {
  return R"({"adapters":[{"name":"a","ports":[{"functions":[{"function":0},{"function":1},{"function":2,"record":)" +
         Record + "}]}]},{\"name\":\"b\",\"ports\":[{\"functions\":[{\"function\":0}]}]}]}";
}

TEST(ScenarioLoad, RefusalsNameTheKeyPath) {
  struct Case {
    const char *What;
    std::string Scenario;
    const char *Message;
  };
  const Case Cases[] = {
      {"missing adapters", R"({"name":"x"})", "adapters: missing"},
      {"unknown top key", R"({"adapters":[],"extra":1})", "extra: unknown key"},
      {"out of range", WithRecord(R"({"PfType":9})"),
       "adapters[0].ports[0].functions[2].record.PfType: expected 0..7, got 9"},
      {"unknown record field", WithRecord(R"({"PfTypo":1})"),
       "adapters[0].ports[0].functions[2].record.PfTypo: unknown key"},
      {"wrong type", WithRecord(R"({"VlanId":true})"),
       "adapters[0].ports[0].functions[2].record.VlanId: expected a number, got true"},
      {"number text not in C notation", WithRecord(R"({"VlanId":"12z"})"),
       "adapters[0].ports[0].functions[2].record.VlanId: expected a number in C notation, got \"12z\""},
      {"malformed bytes", WithRecord(R"({"MfgAddress":["00:1B:2G"]})"),
       "adapters[0].ports[0].functions[2].record.MfgAddress[0]: expected hexadecimal bytes, got "
       "\"00:1B:2G\""},
      {"text too long", WithRecord(R"({"TopologyText":"abc"})"),
       "adapters[0].ports[0].functions[2].record.TopologyText: expected at most 2 characters, got 3"},
      {"unknown flag", WithRecord(R"({"PlatformFlags":["ManagedModeEnabled","Turbo"]})"),
       "adapters[0].ports[0].functions[2].record.PlatformFlags[1]: unknown flag name \"Turbo\""},
      {"malformed IPv4",
       R"({"adapters":[],"nalo":[{"key":[1,0,0],"BootTable":[{"Enabled":1,"TargetAddress":"10.0.0.256"}]}]})",
       "nalo[0].BootTable[0].TargetAddress: expected dotted IPv4 text, got \"10.0.0.256\""},
      {"IPv4 with three parts",
       R"({"adapters":[],"nalo":[{"key":[1,0,0],"BootTable":[{},{"InitiatorGateway":"10.0.1"}]}]})",
       "nalo[0].BootTable[1].InitiatorGateway: expected dotted IPv4 text, got \"10.0.1\""},
      {"duplicate names", R"({"adapters":[{"name":"a","ports":[]},{"name":"a","ports":[]}]})",
       "adapters[1].name: duplicate controller name \"a\""},
      {"MAC of five bytes",
       R"({"adapters":[],"nalo":[{"key":[1,0,0],"AddressTable":[{"Mac":"00:11:22:33:44"}]}]})",
       "nalo[0].AddressTable[0].Mac: expected 6 bytes, got 5"},
      {"unknown controller in run order",
       R"({"adapters":[{"name":"a","ports":[{"functions":[{"function":0}]}]}],"run":{"order":["a/p0/f1"]}})",
       "run.order[0]: no controller named \"a/p0/f1\""},
      {"negative number", R"({"adapters":[],"firmware":{"uefiRevision":-1}})",
       "firmware.uefiRevision: expected 0..4294967295, got -1"}};
  for (const Case &C : Cases) {
    EXPECT_EQ(Refusal(C.Scenario), C.Message) << C.What;
  }
  EXPECT_EQ(Refusal("{").rfind("not JSON: ", 0), 0u);
}

TEST(ScenarioLoad, ConvenienceVariablesWriteTheirBytes) {
  const sim::Scenario S = LoadScenarioText(R"({"adapters":[],"variables":[
      {"name":"CLPCMD_LOCATION","bus":3,"device":0},
      {"name":"CLPCMD_MODE","value":0,"size":1},
      {"name":"CLPCMD000_0","text":"show /"},
      {"name":"X","hex":"01 02:03","attributes":3,"guid":"D083E94C-6560-42E4-B6D4-2DF75ADF6A2A"}]})");
  EXPECT_EQ(S.UefiRevision, 0x00020046u); // the defaults
  EXPECT_EQ(S.MaxRestarts, 8u);
  EXPECT_TRUE(S.NaloProtocol);
  ASSERT_EQ(S.Variables.size(), 4u);
  EXPECT_EQ(S.Variables[0].Data, (sim::Bytes{3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(S.Variables[1].Data, (sim::Bytes{0}));
  EXPECT_EQ(S.Variables[2].Data, (sim::Bytes{'s', 'h', 'o', 'w', ' ', '/'}));
  EXPECT_EQ(S.Variables[3].Data, (sim::Bytes{1, 2, 3}));
  EXPECT_EQ(S.Variables[3].Attributes, 3u);
  EXPECT_EQ(S.Variables[3].Guid.Data1, 0xD083E94Cu);
  EXPECT_EQ(S.Variables[3].Guid.Data4[7], 0x2A);
}

TEST(ScenarioLoad, Ipv4IsStoredLeastSignificantByteFirst) {
  const sim::Scenario S = LoadScenarioText(
      R"({"adapters":[],"nalo":[{"key":[1,2,3],"BootTable":[{"Enabled":1,"InitiatorAddress":"192.168.0.1"}]}]})");
  ASSERT_TRUE(S.Nalo[0].Boots[0].InitiatorAddress.has_value());
  EXPECT_EQ(*S.Nalo[0].Boots[0].InitiatorAddress, (std::array<uint8_t, 4>{1, 0, 168, 192}));
  EXPECT_EQ(S.Nalo[0].Key, (std::array<uint8_t, 3>{1, 2, 3}));
}

} // namespace
