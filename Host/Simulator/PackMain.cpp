// pack-scenarios OUT.pack SCENARIO.json...: packs scenarios for the firmware platform stand-in,
// which plays them in the given order in one boot of the VM.
#include <fstream>
#include <iostream>
#include <sstream>

#include "Simulator/ScenarioPack.h"

int main(int argc, char **argv) {
  if (argc < 3) {
    std::cerr << "usage: pack-scenarios OUT.pack SCENARIO.json...\n";
    return 2;
  }
  std::vector<sim::Scenario> Scenarios;
  for (int I = 2; I < argc; I++) {
    std::ifstream In(argv[I], std::ios::binary);
    if (!In) {
      std::cerr << "pack-scenarios: cannot read " << argv[I] << "\n";
      return 2;
    }
    std::ostringstream Buffer;
    Buffer << In.rdbuf();
    try {
      Scenarios.push_back(sim::LoadScenarioText(Buffer.str()));
    } catch (const sim::ScenarioError &Error) {
      std::cerr << "pack-scenarios: " << argv[I] << ": scenario refused: " << Error.what() << "\n";
      return 2;
    }
  }
  std::vector<uint8_t> Pack;
  try {
    Pack = sim::PackScenarios(Scenarios);
  } catch (const sim::ScenarioError &Error) {
    std::cerr << "pack-scenarios: " << Error.what() << "\n";
    return 2;
  }
  std::ofstream Out(argv[1], std::ios::binary);
  Out.write(reinterpret_cast<const char *>(Pack.data()), static_cast<std::streamsize>(Pack.size()));
  if (!Out) {
    std::cerr << "pack-scenarios: cannot write " << argv[1] << "\n";
    return 2;
  }
  return 0;
}
