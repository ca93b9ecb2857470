// Runs a scenario: builds the platform on the host fake firmware, loads the driver, plays the
// adapter drivers controller by controller, and records what happened.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "Simulator/AdapterModel.h"
#include "Simulator/Scenario.h"
#include "Simulator/Transcript.h"

namespace fake {
struct NaloEntry;
}

namespace sim {

// Exit status in Transcript::ExitStatus: 0 ran, 1 a controller hit maxRestarts or a run passed 255
// Instances.
// Seed: per adapter, the state its simulated model starts from instead of the scenario's `state`
// (a following boot of the same machine). Final: receives per adapter the state its simulated model
// reached, with held layout changes applied as the next power-on would. Scripted adapters: nullopt.
// Listener: told of every step as it starts (before its Query) and after its Response, and asked
// for the reason lines of each step when the transcript is written (--explain).
struct RunListener {
  virtual ~RunListener() = default;
  virtual void BootStarted() = 0;
  virtual void Step(const std::string &Controller, size_t Run, uint64_t Instance, bool AfterResponse) = 0;
  virtual std::vector<std::string> Reasons(const std::string &Controller, size_t Run, uint64_t Instance) = 0;
  virtual std::vector<std::string> Unchanged(const std::string &Controller, size_t Run,
                                             uint64_t Instance) = 0;
};

struct RunOptions {
  const std::vector<std::optional<ModelState>> *Seed = nullptr;
  std::vector<std::optional<ModelState>> *Final = nullptr;
  RunListener *Listener = nullptr;
  // Receives the NVRAM as the boot left it (the next boot of the same machine starts from it).
  std::vector<VariableSpec> *FinalVariables = nullptr;
};

Transcript RunScenario(const Scenario &S, const RunOptions &Options = {});

// The platform of a scenario as RunScenario builds it, before the driver is loaded: what the
// firmware stand-in needs to rebuild the same platform on real firmware.
struct BuiltController {
  std::string Name;
  size_t Adapter = 0;
  const FUNCTION_SETTINGS *Record = nullptr; // null when the controller has no settings protocol
};
struct BuiltNalo {
  std::array<uint8_t, 3> Key{};
  const fake::NaloEntry *Entry = nullptr;
};
struct BuiltPlatform {
  std::vector<BuiltController> Controllers;
  std::vector<size_t> Order; // controller indices in play order
  std::vector<BuiltNalo> Nalo;
};
void InspectScenarioPlatform(const Scenario &S, const std::function<void(const BuiltPlatform &)> &Visit);

} // namespace sim
