// SHOW_PF_INFO parsers: the key table of each family and the store actions its rows name. A
// SHOW_PF_INFO reply is a block of key=value lines; the interpreter in KeyTable.cpp finds the keys
// and converts their values, and the word, number and list results come back here to be stored.
#include "ModuleState.h"
#include "Parsers/PfInfoParsers.h"
#include "Parsers/KeyTable.h"
#include "Parsers/RecordStore.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"

// ParseDottedVersion fills at most 16 component bytes.
#define DOTTED_VERSION_OUT_SIZE 16

// Where a word, number or list result goes: one of the store actions below.
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

static_assert(StoreNone == 0, "rows without a store action name action 0");

static constexpr PF_INFO_ACTION Store(PF_INFO_STORE Action) {
  return {Action};
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
  RecordPortEnable(Settings, WordIs(Value, "disabled") ? 0 : 1);
}

static VOID SaveBootEnable0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  RecordBootEnable(Settings, WordIs(Value, "disabled") ? 0 : 1);
}

static VOID SaveSriov0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  Settings->SriovEnabled = WordIs(Value, "enabled") ? 1 : 0;
}

// The function count is the record's Functions count too, which never exceeds the 16 list slots;
// the discovered count keeps what the adapter said so the planner still sees the difference.
static VOID SavePfCount0710(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  const UINT8 Count = (UINT8)Value->Number;
  mModule.Discovered.mCurrentPfCount = Count;
  mModule.Discovered.mTargetPfCount = Count;
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
    mModule.Discovered.mCurrentPersonality = Type;
    mModule.Discovered.mTargetPersonality = Type;
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
    mModule.Discovered.mPfTypeTable[Settings->PfIndex] = Type;
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
  mModule.Discovered.mCurrentUmc = Partitioned;
  mModule.Discovered.mTargetUmc = Partitioned;
}

// Virtual-address (IOV) commands need firmware 6.7 or later in the fourth version slot.
static VOID SaveFcIovSupport2031(FUNCTION_SETTINGS *Settings, const PF_INFO_VALUE *Value) {
  (void)Value;
  if (!mModule.Run.mFamily.QLogic2261) {
    return;
  }
  UINT8 Components[DOTTED_VERSION_OUT_SIZE] = {};
  ParseDottedVersion(Components, Settings->FirmwareVersion[3]);
  const UINT8 Major = Components[0];
  const UINT8 Minor = Components[1];
  mModule.Discovered.mFcIovSupported = (Major > 6 || (Major == 6 && Minor >= 7)) ? 1 : 0;
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
// Running a table
// ---------------------------------------------------------------------------------------------

static VOID RunKeyTable(const PF_INFO_ROW *Table, UINTN Rows, const CHAR8 *Text, UINTN Length,
                        FUNCTION_SETTINGS *Settings) {
  const REPLY_VIEW Value = {Text, Length};
  const CHAR8 *Matches[PF_INFO_MAX_ROWS];
  FindKeys(Value, Table, Rows, Matches);
  for (UINTN Index = 0; Index < Rows; Index++) {
    CHAR8 Scratch[PF_INFO_SCRATCH_SIZE];
    const PF_INFO_VALUE Result = ReadKeyRow(Table, Index, Matches, Value, Settings, Scratch);
    if (Result.Word != nullptr) {
      SaveResult((PF_INFO_STORE)Table[Index].Action.Store, Settings, &Result);
    }
  }
}

static_assert(TABLE_ROWS(mEmulex0710Keys) <= PF_INFO_MAX_ROWS, "key table too long");
static_assert(TABLE_ROWS(mEmulex0720Keys) <= PF_INFO_MAX_ROWS, "key table too long");
static_assert(TABLE_ROWS(mQLogic2031Keys) <= PF_INFO_MAX_ROWS, "key table too long");

// ---------------------------------------------------------------------------------------------
// Parsers
// ---------------------------------------------------------------------------------------------

// A switch rather than a table of parser addresses: it needs no load-time relocation.
VOID ParsePfInfo(PF_INFO_KEYS Keys, const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings) {
  if (Value == nullptr || Settings == nullptr) {
    return;
  }
  switch (Keys) {
  case PfInfoEmulex0710:
    RunKeyTable(mEmulex0710Keys, TABLE_ROWS(mEmulex0710Keys), Value, Length, Settings);
    break;
  case PfInfoEmulex0720:
    RunKeyTable(mEmulex0720Keys, TABLE_ROWS(mEmulex0720Keys), Value, Length, Settings);
    break;
  case PfInfoQLogic2031:
    // A reply without versions counts as firmware without IOV support.
    mModule.Discovered.mFcIovSupported = 0;
    RunKeyTable(mQLogic2031Keys, TABLE_ROWS(mQLogic2031Keys), Value, Length, Settings);
    break;
  case PfInfoNone:
    break;
  }
}
