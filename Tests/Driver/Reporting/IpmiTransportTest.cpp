// The IPMI transport: retry rule, request copy, capacity handling and the protocol lookup.
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
  mModule.mIpmiTransport = Fw().IpmiProtocol();

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
    ::testing::Values(
        RetryCase{"BusyTwiceThenDone",
                  {{EFI_DEVICE_ERROR, 0xC0}, {EFI_DEVICE_ERROR, 0xC0}, {EFI_SUCCESS, 0x00}},
                  3,
                  EFI_SUCCESS,
                  0x00},
        RetryCase{"InvalidCommandIsFinal", {{EFI_DEVICE_ERROR, 0xC1}}, 1, EFI_DEVICE_ERROR, 0xC1},
        RetryCase{"TransportErrorWithSuccessCodeIsFinal", {{EFI_TIMEOUT, 0x00}}, 1, EFI_TIMEOUT, 0x00},
        RetryCase{
            "UnspecifiedErrorThenDone", {{EFI_SUCCESS, 0xFF}, {EFI_SUCCESS, 0x00}}, 2, EFI_SUCCESS, 0x00},
        RetryCase{"ThreeRetryableCodesReturnTheThird",
                  {{EFI_SUCCESS, 0xCE}, {EFI_SUCCESS, 0xFF}, {EFI_NOT_READY, 0xC0}, {EFI_SUCCESS, 0x00}},
                  3,
                  EFI_NOT_READY,
                  0xC0},
        RetryCase{"NeighbourCodesAreFinal", {{EFI_SUCCESS, 0xCF}}, 1, EFI_SUCCESS, 0xCF}),
    [](const ::testing::TestParamInfo<RetryCase> &Info) { return std::string(Info.param.Name); });

using IpmiTransport = ReportingTest;

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
