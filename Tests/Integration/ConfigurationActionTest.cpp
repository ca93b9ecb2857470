// What the front does with the configuration action of a ManagedMode Response.
#include "Integration/ScriptedAdapter.h"

namespace {

class ConfigurationActionTest : public IntegrationTest {
protected:
  // An Intel controller that ManagedMode serves: its first command is handed out at Instance 0.
  EFI_HANDLE ManagedController() {
    const EFI_HANDLE C = Add(0x8086, 0x10D3, 5, 1, 1, PLATFORM_FLAG_MANAGED_MODE_ENABLED).Handle(0, 0);
    Fw().SetDriverBound(C, true);
    return C;
  }

  // Owns nothing with a destructor: a platform reset ends it by a long jump.
  EFI_STATUS QueryAndRespond(EFI_HANDLE Controller, unsigned Action) {
    UINTN Instance = 0, Size = 0;
    EFI_GUID *Guid = nullptr;
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
    if (EFI_ERROR(Protocol->Query(Protocol, Controller, nullptr, &Instance, &Guid,
                                  reinterpret_cast<VOID **>(&Block), &Size))) {
      return EFI_LOAD_ERROR;
    }
    EXPECT_EQ(Str(Block->CLPCommand), "show PermanentAddress");
    Block->CLPReturnString = reinterpret_cast<CHAR8 *>(Reply);
    Block->CLPReturnStringLength = sizeof(Reply) - 1;
    return Protocol->Response(Protocol, Controller, nullptr, &Instance, Guid, Block, Size,
                              static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(Action));
  }

  char Reply[11] = "retdata=ok";
};

struct ActionCase {
  const char *Name;
  unsigned Action;
  bool FailDisconnect, FailConnect;
  EFI_STATUS Expected;
  size_t Disconnects, Connects;
};

class ConfigurationAction : public ConfigurationActionTest,
                            public ::testing::WithParamInterface<ActionCase> {};

TEST_P(ConfigurationAction, TouchesOnlyTheControllerAndAsksForNoReset) {
  const ActionCase &C = GetParam();
  const EFI_HANDLE H = ManagedController();
  if (C.FailDisconnect) {
    Fw().ScriptDisconnect(H, EFI_DEVICE_ERROR);
  }
  if (C.FailConnect) {
    Fw().ScriptConnect(H, EFI_DEVICE_ERROR);
  }
  EXPECT_EQ(QueryAndRespond(H, C.Action), C.Expected);
  const auto Disconnects = Fw().EventsOf(fake::EventKind::Disconnect);
  const auto Connects = Fw().EventsOf(fake::EventKind::Connect);
  ASSERT_EQ(Disconnects.size(), C.Disconnects);
  ASSERT_EQ(Connects.size(), C.Connects);
  for (const fake::Event &E : Disconnects) {
    EXPECT_EQ((Fields{E.Handle == H, E.DriverImage == nullptr, E.Child == nullptr}), (Fields{1, 1, 1}));
  }
  for (const fake::Event &E : Connects) {
    EXPECT_EQ((Fields{E.Handle == H, E.DriverImage == nullptr, E.Recursive}), (Fields{1, 1, 1}));
  }
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
}

constexpr unsigned kStop = EfiPlatformConfigurationActionStopController;
constexpr unsigned kRestart = EfiPlatformConfigurationActionRestartController;
constexpr EFI_STATUS kOk = EFI_SUCCESS, kNotFound = EFI_NOT_FOUND;

INSTANTIATE_TEST_SUITE_P(
    Actions, ConfigurationAction,
    ::testing::Values(ActionCase{"FailedStopIsNotFound", kStop, 1, 0, kNotFound, 1, 0},
                      ActionCase{"RestartControllerDisconnectsThenConnectsRecursively", kRestart, 0, 0, kOk,
                                 1, 1},
                      ActionCase{"FailedDisconnectSkipsTheConnect", kRestart, 1, 0, kNotFound, 1, 0},
                      ActionCase{"FailedConnectIsNotFound", kRestart, 0, 1, kNotFound, 1, 1}),
    [](const ::testing::TestParamInfo<ActionCase> &I) { return I.param.Name; });

// The tool has named the controller and switched itself off: neither mode hands out a command.
TEST_F(ConfigurationActionTest, ControllerNamedByTheToolWithModeOffGetsNoCommand) {
  const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
  const EFI_HANDLE H = ManagedController();
  std::vector<uint8_t> Location(16, 0);
  Location[0] = 5; // bus 5, device 0
  Fw().PutVariable(u"CLPCMD_LOCATION", ClpGuid, 7, Location);
  Fw().PutVariable(u"CLPCMD_MODE", ClpGuid, 7, {0x00});
  EXPECT_EQ(QueryAndRespond(H, EfiPlatformConfigurationActionNone), EFI_LOAD_ERROR) << "no command";
  EXPECT_EQ(Fw().GetAdapterSettingsCalls(), 0u);
  // The next controller, not named by the tool, is ManagedMode's, and so is its Response.
  const EFI_HANDLE Other = Add(0x8086, 0x10D3, 6, 1, 1, PLATFORM_FLAG_MANAGED_MODE_ENABLED).Handle(0, 0);
  Fw().SetDriverBound(Other, true);
  EXPECT_EQ(QueryAndRespond(Other, EfiPlatformConfigurationActionStopController), EFI_SUCCESS);
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::Disconnect).size(), 1u);
}

// Every family but QLogic8070 resets the platform cold and never returns to the caller.
TEST_F(ConfigurationActionTest, RestartPlatformResetsColdAndDoesNotReturn) {
  const EFI_HANDLE H = ManagedController();
  bool Returned = false;
  EXPECT_TRUE(Fw().RunUntilReset([&] {
    QueryAndRespond(H, EfiPlatformConfigurationActionRestartPlatform);
    Returned = true;
  }));
  EXPECT_FALSE(Returned);
  const auto Resets = Fw().EventsOf(fake::EventKind::Reset);
  ASSERT_EQ(Resets.size(), 1u);
  EXPECT_EQ(Resets[0].ResetType, EfiResetCold);
  EXPECT_EQ(Resets[0].ResetStatus, EFI_SUCCESS);
}

} // namespace
