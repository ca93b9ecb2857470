// Boot-time test of the driver image inside real firmware (OVMF under QEMU). The application
// loads PlatformToDriver.efi like any other driver and checks what only real firmware can show: the
// image loads and installs exactly one protocol instance with the driver's own members; Query and
// Response on every handle of the VM, with valid and with NULL arguments, answer as the protocol
// requires and change nothing; and a ToolMode Response without a reply string stores no result in
// OVMF's own NVRAM. (The ToolMode and ManagedMode dialogues themselves are played in OVMF by the
// scenario cross-check.) It prints one line per failed check, then "PASS" or
// "FAIL (n checks failed)", and powers the VM off.
#include "Uefi.h"

extern "C" {
#include <efilib.h>
}

#define W(Literal) ((CHAR16 *)(u"" Literal))

namespace {

EFI_GUID gP2dProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

// The driver image sits beside this application on the boot disk, with the image offsets of
// PlatformToDriverQuery and PlatformToDriverResponse that the build read from its symbol table.
const CHAR16 *const kDriverPath = W("\\EFI\\BOOT\\PlatformToDriver.efi");
const CHAR16 *const kMemberOffsetsPath = W("\\EFI\\BOOT\\members.bin");

UINTN gChecks;
UINTN gFailures;

VOID Check(BOOLEAN Ok, const CHAR16 *Format, ...) {
  gChecks++;
  if (Ok) {
    return;
  }
  gFailures++;
  va_list Args;
  va_start(Args, Format);
  Print(W("FAIL: "));
  VPrint(Format, Args);
  Print(W("\n"));
  va_end(Args);
}

BOOLEAN CheckStatus(EFI_STATUS Actual, EFI_STATUS Expected, const CHAR16 *What) {
  Check(Actual == Expected, W("%s returned %r, expected %r"), What, Actual, Expected);
  return Actual == Expected;
}

// --- Driver loading and the protocol instance ----------------------------------------------------

// Two little-endian 64-bit offsets from the driver's image base: Query, then Response.
BOOLEAN ReadMemberOffsets(EFI_HANDLE ImageHandle, UINT64 Offsets[2]) {
  EFI_LOADED_IMAGE *Self = nullptr;
  if (EFI_ERROR(BS->HandleProtocol(ImageHandle, &LoadedImageProtocol, (VOID **)&Self))) {
    return FALSE;
  }
  EFI_FILE_HANDLE Root = LibOpenRoot(Self->DeviceHandle);
  if (Root == nullptr) {
    Check(FALSE, W("cannot open the boot disk's root directory"));
    return FALSE;
  }
  EFI_FILE_HANDLE File = nullptr;
  EFI_STATUS Status = Root->Open(Root, &File, (CHAR16 *)kMemberOffsetsPath, EFI_FILE_MODE_READ, 0);
  BOOLEAN Ok = CheckStatus(Status, EFI_SUCCESS, W("opening members.bin"));
  if (Ok) {
    UINTN Size = 2 * sizeof(UINT64);
    Status = File->Read(File, &Size, Offsets);
    Ok = CheckStatus(Status, EFI_SUCCESS, W("reading members.bin"));
    Check(!Ok || Size == 2 * sizeof(UINT64), W("members.bin holds %d bytes, expected 16"), Size);
    Ok = Ok && Size == 2 * sizeof(UINT64);
    File->Close(File);
  }
  Root->Close(Root);
  return Ok;
}

EFI_HANDLE LoadDriver(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Self = nullptr;
  EFI_STATUS Status = BS->HandleProtocol(ImageHandle, &LoadedImageProtocol, (VOID **)&Self);
  if (!CheckStatus(Status, EFI_SUCCESS, W("HandleProtocol(LoadedImage) of the test application"))) {
    return nullptr;
  }
  EFI_DEVICE_PATH *Path = FileDevicePath(Self->DeviceHandle, (CHAR16 *)kDriverPath);
  Check(Path != nullptr, W("FileDevicePath(%s) failed"), kDriverPath);
  if (Path == nullptr) {
    return nullptr;
  }
  EFI_HANDLE DriverHandle = nullptr;
  Status = BS->LoadImage(FALSE, ImageHandle, Path, nullptr, 0, &DriverHandle);
  FreePool(Path);
  if (!CheckStatus(Status, EFI_SUCCESS, W("LoadImage of the driver"))) {
    return nullptr;
  }
  Status = BS->StartImage(DriverHandle, nullptr, nullptr);
  if (!CheckStatus(Status, EFI_SUCCESS, W("StartImage of the driver"))) {
    return nullptr;
  }
  return DriverHandle;
}

// Exactly one instance, on the driver's own image handle, whose members are the driver's
// PlatformToDriverQuery and PlatformToDriverResponse.
EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *CheckProtocolInstance(EFI_HANDLE DriverHandle,
                                                                     const UINT64 MemberOffsets[2]) {
  EFI_GUID **Guids = nullptr;
  UINTN GuidCount = 0;
  UINTN Instances = 0;
  if (CheckStatus(BS->ProtocolsPerHandle(DriverHandle, &Guids, &GuidCount), EFI_SUCCESS,
                  W("ProtocolsPerHandle(driver image handle)"))) {
    for (UINTN Index = 0; Index < GuidCount; Index++) {
      if (CompareGuid(Guids[Index], &gP2dProtocolGuid) == 0) {
        Instances++;
      }
    }
    FreePool(Guids);
  }
  Check(Instances == 1, W("driver image handle carries %d platform-to-driver protocols, expected 1"),
        Instances);

  UINTN HandleCount = 0;
  EFI_HANDLE *Handles = nullptr;
  EFI_STATUS Status = BS->LocateHandleBuffer(ByProtocol, &gP2dProtocolGuid, nullptr, &HandleCount, &Handles);
  if (CheckStatus(Status, EFI_SUCCESS, W("LocateHandleBuffer(platform-to-driver protocol)"))) {
    Check(HandleCount == 1 && Handles[0] == DriverHandle,
          W("%d handles carry the platform-to-driver protocol, expected only the driver image handle"),
          HandleCount);
    FreePool(Handles);
  }

  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;
  Status = BS->HandleProtocol(DriverHandle, &gP2dProtocolGuid, (VOID **)&Protocol);
  if (!CheckStatus(Status, EFI_SUCCESS, W("HandleProtocol(driver image handle, platform-to-driver)"))) {
    return nullptr;
  }
  EFI_LOADED_IMAGE *Image = nullptr;
  Status = BS->HandleProtocol(DriverHandle, &LoadedImageProtocol, (VOID **)&Image);
  if (CheckStatus(Status, EFI_SUCCESS, W("HandleProtocol(driver image handle, LoadedImage)"))) {
    Check(Image->ImageCodeType == EfiBootServicesCode,
          W("driver image code type is %d, expected %d (boot-service driver)"), Image->ImageCodeType,
          EfiBootServicesCode);
    UINTN Base = (UINTN)Image->ImageBase;
    UINTN End = Base + Image->ImageSize;
    UINTN Query = (UINTN)Protocol->Query;
    UINTN Response = (UINTN)Protocol->Response;
    Check(Query >= Base && Query < End, W("Query member %lx lies outside the driver image %lx-%lx"), Query,
          Base, End);
    Check(Response >= Base && Response < End, W("Response member %lx lies outside the driver image %lx-%lx"),
          Response, Base, End);
    Check(Query == Base + MemberOffsets[0],
          W("Query member is at image offset %lx, PlatformToDriverQuery at %lx"), Query - Base,
          MemberOffsets[0]);
    Check(Response == Base + MemberOffsets[1],
          W("Response member is at image offset %lx, PlatformToDriverResponse at %lx"), Response - Base,
          MemberOffsets[1]);
  }
  return Protocol;
}

// --- Query and Response on every handle of the VM ------------------------------------------------

// No ToolMode variable names a device and no handle carries settings records, so every valid
// Query is refused; a Response that no Query asked for must do nothing, whatever its action (a
// reset here would end the run without its PASS line). Every NULL pointer, the controller handle
// included, is refused.
VOID CheckHandle(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *P, EFI_HANDLE H, UINTN Index,
                 EFI_PLATFORM_CONFIGURATION_ACTION Action) {
  UINTN Instance = 0, Size = 0;
  EFI_GUID *Guid = nullptr;
  VOID *Block = nullptr;
  const EFI_STATUS Query[] = {P->Query(P, H, nullptr, &Instance, &Guid, &Block, &Size),
                              P->Query(P, H, nullptr, nullptr, &Guid, &Block, &Size),
                              P->Query(P, H, nullptr, &Instance, nullptr, &Block, &Size),
                              P->Query(P, H, nullptr, &Instance, &Guid, nullptr, &Size),
                              P->Query(P, H, nullptr, &Instance, &Guid, &Block, nullptr)};
  EFI_CONFIGURE_CLP_PARAMETER_BLK Clp = {};
  const EFI_STATUS Response[] = {
      P->Response(P, H, nullptr, &Instance, &gClpGuid, &Clp, sizeof(Clp), Action),
      P->Response(P, H, nullptr, nullptr, &gClpGuid, &Clp, sizeof(Clp), Action),
      P->Response(P, H, nullptr, &Instance, nullptr, &Clp, sizeof(Clp), Action),
      P->Response(P, H, nullptr, &Instance, &gClpGuid, nullptr, sizeof(Clp), Action)};
  for (UINTN K = 0; K < 5; K++) {
    const EFI_STATUS Expected = K == 0 && H != nullptr ? EFI_NOT_FOUND : EFI_INVALID_PARAMETER;
    Check(Query[K] == Expected, W("handle %d: Query case %d returned %r, expected %r"), Index, K, Query[K],
          Expected);
  }
  for (UINTN K = 0; K < 4; K++) {
    const EFI_STATUS Expected = K == 0 && H != nullptr ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
    Check(Response[K] == Expected, W("handle %d: Response case %d returned %r, expected %r"), Index, K,
          Response[K], Expected);
  }
  Check(Block == nullptr && Guid == nullptr && Size == 0, W("handle %d: a refused Query wrote its results"),
        Index);
}

VOID SweepAllHandles(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol) {
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  EFI_STATUS Status = BS->LocateHandleBuffer(AllHandles, nullptr, nullptr, &Count, &Handles);
  if (!CheckStatus(Status, EFI_SUCCESS, W("LocateHandleBuffer(AllHandles)"))) {
    return;
  }
  Print(W("Sweep: Query and Response on %d handles\n"), Count);
  CheckHandle(Protocol, nullptr, Count, EfiPlatformConfigurationActionNone); // no controller at all
  for (UINTN Index = 0; Index < Count; Index++) {
    CheckHandle(Protocol, Handles[Index], Index,
                Index == 0 ? EfiPlatformConfigurationActionRestartPlatform
                           : EfiPlatformConfigurationActionNone);
  }
  FreePool(Handles);
}

// --- ToolMode without a reply string ---------------------------------------------------------------

// The first PCI I/O handle at 00:03.0, the e1000e the QEMU command line provides.
EFI_HANDLE FindDevice3Function0() {
  EFI_HANDLE Found = nullptr;
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  if (!CheckStatus(BS->LocateHandleBuffer(ByProtocol, &PciIoProtocol, nullptr, &Count, &Handles), EFI_SUCCESS,
                   W("LocateHandleBuffer(PciIo)"))) {
    return nullptr;
  }
  for (UINTN Index = 0; Index < Count && Found == nullptr; Index++) {
    EFI_PCI_IO *PciIo = nullptr;
    UINTN Segment, Bus, Device, Function;
    if (!EFI_ERROR(BS->HandleProtocol(Handles[Index], &PciIoProtocol, (VOID **)&PciIo)) &&
        !EFI_ERROR(PciIo->GetLocation(PciIo, &Segment, &Bus, &Device, &Function)) && Segment == 0 &&
        Bus == 0 && Device == 3 && Function == 0) {
      Found = Handles[Index];
    }
  }
  FreePool(Handles);
  Check(Found != nullptr, W("no PCI function 0:3.0 in this VM (QEMU command line?)"));
  return Found;
}

EFI_STATUS PutVariable(const CHAR16 *Name, UINTN Size, const VOID *Data) {
  const UINT32 Attributes =
      EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
  return RT->SetVariable((CHAR16 *)Name, &gClpGuid, Size == 0 ? 0 : Attributes, Size, (VOID *)Data);
}

VOID ToolModeResponseWithoutReply(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *P) {
  Print(W("ToolMode Response without a reply on 00:03.0\n"));
  EFI_HANDLE Controller = FindDevice3Function0();
  const UINT64 Location[2] = {0, 3};
  const CHAR8 Command[] = "show /system1";
  CheckStatus(PutVariable(W("CLPCMD_LOCATION"), sizeof(Location), Location), EFI_SUCCESS,
              W("storing CLPCMD_LOCATION"));
  CheckStatus(PutVariable(W("CLPCMD000_0"), sizeof(Command) - 1, Command), EFI_SUCCESS,
              W("storing CLPCMD000_0"));
  UINTN Instance = 0, Size = 0;
  EFI_GUID *Guid = nullptr;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
  if (Controller != nullptr &&
      CheckStatus(P->Query(P, Controller, nullptr, &Instance, &Guid, (VOID **)&Block, &Size), EFI_SUCCESS,
                  W("Query of the stored command"))) {
    Block->CLPReturnString = nullptr;
    Block->CLPReturnStringLength = 5;
    CheckStatus(
        P->Response(P, Controller, nullptr, &Instance, Guid, Block, Size, EfiPlatformConfigurationActionNone),
        EFI_SUCCESS, W("Response without a reply string"));
    UINT8 Result[8];
    UINTN ResultSize = sizeof(Result);
    CheckStatus(RT->GetVariable(W("CLPCMD000_0_RESULT"), &gClpGuid, nullptr, &ResultSize, Result),
                EFI_NOT_FOUND, W("GetVariable(CLPCMD000_0_RESULT)"));
  }
  const CHAR16 *const Names[] = {W("CLPCMD_LOCATION"), W("CLPCMD000_0"), W("CLPCMD000_0_RESULT")};
  for (const CHAR16 *Name : Names) {
    PutVariable(Name, 0, nullptr);
  }
}

EFI_STATUS RunTests(EFI_HANDLE ImageHandle) {
  UINT64 MemberOffsets[2] = {0, 0};
  ReadMemberOffsets(ImageHandle, MemberOffsets);
  EFI_HANDLE DriverHandle = LoadDriver(ImageHandle);
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol =
      DriverHandle == nullptr ? nullptr : CheckProtocolInstance(DriverHandle, MemberOffsets);
  if (Protocol != nullptr) {
    SweepAllHandles(Protocol);
    ToolModeResponseWithoutReply(Protocol);
  }
  return EFI_SUCCESS;
}

} // namespace

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  InitializeLib(ImageHandle, SystemTable);
  Print(W("\nPlatformToDriver firmware test\n"));
  RunTests(ImageHandle);
  Print(W("%d checks, %d failed\n"), gChecks, gFailures);
  if (gFailures == 0) {
    Print(W("PASS\n"));
  } else {
    Print(W("FAIL (%d checks failed)\n"), gFailures);
  }
  RT->ResetSystem(EfiResetShutdown, EFI_SUCCESS, 0, nullptr);
  return EFI_SUCCESS;
}
