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
#include "Uefi.h"
#include "Protocol/ConsoleMessage.h"
#include "Protocol/IpmiTransport.h"
#include "Protocol/PlatformPolicy.h"
#include "PackFormat.h"
#include "StatusNames.h"

extern "C" {
#include <efilib.h>
}

#define W(Literal) ((CHAR16 *)(u"" Literal))

namespace {

EFI_GUID gP2dProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gAdapterSettingsGuid = ADAPTER_SETTINGS_PROTOCOL_GUID;
EFI_GUID gNaloGuid = NALO_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gPolicyGuid = PLATFORM_POLICY_PROTOCOL_GUID;
EFI_GUID gIpmiGuid = IPMI_TRANSPORT_PROTOCOL_GUID;
EFI_GUID gConsoleMessageGuid = CONSOLE_MESSAGE_PROTOCOL_GUID;
EFI_GUID gRscHandlerGuid = EFI_RSC_HANDLER_PROTOCOL_GUID;

const CHAR16 *const kDriverPath = W("\\EFI\\BOOT\\PlatformToDriver.efi");
const CHAR16 *const kPackPath = W("\\EFI\\BOOT\\scenarios.pack");

constexpr UINT16 kE1000eVendorId = 0x8086;
constexpr UINT16 kE1000eDeviceId = 0x10D3;
constexpr UINTN kMaxFunctions = 16;
constexpr UINTN kInstanceLimit = 256;
constexpr UINTN kMaxDepth = 10; // nested Start()s: the first run and up to nine restarts

// --- Serial output: raw bytes on the first serial port, no console translation. -----------------

SERIAL_IO_INTERFACE *gSerial;
CHAR8 gLine[256 * 1024];
UINTN gLineLength;

VOID Put(const char *Text) {
  for (; *Text != 0 && gLineLength < sizeof(gLine) - 1; Text++) {
    gLine[gLineLength++] = (CHAR8)*Text;
  }
}

VOID PutChar(char C) {
  if (gLineLength < sizeof(gLine) - 1) {
    gLine[gLineLength++] = (CHAR8)C;
  }
}

VOID PutDecimal(UINT64 Value) {
  char Digits[24];
  int Count = 0;
  do {
    Digits[Count++] = (char)('0' + Value % 10);
    Value /= 10;
  } while (Value != 0);
  while (Count > 0) {
    PutChar(Digits[--Count]);
  }
}

VOID PutHexDigits(UINT64 Value, int Digits) {
  static const char Hex[] = "0123456789ABCDEF";
  for (int Shift = (Digits - 1) * 4; Shift >= 0; Shift -= 4) {
    PutChar(Hex[(Value >> Shift) & 15]);
  }
}

VOID PutHex32Text(UINT32 Value) {
  Put("\"0x");
  PutHexDigits(Value, 8);
  PutChar('"');
}

VOID PutHexBytes(const UINT8 *Data, UINTN Size) {
  PutChar('"');
  for (UINTN I = 0; I < Size; I++) {
    PutHexDigits(Data[I], 2);
  }
  PutChar('"');
}

// A JSON string of Length bytes; bytes above 0x7F are taken as Latin-1, as nlohmann's dump of the
// simulator's std::string would refuse invalid UTF-8 anyway.
VOID PutEscaped(UINT8 C) {
  if (C == '"' || C == '\\') {
    PutChar('\\');
    PutChar((char)C);
  } else if (C == '\n') {
    Put("\\n");
  } else if (C == '\r') {
    Put("\\r");
  } else if (C == '\t') {
    Put("\\t");
  } else if (C < 0x20 || C >= 0x7F) {
    Put("\\u00");
    PutHexDigits(C, 2);
  } else {
    PutChar((char)C);
  }
}

VOID PutString(const CHAR8 *Text, UINTN Length) {
  PutChar('"');
  for (UINTN I = 0; I < Length; I++) {
    PutEscaped(Text[I]);
  }
  PutChar('"');
}

UINTN AsciiLength(const CHAR8 *Text, UINTN Max) {
  UINTN Length = 0;
  while (Text != nullptr && Length < Max && Text[Length] != 0) {
    Length++;
  }
  return Length;
}

VOID PutText(const CHAR8 *Text) {
  PutString(Text, AsciiLength(Text, 1u << 20));
}

VOID PutStatus(EFI_STATUS Status) {
  for (const PTD_STATUS_NAME &Entry : PtdStatusNames) {
    if (Entry.Value == Status) {
      PutChar('"');
      Put(Entry.Name);
      PutChar('"');
      return;
    }
  }
  Put("\"0x");
  PutHexDigits(Status, 16);
  PutChar('"');
}

VOID BeginLine() {
  gLineLength = 0;
  Put("PTDT ");
}

VOID EndLine() {
  Put("\r\n");
  UINTN Size = gLineLength;
  if (gSerial != nullptr) {
    gSerial->Write(gSerial, &Size, gLine);
  }
  gLineLength = 0;
}

// --- Events: what the driver caused during one Query and Response. -------------------------------

enum class Kind {
  Ipmi,
  StatusCode,
  SetVariable,
  Console,
  Disconnect,
  Connect,
  Reset,
  RestartNotification,
  Start
};

struct Event {
  Kind What;
  UINT8 NetFn, Lun, Command, CompletionCode;
  UINT32 Type, Value, Instance;
  EFI_GUID CallerId;
  BOOLEAN HasCallerId;
  EFI_STATUS Status;
  UINT32 Attributes;
  UINTN DataOffset, DataSize; // into gEventData
  const char *ResetType;
  const CHAR8 *Controller; // start: the nested run's controller and run
  UINTN Run;
};

// The events of the step under way are those from gEventBase on; a run nested in a step keeps its
// own above the step's, and gives the space back when it has printed them.
Event gEvents[512];
UINTN gEventCount, gEventBase;
UINT8 gEventData[128 * 1024];
UINTN gEventDataUsed, gEventDataBase;
BOOLEAN gRecording;

Event *NewEvent(Kind What) {
  if (!gRecording || gEventCount >= sizeof(gEvents) / sizeof(gEvents[0])) {
    return nullptr;
  }
  Event *E = &gEvents[gEventCount++];
  SetMem(E, sizeof(*E), 0);
  E->What = What;
  return E;
}

VOID KeepData(Event *E, const VOID *Data, UINTN Size) {
  E->DataOffset = gEventDataUsed;
  E->DataSize = 0;
  if (Data != nullptr && Size <= sizeof(gEventData) - gEventDataUsed) {
    CopyMem(&gEventData[gEventDataUsed], (VOID *)Data, Size);
    E->DataSize = Size;
    gEventDataUsed += Size;
  }
}

VOID PutGuid(const EFI_GUID &G) {
  PutChar('"');
  PutHexDigits(G.Data1, 8);
  PutChar('-');
  PutHexDigits(G.Data2, 4);
  PutChar('-');
  PutHexDigits(G.Data3, 4);
  PutChar('-');
  PutHexDigits(G.Data4[0], 2);
  PutHexDigits(G.Data4[1], 2);
  PutChar('-');
  for (int I = 2; I < 8; I++) {
    PutHexDigits(G.Data4[I], 2);
  }
  PutChar('"');
}

VOID PutEvents() {
  PutChar('[');
  for (UINTN I = gEventBase; I < gEventCount; I++) {
    const Event &E = gEvents[I];
    const UINT8 *Data = &gEventData[E.DataOffset];
    if (I != gEventBase) {
      PutChar(',');
    }
    switch (E.What) {
    case Kind::Ipmi:
      Put("{\"kind\":\"ipmi\",\"netFn\":");
      PutDecimal(E.NetFn);
      Put(",\"lun\":");
      PutDecimal(E.Lun);
      Put(",\"command\":");
      PutDecimal(E.Command);
      Put(",\"data\":");
      PutHexBytes(Data, E.DataSize);
      Put(",\"completionCode\":");
      PutDecimal(E.CompletionCode);
      break;
    case Kind::StatusCode:
      Put("{\"kind\":\"statusCode\",\"type\":");
      PutHex32Text(E.Type);
      Put(",\"value\":");
      PutHex32Text(E.Value);
      Put(",\"instance\":");
      PutHex32Text(E.Instance);
      Put(",\"callerId\":");
      if (E.HasCallerId) {
        PutGuid(E.CallerId);
      } else {
        Put("\"\"");
      }
      break;
    case Kind::SetVariable: {
      Put("{\"kind\":\"setVariable\",\"name\":");
      // The name is kept as UTF-16 ahead of the data; the driver's names are ASCII.
      const CHAR16 *Name = (const CHAR16 *)Data;
      UINTN NameChars = 0;
      while (NameChars * 2 < E.DataSize && Name[NameChars] != 0) {
        NameChars++;
      }
      PutChar('"');
      for (UINTN C = 0; C < NameChars; C++) {
        PutChar((char)(Name[C] & 0x7F));
      }
      PutChar('"');
      Put(",\"attributes\":");
      PutDecimal(E.Attributes);
      Put(",\"data\":");
      const UINTN Skip = (NameChars + 1) * 2;
      PutHexBytes(Data + Skip, E.DataSize > Skip ? E.DataSize - Skip : 0);
      break;
    }
    case Kind::Console: {
      Put("{\"kind\":\"console\",\"text\":\"");
      const CHAR16 *Text = (const CHAR16 *)Data;
      for (UINTN C = 0; C * 2 < E.DataSize && Text[C] != 0; C++) {
        PutEscaped((UINT8)(Text[C] & 0xFF));
      }
      PutChar('"');
      break;
    }
    case Kind::Disconnect:
    case Kind::Connect:
      Put(E.What == Kind::Disconnect ? "{\"kind\":\"disconnect\",\"status\":"
                                     : "{\"kind\":\"connect\",\"status\":");
      PutStatus(E.Status);
      break;
    case Kind::Reset:
      Put("{\"kind\":\"reset\",\"type\":\"");
      Put(E.ResetType);
      PutChar('"');
      break;
    case Kind::RestartNotification:
      Put("{\"kind\":\"restartNotification\"");
      break;
    case Kind::Start:
      Put("{\"kind\":\"start\",\"controller\":");
      PutText(E.Controller);
      Put(",\"run\":");
      PutDecimal(E.Run);
      break;
    }
    PutChar('}');
  }
  PutChar(']');
  gEventCount = gEventBase;
  gEventDataUsed = gEventDataBase;
}

// --- The scenario under way --------------------------------------------------------------------

PTD_PACK_SCENARIO *gScenario;
UINTN gIpmiCodesUsed;
UINT64 gReplyUses[64][64]; // per adapter and reply entry
struct PciFunction {
  EFI_HANDLE Handle;
  UINTN Bus, Device, Function;
};
PciFunction gFunctions[kMaxFunctions];
UINTN gFunctionCount;

// --- Platform protocols ---------------------------------------------------------------------------

struct SettingsInstance {
  ADAPTER_SETTINGS_PROTOCOL Protocol;
  FUNCTION_SETTINGS *Record;
  EFI_HANDLE Handle;
};
SettingsInstance gSettings[kMaxFunctions];

EFI_STATUS EFIAPI GetAdapterSettings(ADAPTER_SETTINGS_PROTOCOL *This, FUNCTION_SETTINGS **Settings) {
  for (SettingsInstance &S : gSettings) {
    if (&S.Protocol == This && S.Record != nullptr && Settings != nullptr) {
      *Settings = S.Record;
      return EFI_SUCCESS;
    }
  }
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI Unused() {
  return EFI_UNSUPPORTED;
}

PTD_PACK_NALO *gNaloLastReturned;

EFI_STATUS EFIAPI GetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                       NALO_CONFIG_HEADER *Header, NALO_PORT_TABLE *PortTable,
                                       NALO_ADDRESS_ENTRY *AddressTable, NALO_BOOT_ENTRY *BootTable) {
  for (UINT32 I = 0; I < gScenario->NaloCount; I++) {
    PTD_PACK_NALO *N = &gScenario->Nalo[I];
    if (N->Key[0] != NaloIndex || N->Key[1] != CardIndex || N->Key[2] != PortIndex) {
      continue;
    }
    if (EFI_ERROR(N->Status)) {
      return N->Status;
    }
    if (Header != nullptr) {
      CopyMem(Header, &N->Header, sizeof(*Header));
    }
    if (PortTable != nullptr) {
      CopyMem(PortTable, &N->PortTable, sizeof(*PortTable));
    }
    if (AddressTable != nullptr) {
      CopyMem(AddressTable, N->AddressTable, sizeof(N->AddressTable));
    }
    if (BootTable != nullptr) {
      CopyMem(BootTable, N->BootTable, sizeof(N->BootTable));
    }
    gNaloLastReturned = N;
    return EFI_SUCCESS;
  }
  return EFI_NOT_FOUND;
}

BOOLEAN EFIAPI QueryDefaults(UINTN Selector) {
  if (gNaloLastReturned == nullptr || Selector > 1) {
    return FALSE;
  }
  return (Selector == NALO_QUERY_DEFAULTS_PORT ? gNaloLastReturned->QueryDefaultsPort
                                               : gNaloLastReturned->QueryDefaultsAddresses) != 0;
}

EFI_STATUS EFIAPI NotifyRestartRequired() {
  NewEvent(Kind::RestartNotification);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetPolicy(UINT8 *Record) {
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  SetMem(Record, PLATFORM_POLICY_RECORD_SIZE, 0);
  Record[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET] = gScenario->ForceAdapterEnable;
  return EFI_SUCCESS;
}

IPMI_TRANSPORT_PROTOCOL gIpmi;

EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun, UINT8 Command,
                                  UINT8 *CommandData, UINT8 CommandDataSize, UINT8 *ResponseData,
                                  UINT8 *ResponseDataSize) {
  (VOID) ResponseData;
  if (This != &gIpmi || ResponseDataSize == nullptr || (CommandData == nullptr && CommandDataSize != 0)) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 Code = 0;
  if (gIpmiCodesUsed < gScenario->IpmiCodeCount) {
    Code = gScenario->IpmiCodes[gIpmiCodesUsed++];
  }
  if (Event *E = NewEvent(Kind::Ipmi)) {
    E->NetFn = NetFunction;
    E->Lun = Lun;
    E->Command = Command;
    E->CompletionCode = Code;
    KeepData(E, CommandData, CommandDataSize);
  }
  *ResponseDataSize = 0;
  gIpmi.LastCompletionCode = Code;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ShowMessage(CHAR16 *String) {
  if (String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Length = 0;
  while (String[Length] != 0 && Length < 4096) {
    Length++;
  }
  if (Event *E = NewEvent(Kind::Console)) {
    KeepData(E, String, (Length + 1) * sizeof(CHAR16));
  }
  return EFI_SUCCESS;
}

NALO_CONFIGURATION_PROTOCOL gNalo = {(NALO_UNUSED_MEMBER)Unused, (NALO_UNUSED_MEMBER)Unused,
                                     GetPortConfiguration,       QueryDefaults,
                                     (NALO_UNUSED_MEMBER)Unused, (NALO_UNUSED_MEMBER)Unused,
                                     (NALO_UNUSED_MEMBER)Unused, NotifyRestartRequired};
PLATFORM_POLICY_PROTOCOL gPolicy = {(PLATFORM_POLICY_UNUSED_MEMBER)Unused,
                                    (PLATFORM_POLICY_UNUSED_MEMBER)Unused,
                                    (PLATFORM_POLICY_UNUSED_MEMBER)Unused, GetPolicy};
CONSOLE_MESSAGE_PROTOCOL gConsoleMessage = {(CONSOLE_MESSAGE_UNUSED_MEMBER)Unused, ShowMessage};
EFI_HANDLE gNaloHandle, gPolicyHandle, gIpmiHandle, gConsoleHandle;

// --- Status codes through the firmware's own router --------------------------------------------

EFI_STATUS EFIAPI StatusCodeListener(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                                     EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
  (VOID) Data;
  if (Event *E = NewEvent(Kind::StatusCode)) {
    E->Type = Type;
    E->Value = Value;
    E->Instance = Instance;
    if (CallerId != nullptr) {
      E->HasCallerId = TRUE;
      E->CallerId = *CallerId;
    }
  }
  return EFI_SUCCESS;
}

// --- Services the driver calls, watched -----------------------------------------------------------

EFI_SET_VARIABLE gRealSetVariable;
EFI_RESET_SYSTEM gRealResetSystem;
EFI_DISCONNECT_CONTROLLER gRealDisconnect;
EFI_CONNECT_CONTROLLER gRealConnect;

// Variables the driver wrote, deleted when the scenario ends so that the next one starts clean.
struct Written {
  CHAR16 Name[64];
  EFI_GUID Guid;
} gWritten[64];
UINTN gWrittenCount;

VOID RememberWritten(const CHAR16 *Name, const EFI_GUID *Guid) {
  if (Name == nullptr || Guid == nullptr || gWrittenCount >= sizeof(gWritten) / sizeof(gWritten[0])) {
    return;
  }
  Written &Entry = gWritten[gWrittenCount];
  UINTN I = 0;
  for (; Name[I] != 0 && I < sizeof(Entry.Name) / sizeof(Entry.Name[0]) - 1; I++) {
    Entry.Name[I] = Name[I];
  }
  Entry.Name[I] = 0;
  Entry.Guid = *Guid;
  gWrittenCount++;
}

EFI_STATUS EFIAPI WatchedSetVariable(CHAR16 *Name, EFI_GUID *Guid, UINT32 Attributes, UINTN Size,
                                     VOID *Data) {
  if (gRecording) {
    RememberWritten(Name, Guid);
  }
  if (Event *E = NewEvent(Kind::SetVariable)) {
    UINTN NameChars = 0;
    while (Name != nullptr && Name[NameChars] != 0 && NameChars < 256) {
      NameChars++;
    }
    E->Attributes = Attributes;
    KeepData(E, Name, (NameChars + 1) * sizeof(CHAR16));
    const UINTN NameBytes = E->DataSize;
    Event Tail;
    KeepData(&Tail, Data, Size);
    E->DataSize = NameBytes + Tail.DataSize;
  }
  return uefi_call_wrapper(gRealSetVariable, 5, Name, Guid, Attributes, Size, Data);
}

EFI_STATUS EFIAPI WatchedDisconnect(EFI_HANDLE Controller, EFI_HANDLE Driver, EFI_HANDLE Child) {
  EFI_STATUS Status = uefi_call_wrapper(gRealDisconnect, 3, Controller, Driver, Child);
  if (Event *E = NewEvent(Kind::Disconnect)) {
    E->Status = Status;
  }
  return Status;
}

EFI_STATUS EFIAPI WatchedConnect(EFI_HANDLE Controller, EFI_HANDLE *Drivers, EFI_DEVICE_PATH *Remaining,
                                 BOOLEAN Recursive) {
  EFI_STATUS Status = uefi_call_wrapper(gRealConnect, 4, Controller, Drivers, Remaining, Recursive);
  if (Event *E = NewEvent(Kind::Connect)) {
    E->Status = Status;
  }
  return Status;
}

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

const char *ActionName(UINT32 Action) {
  static const char *const Names[] = {"None",        "StopController", "RestartController", "RestartPlatform",
                                      "NvramFailed", "UnsupportedGuid"};
  return Action < 6 ? Names[Action] : "Unknown";
}

VOID PutStepLine(const char *ResponseText, EFI_STATUS Response) {
  BeginLine();
  Put("{\"controller\":");
  PutText(gStep.Controller);
  Put(",\"run\":");
  PutDecimal(gStep.Run);
  Put(",\"step\":{\"instance\":");
  PutDecimal(gStep.Instance);
  Put(",\"query\":");
  PutStatus(gStep.Query);
  Put(",\"command\":");
  PutString(gStep.Command, gStep.CommandLength);
  Put(",\"reply\":");
  PutString(gStep.Reply->Reply, gStep.Reply->ReplyLength);
  Put(",\"cmdStatus\":");
  PutDecimal(gStep.Reply->Status);
  Put(",\"errorValue\":");
  PutDecimal(gStep.Reply->Error);
  Put(",\"action\":\"");
  Put(ActionName(gStep.Reply->Action));
  Put("\",\"response\":");
  if (ResponseText != nullptr) {
    PutChar('"');
    Put(ResponseText);
    PutChar('"');
  } else {
    PutStatus(Response);
  }
  Put(",\"events\":");
  PutEvents();
  Put("}}");
  EndLine();
}

EFI_STATUS EFIAPI WatchedResetSystem(EFI_RESET_TYPE Type, EFI_STATUS Status, UINTN Size, CHAR16 *Data) {
  if (Event *E = NewEvent(Kind::Reset)) {
    E->ResetType = Type == EfiResetCold ? "cold" : Type == EfiResetWarm ? "warm" : "shutdown";
  }
  if (gStep.Active) {
    // The last line before the VM goes away: QEMU runs with -no-reboot.
    PutStepLine("(reset)", EFI_SUCCESS);
  }
  return uefi_call_wrapper(gRealResetSystem, 4, Type, Status, Size, Data);
}

// --- A driver of our own on the test functions --------------------------------------------------

EFI_HANDLE gImageHandle;

BOOLEAN IsTestFunction(EFI_HANDLE Handle) {
  for (UINTN I = 0; I < gFunctionCount; I++) {
    if (gFunctions[I].Handle == Handle) {
      return TRUE;
    }
  }
  return FALSE;
}

EFI_STATUS EFIAPI BindingSupported(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller,
                                   EFI_DEVICE_PATH *) {
  (VOID) This;
  return IsTestFunction(Controller) ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

// Start() and Stop() are defined with the adapter-driver loop below.
EFI_STATUS EFIAPI BindingStart(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller, EFI_DEVICE_PATH *);
EFI_STATUS EFIAPI BindingStop(EFI_DRIVER_BINDING_PROTOCOL *This, EFI_HANDLE Controller, UINTN, EFI_HANDLE *);

EFI_DRIVER_BINDING_PROTOCOL gBinding = {BindingSupported, BindingStart, BindingStop, 0x10, nullptr, nullptr};

// --- Setup ---------------------------------------------------------------------------------------

VOID Fatal(const char *Message) {
  BeginLine();
  Put("{\"error\":");
  PutText((const CHAR8 *)Message);
  PutChar('}');
  EndLine();
}

VOID FindTestFunctions() {
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  if (EFI_ERROR(uefi_call_wrapper(BS->LocateHandleBuffer, 5, ByProtocol, &PciIoProtocol, nullptr, &Count,
                                  &Handles))) {
    return;
  }
  for (UINTN I = 0; I < Count; I++) {
    EFI_PCI_IO *PciIo = nullptr;
    if (EFI_ERROR(uefi_call_wrapper(BS->HandleProtocol, 3, Handles[I], &PciIoProtocol, (VOID **)&PciIo))) {
      continue;
    }
    UINT16 Ids[2] = {0, 0};
    uefi_call_wrapper(PciIo->Pci.Read, 5, PciIo, EfiPciIoWidthUint16, 0, 2, Ids);
    UINTN Segment, Bus, Device, Fn;
    if (Ids[0] != kE1000eVendorId || Ids[1] != kE1000eDeviceId ||
        EFI_ERROR(uefi_call_wrapper(PciIo->GetLocation, 5, PciIo, &Segment, &Bus, &Device, &Fn)) ||
        gFunctionCount >= kMaxFunctions) {
      continue;
    }
    // Sorted by bus, device, function: controller k of a scenario plays on the k-th function.
    UINTN At = gFunctionCount++;
    const UINTN Key = Bus << 16 | Device << 8 | Fn;
    while (At > 0 && (gFunctions[At - 1].Bus << 16 | gFunctions[At - 1].Device << 8 |
                      gFunctions[At - 1].Function) > Key) {
      gFunctions[At] = gFunctions[At - 1];
      At--;
    }
    gFunctions[At] = {Handles[I], Bus, Device, Fn};
  }
  FreePool(Handles);
}

PTD_PACK_HEADER *ReadPack(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Self = nullptr;
  if (EFI_ERROR(
          uefi_call_wrapper(BS->HandleProtocol, 3, ImageHandle, &LoadedImageProtocol, (VOID **)&Self))) {
    return nullptr;
  }
  EFI_FILE_HANDLE Root = LibOpenRoot(Self->DeviceHandle);
  if (Root == nullptr) {
    return nullptr;
  }
  EFI_FILE_HANDLE File = nullptr;
  PTD_PACK_HEADER *Pack = nullptr;
  if (!EFI_ERROR(uefi_call_wrapper(Root->Open, 5, Root, &File, (CHAR16 *)kPackPath, EFI_FILE_MODE_READ, 0))) {
    EFI_FILE_INFO *Info = LibFileInfo(File);
    if (Info != nullptr && Info->FileSize >= sizeof(PTD_PACK_HEADER) && Info->FileSize < (64u << 20)) {
      UINTN Size = Info->FileSize;
      Pack = (PTD_PACK_HEADER *)AllocatePool(Size);
      if (Pack != nullptr &&
          (EFI_ERROR(uefi_call_wrapper(File->Read, 3, File, &Size, Pack)) || Size != Info->FileSize ||
           Pack->Magic != PTD_PACK_MAGIC || Pack->Size != Size)) {
        FreePool(Pack);
        Pack = nullptr;
      }
    }
    if (Info != nullptr) {
      FreePool(Info);
    }
    uefi_call_wrapper(File->Close, 1, File);
  }
  uefi_call_wrapper(Root->Close, 1, Root);
  if (Pack == nullptr) {
    return nullptr;
  }
  // Pointers hold pack offsets until here.
  UINT8 *Base = (UINT8 *)Pack;
  Pack->Relocs = (UINT32 *)(Base + (UINTN)Pack->Relocs);
  Pack->Scenarios = (PTD_PACK_SCENARIO *)(Base + (UINTN)Pack->Scenarios);
  for (UINT32 I = 0; I < Pack->RelocCount; I++) {
    const UINT32 Position = Pack->Relocs[I];
    if (Position + 8 > Pack->Size) {
      return nullptr;
    }
    UINT64 *Field = (UINT64 *)(Base + Position);
    *Field += (UINT64)(UINTN)Base;
  }
  return Pack;
}

VOID Patch(VOID **Slot, VOID *Replacement, VOID **Original, EFI_TABLE_HEADER *Table) {
  *Original = *Slot;
  *Slot = Replacement;
  Table->CRC32 = 0;
  UINT32 Crc = 0;
  uefi_call_wrapper(BS->CalculateCrc32, 3, Table, Table->HeaderSize, &Crc);
  Table->CRC32 = Crc;
}

VOID WatchServices() {
  Patch((VOID **)&RT->SetVariable, (VOID *)WatchedSetVariable, (VOID **)&gRealSetVariable, &RT->Hdr);
  Patch((VOID **)&RT->ResetSystem, (VOID *)WatchedResetSystem, (VOID **)&gRealResetSystem, &RT->Hdr);
  Patch((VOID **)&BS->DisconnectController, (VOID *)WatchedDisconnect, (VOID **)&gRealDisconnect, &BS->Hdr);
  Patch((VOID **)&BS->ConnectController, (VOID *)WatchedConnect, (VOID **)&gRealConnect, &BS->Hdr);
}

EFI_STATUS Install(EFI_HANDLE *Handle, EFI_GUID *Guid, VOID *Interface) {
  *Handle = nullptr;
  return uefi_call_wrapper(BS->InstallProtocolInterface, 4, Handle, Guid, EFI_NATIVE_INTERFACE, Interface);
}

VOID Uninstall(EFI_HANDLE *Handle, EFI_GUID *Guid, VOID *Interface) {
  if (*Handle != nullptr) {
    uefi_call_wrapper(BS->UninstallProtocolInterface, 3, *Handle, Guid, Interface);
    *Handle = nullptr;
  }
}

// --- Playing -------------------------------------------------------------------------------------

const PTD_PACK_REPLY *ScriptedReply(UINT32 Adapter, const CHAR8 *Command, UINTN Length) {
  const PTD_PACK_ADAPTER &A = gScenario->Adapters[Adapter];
  for (UINT32 R = 0; R < A.ReplyCount; R++) {
    const PTD_PACK_REPLY &Entry = A.Replies[R];
    const UINTN EntryLength = AsciiLength(Entry.Command, 1u << 20);
    if (EntryLength != Length || CompareMem((VOID *)Entry.Command, (VOID *)Command, Length) != 0) {
      continue;
    }
    UINT64 *Uses = Adapter < 64 && R < 64 ? &gReplyUses[Adapter][R] : nullptr;
    if (Entry.Times == PTD_PACK_TIMES_UNLIMITED || (Uses != nullptr && *Uses < Entry.Times)) {
      if (Uses != nullptr) {
        (*Uses)++;
      }
      return &Entry;
    }
  }
  return &A.Default;
}

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
EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *gProtocol; // set while a scenario plays
UINTN gRunCount[kMaxFunctions];                           // runs started per controller in this scenario
UINTN gRestarts[kMaxFunctions];                           // nested starts since the platform's connect

VOID PutEndLine(const PTD_PACK_CONTROLLER &C, UINTN Run, UINTN Instance, EFI_STATUS Query) {
  BeginLine();
  Put("{\"controller\":");
  PutText(C.Name);
  Put(",\"run\":");
  PutDecimal(Run);
  Put(",\"end\":{\"instance\":");
  PutDecimal(Instance);
  Put(",\"query\":");
  PutStatus(Query);
  Put(",\"events\":");
  PutEvents();
  Put("}}");
  EndLine();
}

EFI_STATUS QueryInstance(EFI_HANDLE Handle, UINTN Instance, EFI_GUID **TypeGuid, VOID **Block,
                         UINTN *BlockSize) {
  gEventCount = gEventBase;
  gEventDataUsed = gEventDataBase;
  UINTN QueryInstance = Instance;
  gRecording = TRUE;
  EFI_STATUS Query = uefi_call_wrapper(gProtocol->Query, 7, gProtocol, Handle, nullptr, &QueryInstance,
                                       TypeGuid, Block, BlockSize);
  gRecording = FALSE;
  return Query;
}

// One adapter-driver run of a controller, the loop of its Start() at nesting level Level.
VOID PlayRun(UINT32 Index, EFI_HANDLE Handle, UINTN Run, UINTN Level) {
  const PTD_PACK_CONTROLLER &C = gScenario->Controllers[Index];
  for (UINTN Instance = 0; Instance < kInstanceLimit; Instance++) {
    EFI_GUID *TypeGuid = nullptr;
    VOID *Block = nullptr;
    UINTN BlockSize = 0;
    EFI_STATUS Query = QueryInstance(Handle, Instance, &TypeGuid, &Block, &BlockSize);
    if (EFI_ERROR(Query)) {
      PutEndLine(C, Run, Instance, Query);
      return;
    }
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Clp = (EFI_CONFIGURE_CLP_PARAMETER_BLK *)Block;
    gStep.Controller = C.Name;
    gStep.Run = Run;
    gStep.Instance = Instance;
    gStep.Query = Query;
    gStep.Command = Clp != nullptr ? (const CHAR8 *)Clp->CLPCommand : nullptr;
    gStep.CommandLength = Clp != nullptr && Clp->CLPCommand != nullptr
                              ? AsciiLength((const CHAR8 *)Clp->CLPCommand, Clp->CLPCommandLength)
                              : 0;
    gStep.Reply = ScriptedReply(C.Adapter, gStep.Command, gStep.CommandLength);
    // The command text stays valid until Response; keep a copy for the line printed after it.
    CHAR8 *CommandCopy = gCommandCopy[Level];
    UINTN Length =
        gStep.CommandLength < sizeof(gCommandCopy[0]) ? gStep.CommandLength : sizeof(gCommandCopy[0]);
    if (Length != 0) {
      CopyMem(CommandCopy, (VOID *)gStep.Command, Length);
    }
    gStep.Command = CommandCopy;
    gStep.CommandLength = Length;
    CHAR8 *ReplyBuffer = gReplyBuffer[Level];
    UINTN ReplyLength = gStep.Reply->ReplyLength < sizeof(gReplyBuffer[0]) - 1 ? gStep.Reply->ReplyLength : 0;
    CopyMem(ReplyBuffer, gStep.Reply->Reply, ReplyLength);
    ReplyBuffer[ReplyLength] = 0;
    if (Clp != nullptr) {
      Clp->CLPReturnString = ReplyBuffer;
      Clp->CLPReturnStringLength = (UINT32)ReplyLength;
      Clp->CLPCmdStatus = gStep.Reply->Status;
      Clp->CLPErrorValue = gStep.Reply->Error;
    }
    UINTN ResponseInstance = Instance;
    gStep.Active = TRUE;
    gRecording = TRUE;
    EFI_STATUS Response =
        uefi_call_wrapper(gProtocol->Response, 8, gProtocol, Handle, nullptr, &ResponseInstance, TypeGuid,
                          Block, BlockSize, (EFI_PLATFORM_CONFIGURATION_ACTION)gStep.Reply->Action);
    gRecording = FALSE;
    gStep.Active = FALSE;
    PutStepLine(nullptr, Response);
    if (gActive[Level].Stopped) {
      // Stopped (and, for a restart, started again and run to the end) inside that Response. Like
      // a real driver's loop, this one asks for the next Instance before it sees its stop flag.
      Query = QueryInstance(Handle, Instance + 1, &TypeGuid, &Block, &BlockSize);
      PutEndLine(C, Run, Instance + 1, Query);
      return;
    }
  }
  BeginLine();
  Put("{\"controller\":");
  PutText(C.Name);
  Put(",\"problem\":\"run passed 255 Instances\"}");
  EndLine();
}

UINTN FunctionIndex(EFI_HANDLE Handle) {
  for (UINTN I = 0; I < gFunctionCount; I++) {
    if (gFunctions[I].Handle == Handle) {
      return I;
    }
  }
  return kMaxFunctions;
}

// The adapter driver: manages the test function and, while a scenario plays, configures it. A
// Start() inside a Response (the front's connect of a restart) runs a nested run; the step under
// way keeps its events and line state, and a "start" event marks where the nested run happened.
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
    BeginLine();
    Put("{\"controller\":");
    PutText(C.Name);
    Put(",\"problem\":\"restarted more than maxRestarts times\"}");
    EndLine();
    uefi_call_wrapper(BS->CloseProtocol, 4, Controller, &PciIoProtocol, This->DriverBindingHandle,
                      Controller);
    return EFI_DEVICE_ERROR;
  }
  const UINTN Run = gRunCount[Index]++;
  StepState Outer = gStep;
  const BOOLEAN OuterRecording = gRecording;
  const UINTN OuterBase = gEventBase, OuterDataBase = gEventDataBase;
  if (Nested) {
    if (Event *E = NewEvent(Kind::Start)) {
      E->Controller = C.Name;
      E->Run = Run;
    }
    gEventBase = gEventCount;
    gEventDataBase = gEventDataUsed;
  }
  gActive[gDepth].Controller = Index;
  gActive[gDepth].Stopped = FALSE;
  gDepth++;
  PlayRun((UINT32)Index, Controller, Run, gDepth - 1);
  gDepth--;
  if (Nested) {
    gEventCount = gEventBase;
    gEventDataUsed = gEventDataBase;
    gEventBase = OuterBase;
    gEventDataBase = OuterDataBase;
    gStep = Outer;
    gRecording = OuterRecording;
  }
  return EFI_SUCCESS;
}

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

EFI_HANDLE LoadDriver(EFI_STATUS *Status) {
  EFI_LOADED_IMAGE *Self = nullptr;
  *Status = uefi_call_wrapper(BS->HandleProtocol, 3, gImageHandle, &LoadedImageProtocol, (VOID **)&Self);
  if (EFI_ERROR(*Status)) {
    return nullptr;
  }
  EFI_DEVICE_PATH *Path = FileDevicePath(Self->DeviceHandle, (CHAR16 *)kDriverPath);
  EFI_HANDLE Driver = nullptr;
  *Status = uefi_call_wrapper(BS->LoadImage, 6, FALSE, gImageHandle, Path, nullptr, 0, &Driver);
  FreePool(Path);
  if (EFI_ERROR(*Status)) {
    return nullptr;
  }
  *Status = uefi_call_wrapper(BS->StartImage, 3, Driver, nullptr, nullptr);
  return Driver;
}

VOID PlayScenario(PTD_PACK_SCENARIO *S) {
  gScenario = S;
  gIpmiCodesUsed = 0;
  gNaloLastReturned = nullptr;
  SetMem(gReplyUses, sizeof(gReplyUses), 0);
  gIpmi.LastCompletionCode = 0;
  gIpmi.SendIpmiCommand = SendIpmiCommand;

  if (S->ControllerCount > gFunctionCount || S->AdapterCount > 64) {
    Fatal("the scenario has more controllers than the VM has e1000e functions");
    return;
  }
  for (UINT32 V = 0; V < S->VariableCount; V++) {
    PTD_PACK_VARIABLE &Var = S->Variables[V];
    uefi_call_wrapper(gRealSetVariable, 5, Var.Name, &Var.Guid, Var.Attributes, (UINTN)Var.Size, Var.Data);
  }
  if ((S->Protocols & PTD_PACK_HAS_NALO) != 0) {
    Install(&gNaloHandle, &gNaloGuid, &gNalo);
  }
  if ((S->Protocols & PTD_PACK_HAS_POLICY) != 0) {
    Install(&gPolicyHandle, &gPolicyGuid, &gPolicy);
  }
  if ((S->Protocols & PTD_PACK_HAS_IPMI) != 0) {
    Install(&gIpmiHandle, &gIpmiGuid, &gIpmi);
  }
  if ((S->Protocols & PTD_PACK_HAS_CONSOLE) != 0) {
    Install(&gConsoleHandle, &gConsoleMessageGuid, &gConsoleMessage);
  }
  for (UINT32 C = 0; C < S->ControllerCount; C++) {
    SettingsInstance &Si = gSettings[C];
    Si.Record = S->Controllers[C].Record;
    Si.Protocol.GetAdapterSettings = GetAdapterSettings;
    Si.Handle = nullptr;
    if (Si.Record != nullptr && (S->Protocols & PTD_PACK_HAS_ADAPTER_SETTINGS) != 0) {
      Si.Handle = gFunctions[C].Handle;
      uefi_call_wrapper(BS->InstallProtocolInterface, 4, &Si.Handle, &gAdapterSettingsGuid,
                        EFI_NATIVE_INTERFACE, &Si.Protocol);
    }
  }

  gEventCount = 0;
  gEventDataUsed = 0;
  gRecording = TRUE;
  EFI_STATUS LoadStatus;
  EFI_HANDLE Driver = LoadDriver(&LoadStatus);
  gRecording = FALSE;
  BeginLine();
  Put("{\"scenario\":");
  PutText(S->Name);
  Put(",\"load\":{\"status\":");
  PutStatus(LoadStatus);
  Put("},\"loadEvents\":");
  PutEvents();
  PutChar('}');
  EndLine();

  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;
  if (Driver != nullptr && !EFI_ERROR(LoadStatus)) {
    uefi_call_wrapper(BS->HandleProtocol, 3, Driver, &gP2dProtocolGuid, (VOID **)&Protocol);
  }
  // The platform connects each controller in play order, as the boot manager does: our driver,
  // bound to it since the stand-in started, is stopped and started again, and its Start() plays.
  gProtocol = Protocol;
  SetMem(gRunCount, sizeof(gRunCount), 0);
  for (UINT32 O = 0; Protocol != nullptr && O < S->OrderCount; O++) {
    const UINT32 Index = S->Order[O];
    if (Index >= S->ControllerCount) {
      continue;
    }
    gRestarts[Index] = 0;
    EFI_HANDLE Drivers[2] = {gImageHandle, nullptr};
    uefi_call_wrapper(gRealDisconnect, 3, gFunctions[Index].Handle, gImageHandle, nullptr);
    uefi_call_wrapper(gRealConnect, 4, gFunctions[Index].Handle, Drivers, nullptr, FALSE);
  }
  gProtocol = nullptr;

  // The next scenario starts from a clean platform: this driver copy's instance, the protocols and
  // the variables of this scenario go.
  if (Protocol != nullptr) {
    uefi_call_wrapper(BS->UninstallProtocolInterface, 3, Driver, &gP2dProtocolGuid, Protocol);
  }
  for (UINT32 C = 0; C < S->ControllerCount; C++) {
    Uninstall(&gSettings[C].Handle, &gAdapterSettingsGuid, &gSettings[C].Protocol);
  }
  Uninstall(&gNaloHandle, &gNaloGuid, &gNalo);
  Uninstall(&gPolicyHandle, &gPolicyGuid, &gPolicy);
  Uninstall(&gIpmiHandle, &gIpmiGuid, &gIpmi);
  Uninstall(&gConsoleHandle, &gConsoleMessageGuid, &gConsoleMessage);
  for (UINT32 V = 0; V < S->VariableCount; V++) {
    PTD_PACK_VARIABLE &Var = S->Variables[V];
    uefi_call_wrapper(gRealSetVariable, 5, Var.Name, &Var.Guid, 0, (UINTN)0, nullptr);
  }
  for (UINTN I = 0; I < gWrittenCount; I++) {
    uefi_call_wrapper(gRealSetVariable, 5, gWritten[I].Name, &gWritten[I].Guid, 0, (UINTN)0, nullptr);
  }
  gWrittenCount = 0;
  BeginLine();
  Put("{\"scenarioEnd\":");
  PutText(S->Name);
  PutChar('}');
  EndLine();
}

} // namespace

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  InitializeLib(ImageHandle, SystemTable);
  gImageHandle = ImageHandle;
  uefi_call_wrapper(BS->SetWatchdogTimer, 4, 0, 0, 0, nullptr);
  LibLocateProtocol(&SerialIoProtocol, (VOID **)&gSerial);
  Print(W("\nPlatformToDriver scenario stand-in\n"));
  PTD_PACK_HEADER *Pack = ReadPack(ImageHandle);
  FindTestFunctions();
  EFI_RSC_HANDLER_PROTOCOL *Rsc = nullptr;
  if (Pack == nullptr) {
    Fatal("cannot read scenarios.pack");
  } else if (EFI_ERROR(uefi_call_wrapper(BS->LocateProtocol, 3, &gRscHandlerGuid, nullptr, (VOID **)&Rsc)) ||
             EFI_ERROR(uefi_call_wrapper(Rsc->Register, 2, StatusCodeListener, TPL_HIGH_LEVEL))) {
    Fatal("no status-code router to listen to");
  } else {
    gBinding.ImageHandle = ImageHandle;
    gBinding.DriverBindingHandle = ImageHandle;
    uefi_call_wrapper(BS->InstallProtocolInterface, 4, &gBinding.DriverBindingHandle, &DriverBindingProtocol,
                      EFI_NATIVE_INTERFACE, &gBinding);
    for (UINTN I = 0; I < gFunctionCount; I++) {
      EFI_HANDLE Drivers[2] = {ImageHandle, nullptr};
      uefi_call_wrapper(BS->ConnectController, 4, gFunctions[I].Handle, Drivers, nullptr, FALSE);
    }
    WatchServices();
    for (UINT32 I = 0; I < Pack->ScenarioCount; I++) {
      PlayScenario(&Pack->Scenarios[I]);
    }
  }
  BeginLine();
  Put("{\"done\":true}");
  EndLine();
  EFI_RESET_SYSTEM Reset = gRealResetSystem != nullptr ? gRealResetSystem : RT->ResetSystem;
  uefi_call_wrapper(Reset, 4, EfiResetShutdown, EFI_SUCCESS, 0, nullptr);
  return EFI_SUCCESS;
}
