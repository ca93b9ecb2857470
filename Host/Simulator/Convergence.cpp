// --boots N: booting the same machine again and classifying each setting.
#include "Simulator/Convergence.h"

#include <map>
#include <sstream>

namespace sim {
namespace {

std::string SettingOf(const std::string &Command) {
  const size_t Equals = Command.find('=');
  return Equals == std::string::npos ? Command : Command.substr(0, Equals);
}

// The value behind "Word " in a reason, up to the next blank.
std::string ValueAfter(const std::string &Reason, const std::string &Word) {
  const size_t At = Reason.find(Word + " ");
  if (At == std::string::npos) {
    return "";
  }
  const size_t Begin = At + Word.size() + 1;
  return Reason.substr(Begin, Reason.find(' ', Begin) - Begin);
}

// The rule of a reason that plans the code whatever the adapter has, or "" for a comparison.
std::string RuleOf(const std::string &Reason) {
  const std::string Without = "planned without comparing: ";
  size_t At = Reason.find(Without);
  if (At != std::string::npos) {
    const size_t Begin = At + Without.size();
    return Reason.substr(Begin, Reason.find(';', Begin) - Begin);
  }
  if (Reason.find("planned without comparing, ") != std::string::npos) {
    return "the family's planner sends it at every boot";
  }
  if (Reason.find("sentinel: ") != std::string::npos) {
    return "the current value of this family is a sentinel, so the SET is always planned";
  }
  return "";
}

} // namespace

size_t Convergence::Fights() const {
  size_t Count = 0;
  for (const SettingOutcome &S : Settings) {
    Count += S.Outcome == "fight" ? 1 : 0;
  }
  return Count;
}

Transcript RunBoots(const Scenario &S, unsigned Boots, RunListener *Listener, Convergence *Result) {
  Transcript All;
  std::vector<std::optional<ModelState>> State, Next;
  std::vector<VariableSpec> Variables = S.Variables;
  std::map<std::pair<std::string, std::string>, SettingOutcome> Seen;
  std::vector<std::pair<std::string, std::string>> Order;
  for (unsigned Boot = 1; Boot <= Boots; Boot++) {
    Scenario This = S;
    This.Variables = Variables;
    RunOptions Options;
    Options.Listener = Listener;
    Options.Seed = Boot > 1 ? &State : nullptr;
    Options.Final = &Next;
    Options.FinalVariables = &Variables;
    Transcript T = RunScenario(This, Options);
    State = Next;
    if (Boot == 1) {
      All.Scenario = T.Scenario;
      All.LoadStatus = T.LoadStatus;
    }
    for (TranscriptBoot &B : T.Boots) {
      for (const TranscriptController &C : B.Controllers) {
        for (const TranscriptRun &Run : C.Runs) {
          bool DefaultsSent = false;
          for (const TranscriptStep &Step : Run.Steps) {
            if (!IsSetCommand(Step.Command)) {
              continue;
            }
            const bool Defaults =
                !Step.Reasons.empty() && (Step.Reasons.front().rfind("SET_ADDR_DEFAULTS:", 0) == 0 ||
                                          Step.Reasons.front().rfind("SET_PORT_DEFAULTS:", 0) == 0);
            const auto Key = std::make_pair(C.Name, SettingOf(Step.Command));
            if (!Seen.count(Key)) {
              Order.push_back(Key);
              Seen[Key] = {C.Name, Key.second, "", "", "", "", {}};
            }
            SettingOutcome &O = Seen[Key];
            if (O.SetIn.empty() || O.SetIn.back() != Boot) {
              O.SetIn.push_back(Boot);
            }
            const std::string Reason = Step.Reasons.empty() ? "" : Step.Reasons.front();
            O.Rule = RuleOf(Reason);
            if (Step.Reasons.empty()) {
              O.Rule = "not planned: ToolMode replays the commands stored in NVRAM at every boot";
            } else if (O.Rule.empty() && DefaultsSent) {
              O.Rule =
                  "the address or port defaults sent earlier in the same boot undo it, so it is set again";
            }
            O.Desired = ValueAfter(Reason, "desired");
            O.Current = ValueAfter(Reason, "current");
            DefaultsSent = DefaultsSent || Defaults;
          }
        }
      }
      All.Boots.push_back(std::move(B));
    }
    All.Records = T.Records;
    All.Problems.insert(All.Problems.end(), T.Problems.begin(), T.Problems.end());
    All.ExitStatus = std::max(All.ExitStatus, T.ExitStatus);
  }
  if (Result != nullptr) {
    Result->Boots = Boots;
    Result->Settings.clear();
    for (const auto &Key : Order) {
      SettingOutcome O = Seen[Key];
      const bool InLast = !O.SetIn.empty() && O.SetIn.back() == Boots;
      if (!InLast || Boots < 2) {
        O.Outcome = "converged";
        O.Rule.clear();
      } else if (!O.Rule.empty()) {
        O.Outcome = "reapplied";
      } else {
        O.Outcome = "fight";
      }
      if (O.Outcome != "fight") {
        O.Desired.clear();
        O.Current.clear();
      }
      Result->Settings.push_back(O);
    }
  }
  return All;
}

std::string ConvergenceToText(const Convergence &C) {
  std::ostringstream Out;
  Out << "\nConvergence over " << C.Boots << " boots\n";
  for (const SettingOutcome &S : C.Settings) {
    Out << "  " << S.Controller << "  " << S.Setting << ": ";
    if (S.Outcome == "converged") {
      Out << "converged";
    } else if (S.Outcome == "reapplied") {
      Out << "re-applied at every boot by rule (" << S.Rule << ")";
    } else {
      Out << "never converges: the platform wants " << S.Desired << ", the adapter reports " << S.Current
          << " at every boot";
    }
    Out << "\n";
  }
  if (C.Fights() > 0) {
    Out << "  " << C.Fights() << " setting(s) never converge: exit status " << kExitFight << "\n";
  }
  return Out.str();
}

nlohmann::ordered_json ConvergenceToJson(const Convergence &C) {
  nlohmann::ordered_json Settings = nlohmann::ordered_json::array();
  for (const SettingOutcome &S : C.Settings) {
    nlohmann::ordered_json J = {{"controller", S.Controller}, {"setting", S.Setting}, {"outcome", S.Outcome}};
    if (!S.Rule.empty()) {
      J["rule"] = S.Rule;
    }
    if (S.Outcome == "fight") {
      J["desired"] = S.Desired;
      J["current"] = S.Current;
    }
    J["setInBoots"] = S.SetIn;
    Settings.push_back(J);
  }
  return {{"boots", C.Boots}, {"settings", Settings}, {"fights", C.Fights()}};
}

} // namespace sim
