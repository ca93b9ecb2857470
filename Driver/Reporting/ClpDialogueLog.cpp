// The dialogue of a failed CLP command, sent to the management controller's log as OEM IPMI
// messages of at most 61 characters each.
#include "ModuleState.h"
#include "Reporting/Reporting.h"
#include "Library/BaseMemoryLib.h"
#include "Library/PrintLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Strings/DriverStrings.h"

// IANA private enterprise number of the management controller's maker. The controller accepts
// the text sub-function only under its own number, so a build for another controller sets
// HX_OEM_ENTERPRISE_NUMBER; the default is 10368, registered to Fujitsu (formerly Fujitsu
// Siemens Computers), maker of the iRMC management controller.
#ifndef HX_OEM_ENTERPRISE_NUMBER
#define HX_OEM_ENTERPRISE_NUMBER 10368
#endif
static_assert(HX_OEM_ENTERPRISE_NUMBER <= 0xFFFFFF, "an IANA enterprise number travels in three bytes");

const UINT8 HxOemEnterpriseNumber[3] = {
    (UINT8)(HX_OEM_ENTERPRISE_NUMBER & 0xFF),
    (UINT8)((HX_OEM_ENTERPRISE_NUMBER >> 8) & 0xFF),
    (UINT8)(HX_OEM_ENTERPRISE_NUMBER >> 16),
};

#define IPMI_NETFN_OEM_GROUP 0x2E
#define IPMI_LUN_BMC 0
#define IPMI_CMD_OEM_CLP_LOG 0xF5
#define CLP_LOG_SUBFUNCTION_TEXT 0x0C

#define CLP_LOG_TEXT_MAX 61
#define CLP_LOG_MESSAGE_HEADER 5
#define CLP_LOG_RESPONSE_CAPACITY 3
// A long reply is cut after this many messages so one failure cannot flood the controller's log.
#define CLP_LOG_MESSAGES_MAX 68
// Characters of one text that can reach the controller.
#define CLP_LOG_TEXT_CAP (CLP_LOG_TEXT_MAX * CLP_LOG_MESSAGES_MAX)

static_assert(CLP_LOG_MESSAGE_HEADER + CLP_LOG_TEXT_MAX >= CLP_LOG_RESPONSE_CAPACITY,
              "the response lands in the request buffer");

static const char mRequestBanner[] = "\n       ___________ CLP REQUEST: __________";
static const char mResponseBanner[] = "\n       ___________ CLP RESPONSE: __________";
static const char mHeaderFormat[] =
    "\n_VID/DID/PFA 0x%04x/%04x/%x, FW %a, NaloI/CardI/PortI/SubI %d/%d/%d/%d_";

// One message of at most 61 characters of Text, never reading more than Available characters.
static EFI_STATUS SendBoundedLogText(EFI_SYSTEM_TABLE *SystemTable, const CHAR8 *Text, UINTN Available,
                                     UINT8 *CompletionCode) {
  if (Text == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 Message[CLP_LOG_MESSAGE_HEADER + CLP_LOG_TEXT_MAX];
  const UINT8 Length =
      (UINT8)BoundedLength(Text, Available < CLP_LOG_TEXT_MAX ? Available : CLP_LOG_TEXT_MAX);

  CopyMem(Message, HxOemEnterpriseNumber, sizeof(HxOemEnterpriseNumber));
  Message[3] = CLP_LOG_SUBFUNCTION_TEXT;
  Message[4] = Length;
  CopyMem(&Message[CLP_LOG_MESSAGE_HEADER], Text, Length);

  // The controller's answer is not examined; it may reuse the request buffer.
  UINT8 ResponseSize = CLP_LOG_RESPONSE_CAPACITY;
  return hxIpmiSendCommandCc(SystemTable, IPMI_NETFN_OEM_GROUP, IPMI_LUN_BMC, IPMI_CMD_OEM_CLP_LOG, Message,
                             (UINT8)(Length + CLP_LOG_MESSAGE_HEADER), Message, &ResponseSize,
                             CompletionCode);
}

EFI_STATUS SendClpLogText(EFI_SYSTEM_TABLE *SystemTable, const CHAR8 *Text, UINT8 *CompletionCode) {
  return SendBoundedLogText(SystemTable, Text, CLP_LOG_TEXT_MAX, CompletionCode);
}

// Sends Text in messages of 61 characters, up to its NUL or Available characters, whichever
// comes first: a CLP reply arrives with a length and need not be terminated.
static VOID SendBoundedLogChunks(const CHAR8 *Text, UINTN Available) {
  if (Text == nullptr) {
    return;
  }
  // Counting stops at what can be sent, so a huge reply costs no more than a capped one.
  const UINTN Length = BoundedLength(Text, Available < CLP_LOG_TEXT_CAP ? Available : CLP_LOG_TEXT_CAP);
  // At least one message, so an empty text is logged as such. A lost log line must not stop the
  // rest of the dialogue, so send errors are not acted on.
  UINTN Sent = 0;
  do {
    SendBoundedLogText(gST, Text + Sent, Length - Sent, nullptr);
    Sent += CLP_LOG_TEXT_MAX;
  } while (Sent < Length);
}

VOID SendClpLogChunks(const CHAR8 *Text) {
  SendBoundedLogChunks(Text, CLP_LOG_TEXT_CAP);
}

// Formats the line that tells the controller's log which adapter function the dialogue is for.
static VOID FormatClpLogHeader(const FUNCTION_SETTINGS *Settings) {
  // The platform fills the version text; never let the formatter read past its slot.
  CHAR8 FirmwareVersion[FUNCTION_FIRMWARE_VERSION_SIZE];
  CopyChars(FirmwareVersion, Settings->FirmwareVersion[0], sizeof(FirmwareVersion) - 1);

  AsciiSPrint(mModule.Reporting.mClpLogHeader, sizeof(mModule.Reporting.mClpLogHeader), mHeaderFormat,
              (UINT32)Settings->VendorId, (UINT32)Settings->DeviceId, (UINT32)Settings->PciAddress,
              FirmwareVersion, (UINT32)Settings->NaloIndex, (UINT32)Settings->CardIndex,
              (UINT32)Settings->PortNumber, (UINT32)Settings->SubIndex);
}

VOID LogClpDialogueWithReply(FUNCTION_SETTINGS *Settings, const CHAR8 *RequestText, const CHAR8 *Reply,
                             UINTN ReplyLength) {
  SendClpLogChunks(ASTR(mRequestBanner));
  if (Settings != nullptr) {
    FormatClpLogHeader(Settings);
    SendClpLogChunks(mModule.Reporting.mClpLogHeader);
  }
  SendClpLogChunks(RequestText);
  SendClpLogChunks(ASTR(mResponseBanner));
  SendBoundedLogChunks(Reply, ReplyLength);
}

VOID LogClpDialogue(FUNCTION_SETTINGS *Settings, const CHAR8 *RequestText, const CHAR8 *ResponseText) {
  LogClpDialogueWithReply(Settings, RequestText, ResponseText, CLP_LOG_TEXT_CAP);
}
