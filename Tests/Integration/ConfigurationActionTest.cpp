// What the front does with the configuration action of a ManagedMode Response.
#include <gtest/gtest.h>

#include <string>

#include "Support/DriverTest.h"

namespace {

class ConfigurationActionTest : public DriverTest {
protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  }

  // A controller that ManagedMode serves: its first command is handed out at Instance 0.
  EFI_HANDLE ManagedController(uint16_t Vendor, uint16_t Device) {
    AdapterSpec Spec;
    Spec.VendorId = Vendor;
    Spec.DeviceId = Device;
    Spec.Bus = NextBus++;
    Spec.PlatformFlags = PLATFORM_FLAG_MANAGED_MODE_ENABLED;
    const BuiltAdapter A = AddAdapter(Fw(), Spec);
    Fw().SetDriverBound(A.Handle(0, 0), true);
    return A.Handle(0, 0);
  }

  EFI_STATUS QueryAndRespond(EFI_HANDLE Controller, EFI_PLATFORM_CONFIGURATION_ACTION Action) {
    UINTN Instance = 0, Size = 0;
    EFI_GUID *Guid = nullptr;
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
    EXPECT_EQ(Protocol->Query(Protocol, Controller, nullptr, &Instance, &Guid,
                              reinterpret_cast<VOID **>(&Block), &Size),
              EFI_SUCCESS);
    if (Block == nullptr) {
      return EFI_LOAD_ERROR;
    }
    Reply = "ok";
    Block->CLPReturnString = reinterpret_cast<CHAR8 *>(Reply.data());
    Block->CLPReturnStringLength = static_cast<UINT32>(Reply.size());
    return Protocol->Response(Protocol, Controller, nullptr, &Instance, Guid, Block, Size, Action);
  }

  size_t Count(fake::EventKind Kind) { return Fw().EventsOf(Kind).size(); }

  std::string Reply;
  uint8_t NextBus = 5;
};

TEST_F(ConfigurationActionTest, StopControllerDisconnectsTheControllerOnly) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionStopController), EFI_SUCCESS);
  const auto Disconnects = Fw().EventsOf(fake::EventKind::Disconnect);
  ASSERT_EQ(Disconnects.size(), 1u);
  EXPECT_EQ(Disconnects[0].Handle, C);
  EXPECT_EQ(Disconnects[0].DriverImage, nullptr);
  EXPECT_EQ(Disconnects[0].Child, nullptr);
  EXPECT_EQ(Count(fake::EventKind::Connect), 0u);
}

TEST_F(ConfigurationActionTest, StopControllerThatFailsAnswersNotFound) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  Fw().ScriptDisconnect(C, EFI_DEVICE_ERROR);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionStopController), EFI_NOT_FOUND);
}

TEST_F(ConfigurationActionTest, RestartControllerDisconnectsThenConnectsRecursively) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionRestartController), EFI_SUCCESS);
  const auto Connects = Fw().EventsOf(fake::EventKind::Connect);
  ASSERT_EQ(Count(fake::EventKind::Disconnect), 1u);
  ASSERT_EQ(Connects.size(), 1u);
  EXPECT_EQ(Connects[0].Handle, C);
  EXPECT_EQ(Connects[0].DriverImage, nullptr);
  EXPECT_TRUE(Connects[0].Recursive);
}

TEST_F(ConfigurationActionTest, FailedDisconnectSkipsTheConnect) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  Fw().ScriptDisconnect(C, EFI_DEVICE_ERROR);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionRestartController), EFI_NOT_FOUND);
  EXPECT_EQ(Count(fake::EventKind::Disconnect), 1u);
  EXPECT_EQ(Count(fake::EventKind::Connect), 0u);
}

TEST_F(ConfigurationActionTest, FailedConnectAnswersNotFound) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  Fw().ScriptConnect(C, EFI_DEVICE_ERROR);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionRestartController), EFI_NOT_FOUND);
}

TEST_F(ConfigurationActionTest, RestartPlatformResetsColdAndDoesNotReturn) {
  EFI_HANDLE C = ManagedController(0x8086, 0x10D3);
  bool Returned = false;
  const bool Reset = Fw().RunUntilReset([&] {
    QueryAndRespond(C, EfiPlatformConfigurationActionRestartPlatform);
    Returned = true;
  });
  EXPECT_TRUE(Reset);
  EXPECT_FALSE(Returned);
  const auto Resets = Fw().EventsOf(fake::EventKind::Reset);
  ASSERT_EQ(Resets.size(), 1u);
  EXPECT_EQ(Resets[0].ResetType, EfiResetCold);
}

TEST_F(ConfigurationActionTest, RestartPlatformOnQLogic8070KeepsBooting) {
  EFI_HANDLE C = ManagedController(0x1077, 0x8070);
  EXPECT_EQ(QueryAndRespond(C, EfiPlatformConfigurationActionRestartPlatform), EFI_SUCCESS);
  EXPECT_EQ(Count(fake::EventKind::Reset), 0u);
}

TEST_F(ConfigurationActionTest, OtherActionsChangeNothing) {
  for (unsigned Action : {0u, 4u, 5u, 99u}) {
    EFI_HANDLE C = ManagedController(0x8086, static_cast<uint16_t>(0x1000 + Action));
    EXPECT_EQ(QueryAndRespond(C, static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(Action)), EFI_SUCCESS)
        << Action;
  }
  EXPECT_EQ(Count(fake::EventKind::Disconnect), 0u);
  EXPECT_EQ(Count(fake::EventKind::Connect), 0u);
  EXPECT_EQ(Count(fake::EventKind::Reset), 0u);
}

} // namespace
