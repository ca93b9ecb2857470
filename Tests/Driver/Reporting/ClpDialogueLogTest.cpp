// The CLP dialogue log: one message's layout, and the bytes of a whole dialogue cut into messages.
#include "ModuleState.h"
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
  EXPECT_EQ(std::string((const char *)mModule.Reporting.mClpLogHeader), Header);
}

// A text goes out in 61-character pieces, the last one with the remainder, and at most 68 of them.
TEST_F(ClpDialogueLog, TextsAreCutIntoPiecesOf61) {
  const struct {
    size_t Length;
    size_t Messages;
    size_t LastLength;
  } Cases[] = {{0, 1, 0}, {1, 1, 1}, {61, 1, 61}, {62, 2, 1}, {122, 2, 61}, {5000, 68, 61}};
  size_t Sent = 0;
  for (const auto &Case : Cases) {
    const std::string Text = PatternText(Case.Length);
    SendClpLogChunks(ASTR(Text.c_str()));
    const std::vector<fake::Event> Requests = this->Requests();
    ASSERT_EQ(Requests.size() - Sent, Case.Messages) << Case.Length;
    for (size_t Piece = 0; Piece < Case.Messages; Piece++) {
      const size_t Length = Piece + 1 < Case.Messages ? 61 : Case.LastLength;
      EXPECT_EQ(Requests[Sent + Piece].Data, LogMessage(Text.substr(Piece * 61, Length))) << Case.Length;
    }
    Sent = Requests.size();
  }
  SendClpLogChunks(nullptr);
  UINT8 CompletionCode = 0x55;
  EXPECT_EQ(SendClpLogText(Fw().SystemTable(), nullptr, &CompletionCode), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Requests().size(), Sent);
  EXPECT_EQ(CompletionCode, 0x55);
}

TEST_F(ClpDialogueLog, FailedMessagesDoNotStopTheDialogue) {
  ScriptAttempts(3 * 5, EFI_DEVICE_ERROR, 0xFF);
  FUNCTION_SETTINGS Settings = KnownRecord();
  LogClpDialogue(&Settings, ASTR("a"), ASTR("b"));
  // Five texts, each tried three times by the transport.
  ASSERT_EQ(Requests().size(), 15u);
  EXPECT_EQ(Requests()[14].Data, LogMessage("b"));
}

} // namespace
