// How the simulated adapters refuse: what they answer is shown by the demo fleet's closed loop.
#include <gtest/gtest.h>

#include "Simulator/AdapterModel.h"
#include "Simulator/Scenario.h"

namespace {

using nlohmann::json;

std::unique_ptr<sim::AdapterModel> Model(uint16_t Vendor, uint16_t Device, const json &State) {
  return sim::CreateAdapterModel(Vendor, Device, 0, 2, {1, 1}, State, "state");
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

TEST(AdapterModel, UnknownStateKeysAreRefusedWithTheirPath) {
  try {
    Model(0x15B3, 0x1013, json::parse(R"({"ports":[{"functions":[{"MAC":"1","Colour":"blue"}]}]})"));
    FAIL() << "accepted an unknown key";
  } catch (const sim::ScenarioError &Error) {
    EXPECT_STREQ(Error.what(), "state.ports[0].functions[0].Colour: unknown key");
  }
}

} // namespace
