// SHOW_PF_INFO parsers: each reads the value of a key=value reply with its family's key table. The
// family row names the table; the dispatcher runs the one of the identified family.
#ifndef DRIVER_PARSERS_PF_INFO_PARSERS_H_
#define DRIVER_PARSERS_PF_INFO_PARSERS_H_

#include "ModuleState.h"

// The key tables, as the family rows name them.
enum PF_INFO_KEYS : UINT8 {
  PfInfoNone,
  PfInfoEmulex0710,
  PfInfoEmulex0720,
  PfInfoQLogic2031,
};
// Reads a SHOW_PF_INFO value with the named key table; a missing value or record reads nothing.
VOID ParsePfInfo(PF_INFO_KEYS Keys, const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

#endif
