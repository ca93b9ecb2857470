// Management-controller reporting: IPMI transport, CLP dialogue log, status codes.
#ifndef DRIVER_REPORTING_REPORTING_H_
#define DRIVER_REPORTING_REPORTING_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Protocol/IpmiTransport.h"

#define CLP_LOG_HEADER_SIZE 61
#define IPMI_REQUEST_COPY_SIZE 256

struct REPORTING_STATE {
  IPMI_TRANSPORT_PROTOCOL *mIpmiTransport = nullptr;
  // The transport's private copy of a request; here rather than on the stack, because the send
  // runs at the bottom of the deepest Query paths.
  UINT8 mIpmiRequestCopy[IPMI_REQUEST_COPY_SIZE] = {};
  CHAR8 mClpLogHeader[CLP_LOG_HEADER_SIZE] = {};
};

extern EFI_GUID gIpmiTransportProtocolGuid;
extern EFI_GUID gClpStatusCallerGuid;
// IANA enterprise number of the management controller's maker, least significant byte first.
extern const UINT8 HxOemEnterpriseNumber[3];

EFI_STATUS IpmiTransportLibConstructor(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);
EFI_STATUS hxIpmiSendCommandCc(EFI_SYSTEM_TABLE *SystemTable, UINT8 NetFunction, UINT8 Lun, UINT8 Command,
                               UINT8 *RequestData, UINT8 RequestSize, UINT8 *ResponseData,
                               UINT8 *ResponseSize, UINT8 *CompletionCode);

VOID LogClpDialogue(FUNCTION_SETTINGS *Settings, const CHAR8 *RequestText, const CHAR8 *ResponseText);
// The same for a reply as an adapter driver returns it: ReplyLength characters, maybe unterminated.
VOID LogClpDialogueWithReply(FUNCTION_SETTINGS *Settings, const CHAR8 *RequestText, const CHAR8 *Reply,
                             UINTN ReplyLength);
VOID SendClpLogChunks(const CHAR8 *Text);
EFI_STATUS SendClpLogText(EFI_SYSTEM_TABLE *SystemTable, const CHAR8 *Text, UINT8 *CompletionCode);

VOID ReportClpFailure(FUNCTION_SETTINGS *Settings, UINT8 CmdStatus, UINT8 ErrorValue);

#endif
