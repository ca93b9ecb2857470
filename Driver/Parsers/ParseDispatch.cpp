// Response parser dispatch: finds the value part of a CLP reply, picks the parse step by command
// code and adapter family, and runs the small steps that need no parser of their own.
//
// Replies come from third-party option ROMs. The dispatcher therefore copies the value part of
// the reply, bounded by ReplyLength, into ClpCommandBuffer and terminates it there; every step and
// parser works on that copy only (see ReplyParsers.h for the contract).
#include "Parsers/DiscoveredState.h"
#include "Parsers/ReplyParsers.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"
#include "Library/PrintLib.h"

#define VENDOR_QLOGIC 0x1077
#define VENDOR_EMULEX 0x10DF
#define VENDOR_EMULEX_OEM 0x19A2
#define VENDOR_MELLANOX 0x15B3
#define VENDOR_INTEL 0x8086

#define SUBSYSTEM_EMULEX_4X10G 0xE868
#define VIDDID_QLOGIC_8070 0x10778070u
#define VIDDID_QLOGIC_1644 0x10771644u

#define VLAN_ID_NONE 4095
#define LINK_SPEED_CODE_FLAG 0x4000

// What one parse step gets: the record of the Instance and the terminated value copy.
typedef struct {
  FUNCTION_SETTINGS *Settings;
  CHAR8 *Value;
  UINTN Length;
  UINTN CommandCode;
  BOOLEAN PrefixFound;
} PARSE_VIEW;

typedef VOID (*PARSE_STEP)(const PARSE_VIEW *View);

// ---------------------------------------------------------------------------------------------
// Helpers shared with the family parsers
// ---------------------------------------------------------------------------------------------

static UINTN ConstLength(const char *Text) {
  return AsciiStrLen(ASTR(Text));
}

CHAR8 *FindInValue(CHAR8 *Value, UINTN Length, UINTN Window, const char *Key) {
  mModule.mSearchKey = ASTR(Key);
  mModule.mScanLength = ConstLength(Key);
  mModule.mScanPtr = nullptr;
  if (Value == nullptr) {
    return nullptr;
  }
  const UINTN Range = Window < Length ? Window : Length;
  mModule.mScanPtr = HxMemSearch(Value, Range, ASTR(Key), mModule.mScanLength);
  return mModule.mScanPtr;
}

CHAR8 *FindKeyword(CHAR8 *Value, UINTN Length, const char *Key) {
  return FindInValue(Value, Length, Length, Key);
}

UINTN FunctionListCount(const FUNCTION_SETTINGS *Settings) {
  return Settings->FunctionCount < FUNCTION_LIST_ENTRIES ? Settings->FunctionCount : FUNCTION_LIST_ENTRIES;
}

UINTN PortListCount(const FUNCTION_SETTINGS *Settings) {
  return Settings->PortCount < FUNCTION_LIST_ENTRIES ? Settings->PortCount : FUNCTION_LIST_ENTRIES;
}

VOID ConvertAddressBytes(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text) {
  mModule.mDestPtr = ByteSlot;
  mModule.mByteLength = Capacity;
  mModule.mScanLength = 0;
  // Too long a run answers EFI_BUFFER_TOO_SMALL without writing; the slot keeps its address.
  if (AsciiHexStringToBuf(ByteSlot, &mModule.mByteLength, Text, &mModule.mScanLength) == EFI_SUCCESS) {
    ReverseBytes(ByteSlot, (UINT16)mModule.mByteLength);
  }
}

// ---------------------------------------------------------------------------------------------
// Value start
// ---------------------------------------------------------------------------------------------

static const char *ValuePrefixOf(const FUNCTION_SETTINGS *Settings) {
  const ADAPTER_FAMILY &Family = mModule.mFamily;
  switch (Settings->VendorId) {
  case VENDOR_QLOGIC:
    if (Family.QLogic8070) {
      return "data=";
    }
    if (Family.QLogic2261) {
      return "retdata=\r\n";
    }
    return "retdata=";
  case VENDOR_MELLANOX:
    return "data=";
  case VENDOR_INTEL:
    return "permanentaddress=";
  default:
    return "retdata=";
  }
}

// Finds the value start in the reply and copies the value, bounded by ReplyLength and cut to
// PARSE_VALUE_MAX characters, into ClpCommandBuffer with a terminator. The command that produced
// the reply has run, so the buffer is free. CopyMem moves overlapping bytes correctly, so even a
// reply that an adapter driver wrote into the command buffer itself is copied intact.
static VOID PrepareValue(FUNCTION_SETTINGS *Settings, CHAR8 *Reply, UINTN ReplyLength, PARSE_VIEW *View) {
  const char *Prefix = ValuePrefixOf(Settings);
  mModule.mSearchKey = ASTR(Prefix);
  mModule.mScanLength = ConstLength(Prefix);
  mModule.mScanPtr = HxMemSearch(Reply, ReplyLength, ASTR(Prefix), mModule.mScanLength);

  UINTN Offset = 0;
  View->PrefixFound = mModule.mScanPtr != nullptr;
  if (View->PrefixFound) {
    Offset = (UINTN)(mModule.mScanPtr - Reply) + mModule.mScanLength;
  }
  UINTN Length = ReplyLength - Offset;
  if (Length > PARSE_VALUE_MAX) {
    Length = PARSE_VALUE_MAX;
  }
  CHAR8 *Copy = mModule.ClpCommandBuffer;
  CopyMem(Copy, Reply + Offset, Length);
  Copy[Length] = 0;

  View->Settings = Settings;
  View->Value = Copy;
  View->Length = Length;
}

// ---------------------------------------------------------------------------------------------
// Parse steps
// ---------------------------------------------------------------------------------------------

static VOID ParsePfInfoStep(const PARSE_VIEW *View) {
  ParsePfInfoEmulex0710(View->Value, View->Length, View->Settings);
  ParsePfInfoEmulex0720(View->Value, View->Length, View->Settings);
  ParsePfInfoQLogic2031(View->Value, View->Length, View->Settings);
}

static VOID ParseVersionStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  if (!mModule.mFirstFunctionOfAdapter) {
    return;
  }
  switch (Settings->VendorId) {
  case VENDOR_QLOGIC:
    // The other QLogic families report their versions in SHOW_PF_INFO.
    if (!mModule.mFamily.QLogic8070) {
      return;
    }
    for (UINTN Port = 0; Port < PortListCount(Settings); Port++) {
      FUNCTION_SETTINGS *PortRecord = Settings->Ports[Port];
      if (PortRecord == nullptr) {
        continue;
      }
      for (UINTN Pf = 0; Pf < FunctionListCount(PortRecord); Pf++) {
        if (PortRecord->Functions[Pf] != nullptr) {
          ParseVersionsQLogic8070(3, View->Value, View->Length, PortRecord->Functions[Pf]);
        }
      }
    }
    return;
  case VENDOR_MELLANOX:
    if (!View->PrefixFound) {
      return;
    }
    for (UINTN Port = 0; Port < PortListCount(Settings); Port++) {
      if (Settings->Ports[Port] != nullptr) {
        SplitVersionList(2, View->Value, Settings->Ports[Port]);
      }
    }
    return;
  case VENDOR_EMULEX_OEM:
    SplitVersionList(3, View->Value, Settings);
    return;
  default:
    SplitVersionList(1, View->Value, Settings);
    return;
  }
}

static VOID ParsePfTypeStep(const PARSE_VIEW *View) {
  const ADAPTER_FAMILY &Family = mModule.mFamily;
  if (Family.Emulex0700 || Family.Emulex0710) {
    UINT32 Personality = PF_TYPE_NIC;
    if (FindInValue(View->Value, View->Length, 5, "FCoE") != nullptr) {
      Personality = PF_TYPE_FCOE;
    } else if (FindInValue(View->Value, View->Length, 5, "iSCSI") != nullptr) {
      Personality = PF_TYPE_ISCSI;
    }
    mModule.mCurrentPersonality = Personality;
    mModule.mTargetPersonality = Personality;
  } else if (Family.QLogic8070) {
    ParsePfTypeQLogic8070(View->Value, View->Length, View->Settings);
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
  const UINT8 Enabled = FindKeyword(View->Value, View->Length, DisableWord) == nullptr ? 1 : 0;
  View->Settings->PortEnable = Enabled;
  View->Settings->PortEnableToApply = Enabled;
}

static VOID StoreBootEnable(FUNCTION_SETTINGS *Settings, UINT8 Enabled) {
  Settings->BootEnable = Enabled;
  Settings->BootEnableToApply = Enabled;
}

static VOID ParseBootEnableStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  switch (Settings->VendorId) {
  case VENDOR_QLOGIC:
    if (mModule.mFamily.QLogic2261) {
      StoreBootEnable(Settings, FindKeyword(View->Value, View->Length, "Disabl") == nullptr ? 1 : 0);
    } else if (mModule.mFamily.QLogic8070 && mModule.mFirstFunctionOfPort) {
      // One reply describes the boot ROM of the whole port.
      const UINT8 Enabled = FindKeyword(View->Value, View->Length, "Disabled") == nullptr ? 1 : 0;
      for (UINTN Pf = 0; Pf < FunctionListCount(Settings); Pf++) {
        if (Settings->Functions[Pf] != nullptr) {
          StoreBootEnable(Settings->Functions[Pf], Enabled);
        }
      }
    }
    return;
  case VENDOR_EMULEX:
  case VENDOR_MELLANOX:
    StoreBootEnable(Settings, FindKeyword(View->Value, View->Length, "disabl") == nullptr ? 1 : 0);
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
  UINT8 Digits;
  UINT8 Bytes;
} ADDRESS_COMMAND;

static const ADDRESS_COMMAND mAddressCommands[] = {
    {SHOW_PF_MFG_MAC, TRUE, 0, 0, 12, 6},  {SHOW_PF_MAC, FALSE, 0, 0, 12, 6},
    {SHOW_PF_MFG_WWNN, TRUE, 1, 0, 16, 8}, {SHOW_PF_WWNN, FALSE, 1, 0, 16, 8},
    {SHOW_PF_MFG_WWPN, TRUE, 2, 1, 16, 8}, {SHOW_PF_WWPN, FALSE, 2, 1, 16, 8},
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

  mModule.mScanPtr = Text;
  if (mModule.mFamily.QLogic8070 && IsMac) {
    ParseColonMacQLogic8070(Text, View->Value, View->Length);
  } else {
    mModule.mScanLength = Command->Digits;
    CopyCharsUpper(Text, View->Value, Command->Digits);
  }

  // An adapter that reports an all-zero current MAC runs on its manufacturer MAC.
  if (mModule.mFamily.QLogic8070 && View->CommandCode == SHOW_PF_MAC &&
      CompareMem(Settings->CurrentAddressText[0], mZeroMacText, 12) == 0) {
    CopyMem(Settings->CurrentAddressText[0], Settings->MfgAddressText[0], 13);
  }

  // The text slot may still hold what the platform put there (a short colon MAC leaves it alone),
  // so convert from a copy that is certain to end inside the slot.
  CHAR8 Terminated[FUNCTION_ADDRESS_SLOT_SIZE];
  CopyMem(Terminated, Text, FUNCTION_ADDRESS_SLOT_SIZE - 1);
  Terminated[FUNCTION_ADDRESS_SLOT_SIZE - 1] = 0;
  ConvertAddressBytes(Bytes, Command->Bytes, Terminated);
}

static VOID ParseSriovStep(const PARSE_VIEW *View) {
  FUNCTION_SETTINGS *Settings = View->Settings;
  if (!mModule.mFirstFunctionOfAdapter) {
    return;
  }
  for (UINTN Port = 0; Port < PortListCount(Settings); Port++) {
    FUNCTION_SETTINGS *PortRecord = Settings->Ports[Port];
    if (PortRecord == nullptr) {
      continue;
    }
    if (mModule.mFamily.QLogic8070) {
      for (UINTN Pf = 0; Pf < FunctionListCount(PortRecord); Pf++) {
        if (PortRecord->Functions[Pf] != nullptr) {
          ParseSriovQLogic8070(View->Value, View->Length, PortRecord->Functions[Pf]);
        }
      }
    } else if (mModule.mFamily.Mellanox1013) {
      PortRecord->SriovEnabled = FindKeyword(View->Value, View->Length, "enabled") != nullptr ? 1 : 0;
    }
  }
}

static VOID ParseLinkConfigStep(const PARSE_VIEW *View) {
  if (!mModule.mFamily.Emulex0720) {
    return;
  }
  UINT32 LinkConfig;
  if (View->Settings->SubsystemId == SUBSYSTEM_EMULEX_4X10G) {
    LinkConfig = FindKeyword(View->Value, View->Length, "ELX_4x10G") != nullptr ? 3 : 2;
  } else {
    LinkConfig = FindKeyword(View->Value, View->Length, "ELX_4x1G") != nullptr ? 1 : 0;
  }
  mModule.mLinkConfig = LinkConfig;
  mModule.mActiveLinkConfig = LinkConfig;
}

static VOID ParseUmcStep(const PARSE_VIEW *View) {
  if (mModule.mFirstFunctionOfAdapter) {
    ParseUmcQLogic8070(View->Value, View->Length);
  }
}

static VOID ParseBandwidthStep(const PARSE_VIEW *View) {
  if (mModule.mFirstFunctionOfPort) {
    ParseBandwidthListQLogic8070(View->Value, View->Length, View->Settings, FALSE);
  }
}

static VOID ParseRateLimitStep(const PARSE_VIEW *View) {
  if (mModule.mFirstFunctionOfPort) {
    ParseBandwidthListQLogic8070(View->Value, View->Length, View->Settings, TRUE);
  }
}

// The library conversions assert on a number that does not fit a UINTN. A reply is not to
// stop the boot, so count the significant digits the conversion would read first (skipping
// what it skips: blanks and tabs, leading zeros, and for hexadecimal an "x" after a zero).
static BOOLEAN NumberFitsUintn(const CHAR8 *Text, BOOLEAN Hexadecimal) {
  while (*Text == ' ' || *Text == '\t') {
    Text++;
  }
  BOOLEAN SawZero = FALSE;
  while (*Text == '0') {
    Text++;
    SawZero = TRUE;
  }
  if (Hexadecimal && SawZero && (*Text == 'x' || *Text == 'X')) {
    Text++;
    while (*Text == '0') {
      Text++;
    }
  }
  UINTN Digits = 0;
  UINT8 Digit;
  while (Hexadecimal ? IsHexDigitChar(&Digit, *Text) : (*Text >= '0' && *Text <= '9')) {
    Text++;
    Digits++;
  }
  return Hexadecimal ? Digits <= 2 * sizeof(UINTN) : Digits <= 19;
}

static VOID ParseMaxLinkSpeedStep(const PARSE_VIEW *View) {
  const ADAPTER_FAMILY &Family = mModule.mFamily;
  UINTN Speed = 0;
  if (Family.QLogic2261) {
    if (NumberFitsUintn(View->Value, FALSE)) {
      Speed = AsciiStrDecimalToUintn(View->Value);
    }
  } else if (Family.Mellanox1013 || Family.Mellanox1017) {
    // The Mellanox CLP reports the speed in hexadecimal.
    if (NumberFitsUintn(View->Value, TRUE)) {
      Speed = AsciiStrHexToUintn(View->Value);
    }
  }
  if (Speed == 0) {
    return;
  }
  FUNCTION_SETTINGS *Settings = View->Settings;
  AsciiSPrint(Settings->MaxLinkSpeedText, sizeof(Settings->MaxLinkSpeedText), "%d Gb/s", (int)Speed);
  Settings->MaxLinkSpeedCode = (UINT16)(Speed | LINK_SPEED_CODE_FLAG);
}

static VOID ParsePxeVlanIdMellanox1013(const PARSE_VIEW *View) {
  CHAR8 Digits[5];
  CopyChars(Digits, View->Value, 4);
  const UINT16 VlanId = (UINT16)AsciiStrDecimalToUintn(Digits);
  mModule.mCurrentVlanId = VlanId;
  mModule.mTargetVlanId = VlanId;
  View->Settings->VlanId = VlanId == VLAN_ID_NONE ? 0 : VlanId;
}

static BOOLEAN IsQLogic8070PxeDevice(VOID) {
  return mModule.mPciVidDid == VIDDID_QLOGIC_8070 || mModule.mPciVidDid == VIDDID_QLOGIC_1644;
}

static VOID ParsePxeVlanIdStep(const PARSE_VIEW *View) {
  if (mModule.mFamily.Mellanox1013) {
    ParsePxeVlanIdMellanox1013(View);
  } else if (IsQLogic8070PxeDevice()) {
    ParsePxeVlanIdQLogic8070(View->Value, View->Length, View->Settings);
  }
}

static VOID ParsePxeVlanStep(const PARSE_VIEW *View) {
  if (IsQLogic8070PxeDevice()) {
    ParsePxeVlanQLogic8070(View->Value, View->Length, View->Settings);
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
    {SHOW_PF_INFO, ParsePfInfoStep},
    {SHOW_VERSION, ParseVersionStep},
    {SHOW_PF_TYPE, ParsePfTypeStep},
    {SHOW_PORT_EN, ParsePortEnableStep},
    {SHOW_BOOT_EN, ParseBootEnableStep},
    {SHOW_PF_MFG_MAC, ParseAddressStep},
    {SHOW_PF_MAC, ParseAddressStep},
    {SHOW_PF_MFG_WWNN, ParseAddressStep},
    {SHOW_PF_WWNN, ParseAddressStep},
    {SHOW_PF_MFG_WWPN, ParseAddressStep},
    {SHOW_PF_WWPN, ParseAddressStep},
    {SHOW_SRIOV, ParseSriovStep},
    {SHOW_LINK_CONFIG, ParseLinkConfigStep},
    {SHOW_UMC, ParseUmcStep},
    {SHOW_PF_BANDWIDTH, ParseBandwidthStep},
    {SHOW_PF_RATE_LIMIT, ParseRateLimitStep},
    {SHOW_MAX_LINK_SPEED, ParseMaxLinkSpeedStep},
    {SHOW_PXE_VLANID, ParsePxeVlanIdStep},
    {SHOW_PXE_VLAN, ParsePxeVlanStep},
};

EFI_STATUS ParseClpReply(FUNCTION_SETTINGS *Settings, UINTN *Instance, CHAR8 *Reply, UINT32 ReplyLength,
                         UINTN CommandCode) {
  (void)Instance;
  mModule.mConfigStatus = EFI_SUCCESS;
  if (Settings == nullptr) {
    return mModule.mConfigStatus;
  }
  mModule.mPciVidDid = (((UINT32)Settings->VendorId) << 16) | Settings->DeviceId;
  mModule.mFirstFunctionOfPort = Settings->PfIndex == 0;
  mModule.mFirstFunctionOfAdapter = Settings->PortIndex == 0 && Settings->PfIndex == 0;

  // Nothing to read: even the steps that treat a missing keyword as "enabled" must not act.
  if (Reply == nullptr || ReplyLength == 0) {
    return mModule.mConfigStatus;
  }

  PARSE_STEP Step = nullptr;
  for (const PARSE_DISPATCH_ENTRY &Entry : mParseDispatch) {
    if (Entry.Code == CommandCode) {
      Step = Entry.Step;
      break;
    }
  }
  if (Step == nullptr) {
    return mModule.mConfigStatus;
  }

  PARSE_VIEW View;
  PrepareValue(Settings, Reply, ReplyLength, &View);
  View.CommandCode = CommandCode;
  Step(&View);
  return mModule.mConfigStatus;
}

UINT8 GetPxeVlanEnabled(VOID) {
  return mModule.mPxeVlanEnabled;
}
