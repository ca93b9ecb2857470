// The simulated adapters answer in the formats the driver reads and keep what they are told.
#include <gtest/gtest.h>

#include "Simulator/AdapterModel.h"
#include "Simulator/Scenario.h"

namespace {

using nlohmann::json;

std::unique_ptr<sim::AdapterModel> Model(uint16_t Vendor, uint16_t Device, const json &State,
                                         std::vector<size_t> Functions = {1, 1}) {
  return sim::CreateAdapterModel(Vendor, Device, 0, Functions.size(), Functions, State, "state");
}

TEST(AdapterModel, FibreChannelPortShowsWhatASetWrote) {
  auto M = Model(0x10DF, 0xE200, json::parse(R"({"FirmwareVersions":"12.8.340.8","ports":[
                   {"PortEnable":"enabled","WWNN":"20000090FA000001","MFG_WWNN":"20000090FA000001"},
                   {"PortEnable":"disable"}]})"));
  EXPECT_EQ(M->Execute(0, 0, "show fcport0 OEMELX_FirmwareVersions").Reply, "retdata=12.8.340.8");
  EXPECT_EQ(M->Execute(0, 0, "show fcport1 OEMELX_PortEnable").Reply, "retdata=disable");
  EXPECT_EQ(M->Execute(0, 0, "set fcport0 OEMELX_VolatileWWNN=20000011AABBCCDD").Status, 0);
  EXPECT_EQ(M->Execute(0, 0, "show fcport0 OEMELX_WWNN").Reply, "retdata=20000011AABBCCDD");
  EXPECT_EQ(M->Execute(0, 0, "set fcport0 OEMELX_AddressDefaults=0").Status, 0);
  EXPECT_EQ(M->Execute(0, 0, "show fcport0 OEMELX_WWNN").Reply, "retdata=20000090FA000001");
  EXPECT_EQ(M->Execute(0, 0, "set fcport0 OEMELX_TargetWWPN[1]=21000011aabbccdd").Status, 0);
  EXPECT_EQ(M->Execute(0, 0, "show fcport0 OEMELX_TargetWWPN[1]").Reply, "retdata=21000011aabbccdd");
}

TEST(AdapterModel, UnknownCommandsAndPortsFailAsAnAdapterWould) {
  auto M = Model(0x10DF, 0xE200, json::object());
  for (const char *Command : {"show fcport0 OEMELX_Bogus", "", "show fcport7 OEMELX_PortEnable"}) {
    const sim::ClpOutcome Out = M->Execute(0, 0, Command);
    EXPECT_EQ(Out.Status, 2) << Command;
    EXPECT_EQ(Out.Reply.rfind("error: ", 0), 0u) << Command;
    EXPECT_NE(Out.Reply.find(Command), std::string::npos) << Out.Reply;
  }
  // A known property the scenario left out reads as empty.
  EXPECT_EQ(M->Execute(0, 0, "show fcport0 OEMELX_PortEnable").Reply, "retdata=");
}

TEST(AdapterModel, PfInfoListsCurrentAddressesBeforeManufacturerOnes) {
  auto M = Model(0x19A2, 0x0710, json::parse(R"({"PfCount":"2","ports":[{"PortEn":"enabled","functions":[
                   {"PfType":"NIC","PfMAC":"0000C9AAAAAA","MFG_PfMAC":"0000C9000001","PfVLANID":"064"}]}]})"),
                 {1});
  EXPECT_EQ(M->Execute(0, 0, "show port0/pf0 OEMVDR_PfInfo").Reply,
            "retdata=PortEn=enabled\r\nPfCount=2\r\nPfType=NIC\r\nPfMAC=0000C9AAAAAA\r\n"
            "MFG_PfMAC=0000C9000001\r\nPfVLANID=064\r\n");
}

TEST(AdapterModel, UnknownStateKeysAreRefusedWithTheirPath) {
  try {
    Model(0x15B3, 0x1013, json::parse(R"({"ports":[{"functions":[{"MAC":"1","Colour":"blue"}]}]})"));
    FAIL() << "accepted an unknown key";
  } catch (const sim::ScenarioError &Error) {
    EXPECT_STREQ(Error.what(), "state.ports[0].functions[0].Colour: unknown key");
  }
}

} // namespace
