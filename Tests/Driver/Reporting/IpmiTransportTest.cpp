// The IPMI transport: retry rule, request copy, capacity handling and the protocol lookup.
#include "Driver/Reporting/ReportingFakes.h"

using namespace reporting_test;

namespace {

struct RetryCase {
  const char *Name;
  std::vector<IpmiAnswer> Answers;
  size_t ExpectedAttempts;
  EFI_STATUS ExpectedStatus;
  UINT8 ExpectedCompletionCode;
};

class IpmiRetryTest : public ::testing::TestWithParam<RetryCase> {};

TEST_P(IpmiRetryTest, SendsIdenticalRequestsUntilTheCodeIsFinal) {
  const RetryCase &Case = GetParam();
  FakePlatform Fake;
  Fake.Answers.assign(Case.Answers.begin(), Case.Answers.end());
  mModule.mIpmiTransport = &Fake.Transport;

  UINT8 Request[] = {0x11, 0x22, 0x33, 0x44};
  UINT8 Response[8] = {};
  UINT8 ResponseSize = sizeof(Response);
  UINT8 CompletionCode = 0x55;
  EFI_STATUS Status = hxIpmiSendCommandCc(nullptr, 0x2E, 1, 0xF5, Request, sizeof(Request), Response,
                                          &ResponseSize, &CompletionCode);

  EXPECT_EQ(Status, Case.ExpectedStatus);
  EXPECT_EQ(CompletionCode, Case.ExpectedCompletionCode);
  ASSERT_EQ(Fake.Requests.size(), Case.ExpectedAttempts);
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

TEST(IpmiTransport, RetriesSendTheOriginalRequestWhenItsBufferReceivesTheResponse) {
  FakePlatform Fake;
  Fake.Script({0xC0, 0xC0, 0x00});
  mModule.mIpmiTransport = &Fake.Transport;

  UINT8 Buffer[6] = {1, 2, 3, 4, 5, 6};
  UINT8 Size = 3;
  hxIpmiSendCommandCc(nullptr, 0x2E, 0, 0xF5, Buffer, sizeof(Buffer), Buffer, &Size, nullptr);

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

TEST(IpmiTransport, NullCompletionCodePointerIsAccepted) {
  FakePlatform Fake;
  Fake.Script({0xC0, 0x00});
  mModule.mIpmiTransport = &Fake.Transport;
  UINT8 Request[] = {7};
  UINT8 ResponseSize = 1;
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Fake.Requests.size(), 2u);
}

TEST(IpmiTransport, UnknownTransportWithoutSystemTableIsAnInvalidParameter) {
  FakePlatform Fake;
  UINT8 Request[] = {7};
  UINT8 ResponseSize = 1;
  UINT8 CompletionCode = 0x55;
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, &CompletionCode),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(CompletionCode, 0x55);
  EXPECT_EQ(Fake.TransportLookups, 0u);
  EXPECT_TRUE(Fake.Requests.empty());
}

TEST(IpmiTransport, LookupFailuresSendNothingAndStoreNoCode) {
  struct {
    bool Installed;
    bool InstalledAsNull;
  } Cases[] = {{false, false}, {true, true}};
  for (const auto &Case : Cases) {
    FakePlatform Fake;
    Fake.TransportInstalled = Case.Installed;
    Fake.TransportInstalledAsNull = Case.InstalledAsNull;
    UINT8 Request[] = {7};
    UINT8 ResponseSize = 1;
    UINT8 CompletionCode = 0x55;
    EXPECT_EQ(
        hxIpmiSendCommandCc(&Fake.SystemTable, 6, 0, 1, Request, 1, Request, &ResponseSize, &CompletionCode),
        EFI_NOT_FOUND);
    EXPECT_EQ(CompletionCode, 0x55);
    EXPECT_TRUE(Fake.Requests.empty());
    EXPECT_EQ(mModule.mIpmiTransport, nullptr);
  }
}

TEST(IpmiTransport, TransportFoundOnFirstUseIsKeptForTheBoot) {
  FakePlatform Fake;
  UINT8 Request[] = {7};
  UINT8 ResponseSize = 1;
  EXPECT_EQ(hxIpmiSendCommandCc(&Fake.SystemTable, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(mModule.mIpmiTransport, &Fake.Transport);
  // Known now: no system table is needed any more, and no second lookup happens.
  EXPECT_EQ(hxIpmiSendCommandCc(nullptr, 6, 0, 1, Request, 1, Request, &ResponseSize, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Fake.TransportLookups, 1u);
  EXPECT_EQ(Fake.Requests.size(), 2u);
}

TEST(IpmiTransport, ConstructorLocatesOnceAndIgnoresAbsence) {
  {
    FakePlatform Fake;
    Fake.TransportInstalled = false;
    EXPECT_EQ(IpmiTransportLibConstructor(nullptr, &Fake.SystemTable), EFI_SUCCESS);
    EXPECT_EQ(mModule.mIpmiTransport, nullptr);
    EXPECT_EQ(Fake.TransportLookups, 1u);
  }
  {
    FakePlatform Fake;
    EXPECT_EQ(IpmiTransportLibConstructor(nullptr, &Fake.SystemTable), EFI_SUCCESS);
    EXPECT_EQ(mModule.mIpmiTransport, &Fake.Transport);
  }
}

} // namespace
