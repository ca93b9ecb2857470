// The builder a family row names.
#include "Builders/Builders.h"

// A switch rather than a table of builder addresses: it needs no load-time relocation. Kept out of
// line, so that the builders' frames do not add to the Query frame that already holds the pass.
__attribute__((noinline)) EFI_STATUS BuildClpCommand(CLP_BUILDER_ID Builder, ADAPTER_SETTINGS *Adapter,
                                                     FUNCTION_SETTINGS *Function, UINT64 Code,
                                                     BOOLEAN *ParseResponse) {
  switch (Builder) {
  case BuilderQLogic2031:
    return BuildQLogic2031ClpCommand(Adapter, Function, Code, ParseResponse);
  case BuilderQLogic8070:
    return BuildQLogic8070ClpCommand(Adapter, Function, Code, ParseResponse);
  case BuilderEmulex0720:
    return BuildEmulex0720ClpCommand(Adapter, Function, Code, ParseResponse);
  case BuilderMellanox1013:
    return BuildMellanox1013ClpCommand(Adapter, Function, Code, ParseResponse);
  case BuilderMellanox1017:
    return BuildMellanox1017ClpCommand(Adapter, Function, Code, ParseResponse);
  case BuilderDefault:
  default:
    return BuildDefaultClpCommand(Adapter, Function, Code, ParseResponse);
  }
}
