#include "Simulator/Simulator.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>

#include "FakeFirmware/FakeFirmware.h"
#include "Simulator/AdapterDriver.h"
#include "Simulator/AdapterModel.h"
#include "Scenario/TranscriptWriter.h"

extern "C++" {
#include "ModuleState.h"
#include "PlatformToDriver.h"
}

namespace sim {

namespace {

using nlohmann::ordered_json;

constexpr uint64_t InstanceLimit = 256; // a run that passes 255 Instances never ends by itself

std::string Hex(const std::vector<uint8_t> &Bytes) {
  static const char Digits[] = "0123456789ABCDEF";
  std::string Out;
  for (uint8_t B : Bytes) {
    Out += Digits[B >> 4];
    Out += Digits[B & 15];
  }
  return Out;
}

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

// Leading pairs of hexadecimal digits of an address text, as bytes; stops at the first non-digit.
std::vector<uint8_t> TextToBytes(const std::string &Text) {
  auto Digit = [](char C) -> int {
    if (C >= '0' && C <= '9') {
      return C - '0';
    }
    if (C >= 'a' && C <= 'f') {
      return C - 'a' + 10;
    }
    if (C >= 'A' && C <= 'F') {
      return C - 'A' + 10;
    }
    return -1;
  };
  std::vector<uint8_t> Bytes;
  for (size_t I = 0; I + 1 < Text.size(); I += 2) {
    const int High = Digit(Text[I]), Low = Digit(Text[I + 1]);
    if (High < 0 || Low < 0) {
      break;
    }
    Bytes.push_back(static_cast<uint8_t>(High << 4 | Low));
  }
  return Bytes;
}

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

Simulation::Simulation(const Scenario &Scenario, const RunOptions &Options) : S(Scenario), Options(Options) {
  ResponderFn = [this](const std::string &Command) { return Respond(Active.back().Controller, Command); };
  ObserverFn = [this](uint64_t, bool AfterResponse) {
    ActiveRun &A = Active.back();
    (AfterResponse ? A.ResponseMarks : A.QueryMarks).push_back(F->Events().size());
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

void Simulation::AddNaloEntry(const NaloEntrySpec &Spec, const std::array<uint8_t, 3> &Key) {
  fake::NaloEntry &E = F->Nalo(Key[0], Key[1], Key[2]);
  NaloKeys.push_back(Key);
  E.Status = Spec.Status;
  E.QueryDefaultsPort = Spec.QueryDefaultsPort;
  E.QueryDefaultsAddresses = Spec.QueryDefaultsAddresses;
  E.Header.ConfigType = Spec.ConfigType;
  E.Header.ConfigSubtype = Spec.ConfigSubtype;
  E.Header.PortTableValid = Spec.PortTableValid;
  E.Header.AddressTableValid = Spec.AddressTableValid;
  E.Header.BootTableValid = Spec.BootTableValid;
  E.Header.ResponseFlag = Spec.ResponseFlag;
  E.Header.SriovValid = Spec.SriovValid;
  E.Header.InitiatorName = Spec.InitiatorName ? E.OwnText(*Spec.InitiatorName) : nullptr;
  E.PortTable.DesiredPortEnable = Spec.DesiredPortEnable;
  E.PortTable.PortMode = Spec.PortMode;
  E.PortTable.DesiredFunctionCount = Spec.DesiredFunctionCount;
  for (size_t I = 0; I < Spec.Functions.size() && I < NALO_FUNCTION_ENTRIES; I++) {
    const NaloFunctionSpec &Fn = Spec.Functions[I];
    NALO_FUNCTION_ENTRY &Out = E.PortTable.Function[I];
    Out.Enabled = Fn.Enabled;
    Out.FunctionType = Fn.FunctionType;
    Out.RoceMode = Fn.RoceMode;
    Out.SriovEnable = Fn.SriovEnable;
    Out.MinBandwidthShare = Fn.MinBandwidthShare ? E.Own<UINT8>(*Fn.MinBandwidthShare) : nullptr;
    Out.MaxBandwidthShare = Fn.MaxBandwidthShare ? E.Own<UINT8>(*Fn.MaxBandwidthShare) : nullptr;
    Out.FunctionVlanId = Fn.FunctionVlanId ? E.Own<UINT16>(*Fn.FunctionVlanId) : nullptr;
  }
  for (size_t I = 0; I < Spec.Addresses.size() && I < NALO_FUNCTION_ENTRIES; I++) {
    const NaloAddressSpec &A = Spec.Addresses[I];
    NALO_ADDRESS_ENTRY &Out = E.AddressTable[I];
    Out.Enabled = A.Enabled;
    Out.Mac = A.Mac ? E.OwnBytes(*A.Mac) : nullptr;
    Out.Wwnn = A.Wwnn ? E.OwnText(*A.Wwnn) : nullptr;
    Out.Wwpn = A.Wwpn ? E.OwnText(*A.Wwpn) : nullptr;
  }
  for (size_t I = 0; I < Spec.Boots.size() && I < NALO_FUNCTION_ENTRIES; I++) {
    const NaloBootSpec &B = Spec.Boots[I];
    NALO_BOOT_ENTRY &Out = E.BootTable[I];
    Out.Enabled = B.Enabled;
    auto Text = [&](const std::optional<std::string> &V) { return V ? E.OwnText(*V) : nullptr; };
    auto Byte = [&](const std::optional<uint8_t> &V) { return V ? E.Own<UINT8>(*V) : nullptr; };
    auto Word = [&](const std::optional<uint16_t> &V) { return V ? E.Own<UINT16>(*V) : nullptr; };
    auto Ip = [&](const std::optional<std::array<uint8_t, 4>> &V) {
      return V ? E.OwnBytes(std::vector<uint8_t>(V->begin(), V->end())) : nullptr;
    };
    Out.BootVlanId = Word(B.BootVlanId);
    Out.Target1Wwpn = Text(B.Target1Wwpn);
    Out.Target1Lun = Text(B.Target1Lun);
    Out.Target2Wwpn = Text(B.Target2Wwpn);
    Out.Target2Lun = Text(B.Target2Lun);
    Out.FcLinkSpeed = Text(B.FcLinkSpeed);
    Out.FcTopology = Text(B.FcTopology);
    Out.InitiatorOrigin = Byte(B.InitiatorOrigin);
    Out.InitiatorAddress = Ip(B.InitiatorAddress);
    Out.InitiatorSubnetMask = Ip(B.InitiatorSubnetMask);
    Out.InitiatorGateway = Ip(B.InitiatorGateway);
    Out.TargetOrigin = Byte(B.TargetOrigin);
    Out.TargetName = Text(B.TargetName);
    Out.TargetAddress = Ip(B.TargetAddress);
    Out.TargetTcpPort = Word(B.TargetTcpPort);
    Out.TargetBootLun = Byte(B.TargetBootLun);
    Out.AuthMethod = Byte(B.AuthMethod);
    Out.ChapUserName = Text(B.ChapUserName);
    Out.ChapSecret = Text(B.ChapSecret);
    Out.MutualChapSecret = Text(B.MutualChapSecret);
  }
}

void Simulation::BuildRecords(const AdapterSpec &A, size_t AdapterIndex) {
  std::vector<std::vector<FUNCTION_SETTINGS *>> PortRecords(A.Ports.size());
  std::vector<size_t> FunctionsPerPort;
  for (size_t P = 0; P < A.Ports.size(); P++) {
    FunctionsPerPort.push_back(A.Ports[P].Functions.size());
    for (size_t Fn = 0; Fn < A.Ports[P].Functions.size(); Fn++) {
      const FunctionSpec &Spec = A.Ports[P].Functions[Fn];
      Controller C;
      C.Name = ControllerName(A, P, Fn);
      C.Adapter = AdapterIndex;
      C.Port = P;
      C.Function = Fn;
      C.Handle = F->AddPciFunction(A.Segment, A.Bus, A.Device, Spec.Function, A.VendorId, A.DeviceId);
      if (Spec.Settings && S.AdapterSettingsProtocol) {
        C.Record = F->AddAdapterSettings(C.Handle);
        PortRecords[P].push_back(C.Record);
      }
      Controllers.push_back(C);
    }
  }
  // Derived fields first, then what the scenario says, which wins.
  size_t Position = Controllers.size() - [&] {
    size_t N = 0;
    for (const PortSpec &P : A.Ports) {
      N += P.Functions.size();
    }
    return N;
  }();
  for (size_t P = 0; P < A.Ports.size(); P++) {
    for (size_t Fn = 0; Fn < A.Ports[P].Functions.size(); Fn++, Position++) {
      FUNCTION_SETTINGS *R = Controllers[Position].Record;
      if (R == nullptr) {
        continue;
      }
      const FunctionSpec &Spec = A.Ports[P].Functions[Fn];
      R->VendorId = A.VendorId;
      R->DeviceId = A.DeviceId;
      R->SubsystemId = A.SubsystemId;
      R->PciAddress = static_cast<UINT16>(A.Bus << 8 | A.Device << 3 | Spec.Function);
      R->PortIndex = static_cast<UINT8>(P);
      R->PfIndex = static_cast<UINT8>(Fn);
      R->FunctionCount = static_cast<UINT8>(PortRecords[P].size());
      R->PortCount = static_cast<UINT8>(A.Ports.size());
      for (size_t I = 0; I < PortRecords[P].size() && I < FUNCTION_LIST_ENTRIES; I++) {
        R->Functions[I] = PortRecords[P][I];
      }
      for (size_t I = 0; I < A.Ports.size() && I < FUNCTION_LIST_ENTRIES; I++) {
        R->Ports[I] = PortRecords[I].empty() ? nullptr : PortRecords[I][0];
      }
      bool MfgBytes = false, CurrentBytes = false;
      for (const FieldAssignment &Set : Spec.Record) {
        switch (Set.Field->Kind) {
        case FieldKind::Number:
        case FieldKind::Flags:
          WriteNumber(*R, *Set.Field, Set.Number);
          break;
        case FieldKind::Text:
        case FieldKind::TextSlots:
          WriteText(*R, *Set.Field, Set.Text, Set.Slot);
          break;
        case FieldKind::ByteSlots:
          WriteBytes(*R, *Set.Field, Set.Data, Set.Slot);
          MfgBytes = MfgBytes || std::string(Set.Field->Name) == "MfgAddress";
          CurrentBytes = CurrentBytes || std::string(Set.Field->Name) == "CurrentAddress";
          break;
        }
      }
      // Byte-form addresses follow their text when the scenario gives only the text.
      for (size_t Slot = 0; Slot < FUNCTION_ADDRESS_SLOTS; Slot++) {
        if (!MfgBytes) {
          WriteBytes(*R, *FindRecordField("MfgAddress"),
                     TextToBytes(ReadText(*R, *FindRecordField("MfgAddressText"), Slot)), Slot);
        }
        if (!CurrentBytes) {
          WriteBytes(*R, *FindRecordField("CurrentAddress"),
                     TextToBytes(ReadText(*R, *FindRecordField("CurrentAddressText"), Slot)), Slot);
        }
      }
    }
  }
  // The port's inline virtual-I/O entry is keyed by the port's first function record.
  for (size_t P = 0; P < A.Ports.size(); P++) {
    if (A.Ports[P].Nalo && !PortRecords[P].empty()) {
      const FUNCTION_SETTINGS *First = PortRecords[P][0];
      AddNaloEntry(*A.Ports[P].Nalo, {First->NaloIndex, First->CardIndex, First->PortIndex});
    }
  }
  if (A.Model == "simulated") {
    Models.push_back(CreateAdapterModel(A.VendorId, A.DeviceId, A.SubsystemId, A.Ports.size(),
                                        FunctionsPerPort, A.State,
                                        "adapters[" + std::to_string(AdapterIndex) + "].state"));
    if (!Models.back()) {
      throw ScenarioError("adapters[" + std::to_string(AdapterIndex) +
                          "].model: no simulated model for this vendor and device");
    }
    if (Options.Seed != nullptr && AdapterIndex < Options.Seed->size() && (*Options.Seed)[AdapterIndex]) {
      Models.back()->Seed(*(*Options.Seed)[AdapterIndex]);
    }
  } else {
    Models.push_back(nullptr);
  }
}

void Simulation::BuildPlatform() {
  F = std::make_unique<fake::FakeFirmware>();
  F->SetUefiRevision(S.UefiRevision);
  fake::PlatformProtocols Which;
  Which.Nalo = S.NaloProtocol;
  Which.PlatformPolicy = S.PlatformPolicyProtocol;
  Which.Ipmi = S.IpmiProtocol;
  Which.ConsoleMessage = S.ConsoleMessageProtocol;
  Which.StatusCode = S.StatusCodeProtocol;
  F->InstallPlatformProtocols(Which);
  F->SetForceAdapterEnable(S.ForceAdapterEnable);
  F->ScriptIpmiCompletionCodes(S.IpmiCompletionCodes);
  for (const VariableSpec &V : S.Variables) {
    F->PutVariable(fake::Utf8ToUtf16(V.Name), V.Guid, V.Attributes, V.Data);
  }
  for (const NaloEntrySpec &N : S.Nalo) {
    AddNaloEntry(N, N.Key);
  }
  ReplyUses.resize(S.Adapters.size());
  for (size_t A = 0; A < S.Adapters.size(); A++) {
    BuildRecords(S.Adapters[A], A);
  }
  Restarts.assign(Controllers.size(), 0);
  static EFI_GUID DriverBindingGuid = EFI_DRIVER_BINDING_PROTOCOL_GUID;
  F->InstallProtocol(&BindingHandle, DriverBindingGuid, &Binding.Protocol);
  Binding.Protocol.ImageHandle = BindingHandle;
  Binding.Protocol.DriverBindingHandle = BindingHandle;
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
    Step.Response = Responded ? StatusName(D.Response) : "(reset)";
    Step.Events = EventsBetween(A.QueryMarks[I], Responded ? A.ResponseMarks[I] : Total, A.Serial);
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

void Simulation::DumpRecords() {
  for (const Controller &C : Controllers) {
    if (C.Record == nullptr) {
      continue;
    }
    ordered_json Fields;
    for (const RecordField &Field : RecordFields()) {
      switch (Field.Kind) {
      case FieldKind::Number:
      case FieldKind::Flags:
        Fields[Field.Name] = ReadNumber(*C.Record, Field);
        break;
      case FieldKind::Text:
        Fields[Field.Name] = ReadText(*C.Record, Field);
        break;
      case FieldKind::TextSlots: {
        ordered_json Slots = ordered_json::array();
        for (size_t I = 0; I < Field.Count; I++) {
          Slots.push_back(ReadText(*C.Record, Field, I));
        }
        Fields[Field.Name] = Slots;
        break;
      }
      case FieldKind::ByteSlots: {
        ordered_json Slots = ordered_json::array();
        for (size_t I = 0; I < Field.Count; I++) {
          Slots.push_back(Hex(ReadBytes(*C.Record, Field, I)));
        }
        Fields[Field.Name] = Slots;
        break;
      }
      }
    }
    T.Records[C.Name] = Fields;
  }
}

void Simulation::ComputeOrder() {
  if (S.Order.empty()) {
    for (size_t I = 0; I < Controllers.size(); I++) {
      Order.push_back(I);
    }
  } else {
    for (const std::string &Name : S.Order) {
      for (size_t I = 0; I < Controllers.size(); I++) {
        if (Controllers[I].Name == Name) {
          Order.push_back(I);
        }
      }
    }
  }
}

void Simulation::Inspect(const std::function<void(const BuiltPlatform &)> &Visit) {
  BuildPlatform();
  ComputeOrder();
  BuiltPlatform P;
  for (const Controller &C : Controllers) {
    P.Controllers.push_back(BuiltController{C.Name, C.Adapter, C.Record});
  }
  P.Order = Order;
  for (const auto &Key : NaloKeys) {
    P.Nalo.push_back(BuiltNalo{Key, &F->Nalo(Key[0], Key[1], Key[2])});
  }
  Visit(P);
}

Transcript Simulation::Run() {
  T.Scenario = S.Name;
  BuildPlatform();
  ComputeOrder();

  for (uint32_t BootNumber = 0; BootNumber <= S.Reboots; BootNumber++) {
    T.Boots.emplace_back();
    Boot = &T.Boots.back();
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

} // namespace

Transcript RunScenario(const Scenario &Scn, const RunOptions &Options) {
  Simulation Sim(Scn, Options);
  return Sim.Run();
}

void InspectScenarioPlatform(const Scenario &Scn, const std::function<void(const BuiltPlatform &)> &Visit) {
  Simulation Sim(Scn, RunOptions{});
  Sim.Inspect(Visit);
}

} // namespace sim
