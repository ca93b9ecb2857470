// simulate [SCENARIO.json] [--json]: shows what the driver does at boot for a described platform.
// Without a file it runs the demo fleet shipped with the simulator.
#include <fstream>
#include <iostream>
#include <sstream>

#include <CLI/CLI.hpp>

#include "Simulator/Explain.h"
#include "Simulator/Simulator.h"

extern const char *const kDemoFleet;

int main(int argc, char **argv) {
  CLI::App App{
      "Simulates the platform-to-driver configuration driver at boot: every Query and Response, "
      "every CLP command and reply, BMC messages, status codes, restarts and the records afterwards."};
  std::string File;
  bool Json = false;
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
  try {
    const sim::Scenario S = sim::LoadScenarioText(Text);
    sim::Explainer Explainer;
    sim::RunOptions Options;
    Options.Listener = Explain || Plan ? &Explainer : nullptr;
    T = sim::RunScenario(S, Options);
  } catch (const sim::ScenarioError &Error) {
    std::cerr << "simulate: scenario refused: " << Error.what() << "\n";
    return 2;
  }
  if (Plan && !Json) {
    std::cout << sim::TranscriptToPlan(T);
  } else if (Json) {
    std::cout << sim::TranscriptToJson(T).dump(2) << "\n";
  } else {
    std::cout << sim::TranscriptToText(T);
  }
  return T.ExitStatus;
}
