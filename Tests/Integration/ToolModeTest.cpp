// The driver frame and ToolMode through the installed protocol, on the host fake firmware.
#include "ModuleState.h"
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
    // 03:05.0 and 03:05.1 of one device, with IDs of their own, and 03:05.2 beside them.
    Controllers.push_back(Fw().AddPciFunction(0, 3, 5, 0, 0x8086, 0x10D3));
    Controllers.push_back(Fw().AddPciFunction(0, 3, 5, 1, 0x10DF, 0xE200));
    Controllers.push_back(Fw().AddPciFunction(0, 3, 5, 2, 0x8086, 0x10D3));
    ASSERT_EQ(LoadDriver(), EFI_SUCCESS);
    // The location is two 64-bit numbers, bus then device: 03:05. Tests overwrite what they need.
    std::vector<uint8_t> Location(16, 0);
    Location[0] = 3;
    Location[8] = 5;
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
  Put(u"CLPCMD000_1", Bytes(std::string("set /system1 x=1") + '\0')); // a stored NUL counts in the length
  Put(u"CLPCMD001_1", Bytes("show /x"));                              // shorter, and without a NUL

  QueryResult First = Query(Controllers[1], 0);
  ASSERT_EQ(First.Status, EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(First.Guid, &ClpGuid, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(First.Size, 32u);
  EXPECT_STREQ(reinterpret_cast<const char *>(First.Block->CLPCommand), "set /system1 x=1");
  // The result fields hold placeholders until the adapter driver fills them.
  EXPECT_EQ((Fields{First.Block->CLPCommandLength, First.Block->CLPReturnString == nullptr,
                    First.Block->CLPReturnStringLength, First.Block->CLPCmdStatus, First.Block->CLPErrorValue,
                    First.Block->CLPMsgCode}),
            (Fields{17, 1, 2, 1, 3, 4}));
  EXPECT_EQ(Respond(First, "retdata=ok\r\n"), EFI_SUCCESS);

  QueryResult Second = Query(Controllers[1], 1);
  ASSERT_EQ(Second.Status, EFI_SUCCESS);
  EXPECT_EQ(Second.Block->CLPCommandLength, 7u);
  EXPECT_STREQ(reinterpret_cast<const char *>(Second.Block->CLPCommand), "show /x");
  EXPECT_EQ(Respond(Second, std::string("A\0B", 3)), EFI_SUCCESS);

  EXPECT_EQ(Query(Controllers[1], 2).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Variable(u"CLPCMD000_1_RESULT"), Bytes("retdata=ok\r\n"));
  EXPECT_EQ(Variable(u"CLPCMD001_1_RESULT"), Bytes(std::string("A\0B", 3)));
  EXPECT_EQ(Fw().FindVariable(u"CLPCMD000_1_RESULT", ClpGuid)->Attributes, 7u);
  // Function 0 of the same device gets its own commands; the next Instance 0 starts over.
  for (EFI_HANDLE Controller : {Controllers[0], Controllers[1]}) {
    QueryResult Again = Query(Controller, 0);
    ASSERT_EQ(Again.Status, EFI_SUCCESS);
    EXPECT_EQ(Respond(Again, "r"), EFI_SUCCESS);
  }
  EXPECT_EQ(Variable(u"CLPCMD000_0_RESULT"), Bytes("r"));
  // The banner comes once, with the IDs of the first controller claimed.
  const auto Console = Fw().EventsOf(fake::EventKind::Console);
  ASSERT_EQ(Console.size(), 1u);
  EXPECT_EQ(Console[0].Text, "\r\n!!! TOOL 'Tolvar(EFI)' IS ENABLED FOR V/D 10DF/E200, BUS/DEV 3/5 !!!\r\n");
}

struct ModeCase {
  const char *Name;
  std::vector<uint8_t> Mode; // empty: no CLPCMD_MODE variable
  EFI_STATUS Expected;
  UINT64 Setting;
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
  EXPECT_EQ(mModule.ToolMode.mToolModeSetting, GetParam().Setting);
  // The banner is shown exactly when the device gets commands.
  EXPECT_EQ(Fw().EventsOf(fake::EventKind::Console).size(), GetParam().Expected == EFI_SUCCESS ? 1u : 0u);
  // The mode is decided once per boot: a later change of the variable counts only after a reboot.
  Put(u"CLPCMD_MODE", {0x00});
  Q = Query(Controllers[0], 0);
  EXPECT_EQ(Q.Status, GetParam().Expected);
  if (Q.Status == EFI_SUCCESS) {
    EXPECT_EQ(Respond(Q, ""), EFI_SUCCESS);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, ToolModeMode,
                         ::testing::Values(ModeCase{"absent", {}, EFI_SUCCESS, 1},
                                           ModeCase{"oneByteOff", {0x00}, EFI_NOT_FOUND, 0},
                                           ModeCase{"nineBytesCountAsOn", std::vector<uint8_t>(9, 0),
                                                    EFI_SUCCESS, 1}),
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
  EXPECT_TRUE(mModule.ToolMode.mToolModeDeclined);
}

// A decline lasts for the rest of that controller's run; the next Instance 0 decides again.
TEST_F(ToolModeTest, DeclineLastsUntilTheNextInstanceZero) {
  const EFI_HANDLE Other = Fw().AddPciFunction(0, 4, 5, 0, 0x8086, 0x10D3);
  for (UINTN Instance : {0, 1}) {
    EXPECT_EQ(Query(Other, Instance).Status, EFI_NOT_FOUND);
    EXPECT_TRUE(mModule.ToolMode.mToolModeDeclined) << Instance;
  }
  QueryResult Q = Query(Controllers[0], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  EXPECT_EQ(Respond(Q, ""), EFI_SUCCESS);
  EXPECT_FALSE(mModule.ToolMode.mToolModeDeclined);
}

// A Query repeated without its Response, or refused for want of pool, leaves no copy behind and
// frees none twice (TearDown checks both).
// A command of 500 bytes is the longest handed out; a result is stored for Instances below 64 only,
// and an empty one replaces the result before it.
TEST_F(ToolModeTest, LongestCommandAndWhichResultsAreStored) {
  Put(u"CLPCMD000_1", std::vector<uint8_t>(500, 'a'));
  QueryResult Q = Query(Controllers[1], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  EXPECT_EQ(Q.Block->CLPCommandLength, 500u);
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(Q.Block->CLPCommand)), std::string(500, 'a'));
  Put(u"CLPCMD000_1_RESULT", Bytes("old"));
  Q.Block->CLPReturnString = nullptr;
  Q.Block->CLPReturnStringLength = 0;
  EXPECT_EQ(Protocol->Response(Protocol, Q.Controller, nullptr, &Q.Instance, Q.Guid, Q.Block, Q.Size,
                               EfiPlatformConfigurationActionNone),
            EFI_SUCCESS);
  EXPECT_EQ(Variable(u"CLPCMD000_1_RESULT"), std::vector<uint8_t>{0xEE});

  Q = Query(Controllers[1], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  Q.Instance = 64;
  EXPECT_EQ(Respond(Q, "r"), EFI_SUCCESS);
  EXPECT_EQ(Variable(u"CLPCMD064_1_RESULT"), std::vector<uint8_t>{0xEE});

  Put(u"CLPCMD000_1", std::vector<uint8_t>(501, 'a'));
  EXPECT_EQ(Query(Controllers[1], 0).Status, EFI_NOT_FOUND);
}

// Nothing is read or written through a missing argument. A Response goes to ToolMode only after
// a Query that ToolMode answered: a second one finds nothing to act on.
TEST_F(ToolModeTest, MissingArgumentsAndAnUnaskedResponse) {
  UINTN Instance = 0, Size = 0;
  EFI_GUID *Guid = nullptr;
  VOID *Block = nullptr;
  EFI_HANDLE C = Controllers[0];
  for (int Missing = 0; Missing < 5; Missing++) {
    EXPECT_EQ(Protocol->Query(Protocol, Missing == 0 ? nullptr : C, nullptr,
                              Missing == 1 ? nullptr : &Instance, Missing == 2 ? nullptr : &Guid,
                              Missing == 3 ? nullptr : &Block, Missing == 4 ? nullptr : &Size),
              EFI_INVALID_PARAMETER)
        << Missing;
  }
  QueryResult Q = Query(C, 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  for (int Missing = 0; Missing < 4; Missing++) {
    EXPECT_EQ(Protocol->Response(Protocol, Missing == 0 ? nullptr : C, nullptr,
                                 Missing == 1 ? nullptr : &Q.Instance, Missing == 2 ? nullptr : Q.Guid,
                                 Missing == 3 ? nullptr : Q.Block, Q.Size,
                                 EfiPlatformConfigurationActionNone),
              EFI_INVALID_PARAMETER)
        << Missing;
  }
  EXPECT_EQ(Respond(Q, "r1"), EFI_SUCCESS);
  EFI_CONFIGURE_CLP_PARAMETER_BLK Unasked{};
  Unasked.CLPReturnString = reinterpret_cast<CHAR8 *>(const_cast<char *>("again"));
  Unasked.CLPReturnStringLength = 5;
  EXPECT_EQ(Protocol->Response(Protocol, C, nullptr, &Q.Instance, const_cast<EFI_GUID *>(&ClpGuid), &Unasked,
                               sizeof(Unasked), EfiPlatformConfigurationActionNone),
            EFI_SUCCESS);
  EXPECT_EQ(Variable(u"CLPCMD000_0_RESULT"), Bytes("r1"));
}

TEST_F(ToolModeTest, RepeatedQueriesReleaseTheirCopies) {
  ASSERT_EQ(Query(Controllers[0], 0).Status, EFI_SUCCESS);
  Fw().FailNextAllocations(1);
  EXPECT_EQ(Query(Controllers[0], 0).Status, EFI_NOT_FOUND);
  QueryResult Q = Query(Controllers[0], 0);
  ASSERT_EQ(Q.Status, EFI_SUCCESS);
  EXPECT_EQ(Respond(Q, ""), EFI_SUCCESS);
}

// Only functions 0 and 1 of the named device, without a child handle, and only a location of
// exactly 16 bytes names a device (8 zero bytes would otherwise read as 00:00).
TEST_F(ToolModeTest, RefusesWhatTheToolDidNotName) {
  Put(u"CLPCMD000_2", Bytes("show /"));
  EXPECT_EQ(Query(Controllers[2], 0).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Query(Controllers[0], 0, Controllers[1]).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Query(Fw().AddPciFunction(0, 4, 5, 0, 0x8086, 0x10D3), 0).Status, EFI_NOT_FOUND);
  EXPECT_EQ(Query(Fw().AddPciFunction(0, 3, 4, 0, 0x8086, 0x10D3), 0).Status, EFI_NOT_FOUND);
  EFI_HANDLE NoPciIo = nullptr;
  ASSERT_EQ(Fw().InstallProtocol(&NoPciIo, EFI_GUID EFI_PCI_IO_PROTOCOL_GUID, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Query(NoPciIo, 0).Status, EFI_NOT_FOUND);
  EFI_HANDLE Zero = Fw().AddPciFunction(0, 0, 0, 0, 0x8086, 0x29C0);
  for (size_t Size : {8, 17}) {
    Put(u"CLPCMD_LOCATION", std::vector<uint8_t>(Size, 0));
    EXPECT_EQ(Query(Zero, 0).Status, EFI_NOT_FOUND) << Size;
  }
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Console).empty());
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
  // The constructors found the platform's protocols that were there at load time.
  EXPECT_EQ(mModule.ToolMode.mConsoleMessage, Fw().ConsoleMessageProtocol());
  EXPECT_EQ(mModule.Reporting.mIpmiTransport, Fw().IpmiProtocol());
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
