// Boot services of the fake platform. Parameter checks follow the UEFI specification and the
// EDK II core where the specification leaves room, so that a call that works here works there.
#include "FakeFirmware/Internal.h"

#include <cstdlib>
#include <cstring>

namespace fake {

namespace {

// Fresh pool is not zeroed on real firmware; a fixed pattern makes reliance on that visible.
constexpr uint8_t kFreshPoolPattern = 0xAF;
// Freed pool stays mapped (so a second free of it is recognised) and is overwritten.
constexpr uint8_t kFreedPoolPattern = 0xDF;
// A caller that forgets the terminating NULL would walk the stack; stop long before that.
constexpr size_t kMaxProtocolPairs = 64;

bool ValidPoolType(EFI_MEMORY_TYPE Type) {
  const auto Value = static_cast<uint32_t>(Type);
  if (Value >= 0x80000000u) {
    return true; // OS-defined range
  }
  if (Value >= 0x70000000u) {
    return true; // OEM range
  }
  return Value < EfiMaxMemoryType && Type != EfiConventionalMemory;
}

} // namespace

EFI_STATUS Services::Allocate(FakeFirmware &F, EFI_MEMORY_TYPE Type, size_t Size, void **Buffer) {
  if (F.FailAllocations_ > 0) {
    --F.FailAllocations_;
    *Buffer = nullptr;
    return EFI_OUT_OF_RESOURCES;
  }
  void *Block = std::malloc(Size == 0 ? 1 : Size);
  if (Block == nullptr) {
    *Buffer = nullptr;
    return EFI_OUT_OF_RESOURCES;
  }
  std::memset(Block, kFreshPoolPattern, Size == 0 ? 1 : Size);
  F.FreedPool_.erase(Block);
  PoolBlock Entry;
  Entry.Address = Block;
  Entry.Size = Size;
  Entry.Type = Type;
  Entry.Serial = ++F.AllocationSerial_;
  F.Pool_[Block] = Entry;
  *Buffer = Block;
  return EFI_SUCCESS;
}

namespace {

EFI_STATUS EFIAPI FakeAllocatePool(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Buffer == nullptr || !ValidPoolType(PoolType)) {
    return EFI_INVALID_PARAMETER;
  }
  return Services::Allocate(F, PoolType, Size, Buffer);
}

} // namespace

EFI_STATUS Services::Free(FakeFirmware &F, void *Buffer) {
  auto It = F.Pool_.find(Buffer);
  if (It == F.Pool_.end()) {
    if (Buffer != nullptr && F.FreedPool_.count(Buffer) != 0) {
      F.DoubleFrees_.push_back(Buffer);
    } else {
      F.InvalidFrees_.push_back(Buffer);
    }
    return EFI_INVALID_PARAMETER;
  }
  std::memset(Buffer, kFreedPoolPattern, It->second.Size == 0 ? 1 : It->second.Size);
  F.Pool_.erase(It);
  F.FreedPool_.insert(Buffer);
  ++F.FreeCount_;
  return EFI_SUCCESS;
}

std::vector<EFI_HANDLE> Services::AllHandles(const FakeFirmware &F) {
  std::vector<EFI_HANDLE> Out;
  for (const auto &H : F.Handles_) {
    if (H->Alive) {
      Out.push_back(H.get());
    }
  }
  return Out;
}

namespace {
EFI_GUID DriverBindingGuid = EFI_DRIVER_BINDING_PROTOCOL_GUID;
}

EFI_STATUS Services::StartBinding(FakeFirmware &F, EFI_HANDLE Controller, EFI_DEVICE_PATH *Remaining,
                                  bool *AnyBinding) {
  *AnyBinding = false;
  // Indices, not iterators or copies: Start() may add handles, and a reset may leave this frame.
  for (size_t I = 0; I < F.Handles_.size(); I++) {
    FakeFirmware::Handle *H = F.Handles_[I].get();
    if (!H->Alive) {
      continue;
    }
    auto *Binding = static_cast<EFI_DRIVER_BINDING_PROTOCOL *>(F.FindProtocol(H, DriverBindingGuid));
    if (Binding == nullptr) {
      continue;
    }
    *AnyBinding = true;
    if (F.ManagedBy_.count(Controller) != 0 ||
        Binding->Supported(Binding, Controller, Remaining) != EFI_SUCCESS) {
      continue;
    }
    F.ManagedBy_[Controller] = Binding;
    F.Bound_.insert(Controller);
    if (!EFI_ERROR(Binding->Start(Binding, Controller, Remaining))) {
      return EFI_SUCCESS;
    }
    // A Start() that failed manages nothing, unless a nested connect inside it started again.
    auto It = F.ManagedBy_.find(Controller);
    if (It != F.ManagedBy_.end() && It->second == Binding) {
      F.ManagedBy_.erase(It);
      F.Bound_.erase(Controller);
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS Services::StopBinding(FakeFirmware &F, EFI_HANDLE Controller) {
  auto It = F.ManagedBy_.find(Controller);
  if (It == F.ManagedBy_.end()) {
    return EFI_NOT_FOUND;
  }
  EFI_DRIVER_BINDING_PROTOCOL *Binding = It->second;
  const EFI_STATUS Status = Binding->Stop(Binding, Controller, 0, nullptr);
  if (!EFI_ERROR(Status)) {
    F.ManagedBy_.erase(Controller);
    F.Bound_.erase(Controller);
  }
  return Status;
}

EFI_STATUS Services::Connect(FakeFirmware &F, EFI_HANDLE Controller, EFI_HANDLE *DriverImage,
                             EFI_DEVICE_PATH *Remaining, BOOLEAN Recursive) {
  // The event is made after the call: Start() runs inside it and may end the boot by longjmp.
  EFI_STATUS Status = EFI_SUCCESS;
  if (!F.HandleExists(Controller)) {
    Status = EFI_INVALID_PARAMETER;
  } else if (!F.ConnectScript_[Controller].empty()) {
    Status = F.ConnectScript_[Controller].front();
    F.ConnectScript_[Controller].pop_front();
    if (!EFI_ERROR(Status)) {
      F.Bound_.insert(Controller);
    }
  } else {
    bool AnyBinding = false;
    Status = StartBinding(F, Controller, Remaining, &AnyBinding);
    if (!AnyBinding) {
      Status = EFI_SUCCESS;
      F.Bound_.insert(Controller);
    }
  }
  Event E;
  E.Kind = EventKind::Connect;
  E.Handle = Controller;
  E.DriverImage = DriverImage != nullptr ? *DriverImage : nullptr;
  E.HasRemainingDevicePath = Remaining != nullptr;
  E.Recursive = Recursive != FALSE;
  E.Status = Status;
  F.Events_.push_back(std::move(E));
  return Status;
}

EFI_STATUS Services::Disconnect(FakeFirmware &F, EFI_HANDLE Controller, EFI_HANDLE DriverImage,
                                EFI_HANDLE Child) {
  EFI_STATUS Status = EFI_SUCCESS;
  if (!F.HandleExists(Controller) || (DriverImage != nullptr && !F.HandleExists(DriverImage)) ||
      (Child != nullptr && !F.HandleExists(Child))) {
    Status = EFI_INVALID_PARAMETER;
  } else if (!F.DisconnectScript_[Controller].empty()) {
    Status = F.DisconnectScript_[Controller].front();
    F.DisconnectScript_[Controller].pop_front();
    if (!EFI_ERROR(Status)) {
      F.Bound_.erase(Controller);
      F.ManagedBy_.erase(Controller);
    }
  } else if (F.ManagedBy_.count(Controller) != 0) {
    Status = StopBinding(F, Controller);
  } else {
    // Real firmware answers Not Found when no driver manages the controller.
    Status = F.Bound_.count(Controller) != 0 ? EFI_SUCCESS : EFI_NOT_FOUND;
    F.Bound_.erase(Controller);
  }
  Event E;
  E.Kind = EventKind::Disconnect;
  E.Handle = Controller;
  E.DriverImage = DriverImage;
  E.Child = Child;
  E.Status = Status;
  F.Events_.push_back(std::move(E));
  return Status;
}

namespace {

EFI_STATUS EFIAPI FakeInstallProtocolInterface(EFI_HANDLE *Handle, EFI_GUID *Protocol,
                                               EFI_INTERFACE_TYPE InterfaceType, VOID *Interface) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Handle == nullptr || Protocol == nullptr || InterfaceType != EFI_NATIVE_INTERFACE) {
    return EFI_INVALID_PARAMETER;
  }
  return F.InstallProtocol(Handle, *Protocol, Interface);
}

EFI_STATUS EFIAPI FakeUninstallProtocolInterface(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID *Interface) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Handle == nullptr || Protocol == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return F.UninstallProtocol(Handle, *Protocol, Interface);
}

EFI_STATUS EFIAPI FakeHandleProtocol(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID **Interface) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Interface != nullptr) {
    *Interface = nullptr;
  }
  if (Protocol == nullptr || Interface == nullptr || !F.HandleExists(Handle)) {
    return EFI_INVALID_PARAMETER;
  }
  for (const EFI_GUID &Guid : F.ProtocolsOn(Handle)) {
    if (SameGuid(Guid, *Protocol)) {
      *Interface = F.FindProtocol(Handle, *Protocol);
      return EFI_SUCCESS;
    }
  }
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI FakeOpenProtocol(EFI_HANDLE Handle, EFI_GUID *Protocol, VOID **Interface,
                                   EFI_HANDLE AgentHandle, EFI_HANDLE ControllerHandle, UINT32 Attributes) {
  (void)AgentHandle;
  (void)ControllerHandle;
  FakeFirmware &F = FakeFirmware::Active();
  if (Attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    if (Interface == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    *Interface = nullptr;
  }
  if (Protocol == nullptr || !F.HandleExists(Handle)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Attributes != EFI_OPEN_PROTOCOL_BY_HANDLE_PROTOCOL && Attributes != EFI_OPEN_PROTOCOL_GET_PROTOCOL &&
      Attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
    // Driver-model opens (BY_DRIVER, EXCLUSIVE, BY_CHILD) are not the business of this driver.
    F.RecordUnexpected("BootServices.OpenProtocol: attributes " + std::to_string(Attributes));
    return EFI_UNSUPPORTED;
  }
  for (const EFI_GUID &Guid : F.ProtocolsOn(Handle)) {
    if (SameGuid(Guid, *Protocol)) {
      if (Attributes != EFI_OPEN_PROTOCOL_TEST_PROTOCOL) {
        *Interface = F.FindProtocol(Handle, *Protocol);
      }
      return EFI_SUCCESS;
    }
  }
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI FakeProtocolsPerHandle(EFI_HANDLE Handle, EFI_GUID ***ProtocolBuffer,
                                         UINTN *ProtocolBufferCount) {
  FakeFirmware &F = FakeFirmware::Active();
  if (ProtocolBuffer == nullptr || ProtocolBufferCount == nullptr || !F.HandleExists(Handle)) {
    return EFI_INVALID_PARAMETER;
  }
  const std::vector<EFI_GUID> Guids = F.ProtocolsOn(Handle);
  void *Block = nullptr;
  const EFI_STATUS Status =
      Services::Allocate(F, EfiBootServicesData, Guids.size() * sizeof(EFI_GUID *), &Block);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  auto **Array = static_cast<EFI_GUID **>(Block);
  for (size_t I = 0; I < Guids.size(); ++I) {
    Array[I] = const_cast<EFI_GUID *>(InternGuid(Guids[I]));
  }
  *ProtocolBuffer = Array;
  *ProtocolBufferCount = Guids.size();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeLocateProtocol(EFI_GUID *Protocol, VOID *Registration, VOID **Interface) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Protocol == nullptr || Interface == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Interface = nullptr;
  Services::NoteLocate(F, *Protocol);
  if (Registration != nullptr) {
    // Registration keys come from RegisterProtocolNotify, which the fake does not offer.
    F.RecordUnexpected("BootServices.LocateProtocol: registration key");
    return EFI_NOT_FOUND;
  }
  const std::vector<EFI_HANDLE> Handles = F.HandlesWith(*Protocol);
  if (Handles.empty()) {
    return EFI_NOT_FOUND;
  }
  *Interface = F.FindProtocol(Handles.front(), *Protocol);
  return EFI_SUCCESS;
}

std::vector<EFI_HANDLE> Search(FakeFirmware &F, EFI_LOCATE_SEARCH_TYPE SearchType, EFI_GUID *Protocol,
                               EFI_STATUS &Status) {
  Status = EFI_SUCCESS;
  if (SearchType == AllHandles) {
    return Services::AllHandles(F);
  }
  if (SearchType == ByProtocol) {
    if (Protocol == nullptr) {
      Status = EFI_INVALID_PARAMETER;
      return {};
    }
    return F.HandlesWith(*Protocol);
  }
  // Registration keys come from RegisterProtocolNotify, which the fake does not offer.
  F.RecordUnexpected("BootServices.LocateHandle: search type " +
                     std::to_string(static_cast<int>(SearchType)));
  Status = EFI_INVALID_PARAMETER;
  return {};
}

EFI_STATUS EFIAPI FakeLocateHandle(EFI_LOCATE_SEARCH_TYPE SearchType, EFI_GUID *Protocol, VOID *SearchKey,
                                   UINTN *BufferSize, EFI_HANDLE *Buffer) {
  (void)SearchKey;
  FakeFirmware &F = FakeFirmware::Active();
  if (BufferSize == nullptr || (*BufferSize != 0 && Buffer == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_STATUS Status;
  const std::vector<EFI_HANDLE> Found = Search(F, SearchType, Protocol, Status);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Found.empty()) {
    return EFI_NOT_FOUND;
  }
  const UINTN Needed = Found.size() * sizeof(EFI_HANDLE);
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Buffer, Found.data(), Needed);
  *BufferSize = Needed;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeLocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE SearchType, EFI_GUID *Protocol,
                                         VOID *SearchKey, UINTN *NoHandles, EFI_HANDLE **Buffer) {
  (void)SearchKey;
  FakeFirmware &F = FakeFirmware::Active();
  if (NoHandles == nullptr || Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *NoHandles = 0;
  *Buffer = nullptr;
  EFI_STATUS Status;
  const std::vector<EFI_HANDLE> Found = Search(F, SearchType, Protocol, Status);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  if (Found.empty()) {
    return EFI_NOT_FOUND;
  }
  void *Block = nullptr;
  Status = Services::Allocate(F, EfiBootServicesData, Found.size() * sizeof(EFI_HANDLE), &Block);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  std::memcpy(Block, Found.data(), Found.size() * sizeof(EFI_HANDLE));
  *Buffer = static_cast<EFI_HANDLE *>(Block);
  *NoHandles = Found.size();
  return EFI_SUCCESS;
}

struct ProtocolPair {
  EFI_GUID *Guid;
  void *Interface;
};

// Reads the GUID/interface pairs of a variadic call up to the terminating NULL GUID.
bool ReadPairs(FakeFirmware &F, __builtin_ms_va_list &Args, std::vector<ProtocolPair> &Pairs,
               const char *Who) {
  for (;;) {
    auto *Guid = __builtin_va_arg(Args, EFI_GUID *);
    if (Guid == nullptr) {
      return true;
    }
    void *Interface = __builtin_va_arg(Args, void *);
    Pairs.push_back({Guid, Interface});
    if (Pairs.size() > kMaxProtocolPairs) {
      F.RecordUnexpected(std::string("BootServices.") + Who + ": no terminating NULL within " +
                         std::to_string(kMaxProtocolPairs) + " pairs");
      return false;
    }
  }
}

EFI_STATUS EFIAPI FakeInstallMultipleProtocolInterfaces(EFI_HANDLE *Handle, ...) {
  FakeFirmware &F = FakeFirmware::Active();
  if (Handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::vector<ProtocolPair> Pairs;
  __builtin_ms_va_list Args;
  __builtin_ms_va_start(Args, Handle);
  const bool Terminated = ReadPairs(F, Args, Pairs, "InstallMultipleProtocolInterfaces");
  __builtin_ms_va_end(Args);
  if (!Terminated) {
    return EFI_INVALID_PARAMETER;
  }
  // All or nothing: a failing pair takes back the ones installed before it.
  const EFI_HANDLE Original = *Handle;
  EFI_HANDLE Target = Original;
  size_t Installed = 0;
  EFI_STATUS Status = EFI_SUCCESS;
  for (const ProtocolPair &Pair : Pairs) {
    Status = F.InstallProtocol(&Target, *Pair.Guid, Pair.Interface);
    if (EFI_ERROR(Status)) {
      break;
    }
    ++Installed;
  }
  if (EFI_ERROR(Status)) {
    for (size_t I = 0; I < Installed; ++I) {
      F.UninstallProtocol(Target, *Pairs[I].Guid, Pairs[I].Interface);
    }
    *Handle = Original;
    return Status;
  }
  *Handle = Target;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeUninstallMultipleProtocolInterfaces(EFI_HANDLE Handle, ...) {
  FakeFirmware &F = FakeFirmware::Active();
  std::vector<ProtocolPair> Pairs;
  __builtin_ms_va_list Args;
  __builtin_ms_va_start(Args, Handle);
  const bool Terminated = ReadPairs(F, Args, Pairs, "UninstallMultipleProtocolInterfaces");
  __builtin_ms_va_end(Args);
  if (!Terminated || !F.HandleExists(Handle)) {
    return EFI_INVALID_PARAMETER;
  }
  // Every pair must be present with the same interface before anything is removed.
  for (const ProtocolPair &Pair : Pairs) {
    bool Present = false;
    for (const EFI_GUID &Guid : F.ProtocolsOn(Handle)) {
      Present = Present || (SameGuid(Guid, *Pair.Guid) && F.FindProtocol(Handle, Guid) == Pair.Interface);
    }
    if (!Present) {
      return EFI_INVALID_PARAMETER;
    }
  }
  for (const ProtocolPair &Pair : Pairs) {
    F.UninstallProtocol(Handle, *Pair.Guid, Pair.Interface);
  }
  return EFI_SUCCESS;
}

} // namespace

namespace {

EFI_STATUS EFIAPI FakeConnectController(EFI_HANDLE ControllerHandle, EFI_HANDLE *DriverImageHandle,
                                        EFI_DEVICE_PATH *RemainingDevicePath, BOOLEAN Recursive) {
  return Services::Connect(FakeFirmware::Active(), ControllerHandle, DriverImageHandle, RemainingDevicePath,
                           Recursive);
}

EFI_STATUS EFIAPI FakeDisconnectController(EFI_HANDLE ControllerHandle, EFI_HANDLE DriverImageHandle,
                                           EFI_HANDLE ChildHandle) {
  return Services::Disconnect(FakeFirmware::Active(), ControllerHandle, DriverImageHandle, ChildHandle);
}

VOID EFIAPI FakeCopyMem(VOID *Destination, VOID *Source, UINTN Length) {
  if (Length != 0) {
    std::memmove(Destination, Source, Length);
  }
}

VOID EFIAPI FakeSetMem(VOID *Buffer, UINTN Size, UINT8 Value) {
  if (Size != 0) {
    std::memset(Buffer, Value, Size);
  }
}

EFI_STATUS EFIAPI FakeFreePool(VOID *Buffer) {
  return Services::Free(FakeFirmware::Active(), Buffer);
}

} // namespace

void Services::InstallBootServices(FakeFirmware &F) {
  EFI_BOOT_SERVICES &Bs = F.BootServices_;
  FAKE_UNEXPECTED(Bs, RaiseTPL, "BootServices.RaiseTPL");
  FAKE_UNEXPECTED(Bs, RestoreTPL, "BootServices.RestoreTPL");
  FAKE_UNEXPECTED(Bs, AllocatePages, "BootServices.AllocatePages");
  FAKE_UNEXPECTED(Bs, FreePages, "BootServices.FreePages");
  FAKE_UNEXPECTED(Bs, GetMemoryMap, "BootServices.GetMemoryMap");
  Bs.AllocatePool = FakeAllocatePool;
  Bs.FreePool = FakeFreePool;
  FAKE_UNEXPECTED(Bs, CreateEvent, "BootServices.CreateEvent");
  FAKE_UNEXPECTED(Bs, SetTimer, "BootServices.SetTimer");
  FAKE_UNEXPECTED(Bs, WaitForEvent, "BootServices.WaitForEvent");
  FAKE_UNEXPECTED(Bs, SignalEvent, "BootServices.SignalEvent");
  FAKE_UNEXPECTED(Bs, CloseEvent, "BootServices.CloseEvent");
  FAKE_UNEXPECTED(Bs, CheckEvent, "BootServices.CheckEvent");
  Bs.InstallProtocolInterface = FakeInstallProtocolInterface;
  FAKE_UNEXPECTED(Bs, ReinstallProtocolInterface, "BootServices.ReinstallProtocolInterface");
  Bs.UninstallProtocolInterface = FakeUninstallProtocolInterface;
  Bs.HandleProtocol = FakeHandleProtocol;
  FAKE_UNEXPECTED(Bs, PCHandleProtocol, "BootServices.Reserved");
  FAKE_UNEXPECTED(Bs, RegisterProtocolNotify, "BootServices.RegisterProtocolNotify");
  Bs.LocateHandle = FakeLocateHandle;
  FAKE_UNEXPECTED(Bs, LocateDevicePath, "BootServices.LocateDevicePath");
  FAKE_UNEXPECTED(Bs, InstallConfigurationTable, "BootServices.InstallConfigurationTable");
  FAKE_UNEXPECTED(Bs, LoadImage, "BootServices.LoadImage");
  FAKE_UNEXPECTED(Bs, StartImage, "BootServices.StartImage");
  FAKE_UNEXPECTED(Bs, Exit, "BootServices.Exit");
  FAKE_UNEXPECTED(Bs, UnloadImage, "BootServices.UnloadImage");
  FAKE_UNEXPECTED(Bs, ExitBootServices, "BootServices.ExitBootServices");
  FAKE_UNEXPECTED(Bs, GetNextMonotonicCount, "BootServices.GetNextMonotonicCount");
  FAKE_UNEXPECTED(Bs, Stall, "BootServices.Stall");
  FAKE_UNEXPECTED(Bs, SetWatchdogTimer, "BootServices.SetWatchdogTimer");
  Bs.ConnectController = FakeConnectController;
  Bs.DisconnectController = FakeDisconnectController;
  Bs.OpenProtocol = FakeOpenProtocol;
  FAKE_UNEXPECTED(Bs, CloseProtocol, "BootServices.CloseProtocol");
  FAKE_UNEXPECTED(Bs, OpenProtocolInformation, "BootServices.OpenProtocolInformation");
  Bs.ProtocolsPerHandle = FakeProtocolsPerHandle;
  Bs.LocateHandleBuffer = FakeLocateHandleBuffer;
  Bs.LocateProtocol = FakeLocateProtocol;
  Bs.InstallMultipleProtocolInterfaces = FakeInstallMultipleProtocolInterfaces;
  Bs.UninstallMultipleProtocolInterfaces = FakeUninstallMultipleProtocolInterfaces;
  FAKE_UNEXPECTED(Bs, CalculateCrc32, "BootServices.CalculateCrc32");
  Bs.CopyMem = FakeCopyMem;
  Bs.SetMem = FakeSetMem;
  FAKE_UNEXPECTED(Bs, CreateEventEx, "BootServices.CreateEventEx");
}

} // namespace fake
