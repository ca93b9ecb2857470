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

TEST_F(IpmiTransport, RetriesSendTheOriginalRequestWhenItsBufferReceivesTheResponse) {
  Fw().ScriptIpmiCompletionCodes({0xC0, 0xC0, 0x00});
  for (int Attempt = 0; Attempt < 3; Attempt++) {
    Fw().ScriptIpmiResponse({0xE0, 0xE1, 0xE2});
  }
  mModule.mIpmiTransport = Fw().IpmiProtocol();

  UINT8 Buffer[6] = {1, 2, 3, 4, 5, 6};
  UINT8 Size = 3;
  hxIpmiSendCommandCc(nullptr, 0x2E, 0, 0xF5, Buffer, sizeof(Buffer), Buffer, &Size, nullptr);

  ASSERT_EQ(Requests().size(), 3u);
  for (const fake::Event &Sent : Requests()) {
    EXPECT_EQ(Sent.Data, (std::vector<UINT8>{1, 2, 3, 4, 5, 6})) << "sent from the private copy";
    EXPECT_EQ(Sent.ResponseCapacity, 3);
  }
  EXPECT_EQ(Buffer[0], 0xE0);
}

TEST_F(IpmiTransport, RequestSizesAtTheLimits) {
  mModule.mIpmiTransport = Fw().IpmiProtocol();
  for (UINT8 Size : {UINT8{0}, UINT8{1}, UINT8{255}}) {
    const size_t Before = Requests().size();
    UINT8 Request[255];
    for (unsigned Index = 0; Index < sizeof(Request); Index++) {
      Request[Index] = (UINT8)(Index ^ 0x5A);
    }
    UINT8 ResponseSize = 0;
    EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, Size, nullptr, &ResponseSize, nullptr),
              EFI_SUCCESS);
    ASSERT_EQ(Requests().size(), Before + 1) << "size " << unsigned(Size);
    EXPECT_EQ(Requests().back().Data, std::vector<UINT8>(Request, Request + Size));
  }
  UINT8 ResponseSize = 0;
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, nullptr, 0, nullptr, &ResponseSize, nullptr), EFI_SUCCESS)
      << "no request data is needed for an empty request";
  ASSERT_EQ(Requests().size(), 4u);
  EXPECT_TRUE(Requests().back().Data.empty());
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

TEST_F(IpmiTransport, LookupFailuresSendNothingAndStoreNoCode) {
  Fw().RemoveIpmi();
  for (bool InstalledAsNull : {false, true}) {
    if (InstalledAsNull) { // a transport handle whose interface pointer is NULL
      EFI_HANDLE Handle = nullptr;
      ASSERT_EQ(Fw().InstallProtocol(&Handle, EFI_GUID IPMI_TRANSPORT_PROTOCOL_GUID, nullptr), EFI_SUCCESS);
    }
    UINT8 Request[] = {7};
    UINT8 ResponseSize = 1;
    UINT8 CompletionCode = 0x55;
    EXPECT_EQ(
        hxIpmiSendCommandCc(Fw().SystemTable(), 6, 0, 1, Request, 1, Request, &ResponseSize, &CompletionCode),
        EFI_NOT_FOUND);
    EXPECT_EQ(CompletionCode, 0x55);
    EXPECT_TRUE(Requests().empty());
    EXPECT_EQ(mModule.mIpmiTransport, nullptr);
  }
}

TEST_F(IpmiTransport, TransportFoundOnFirstUseIsKeptForTheBoot) {
  UINT8 Request[] = {7};
  UINT8 ResponseSize = 1;
  EXPECT_EQ(hxIpmiSendCommandCc(Fw().SystemTable(), 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(mModule.mIpmiTransport, Fw().IpmiProtocol());
  // Known now: no system table is needed any more, and no second lookup happens.
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr), EFI_SUCCESS);
  EXPECT_EQ(TransportLookups(), 1u);
  EXPECT_EQ(Requests().size(), 2u);
}

TEST_F(IpmiTransport, ConstructorLocatesOnceAndIgnoresAbsence) {
  Fw().RemoveIpmi();
  EXPECT_EQ(IpmiTransportLibConstructor(nullptr, Fw().SystemTable()), EFI_SUCCESS);
  EXPECT_EQ(mModule.mIpmiTransport, nullptr);
  EXPECT_EQ(TransportLookups(), 1u);
  Fw().InstallIpmi();
  EXPECT_EQ(IpmiTransportLibConstructor(nullptr, Fw().SystemTable()), EFI_SUCCESS);
  EXPECT_EQ(mModule.mIpmiTransport, Fw().IpmiProtocol());
}

} // namespace
