// Boot-time test of the driver image inside real firmware (OVMF under QEMU). The application
// loads PlatformToDriver.efi like any other driver and checks what only real firmware can show: the
// image loads, its module state right after the entry point is the load state (the zero-filled
// .bss plus the few non-zero load values), and it installs exactly one protocol instance with the
// driver's own members; Query and
// Response on every handle of the VM, with valid and with NULL arguments, answer as the protocol
// requires and change nothing; and a ToolMode Response without a reply string stores no result in
// OVMF's own NVRAM. (The ToolMode and ManagedMode dialogues themselves are played in OVMF by the
// scenario cross-check.) Run in OVMF's Secure Boot firmware (a "secureboot" file beside it says
// "signed" or "unsigned"), it also checks that Secure Boot is on, and for an unsigned driver only
// that the firmware refuses to load it. It prints one line per failed check, then "PASS" or
// "FAIL (n checks failed)", and powers the VM off.
#include "Uefi.h"
#include "ModuleState.h"

extern "C" {
#include <efilib.h>
}

#define W(Literal) ((CHAR16 *)(u"" Literal))

namespace {

EFI_GUID gP2dProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

// The driver image sits beside this application on the boot disk, with the image offsets of
// PlatformToDriverQuery, PlatformToDriverResponse and mModule that the build read from its symbol
// table.
const CHAR16 *const kDriverPath = W("\\EFI\\BOOT\\PlatformToDriver.efi");
const CHAR16 *const kMemberOffsetsPath = W("\\EFI\\BOOT\\members.bin");
const CHAR16 *const kSecureBootPath = W("\\EFI\\BOOT\\secureboot");

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

enum { kQueryOffset, kResponseOffset, kStateOffset, kOffsetCount };

// Reads a file of the boot disk into Buffer; *Size is its capacity, then the bytes read.
EFI_STATUS ReadBootFile(EFI_HANDLE ImageHandle, const CHAR16 *Path, VOID *Buffer, UINTN *Size) {
  EFI_LOADED_IMAGE *Self = nullptr;
  EFI_STATUS Status = BS->HandleProtocol(ImageHandle, &LoadedImageProtocol, (VOID **)&Self);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  EFI_FILE_HANDLE Root = LibOpenRoot(Self->DeviceHandle);
  if (Root == nullptr) {
    return EFI_NOT_FOUND;
  }
  EFI_FILE_HANDLE File = nullptr;
  Status = Root->Open(Root, &File, (CHAR16 *)Path, EFI_FILE_MODE_READ, 0);
  if (!EFI_ERROR(Status)) {
    Status = File->Read(File, Size, Buffer);
    File->Close(File);
  }
  Root->Close(Root);
  return Status;
}

// Little-endian 64-bit offsets from the driver's image base: Query, Response, mModule.
BOOLEAN ReadMemberOffsets(EFI_HANDLE ImageHandle, UINT64 Offsets[kOffsetCount]) {
  const UINTN Expected = kOffsetCount * sizeof(UINT64);
  UINTN Size = Expected;
  EFI_STATUS Status = ReadBootFile(ImageHandle, kMemberOffsetsPath, Offsets, &Size);
  BOOLEAN Ok = CheckStatus(Status, EFI_SUCCESS, W("reading members.bin"));
  Check(!Ok || Size == Expected, W("members.bin holds %d bytes, expected %d"), Size, Expected);
  return Ok && Size == Expected;
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
EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *
CheckProtocolInstance(EFI_HANDLE DriverHandle, const UINT64 MemberOffsets[kOffsetCount]) {
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
    Check(Query == Base + MemberOffsets[kQueryOffset],
          W("Query member is at image offset %lx, PlatformToDriverQuery at %lx"), Query - Base,
          MemberOffsets[kQueryOffset]);
    Check(Response == Base + MemberOffsets[kResponseOffset],
          W("Response member is at image offset %lx, PlatformToDriverResponse at %lx"), Response - Base,
          MemberOffsets[kResponseOffset]);
  }
  return Protocol;
}

// --- The state at load -------------------------------------------------------------------------------

// Read back from the loaded image before any Query: the image file carries no bytes of the state,
// so this shows that the loader zero-filled it and that the entry point set the non-zero load
// values. Neither the IPMI transport nor the console-message protocol exists in this VM, so the
// constructors leave their pointers NULL and every other byte must be zero.
VOID CheckLoadState(EFI_HANDLE DriverHandle, UINT64 StateOffset) {
  EFI_LOADED_IMAGE *Image = nullptr;
  if (!CheckStatus(BS->HandleProtocol(DriverHandle, &LoadedImageProtocol, (VOID **)&Image), EFI_SUCCESS,
                   W("HandleProtocol(driver image handle, LoadedImage) for the state"))) {
    return;
  }
  if (StateOffset == 0 || StateOffset + sizeof(DRIVER_MODULE_STATE) > Image->ImageSize) {
    Check(FALSE, W("mModule at image offset %lx does not lie inside the driver image"), StateOffset);
    return;
  }
  const DRIVER_MODULE_STATE *State = (const DRIVER_MODULE_STATE *)((UINT8 *)Image->ImageBase + StateOffset);
  Print(W("Load state: mModule, %d bytes at image offset %lx\n"), sizeof(DRIVER_MODULE_STATE), StateOffset);

  Check(!State->ToolMode.mToolModeAnswered && !State->ToolMode.mToolModeFinished &&
            !State->ToolMode.mToolModeDeclined && !State->ToolMode.mToolBannerShown,
        W("ToolMode flags at load: answered %d finished %d declined %d banner %d, expected all 0"),
        State->ToolMode.mToolModeAnswered, State->ToolMode.mToolModeFinished,
        State->ToolMode.mToolModeDeclined, State->ToolMode.mToolBannerShown);
  Check(State->ToolMode.mToolModeSetting == 255, W("mToolModeSetting at load is %ld, expected 255"),
        State->ToolMode.mToolModeSetting);
  Check(State->Run.mPlanInstance == 255 && State->Run.mPlanInstance2 == 255 && State->Run.mPlanStopped == 0 &&
            State->Run.mPlanComplete == 0 && State->Run.mLinkAdjusted == 0,
        W("plan bytes at load: %d %d %d %d %d, expected 255 255 0 0 0"), State->Run.mPlanInstance,
        State->Run.mPlanInstance2, State->Run.mPlanStopped, State->Run.mPlanComplete,
        State->Run.mLinkAdjusted);
  Check(State->Builder.mClpPortDigit == '0' && State->Builder.mClpPfDigit == '0' &&
            State->Builder.mClpTargetDigit == '0',
        W("digit characters at load: %d %d %d, expected 48 48 48"), State->Builder.mClpPortDigit,
        State->Builder.mClpPfDigit, State->Builder.mClpTargetDigit);
  for (UINTN Index = 0; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
    Check(State->Builder.mPfTypePfNumber[Index] == 1, W("mPfTypePfNumber[%d] at load is %ld, expected 1"),
          Index, State->Builder.mPfTypePfNumber[Index]);
  }

  // Everything else, padding included, is zero.
  static DRIVER_MODULE_STATE Expected;
  ZeroMem(&Expected, sizeof(Expected));
  Expected.ToolMode.mToolModeSetting = 255;
  Expected.Run.mPlanInstance = 255;
  Expected.Run.mPlanInstance2 = 255;
  Expected.Builder.mClpPortDigit = '0';
  Expected.Builder.mClpPfDigit = '0';
  Expected.Builder.mClpTargetDigit = '0';
  for (UINTN Index = 0; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
    Expected.Builder.mPfTypePfNumber[Index] = 1;
  }
  const UINT8 *Actual = (const UINT8 *)State;
  const UINT8 *Wanted = (const UINT8 *)&Expected;
  UINTN Differing = 0, First = 0;
  for (UINTN Offset = 0; Offset < sizeof(Expected); Offset++) {
    if (Actual[Offset] != Wanted[Offset] && Differing++ == 0) {
      First = Offset;
    }
  }
  Check(Differing == 0,
        W("%d bytes of mModule differ from the load state, the first at offset %d (%d, expected %d)"),
        Differing, First, Actual[First], Wanted[First]);
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

// --- Secure Boot -------------------------------------------------------------------------------------

enum SECURE_BOOT_RUN { SecureBootNotTested, SecureBootSigned, SecureBootUnsigned };

SECURE_BOOT_RUN ReadSecureBootRun(EFI_HANDLE ImageHandle) {
  CHAR8 Text[16] = {};
  UINTN Size = sizeof(Text) - 1;
  if (EFI_ERROR(ReadBootFile(ImageHandle, kSecureBootPath, Text, &Size))) {
    return SecureBootNotTested;
  }
  const SECURE_BOOT_RUN Run = strcmpa(Text, (CHAR8 *)"signed") == 0     ? SecureBootSigned
                              : strcmpa(Text, (CHAR8 *)"unsigned") == 0 ? SecureBootUnsigned
                                                                        : SecureBootNotTested;
  Check(Run != SecureBootNotTested, W("the secureboot file says neither signed nor unsigned"));
  return Run;
}

// The firmware must enforce signatures, or neither run shows anything.
VOID CheckSecureBootOn(SECURE_BOOT_RUN Run) {
  EFI_GUID GlobalVariable = EFI_GLOBAL_VARIABLE;
  UINT8 SecureBoot = 0;
  UINTN Size = sizeof(SecureBoot);
  EFI_STATUS Status = RT->GetVariable(W("SecureBoot"), &GlobalVariable, nullptr, &Size, &SecureBoot);
  CheckStatus(Status, EFI_SUCCESS, W("GetVariable(SecureBoot)"));
  Check(SecureBoot == 1, W("SecureBoot is %d, expected 1"), SecureBoot);
  Print(W("Secure Boot on: %s driver image\n"), Run == SecureBootSigned ? W("signed") : W("unsigned"));
}

// An unsigned driver: LoadImage refuses it by policy (Access Denied, not the Security Violation
// of an image that is loaded but not authenticated) and no protocol instance appears.
VOID CheckUnsignedRefused(EFI_HANDLE ImageHandle) {
  EFI_LOADED_IMAGE *Self = nullptr;
  if (!CheckStatus(BS->HandleProtocol(ImageHandle, &LoadedImageProtocol, (VOID **)&Self), EFI_SUCCESS,
                   W("HandleProtocol(LoadedImage) of the test application"))) {
    return;
  }
  EFI_DEVICE_PATH *Path = FileDevicePath(Self->DeviceHandle, (CHAR16 *)kDriverPath);
  EFI_HANDLE DriverHandle = nullptr;
  EFI_STATUS Status = BS->LoadImage(FALSE, ImageHandle, Path, nullptr, 0, &DriverHandle);
  FreePool(Path);
  CheckStatus(Status, EFI_ACCESS_DENIED, W("LoadImage of the unsigned driver"));
  if (!EFI_ERROR(Status)) {
    BS->UnloadImage(DriverHandle);
  }
  VOID *Interface = nullptr;
  CheckStatus(BS->LocateProtocol(&gP2dProtocolGuid, nullptr, &Interface), EFI_NOT_FOUND,
              W("LocateProtocol(platform-to-driver) after the refusal"));
}

EFI_STATUS RunTests(EFI_HANDLE ImageHandle) {
  const SECURE_BOOT_RUN Run = ReadSecureBootRun(ImageHandle);
  if (Run != SecureBootNotTested) {
    CheckSecureBootOn(Run);
  }
  if (Run == SecureBootUnsigned) {
    CheckUnsignedRefused(ImageHandle);
    return EFI_SUCCESS;
  }
  UINT64 MemberOffsets[kOffsetCount] = {};
  ReadMemberOffsets(ImageHandle, MemberOffsets);
  EFI_HANDLE DriverHandle = LoadDriver(ImageHandle);
  if (DriverHandle != nullptr) {
    CheckLoadState(DriverHandle, MemberOffsets[kStateOffset]);
  }
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
