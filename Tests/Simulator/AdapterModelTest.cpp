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

TEST(AdapterModel, LayoutChangesWaitForTheRestartThatExitAsksFor) {
  auto M = Model(0x10DF, 0x0720,
                 json::parse(R"({"UMCState":"Disabled","LinkConfig":"ELX_2x10G","ports":[{"functions":[
                   {"PfType":"NIC","MAC":"0000C9000001","MfgMAC":"0000C9000001"}]}]})"),
                 {1});
  EXPECT_EQ(M->Execute(0, 0, "exit").Action, EfiPlatformConfigurationActionNone);
  EXPECT_EQ(M->Execute(0, 0, "set / OEMELX_UMCState=Enabled").Status, 0);
  EXPECT_NE(M->Execute(0, 0, "show port0/pf0 OEMELX_PFInfo").Reply.find("UMCState=Disabled"),
            std::string::npos);
  EXPECT_EQ(M->Execute(0, 0, "exit").Action, EfiPlatformConfigurationActionRestartController);
  M->Restart();
  EXPECT_NE(M->Execute(0, 0, "show port0/pf0 OEMELX_PFInfo").Reply.find("UMCState=Enabled"),
            std::string::npos);
  EXPECT_EQ(M->Execute(0, 0, "exit").Action, EfiPlatformConfigurationActionNone);
}

TEST(AdapterModel, PfInfoListsCurrentAddressesBeforeManufacturerOnes) {
  auto M = Model(0x19A2, 0x0710, json::parse(R"({"PfCount":"2","ports":[{"PortEn":"enabled","functions":[
                   {"PfType":"NIC","PfMAC":"0000C9AAAAAA","MFG_PfMAC":"0000C9000001","PfVLANID":"064"}]}]})"),
                 {1});
  EXPECT_EQ(M->Execute(0, 0, "show port0/pf0 OEMVDR_PfInfo").Reply,
            "retdata=PortEn=enabled\r\nPfCount=2\r\nPfType=NIC\r\nPfMAC=0000C9AAAAAA\r\n"
            "MFG_PfMAC=0000C9000001\r\nPfVLANID=064\r\n");
}

TEST(AdapterModel, QLogic8070QuotesItsValues) {
  auto M = Model(0x1077, 0x8070,
                 json::parse(R"({"VirtualizationMode":"Default","ports":[{"BootMode":"UNDI","functions":[
                   {"MacAddress":"00:0E:1E:00:00:01","VirtualMacAddress":"00:00:00:00:00:00"}]}]})"),
                 {1});
  EXPECT_EQ(M->Execute(0, 0, "show device VirtualizationMode").Reply, "data=\"Default\"");
  EXPECT_EQ(M->Execute(0, 0, "show port1 VirtualMacAddress").Reply, "data=\"00:00:00:00:00:00\"");
  EXPECT_EQ(M->Execute(0, 0, "set port1 VirtualMacAddress=02:11:22:AB:CD:EF").Status, 0);
  EXPECT_EQ(M->Execute(0, 0, "show port1.pf1 VirtualMacAddress").Reply, "data=\"02:11:22:AB:CD:EF\"");
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
