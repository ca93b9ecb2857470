// Runs a scenario: builds the platform on the host fake firmware, loads the driver, plays the
// adapter drivers controller by controller, and records what happened.
#pragma once

#include <optional>
#include <vector>

#include "Simulator/AdapterModel.h"
#include "Simulator/Scenario.h"
#include "Simulator/Transcript.h"

namespace sim {

// Exit status in Transcript::ExitStatus: 0 ran, 1 a controller hit maxRestarts or a run passed 255
// Instances.
// Seed: per adapter, the state its simulated model starts from instead of the scenario's `state`
// (a following boot of the same machine). Final: receives per adapter the state its simulated model
// reached, with held layout changes applied as the next power-on would. Scripted adapters: nullopt.
struct RunOptions {
  const std::vector<std::optional<ModelState>> *Seed = nullptr;
  std::vector<std::optional<ModelState>> *Final = nullptr;
};

Transcript RunScenario(const Scenario &S, const RunOptions &Options = {});

} // namespace sim
