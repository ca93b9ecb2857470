// The names that scenarios accept and transcripts print: status values, configuration actions,
// reset types and event kinds. The host simulator and the firmware stand-in share these so that
// their transcripts compare equal. Freestanding: no library beyond the UEFI types.
#pragma once

#include "Uefi.h"

namespace ptd {

struct StatusNameEntry {
  EFI_STATUS Value;
  const char *Name;
};

inline constexpr StatusNameEntry StatusNames[] = {
    {EFI_SUCCESS, "EFI_SUCCESS"},
    {EFI_LOAD_ERROR, "EFI_LOAD_ERROR"},
    {EFI_INVALID_PARAMETER, "EFI_INVALID_PARAMETER"},
    {EFI_UNSUPPORTED, "EFI_UNSUPPORTED"},
    {EFI_BAD_BUFFER_SIZE, "EFI_BAD_BUFFER_SIZE"},
    {EFI_BUFFER_TOO_SMALL, "EFI_BUFFER_TOO_SMALL"},
    {EFI_NOT_READY, "EFI_NOT_READY"},
    {EFI_DEVICE_ERROR, "EFI_DEVICE_ERROR"},
    {EFI_WRITE_PROTECTED, "EFI_WRITE_PROTECTED"},
    {EFI_OUT_OF_RESOURCES, "EFI_OUT_OF_RESOURCES"},
    {EFI_NOT_FOUND, "EFI_NOT_FOUND"},
    {EFI_ACCESS_DENIED, "EFI_ACCESS_DENIED"},
    {EFI_NO_RESPONSE, "EFI_NO_RESPONSE"},
    {EFI_TIMEOUT, "EFI_TIMEOUT"},
    {EFI_NOT_STARTED, "EFI_NOT_STARTED"},
    {EFI_ALREADY_STARTED, "EFI_ALREADY_STARTED"},
    {EFI_ABORTED, "EFI_ABORTED"},
    {EFI_INCOMPATIBLE_VERSION, "EFI_INCOMPATIBLE_VERSION"},
};

// Room for "0x" and sixteen hexadecimal digits, the text of a status without a name.
using StatusText = char[19];

// The status's name, or its value as "0x%016X" written into Buffer.
inline const char *StatusName(EFI_STATUS Status, StatusText &Buffer) {
  for (const StatusNameEntry &Entry : StatusNames) {
    if (Entry.Value == Status) {
      return Entry.Name;
    }
  }
  static const char Hex[] = "0123456789ABCDEF";
  Buffer[0] = '0';
  Buffer[1] = 'x';
  for (int Digit = 0; Digit < 16; Digit++) {
    Buffer[2 + Digit] = Hex[(Status >> (60 - 4 * Digit)) & 15];
  }
  Buffer[18] = 0;
  return Buffer;
}

// Indexed by EFI_PLATFORM_CONFIGURATION_ACTION.
inline constexpr const char *ActionNames[] = {
    "None", "StopController", "RestartController", "RestartPlatform", "NvramFailed", "UnsupportedGuid"};
inline constexpr UINT32 ActionCount = sizeof(ActionNames) / sizeof(ActionNames[0]);

// Room for the decimal digits of a UINT32, the text of an action without a name.
using ActionText = char[11];

// The action's name, or its value in decimal written into Buffer.
inline const char *ActionName(UINT32 Action, ActionText &Buffer) {
  if (Action < ActionCount) {
    return ActionNames[Action];
  }
  char Digits[10];
  int Count = 0;
  do {
    Digits[Count++] = (char)('0' + Action % 10);
    Action /= 10;
  } while (Action != 0);
  for (int I = 0; I < Count; I++) {
    Buffer[I] = Digits[Count - 1 - I];
  }
  Buffer[Count] = 0;
  return Buffer;
}

// "cold", "warm", "shutdown"; "unknown" for anything else.
inline const char *ResetTypeName(EFI_RESET_TYPE Type) {
  switch (Type) {
  case EfiResetCold:
    return "cold";
  case EfiResetWarm:
    return "warm";
  case EfiResetShutdown:
    return "shutdown";
  default:
    return "unknown";
  }
}

// What the driver caused on the platform, as a transcript event. Start marks where a run nested in
// a step (a controller restarted inside Response) took place.
enum class EventKind {
  Ipmi,
  StatusCode,
  SetVariable,
  Console,
  Disconnect,
  Connect,
  Reset,
  RestartNotification,
  Debug,
  Start,
};

inline const char *EventKindName(EventKind Kind) {
  switch (Kind) {
  case EventKind::Ipmi:
    return "ipmi";
  case EventKind::StatusCode:
    return "statusCode";
  case EventKind::SetVariable:
    return "setVariable";
  case EventKind::Console:
    return "console";
  case EventKind::Disconnect:
    return "disconnect";
  case EventKind::Connect:
    return "connect";
  case EventKind::Reset:
    return "reset";
  case EventKind::RestartNotification:
    return "restartNotification";
  case EventKind::Debug:
    return "debug";
  case EventKind::Start:
    return "start";
  }
  return "unknown";
}

} // namespace ptd
