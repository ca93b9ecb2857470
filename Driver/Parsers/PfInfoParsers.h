// SHOW_PF_INFO parsers: each reads the value of a key=value reply with its family's key table and
// acts only for its own family.
#ifndef DRIVER_PARSERS_PF_INFO_PARSERS_H_
#define DRIVER_PARSERS_PF_INFO_PARSERS_H_

#include "ModuleState.h"

VOID ParsePfInfoEmulex0710(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoEmulex0720(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);
VOID ParsePfInfoQLogic2031(const CHAR8 *Value, UINTN Length, FUNCTION_SETTINGS *Settings);

#endif
