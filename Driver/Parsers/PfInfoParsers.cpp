// SHOW_PF_INFO parsers: one key step applied to one key table per adapter family.
//
// A SHOW_PF_INFO reply is a block of key=value lines. Each table row names a key, how its value
// is converted and where the result goes; the key step searches every key from the value start
// again (first occurrence, so a key is also found inside a longer key such as "PfMAC=" inside
// "MFG_PfMAC="), skips the row when the key is absent, and otherwise converts and stores.
//
// The search always covers the whole reply, however long its lines. Only a conversion works on a
// copy: it stages at most its own limit of characters of the value, so the terminated text
// routines see what they would see in the reply and never more.
#include "Parsers/ReplyParsers.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"

#define WORD_COPY_MAX 32
#define LIST_COPY_MAX 255
#define NAME_COPY_MAX 254
#define PF_INFO_SCRATCH_SIZE (LIST_COPY_MAX + 1)
#define VLAN_ID_NONE 4095
// ParseDottedVersion fills at most 16 component bytes.
#define DOTTED_VERSION_OUT_SIZE 16

// ---------------------------------------------------------------------------------------------
// Row model
// ---------------------------------------------------------------------------------------------

typedef enum {
  PfInfoWord,     // the line, at most 32 characters, compared whole and case-sensitively
  PfInfoList,     // the line, at most 255 characters, split into Size firmware version strings
  PfInfoDecimal2, // at most 2 leading decimal digits of the line
  PfInfoDecimal,  // the leading decimal digits of the line; 0 without a digit or on overflow
  PfInfoAddress,  // Size characters as text, the leading hexadecimal run as Bytes bytes
  PfInfoHex,      // Size characters read as a little-endian hexadecimal number of Bytes bytes
  PfInfoName,     // the line, at most 254 characters, straight into IscsiInitiatorName
  PfInfoFlag,     // whether Keyword lies within the first Size characters of the value
} PF_INFO_KIND;

typedef struct {
  PF_INFO_KIND Kind;
  UINT8 Size;
  UINT8 Bytes;
  const char *Keyword;
} PF_INFO_CONVERSION;

// What a conversion hands to the store action.
typedef struct {
  const CHAR8 *Word;
  UINTN Number;
} PF_INFO_VALUE;

typedef VOID (*PF_INFO_STORE)(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value);

typedef struct {
  PF_INFO_STORE Store;  // word, number and list results
  INT8 AddressSlot;     // address results: the slot, -1 for none
  BOOLEAN Manufacturer; // address results: MfgAddress(Text) instead of CurrentAddress(Text)
} PF_INFO_ACTION;

// A key with what its search needs, worked out when the table is compiled.
typedef struct {
  const char *Text;
  UINT8 Length;
  UINT8 Anchor; // position of the key's first '=', Length when it has none
} PF_INFO_KEY;

static constexpr UINT8 KeyLength(const char *Text) {
  UINT8 Length = 0;
  while (Text[Length] != 0) {
    Length++;
  }
  return Length;
}

static constexpr UINT8 KeyAnchor(const char *Text) {
  UINT8 Anchor = 0;
  while (Text[Anchor] != 0 && Text[Anchor] != '=') {
    Anchor++;
  }
  return Anchor;
}

static constexpr PF_INFO_KEY Key(const char *Text) {
  return {Text, KeyLength(Text), KeyAnchor(Text)};
}

typedef struct {
  const PF_INFO_KEY *UnlessKey;       // the row is skipped when this key is in the reply
  BOOLEAN FirstFunctionOfAdapterOnly; // the row is read only on the adapter's first function
} PF_INFO_CONDITION;

typedef struct {
  PF_INFO_KEY Key;
  PF_INFO_CONVERSION Conversion;
  PF_INFO_ACTION Action;
  PF_INFO_CONDITION Condition;
} PF_INFO_ROW;

static constexpr PF_INFO_CONVERSION Word() {
  return {PfInfoWord, WORD_COPY_MAX, 0, nullptr};
}
static constexpr PF_INFO_CONVERSION List(UINT8 Count) {
  return {PfInfoList, Count, 0, nullptr};
}
static constexpr PF_INFO_CONVERSION Decimal2() {
  return {PfInfoDecimal2, 2, 0, nullptr};
}
static constexpr PF_INFO_CONVERSION Decimal() {
  return {PfInfoDecimal, 0, 0, nullptr};
}
static constexpr PF_INFO_CONVERSION Address(UINT8 Digits, UINT8 Bytes) {
  return {PfInfoAddress, Digits, Bytes, nullptr};
}
static constexpr PF_INFO_CONVERSION Hex(UINT8 Digits, UINT8 Bytes) {
  return {PfInfoHex, Digits, Bytes, nullptr};
}
static constexpr PF_INFO_CONVERSION Name() {
  return {PfInfoName, NAME_COPY_MAX, 0, nullptr};
}
static constexpr PF_INFO_CONVERSION FoundWithin(UINT8 Window, const char *Keyword) {
  return {PfInfoFlag, Window, 0, Keyword};
}

static constexpr PF_INFO_ACTION Store(PF_INFO_STORE Function) {
  return {Function, -1, FALSE};
}
static constexpr PF_INFO_ACTION Nothing() {
  return {nullptr, -1, FALSE};
}
static constexpr PF_INFO_ACTION CurrentSlot(INT8 Slot) {
  return {nullptr, Slot, FALSE};
}
static constexpr PF_INFO_ACTION MfgSlot(INT8 Slot) {
  return {nullptr, Slot, TRUE};
}

static constexpr PF_INFO_CONDITION Always() {
  return {nullptr, FALSE};
}
static constexpr PF_INFO_CONDITION UnlessKey(const PF_INFO_KEY *Key) {
  return {Key, FALSE};
}
static constexpr PF_INFO_CONDITION FirstFunctionOfAdapter() {
  return {nullptr, TRUE};
}

// ---------------------------------------------------------------------------------------------
// Store actions
// ---------------------------------------------------------------------------------------------

static BOOLEAN WordIs(const PF_INFO_VALUE *Value, const char *Text) {
  return AsciiStrCmp(Value->Word, ASTR(Text)) == 0;
}

static VOID StoreVlanId(FUNCTION_SETTINGS *Settings, UINT16 VlanId) {
  mModule.mCurrentVlanId = VlanId;
  mModule.mTargetVlanId = VlanId;
  Settings->VlanId = VlanId == VLAN_ID_NONE ? 0 : VlanId;
}

static VOID StoreVlanIdNumber(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  StoreVlanId(Settings, (UINT16)Value->Number);
}

static VOID StoreMinBandwidth(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->MinBandwidth = (UINT8)Value->Number;
}

static VOID StoreMaxBandwidth(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->MaxBandwidth = (UINT8)Value->Number;
}

// Emulex0710 spells its states in lower case.
static VOID StorePortEnable0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "disabled") ? 0 : 1;
  Settings->PortEnable = Enabled;
  Settings->PortEnableToApply = Enabled;
}

static VOID StoreBootEnable0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "disabled") ? 0 : 1;
  Settings->BootEnable = Enabled;
  Settings->BootEnableToApply = Enabled;
}

static VOID StoreSriov0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->SriovEnabled = WordIs(Value, "enabled") ? 1 : 0;
}

// The function count is the record's Functions count too, which never exceeds the 16 list slots;
// the discovered count keeps what the adapter said so the planner still sees the difference.
static VOID StorePfCount0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Count = (UINT8)Value->Number;
  mModule.mCurrentPfCount = Count;
  mModule.mTargetPfCount = Count;
  Settings->FunctionCount = Count < FUNCTION_LIST_ENTRIES ? Count : FUNCTION_LIST_ENTRIES;
}

// The storage personality of the adapter is the type of its PCI function 2.
static VOID StorePfType0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  UINT32 Type = PF_TYPE_NIC;
  if (WordIs(Value, "FCoE")) {
    Type = PF_TYPE_FCOE;
  } else if (WordIs(Value, "iSCSI")) {
    Type = PF_TYPE_ISCSI;
  }
  Settings->PfType = Type;
  if ((Settings->PciAddress & 0x7) == 2) {
    mModule.mCurrentPersonality = Type;
    mModule.mTargetPersonality = Type;
  }
}

typedef struct {
  const char *Word;
  UINT32 Type;
} PF_TYPE_WORD;

// Compared in this order; anything else is not recognised.
static const PF_TYPE_WORD mPfTypeWords0720[] = {
    {"NIC", PF_TYPE_NIC},   {"FCoE", PF_TYPE_FCOE}, {"iSCSI", PF_TYPE_ISCSI},
    {"RoCE", PF_TYPE_ROCE}, {"FC", PF_TYPE_FC},     {"Disable", PF_TYPE_DISABLED},
};

static VOID StorePfType0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  UINT32 Type = PF_TYPE_UNKNOWN;
  for (const PF_TYPE_WORD &Candidate : mPfTypeWords0720) {
    if (WordIs(Value, Candidate.Word)) {
      Type = Candidate.Type;
      break;
    }
  }
  Settings->PfType = Type;
  if (Settings->PfIndex < PF_TYPE_TABLE_ENTRIES) {
    mModule.mPfTypeTable[Settings->PfIndex] = Type;
  }
}

// A platform decision to disable (0) is never turned back on by what the adapter reports.
static VOID StorePortEnable0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "Disabled") ? 0 : 1;
  Settings->PortEnable = Enabled;
  if (Settings->PortEnableToApply != 0) {
    Settings->PortEnableToApply = Enabled;
  }
}

static VOID StoreBootEnable0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "Disabled") ? 0 : 1;
  Settings->BootEnable = Enabled;
  if (Settings->BootEnableToApply != 0) {
    Settings->BootEnableToApply = Enabled;
  }
}

static VOID StoreSriov0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->SriovEnabled = WordIs(Value, "Enabled") ? 1 : 0;
}

static VOID StoreUmc0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  (void)Settings;
  const UINT8 Partitioned = WordIs(Value, "Enabled") ? 1 : 0;
  mModule.mCurrentUmc = Partitioned;
  mModule.mTargetUmc = Partitioned;
}

// Virtual-address (IOV) commands need firmware 6.7 or later in the fourth version slot.
static VOID StoreFcIovSupport2031(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  (void)Value;
  if (!mModule.mFamily.QLogic2261) {
    return;
  }
  UINT8 Components[DOTTED_VERSION_OUT_SIZE] = {};
  ParseDottedVersion(Components, Settings->FirmwareVersion[3]);
  const UINT8 Major = Components[0];
  const UINT8 Minor = Components[1];
  mModule.mFcIovSupported = (Major > 6 || (Major == 6 && Minor >= 7)) ? 1 : 0;
}

// Number is 1 when "Disabl" was found at the start of the value.
static VOID StoreBootEnableToApply2031(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->BootEnableToApply = Value->Number != 0 ? 0 : 1;
}

// ---------------------------------------------------------------------------------------------
// Key tables
// ---------------------------------------------------------------------------------------------

static constexpr PF_INFO_KEY kVlanIdHexKey = Key("PfVLANID=0x");

static constexpr PF_INFO_ROW mEmulex0710Keys[] = {
    {Key("PortEn="), Word(), Store(StorePortEnable0710), Always()},
    {Key("FirmwareVersions="), List(3), Nothing(), Always()},
    {Key("PfCount="), Decimal2(), Store(StorePfCount0710), Always()},
    {Key("SRIOV="), Word(), Store(StoreSriov0710), Always()},
    {Key("PfType="), Word(), Store(StorePfType0710), Always()},
    {Key("PfBootEnable="), Word(), Store(StoreBootEnable0710), Always()},
    {Key("PfMAC="), Address(12, 6), CurrentSlot(0), Always()},
    {Key("MFG_PfMAC="), Address(12, 6), MfgSlot(0), Always()},
    {Key("WWNN="), Address(16, 8), CurrentSlot(1), Always()},
    {Key("MFG_WWNN="), Address(16, 8), MfgSlot(1), Always()},
    {Key("WWPN="), Address(16, 8), CurrentSlot(2), Always()},
    {Key("MFG_WWPN="), Address(16, 8), MfgSlot(2), Always()},
    {Key("PfBandwidth="), Hex(2, 1), Store(StoreMinBandwidth), Always()},
    {Key("PfRateLimit="), Hex(2, 1), Store(StoreMaxBandwidth), Always()},
    {Key("PfVLANID=0x"), Hex(4, 2), Store(StoreVlanIdNumber), Always()},
    {Key("PfVLANID="), Hex(4, 2), Store(StoreVlanIdNumber), UnlessKey(&kVlanIdHexKey)},
    {Key("InitiatorIscsiName="), Name(), Nothing(), Always()},
};

static constexpr PF_INFO_ROW mEmulex0720Keys[] = {
    {Key("PfType="), Word(), Store(StorePfType0720), Always()},
    {Key("PortEnable="), Word(), Store(StorePortEnable0720), Always()},
    {Key("FirmwareVersions="), List(3), Nothing(), Always()},
    {Key("SRIOVState="), Word(), Store(StoreSriov0720), Always()},
    {Key("UMCState="), Word(), Store(StoreUmc0720), FirstFunctionOfAdapter()},
    {Key("BootEnable="), Word(), Store(StoreBootEnable0720), Always()},
    {Key("MAC="), Address(12, 6), CurrentSlot(0), Always()},
    {Key("MfgMAC="), Address(12, 6), MfgSlot(0), Always()},
    {Key("MinBandwidth="), Decimal(), Store(StoreMinBandwidth), Always()},
    {Key("MaxBandwidth="), Decimal(), Store(StoreMaxBandwidth), Always()},
    {Key("PfVLANID="), Decimal(), Store(StoreVlanIdNumber), Always()},
    {Key("WWNN="), Address(16, 8), CurrentSlot(1), Always()},
    {Key("MFG_WWNN="), Address(16, 8), MfgSlot(1), Always()},
    {Key("WWPN="), Address(16, 8), CurrentSlot(2), Always()},
    {Key("MFG_WWPN="), Address(16, 8), MfgSlot(2), Always()},
    {Key("InitiatorIscsiName="), Name(), Nothing(), Always()},
};

// A Fibre Channel family: slot 0 holds the WWNN, slot 1 the WWPN, and the manufacturer slots are
// filled from the same (current) values.
static constexpr PF_INFO_ROW mQLogic2031Keys[] = {
    {Key("FirmwareVersions="), List(4), Store(StoreFcIovSupport2031), Always()},
    {Key("BootEnable="), FoundWithin(12, "Disabl"), Store(StoreBootEnableToApply2031), Always()},
    {Key("WWNN="), Address(16, 8), CurrentSlot(0), Always()},
    {Key("WWNN="), Address(16, 8), MfgSlot(0), Always()},
    {Key("WWPN="), Address(16, 8), CurrentSlot(1), Always()},
    {Key("WWPN="), Address(16, 8), MfgSlot(1), Always()},
};

// ---------------------------------------------------------------------------------------------
// Key step
// ---------------------------------------------------------------------------------------------

static VOID ConvertAddress(const PF_INFO_ROW *Row, FUNCTION_SETTINGS *Settings, const CHAR8 *Staged,
                           const CHAR8 *ValueText, UINTN Remaining) {
  const UINT8 Slot = (UINT8)Row->Action.AddressSlot;
  CHAR8 *Text =
      Row->Action.Manufacturer ? Settings->MfgAddressText[Slot] : Settings->CurrentAddressText[Slot];
  UINT8 *Bytes = Row->Action.Manufacturer ? Settings->MfgAddress[Slot] : Settings->CurrentAddress[Slot];
  mModule.mScanLength = Row->Conversion.Size;
  CopyChars(Text, Staged, Row->Conversion.Size);
  // From the reply, not the copied text: a run longer than the slot's bytes must not fit.
  ConvertAddressRun(Bytes, Row->Conversion.Bytes, ValueText, Remaining);
}

// Copies the value's line, with the CR, LF or NUL that ends it, at most Max characters and never
// past the reply, and terminates the copy: CopyLine then stops where it would in the reply.
static VOID StageLine(CHAR8 *Dest, const CHAR8 *Text, UINTN Length, UINTN Max) {
  const UINTN Limit = Length < Max ? Length : Max;
  UINTN Count = 0;
  while (Count < Limit) {
    const CHAR8 Char = Text[Count];
    Dest[Count++] = Char;
    if (Char == '\r' || Char == '\n' || Char == 0) {
      break;
    }
  }
  Dest[Count] = 0;
}

// The value as the conversion's terminated routines may read it: up to the conversion's own
// limit, never past the reply.
static VOID StageForConversion(CHAR8 *Dest, const PF_INFO_CONVERSION &Conversion, const CHAR8 *Text,
                               UINTN Length) {
  switch (Conversion.Kind) {
  case PfInfoAddress:
  case PfInfoHex:
    StageValue(Dest, Text, Length, Conversion.Size);
    return;
  case PfInfoFlag:
    Dest[0] = 0; // searched in the reply itself
    return;
  case PfInfoList:
    StageLine(Dest, Text, Length, LIST_COPY_MAX);
    return;
  case PfInfoName:
    StageLine(Dest, Text, Length, NAME_COPY_MAX);
    return;
  default:
    StageLine(Dest, Text, Length, WORD_COPY_MAX);
    return;
  }
}

// ---------------------------------------------------------------------------------------------
// Key search: the first occurrence of every key of a table, in one pass over the reply
// ---------------------------------------------------------------------------------------------
//
// Every key holds an '=' (its first one Anchor characters into the key), so each occurrence of a
// key puts that '=' somewhere in the reply. Walking the reply's '=' signs in order meets the
// occurrences of one key in the order of their starts: the first one met is the first occurrence
// in the reply, the one a search of the key from the value start would find. A long reply is thus
// read once for the whole table instead of once per key.

#define PF_INFO_MAX_ROWS 17
#define PF_INFO_MAX_KEYS (2 * PF_INFO_MAX_ROWS)

static BOOLEAN KeyAt(const CHAR8 *Start, const PF_INFO_KEY *Wanted) {
  for (UINTN Index = 0; Index < Wanted->Length; Index++) {
    if (Start[Index] != (CHAR8)Wanted->Text[Index]) {
      return FALSE;
    }
  }
  return TRUE;
}

// Matches[k] receives the first occurrence of Keys[k] in the value, or NULL (also for a NULL key).
static VOID FindKeys(const CHAR8 *Value, UINTN Length, const PF_INFO_KEY *const *Keys, const CHAR8 **Matches,
                     UINTN Count) {
  UINT8 Pending[PF_INFO_MAX_KEYS];
  UINTN PendingCount = 0;
  for (UINTN Index = 0; Index < Count; Index++) {
    Matches[Index] = nullptr;
    if (Keys[Index] == nullptr) {
      continue;
    }
    if (Keys[Index]->Anchor == Keys[Index]->Length) {
      Matches[Index] = FindKeyword(Value, Length, Keys[Index]->Text); // no '=' to anchor on
    } else {
      Pending[PendingCount++] = (UINT8)Index;
    }
  }
  UINTN Position = 0;
  while (PendingCount > 0 && Position < Length) {
    const CHAR8 *Sign = HxMemSearch(Value + Position, Length - Position, ASTR("="), 1);
    if (Sign == nullptr) {
      break;
    }
    const UINTN At = (UINTN)(Sign - Value);
    for (UINTN Slot = 0; Slot < PendingCount;) {
      const UINT8 Index = Pending[Slot];
      const PF_INFO_KEY *Wanted = Keys[Index];
      if (At >= Wanted->Anchor && Length - (At - Wanted->Anchor) >= Wanted->Length &&
          KeyAt(Sign - Wanted->Anchor, Wanted)) {
        Matches[Index] = Sign - Wanted->Anchor;
        Pending[Slot] = Pending[--PendingCount];
      } else {
        Slot++;
      }
    }
    Position = At + 1;
  }
}

// Leaves the scan variables as a search of the key from the value start leaves them.
static const CHAR8 *KeyFound(const PF_INFO_KEY *Wanted, const CHAR8 *Match) {
  mModule.mSearchKey = ASTR(Wanted->Text);
  mModule.mScanLength = Wanted->Length;
  mModule.mScanPtr = (CHAR8 *)Match;
  return Match;
}

static VOID RunKeyStep(const PF_INFO_ROW *Row, const CHAR8 *KeyMatch, const CHAR8 *UnlessMatch,
                       const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings) {
  if (Row->Condition.FirstFunctionOfAdapterOnly && !mModule.mFirstFunctionOfAdapter) {
    return;
  }
  if (Row->Condition.UnlessKey != nullptr && KeyFound(Row->Condition.UnlessKey, UnlessMatch) != nullptr) {
    return;
  }
  if (KeyFound(&Row->Key, KeyMatch) == nullptr) {
    return;
  }
  mModule.mScanPtr += mModule.mScanLength;
  const CHAR8 *ValueText = mModule.mScanPtr;
  const UINTN Remaining = Length - (UINTN)(ValueText - Value);

  CHAR8 Staged[PF_INFO_SCRATCH_SIZE];
  StageForConversion(Staged, Row->Conversion, ValueText, Remaining);
  CHAR8 Scratch[PF_INFO_SCRATCH_SIZE];
  PF_INFO_VALUE Result = {Scratch, 0};
  const PF_INFO_CONVERSION &Conversion = Row->Conversion;
  switch (Conversion.Kind) {
  case PfInfoWord:
    CopyLine(Scratch, Staged, WORD_COPY_MAX);
    break;
  case PfInfoList:
    CopyLine(Scratch, Staged, LIST_COPY_MAX);
    SplitVersionList(Conversion.Size, Scratch, Settings);
    break;
  case PfInfoDecimal2:
    CopyLine(Scratch, Staged, WORD_COPY_MAX);
    Result.Number = HxStrnDecimalToUint(Scratch, Conversion.Size);
    break;
  case PfInfoDecimal: {
    CopyLine(Scratch, Staged, WORD_COPY_MAX);
    mModule.mByteLength = 0;
    const CHAR8 *Cursor = Scratch;
    HxStrDecimalToUintnAdvance(&Cursor, &mModule.mByteLength);
    Result.Number = mModule.mByteLength;
    break;
  }
  case PfInfoAddress:
    ConvertAddress(Row, Settings, Staged, ValueText, Remaining);
    return;
  case PfInfoHex: {
    CopyChars(Scratch, Staged, Conversion.Size);
    UINT8 Number[2] = {0, 0};
    mModule.mDestPtr = Number;
    mModule.mByteLength = Conversion.Bytes;
    if (AsciiHexStringToBuf(Number, &mModule.mByteLength, Scratch, &mModule.mScanLength) != EFI_SUCCESS) {
      mModule.mByteLength = 0;
    }
    // A one-byte result goes straight into its field, which keeps its value without a digit.
    if (Conversion.Bytes == 1 && mModule.mByteLength == 0) {
      return;
    }
    Result.Number = (UINTN)Number[0] | ((UINTN)Number[1] << 8);
    break;
  }
  case PfInfoName:
    CopyLine(Settings->IscsiInitiatorName, Staged, NAME_COPY_MAX);
    return;
  case PfInfoFlag:
    Result.Number = FindInValue(ValueText, Remaining, Conversion.Size, Conversion.Keyword) != nullptr ? 1 : 0;
    break;
  }
  if (Row->Action.Store != nullptr) {
    Row->Action.Store(Settings, &Result);
  }
}

static VOID RunKeyTable(const PF_INFO_ROW *Table, UINTN Rows, const CHAR8 *Value, UINTN Length,
                        FUNCTION_SETTINGS *Settings) {
  // Entry 2i: the key of row i; entry 2i + 1: the key whose presence skips row i, if any.
  const PF_INFO_KEY *Keys[PF_INFO_MAX_KEYS];
  const CHAR8 *Matches[PF_INFO_MAX_KEYS];
  for (UINTN Index = 0; Index < Rows; Index++) {
    Keys[2 * Index] = &Table[Index].Key;
    Keys[2 * Index + 1] = Table[Index].Condition.UnlessKey;
  }
  FindKeys(Value, Length, Keys, Matches, 2 * Rows);
  for (UINTN Index = 0; Index < Rows; Index++) {
    RunKeyStep(&Table[Index], Matches[2 * Index], Matches[2 * Index + 1], Value, Length, Settings);
  }
}

#define TABLE_ROWS(Table) (sizeof(Table) / sizeof((Table)[0]))
static_assert(TABLE_ROWS(mEmulex0710Keys) <= PF_INFO_MAX_ROWS, "key table too long");
static_assert(TABLE_ROWS(mEmulex0720Keys) <= PF_INFO_MAX_ROWS, "key table too long");
static_assert(TABLE_ROWS(mQLogic2031Keys) <= PF_INFO_MAX_ROWS, "key table too long");

// ---------------------------------------------------------------------------------------------
// Parsers
// ---------------------------------------------------------------------------------------------

VOID ParsePfInfoEmulex0710(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings) {
  if (!mModule.mFamily.Emulex0710 || Value == nullptr || Settings == nullptr) {
    return;
  }
  RunKeyTable(mEmulex0710Keys, TABLE_ROWS(mEmulex0710Keys), Value, Length, Settings);
}

VOID ParsePfInfoEmulex0720(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings) {
  if (!mModule.mFamily.Emulex0720 || Value == nullptr || Settings == nullptr) {
    return;
  }
  mModule.mFirstFunctionOfAdapter = Settings->PortIndex == 0 && Settings->PfIndex == 0;
  RunKeyTable(mEmulex0720Keys, TABLE_ROWS(mEmulex0720Keys), Value, Length, Settings);
}

VOID ParsePfInfoQLogic2031(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings) {
  if (!mModule.mFamily.QLogic2031 || Value == nullptr || Settings == nullptr) {
    return;
  }
  // A reply without versions counts as firmware without IOV support.
  mModule.mFcIovSupported = 0;
  RunKeyTable(mQLogic2031Keys, TABLE_ROWS(mQLogic2031Keys), Value, Length, Settings);
}
