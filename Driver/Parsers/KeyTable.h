// Key tables: the row model of a key=value reply and the interpreter that reads one row.
//
// A key table lists, row by row, a key, how its value is converted and where the result goes.
// The interpreter finds every key of a table in one pass over the reply (first occurrence, so a
// key is also found inside a longer key such as "PfMAC=" inside "MFG_PfMAC="), skips a row whose
// key is absent or whose condition fails, and otherwise converts the value. Address and name
// results go straight into their record fields; word, number and list results come back to the
// table's owner, which hands them to its store action.
//
// The search always covers the whole reply, however long its lines. Only a conversion works on a
// copy: it stages at most its own limit of characters of the value, so the terminated text
// routines see what they would see in the reply and never more.
#ifndef DRIVER_PARSERS_KEY_TABLE_H_
#define DRIVER_PARSERS_KEY_TABLE_H_

#include "ModuleState.h"
#include "Parsers/ReplyScan.h"

// The largest value copy a conversion makes (a version list line) and its terminator.
#define PF_INFO_SCRATCH_SIZE 256
#define PF_INFO_MAX_ROWS 17

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

// What a conversion hands to the store action. Word is NULL when the row has nothing to store:
// its key is absent, its condition failed, or it stored its result itself.
typedef struct {
  const CHAR8 *Word;
  UINTN Number;
} PF_INFO_VALUE;

typedef struct _PF_INFO_ACTION {
  UINT8 Store{};          // word, number and list results: the table owner's store action; 0 is none
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

static constexpr PF_INFO_ACTION Nothing() {
  return {};
}
static constexpr PF_INFO_ACTION CurrentSlot(UINT8 Slot) {
  return {0, Slot};
}
static constexpr PF_INFO_ACTION MfgSlot(UINT8 Slot) {
  return {0, Slot, TRUE};
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

#define TABLE_ROWS(Table) (sizeof(Table) / sizeof((Table)[0]))

// Matches[k] receives the first occurrence of the key of Table[k] in Value, or NULL.
VOID FindKeys(const REPLY_VIEW &Value, const PF_INFO_ROW *Table, UINTN Rows, const CHAR8 **Matches);

// Reads row Index of Table from Value, with the matches FindKeys found. Scratch has
// PF_INFO_SCRATCH_SIZE bytes and holds the staged value that the returned Word points to.
PF_INFO_VALUE ReadKeyRow(const PF_INFO_ROW *Table, UINTN Index, const CHAR8 *const *Matches,
                         const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings, CHAR8 *Scratch);

#endif
