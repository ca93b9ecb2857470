// Platform stand-in on real firmware (OVMF under QEMU). Reads the scenario pack from the boot disk
// and, for each scenario in turn, builds the platform the simulator builds: settings records on the
// VM's e1000e functions, the virtual-I/O configuration, the platform policy, an IPMI transport and a
// console-message protocol, the scenario's NVRAM variables. It listens to the firmware's status-code
// router, loads a fresh copy of PlatformToDriver.efi, and plays the scripted adapter drivers as real
// ones run: a UEFI driver of its own binds to the test functions, and its Start() runs the
// controller's Query/Response loop. The front's restart of a controller (disconnect: our Stop();
// connect: a new Start()) therefore runs the next configuration run nested inside the Response that
// asked for it, as on a server. Every step goes to the serial port as one "PTDT {json}" line in the
// simulator's transcript terms (a nested run's lines come before the line of the step that started
// it); a cold reset ends the VM right after the line of the step that asked for it.
//
// What the parts of the stand-in share.
#pragma once

#include "Uefi.h"
#include "Scenario/PackFormat.h"
#include "Scenario/TranscriptWriter.h"

extern "C" {
#include <efilib.h>
}

#define W(Literal) ((CHAR16 *)(u"" Literal))

namespace app {

inline UINTN AsciiLength(const CHAR8 *Text, UINTN Max) {
  UINTN Length = 0;
  while (Text != nullptr && Length < Max && Text[Length] != 0) {
    Length++;
  }
  return Length;
}

constexpr UINTN kMaxFunctions = 16;

// --- SerialLine.cpp: one transcript line at a time on the first serial port. ---------------------

struct LineSink {
  void Put(char C);
};
using LineWriter = ptd::JsonWriter<LineSink>;

extern SERIAL_IO_INTERFACE *gSerial;

// Starts a line: "PTDT " and an open object, whose members the caller writes through Writer.
LineWriter BeginLine();
// Closes the object and sends the line.
VOID EndLine(LineWriter &Writer);
// A line {"error": Message}: the stand-in could not play.
VOID Fatal(const char *Message);

// --- Events.cpp: what the driver caused during one Query and Response. ---------------------------

// Recording is on while the driver runs for a step (or loads); events outside are not the driver's.
extern BOOLEAN gRecording;
ptd::EventFields *NewEvent(ptd::EventKind Kind);
// Copies into the event store; NULL (no bytes) when the store is full.
UINT8 *KeepBytes(const VOID *Data, UINTN Size);
// Sets E's text to a copy of CHAR16 text, each character cut to its low byte.
VOID KeepText(ptd::EventFields *E, const CHAR16 *Text, UINTN Length);
// Starts the events of a step afresh: those from the current base on are dropped.
VOID ClearEvents();
// Writes the events from the current base on as array elements and drops them.
VOID WriteEvents(LineWriter &Writer);
// A run nested in a step keeps its events above the step's; Leave gives their space back.
struct EventMark {
  UINTN Count, Data;
};
EventMark EnterNestedEvents();
VOID LeaveNestedEvents(EventMark Outer);

EFI_STATUS EFIAPI StatusCodeListener(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                                     EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data);
// Routes SetVariable, ResetSystem, DisconnectController and ConnectController through watchers that
// record them; the originals stay callable through these.
VOID WatchServices();
extern EFI_SET_VARIABLE gRealSetVariable;
extern EFI_RESET_SYSTEM gRealResetSystem;
extern EFI_DISCONNECT_CONTROLLER gRealDisconnect;
extern EFI_CONNECT_CONTROLLER gRealConnect;
// Deletes the variables the driver wrote since the last call.
VOID ForgetWrittenVariables();

// --- Platform.cpp: the scenario's platform protocols and variables. ------------------------------

struct PciFunction {
  EFI_HANDLE Handle;
  UINTN Bus, Device, Function;
};
extern PciFunction gFunctions[kMaxFunctions];
extern UINTN gFunctionCount;
// The VM's e1000e functions, sorted by bus, device, function: controller k plays on the k-th.
VOID FindTestFunctions();
VOID BuildPlatform(PTD_PACK_SCENARIO *Scenario);
VOID TearDownPlatform(PTD_PACK_SCENARIO *Scenario);

// --- PackReader.cpp ------------------------------------------------------------------------------

// The pack from the boot disk with its pointers relocated, or NULL.
PTD_PACK_HEADER *ReadPack(EFI_HANDLE ImageHandle);

// --- AdapterDriver.cpp: a UEFI driver of our own on the test functions. ---------------------------

extern EFI_HANDLE gImageHandle;
VOID InstallAdapterDriver(EFI_HANDLE ImageHandle);
// While set, the adapter driver's Start() plays the scenario's controllers through Protocol.
VOID BeginPlaying(PTD_PACK_SCENARIO *Scenario, EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol);
VOID EndPlaying();
// The platform's connect of controller Index, as the boot manager does it in play order.
VOID ConnectController(UINT32 Index);
// Called by the reset watcher before the VM goes away: the step under way gets its line.
VOID OnReset();

} // namespace app
