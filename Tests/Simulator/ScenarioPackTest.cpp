// The packer refuses what the firmware stand-in cannot play. (That every pointer of a pack lands on
// its data is shown by the OVMF cross-check, which plays every packed scenario in the stand-in.)
#include <gtest/gtest.h>

#include "Simulator/ScenarioPack.h"

namespace {

TEST(ScenarioPackTest, RefusesWhatTheFirmwareStandInCannotPlay) {
  const char *Cases[] = {
      R"({"adapters": [{"name": "A", "VendorId": "0x10DF", "DeviceId": "0xE200", "model": "simulated",
          "ports": [{"functions": [{"function": 0}]}]}]})",
      R"({"run": {"reboots": 1}, "adapters": []})",
  };
  for (const char *Case : Cases) {
    EXPECT_THROW(sim::PackScenarios({sim::LoadScenarioText(Case)}), sim::ScenarioError) << Case;
  }
}

} // namespace
