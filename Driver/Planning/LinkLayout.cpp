// Rewrites the settings records of the controller's functions to the link layout in force, so
// that the CLP commands address ports and functions as the adapter now numbers them.
#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Strings/DriverStrings.h"
#include "Strings/Vocabulary.h"

#define LAYOUT_ONE_PER_PORT 1
#define LAYOUT_FOUR_PER_PORT 3
#define LAYOUT_WALK_LIMIT 8
#define LAYOUT_PORTS 4
#define LAYOUT_FUNCTIONS_PER_PORT 4
#define SPEED_CODE_1G 0x4001
#define SPEED_CODE_10G 0x400A
#define NALO_INDEX_CARD 224
#define COPIED_FIRMWARE_VERSIONS 3
#define FIRMWARE_VERSION_CHARS (FUNCTION_FIRMWARE_VERSION_SIZE - 1)
#define LINK_SPEED_TEXT_CHARS (sizeof(((FUNCTION_SETTINGS *)nullptr)->MaxLinkSpeedText) - 1)

// Four 10 Gb/s ports of four functions: the function at PCI function number k sits on port
// k mod 4 as its function k / 4.
#define FOUR_BY_FOUR_FUNCTIONS 16
static const UINT8 mFourByFourPort[FOUR_BY_FOUR_FUNCTIONS] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
static const UINT8 mFourByFourFunction[FOUR_BY_FOUR_FUNCTIONS] = {0, 0, 0, 0, 1, 1, 1, 1,
                                                                  2, 2, 2, 2, 3, 3, 3, 3};

static UINT8 FunctionNumber(const FUNCTION_SETTINGS *Settings) {
  return (UINT8)(Settings->PciAddress & 0x7);
}

// The i-th record of the walk over the controller's functions, or NULL where the walk ends.
static FUNCTION_SETTINGS *WalkFunction(FUNCTION_SETTINGS *Settings, UINTN Index) {
  if (Index >= LAYOUT_WALK_LIMIT || Index >= Settings->FunctionCount) {
    return nullptr;
  }
  // In the one-function-per-port layout each port has only its first function.
  if (Index > 0 && mModule.Discovered.mLinkConfig == LAYOUT_ONE_PER_PORT) {
    return nullptr;
  }
  return Settings->Functions[Index];
}

static VOID MakeSinglePort(FUNCTION_SETTINGS *Function, UINT8 Port, UINT32 LinkWord) {
  Function->PfIndex = 0;
  Function->PortIndex = Port;
  Function->PortIndexCopy = Port;
  Function->PortIndexCopy2 = Port;
  Function->NaloIndex = Port;
  Function->SubIndex = 0;
  Function->LinkWord = LinkWord;
  Function->PfsPerPort = 4;
  Function->PortCount = LAYOUT_PORTS;
  Function->FunctionCount = 1;
  CopyChars(Function->MaxLinkSpeedText, ASTR("1 Gb/s"), LINK_SPEED_TEXT_CHARS);
  Function->MaxLinkSpeedCode = SPEED_CODE_1G;
}

static VOID CopyVersionsFrom(FUNCTION_SETTINGS *Function, const FUNCTION_SETTINGS *First) {
  if (First == nullptr || First == Function) {
    return;
  }
  for (UINTN Slot = 0; Slot < COPIED_FIRMWARE_VERSIONS; Slot++) {
    CopyChars(Function->FirmwareVersion[Slot], First->FirmwareVersion[Slot], FIRMWARE_VERSION_CHARS);
  }
}

VOID AdjustLayout4x1G(FUNCTION_SETTINGS *Settings) {
  if (Settings->SubsystemId != SUBSYSTEM_EMULEX_4X1G_FIRST &&
      Settings->SubsystemId != SUBSYSTEM_EMULEX_4X1G_LAST) {
    return;
  }
  for (UINTN Index = 0;; Index++) {
    FUNCTION_SETTINGS *Function = WalkFunction(Settings, Index);
    if (Function == nullptr) {
      break;
    }
    Function->LinkConfig = mModule.Discovered.mLinkConfig;
    if (mModule.Discovered.mLinkConfig == LAYOUT_ONE_PER_PORT) {
      const UINT8 Number = FunctionNumber(Function);
      const UINT8 Port = (Number == 2 || Number == 3) ? Number : Function->PortIndex;
      MakeSinglePort(Function, Port, 0);
    }
  }
}

VOID AdjustLayoutEmulex07x0(FUNCTION_SETTINGS *Settings, FUNCTION_SETTINGS *First) {
  for (UINTN Index = 0;; Index++) {
    FUNCTION_SETTINGS *Function = WalkFunction(Settings, Index);
    if (Function == nullptr) {
      break;
    }
    // Taken before the layout renumbers the record.
    const BOOLEAN FirstOfAdapter = IsFirstFunctionOfAdapter(Function);
    if (mModule.Discovered.mLinkConfig == LAYOUT_ONE_PER_PORT) {
      const UINT8 Number = FunctionNumber(Function);
      UINT8 Port = Function->PortIndex;
      if (Number == 4) {
        Port = 2;
      } else if (Number == 5) {
        Port = 3;
      }
      MakeSinglePort(Function, Port, 3);
    }
    if (!FirstOfAdapter) {
      CopyVersionsFrom(Function, First);
    }
  }
}

VOID AdjustLayout4x10G(FUNCTION_SETTINGS *Settings) {
  if (Settings->SubsystemId != SUBSYSTEM_EMULEX_4X10G) {
    return;
  }
  Settings->LinkConfig = mModule.Discovered.mLinkConfig;
  if (mModule.Discovered.mLinkConfig != LAYOUT_FOUR_PER_PORT || !IsFirstFunctionOfAdapter(Settings)) {
    return;
  }

  // The port lists are rewritten in place and may include this very record, so walk a copy.
  FUNCTION_SETTINGS *List[FUNCTION_LIST_ENTRIES];
  for (UINTN Index = 0; Index < FUNCTION_LIST_ENTRIES; Index++) {
    List[Index] = Settings->Functions[Index];
  }
  // The management numbering is the controller's own, taken before its record is rewritten.
  const UINT8 NaloIndex = Settings->NaloIndex;
  const UINT8 CardIndex = Settings->CardIndex;
  const UINT8 PortNumber = Settings->PortNumber;
  UINT8 PortFunctions[LAYOUT_PORTS] = {0, 0, 0, 0};
  BOOLEAN Placed[FUNCTION_LIST_ENTRIES] = {};

  for (UINTN Index = 0; Index < FUNCTION_LIST_ENTRIES; Index++) {
    FUNCTION_SETTINGS *Function = List[Index];
    if (Function == nullptr) {
      continue;
    }
    const UINT8 Number = (UINT8)(Function->PciAddress & 0xFF);
    if (Number >= FOUR_BY_FOUR_FUNCTIONS) {
      continue; // no place in this layout: left as it is
    }
    const UINT8 Port = mFourByFourPort[Number];
    FUNCTION_SETTINGS *PortRecord = Settings->Ports[Port];
    if (PortRecord == nullptr || PortFunctions[Port] >= FUNCTION_LIST_ENTRIES) {
      continue;
    }
    PortRecord->Functions[PortFunctions[Port]] = Function;
    PortFunctions[Port]++;
    Placed[Index] = TRUE;
  }

  for (UINTN Index = 0; Index < FUNCTION_LIST_ENTRIES; Index++) {
    if (!Placed[Index]) {
      continue;
    }
    FUNCTION_SETTINGS *Function = List[Index];
    const UINT8 Number = (UINT8)(Function->PciAddress & 0xFF);
    const UINT8 Port = mFourByFourPort[Number];
    const UINT8 PortFunction = mFourByFourFunction[Number];
    if (PortFunctions[Port] < FUNCTION_LIST_ENTRIES) {
      Function->Functions[PortFunctions[Port]] = nullptr;
    }
    Function->PortIndexCopy = Port;
    Function->PortIndex = Port;
    Function->PfIndex = PortFunction;
    Function->SubIndex = (UINT8)(PortFunction + 1);
    Function->PfsPerPort = LAYOUT_FUNCTIONS_PER_PORT;
    Function->PortCount = LAYOUT_PORTS;
    Function->FunctionCount = PortFunctions[Port];
    Function->MaxLinkSpeedCode = SPEED_CODE_10G;
    if (NaloIndex == NALO_INDEX_CARD) {
      Function->NaloIndex = NALO_INDEX_CARD;
      Function->CardIndex = CardIndex;
      Function->PortNumber = (UINT8)(PortNumber + Port);
    } else {
      Function->NaloIndex = (UINT8)(NaloIndex + Port);
      Function->CardIndex = 0;
      Function->PortNumber = 0;
    }
    CopyChars(Settings->MaxLinkSpeedText, ASTR("10 Gb/s"), LINK_SPEED_TEXT_CHARS);
  }
}

VOID CopyFirmwareVersions(FUNCTION_SETTINGS *Settings, FUNCTION_SETTINGS *First) {
  if (!IsFirstFunctionOfAdapter(Settings)) {
    CopyVersionsFrom(Settings, First);
  }
}

VOID AdjustLinkLayout(FUNCTION_SETTINGS *Settings) {
  if (Settings == nullptr) {
    return;
  }
  if (IsFirstFunctionOfAdapter(Settings) || mModule.Planner.mFirstFunctionSettings == nullptr) {
    mModule.Planner.mFirstFunctionSettings = Settings;
  }
  const UINT32 Device = RecordVidDid(Settings);
  if (Device == VIDDID_EMULEX_0720) {
    AdjustLayout4x1G(Settings);
    AdjustLayout4x10G(Settings);
  } else if (Device == VIDDID_EMULEX_0700 || Device == VIDDID_EMULEX_0710) {
    AdjustLayoutEmulex07x0(Settings, mModule.Planner.mFirstFunctionSettings);
  }
  if (mModule.Run.mFamily.EmulexE200) {
    CopyFirmwareVersions(Settings, mModule.Planner.mFirstFunctionSettings);
  }
}
