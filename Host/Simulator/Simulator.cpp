#include "Simulator/Simulation.h"

#include <algorithm>

#include "Scenario/TranscriptWriter.h"

extern "C++" {
#include "ModuleState.h"
#include "PlatformToDriver.h"
}

namespace sim {

namespace detail {

namespace {

using nlohmann::ordered_json;

constexpr uint64_t InstanceLimit = 256; // a run that passes 255 Instances never ends by itself

// The transcript's view of a logged event; it points into E.
TranscriptEvent EventJson(const fake::Event &E) {
  ptd::EventFields Fields = {};
  Fields.Kind = E.Kind;
  Fields.NetFn = E.NetFn;
  Fields.Lun = E.Lun;
  Fields.Command = E.Command;
  Fields.CompletionCode = E.CompletionCode;
  Fields.Data = E.Data.data();
  Fields.DataSize = E.Data.size();
  Fields.Type = E.Type;
  Fields.Value = E.Value;
  Fields.Instance = E.Instance;
  Fields.CallerId = E.HasCallerId ? &E.CallerId : nullptr;
  const std::string Name = fake::Utf16ToUtf8(E.Name);
  const std::string &Text = E.Kind == fake::EventKind::SetVariable ? Name : E.Text;
  Fields.Text = reinterpret_cast<const CHAR8 *>(Text.data());
  Fields.TextLength = Text.size();
  Fields.Attributes = E.Attributes;
  Fields.Status = E.Status;
  Fields.ResetType = E.ResetType;
  return MakeTranscriptEvent(Fields);
}

} // namespace

Simulation::Simulation(const Scenario &Scenario, const RunOptions &Options) : S(Scenario), Options(Options) {
  ResponderFn = [this](const std::string &Command) { return Respond(Active.back().Controller, Command); };
  ObserverFn = [this](uint64_t Instance, bool AfterResponse) {
    ActiveRun &A = Active.back();
    (AfterResponse ? A.ResponseMarks : A.QueryMarks).push_back(F->Events().size());
    if (this->Options.Listener != nullptr) {
      this->Options.Listener->Step(Controllers[A.Controller].Name, A.RunIndex, Instance, AfterResponse);
    }
  };
  Binding.Protocol = {BindingSupported, BindingStart, BindingStop, 0x10, nullptr, nullptr};
  Binding.Sim = this;
}

// The events of one step of the run Parent; a run nested in it shows as one "start" event.
std::vector<TranscriptEvent> Simulation::EventsBetween(size_t Begin, size_t End, uint64_t Parent) const {
  std::vector<TranscriptEvent> Out;
  const std::vector<fake::Event> &All = F->Events();
  // Each nested run's span starts at some position; its start event goes before the event there.
  // A nested run that logged nothing has an empty span, and nothing is skipped for it.
  auto StartsAt = [&](size_t Position, size_t *SkipTo) {
    for (const NestedSpan &Span : Spans) {
      if (Span.Parent == Parent && Span.Begin == Position) {
        ptd::EventFields Start = {};
        Start.Kind = ptd::EventKind::Start;
        const std::string &Name = Controllers[Span.Controller].Name;
        Start.Text = reinterpret_cast<const CHAR8 *>(Name.data());
        Start.TextLength = Name.size();
        Start.Run = Span.RunIndex;
        Out.push_back(MakeTranscriptEvent(Start));
        *SkipTo = std::max(*SkipTo, Span.End == SIZE_MAX ? End : Span.End);
      }
    }
  };
  size_t I = Begin;
  while (I < End && I < All.size()) {
    size_t SkipTo = I;
    StartsAt(I, &SkipTo);
    if (SkipTo > I) {
      I = SkipTo;
      continue;
    }
    Out.push_back(EventJson(All[I]));
    I++;
  }
  if (Begin < End) {
    size_t Ignored = I;
    StartsAt(I, &Ignored);
  }
  return Out;
}

size_t Simulation::ControllerOf(EFI_HANDLE Handle) const {
  for (size_t I = 0; I < Controllers.size(); I++) {
    if (Controllers[I].Handle == Handle) {
      return I;
    }
  }
  return SIZE_MAX;
}

EFI_STATUS EFIAPI Simulation::BindingSupported(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                               EFI_DEVICE_PATH *) {
  const Simulation *Sim = reinterpret_cast<AdapterBinding *>(This)->Sim;
  return Sim->ControllerOf(Controller) != SIZE_MAX ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI Simulation::BindingStart(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                           EFI_DEVICE_PATH *) {
  Simulation *Sim = reinterpret_cast<AdapterBinding *>(This)->Sim;
  return Sim->StartAdapterDriver(Sim->ControllerOf(Controller));
}

// The driver's loop sees the flag after the Response under way returns.
EFI_STATUS EFIAPI Simulation::BindingStop(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller, UINTN,
                                          EFI_HANDLE *) {
  Simulation *Sim = reinterpret_cast<AdapterBinding *>(This)->Sim;
  const size_t Index = Sim->ControllerOf(Controller);
  for (ActiveRun &A : Sim->Active) {
    if (A.Controller == Index) {
      A.Run.Stopped = true;
    }
  }
  return EFI_SUCCESS;
}

EFI_STATUS Simulation::StartAdapterDriver(size_t Index) {
  const Controller &C = Controllers[Index];
  const bool Nested = !Active.empty();
  if (Nested) {
    // Started again by a restart of the controller inside a Response.
    if (++Restarts[Index] > S.MaxRestarts) {
      T.Problems.push_back(C.Name + ": restarted more than " + std::to_string(S.MaxRestarts) + " times");
      T.ExitStatus = 1;
      return EFI_DEVICE_ERROR;
    }
    if (Models[C.Adapter]) {
      Models[C.Adapter]->Restart();
    }
  }
  TranscriptController &Entry = T.Controller(*Boot, C.Name);
  Entry.Runs.emplace_back();
  Entry.Runs.back().Nested = Nested;
  Active.emplace_back();
  ActiveRun &A = Active.back();
  A.Controller = Index;
  A.RunIndex = Entry.Runs.size() - 1;
  A.Serial = ++RunSerial;
  if (Nested) {
    NestedSpan Span;
    Span.Begin = F->Events().size();
    Span.Parent = Active[Active.size() - 2].Serial;
    Span.Controller = Index;
    Span.RunIndex = A.RunIndex;
    Spans.push_back(Span);
  }
  RunAdapterDriver(Protocol, C.Handle, ResponderFn, InstanceLimit, ObserverFn, A.Run);
  FinishRun();
  return EFI_SUCCESS;
}

std::vector<TranscriptEvent> Simulation::TakeEvents() {
  std::vector<TranscriptEvent> Out;
  const std::vector<fake::Event> &All = F->Events();
  for (; EventsSeen < All.size(); EventsSeen++) {
    Out.push_back(EventJson(All[EventsSeen]));
  }
  return Out;
}

ClpOutcome Simulation::Respond(size_t ControllerIndex, const std::string &Command) {
  const Controller &C = Controllers[ControllerIndex];
  const AdapterSpec &A = S.Adapters[C.Adapter];
  if (Models[C.Adapter]) {
    return Models[C.Adapter]->Execute(C.Port, C.Function, Command);
  }
  // Scripted: the first entry for the command whose "times" is not used up.
  std::vector<uint64_t> &Uses = ReplyUses[C.Adapter][Command];
  size_t Seen = 0;
  for (const ReplySpec &R : A.Replies) {
    if (R.Command != Command) {
      continue;
    }
    if (Uses.size() <= Seen) {
      Uses.resize(Seen + 1, 0);
    }
    if (!R.Times || Uses[Seen] < *R.Times) {
      Uses[Seen]++;
      return ClpOutcome{R.Reply, R.Status, R.Error, R.Action};
    }
    Seen++;
  }
  const ReplySpec &D = A.DefaultReply;
  return ClpOutcome{D.Reply, D.Status, D.Error, D.Action};
}

bool Simulation::LoadDriver(TranscriptBoot &B) {
  static EFI_GUID ProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
  // A new boot loads a new image: the previous boot's instance goes with the old image.
  if (void *Old = F->FindProtocol(F->ImageHandle(), ProtocolGuid)) {
    F->UninstallProtocol(F->ImageHandle(), ProtocolGuid, Old);
  }
  ResetModuleState();
  const EFI_STATUS Status = _ModuleEntryPoint(F->ImageHandle(), F->SystemTable());
  if (T.LoadStatus.empty()) {
    T.LoadStatus = StatusName(Status);
  }
  B.LoadEvents = TakeEvents();
  Protocol = static_cast<EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *>(
      F->FindProtocol(F->ImageHandle(), ProtocolGuid));
  return !EFI_ERROR(Status) && Protocol != nullptr;
}

// Turns the innermost run under way into its transcript, whether it ended, was stopped or was cut
// by a reset, and forgets it.
void Simulation::FinishRun() {
  ActiveRun &A = Active.back();
  const Controller &C = Controllers[A.Controller];
  const DriverRun &Current = A.Run;
  TranscriptRun &Run = T.Controller(*Boot, C.Name).Runs[A.RunIndex];
  const size_t Total = F->Events().size();
  for (NestedSpan &Span : Spans) {
    if (Span.Parent != 0 && Span.End == SIZE_MAX && Span.Controller == A.Controller &&
        Span.RunIndex == A.RunIndex) {
      Span.End = Total;
    }
  }
  for (size_t I = 0; I < Current.Steps.size(); I++) {
    const DriverStep &D = Current.Steps[I];
    TranscriptStep Step;
    Step.Instance = D.Instance;
    Step.Query = StatusName(D.Query);
    Step.Command = D.Command;
    Step.Reply = D.Outcome.Reply;
    Step.CmdStatus = D.Outcome.Status;
    Step.ErrorValue = D.Outcome.Error;
    Step.Action = ActionName(D.Outcome.Action);
    const bool Responded = I < A.ResponseMarks.size();
    Step.Response = Responded ? StatusName(D.Response) : ptd::ResetResponse;
    Step.Events = EventsBetween(A.QueryMarks[I], Responded ? A.ResponseMarks[I] : Total, A.Serial);
    if (Options.Listener != nullptr) {
      Step.Reasons = Options.Listener->Reasons(C.Name, A.RunIndex, D.Instance);
      Step.Unchanged = Options.Listener->Unchanged(C.Name, A.RunIndex, D.Instance);
    }
    Run.Steps.push_back(std::move(Step));
  }
  const bool Cut = A.ResponseMarks.size() < Current.Steps.size();
  if (!Cut && !Current.InstanceLimit && A.QueryMarks.size() > Current.Steps.size()) {
    Run.Ended = true;
    Run.EndInstance = Current.EndInstance;
    Run.EndQuery = StatusName(Current.EndQuery);
    Run.EndEvents = EventsBetween(A.QueryMarks.back(), Total, A.Serial);
  }
  EventsSeen = Total;
  if (Current.InstanceLimit) {
    T.Problems.push_back(C.Name + ": run passed 255 Instances");
    T.ExitStatus = 1;
  }
  Active.pop_back();
}

void Simulation::PlayOrder() {
  for (size_t Position = 0; Position < Order.size(); Position++) {
    const size_t Index = Order[Position];
    Restarts[Index] = 0;
    F->StartDrivers(Controllers[Index].Handle);
  }
}

Transcript Simulation::Run() {
  T.Scenario = S.Name;
  BuildPlatform();
  ComputeOrder();

  for (uint32_t BootNumber = 0; BootNumber <= S.Reboots; BootNumber++) {
    T.Boots.emplace_back();
    Boot = &T.Boots.back();
    if (Options.Listener != nullptr) {
      Options.Listener->BootStarted();
    }
    if (BootNumber > 0) {
      // The adapters come up again with whatever they were told to take at the next restart.
      for (auto &Model : Models) {
        if (Model) {
          Model->Restart();
        }
      }
    }
    if (!LoadDriver(*Boot)) {
      break;
    }
    Spans.clear();
    const bool WasReset = F->RunUntilReset([this] { PlayOrder(); });
    if (!WasReset) {
      break;
    }
    while (!Active.empty()) {
      FinishRun();
    }
    Boot->Reset = fake::ResetTypeName(F->Events().empty() ? EfiResetCold : F->Events().back().ResetType);
  }
  DumpRecords();
  if (Options.FinalVariables != nullptr) {
    Options.FinalVariables->clear();
    for (const fake::NvramVariable &V : F->Variables()) {
      Options.FinalVariables->push_back({fake::Utf16ToUtf8(V.Name), V.Guid, V.Attributes, V.Data});
    }
  }
  if (Options.Final != nullptr) {
    Options.Final->clear();
    for (auto &Model : Models) {
      if (Model) {
        Model->Restart();
        Options.Final->push_back(Model->State());
      } else {
        Options.Final->push_back(std::nullopt);
      }
    }
  }
  return T;
}

} // namespace detail

using detail::Simulation;

Transcript RunScenario(const Scenario &Scn, const RunOptions &Options) {
  Simulation Sim(Scn, Options);
  return Sim.Run();
}

void InspectScenarioPlatform(const Scenario &Scn, const std::function<void(const BuiltPlatform &)> &Visit) {
  Simulation Sim(Scn, RunOptions{});
  Sim.Inspect(Visit);
}

} // namespace sim
