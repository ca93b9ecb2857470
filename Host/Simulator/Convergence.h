// --boots N: the same machine booted N times, the adapters' state and the NVRAM kept, and what
// each setting does across the boots.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Simulator/Simulator.h"

namespace sim {

// Exit status of a run whose settings do not converge: the platform and an adapter fight.
constexpr int kExitFight = 3;

struct SettingOutcome {
  std::string Controller;
  std::string Setting;          // the command up to its '=' ("set fcport0 OEMELX_BootEnable")
  std::string Outcome;          // "converged", "reapplied" or "fight"
  std::string Rule;             // reapplied: the rule that plans it every boot
  std::string Desired, Current; // fight: the two values
  std::vector<unsigned> SetIn;  // the boots (1-based) that sent it
};

struct Convergence {
  unsigned Boots = 0;
  std::vector<SettingOutcome> Settings;
  size_t Fights() const;
};

// Boots S Boots times; Listener (the explainer) gives the steps their reasons, which the
// classification reads. The transcript holds every boot in order.
Transcript RunBoots(const Scenario &S, unsigned Boots, RunListener *Listener, Convergence *Result);

std::string ConvergenceToText(const Convergence &C);
nlohmann::ordered_json ConvergenceToJson(const Convergence &C);

} // namespace sim
