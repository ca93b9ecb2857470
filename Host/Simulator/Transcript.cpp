#include "Simulator/Transcript.h"

#include <cstdio>
#include <functional>
#include <sstream>

#include "Scenario/TranscriptWriter.h"

namespace sim {

using nlohmann::ordered_json;
namespace key = ptd::key;

namespace {

struct StringSink {
  std::string Text;
  void Put(char C) { Text += C; }
};

// Writes through the shared writer and reads the result back as a JSON value.
template <class Write> ordered_json Written(const Write &WriteValue) {
  StringSink Sink;
  ptd::JsonWriter<StringSink> Writer(Sink, ptd::HighBytes::Raw);
  WriteValue(Writer);
  return ordered_json::parse(Sink.Text);
}

// Writes each event as an element of the array under way.
auto EventElements(const std::vector<TranscriptEvent> &Events) {
  return [&Events](ptd::JsonWriter<StringSink> &Writer) {
    for (const TranscriptEvent &E : Events) {
      const std::string Text = E.dump();
      Writer.Json(Text.data(), Text.size());
    }
  };
}

const CHAR8 *Bytes(const std::string &Text) {
  return reinterpret_cast<const CHAR8 *>(Text.data());
}

} // namespace

TranscriptEvent MakeTranscriptEvent(const ptd::EventFields &Fields) {
  return Written([&](ptd::JsonWriter<StringSink> &Writer) { ptd::WriteEvent(Writer, Fields); });
}

TranscriptController &Transcript::Controller(TranscriptBoot &Boot, const std::string &Name) {
  for (TranscriptController &C : Boot.Controllers) {
    if (C.Name == Name) {
      return C;
    }
  }
  Boot.Controllers.push_back({Name, {}});
  return Boot.Controllers.back();
}

namespace {

ordered_json EventsJson(const std::vector<TranscriptEvent> &Events) {
  ordered_json List = ordered_json::array();
  for (const TranscriptEvent &E : Events) {
    List.push_back(E);
  }
  return List;
}

// Replies and commands may hold CR LF and other control bytes; the text view shows them escaped so
// that one Instance stays one line.
std::string Printable(const std::string &Text) {
  std::string Out;
  for (unsigned char C : Text) {
    if (C == '\r') {
      Out += "\\r";
    } else if (C == '\n') {
      Out += "\\n";
    } else if (C == '\\') {
      Out += "\\\\";
    } else if (C < 0x20 || C >= 0x7F) {
      char Buffer[8];
      std::snprintf(Buffer, sizeof(Buffer), "\\x%02X", C);
      Out += Buffer;
    } else {
      Out += static_cast<char>(C);
    }
  }
  return Out;
}

// The CLP dialogue log travels as OEM text messages; people want to read the text.
std::string OemLogText(const TranscriptEvent &E) {
  if (E.value(key::NetFn, 0) != 0x2E || E.value(key::Command, 0) != 0xF5) {
    return "";
  }
  const std::string Hex = E.value(key::Data, "");
  if (Hex.size() < 10 || Hex.substr(6, 2) != "0C") {
    return "";
  }
  std::string Text;
  for (size_t I = 10; I + 1 < Hex.size(); I += 2) {
    Text += static_cast<char>(std::stoi(Hex.substr(I, 2), nullptr, 16));
  }
  return Text;
}

std::string EventText(const TranscriptEvent &E) {
  const std::string Kind = E.value(key::Kind, "");
  std::ostringstream Out;
  Out << Kind;
  if (Kind == ptd::EventKindName(ptd::EventKind::Ipmi)) {
    const std::string Text = OemLogText(E);
    if (!Text.empty() || E.value(key::Data, "").size() == 10) {
      // The five header bytes (enterprise number, text message, length) stay visible.
      const std::string Hex = E.value(key::Data, "");
      Out << " BMC log";
      for (size_t I = 0; I < 10; I += 2) {
        Out << ' ' << Hex.substr(I, 2);
      }
      Out << " \"" << Printable(Text) << "\" completionCode=" << E.value(key::CompletionCode, 0);
      return Out.str();
    }
  }
  for (auto It = E.begin(); It != E.end(); ++It) {
    if (It.key() == key::Kind) {
      continue;
    }
    Out << ' ' << It.key() << '=';
    if (It.value().is_string()) {
      Out << Printable(It.value().get<std::string>());
    } else {
      Out << It.value().dump();
    }
  }
  return Out.str();
}

// What one controller's steps added up to, for the summary of the text view and the fleet table
// of the plan. Rows keep the order in which controllers first appear.
struct Tally {
  std::string Name;
  size_t Commands = 0, Sets = 0, Failed = 0, Restarts = 0;

  void Count(const TranscriptStep &S) {
    Commands++;
    Sets += IsSetCommand(S.Command) ? 1 : 0;
    Failed += S.CmdStatus != 0 ? 1 : 0;
    Restarts += S.Action == "RestartController" ? 1 : 0;
  }
};

Tally &TallyFor(std::vector<Tally> &Rows, const std::string &Name) {
  for (Tally &Row : Rows) {
    if (Row.Name == Name) {
      return Row;
    }
  }
  Rows.push_back({Name});
  return Rows.back();
}

} // namespace

bool IsSetCommand(const std::string &Command) {
  return Command.rfind("set ", 0) == 0;
}

ordered_json TranscriptToJson(const Transcript &T) {
  ordered_json Root;
  Root[key::Scenario] = T.Scenario;
  Root[key::Load] = {{key::Status, T.LoadStatus}};
  ordered_json Boots = ordered_json::array();
  for (const TranscriptBoot &Boot : T.Boots) {
    ordered_json B;
    if (!Boot.LoadEvents.empty()) {
      B[key::LoadEvents] = EventsJson(Boot.LoadEvents);
    }
    ordered_json Controllers = ordered_json::array();
    for (const TranscriptController &C : Boot.Controllers) {
      ordered_json Runs = ordered_json::array();
      for (const TranscriptRun &Run : C.Runs) {
        ordered_json Steps = ordered_json::array();
        for (const TranscriptStep &S : Run.Steps) {
          const ptd::StepFields Fields = {
              S.Instance,     S.Query.c_str(), Bytes(S.Command), S.Command.size(), Bytes(S.Reply),
              S.Reply.size(), S.CmdStatus,     S.ErrorValue,     S.Action.c_str(), S.Response.c_str()};
          ordered_json Step = Written([&](ptd::JsonWriter<StringSink> &Writer) {
            ptd::WriteStep(Writer, Fields, EventElements(S.Events));
          });
          if (!S.Reasons.empty()) {
            Step["reasons"] = S.Reasons;
          }
          if (!S.Unchanged.empty()) {
            Step["unchanged"] = S.Unchanged;
          }
          Steps.push_back(std::move(Step));
        }
        ordered_json R{{key::Steps, Steps}};
        R[key::End] = Run.Ended ? Written([&](ptd::JsonWriter<StringSink> &Writer) {
          ptd::WriteRunEnd(Writer, Run.EndInstance, Run.EndQuery.c_str(), EventElements(Run.EndEvents));
        })
                                : ordered_json(nullptr);
        if (Run.Nested) {
          R[key::Nested] = true;
        }
        Runs.push_back(R);
      }
      Controllers.push_back(ordered_json{{key::Name, C.Name}, {key::Runs, Runs}});
    }
    B[key::Controllers] = Controllers;
    B[key::Reset] = Boot.Reset ? ordered_json{{key::Type, *Boot.Reset}} : ordered_json(nullptr);
    Boots.push_back(B);
  }
  Root[key::Boots] = Boots;
  Root[key::Records] = T.Records;
  if (!T.Problems.empty()) {
    Root[key::Problems] = T.Problems;
  }
  Root[key::ExitStatus] = T.ExitStatus;
  return Root;
}

std::string TranscriptToText(const Transcript &T) {
  std::ostringstream Out;
  Out << "Scenario: " << (T.Scenario.empty() ? "(unnamed)" : T.Scenario) << "\n";
  Out << "Driver load: " << T.LoadStatus << "\n";

  std::vector<Tally> Summaries;

  // A run started inside a Response of another run (a restart of the controller) is printed at
  // the place of its "start" event, indented under the step that caused it.
  std::function<void(const TranscriptBoot &, const std::string &, size_t, const std::string &)> PrintRun;
  PrintRun = [&](const TranscriptBoot &Boot, const std::string &Name, size_t RunIndex,
                 const std::string &Indent) {
    const TranscriptController *C = nullptr;
    for (const TranscriptController &Candidate : Boot.Controllers) {
      if (Candidate.Name == Name) {
        C = &Candidate;
      }
    }
    if (C == nullptr || RunIndex >= C->Runs.size()) {
      return;
    }
    Tally &Sum = TallyFor(Summaries, Name);
    const TranscriptRun &Run = C->Runs[RunIndex];
    auto PrintEvents = [&](const std::vector<TranscriptEvent> &Events) {
      for (const TranscriptEvent &E : Events) {
        if (E.value(key::Kind, "") == ptd::EventKindName(ptd::EventKind::Start)) {
          const std::string Nested = E.value(key::Controller, "");
          const size_t NestedRun = E.value(key::Run, size_t{0});
          Out << Indent << "        start " << Nested << " (run " << NestedRun + 1 << ")\n";
          PrintRun(Boot, Nested, NestedRun, Indent + "        ");
          continue;
        }
        Out << Indent << "        " << EventText(E) << "\n";
      }
    };
    for (const TranscriptStep &S : Run.Steps) {
      char Head[32];
      std::snprintf(Head, sizeof(Head), "  %3llu ", static_cast<unsigned long long>(S.Instance));
      Out << Indent << Head << Printable(S.Command) << "  ->  ";
      Out << (S.Reply.empty() ? "(empty)" : Printable(S.Reply));
      if (S.CmdStatus != 0 || S.ErrorValue != 0) {
        Out << "  [status " << static_cast<int>(S.CmdStatus) << ", error " << static_cast<int>(S.ErrorValue)
            << "]";
      }
      if (S.Action != "None") {
        Out << "  [action " << S.Action << "]";
      }
      if (S.Response != "EFI_SUCCESS") {
        Out << "  [Response " << S.Response << "]";
      }
      Out << "\n";
      for (const std::string &Reason : S.Reasons) {
        Out << Indent << "        why: " << Reason << "\n";
      }
      for (const std::string &Same : S.Unchanged) {
        Out << Indent << "        unchanged: " << Same << "\n";
      }
      PrintEvents(S.Events);
      Sum.Count(S);
    }
    if (Run.Ended) {
      char Head[32];
      std::snprintf(Head, sizeof(Head), "  %3llu ", static_cast<unsigned long long>(Run.EndInstance));
      Out << Indent << Head << "Query " << Run.EndQuery << "\n";
      PrintEvents(Run.EndEvents);
    }
  };

  // Every summary row exists before printing starts, so that the references held while runs are
  // printed stay valid.
  for (const TranscriptBoot &Boot : T.Boots) {
    for (const TranscriptController &C : Boot.Controllers) {
      TallyFor(Summaries, C.Name);
    }
  }
  for (size_t BootIndex = 0; BootIndex < T.Boots.size(); BootIndex++) {
    const TranscriptBoot &Boot = T.Boots[BootIndex];
    Out << "\n=== Boot " << BootIndex + 1 << " ===\n";
    for (const TranscriptEvent &E : Boot.LoadEvents) {
      Out << "    " << EventText(E) << "\n";
    }
    for (const TranscriptController &C : Boot.Controllers) {
      for (size_t RunIndex = 0; RunIndex < C.Runs.size(); RunIndex++) {
        if (C.Runs[RunIndex].Nested) {
          continue;
        }
        Out << "\n" << C.Name << " (run " << RunIndex + 1 << ")\n";
        PrintRun(Boot, C.Name, RunIndex, "");
      }
    }
    if (Boot.Reset) {
      Out << "\n  *** platform reset (" << *Boot.Reset << ") ***\n";
    }
  }

  Out << "\nSummary\n";
  char Line[256];
  std::snprintf(Line, sizeof(Line), "  %-24s %8s %8s %8s %8s  %s\n", "controller", "commands", "set",
                "failed", "restarts", "ConfigDone");
  Out << Line;
  for (const Tally &S : Summaries) {
    std::string Done = "-";
    if (T.Records.contains(S.Name) && T.Records[S.Name].contains("ProgressFlags")) {
      Done = (T.Records[S.Name]["ProgressFlags"].get<uint64_t>() & 0x80) ? "yes" : "no";
    }
    std::snprintf(Line, sizeof(Line), "  %-24s %8zu %8zu %8zu %8zu  %s\n", S.Name.c_str(), S.Commands, S.Sets,
                  S.Failed, S.Restarts, Done.c_str());
    Out << Line;
  }
  for (const std::string &P : T.Problems) {
    Out << "\nProblem: " << P << "\n";
  }
  return Out.str();
}

std::string TranscriptToPlan(const Transcript &T) {
  std::ostringstream Out;
  Out << "Plan: " << (T.Scenario.empty() ? "(unnamed)" : T.Scenario) << "\n";
  std::vector<Tally> Fleet;
  for (size_t BootIndex = 0; BootIndex < T.Boots.size(); BootIndex++) {
    const TranscriptBoot &Boot = T.Boots[BootIndex];
    if (T.Boots.size() > 1) {
      Out << "\n=== Boot " << BootIndex + 1 << " ===\n";
    }
    for (const TranscriptController &C : Boot.Controllers) {
      Tally &Row = TallyFor(Fleet, C.Name);
      std::ostringstream Lines;
      for (size_t RunIndex = 0; RunIndex < C.Runs.size(); RunIndex++) {
        const TranscriptRun &Run = C.Runs[RunIndex];
        if (C.Runs.size() > 1) {
          Lines << "  run " << RunIndex + 1 << (Run.Nested ? " (after the restart)" : "") << "\n";
        }
        for (const TranscriptStep &S : Run.Steps) {
          const bool Set = IsSetCommand(S.Command);
          const bool Failed = S.CmdStatus != 0;
          const bool Restart = S.Action == "RestartController";
          std::vector<std::string> Bmc;
          for (const TranscriptEvent &E : S.Events) {
            if (E.value(key::Kind, "") == ptd::EventKindName(ptd::EventKind::Ipmi)) {
              Bmc.push_back(EventText(E));
            }
          }
          if (!Set && !Failed && !Restart && Bmc.empty()) {
            continue;
          }
          char Head[32];
          std::snprintf(Head, sizeof(Head), "  %3llu ", static_cast<unsigned long long>(S.Instance));
          Lines << Head << Printable(S.Command);
          if (Failed) {
            Lines << "  [failed: status " << static_cast<int>(S.CmdStatus) << ", error "
                  << static_cast<int>(S.ErrorValue) << "]";
          }
          if (Restart) {
            Lines << "  [restart: " << S.Action << "]";
          } else if (S.Action != "None") {
            Lines << "  [action " << S.Action << "]";
          }
          Lines << "\n";
          if (Set) {
            for (const std::string &Reason : S.Reasons) {
              Lines << "        why: " << Reason << "\n";
            }
          }
          for (const std::string &Message : Bmc) {
            Lines << "        " << Message << "\n";
          }
          Row.Count(S);
        }
      }
      std::string Body = Lines.str();
      if (C.Runs.size() > 1 && Row.Sets == 0 && Row.Restarts == 0 && Row.Failed == 0) {
        Body.clear();
      }
      Out << "\n" << C.Name << (Body.empty() ? "  (no change)\n" : "\n") << Body;
    }
    if (Boot.Reset) {
      Out << "\n  *** platform reset (" << *Boot.Reset << ") ***\n";
    }
  }
  Out << "\nFleet\n";
  char Line[256];
  std::snprintf(Line, sizeof(Line), "  %-24s %8s %8s %8s\n", "controller", "changes", "restarts", "failures");
  Out << Line;
  Tally All{"all"};
  for (const Tally &Row : Fleet) {
    std::snprintf(Line, sizeof(Line), "  %-24s %8zu %8zu %8zu\n", Row.Name.c_str(), Row.Sets, Row.Restarts,
                  Row.Failed);
    Out << Line;
    All.Sets += Row.Sets;
    All.Restarts += Row.Restarts;
    All.Failed += Row.Failed;
  }
  std::snprintf(Line, sizeof(Line), "  %-24s %8zu %8zu %8zu\n", "all", All.Sets, All.Restarts, All.Failed);
  Out << Line;
  for (const std::string &P : T.Problems) {
    Out << "\nProblem: " << P << "\n";
  }
  return Out.str();
}

} // namespace sim
