#include "Simulator/Scenario.h"
#include "Scenario/TranscriptNames.h"

#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <set>

namespace sim {

using nlohmann::json;

namespace {

const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

[[noreturn]] void Fail(const std::string &Path, const std::string &Message) {
  throw ScenarioError(Path + ": " + Message);
}

std::string Describe(const json &Value) {
  std::string Text = Value.dump();
  return Text.size() > 40 ? Text.substr(0, 37) + "..." : Text;
}

void CheckKeys(const json &Object, const std::string &Path, std::initializer_list<const char *> Allowed) {
  if (!Object.is_object()) {
    Fail(Path, "expected an object, got " + Describe(Object));
  }
  for (auto It = Object.begin(); It != Object.end(); ++It) {
    bool Known = false;
    for (const char *Key : Allowed) {
      Known = Known || It.key() == Key;
    }
    if (!Known) {
      Fail(Path.empty() ? It.key() : Path + "." + It.key(), "unknown key");
    }
  }
}

std::string Child(const std::string &Path, const char *Key) {
  return Path.empty() ? Key : Path + "." + Key;
}
std::string Index(const std::string &Path, size_t I) {
  return Path + "[" + std::to_string(I) + "]";
}

uint64_t Number(const json &Value, const std::string &Path, uint64_t Max) {
  uint64_t Result = 0;
  if (Value.is_number_unsigned()) {
    Result = Value.get<uint64_t>();
  } else if (Value.is_number_integer()) {
    if (Value.get<int64_t>() < 0) {
      Fail(Path, "expected 0.." + std::to_string(Max) + ", got " + Describe(Value));
    }
    Result = static_cast<uint64_t>(Value.get<int64_t>());
  } else if (Value.is_string()) {
    const std::string Text = Value.get<std::string>();
    char *End = nullptr;
    errno = 0;
    Result = std::strtoull(Text.c_str(), &End, 0);
    if (Text.empty() || Text[0] == '-' || Text[0] == '+' || Text[0] == ' ' || errno != 0 || *End != '\0') {
      Fail(Path, "expected a number in C notation, got " + Describe(Value));
    }
  } else {
    Fail(Path, "expected a number, got " + Describe(Value));
  }
  if (Result > Max) {
    Fail(Path, "expected 0.." + std::to_string(Max) + ", got " + Describe(Value));
  }
  return Result;
}

template <typename T>
T NumberOf(const json &Object, const char *Key, const std::string &Path, T Default,
           uint64_t Max = static_cast<T>(~T(0))) {
  if (!Object.contains(Key)) {
    return Default;
  }
  return static_cast<T>(Number(Object[Key], Child(Path, Key), Max));
}

bool BoolOf(const json &Object, const char *Key, const std::string &Path, bool Default) {
  if (!Object.contains(Key)) {
    return Default;
  }
  if (!Object[Key].is_boolean()) {
    Fail(Child(Path, Key), "expected true or false, got " + Describe(Object[Key]));
  }
  return Object[Key].get<bool>();
}

std::string Text(const json &Value, const std::string &Path) {
  if (!Value.is_string()) {
    Fail(Path, "expected a string, got " + Describe(Value));
  }
  return Value.get<std::string>();
}

std::optional<std::string> OptionalText(const json &Object, const char *Key, const std::string &Path) {
  if (!Object.contains(Key)) {
    return std::nullopt;
  }
  return Text(Object[Key], Child(Path, Key));
}

Bytes HexBytes(const json &Value, const std::string &Path) {
  const std::string Hex = Text(Value, Path);
  Bytes Result;
  int High = -1;
  for (char C : Hex) {
    if (C == ' ' || C == ':') {
      continue;
    }
    int Digit = (C >= '0' && C <= '9')   ? C - '0'
                : (C >= 'a' && C <= 'f') ? C - 'a' + 10
                : (C >= 'A' && C <= 'F') ? C - 'A' + 10
                                         : -1;
    if (Digit < 0) {
      Fail(Path, "expected hexadecimal bytes, got " + Describe(Value));
    }
    if (High < 0) {
      High = Digit;
    } else {
      Result.push_back(static_cast<uint8_t>(High << 4 | Digit));
      High = -1;
    }
  }
  if (High >= 0) {
    Fail(Path, "expected an even number of hexadecimal digits, got " + Describe(Value));
  }
  return Result;
}

// Stored as the platform stores it: least significant byte of the 32-bit value first.
std::array<uint8_t, 4> Ipv4(const json &Value, const std::string &Path) {
  const std::string Dotted = Text(Value, Path);
  std::array<unsigned, 4> Parts{};
  size_t Part = 0;
  std::string Digits;
  for (size_t I = 0; I <= Dotted.size(); I++) {
    const char C = I < Dotted.size() ? Dotted[I] : '.';
    if (C == '.') {
      if (Digits.empty() || Digits.size() > 3 || Part >= 4 || std::stoul(Digits) > 255) {
        Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
      }
      Parts[Part++] = static_cast<unsigned>(std::stoul(Digits));
      Digits.clear();
    } else if (C >= '0' && C <= '9') {
      Digits += C;
    } else {
      Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
    }
  }
  if (Part != 4) {
    Fail(Path, "expected dotted IPv4 text, got " + Describe(Value));
  }
  return {static_cast<uint8_t>(Parts[3]), static_cast<uint8_t>(Parts[2]), static_cast<uint8_t>(Parts[1]),
          static_cast<uint8_t>(Parts[0])};
}

const json &ArrayOf(const json &Object, const char *Key, const std::string &Path, size_t MaxItems) {
  const json &Value = Object[Key];
  if (!Value.is_array()) {
    Fail(Child(Path, Key), "expected an array, got " + Describe(Value));
  }
  if (Value.size() > MaxItems) {
    Fail(Child(Path, Key),
         "expected at most " + std::to_string(MaxItems) + " entries, got " + std::to_string(Value.size()));
  }
  return Value;
}

EFI_GUID ParseGuid(const json &Value, const std::string &Path) {
  const std::string G = Text(Value, Path);
  EFI_GUID Guid{};
  unsigned D[11];
  if (G.size() != 36 || std::sscanf(G.c_str(), "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &D[0], &D[1], &D[2],
                                    &D[3], &D[4], &D[5], &D[6], &D[7], &D[8], &D[9], &D[10]) != 11) {
    Fail(Path, "expected a GUID such as 345ECC0E-0CB6-4B75-BB57-1B129C47333E, got " + Describe(Value));
  }
  Guid.Data1 = D[0];
  Guid.Data2 = static_cast<UINT16>(D[1]);
  Guid.Data3 = static_cast<UINT16>(D[2]);
  for (int I = 0; I < 8; I++) {
    Guid.Data4[I] = static_cast<UINT8>(D[3 + I]);
  }
  return Guid;
}

uint64_t ParseStatus(const json &Value, const std::string &Path) {
  if (Value.is_string()) {
    for (const ptd::StatusNameEntry &Entry : ptd::StatusNames) {
      if (Value.get<std::string>() == Entry.Name) {
        return Entry.Value;
      }
    }
  }
  return Number(Value, Path, UINT64_MAX);
}

uint32_t ParseAction(const json &Value, const std::string &Path) {
  if (Value.is_string()) {
    for (uint32_t I = 0; I < ptd::ActionCount; I++) {
      if (Value.get<std::string>() == ptd::ActionNames[I]) {
        return I;
      }
    }
  }
  return static_cast<uint32_t>(Number(Value, Path, 0xFFFFFFFF));
}

VariableSpec ParseVariable(const json &Object, const std::string &Path) {
  CheckKeys(Object, Path, {"name", "guid", "attributes", "hex", "text", "bus", "device", "value", "size"});
  VariableSpec Variable;
  if (!Object.contains("name")) {
    Fail(Child(Path, "name"), "missing");
  }
  Variable.Name = Text(Object["name"], Child(Path, "name"));
  Variable.Guid = Object.contains("guid") ? ParseGuid(Object["guid"], Child(Path, "guid")) : ClpGuid;
  Variable.Attributes = NumberOf<uint32_t>(Object, "attributes", Path, 7);
  const int Forms = Object.contains("hex") + Object.contains("text") +
                    (Object.contains("bus") || Object.contains("device")) +
                    (Object.contains("value") || Object.contains("size"));
  if (Forms != 1) {
    Fail(Path, "expected exactly one of hex, text, bus/device, value/size");
  }
  if (Object.contains("hex")) {
    Variable.Data = HexBytes(Object["hex"], Child(Path, "hex"));
  } else if (Object.contains("text")) {
    const std::string T = Text(Object["text"], Child(Path, "text"));
    Variable.Data.assign(T.begin(), T.end());
  } else if (Object.contains("bus") || Object.contains("device")) {
    const uint64_t Bus = NumberOf<uint64_t>(Object, "bus", Path, 0);
    const uint64_t Device = NumberOf<uint64_t>(Object, "device", Path, 0);
    for (uint64_t Value : {Bus, Device}) {
      for (int I = 0; I < 8; I++) {
        Variable.Data.push_back(static_cast<uint8_t>(Value >> (8 * I)));
      }
    }
  } else {
    const uint64_t Value = NumberOf<uint64_t>(Object, "value", Path, 0);
    const uint64_t Size = NumberOf<uint64_t>(Object, "size", Path, 8, 8);
    for (uint64_t I = 0; I < Size; I++) {
      Variable.Data.push_back(static_cast<uint8_t>(Value >> (8 * I)));
    }
  }
  return Variable;
}

NaloEntrySpec ParseNalo(const json &Object, const std::string &Path, bool Inline) {
  if (Inline) {
    CheckKeys(Object, Path, {"status", "queryDefaults", "Header", "PortTable", "AddressTable", "BootTable"});
  } else {
    CheckKeys(Object, Path,
              {"key", "status", "queryDefaults", "Header", "PortTable", "AddressTable", "BootTable"});
  }
  NaloEntrySpec Entry;
  if (!Inline) {
    if (!Object.contains("key")) {
      Fail(Child(Path, "key"), "missing");
    }
    const json &Key = ArrayOf(Object, "key", Path, 3);
    if (Key.size() != 3) {
      Fail(Child(Path, "key"), "expected [NaloIndex, CardIndex, PortIndex]");
    }
    for (size_t I = 0; I < 3; I++) {
      Entry.Key[I] = static_cast<uint8_t>(Number(Key[I], Index(Child(Path, "key"), I), 0xFF));
    }
  }
  if (Object.contains("status")) {
    Entry.Status = ParseStatus(Object["status"], Child(Path, "status"));
  }
  if (Object.contains("queryDefaults")) {
    const std::string P = Child(Path, "queryDefaults");
    CheckKeys(Object["queryDefaults"], P, {"port", "addresses"});
    Entry.QueryDefaultsPort = BoolOf(Object["queryDefaults"], "port", P, false);
    Entry.QueryDefaultsAddresses = BoolOf(Object["queryDefaults"], "addresses", P, false);
  }
  if (Object.contains("Header")) {
    const json &H = Object["Header"];
    const std::string P = Child(Path, "Header");
    CheckKeys(H, P,
              {"ConfigType", "ConfigSubtype", "PortTableValid", "AddressTableValid", "BootTableValid",
               "ResponseFlag", "InitiatorName", "SriovValid"});
    Entry.ConfigType = NumberOf<uint16_t>(H, "ConfigType", P, 0);
    Entry.ConfigSubtype = NumberOf<uint16_t>(H, "ConfigSubtype", P, 0);
    Entry.PortTableValid = NumberOf<uint8_t>(H, "PortTableValid", P, 0);
    Entry.AddressTableValid = NumberOf<uint8_t>(H, "AddressTableValid", P, 0);
    Entry.BootTableValid = NumberOf<uint8_t>(H, "BootTableValid", P, 0);
    Entry.ResponseFlag = NumberOf<uint8_t>(H, "ResponseFlag", P, 0);
    Entry.SriovValid = NumberOf<uint8_t>(H, "SriovValid", P, 0);
    Entry.InitiatorName = OptionalText(H, "InitiatorName", P);
  }
  if (Object.contains("PortTable")) {
    const json &T = Object["PortTable"];
    const std::string P = Child(Path, "PortTable");
    CheckKeys(T, P, {"DesiredPortEnable", "PortMode", "DesiredFunctionCount", "Function"});
    Entry.DesiredPortEnable = NumberOf<uint8_t>(T, "DesiredPortEnable", P, 0);
    Entry.PortMode = NumberOf<uint8_t>(T, "PortMode", P, 0);
    Entry.DesiredFunctionCount = NumberOf<uint8_t>(T, "DesiredFunctionCount", P, 0);
    if (T.contains("Function")) {
      const json &List = ArrayOf(T, "Function", P, 16);
      for (size_t I = 0; I < List.size(); I++) {
        const std::string FP = Index(Child(P, "Function"), I);
        const json &F = List[I];
        CheckKeys(F, FP,
                  {"Enabled", "FunctionType", "RoceMode", "MinBandwidthShare", "MaxBandwidthShare",
                   "FunctionVlanId", "SriovEnable"});
        NaloFunctionSpec Function;
        Function.Enabled = NumberOf<uint8_t>(F, "Enabled", FP, 0);
        Function.FunctionType = NumberOf<uint8_t>(F, "FunctionType", FP, 0);
        Function.RoceMode = NumberOf<uint8_t>(F, "RoceMode", FP, 0);
        Function.SriovEnable = NumberOf<uint8_t>(F, "SriovEnable", FP, 0);
        if (F.contains("MinBandwidthShare")) {
          Function.MinBandwidthShare = NumberOf<uint8_t>(F, "MinBandwidthShare", FP, 0);
        }
        if (F.contains("MaxBandwidthShare")) {
          Function.MaxBandwidthShare = NumberOf<uint8_t>(F, "MaxBandwidthShare", FP, 0);
        }
        if (F.contains("FunctionVlanId")) {
          Function.FunctionVlanId = NumberOf<uint16_t>(F, "FunctionVlanId", FP, 0);
        }
        Entry.Functions.push_back(Function);
      }
    }
  }
  if (Object.contains("AddressTable")) {
    const json &List = ArrayOf(Object, "AddressTable", Path, 16);
    for (size_t I = 0; I < List.size(); I++) {
      const std::string P = Index(Child(Path, "AddressTable"), I);
      CheckKeys(List[I], P, {"Enabled", "Mac", "Wwnn", "Wwpn"});
      NaloAddressSpec Address;
      Address.Enabled = NumberOf<uint8_t>(List[I], "Enabled", P, 0);
      if (List[I].contains("Mac")) {
        Address.Mac = HexBytes(List[I]["Mac"], Child(P, "Mac"));
        if (Address.Mac->size() != 6) {
          Fail(Child(P, "Mac"), "expected 6 bytes, got " + std::to_string(Address.Mac->size()));
        }
      }
      Address.Wwnn = OptionalText(List[I], "Wwnn", P);
      Address.Wwpn = OptionalText(List[I], "Wwpn", P);
      Entry.Addresses.push_back(Address);
    }
  }
  if (Object.contains("BootTable")) {
    const json &List = ArrayOf(Object, "BootTable", Path, 16);
    for (size_t I = 0; I < List.size(); I++) {
      const std::string P = Index(Child(Path, "BootTable"), I);
      const json &B = List[I];
      CheckKeys(B, P, {"Enabled",         "BootVlanId",       "Target1Wwpn",         "Target1Lun",
                       "Target2Wwpn",     "Target2Lun",       "FcLinkSpeed",         "FcTopology",
                       "InitiatorOrigin", "InitiatorAddress", "InitiatorSubnetMask", "InitiatorGateway",
                       "TargetOrigin",    "TargetName",       "TargetAddress",       "TargetTcpPort",
                       "TargetBootLun",   "AuthMethod",       "ChapUserName",        "ChapSecret",
                       "MutualChapSecret"});
      NaloBootSpec Boot;
      Boot.Enabled = NumberOf<uint8_t>(B, "Enabled", P, 0);
      auto OptionalNumber8 = [&](const char *Key, std::optional<uint8_t> &Out) {
        if (B.contains(Key)) {
          Out = NumberOf<uint8_t>(B, Key, P, 0);
        }
      };
      auto OptionalNumber16 = [&](const char *Key, std::optional<uint16_t> &Out) {
        if (B.contains(Key)) {
          Out = NumberOf<uint16_t>(B, Key, P, 0);
        }
      };
      auto OptionalIp = [&](const char *Key, std::optional<std::array<uint8_t, 4>> &Out) {
        if (B.contains(Key)) {
          Out = Ipv4(B[Key], Child(P, Key));
        }
      };
      OptionalNumber16("BootVlanId", Boot.BootVlanId);
      OptionalNumber16("TargetTcpPort", Boot.TargetTcpPort);
      OptionalNumber8("InitiatorOrigin", Boot.InitiatorOrigin);
      OptionalNumber8("TargetOrigin", Boot.TargetOrigin);
      OptionalNumber8("TargetBootLun", Boot.TargetBootLun);
      OptionalNumber8("AuthMethod", Boot.AuthMethod);
      OptionalIp("InitiatorAddress", Boot.InitiatorAddress);
      OptionalIp("InitiatorSubnetMask", Boot.InitiatorSubnetMask);
      OptionalIp("InitiatorGateway", Boot.InitiatorGateway);
      OptionalIp("TargetAddress", Boot.TargetAddress);
      Boot.Target1Wwpn = OptionalText(B, "Target1Wwpn", P);
      Boot.Target1Lun = OptionalText(B, "Target1Lun", P);
      Boot.Target2Wwpn = OptionalText(B, "Target2Wwpn", P);
      Boot.Target2Lun = OptionalText(B, "Target2Lun", P);
      Boot.FcLinkSpeed = OptionalText(B, "FcLinkSpeed", P);
      Boot.FcTopology = OptionalText(B, "FcTopology", P);
      Boot.TargetName = OptionalText(B, "TargetName", P);
      Boot.ChapUserName = OptionalText(B, "ChapUserName", P);
      Boot.ChapSecret = OptionalText(B, "ChapSecret", P);
      Boot.MutualChapSecret = OptionalText(B, "MutualChapSecret", P);
      Entry.Boots.push_back(Boot);
    }
  }
  return Entry;
}

void ParseRecordField(const std::string &Key, const json &Value, const std::string &Path,
                      std::vector<FieldAssignment> &Record) {
  const RecordField *Field = FindRecordField(Key);
  if (Field == nullptr) {
    Fail(Path, "unknown key");
  }
  switch (Field->Kind) {
  case FieldKind::Number:
    Record.push_back({Field, 0, Number(Value, Path, Field->Max), {}, {}});
    return;
  case FieldKind::Flags: {
    if (!Value.is_array()) {
      Record.push_back({Field, 0, Number(Value, Path, 0xFF), {}, {}});
      return;
    }
    uint64_t Bits = 0;
    for (size_t I = 0; I < Value.size(); I++) {
      const std::string Name = Text(Value[I], Index(Path, I));
      bool Known = false;
      for (const FlagName &Flag : Field->Flags) {
        if (Name == Flag.Name) {
          Bits |= 1u << Flag.Bit;
          Known = true;
        }
      }
      if (!Known) {
        Fail(Index(Path, I), "unknown flag name \"" + Name + "\"");
      }
    }
    Record.push_back({Field, 0, Bits, {}, {}});
    return;
  }
  case FieldKind::Text: {
    const std::string T = Text(Value, Path);
    if (T.size() >= Field->Size) {
      Fail(Path, "expected at most " + std::to_string(Field->Size - 1) + " characters, got " +
                     std::to_string(T.size()));
    }
    Record.push_back({Field, 0, 0, T, {}});
    return;
  }
  case FieldKind::TextSlots:
  case FieldKind::ByteSlots: {
    if (!Value.is_array()) {
      Fail(Path, "expected an array, got " + Describe(Value));
    }
    if (Value.size() > Field->Count) {
      Fail(Path, "expected at most " + std::to_string(Field->Count) + " entries, got " +
                     std::to_string(Value.size()));
    }
    for (size_t I = 0; I < Value.size(); I++) {
      if (Field->Kind == FieldKind::TextSlots) {
        const std::string T = Text(Value[I], Index(Path, I));
        if (T.size() >= Field->Size) {
          Fail(Index(Path, I), "expected at most " + std::to_string(Field->Size - 1) + " characters, got " +
                                   std::to_string(T.size()));
        }
        Record.push_back({Field, I, 0, T, {}});
      } else {
        Bytes B = HexBytes(Value[I], Index(Path, I));
        if (B.size() > Field->Size) {
          Fail(Index(Path, I),
               "expected at most " + std::to_string(Field->Size) + " bytes, got " + std::to_string(B.size()));
        }
        Record.push_back({Field, I, 0, {}, B});
      }
    }
    return;
  }
  }
}

ReplySpec ParseReply(const json &Object, const std::string &Path, bool NeedCommand) {
  CheckKeys(Object, Path, {"command", "reply", "status", "error", "action", "times"});
  ReplySpec Reply;
  if (NeedCommand) {
    if (!Object.contains("command")) {
      Fail(Child(Path, "command"), "missing");
    }
    Reply.Command = Text(Object["command"], Child(Path, "command"));
  } else if (Object.contains("command")) {
    Fail(Child(Path, "command"), "unknown key");
  }
  if (Object.contains("reply")) {
    Reply.Reply = Text(Object["reply"], Child(Path, "reply"));
  }
  Reply.Status = NumberOf<uint8_t>(Object, "status", Path, 0);
  Reply.Error = NumberOf<uint8_t>(Object, "error", Path, 0);
  if (Object.contains("action")) {
    Reply.Action = ParseAction(Object["action"], Child(Path, "action"));
  }
  if (Object.contains("times")) {
    Reply.Times = Number(Object["times"], Child(Path, "times"), UINT32_MAX);
  }
  return Reply;
}

AdapterSpec ParseAdapter(const json &Object, const std::string &Path) {
  CheckKeys(Object, Path,
            {"name", "VendorId", "DeviceId", "SubsystemId", "segment", "bus", "device", "ports", "replies",
             "defaultReply", "model", "state"});
  AdapterSpec Adapter;
  if (!Object.contains("name")) {
    Fail(Child(Path, "name"), "missing");
  }
  Adapter.Name = Text(Object["name"], Child(Path, "name"));
  if (Adapter.Name.empty() || Adapter.Name.find('/') != std::string::npos) {
    Fail(Child(Path, "name"), "expected a non-empty name without '/'");
  }
  Adapter.VendorId = NumberOf<uint16_t>(Object, "VendorId", Path, 0);
  Adapter.DeviceId = NumberOf<uint16_t>(Object, "DeviceId", Path, 0);
  Adapter.SubsystemId = NumberOf<uint16_t>(Object, "SubsystemId", Path, 0);
  Adapter.Segment = NumberOf<uint16_t>(Object, "segment", Path, 0);
  Adapter.Bus = NumberOf<uint8_t>(Object, "bus", Path, 0);
  Adapter.Device = NumberOf<uint8_t>(Object, "device", Path, 0, 31);
  if (!Object.contains("ports")) {
    Fail(Child(Path, "ports"), "missing");
  }
  const json &Ports = ArrayOf(Object, "ports", Path, 16);
  for (size_t P = 0; P < Ports.size(); P++) {
    const std::string PP = Index(Child(Path, "ports"), P);
    CheckKeys(Ports[P], PP, {"nalo", "functions"});
    PortSpec Port;
    if (Ports[P].contains("nalo")) {
      Port.Nalo = ParseNalo(Ports[P]["nalo"], Child(PP, "nalo"), true);
    }
    if (!Ports[P].contains("functions")) {
      Fail(Child(PP, "functions"), "missing");
    }
    const json &Functions = ArrayOf(Ports[P], "functions", PP, 16);
    for (size_t F = 0; F < Functions.size(); F++) {
      const std::string FP = Index(Child(PP, "functions"), F);
      CheckKeys(Functions[F], FP, {"function", "record", "settings"});
      FunctionSpec Function;
      if (!Functions[F].contains("function")) {
        Fail(Child(FP, "function"), "missing");
      }
      Function.Function = NumberOf<uint8_t>(Functions[F], "function", FP, 0, 7);
      Function.Settings = BoolOf(Functions[F], "settings", FP, true);
      if (Functions[F].contains("record")) {
        const json &Record = Functions[F]["record"];
        const std::string RP = Child(FP, "record");
        if (!Record.is_object()) {
          Fail(RP, "expected an object, got " + Describe(Record));
        }
        for (auto It = Record.begin(); It != Record.end(); ++It) {
          ParseRecordField(It.key(), It.value(), Child(RP, It.key().c_str()), Function.Record);
        }
      }
      Port.Functions.push_back(std::move(Function));
    }
    Adapter.Ports.push_back(std::move(Port));
  }
  if (Object.contains("replies")) {
    const json &Replies = ArrayOf(Object, "replies", Path, 100000);
    for (size_t I = 0; I < Replies.size(); I++) {
      Adapter.Replies.push_back(ParseReply(Replies[I], Index(Child(Path, "replies"), I), true));
    }
  }
  if (Object.contains("defaultReply")) {
    Adapter.DefaultReply = ParseReply(Object["defaultReply"], Child(Path, "defaultReply"), false);
  }
  if (Object.contains("model")) {
    Adapter.Model = Text(Object["model"], Child(Path, "model"));
    if (Adapter.Model != "scripted" && Adapter.Model != "simulated") {
      Fail(Child(Path, "model"), "expected \"scripted\" or \"simulated\", got " + Describe(Object["model"]));
    }
  }
  if (Object.contains("state")) {
    if (!Object["state"].is_object()) {
      Fail(Child(Path, "state"), "expected an object, got " + Describe(Object["state"]));
    }
    Adapter.State = Object["state"];
  }
  return Adapter;
}

} // namespace

std::string StatusName(uint64_t Status) {
  ptd::StatusText Buffer;
  return ptd::StatusName(Status, Buffer);
}

std::string ActionName(uint32_t Action) {
  ptd::ActionText Buffer;
  return ptd::ActionName(Action, Buffer);
}

std::string ControllerName(const AdapterSpec &Adapter, size_t Port, size_t Function) {
  return Adapter.Name + "/p" + std::to_string(Port) + "/f" + std::to_string(Function);
}

Scenario LoadScenario(const json &Document) {
  CheckKeys(Document, "", {"name", "firmware", "platform", "variables", "nalo", "adapters", "run"});
  Scenario S;
  if (Document.contains("name")) {
    S.Name = Text(Document["name"], "name");
  }
  if (Document.contains("firmware")) {
    CheckKeys(Document["firmware"], "firmware", {"uefiRevision"});
    S.UefiRevision = NumberOf<uint32_t>(Document["firmware"], "uefiRevision", "firmware", S.UefiRevision);
  }
  if (Document.contains("platform")) {
    const json &P = Document["platform"];
    CheckKeys(P, "platform", {"protocols", "policy", "ipmi"});
    if (P.contains("protocols")) {
      const json &Pr = P["protocols"];
      const std::string Path = "platform.protocols";
      CheckKeys(Pr, Path,
                {"adapterSettings", "nalo", "platformPolicy", "ipmi", "consoleMessage", "statusCode"});
      S.AdapterSettingsProtocol = BoolOf(Pr, "adapterSettings", Path, true);
      S.NaloProtocol = BoolOf(Pr, "nalo", Path, true);
      S.PlatformPolicyProtocol = BoolOf(Pr, "platformPolicy", Path, true);
      S.IpmiProtocol = BoolOf(Pr, "ipmi", Path, true);
      S.ConsoleMessageProtocol = BoolOf(Pr, "consoleMessage", Path, true);
      S.StatusCodeProtocol = BoolOf(Pr, "statusCode", Path, true);
    }
    if (P.contains("policy")) {
      CheckKeys(P["policy"], "platform.policy", {"ForceAdapterEnable"});
      S.ForceAdapterEnable = NumberOf<uint8_t>(P["policy"], "ForceAdapterEnable", "platform.policy", 0, 1);
    }
    if (P.contains("ipmi")) {
      CheckKeys(P["ipmi"], "platform.ipmi", {"completionCodes"});
      if (P["ipmi"].contains("completionCodes")) {
        const json &Codes = ArrayOf(P["ipmi"], "completionCodes", "platform.ipmi", 100000);
        for (size_t I = 0; I < Codes.size(); I++) {
          S.IpmiCompletionCodes.push_back(
              static_cast<uint8_t>(Number(Codes[I], Index("platform.ipmi.completionCodes", I), 0xFF)));
        }
      }
    }
  }
  if (Document.contains("variables")) {
    const json &List = ArrayOf(Document, "variables", "", 1000);
    for (size_t I = 0; I < List.size(); I++) {
      S.Variables.push_back(ParseVariable(List[I], Index("variables", I)));
    }
  }
  if (Document.contains("nalo")) {
    const json &List = ArrayOf(Document, "nalo", "", 4096);
    for (size_t I = 0; I < List.size(); I++) {
      S.Nalo.push_back(ParseNalo(List[I], Index("nalo", I), false));
    }
  }
  if (!Document.contains("adapters")) {
    Fail("adapters", "missing");
  }
  const json &Adapters = ArrayOf(Document, "adapters", "", 256);
  std::set<std::string> Names;
  for (size_t I = 0; I < Adapters.size(); I++) {
    S.Adapters.push_back(ParseAdapter(Adapters[I], Index("adapters", I)));
    if (!Names.insert(S.Adapters.back().Name).second) {
      Fail(Index("adapters", I) + ".name", "duplicate controller name \"" + S.Adapters.back().Name + "\"");
    }
  }
  if (Document.contains("run")) {
    const json &R = Document["run"];
    CheckKeys(R, "run", {"order", "maxRestarts", "reboots"});
    S.MaxRestarts = NumberOf<uint32_t>(R, "maxRestarts", "run", 8, 1000);
    S.Reboots = NumberOf<uint32_t>(R, "reboots", "run", 0, 100);
    if (R.contains("order")) {
      std::set<std::string> Controllers;
      for (const AdapterSpec &A : S.Adapters) {
        for (size_t P = 0; P < A.Ports.size(); P++) {
          for (size_t F = 0; F < A.Ports[P].Functions.size(); F++) {
            Controllers.insert(ControllerName(A, P, F));
          }
        }
      }
      const json &Order = ArrayOf(R, "order", "run", 100000);
      for (size_t I = 0; I < Order.size(); I++) {
        const std::string Name = Text(Order[I], Index("run.order", I));
        if (Controllers.count(Name) == 0) {
          Fail(Index("run.order", I), "no controller named \"" + Name + "\"");
        }
        S.Order.push_back(Name);
      }
    }
  }
  return S;
}

Scenario LoadScenarioText(const std::string &Text) {
  json Document;
  try {
    Document = json::parse(Text);
  } catch (const json::parse_error &Error) {
    throw ScenarioError(std::string("not JSON: ") + Error.what());
  }
  return LoadScenario(Document);
}

} // namespace sim
