// The stand-in's entry: reads the pack, finds the test functions, listens to status codes, and plays
// each scenario in pack order (see ScenarioApp.h).
#include "ScenarioApp.h"

namespace app {
namespace {

EFI_GUID gP2dProtocolGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gRscHandlerGuid = EFI_RSC_HANDLER_PROTOCOL_GUID;

const CHAR16 *const kDriverPath = W("\\EFI\\BOOT\\PlatformToDriver.efi");

EFI_HANDLE LoadDriver(EFI_STATUS *Status) {
  EFI_LOADED_IMAGE *Self = nullptr;
  *Status = uefi_call_wrapper(BS->HandleProtocol, 3, gImageHandle, &LoadedImageProtocol, (VOID **)&Self);
  if (EFI_ERROR(*Status)) {
    return nullptr;
  }
  EFI_DEVICE_PATH *Path = FileDevicePath(Self->DeviceHandle, (CHAR16 *)kDriverPath);
  EFI_HANDLE Driver = nullptr;
  *Status = uefi_call_wrapper(BS->LoadImage, 6, FALSE, gImageHandle, Path, nullptr, 0, &Driver);
  FreePool(Path);
  if (EFI_ERROR(*Status)) {
    return nullptr;
  }
  *Status = uefi_call_wrapper(BS->StartImage, 3, Driver, nullptr, nullptr);
  return Driver;
}

VOID PlayScenario(PTD_PACK_SCENARIO *S) {
  if (S->ControllerCount > gFunctionCount || S->AdapterCount > 64) {
    Fatal("the scenario has more controllers than the VM has e1000e functions");
    return;
  }
  BuildPlatform(S);

  ClearEvents();
  gRecording = TRUE;
  EFI_STATUS LoadStatus;
  EFI_HANDLE Driver = LoadDriver(&LoadStatus);
  gRecording = FALSE;
  LineWriter Writer = BeginLine();
  Writer.Key(ptd::key::Scenario);
  Writer.String(S->Name);
  Writer.Key(ptd::key::Load);
  Writer.BeginObject();
  Writer.Key(ptd::key::Status);
  Writer.Status(LoadStatus);
  Writer.EndObject();
  Writer.Key(ptd::key::LoadEvents);
  Writer.BeginArray();
  WriteEvents(Writer);
  Writer.EndArray();
  EndLine(Writer);

  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;
  if (Driver != nullptr && !EFI_ERROR(LoadStatus)) {
    uefi_call_wrapper(BS->HandleProtocol, 3, Driver, &gP2dProtocolGuid, (VOID **)&Protocol);
  }
  // The platform connects each controller in play order, as the boot manager does: our driver,
  // bound to it since the stand-in started, is stopped and started again, and its Start() plays.
  BeginPlaying(S, Protocol);
  for (UINT32 O = 0; Protocol != nullptr && O < S->OrderCount; O++) {
    if (S->Order[O] < S->ControllerCount) {
      ConnectController(S->Order[O]);
    }
  }
  EndPlaying();

  // This driver copy's instance goes with the scenario's platform.
  if (Protocol != nullptr) {
    uefi_call_wrapper(BS->UninstallProtocolInterface, 3, Driver, &gP2dProtocolGuid, Protocol);
  }
  TearDownPlatform(S);
  LineWriter End = BeginLine();
  End.Key(ptd::key::ScenarioEnd);
  End.String(S->Name);
  EndLine(End);
}

} // namespace
} // namespace app

extern "C" EFI_STATUS efi_main(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) {
  using namespace app;
  InitializeLib(ImageHandle, SystemTable);
  gImageHandle = ImageHandle;
  uefi_call_wrapper(BS->SetWatchdogTimer, 4, 0, 0, 0, nullptr);
  LibLocateProtocol(&SerialIoProtocol, (VOID **)&gSerial);
  Print(W("\nPlatformToDriver scenario stand-in\n"));
  PTD_PACK_HEADER *Pack = ReadPack(ImageHandle);
  FindTestFunctions();
  EFI_RSC_HANDLER_PROTOCOL *Rsc = nullptr;
  if (Pack == nullptr) {
    Fatal("cannot read scenarios.pack");
  } else if (EFI_ERROR(uefi_call_wrapper(BS->LocateProtocol, 3, &gRscHandlerGuid, nullptr, (VOID **)&Rsc)) ||
             EFI_ERROR(uefi_call_wrapper(Rsc->Register, 2, StatusCodeListener, TPL_HIGH_LEVEL))) {
    Fatal("no status-code router to listen to");
  } else {
    InstallAdapterDriver(ImageHandle);
    WatchServices();
    for (UINT32 I = 0; I < Pack->ScenarioCount; I++) {
      PlayScenario(&Pack->Scenarios[I]);
    }
  }
  LineWriter Writer = BeginLine();
  Writer.Key(ptd::key::Done);
  Writer.Bool(true);
  EndLine(Writer);
  EFI_RESET_SYSTEM Reset = gRealResetSystem != nullptr ? gRealResetSystem : RT->ResetSystem;
  uefi_call_wrapper(Reset, 4, EfiResetShutdown, EFI_SUCCESS, 0, nullptr);
  return EFI_SUCCESS;
}
