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
#include "Parsers/PfInfoParsers.h"
#include "Parsers/RecordStore.h"
#include "Parsers/ReplyScan.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"

#define WORD_COPY_MAX 32
#define LIST_COPY_MAX 255
#define NAME_COPY_MAX 254
#define PF_INFO_SCRATCH_SIZE (LIST_COPY_MAX + 1)
// ParseDottedVersion fills at most 16 component bytes.
#define DOTTED_VERSION_OUT_SIZE 16

// ---------------------------------------------------------------------------------------------
// Row model
// ---------------------------------------------------------------------------------------------

typedef enum : UINT8 {
  PfInfoWord,     // the line, at most 32 characters, compared whole and case-sensitively
  PfInfoList,     // the line, at most 255 characters, split into Size firmware version strings
  PfInfoDecimal2, // at most 2 leading decimal digits of the line
  PfInfoDecimal,  // the leading decimal digits of the line; 0 without a digit or on overflow
  PfInfoAddress,  // Size characters as text, the leading hexadecimal run as Size / 2 bytes
  PfInfoHex,      // Size characters read as a little-endian hexadecimal number of Size / 2 bytes
  PfInfoName,     // the line, at most 254 characters, straight into IscsiInitiatorName
  PfInfoFlag,     // whether "Disabl" lies within the first Size characters of the value
} PF_INFO_KIND;

// Address and hex results take half as many bytes as they read digits. A kind without a size
// leaves it 0.
typedef struct _PF_INFO_CONVERSION {
  PF_INFO_KIND Kind;
  UINT8 Size{}; // digits (address, hex, decimal2), strings (list) or window (flag)
} PF_INFO_CONVERSION;

// What a conversion hands to the store action.
typedef struct {
  const CHAR8 *Word;
  UINTN Number;
} PF_INFO_VALUE;

// Where a word, number or list result goes: one of the store actions below (PfInfoStore).
typedef enum : UINT8 {
  StoreNone,
  StorePortEnable0710,
  StoreBootEnable0710,
  StoreSriov0710,
  StorePfCount0710,
  StorePfType0710,
  StorePfType0720,
  StorePortEnable0720,
  StoreBootEnable0720,
  StoreSriov0720,
  StoreUmc0720,
  StoreMinBandwidth,
  StoreMaxBandwidth,
  StoreVlanIdNumber,
  StoreFcIovSupport2031,
  StoreBootEnableToApply2031,
} PF_INFO_STORE;

typedef struct _PF_INFO_ACTION {
  PF_INFO_STORE Store;    // word, number and list results
  UINT8 AddressSlot{};    // address results: the slot
  BOOLEAN Manufacturer{}; // address results: MfgAddress(Text) instead of CurrentAddress(Text)
} PF_INFO_ACTION;

// A key with what its search needs, worked out when the table is compiled. The longest key,
// "InitiatorIscsiName=", fills the text but for its terminator.
#define PF_INFO_KEY_SIZE 20

typedef struct {
  char Text[PF_INFO_KEY_SIZE];
  UINT8 Length;
  UINT8 Anchor; // position of the key's first '='
} PF_INFO_KEY;

template <UINTN Size> static constexpr PF_INFO_KEY Key(const char (&Text)[Size]) {
  static_assert(Size <= PF_INFO_KEY_SIZE, "key text too long for a key row");
  PF_INFO_KEY Result = {};
  Result.Length = (UINT8)(Size - 1);
  for (UINTN Index = 0; Index < Size; Index++) {
    Result.Text[Index] = Text[Index];
  }
  // For a key without an '=' this reads past the text, which a constant table does not compile.
  while (Text[Result.Anchor] != '=') {
    Result.Anchor++;
  }
  return Result;
}

typedef struct _PF_INFO_CONDITION {
  BOOLEAN Unless{}; // the row is skipped when the key of row UnlessRow is in the reply
  UINT8 UnlessRow{};
  BOOLEAN FirstFunctionOfAdapterOnly{}; // the row is read only on the adapter's first function
} PF_INFO_CONDITION;

typedef struct {
  PF_INFO_KEY Key;
  PF_INFO_CONVERSION Conversion;
  PF_INFO_ACTION Action;
  PF_INFO_CONDITION Condition;
} PF_INFO_ROW;

static constexpr PF_INFO_CONVERSION Word() {
  return {PfInfoWord};
}
static constexpr PF_INFO_CONVERSION List(UINT8 Count) {
  return {PfInfoList, Count};
}
static constexpr PF_INFO_CONVERSION Decimal2() {
  return {PfInfoDecimal2, 2};
}
static constexpr PF_INFO_CONVERSION Decimal() {
  return {PfInfoDecimal};
}
static constexpr PF_INFO_CONVERSION Address(UINT8 Digits) {
  return {PfInfoAddress, Digits};
}
static constexpr PF_INFO_CONVERSION Hex(UINT8 Digits) {
  return {PfInfoHex, Digits};
}
static constexpr PF_INFO_CONVERSION Name() {
  return {PfInfoName};
}

static constexpr PF_INFO_CONVERSION DisablWithin(UINT8 Window) {
  return {PfInfoFlag, Window};
}

static constexpr PF_INFO_ACTION Store(PF_INFO_STORE Action) {
  return {Action};
}
static constexpr PF_INFO_ACTION Nothing() {
  return {StoreNone};
}
static constexpr PF_INFO_ACTION CurrentSlot(UINT8 Slot) {
  return {StoreNone, Slot};
}
static constexpr PF_INFO_ACTION MfgSlot(UINT8 Slot) {
  return {StoreNone, Slot, TRUE};
}

static constexpr PF_INFO_CONDITION Always() {
  return {};
}
// Row: the row of the same table whose key, when present, skips this row.
static constexpr PF_INFO_CONDITION UnlessKeyOfRow(UINT8 Row) {
  return {TRUE, Row};
}
static constexpr PF_INFO_CONDITION FirstFunctionOfAdapter() {
  PF_INFO_CONDITION Condition = {};
  Condition.FirstFunctionOfAdapterOnly = TRUE;
  return Condition;
}

// ---------------------------------------------------------------------------------------------
// Store actions
// ---------------------------------------------------------------------------------------------

static BOOLEAN WordIs(const PF_INFO_VALUE *Value, const char *Text) {
  return AsciiStrCmp(Value->Word, ASTR(Text)) == 0;
}

static VOID SaveVlanIdNumber(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  StoreVlanId(Settings, (UINT16)Value->Number);
}

static VOID SaveMinBandwidth(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->MinBandwidth = (UINT8)Value->Number;
}

static VOID SaveMaxBandwidth(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->MaxBandwidth = (UINT8)Value->Number;
}

// Emulex0710 spells its states in lower case.
static VOID SavePortEnable0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "disabled") ? 0 : 1;
  Settings->PortEnable = Enabled;
  Settings->PortEnableToApply = Enabled;
}

static VOID SaveBootEnable0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "disabled") ? 0 : 1;
  Settings->BootEnable = Enabled;
  Settings->BootEnableToApply = Enabled;
}

static VOID SaveSriov0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->SriovEnabled = WordIs(Value, "enabled") ? 1 : 0;
}

// The function count is the record's Functions count too, which never exceeds the 16 list slots;
// the discovered count keeps what the adapter said so the planner still sees the difference.
static VOID SavePfCount0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Count = (UINT8)Value->Number;
  mModule.mCurrentPfCount = Count;
  mModule.mTargetPfCount = Count;
  Settings->FunctionCount = Count < FUNCTION_LIST_ENTRIES ? Count : FUNCTION_LIST_ENTRIES;
}

// The storage personality of the adapter is the type of its PCI function 2.
static VOID SavePfType0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
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
  char Word[8];
  UINT32 Type;
} PF_TYPE_WORD;

// Compared in this order; anything else is not recognised.
static const PF_TYPE_WORD mPfTypeWords0720[] = {
    {"NIC", PF_TYPE_NIC},   {"FCoE", PF_TYPE_FCOE}, {"iSCSI", PF_TYPE_ISCSI},
    {"RoCE", PF_TYPE_ROCE}, {"FC", PF_TYPE_FC},     {"Disable", PF_TYPE_DISABLED},
};

static VOID SavePfType0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
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
static VOID SavePortEnable0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "Disabled") ? 0 : 1;
  Settings->PortEnable = Enabled;
  if (Settings->PortEnableToApply != 0) {
    Settings->PortEnableToApply = Enabled;
  }
}

static VOID SaveBootEnable0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Enabled = WordIs(Value, "Disabled") ? 0 : 1;
  Settings->BootEnable = Enabled;
  if (Settings->BootEnableToApply != 0) {
    Settings->BootEnableToApply = Enabled;
  }
}

static VOID SaveSriov0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->SriovEnabled = WordIs(Value, "Enabled") ? 1 : 0;
}

static VOID SaveUmc0720(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  (void)Settings;
  const UINT8 Partitioned = WordIs(Value, "Enabled") ? 1 : 0;
  mModule.mCurrentUmc = Partitioned;
  mModule.mTargetUmc = Partitioned;
}

// Virtual-address (IOV) commands need firmware 6.7 or later in the fourth version slot.
static VOID SaveFcIovSupport2031(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
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
static VOID SaveBootEnableToApply2031(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->BootEnableToApply = Value->Number != 0 ? 0 : 1;
}

// One switch instead of a table of function pointers: each action is small and used by one row
// or two, so the compiler folds it in here.
static VOID SaveResult(PF_INFO_STORE Action, FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  switch (Action) {
  case StorePortEnable0710:
    SavePortEnable0710(Settings, Value);
    return;
  case StoreBootEnable0710:
    SaveBootEnable0710(Settings, Value);
    return;
  case StoreSriov0710:
    SaveSriov0710(Settings, Value);
    return;
  case StorePfCount0710:
    SavePfCount0710(Settings, Value);
    return;
  case StorePfType0710:
    SavePfType0710(Settings, Value);
    return;
  case StorePfType0720:
    SavePfType0720(Settings, Value);
    return;
  case StorePortEnable0720:
    SavePortEnable0720(Settings, Value);
    return;
  case StoreBootEnable0720:
    SaveBootEnable0720(Settings, Value);
    return;
  case StoreSriov0720:
    SaveSriov0720(Settings, Value);
    return;
  case StoreUmc0720:
    SaveUmc0720(Settings, Value);
    return;
  case StoreMinBandwidth:
    SaveMinBandwidth(Settings, Value);
    return;
  case StoreMaxBandwidth:
    SaveMaxBandwidth(Settings, Value);
    return;
  case StoreVlanIdNumber:
    SaveVlanIdNumber(Settings, Value);
    return;
  case StoreFcIovSupport2031:
    SaveFcIovSupport2031(Settings, Value);
    return;
  case StoreBootEnableToApply2031:
    SaveBootEnableToApply2031(Settings, Value);
    return;
  case StoreNone:
    return;
  }
}

// ---------------------------------------------------------------------------------------------
// Key tables
// ---------------------------------------------------------------------------------------------

static constexpr PF_INFO_ROW mEmulex0710Keys[] = {
    {Key("PortEn="), Word(), Store(StorePortEnable0710), Always()},
    {Key("FirmwareVersions="), List(3), Nothing(), Always()},
    {Key("PfCount="), Decimal2(), Store(StorePfCount0710), Always()},
    {Key("SRIOV="), Word(), Store(StoreSriov0710), Always()},
    {Key("PfType="), Word(), Store(StorePfType0710), Always()},
    {Key("PfBootEnable="), Word(), Store(StoreBootEnable0710), Always()},
    {Key("PfMAC="), Address(12), CurrentSlot(0), Always()},
    {Key("MFG_PfMAC="), Address(12), MfgSlot(0), Always()},
    {Key("WWNN="), Address(16), CurrentSlot(1), Always()},
    {Key("MFG_WWNN="), Address(16), MfgSlot(1), Always()},
    {Key("WWPN="), Address(16), CurrentSlot(2), Always()},
    {Key("MFG_WWPN="), Address(16), MfgSlot(2), Always()},
    {Key("PfBandwidth="), Hex(2), Store(StoreMinBandwidth), Always()},
    {Key("PfRateLimit="), Hex(2), Store(StoreMaxBandwidth), Always()},
    {Key("PfVLANID=0x"), Hex(4), Store(StoreVlanIdNumber), Always()},
    {Key("PfVLANID="), Hex(4), Store(StoreVlanIdNumber), UnlessKeyOfRow(14)},
    {Key("InitiatorIscsiName="), Name(), Nothing(), Always()},
};

static constexpr PF_INFO_ROW mEmulex0720Keys[] = {
    {Key("PfType="), Word(), Store(StorePfType0720), Always()},
    {Key("PortEnable="), Word(), Store(StorePortEnable0720), Always()},
    {Key("FirmwareVersions="), List(3), Nothing(), Always()},
    {Key("SRIOVState="), Word(), Store(StoreSriov0720), Always()},
    {Key("UMCState="), Word(), Store(StoreUmc0720), FirstFunctionOfAdapter()},
    {Key("BootEnable="), Word(), Store(StoreBootEnable0720), Always()},
    {Key("MAC="), Address(12), CurrentSlot(0), Always()},
    {Key("MfgMAC="), Address(12), MfgSlot(0), Always()},
    {Key("MinBandwidth="), Decimal(), Store(StoreMinBandwidth), Always()},
    {Key("MaxBandwidth="), Decimal(), Store(StoreMaxBandwidth), Always()},
    {Key("PfVLANID="), Decimal(), Store(StoreVlanIdNumber), Always()},
    {Key("WWNN="), Address(16), CurrentSlot(1), Always()},
    {Key("MFG_WWNN="), Address(16), MfgSlot(1), Always()},
    {Key("WWPN="), Address(16), CurrentSlot(2), Always()},
    {Key("MFG_WWPN="), Address(16), MfgSlot(2), Always()},
    {Key("InitiatorIscsiName="), Name(), Nothing(), Always()},
};

static_assert(mEmulex0710Keys[14].Key.Length == 11 && mEmulex0710Keys[14].Key.Text[10] == 'x',
              "the PfVLANID= row is skipped by the PfVLANID=0x row");

// A Fibre Channel family: slot 0 holds the WWNN, slot 1 the WWPN, and the manufacturer slots are
// filled from the same (current) values.
static constexpr PF_INFO_ROW mQLogic2031Keys[] = {
    {Key("FirmwareVersions="), List(4), Store(StoreFcIovSupport2031), Always()},
    {Key("BootEnable="), DisablWithin(12), Store(StoreBootEnableToApply2031), Always()},
    {Key("WWNN="), Address(16), CurrentSlot(0), Always()},
    {Key("WWNN="), Address(16), MfgSlot(0), Always()},
    {Key("WWPN="), Address(16), CurrentSlot(1), Always()},
    {Key("WWPN="), Address(16), MfgSlot(1), Always()},
};

// ---------------------------------------------------------------------------------------------
// Key step
// ---------------------------------------------------------------------------------------------

static VOID ConvertAddress(const PF_INFO_ROW *Row, FUNCTION_SETTINGS *Settings, const CHAR8 *Staged,
                           const REPLY_VIEW &ValueText) {
  const UINT8 Slot = Row->Action.AddressSlot;
  CHAR8 *Text =
      Row->Action.Manufacturer ? Settings->MfgAddressText[Slot] : Settings->CurrentAddressText[Slot];
  UINT8 *Bytes = Row->Action.Manufacturer ? Settings->MfgAddress[Slot] : Settings->CurrentAddress[Slot];
  CopyChars(Text, Staged, Row->Conversion.Size);
  // From the reply, not the copied text: a run longer than the slot's bytes must not fit.
  ConvertAddressRun(Bytes, Row->Conversion.Size / 2, ValueText);
}

// Copies the value's line up to the CR, LF or NUL that ends it, at most Max characters and never
// past the reply, and terminates the copy. With KeepEnd the copy holds that last character too, so
// that CopyLine, which leaves its destination alone past a line end, stops where it would in the
// reply.
static VOID StageLine(CHAR8 *Dest, const REPLY_VIEW &Text, UINTN Max, BOOLEAN KeepEnd) {
  const UINTN Limit = Text.Length < Max ? Text.Length : Max;
  UINTN Count = 0;
  while (Count < Limit) {
    const CHAR8 Char = Text.Text[Count];
    if (Char == '\r' || Char == '\n' || Char == 0) {
      if (KeepEnd) {
        Dest[Count++] = Char;
      }
      break;
    }
    Dest[Count++] = Char;
  }
  Dest[Count] = 0;
}

// The value as the conversion's terminated routines may read it: up to the conversion's own
// limit, never past the reply.
static VOID StageForConversion(CHAR8 *Dest, const PF_INFO_CONVERSION &Conversion, const REPLY_VIEW &Text) {
  switch (Conversion.Kind) {
  case PfInfoAddress:
  case PfInfoHex:
    StageValue(Dest, Text, Conversion.Size);
    return;
  case PfInfoList:
    StageLine(Dest, Text, LIST_COPY_MAX, FALSE);
    return;
  case PfInfoName:
    StageLine(Dest, Text, NAME_COPY_MAX, TRUE);
    return;
  default:
    StageLine(Dest, Text, WORD_COPY_MAX, FALSE);
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

static BOOLEAN KeyAt(const CHAR8 *Start, const PF_INFO_KEY *Wanted) {
  for (UINTN Index = 0; Index < Wanted->Length; Index++) {
    if (Start[Index] != (CHAR8)Wanted->Text[Index]) {
      return FALSE;
    }
  }
  return TRUE;
}

// Matches[k] receives the first occurrence of the key of Table[k] in the value, or NULL.
static VOID FindKeys(const CHAR8 *Value, UINTN Length, const PF_INFO_ROW *Table, const CHAR8 **Matches,
                     UINTN Count) {
  UINT8 Pending[PF_INFO_MAX_ROWS];
  for (UINTN Index = 0; Index < Count; Index++) {
    Matches[Index] = nullptr;
    Pending[Index] = (UINT8)Index;
  }
  UINTN PendingCount = Count;
  const CHAR8 *Cursor = Value;
  while (PendingCount > 0) {
    const CHAR8 *Sign = HxMemSearch(Cursor, Length - (UINTN)(Cursor - Value), ASTR("="), 1);
    if (Sign == nullptr) {
      break;
    }
    const UINTN At = (UINTN)(Sign - Value);
    for (UINTN Slot = 0; Slot < PendingCount;) {
      const UINT8 Index = Pending[Slot];
      const PF_INFO_KEY *Wanted = &Table[Index].Key;
      if (At >= Wanted->Anchor && Length - (At - Wanted->Anchor) >= Wanted->Length &&
          KeyAt(Sign - Wanted->Anchor, Wanted)) {
        Matches[Index] = Sign - Wanted->Anchor;
        Pending[Slot] = Pending[--PendingCount];
      } else {
        Slot++;
      }
    }
    Cursor = Sign + 1;
  }
}

// Leaves the scan variables as a search of the key from the value start leaves them.
static const CHAR8 *KeyFound(const PF_INFO_KEY *Wanted, const CHAR8 *Match) {
  return NoteMatch(ASTR(Wanted->Text), Wanted->Length, Match);
}

static VOID RunKeyStep(const PF_INFO_ROW *Table, UINTN Index, const CHAR8 *const *Matches, const CHAR8 *Value,
                       UINTN Length, FUNCTION_SETTINGS *Settings) {
  const PF_INFO_ROW *Row = &Table[Index];
  const PF_INFO_CONDITION &Condition = Row->Condition;
  if (Condition.FirstFunctionOfAdapterOnly && !mModule.mFirstFunctionOfAdapter) {
    return;
  }
  if (Condition.Unless &&
      KeyFound(&Table[Condition.UnlessRow].Key, Matches[Condition.UnlessRow]) != nullptr) {
    return;
  }
  const CHAR8 *Match = KeyFound(&Row->Key, Matches[Index]);
  if (Match == nullptr) {
    return;
  }
  // The scan pointer moves on to the value, as after any key match.
  const REPLY_VIEW ValueText = ViewFrom({Value, Length}, Match + Row->Key.Length);
  mModule.mScanPtr = (CHAR8 *)ValueText.Text;

  CHAR8 Staged[PF_INFO_SCRATCH_SIZE];
  StageForConversion(Staged, Row->Conversion, ValueText);
  PF_INFO_VALUE Result = {Staged, {}};
  const PF_INFO_CONVERSION &Conversion = Row->Conversion;
  switch (Conversion.Kind) {
  case PfInfoWord:
    break;
  case PfInfoList:
    SplitVersionList(Conversion.Size, Staged, Settings);
    break;
  case PfInfoDecimal2:
    Result.Number = HxStrnDecimalToUint(Staged, Conversion.Size);
    break;
  case PfInfoDecimal: {
    mModule.mByteLength = 0;
    const CHAR8 *Cursor = Staged;
    HxStrDecimalToUintnAdvance(&Cursor, &mModule.mByteLength);
    Result.Number = mModule.mByteLength;
    break;
  }
  case PfInfoAddress:
    ConvertAddress(Row, Settings, Staged, ValueText);
    return;
  case PfInfoHex: {
    // The staged digits always fit their bytes.
    const UINTN Bytes = Conversion.Size / 2;
    UINT8 Number[2] = {0, 0};
    mModule.mByteLength = Bytes;
    AsciiHexStringToBuf(Number, &mModule.mByteLength, Staged, &mModule.mScanLength);
    // A one-byte result goes straight into its field, which keeps its value without a digit.
    if (Bytes == 1 && mModule.mByteLength == 0) {
      return;
    }
    Result.Number = (UINTN)Number[0] | ((UINTN)Number[1] << 8);
    break;
  }
  case PfInfoName:
    CopyLine(Settings->IscsiInitiatorName, Staged, NAME_COPY_MAX);
    return;
  case PfInfoFlag:
    Result.Number = FindInValue(ValueText, Conversion.Size, "Disabl") != nullptr;
    break;
  }
  SaveResult(Row->Action.Store, Settings, &Result);
}

static VOID RunKeyTable(const PF_INFO_ROW *Table, UINTN Rows, const CHAR8 *Value, UINTN Length,
                        FUNCTION_SETTINGS *Settings) {
  const CHAR8 *Matches[PF_INFO_MAX_ROWS];
  FindKeys(Value, Length, Table, Matches, Rows);
  for (UINTN Index = 0; Index < Rows; Index++) {
    RunKeyStep(Table, Index, Matches, Value, Length, Settings);
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
