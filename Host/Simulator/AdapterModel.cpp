#include "Simulator/AdapterModel.h"

#include <functional>
#include <optional>
#include <set>

#include "Simulator/AdapterDialect.h"
#include "Simulator/Scenario.h"

namespace sim {

// The model and its special effects are named in the dialect tables (AdapterDialects.cpp).
namespace dialect {

// ---- Pattern matching ----------------------------------------------------------------------

struct Match {
  bool HasPort = false, HasFunction = false;
  size_t Port = 0, Function = 0, Target = 0;
  std::string Value;
};

bool ReadNumber(const std::string &Text, size_t &At, size_t &Out) {
  size_t Start = At;
  Out = 0;
  while (At < Text.size() && Text[At] >= '0' && Text[At] <= '9' && At - Start < 4) {
    Out = Out * 10 + static_cast<size_t>(Text[At] - '0');
    At++;
  }
  return At > Start;
}

bool MatchPattern(const std::string &Pattern, const std::string &Command, Match &M) {
  size_t P = 0, C = 0;
  while (P < Pattern.size()) {
    if (Pattern.compare(P, 3, "{v}") == 0) {
      M.Value = Command.substr(C);
      return true;
    }
    if (Pattern.compare(P, 3, "{p}") == 0 || Pattern.compare(P, 3, "{f}") == 0 ||
        Pattern.compare(P, 3, "{t}") == 0) {
      size_t Number = 0;
      if (!ReadNumber(Command, C, Number)) {
        return false;
      }
      if (Pattern[P + 1] == 'p') {
        M.HasPort = true;
        M.Port = Number;
      } else if (Pattern[P + 1] == 'f') {
        M.HasFunction = true;
        M.Function = Number;
      } else {
        M.Target = Number;
      }
      P += 3;
      continue;
    }
    if (C >= Command.size() || Command[C] != Pattern[P]) {
      return false;
    }
    P++;
    C++;
  }
  return C == Command.size();
}

std::string WithTarget(const char *Property, size_t Target) {
  std::string Name = Property;
  const size_t At = Name.find("{t}");
  if (At != std::string::npos) {
    Name.replace(At, 3, std::to_string(Target));
  }
  return Name;
}

// ---- The engine ----------------------------------------------------------------------------

class DialectModel : public AdapterModel {
public:
  DialectModel(const Dialect &Which, size_t PortCount, const std::vector<size_t> &FunctionsPerPort)
      : D(Which) {
    S.Ports.resize(PortCount);
    S.Functions.resize(PortCount);
    for (size_t P = 0; P < PortCount; P++) {
      S.Functions[P].resize(P < FunctionsPerPort.size() ? FunctionsPerPort[P] : 0);
    }
  }

  const ModelState &State() const override { return S; }
  void Seed(const ModelState &State) override {
    // Only properties are taken over; the shape stays the one the scenario gives.
    S.Adapter = State.Adapter;
    for (size_t P = 0; P < S.Ports.size() && P < State.Ports.size(); P++) {
      S.Ports[P] = State.Ports[P];
      for (size_t F = 0;
           F < S.Functions[P].size() && P < State.Functions.size() && F < State.Functions[P].size(); F++) {
        S.Functions[P][F] = State.Functions[P][F];
      }
    }
    PendingChanges.clear();
    RestartWanted = false;
  }
  ModelState &MutableState() { return S; }
  const Dialect &Which() const { return D; }

  void Restart() override {
    for (const Pending &Change : PendingChanges) {
      Map(Change.Where, Change.At)[Change.Property] = Change.Value;
    }
    PendingChanges.clear();
    RestartWanted = false;
  }

  ClpOutcome Execute(size_t Port, size_t Function, const std::string &Command) override {
    for (const Line &L : D.Lines) {
      Match M;
      if (!MatchPattern(L.Pattern, Command, M)) {
        continue;
      }
      Position At{Port, Function};
      if (M.HasPort) {
        if (M.Port < D.PortBase || M.Port - D.PortBase >= S.Ports.size()) {
          return Failure(Command, "no such port");
        }
        At.Port = M.Port - D.PortBase;
        At.Function = M.HasFunction ? 0 : (At.Port == Port ? Function : 0);
      }
      if (M.HasFunction) {
        if (M.Function < D.FunctionBase || M.Function - D.FunctionBase >= S.Functions[At.Port].size()) {
          return Failure(Command, "no such function");
        }
        At.Function = M.Function - D.FunctionBase;
      }
      if (L.Where == Scope::Function && At.Function >= S.Functions[At.Port].size()) {
        return Failure(Command, "no such function");
      }
      return Perform(L, At, M, Command);
    }
    return Failure(Command, "command not recognized");
  }

  PropertyMap &Map(Scope Where, Position At) {
    switch (Where) {
    case Scope::Adapter:
      return S.Adapter;
    case Scope::Port:
      return S.Ports[At.Port];
    case Scope::Function:
    default:
      return S.Functions[At.Port][At.Function];
    }
  }

  // A function-scope property missing on the function is looked up on its port, then the adapter.
  std::optional<std::string> Get(Scope Where, Position At, const std::string &Property) {
    const Scope Order[] = {Scope::Function, Scope::Port, Scope::Adapter};
    for (Scope Candidate : Order) {
      if (static_cast<int>(Candidate) < static_cast<int>(Where)) {
        continue;
      }
      const PropertyMap &Values = Map(Candidate, At);
      auto It = Values.find(Property);
      if (It != Values.end()) {
        return It->second;
      }
    }
    return std::nullopt;
  }

private:
  struct Pending {
    Scope Where;
    Position At;
    std::string Property;
    std::string Value;
  };

  ClpOutcome Reply(const std::string &Value) const {
    ClpOutcome Out;
    Out.Reply = std::string(D.Prefix) + (D.Quoted ? "\"" + Value + "\"" : Value);
    return Out;
  }

  static ClpOutcome Failure(const std::string &Command, const char *Why) {
    ClpOutcome Out;
    Out.Status = 2; // command processing failed
    Out.Error = 2;
    Out.Reply = std::string("error: ") + Why + ": " + Command;
    return Out;
  }

  ClpOutcome Perform(const Line &L, Position At, const Match &M, const std::string &Command) {
    const std::string Property = WithTarget(L.Property, M.Target);
    switch (L.Operation) {
    case Op::Show: {
      // A property the scenario did not give reads as empty, as on an adapter with blank settings.
      const auto Value = Get(L.Where, At, Property);
      return Reply(Value ? *Value : std::string());
    }
    case Op::Set:
      Map(L.Where, At)[Property] = M.Value;
      return Reply("");
    case Op::SetLayout:
      PendingChanges.push_back({L.Where, At, Property, M.Value});
      RestartWanted = true;
      return Reply("");
    case Op::Special:
      L.Special(*this, At);
      return Reply("");
    case Op::PfInfo: {
      std::string Text = D.Prefix;
      for (const PfInfoKey &Key : D.PfInfo) {
        if (const auto Value = Get(Key.Where, At, Key.Property)) {
          Text += std::string(Key.Key) + "=" + *Value + "\r\n";
        }
      }
      ClpOutcome Out;
      Out.Reply = Text;
      return Out;
    }
    case Op::Exit: {
      ClpOutcome Out;
      // Layout changes need the controller to restart; the adapter driver asks for it when it
      // leaves the CLP session.
      if (RestartWanted) {
        Out.Action = EfiPlatformConfigurationActionRestartController;
      }
      return Out;
    }
    }
    return Failure(Command, "internal");
  }

  const Dialect &D;
  ModelState S;
  std::vector<Pending> PendingChanges;
  bool RestartWanted = false;
};

void CopyProperty(DialectModel &Model, Scope Where, Position At, const char *From, const char *To) {
  if (const auto Value = Model.Get(Where, At, From)) {
    Model.Map(Where, At)[To] = *Value;
  }
}

void RestoreAddresses(DialectModel &Model, Position At) {
  ModelState &S = Model.MutableState();
  CopyProperty(Model, Scope::Port, At, "MFG_WWNN", "WWNN");
  CopyProperty(Model, Scope::Port, At, "MFG_WWPN", "WWPN");
  for (size_t F = 0; F < S.Functions[At.Port].size(); F++) {
    const Position Fn{At.Port, F};
    CopyProperty(Model, Scope::Function, Fn, "MFG_PfMAC", "PfMAC");
    CopyProperty(Model, Scope::Function, Fn, "MfgMAC", "MAC");
    CopyProperty(Model, Scope::Function, Fn, "MFG_WWNN", "WWNN");
    CopyProperty(Model, Scope::Function, Fn, "MFG_WWPN", "WWPN");
  }
}

void RestoreIntelAddress(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Function, At, "MfgAddress", "PermanentAddress");
}

void RestoreMellanoxAddress(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Function, At, "MfgMAC", "MAC");
}

void RestoreNetPortNames(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Port, At, "MFG_WWNN", "WWNN");
  CopyProperty(Model, Scope::Port, At, "MFG_WWPN", "WWPN");
}

std::set<std::string> Keys(const Dialect &D, Scope Where) {
  std::set<std::string> Names;
  auto Add = [&](Scope S, const std::string &Property) {
    if (S == Where && !Property.empty()) {
      if (Property.find("{t}") != std::string::npos) {
        Names.insert(WithTarget(Property.c_str(), 0));
        Names.insert(WithTarget(Property.c_str(), 1));
      } else {
        Names.insert(Property);
      }
    }
  };
  for (const Line &L : D.Lines) {
    Add(L.Where, L.Property);
  }
  for (const PfInfoKey &K : D.PfInfo) {
    Add(K.Where, K.Property);
  }
  // Manufacturer values that only a restore command reads.
  if (Where == Scope::Function) {
    if (&D == &IntelDialect) {
      Names.insert("MfgAddress");
    }
    if (&D == &Emulex0720Dialect) {
      Names.insert("MfgMAC");
    }
  }
  if (Where == Scope::Port && (&D == &FcPortDialect || &D == &NetPortDialect)) {
    Names.insert("MFG_WWNN");
    Names.insert("MFG_WWPN");
  }
  return Names;
}

std::string ValueText(const nlohmann::json &Value, const std::string &Path) {
  if (Value.is_string()) {
    return Value.get<std::string>();
  }
  if (Value.is_number_integer()) {
    return std::to_string(Value.get<int64_t>());
  }
  throw ScenarioError(Path + ": expected a string or a number, got " + Value.dump());
}

void LoadProperties(const nlohmann::json &Object, const std::set<std::string> &Allowed, PropertyMap &Into,
                    const std::string &Path, const char *Nested) {
  for (auto It = Object.begin(); It != Object.end(); ++It) {
    if (Nested != nullptr && It.key() == Nested) {
      continue;
    }
    if (Allowed.count(It.key()) == 0) {
      throw ScenarioError(Path + "." + It.key() + ": unknown key");
    }
    Into[It.key()] = ValueText(It.value(), Path + "." + It.key());
  }
}

} // namespace dialect

using namespace dialect;

std::unique_ptr<AdapterModel> CreateAdapterModel(uint16_t VendorId, uint16_t DeviceId, uint16_t SubsystemId,
                                                 size_t PortCount,
                                                 const std::vector<size_t> &FunctionsPerPort,
                                                 const nlohmann::json &State, const std::string &Path) {
  (void)SubsystemId;
  const Dialect *D = DialectFor(VendorId, DeviceId);
  if (D == nullptr) {
    return nullptr;
  }
  auto Model = std::make_unique<DialectModel>(*D, PortCount, FunctionsPerPort);
  ModelState &S = Model->MutableState();
  if (!State.is_object()) {
    throw ScenarioError(Path + ": expected an object");
  }
  LoadProperties(State, Keys(*D, Scope::Adapter), S.Adapter, Path, "ports");
  if (State.contains("ports")) {
    const nlohmann::json &Ports = State["ports"];
    if (!Ports.is_array() || Ports.size() > PortCount) {
      throw ScenarioError(Path + ".ports: expected an array of at most " + std::to_string(PortCount) +
                          " ports");
    }
    for (size_t P = 0; P < Ports.size(); P++) {
      const std::string PP = Path + ".ports[" + std::to_string(P) + "]";
      if (!Ports[P].is_object()) {
        throw ScenarioError(PP + ": expected an object");
      }
      LoadProperties(Ports[P], Keys(*D, Scope::Port), S.Ports[P], PP, "functions");
      if (Ports[P].contains("functions")) {
        const nlohmann::json &Functions = Ports[P]["functions"];
        if (!Functions.is_array() || Functions.size() > S.Functions[P].size()) {
          throw ScenarioError(PP + ".functions: expected an array of at most " +
                              std::to_string(S.Functions[P].size()) + " functions");
        }
        for (size_t F = 0; F < Functions.size(); F++) {
          const std::string FP = PP + ".functions[" + std::to_string(F) + "]";
          if (!Functions[F].is_object()) {
            throw ScenarioError(FP + ": expected an object");
          }
          LoadProperties(Functions[F], Keys(*D, Scope::Function), S.Functions[P][F], FP, nullptr);
        }
      }
    }
  }
  return Model;
}

std::vector<std::string> ModelStateKeys(uint16_t VendorId, uint16_t DeviceId, const char *ScopeName) {
  const Dialect *D = DialectFor(VendorId, DeviceId);
  if (D == nullptr) {
    return {};
  }
  const std::string Name = ScopeName;
  const Scope Where = Name == "adapter" ? Scope::Adapter : Name == "port" ? Scope::Port : Scope::Function;
  const std::set<std::string> K = Keys(*D, Where);
  return std::vector<std::string>(K.begin(), K.end());
}

} // namespace sim
