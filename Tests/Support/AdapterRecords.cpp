#include "Support/AdapterRecords.h"

#include <stdexcept>

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
