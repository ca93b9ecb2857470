// Internal interface of the response parsers: the dispatcher (ParseDispatch.cpp), the
// SHOW_PF_INFO key-table parsers (PfInfoParsers.cpp) and the QLogic8070 reply parsers
// (QLogic8070Parsers.cpp).
//
// The value contract. Every parser below receives the value part of a reply as (Value, Length):
// Value points at a private copy of the reply from the value start on, Length is the number of
// reply characters in that copy, and Value[Length] is a NUL the dispatcher wrote. The reply itself
// comes from a third-party option ROM and need not be terminated, so the parsers never look at it;
// searches run over exactly Length characters (NULs inside the reply are ordinary characters
// there), and the NUL-terminated conversions and copies cannot run past Value[Length].
#ifndef DRIVER_PARSERS_REPLY_PARSERS_H_
#define DRIVER_PARSERS_REPLY_PARSERS_H_

#include "ModuleState.h"

// Longest value the dispatcher keeps: the copy lives in ClpCommandBuffer with its terminator, so a
// longer value is cut here. CLP replies of the supported adapters stay far below this.
#define PARSE_VALUE_MAX (CLP_COMMAND_BUFFER_SIZE - 1)

// --- Helpers shared by the parser files (ParseDispatch.cpp) -------------------------------------

// First occurrence of Key in the first Window characters of the value (Window is cut to Length).
// Leaves the key in mSearchKey/mScanLength and the match (or NULL) in mScanPtr.
CHAR8 *FindInValue(CHAR8 *Value, UINTN Length, UINTN Window, const char *Key);
// The same over the whole value.
CHAR8 *FindKeyword(CHAR8 *Value, UINTN Length, const char *Key);

// Usable entries of a record's Functions / Ports list: the count, clamped to the 16 list slots.
// Callers still skip NULL entries.
UINTN FunctionListCount(const FUNCTION_SETTINGS *Settings);
UINTN PortListCount(const FUNCTION_SETTINGS *Settings);

// Converts the leading run of hexadecimal digits of the NUL-terminated Text into ByteSlot, most
// significant byte first, with room for Capacity bytes. A run that does not fit leaves ByteSlot
// unchanged; a run of n digits writes (n + 1) / 2 bytes and leaves the others as they were.
VOID ConvertAddressBytes(UINT8 *ByteSlot, UINTN Capacity, const CHAR8 *Text);

// --- SHOW_PF_INFO key-table parsers (PfInfoParsers.cpp); each acts only for its own family -------
VOID ParsePfInfoEmulex0710(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoEmulex0720(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoQLogic2031(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

// --- QLogic8070 reply parsers (QLogic8070Parsers.cpp); each acts only for QLogic8070 ------------
VOID ParsePfTypeQLogic8070(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParseSriovQLogic8070(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParseUmcQLogic8070(CHAR8 *Value, UINTN Length);
// MaximumBandwidth: FALSE stores into MinBandwidth (SHOW_PF_BANDWIDTH), TRUE into MaxBandwidth
// (SHOW_PF_RATE_LIMIT).
VOID ParseBandwidthListQLogic8070(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings,
                                  BOOLEAN MaximumBandwidth);
// DestText: a 17-byte address text slot.
VOID ParseColonMacQLogic8070(CHAR8 *DestText, CHAR8 *Value, UINTN Length);
VOID ParseVersionsQLogic8070(UINT8 TagCount, CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanIdQLogic8070(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanQLogic8070(CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

#endif
