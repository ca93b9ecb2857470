// simulate [SCENARIO.json] [--json] [--check]: shows what the driver does at boot for a described
// platform. Without a file it runs the demo fleet shipped with the simulator.
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

#include "Simulator/Convergence.h"
#include "Simulator/Explain.h"
#include "Simulator/Simulator.h"

extern const char *const kDemoFleet;

namespace {

// The starting points for a platform's own scenario, one per adapter family. A test compares this
// list with the folder, so a new example file has to be named here too.
const char *const kExamples[][2] = {
    {"Intel", "Host/Simulator/examples/Intel.json"},
    {"QLogic2031", "Host/Simulator/examples/QLogic2031.json"},
    {"QLogic2261", "Host/Simulator/examples/QLogic2261.json"},
    {"QLogic8070", "Host/Simulator/examples/QLogic8070.json"},
    {"Emulex0720", "Host/Simulator/examples/Emulex0720.json"},
    {"EmulexE200", "Host/Simulator/examples/EmulexE200.json"},
    {"Emulex0700", "Host/Simulator/examples/Emulex0700.json"},
    {"Emulex0710", "Host/Simulator/examples/Emulex0710.json"},
    {"Mellanox1013", "Host/Simulator/examples/Mellanox1013.json"},
    {"Mellanox1017", "Host/Simulator/examples/Mellanox1017.json"},
};

std::string ExamplesFooter() {
  std::string Footer = "Examples (one per adapter family; copy one and edit it):\n";
  for (const auto &Example : kExamples) {
    Footer += "  ";
    Footer += Example[0];
    Footer += std::string(14 - std::char_traits<char>::length(Example[0]), ' ');
    Footer += Example[1];
    Footer += "\n";
  }
  return Footer;
}

} // namespace

int main(int argc, char **argv) {
  CLI::App App{
      "Simulates the platform-to-driver configuration driver at boot: every Query and Response, "
      "every CLP command and reply, BMC messages, status codes, restarts and the records afterwards."};
  std::string File;
  bool Json = false;
  bool Check = false;
  App.add_option("scenario", File, "Scenario file (JSON); the demo fleet when omitted");
  App.add_flag("--json", Json, "Print the transcript as JSON");
  bool Explain = false;
  bool Plan = false;
  App.add_flag("--plan", Plan,
               "Only what the boot would change, per controller: the SET lines with their reasons, restarts, "
               "failures and BMC messages; then a fleet table");
  App.add_flag("--explain", Explain,
               "Under each planned command, why it was planned: the desired value and its source, the "
               "current value and the reply that gave it, the rule; and the decisions that changed nothing");
  unsigned Boots = 0;
  App.add_option(
         "--boots", Boots,
         "Boot the same machine N times, the adapters' state and the NVRAM kept, and report each setting as "
         "converged, re-applied at every boot by rule, or never converging (a fight: exit status 3)")
      ->check(CLI::Range(1u, 20u));
  App.add_flag("--check", Check,
               "Only validate the scenario: exit 0 if it loads, 2 with the key path if not");
  App.footer(ExamplesFooter());
  CLI11_PARSE(App, argc, argv);

  std::string Text;
  if (File.empty()) {
    Text = kDemoFleet;
  } else {
    std::ifstream In(File, std::ios::binary);
    if (!In) {
      std::cerr << "simulate: cannot read " << File << "\n";
      return 2;
    }
    std::ostringstream Buffer;
    Buffer << In.rdbuf();
    Text = Buffer.str();
  }

  sim::Transcript T;
  sim::Convergence Converged;
  try {
    const sim::Scenario S = sim::LoadScenarioText(Text);
    if (Check) {
      std::cout << "scenario valid: " << (S.Name.empty() ? File : S.Name) << "\n";
      return 0;
    }
    sim::Explainer Explainer;
    if (Boots > 0) {
      T = sim::RunBoots(S, Boots, &Explainer, &Converged);
    } else {
      sim::RunOptions Options;
      Options.Listener = Explain || Plan ? &Explainer : nullptr;
      T = sim::RunScenario(S, Options);
    }
  } catch (const sim::ScenarioError &Error) {
    std::cerr << "simulate: scenario refused: " << Error.what() << "\n";
    return 2;
  }
  if (Json) {
    nlohmann::ordered_json J = sim::TranscriptToJson(T);
    if (Boots > 0) {
      J["convergence"] = sim::ConvergenceToJson(Converged);
    }
    std::cout << J.dump(2) << "\n";
  } else {
    std::cout << (Plan ? sim::TranscriptToPlan(T) : sim::TranscriptToText(T));
    if (Boots > 0) {
      std::cout << sim::ConvergenceToText(Converged);
    }
  }
  if (T.ExitStatus == 0 && Boots > 1 && Converged.Fights() > 0) {
    return sim::kExitFight;
  }
  return T.ExitStatus;
}
