// The key-table interpreter; see KeyTable.h for the row model.
#include "ModuleState.h"
#include "Parsers/KeyTable.h"
#include "Strings/Vocabulary.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"

#define WORD_COPY_MAX 32
#define LIST_COPY_MAX 255
#define NAME_COPY_MAX 254

static_assert(WORD_COPY_MAX < PF_INFO_SCRATCH_SIZE && LIST_COPY_MAX < PF_INFO_SCRATCH_SIZE &&
                  NAME_COPY_MAX < PF_INFO_SCRATCH_SIZE && FUNCTION_ADDRESS_SLOT_SIZE <= PF_INFO_SCRATCH_SIZE,
              "a staged value and its terminator must fit the scratch text");

// ---------------------------------------------------------------------------------------------
// Key search: the first occurrence of every key of a table, in one pass over the reply
// ---------------------------------------------------------------------------------------------
//
// Every key holds an '=' (its first one Anchor characters into the key), so each occurrence of a
// key puts that '=' somewhere in the reply. Walking the reply's '=' signs in order meets the
// occurrences of one key in the order of their starts: the first one met is the first occurrence
// in the reply, the one a search of the key from the value start would find. A long reply is thus
// read once for the whole table instead of once per key.

static BOOLEAN KeyAt(const CHAR8 *Start, const PF_INFO_KEY *Wanted) {
  for (UINTN Index = 0; Index < Wanted->Length; Index++) {
    if (Start[Index] != (CHAR8)Wanted->Text[Index]) {
      return FALSE;
    }
  }
  return TRUE;
}

VOID FindKeys(const REPLY_VIEW &Value, const PF_INFO_ROW *Table, UINTN Rows, const CHAR8 **Matches) {
  UINT8 Pending[PF_INFO_MAX_ROWS];
  for (UINTN Index = 0; Index < Rows; Index++) {
    Matches[Index] = nullptr;
    Pending[Index] = (UINT8)Index;
  }
  UINTN PendingCount = Rows;
  const UINTN Length = Value.Length;
  const CHAR8 *Cursor = Value.Text;
  while (PendingCount > 0) {
    const CHAR8 *Sign = HxMemSearch(Cursor, Length - (UINTN)(Cursor - Value.Text), ASTR("="), 1);
    if (Sign == nullptr) {
      break;
    }
    const UINTN At = (UINTN)(Sign - Value.Text);
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

// ---------------------------------------------------------------------------------------------
// Conversions
// ---------------------------------------------------------------------------------------------

// Copies the value's line up to the CR, LF or NUL that ends it, at most Max characters and never
// past the reply, and terminates the copy. With KeepEnd the copy holds that last character too, so
// that CopyLine, which leaves its destination alone past a line end, stops where it would in the
// reply.
static VOID StageLine(CHAR8 *Dest, const REPLY_VIEW &Text, UINTN Max, BOOLEAN KeepEnd) {
  const CHAR8 *Source = Text.Text;
  const UINTN Limit = Text.Length < Max ? Text.Length : Max;
  UINTN Count = 0;
  while (Count < Limit && Source[Count] != '\r' && Source[Count] != '\n' && Source[Count] != 0) {
    Count++;
  }
  if (KeepEnd && Count < Limit) {
    Count++;
  }
  CopyMem(Dest, Source, Count);
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

// ---------------------------------------------------------------------------------------------
// One row
// ---------------------------------------------------------------------------------------------

PF_INFO_VALUE ReadKeyRow(const PF_INFO_ROW *Table, UINTN Index, const CHAR8 *const *Matches,
                         const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings, CHAR8 *Scratch) {
  const PF_INFO_VALUE NoResult = {nullptr, 0};
  const PF_INFO_ROW *Row = &Table[Index];
  const PF_INFO_CONDITION &Condition = Row->Condition;
  if (Condition.FirstFunctionOfAdapterOnly && !IsFirstFunctionOfAdapter(Settings)) {
    return NoResult;
  }
  if (Condition.Unless &&
      KeyFound(&Table[Condition.UnlessRow].Key, Matches[Condition.UnlessRow]) != nullptr) {
    return NoResult;
  }
  const CHAR8 *Match = KeyFound(&Row->Key, Matches[Index]);
  if (Match == nullptr) {
    return NoResult;
  }
  // The scan pointer moves on to the value, as after any key match.
  const REPLY_VIEW ValueText = ViewFrom(Value, Match + Row->Key.Length);
  mModule.Discovered.mScanPtr = (CHAR8 *)ValueText.Text;

  StageForConversion(Scratch, Row->Conversion, ValueText);
  PF_INFO_VALUE Result = {Scratch, 0};
  const PF_INFO_CONVERSION &Conversion = Row->Conversion;
  switch (Conversion.Kind) {
  case PfInfoWord:
    break;
  case PfInfoList:
    SplitVersionList(Conversion.Size, Scratch, Settings);
    break;
  case PfInfoDecimal2:
    Result.Number = HxStrnDecimalToUint(Scratch, Conversion.Size);
    break;
  case PfInfoDecimal: {
    mModule.Discovered.mByteLength = 0;
    const CHAR8 *Cursor = Scratch;
    HxStrDecimalToUintnAdvance(&Cursor, &mModule.Discovered.mByteLength);
    Result.Number = mModule.Discovered.mByteLength;
    break;
  }
  case PfInfoAddress:
    ConvertAddress(Row, Settings, Scratch, ValueText);
    return NoResult;
  case PfInfoHex: {
    // The staged digits always fit their bytes.
    const UINTN Bytes = Conversion.Size / 2;
    UINT8 Number[2] = {0, 0};
    mModule.Discovered.mByteLength = Bytes;
    AsciiHexStringToBuf(Number, &mModule.Discovered.mByteLength, Scratch, &mModule.Discovered.mScanLength);
    // A one-byte result goes straight into its field, which keeps its value without a digit.
    if (Bytes == 1 && mModule.Discovered.mByteLength == 0) {
      return NoResult;
    }
    Result.Number = (UINTN)Number[0] | ((UINTN)Number[1] << 8);
    break;
  }
  case PfInfoName:
    CopyLine(Settings->IscsiInitiatorName, Scratch, NAME_COPY_MAX);
    return NoResult;
  case PfInfoFlag:
    Result.Number = FindInValue(ValueText, Conversion.Size, "Disabl") != nullptr;
    break;
  }
  return Result;
}
