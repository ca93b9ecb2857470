// The per-vendor dialects of BuildDefaultClpCommand, each one table of lines.
#ifndef DRIVER_BUILDERS_DEFAULT_DIALECTS_H_
#define DRIVER_BUILDERS_DEFAULT_DIALECTS_H_

#include "BuilderCommon.h"

// The port/function information line that every vendor but 0x1077 uses.
constexpr CLP_LINE kOemPfInfoLine =
    Tpl(SHOW_PF_INFO, "show port0/pf0 OEMVDR_PfInfo", DigitPort | DigitPf).Parse();

// The dialect of each vendor (returned by functions: a table of their addresses would need
// load-time relocations).
const CLP_DIALECT *OemPortFunctionDialect(VOID); // vendor 0x19A2
const CLP_DIALECT *FcPortDialect(VOID);          // vendor 0x10DF
const CLP_DIALECT *NetPortDialect(VOID);         // vendor 0x1077
const CLP_DIALECT *IntelDialect(VOID);           // vendor 0x8086

#endif
