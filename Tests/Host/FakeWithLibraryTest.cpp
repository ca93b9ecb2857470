// Our EDK II libraries that reach the platform through the system table (pool, status codes, the
// ECAM base from ACPI), run against the fake: what they find there is what real firmware gives them.
#include "Support/DriverTest.h"

#include <cstring>
#include <functional>

extern "C++" {
#include "Library/MemoryAllocationLib.h"
#include "Library/PciExpressLib.h"
#include "Library/ReportStatusCodeLib.h"
}

namespace {

class FakeWithLibraryTest : public DriverTest {};

TEST_F(FakeWithLibraryTest, PoolIsTrackedBootServicesDataAndFailureGivesNull) {
  UINT8 *Block = static_cast<UINT8 *>(AllocateZeroPool(40));
  ASSERT_NE(nullptr, Block);
  EXPECT_EQ(std::vector<UINT8>(40, 0), std::vector<UINT8>(Block, Block + 40));
  ASSERT_EQ(1u, Fw().LivePoolBlocks().size());
  EXPECT_EQ(40u, Fw().LivePoolBlocks()[0].Size);
  EXPECT_EQ(EfiBootServicesData, Fw().LivePoolBlocks()[0].Type);
  FreePool(Block);
  EXPECT_TRUE(Fw().LivePoolBlocks().empty());
  Fw().FailNextAllocations(2);
  EXPECT_EQ(nullptr, AllocatePool(8));
  EXPECT_EQ(nullptr, AllocateZeroPool(8));
}

std::vector<std::vector<UINT8>> gReports; // EFI_STATUS_CODE_DATA header and data, as passed

EFI_STATUS EFIAPI CaptureStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value, UINT32 Instance,
                                    EFI_GUID *, EFI_STATUS_CODE_DATA *Data) {
  const UINT8 *Raw = reinterpret_cast<const UINT8 *>(Data);
  gReports.emplace_back(Raw, Raw + Data->HeaderSize + Data->Size);
  EXPECT_EQ(Type, 0x80000002u);
  EXPECT_EQ(Value, 0x03808014u);
  EXPECT_EQ(Instance, 7u);
  return EFI_DEVICE_ERROR; // distinctive, so the test sees the protocol's result passed on
}

TEST_F(FakeWithLibraryTest, ReportStatusCodeExBuildsTheDataHeaderAndFindsALateProtocol) {
  const UINT8 Payload[5] = {'a', 'b', 'c', 'd', 0};
  gReports.clear();
  Fw().RemoveStatusCode();
  EXPECT_EQ(EFI_UNSUPPORTED, ReportStatusCodeEx(0x80000002, 0x03808014, 7, nullptr, nullptr, Payload, 5));
  Fw().InstallStatusCode();
  Fw().StatusCodeProtocol()->ReportStatusCode = CaptureStatusCode;
  EXPECT_EQ(EFI_DEVICE_ERROR, ReportStatusCodeEx(0x80000002, 0x03808014, 7, nullptr, nullptr, Payload, 5));
  const EFI_GUID Own = {0xAABBCCDD, 0xEEFF, 0x0011, {1, 2, 3, 4, 5, 6, 7, 8}};
  ReportStatusCodeEx(0x80000002, 0x03808014, 7, nullptr, &Own, Payload, 1);
  std::vector<UINT8> Huge(4096, 1);
  EXPECT_EQ(EFI_UNSUPPORTED,
            ReportStatusCodeEx(0x80000002, 0x03808014, 7, nullptr, nullptr, Huge.data(), 4096));
  // HeaderSize 20, Size, then the data type GUID (by default 335984BD-E805-409A-B8F8-D27ECE5FF7A6).
  const std::vector<std::vector<UINT8>> Expected = {
      {20,   0,    5,    0,    0xBD, 0x84, 0x59, 0x33, 0x05, 0xE8, 0x9A, 0x40, 0xB8,
       0xF8, 0xD2, 0x7E, 0xCE, 0x5F, 0xF7, 0xA6, 'a',  'b',  'c',  'd',  0},
      {20, 0, 1, 0, 0xDD, 0xCC, 0xBB, 0xAA, 0xFF, 0xEE, 0x11, 0x00, 1, 2, 3, 4, 5, 6, 7, 8, 'a'},
  };
  EXPECT_EQ(Expected, gReports);
}

UINT8 *PointerAt(const UINT8 *Field) {
  uint64_t Address = 0;
  std::memcpy(&Address, Field, 8);
  return reinterpret_cast<UINT8 *>(static_cast<uintptr_t>(Address));
}

// The fake's own tables, then each one broken in a way the library must not follow.
TEST_F(FakeWithLibraryTest, EcamBaseFromTheAcpiTablesAndNothingFromBrokenOnes) {
  Fw().AddPciFunction(0, 3, 0, 1, 0x10DF, 0xE200);
  EFI_SYSTEM_TABLE *St = Fw().SystemTable();
  const EFI_GUID Acpi20 = ACPI_20_TABLE_GUID;
  UINT8 *Rsdp = nullptr;
  for (UINTN I = 0; I < St->NumberOfTableEntries; ++I) {
    if (std::memcmp(&St->ConfigurationTable[I].VendorGuid, &Acpi20, sizeof(EFI_GUID)) == 0) {
      Rsdp = static_cast<UINT8 *>(St->ConfigurationTable[I].VendorTable);
    }
  }
  ASSERT_NE(nullptr, Rsdp);
  UINT8 *Xsdt = PointerAt(Rsdp + 24);
  UINT8 *Mcfg = PointerAt(Xsdt + 36);
  auto Put32 = [](UINT8 *Table, size_t Offset, UINT32 Value) { std::memcpy(Table + Offset, &Value, 4); };
  struct Case {
    const char *Name;
    std::function<void()> Break;
  };
  const Case Cases[] = {
      {"RSDP signature", [&] { Rsdp[0] = 'X'; }},
      {"ACPI 1.0 RSDP", [&] { Rsdp[15] = 0; }},
      {"RSDP shorter than 2.0", [&] { Put32(Rsdp, 20, 35); }},
      {"no XSDT address", [&] { std::memset(Rsdp + 24, 0, 8); }},
      {"XSDT signature", [&] { Xsdt[0] = 'R'; }},
      {"XSDT too short for the MCFG entry", [&] { Put32(Xsdt, 4, 43); }},
      {"XSDT shorter than its header", [&] { Put32(Xsdt, 4, 10); }},
      {"MCFG too short", [&] { Put32(Mcfg, 4, 59); }},
      {"no MCFG", [&] { Mcfg[0] = 'S'; }},
  };
  std::vector<UINT8> Saved[3] = {{Rsdp, Rsdp + 36}, {Xsdt, Xsdt + 44}, {Mcfg, Mcfg + 60}};
  for (const Case &C : Cases) {
    C.Break();
    EXPECT_EQ(EFI_SUCCESS, PciExpressLibConstructor());
    EXPECT_EQ(0u, PciExpressGetBaseAddress()) << C.Name;
    EXPECT_EQ(0xFFFF, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 0))) << C.Name;
    std::memcpy(Rsdp, Saved[0].data(), 36);
    std::memcpy(Xsdt, Saved[1].data(), 44);
    std::memcpy(Mcfg, Saved[2].data(), 60);
  }

  // Intact, and found behind another configuration table.
  EFI_CONFIGURATION_TABLE *Own = St->ConfigurationTable;
  const UINTN OwnCount = St->NumberOfTableEntries;
  EFI_CONFIGURATION_TABLE Tables[2] = {{{0x12345678, 0, 0, {0}}, nullptr}, {Acpi20, Rsdp}};
  St->ConfigurationTable = Tables;
  St->NumberOfTableEntries = 2;
  ASSERT_EQ(EFI_SUCCESS, PciExpressLibConstructor());
  St->ConfigurationTable = Own;
  St->NumberOfTableEntries = OwnCount;
  EXPECT_EQ(Fw().EcamBase(), PciExpressGetBaseAddress());
  EXPECT_EQ(0x10DF, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 0)));
  EXPECT_EQ(0xE200, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 2)));
  EXPECT_EQ(0xFFFF, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 1))) << "unaligned";
  EXPECT_EQ(0xFFFF, PciExpressRead16(0x10000000)) << "outside the 256 MiB window";
}

} // namespace
