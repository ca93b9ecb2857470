// The scenario pack read back as the firmware stand-in reads it: relocated in place, every pointer
// lands on the data the scenario describes.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Simulator/PackFormat.h"
#include "Simulator/ScenarioPack.h"

namespace {

// Applies the relocations exactly as Firmware/ScenarioApp does.
PTD_PACK_HEADER *Relocate(std::vector<uint8_t> &Pack) {
  auto *H = reinterpret_cast<PTD_PACK_HEADER *>(Pack.data());
  uint8_t *Base = Pack.data();
  H->Relocs = reinterpret_cast<UINT32 *>(Base + reinterpret_cast<uintptr_t>(H->Relocs));
  H->Scenarios = reinterpret_cast<PTD_PACK_SCENARIO *>(Base + reinterpret_cast<uintptr_t>(H->Scenarios));
  for (uint32_t I = 0; I < H->RelocCount; I++) {
    EXPECT_LE(H->Relocs[I] + 8u, H->Size);
    uint64_t Value;
    std::memcpy(&Value, Base + H->Relocs[I], 8);
    EXPECT_LT(Value, H->Size) << "relocated field at " << H->Relocs[I];
    Value += reinterpret_cast<uintptr_t>(Base);
    std::memcpy(Base + H->Relocs[I], &Value, 8);
  }
  return H;
}

std::string Str(const CHAR8 *Text) {
  return reinterpret_cast<const char *>(Text);
}

const char *const kTwoPorts = R"({
  "name": "two ports",
  "platform": {"ipmi": {"completionCodes": ["0xC0", 1]}, "policy": {"ForceAdapterEnable": 1}},
  "variables": [{"name": "CLPCMD_LOCATION", "bus": 0, "device": 3}],
  "adapters": [{
    "name": "E0710", "VendorId": "0x19A2", "DeviceId": "0x0710", "bus": "0x10", "device": 2,
    "ports": [
      {"nalo": {"Header": {"PortTableValid": 1, "InitiatorName": "iqn.x"},
                "PortTable": {"DesiredFunctionCount": 4, "Function": [{"Enabled": 1, "FunctionVlanId": 4095}]},
                "AddressTable": [{"Enabled": 1, "Wwnn": "20000011AABBCCDD"}],
                "BootTable": [{"Enabled": 1, "FcTopology": "02", "TargetAddress": "10.0.0.9"}]},
       "functions": [{"function": 0, "record": {"PlatformFlags": "0x60", "NaloIndex": 1, "CardIndex": 2}},
                     {"function": 1}]},
      {"functions": [{"function": 4, "settings": false}]}
    ],
    "replies": [{"command": "exit", "action": "RestartController", "times": 1, "status": 2, "error": 7,
                 "reply": "a\r\nb"}],
    "defaultReply": {"reply": "ok"}
  }],
  "run": {"order": ["E0710/p1/f0", "E0710/p0/f1", "E0710/p0/f0"], "maxRestarts": 3}
})";

TEST(ScenarioPackTest, PointersLandOnTheScenarioData) {
  const sim::Scenario Loaded = sim::LoadScenarioText(kTwoPorts);
  std::vector<uint8_t> Pack = sim::PackScenarios({Loaded});
  PTD_PACK_HEADER *H = Relocate(Pack);
  ASSERT_EQ(H->Magic, PTD_PACK_MAGIC);
  ASSERT_EQ(H->Size, Pack.size());
  ASSERT_EQ(H->ScenarioCount, 1u);
  const PTD_PACK_SCENARIO &S = H->Scenarios[0];
  EXPECT_EQ(Str(S.Name), "two ports");
  EXPECT_EQ(S.ForceAdapterEnable, 1);
  EXPECT_EQ(S.MaxRestarts, 3u);
  ASSERT_EQ(S.IpmiCodeCount, 2u);
  EXPECT_EQ(S.IpmiCodes[0], 0xC0);
  EXPECT_EQ(S.IpmiCodes[1], 0x01);

  ASSERT_EQ(S.VariableCount, 1u);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t *>(S.Variables[0].Name)), u"CLPCMD_LOCATION");
  EXPECT_EQ(S.Variables[0].Attributes, 7u);
  ASSERT_EQ(S.Variables[0].Size, 16u);
  const uint8_t Location[16] = {0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(S.Variables[0].Data, Location, 16), 0);

  // Controllers in scenario order; the play order names them.
  ASSERT_EQ(S.ControllerCount, 3u);
  EXPECT_EQ(Str(S.Controllers[0].Name), "E0710/p0/f0");
  EXPECT_EQ(Str(S.Controllers[2].Name), "E0710/p1/f0");
  ASSERT_EQ(S.OrderCount, 3u);
  EXPECT_EQ(S.Order[0], 2u);
  EXPECT_EQ(S.Order[1], 1u);
  EXPECT_EQ(S.Order[2], 0u);

  // The records carry the scenario's fields and point at each other.
  const FUNCTION_SETTINGS *R0 = S.Controllers[0].Record;
  const FUNCTION_SETTINGS *R1 = S.Controllers[1].Record;
  ASSERT_NE(R0, nullptr);
  ASSERT_NE(R1, nullptr);
  EXPECT_EQ(S.Controllers[2].Record, nullptr); // "settings": false
  EXPECT_EQ(R0->VendorId, 0x19A2);
  EXPECT_EQ(R0->DeviceId, 0x0710);
  EXPECT_EQ(R0->PciAddress, 0x1010); // bus 0x10, device 2, function 0
  EXPECT_EQ(R1->PciAddress, 0x1011);
  EXPECT_EQ(R0->PlatformFlags, 0x60);
  EXPECT_EQ(R0->NaloIndex, 1);
  EXPECT_EQ(R1->PfIndex, 1);
  EXPECT_EQ(R0->FunctionCount, 2);
  EXPECT_EQ(R0->Functions[0], R0);
  EXPECT_EQ(R0->Functions[1], R1);
  EXPECT_EQ(R0->Functions[2], nullptr);
  EXPECT_EQ(R1->Ports[0], R0);
  EXPECT_EQ(R1->Ports[1], nullptr); // the second port has no record

  // The port's virtual-I/O entry, keyed by its first record, with its pointed-at values.
  ASSERT_EQ(S.NaloCount, 1u);
  const PTD_PACK_NALO &N = S.Nalo[0];
  EXPECT_EQ(N.Key[0], 1);
  EXPECT_EQ(N.Key[1], 2);
  EXPECT_EQ(N.Key[2], 0);
  EXPECT_EQ(N.Header.PortTableValid, 1);
  EXPECT_EQ(Str(N.Header.InitiatorName), "iqn.x");
  EXPECT_EQ(N.PortTable.DesiredFunctionCount, 4);
  ASSERT_NE(N.PortTable.Function[0].FunctionVlanId, nullptr);
  EXPECT_EQ(*N.PortTable.Function[0].FunctionVlanId, 4095);
  EXPECT_EQ(N.PortTable.Function[0].MinBandwidthShare, nullptr);
  EXPECT_EQ(Str(N.AddressTable[0].Wwnn), "20000011AABBCCDD");
  EXPECT_EQ(N.AddressTable[0].Wwpn, nullptr);
  EXPECT_EQ(Str(N.BootTable[0].FcTopology), "02");
  ASSERT_NE(N.BootTable[0].TargetAddress, nullptr);
  // The address bytes exactly as the scenario loader stores them for the fake.
  const auto &Address = *Loaded.Adapters[0].Ports[0].Nalo->Boots[0].TargetAddress;
  EXPECT_EQ(std::memcmp(N.BootTable[0].TargetAddress, Address.data(), 4), 0);
  EXPECT_EQ(N.BootTable[1].FcTopology, nullptr);

  // Scripted replies with their limits; the default answers everything else.
  ASSERT_EQ(S.AdapterCount, 1u);
  const PTD_PACK_ADAPTER &A = S.Adapters[0];
  ASSERT_EQ(A.ReplyCount, 1u);
  EXPECT_EQ(Str(A.Replies[0].Command), "exit");
  EXPECT_EQ(Str(A.Replies[0].Reply), "a\r\nb");
  EXPECT_EQ(A.Replies[0].ReplyLength, 4u);
  EXPECT_EQ(A.Replies[0].Status, 2);
  EXPECT_EQ(A.Replies[0].Error, 7);
  EXPECT_EQ(A.Replies[0].Action, 2u); // RestartController
  EXPECT_EQ(A.Replies[0].Times, 1u);
  EXPECT_EQ(Str(A.Default.Reply), "ok");
  EXPECT_EQ(A.Default.Times, PTD_PACK_TIMES_UNLIMITED);
}

TEST(ScenarioPackTest, RefusesWhatTheFirmwareStandInCannotPlay) {
  const char *Cases[] = {
      R"({"adapters": [{"name": "A", "VendorId": "0x10DF", "DeviceId": "0xE200", "model": "simulated",
          "ports": [{"functions": [{"function": 0}]}]}]})",
      R"({"run": {"reboots": 1}, "adapters": []})",
  };
  for (const char *Case : Cases) {
    EXPECT_THROW(sim::PackScenarios({sim::LoadScenarioText(Case)}), sim::ScenarioError) << Case;
  }
}

} // namespace
