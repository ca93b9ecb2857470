// The example scenarios are what a platform engineer copies first, so each one must run clean and
// show its family's dialect; `simulate --help` must name exactly the files in the folder, and
// `simulate --check` must validate without running anything.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Simulator/Simulator.h"
#include "Simulator/SimulateCommand.h"

namespace {

namespace fs = std::filesystem;

const fs::path kExamplesDir = fs::path(PTD_SOURCE_DIR) / "Host/Simulator/examples";

struct RecordField {
  const char *Controller, *Field;
  int Slot; // -1: a plain field, else the slot of a list field
  const char *Text;
  int Number; // compared when Text is null
};

struct Example {
  const char *Family; // also the file name
  size_t Restarts;
  bool ReadOnly; // the driver only reads this family: the example shows the record it fills in
  std::vector<RecordField> Records;
};

// Restarts and read-only families from the family rules; record values from the example's replies.
const std::vector<Example> &Examples() {
  static const std::vector<Example> Table = {
      {"Intel", 0, false, {}},
      {"QLogic2031",
       0,
       true,
       {{"fc2/p0/f0", "FirmwareVersion", 0, "8.07.18", 0},
        {"fc2/p0/f0", "CurrentAddressText", 0, "2000001B32A1B200", 0},
        {"fc2/p0/f0", "CurrentAddressText", 1, "2100001B32A1B200", 0}}},
      {"QLogic2261", 0, false, {}},
      {"QLogic8070", 0, false, {}},
      // A function type change is a layout change: the adapter asks for one restart.
      {"Emulex0720", 1, false, {{"cna4/p0/f1", "PfType", -1, nullptr, 2}}},
      {"EmulexE200", 0, false, {}},
      {"Emulex0700", 0, false, {{"oce1/p0/f0", "VlanId", -1, nullptr, 100}}},
      {"Emulex0710", 0, false, {}},
      {"Mellanox1013", 0, false, {{"mlx7/p0/f0", "SriovEnabled", -1, nullptr, 1}}},
      // The speed is reported in hexadecimal, 0x19 = 25 Gb/s.
      {"Mellanox1017",
       0,
       true,
       {{"mlx8/p0/f0", "MaxLinkSpeedText", -1, "25 Gb/s", 0},
        {"mlx8/p0/f0", "MaxLinkSpeedCode", -1, nullptr, 0x4019}}},
  };
  return Table;
}

std::string ReadFile(const fs::path &Path) {
  std::ifstream In(Path, std::ios::binary);
  std::ostringstream Buffer;
  Buffer << In.rdbuf();
  return Buffer.str();
}

void PrintTo(const Example &E, std::ostream *Out) {
  *Out << E.Family;
}

class ExampleScenario : public testing::TestWithParam<Example> {};

TEST_P(ExampleScenario, RunsCleanAndChangesSomething) {
  const Example &E = GetParam();
  const sim::Transcript T =
      sim::RunScenario(sim::LoadScenarioText(ReadFile(kExamplesDir / (std::string(E.Family) + ".json"))));
  ASSERT_EQ(T.ExitStatus, 0);
  EXPECT_EQ(T.LoadStatus, "EFI_SUCCESS");
  EXPECT_TRUE(T.Problems.empty());
  ASSERT_EQ(T.Boots.size(), 1u);
  std::vector<std::string> Sets;
  size_t Restarts = 0;
  for (const sim::TranscriptController &C : T.Boots[0].Controllers) {
    Restarts += C.Runs.size() - 1;
    for (const sim::TranscriptRun &Run : C.Runs) {
      EXPECT_TRUE(Run.Ended) << C.Name;
      for (const sim::TranscriptStep &Step : Run.Steps) {
        // A failed command would be reported to the management controller: none may fail.
        EXPECT_EQ(Step.CmdStatus, 0) << C.Name << ": " << Step.Command;
        EXPECT_EQ(Step.Response, "EFI_SUCCESS") << C.Name << ": " << Step.Command;
        for (const sim::TranscriptEvent &Event : Step.Events) {
          EXPECT_NE(Event["kind"], "ipmi") << C.Name << ": " << Step.Command;
          EXPECT_NE(Event["kind"], "statusCode") << C.Name << ": " << Step.Command;
        }
        if (Step.Command.rfind("set ", 0) == 0) {
          Sets.push_back(C.Name + ": " + Step.Command);
        }
      }
    }
  }
  // Every example shows something: SET lines, or for a family the driver only reads, the record.
  EXPECT_EQ(Sets.empty(), E.ReadOnly);
  EXPECT_FALSE(E.ReadOnly && E.Records.empty());
  EXPECT_EQ(Restarts, E.Restarts);
  for (auto It = T.Records.begin(); It != T.Records.end(); ++It) {
    EXPECT_EQ(((*It)["ProgressFlags"].get<int>() & 0x80), 0x80) << It.key() << ": ConfigDone";
  }
  for (const RecordField &F : E.Records) {
    const auto &Value =
        F.Slot < 0 ? T.Records[F.Controller][F.Field] : T.Records[F.Controller][F.Field][F.Slot];
    if (F.Text) {
      EXPECT_EQ(Value, F.Text) << F.Controller << " " << F.Field;
    } else {
      EXPECT_EQ(Value, F.Number) << F.Controller << " " << F.Field;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Family, ExampleScenario, testing::ValuesIn(Examples()),
                         [](const testing::TestParamInfo<Example> &Info) {
                           return std::string(Info.param.Family);
                         });

TEST(Examples, TableCoversEveryFileInTheFolder) {
  std::set<std::string> Files, Families;
  for (const fs::directory_entry &Entry : fs::directory_iterator(kExamplesDir)) {
    Files.insert(Entry.path().filename().string());
  }
  for (const Example &E : Examples()) {
    Families.insert(std::string(E.Family) + ".json");
  }
  EXPECT_EQ(Files, Families);
}

#ifdef PTD_SIMULATE

TEST(SimulateCommand, HelpListsEveryExampleFileWithItsFamily) {
  const Command Help = Simulate("--help");
  ASSERT_EQ(Help.Status, 0);
  const size_t At = Help.Output.find("Examples");
  ASSERT_NE(At, std::string::npos);
  std::istringstream Lines(Help.Output.substr(At));
  std::string Line;
  std::getline(Lines, Line); // the heading
  std::set<std::string> Listed;
  while (std::getline(Lines, Line)) {
    std::istringstream Words(Line);
    std::string Family, Path, Rest;
    if (!(Words >> Family >> Path)) {
      continue;
    }
    EXPECT_FALSE(Words >> Rest) << Line;
    EXPECT_EQ(Path, "Host/Simulator/examples/" + Family + ".json") << Line;
    EXPECT_TRUE(fs::is_regular_file(fs::path(PTD_SOURCE_DIR) / Path)) << Line;
    Listed.insert(fs::path(Path).filename().string());
  }
  std::set<std::string> Files;
  for (const fs::directory_entry &Entry : fs::directory_iterator(kExamplesDir)) {
    Files.insert(Entry.path().filename().string());
  }
  EXPECT_EQ(Listed, Files);
}

TEST(SimulateCommand, CheckValidatesWithoutRunning) {
  const fs::path Bad = fs::temp_directory_path() / ("simulate-check-" + std::to_string(getpid()) + ".json");
  struct Case {
    std::string Scenario; // text of a scenario file
    int Status;
    std::string Output; // the whole output when Status is 0, else a part of it
  };
  const Case Cases[] = {
      {"{\"name\": \"two ports\", \"adapters\": [{\"name\": \"a\", \"VendorId\": \"0x10DF\", \"DeviceId\": "
       "\"0xE200\", "
       "\"ports\": [{\"functions\": [{\"function\": 0}]}, {\"functions\": [{\"function\": 1}]}]}]}",
       0, "scenario valid: two ports\n"},
      {"{\"adapters\": [{\"name\": \"a\", \"ports\": [{\"nalo\": {\"PortTable\": {\"Function\": [{}, "
       "{\"MinBandwidthShare\": 300}]}}, \"functions\": [{\"function\": 0}]}]}]}",
       2, "adapters[0].ports[0].nalo.PortTable.Function[1].MinBandwidthShare: expected 0..255, got 300"},
      {"{\"adapters\": [{\"name\": \"a\", \"ports\": [{\"functions\": [{\"function\": 0, \"colour\": "
       "1}]}]}]}",
       2, "adapters[0].ports[0].functions[0].colour: unknown key"},
      {"{\"name\": \"no adapters\"}", 2, "adapters"},
  };
  for (const Case &C : Cases) {
    std::ofstream(Bad, std::ios::binary) << C.Scenario;
    const Command R = Simulate("--check \"" + Bad.string() + "\"");
    EXPECT_EQ(R.Status, C.Status) << C.Scenario;
    if (C.Status == 0) {
      EXPECT_EQ(R.Output, C.Output);
    } else {
      EXPECT_NE(R.Output.find(C.Output), std::string::npos) << R.Output;
    }
    // Nothing ran: no driver load, no controller.
    EXPECT_EQ(R.Output.find("Driver load"), std::string::npos) << R.Output;
  }
  fs::remove(Bad);
  // An example checks under its own name.
  const Command Example = Simulate("--check \"" + (kExamplesDir / "Emulex0710.json").string() + "\"");
  EXPECT_EQ(Example.Status, 0);
  EXPECT_EQ(Example.Output,
            "scenario valid: Emulex0710: two NIC partitions get their own VLAN and virtual MAC\n");
}

#endif

} // namespace
