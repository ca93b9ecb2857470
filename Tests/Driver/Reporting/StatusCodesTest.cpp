// Status codes of failed CLP commands: selection, instance bytes and the ErrorReported flag.
#include "Driver/Reporting/ReportingTest.h"
#include "Library/ReportStatusCodeLib.h"
#include "Library/UefiBootServicesTableLib.h"

namespace {

struct ExpectedCode {
  UINT32 Value;
  UINT32 Instance;
};

struct StatusCase {
  const char *Name;
  UINT8 CmdStatus;
  UINT8 ErrorValue;
  UINT16 PciAddress;
  UINT8 AuxLocation;
  std::vector<ExpectedCode> Codes;
};

class StatusCodeSelectionTest : public ReportingTest, public ::testing::WithParamInterface<StatusCase> {};

TEST_P(StatusCodeSelectionTest, ReportsTheSelectedCodesAndMarksTheRecord) {
  const StatusCase &Case = GetParam();
  FUNCTION_SETTINGS Settings{};
  Settings.PciAddress = Case.PciAddress;
  Settings.AuxLocation = Case.AuxLocation;
  Settings.ErrorFlags = 0x80;

  ReportClpFailure(&Settings, Case.CmdStatus, Case.ErrorValue);

  const EFI_GUID CallerId = {0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};
  const EFI_GUID SpecificData = {
      0x335984BD, 0xE805, 0x409A, {0xB8, 0xF8, 0xD2, 0x7E, 0xCE, 0x5F, 0xF7, 0xA6}};
  const std::vector<fake::Event> Reports = Fw().EventsOf(fake::EventKind::StatusCode);
  ASSERT_EQ(Reports.size(), Case.Codes.size());
  for (size_t Index = 0; Index < Case.Codes.size(); Index++) {
    const fake::Event &Report = Reports[Index];
    EXPECT_EQ(Report.Type, 0x80000002u);
    EXPECT_EQ(Report.Value, Case.Codes[Index].Value) << "report " << Index;
    EXPECT_EQ(Report.Instance, Case.Codes[Index].Instance) << "report " << Index;
    ASSERT_TRUE(Report.HasCallerId);
    EXPECT_EQ(std::memcmp(&Report.CallerId, &CallerId, sizeof(EFI_GUID)), 0);
    ASSERT_TRUE(Report.HasStatusData);
    EXPECT_EQ(Report.DataHeaderSize, 20);
    EXPECT_EQ(Report.DataSize, 0) << "no extended data";
    EXPECT_EQ(std::memcmp(&Report.DataType, &SpecificData, sizeof(EFI_GUID)), 0);
  }
  EXPECT_EQ(Settings.ErrorFlags, Case.CmdStatus == 0 ? 0x80 : 0x81);
}

INSTANTIATE_TEST_SUITE_P(
    Selection, StatusCodeSelectionTest,
    ::testing::Values(
        StatusCase{"ProcessingFailedF7", 2, 0xF7, 0x3A01, 0, {{0x03808014, 0x00013AA6}}},
        StatusCase{"ProcessingFailedF7WithAuxLocation",
                   2,
                   0xF7,
                   0x3A01,
                   5,
                   {{0x03808014, 0x00013AA6}, {0x03808015, 0x000500A6}}},
        StatusCase{"ProcessingFailedOther", 2, 0xF6, 0x0300, 0, {{0x03808012, 0x000003A5}}},
        StatusCase{
            "ExecutionFailed", 3, 0xF7, 0x1234, 0xFF, {{0x03808016, 0x003412A7}, {0x03808017, 0x00FF00A7}}},
        StatusCase{"Spawned", 1, 0, 0x3A01, 0, {{0x03808010, 0x00013AA4}}},
        StatusCase{"Completed", 0, 0xF7, 0x3A01, 5, {}}),
    [](const ::testing::TestParamInfo<StatusCase> &Info) { return std::string(Info.param.Name); });

using StatusCodes = ReportingTest;

TEST_F(StatusCodes, FlagIsSetWithoutAStatusCodeService) {
  Fw().RemoveStatusCode();
  FUNCTION_SETTINGS Settings{};
  ReportClpFailure(&Settings, 2, 0);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
  EXPECT_EQ(Settings.ErrorFlags, ERROR_FLAG_ERROR_REPORTED);
}

// The library beneath: extended data travels behind the header, and data and size must agree.
TEST_F(StatusCodes, ExtendedDataFollowsTheHeaderAndAMismatchAsserts) {
  Fw().SetAssertCallback([](const std::string &, uint64_t, const std::string &) {});
  const UINT8 Byte = 0x5A;
  ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, &Byte, 1);
  ASSERT_TRUE(Fw().Assertions().empty());
  const std::vector<fake::Event> Reports = Fw().EventsOf(fake::EventKind::StatusCode);
  ASSERT_EQ(Reports.size(), 1u);
  EXPECT_EQ(Reports[0].DataSize, 1);
  EXPECT_EQ(Reports[0].Data, std::vector<uint8_t>{0x5A});
  ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, nullptr, 4);
  ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, &Byte, 0);
  EXPECT_EQ(Fw().Assertions().size(), 2u);

  // 200 bytes of data is the most a report carries; more, or no boot services, drops it.
  std::vector<UINT8> Data(201);
  for (size_t Index = 0; Index < Data.size(); Index++) {
    Data[Index] = (UINT8)(Index * 3);
  }
  const size_t Before = Fw().EventsOf(fake::EventKind::StatusCode).size();
  EXPECT_EQ(ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, Data.data(), 200), EFI_SUCCESS);
  EXPECT_EQ(ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, Data.data(), 201),
            EFI_UNSUPPORTED);
  EFI_BOOT_SERVICES *const BootServices = gBS;
  gBS = nullptr;
  EXPECT_EQ(ReportStatusCodeEx(0x80000002, 0x03808010, 7, nullptr, nullptr, nullptr, 0), EFI_UNSUPPORTED);
  gBS = BootServices;
  const std::vector<fake::Event> After = Fw().EventsOf(fake::EventKind::StatusCode);
  ASSERT_EQ(After.size(), Before + 1);
  EXPECT_EQ(After.back().DataSize, 200);
  EXPECT_EQ(After.back().Data, std::vector<uint8_t>(Data.begin(), Data.begin() + 200));
}

} // namespace
