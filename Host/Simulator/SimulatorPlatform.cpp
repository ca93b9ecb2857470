// Building a scenario's platform on the fake firmware: PCI functions with their settings records,
// virtual-I/O entries, variables, protocols, adapter models; and reading the records back.
#include "Simulator/Simulation.h"

namespace sim::detail {

namespace {

using nlohmann::ordered_json;

std::string Hex(const std::vector<uint8_t> &Bytes) {
  static const char Digits[] = "0123456789ABCDEF";
  std::string Out;
  for (uint8_t B : Bytes) {
    Out += Digits[B >> 4];
    Out += Digits[B & 15];
  }
  return Out;
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

} // namespace

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

} // namespace sim::detail
