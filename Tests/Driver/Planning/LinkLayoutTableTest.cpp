// The link layout rewrite, row by row: where each PCI function lands in the 4 x 10 Gb/s layout,
// and which devices, subsystems and function numbers move a function in the 4 x 1 Gb/s layout.
#include "ModuleState.h"
#include "PlanningFixture.h"

namespace {

using LinkLayoutTableTest = PlanningTest;

// Function number k sits on port k mod 4 as its function k / 4.
TEST_F(LinkLayoutTableTest, FourByTenGigabitPlacesEachFunctionNumber) {
  const struct {
    UINT8 Number, Port, Pf;
  } Rows[] = {
      {0, 0, 0}, {1, 1, 0}, {2, 2, 0},  {3, 3, 0},  {4, 0, 1},  {5, 1, 1},  {6, 2, 1},  {7, 3, 1},
      {8, 0, 2}, {9, 1, 2}, {10, 2, 2}, {11, 3, 2}, {12, 0, 3}, {13, 1, 3}, {14, 2, 3}, {15, 3, 3},
  };
  // The card index 224 keeps the card and counts management ports; any other index counts itself.
  for (const UINT8 Nalo : {40, 224}) {
    SCOPED_TRACE(int(Nalo));
    Fresh();
    std::vector<FUNCTION_SETTINGS *> Fs = Port(0x10DF, 0x0720, 0, 16);
    for (UINT8 K = 0; K < 16; K++) {
      Fs[K]->SubsystemId = 0xE868;
      Fs[K]->PciAddress = (UINT16)(0x3A00 | K);
      std::tie(Fs[K]->SubIndex, Fs[K]->PfsPerPort, Fs[K]->PortCount) = std::make_tuple(9, 9, 9);
    }
    std::copy(Fs.begin(), Fs.begin() + 4, Fs[0]->Ports);
    std::tie(Fs[0]->NaloIndex, Fs[0]->CardIndex, Fs[0]->PortNumber) = std::make_tuple(Nalo, 5, 8);
    mModule.Discovered.mLinkConfig = 3;
    AdjustLinkLayout(Fs[0]);

    std::vector<FUNCTION_SETTINGS *> PortLists[4];
    for (const auto &Row : Rows) {
      const FUNCTION_SETTINGS *F = Fs[Row.Number];
      PortLists[Row.Port].push_back(Fs[Row.Number]);
      EXPECT_EQ((std::vector<int>{F->PortIndex, F->PortIndexCopy, F->PfIndex, F->SubIndex, F->PfsPerPort,
                                  F->PortCount, F->FunctionCount, F->MaxLinkSpeedCode}),
                (std::vector<int>{Row.Port, Row.Port, Row.Pf, Row.Pf + 1, 4, 4, 4, 0x400A}))
          << "function number " << int(Row.Number);
      const std::vector<int> Management =
          Nalo == 224 ? std::vector<int>{224, 5, 8 + Row.Port} : std::vector<int>{40 + Row.Port, 0, 0};
      EXPECT_EQ((std::vector<int>{F->NaloIndex, F->CardIndex, F->PortNumber}), Management)
          << "function number " << int(Row.Number);
      EXPECT_EQ(F->Functions[4], nullptr);
    }
    for (UINT8 P = 0; P < 4; P++) {
      PortLists[P].push_back(nullptr);
      EXPECT_EQ(std::vector<FUNCTION_SETTINGS *>(Fs[0]->Ports[P]->Functions, Fs[0]->Ports[P]->Functions + 5),
                PortLists[P])
          << "port " << int(P);
    }
    EXPECT_EQ(Fs[0]->LinkConfig, 3u);
    EXPECT_EQ(Text(Fs[0]->MaxLinkSpeedText), "10 Gb/s");
  }
}

// Layout 1 (one 1 Gb/s function per port) rewrites the first function of the walk: on 10DF:0720
// boards of subsystem 11F9 or 11FA function numbers 2 and 3 choose the port, on 19A2:0700 and
// 19A2:0710 function numbers 4 and 5 choose ports 2 and 3; otherwise the port stays.
TEST_F(LinkLayoutTableTest, OneGigabitLayoutByDeviceSubsystemAndFunctionNumber) {
  const struct {
    UINT32 VidDid;
    UINT16 Subsystem;
    UINT8 PortIndex, Number;
    int Port;        // -1: the record is not rewritten
    UINT32 LinkWord; // after the rewrite
    UINT32 LinkConfig;
  } Rows[] = {
      {0x10DF0720, 0x11F9, 1, 0, 1, 0, 1},  {0x10DF0720, 0x11F9, 0, 1, 0, 0, 1},
      {0x10DF0720, 0x11F9, 1, 2, 2, 0, 1},  {0x10DF0720, 0x11FA, 0, 3, 3, 0, 1},
      {0x10DF0720, 0x11FA, 1, 4, 1, 0, 1},  {0x10DF0720, 0x11FA, 1, 5, 1, 0, 1},
      {0x10DF0720, 0xE868, 1, 2, -1, 7, 1}, {0x10DF0720, 0x11F8, 1, 2, -1, 7, 9},
      {0x10DF0720, 0x11FB, 1, 2, -1, 7, 9}, {0x10DF0722, 0x11F9, 1, 2, -1, 7, 9},
      {0x10DF0724, 0x11FA, 1, 3, -1, 7, 9}, {0x19A20700, 0x0000, 1, 4, 2, 3, 9},
      {0x19A20700, 0x11F9, 0, 5, 3, 3, 9},  {0x19A20710, 0x0000, 1, 4, 2, 3, 9},
      {0x19A20710, 0x0000, 0, 5, 3, 3, 9},  {0x19A20710, 0x0000, 1, 2, 1, 3, 9},
      {0x19A20710, 0x0000, 1, 3, 1, 3, 9},  {0x19A20700, 0x0000, 1, 6, 1, 3, 9},
      {0x19A20702, 0x0000, 1, 4, -1, 7, 9}, {0x19A20712, 0x0000, 1, 4, -1, 7, 9},
      {0x19A20714, 0x0000, 1, 5, -1, 7, 9}, {0x10DFE200, 0x11F9, 1, 2, -1, 7, 9},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << std::hex << Row.VidDid << " " << Row.Subsystem << " fn "
                                    << int(Row.Number));
    Fresh();
    std::vector<FUNCTION_SETTINGS *> Fs =
        Port((UINT16)(Row.VidDid >> 16), (UINT16)Row.VidDid, Row.PortIndex, 2);
    FUNCTION_SETTINGS *F = Fs[0];
    F->SubsystemId = Row.Subsystem;
    F->PciAddress = (UINT16)(0x1200 | Row.Number);
    F->PfIndex = 1; // a rewritten record becomes its port's function 0
    std::tie(F->SubIndex, F->PfsPerPort, F->PortCount, F->LinkWord, F->LinkConfig) =
        std::make_tuple(9, 9, 9, 7, 9);
    std::tie(F->PortIndexCopy, F->PortIndexCopy2, F->NaloIndex) = std::make_tuple(9, 9, 9);
    mModule.Discovered.mLinkConfig = 1;
    AdjustLinkLayout(F);
    const std::vector<int> Moved = {F->PortIndex,  F->PortIndexCopy, F->PortIndexCopy2,
                                    F->NaloIndex,  F->PfIndex,       F->SubIndex,
                                    F->PfsPerPort, F->PortCount,     F->FunctionCount};
    if (Row.Port < 0) {
      EXPECT_EQ(Moved, (std::vector<int>{Row.PortIndex, 9, 9, 9, 1, 9, 9, 9, 2}));
      EXPECT_EQ(F->MaxLinkSpeedCode, 0);
    } else {
      EXPECT_EQ(Moved, (std::vector<int>{Row.Port, Row.Port, Row.Port, Row.Port, 0, 0, 4, 4, 1}));
      EXPECT_EQ(Text(F->MaxLinkSpeedText), "1 Gb/s");
      EXPECT_EQ(F->MaxLinkSpeedCode, 0x4001);
    }
    EXPECT_EQ(F->LinkWord, Row.LinkWord);
    EXPECT_EQ(F->LinkConfig, Row.LinkConfig);
    EXPECT_EQ(Fs[1]->PfIndex + Fs[1]->FunctionCount + Fs[1]->LinkConfig, 3u); // only the first of the walk
  }
}

} // namespace
