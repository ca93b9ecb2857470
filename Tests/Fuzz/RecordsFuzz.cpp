// Fuzz target: hostile settings records and platform tables.
//
// Input: a handful of records whose counts, indices, links, PCI address and text fields are any
// bytes (FunctionCount and PortCount up to 255, PfIndex and PortIndex 16 and beyond, NULL and
// crossed links, a PciAddress low byte of 16 or more, texts that fill their field without a NUL),
// NALO answers with NULL entry pointers, unterminated texts and DesiredFunctionCount up to 255.
// Each record's controller is run through the protocol with realistic replies; then the planning
// predicate, the link layout adjustment and every builder are called directly on the records.
#include <cstring>
#include <vector>

#include "ModuleState.h"
#include "Builders/Builders.h"
#include "FuzzSupport.h"
#include "Managed/AdapterSettings.h"
#include "Planning/Planning.h"

namespace {

void FillWithoutNul(fuzz::Reader &In, CHAR8 *Field, size_t Size) {
  const uint8_t Fill = In.Byte();
  std::memset(Field, Fill == 0 ? '9' : Fill, Size);
}

const CLP_BUILDER kBuilders[] = {BuildDefaultClpCommand,      BuildEmulex0720ClpCommand,
                                 BuildQLogic8070ClpCommand,   BuildMellanox1013ClpCommand,
                                 BuildMellanox1017ClpCommand, BuildQLogic2031ClpCommand};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *Data, size_t Size) {
  fuzz::Reader In(Data, Size);
  const fuzz::Family &Id = fuzz::kFamilies[In.Byte() % fuzz::kFamilyCount];
  const size_t Count = 1 + In.Byte() % 6;

  fuzz::Platform P;
  std::vector<EFI_HANDLE> Controllers;
  std::vector<FUNCTION_SETTINGS *> Records;
  for (size_t I = 0; I < Count; I++) {
    EFI_HANDLE Handle = P.Fw().AddPciFunction(0, 5, static_cast<uint8_t>(I / 8), static_cast<uint8_t>(I % 8),
                                              Id.Vendor, Id.Device);
    Controllers.push_back(Handle);
    Records.push_back(P.Fw().AddAdapterSettings(Handle));
  }
  for (FUNCTION_SETTINGS *R : Records) {
    R->VendorId = Id.Vendor;
    R->DeviceId = Id.Device;
    R->SubsystemId = In.Byte() % 2 == 0 ? Id.Subsystem : In.Word();
    R->PciAddress = In.Word();
    R->PortIndex = In.Byte();
    R->PortIndexCopy = In.Byte();
    R->PortIndexCopy2 = In.Byte();
    R->PfIndex = In.Byte();
    R->PfsPerPort = In.Byte();
    R->PortCount = In.Byte();
    R->FunctionCount = In.Byte();
    R->PlatformFlags = static_cast<UINT8>(In.Byte() | PLATFORM_FLAG_MANAGED_MODE_ENABLED);
    R->ProgressFlags = In.Byte() & 0x7F;
    R->PfType = In.Byte() % 4 == 0 ? In.Byte() : In.Byte() % 8;
    R->LinkWord = In.Byte();
    R->IscsiWord = In.Byte();
    R->LinkConfig = In.Byte();
    R->SriovEnabled = In.Byte();
    R->MinBandwidth = In.Byte();
    R->MaxBandwidth = In.Byte();
    R->VlanId = In.Word();
    R->PortEnable = In.Byte();
    R->BootEnable = In.Byte();
    R->NaloIndex = In.Byte() % 4 == 0 ? In.Byte() : 0;
    R->CardIndex = 0;
    for (size_t Slot = 0; Slot < FUNCTION_LIST_ENTRIES; Slot++) {
      const uint8_t Link = In.Byte();
      R->Functions[Slot] = Link % 3 == 0 ? nullptr : Records[Link % Count];
      const uint8_t PortLink = In.Byte();
      R->Ports[Slot] = PortLink % 3 == 0 ? nullptr : Records[PortLink % Count];
    }
    const uint8_t Texts = In.Byte();
    if ((Texts & 1) != 0) {
      FillWithoutNul(In, R->MaxLinkSpeedText, sizeof(R->MaxLinkSpeedText));
    }
    if ((Texts & 2) != 0) {
      for (auto &Slot : R->CurrentAddressText) {
        FillWithoutNul(In, Slot, sizeof(Slot));
      }
      for (auto &Slot : R->MfgAddressText) {
        FillWithoutNul(In, Slot, sizeof(Slot));
      }
    }
    if ((Texts & 4) != 0) {
      for (auto &Version : R->FirmwareVersion) {
        FillWithoutNul(In, Version, sizeof(Version));
      }
    }
    if ((Texts & 8) != 0) {
      FillWithoutNul(In, R->TargetWwpn1Text, sizeof(R->TargetWwpn1Text));
      FillWithoutNul(In, R->TargetWwpn2Text, sizeof(R->TargetWwpn2Text));
      FillWithoutNul(In, R->TargetLun1Text, sizeof(R->TargetLun1Text));
      FillWithoutNul(In, R->TargetLun2Text, sizeof(R->TargetLun2Text));
      FillWithoutNul(In, R->LinkSpeedText, sizeof(R->LinkSpeedText));
      FillWithoutNul(In, R->TopologyText, sizeof(R->TopologyText));
    }
    if ((Texts & 16) != 0) {
      FillWithoutNul(In, R->IscsiInitiatorName, sizeof(R->IscsiInitiatorName));
    }
  }
  // NALO answers for the first ports; any other index gets EFI_NOT_FOUND from the platform.
  for (uint8_t Port = 0; Port < 2; Port++) {
    fuzz::FillNaloEntry(P.Fw().Nalo(0, 0, Port), In, true);
  }

  std::vector<uint8_t> Reply;
  fuzz::DialogueLimits Limits;
  P.Fw().RunUntilReset([&] {
    for (EFI_HANDLE Controller : Controllers) {
      fuzz::RunDialogue(P, Controller, In, Limits, Reply);
    }
  });

  // The routines under the dispatcher, called directly on the hostile records and tables.
  const fake::NaloEntry &Entry = P.Fw().Nalo(0, 0, 0);
  FUNCTION_SETTINGS *Adapter = Records[0];
  for (int Call = 0; Call < 8 && !In.Empty(); Call++) {
    FUNCTION_SETTINGS *Function = Records[In.Byte() % Count];
    IdentifyAdapterFamily(Function);
    mModule.Tables.mNaloHeader = Entry.Header;
    mModule.Tables.mNaloPortTable = Entry.PortTable;
    std::memcpy(mModule.Tables.mNaloAddressTable, Entry.AddressTable,
                sizeof(mModule.Tables.mNaloAddressTable));
    std::memcpy(mModule.Tables.mNaloBootTable, Entry.BootTable, sizeof(mModule.Tables.mNaloBootTable));
    const size_t Index = In.Byte() % NALO_FUNCTION_ENTRIES;
    mModule.Tables.mCurFunctionEntry =
        In.Byte() % 4 == 0 ? nullptr : &mModule.Tables.mNaloPortTable.Function[Index];
    mModule.Tables.mCurAddressEntry = In.Byte() % 4 == 0 ? nullptr : &mModule.Tables.mNaloAddressTable[Index];
    mModule.Tables.mCurBootEntry = In.Byte() % 4 == 0 ? nullptr : &mModule.Tables.mNaloBootTable[Index];
    mModule.Discovered.mTargetPersonality = In.Byte();
    mModule.Builder.mEmulexPfTypeSetIndex = In.Byte();
    mModule.Discovered.mPfTypeCount = In.Byte();
    const uint8_t CodeByte = In.Byte();
    const UINT32 Code = CodeByte % 72 == 71 ? 255 : CodeByte % 72;
    switch (In.Byte() % 3) {
    case 0: {
      UINTN Planned = In.Byte() % 2 == 0 ? mModule.Run.mCommandCount : COMMAND_LIST_ENTRIES - In.Byte() % 4;
      mModule.Run.mCommandCount = Planned < COMMAND_LIST_ENTRIES ? Planned : COMMAND_LIST_ENTRIES;
      PlanCommand(Function, Code, &mModule.Run.mCommandCount);
      if (mModule.Run.mCommandCount > COMMAND_LIST_ENTRIES) {
        fuzz::Fail("the plan grew past CommandList");
      }
      break;
    }
    case 1:
      AdjustLinkLayout(Function);
      break;
    default: {
      BOOLEAN Parse = FALSE;
      kBuilders[In.Byte() % (sizeof(kBuilders) / sizeof(kBuilders[0]))](Adapter, Function, Code, &Parse);
      if (std::memchr(mModule.Builder.ClpCommandBuffer, 0, sizeof(mModule.Builder.ClpCommandBuffer)) ==
          nullptr) {
        fuzz::Fail("a builder left ClpCommandBuffer without a terminator");
      }
      break;
    }
    }
  }
  return 0;
}
