// The adapter driver: a UEFI driver of our own that manages the test functions and, while a
// scenario plays, configures each through the driver under test with the scenario's scripted
// replies. A Start() inside a Response (the front's connect of a restart) runs a nested run; the
// step under way keeps its events and line state, and a "start" event marks where the nested run
// happened.
#include "ScenarioApp.h"
#include "Scenario/AdapterDriverLoop.h"

namespace app {

EFI_HANDLE gImageHandle;

namespace {

constexpr UINTN kInstanceLimit = 256; // a run that passes 255 Instances never ends by itself
constexpr UINTN kMaxDepth = 10;       // nested Start()s: the first run and up to nine restarts
constexpr UINTN kMaxAdapters = 64, kMaxReplies = 64;

PTD_PACK_SCENARIO *gScenario;
EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *gProtocol; // set while a scenario plays
UINT64 gReplyUses[kMaxAdapters][kMaxReplies];             // per adapter and reply entry
UINTN gRunCount[kMaxFunctions];                           // runs started per controller in this scenario
UINTN gRestarts[kMaxFunctions];                           // nested starts since the platform's connect

// Per nesting level: the adapter driver's reply and its copy of the command stay valid while a
// nested run uses its own.
CHAR8 gReplyBuffer[kMaxDepth][64 * 1024];
CHAR8 gCommandCopy[kMaxDepth][4096];

// The adapter-driver Start()s under way, outermost first.
struct ActiveDriver {
  UINTN Controller;
  BOOLEAN Stopped; // Stop() came while this one ran
};
ActiveDriver gActive[kMaxDepth];
UINTN gDepth;

// The step under way, so that a reset can still print it.
struct StepState {
  const CHAR8 *Controller;
  UINTN Run, Instance;
  EFI_STATUS Query;
  const CHAR8 *Command;
  UINTN CommandLength;
  const PTD_PACK_REPLY *Reply;
  BOOLEAN Active;
} gStep;

// The first entry for the command whose "times" is not used up, else the adapter's default.
const PTD_PACK_REPLY *ScriptedReply(UINT32 Adapter, const CHAR8 *Command, UINTN Length) {
  const PTD_PACK_ADAPTER &A = gScenario->Adapters[Adapter];
  for (UINT32 R = 0; R < A.ReplyCount; R++) {
    const PTD_PACK_REPLY &Entry = A.Replies[R];
    const UINTN EntryLength = AsciiLength(Entry.Command, 1u << 20);
    if (EntryLength != Length || CompareMem((VOID *)Entry.Command, (VOID *)Command, Length) != 0) {
      continue;
    }
    UINT64 *Uses = Adapter < kMaxAdapters && R < kMaxReplies ? &gReplyUses[Adapter][R] : nullptr;
    if (Entry.Times == PTD_PACK_TIMES_UNLIMITED || (Uses != nullptr && *Uses < Entry.Times)) {
      if (Uses != nullptr) {
        (*Uses)++;
      }
      return &Entry;
    }
  }
  return &A.Default;
}

// {"controller": Name, "run": Run, ...}: the start of every line about a run.
LineWriter BeginRunLine(const CHAR8 *Name, UINTN Run) {
  LineWriter Writer = BeginLine();
  Writer.Key(ptd::key::Controller);
  Writer.String(Name);
  Writer.Key(ptd::key::Run);
  Writer.Unsigned(Run);
  return Writer;
}

VOID WriteProblemLine(const CHAR8 *Name, const char *Problem) {
  LineWriter Writer = BeginLine();
  Writer.Key(ptd::key::Controller);
  Writer.String(Name);
  Writer.Key(ptd::key::Problem);
  Writer.String(Problem);
  EndLine(Writer);
}

VOID WriteStepLine(const char *Response) {
  ptd::StatusText Query;
  ptd::ActionText Action;
  const ptd::StepFields Step = {gStep.Instance,
                                ptd::StatusName(gStep.Query, Query),
                                gStep.Command,
                                gStep.CommandLength,
                                gStep.Reply->Reply,
                                gStep.Reply->ReplyLength,
                                gStep.Reply->Status,
                                gStep.Reply->Error,
                                ptd::ActionName(gStep.Reply->Action, Action),
                                Response};
  LineWriter Writer = BeginRunLine(gStep.Controller, gStep.Run);
  Writer.Key(ptd::key::Step);
  ptd::WriteStep(Writer, Step, WriteEvents);
  EndLine(Writer);
}

// One adapter-driver run of a controller, the loop of its Start() at nesting level Level.
struct RunPlayer {
  const PTD_PACK_CONTROLLER &Controller;
  UINTN Run, Level;

  void BeforeQuery(UINTN) {
    ClearEvents();
    gRecording = TRUE;
  }
  void AfterQuery() { gRecording = FALSE; }

  ptd::ClpAnswer Execute(UINTN Instance, EFI_STATUS Query, const EFI_GUID *, const CHAR8 *Command,
                         UINTN CommandLength) {
    gStep.Controller = Controller.Name;
    gStep.Run = Run;
    gStep.Instance = Instance;
    gStep.Query = Query;
    gStep.Reply = ScriptedReply(Controller.Adapter, Command, CommandLength);
    // The command text stays valid until Response; keep a copy for the line printed after it.
    const UINTN Length = CommandLength < sizeof(gCommandCopy[0]) ? CommandLength : sizeof(gCommandCopy[0]);
    if (Length != 0) {
      CopyMem(gCommandCopy[Level], (VOID *)Command, Length);
    }
    gStep.Command = gCommandCopy[Level];
    gStep.CommandLength = Length;
    CHAR8 *Reply = gReplyBuffer[Level];
    const UINT32 ReplyLength =
        gStep.Reply->ReplyLength < sizeof(gReplyBuffer[0]) - 1 ? gStep.Reply->ReplyLength : 0;
    CopyMem(Reply, gStep.Reply->Reply, ReplyLength);
    Reply[ReplyLength] = 0;
    return {Reply, ReplyLength, gStep.Reply->Status, gStep.Reply->Error, gStep.Reply->Action};
  }

  void BeforeResponse() {
    gStep.Active = TRUE;
    gRecording = TRUE;
  }
  void AfterResponse(EFI_STATUS Response) {
    gRecording = FALSE;
    gStep.Active = FALSE;
    ptd::StatusText Text;
    WriteStepLine(ptd::StatusName(Response, Text));
  }

  bool Stopped() const { return gActive[Level].Stopped; }

  void Ended(UINTN Instance, EFI_STATUS Query) {
    ptd::StatusText Text;
    LineWriter Writer = BeginRunLine(Controller.Name, Run);
    Writer.Key(ptd::key::End);
    ptd::WriteRunEnd(Writer, Instance, ptd::StatusName(Query, Text), WriteEvents);
    EndLine(Writer);
  }

  void PassedLimit(UINTN) { WriteProblemLine(Controller.Name, "run passed 255 Instances"); }
};

UINTN FunctionIndex(EFI_HANDLE Handle) {
  for (UINTN I = 0; I < gFunctionCount; I++) {
    if (gFunctions[I].Handle == Handle) {
      return I;
    }
  }
  return kMaxFunctions;
}

EFI_STATUS EFIAPI BindingSupported(EFI_DRIVER_BINDING_PROTOCOL *, EFI_HANDLE Controller, EFI_DEVICE_PATH *) {
  return FunctionIndex(Controller) < kMaxFunctions ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI BindingStart(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller, EFI_DEVICE_PATH *) {
  VOID *PciIo = nullptr;
  EFI_STATUS Status = uefi_call_wrapper(BS->OpenProtocol, 6, Controller, &PciIoProtocol, &PciIo,
                                        This->DriverBindingHandle, Controller, EFI_OPEN_PROTOCOL_BY_DRIVER);
  const UINTN Index = FunctionIndex(Controller);
  if (EFI_ERROR(Status) || gProtocol == nullptr || Index >= gScenario->ControllerCount) {
    return Status;
  }
  const PTD_PACK_CONTROLLER &C = gScenario->Controllers[Index];
  const BOOLEAN Nested = gDepth > 0;
  if (Nested && (++gRestarts[Index] > gScenario->MaxRestarts || gDepth >= kMaxDepth)) {
    WriteProblemLine(C.Name, "restarted more than maxRestarts times");
    uefi_call_wrapper(BS->CloseProtocol, 4, Controller, &PciIoProtocol, This->DriverBindingHandle,
                      Controller);
    return EFI_DEVICE_ERROR;
  }
  const UINTN Run = gRunCount[Index]++;
  const StepState Outer = gStep;
  const BOOLEAN OuterRecording = gRecording;
  EventMark OuterEvents = {};
  if (Nested) {
    if (ptd::EventFields *E = NewEvent(ptd::EventKind::Start)) {
      E->Text = C.Name;
      E->TextLength = AsciiLength(C.Name, 1u << 20);
      E->Run = Run;
    }
    OuterEvents = EnterNestedEvents();
  }
  gActive[gDepth].Controller = Index;
  gActive[gDepth].Stopped = FALSE;
  gDepth++;
  RunPlayer Player = {C, Run, gDepth - 1};
  ptd::PlayAdapterDriver(gProtocol, Controller, kInstanceLimit, Player);
  gDepth--;
  if (Nested) {
    LeaveNestedEvents(OuterEvents);
    gStep = Outer;
    gRecording = OuterRecording;
  }
  return EFI_SUCCESS;
}

// The loop of a Start() under way sees the flag after the Response under way returns.
EFI_STATUS EFIAPI BindingStop(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller, UINTN, EFI_HANDLE *) {
  const UINTN Index = FunctionIndex(Controller);
  for (UINTN Level = 0; Level < gDepth; Level++) {
    if (gActive[Level].Controller == Index) {
      gActive[Level].Stopped = TRUE;
    }
  }
  return uefi_call_wrapper(BS->CloseProtocol, 4, Controller, &PciIoProtocol, This->DriverBindingHandle,
                           Controller);
}

EFI_DRIVER_BINDING_PROTOCOL gBinding = {BindingSupported, BindingStart, BindingStop, 0x10, nullptr, nullptr};

} // namespace

VOID InstallAdapterDriver(EFI_HANDLE ImageHandle) {
  gBinding.ImageHandle = ImageHandle;
  gBinding.DriverBindingHandle = ImageHandle;
  uefi_call_wrapper(BS->InstallProtocolInterface, 4, &gBinding.DriverBindingHandle, &DriverBindingProtocol,
                    EFI_NATIVE_INTERFACE, &gBinding);
  for (UINTN I = 0; I < gFunctionCount; I++) {
    EFI_HANDLE Drivers[2] = {ImageHandle, nullptr};
    uefi_call_wrapper(BS->ConnectController, 4, gFunctions[I].Handle, Drivers, nullptr, FALSE);
  }
}

VOID BeginPlaying(PTD_PACK_SCENARIO *Scenario, EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol) {
  gScenario = Scenario;
  gProtocol = Protocol;
  SetMem(gReplyUses, sizeof(gReplyUses), 0);
  SetMem(gRunCount, sizeof(gRunCount), 0);
}

VOID EndPlaying() {
  gProtocol = nullptr;
}

VOID ConnectController(UINT32 Index) {
  gRestarts[Index] = 0;
  EFI_HANDLE Drivers[2] = {gImageHandle, nullptr};
  uefi_call_wrapper(gRealDisconnect, 3, gFunctions[Index].Handle, gImageHandle, nullptr);
  uefi_call_wrapper(gRealConnect, 4, gFunctions[Index].Handle, Drivers, nullptr, FALSE);
}

VOID OnReset() {
  if (gStep.Active) {
    // The last line before the VM goes away: QEMU runs with -no-reboot.
    WriteStepLine(ptd::ResetResponse);
  }
}

} // namespace app
