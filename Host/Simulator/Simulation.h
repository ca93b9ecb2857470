// The simulation of one scenario, shared by the files that make it up: Simulator.cpp plays the
// adapter drivers and records the transcript, SimulatorPlatform.cpp builds the platform.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>

#include "FakeFirmware/FakeFirmware.h"
#include "Simulator/AdapterDriver.h"
#include "Simulator/AdapterModel.h"
#include "Simulator/Simulator.h"

namespace sim::detail {

struct Controller {
  std::string Name;
  size_t Adapter = 0, Port = 0, Function = 0;
  EFI_HANDLE Handle = nullptr;
  FUNCTION_SETTINGS *Record = nullptr;
};

class Simulation;

// The simulator's adapter drivers as one UEFI driver: it manages every controller of the scenario,
// and its Start() runs the controller's configuration loop.
struct AdapterBinding {
  EFI_DRIVER_BINDING_PROTOCOL Protocol; // first member: This leads back here
  Simulation *Sim;
};

// One adapter-driver run under way. Runs nest: a restart inside a Response starts the next run
// before the outer one has finished.
struct ActiveRun {
  size_t Controller = 0;
  size_t RunIndex = 0; // position in the controller's transcript runs
  uint64_t Serial = 0; // tells the spans of runs nested in this one
  DriverRun Run;
  std::vector<size_t> QueryMarks, ResponseMarks; // event-log positions before Query, after Response
};

// The stretch of the event log that a nested run covers; its parent's step shows a "start" event
// in its place.
struct NestedSpan {
  size_t Begin = 0, End = SIZE_MAX;
  uint64_t Parent = 0;
  size_t Controller = 0, RunIndex = 0;
};

class Simulation {
public:
  Simulation(const Scenario &Scenario, const RunOptions &Options);

  Transcript Run();
  void Inspect(const std::function<void(const BuiltPlatform &)> &Visit);

private:
  void BuildPlatform();
  void BuildRecords(const AdapterSpec &A, size_t AdapterIndex);
  void AddNaloEntry(const NaloEntrySpec &Spec, const std::array<uint8_t, 3> &Key);
  bool LoadDriver(TranscriptBoot &Boot);
  void PlayOrder();
  void ComputeOrder();
  void FinishRun();
  ClpOutcome Respond(size_t ControllerIndex, const std::string &Command);
  std::vector<TranscriptEvent> EventsBetween(size_t Begin, size_t End, uint64_t Parent) const;
  size_t ControllerOf(EFI_HANDLE Handle) const;
  static EFI_STATUS EFIAPI BindingSupported(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                            EFI_DEVICE_PATH *Remaining);
  static EFI_STATUS EFIAPI BindingStart(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                        EFI_DEVICE_PATH *Remaining);
  static EFI_STATUS EFIAPI BindingStop(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                       UINTN Children, EFI_HANDLE *ChildHandles);
  EFI_STATUS StartAdapterDriver(size_t Index);
  std::vector<TranscriptEvent> TakeEvents();
  void DumpRecords();

  const Scenario &S;
  const RunOptions &Options;
  std::unique_ptr<fake::FakeFirmware> F;
  std::vector<Controller> Controllers;
  std::vector<size_t> Order;
  std::vector<std::array<uint8_t, 3>> NaloKeys;      // every virtual-I/O entry built, in build order
  std::vector<std::unique_ptr<AdapterModel>> Models; // per adapter; null for scripted ones
  std::vector<std::map<std::string, std::vector<uint64_t>>> ReplyUses; // per adapter and command
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;
  size_t EventsSeen = 0;
  Transcript T;

  // Everything the runs under way need lives here, not on the stack: a cold reset leaves the
  // driver by longjmp, which must not skip destructors. A deque keeps the runs where they are
  // while nested ones are added.
  TranscriptBoot *Boot = nullptr;
  AdapterBinding Binding = {};
  EFI_HANDLE BindingHandle = nullptr;
  std::deque<ActiveRun> Active;
  std::vector<NestedSpan> Spans; // of the boot under way
  uint64_t RunSerial = 0;
  std::vector<uint32_t> Restarts; // per controller, since its adapter driver was last started by the platform
  ClpResponder ResponderFn;
  StepObserver ObserverFn;
};

} // namespace sim::detail
