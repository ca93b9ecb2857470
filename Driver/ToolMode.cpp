// ToolMode: a service tool stores CLP command lines in NVRAM and names the PCI device they are
// for; the driver hands them out unchanged, one per Instance, and stores each return string in a
// result variable for the tool to read back.
#include "PlatformToDriver.h"
#include "ModuleState.h"
#include "Library/BaseMemoryLib.h"
#include "Library/MemoryAllocationLib.h"
#include "Library/PciExpressLib.h"
#include "Library/PrintLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"

#define TOOL_VARIABLE_ATTRIBUTES                                                                             \
  (EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS)
#define TOOL_VARIABLE_NAME_CHARS 32
#define TOOL_MAX_INSTANCES 64
#define TOOL_LOCATION_SIZE 16

static EFI_GUID gEfiPciIoProtocolGuid = EFI_PCI_IO_PROTOCOL_GUID;

typedef struct {
  UINTN Segment;
  UINTN Bus;
  UINTN Device;
  UINTN Function;
} PCI_LOCATION;

// The controller must be a valid handle with PCI I/O; ToolMode serves functions 0 and 1 only.
static BOOLEAN GetToolLocation(EFI_HANDLE ControllerHandle, PCI_LOCATION *Location) {
  EFI_PCI_IO_PROTOCOL *PciIo = nullptr;
  if (EFI_ERROR(gBS->HandleProtocol(ControllerHandle, &gEfiPciIoProtocolGuid, (VOID **)&PciIo)) ||
      PciIo == nullptr) {
    return FALSE;
  }
  if (EFI_ERROR(PciIo->GetLocation(PciIo, &Location->Segment, &Location->Bus, &Location->Device,
                                   &Location->Function))) {
    return FALSE;
  }
  return Location->Function <= 1;
}

static VOID FormatToolVariableName(CHAR16 *Name, UINTN Instance, UINTN Function, BOOLEAN Result) {
  UnicodeSPrint(Name, TOOL_VARIABLE_NAME_CHARS * sizeof(CHAR16),
                Result ? WSTR("CLPCMD%03d_%d_RESULT") : WSTR("CLPCMD%03d_%d"), (UINT32)Instance,
                (UINT32)Function);
}

// The two pool copies a ToolMode Query hands out; the Response, or the next Query when no Response
// came, gives them back.
static VOID ReleaseToolCopies(VOID) {
  if (mModule.ToolMode.mToolParameterBlock != nullptr) {
    FreePool(mModule.ToolMode.mToolParameterBlock);
    mModule.ToolMode.mToolParameterBlock = nullptr;
  }
  if (mModule.ToolMode.mToolParameterTypeGuid != nullptr) {
    FreePool(mModule.ToolMode.mToolParameterTypeGuid);
    mModule.ToolMode.mToolParameterTypeGuid = nullptr;
  }
}

EFI_STATUS ToolModeQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle,
                         EFI_HANDLE ChildHandle, UINTN *Instance, EFI_GUID **ParameterTypeGuid,
                         VOID **ParameterBlock, UINTN *ParameterBlockSize) {
  (void)This;
  const UINTN InstanceValue = *Instance;

  if (InstanceValue != 0 && mModule.ToolMode.mToolModeDeclined) {
    return EFI_NOT_FOUND;
  }
  mModule.ToolMode.mToolModeDeclined = FALSE;
  mModule.ToolMode.mToolModeFinished = FALSE;

  if (ChildHandle != nullptr) {
    return EFI_NOT_FOUND;
  }

  // Proves only that the handle is valid; the list itself is not needed.
  EFI_GUID **ProtocolBuffer = nullptr;
  UINTN ProtocolCount = 0;
  if (EFI_ERROR(gBS->ProtocolsPerHandle(ControllerHandle, &ProtocolBuffer, &ProtocolCount))) {
    return EFI_NOT_FOUND;
  }
  if (ProtocolBuffer != nullptr) {
    gBS->FreePool(ProtocolBuffer);
  }

  PCI_LOCATION Location;
  if (!GetToolLocation(ControllerHandle, &Location)) {
    return EFI_NOT_FOUND;
  }

  // Only the banner shows the IDs.
  const UINTN ConfigBase =
      PCI_EXPRESS_LIB_ADDRESS(Location.Bus & 0xFF, Location.Device & 0x1F, Location.Function & 0x07, 0);
  const UINT16 VendorId = PciExpressRead16(ConfigBase);
  const UINT16 DeviceId = PciExpressRead16(ConfigBase + 2);

  UINT64 LocationVariable[2] = {0, 0};
  UINTN DataSize = TOOL_LOCATION_SIZE;
  EFI_STATUS Status = gRT->GetVariable(WSTR("CLPCMD_LOCATION"), &gEfiPlatformToDriverConfigurationClpGuid,
                                       nullptr, &DataSize, LocationVariable);
  // Only a location of exactly 16 bytes names a device; a shorter one would silently read as
  // bus 0 / device 0.
  if (EFI_ERROR(Status) || DataSize != TOOL_LOCATION_SIZE || LocationVariable[0] != Location.Bus ||
      LocationVariable[1] != Location.Device) {
    if (InstanceValue == 0) {
      mModule.ToolMode.mToolModeDeclined = TRUE;
    }
    return EFI_NOT_FOUND;
  }

  if (mModule.ToolMode.mToolModeSetting == 255) {
    DataSize = sizeof(mModule.ToolMode.mToolModeSetting);
    if (EFI_ERROR(gRT->GetVariable(WSTR("CLPCMD_MODE"), &gEfiPlatformToDriverConfigurationClpGuid, nullptr,
                                   &DataSize, &mModule.ToolMode.mToolModeSetting))) {
      mModule.ToolMode.mToolModeSetting = 1;
    }
  }
  if (mModule.ToolMode.mToolModeSetting == 0) {
    mModule.ToolMode.mToolModeFinished = TRUE;
    return EFI_SUCCESS;
  }

  if (!mModule.ToolMode.mToolBannerShown) {
    mModule.ToolMode.mToolBannerShown = TRUE;
    UnicodeSPrint(mModule.ToolMode.mToolBanner, sizeof(mModule.ToolMode.mToolBanner),
                  WSTR("\r\n!!! TOOL 'Tolvar(EFI)' IS ENABLED FOR V/D %x/%x, BUS/DEV %x/%x !!!\r\n"),
                  (UINT32)VendorId, (UINT32)DeviceId, (UINT32)Location.Bus, (UINT32)Location.Device);
    ConsoleMessagePrint(gST, mModule.ToolMode.mToolBanner);
  }

  if (InstanceValue >= TOOL_MAX_INSTANCES) {
    mModule.ToolMode.mToolModeDeclined = TRUE;
    return EFI_NOT_FOUND;
  }

  CHAR16 VariableName[TOOL_VARIABLE_NAME_CHARS];
  FormatToolVariableName(VariableName, InstanceValue, Location.Function, FALSE);
  DataSize = TOOL_COMMAND_MAX;
  if (gRT->GetVariable(VariableName, &gEfiPlatformToDriverConfigurationClpGuid, nullptr, &DataSize,
                       mModule.ToolMode.mToolCommandBuffer) != EFI_SUCCESS ||
      DataSize > TOOL_COMMAND_MAX) {
    mModule.ToolMode.mToolModeFinished = TRUE;
    return EFI_SUCCESS;
  }
  mModule.ToolMode.mToolCommandBuffer[DataSize] = '\0';

  // A Query whose Response never came leaves its copies behind; they are not lost, they are
  // released here before new ones replace them.
  ReleaseToolCopies();

  *ParameterBlockSize = sizeof(EFI_CONFIGURE_CLP_PARAMETER_BLK);
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block =
      (EFI_CONFIGURE_CLP_PARAMETER_BLK *)AllocatePool(sizeof(EFI_CONFIGURE_CLP_PARAMETER_BLK));
  if (Block == nullptr) {
    return EFI_NOT_FOUND;
  }
  mModule.ToolMode.mToolParameterBlock = Block;
  Block->CLPCommand = mModule.ToolMode.mToolCommandBuffer;
  Block->CLPCommandLength = (UINT32)DataSize;
  Block->CLPReturnString = nullptr;
  Block->CLPReturnStringLength = 2;
  Block->CLPCmdStatus = 1;
  Block->CLPErrorValue = 3;
  Block->CLPMsgCode = 4;
  *ParameterBlock = Block;

  EFI_GUID *Guid = (EFI_GUID *)AllocatePool(sizeof(EFI_GUID));
  if (Guid == nullptr) {
    // The front then asks ManagedMode and no Response comes for this block.
    FreePool(mModule.ToolMode.mToolParameterBlock);
    mModule.ToolMode.mToolParameterBlock = nullptr;
    return EFI_NOT_FOUND;
  }
  mModule.ToolMode.mToolParameterTypeGuid = Guid;
  CopyGuid(Guid, &gEfiPlatformToDriverConfigurationClpGuid);
  *ParameterTypeGuid = Guid;
  return EFI_SUCCESS;
}

EFI_STATUS ToolModeResponse(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *This, EFI_HANDLE ControllerHandle,
                            EFI_HANDLE ChildHandle, UINTN *Instance, EFI_GUID *ParameterTypeGuid,
                            VOID *ParameterBlock, UINTN ParameterBlockSize) {
  (void)This;
  (void)ChildHandle;
  (void)ParameterTypeGuid;

  PCI_LOCATION Location;
  if (!GetToolLocation(ControllerHandle, &Location)) {
    return EFI_NOT_FOUND;
  }

  (void)ParameterBlockSize;
  const EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = (const EFI_CONFIGURE_CLP_PARAMETER_BLK *)ParameterBlock;
  // A length without a string is no result: there are no bytes the adapter driver gave.
  const BOOLEAN HasResult = Block->CLPReturnString != nullptr || Block->CLPReturnStringLength == 0;
  if (*Instance < TOOL_MAX_INSTANCES && HasResult) {
    CHAR16 VariableName[TOOL_VARIABLE_NAME_CHARS];
    FormatToolVariableName(VariableName, *Instance, Location.Function, TRUE);
    gRT->SetVariable(VariableName, &gEfiPlatformToDriverConfigurationClpGuid, TOOL_VARIABLE_ATTRIBUTES,
                     Block->CLPReturnStringLength, Block->CLPReturnString);
  }

  ReleaseToolCopies();
  return EFI_SUCCESS;
}
