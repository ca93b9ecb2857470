// Fibre Channel boot targets, link speed and topology, and the iSCSI initiator and target.
//
// These settings are not compared with the adapter: whenever the platform's boot entry for the
// function supplies them they are planned, and the Fibre Channel texts are copied into the record
// for the builder.
#include "ModuleState.h"
#include "Planning/PredicateInternal.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Strings/Vocabulary.h"

typedef struct {
  UINT32 Code;
  CHAR8 *NALO_BOOT_ENTRY::*Source;
  UINTN RecordOffset; // text field of FUNCTION_SETTINGS that receives the copy
  UINT8 Characters;
  UINT8 QLogicCharacters; // QLogic adapters take a shorter link speed text
} FC_BOOT_ROW;

#define RECORD_FIELD(Field) __builtin_offsetof(FUNCTION_SETTINGS, Field)

static const FC_BOOT_ROW mFcBootRows[] = {
    {SET_PF_TAR_WWPN1, &NALO_BOOT_ENTRY::Target1Wwpn, RECORD_FIELD(TargetWwpn1Text), 16, 16},
    {SET_PF_TAR_WWPN2, &NALO_BOOT_ENTRY::Target2Wwpn, RECORD_FIELD(TargetWwpn2Text), 16, 16},
    {SET_PF_TAR_LUN1, &NALO_BOOT_ENTRY::Target1Lun, RECORD_FIELD(TargetLun1Text), 4, 4},
    {SET_PF_TAR_LUN2, &NALO_BOOT_ENTRY::Target2Lun, RECORD_FIELD(TargetLun2Text), 4, 4},
    {SET_LINK_SPEED, &NALO_BOOT_ENTRY::FcLinkSpeed, RECORD_FIELD(LinkSpeedText), 4, 2},
    {SET_TOPOLOGY, &NALO_BOOT_ENTRY::FcTopology, RECORD_FIELD(TopologyText), 2, 2},
};

VOID PlanFcBootTarget(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!BootEntryUsable()) {
    return;
  }
  for (const FC_BOOT_ROW &Row : mFcBootRows) {
    if (Row.Code != Code) {
      continue;
    }
    const CHAR8 *Text = mModule.Tables.mCurBootEntry->*Row.Source;
    if (Text == nullptr || !AppendCommand(Code, Count)) {
      return;
    }
    const UINTN Characters = Settings->VendorId == VENDOR_QLOGIC ? Row.QLogicCharacters : Row.Characters;
    CopyChars((CHAR8 *)Settings + Row.RecordOffset, Text, Characters);
    return;
  }
}

// What an iSCSI code needs beyond a usable boot entry: the value of one selector byte of the entry
// (origin or authentication method) within a range.
typedef struct {
  UINT8 FirstCode;
  UINT8 LastCode;
  UINT8 *NALO_BOOT_ENTRY::*Selector; // nullptr: the usable entry is enough
  UINT8 MinValue;
  UINT8 MaxValue;
} ISCSI_ROW;

#define ORIGIN_STATIC 1
#define AUTH_CHAP 1
#define AUTH_MUTUAL_CHAP 2

static const ISCSI_ROW mIscsiRows[] = {
    {SET_ISCSI_INI_ADDR_ORIGIN, SET_ISCSI_INI_ADDR_ORIGIN, nullptr, 0, 0},
    {SET_ISCSI_INI_IPV4_ADDR, SET_ISCSI_INI_IPV4_GATEWAY, &NALO_BOOT_ENTRY::InitiatorOrigin, ORIGIN_STATIC,
     ORIGIN_STATIC},
    {SET_ISCSI_TAR_ADDR_ORIGIN, SET_ISCSI_TAR_ADDR_ORIGIN, nullptr, 0, 0},
    {SET_ISCSI_TAR_NAME, SET_ISCSI_TAR_BOOT_LUN, &NALO_BOOT_ENTRY::TargetOrigin, ORIGIN_STATIC,
     ORIGIN_STATIC},
    {SET_ISCSI_TAR_AUTH_METHOD, SET_ISCSI_TAR_AUTH_METHOD, nullptr, 0, 0},
    {SET_ISCSI_TAR_CHAP_USERNAME, SET_ISCSI_TAR_CHAP_SECRET, &NALO_BOOT_ENTRY::AuthMethod, AUTH_CHAP,
     AUTH_MUTUAL_CHAP},
    {SET_ISCSI_TAR_MUT_CHAP_SECRET, SET_ISCSI_TAR_MUT_CHAP_SECRET, &NALO_BOOT_ENTRY::AuthMethod,
     AUTH_MUTUAL_CHAP, AUTH_MUTUAL_CHAP},
};

#define ISCSI_NAME_CHARACTERS 254

// The initiator name is the one iSCSI setting the adapter reports back, so it is compared; it is
// a port setting and does not depend on the function's boot entry.
static VOID PlanIscsiInitiatorName(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  const CHAR8 *Name = mModule.Tables.mNaloHeader.InitiatorName;
  if (!BootTableValid() || Name == nullptr ||
      !PlanTextDiffers(Name, Settings->IscsiInitiatorName, sizeof(Settings->IscsiInitiatorName)) ||
      !AppendCommand(Code, Count)) {
    return;
  }
  mModule.Discovered.mScanLength = ISCSI_NAME_CHARACTERS;
  CopyChars(Settings->IscsiInitiatorName, Name, ISCSI_NAME_CHARACTERS);
}

VOID PlanIscsi(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (Code == SET_ISCSI_INI_NAME) {
    PlanIscsiInitiatorName(Settings, Code, Count);
    return;
  }
  if (!BootEntryUsable()) {
    return;
  }
  for (const ISCSI_ROW &Row : mIscsiRows) {
    if (Code < Row.FirstCode || Code > Row.LastCode) {
      continue;
    }
    if (Row.Selector != nullptr) {
      const UINT8 *Value = mModule.Tables.mCurBootEntry->*Row.Selector;
      if (Value == nullptr || *Value < Row.MinValue || *Value > Row.MaxValue) {
        return;
      }
    }
    AppendCommand(Code, Count);
    return;
  }
}
