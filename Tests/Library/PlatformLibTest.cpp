// Libraries that reach the platform through the system table: boot/runtime services tables, pool
// allocation, status-code reporting and the ECAM base from ACPI.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "Library/MemoryAllocationLib.h"
#include "Library/PciExpressLib.h"
#include "Library/ReportStatusCodeLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

struct ReportedCode {
  EFI_STATUS_CODE_TYPE Type;
  EFI_STATUS_CODE_VALUE Value;
  UINT32 Instance;
  EFI_GUID *CallerId;
  std::vector<UINT8> Data;
};

std::vector<ReportedCode> gReports;
BOOLEAN gProtocolInstalled = FALSE;
std::vector<EFI_MEMORY_TYPE> gPoolTypes;
BOOLEAN gPoolFails = FALSE;

EFI_STATUS EFIAPI FakeReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                       UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
  const UINT8 *Raw = reinterpret_cast<const UINT8 *>(Data);
  gReports.push_back(
      {Type, Value, Instance, CallerId, std::vector<UINT8>(Raw, Raw + Data->HeaderSize + Data->Size)});
  return EFI_DEVICE_ERROR; // distinctive, so the test sees the protocol's result passed on
}

EFI_STATUS_CODE_RUNTIME_PROTOCOL gStatusCodeProtocol = {FakeReportStatusCode};

EFI_STATUS EFIAPI FakeLocateProtocol(EFI_GUID *Protocol, VOID *, VOID **Interface) {
  const EFI_GUID Expected = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;
  if (!gProtocolInstalled || std::memcmp(Protocol, &Expected, sizeof(Expected)) != 0) {
    *Interface = nullptr;
    return EFI_NOT_FOUND;
  }
  *Interface = &gStatusCodeProtocol;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeAllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer) {
  gPoolTypes.push_back(Type);
  if (gPoolFails) {
    return EFI_OUT_OF_RESOURCES;
  }
  *Buffer = std::malloc(Size);
  std::memset(*Buffer, 0xA5, Size);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeFreePool(VOID *Buffer) {
  std::free(Buffer);
  return EFI_SUCCESS;
}

class PlatformLib : public ::testing::Test {
protected:
  void SetUp() override {
    std::memset(&BootServices, 0, sizeof(BootServices));
    std::memset(&RuntimeServices, 0, sizeof(RuntimeServices));
    std::memset(&SystemTable, 0, sizeof(SystemTable));
    BootServices.LocateProtocol = FakeLocateProtocol;
    BootServices.AllocatePool = FakeAllocatePool;
    BootServices.FreePool = FakeFreePool;
    SystemTable.BootServices = &BootServices;
    SystemTable.RuntimeServices = &RuntimeServices;
    SavedImage = gImageHandle;
    SavedST = gST;
    SavedBS = gBS;
    SavedRT = gRT;
    EXPECT_EQ(UefiBootServicesTableLibConstructor(reinterpret_cast<EFI_HANDLE>(0x1000), &SystemTable),
              EFI_SUCCESS);
    EXPECT_EQ(UefiRuntimeServicesTableLibConstructor(reinterpret_cast<EFI_HANDLE>(0x1000), &SystemTable),
              EFI_SUCCESS);
    gReports.clear();
    gPoolTypes.clear();
    gPoolFails = FALSE;
    gProtocolInstalled = FALSE;
  }
  void TearDown() override {
    gImageHandle = SavedImage;
    gST = SavedST;
    gBS = SavedBS;
    gRT = SavedRT;
    PciExpressLibConstructor(); // forget any base found from this test's tables
  }

  EFI_BOOT_SERVICES BootServices;
  EFI_RUNTIME_SERVICES RuntimeServices;
  EFI_SYSTEM_TABLE SystemTable;
  EFI_HANDLE SavedImage;
  EFI_SYSTEM_TABLE *SavedST;
  EFI_BOOT_SERVICES *SavedBS;
  EFI_RUNTIME_SERVICES *SavedRT;
};

TEST_F(PlatformLib, ConstructorsPublishTheTables) {
  EXPECT_EQ(gImageHandle, reinterpret_cast<EFI_HANDLE>(0x1000));
  EXPECT_EQ(gST, &SystemTable);
  EXPECT_EQ(gBS, &BootServices);
  EXPECT_EQ(gRT, &RuntimeServices);
}

TEST_F(PlatformLib, PoolIsBootServicesDataAndFailureGivesNull) {
  UINT8 *Buffer = static_cast<UINT8 *>(AllocateZeroPool(16));
  ASSERT_NE(Buffer, nullptr);
  EXPECT_EQ(std::vector<UINT8>(Buffer, Buffer + 16), std::vector<UINT8>(16, 0));
  FreePool(Buffer);
  gPoolFails = TRUE;
  EXPECT_EQ(AllocatePool(8), nullptr);
  EXPECT_EQ(AllocateZeroPool(8), nullptr);
  EXPECT_EQ(gPoolTypes,
            (std::vector<EFI_MEMORY_TYPE>{EfiBootServicesData, EfiBootServicesData, EfiBootServicesData}));
}

TEST_F(PlatformLib, ReportStatusCodeExBuildsHeaderAndData) {
  EFI_GUID Caller = {0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};
  const UINT8 Payload[5] = {'a', 'b', 'c', 'd', 0};

  // No protocol yet: the report is dropped.
  EXPECT_EQ(ReportStatusCodeEx(EFI_ERROR_CODE, 0x1234, 7, &Caller, nullptr, Payload, sizeof(Payload)),
            EFI_UNSUPPORTED);
  EXPECT_TRUE(gReports.empty());

  // Installed later: found without re-initialisation.
  gProtocolInstalled = TRUE;
  EXPECT_EQ(ReportStatusCodeEx(EFI_ERROR_CODE, 0x1234, 7, &Caller, nullptr, Payload, sizeof(Payload)),
            EFI_DEVICE_ERROR);
  ASSERT_EQ(gReports.size(), 1u);
  EXPECT_EQ(gReports[0].Type, (EFI_STATUS_CODE_TYPE)EFI_ERROR_CODE);
  EXPECT_EQ(gReports[0].Value, 0x1234u);
  EXPECT_EQ(gReports[0].Instance, 7u);
  EXPECT_EQ(gReports[0].CallerId, &Caller);
  // HeaderSize 20, Size 5, gEfiStatusCodeSpecificDataGuid 335984BD-E805-409A-B8F8-D27ECE5FF7A6, data.
  const std::vector<UINT8> Expected = {20,   0,    5,    0,    0xBD, 0x84, 0x59, 0x33, 0x05,
                                       0xE8, 0x9A, 0x40, 0xB8, 0xF8, 0xD2, 0x7E, 0xCE, 0x5F,
                                       0xF7, 0xA6, 'a',  'b',  'c',  'd',  0};
  EXPECT_EQ(gReports[0].Data, Expected);

  const EFI_GUID Own = {0xAABBCCDD, 0xEEFF, 0x0011, {1, 2, 3, 4, 5, 6, 7, 8}};
  ReportStatusCodeEx(EFI_ERROR_CODE, 1, 0, nullptr, &Own, Payload, 1);
  ASSERT_EQ(gReports.size(), 2u);
  EXPECT_EQ(gReports[1].Data, (std::vector<UINT8>{20,   0, 1, 0, 0xDD, 0xCC, 0xBB, 0xAA, 0xFF, 0xEE, 0x11,
                                                  0x00, 1, 2, 3, 4,    5,    6,    7,    8,    'a'}));

  std::vector<UINT8> Huge(4096, 1);
  EXPECT_EQ(ReportStatusCodeEx(EFI_ERROR_CODE, 1, 0, nullptr, nullptr, Huge.data(), Huge.size()),
            EFI_UNSUPPORTED);
  EXPECT_EQ(gReports.size(), 2u);
}

// A fake ACPI 2.0 tree: RSDP -> XSDT (with a non-MCFG table first) -> MCFG.
struct AcpiTables {
  std::vector<UINT8> Rsdp = std::vector<UINT8>(36, 0);
  std::vector<UINT8> Xsdt = std::vector<UINT8>(36 + 16, 0);
  std::vector<UINT8> Facp = std::vector<UINT8>(36, 0);
  std::vector<UINT8> Mcfg = std::vector<UINT8>(60, 0);

  static void Put32(std::vector<UINT8> &Table, UINTN Offset, UINT32 Value) {
    std::memcpy(&Table[Offset], &Value, 4);
  }
  static void Put64(std::vector<UINT8> &Table, UINTN Offset, UINT64 Value) {
    std::memcpy(&Table[Offset], &Value, 8);
  }

  AcpiTables() {
    std::memcpy(Rsdp.data(), "RSD PTR ", 8);
    Rsdp[15] = 2;
    Put32(Rsdp, 20, 36);
    Put64(Rsdp, 24, reinterpret_cast<UINTN>(Xsdt.data()));
    std::memcpy(Xsdt.data(), "XSDT", 4);
    Put32(Xsdt, 4, (UINT32)Xsdt.size());
    Put64(Xsdt, 36, reinterpret_cast<UINTN>(Facp.data()));
    Put64(Xsdt, 44, reinterpret_cast<UINTN>(Mcfg.data()));
    std::memcpy(Facp.data(), "FACP", 4);
    Put32(Facp, 4, 36);
    std::memcpy(Mcfg.data(), "MCFG", 4);
    Put32(Mcfg, 4, 60);
    Put64(Mcfg, 44, 0xB0000000ULL);
  }
};

TEST_F(PlatformLib, EcamBaseFromMcfg) {
  const EFI_GUID Acpi20 = ACPI_20_TABLE_GUID;
  const EFI_GUID Other = {0x12345678, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
  struct Case {
    const char *Name;
    void (*Break)(AcpiTables &);
    UINT64 Expected;
  };
  const Case Cases[] = {
      {"intact", [](AcpiTables &) {}, 0xB0000000ULL},
      {"RSDP signature", [](AcpiTables &T) { T.Rsdp[0] = 'X'; }, 0},
      {"ACPI 1.0 RSDP", [](AcpiTables &T) { T.Rsdp[15] = 0; }, 0},
      {"no XSDT address", [](AcpiTables &T) { AcpiTables::Put64(T.Rsdp, 24, 0); }, 0},
      {"XSDT signature", [](AcpiTables &T) { T.Xsdt[0] = 'R'; }, 0},
      {"XSDT too short for the MCFG entry", [](AcpiTables &T) { AcpiTables::Put32(T.Xsdt, 4, 44); }, 0},
      {"XSDT shorter than its header", [](AcpiTables &T) { AcpiTables::Put32(T.Xsdt, 4, 10); }, 0},
      {"MCFG too short", [](AcpiTables &T) { AcpiTables::Put32(T.Mcfg, 4, 52); }, 0},
      {"no MCFG", [](AcpiTables &T) { T.Mcfg[0] = 'S'; }, 0},
  };
  for (const Case &C : Cases) {
    AcpiTables Tables;
    C.Break(Tables);
    EFI_CONFIGURATION_TABLE Config[2] = {{Other, nullptr}, {Acpi20, Tables.Rsdp.data()}};
    SystemTable.NumberOfTableEntries = 2;
    SystemTable.ConfigurationTable = Config;
    EXPECT_EQ(PciExpressLibConstructor(), EFI_SUCCESS);
    EXPECT_EQ(PciExpressGetBaseAddress(), C.Expected) << C.Name;
  }

  SystemTable.NumberOfTableEntries = 0;
  SystemTable.ConfigurationTable = nullptr;
  PciExpressLibConstructor();
  EXPECT_EQ(PciExpressGetBaseAddress(), 0u);
  EXPECT_EQ(PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(0, 0, 0, 0)), 0xFFFF);
}

TEST_F(PlatformLib, EcamReadsThroughTheWindow) {
  // The window is 256 MiB; reserve it without touching most of it.
  std::vector<UINT16> Window(PCI_EXPRESS_LIB_ADDRESS(0, 3, 1, 4) / 2 + 1, 0);
  Window[PCI_EXPRESS_LIB_ADDRESS(0, 3, 1, 0) / 2] = 0x8086;
  Window[PCI_EXPRESS_LIB_ADDRESS(0, 3, 1, 2) / 2] = 0x10D3;
  AcpiTables Tables;
  AcpiTables::Put64(Tables.Mcfg, 44, reinterpret_cast<UINTN>(Window.data()));
  const EFI_GUID Acpi20 = ACPI_20_TABLE_GUID;
  EFI_CONFIGURATION_TABLE Config[1] = {{Acpi20, Tables.Rsdp.data()}};
  SystemTable.NumberOfTableEntries = 1;
  SystemTable.ConfigurationTable = Config;
  PciExpressLibConstructor();
  EXPECT_EQ(PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(0, 3, 1, 0)), 0x8086);
  EXPECT_EQ(PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(0, 3, 1, 2)), 0x10D3);
  EXPECT_EQ(PciExpressRead16(0x10000000), 0xFFFF) << "outside the 256 MiB window";
}

} // namespace
