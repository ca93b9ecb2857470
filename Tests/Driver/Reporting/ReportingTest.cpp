// Reporting to the management controller: IPMI transport retry and lookup, the bytes of the CLP
// dialogue log, and the status codes of failed commands. The integration tests pin one whole
// failed-command dialogue; these tests pin the framing, the limits and each selection rule.
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "Reporting/Reporting.h"
#include "Library/UefiBootServicesTableLib.h"

namespace {

struct IpmiRequest {
  UINT8 NetFunction, Lun, Command;
  std::vector<UINT8> Data;
  UINT8 ResponseCapacity; // *ResponseDataSize on entry
  const UINT8 *DataPointer;
  const UINT8 *ResponsePointer;
};

struct IpmiAnswer {
  EFI_STATUS Status;
  UINT8 CompletionCode;
};

struct StatusCodeReport {
  EFI_STATUS_CODE_TYPE Type;
  EFI_STATUS_CODE_VALUE Value;
  UINT32 Instance;
  EFI_GUID CallerId;
  bool HasData;
  // The fields of the packed data header, copied out so no test reads them misaligned.
  UINT16 DataHeaderSize, DataSize;
  EFI_GUID DataType;
};

// A scriptable transport that records every request, a status-code service that records every
// report, and boot services whose LocateProtocol hands them out. One at a time.
struct FakePlatform;
FakePlatform *gFake = nullptr;

struct FakePlatform {
  IPMI_TRANSPORT_PROTOCOL Transport{};
  EFI_STATUS_CODE_RUNTIME_PROTOCOL StatusCode{};
  EFI_BOOT_SERVICES BootServices{};
  EFI_SYSTEM_TABLE SystemTable{};
  bool TransportInstalled = true, TransportInstalledAsNull = false, StatusCodeInstalled = true;
  unsigned TransportLookups = 0;
  // Answers in order; once they run out every request completes with 0x00 and EFI_SUCCESS.
  std::deque<IpmiAnswer> Answers;
  std::vector<IpmiRequest> Requests;
  std::vector<StatusCodeReport> Reports;

  FakePlatform() : SavedST(gST), SavedBS(gBS) {
    Transport.SendIpmiCommand = SendIpmiCommand;
    StatusCode.ReportStatusCode = ReportStatusCode;
    BootServices.LocateProtocol = LocateProtocol;
    SystemTable.BootServices = &BootServices;
    gFake = this;
    ResetModuleState();
    gST = &SystemTable;
    gBS = &BootServices;
  }
  ~FakePlatform() {
    gST = SavedST;
    gBS = SavedBS;
    gFake = nullptr;
    ResetModuleState();
  }
  FakePlatform(const FakePlatform &) = delete;
  FakePlatform &operator=(const FakePlatform &) = delete;

  void Script(std::initializer_list<UINT8> CompletionCodes) {
    for (UINT8 Code : CompletionCodes) {
      Answers.push_back({EFI_SUCCESS, Code});
    }
  }

private:
  EFI_SYSTEM_TABLE *SavedST;
  EFI_BOOT_SERVICES *SavedBS;

  static EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun,
                                           UINT8 Command, UINT8 *CommandData, UINT8 CommandDataSize,
                                           UINT8 *ResponseData, UINT8 *ResponseDataSize) {
    FakePlatform *Fake = gFake;
    EXPECT_EQ(This, &Fake->Transport) << "transport called with a foreign instance";
    Fake->Requests.push_back({NetFunction,
                              Lun,
                              Command,
                              {CommandData, CommandData + CommandDataSize},
                              *ResponseDataSize,
                              CommandData,
                              ResponseData});
    IpmiAnswer Answer{EFI_SUCCESS, 0x00};
    if (!Fake->Answers.empty()) {
      Answer = Fake->Answers.front();
      Fake->Answers.pop_front();
    }
    // Scribble a full response over the caller's buffer and report it, as a real controller
    // would; the next attempt must still send the original request with the full capacity.
    for (UINT8 Index = 0; Index < *ResponseDataSize; Index++) {
      ResponseData[Index] = (UINT8)(0xE0 + Index);
    }
    *ResponseDataSize = 1;
    Fake->Transport.LastCompletionCode = Answer.CompletionCode;
    return Answer.Status;
  }

  static EFI_STATUS EFIAPI ReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                            UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
    StatusCodeReport Report{Type, Value, Instance, {}, Data != nullptr, 0, 0, {}};
    if (CallerId != nullptr) {
      Report.CallerId = *CallerId;
    }
    if (Data != nullptr) {
      EFI_STATUS_CODE_DATA Header;
      std::memcpy(&Header, Data, sizeof(Header));
      Report.DataHeaderSize = Header.HeaderSize;
      Report.DataSize = Header.Size;
      std::memcpy(&Report.DataType, &Header.Type, sizeof(EFI_GUID));
    }
    gFake->Reports.push_back(Report);
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI LocateProtocol(EFI_GUID *Protocol, VOID *, VOID **Interface) {
    static const EFI_GUID IpmiGuid = IPMI_TRANSPORT_PROTOCOL_GUID;
    static const EFI_GUID StatusCodeGuid = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;
    FakePlatform *Fake = gFake;
    *Interface = nullptr;
    if (std::memcmp(Protocol, &IpmiGuid, sizeof(EFI_GUID)) == 0) {
      Fake->TransportLookups++;
      if (Fake->TransportInstalledAsNull) {
        return EFI_SUCCESS;
      }
      if (Fake->TransportInstalled) {
        *Interface = &Fake->Transport;
        return EFI_SUCCESS;
      }
    }
    if (std::memcmp(Protocol, &StatusCodeGuid, sizeof(EFI_GUID)) == 0 && Fake->StatusCodeInstalled) {
      *Interface = &Fake->StatusCode;
      return EFI_SUCCESS;
    }
    return EFI_NOT_FOUND;
  }
};

// The bytes of one OEM log message carrying Text: enterprise number 10368 (LSB first), the text
// sub-function 0x0C, the length, the characters.
std::vector<UINT8> LogMessage(const std::string &Text) {
  std::vector<UINT8> Bytes = {0x80, 0x28, 0x00, 0x0C, (UINT8)Text.size()};
  Bytes.insert(Bytes.end(), Text.begin(), Text.end());
  return Bytes;
}

// Text whose every 61-character piece is distinguishable from its neighbours.
std::string PatternText(size_t Length) {
  std::string Text;
  for (size_t Index = 0; Index < Length; Index++) {
    Text.push_back((char)('!' + (Index * 7 + Index / 61) % 90));
  }
  return Text;
}

// --- IPMI transport ----------------------------------------------------------------------------

// Busy (0xC0), no response (0xCE) and unspecified (0xFF) are retried, at most three attempts in
// all; every other code is final, whatever the transport status says.
TEST(IpmiTransport, RetriesIdenticalRequestsWhileTheCodeAsksForIt) {
  const struct {
    const char *Name;
    std::vector<IpmiAnswer> Answers;
    size_t Attempts;
    EFI_STATUS Status;
    UINT8 CompletionCode;
  } Cases[] = {
      {"busy twice then done",
       {{EFI_DEVICE_ERROR, 0xC0}, {EFI_DEVICE_ERROR, 0xC0}, {EFI_SUCCESS, 0x00}},
       3,
       EFI_SUCCESS,
       0x00},
      {"invalid command is final", {{EFI_DEVICE_ERROR, 0xC1}}, 1, EFI_DEVICE_ERROR, 0xC1},
      {"transport error with success code is final", {{EFI_TIMEOUT, 0x00}}, 1, EFI_TIMEOUT, 0x00},
      {"three retryable codes return the third",
       {{EFI_SUCCESS, 0xCE}, {EFI_SUCCESS, 0xFF}, {EFI_NOT_READY, 0xC0}, {EFI_SUCCESS, 0x00}},
       3,
       EFI_NOT_READY,
       0xC0},
      {"neighbour code is final", {{EFI_SUCCESS, 0xCF}}, 1, EFI_SUCCESS, 0xCF},
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Name);
    FakePlatform Fake;
    Fake.Answers.assign(Case.Answers.begin(), Case.Answers.end());
    mModule.mIpmiTransport = &Fake.Transport;
    UINT8 Request[] = {0x11, 0x22, 0x33, 0x44};
    UINT8 Response[8] = {};
    UINT8 ResponseSize = sizeof(Response);
    UINT8 CompletionCode = 0x55;
    EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 0x2E, 1, 0xF5, Request, sizeof(Request), Response, &ResponseSize,
                                  &CompletionCode),
              Case.Status);
    EXPECT_EQ(CompletionCode, Case.CompletionCode);
    ASSERT_EQ(Fake.Requests.size(), Case.Attempts);
    for (const IpmiRequest &Sent : Fake.Requests) {
      EXPECT_EQ(Sent.NetFunction, 0x2E);
      EXPECT_EQ(Sent.Lun, 1);
      EXPECT_EQ(Sent.Command, 0xF5);
      EXPECT_EQ(Sent.Data, (std::vector<UINT8>{0x11, 0x22, 0x33, 0x44}));
      EXPECT_EQ(Sent.ResponseCapacity, 8) << "capacity restored before every attempt";
      EXPECT_EQ(Sent.ResponsePointer, Response);
    }
    EXPECT_EQ(ResponseSize, 1) << "the size the transport reported for the last attempt";
  }
}

TEST(IpmiTransport, RetriesSendTheOriginalRequestWhenItsBufferReceivesTheResponse) {
  FakePlatform Fake;
  Fake.Script({0xC0, 0xC0, 0x00});
  mModule.mIpmiTransport = &Fake.Transport;
  UINT8 Buffer[6] = {1, 2, 3, 4, 5, 6};
  UINT8 Size = 3;
  // No completion-code pointer: accepted.
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 0x2E, 0, 0xF5, Buffer, sizeof(Buffer), Buffer, &Size, nullptr),
            EFI_SUCCESS);
  ASSERT_EQ(Fake.Requests.size(), 3u);
  for (const IpmiRequest &Sent : Fake.Requests) {
    EXPECT_EQ(Sent.Data, (std::vector<UINT8>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Sent.ResponseCapacity, 3);
    EXPECT_NE(Sent.DataPointer, Buffer) << "sent from the private copy";
  }
}

TEST(IpmiTransport, RequestSizesAtTheLimits) {
  for (UINT8 Size : {UINT8{0}, UINT8{1}, UINT8{255}}) {
    FakePlatform Fake;
    mModule.mIpmiTransport = &Fake.Transport;
    UINT8 Request[255];
    for (unsigned Index = 0; Index < sizeof(Request); Index++) {
      Request[Index] = (UINT8)(Index ^ 0x5A);
    }
    UINT8 ResponseSize = 0;
    EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, Size, nullptr, &ResponseSize, nullptr),
              EFI_SUCCESS);
    ASSERT_EQ(Fake.Requests.size(), 1u) << "size " << unsigned(Size);
    EXPECT_EQ(Fake.Requests[0].Data, std::vector<UINT8>(Request, Request + Size));
  }
}

// Without a transport: no system table is an invalid parameter without a lookup; a failed lookup
// (absent, or installed as NULL) is "not found", leaves nothing behind and stores no code.
TEST(IpmiTransport, LookupFailures) {
  const struct {
    bool WithSystemTable, Installed, InstalledAsNull;
    EFI_STATUS Status;
    unsigned Lookups;
  } Cases[] = {{false, true, false, EFI_INVALID_PARAMETER, 0},
               {true, false, false, EFI_NOT_FOUND, 1},
               {true, true, true, EFI_NOT_FOUND, 1}};
  for (const auto &Case : Cases) {
    FakePlatform Fake;
    Fake.TransportInstalled = Case.Installed;
    Fake.TransportInstalledAsNull = Case.InstalledAsNull;
    UINT8 Request[] = {7};
    UINT8 ResponseSize = 1;
    UINT8 CompletionCode = 0x55;
    EXPECT_EQ(hxIpmiSendCommandCc(Case.WithSystemTable ? &Fake.SystemTable : nullptr, 6, 0, 1, Request, 1,
                                  Request, &ResponseSize, &CompletionCode),
              Case.Status);
    EXPECT_EQ(CompletionCode, 0x55);
    EXPECT_EQ(Fake.TransportLookups, Case.Lookups);
    EXPECT_TRUE(Fake.Requests.empty());
    EXPECT_EQ(mModule.mIpmiTransport, nullptr);
  }
}

TEST(IpmiTransport, TransportFoundOnceIsKeptForTheBoot) {
  {
    FakePlatform Fake;
    UINT8 Request[] = {7};
    UINT8 ResponseSize = 1;
    EXPECT_EQ(hxIpmiSendCommandCc(&Fake.SystemTable, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr),
              EFI_SUCCESS);
    EXPECT_EQ(mModule.mIpmiTransport, &Fake.Transport);
    // Known now: no system table is needed any more, and no second lookup happens.
    EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr),
              EFI_SUCCESS);
    EXPECT_EQ(Fake.TransportLookups, 1u);
    EXPECT_EQ(Fake.Requests.size(), 2u);
  }
  // The constructor looks once and does not mind an absent transport.
  for (bool Installed : {false, true}) {
    FakePlatform Fake;
    Fake.TransportInstalled = Installed;
    EXPECT_EQ(IpmiTransportLibConstructor(nullptr, &Fake.SystemTable), EFI_SUCCESS);
    EXPECT_EQ(mModule.mIpmiTransport, Installed ? &Fake.Transport : nullptr);
    EXPECT_EQ(Fake.TransportLookups, 1u);
  }
}

// --- CLP dialogue log --------------------------------------------------------------------------

TEST(ClpDialogueLog, OneMessageFraming) {
  FakePlatform Fake;
  UINT8 CompletionCode = 0x55;
  Fake.Script({0xC1});
  EXPECT_EQ(SendClpLogText(&Fake.SystemTable, ASTR("show"), &CompletionCode), EFI_SUCCESS);
  EXPECT_EQ(CompletionCode, 0xC1);
  const std::string Long = PatternText(100);
  SendClpLogText(&Fake.SystemTable, ASTR(Long.c_str()), nullptr);
  ASSERT_EQ(Fake.Requests.size(), 2u);
  const IpmiRequest &Sent = Fake.Requests[0];
  EXPECT_EQ(Sent.NetFunction, 0x2E);
  EXPECT_EQ(Sent.Lun, 0);
  EXPECT_EQ(Sent.Command, 0xF5);
  EXPECT_EQ(Sent.ResponseCapacity, 3);
  EXPECT_EQ(Sent.Data, (std::vector<UINT8>{0x80, 0x28, 0x00, 0x0C, 4, 's', 'h', 'o', 'w'}));
  EXPECT_EQ(Fake.Requests[1].Data, LogMessage(Long.substr(0, 61))) << "one message takes 61 characters";
}

// Texts go out in 61-character pieces, at most 68 of them; the empty text is one empty message.
TEST(ClpDialogueLog, ChunksOf61UpTo68Messages) {
  const struct {
    size_t Length, FullPieces, LastPiece;
  } Cases[] = {{0, 0, 0},     {61, 1, 0},    {62, 1, 1},   {4147, 67, 60},
               {4148, 68, 0}, {4149, 68, 0}, {5000, 68, 0}};
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Length);
    FakePlatform Fake;
    const std::string Text = PatternText(Case.Length);
    SendClpLogChunks(ASTR(Text.c_str()));
    std::vector<std::vector<UINT8>> Expected;
    for (size_t Index = 0; Index < Case.FullPieces; Index++) {
      Expected.push_back(LogMessage(Text.substr(61 * Index, 61)));
    }
    if (Case.LastPiece != 0 || Case.Length == 0) {
      Expected.push_back(LogMessage(Text.substr(61 * Case.FullPieces, Case.LastPiece)));
    }
    std::vector<std::vector<UINT8>> Sent;
    for (const IpmiRequest &Request : Fake.Requests) {
      Sent.push_back(Request.Data);
    }
    EXPECT_EQ(Sent, Expected);
  }
  FakePlatform Fake;
  SendClpLogChunks(nullptr);
  EXPECT_TRUE(Fake.Requests.empty());
}

// The header's "\n" is formatted as "\r\n", hexadecimal is upper case without leading zeros for
// the PCI address, and the line is cut after 60 characters.
TEST(ClpDialogueLog, HeaderVariants) {
  const struct {
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
    FakePlatform Fake;
    FUNCTION_SETTINGS Settings{};
    Settings.VendorId = Case.VendorId;
    Settings.DeviceId = Case.DeviceId;
    Settings.PciAddress = Case.PciAddress;
    std::memcpy(Settings.FirmwareVersion[0], Case.Firmware.data(), Case.Firmware.size());
    LogClpDialogue(&Settings, nullptr, nullptr);
    ASSERT_EQ(Case.Header.size(), 60u);
    ASSERT_EQ(Fake.Requests.size(), 3u) << "banners and header; missing texts are skipped";
    EXPECT_EQ(Fake.Requests[1].Data, LogMessage(Case.Header));
  }
}

TEST(ClpDialogueLog, FailedMessagesDoNotStopTheDialogue) {
  FakePlatform Fake;
  for (int Index = 0; Index < 3 * 5; Index++) {
    Fake.Answers.push_back({EFI_DEVICE_ERROR, 0xFF});
  }
  FUNCTION_SETTINGS Settings{};
  LogClpDialogue(&Settings, ASTR("a"), ASTR("b"));
  // Five texts, each tried three times by the transport.
  ASSERT_EQ(Fake.Requests.size(), 15u);
  EXPECT_EQ(Fake.Requests[14].Data, LogMessage("b"));
}

TEST(ClpDialogueLog, NoTransportIsLookedForAgainAtEveryMessage) {
  FakePlatform Fake;
  Fake.TransportInstalled = false;
  LogClpDialogue(nullptr, ASTR("a"), ASTR("b"));
  EXPECT_TRUE(Fake.Requests.empty());
  EXPECT_EQ(Fake.TransportLookups, 4u) << "no record: no header";
}

// --- Status codes ------------------------------------------------------------------------------

// Value: 0x03808010 + 2 (processing failed), + 4 (processing failed with 0xF7), + 6 (execution
// failed), + 0 otherwise; the second report (+1) only with an aux location. Instance bytes: the
// selection byte, then PCI bus and device/function, or the aux location in the third byte.
TEST(StatusCodes, SelectionAndInstanceBytes) {
  const struct {
    UINT8 CmdStatus, ErrorValue;
    UINT16 PciAddress;
    UINT8 AuxLocation;
    std::vector<std::pair<UINT32, UINT32>> Codes;
  } Cases[] = {
      {2, 0xF7, 0x3A01, 0, {{0x03808014, 0x00013AA6}}},
      {2, 0xF6, 0x0300, 0, {{0x03808012, 0x000003A5}}},
      {2, 0x00, 0x0300, 0x80, {{0x03808012, 0x000003A5}, {0x03808013, 0x008000A5}}},
      {3, 0xF7, 0x1234, 0xFF, {{0x03808016, 0x003412A7}, {0x03808017, 0x00FF00A7}}},
      {1, 0, 0x3A01, 0, {{0x03808010, 0x00013AA4}}},
      {0xFF, 0xF7, 0xFFFF, 1, {{0x03808010, 0x00FFFFA4}, {0x03808011, 0x000100A4}}},
      {0, 0xF7, 0x3A01, 5, {}}, // completed: nothing to report
  };
  const EFI_GUID CallerId = {0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};
  const EFI_GUID SpecificData = {
      0x335984BD, 0xE805, 0x409A, {0xB8, 0xF8, 0xD2, 0x7E, 0xCE, 0x5F, 0xF7, 0xA6}};
  for (const auto &Case : Cases) {
    SCOPED_TRACE(testing::Message() << int(Case.CmdStatus) << "/" << int(Case.ErrorValue));
    FakePlatform Fake;
    FUNCTION_SETTINGS Settings{};
    Settings.PciAddress = Case.PciAddress;
    Settings.AuxLocation = Case.AuxLocation;
    Settings.ErrorFlags = 0x80;
    ReportClpFailure(&Settings, Case.CmdStatus, Case.ErrorValue);
    ASSERT_EQ(Fake.Reports.size(), Case.Codes.size());
    for (size_t Index = 0; Index < Case.Codes.size(); Index++) {
      const StatusCodeReport &Report = Fake.Reports[Index];
      EXPECT_EQ(Report.Type, 0x80000002u);
      EXPECT_EQ(Report.Value, Case.Codes[Index].first) << "report " << Index;
      EXPECT_EQ(Report.Instance, Case.Codes[Index].second) << "report " << Index;
      EXPECT_EQ(std::memcmp(&Report.CallerId, &CallerId, sizeof(EFI_GUID)), 0);
      ASSERT_TRUE(Report.HasData);
      EXPECT_EQ(Report.DataHeaderSize, 20);
      EXPECT_EQ(Report.DataSize, 0) << "no extended data";
      EXPECT_EQ(std::memcmp(&Report.DataType, &SpecificData, sizeof(EFI_GUID)), 0);
    }
    EXPECT_EQ(Settings.ErrorFlags, Case.CmdStatus == 0 ? 0x80 : 0x81);
  }
  // The flag is set even without a status-code service.
  FakePlatform Fake;
  Fake.StatusCodeInstalled = false;
  FUNCTION_SETTINGS Settings{};
  ReportClpFailure(&Settings, 2, 0);
  EXPECT_TRUE(Fake.Reports.empty());
  EXPECT_EQ(Settings.ErrorFlags, ERROR_FLAG_ERROR_REPORTED);
}

} // namespace
