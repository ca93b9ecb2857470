// IPMI transport to the baseboard management controller: one request, retried while the
// controller answers busy or not at all.
#include "ModuleState.h"
#include "Reporting/Reporting.h"
#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"

EFI_GUID gIpmiTransportProtocolGuid = IPMI_TRANSPORT_PROTOCOL_GUID;

// IPMI completion codes that mean "try again": the controller was busy, could not provide a
// response, or failed without saying why. Everything else, success included, is final.
#define IPMI_CC_NODE_BUSY 0xC0
#define IPMI_CC_RESPONSE_NOT_PROVIDED 0xCE
#define IPMI_CC_UNSPECIFIED_ERROR 0xFF

#define IPMI_SEND_ATTEMPTS 3

// The request size is a UINT8, so the private copy always has room for the whole request.
static_assert(IPMI_REQUEST_COPY_SIZE > 0xFF, "request copy holds any UINT8-sized request");

static BOOLEAN IsRetryableCompletionCode(UINT8 CompletionCode) {
  return CompletionCode == IPMI_CC_NODE_BUSY || CompletionCode == IPMI_CC_RESPONSE_NOT_PROVIDED ||
         CompletionCode == IPMI_CC_UNSPECIFIED_ERROR;
}

// Looks the transport up through the given system table. Only called while none is cached, so a
// failed lookup leaves none behind and the next send tries again.
static EFI_STATUS LocateIpmiTransport(EFI_SYSTEM_TABLE *SystemTable) {
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  VOID *Interface = nullptr;
  EFI_STATUS Status =
      SystemTable->BootServices->LocateProtocol(&gIpmiTransportProtocolGuid, nullptr, &Interface);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  mModule.Reporting.mIpmiTransport = (IPMI_TRANSPORT_PROTOCOL *)Interface;
  return mModule.Reporting.mIpmiTransport == nullptr ? EFI_NOT_FOUND : EFI_SUCCESS;
}

// The management controller's transport may be installed after this driver; a miss here is
// not an error, the first send looks again.
EFI_STATUS IpmiTransportLibConstructor(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  (void)ImageHandle;
  if (mModule.Reporting.mIpmiTransport == nullptr) {
    LocateIpmiTransport(SystemTable);
  }
  return EFI_SUCCESS;
}

// Written only before an attempt that is repeated, so a busy controller leaves a trace of what
// was asked of it.
static VOID DebugRetry(EFI_STATUS Status, UINT8 CompletionCode, UINT8 NetFunction, UINT8 Lun, UINT8 Command,
                       const UINT8 *Request, UINT8 RequestSize, UINT32 RetriesLeft) {
  DEBUG((DEBUG_INFO, "hxIpmiSendCommandCc(): iQSP returned with Status '%r' CC = 0x%02X\n", Status,
         (UINT32)CompletionCode));
  DEBUG((DEBUG_INFO, "                       IPMI Cmd: %02X %02X",
         (UINT32)(UINT8)((NetFunction << 2) + (Lun & 3)), (UINT32)Command));
  for (UINTN Index = 0; Index < RequestSize; Index++) {
    DEBUG((DEBUG_INFO, " %02X", (UINT32)Request[Index]));
  }
  DEBUG((DEBUG_INFO, "  -- remaining Retries %d\n", RetriesLeft));
}

EFI_STATUS hxIpmiSendCommandCc(EFI_SYSTEM_TABLE *SystemTable, UINT8 NetFunction, UINT8 Lun, UINT8 Command,
                               UINT8 *RequestData, UINT8 RequestSize, UINT8 *ResponseData,
                               UINT8 *ResponseSize, UINT8 *CompletionCode) {
  if ((RequestData == nullptr && RequestSize != 0) || ResponseSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  // Every attempt sends from this copy: the caller may pass its request buffer as the response
  // buffer too, and a partial response must not change what a retry sends.
  UINT8 *Request = mModule.Reporting.mIpmiRequestCopy;
  ZeroMem(Request, IPMI_REQUEST_COPY_SIZE);
  if (RequestSize != 0) {
    CopyMem(Request, RequestData, RequestSize);
  }

  const UINT8 ResponseCapacity = *ResponseSize;

  if (mModule.Reporting.mIpmiTransport == nullptr) {
    if (SystemTable == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    const EFI_STATUS LookupStatus = LocateIpmiTransport(SystemTable);
    if (EFI_ERROR(LookupStatus)) {
      return LookupStatus;
    }
  }

  // At least one attempt is always made, so the status and code returned are always a transport's.
  IPMI_TRANSPORT_PROTOCOL *Transport = mModule.Reporting.mIpmiTransport;
  UINT32 RetriesLeft = IPMI_SEND_ATTEMPTS;
  EFI_STATUS Status;
  UINT8 LastCompletionCode;
  for (;;) {
    *ResponseSize = ResponseCapacity;
    Status = Transport->SendIpmiCommand(Transport, NetFunction, Lun, Command, Request, RequestSize,
                                        ResponseData, ResponseSize);
    LastCompletionCode = Transport->LastCompletionCode;
    // Only the completion code decides: a transport error with a final code is final too.
    if (!IsRetryableCompletionCode(LastCompletionCode)) {
      break;
    }
    RetriesLeft--;
    DebugRetry(Status, LastCompletionCode, NetFunction, Lun, Command, Request, RequestSize, RetriesLeft);
    if (RetriesLeft == 0) {
      break;
    }
  }

  if (CompletionCode != nullptr) {
    *CompletionCode = LastCompletionCode;
  }
  return Status;
}
