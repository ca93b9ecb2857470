// Simulated adapters: a CLP responder per dialect that holds the adapter's state, answers show
// commands in the reply format of its family, changes state on set commands, applies layout
// changes at the next controller restart, and fails commands it does not understand.
//
// Each dialect is a table of command patterns; the engine matches a command against the table
// of the adapter's dialect. State is a set of named properties at adapter, port and function
// scope; the property names are the `state` keys a scenario may give (see Host/Simulator/README.md).
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Simulator/AdapterDriver.h"

namespace sim {

using PropertyMap = std::map<std::string, std::string>;

struct ModelState {
  PropertyMap Adapter;
  std::vector<PropertyMap> Ports;
  std::vector<std::vector<PropertyMap>> Functions; // [port][function position]
};

class AdapterModel {
public:
  virtual ~AdapterModel() = default;
  // Answers one command sent through the controller at (Port, Function) positions of the adapter.
  virtual ClpOutcome Execute(size_t Port, size_t Function, const std::string &Command) = 0;
  // The controller restarted: pending layout changes take effect.
  virtual void Restart() = 0;
  virtual const ModelState &State() const = 0;
  // Replaces the state, as an adapter that comes up with what an earlier boot left in its NVRAM.
  virtual void Seed(const ModelState &State) = 0;
};

// Creates the simulated model for a family, given by PCI vendor and device ID; nullptr when the
// family has no simulated model. Throws ScenarioError (with Path) for unknown state keys.
std::unique_ptr<AdapterModel> CreateAdapterModel(uint16_t VendorId, uint16_t DeviceId, uint16_t SubsystemId,
                                                 size_t PortCount,
                                                 const std::vector<size_t> &FunctionsPerPort,
                                                 const nlohmann::json &State, const std::string &Path);

// The state keys a model of that vendor/device accepts, per scope (for documentation and errors).
std::vector<std::string> ModelStateKeys(uint16_t VendorId, uint16_t DeviceId, const char *Scope);

} // namespace sim
