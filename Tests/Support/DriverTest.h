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
#include "Support/AdapterRecords.h"

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
