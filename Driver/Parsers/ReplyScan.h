// Reading a CLP reply in place: the view of a reply stretch and the searches, staging copies and
// address conversion that every parser shares. Nothing here knows a command or an adapter family.
//
// The value contract. A parser receives the value part of a reply as a view: Text points into the
// reply itself at the value start, and Length is the number of reply characters from there to the
// reply's end. The reply comes from a third-party option ROM and need not be terminated, so
// nothing here reads Text[Length] or relies on a NUL: searches run over exactly Length characters
// (NULs inside the reply are ordinary characters there), and a conversion that needs terminated
// text first stages at most its own limit of characters into a local buffer with StageValue. An
// empty reply has Length 0 and is read like any other: every keyword is absent.
//
// The searches also leave their key and match in the scan variables of mModule (mSearchKey,
// mScanLength, mScanPtr), and the address conversion its destination and lengths (mDestPtr,
// mByteLength, mScanLength), where the builders that share them expect to find them.
#ifndef DRIVER_PARSERS_REPLY_SCAN_H_
#define DRIVER_PARSERS_REPLY_SCAN_H_

#include "ModuleState.h"

typedef struct {
  const CHAR8 *Text;
  UINTN Length;
} REPLY_VIEW;

// The rest of View from At, which lies inside View or just past its last character.
REPLY_VIEW ViewFrom(const REPLY_VIEW &View, const CHAR8 *At);

// Records that Key (KeyLength characters) was searched and Match (or NULL) found; returns Match.
const CHAR8 *NoteMatch(const CHAR8 *Key, UINTN KeyLength, const CHAR8 *Match);

// First occurrence of Key in the first Window characters of Value (Window is cut to its length).
const CHAR8 *FindInValue(const REPLY_VIEW &Value, UINTN Window, const char *Key);
// The same over the whole value, however long.
const CHAR8 *FindKeyword(const REPLY_VIEW &Value, const char *Key);
// What follows the first occurrence of Key in Value, up to the reply's end; Text is NULL when Key
// is absent.
REPLY_VIEW FindValueAfter(const REPLY_VIEW &Value, const char *Key);

// Copies min(Length, Max) characters of Text into Dest and terminates them; Dest has Max + 1
// bytes. Returns the number of characters copied. A NUL inside the copied part stays a NUL, so
// the terminated routines see the text end there as they would in the reply.
UINTN StageValue(CHAR8 *Dest, const REPLY_VIEW &Text, UINTN Max);

// Converts the leading run of hexadecimal digits of the NUL-terminated Text into ByteSlot, most
// significant byte first, with room for Capacity bytes. A run that does not fit leaves ByteSlot
// unchanged; a run of n digits writes (n + 1) / 2 bytes and leaves the others as they were.
VOID ConvertAddressBytes(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text);
// The same for the run at the start of Run, which needs no terminator.
VOID ConvertAddressRun(UINT8 *ByteSlot, UINTN Capacity, const REPLY_VIEW &Run);

#endif
