// The CLP dialogue log: message layout, chunking of long texts and the whole dialogue's bytes.
#include "Driver/Reporting/ReportingTest.h"

namespace {

const std::string kRequestBanner = "\n       ___________ CLP REQUEST: __________";
const std::string kResponseBanner = "\n       ___________ CLP RESPONSE: __________";

// Text whose every 61-character piece is distinguishable from its neighbours.
std::string PatternText(size_t Length) {
  std::string Text;
  for (size_t Index = 0; Index < Length; Index++) {
    Text.push_back((char)('!' + (Index * 7 + Index / 61) % 90));
  }
  return Text;
}

FUNCTION_SETTINGS KnownRecord() {
  FUNCTION_SETTINGS Settings{};
  Settings.VendorId = 0x10DF;
  Settings.DeviceId = 0xE200;
  Settings.PciAddress = 0x0300;
  std::memcpy(Settings.FirmwareVersion[0], "12.8.340.8", 11);
  Settings.NaloIndex = 1;
  Settings.CardIndex = 2;
  Settings.PortNumber = 3;
  Settings.SubIndex = 4;
  return Settings;
}

using ClpDialogueLog = ReportingTest;

TEST_F(ClpDialogueLog, OneMessageCarriesEnterpriseNumberSubFunctionLengthAndText) {
  UINT8 CompletionCode = 0x55;
  Fw().ScriptIpmiCompletionCodes({0xC1});
  EXPECT_EQ(SendClpLogText(Fw().SystemTable(), ASTR("show"), &CompletionCode), EFI_SUCCESS);
  EXPECT_EQ(CompletionCode, 0xC1);
  ASSERT_EQ(Requests().size(), 1u);
  const fake::Event Sent = Requests()[0];
  EXPECT_EQ(Sent.NetFn, 0x2E);
  EXPECT_EQ(Sent.Lun, 0);
  EXPECT_EQ(Sent.Command, 0xF5);
  EXPECT_EQ(Sent.ResponseCapacity, 3);
  EXPECT_EQ(Sent.Data, (std::vector<UINT8>{0x80, 0x28, 0x00, 0x0C, 4, 's', 'h', 'o', 'w'}));
}

TEST_F(ClpDialogueLog, OneMessageTakesAtMost61Characters) {
  const std::string Text = PatternText(100);
  SendClpLogText(Fw().SystemTable(), ASTR(Text.c_str()), nullptr);
  ASSERT_EQ(Requests().size(), 1u);
  EXPECT_EQ(Requests()[0].Data, LogMessage(Text.substr(0, 61)));
}

struct ChunkCase {
  size_t Length;
  std::vector<size_t> PieceLengths;
};

class ClpLogChunkTest : public ReportingTest, public ::testing::WithParamInterface<ChunkCase> {};

TEST_P(ClpLogChunkTest, TextIsSplitInto61CharacterPiecesUpTo68) {
  const ChunkCase &Case = GetParam();
  const std::string Text = PatternText(Case.Length);
  SendClpLogChunks(ASTR(Text.c_str()));

  const std::vector<fake::Event> Sent = Requests();
  ASSERT_EQ(Sent.size(), Case.PieceLengths.size());
  size_t Offset = 0;
  for (size_t Index = 0; Index < Case.PieceLengths.size(); Index++) {
    EXPECT_EQ(Sent[Index].Data, LogMessage(Text.substr(Offset, Case.PieceLengths[Index])))
        << "message " << Index;
    Offset += Case.PieceLengths[Index];
  }
}

std::vector<size_t> Pieces(size_t Full, size_t Last) {
  std::vector<size_t> Lengths(Full, 61);
  if (Last != 0) {
    Lengths.push_back(Last);
  }
  return Lengths;
}

INSTANTIATE_TEST_SUITE_P(Lengths, ClpLogChunkTest,
                         ::testing::Values(ChunkCase{0, {0}}, ChunkCase{61, {61}}, ChunkCase{62, {61, 1}},
                                           ChunkCase{122, {61, 61}}, ChunkCase{4147, Pieces(67, 60)},
                                           ChunkCase{4148, Pieces(68, 0)},
                                           // The last 852 characters never reach the controller.
                                           ChunkCase{5000, Pieces(68, 0)}));

TEST_F(ClpDialogueLog, NullTextSendsNothing) {
  SendClpLogChunks(nullptr);
  EXPECT_TRUE(Requests().empty());
}

TEST_F(ClpDialogueLog, WholeDialogueOfAKnownRecord) {
  FUNCTION_SETTINGS Settings = KnownRecord();
  const std::string Request = "set /hw1/port0/pf0 OEMVDR_PortEnable=1";
  const std::string Response = PatternText(68 * 61 + 1); // its last character is not sent

  LogClpDialogue(&Settings, ASTR(Request.c_str()), ASTR(Response.c_str()));

  // The header's "\n" is formatted as "\r\n", hexadecimal is upper case, and the line is cut
  // after 60 characters, in the middle of "PortI".
  const std::string Header = "\r\n_VID/DID/PFA 0x10DF/E200/300, FW 12.8.340.8, NaloI/CardI/P";
  ASSERT_EQ(Header.size(), 60u);
  std::vector<std::vector<UINT8>> Expected = {
      LogMessage(kRequestBanner),
      LogMessage(Header),
      LogMessage(Request),
      LogMessage(kResponseBanner),
  };
  for (size_t Piece = 0; Piece < 68; Piece++) {
    Expected.push_back(LogMessage(Response.substr(Piece * 61, 61)));
  }
  const std::vector<fake::Event> Sent = Requests();
  ASSERT_EQ(Sent.size(), Expected.size());
  for (size_t Index = 0; Index < Expected.size(); Index++) {
    EXPECT_EQ(Sent[Index].Data, Expected[Index]) << "message " << Index;
    EXPECT_EQ(Sent[Index].NetFn, 0x2E);
    EXPECT_EQ(Sent[Index].Command, 0xF5);
  }
  EXPECT_EQ(std::string((const char *)mModule.mClpLogHeader), Header);
}

TEST_F(ClpDialogueLog, HeaderVariants) {
  struct {
    UINT16 VendorId, DeviceId, PciAddress;
    std::string Firmware;
    std::string Header;
  } Cases[] = {
      {0x8086, 0x10D3, 0x0010, "", "\r\n_VID/DID/PFA 0x8086/10D3/10, FW , NaloI/CardI/PortI/SubI 0"},
      {0x0001, 0x00AB, 0x0000, "7", "\r\n_VID/DID/PFA 0x0001/00AB/0, FW 7, NaloI/CardI/PortI/SubI 0"},
      // A version without its NUL is read no further than its slot.
      {0x15B3, 0x1017, 0xFFFF, std::string(32, 'V'),
       "\r\n_VID/DID/PFA 0x15B3/1017/FFFF, FW " + std::string(60 - 36, 'V')},
  };
  for (const auto &Case : Cases) {
    const size_t Before = Requests().size();
    FUNCTION_SETTINGS Settings{};
    Settings.VendorId = Case.VendorId;
    Settings.DeviceId = Case.DeviceId;
    Settings.PciAddress = Case.PciAddress;
    std::memcpy(Settings.FirmwareVersion[0], Case.Firmware.data(), Case.Firmware.size());
    LogClpDialogue(&Settings, nullptr, nullptr);
    ASSERT_EQ(Case.Header.size(), 60u);
    ASSERT_EQ(Requests().size(), Before + 3);
    EXPECT_EQ(Requests()[Before + 1].Data, LogMessage(Case.Header));
  }
}

TEST_F(ClpDialogueLog, MissingTextsAreSkippedButBannersAndHeaderGoOut) {
  FUNCTION_SETTINGS Settings = KnownRecord();
  LogClpDialogue(&Settings, nullptr, ASTR("ok"));
  const std::vector<std::string> Texts = LoggedTexts();
  ASSERT_EQ(Texts.size(), 4u);
  EXPECT_EQ(Texts[0], kRequestBanner);
  EXPECT_EQ(Texts[2], kResponseBanner);
  EXPECT_EQ(Texts[3], "ok");
}

TEST_F(ClpDialogueLog, EmptyRequestIsOneEmptyMessage) {
  FUNCTION_SETTINGS Settings = KnownRecord();
  LogClpDialogue(&Settings, ASTR(""), nullptr);
  ASSERT_EQ(Requests().size(), 4u);
  EXPECT_EQ(Requests()[2].Data, LogMessage(""));
}

TEST_F(ClpDialogueLog, FailedMessagesDoNotStopTheDialogue) {
  ScriptAttempts(3 * 5, EFI_DEVICE_ERROR, 0xFF);
  FUNCTION_SETTINGS Settings = KnownRecord();
  LogClpDialogue(&Settings, ASTR("a"), ASTR("b"));
  // Five texts, each tried three times by the transport.
  ASSERT_EQ(Requests().size(), 15u);
  EXPECT_EQ(Requests()[14].Data, LogMessage("b"));
}

TEST_F(ClpDialogueLog, NoTransportMeansNothingIsSentAndNothingBreaks) {
  Fw().RemoveIpmi();
  FUNCTION_SETTINGS Settings = KnownRecord();
  LogClpDialogue(&Settings, ASTR("a"), ASTR("b"));
  EXPECT_TRUE(Requests().empty());
  EXPECT_EQ(TransportLookups(), 5u) << "looked for again at every message";
}

} // namespace
