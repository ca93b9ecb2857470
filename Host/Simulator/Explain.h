// --explain: why each command of a boot was planned, and which decisions planned nothing.
//
// The explainer listens to the driver's planning observer (Driver/Planning/PlanObserver.h, compiled
// into the simulator's own build of the driver only) and to the simulator's steps, and gives each
// step of the transcript its reason lines.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Simulator/Simulator.h"

struct PLAN_OBSERVATION;

namespace sim {

class Explainer : public RunListener {
public:
  Explainer();
  ~Explainer() override;
  Explainer(const Explainer &) = delete;
  Explainer &operator=(const Explainer &) = delete;

  void Step(const std::string &Controller, size_t Run, uint64_t Instance, bool BeforeResponse) override;
  std::vector<std::string> Reasons(const std::string &Controller, size_t Run, uint64_t Instance) override;
  std::vector<std::string> Unchanged(const std::string &Controller, size_t Run, uint64_t Instance) override;
  void BootStarted() override;

  // One observation of the driver (called through the driver's observer pointer).
  void Observe(const ::PLAN_OBSERVATION *Observation);

private:
  struct RunNotes {
    std::map<uint64_t, std::string> ByPosition;              // reason of the code at a list position
    std::map<uint64_t, std::vector<std::string>> KeptAtStep; // decisions that planned nothing
  };
  RunNotes &Current();

  std::string Controller;
  size_t Run = 0;
  uint64_t Instance = 0;
  std::map<std::pair<std::string, size_t>, RunNotes> Notes;
  // The Instance whose reply last went to the parsers, per record and show code.
  std::map<std::pair<const void *, uint32_t>, uint64_t> Replies;
  // The decision under way.
  bool Deciding = false;
  uint32_t DecisionCode = 0;
  std::vector<std::pair<uint64_t, uint32_t>> DecisionPositions; // list position, code
  std::vector<uint8_t> RecordBefore;
};

} // namespace sim
