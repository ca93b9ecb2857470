// Events: what the driver caused during one Query and Response, seen through the firmware's
// status-code router and through watchers put in front of the services the driver calls.
#include "ScenarioApp.h"

namespace app {

BOOLEAN gRecording;
EFI_SET_VARIABLE gRealSetVariable;
EFI_RESET_SYSTEM gRealResetSystem;
EFI_DISCONNECT_CONTROLLER gRealDisconnect;
EFI_CONNECT_CONTROLLER gRealConnect;

namespace {

// The events of the step under way are those from gEventBase on; a run nested in a step keeps its
// own above the step's, and gives the space back when it has printed them. Their bytes (request
// data, names and texts cut to their low byte, caller IDs) live in gEventData.
ptd::EventFields gEvents[512];
EFI_GUID gCallerIds[512]; // per event
UINTN gEventCount, gEventBase;
UINT8 gEventData[128 * 1024];
UINTN gEventDataUsed, gEventDataBase;

UINTN Length16(const CHAR16 *Text, UINTN Max) {
  UINTN Length = 0;
  while (Text != nullptr && Length < Max && Text[Length] != 0) {
    Length++;
  }
  return Length;
}

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
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::SetVariable)) {
    E->Attributes = Attributes;
    KeepText(E, Name, Length16(Name, 256));
    E->Data = KeepBytes(Data, Size);
    E->DataSize = E->Data != nullptr ? Size : 0;
  }
  return uefi_call_wrapper(gRealSetVariable, 5, Name, Guid, Attributes, Size, Data);
}

EFI_STATUS EFIAPI WatchedDisconnect(EFI_HANDLE Controller, EFI_HANDLE Driver, EFI_HANDLE Child) {
  EFI_STATUS Status = uefi_call_wrapper(gRealDisconnect, 3, Controller, Driver, Child);
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::Disconnect)) {
    E->Status = Status;
  }
  return Status;
}

EFI_STATUS EFIAPI WatchedConnect(EFI_HANDLE Controller, EFI_HANDLE *Drivers, EFI_DEVICE_PATH *Remaining,
                                 BOOLEAN Recursive) {
  EFI_STATUS Status = uefi_call_wrapper(gRealConnect, 4, Controller, Drivers, Remaining, Recursive);
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::Connect)) {
    E->Status = Status;
  }
  return Status;
}

EFI_STATUS EFIAPI WatchedResetSystem(EFI_RESET_TYPE Type, EFI_STATUS Status, UINTN Size, CHAR16 *Data) {
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::Reset)) {
    E->ResetType = Type;
  }
  OnReset();
  return uefi_call_wrapper(gRealResetSystem, 4, Type, Status, Size, Data);
}

VOID Patch(VOID **Slot, VOID *Replacement, VOID **Original, EFI_TABLE_HEADER *Table) {
  *Original = *Slot;
  *Slot = Replacement;
  Table->CRC32 = 0;
  UINT32 Crc = 0;
  uefi_call_wrapper(BS->CalculateCrc32, 3, Table, Table->HeaderSize, &Crc);
  Table->CRC32 = Crc;
}

} // namespace

// A copy of Size bytes in the event store, or NULL when they do not fit (the event shows none).
UINT8 *KeepBytes(const VOID *Data, UINTN Size) {
  if (Data == nullptr || Size > sizeof(gEventData) - gEventDataUsed) {
    return nullptr;
  }
  UINT8 *Copy = &gEventData[gEventDataUsed];
  CopyMem(Copy, (VOID *)Data, Size);
  gEventDataUsed += Size;
  return Copy;
}

// CHAR16 text as bytes, each its character's low byte; the driver's names and messages are ASCII.
VOID KeepText(ptd::EventFields *E, const CHAR16 *Text, UINTN Length) {
  E->Text = nullptr;
  E->TextLength = 0;
  if (Length > sizeof(gEventData) - gEventDataUsed) {
    return;
  }
  CHAR8 *Copy = (CHAR8 *)&gEventData[gEventDataUsed];
  for (UINTN I = 0; I < Length; I++) {
    Copy[I] = (CHAR8)(Text[I] & 0xFF);
  }
  gEventDataUsed += Length;
  E->Text = Copy;
  E->TextLength = Length;
}

ptd::EventFields *NewEvent(ptd::EventKind Kind) {
  if (!gRecording || gEventCount >= sizeof(gEvents) / sizeof(gEvents[0])) {
    return nullptr;
  }
  ptd::EventFields *E = &gEvents[gEventCount++];
  SetMem(E, sizeof(*E), 0);
  E->Kind = Kind;
  return E;
}

VOID ClearEvents() {
  gEventCount = gEventBase;
  gEventDataUsed = gEventDataBase;
}

VOID WriteEvents(LineWriter &Writer) {
  for (UINTN I = gEventBase; I < gEventCount; I++) {
    ptd::WriteEvent(Writer, gEvents[I]);
  }
  ClearEvents();
}

EventMark EnterNestedEvents() {
  const EventMark Outer = {gEventBase, gEventDataBase};
  gEventBase = gEventCount;
  gEventDataBase = gEventDataUsed;
  return Outer;
}

VOID LeaveNestedEvents(EventMark Outer) {
  ClearEvents();
  gEventBase = Outer.Count;
  gEventDataBase = Outer.Data;
}

EFI_STATUS EFIAPI StatusCodeListener(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                                     EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
  (VOID) Data;
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::StatusCode)) {
    E->Type = Type;
    E->Value = Value;
    E->Instance = Instance;
    if (CallerId != nullptr) {
      EFI_GUID *Copy = &gCallerIds[E - gEvents];
      *Copy = *CallerId;
      E->CallerId = Copy;
    }
  }
  return EFI_SUCCESS;
}

VOID WatchServices() {
  Patch((VOID **)&RT->SetVariable, (VOID *)WatchedSetVariable, (VOID **)&gRealSetVariable, &RT->Hdr);
  Patch((VOID **)&RT->ResetSystem, (VOID *)WatchedResetSystem, (VOID **)&gRealResetSystem, &RT->Hdr);
  Patch((VOID **)&BS->DisconnectController, (VOID *)WatchedDisconnect, (VOID **)&gRealDisconnect, &BS->Hdr);
  Patch((VOID **)&BS->ConnectController, (VOID *)WatchedConnect, (VOID **)&gRealConnect, &BS->Hdr);
}

VOID ForgetWrittenVariables() {
  for (UINTN I = 0; I < gWrittenCount; I++) {
    uefi_call_wrapper(gRealSetVariable, 5, gWritten[I].Name, &gWritten[I].Guid, 0, (UINTN)0, nullptr);
  }
  gWrittenCount = 0;
}

} // namespace app
