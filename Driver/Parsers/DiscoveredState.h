// Response parsing: the dispatcher and the family parsers. The discovered values themselves
// live in mModule (ModuleState.h).
#ifndef DRIVER_PARSERS_DISCOVERED_STATE_H_
#define DRIVER_PARSERS_DISCOVERED_STATE_H_

#include "ModuleState.h"
#include "Planning/CommandCodes.h"

EFI_STATUS ParseClpReply(FUNCTION_SETTINGS *Settings, UINTN *Instance, CHAR8 *Reply, UINT32 ReplyLength,
                         UINTN CommandCode);
UINT8 GetPxeVlanEnabled(VOID);

#endif
