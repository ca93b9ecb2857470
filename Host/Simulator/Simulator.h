// Runs a scenario: builds the platform on the host fake firmware, loads the driver, plays the
// adapter drivers controller by controller, and records what happened.
#pragma once

#include "Simulator/Scenario.h"
#include "Simulator/Transcript.h"

namespace sim {

// Exit status in Transcript::ExitStatus: 0 ran, 1 a controller hit maxRestarts or a run passed 255
// Instances.
Transcript RunScenario(const Scenario &S);

} // namespace sim
