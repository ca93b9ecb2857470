// Reading a CLP reply in place; see ReplyScan.h for the value contract.
#include "ModuleState.h"
#include "Parsers/ReplyScan.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/HxStringLib.h"

static UINTN ConstLength(const char *Text) {
  return AsciiStrLen(ASTR(Text));
}

REPLY_VIEW ViewFrom(const REPLY_VIEW &View, const CHAR8 *At) {
  return {At, View.Length - (UINTN)(At - View.Text)};
}

const CHAR8 *NoteMatch(const CHAR8 *Key, UINTN KeyLength, const CHAR8 *Match) {
  mModule.Discovered.mSearchKey = Key;
  mModule.Discovered.mScanLength = KeyLength;
  mModule.Discovered.mScanPtr = (CHAR8 *)Match;
  return Match;
}

// HxMemSearch finds nothing in a NULL text.
static const CHAR8 *Search(const CHAR8 *Text, UINTN Range, const char *Key, UINTN KeyLength) {
  return NoteMatch(ASTR(Key), KeyLength, HxMemSearch(Text, Range, ASTR(Key), KeyLength));
}

const CHAR8 *FindInValue(const REPLY_VIEW &Value, UINTN Window, const char *Key) {
  const UINTN Range = Window < Value.Length ? Window : Value.Length;
  return Search(Value.Text, Range, Key, ConstLength(Key));
}

const CHAR8 *FindKeyword(const REPLY_VIEW &Value, const char *Key) {
  return FindInValue(Value, Value.Length, Key);
}

REPLY_VIEW FindValueAfter(const REPLY_VIEW &Value, const char *Key) {
  const CHAR8 *Match = FindKeyword(Value, Key);
  if (Match == nullptr) {
    return {nullptr, 0};
  }
  return ViewFrom(Value, Match + mModule.Discovered.mScanLength);
}

UINTN StageValue(CHAR8 *Dest, const REPLY_VIEW &Text, UINTN Max) {
  const UINTN Count = Text.Length < Max ? Text.Length : Max;
  if (Count > 0) {
    CopyMem(Dest, Text.Text, Count);
  }
  Dest[Count] = 0;
  return Count;
}

VOID ConvertAddressBytes(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text) {
  mModule.Discovered.mDestPtr = ByteSlot;
  mModule.Discovered.mByteLength = Capacity;
  mModule.Discovered.mScanLength = 0;
  // Too long a run answers EFI_BUFFER_TOO_SMALL without writing; the slot keeps its address.
  if (AsciiHexStringToBuf(ByteSlot, &mModule.Discovered.mByteLength, Text, &mModule.Discovered.mScanLength) ==
      EFI_SUCCESS) {
    ReverseBytes(ByteSlot, (UINT16)mModule.Discovered.mByteLength);
  }
}

VOID ConvertAddressRun(UINT8 *ByteSlot, UINTN Capacity, const REPLY_VIEW &Run) {
  // One digit more than an address slot holds is enough for the conversion to refuse a run that is
  // too long for the slot, however long it really is; the run ends at the first character that is
  // not a digit anyway.
  CHAR8 Digits[FUNCTION_ADDRESS_SLOT_SIZE + 1];
  StageValue(Digits, Run, sizeof(Digits) - 1);
  ConvertAddressBytes(ByteSlot, Capacity, Digits);
}
