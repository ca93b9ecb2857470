// Core of the fake platform: lifetime, the active instance, handle database, event log helpers.
#include "FakeFirmware/Internal.h"

extern "C++" {
#include "Library/HostHooks.h"
}

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <sys/mman.h>

namespace fake {

namespace {

FakeFirmware *gActive = nullptr;

void SerialSink(const UINT8 *Bytes, UINTN Count) {
  if (gActive != nullptr) {
    gActive->OnSerial(Bytes, Count);
  }
}

void AssertSink(const CHAR8 *File, UINTN Line, const CHAR8 *Description) {
  if (gActive != nullptr) {
    gActive->OnAssert(reinterpret_cast<const char *>(File), Line,
                      reinterpret_cast<const char *>(Description));
  } else {
    std::fprintf(stderr, "ASSERT %s(%llu): %s\n", File ? reinterpret_cast<const char *>(File) : "?",
                 static_cast<unsigned long long>(Line),
                 Description ? reinterpret_cast<const char *>(Description) : "?");
  }
}

} // namespace

const EFI_GUID *InternGuid(const EFI_GUID &Guid) {
  static std::deque<EFI_GUID> Interned; // deque: addresses stay put as it grows
  for (const EFI_GUID &Known : Interned) {
    if (SameGuid(Known, Guid)) {
      return &Known;
    }
  }
  Interned.push_back(Guid);
  return &Interned.back();
}

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B) {
  return std::memcmp(&A, &B, sizeof(EFI_GUID)) == 0;
}

std::string Utf16ToUtf8(const std::u16string &Text) {
  std::string Out;
  for (size_t I = 0; I < Text.size(); ++I) {
    uint32_t C = Text[I];
    if (C >= 0xD800 && C <= 0xDBFF && I + 1 < Text.size() && Text[I + 1] >= 0xDC00 && Text[I + 1] <= 0xDFFF) {
      C = 0x10000 + ((C - 0xD800) << 10) + (Text[I + 1] - 0xDC00);
      ++I;
    } else if (C >= 0xD800 && C <= 0xDFFF) {
      C = 0xFFFD; // a lone surrogate is not text
    }
    if (C < 0x80) {
      Out += static_cast<char>(C);
    } else if (C < 0x800) {
      Out += static_cast<char>(0xC0 | (C >> 6));
      Out += static_cast<char>(0x80 | (C & 0x3F));
    } else if (C < 0x10000) {
      Out += static_cast<char>(0xE0 | (C >> 12));
      Out += static_cast<char>(0x80 | ((C >> 6) & 0x3F));
      Out += static_cast<char>(0x80 | (C & 0x3F));
    } else {
      Out += static_cast<char>(0xF0 | (C >> 18));
      Out += static_cast<char>(0x80 | ((C >> 12) & 0x3F));
      Out += static_cast<char>(0x80 | ((C >> 6) & 0x3F));
      Out += static_cast<char>(0x80 | (C & 0x3F));
    }
  }
  return Out;
}

std::u16string Utf8ToUtf16(const std::string &Text) {
  std::u16string Out;
  for (size_t I = 0; I < Text.size();) {
    const auto B = static_cast<unsigned char>(Text[I]);
    uint32_t C = 0xFFFD;
    size_t Length = 1;
    if (B < 0x80) {
      C = B;
    } else if ((B & 0xE0) == 0xC0 && I + 1 < Text.size()) {
      C = ((B & 0x1F) << 6) | (Text[I + 1] & 0x3F);
      Length = 2;
    } else if ((B & 0xF0) == 0xE0 && I + 2 < Text.size()) {
      C = ((B & 0x0F) << 12) | ((Text[I + 1] & 0x3F) << 6) | (Text[I + 2] & 0x3F);
      Length = 3;
    } else if ((B & 0xF8) == 0xF0 && I + 3 < Text.size()) {
      C = ((B & 0x07) << 18) | ((Text[I + 1] & 0x3F) << 12) | ((Text[I + 2] & 0x3F) << 6) |
          (Text[I + 3] & 0x3F);
      Length = 4;
    }
    I += Length;
    if (C >= 0x10000) {
      C -= 0x10000;
      Out += static_cast<char16_t>(0xD800 + (C >> 10));
      Out += static_cast<char16_t>(0xDC00 + (C & 0x3FF));
    } else {
      Out += static_cast<char16_t>(C);
    }
  }
  return Out;
}

CHAR8 *NaloEntry::OwnText(const std::string &Text) {
  Storage.emplace_back(Text.begin(), Text.end());
  Storage.back().push_back(0);
  return reinterpret_cast<CHAR8 *>(Storage.back().data());
}

UINT8 *NaloEntry::OwnBytes(const std::vector<uint8_t> &Bytes) {
  Storage.emplace_back(Bytes);
  if (Storage.back().empty()) {
    Storage.back().push_back(0); // a valid, distinct address even for no bytes
  }
  return Storage.back().data();
}

// ---------------------------------------------------------------------------------------------------

FakeFirmware::FakeFirmware() {
  if (gActive != nullptr) {
    std::fprintf(stderr, "fake firmware: a second FakeFirmware was created while one is active\n");
    std::abort();
  }
  void *Window =
      mmap(nullptr, kEcamSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (Window == MAP_FAILED) {
    throw std::runtime_error("fake firmware: cannot map the 256 MiB ECAM window");
  }
  Ecam_ = static_cast<uint8_t *>(Window);
  gActive = this;

  BuildTables();
  BuildAcpi();

  // The image handle carries the loaded-image protocol, as the image loader leaves it.
  LoadedImage_.Revision = 0x1000;
  LoadedImage_.SystemTable = &SystemTable_;
  LoadedImage_.ImageCodeType = EfiBootServicesCode;
  LoadedImage_.ImageDataType = EfiBootServicesData;
  static const EFI_GUID LoadedImageGuid = EFI_LOADED_IMAGE_PROTOCOL_GUID;
  InstallProtocol(&ImageHandle_, LoadedImageGuid, &LoadedImage_);

  HostSetSerialSink(SerialSink);
  HostSetAssertHandler(AssertSink);
}

FakeFirmware::~FakeFirmware() {
  HostSetSerialSink(nullptr);
  HostSetAssertHandler(nullptr);
  for (auto &Entry : Pool_) {
    std::free(Entry.first);
  }
  for (void *Freed : FreedPool_) {
    std::free(Freed);
  }
  munmap(Ecam_, kEcamSize);
  gActive = nullptr;
}

FakeFirmware *FakeFirmware::ActiveOrNull() {
  return gActive;
}

FakeFirmware &FakeFirmware::Active() {
  if (gActive == nullptr) {
    std::fprintf(stderr, "fake firmware: a firmware service was called with no FakeFirmware active\n");
    std::abort();
  }
  return *gActive;
}

void FakeFirmware::BuildTables() {
  SystemTable_.Hdr.Signature = EFI_SYSTEM_TABLE_SIGNATURE;
  SystemTable_.Hdr.Revision = 0x00020046;
  SystemTable_.Hdr.HeaderSize = sizeof(EFI_SYSTEM_TABLE);
  SystemTable_.FirmwareVendor = WSTR("Host fake firmware");
  SystemTable_.FirmwareRevision = 1;
  SystemTable_.ConOut = nullptr;
  SystemTable_.BootServices = &BootServices_;
  SystemTable_.RuntimeServices = &RuntimeServices_;
  SystemTable_.NumberOfTableEntries = 1;
  SystemTable_.ConfigurationTable = ConfigTable_;

  BootServices_.Hdr.Signature = EFI_BOOT_SERVICES_SIGNATURE;
  BootServices_.Hdr.Revision = 0x00020046;
  BootServices_.Hdr.HeaderSize = sizeof(EFI_BOOT_SERVICES);
  RuntimeServices_.Hdr.Signature = EFI_RUNTIME_SERVICES_SIGNATURE;
  RuntimeServices_.Hdr.Revision = 0x00020046;
  RuntimeServices_.Hdr.HeaderSize = sizeof(EFI_RUNTIME_SERVICES);

  Services::InstallBootServices(*this);
  Services::InstallRuntimeServices(*this);
  Services::InstallPlatformMembers(*this);
}

void FakeFirmware::RecordUnexpected(const std::string &What) {
  UnexpectedCalls_.push_back(What);
}

void FakeFirmware::OnSerial(const uint8_t *Bytes, size_t Count) {
  if (Bytes == nullptr || Count == 0) {
    return;
  }
  std::string Text(reinterpret_cast<const char *>(Bytes), Count);
  Serial_ += Text;
  Event E;
  E.Kind = EventKind::Debug;
  E.Text = std::move(Text);
  Events_.push_back(std::move(E));
}

void FakeFirmware::OnAssert(const char *File, uint64_t Line, const char *Text) {
  const std::string FileText = File ? File : "?";
  const std::string Description = Text ? Text : "?";
  Assertions_.push_back(FileText + ":" + std::to_string(Line) + ": " + Description);
  if (AssertCallback_) {
    AssertCallback_(FileText, Line, Description);
  }
}

size_t FakeFirmware::LocateProtocolCalls(const EFI_GUID &Guid) const {
  size_t Count = 0;
  for (const EFI_GUID &Located : Located_) {
    Count += std::memcmp(&Located, &Guid, sizeof(EFI_GUID)) == 0;
  }
  return Count;
}

std::vector<Event> FakeFirmware::EventsOf(EventKind Kind) const {
  std::vector<Event> Out;
  for (const Event &E : Events_) {
    if (E.Kind == Kind) {
      Out.push_back(E);
    }
  }
  return Out;
}

// ---- Handle database ------------------------------------------------------------------------------

FakeFirmware::Handle *FakeFirmware::Lookup(EFI_HANDLE H) const {
  if (H == nullptr) {
    return nullptr;
  }
  for (const auto &Candidate : Handles_) {
    if (Candidate.get() == H) {
      return Candidate->Alive ? Candidate.get() : nullptr;
    }
  }
  return nullptr;
}

bool FakeFirmware::HandleExists(EFI_HANDLE H) const {
  return Lookup(H) != nullptr;
}

EFI_STATUS FakeFirmware::InstallProtocol(EFI_HANDLE *H, const EFI_GUID &Guid, void *Interface) {
  if (H == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Handle *Target = nullptr;
  if (*H != nullptr) {
    Target = Lookup(*H);
    if (Target == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    for (const ProtocolEntry &Entry : Target->Protocols) {
      if (SameGuid(*Entry.Guid, Guid)) {
        return EFI_INVALID_PARAMETER;
      }
    }
  } else {
    Handles_.push_back(std::make_unique<Handle>());
    Target = Handles_.back().get();
    Target->Serial = ++HandleSerial_;
    *H = Target;
  }
  Target->Protocols.push_back({InternGuid(Guid), Interface});
  return EFI_SUCCESS;
}

EFI_STATUS FakeFirmware::UninstallProtocol(EFI_HANDLE H, const EFI_GUID &Guid, void *Interface) {
  Handle *Target = Lookup(H);
  if (Target == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  for (auto It = Target->Protocols.begin(); It != Target->Protocols.end(); ++It) {
    if (SameGuid(*It->Guid, Guid) && It->Interface == Interface) {
      Target->Protocols.erase(It);
      if (Target->Protocols.empty()) {
        Target->Alive = false;
      }
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

void *FakeFirmware::FindProtocol(EFI_HANDLE H, const EFI_GUID &Guid) const {
  const Handle *Target = Lookup(H);
  if (Target == nullptr) {
    return nullptr;
  }
  for (const ProtocolEntry &Entry : Target->Protocols) {
    if (SameGuid(*Entry.Guid, Guid)) {
      return Entry.Interface;
    }
  }
  return nullptr;
}

std::vector<EFI_HANDLE> FakeFirmware::HandlesWith(const EFI_GUID &Guid) const {
  std::vector<EFI_HANDLE> Out;
  for (const auto &Candidate : Handles_) {
    if (!Candidate->Alive) {
      continue;
    }
    for (const ProtocolEntry &Entry : Candidate->Protocols) {
      if (SameGuid(*Entry.Guid, Guid)) {
        Out.push_back(Candidate.get());
        break;
      }
    }
  }
  return Out;
}

std::vector<EFI_GUID> FakeFirmware::ProtocolsOn(EFI_HANDLE H) const {
  std::vector<EFI_GUID> Out;
  if (const Handle *Target = Lookup(H)) {
    for (const ProtocolEntry &Entry : Target->Protocols) {
      Out.push_back(*Entry.Guid);
    }
  }
  return Out;
}

std::vector<PoolBlock> FakeFirmware::LivePoolBlocks() const {
  std::vector<PoolBlock> Out;
  for (const auto &Entry : Pool_) {
    Out.push_back(Entry.second);
  }
  std::sort(Out.begin(), Out.end(),
            [](const PoolBlock &A, const PoolBlock &B) { return A.Serial < B.Serial; });
  return Out;
}

void FakeFirmware::SetDriverBound(EFI_HANDLE Controller, bool Bound) {
  if (Bound) {
    Bound_.insert(Controller);
  } else {
    Bound_.erase(Controller);
    ManagedBy_.erase(Controller);
  }
}

EFI_STATUS FakeFirmware::StartDrivers(EFI_HANDLE Controller) {
  if (!HandleExists(Controller)) {
    return EFI_INVALID_PARAMETER;
  }
  if (ManagedBy_.count(Controller) != 0) {
    const EFI_STATUS Stopped = Services::StopBinding(*this, Controller);
    if (EFI_ERROR(Stopped)) {
      return Stopped;
    }
  }
  bool AnyBinding = false;
  return Services::StartBinding(*this, Controller, nullptr, &AnyBinding);
}

// ---- Reset ------------------------------------------------------------------------------------------

bool FakeFirmware::RunUntilReset(const std::function<void()> &Boot) {
  std::jmp_buf Here;
  std::jmp_buf *Outer = ResetJump_;
  ResetJump_ = &Here;
  if (setjmp(Here) != 0) {
    ResetJump_ = Outer;
    return true;
  }
  Boot();
  ResetJump_ = Outer;
  return false;
}

void FakeFirmware::EndBootByReset() {
  if (ResetJump_ == nullptr) {
    std::fprintf(stderr, "fake firmware: ResetSystem was called outside RunUntilReset(); the boot cannot end "
                         "here. Wrap the code that may reset the platform in RunUntilReset().\n");
    std::abort();
  }
  std::longjmp(*ResetJump_, 1);
}

} // namespace fake
