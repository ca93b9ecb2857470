#include "Simulator/Simulator.h"

#include <cstdio>
#include <memory>

#include "FakeFirmware/FakeFirmware.h"
#include "Simulator/AdapterDriver.h"
#include "Simulator/AdapterModel.h"

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

std::string Hex32(uint32_t Value) {
  char Buffer[16];
  std::snprintf(Buffer, sizeof(Buffer), "0x%08X", Value);
  return Buffer;
}

TranscriptEvent EventJson(const fake::Event &E) {
  TranscriptEvent J;
  J["kind"] = fake::EventKindName(E.Kind);
  switch (E.Kind) {
  case fake::EventKind::Ipmi:
    J["netFn"] = E.NetFn;
    J["lun"] = E.Lun;
    J["command"] = E.Command;
    J["data"] = Hex(E.Data);
    J["completionCode"] = E.CompletionCode;
    break;
  case fake::EventKind::StatusCode:
    J["type"] = Hex32(E.Type);
    J["value"] = Hex32(E.Value);
    J["instance"] = Hex32(E.Instance);
    J["callerId"] = E.HasCallerId ? fake::GuidToString(E.CallerId) : "";
    break;
  case fake::EventKind::SetVariable:
    J["name"] = fake::Utf16ToUtf8(E.Name);
    J["attributes"] = E.Attributes;
    J["data"] = Hex(E.Data);
    break;
  case fake::EventKind::Console:
  case fake::EventKind::Debug:
    J["text"] = E.Text;
    break;
  case fake::EventKind::Disconnect:
  case fake::EventKind::Connect:
    J["status"] = StatusName(E.Status);
    break;
  case fake::EventKind::Reset:
    J["type"] = fake::ResetTypeName(E.ResetType);
    break;
  case fake::EventKind::RestartNotification:
    break;
  }
  return J;
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

class Simulation {
public:
  Simulation(const Scenario &Scenario, const RunOptions &Options);

  Transcript Run();

private:
  void BuildPlatform();
  void BuildRecords(const AdapterSpec &A, size_t AdapterIndex);
  void AddNaloEntry(const NaloEntrySpec &Spec, const std::array<uint8_t, 3> &Key);
  bool LoadDriver(TranscriptBoot &Boot);
  void PlayOrder();
  void PlayController(size_t Index);
  void FinishRun();
  ClpOutcome Respond(size_t ControllerIndex, const std::string &Command);
  std::vector<TranscriptEvent> EventsBetween(size_t Begin, size_t End) const;
  std::vector<TranscriptEvent> TakeEvents();
  void DumpRecords();

  const Scenario &S;
  const RunOptions &Options;
  std::unique_ptr<fake::FakeFirmware> F;
  std::vector<Controller> Controllers;
  std::vector<size_t> Order;
  std::vector<std::unique_ptr<AdapterModel>> Models;                   // per adapter; null for scripted ones
  std::vector<std::map<std::string, std::vector<uint64_t>>> ReplyUses; // per adapter and command
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;
  size_t EventsSeen = 0;
  Transcript T;

  // Everything the run under way needs lives here, not on the stack: a cold reset leaves the
  // driver by longjmp, which must not skip destructors.
  TranscriptBoot *Boot = nullptr;
  DriverRun Current;
  size_t CurrentController = 0;
  std::vector<size_t> QueryMarks, ResponseMarks; // event-log positions before Query, after Response
  uint32_t Restarts = 0;
  ClpResponder ResponderFn;
  StepObserver ObserverFn;
};

Simulation::Simulation(const Scenario &Scenario, const RunOptions &Options) : S(Scenario), Options(Options) {
  ResponderFn = [this](const std::string &Command) { return Respond(CurrentController, Command); };
  ObserverFn = [this](uint64_t, bool AfterResponse) {
    (AfterResponse ? ResponseMarks : QueryMarks).push_back(F->Events().size());
  };
}

std::vector<TranscriptEvent> Simulation::EventsBetween(size_t Begin, size_t End) const {
  std::vector<TranscriptEvent> Out;
  const std::vector<fake::Event> &All = F->Events();
  for (size_t I = Begin; I < End && I < All.size(); I++) {
    Out.push_back(EventJson(All[I]));
  }
  return Out;
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
      // An adapter driver manages the controller, so the front's disconnect has someone to stop.
      F->SetDriverBound(C.Handle, true);
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

// Turns the run under way into its transcript, whether it ended, restarted or was cut by a reset.
void Simulation::FinishRun() {
  const Controller &C = Controllers[CurrentController];
  TranscriptRun Run;
  const size_t Total = F->Events().size();
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
    const bool Responded = I < ResponseMarks.size();
    Step.Response = Responded ? StatusName(D.Response) : "(reset)";
    Step.Events = EventsBetween(QueryMarks[I], Responded ? ResponseMarks[I] : Total);
    Run.Steps.push_back(std::move(Step));
  }
  const bool Cut = ResponseMarks.size() < Current.Steps.size();
  if (!Cut && !Current.Restarted && !Current.InstanceLimit && QueryMarks.size() > Current.Steps.size()) {
    Run.Ended = true;
    Run.EndInstance = Current.EndInstance;
    Run.EndQuery = StatusName(Current.EndQuery);
    Run.EndEvents = EventsBetween(QueryMarks.back(), Total);
  }
  EventsSeen = Total;
  T.Controller(*Boot, C.Name).Runs.push_back(std::move(Run));
}

void Simulation::PlayController(size_t Index) {
  CurrentController = Index;
  Restarts = 0;
  for (;;) {
    Current = DriverRun{};
    QueryMarks.clear();
    ResponseMarks.clear();
    RunAdapterDriver(Protocol, Controllers[Index].Handle, ResponderFn, InstanceLimit, ObserverFn, Current);
    FinishRun();
    const Controller &C = Controllers[Index];
    if (Current.InstanceLimit) {
      T.Problems.push_back(C.Name + ": run passed 255 Instances");
      T.ExitStatus = 1;
      return;
    }
    if (!Current.Restarted) {
      return;
    }
    if (Models[C.Adapter]) {
      Models[C.Adapter]->Restart();
    }
    if (++Restarts > S.MaxRestarts) {
      T.Problems.push_back(C.Name + ": restarted more than " + std::to_string(S.MaxRestarts) + " times");
      T.ExitStatus = 1;
      return;
    }
  }
}

void Simulation::PlayOrder() {
  for (size_t Position = 0; Position < Order.size(); Position++) {
    PlayController(Order[Position]);
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

Transcript Simulation::Run() {
  T.Scenario = S.Name;
  BuildPlatform();
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
    const bool WasReset = F->RunUntilReset([this] { PlayOrder(); });
    if (!WasReset) {
      break;
    }
    FinishRun();
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

} // namespace sim
