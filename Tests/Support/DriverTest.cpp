#include "Support/DriverTest.h"

#include <sstream>

#include "ModuleState.h"
#include "PlatformToDriver.h"
#include "Library/PciExpressLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"

void DriverTest::SetUp() {
  Firmware = std::make_unique<fake::FakeFirmware>();
  Firmware->InstallPlatformProtocols();
  Firmware->SetAssertCallback([](const std::string &File, uint64_t Line, const std::string &Text) {
    ADD_FAILURE_AT(File.c_str(), static_cast<int>(Line)) << "driver ASSERT failed: " << Text;
  });
  ResetModuleState();
  Protocol = nullptr;

  // The table libraries' globals outlive a test; point them at this test's platform (as after
  // the library constructors ran) so driver code called directly finds it, and put them back at
  // the end so nothing keeps pointing into a destroyed fake.
  SavedImageHandle = gImageHandle;
  SavedSystemTable = gST;
  SavedBootServices = gBS;
  SavedRuntimeServices = gRT;
  gImageHandle = Firmware->ImageHandle();
  gST = Firmware->SystemTable();
  gBS = Firmware->BootServices();
  gRT = Firmware->RuntimeServices();
  PciExpressLibConstructor();
}

void DriverTest::TearDown() {
  if (!PoolLeaksAllowed) {
    for (const fake::PoolBlock &Block : Firmware->LivePoolBlocks()) {
      ADD_FAILURE() << "pool block leaked: allocation #" << Block.Serial << ", " << Block.Size
                    << " bytes, type " << static_cast<int>(Block.Type);
    }
  }
  if (!BadFreesAllowed) {
    for (void *Pointer : Firmware->DoubleFrees()) {
      ADD_FAILURE() << "pool block freed twice: " << Pointer;
    }
    for (void *Pointer : Firmware->InvalidFrees()) {
      ADD_FAILURE() << "FreePool of a pointer that was never allocated: " << Pointer;
    }
  }
  if (!UnexpectedCallsAllowed) {
    for (const std::string &Call : Firmware->UnexpectedCalls()) {
      ADD_FAILURE() << "unexpected firmware call: " << Call;
    }
  }
  gST = nullptr;
  PciExpressLibConstructor(); // forgets the ECAM window of the fake that goes away
  gImageHandle = SavedImageHandle;
  gST = SavedSystemTable;
  gBS = SavedBootServices;
  gRT = SavedRuntimeServices;
  Firmware.reset();
}

EFI_STATUS DriverTest::LoadDriver() {
  const EFI_STATUS Status = _ModuleEntryPoint(Firmware->ImageHandle(), Firmware->SystemTable());
  Protocol = nullptr;
  if (!EFI_ERROR(Status)) {
    EFI_GUID Guid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
    Protocol = static_cast<EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *>(
        Firmware->FindProtocol(Firmware->ImageHandle(), Guid));
  }
  return Status;
}
