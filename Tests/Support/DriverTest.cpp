#include "Support/DriverTest.h"

#include <sstream>
#include <stdexcept>

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

void LinkAdapterRecords(const std::vector<std::vector<FUNCTION_SETTINGS *>> &Records,
                        const AdapterSpec &Spec) {
  if (Records.size() > FUNCTION_LIST_ENTRIES) {
    throw std::invalid_argument("LinkAdapterRecords: more ports than a record can link");
  }
  for (size_t Port = 0; Port < Records.size(); ++Port) {
    if (Records[Port].empty() || Records[Port].size() > FUNCTION_LIST_ENTRIES) {
      throw std::invalid_argument("LinkAdapterRecords: a port needs 1 to 16 functions");
    }
    for (size_t Pf = 0; Pf < Records[Port].size(); ++Pf) {
      FUNCTION_SETTINGS *R = Records[Port][Pf];
      const size_t FunctionNumber = Port * Spec.FunctionsPerPort + Pf;
      R->VendorId = Spec.VendorId;
      R->DeviceId = Spec.DeviceId;
      R->SubsystemId = Spec.SubsystemId;
      R->PciAddress = static_cast<UINT16>((Spec.Bus << 8) | (Spec.Device << 3) | (FunctionNumber & 7));
      R->PortIndex = static_cast<UINT8>(Port);
      R->PortIndexCopy = static_cast<UINT8>(Port);
      R->PortIndexCopy2 = static_cast<UINT8>(Port);
      R->PfIndex = static_cast<UINT8>(Pf);
      R->PfsPerPort = Spec.FunctionsPerPort;
      R->PortCount = static_cast<UINT8>(Records.size());
      R->FunctionCount = static_cast<UINT8>(Records[Port].size());
      R->PlatformFlags = Spec.PlatformFlags;
      for (size_t I = 0; I < FUNCTION_LIST_ENTRIES; ++I) {
        R->Functions[I] = I < Records[Port].size() ? Records[Port][I] : nullptr;
        R->Ports[I] = I < Records.size() ? Records[I][0] : nullptr;
      }
    }
  }
}

BuiltAdapter AddAdapter(fake::FakeFirmware &Firmware, const AdapterSpec &Spec) {
  if (Spec.Ports == 0 || Spec.FunctionsPerPort == 0 || Spec.Ports * Spec.FunctionsPerPort > 8) {
    throw std::invalid_argument("AddAdapter: 1 to 8 PCI functions per device");
  }
  BuiltAdapter Built;
  std::vector<std::vector<FUNCTION_SETTINGS *>> ToLink;
  for (uint8_t Port = 0; Port < Spec.Ports; ++Port) {
    Built.Handles.emplace_back();
    Built.Records.emplace_back();
    ToLink.emplace_back();
    for (uint8_t Pf = 0; Pf < Spec.FunctionsPerPort; ++Pf) {
      const auto Function = static_cast<uint8_t>(Port * Spec.FunctionsPerPort + Pf);
      EFI_HANDLE Handle = Firmware.AddPciFunction(Spec.Segment, Spec.Bus, Spec.Device, Function,
                                                  Spec.VendorId, Spec.DeviceId);
      FUNCTION_SETTINGS *Record = nullptr;
      if (Spec.WithSettings) {
        Record = Firmware.AddAdapterSettings(Handle);
        ToLink.back().push_back(Record);
      }
      Built.Handles.back().push_back(Handle);
      Built.Records.back().push_back(Record);
    }
  }
  if (Spec.WithSettings) {
    LinkAdapterRecords(ToLink, Spec);
  }
  return Built;
}
