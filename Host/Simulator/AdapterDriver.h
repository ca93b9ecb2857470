// Plays one adapter driver's configuration loop (Scenario/AdapterDriverLoop.h) against the
// installed protocol, executing each CLP command through a responder. Stop() of the driver sets
// DriverRun::Stopped.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C++" {
#include "Uefi.h"
}

namespace sim {

struct ClpOutcome {
  std::string Reply;
  uint8_t Status = 0;
  uint8_t Error = 0;
  uint32_t Action = EfiPlatformConfigurationActionNone;
};

using ClpResponder = std::function<ClpOutcome(const std::string &Command)>;

struct DriverStep {
  uint64_t Instance = 0;
  EFI_STATUS Query = EFI_SUCCESS;
  std::string Command;
  bool ClpGuid = false; // the parameter type handed out was the CLP GUID
  ClpOutcome Outcome;
  EFI_STATUS Response = EFI_SUCCESS;
};

struct DriverRun {
  std::vector<DriverStep> Steps;
  std::vector<CHAR8> ReplyBuffer; // the adapter driver's return string during Response
  uint64_t EndInstance = 0;
  EFI_STATUS EndQuery = EFI_SUCCESS;
  bool Stopped = false;       // Stop() was called while this run was under way
  bool InstanceLimit = false; // the run passed the Instance limit without ending
};

// Called before each Query with the Instance about to be asked for, and after each Response
// (for event bookkeeping).
using StepObserver = std::function<void(uint64_t Instance, bool AfterResponse)>;

// Fills Run as it goes. A platform reset inside Response leaves this function by longjmp, so it
// keeps nothing with a destructor in its own frame while the driver runs: everything lives in Run,
// which the caller owns, and Run.Steps.back() is the step that was under way.
void RunAdapterDriver(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                      const ClpResponder &Responder, uint64_t InstanceLimit, const StepObserver &Observer,
                      DriverRun &Run);

} // namespace sim
