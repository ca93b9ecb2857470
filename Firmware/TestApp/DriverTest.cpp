// Boot-time test of the driver image inside real firmware (OVMF under QEMU). The application
// loads PlatformToDriver.efi like any other driver, plays the adapter driver against the
// platform-to-driver protocol it installs, using OVMF's own NVRAM and the VM's e1000e functions
// at 00:03.0 and 00:03.1, and prints one line per failed check, then "PASS" or
// "FAIL (n checks failed)", and powers the VM off.
#include "Uefi.h"
#include "Protocol/ConsoleMessage.h"

extern "C" {
#include <efilib.h>
}

#define W(Literal) ((CHAR16 *)(u"" Literal))

namespace {

EFI_GUID gP2dProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
EFI_GUID gConsoleMessageGuid = CONSOLE_MESSAGE_PROTOCOL_GUID;

constexpr UINT32 kVariableAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

// The driver image sits beside this application on the boot disk, with the image offsets of
// PlatformToDriverQuery and PlatformToDriverResponse that the build read from its symbol table.
const CHAR16 *const kDriverPath = W("\\EFI\\BOOT\\PlatformToDriver.efi");
const CHAR16 *const kMemberOffsetsPath = W("\\EFI\\BOOT\\members.bin");

// The ToolMode device and the e1000e identity that QEMU gives it.
constexpr UINT64 kToolBus = 0;
constexpr UINT64 kToolDevice = 3;
constexpr UINT16 kE1000eVendorId = 0x8086;
constexpr UINT16 kE1000eDeviceId = 0x10D3;
const CHAR16 *const kExpectedBanner =
    W("\r\n!!! TOOL 'Tolvar(EFI)' IS ENABLED FOR V/D 8086/10D3, BUS/DEV 0/3 !!!\r\n");

// The tool's commands: the first is stored without a NUL, the second with one, which then
// counts in CLPCommandLength.
const CHAR8 kCommand0[] = "show /system1/network1/Connection1 -display properties";
const CHAR8 kCommand1[] = "set /system1/network1/Connection1 EnabledState=2";
constexpr UINTN kCommand0Size = sizeof(kCommand0) - 1;
constexpr UINTN kCommand1Size = sizeof(kCommand1);

// CLP return strings the application reports back; the driver must store exactly these bytes.
CHAR8 gReturnString0[] = "status=0\r\nerrtype=0\r\ncmdstatus=0 (COMMAND COMPLETED)\r\n";
CHAR8 gReturnString1[] = "status=3\r\nerrtype=2\r\ncmdstatus=2 (COMMAND FAILED)\xff\r\n";
constexpr UINT32 kReturnString0Size = sizeof(gReturnString0) - 1;
constexpr UINT32 kReturnString1Size = sizeof(gReturnString1);

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

// --- The console-message protocol that OVMF lacks: shows the message and records it. ------------

UINTN gBannerCalls;
CHAR16 gBannerText[300];

EFI_STATUS EFIAPI ConsoleMessageUnused() {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI ConsoleMessageShow(CHAR16 *String) {
  gBannerCalls++;
  UINTN Length = 0;
  if (String != nullptr) {
    while (String[Length] != 0 && Length < sizeof(gBannerText) / sizeof(gBannerText[0]) - 1) {
      gBannerText[Length] = String[Length];
      Length++;
    }
    ST->ConOut->OutputString(ST->ConOut, String);
  }
  gBannerText[Length] = 0;
  return EFI_SUCCESS;
}

CONSOLE_MESSAGE_PROTOCOL gConsoleMessage = {ConsoleMessageUnused, ConsoleMessageShow};

// --- NVRAM helpers -------------------------------------------------------------------------------

EFI_STATUS PutVariable(const CHAR16 *Name, UINTN Size, const VOID *Data) {
  return RT->SetVariable((CHAR16 *)Name, &gClpGuid, kVariableAttributes, Size, (VOID *)Data);
}

VOID DeleteVariable(const CHAR16 *Name) {
  EFI_STATUS Status = RT->SetVariable((CHAR16 *)Name, &gClpGuid, 0, 0, nullptr);
  Check(Status == EFI_SUCCESS || Status == EFI_NOT_FOUND, W("deleting %s returned %r"), Name, Status);
}

VOID CheckResultVariable(const CHAR16 *Name, const CHAR8 *Expected, UINTN ExpectedSize) {
  UINT8 Buffer[256];
  UINTN Size = sizeof(Buffer);
  UINT32 Attributes = 0;
  EFI_STATUS Status = RT->GetVariable((CHAR16 *)Name, &gClpGuid, &Attributes, &Size, Buffer);
  if (!CheckStatus(Status, EFI_SUCCESS, Name)) {
    return;
  }
  Check(Attributes == kVariableAttributes, W("%s has attributes %x, expected %x"), Name, Attributes,
        kVariableAttributes);
  Check(Size == ExpectedSize, W("%s holds %d bytes, expected %d"), Name, Size, ExpectedSize);
  for (UINTN Index = 0; Index < Size && Index < ExpectedSize; Index++) {
    if (Buffer[Index] != (UINT8)Expected[Index]) {
      Check(FALSE, W("%s byte %d is %02x, expected %02x"), Name, Index, Buffer[Index],
            (UINT8)Expected[Index]);
      return;
    }
  }
}

// --- PCI -----------------------------------------------------------------------------------------

struct PciFunction {
  EFI_HANDLE Handle;
  EFI_PCI_IO *PciIo;
};

// Finds segment 0, bus kToolBus, device kToolDevice, Function among the PCI I/O handles.
PciFunction FindToolFunction(UINTN Function) {
  PciFunction Found = {nullptr, nullptr};
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  EFI_STATUS Status = BS->LocateHandleBuffer(ByProtocol, &PciIoProtocol, nullptr, &Count, &Handles);
  if (!CheckStatus(Status, EFI_SUCCESS, W("LocateHandleBuffer(PciIo)"))) {
    return Found;
  }
  for (UINTN Index = 0; Index < Count; Index++) {
    EFI_PCI_IO *PciIo = nullptr;
    if (EFI_ERROR(BS->HandleProtocol(Handles[Index], &PciIoProtocol, (VOID **)&PciIo))) {
      continue;
    }
    UINTN Segment, Bus, Device, Fn;
    if (EFI_ERROR(PciIo->GetLocation(PciIo, &Segment, &Bus, &Device, &Fn))) {
      continue;
    }
    if (Segment == 0 && Bus == kToolBus && Device == kToolDevice && Fn == Function) {
      Found = {Handles[Index], PciIo};
    }
  }
  FreePool(Handles);
  Check(Found.Handle != nullptr, W("no PCI function %d:%d.%d in this VM (QEMU command line?)"), kToolBus,
        kToolDevice, Function);
  if (Found.Handle != nullptr) {
    UINT16 Ids[2] = {0, 0};
    Found.PciIo->Pci.Read(Found.PciIo, EfiPciIoWidthUint16, 0, 2, Ids);
    Check(Ids[0] == kE1000eVendorId && Ids[1] == kE1000eDeviceId,
          W("PCI function %d:%d.%d is %04x:%04x, expected the e1000e %04x:%04x"), kToolBus, kToolDevice,
          Function, Ids[0], Ids[1], kE1000eVendorId, kE1000eDeviceId);
  }
  return Found;
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

// --- ToolMode ------------------------------------------------------------------------------------

struct QueryResult {
  EFI_STATUS Status;
  EFI_GUID *ParameterTypeGuid;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block;
  UINTN BlockSize;
};

QueryResult DoQuery(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                    UINTN Instance) {
  QueryResult Result = {EFI_SUCCESS, nullptr, nullptr, 0};
  UINTN InstanceArgument = Instance;
  VOID *Block = nullptr;
  Result.Status = Protocol->Query(Protocol, Controller, nullptr, &InstanceArgument, &Result.ParameterTypeGuid,
                                  &Block, &Result.BlockSize);
  Result.Block = (EFI_CONFIGURE_CLP_PARAMETER_BLK *)Block;
  return Result;
}

// One ToolMode command: Query hands out Command unchanged, Response stores ReturnString.
VOID RunToolCommand(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                    UINTN Instance, const CHAR8 *Command, UINTN CommandSize, CHAR8 *ReturnString,
                    UINT32 ReturnStringSize, EFI_PLATFORM_CONFIGURATION_ACTION Action) {
  QueryResult Q = DoQuery(Protocol, Controller, Instance);
  Check(Q.Status == EFI_SUCCESS, W("Query Instance %d returned %r, expected %r"), Instance, Q.Status,
        EFI_SUCCESS);
  if (Q.Status != EFI_SUCCESS) {
    return;
  }
  Check(Q.ParameterTypeGuid != nullptr && CompareGuid(Q.ParameterTypeGuid, &gClpGuid) == 0,
        W("Query Instance %d: parameter type is not the CLP GUID"), Instance);
  Check(Q.BlockSize == sizeof(EFI_CONFIGURE_CLP_PARAMETER_BLK),
        W("Query Instance %d: parameter block size %d, expected 32"), Instance, Q.BlockSize);
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = Q.Block;
  Check(Block != nullptr, W("Query Instance %d: no parameter block"), Instance);
  if (Block == nullptr) {
    return;
  }
  Check(Block->CLPCommandLength == CommandSize, W("Query Instance %d: CLPCommandLength %d, expected %d"),
        Instance, Block->CLPCommandLength, CommandSize);
  if (Block->CLPCommand == nullptr) {
    Check(FALSE, W("Query Instance %d: CLPCommand is NULL"), Instance);
  } else {
    BOOLEAN Same = CompareMem(Block->CLPCommand, Command, CommandSize) == 0;
    Check(Same, W("Query Instance %d: CLPCommand is \"%a\", expected \"%a\""), Instance, Block->CLPCommand,
          Command);
    Check(Block->CLPCommand[CommandSize] == 0,
          W("Query Instance %d: CLPCommand not NUL-terminated after %d bytes"), Instance, CommandSize);
  }
  Check(Block->CLPReturnString == nullptr && Block->CLPReturnStringLength == 2 && Block->CLPCmdStatus == 1 &&
            Block->CLPErrorValue == 3 && Block->CLPMsgCode == 4,
        W("Query Instance %d: placeholders %lx/%d/%d/%d/%d, expected 0/2/1/3/4"), Instance,
        (UINTN)Block->CLPReturnString, Block->CLPReturnStringLength, Block->CLPCmdStatus,
        Block->CLPErrorValue, Block->CLPMsgCode);

  // The adapter driver's outcome.
  Block->CLPReturnString = ReturnString;
  Block->CLPReturnStringLength = ReturnStringSize;
  Block->CLPCmdStatus = 0;
  Block->CLPErrorValue = 0;
  Block->CLPMsgCode = 0;
  UINTN InstanceArgument = Instance;
  EFI_STATUS Status = Protocol->Response(Protocol, Controller, nullptr, &InstanceArgument,
                                         Q.ParameterTypeGuid, Block, Q.BlockSize, Action);
  Check(Status == EFI_SUCCESS, W("Response Instance %d (action %d) returned %r, expected %r"), Instance,
        Action, Status, EFI_SUCCESS);
}

VOID ExpectNotFound(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                    UINTN Instance, const CHAR16 *Where) {
  QueryResult Q = DoQuery(Protocol, Controller, Instance);
  Check(Q.Status == EFI_NOT_FOUND, W("%s: Query Instance %d returned %r, expected %r"), Where, Instance,
        Q.Status, EFI_NOT_FOUND);
  if (Q.Status == EFI_SUCCESS) {
    // Every handed-out command is answered, so the driver releases what it allocated.
    UINTN InstanceArgument = Instance;
    Protocol->Response(Protocol, Controller, nullptr, &InstanceArgument, Q.ParameterTypeGuid, Q.Block,
                       Q.BlockSize, EfiPlatformConfigurationActionNone);
  }
}

VOID SetUpToolVariables() {
  const CHAR16 *Stale[] = {W("CLPCMD_MODE"),        W("CLPCMD000_1"),        W("CLPCMD002_0"),
                           W("CLPCMD000_0_RESULT"), W("CLPCMD001_0_RESULT"), W("CLPCMD000_1_RESULT")};
  for (const CHAR16 *Name : Stale) {
    DeleteVariable(Name);
  }
  UINT64 Location[2] = {kToolBus, kToolDevice};
  CheckStatus(PutVariable(W("CLPCMD_LOCATION"), sizeof(Location), Location), EFI_SUCCESS,
              W("SetVariable(CLPCMD_LOCATION)"));
  CheckStatus(PutVariable(W("CLPCMD000_0"), kCommand0Size, kCommand0), EFI_SUCCESS,
              W("SetVariable(CLPCMD000_0)"));
  CheckStatus(PutVariable(W("CLPCMD001_0"), kCommand1Size, kCommand1), EFI_SUCCESS,
              W("SetVariable(CLPCMD001_0)"));
}

VOID DeleteToolVariables() {
  const CHAR16 *Names[] = {W("CLPCMD_LOCATION"), W("CLPCMD000_0"), W("CLPCMD001_0"), W("CLPCMD000_0_RESULT"),
                           W("CLPCMD001_0_RESULT")};
  for (const CHAR16 *Name : Names) {
    DeleteVariable(Name);
  }
}

VOID TestToolMode(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol) {
  Print(W("ToolMode on 00:03.0 and 00:03.1\n"));
  PciFunction Function0 = FindToolFunction(0);
  PciFunction Function1 = FindToolFunction(1);
  if (Function0.Handle == nullptr || Function1.Handle == nullptr) {
    return;
  }
  // Handed out unchanged, in Instance order; the Response of Instance 1 asks to stop the
  // controller, which ToolMode must ignore (a managed Response would try a disconnect that fails
  // here, since nothing manages the e1000e, and answer Not Found).
  RunToolCommand(Protocol, Function0.Handle, 0, kCommand0, kCommand0Size, gReturnString0, kReturnString0Size,
                 EfiPlatformConfigurationActionNone);
  RunToolCommand(Protocol, Function0.Handle, 1, kCommand1, kCommand1Size, gReturnString1, kReturnString1Size,
                 EfiPlatformConfigurationActionStopController);
  ExpectNotFound(Protocol, Function0.Handle, 2, W("00:03.0 after its two commands"));

  CheckResultVariable(W("CLPCMD000_0_RESULT"), gReturnString0, kReturnString0Size);
  CheckResultVariable(W("CLPCMD001_0_RESULT"), gReturnString1, kReturnString1Size);

  ExpectNotFound(Protocol, Function1.Handle, 0, W("00:03.1 without CLPCMD000_1"));
  UINT8 Unused[8];
  UINTN Size = sizeof(Unused);
  Check(RT->GetVariable(W("CLPCMD000_1_RESULT"), &gClpGuid, nullptr, &Size, Unused) == EFI_NOT_FOUND,
        W("CLPCMD000_1_RESULT exists although function 1 got no command"));

  Check(gBannerCalls == 1, W("console message shown %d times, expected once"), gBannerCalls);
  Check(StrCmp(gBannerText, kExpectedBanner) == 0, W("banner is \"%s\", expected \"%s\""), gBannerText,
        kExpectedBanner);
}

// --- Every handle of the VM, once no ToolMode variable names a device ----------------------------

VOID SweepAllHandles(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol) {
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  EFI_STATUS Status = BS->LocateHandleBuffer(AllHandles, nullptr, nullptr, &Count, &Handles);
  if (!CheckStatus(Status, EFI_SUCCESS, W("LocateHandleBuffer(AllHandles)"))) {
    return;
  }
  Print(W("Sweep: Query at Instance 0 on %d handles\n"), Count);
  for (UINTN Index = 0; Index < Count; Index++) {
    CHAR16 Where[64];
    SPrint(Where, sizeof(Where), W("handle %d of %d"), Index, Count);
    ExpectNotFound(Protocol, Handles[Index], 0, Where);
  }
  FreePool(Handles);
}

EFI_STATUS RunTests(EFI_HANDLE ImageHandle) {
  EFI_HANDLE ConsoleHandle = nullptr;
  CheckStatus(BS->InstallProtocolInterface(&ConsoleHandle, &gConsoleMessageGuid, EFI_NATIVE_INTERFACE,
                                           &gConsoleMessage),
              EFI_SUCCESS, W("InstallProtocolInterface(console message)"));
  SetUpToolVariables();

  UINT64 MemberOffsets[2] = {0, 0};
  ReadMemberOffsets(ImageHandle, MemberOffsets);
  EFI_HANDLE DriverHandle = LoadDriver(ImageHandle);
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol =
      DriverHandle == nullptr ? nullptr : CheckProtocolInstance(DriverHandle, MemberOffsets);
  if (Protocol != nullptr) {
    Check(gBannerCalls == 0, W("console message shown %d times while loading, expected none"), gBannerCalls);
    TestToolMode(Protocol);
  }
  DeleteToolVariables();
  if (Protocol != nullptr) {
    SweepAllHandles(Protocol);
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
