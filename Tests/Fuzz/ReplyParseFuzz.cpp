// Fuzz target: one CLP reply through ParseClpReply.
//
// Input: family, command code (any value, unknown ones included), the fields of the record the
// reply is parsed for and of its port/function links, then the reply itself: everything after
// the header. The reply is handed over in a heap buffer of exactly its length with no terminator,
// as an option ROM may hand it over, so that reading one byte past it is an ASan report. Two bits
// of the hostile-field byte reshape it: a NULL string with the reply's length (nothing may be
// read or changed), and a run of 1 to 64 KiB of one character inserted into the reply, so that
// keys lie far beyond the value start.
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "ModuleState.h"
#include "FuzzSupport.h"
#include "Managed/AdapterSettings.h"
#include "Parsers/DiscoveredState.h"

namespace {

struct Adapter {
  std::vector<std::unique_ptr<FUNCTION_SETTINGS>> Records;
  FUNCTION_SETTINGS *Make() {
    Records.push_back(std::make_unique<FUNCTION_SETTINGS>());
    FUNCTION_SETTINGS *R = Records.back().get();
    *R = FUNCTION_SETTINGS{};
    return R;
  }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  fuzz::Reader In(Data, Size);
  const fuzz::Family &Id = fuzz::kFamilies[In.Byte() % fuzz::kFamilyCount];
  const uint8_t CodeSelector = In.Byte();
  // Mostly the codes 0..70 and 255; sometimes any value at all.
  const UINTN Code = CodeSelector < 0xF0 ? CodeSelector % 72 == 71 ? 255 : CodeSelector % 72
                                         : In.Word() + 0x100u * CodeSelector;
  const uint8_t Ports = static_cast<uint8_t>(1 + In.Byte() % 4);
  const uint8_t Pfs = static_cast<uint8_t>(1 + In.Byte() % 8);
  const uint8_t HoleMask = In.Byte(); // link slots left NULL
  const uint8_t Which = In.Byte();    // the record the reply is for

  ResetModuleState();
  Adapter A;
  std::vector<std::vector<FUNCTION_SETTINGS *>> Grid(Ports);
  for (uint8_t Port = 0; Port < Ports; Port++) {
    for (uint8_t Pf = 0; Pf < Pfs; Pf++) {
      FUNCTION_SETTINGS *R = A.Make();
      R->VendorId = Id.Vendor;
      R->DeviceId = Id.Device;
      R->SubsystemId = Id.Subsystem;
      R->PortIndex = Port;
      R->PfIndex = Pf;
      R->PfType = PF_TYPE_NIC;
      Grid[Port].push_back(R);
    }
  }
  for (uint8_t Port = 0; Port < Ports; Port++) {
    for (uint8_t Pf = 0; Pf < Pfs; Pf++) {
      FUNCTION_SETTINGS *R = Grid[Port][Pf];
      R->FunctionCount = Pfs;
      R->PortCount = Ports;
      for (uint8_t I = 0; I < Pfs; I++) {
        R->Functions[I] = (HoleMask & (1u << I)) != 0 ? nullptr : Grid[Port][I];
      }
      for (uint8_t I = 0; I < Ports; I++) {
        R->Ports[I] = (HoleMask & (0x10u << I)) != 0 ? nullptr : Grid[I][0];
      }
    }
  }
  FUNCTION_SETTINGS *Settings = Grid[(Which >> 4) % Ports][(Which & 15) % Pfs];
  IdentifyAdapterFamily(Settings);

  // Hostile record fields: the counts and indices a platform may get wrong.
  const uint8_t Hostile = In.Byte();
  if ((Hostile & 1) != 0) {
    Settings->PfType = In.Byte() % 2 == 0 ? In.Byte() : static_cast<UINT32>(In.Word()) << 16 | In.Word();
  } else {
    Settings->PfType = In.Byte() % 8;
  }
  if ((Hostile & 2) != 0) {
    Settings->FunctionCount = In.Byte();
  }
  if ((Hostile & 4) != 0) {
    Settings->PortCount = In.Byte();
  }
  if ((Hostile & 8) != 0) {
    Settings->PfIndex = In.Byte();
  }
  if ((Hostile & 16) != 0) {
    Settings->PortIndex = In.Byte();
  }
  // Module state the planners leave for the parsers, within the range they leave it in.
  mModule.Discovered.mPfTypeCount = static_cast<UINT8>(In.Byte() % (PF_TYPE_TABLE_ENTRIES + 1));
  mModule.Discovered.mCurrentPfCount = In.Byte();

  const bool NullWithLength = (Hostile & 32) != 0;
  size_t Run = 0, RunAt = 0;
  uint8_t RunChar = 0;
  if ((Hostile & 64) != 0) {
    Run = 1024u * (1 + In.Byte() % 64);
    RunChar = In.Byte();
    RunAt = In.Byte();
  }
  std::vector<uint8_t> Reply = In.Rest();
  if (Run != 0) {
    Reply.insert(Reply.begin() + static_cast<std::ptrdiff_t>(RunAt % (Reply.size() + 1)), Run, RunChar);
  }
  std::vector<FUNCTION_SETTINGS> Before;
  for (const auto &R : A.Records) {
    Before.push_back(*R);
  }
  UINTN Instance = 0;
  CHAR8 *ReplyPointer = Reply.empty() || NullWithLength ? nullptr : reinterpret_cast<CHAR8 *>(Reply.data());
  const EFI_STATUS Status =
      ParseClpReply(Settings, &Instance, ReplyPointer, static_cast<UINT32>(Reply.size()), Code);
  if (Status != EFI_SUCCESS) {
    fuzz::Fail("ParseClpReply failed a reply; parsing never fails");
  }
  if (ReplyPointer == nullptr && !Reply.empty()) {
    for (size_t Index = 0; Index < Before.size(); Index++) {
      if (std::memcmp(&Before[Index], A.Records[Index].get(), sizeof(FUNCTION_SETTINGS)) != 0) {
        fuzz::Fail("a NULL reply with a length changed a record");
      }
    }
  }
  // Every text slot the parsers write must still be terminated inside its field.
  for (const auto &R : A.Records) {
    for (size_t Slot = 0; Slot < FUNCTION_ADDRESS_SLOTS; Slot++) {
      if (R->CurrentAddressText[Slot][FUNCTION_ADDRESS_SLOT_SIZE - 1] != 0 ||
          R->MfgAddressText[Slot][FUNCTION_ADDRESS_SLOT_SIZE - 1] != 0) {
        fuzz::Fail("an address text slot lost its terminator");
      }
    }
    for (size_t Version = 0; Version < FUNCTION_FIRMWARE_VERSIONS; Version++) {
      if (R->FirmwareVersion[Version][FUNCTION_FIRMWARE_VERSION_SIZE - 1] != 0) {
        fuzz::Fail("a firmware version slot lost its terminator");
      }
    }
    if (R->MaxLinkSpeedText[sizeof(R->MaxLinkSpeedText) - 1] != 0) {
      fuzz::Fail("MaxLinkSpeedText lost its terminator");
    }
  }
  if (mModule.Discovered.mPfTypeCount > PF_TYPE_TABLE_ENTRIES) {
    fuzz::Fail("mPfTypeCount ran past the PF type table");
  }
  return 0;
}
