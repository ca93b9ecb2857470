#include "Simulator/Scenario.h"
#include "Simulator/ScenarioParse.h"
#include "Scenario/TranscriptNames.h"

#include <set>

namespace sim {

using nlohmann::json;
using namespace parse;

namespace {

const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

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
