// Response parser dispatch: finds the value part of a CLP reply, picks the parse step by command
// code and adapter family, and runs the small steps that need no parser of their own.
//
// Replies come from third-party option ROMs and carry no terminator that could be trusted. Every
// step reads the reply in place, from the value start to ReplyLength and never further (see
// ReplyScan.h for the contract); a reply of any length is searched to its end.
#include "ModuleState.h"
#include "Parsers/DiscoveredState.h"
#include "Planning/PlanObserver.h"
#include "Managed/AdapterFamilies.h"
#include "Parsers/PfInfoParsers.h"
#include "Parsers/QLogic8070Parsers.h"
#include "Parsers/RecordStore.h"
#include "Parsers/ReplyScan.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"
#include "Library/PrintLib.h"
#include "Strings/Vocabulary.h"

// SplitVersionList reads at most four strings of 31 characters and their separators.
#define VERSION_LIST_CHARS 255
// Significant digits that a UINTN always holds: 19 decimal, 16 hexadecimal.
#define DECIMAL_DIGITS_MAX 19
#define HEX_DIGITS_MAX (2 * sizeof(UINTN))
#define PXE_VLAN_DIGITS 4
#define LINK_SPEED_CODE_FLAG 0x4000

// What one parse step gets: the record of the Instance and the value part of the reply.
typedef struct {
  FUNCTION_SETTINGS *Settings;
  REPLY_VIEW Value;
  UINTN CommandCode;
  BOOLEAN PrefixFound;
} PARSE_VIEW;

// The parse steps below, named in the dispatch table by number so that it holds no pointers.
typedef enum : UINT8 {
  StepPfInfo,
  StepVersion,
  StepPfType,
  StepPortEnable,
  StepBootEnable,
  StepAddress,
  StepSriov,
  StepLinkConfig,
  StepUmc,
  StepBandwidth,
  StepRateLimit,
  StepMaxLinkSpeed,
  StepPxeVlanId,
  StepPxeVlan,
} PARSE_STEP;

// ---------------------------------------------------------------------------------------------
// Value start
// ---------------------------------------------------------------------------------------------

// The value start: just after the first occurrence of the family's prefix, or the reply's first
// character when the reply has no prefix.
static VOID FindValueStart(FUNCTION_SETTINGS *Settings, const REPLY_VIEW &Reply, PARSE_VIEW *View) {
  const REPLY_VIEW AfterPrefix = FindValueAfter(Reply, ReplyValuePrefix(Settings));
  View->PrefixFound = AfterPrefix.Text != nullptr;
  View->Settings = Settings;
  View->Value = View->PrefixFound ? AfterPrefix : Reply;
}

// ---------------------------------------------------------------------------------------------
// Parse steps
// ---------------------------------------------------------------------------------------------

static VOID ParsePfInfoStep(const PARSE_VIEW *View) {
  const ADAPTER_FAMILY_ROW *Family = IdentifiedFamily();
  if (Family != nullptr) {
    ParsePfInfo(Family->PfInfoKeys, View->Value.Text, View->Value.Length, View->Settings);
  }
}

static VOID ParseVersionStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  if (!IsFirstFunctionOfAdapter(View->Settings)) {
    return;
  }
  FUNCTION_SETTINGS *PortRecord;
  if (Settings->VendorId == VENDOR_QLOGIC) {
    // The other QLogic families report their versions in SHOW_PF_INFO.
    if (!mModule.Run.mFamily.QLogic8070) {
      return;
    }
    for (UINTN Port = 0; (PortRecord = PortListEntry(Settings, Port)) != nullptr; Port++) {
      FUNCTION_SETTINGS *Function;
      for (UINTN Pf = 0; (Function = FunctionListEntry(PortRecord, Pf)) != nullptr; Pf++) {
        ParseVersionsQLogic8070(3, View->Value, Function);
      }
    }
    return;
  }
  // The list splitter reads terminated text; it never needs more than its four strings.
  CHAR8 Versions[VERSION_LIST_CHARS + 1];
  StageValue(Versions, View->Value, VERSION_LIST_CHARS);
  switch (Settings->VendorId) {
  case VENDOR_MELLANOX:
    if (!View->PrefixFound) {
      return;
    }
    for (UINTN Port = 0; (PortRecord = PortListEntry(Settings, Port)) != nullptr; Port++) {
      SplitVersionList(2, Versions, PortRecord);
    }
    return;
  case VENDOR_EMULEX_OC:
    SplitVersionList(3, Versions, Settings);
    return;
  default:
    SplitVersionList(1, Versions, Settings);
    return;
  }
}

static VOID ParsePfTypeStep(const PARSE_VIEW *View) {
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  if (Family.Emulex0700 || Family.Emulex0710) {
    UINT32 Personality = PF_TYPE_NIC;
    if (FindInValue(View->Value, 5, "FCoE") != nullptr) {
      Personality = PF_TYPE_FCOE;
    } else if (FindInValue(View->Value, 5, "iSCSI") != nullptr) {
      Personality = PF_TYPE_ISCSI;
    }
    mModule.Discovered.mCurrentPersonality = Personality;
    mModule.Discovered.mTargetPersonality = Personality;
  } else if (Family.QLogic8070) {
    ParsePfTypeQLogic8070(View->Value, View->Settings);
  }
}

// Absence of the disable word means enabled; the enable word carries no information.
static VOID ParsePortEnableStep(const PARSE_VIEW *View) {
  const char *DisableWord;
  switch (View->Settings->VendorId) {
  case VENDOR_QLOGIC:
    DisableWord = "Disabl";
    break;
  case VENDOR_EMULEX:
  case VENDOR_MELLANOX:
    DisableWord = "disabl";
    break;
  default:
    return;
  }
  RecordPortEnable(View->Settings, FindKeyword(View->Value, DisableWord) == nullptr ? 1 : 0);
}

static VOID ParseBootEnableStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  switch (Settings->VendorId) {
  case VENDOR_QLOGIC:
    if (mModule.Run.mFamily.QLogic2261) {
      RecordBootEnable(Settings, FindKeyword(View->Value, "Disabl") == nullptr ? 1 : 0);
    } else if (mModule.Run.mFamily.QLogic8070 && IsFirstFunctionOfPort(View->Settings)) {
      // One reply describes the boot ROM of the whole port.
      const UINT8 Enabled = FindKeyword(View->Value, "Disabled") == nullptr ? 1 : 0;
      FUNCTION_SETTINGS *Function;
      for (UINTN Pf = 0; (Function = FunctionListEntry(Settings, Pf)) != nullptr; Pf++) {
        RecordBootEnable(Function, Enabled);
      }
    }
    return;
  case VENDOR_EMULEX:
  case VENDOR_MELLANOX:
    RecordBootEnable(Settings, FindKeyword(View->Value, "disabl") == nullptr ? 1 : 0);
    return;
  default:
    return;
  }
}

// Slot of an address command: FCoE functions keep MAC, WWNN and WWPN in slots 0, 1, 2; every
// other function keeps its MAC or WWNN in slot 0 and its WWPN in slot 1.
typedef struct {
  UINT32 Code;
  BOOLEAN Manufacturer;
  UINT8 FcoeSlot;
  UINT8 OtherSlot;
  UINT8 Digits; // two for each byte of the address
} ADDRESS_COMMAND;

static const ADDRESS_COMMAND mAddressCommands[] = {
    {SHOW_PF_MFG_MAC, TRUE, 0, 0, 12}, {SHOW_PF_MAC, FALSE, 0, 0, 12},     {SHOW_PF_MFG_WWNN, TRUE, 1, 0, 16},
    {SHOW_PF_WWNN, FALSE, 1, 0, 16},   {SHOW_PF_MFG_WWPN, TRUE, 2, 1, 16}, {SHOW_PF_WWPN, FALSE, 2, 1, 16},
};

static const char mZeroMacText[] = "000000000000";

static VOID ParseAddressStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  const ADDRESS_COMMAND *Command = nullptr;
  for (const ADDRESS_COMMAND &Candidate : mAddressCommands) {
    if (Candidate.Code == View->CommandCode) {
      Command = &Candidate;
    }
  }
  if (Command == nullptr) {
    return;
  }
  const UINT8 Slot = Settings->PfType == PF_TYPE_FCOE ? Command->FcoeSlot : Command->OtherSlot;
  CHAR8 *Text = Command->Manufacturer ? Settings->MfgAddressText[Slot] : Settings->CurrentAddressText[Slot];
  UINT8 *Bytes = Command->Manufacturer ? Settings->MfgAddress[Slot] : Settings->CurrentAddress[Slot];
  const BOOLEAN IsMac = Command->Digits == 12;

  mModule.Discovered.mScanPtr = Text;
  if (mModule.Run.mFamily.QLogic8070 && IsMac) {
    ParseColonMacQLogic8070(Text, View->Value);
  } else {
    CHAR8 Digits[FUNCTION_ADDRESS_SLOT_SIZE];
    StageValue(Digits, View->Value, Command->Digits);
    CopyCharsUpper(Text, Digits, Command->Digits);
  }

  // An adapter that reports an all-zero current MAC runs on its manufacturer MAC.
  if (mModule.Run.mFamily.QLogic8070 && View->CommandCode == SHOW_PF_MAC &&
      CompareMem(Settings->CurrentAddressText[0], mZeroMacText, 12) == 0) {
    CopyMem(Settings->CurrentAddressText[0], Settings->MfgAddressText[0], 13);
  }

  // The text slot may still hold what the platform put there (a short colon MAC leaves it alone),
  // so convert from a copy that is certain to end inside the slot.
  CHAR8 Terminated[FUNCTION_ADDRESS_SLOT_SIZE] = {};
  CopyMem(Terminated, Text, FUNCTION_ADDRESS_SLOT_SIZE - 1);
  ConvertAddressBytes(Bytes, Command->Digits / 2, Terminated);
}

static VOID ParseSriovStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  if (!IsFirstFunctionOfAdapter(View->Settings)) {
    return;
  }
  FUNCTION_SETTINGS *PortRecord;
  for (UINTN Port = 0; (PortRecord = PortListEntry(Settings, Port)) != nullptr; Port++) {
    if (mModule.Run.mFamily.QLogic8070) {
      FUNCTION_SETTINGS *Function;
      for (UINTN Pf = 0; (Function = FunctionListEntry(PortRecord, Pf)) != nullptr; Pf++) {
        ParseSriovQLogic8070(View->Value, Function);
      }
    } else if (mModule.Run.mFamily.Mellanox1013) {
      PortRecord->SriovEnabled = FindKeyword(View->Value, "enabled") != nullptr ? 1 : 0;
    }
  }
}

static VOID ParseLinkConfigStep(const PARSE_VIEW *View) {
  if (!mModule.Run.mFamily.Emulex0720) {
    return;
  }
  UINT32 LinkConfig;
  if (View->Settings->SubsystemId == SUBSYSTEM_EMULEX_4X10G) {
    LinkConfig = FindKeyword(View->Value, "ELX_4x10G") != nullptr ? 3 : 2;
  } else {
    LinkConfig = FindKeyword(View->Value, "ELX_4x1G") != nullptr ? 1 : 0;
  }
  mModule.Discovered.mLinkConfig = LinkConfig;
  mModule.Discovered.mActiveLinkConfig = LinkConfig;
}

static VOID ParseUmcStep(const PARSE_VIEW *View) {
  if (IsFirstFunctionOfAdapter(View->Settings)) {
    ParseUmcQLogic8070(View->Value);
  }
}

static VOID ParseBandwidthStep(const PARSE_VIEW *View) {
  if (IsFirstFunctionOfPort(View->Settings)) {
    ParseBandwidthListQLogic8070(View->Value, View->Settings, FALSE);
  }
}

static VOID ParseRateLimitStep(const PARSE_VIEW *View) {
  if (IsFirstFunctionOfPort(View->Settings)) {
    ParseBandwidthListQLogic8070(View->Value, View->Settings, TRUE);
  }
}

// The library conversions assert on a number that does not fit a UINTN, and they need terminated
// text. A reply is not to stop the boot and has no terminator, so find the number in place first:
// skip what the conversion skips (blanks and tabs, leading zeros, and for hexadecimal an "x"
// after a zero), then stage only its significant digits, or nothing when there are too many.
static VOID StageNumber(CHAR8 *Digits, const REPLY_VIEW &Value, BOOLEAN Hexadecimal) {
  const CHAR8 *Text = Value.Text;
  const UINTN Length = Value.Length;
  UINTN Position = 0;
  while (Position < Length && (Text[Position] == ' ' || Text[Position] == '\t')) {
    Position++;
  }
  BOOLEAN SawZero = FALSE;
  while (Position < Length && Text[Position] == '0') {
    Position++;
    SawZero = TRUE;
  }
  if (Hexadecimal && SawZero && Position < Length && (Text[Position] == 'x' || Text[Position] == 'X')) {
    Position++;
    while (Position < Length && Text[Position] == '0') {
      Position++;
    }
  }
  UINTN Count = 0;
  UINT8 Digit;
  while (Position + Count < Length &&
         (Hexadecimal ? IsHexDigitChar(&Digit, Text[Position + Count])
                      : (Text[Position + Count] >= '0' && Text[Position + Count] <= '9'))) {
    Count++;
  }
  const UINTN Limit = Hexadecimal ? HEX_DIGITS_MAX : DECIMAL_DIGITS_MAX;
  StageValue(Digits, {Text + Position, Count <= Limit ? Count : 0}, Limit);
}

static VOID ParseMaxLinkSpeedStep(const PARSE_VIEW *View) {
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  CHAR8 Digits[DECIMAL_DIGITS_MAX + 1];
  UINTN Speed = 0;
  if (Family.QLogic2261) {
    StageNumber(Digits, View->Value, FALSE);
    Speed = AsciiStrDecimalToUintn(Digits);
  } else if (Family.Mellanox1013 || Family.Mellanox1017) {
    // The Mellanox CLP reports the speed in hexadecimal.
    StageNumber(Digits, View->Value, TRUE);
    Speed = AsciiStrHexToUintn(Digits);
  }
  if (Speed == 0) {
    return;
  }
  FUNCTION_SETTINGS *Settings = View->Settings;
  AsciiSPrint(Settings->MaxLinkSpeedText, sizeof(Settings->MaxLinkSpeedText), "%d Gb/s", (int)Speed);
  Settings->MaxLinkSpeedCode = (UINT16)(Speed | LINK_SPEED_CODE_FLAG);
}

static VOID ParsePxeVlanIdMellanox1013(const PARSE_VIEW *View) {
  CHAR8 Digits[PXE_VLAN_DIGITS + 1];
  StageValue(Digits, View->Value, PXE_VLAN_DIGITS);
  StoreVlanId(View->Settings, (UINT16)AsciiStrDecimalToUintn(Digits));
}

static BOOLEAN IsQLogic8070PxeDevice(const FUNCTION_SETTINGS *Settings) {
  const UINT32 Device = RecordVidDid(Settings);
  return Device == VIDDID_QLOGIC_8070 || Device == VIDDID_QLOGIC_1644;
}

static VOID ParsePxeVlanIdStep(const PARSE_VIEW *View) {
  if (mModule.Run.mFamily.Mellanox1013) {
    ParsePxeVlanIdMellanox1013(View);
  } else if (IsQLogic8070PxeDevice(View->Settings)) {
    ParsePxeVlanIdQLogic8070(View->Value, View->Settings);
  }
}

static VOID ParsePxeVlanStep(const PARSE_VIEW *View) {
  if (IsQLogic8070PxeDevice(View->Settings)) {
    ParsePxeVlanQLogic8070(View->Value, View->Settings);
  }
}

// ---------------------------------------------------------------------------------------------
// Dispatch
// ---------------------------------------------------------------------------------------------

typedef struct {
  UINT32 Code;
  PARSE_STEP Step;
} PARSE_DISPATCH_ENTRY;

// Codes not listed here have no reply worth reading, even when a builder asked for parsing.
static const PARSE_DISPATCH_ENTRY mParseDispatch[] = {
    {SHOW_PF_INFO, StepPfInfo},
    {SHOW_VERSION, StepVersion},
    {SHOW_PF_TYPE, StepPfType},
    {SHOW_PORT_EN, StepPortEnable},
    {SHOW_BOOT_EN, StepBootEnable},
    {SHOW_PF_MFG_MAC, StepAddress},
    {SHOW_PF_MAC, StepAddress},
    {SHOW_PF_MFG_WWNN, StepAddress},
    {SHOW_PF_WWNN, StepAddress},
    {SHOW_PF_MFG_WWPN, StepAddress},
    {SHOW_PF_WWPN, StepAddress},
    {SHOW_SRIOV, StepSriov},
    {SHOW_LINK_CONFIG, StepLinkConfig},
    {SHOW_UMC, StepUmc},
    {SHOW_PF_BANDWIDTH, StepBandwidth},
    {SHOW_PF_RATE_LIMIT, StepRateLimit},
    {SHOW_MAX_LINK_SPEED, StepMaxLinkSpeed},
    {SHOW_PXE_VLANID, StepPxeVlanId},
    {SHOW_PXE_VLAN, StepPxeVlan},
};

static VOID RunParseStep(PARSE_STEP Step, const PARSE_VIEW *View) {
  switch (Step) {
  case StepPfInfo:
    ParsePfInfoStep(View);
    return;
  case StepVersion:
    ParseVersionStep(View);
    return;
  case StepPfType:
    ParsePfTypeStep(View);
    return;
  case StepPortEnable:
    ParsePortEnableStep(View);
    return;
  case StepBootEnable:
    ParseBootEnableStep(View);
    return;
  case StepAddress:
    ParseAddressStep(View);
    return;
  case StepSriov:
    ParseSriovStep(View);
    return;
  case StepLinkConfig:
    ParseLinkConfigStep(View);
    return;
  case StepUmc:
    ParseUmcStep(View);
    return;
  case StepBandwidth:
    ParseBandwidthStep(View);
    return;
  case StepRateLimit:
    ParseRateLimitStep(View);
    return;
  case StepMaxLinkSpeed:
    ParseMaxLinkSpeedStep(View);
    return;
  case StepPxeVlanId:
    ParsePxeVlanIdStep(View);
    return;
  case StepPxeVlan:
    ParsePxeVlanStep(View);
    return;
  }
}

// What an empty reply is read as when the adapter driver passes no string at all.
static const CHAR8 mEmptyReply{};

EFI_STATUS ParseClpReply(FUNCTION_SETTINGS *Settings, UINTN *Instance, CHAR8 *Reply, UINT32 ReplyLength,
                         UINTN CommandCode) {
  (void)Instance;
  mModule.Discovered.mConfigStatus = EFI_SUCCESS;
  if (Settings == nullptr) {
    return mModule.Discovered.mConfigStatus;
  }
  PLAN_OBSERVE(PlanObserveReply, CommandCode, Settings, 0, FALSE);

  // An empty reply (a failed command's, say) is read like any other: its keywords are absent,
  // which for several steps is a result. A missing string with a length is nothing that can be
  // read, so nothing is concluded from it.
  const CHAR8 *Text = Reply;
  if (Text == nullptr) {
    if (ReplyLength != 0) {
      return mModule.Discovered.mConfigStatus;
    }
    Text = &mEmptyReply;
  }

  for (const PARSE_DISPATCH_ENTRY &Entry : mParseDispatch) {
    if (Entry.Code == CommandCode) {
      PARSE_VIEW View;
      FindValueStart(Settings, {Text, ReplyLength}, &View);
      View.CommandCode = CommandCode;
      RunParseStep(Entry.Step, &View);
      break;
    }
  }
  return mModule.Discovered.mConfigStatus;
}

UINT8 GetPxeVlanEnabled(VOID) {
  return mModule.Discovered.mPxeVlanEnabled;
}
