// The status names that scenarios accept and transcripts print. The host simulator and the firmware
// stand-in (Firmware/ScenarioApp) share this one table so that their transcripts compare equal.
#pragma once

#include "Uefi.h"

typedef struct {
  EFI_STATUS Value;
  const char *Name;
} PTD_STATUS_NAME;

inline constexpr PTD_STATUS_NAME PtdStatusNames[] = {
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
