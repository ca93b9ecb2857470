// The per-vendor dialects of BuildDefaultClpCommand, each one table of lines.
#ifndef DRIVER_BUILDERS_DEFAULT_DIALECTS_H_
#define DRIVER_BUILDERS_DEFAULT_DIALECTS_H_

#include "BuilderCommon.h"

// The port/function information line that every vendor but 0x1077 uses.
constexpr CLP_LINE kOemPfInfoLine =
    Tpl(SHOW_PF_INFO, "show port0/pf0 OEMVDR_PfInfo", DigitPort | DigitPf).Parse();

extern const CLP_DIALECT mOemPortFunctionDialect; // vendor 0x19A2
extern const CLP_DIALECT mFcPortDialect;          // vendor 0x10DF
extern const CLP_DIALECT mNetPortDialect;         // vendor 0x1077
extern const CLP_DIALECT mIntelDialect;           // vendor 0x8086

#endif
