// The line interpreter shared by all CLP builders and the frames around it.
#include "ModuleState.h"
#include "BuilderCommon.h"

#include <Library/BaseLib.h>
#include <Library/PrintLib.h>
#include "Strings/DriverStrings.h"
#include "Strings/Vocabulary.h"

// All zeros and large: placed in .bss so that the image file carries none of its bytes (a const
// object would otherwise go to .rodata, in the file).
__attribute__((section(".bss.kAbsentFunction"))) static const FUNCTION_SETTINGS kAbsentFunction = {};

const FUNCTION_SETTINGS *ClpFunctionOrAbsent(const FUNCTION_SETTINGS *Function) {
  return Function != nullptr ? Function : &kAbsentFunction;
}

// --- Lines -------------------------------------------------------------------------------------

// Pointer to the character right after the first occurrence of Pattern in Text, or NULL.
static CHAR8 *After(CHAR8 *Text, const char *Pattern) {
  for (CHAR8 *Start = Text; *Start != 0; Start++) {
    UINTN Index = 0;
    while (Pattern[Index] != 0 && Start[Index] == (CHAR8)Pattern[Index]) {
      Index++;
    }
    if (Pattern[Index] == 0) {
      return Start + Index;
    }
  }
  return nullptr;
}

static VOID PatchDigit(CHAR8 *Position, CHAR8 Digit) {
  if (Position != nullptr && *Position != 0) {
    *Position = Digit;
  }
}

static VOID CopyTemplate(const CLP_ROW *Line, const CHAR8 *Text) {
  CHAR8 *Buffer = mModule.Builder.ClpCommandBuffer;
  const UINTN Length = BoundedLength(Text, CLP_BUFFER_BYTES - 1);
  for (UINTN Index = 0; Index < Length; Index++) {
    Buffer[Index] = Text[Index];
  }
  Buffer[Length] = 0;

  if (Line->Digits & DigitPort) {
    PatchDigit(After(Buffer, "port"), mModule.Builder.mClpPortDigit);
  }
  if (Line->Digits & DigitPf) {
    CHAR8 *Slash = After(Buffer, "/pf");
    PatchDigit(Slash != nullptr ? Slash : After(Buffer, ".pf"), mModule.Builder.mClpPfDigit);
  }
  if (Line->Digits & DigitTarget) {
    PatchDigit(After(Buffer, "target"), mModule.Builder.mClpTargetDigit);
  }
  if ((Line->Digits & DigitIndex) && Length >= 4 && Buffer[Length - 4] == '[' && Buffer[Length - 2] == ']' &&
      Buffer[Length - 1] == '=') {
    Buffer[Length - 3] = mModule.Builder.mClpTargetDigit;
  }
}

static UINT32 ArgumentValue(UINT8 Arg, const FUNCTION_SETTINGS *Function, const CLP_VALUE *Value) {
  switch (Arg) {
  case ArgPort:
    return Function->PortIndex;
  case ArgPortPlus1:
    return (UINT32)Function->PortIndex + 1;
  case ArgPf:
    return Function->PfIndex;
  case ArgPfPlus1:
    return (UINT32)Function->PfIndex + 1;
  case ArgOne:
    return 1;
  case ArgValue:
    return (UINT32)Value->Number;
  case ArgPfTypePfNumber:
    return mModule.Builder.mEmulexPfTypeSetIndex < PF_TYPE_TABLE_ENTRIES
               ? (UINT32)mModule.Builder.mPfTypePfNumber[mModule.Builder.mEmulexPfTypeSetIndex]
               : 0;
  case ArgNextPfIndexPlus1:
    return mModule.Discovered.mPfTypeCount < PF_TYPE_TABLE_ENTRIES
               ? (UINT32)mPfIndexTable[mModule.Discovered.mPfTypeCount] + 1
               : 0;
  default:
    return 0;
  }
}

static BOOLEAN ConditionHolds(const CLP_ROW *Line, const FUNCTION_SETTINGS *Function) {
  switch (Line->Condition) {
  case CondPartitioned:
    return mModule.Discovered.mCurrentUmc == 1;
  case CondUsableVlan: {
    const UINT64 Vlan = ResolveValue(Line->Source, Function).Number;
    return Vlan != 0 && Vlan < VLAN_NONE;
  }
  case CondPfTypeSetIndexValid:
    return mModule.Builder.mEmulexPfTypeSetIndex < PF_TYPE_TABLE_ENTRIES;
  case CondPfTypeCountValid:
    return mModule.Discovered.mPfTypeCount < PF_TYPE_TABLE_ENTRIES;
  default:
    return TRUE;
  }
}

static VOID StoreSentValue(UINT8 Store, const FUNCTION_SETTINGS *Function, UINT64 Number) {
  switch (Store) {
  case StorePortEnable:
    mModule.Planner.mTargetPortEnable = Function->PortEnable;
    break;
  case StoreBootEnable:
    mModule.Planner.mTargetBootEnable = Function->BootEnable;
    break;
  case StoreVlan:
    mModule.Discovered.mTargetVlanId = (UINT16)Number;
    break;
  case StoreBandwidth:
    mModule.Planner.mTargetBandwidth = (UINT8)Number;
    break;
  case StoreRateLimit:
    mModule.Planner.mTargetRateLimit = (UINT8)Number;
    break;
  case StorePfTypeSet:
    mModule.Planner.mTargetPfTypeWork = (UINT32)Number;
    if (mModule.Builder.mEmulexPfTypeSetIndex < PF_TYPE_TABLE_ENTRIES) {
      mModule.Builder.mEmulexPfTypeSetIndex++;
    }
    break;
  case StorePxeVlan:
    mModule.Planner.mTargetBootEnable = Function->BootEnableToApply;
    mModule.Discovered.mTargetVlanId = (UINT16)Number;
    break;
  default:
    break;
  }
}

const CLP_ROW *FindClpLine(const CLP_DIALECT *Dialect, UINT64 Code, const FUNCTION_SETTINGS *Function) {
  if (Dialect == nullptr || Code > 0xFF) {
    return nullptr;
  }
  Function = ClpFunctionOrAbsent(Function);
  // The rows are ordered by code; the first of the code's rows whose condition holds is the line.
  UINTN Low = 0;
  while (Low < Dialect->Count && ClpRows(Dialect)[Low].Code < Code) {
    Low++;
  }
  for (UINTN Index = Low; Index < Dialect->Count && ClpRows(Dialect)[Index].Code == Code; Index++) {
    if (ConditionHolds(&ClpRows(Dialect)[Index], Function)) {
      return &ClpRows(Dialect)[Index];
    }
  }
  return nullptr;
}

EFI_STATUS RunClpLine(const CLP_DIALECT *Dialect, const CLP_ROW *Line, const FUNCTION_SETTINGS *Function,
                      BOOLEAN *ParseResponse) {
  const CHAR8 *Prefix = ClpPool(Dialect) + Line->Prefix;
  const UINTN FormatCapacity = Dialect->FormatCapacity;
  CHAR8 *Buffer = mModule.Builder.ClpCommandBuffer;
  EFI_STATUS Status = EFI_SUCCESS;
  Function = ClpFunctionOrAbsent(Function);
  const CLP_VALUE Value = ResolveValue(Line->Source, Function);

  Buffer[0] = 0;
  if (Line->TargetDigit != 0) {
    mModule.Builder.mClpTargetDigit = (CHAR8)('0' + Line->TargetDigit - 1);
  }
  if (Line->Form == LineTemplate) {
    CopyTemplate(Line, Prefix);
  } else {
    AsciiSPrint(Buffer, FormatCapacity < CLP_BUFFER_BYTES ? FormatCapacity : CLP_BUFFER_BYTES,
                (const char *)Prefix, ArgumentValue(Line->Arg0, Function, &Value),
                ArgumentValue(Line->Arg1, Function, &Value), ArgumentValue(Line->Arg2, Function, &Value));
  }

  if (Line->Kind != ValNone) {
    if (Line->Space != 0) {
      Status = CheckClpBufferSpace(BoundedLength(Buffer, CLP_BUFFER_BYTES - 1), Line->Space);
    }
    if (Status == EFI_SUCCESS) {
      AppendValue(Line, &Value);
    } else {
      Buffer[0] = 0;
    }
  }

  StoreSentValue(Line->Store, Function, Value.Number);
  if (Line->ParseReply && ParseResponse != nullptr) {
    *ParseResponse = TRUE;
  }
  return Status;
}

// --- Frames ------------------------------------------------------------------------------------

VOID PrepareClpDigits(const FUNCTION_SETTINGS *Function, CLP_DIGIT_MODE Mode) {
  CHAR8 *Buffer = mModule.Builder.ClpCommandBuffer;
  if (Mode != DigitsUnused) {
    Function = ClpFunctionOrAbsent(Function);
    const UINT32 Offset = Mode == DigitsFromOne ? 1 : 0;
    const UINT32 Port = (UINT32)Function->PortIndex + Offset;
    const UINT32 Pf = (UINT32)Function->PfIndex + Offset;
    // The digits are the first two characters of the two numbers written one after the other
    // ("%01d%01d" with room for two): a port of two or more digits leaves none for the function.
    UINT32 Scale = 1;
    while (Port / Scale >= 10) {
      Scale *= 10;
    }
    mModule.Builder.mClpPortDigit = (CHAR8)('0' + Port / Scale);
    if (Scale > 1) {
      mModule.Builder.mClpPfDigit = (CHAR8)('0' + Port / (Scale / 10) % 10);
    } else {
      while (Pf / Scale >= 10) {
        Scale *= 10;
      }
      mModule.Builder.mClpPfDigit = (CHAR8)('0' + Pf / Scale);
    }
    mModule.Builder.mClpTargetDigit = '0';
  }
  Buffer[0] = 0;
}

VOID WriteClpExit(VOID) {
  AsciiStrCpy(mModule.Builder.ClpCommandBuffer, ASTR("exit"));
}

EFI_STATUS RefuseClpCode(ADAPTER_SETTINGS *Adapter, CLP_UNKNOWN_RULE Rule) {
  mModule.Builder.ClpCommandBuffer[0] = 0;
  if (Adapter != nullptr) {
    Adapter->ProgressFlags |= PROGRESS_FLAG_CONFIG_DONE;
    if (Rule == UnknownClearsReconfigure) {
      Adapter->PlatformFlags &= (UINT8)~PLATFORM_FLAG_RECONFIGURE_REQUESTED;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS BuildFromDialect(const CLP_DIALECT *Dialect, CLP_DIGIT_MODE DigitMode,
                            CLP_UNKNOWN_RULE UnknownRule, ADAPTER_SETTINGS *Adapter,
                            const FUNCTION_SETTINGS *Function, UINT64 Code, BOOLEAN *ParseResponse) {
  PrepareClpDigits(Function, DigitMode);
  if (Code == EXIT) {
    WriteClpExit();
    return EFI_SUCCESS;
  }
  const CLP_ROW *Line = FindClpLine(Dialect, Code, Function);
  if (Line == nullptr) {
    return RefuseClpCode(Adapter, UnknownRule);
  }
  return RunClpLine(Dialect, Line, Function, ParseResponse);
}
