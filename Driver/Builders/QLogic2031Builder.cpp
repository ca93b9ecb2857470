// BuildQLogic2031ClpCommand: Fibre Channel adapters outside the QLogic2261 sub-family, whose plan
// only reads the port information before leaving the target.
#include "BuilderCommon.h"

static constexpr CLP_LINE kQLogic2031Lines[] = {
    Fmt(SHOW_PF_INFO, "show port%d", ArgPortPlus1).Parse(),
};

CLP_PACKED_TABLE(kQLogic2031Table, kQLogic2031Lines, CLP_BUFFER_BYTES);

EFI_STATUS BuildQLogic2031ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse) {
  return BuildFromDialect(&kQLogic2031Table.Dialect, DigitsUnused, UnknownKeepsReconfigure, Adapter, Function,
                          Code, ParseResponse);
}
