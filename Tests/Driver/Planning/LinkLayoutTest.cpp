// Rewriting the settings records for the alternative link layouts.
#include "PlannerFixture.h"

namespace {

class LinkLayoutTest : public PlannerTest {
protected:
  static std::string Text(const CHAR8 *T) { return reinterpret_cast<const char *>(T); }

  // A four-port 10 Gb/s board: sixteen functions listed by the first record; the platform's port
  // list points at the records of function numbers 0..3.
  std::vector<FUNCTION_SETTINGS *> FourByFour(UINT8 NaloIndex) {
    std::vector<FUNCTION_SETTINGS *> Fs = Port(0x10DF, 0x0720, 0, 16);
    for (UINT8 K = 0; K < 16; K++) {
      Fs[K]->SubsystemId = 0xE868;
      Fs[K]->PciAddress = (UINT16)(0x3A00 | K);
      Fs[K]->NaloIndex = NaloIndex;
      Fs[K]->CardIndex = 5;
      Fs[K]->PortNumber = 8;
    }
    for (UINT8 P = 0; P < 4; P++) {
      Fs[0]->Ports[P] = Fs[P];
    }
    Fs[0]->PortCount = 1;
    mModule.mLinkConfig = 3;
    return Fs;
  }
};

TEST_F(LinkLayoutTest, OneGigabitLayoutMovesTheFirstFunctionToItsPort) {
  struct Case {
    UINT16 Vendor, Device, Subsystem;
    UINT8 PortIndex, FunctionNumber, Port;
    UINT32 LinkWord;
  };
  const Case Cases[] = {
      {0x10DF, 0x0720, 0x11F9, 1, 2, 2, 0}, {0x10DF, 0x0720, 0x11FA, 1, 3, 3, 0},
      {0x10DF, 0x0720, 0x11F9, 1, 4, 1, 0}, {0x19A2, 0x0710, 0x0000, 0, 4, 2, 3},
      {0x19A2, 0x0700, 0x0000, 1, 5, 3, 3}, {0x19A2, 0x0710, 0x0000, 1, 2, 1, 3},
  };
  for (const Case &C : Cases) {
    Prepare();
    std::vector<FUNCTION_SETTINGS *> Fs = Port(C.Vendor, C.Device, C.PortIndex, 2);
    FUNCTION_SETTINGS *F = Fs[0];
    F->SubsystemId = C.Subsystem;
    F->PciAddress = (UINT16)(0x1200 | C.FunctionNumber);
    F->PfsPerPort = 2;
    F->LinkWord = 7;
    F->SubIndex = 9;
    Fs[1]->PfIndex = 1;
    mModule.mLinkConfig = 1;
    AdjustLinkLayout(F);
    EXPECT_EQ(F->PortIndex, C.Port) << C.Device << " fn " << (int)C.FunctionNumber;
    EXPECT_EQ(F->PortIndexCopy, C.Port);
    EXPECT_EQ(F->PortIndexCopy2, C.Port);
    EXPECT_EQ(F->NaloIndex, C.Port);
    EXPECT_EQ(F->PfIndex, 0);
    EXPECT_EQ(F->SubIndex, 0);
    EXPECT_EQ(F->LinkWord, C.LinkWord);
    EXPECT_EQ(F->PfsPerPort, 4);
    EXPECT_EQ(F->PortCount, 4);
    EXPECT_EQ(F->FunctionCount, 1);
    EXPECT_EQ(Text(F->MaxLinkSpeedText), "1 Gb/s");
    EXPECT_EQ(F->MaxLinkSpeedCode, 0x4001);
    EXPECT_EQ(F->LinkConfig, C.Vendor == 0x10DF ? 1u : 0u);
    EXPECT_EQ(Fs[1]->PfIndex, 1) << "only the first function of the walk is rewritten";
    EXPECT_EQ(Fs[1]->FunctionCount, 2);
  }
}

TEST_F(LinkLayoutTest, OtherBoardsAndDevicesAreLeftAlone) {
  const UINT16 Devices[][3] = {{0x10DF, 0x0720, 0x1234}, {0x10DF, 0x0722, 0x11F9}, {0x19A2, 0x0714, 0}};
  for (const auto &D : Devices) {
    Prepare();
    FUNCTION_SETTINGS *F = Port(D[0], D[1], 1, 1)[0];
    F->SubsystemId = D[2];
    F->PciAddress = 2;
    mModule.mLinkConfig = 1;
    AdjustLinkLayout(F);
    EXPECT_EQ(F->PortIndex, 1);
    EXPECT_EQ(F->PortCount, 0);
  }
}

TEST_F(LinkLayoutTest, Emulex07x0CopiesTheFirstFunctionsVersionsToTheOthers) {
  std::vector<FUNCTION_SETTINGS *> Fs = Port(0x19A2, 0x0700, 0, 3);
  FUNCTION_SETTINGS *First = Record(0x19A2, 0x0700, 0, 0);
  for (int Slot = 0; Slot < 4; Slot++) {
    std::snprintf(reinterpret_cast<char *>(First->FirmwareVersion[Slot]), 32, "%d.1.2", Slot + 10);
  }
  std::memset(First->FirmwareVersion[2], 'A', 31); // a full slot: 31 characters and NUL
  Fs[0]->PortIndex = 1;                            // this controller is on port 1
  mModule.mFirstFunctionSettings = First;
  AdjustLinkLayout(Fs[0]);
  for (FUNCTION_SETTINGS *F : Fs) {
    EXPECT_EQ(Text(F->FirmwareVersion[0]), "10.1.2");
    EXPECT_EQ(Text(F->FirmwareVersion[1]), "11.1.2");
    EXPECT_EQ(Text(F->FirmwareVersion[2]), std::string(31, 'A'));
    EXPECT_EQ(Text(F->FirmwareVersion[3]), "");
  }
}

TEST_F(LinkLayoutTest, EmulexE200SecondControllerGetsTheFirstFunctionsVersions) {
  mModule.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *First = Port(0x10DF, 0xE200, 0, 1)[0];
  FUNCTION_SETTINGS *Second = Port(0x10DF, 0xE200, 1, 1)[0];
  std::strcpy(reinterpret_cast<char *>(First->FirmwareVersion[0]), "12.0.1");
  std::strcpy(reinterpret_cast<char *>(First->FirmwareVersion[1]), "12.0.2");
  std::strcpy(reinterpret_cast<char *>(First->FirmwareVersion[2]), "12.0.3");
  std::strcpy(reinterpret_cast<char *>(First->FirmwareVersion[3]), "12.0.4");
  AdjustLinkLayout(First);
  EXPECT_EQ(mModule.mFirstFunctionSettings, First);
  AdjustLinkLayout(Second);
  EXPECT_EQ(mModule.mFirstFunctionSettings, First);
  EXPECT_EQ(Text(Second->FirmwareVersion[0]), "12.0.1");
  EXPECT_EQ(Text(Second->FirmwareVersion[1]), "12.0.2");
  EXPECT_EQ(Text(Second->FirmwareVersion[2]), "12.0.3");
  EXPECT_EQ(Text(Second->FirmwareVersion[3]), "");
}

TEST_F(LinkLayoutTest, FunctionWalkEndsAtTheCountAtEightAndAtTheFirstGap) {
  struct Case {
    UINT8 FunctionCount;
    int NullAt;
    int Copied;
  };
  const Case Cases[] = {{3, -1, 3}, {12, -1, 8}, {12, 5, 5}, {0, -1, 0}};
  for (const Case &C : Cases) {
    Prepare();
    std::vector<FUNCTION_SETTINGS *> Fs = Port(0x19A2, 0x0710, 1, 12);
    FUNCTION_SETTINGS *First = Record(0x19A2, 0x0710, 0, 0);
    std::strcpy(reinterpret_cast<char *>(First->FirmwareVersion[0]), "4.9.1");
    Fs[0]->FunctionCount = C.FunctionCount;
    if (C.NullAt >= 0) {
      Fs[0]->Functions[C.NullAt] = nullptr;
    }
    mModule.mFirstFunctionSettings = First;
    AdjustLinkLayout(Fs[0]);
    for (int K = 0; K < 12; K++) {
      EXPECT_EQ(Text(Fs[K]->FirmwareVersion[0]), K < C.Copied ? "4.9.1" : "")
          << (int)C.FunctionCount << " " << K;
    }
  }
}

TEST_F(LinkLayoutTest, FourByTenGigabitMakesFourPortsOfFourFunctions) {
  for (UINT8 NaloIndex : {224, 40}) {
    Prepare();
    std::vector<FUNCTION_SETTINGS *> Fs = FourByFour(NaloIndex);
    AdjustLinkLayout(Fs[0]);
    for (UINT8 P = 0; P < 4; P++) {
      for (UINT8 J = 0; J < 4; J++) {
        EXPECT_EQ(Fs[P]->Functions[J], Fs[P + 4 * J]) << "port " << (int)P;
      }
      EXPECT_EQ(Fs[P]->Functions[4], nullptr);
    }
    for (UINT8 K = 0; K < 16; K++) {
      FUNCTION_SETTINGS *F = Fs[K];
      const UINT8 P = K % 4;
      EXPECT_EQ(F->PortIndex, P);
      EXPECT_EQ(F->PortIndexCopy, P);
      EXPECT_EQ(F->PfIndex, K / 4);
      EXPECT_EQ(F->SubIndex, K / 4 + 1);
      EXPECT_EQ(F->PfsPerPort, 4);
      EXPECT_EQ(F->PortCount, 4);
      EXPECT_EQ(F->FunctionCount, 4);
      EXPECT_EQ(F->MaxLinkSpeedCode, 0x400A);
      EXPECT_EQ(F->Functions[4], nullptr);
      if (NaloIndex == 224) {
        EXPECT_EQ(F->NaloIndex, 224);
        EXPECT_EQ(F->CardIndex, 5);
        EXPECT_EQ(F->PortNumber, 8 + P);
      } else {
        EXPECT_EQ(F->NaloIndex, 40 + P);
        EXPECT_EQ(F->CardIndex, 0);
        EXPECT_EQ(F->PortNumber, 0);
      }
    }
    EXPECT_EQ(Text(Fs[0]->MaxLinkSpeedText), "10 Gb/s");
    EXPECT_EQ(Fs[0]->LinkConfig, 3u);
  }
}

TEST_F(LinkLayoutTest, FourByTenGigabitSkipsRecordsWithoutAPlace) {
  std::vector<FUNCTION_SETTINGS *> Fs = FourByFour(40);
  Fs[5]->PciAddress = 0x3A10; // function number 16: outside the layout
  Fs[0]->Ports[2] = nullptr;  // the platform gave no record for port 2
  AdjustLinkLayout(Fs[0]);
  EXPECT_EQ(Fs[5]->PortIndex, 0);
  EXPECT_EQ(Fs[5]->PfIndex, 5);
  EXPECT_EQ(Fs[5]->MaxLinkSpeedCode, 0);
  for (UINT8 K : {2, 6, 10, 14}) {
    EXPECT_EQ(Fs[K]->PfIndex, K) << (int)K;
    EXPECT_EQ(Fs[K]->MaxLinkSpeedCode, 0);
  }
  EXPECT_EQ(Fs[1]->Functions[0], Fs[1]);
  EXPECT_EQ(Fs[1]->Functions[1], Fs[9]);
  EXPECT_EQ(Fs[1]->Functions[2], Fs[13]);
  EXPECT_EQ(Fs[1]->Functions[3], nullptr);
  EXPECT_EQ(Fs[1]->FunctionCount, 3);
}

TEST_F(LinkLayoutTest, FourByTenGigabitNeverEndsAListBeyondItsSixteenSlots) {
  std::vector<FUNCTION_SETTINGS *> Fs = FourByFour(40);
  FUNCTION_SETTINGS *Port1 = Fs[1];
  for (FUNCTION_SETTINGS *F : Fs) {
    F->PciAddress = 0x3A00; // all claim function number 0: sixteen functions on port 0
    F->Ports[0] = Fs[0];
  }
  Fs[0]->Ports[1] = Port1;
  AdjustLinkLayout(Fs[0]);
  for (FUNCTION_SETTINGS *F : Fs) {
    EXPECT_EQ(F->FunctionCount, 16);
    EXPECT_EQ(F->Ports[0], Fs[0]) << "the slot after Functions[15] must stay intact";
  }
}

TEST_F(LinkLayoutTest, FourByTenGigabitOnlyFromTheAdaptersFirstFunctionInLayoutThree) {
  std::vector<FUNCTION_SETTINGS *> Fs = FourByFour(40);
  mModule.mLinkConfig = 2;
  AdjustLinkLayout(Fs[0]);
  EXPECT_EQ(Fs[0]->LinkConfig, 2u);
  EXPECT_EQ(Fs[5]->PfIndex, 5);
  mModule.mLinkConfig = 3;
  Fs[0]->PfIndex = 1;
  AdjustLinkLayout(Fs[0]);
  EXPECT_EQ(Fs[5]->PfIndex, 5);
}

} // namespace
