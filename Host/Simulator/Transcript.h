// What happened during a simulated boot: every Query and Response per controller run, the events
// each caused, resets, and the records afterwards. Rendered as text for people or as JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace ptd {
struct EventFields;
}

namespace sim {

// One event in the transcript's JSON shape: {"kind": ..., fields...}.
using TranscriptEvent = nlohmann::ordered_json;

// The event as the shared transcript writer shapes it.
TranscriptEvent MakeTranscriptEvent(const ptd::EventFields &Fields);

struct TranscriptStep {
  uint64_t Instance = 0;
  std::string Query;
  std::string Command;
  std::string Reply;
  uint8_t CmdStatus = 0;
  uint8_t ErrorValue = 0;
  std::string Action;
  std::string Response;
  std::vector<TranscriptEvent> Events;
  // Why the command was planned, and the decisions of the planning pass at this Instance that
  // changed nothing (--explain and --plan only; empty otherwise).
  std::vector<std::string> Reasons;
  std::vector<std::string> Unchanged;
};

struct TranscriptRun {
  std::vector<TranscriptStep> Steps;
  uint64_t EndInstance = 0;
  std::string EndQuery;
  std::vector<TranscriptEvent> EndEvents;
  bool Ended = false;  // false when a reset or a limit cut the run short
  bool Nested = false; // started by a restart inside a Response of an earlier run
};

struct TranscriptController {
  std::string Name;
  std::vector<TranscriptRun> Runs;
};

struct TranscriptBoot {
  std::vector<TranscriptController> Controllers;
  std::optional<std::string> Reset; // "cold", "warm", "shutdown"
  std::vector<TranscriptEvent> LoadEvents;
};

struct Transcript {
  std::string Scenario;
  std::string LoadStatus;
  std::vector<TranscriptBoot> Boots;
  nlohmann::ordered_json Records = nlohmann::ordered_json::object();
  std::vector<std::string> Problems; // e.g. a controller that hit maxRestarts
  int ExitStatus = 0;

  TranscriptController &Controller(TranscriptBoot &Boot, const std::string &Name);
};

nlohmann::ordered_json TranscriptToJson(const Transcript &T);
std::string TranscriptToText(const Transcript &T);
// A command line that changes the adapter ("set ...").
bool IsSetCommand(const std::string &Command);
// --plan: per controller only what the boot changes (SET lines with their reasons, restarts,
// failures, BMC messages), then a fleet table.
std::string TranscriptToPlan(const Transcript &T);

} // namespace sim
