// QLogic8070 reply parsers; each acts only for the QLogic8070 family.
#ifndef DRIVER_PARSERS_QLOGIC8070_PARSERS_H_
#define DRIVER_PARSERS_QLOGIC8070_PARSERS_H_

#include "ModuleState.h"
#include "Parsers/ReplyScan.h"

VOID ParsePfTypeQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings);
VOID ParseSriovQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings);
VOID ParseUmcQLogic8070(const REPLY_VIEW &Value);
// MaximumBandwidth: FALSE stores into MinBandwidth (SHOW_PF_BANDWIDTH), TRUE into MaxBandwidth
// (SHOW_PF_RATE_LIMIT).
VOID ParseBandwidthListQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings,
                                  BOOLEAN MaximumBandwidth);
// DestText: a 17-byte address text slot.
VOID ParseColonMacQLogic8070(CHAR8 *DestText, const REPLY_VIEW &Value);
VOID ParseVersionsQLogic8070(UINT8 TagCount, const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanIdQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings);
VOID ParsePxeVlanQLogic8070(const REPLY_VIEW &Value, FUNCTION_SETTINGS *Settings);

#endif
