// Packs scenarios for the firmware platform stand-in (see PackFormat.h).
#pragma once

#include <cstdint>
#include <vector>

#include "Simulator/Scenario.h"

namespace sim {

// Throws ScenarioError for what the firmware stand-in cannot play (simulated adapter models,
// reboots).
std::vector<uint8_t> PackScenarios(const std::vector<Scenario> &Scenarios);

} // namespace sim
