// The libraries that read the firmware's tables, over the fake firmware: the ECAM base is found in
// any XSDT entry but only within the table counts, and a pool block the firmware refuses asserts.
#include <cstring>
#include <vector>

#include "Library/MemoryAllocationLib.h"
#include "Library/PciExpressLib.h"
#include "Support/DriverTest.h"

namespace {

using FirmwareTablesLib = DriverTest;

UINT8 *PointerAt(const UINT8 *Bytes) {
  UINT8 *Pointer = nullptr;
  std::memcpy(&Pointer, Bytes, sizeof(Pointer));
  return Pointer;
}

TEST_F(FirmwareTablesLib, EcamBaseFromAnyXsdtEntryWithinTheCounts) {
  EFI_SYSTEM_TABLE *St = Fw().SystemTable();
  ASSERT_EQ(St->NumberOfTableEntries, 1u);
  UINT8 *Rsdp = static_cast<UINT8 *>(St->ConfigurationTable[0].VendorTable);
  UINT8 *const PlatformXsdt = PointerAt(Rsdp + 24);
  const UINT8 *const Mcfg = PointerAt(PlatformXsdt + 36);
  UINT8 Other[36] = {'S', 'S', 'D', 'T', 36};

  struct Case {
    UINT32 Entries;
    UINT32 McfgEntry;
    UINT64 ExpectedBase; // 1: the platform's
  };
  // A corrupt length is walked no further than 1024 entries.
  const Case Cases[] = {{2, 1, 1}, {3, 2, 1}, {1025, 1023, 1}, {1025, 1024, 0}};
  for (const Case &C : Cases) {
    std::vector<UINT8> Xsdt(PlatformXsdt, PlatformXsdt + 36);
    const UINT32 Length = 36 + 8 * C.Entries;
    std::memcpy(&Xsdt[4], &Length, sizeof(Length));
    for (UINT32 Entry = 0; Entry < C.Entries; Entry++) {
      const UINT8 *Table = Entry == C.McfgEntry ? Mcfg : Other;
      Xsdt.insert(Xsdt.end(), (const UINT8 *)&Table, (const UINT8 *)&Table + sizeof(Table));
    }
    UINT8 *Address = Xsdt.data();
    std::memcpy(Rsdp + 24, &Address, sizeof(Address));
    EXPECT_EQ(PciExpressLibConstructor(), EFI_SUCCESS);
    EXPECT_EQ(PciExpressGetBaseAddress(), C.ExpectedBase == 1 ? Fw().EcamBase() : 0) << C.Entries;
  }
  std::memcpy(Rsdp + 24, &PlatformXsdt, sizeof(PlatformXsdt));
  ASSERT_EQ(PciExpressLibConstructor(), EFI_SUCCESS);
  EXPECT_EQ(PciExpressGetBaseAddress(), Fw().EcamBase());
  // The configuration table count bounds the search for the ACPI tables.
  St->NumberOfTableEntries = 0;
  PciExpressLibConstructor();
  EXPECT_EQ(PciExpressGetBaseAddress(), 0u);
  St->NumberOfTableEntries = 1;
}

TEST_F(FirmwareTablesLib, FreeingABlockTheFirmwareRefusesAsserts) {
  AllowBadFrees();
  Fw().SetAssertCallback([](const std::string &, uint64_t, const std::string &) {});
  UINT8 Byte = 0;
  FreePool(&Byte);
  EXPECT_EQ(Fw().Assertions().size(), 1u);
}

} // namespace
