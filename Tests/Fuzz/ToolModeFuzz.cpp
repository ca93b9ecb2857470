// Fuzz target: ToolMode against NVRAM contents that any OS tool can write.
//
// Input: the controller's PCI location, then CLPCMD_LOCATION, CLPCMD_MODE, the CLPCMD%03d_%d
// command variables and stale CLPCMD%03d_%d_RESULT variables with any sizes and bytes, then the
// adapter driver's replies. The dialogue runs through the installed protocol on the fake firmware;
// the platform aborts on leaked pool and bad frees.
#include <cstdio>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "PlatformToDriver.h"

namespace {

std::u16string Name(const char *Format, unsigned Instance, unsigned Function) {
  char Text[40];
  std::snprintf(Text, sizeof(Text), Format, Instance, Function);
  return fake::Utf8ToUtf16(Text);
}

std::vector<uint8_t> Le64(uint64_t Value) {
  std::vector<uint8_t> Out(8);
  for (size_t I = 0; I < 8; I++) {
    Out[I] = static_cast<uint8_t>(Value >> (8 * I));
  }
  return Out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  fuzz::Reader In(Data, Size);
  const uint8_t Bus = In.Byte();
  const uint8_t Device = In.Byte() % 32;
  const uint8_t Function = In.Byte() % 4;
  const uint16_t Segment = In.Byte() % 4 == 3 ? 1 : 0;
  const uint8_t Which = In.Byte(); // which variables are written, and how

  fuzz::Platform P;
  EFI_GUID Guid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
  const fuzz::Family &Id = fuzz::kFamilies[In.Byte() % fuzz::kFamilyCount];
  EFI_HANDLE Controller = P.Fw().AddPciFunction(Segment, Bus, Device, Function, Id.Vendor, Id.Device);

  if ((Which & 1) != 0) {
    // A well-formed location, for this device or (odd byte) a neighbour; the upper bytes may
    // carry garbage that must make it a different device.
    std::vector<uint8_t> Location = Le64(Bus + (In.Byte() & 1));
    const std::vector<uint8_t> DeviceBytes = Le64(Device + (In.Byte() >> 7));
    Location.insert(Location.end(), DeviceBytes.begin(), DeviceBytes.end());
    if ((Which & 0x40) != 0) {
      Location[In.Byte() % 16] = In.Byte();
    }
    P.Fw().PutVariable(u"CLPCMD_LOCATION", Guid, 7, Location);
  } else if ((Which & 2) != 0) {
    P.Fw().PutVariable(u"CLPCMD_LOCATION", Guid, 7, In.Blob());
  }
  if ((Which & 4) != 0) {
    P.Fw().PutVariable(u"CLPCMD_MODE", Guid, 7, In.Blob());
  }
  // Command variables: a count that reaches past the 64 Instances ToolMode serves, each of any
  // size (the 500-byte limit included) for this function or another one.
  const unsigned Commands = In.Byte() % 70;
  for (unsigned Instance = 0; Instance < Commands; Instance++) {
    const uint8_t Shape = In.Byte();
    const unsigned ForFunction = (Shape & 0x80) != 0 ? Shape % 4 : Function;
    std::vector<uint8_t> Text;
    if ((Shape & 0x60) == 0x60) {
      Text.assign(490 + In.Byte() % 20, static_cast<uint8_t>('A' + Instance % 26));
    } else {
      Text = In.Blob();
    }
    P.Fw().PutVariable(Name("CLPCMD%03u_%u", Instance, ForFunction), Guid, 7, Text);
  }
  if ((Which & 8) != 0) {
    P.Fw().PutVariable(Name("CLPCMD%03u_%u_RESULT", In.Byte() % 64, Function), Guid, 7, In.Blob());
  }
  if ((Which & 16) != 0) {
    P.Fw().FailSetVariable(EFI_OUT_OF_RESOURCES);
  }
  if ((Which & 32) != 0) {
    P.Fw().FailNextAllocations(In.Byte() % 3);
  }

  std::vector<uint8_t> Reply;
  fuzz::DialogueLimits Limits;
  P.Fw().RunUntilReset([&] {
    fuzz::RunDialogue(P, Controller, In, Limits, Reply);
    // A second run on the same controller, as after a controller restart.
    fuzz::RunDialogue(P, Controller, In, Limits, Reply);
  });
  return 0;
}
