// CLP command builders: one per family or group of families, all of the same form.
#ifndef DRIVER_BUILDERS_BUILDERS_H_
#define DRIVER_BUILDERS_BUILDERS_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Planning/CommandCodes.h"

#define CLP_COMMAND_BUFFER_SIZE 1024
#define PF_TYPE_TABLE_ENTRIES 16

// The command line being built and the digits the builders address ports, functions and targets
// with. Load values: the digits '0', every mPfTypePfNumber entry 1.
struct BUILDER_STATE {
  CHAR8 ClpCommandBuffer[CLP_COMMAND_BUFFER_SIZE] = {};
  CHAR8 mClpPortDigit = 0;
  CHAR8 mClpPfDigit = 0;
  CHAR8 mClpTargetDigit = 0;
  UINT64 mPfTypePfNumber[PF_TYPE_TABLE_ENTRIES] = {};
  UINT8 mEmulexPfTypeSetIndex = 0;
  UINT8 mEmulex0720Flag = 0;
};

typedef EFI_STATUS (*CLP_BUILDER)(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                  BOOLEAN *ParseResponse);

EFI_STATUS BuildDefaultClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                  BOOLEAN *ParseResponse);
EFI_STATUS BuildEmulex0720ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse);
EFI_STATUS BuildQLogic8070ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse);
EFI_STATUS BuildMellanox1013ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                       BOOLEAN *ParseResponse);
EFI_STATUS BuildMellanox1017ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                       BOOLEAN *ParseResponse);
EFI_STATUS BuildQLogic2031ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse);

// The builders, as the family rows name them.
enum CLP_BUILDER_ID : UINT8 {
  BuilderDefault,
  BuilderQLogic2031,
  BuilderQLogic8070,
  BuilderEmulex0720,
  BuilderMellanox1013,
  BuilderMellanox1017,
};
EFI_STATUS BuildClpCommand(CLP_BUILDER_ID Builder, ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function,
                           UINT64 Code, BOOLEAN *ParseResponse);

// The vendors' line tables of BuildDefaultClpCommand, as the vendor rows name them.
enum CLP_VENDOR_DIALECT : UINT8 {
  DialectNone,
  DialectIntel,
  DialectNetPort,
  DialectFcPort,
  DialectOemPortFunction,
};

extern const CHAR8 mPfTypeNames[8][8];
extern const UINT64 mPfIndexTable[16];

VOID HexEncodeBytes(const UINT8 *Source, UINTN Count, CHAR8 *Destination);
VOID CopyBoundedText(CHAR8 *Destination, const CHAR8 *Source, UINTN Bound);
VOID FormatMacWithColons(CHAR8 *Destination, const CHAR8 *Digits);
EFI_STATUS CheckClpBufferSpace(UINTN LengthUsed, UINTN LengthNeeded);

#endif
