// Runtime services of the fake platform: NVRAM with the UEFI variable rules, and a reset that
// ends the boot.
#include "FakeFirmware/Internal.h"

#include <cstdio>
#include <cstring>

namespace fake {

namespace {

// Variable names are NUL-terminated CHAR16 strings; a name longer than this is a caller fault.
constexpr size_t kMaxNameChars = 1024;
// OVMF's PcdMaxVariableSize: header, name and data of one variable must fit.
constexpr size_t kMaxVariableSize = 0x2000;
constexpr size_t kVariableHeaderSize = 60;
constexpr uint32_t kKnownAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS |
                                      EFI_VARIABLE_RUNTIME_ACCESS | EFI_VARIABLE_HARDWARE_ERROR_RECORD;

bool ReadName(const CHAR16 *Name, std::u16string &Out) {
  Out.clear();
  for (size_t I = 0; I < kMaxNameChars; ++I) {
    if (Name[I] == 0) {
      return true;
    }
    Out += static_cast<char16_t>(Name[I]);
  }
  return false;
}

std::pair<std::u16string, std::string> Key(const std::u16string &Name, const EFI_GUID &Guid) {
  return {Name, std::string(reinterpret_cast<const char *>(&Guid), sizeof(Guid))};
}

} // namespace

void FakeFirmware::PutVariable(const std::u16string &Name, const EFI_GUID &Guid, uint32_t Attributes,
                               const std::vector<uint8_t> &Data) {
  if (Data.empty()) {
    Nvram_.erase(Key(Name, Guid));
    return;
  }
  Nvram_[Key(Name, Guid)] = NvramVariable{Name, Guid, Attributes, Data};
}

const NvramVariable *FakeFirmware::FindVariable(const std::u16string &Name, const EFI_GUID &Guid) const {
  auto It = Nvram_.find(Key(Name, Guid));
  return It == Nvram_.end() ? nullptr : &It->second;
}

std::vector<NvramVariable> FakeFirmware::Variables() const {
  std::vector<NvramVariable> Out;
  for (const auto &Entry : Nvram_) {
    Out.push_back(Entry.second);
  }
  return Out;
}

namespace {

EFI_STATUS EFIAPI FakeGetVariable(CHAR16 *VariableName, EFI_GUID *VendorGuid, UINT32 *Attributes,
                                  UINTN *DataSize, VOID *Data) {
  FakeFirmware &F = FakeFirmware::Active();
  if (VariableName == nullptr || VendorGuid == nullptr || DataSize == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (*DataSize != 0 && Data == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::u16string Name;
  if (!ReadName(VariableName, Name)) {
    F.RecordUnexpected("RuntimeServices.GetVariable: unterminated variable name");
    return EFI_INVALID_PARAMETER;
  }
  const NvramVariable *Found = Name.empty() ? nullptr : F.FindVariable(Name, *VendorGuid);
  if (Found == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (Attributes != nullptr) {
    *Attributes = Found->Attributes;
  }
  if (*DataSize < Found->Data.size()) {
    *DataSize = Found->Data.size();
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Data, Found->Data.data(), Found->Data.size());
  *DataSize = Found->Data.size();
  return EFI_SUCCESS;
}

EFI_STATUS SetVariableChecked(FakeFirmware &F, const std::u16string &Name, const EFI_GUID &Guid,
                              UINT32 Attributes, UINTN DataSize, const VOID *Data,
                              std::optional<EFI_STATUS> Failure) {
  if (Name.empty()) {
    return EFI_INVALID_PARAMETER;
  }
  if (DataSize != 0 && Data == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if ((Attributes & ~kKnownAttributes) != 0) {
    return EFI_UNSUPPORTED; // authenticated and append writes are not offered
  }
  if ((Attributes & EFI_VARIABLE_RUNTIME_ACCESS) != 0 &&
      (Attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  const NvramVariable *Existing = F.FindVariable(Name, Guid);
  const bool Delete =
      DataSize == 0 || (Attributes & (EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS)) == 0;
  // The attributes of a variable are kept for its life; only 0 may stand for them (as EDK II does,
  // a delete with other attributes is refused too).
  if (Existing != nullptr && Attributes != 0 && Existing->Attributes != Attributes) {
    return EFI_INVALID_PARAMETER;
  }
  if (Delete) {
    if (Existing == nullptr) {
      return EFI_NOT_FOUND;
    }
  } else {
    if (kVariableHeaderSize + (Name.size() + 1) * sizeof(CHAR16) + DataSize > kMaxVariableSize) {
      return EFI_INVALID_PARAMETER;
    }
  }
  if (Failure.has_value()) {
    return *Failure;
  }
  if (Delete) {
    F.PutVariable(Name, Guid, 0, {});
  } else {
    const auto *Bytes = static_cast<const uint8_t *>(Data);
    F.PutVariable(Name, Guid, Attributes, std::vector<uint8_t>(Bytes, Bytes + DataSize));
  }
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeSetVariable(CHAR16 *VariableName, EFI_GUID *VendorGuid, UINT32 Attributes,
                                  UINTN DataSize, VOID *Data) {
  FakeFirmware &F = FakeFirmware::Active();
  Event E;
  E.Kind = EventKind::SetVariable;
  E.Attributes = Attributes;
  if (VendorGuid != nullptr) {
    E.Guid = *VendorGuid;
  }
  if (VariableName == nullptr || VendorGuid == nullptr) {
    E.Status = EFI_INVALID_PARAMETER;
  } else if (!ReadName(VariableName, E.Name)) {
    F.RecordUnexpected("RuntimeServices.SetVariable: unterminated variable name");
    E.Status = EFI_INVALID_PARAMETER;
  } else {
    if (Data != nullptr && DataSize != 0) {
      const auto *Bytes = static_cast<const uint8_t *>(Data);
      E.Data.assign(Bytes, Bytes + DataSize);
    }
    E.Status = SetVariableChecked(F, E.Name, *VendorGuid, Attributes, DataSize, Data, F.SetVariableFailure());
  }
  const EFI_STATUS Status = E.Status;
  F.AddEvent(std::move(E));
  return Status;
}

// gnu-efi declares a status result and CHAR16 reset data; the call never returns either way.
EFI_STATUS EFIAPI FakeResetSystem(EFI_RESET_TYPE ResetType, EFI_STATUS ResetStatus, UINTN DataSize,
                                  CHAR16 *ResetData) {
  FakeFirmware &F = FakeFirmware::Active();
  {
    // Scoped: nothing with a destructor may be alive when the boot ends below.
    Event E;
    E.Kind = EventKind::Reset;
    E.ResetType = ResetType;
    E.ResetStatus = ResetStatus;
    if (ResetData != nullptr && DataSize != 0) {
      const auto *Bytes = reinterpret_cast<const uint8_t *>(ResetData);
      E.Data.assign(Bytes, Bytes + DataSize);
    }
    F.AddEvent(std::move(E));
  }
  F.EndBootByReset();
}

} // namespace

void Services::InstallRuntimeServices(FakeFirmware &F) {
  EFI_RUNTIME_SERVICES &Rt = F.RuntimeServices_;
  FAKE_UNEXPECTED(Rt, GetTime, "RuntimeServices.GetTime");
  FAKE_UNEXPECTED(Rt, SetTime, "RuntimeServices.SetTime");
  FAKE_UNEXPECTED(Rt, GetWakeupTime, "RuntimeServices.GetWakeupTime");
  FAKE_UNEXPECTED(Rt, SetWakeupTime, "RuntimeServices.SetWakeupTime");
  FAKE_UNEXPECTED(Rt, SetVirtualAddressMap, "RuntimeServices.SetVirtualAddressMap");
  FAKE_UNEXPECTED(Rt, ConvertPointer, "RuntimeServices.ConvertPointer");
  Rt.GetVariable = FakeGetVariable;
  FAKE_UNEXPECTED(Rt, GetNextVariableName, "RuntimeServices.GetNextVariableName");
  Rt.SetVariable = FakeSetVariable;
  FAKE_UNEXPECTED(Rt, GetNextHighMonotonicCount, "RuntimeServices.GetNextHighMonotonicCount");
  Rt.ResetSystem = FakeResetSystem;
  FAKE_UNEXPECTED(Rt, UpdateCapsule, "RuntimeServices.UpdateCapsule");
  FAKE_UNEXPECTED(Rt, QueryCapsuleCapabilities, "RuntimeServices.QueryCapsuleCapabilities");
  FAKE_UNEXPECTED(Rt, QueryVariableInfo, "RuntimeServices.QueryVariableInfo");
}

} // namespace fake
