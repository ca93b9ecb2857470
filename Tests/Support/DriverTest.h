// Test fixture for everything that runs the driver against the host fake firmware.
//
// Per test: a fresh FakeFirmware with every platform protocol installed, the driver's module
// state back at its load values, gImageHandle/gST/gBS/gRT and the PCI Express library pointing at
// the fake (restored afterwards), and failed driver assertions reported as test failures. At the
// end the test fails on pool blocks still allocated, double or invalid frees, and calls of
// firmware services the driver should not make, unless the test opted out.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "FakeFirmware/FakeFirmware.h"

class DriverTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  fake::FakeFirmware &Fw() { return *Firmware; }

  // Runs the image entry point with the fake's image handle and system table; on success,
  // Protocol is the interface found on the image handle.
  EFI_STATUS LoadDriver();

  // Opt-outs for tests that expect what TearDown otherwise rejects.
  void AllowPoolLeaks() { PoolLeaksAllowed = true; }
  void AllowUnexpectedCalls() { UnexpectedCallsAllowed = true; }
  void AllowBadFrees() { BadFreesAllowed = true; }

  std::unique_ptr<fake::FakeFirmware> Firmware;
  EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol = nullptr;

private:
  bool PoolLeaksAllowed = false;
  bool UnexpectedCallsAllowed = false;
  bool BadFreesAllowed = false;
  EFI_HANDLE SavedImageHandle = nullptr;
  EFI_SYSTEM_TABLE *SavedSystemTable = nullptr;
  EFI_BOOT_SERVICES *SavedBootServices = nullptr;
  EFI_RUNTIME_SERVICES *SavedRuntimeServices = nullptr;
};

// ---- Settings records of an adapter ---------------------------------------------------------------

struct AdapterSpec {
  uint16_t VendorId = 0;
  uint16_t DeviceId = 0;
  uint16_t SubsystemId = 0;
  uint16_t Segment = 0;
  uint8_t Bus = 0;
  uint8_t Device = 0;
  uint8_t Ports = 1;
  uint8_t FunctionsPerPort = 1;
  uint8_t PlatformFlags = 0; // for every record, e.g. PLATFORM_FLAG_MANAGED_MODE_ENABLED
  bool WithSettings = true;  // install ADAPTER_SETTINGS_PROTOCOL on each controller
};

// One controller per PCI function; function number = port * FunctionsPerPort + pf.
struct BuiltAdapter {
  std::vector<std::vector<EFI_HANDLE>> Handles;          // [port][pf]
  std::vector<std::vector<FUNCTION_SETTINGS *>> Records; // [port][pf]; NULL without settings
  EFI_HANDLE Handle(size_t Port, size_t Pf) const { return Handles.at(Port).at(Pf); }
  FUNCTION_SETTINGS *Record(size_t Port, size_t Pf) const { return Records.at(Port).at(Pf); }
};

// Adds the PCI functions with their settings records, linked as the platform links them:
// Functions lists the records of the same port in PfIndex order, Ports one record per port
// (the port's first function); IDs, PciAddress, PortIndex (and its two copies), PfIndex,
// PfsPerPort, FunctionCount and PortCount are filled, everything else is zero.
BuiltAdapter AddAdapter(fake::FakeFirmware &Firmware, const AdapterSpec &Spec);

// Links and numbers records that a test allocated itself, the same way.
void LinkAdapterRecords(const std::vector<std::vector<FUNCTION_SETTINGS *>> &Records,
                        const AdapterSpec &Spec);
