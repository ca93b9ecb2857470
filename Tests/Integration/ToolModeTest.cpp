// The driver frame and ToolMode through the installed protocol, on the host fake firmware.
#include "Integration/ScriptedAdapter.h"
#include "PlatformToDriver.h"

namespace {

const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

std::vector<uint8_t> Bytes(const std::string &Text) {
  return std::vector<uint8_t>(Text.begin(), Text.end());
}

struct QueryResult {
  EFI_HANDLE Controller = nullptr;
  UINTN Instance = 0;
  EFI_STATUS Status = EFI_SUCCESS;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
  EFI_GUID *Guid = nullptr;
  UINTN Size = 0;
};

class ToolModeTest : public DriverTest {
protected:
  void SetUp() override {
    DriverTest::SetUp();
    Fw().EnableConOut();
    // 03:00.0 and 03:00.1 of one device, 03:00.2 beside them.
    for (uint8_t Function = 0; Function < 3; Function++) {
      Controllers.push_back(Fw().AddPciFunction(0, 3, 0, Function, 0x8086, 0x10D3));
    }
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
    // The location is two 64-bit numbers, bus then device: 03:00. Tests overwrite what they need.
    std::vector<uint8_t> Location(16, 0);
    Location[0] = 3;
    Put(u"CLPCMD_LOCATION", Location);
    Put(u"CLPCMD000_0", Bytes("show /"));
  }

  void Put(const std::u16string &Name, const std::vector<uint8_t> &Data) {
    Fw().PutVariable(Name, ClpGuid, 7, Data);
  }

  QueryResult Query(EFI_HANDLE Controller, UINTN Instance, EFI_HANDLE Child = nullptr) {
    QueryResult R{Controller, Instance};
    R.Status = Protocol->Query(Protocol, Controller, Child, &Instance, &R.Guid,
                               reinterpret_cast<VOID **>(&R.Block), &R.Size);
    return R;
  }

  EFI_STATUS Respond(QueryResult &Q, const std::string &Reply,
                     EFI_PLATFORM_CONFIGURATION_ACTION Action = EfiPlatformConfigurationActionNone) {
    ReplyText = Reply;
    Q.Block->CLPReturnString = reinterpret_cast<CHAR8 *>(ReplyText.data());
    Q.Block->CLPReturnStringLength = static_cast<UINT32>(ReplyText.size());
    Q.Block->CLPCmdStatus = 0;
    return Protocol->Response(Protocol, Q.Controller, nullptr, &Q.Instance, Q.Guid, Q.Block, Q.Size, Action);
  }

  std::vector<uint8_t> Variable(const std::u16string &Name) {
    const fake::NvramVariable *V = Fw().FindVariable(Name, ClpGuid);
    return V == nullptr ? std::vector<uint8_t>{0xEE} : V->Data;
  }

  std::vector<EFI_HANDLE> Controllers;
  std::string ReplyText;
};

TEST_F(ToolModeTest, HandsOutTheStoredCommandsAndStoresEachReply) {
  Put(u"CLPCMD000_0", Bytes("show /system1"));
  Put(u"CLPCMD001_0", Bytes(std::string("set /system1 x=1") + '\0')); // a stored NUL counts in the length

  QueryResult First = Query(Controllers[0], 0);
  ASSERT_EQ(First.Status, EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(First.Guid, &ClpGuid, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(First.Block->CLPCommandLength, 13u);
  EXPECT_STREQ(reinterpret_cast<const char *>(First.Block->CLPCommand), "show /system1");
  EXPECT_EQ(Respond(First, "retdata=ok\r\n"), EFI_SUCCESS);

  QueryResult Second = Query(Controllers[0], 1);
  ASSERT_EQ(Second.Status, EFI_SUCCESS);
  EXPECT_EQ(Second.Block->CLPCommandLength, 17u);
  EXPECT_STREQ(reinterpret_cast<const char *>(Second.Block->CLPCommand), "set /system1 x=1");
  EXPECT_EQ(Respond(Second, std::string("A\0B", 3)), EFI_SUCCESS);

  EXPECT_EQ(Query(Controllers[0], 2).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Variable(u"CLPCMD000_0_RESULT"), Bytes("retdata=ok\r\n"));
  EXPECT_EQ(Variable(u"CLPCMD001_0_RESULT"), Bytes(std::string("A\0B", 3)));
  // Function 1 of the same device has no command of its own; the banner came once.
  EXPECT_EQ(Query(Controllers[1], 0).Status, EFI_NOT_FOUND);
  const auto Console = Fw().EventsOf(fake::EventKind::Console);
  ASSERT_EQ(Console.size(), 1u);
  EXPECT_EQ(Console[0].Text, "\r\n!!! TOOL 'Tolvar(EFI)' IS ENABLED FOR V/D 8086/10D3, BUS/DEV 3/0 !!!\r\n");
}

TEST_F(ToolModeTest, CommandOf500BytesIsHandedOutAnd501EndsTheSequence) {
  Put(u"CLPCMD000_0", std::vector<uint8_t>(500, 'a'));
  Put(u"CLPCMD001_0", std::vector<uint8_t>(501, 'b'));
  QueryResult First = Query(Controllers[0], 0);
  ASSERT_EQ(First.Status, EFI_SUCCESS);
  EXPECT_EQ(First.Block->CLPCommandLength, 500u);
  EXPECT_EQ(First.Block->CLPCommand[500], 0);
  EXPECT_EQ(Respond(First, ""), EFI_SUCCESS);
  EXPECT_EQ(Query(Controllers[0], 1).Status, EFI_NOT_FOUND);
}

struct ModeCase {
  const char *Name;
  std::vector<uint8_t> Mode; // empty: no CLPCMD_MODE variable
  EFI_STATUS Expected;
};

class ToolModeMode : public ToolModeTest, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(ToolModeMode, DecidesWhetherTheLocatedDeviceGetsCommands) {
  if (!GetParam().Mode.empty()) {
    Put(u"CLPCMD_MODE", GetParam().Mode);
  }
  QueryResult Q = Query(Controllers[0], 0);
  EXPECT_EQ(Q.Status, GetParam().Expected);
  if (Q.Status == EFI_SUCCESS) {
    EXPECT_EQ(Respond(Q, ""), EFI_SUCCESS);
  }
  // The banner is shown exactly when the device gets commands.
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::Console).size(), GetParam().Expected == EFI_SUCCESS ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, ToolModeMode,
    ::testing::Values(ModeCase{"absent", {}, EFI_SUCCESS}, ModeCase{"oneByteOff", {0x00}, EFI_NOT_FOUND},
                      ModeCase{"nineBytesCountAsOn", std::vector<uint8_t>(9, 0), EFI_SUCCESS}),
    [](const ::testing::TestParamInfo<ModeCase> &Info) { return Info.param.Name; });

TEST_F(ToolModeTest, SixtyFourCommandsAtMostThenManagedModeIsAsked) {
  char Name[32];
  for (int I = 0; I <= 64; I++) {
    std::snprintf(Name, sizeof(Name), "CLPCMD%03d_0", I);
    Put(fake::Utf8ToUtf16(Name), Bytes("show /" + std::to_string(I)));
  }
  QueryResult Last = Query(Controllers[0], 63);
  ASSERT_EQ(Last.Status, EFI_SUCCESS);
  EXPECT_STREQ(reinterpret_cast<const char *>(Last.Block->CLPCommand), "show /63");
  EXPECT_EQ(Respond(Last, "r"), EFI_SUCCESS);
  EXPECT_EQ(Variable(u"CLPCMD063_0_RESULT"), Bytes("r"));
  // No settings protocol on the controller: ManagedMode refuses as well.
  EXPECT_EQ(Query(Controllers[0], 64).Status, EFI_NOT_FOUND);
}

// Only functions 0 and 1 of the named device, without a child handle, and only a location of
// exactly 16 bytes names a device (8 zero bytes would otherwise read as 00:00).
TEST_F(ToolModeTest, RefusesWhatTheToolDidNotName) {
  Put(u"CLPCMD000_2", Bytes("show /"));
  EXPECT_EQ(Query(Controllers[2], 0).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Query(Controllers[0], 0, Controllers[1]).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Query(Fw().AddPciFunction(0, 4, 0, 0, 0x8086, 0x10D3), 0).Status, EFI_NOT_FOUND);
  EFI_HANDLE Zero = Fw().AddPciFunction(0, 0, 0, 0, 0x8086, 0x29C0);
  for (size_t Size : {8, 17}) {
    Put(u"CLPCMD_LOCATION", std::vector<uint8_t>(Size, 0));
    EXPECT_EQ(Query(Zero, 0).Status, EFI_NOT_FOUND) << Size;
  }
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Console).empty());
}

// The tool's commands are its own business: a ToolMode Response never stops, restarts or resets.
TEST_F(ToolModeTest, ResponseIgnoresTheConfigurationAction) {
  QueryResult Q = Query(Controllers[0], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  EXPECT_EQ(Respond(Q, "", EfiPlatformConfigurationActionRestartPlatform), EFI_SUCCESS);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Disconnect).empty());
}

TEST_F(ToolModeTest, ResponseWithoutReplyStringWritesNoResultButFreesTheCopies) {
  QueryResult Q = Query(Controllers[0], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  Q.Block->CLPReturnString = nullptr;
  Q.Block->CLPReturnStringLength = 5;
  EXPECT_EQ(Protocol->Response(Protocol, Controllers[0], nullptr, &Q.Instance, Q.Guid, Q.Block, Q.Size,
                               EfiPlatformConfigurationActionNone),
            EFI_SUCCESS);
  EXPECT_EQ(Fw().FindVariable(u"CLPCMD000_0_RESULT", ClpGuid), nullptr);
  // TearDown fails the test if the two pool copies were not freed.
}

TEST_F(ToolModeTest, NullArgumentsAreRefusedWithoutChangingAnything) {
  UINTN Instance = 0, Size = 0;
  EFI_GUID *Guid = nullptr;
  VOID *Block = nullptr;
  EFI_HANDLE C = Controllers[0];
  EXPECT_EQ(Protocol->Query(Protocol, nullptr, nullptr, &Instance, &Guid, &Block, &Size),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Query(Protocol, C, nullptr, nullptr, &Guid, &Block, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Query(Protocol, C, nullptr, &Instance, nullptr, &Block, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Query(Protocol, C, nullptr, &Instance, &Guid, nullptr, &Size), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Query(Protocol, C, nullptr, &Instance, &Guid, &Block, nullptr), EFI_INVALID_PARAMETER);
  EFI_CONFIGURE_CLP_PARAMETER_BLK Clp{};
  EFI_GUID Type = ClpGuid;
  const auto Action = EfiPlatformConfigurationActionRestartPlatform;
  EXPECT_EQ(Protocol->Response(Protocol, nullptr, nullptr, &Instance, &Type, &Clp, 32, Action),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Response(Protocol, C, nullptr, nullptr, &Type, &Clp, 32, Action),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Response(Protocol, C, nullptr, &Instance, nullptr, &Clp, 32, Action),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol->Response(Protocol, C, nullptr, &Instance, &Type, nullptr, 32, Action),
            EFI_INVALID_PARAMETER);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Console).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::SetVariable).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
  EXPECT_FALSE(mModule.mToolBannerShown);
  // A managed Response that no Query asked for does nothing, whatever its action.
  EXPECT_EQ(Protocol->Response(Protocol, C, nullptr, &Instance, &Type, &Clp, 32, Action), EFI_SUCCESS);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Reset).empty());
}

class DriverLoadTest : public DriverTest {};

TEST_F(DriverLoadTest, RefusesFirmwareOlderThanUefi230AndInstallsNothing) {
  Fw().SetUefiRevision(0x0002001D);
  EXPECT_EQ(LoadDriver(), EFI_INCOMPATIBLE_VERSION);
  EXPECT_TRUE(Fw().HandlesWith(EFI_GUID EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID).empty());
}

TEST_F(DriverLoadTest, InstallsExactlyOneInstanceOnItsImageHandle) {
  Fw().SetUefiRevision(0x0002001E);
  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  EXPECT_EQ(Fw().HandlesWith(EFI_GUID EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID),
            std::vector<EFI_HANDLE>{Fw().ImageHandle()});
}

TEST_F(DriverLoadTest, ConsoleMessageIsFoundWhenItArrivesLater) {
  Fw().RemoveConsoleMessage();
  ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
  CHAR16 Text[] = {'h', 'i', 0};
  EXPECT_EQ(ConsoleMessagePrint(Fw().SystemTable(), Text), EFI_NOT_FOUND);
  Fw().InstallConsoleMessage();
  EXPECT_EQ(ConsoleMessagePrint(Fw().SystemTable(), Text), EFI_SUCCESS);
  ASSERT_EQ(Fw().EventsOf(fake::EventKind::Console).size(), 1u);
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::Console)[0].Text, "hi");
}

} // namespace
