// bench-harness SCENARIO.json PAIRS.json: runs a scenario through the simulator with every Query and
// Response of the driver bracketed, for the benchmark (scripts/benchmark.sh).
//
// Run it under `valgrind --tool=callgrind --collect-atstart=no`: instructions are collected only
// while the driver's Query or Response runs, and the profile is dumped after each Query+Response
// pair ("pair N"), so every dump holds exactly one pair. A Query that hands out nothing (the end
// of a controller's run) is a pair of its own. The fake firmware's pool bookkeeping says what each
// pair allocated and left allocated; PAIRS.json lists per pair the controller's PCI IDs, the mode
// that answered, the allocations with their sizes and the blocks it left live.
//
// The bracketing replaces the two function pointers of the driver's protocol instance before the
// scenario loads the driver; the simulator then calls the driver through this harness, and the
// driver itself is unchanged.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <valgrind/callgrind.h>

#include "FakeFirmware/FakeFirmware.h"
#include "Simulator/Simulator.h"

extern "C++" {
#include "ModuleState.h"
#include "PlatformToDriver.h"
}

namespace {

struct Pair {
  uint16_t VendorId = 0, DeviceId = 0;
  uint64_t Instance = 0;
  EFI_STATUS Query = EFI_SUCCESS;
  bool Managed = false;
  bool Responded = false;
  std::vector<size_t> Allocations; // sizes, in order
  size_t Frees = 0;
  size_t LeftLive = 0; // blocks allocated in this pair and still live at its end
};

// Everything lives outside the driver call frames: a cold reset leaves Response by longjmp.
std::vector<Pair> Pairs;
bool PairOpen = false;
bool Collecting = false;
size_t AllocationsAtStart = 0, FreesAtStart = 0;
std::set<uint64_t> LiveAtStart;
EFI_ALLOCATE_POOL RealAllocatePool = nullptr;

EFI_STATUS EFIAPI CountingAllocatePool(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer) {
  if (PairOpen) {
    Pairs.back().Allocations.push_back(Size);
  }
  return RealAllocatePool(PoolType, Size, Buffer);
}

std::set<uint64_t> LiveSerials(const fake::FakeFirmware &F) {
  std::set<uint64_t> Serials;
  for (const fake::PoolBlock &B : F.LivePoolBlocks()) {
    Serials.insert(B.Serial);
  }
  return Serials;
}

void StopCollecting() {
  if (Collecting) {
    CALLGRIND_TOGGLE_COLLECT;
    Collecting = false;
  }
}

void StartCollecting() {
  if (!Collecting) {
    CALLGRIND_TOGGLE_COLLECT;
    Collecting = true;
  }
}

void ClosePair() {
  StopCollecting();
  if (!PairOpen) {
    return;
  }
  PairOpen = false;
  fake::FakeFirmware *Firmware = fake::FakeFirmware::ActiveOrNull();
  if (Firmware == nullptr) {
    return;
  }
  fake::FakeFirmware &F = *Firmware;
  Pair &P = Pairs.back();
  P.Frees = F.PoolFreeCount() - FreesAtStart;
  for (const fake::PoolBlock &B : F.LivePoolBlocks()) {
    if (B.Serial > AllocationsAtStart && LiveAtStart.count(B.Serial) == 0) {
      P.LeftLive++;
    }
  }
  const std::string Name = "pair " + std::to_string(Pairs.size() - 1);
  CALLGRIND_DUMP_STATS_AT(Name.c_str());
}

EFI_STATUS EFIAPI BenchQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle,
                             EFI_HANDLE ChildHandle, UINTN *Instance, EFI_GUID **ParameterTypeGuid,
                             VOID **ParameterBlock, UINTN *ParameterBlockSize) {
  ClosePair(); // a reset left the previous Response
  fake::FakeFirmware &F = fake::FakeFirmware::Active();
  EFI_BOOT_SERVICES *Bs = F.BootServices();
  if (Bs->AllocatePool != CountingAllocatePool) {
    RealAllocatePool = Bs->AllocatePool;
    Bs->AllocatePool = CountingAllocatePool;
  }
  Pair P;
  if (const uint8_t *Config = F.ConfigSpace(ControllerHandle)) {
    P.VendorId = static_cast<uint16_t>(Config[0] | Config[1] << 8);
    P.DeviceId = static_cast<uint16_t>(Config[2] | Config[3] << 8);
  }
  P.Instance = Instance != nullptr ? *Instance : 0;
  Pairs.push_back(P);
  PairOpen = true;
  AllocationsAtStart = F.PoolAllocationCount();
  FreesAtStart = F.PoolFreeCount();
  LiveAtStart = LiveSerials(F);

  StartCollecting();
  const EFI_STATUS Status = PlatformToDriverQuery(This, ControllerHandle, ChildHandle, Instance,
                                                  ParameterTypeGuid, ParameterBlock, ParameterBlockSize);
  StopCollecting();
  Pairs.back().Query = Status;
  Pairs.back().Managed = !mModule.ToolMode.mToolModeAnswered;
  if (EFI_ERROR(Status)) {
    ClosePair(); // an adapter driver calls no Response after a failed Query
  }
  return Status;
}

EFI_STATUS EFIAPI BenchResponse(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This,
                                EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                                EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock, UINTN ParameterBlockSize,
                                EFI_PLATFORM_CONFIGURATION_ACTION ConfigurationAction) {
  if (PairOpen) {
    Pairs.back().Responded = true;
  }
  StartCollecting();
  const EFI_STATUS Status =
      PlatformToDriverResponse(This, ControllerHandle, ChildHandle, Instance, ParameterTypeGuid,
                               ParameterBlock, ParameterBlockSize, ConfigurationAction);
  ClosePair();
  return Status;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    std::cerr << "usage: bench-harness SCENARIO.json PAIRS.json\n";
    return 2;
  }
  std::ifstream In(argv[1], std::ios::binary);
  if (!In) {
    std::cerr << "bench-harness: cannot read " << argv[1] << "\n";
    return 2;
  }
  std::ostringstream Text;
  Text << In.rdbuf();

  mPlatformToDriverConfiguration.Query = BenchQuery;
  mPlatformToDriverConfiguration.Response = BenchResponse;
  sim::Transcript T;
  try {
    T = sim::RunScenario(sim::LoadScenarioText(Text.str()));
  } catch (const sim::ScenarioError &Error) {
    std::cerr << "bench-harness: scenario refused: " << Error.what() << "\n";
    return 2;
  }
  if (PairOpen) {
    ClosePair();
  }

  nlohmann::ordered_json Out = nlohmann::ordered_json::array();
  for (const Pair &P : Pairs) {
    char Ids[16];
    std::snprintf(Ids, sizeof(Ids), "%04X:%04X", P.VendorId, P.DeviceId);
    Out.push_back({{"pci", Ids},
                   {"instance", P.Instance},
                   {"query", sim::StatusName(P.Query)},
                   {"managed", P.Managed},
                   {"responded", P.Responded},
                   {"allocations", P.Allocations},
                   {"frees", P.Frees},
                   {"leftLive", P.LeftLive}});
  }
  std::ofstream(argv[2]) << Out.dump(1) << "\n";
  return T.ExitStatus;
}
