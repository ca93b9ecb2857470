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

const char *const Minimal = R"({"adapters":[{"name":"slot3","VendorId":"0x10DF","DeviceId":"0xE200",
  "ports":[{"functions":[{"function":0,"record":{"PfType":1}}]}]}]})";

TEST(ScenarioLoad, AcceptsTheMinimalScenarioWithDefaults) {
  const sim::Scenario S = LoadScenarioText(Minimal);
  ASSERT_EQ(S.Adapters.size(), 1u);
  EXPECT_EQ(S.Adapters[0].VendorId, 0x10DF);
  EXPECT_EQ(S.Adapters[0].DeviceId, 0xE200);
  EXPECT_EQ(S.UefiRevision, 0x00020046u);
  EXPECT_EQ(S.MaxRestarts, 8u);
  EXPECT_TRUE(S.NaloProtocol);
  EXPECT_EQ(S.Adapters[0].Model, "scripted");
  ASSERT_EQ(S.Adapters[0].Ports[0].Functions[0].Record.size(), 1u);
  EXPECT_EQ(S.Adapters[0].Ports[0].Functions[0].Record[0].Number, 1u);
}

struct RefusedCase {
  const char *What;
  std::string Scenario;
  const char *Message;
};

std::string WithRecord(const std::string &Record) {
  return R"({"adapters":[{"name":"a","ports":[{"functions":[{"function":0},{"function":1},{"function":2,"record":)" +
         Record + "}]}]},{\"name\":\"b\",\"ports\":[{\"functions\":[{\"function\":0}]}]}]}";
}

void PrintTo(const RefusedCase &Case, std::ostream *Out) {
  *Out << Case.What;
}

class ScenarioRefused : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(ScenarioRefused, NamesTheKeyPath) {
  EXPECT_EQ(Refusal(GetParam().Scenario), GetParam().Message);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ScenarioRefused,
    ::testing::Values(
        RefusedCase{"missing adapters", R"({"name":"x"})", "adapters: missing"},
        RefusedCase{"unknown top key", R"({"adapters":[],"extra":1})", "extra: unknown key"},
        RefusedCase{"out of range", WithRecord(R"({"PfType":9})"),
                    "adapters[0].ports[0].functions[2].record.PfType: expected 0..7, got 9"},
        RefusedCase{"unknown record field", WithRecord(R"({"PfTypo":1})"),
                    "adapters[0].ports[0].functions[2].record.PfTypo: unknown key"},
        RefusedCase{"wrong type", WithRecord(R"({"VlanId":true})"),
                    "adapters[0].ports[0].functions[2].record.VlanId: expected a number, got true"},
        RefusedCase{
            "number text not in C notation", WithRecord(R"({"VlanId":"12z"})"),
            "adapters[0].ports[0].functions[2].record.VlanId: expected a number in C notation, got \"12z\""},
        RefusedCase{"field width", WithRecord(R"({"VendorId":"0x10000"})"),
                    "adapters[0].ports[0].functions[2].record.VendorId: expected 0..65535, got \"0x10000\""},
        RefusedCase{"malformed bytes", WithRecord(R"({"MfgAddress":["00:1B:2G"]})"),
                    "adapters[0].ports[0].functions[2].record.MfgAddress[0]: expected hexadecimal bytes, got "
                    "\"00:1B:2G\""},
        RefusedCase{
            "text too long", WithRecord(R"({"TopologyText":"abc"})"),
            "adapters[0].ports[0].functions[2].record.TopologyText: expected at most 2 characters, got 3"},
        RefusedCase{"unknown flag", WithRecord(R"({"PlatformFlags":["ManagedModeEnabled","Turbo"]})"),
                    "adapters[0].ports[0].functions[2].record.PlatformFlags[1]: unknown flag name \"Turbo\""},
        RefusedCase{
            "malformed IPv4",
            R"({"adapters":[],"nalo":[{"key":[1,0,0],"BootTable":[{"Enabled":1,"TargetAddress":"10.0.0.256"}]}]})",
            "nalo[0].BootTable[0].TargetAddress: expected dotted IPv4 text, got \"10.0.0.256\""},
        RefusedCase{
            "IPv4 with three parts",
            R"({"adapters":[],"nalo":[{"key":[1,0,0],"BootTable":[{},{"InitiatorGateway":"10.0.1"}]}]})",
            "nalo[0].BootTable[1].InitiatorGateway: expected dotted IPv4 text, got \"10.0.1\""},
        RefusedCase{"duplicate names", R"({"adapters":[{"name":"a","ports":[]},{"name":"a","ports":[]}]})",
                    "adapters[1].name: duplicate controller name \"a\""},
        RefusedCase{"MAC of five bytes",
                    R"({"adapters":[],"nalo":[{"key":[1,0,0],"AddressTable":[{"Mac":"00:11:22:33:44"}]}]})",
                    "nalo[0].AddressTable[0].Mac: expected 6 bytes, got 5"},
        RefusedCase{
            "unknown controller in run order",
            R"({"adapters":[{"name":"a","ports":[{"functions":[{"function":0}]}]}],"run":{"order":["a/p0/f1"]}})",
            "run.order[0]: no controller named \"a/p0/f1\""},
        RefusedCase{"negative number", R"({"adapters":[],"firmware":{"uefiRevision":-1}})",
                    "firmware.uefiRevision: expected 0..4294967295, got -1"}),
    [](const ::testing::TestParamInfo<RefusedCase> &Info) {
      std::string Name = Info.param.What;
      for (char &C : Name) {
        C = std::isalnum(static_cast<unsigned char>(C)) ? C : '_';
      }
      return Name;
    });

TEST(ScenarioLoad, NotJsonIsRefusedToo) {
  EXPECT_EQ(Refusal("{").rfind("not JSON: ", 0), 0u);
}

TEST(ScenarioLoad, ConvenienceVariablesWriteTheirBytes) {
  const sim::Scenario S = LoadScenarioText(R"({"adapters":[],"variables":[
      {"name":"CLPCMD_LOCATION","bus":3,"device":0},
      {"name":"CLPCMD_MODE","value":0,"size":1},
      {"name":"CLPCMD000_0","text":"show /"},
      {"name":"X","hex":"01 02:03","attributes":3,"guid":"D083E94C-6560-42E4-B6D4-2DF75ADF6A2A"}]})");
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

TEST(ScenarioLoad, FlagNamesBecomeBits) {
  const sim::Scenario S =
      LoadScenarioText(WithRecord(R"({"PlatformFlags":["ManagedModeEnabled","PlatformFlag6"]})"));
  EXPECT_EQ(S.Adapters[0].Ports[0].Functions[2].Record[0].Number, 0x60u);
}

} // namespace
