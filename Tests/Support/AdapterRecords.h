// Settings records of an adapter as the platform lays them out, for the driver tests and the fuzz
// targets alike (no test framework needed).
#pragma once

#include <cstdint>
#include <vector>

#include "FakeFirmware/FakeFirmware.h"

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
