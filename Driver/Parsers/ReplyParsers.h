// Internal interface of the response parsers: the dispatcher (ParseDispatch.cpp), the
// SHOW_PF_INFO key-table parsers (PfInfoParsers.cpp) and the QLogic8070 reply parsers
// (QLogic8070Parsers.cpp).
//
// The value contract. Every parser below receives the value part of a reply as (Value, Length):
// Value points into the reply itself at the value start, and Length is the number of reply
// characters from there to the reply's end. The reply comes from a third-party option ROM and
// need not be terminated, so nothing here reads Value[Length] or relies on a NUL: searches run
// over exactly Length characters (NULs inside the reply are ordinary characters there), and a
// conversion that needs terminated text first stages at most its own limit of characters into a
// local buffer with StageValue. An empty reply has Length 0 and is read like any other: every
// keyword is absent.
#ifndef DRIVER_PARSERS_REPLY_PARSERS_H_
#define DRIVER_PARSERS_REPLY_PARSERS_H_

#include "ModuleState.h"

// --- Helpers shared by the parser files (ParseDispatch.cpp) -------------------------------------

// First occurrence of Key in the first Window characters of the value (Window is cut to Length).
// Leaves the key in mSearchKey/mScanLength and the match (or NULL) in mScanPtr.
const CHAR8 *FindInValue(const CHAR8 *Value, UINTN Length, UINTN Window, const char *Key);
// The same over the whole value, however long.
const CHAR8 *FindKeyword(const CHAR8 *Value, UINTN Length, const char *Key);

// Copies min(Length, Max) characters of Text into Dest and terminates them; Dest has Max + 1
// bytes. Returns the number of characters copied. A NUL inside the copied part stays a NUL, so
// the terminated routines see the text end there as they would in the reply.
UINTN StageValue(CHAR8 *Dest, const CHAR8 *Text, UINTN Length, UINTN Max);

// A VLAN ID the adapter reports: the working pair takes it as it is, the record keeps 4095 (no
// VLAN) as 0.
VOID StoreVlanId(FUNCTION_SETTINGS *Settings, UINT16 VlanId);

// Entry Index of a record's Functions / Ports list, or NULL where the list has ended: at the
// record's count, at the 16 list slots, or at the first NULL entry, whichever comes first.
FUNCTION_SETTINGS *FunctionListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index);
FUNCTION_SETTINGS *PortListEntry(const FUNCTION_SETTINGS *Settings, UINTN Index);

// Converts the leading run of hexadecimal digits of the NUL-terminated Text into ByteSlot, most
// significant byte first, with room for Capacity bytes. A run that does not fit leaves ByteSlot
// unchanged; a run of n digits writes (n + 1) / 2 bytes and leaves the others as they were.
VOID ConvertAddressBytes(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text);
// The same for the run at the start of Text, which has Length characters and needs no terminator.
VOID ConvertAddressRun(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text, UINTN Length);

// --- SHOW_PF_INFO key-table parsers (PfInfoParsers.cpp); each acts only for its own family -------
VOID ParsePfInfoEmulex0710(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoEmulex0720(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoQLogic2031(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

// --- QLogic8070 reply parsers (QLogic8070Parsers.cpp); each acts only for QLogic8070 ------------
VOID ParsePfTypeQLogic8070(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParseSriovQLogic8070(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParseUmcQLogic8070(const CHAR8 *Value, UINTN Length);
// MaximumBandwidth: FALSE stores into MinBandwidth (SHOW_PF_BANDWIDTH), TRUE into MaxBandwidth
// (SHOW_PF_RATE_LIMIT).
VOID ParseBandwidthListQLogic8070(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings,
                                  BOOLEAN MaximumBandwidth);
// DestText: a 17-byte address text slot.
VOID ParseColonMacQLogic8070(CHAR8 *DestText, const CHAR8 *Value, UINTN Length);
VOID ParseVersionsQLogic8070(UINT8 TagCount, const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanIdQLogic8070(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanQLogic8070(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

#endif
