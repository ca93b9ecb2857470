// Loading the driver image on the fake platform: the revision gate and the one protocol
// instance on the image handle, with nothing else touched.
#include "Support/DriverTest.h"

extern "C++" {
#include "PlatformToDriver.h"
}

namespace {

struct LoadCase {
  uint32_t Revision;
  EFI_STATUS Expected;
};

class DriverLoadTest : public DriverTest, public ::testing::WithParamInterface<LoadCase> {};

TEST_P(DriverLoadTest, RevisionGateAndProtocolOnTheImageHandle) {
  EFI_GUID Guid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
  Fw().SetUefiRevision(GetParam().Revision);
  EXPECT_EQ(GetParam().Expected, LoadDriver());
  const auto Handles = Fw().HandlesWith(Guid);
  if (GetParam().Expected != EFI_SUCCESS) {
    EXPECT_TRUE(Handles.empty());
    EXPECT_EQ(nullptr, Protocol);
    return;
  }
  ASSERT_EQ(1u, Handles.size());
  EXPECT_EQ(Fw().ImageHandle(), Handles[0]);
  ASSERT_EQ(&mPlatformToDriverConfiguration, Protocol);
  EXPECT_EQ(&PlatformToDriverQuery, Protocol->Query);
  EXPECT_EQ(&PlatformToDriverResponse, Protocol->Response);
  EXPECT_TRUE(Fw().Events().empty()) << "loading reports nothing";
}

INSTANTIATE_TEST_SUITE_P(Revisions, DriverLoadTest,
                         ::testing::Values(LoadCase{0x0002001D, EFI_INCOMPATIBLE_VERSION},
                                           LoadCase{0x0002001E, EFI_SUCCESS},
                                           LoadCase{0x00020046, EFI_SUCCESS}));

} // namespace
