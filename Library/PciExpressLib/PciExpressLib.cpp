// PCI Express configuration space through the ECAM window. The window's base is not a build
// constant here: it is read from the ACPI MCFG table (RSDP -> XSDT -> "MCFG"), which works on
// the real platform and on the host's fake firmware alike. Every table is checked before it is
// read past its header; anything missing leaves the base at 0 and every read returns 0xFFFF, as
// an absent device would.
#include "Library/PciExpressLib.h"
#include "Library/BaseMemoryLib.h"
#include "Library/UefiBootServicesTableLib.h"

namespace {

const UINTN kEcamWindowSize = 0x10000000; // 256 buses x 32 devices x 8 functions x 4 KiB
const UINTN kSdtHeaderLength = 36;
const UINTN kRsdpRevisionOffset = 15;
const UINTN kRsdpXsdtOffset = 24;
const UINTN kRsdpV2Length = 36;
const UINTN kSdtLengthOffset = 4;
const UINTN kMcfgBaseOffset = 44;
// Header, 8 reserved bytes and one 16-byte allocation structure.
const UINTN kMcfgMinimumLength = 60;
// More XSDT entries than any platform has; bounds the walk over a corrupt length.
const UINTN kMaxXsdtEntries = 1024;

// The only mutable state of the library (static storage, so 0 until the constructor sets it), read
// by every access.
UINT64 mPciExpressBaseAddress;

UINT64 ReadUnaligned64(const UINT8 *Bytes) {
  UINT64 Value;
  CopyMem(&Value, Bytes, sizeof(Value));
  return Value;
}

UINT32 ReadUnaligned32(const UINT8 *Bytes) {
  UINT32 Value;
  CopyMem(&Value, Bytes, sizeof(Value));
  return Value;
}

BOOLEAN SignatureIs(const UINT8 *Bytes, const char *Signature, UINTN Length) {
  return CompareMem(Bytes, Signature, Length) == 0 ? TRUE : FALSE;
}

const UINT8 *FindRsdp(void) {
  static const EFI_GUID kAcpi20TableGuid = ACPI_20_TABLE_GUID;
  if (gST == nullptr || gST->ConfigurationTable == nullptr) {
    return nullptr;
  }
  for (UINTN Index = 0; Index < gST->NumberOfTableEntries; Index++) {
    const EFI_CONFIGURATION_TABLE *Entry = &gST->ConfigurationTable[Index];
    if (CompareGuid(&Entry->VendorGuid, &kAcpi20TableGuid)) {
      return (const UINT8 *)Entry->VendorTable;
    }
  }
  return nullptr;
}

UINT64 FindEcamBase(void) {
  const UINT8 *Rsdp = FindRsdp();
  if (Rsdp == nullptr || !SignatureIs(Rsdp, "RSD PTR ", 8) || Rsdp[kRsdpRevisionOffset] < 2 ||
      ReadUnaligned32(Rsdp + 20) < kRsdpV2Length) {
    return 0;
  }
  const UINT8 *Xsdt = (const UINT8 *)(UINTN)ReadUnaligned64(Rsdp + kRsdpXsdtOffset);
  if (Xsdt == nullptr || !SignatureIs(Xsdt, "XSDT", 4)) {
    return 0;
  }
  UINT32 XsdtLength = ReadUnaligned32(Xsdt + kSdtLengthOffset);
  if (XsdtLength < kSdtHeaderLength) {
    return 0;
  }
  UINTN Entries = (XsdtLength - kSdtHeaderLength) / sizeof(UINT64);
  if (Entries > kMaxXsdtEntries) {
    Entries = kMaxXsdtEntries;
  }
  for (UINTN Index = 0; Index < Entries; Index++) {
    const UINT8 *Table =
        (const UINT8 *)(UINTN)ReadUnaligned64(Xsdt + kSdtHeaderLength + Index * sizeof(UINT64));
    if (Table == nullptr || !SignatureIs(Table, "MCFG", 4)) {
      continue;
    }
    if (ReadUnaligned32(Table + kSdtLengthOffset) < kMcfgMinimumLength) {
      return 0;
    }
    return ReadUnaligned64(Table + kMcfgBaseOffset);
  }
  return 0;
}

} // namespace

EFI_STATUS PciExpressLibConstructor(VOID) {
  mPciExpressBaseAddress = FindEcamBase();
  return EFI_SUCCESS;
}

UINT16 PciExpressRead16(UINTN Address) {
  // An odd address would be an unaligned configuration access, which ECAM does not support.
  if (mPciExpressBaseAddress == 0 || Address >= kEcamWindowSize || (Address & 1) != 0) {
    return 0xFFFF;
  }
  return *(volatile const UINT16 *)(UINTN)(mPciExpressBaseAddress + Address);
}

UINT64 PciExpressGetBaseAddress(VOID) {
  return mPciExpressBaseAddress;
}
