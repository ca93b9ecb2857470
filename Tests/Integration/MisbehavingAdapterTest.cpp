// Adapter drivers that do not call in the expected order: what each one gets back. The controllers
// are the two ports of one EmulexE200 Fibre Channel adapter, whose plans differ by port number.
#include "Integration/ScriptedAdapter.h"

namespace {

enum CallKind {
  Q,     // Query; Expect is the command handed out, or nullptr for EFI_NOT_FOUND
  R,     // Response with an empty reply; Expect lists the kinds of the events it caused
  Drive, // Query and Response from Instance on until Query fails; Expect is the Instance that failed
};

struct Call {
  char Who; // 'A' port 0, 'B' port 1
  CallKind Kind;
  UINTN Instance;
  const char *Expect;
  uint8_t CmdStatus = 0; // R: 2 is a failed command, which is reported when the Response is taken
  unsigned Action = EfiPlatformConfigurationActionNone;
};

struct Pattern {
  const char *Name;
  std::vector<Call> Calls;
};

// A failing case names its pattern, not its bytes.
void PrintTo(const Pattern &P, std::ostream *Out) {
  *Out << P.Name;
}

constexpr unsigned kRestart = EfiPlatformConfigurationActionRestartController;

class MisbehavingAdapter : public IntegrationTest, public ::testing::WithParamInterface<Pattern> {
protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    Adapter = Add(0x10DF, 0xE200, 0x3A, 2, 1, PLATFORM_FLAG_MANAGED_MODE_ENABLED);
    for (size_t Port = 0; Port < 2; Port++) {
      Adapter.Record(Port, 0)->PfType = PF_TYPE_FC;
      Fw().SetDriverBound(Adapter.Handle(Port, 0), true);
    }
  }

  // Kinds of the events since Mark, a run of one kind counted once ("statusCode ipmi").
  std::string KindsSince(size_t Mark) const {
    std::string Out, Last;
    const std::vector<fake::Event> &All = Firmware->Events();
    for (size_t I = Mark; I < All.size(); I++) {
      const std::string Kind = fake::EventKindName(All[I].Kind);
      if (Kind != "debug" && Kind != Last) {
        Out += (Out.empty() ? "" : " ") + Kind;
      }
      Last = Kind;
    }
    return Out;
  }

  EFI_STATUS Query(EFI_HANDLE H, UINTN Instance, std::string &Command) {
    UINTN Size = 0;
    EFI_GUID *Guid = nullptr;
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
    const EFI_STATUS Status =
        Protocol->Query(Protocol, H, nullptr, &Instance, &Guid, reinterpret_cast<VOID **>(&Block), &Size);
    Command = EFI_ERROR(Status) ? "" : Str(Block->CLPCommand);
    return Status;
  }

  // The adapter driver's own block, as a driver that kept its last block would pass it.
  EFI_STATUS Response(EFI_HANDLE H, UINTN Instance, uint8_t CmdStatus, unsigned Action) {
    static const char Empty[] = "";
    static EFI_GUID Clp = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
    EFI_CONFIGURE_CLP_PARAMETER_BLK Block = {};
    Block.CLPCommand = reinterpret_cast<CHAR8 *>(const_cast<char *>(Empty));
    Block.CLPReturnString = reinterpret_cast<CHAR8 *>(const_cast<char *>(Empty));
    Block.CLPCmdStatus = CmdStatus;
    return Protocol->Response(Protocol, H, nullptr, &Instance, &Clp, &Block, sizeof(Block),
                              static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(Action));
  }

  BuiltAdapter Adapter;
};

TEST_P(MisbehavingAdapter, GetsWhatTheReadmeSays) {
  for (size_t I = 0; I < GetParam().Calls.size(); I++) {
    const Call &C = GetParam().Calls[I];
    SCOPED_TRACE("call " + std::to_string(I) + " by " + C.Who);
    const EFI_HANDLE H = Adapter.Handle(C.Who == 'A' ? 0 : 1, 0);
    const size_t Mark = Fw().Events().size();
    std::string Command;
    switch (C.Kind) {
    case Q: {
      const EFI_STATUS Status = Query(H, C.Instance, Command);
      EXPECT_EQ(Status, C.Expect != nullptr ? EFI_SUCCESS : EFI_NOT_FOUND);
      EXPECT_EQ(Command, C.Expect != nullptr ? C.Expect : "");
      break;
    }
    case R:
      EXPECT_EQ(Response(H, C.Instance, C.CmdStatus, C.Action), EFI_SUCCESS);
      EXPECT_EQ(KindsSince(Mark), C.Expect);
      break;
    case Drive: {
      UINTN Instance = C.Instance;
      while (Instance < 300 && !EFI_ERROR(Query(H, Instance, Command))) {
        EXPECT_EQ(Response(H, Instance, 0, EfiPlatformConfigurationActionNone), EFI_SUCCESS);
        Instance++;
      }
      EXPECT_EQ(std::to_string(Instance), C.Expect);
      break;
    }
    }
  }
}

const char *const kVersion0 = "show fcport0 OEMELX_FirmwareVersions";
const char *const kPortEn0 = "show fcport0 OEMELX_PortEnable";
const char *const kBootEn0 = "show fcport0 OEMELX_BootEnable";
const char *const kMfgWwnn0 = "show fcport0 OEMELX_MFG_WWNN";
const char *const kPortEn1 = "show fcport1 OEMELX_PortEnable";
const char *const kBootEn1 = "show fcport1 OEMELX_BootEnable";

INSTANTIATE_TEST_SUITE_P(
    Patterns, MisbehavingAdapter,
    ::testing::Values(
        // B's Instance 0 replaces the plan: A's next Instance is served from B's plan.
        Pattern{"TwoControllersInterleaved",
                {{'A', Q, 0, kVersion0},
                 {'A', R, 0, ""},
                 {'B', Q, 0, kPortEn1},
                 {'B', R, 0, ""},
                 {'A', Q, 1, kBootEn1},
                 {'A', R, 1, ""},
                 {'B', Q, 1, kBootEn1},
                 {'B', R, 1, ""}}},
        // A repeated Instance gets its command again; repeating the phase-2 start (Instance 3)
        // plans phase 2 once more, so its twelve shows come twice and the run ends 12 later.
        Pattern{"InstanceRepeated",
                {{'A', Q, 0, kVersion0},
                 {'A', R, 0, ""},
                 {'A', Q, 1, kPortEn0},
                 {'A', R, 1, ""},
                 {'A', Q, 1, kPortEn0},
                 {'A', R, 1, ""},
                 {'A', Q, 2, kBootEn0},
                 {'A', R, 2, ""},
                 {'A', Q, 3, kMfgWwnn0},
                 {'A', R, 3, ""},
                 {'A', Q, 3, kMfgWwnn0},
                 {'A', R, 3, ""},
                 {'A', Q, 15, kMfgWwnn0},
                 {'A', R, 15, ""},
                 {'A', Drive, 16, "28"}}},
        // Skipping the phase-2 start leaves nothing planned there: the run ends, for the boot.
        Pattern{"InstanceSkipped",
                {{'A', Q, 0, kVersion0},
                 {'A', R, 0, ""},
                 {'A', Q, 2, kBootEn0},
                 {'A', R, 2, ""},
                 {'A', Q, 4, nullptr},
                 {'A', Q, 3, nullptr},
                 {'A', Q, 0, nullptr}}},
        // After the end every Query of the controller answers EFI_NOT_FOUND, and a Response
        // without a command does nothing.
        Pattern{"QueryAfterNotFound",
                {{'A', Drive, 0, "16"},
                 {'A', Q, 16, nullptr},
                 {'A', Q, 17, nullptr},
                 {'A', Q, 0, nullptr},
                 {'A', R, 0, "", 2, kRestart}}},
        // The Response is taken as the outcome of the command last handed out (A's: A's failure
        // is reported); the action goes to the handle passed (B). A's own Response then finds no
        // command out and does nothing.
        Pattern{"ResponseForAnotherController",
                {{'A', Q, 0, kVersion0},
                 {'B', R, 0, "statusCode ipmi disconnect connect", 2, kRestart},
                 {'A', R, 0, "", 2, kRestart},
                 {'A', Q, 1, kPortEn0}}},
        // The second Response finds no command out: no report, no action.
        Pattern{"ResponseTwice",
                {{'A', Q, 0, kVersion0},
                 {'A', R, 0, "statusCode ipmi", 2},
                 {'A', R, 0, "", 2, kRestart},
                 {'A', Q, 1, kPortEn0}}}),
    [](const ::testing::TestParamInfo<Pattern> &I) { return I.param.Name; });

} // namespace
