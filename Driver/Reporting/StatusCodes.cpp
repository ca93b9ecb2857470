// Status codes for failed CLP commands, so the platform's listeners learn which adapter function
// failed and how.
#include "Reporting/Reporting.h"
#include "Library/ReportStatusCodeLib.h"

EFI_GUID gClpStatusCallerGuid = {
    0xd083e94c, 0x6560, 0x42e4, {0xb6, 0xd4, 0x2d, 0xf7, 0x5a, 0xdf, 0x6a, 0x2a}};

#define CLP_FAILURE_CODE_TYPE (EFI_ERROR_CODE | EFI_ERROR_MAJOR)
// Class EFI_SOFTWARE, the first OEM subclass, OEM operations from 0x8010 on.
#define CLP_FAILURE_CODE_BASE 0x03808010u

#define CLP_CMD_STATUS_SUCCESS 0
#define CLP_CMD_STATUS_PROCESSING_FAILED 2
#define CLP_CMD_STATUS_EXECUTION_FAILED 3
#define CLP_ERROR_VALUE_F7 0xF7

typedef struct {
  EFI_STATUS_CODE_VALUE FirstValue; // the second value always follows it
  UINT8 InstanceLow;
} CLP_FAILURE_CODE;

static CLP_FAILURE_CODE SelectFailureCode(UINT8 CmdStatus, UINT8 ErrorValue) {
  if (CmdStatus == CLP_CMD_STATUS_PROCESSING_FAILED) {
    if (ErrorValue == CLP_ERROR_VALUE_F7) {
      return {CLP_FAILURE_CODE_BASE + 4, 0xA6};
    }
    return {CLP_FAILURE_CODE_BASE + 2, 0xA5};
  }
  if (CmdStatus == CLP_CMD_STATUS_EXECUTION_FAILED) {
    return {CLP_FAILURE_CODE_BASE + 6, 0xA7};
  }
  return {CLP_FAILURE_CODE_BASE, 0xA4};
}

VOID ReportClpFailure(FUNCTION_SETTINGS *Settings, UINT8 CmdStatus, UINT8 ErrorValue) {
  if (Settings == nullptr || CmdStatus == CLP_CMD_STATUS_SUCCESS) {
    return;
  }
  const CLP_FAILURE_CODE Code = SelectFailureCode(CmdStatus, ErrorValue);

  // Instance: the selection byte, then bus and device/function of the failing function.
  const UINT32 Bus = (UINT32)(Settings->PciAddress >> 8) & 0xFF;
  const UINT32 DeviceFunction = (UINT32)Settings->PciAddress & 0xFF;
  const UINT32 FirstInstance = (UINT32)Code.InstanceLow | (Bus << 8) | (DeviceFunction << 16);
  // Listeners that cannot take a report are not our concern: results are not examined.
  ReportStatusCodeEx(CLP_FAILURE_CODE_TYPE, Code.FirstValue, FirstInstance, &gClpStatusCallerGuid, nullptr,
                     nullptr, 0);

  if (Settings->AuxLocation != 0) {
    const UINT32 SecondInstance = (UINT32)Code.InstanceLow | ((UINT32)Settings->AuxLocation << 16);
    ReportStatusCodeEx(CLP_FAILURE_CODE_TYPE, Code.FirstValue + 1, SecondInstance, &gClpStatusCallerGuid,
                       nullptr, nullptr, 0);
  }

  // Set even when no listener exists: the platform reads the flag, not the report.
  Settings->ErrorFlags |= ERROR_FLAG_ERROR_REPORTED;
}
