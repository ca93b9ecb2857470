// PCI functions of the fake platform: EFI_PCI_IO_PROTOCOL per controller, the PCI Express ECAM
// window, and the ACPI tables (RSDP 2.0 -> XSDT -> MCFG) through which software finds the window.
//
// The window is an anonymous 256 MiB mapping covering buses 0 to 255 of segment 0. Only the
// configuration headers of added functions are written; every other function reads as zero
// (not as the all-ones of an absent device on real hardware), because filling the whole window
// would touch 256 MiB. Code under test must not rely on reading an absent device.
#include "FakeFirmware/Internal.h"

#include <cstring>
#include <stdexcept>

namespace fake {

namespace {

constexpr size_t kConfigSpaceSize = 4096;
constexpr size_t kRsdpOffset = 0;
constexpr size_t kRsdpLength = 36;
constexpr size_t kXsdtOffset = 48;
constexpr size_t kXsdtLength = 36 + 8;
constexpr size_t kMcfgOffset = 96;
constexpr size_t kMcfgLength = 36 + 8 + 16;
constexpr size_t kAcpiSize = kMcfgOffset + kMcfgLength;

void Put(std::vector<uint8_t> &B, size_t At, const void *Data, size_t Size) {
  std::memcpy(&B[At], Data, Size);
}
template <typename T> void PutValue(std::vector<uint8_t> &B, size_t At, T Value) {
  Put(B, At, &Value, sizeof(T));
}

uint8_t Checksum(const uint8_t *Bytes, size_t Size) {
  uint8_t Sum = 0;
  for (size_t I = 0; I < Size; ++I) {
    Sum = static_cast<uint8_t>(Sum + Bytes[I]);
  }
  return static_cast<uint8_t>(0 - Sum);
}

// Standard ACPI description header (36 bytes); the checksum is set by the caller when complete.
void PutHeader(std::vector<uint8_t> &B, size_t At, const char *Signature, uint32_t Length, uint8_t Revision) {
  Put(B, At + 0, Signature, 4);
  PutValue<uint32_t>(B, At + 4, Length);
  B[At + 8] = Revision;
  Put(B, At + 10, "HXFAKE", 6);
  Put(B, At + 16, "HXFAKETB", 8);
  PutValue<uint32_t>(B, At + 24, 1);
  Put(B, At + 28, "HXFW", 4);
  PutValue<uint32_t>(B, At + 32, 1);
}

} // namespace

void FakeFirmware::BuildAcpi() {
  Acpi_.assign(kAcpiSize, 0);
  uint8_t *Base = Acpi_.data();

  // MCFG: one allocation covering segment 0, buses 0 to 255.
  PutHeader(Acpi_, kMcfgOffset, "MCFG", kMcfgLength, 1);
  PutValue<uint64_t>(Acpi_, kMcfgOffset + 44, EcamBase());
  PutValue<uint16_t>(Acpi_, kMcfgOffset + 52, 0);
  Acpi_[kMcfgOffset + 54] = 0;
  Acpi_[kMcfgOffset + 55] = 255;
  Acpi_[kMcfgOffset + 9] = Checksum(Base + kMcfgOffset, kMcfgLength);

  PutHeader(Acpi_, kXsdtOffset, "XSDT", kXsdtLength, 1);
  PutValue<uint64_t>(Acpi_, kXsdtOffset + 36, reinterpret_cast<uint64_t>(Base + kMcfgOffset));
  Acpi_[kXsdtOffset + 9] = Checksum(Base + kXsdtOffset, kXsdtLength);

  Put(Acpi_, kRsdpOffset + 0, "RSD PTR ", 8);
  Put(Acpi_, kRsdpOffset + 9, "HXFAKE", 6);
  Acpi_[kRsdpOffset + 15] = 2;                    // ACPI 2.0 and later
  PutValue<uint32_t>(Acpi_, kRsdpOffset + 16, 0); // no RSDT
  PutValue<uint32_t>(Acpi_, kRsdpOffset + 20, kRsdpLength);
  PutValue<uint64_t>(Acpi_, kRsdpOffset + 24, reinterpret_cast<uint64_t>(Base + kXsdtOffset));
  Acpi_[kRsdpOffset + 8] = Checksum(Base + kRsdpOffset, 20);
  Acpi_[kRsdpOffset + 32] = Checksum(Base + kRsdpOffset, kRsdpLength);

  const EFI_GUID Acpi20 = ACPI_20_TABLE_GUID;
  ConfigTable_[0].VendorGuid = Acpi20;
  ConfigTable_[0].VendorTable = Base + kRsdpOffset;
}

FakeFirmware::PciFunction *Services::PciFromThis(EFI_PCI_IO_PROTOCOL *This) {
  FakeFirmware &F = FakeFirmware::Active();
  for (const auto &Function : F.Pci_) {
    if (&Function->PciIo == This) {
      return Function.get();
    }
  }
  return nullptr;
}

namespace {

EFI_STATUS EFIAPI FakePciRead(EFI_PCI_IO_PROTOCOL *This, EFI_PCI_IO_PROTOCOL_WIDTH Width, UINT32 Offset,
                              UINTN Count, VOID *Buffer) {
  FakeFirmware::PciFunction *Function = Services::PciFromThis(This);
  if (Function == nullptr) {
    FakeFirmware::Active().RecordUnexpected("PciIo.Pci.Read: unknown This");
    return EFI_INVALID_PARAMETER;
  }
  if (Buffer == nullptr || Width < 0 || Width >= EfiPciIoWidthMaximum) {
    return EFI_INVALID_PARAMETER;
  }
  if (Width > EfiPciIoWidthUint64) {
    FakeFirmware::Active().RecordUnexpected("PciIo.Pci.Read: FIFO or fill width");
    return EFI_UNSUPPORTED;
  }
  const size_t Stride = size_t{1} << Width;
  if ((Offset & (Stride - 1)) != 0 || Count > kConfigSpaceSize ||
      Offset + Stride * Count > kConfigSpaceSize) {
    return EFI_UNSUPPORTED;
  }
  std::memcpy(Buffer, Function->Config + Offset, Stride * Count);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakePciGetLocation(EFI_PCI_IO_PROTOCOL *This, UINTN *SegmentNumber, UINTN *BusNumber,
                                     UINTN *DeviceNumber, UINTN *FunctionNumber) {
  FakeFirmware::PciFunction *Function = Services::PciFromThis(This);
  if (Function == nullptr) {
    FakeFirmware::Active().RecordUnexpected("PciIo.GetLocation: unknown This");
    return EFI_INVALID_PARAMETER;
  }
  if (SegmentNumber == nullptr || BusNumber == nullptr || DeviceNumber == nullptr ||
      FunctionNumber == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *SegmentNumber = Function->Segment;
  *BusNumber = Function->Bus;
  *DeviceNumber = Function->Device;
  *FunctionNumber = Function->Function;
  return EFI_SUCCESS;
}

} // namespace

void Services::InstallPciIo(EFI_PCI_IO_PROTOCOL &P) {
  FAKE_UNEXPECTED(P, PollMem, "PciIo.PollMem");
  FAKE_UNEXPECTED(P, PollIo, "PciIo.PollIo");
  FAKE_UNEXPECTED(P, Mem.Read, "PciIo.Mem.Read");
  FAKE_UNEXPECTED(P, Mem.Write, "PciIo.Mem.Write");
  FAKE_UNEXPECTED(P, Io.Read, "PciIo.Io.Read");
  FAKE_UNEXPECTED(P, Io.Write, "PciIo.Io.Write");
  P.Pci.Read = FakePciRead;
  FAKE_UNEXPECTED(P, Pci.Write, "PciIo.Pci.Write");
  FAKE_UNEXPECTED(P, CopyMem, "PciIo.CopyMem");
  FAKE_UNEXPECTED(P, Map, "PciIo.Map");
  FAKE_UNEXPECTED(P, Unmap, "PciIo.Unmap");
  FAKE_UNEXPECTED(P, AllocateBuffer, "PciIo.AllocateBuffer");
  FAKE_UNEXPECTED(P, FreeBuffer, "PciIo.FreeBuffer");
  FAKE_UNEXPECTED(P, Flush, "PciIo.Flush");
  P.GetLocation = FakePciGetLocation;
  FAKE_UNEXPECTED(P, Attributes, "PciIo.Attributes");
  FAKE_UNEXPECTED(P, GetBarAttributes, "PciIo.GetBarAttributes");
  FAKE_UNEXPECTED(P, SetBarAttributes, "PciIo.SetBarAttributes");
  P.RomSize = 0;
  P.RomImage = nullptr;
}

EFI_HANDLE FakeFirmware::AddPciFunction(uint16_t Segment, uint8_t Bus, uint8_t Device, uint8_t Function,
                                        uint16_t VendorId, uint16_t DeviceId) {
  if (Device > 31 || Function > 7) {
    throw std::invalid_argument("AddPciFunction: device must be 0..31 and function 0..7");
  }
  for (const auto &Existing : Pci_) {
    if (Existing->Segment == Segment && Existing->Bus == Bus && Existing->Device == Device &&
        Existing->Function == Function) {
      throw std::invalid_argument("AddPciFunction: that PCI function exists already");
    }
  }
  auto Added = std::make_unique<PciFunction>();
  Added->Segment = Segment;
  Added->Bus = Bus;
  Added->Device = Device;
  Added->Function = Function;
  if (Segment == 0) {
    Added->Config = Ecam_ + ((size_t{Bus} << 20) | (size_t{Device} << 15) | (size_t{Function} << 12));
  } else {
    Added->Private.assign(kConfigSpaceSize, 0);
    Added->Config = Added->Private.data();
  }
  std::memcpy(Added->Config + 0, &VendorId, 2);
  std::memcpy(Added->Config + 2, &DeviceId, 2);
  Services::InstallPciIo(Added->PciIo);

  static const EFI_GUID PciIoGuid = EFI_PCI_IO_PROTOCOL_GUID;
  EFI_HANDLE Handle = nullptr;
  InstallProtocol(&Handle, PciIoGuid, &Added->PciIo);
  Added->Handle = Handle;
  Pci_.push_back(std::move(Added));
  return Handle;
}

uint8_t *FakeFirmware::ConfigSpace(EFI_HANDLE Controller) {
  for (const auto &Function : Pci_) {
    if (Function->Handle == Controller) {
      return Function->Config;
    }
  }
  return nullptr;
}

} // namespace fake
