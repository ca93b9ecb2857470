// The IPMI transport: retry rule, request copy, capacity handling and the protocol lookup.
#include "ModuleState.h"
#include "Driver/Reporting/ReportingTest.h"

namespace {

struct IpmiAnswer {
  EFI_STATUS Status;
  UINT8 CompletionCode;
};

struct RetryCase {
  const char *Name;
  std::vector<IpmiAnswer> Answers;
  size_t ExpectedAttempts;
  EFI_STATUS ExpectedStatus;
  UINT8 ExpectedCompletionCode;
};

class IpmiRetryTest : public ReportingTest, public ::testing::WithParamInterface<RetryCase> {};

TEST_P(IpmiRetryTest, SendsIdenticalRequestsUntilTheCodeIsFinal) {
  const RetryCase &Case = GetParam();
  for (const IpmiAnswer &Answer : Case.Answers) {
    Fw().ScriptIpmiStatuses({Answer.Status});
    Fw().ScriptIpmiCompletionCodes({Answer.CompletionCode});
    Fw().ScriptIpmiResponse({0xE0}); // a one-byte answer shrinks the caller's size every time
  }
  mModule.Reporting.mIpmiTransport = Fw().IpmiProtocol();

  UINT8 Request[] = {0x11, 0x22, 0x33, 0x44};
  UINT8 Response[8] = {};
  UINT8 ResponseSize = sizeof(Response);
  UINT8 CompletionCode = 0x55;
  EFI_STATUS Status = hxIpmiSendCommandCc(nullptr, 0x2E, 1, 0xF5, Request, sizeof(Request), Response,
                                          &ResponseSize, &CompletionCode);

  EXPECT_EQ(Status, Case.ExpectedStatus);
  EXPECT_EQ(CompletionCode, Case.ExpectedCompletionCode);
  ASSERT_EQ(Requests().size(), Case.ExpectedAttempts);
  for (const fake::Event &Sent : Requests()) {
    EXPECT_EQ(std::vector<unsigned>({Sent.NetFn, Sent.Lun, Sent.Command}),
              std::vector<unsigned>({0x2E, 1, 0xF5}));
    EXPECT_EQ(Sent.Data, (std::vector<UINT8>{0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(Sent.ResponseCapacity, 8) << "capacity restored before every attempt";
  }
  EXPECT_EQ(Response[0], 0xE0);
  EXPECT_EQ(ResponseSize, 1) << "the size the transport reported for the last attempt";
}

INSTANTIATE_TEST_SUITE_P(
    CompletionCodes, IpmiRetryTest,
    ::testing::Values(RetryCase{
        "ThreeRetryableCodesReturnTheThird",
        {{EFI_SUCCESS, 0xCE}, {EFI_SUCCESS, 0xFF}, {EFI_NOT_READY, 0xC0}, {EFI_SUCCESS, 0x00}},
        3,
        EFI_NOT_READY,
        0xC0}),
    [](const ::testing::TestParamInfo<RetryCase> &Info) { return std::string(Info.param.Name); });

// Arguments and the protocol lookup. Every row starts with no transport cached and a stale private
// copy, which must be cleared beyond the request.
enum class Platform { Transport, TransportWithoutInstance, NoBootServices };

struct SendCase {
  const char *Name;
  Platform Setup;
  std::vector<UINT8> Request; // passed as a null pointer when empty
  UINT8 Size;
  EFI_STATUS ExpectedStatus;
  bool ExpectSent;
};

class IpmiSendTest : public ReportingTest, public ::testing::WithParamInterface<SendCase> {};

TEST_P(IpmiSendTest, ChecksArgumentsAndLooksTheTransportUp) {
  const SendCase &Case = GetParam();
  EFI_SYSTEM_TABLE Table = *Fw().SystemTable();
  if (Case.Setup == Platform::TransportWithoutInstance) {
    Fw().RemoveIpmi();
    EFI_HANDLE Handle = nullptr;
    ASSERT_EQ(Fw().InstallProtocol(&Handle, gIpmiTransportProtocolGuid, nullptr), EFI_SUCCESS);
  }
  if (Case.Setup == Platform::NoBootServices) {
    Table.BootServices = nullptr;
  }
  std::memset(mModule.Reporting.mIpmiRequestCopy, 0xEE, sizeof(mModule.Reporting.mIpmiRequestCopy));
  std::vector<UINT8> Request = Case.Request;
  UINT8 Response[3] = {};
  UINT8 ResponseSize = sizeof(Response);
  UINT8 CompletionCode = 0x55;
  EXPECT_EQ(hxIpmiSendCommandCc(&Table, 0x2E, 0, 0xF5, Request.empty() ? nullptr : Request.data(), Case.Size,
                                Response, &ResponseSize, &CompletionCode),
            Case.ExpectedStatus);
  if (!Case.ExpectSent) {
    EXPECT_TRUE(Requests().empty());
    EXPECT_EQ(CompletionCode, 0x55);
    return;
  }
  ASSERT_EQ(Requests().size(), 1u);
  EXPECT_EQ(Requests()[0].Data, Case.Request);
  EXPECT_EQ(CompletionCode, 0x00);
  EXPECT_EQ(mModule.Reporting.mIpmiTransport, Fw().IpmiProtocol());
  for (size_t Index = Case.Request.size(); Index < sizeof(mModule.Reporting.mIpmiRequestCopy); Index++) {
    ASSERT_EQ(mModule.Reporting.mIpmiRequestCopy[Index], 0) << Index;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, IpmiSendTest,
    ::testing::Values(
        SendCase{"OneByte", Platform::Transport, {0x42}, 1, EFI_SUCCESS, true},
        SendCase{"Empty", Platform::Transport, {}, 0, EFI_SUCCESS, true},
        SendCase{"NullDataWithASize", Platform::Transport, {}, 2, EFI_INVALID_PARAMETER, false},
        SendCase{
            "TransportWithoutInstance", Platform::TransportWithoutInstance, {1}, 1, EFI_NOT_FOUND, false},
        SendCase{"NoBootServices", Platform::NoBootServices, {1}, 1, EFI_INVALID_PARAMETER, false}),
    [](const ::testing::TestParamInfo<SendCase> &Info) { return std::string(Info.param.Name); });

using IpmiTransport = ReportingTest;

// The trace of a repeated attempt, printed only once the mask lets DEBUG_INFO through.
TEST_F(IpmiTransport, RepeatedAttemptsLeaveATraceAtInfoLevel) {
  struct InfoLevel {
    InfoLevel() { HostSetDebugPrintErrorLevel(DEBUG_PRINT_ERROR_LEVEL | DEBUG_INFO); }
    ~InfoLevel() { HostSetDebugPrintErrorLevel(DEBUG_PRINT_ERROR_LEVEL); }
  } Level;
  ScriptAttempts(2, EFI_DEVICE_ERROR, 0xC0);
  mModule.Reporting.mIpmiTransport = Fw().IpmiProtocol();
  UINT8 Request[] = {0x11, 0x02};
  UINT8 ResponseSize = 0;
  hxIpmiSendCommandCc(nullptr, 0x2E, 5, 0xF5, Request, sizeof(Request), nullptr, &ResponseSize, nullptr);
  const std::string Attempt = "hxIpmiSendCommandCc(): iQSP returned with Status 'Device Error' CC = 0xC0\r\n"
                              "                       IPMI Cmd: B9 F5 11 02  -- remaining Retries ";
  EXPECT_EQ(Fw().SerialOutput(), Attempt + "2\r\n" + Attempt + "1\r\n");
}

TEST_F(IpmiTransport, UnknownTransportWithoutSystemTableIsAnInvalidParameter) {
  UINT8 Request[] = {7};
  UINT8 ResponseSize = 1;
  UINT8 CompletionCode = 0x55;
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, &CompletionCode),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(CompletionCode, 0x55);
  EXPECT_EQ(TransportLookups(), 0u);
  EXPECT_TRUE(Requests().empty());
}

} // namespace
