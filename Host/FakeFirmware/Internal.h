// Private pieces shared by the fake firmware's translation units.
#pragma once

#include "FakeFirmware/FakeFirmware.h"

#include <cstddef>
#include <string>
#include <type_traits>

namespace fake {

struct ProtocolEntry {
  const EFI_GUID *Guid; // interned: stays valid for the life of the process
  void *Interface;
};

struct FakeFirmware::Handle {
  uint64_t Serial = 0;
  bool Alive = true; // a handle whose last protocol was removed is gone (its address is never reused)
  std::vector<ProtocolEntry> Protocols;
};

struct FakeFirmware::PciFunction {
  EFI_PCI_IO_PROTOCOL PciIo = {}; // first member: This of a PCI I/O call leads back here
  EFI_HANDLE Handle = nullptr;
  uint16_t Segment = 0;
  uint8_t Bus = 0, Device = 0, Function = 0;
  uint8_t *Config = nullptr;    // 4096 bytes: an ECAM page, or Private
  std::vector<uint8_t> Private; // configuration space of a function outside segment 0
};

struct FakeFirmware::SettingsInstance {
  ADAPTER_SETTINGS_PROTOCOL Protocol = {}; // first member: This leads back here
  EFI_HANDLE Controller = nullptr;
  EFI_STATUS Status = EFI_SUCCESS;
  std::unique_ptr<FUNCTION_SETTINGS> Record;
};

// A GUID pointer that lives as long as the process, for handle database entries and the
// arrays ProtocolsPerHandle hands out.
const EFI_GUID *InternGuid(const EFI_GUID &Guid);

// Every firmware-called function. Static members so that they may reach the fake's internals.
struct Services {
  static void InstallBootServices(FakeFirmware &F);
  static void InstallRuntimeServices(FakeFirmware &F);
  static void InstallPciIo(EFI_PCI_IO_PROTOCOL &PciIo);
  static void InstallPlatformMembers(FakeFirmware &F);

  static FakeFirmware::PciFunction *PciFromThis(EFI_PCI_IO_PROTOCOL *This);

  // Pool helpers shared with ProtocolsPerHandle and LocateHandleBuffer.
  static EFI_STATUS Allocate(FakeFirmware &F, EFI_MEMORY_TYPE Type, size_t Size, void **Buffer);
  static EFI_STATUS Free(FakeFirmware &F, void *Buffer);
  static std::vector<EFI_HANDLE> AllHandles(const FakeFirmware &F);
  static void NoteLocate(FakeFirmware &F, const EFI_GUID &Guid) { F.Located_.push_back(Guid); }
  static EFI_STATUS Connect(FakeFirmware &F, EFI_HANDLE Controller, EFI_HANDLE *DriverImage,
                            EFI_DEVICE_PATH *Remaining, BOOLEAN Recursive);
  static EFI_STATUS Disconnect(FakeFirmware &F, EFI_HANDLE Controller, EFI_HANDLE DriverImage,
                               EFI_HANDLE Child);
  // The driver model's halves of connect and disconnect. They keep nothing with a destructor in
  // their frames while Start() or Stop() runs: a cold reset inside leaves them by longjmp.
  static EFI_STATUS StartBinding(FakeFirmware &F, EFI_HANDLE Controller, EFI_DEVICE_PATH *Remaining,
                                 bool *AnyBinding);
  static EFI_STATUS StopBinding(FakeFirmware &F, EFI_HANDLE Controller);
};

// Slots the fake does not offer: each records "<Table>.<Slot>" and answers EFI_UNSUPPORTED (or
// the zero value of its result type). The slot's own signature is kept so the call itself is
// well-formed.
template <typename Fn> struct UnexpectedStub;
template <typename R, typename... A> struct UnexpectedStub<R(EFIAPI *)(A...)> {
  template <const char *Name> static R EFIAPI Call(A...) {
    FakeFirmware::Active().RecordUnexpected(Name);
    if constexpr (std::is_same_v<R, EFI_STATUS>) {
      return EFI_UNSUPPORTED;
    } else {
      return R();
    }
  }
};

#define FAKE_UNEXPECTED(Object, Member, Label)                                                               \
  do {                                                                                                       \
    static constexpr char kName[] = Label;                                                                   \
    (Object).Member = &UnexpectedStub<decltype((Object).Member)>::template Call<kName>;                      \
  } while (0)

} // namespace fake
