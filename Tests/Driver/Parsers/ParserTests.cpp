// Reply parsing beyond the key table (KeyTableTest.cpp): the dispatcher's entry state, reply
// bounds, and the replies that spread over several PFs or keep state across replies. Every reply is
// handed over in a buffer of exactly its length, without a terminator, as an option ROM may hand
// it: reading one byte more is an ASan error.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Parsers/DiscoveredState.h"

namespace {

std::string Text(const CHAR8 *Slot) {
  return reinterpret_cast<const char *>(Slot);
}

class ParserTest : public ::testing::Test {
protected:
  void SetUp() override { ResetModuleState(); }

  FUNCTION_SETTINGS *NewRecord(UINT16 Vendor, UINT16 Device, UINT8 Port = 0, UINT8 Pf = 0) {
    Records.push_back(std::make_unique<FUNCTION_SETTINGS>());
    FUNCTION_SETTINGS *Record = Records.back().get();
    std::memset(Record, 0, sizeof(*Record));
    Record->VendorId = Vendor;
    Record->DeviceId = Device;
    Record->PortIndex = Port;
    Record->PfIndex = Pf;
    return Record;
  }

  // Ports x Pfs records; every record lists its port's functions, the first lists the ports.
  // Returns the first function of the first port.
  FUNCTION_SETTINGS *NewAdapter(UINT16 Vendor, UINT16 Device, UINT8 Ports, UINT8 Pfs) {
    std::vector<std::vector<FUNCTION_SETTINGS *>> Grid(Ports);
    for (UINT8 Port = 0; Port < Ports; Port++) {
      for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
        Grid[Port].push_back(NewRecord(Vendor, Device, Port, Pf));
      }
    }
    for (auto &PortFunctions : Grid) {
      for (FUNCTION_SETTINGS *Record : PortFunctions) {
        Record->FunctionCount = Pfs;
        Record->PortCount = Ports;
        for (UINT8 Pf = 0; Pf < Pfs; Pf++) {
          Record->Functions[Pf] = PortFunctions[Pf];
        }
        for (UINT8 Port = 0; Port < Ports; Port++) {
          Record->Ports[Port] = Grid[Port][0];
        }
      }
    }
    return Grid[0][0];
  }

  void Parse(FUNCTION_SETTINGS *Settings, const std::string &Reply, UINTN Code) {
    std::vector<CHAR8> Buffer(Reply.begin(), Reply.end());
    UINTN Instance = 0;
    EXPECT_EQ(EFI_SUCCESS, ParseClpReply(Settings, &Instance, Buffer.empty() ? nullptr : Buffer.data(),
                                         (UINT32)Buffer.size(), Code));
  }

  std::vector<std::unique_ptr<FUNCTION_SETTINGS>> Records;
};

TEST_F(ParserTest, EntryStateAndRepliesThatParseNothing) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200, 1, 0);
  S->PortEnable = 9;
  UINTN Instance = 0;
  mModule.mConfigStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ(EFI_SUCCESS, ParseClpReply(S, &Instance, nullptr, 20, SHOW_PORT_EN));
  EXPECT_EQ(EFI_SUCCESS, mModule.mConfigStatus);
  EXPECT_EQ(0x10DFE200u, mModule.mPciVidDid);
  EXPECT_TRUE(mModule.mFirstFunctionOfPort);
  EXPECT_FALSE(mModule.mFirstFunctionOfAdapter);
  CHAR8 Dummy = 'x';
  EXPECT_EQ(EFI_SUCCESS, ParseClpReply(nullptr, &Instance, &Dummy, 1, SHOW_PORT_EN));
  EXPECT_EQ(9, S->PortEnable);
  Parse(S, "retdata=disabled", SET_PORT_EN); // not a show command
  Parse(S, "retdata=disabled", 200);
  EXPECT_EQ(9, S->PortEnable);
}

TEST_F(ParserTest, ReplyBoundsAndEmbeddedNuls) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  // A NUL inside the reply is an ordinary character for the searches.
  Parse(S, std::string("retdata=\0port disabled", 22), SHOW_PORT_EN);
  EXPECT_EQ(0, S->PortEnable);
  // The keyword is cut off by the reply's length.
  Parse(S, "retdata=disab", SHOW_PORT_EN);
  EXPECT_EQ(1, S->PortEnable);
  // However long the reply, it is searched to its end.
  Parse(S, "retdata=" + std::string(1100, ' ') + "disabled", SHOW_PORT_EN);
  EXPECT_EQ(0, S->PortEnable);
  // A prefix at the very end leaves an empty value.
  Parse(S, "xxretdata=", SHOW_PF_MAC);
  EXPECT_EQ("", Text(S->CurrentAddressText[0]));
}

TEST_F(ParserTest, ReplyWrittenIntoTheCommandBufferIsStillRead) {
  FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0xE200);
  const char Reply[] = "status=0 retdata=00112233AABB";
  std::memcpy(mModule.ClpCommandBuffer, Reply, sizeof(Reply) - 1);
  UINTN Instance = 0;
  ParseClpReply(S, &Instance, mModule.ClpCommandBuffer, sizeof(Reply) - 1, SHOW_PF_MAC);
  EXPECT_EQ("00112233AABB", Text(S->CurrentAddressText[0]));
}

TEST_F(ParserTest, Emulex0720EnableWordsNeverReEnableAPlatformZero) {
  mModule.mFamily.Emulex0720 = TRUE;
  struct Case {
    const char *Word;
    UINT8 ToApplyBefore, Reported, ToApplyAfter;
  } Cases[] = {{"Enabled", 0, 1, 0}, {"Disabled", 0, 0, 0}};
  for (const Case &C : Cases) {
    SCOPED_TRACE(C.Word);
    FUNCTION_SETTINGS *S = NewRecord(0x10DF, 0x0720);
    S->PortEnableToApply = S->BootEnableToApply = C.ToApplyBefore;
    Parse(S, std::string("retdata=PortEnable=") + C.Word + "\r\nBootEnable=" + C.Word + "\r\n", SHOW_PF_INFO);
    EXPECT_EQ(C.Reported, S->PortEnable);
    EXPECT_EQ(C.ToApplyAfter, S->PortEnableToApply);
    EXPECT_EQ(C.Reported, S->BootEnable);
    EXPECT_EQ(C.ToApplyAfter, S->BootEnableToApply);
  }
}

class QLogic8070Test : public ParserTest {
protected:
  void SetUp() override {
    ParserTest::SetUp();
    mModule.mFamily.QLogic8070 = TRUE;
  }
};

TEST_F(QLogic8070Test, PfTypeTableStopsAtSixteen) {
  FUNCTION_SETTINGS *S = NewRecord(0x1077, 0x8070);
  for (int Reply = 0; Reply < 20; Reply++) {
    Parse(S, "data=\"Disabled\"", SHOW_PF_TYPE);
  }
  EXPECT_EQ(16, mModule.mPfTypeCount);
  EXPECT_EQ(7u, mModule.mPfTypeTable[15]);
  EXPECT_EQ(7u, S->PfType);
}

struct ListCase {
  std::string Value;
  UINT8 Pfs;
  std::vector<UINT8> Expected; // 99: kept
};

TEST_F(QLogic8070Test, BandwidthListOneNumberPerPf) {
  const ListCase Cases[] = {
      {"\"25,25,50,0\"", 4, {25, 25, 50, 0}},
      // The closing quote separates like a comma: the third PF reads what follows it.
      {"\"10,20\"7,", 3, {10, 20, 7}},
      {"\"10,20\"", 3, {10, 20, 99}},
      // No closing quote: the list ends with the reply.
      {"\"10,20", 3, {10, 99, 99}},
      {"25,25", 2, {99, 99}},
      // Longer elements keep their first three characters and stay with their own PF.
      {"\"1000,20,abc\"", 3, {100, 20, 0}},
  };
  for (const ListCase &Case : Cases) {
    SCOPED_TRACE(Case.Value);
    FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, Case.Pfs);
    for (UINT8 Pf = 0; Pf < Case.Pfs; Pf++) {
      Pf0->Functions[Pf]->MinBandwidth = Pf0->Functions[Pf]->MaxBandwidth = 99;
    }
    Parse(Pf0, "data=" + Case.Value, SHOW_PF_BANDWIDTH);
    Parse(Pf0, "data=" + Case.Value, SHOW_PF_RATE_LIMIT);
    for (UINT8 Pf = 0; Pf < Case.Pfs; Pf++) {
      EXPECT_EQ(Case.Expected[Pf], Pf0->Functions[Pf]->MinBandwidth) << "PF " << int(Pf);
      EXPECT_EQ(Case.Expected[Pf], Pf0->Functions[Pf]->MaxBandwidth) << "PF " << int(Pf);
    }
  }
}

TEST_F(QLogic8070Test, BandwidthListStopsAtTheListEndAndOnlyRunsOnTheFirstPf) {
  FUNCTION_SETTINGS *Pf0 = NewAdapter(0x1077, 0x8070, 1, 3);
  FUNCTION_SETTINGS *Pf2 = Pf0->Functions[2];
  Pf0->FunctionCount = 40; // more than the list holds
  Parse(Pf0, "data=\"30,40,50\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(30, Pf0->MinBandwidth);
  EXPECT_EQ(50, Pf2->MinBandwidth);
  Parse(Pf2, "data=\"1,1,1\"", SHOW_PF_BANDWIDTH);
  EXPECT_EQ(50, Pf2->MinBandwidth);
}

} // namespace
