// Subset of the EDK II report-status-code library: reports through the PI status code runtime
// protocol; a missing protocol drops the report silently.
#ifndef LIBRARY_REPORT_STATUS_CODE_LIB_H_
#define LIBRARY_REPORT_STATUS_CODE_LIB_H_

#include "Uefi.h"

EFI_STATUS ReportStatusCodeEx(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                              const EFI_GUID *CallerId, const EFI_GUID *ExtendedDataGuid,
                              const VOID *ExtendedData, UINTN ExtendedDataSize);

#endif
