#include "Simulator/ScenarioPack.h"

#include <cstring>
#include <map>
#include <string>

#include "FakeFirmware/FakeFirmware.h"
#include "Scenario/PackFormat.h"
#include "Simulator/Simulator.h"

namespace sim {

namespace {

// A growing pack: structures are appended 8-byte aligned and pointer fields are written as pack
// offsets and listed for relocation.
class PackWriter {
public:
  PackWriter() { Blob.resize(sizeof(PTD_PACK_HEADER)); }

  uint32_t Append(const void *Data, size_t Size) {
    Blob.resize((Blob.size() + 7) & ~size_t(7));
    const uint32_t At = static_cast<uint32_t>(Blob.size());
    Blob.insert(Blob.end(), static_cast<const uint8_t *>(Data), static_cast<const uint8_t *>(Data) + Size);
    return At;
  }
  uint32_t Reserve(size_t Size) {
    std::vector<uint8_t> Zero(Size, 0);
    return Append(Zero.data(), Size);
  }
  uint32_t Text(const std::string &T) { return Append(T.c_str(), T.size() + 1); }

  // Makes the pointer field at Position point at Target (a pack offset).
  void Point(uint32_t Position, uint32_t Target) {
    const uint64_t Value = Target;
    std::memcpy(&Blob[Position], &Value, sizeof(Value));
    Relocs.push_back(Position);
  }
  template <typename T> T *At(uint32_t Offset) { return reinterpret_cast<T *>(&Blob[Offset]); }

  std::vector<uint8_t> Finish(uint32_t ScenarioCount, uint32_t Scenarios) {
    const uint32_t RelocTable = Append(Relocs.data(), Relocs.size() * sizeof(uint32_t));
    PTD_PACK_HEADER *H = At<PTD_PACK_HEADER>(0);
    H->Magic = PTD_PACK_MAGIC;
    H->Size = static_cast<uint32_t>(Blob.size());
    H->RelocCount = static_cast<uint32_t>(Relocs.size());
    H->ScenarioCount = ScenarioCount;
    const uint64_t RelocValue = RelocTable, ScenarioValue = Scenarios;
    std::memcpy(&Blob[offsetof(PTD_PACK_HEADER, Relocs)], &RelocValue, 8);
    std::memcpy(&Blob[offsetof(PTD_PACK_HEADER, Scenarios)], &ScenarioValue, 8);
    // The two header pointers are relocated too; they are not in the table written above, so
    // the reader handles them itself.
    return Blob;
  }

  std::vector<uint8_t> Blob;
  std::vector<uint32_t> Relocs;
};

// The pointer fields of a NALO entry point into storage the fake entry owns; the size of each
// pointee is the size of the storage block it starts.
size_t PointeeSize(const fake::NaloEntry &E, const void *P) {
  for (const std::vector<uint8_t> &Block : E.Storage) {
    if (!Block.empty() && Block.data() == P) {
      return Block.size();
    }
  }
  throw ScenarioError("virtual-I/O entry field points outside its entry");
}

void PackPointer(PackWriter &W, const fake::NaloEntry &E, uint32_t Position, const void *P) {
  if (P == nullptr) {
    return;
  }
  const size_t Size = PointeeSize(E, P);
  const uint32_t Target = W.Append(P, Size);
  W.Point(Position, Target);
}

uint32_t PackNalo(PackWriter &W, const std::vector<BuiltNalo> &Entries) {
  // One entry per key; a key built twice is the same fake entry.
  std::vector<BuiltNalo> Unique;
  for (const BuiltNalo &N : Entries) {
    bool Seen = false;
    for (const BuiltNalo &U : Unique) {
      Seen = Seen || U.Key == N.Key;
    }
    if (!Seen) {
      Unique.push_back(N);
    }
  }
  const uint32_t Table = W.Reserve(Unique.size() * sizeof(PTD_PACK_NALO));
  for (size_t I = 0; I < Unique.size(); I++) {
    const fake::NaloEntry &E = *Unique[I].Entry;
    const uint32_t Base = Table + static_cast<uint32_t>(I * sizeof(PTD_PACK_NALO));
    {
      PTD_PACK_NALO *Out = W.At<PTD_PACK_NALO>(Base);
      std::memcpy(Out->Key, Unique[I].Key.data(), 3);
      Out->QueryDefaultsPort = E.QueryDefaultsPort ? 1 : 0;
      Out->QueryDefaultsAddresses = E.QueryDefaultsAddresses ? 1 : 0;
      Out->Status = E.Status;
      std::memcpy(&Out->Header, &E.Header, sizeof(E.Header));
      std::memcpy(&Out->PortTable, &E.PortTable, sizeof(E.PortTable));
      std::memcpy(Out->AddressTable, E.AddressTable, sizeof(Out->AddressTable));
      std::memcpy(Out->BootTable, E.BootTable, sizeof(Out->BootTable));
    }
    // Copied pointer fields still hold host addresses: clear each, then repoint it into the pack.
    auto Field = [&](size_t FieldOffset, const void *HostPointer) {
      const uint32_t Position = Base + static_cast<uint32_t>(FieldOffset);
      std::memset(&W.Blob[Position], 0, 8);
      PackPointer(W, E, Position, HostPointer);
    };
    Field(offsetof(PTD_PACK_NALO, Header) + offsetof(NALO_CONFIG_HEADER, InitiatorName),
          E.Header.InitiatorName);
    for (size_t F = 0; F < NALO_FUNCTION_ENTRIES; F++) {
      const size_t Fn = offsetof(PTD_PACK_NALO, PortTable) + offsetof(NALO_PORT_TABLE, Function) +
                        F * sizeof(NALO_FUNCTION_ENTRY);
      const NALO_FUNCTION_ENTRY &In = E.PortTable.Function[F];
      Field(Fn + offsetof(NALO_FUNCTION_ENTRY, MinBandwidthShare), In.MinBandwidthShare);
      Field(Fn + offsetof(NALO_FUNCTION_ENTRY, MaxBandwidthShare), In.MaxBandwidthShare);
      Field(Fn + offsetof(NALO_FUNCTION_ENTRY, FunctionVlanId), In.FunctionVlanId);
      const size_t Ad = offsetof(PTD_PACK_NALO, AddressTable) + F * sizeof(NALO_ADDRESS_ENTRY);
      Field(Ad + offsetof(NALO_ADDRESS_ENTRY, Mac), E.AddressTable[F].Mac);
      Field(Ad + offsetof(NALO_ADDRESS_ENTRY, Wwnn), E.AddressTable[F].Wwnn);
      Field(Ad + offsetof(NALO_ADDRESS_ENTRY, Wwpn), E.AddressTable[F].Wwpn);
      // Every pointer-sized slot of a boot entry after Enabled is a pointer field.
      const size_t Bt = offsetof(PTD_PACK_NALO, BootTable) + F * sizeof(NALO_BOOT_ENTRY);
      const auto *Slots = reinterpret_cast<const void *const *>(&E.BootTable[F]);
      for (size_t S = 1; S < sizeof(NALO_BOOT_ENTRY) / sizeof(void *); S++) {
        Field(Bt + S * sizeof(void *), Slots[S]);
      }
    }
  }
  return Table;
}

void PackReply(PackWriter &W, uint32_t Position, const ReplySpec &R) {
  {
    PTD_PACK_REPLY *Out = W.At<PTD_PACK_REPLY>(Position);
    Out->ReplyLength = static_cast<uint32_t>(R.Reply.size());
    Out->Status = R.Status;
    Out->Error = R.Error;
    Out->Action = R.Action;
    Out->Times = R.Times ? *R.Times : PTD_PACK_TIMES_UNLIMITED;
  }
  W.Point(Position + offsetof(PTD_PACK_REPLY, Command), W.Text(R.Command));
  W.Point(Position + offsetof(PTD_PACK_REPLY, Reply), W.Text(R.Reply));
}

void PackScenario(PackWriter &W, uint32_t Position, const Scenario &S) {
  if (S.Reboots != 0) {
    throw ScenarioError("run.reboots: the firmware stand-in plays one boot");
  }
  for (size_t A = 0; A < S.Adapters.size(); A++) {
    if (S.Adapters[A].Model != "scripted") {
      throw ScenarioError("adapters[" + std::to_string(A) +
                          "].model: the firmware stand-in plays scripted adapters only");
    }
  }
  BuiltPlatform P;
  std::vector<std::vector<uint8_t>> Records;
  InspectScenarioPlatform(S, [&](const BuiltPlatform &Built) {
    P = Built;
    for (const BuiltController &C : Built.Controllers) {
      Records.emplace_back();
      if (C.Record != nullptr) {
        const auto *Bytes = reinterpret_cast<const uint8_t *>(C.Record);
        Records.back().assign(Bytes, Bytes + sizeof(FUNCTION_SETTINGS));
      }
    }
    // The entries die with the fake: pack them while it lives.
    P.Nalo.clear();
    const uint32_t Nalo = PackNalo(W, Built.Nalo);
    PTD_PACK_SCENARIO *Out = W.At<PTD_PACK_SCENARIO>(Position);
    Out->NaloCount = 0;
    for (size_t I = 0; I < Built.Nalo.size(); I++) {
      bool Seen = false;
      for (size_t J = 0; J < I; J++) {
        Seen = Seen || Built.Nalo[J].Key == Built.Nalo[I].Key;
      }
      Out->NaloCount += Seen ? 0 : 1;
    }
    if (Out->NaloCount != 0) {
      W.Point(Position + offsetof(PTD_PACK_SCENARIO, Nalo), Nalo);
    }
  });

  // Records: the Functions and Ports lists point at other records of the scenario.
  std::map<const FUNCTION_SETTINGS *, uint32_t> RecordAt;
  std::vector<uint32_t> ControllerRecord(P.Controllers.size(), 0);
  for (size_t C = 0; C < P.Controllers.size(); C++) {
    if (P.Controllers[C].Record != nullptr) {
      ControllerRecord[C] = W.Append(Records[C].data(), Records[C].size());
      RecordAt[P.Controllers[C].Record] = ControllerRecord[C];
    }
  }
  for (size_t C = 0; C < P.Controllers.size(); C++) {
    if (ControllerRecord[C] == 0) {
      continue;
    }
    const FUNCTION_SETTINGS *R = reinterpret_cast<const FUNCTION_SETTINGS *>(Records[C].data());
    for (size_t I = 0; I < FUNCTION_LIST_ENTRIES; I++) {
      for (size_t List = 0; List < 2; List++) {
        const FUNCTION_SETTINGS *Target = List == 0 ? R->Functions[I] : R->Ports[I];
        const uint32_t Position =
            ControllerRecord[C] + static_cast<uint32_t>((List == 0 ? offsetof(FUNCTION_SETTINGS, Functions)
                                                                   : offsetof(FUNCTION_SETTINGS, Ports)) +
                                                        I * sizeof(void *));
        std::memset(&W.Blob[Position], 0, 8);
        if (Target == nullptr) {
          continue;
        }
        auto It = RecordAt.find(Target);
        if (It == RecordAt.end()) {
          throw ScenarioError("a settings record lists a record of another scenario");
        }
        W.Point(Position, It->second);
      }
    }
  }
  const uint32_t Controllers = W.Reserve(P.Controllers.size() * sizeof(PTD_PACK_CONTROLLER));
  for (size_t C = 0; C < P.Controllers.size(); C++) {
    const uint32_t At = Controllers + static_cast<uint32_t>(C * sizeof(PTD_PACK_CONTROLLER));
    W.At<PTD_PACK_CONTROLLER>(At)->Adapter = static_cast<uint32_t>(P.Controllers[C].Adapter);
    W.Point(At + offsetof(PTD_PACK_CONTROLLER, Name), W.Text(P.Controllers[C].Name));
    if (ControllerRecord[C] != 0) {
      W.Point(At + offsetof(PTD_PACK_CONTROLLER, Record), ControllerRecord[C]);
    }
  }
  std::vector<uint32_t> Order(P.Order.begin(), P.Order.end());
  const uint32_t OrderAt = W.Append(Order.data(), Order.size() * sizeof(uint32_t));

  const uint32_t Adapters = W.Reserve(S.Adapters.size() * sizeof(PTD_PACK_ADAPTER));
  for (size_t A = 0; A < S.Adapters.size(); A++) {
    const AdapterSpec &Spec = S.Adapters[A];
    const uint32_t At = Adapters + static_cast<uint32_t>(A * sizeof(PTD_PACK_ADAPTER));
    const uint32_t Replies = W.Reserve(Spec.Replies.size() * sizeof(PTD_PACK_REPLY));
    for (size_t R = 0; R < Spec.Replies.size(); R++) {
      PackReply(W, Replies + static_cast<uint32_t>(R * sizeof(PTD_PACK_REPLY)), Spec.Replies[R]);
    }
    W.At<PTD_PACK_ADAPTER>(At)->ReplyCount = static_cast<uint32_t>(Spec.Replies.size());
    W.Point(At + offsetof(PTD_PACK_ADAPTER, Replies), Replies);
    PackReply(W, At + offsetof(PTD_PACK_ADAPTER, Default), Spec.DefaultReply);
  }

  const uint32_t Variables = W.Reserve(S.Variables.size() * sizeof(PTD_PACK_VARIABLE));
  for (size_t V = 0; V < S.Variables.size(); V++) {
    const VariableSpec &Spec = S.Variables[V];
    const uint32_t At = Variables + static_cast<uint32_t>(V * sizeof(PTD_PACK_VARIABLE));
    std::u16string Name = fake::Utf8ToUtf16(Spec.Name);
    Name.push_back(0);
    const uint32_t NameAt = W.Append(Name.data(), Name.size() * sizeof(char16_t));
    const uint32_t DataAt = W.Append(Spec.Data.data(), Spec.Data.size());
    PTD_PACK_VARIABLE *Out = W.At<PTD_PACK_VARIABLE>(At);
    Out->Guid = Spec.Guid;
    Out->Attributes = Spec.Attributes;
    Out->Size = static_cast<uint32_t>(Spec.Data.size());
    W.Point(At + offsetof(PTD_PACK_VARIABLE, Name), NameAt);
    W.Point(At + offsetof(PTD_PACK_VARIABLE, Data), DataAt);
  }
  const uint32_t Codes = W.Append(S.IpmiCompletionCodes.data(), S.IpmiCompletionCodes.size());

  PTD_PACK_SCENARIO *Out = W.At<PTD_PACK_SCENARIO>(Position);
  Out->UefiRevision = S.UefiRevision;
  Out->Protocols =
      (S.NaloProtocol ? PTD_PACK_HAS_NALO : 0) | (S.PlatformPolicyProtocol ? PTD_PACK_HAS_POLICY : 0) |
      (S.IpmiProtocol ? PTD_PACK_HAS_IPMI : 0) | (S.ConsoleMessageProtocol ? PTD_PACK_HAS_CONSOLE : 0) |
      (S.StatusCodeProtocol ? PTD_PACK_HAS_STATUS_CODE : 0) |
      (S.AdapterSettingsProtocol ? PTD_PACK_HAS_ADAPTER_SETTINGS : 0);
  Out->ForceAdapterEnable = S.ForceAdapterEnable;
  Out->MaxRestarts = S.MaxRestarts;
  Out->IpmiCodeCount = static_cast<uint32_t>(S.IpmiCompletionCodes.size());
  Out->VariableCount = static_cast<uint32_t>(S.Variables.size());
  Out->ControllerCount = static_cast<uint32_t>(P.Controllers.size());
  Out->OrderCount = static_cast<uint32_t>(Order.size());
  Out->AdapterCount = static_cast<uint32_t>(S.Adapters.size());
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, Name), W.Text(S.Name));
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, IpmiCodes), Codes);
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, Variables), Variables);
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, Controllers), Controllers);
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, Order), OrderAt);
  W.Point(Position + offsetof(PTD_PACK_SCENARIO, Adapters), Adapters);
}

} // namespace

std::vector<uint8_t> PackScenarios(const std::vector<Scenario> &Scenarios) {
  PackWriter W;
  const uint32_t Table = W.Reserve(Scenarios.size() * sizeof(PTD_PACK_SCENARIO));
  for (size_t I = 0; I < Scenarios.size(); I++) {
    PackScenario(W, Table + static_cast<uint32_t>(I * sizeof(PTD_PACK_SCENARIO)), Scenarios[I]);
  }
  return W.Finish(static_cast<uint32_t>(Scenarios.size()), Table);
}

} // namespace sim
