// The contract between the fake platform and our EDK II library subset: what the library finds
// through the fake is what real firmware would give it.
#include "Support/DriverTest.h"

#include <cstring>

extern "C++" {
#include "Library/MemoryAllocationLib.h"
#include "Library/PciExpressLib.h"
#include "Library/ReportStatusCodeLib.h"
}

namespace {

class FakeWithLibraryTest : public DriverTest {};

TEST_F(FakeWithLibraryTest, PciExpressLibraryFindsTheWindowThroughTheAcpiTables) {
  Fw().AddPciFunction(0, 3, 0, 1, 0x10DF, 0xE200);
  ASSERT_EQ(EFI_SUCCESS, PciExpressLibConstructor());
  EXPECT_EQ(Fw().EcamBase(), PciExpressGetBaseAddress());
  EXPECT_EQ(0x10DF, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 0)));
  EXPECT_EQ(0xE200, PciExpressRead16(PCI_EXPRESS_LIB_ADDRESS(3, 0, 1, 2)));
}

TEST_F(FakeWithLibraryTest, LibraryPoolIsTrackedByTheFake) {
  VOID *Block = AllocatePool(40);
  ASSERT_NE(nullptr, Block);
  ASSERT_EQ(1u, Fw().LivePoolBlocks().size());
  EXPECT_EQ(40u, Fw().LivePoolBlocks()[0].Size);
  EXPECT_EQ(EfiBootServicesData, Fw().LivePoolBlocks()[0].Type);
  FreePool(Block);
  EXPECT_TRUE(Fw().LivePoolBlocks().empty());
}

TEST_F(FakeWithLibraryTest, ReportStatusCodeExReachesTheStatusCodeProtocolWithAnEmptyDataHeader) {
  const EFI_GUID Caller = {0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};
  ReportStatusCodeEx(0x80000002, 0x03808010, 0x000500A4, &Caller, nullptr, nullptr, 0);
  const auto Events = Fw().EventsOf(fake::EventKind::StatusCode);
  ASSERT_EQ(1u, Events.size());
  EXPECT_EQ(0x03808010u, Events[0].Value);
  EXPECT_EQ(0x000500A4u, Events[0].Instance);
  EXPECT_TRUE(Events[0].HasStatusData);
  EXPECT_EQ(20, Events[0].DataHeaderSize);
  EXPECT_EQ(0, Events[0].DataSize);
  EXPECT_EQ("335984BD-E805-409A-B8F8-D27ECE5FF7A6", fake::GuidToString(Events[0].DataType));
}

TEST_F(FakeWithLibraryTest, WithoutTheStatusCodeProtocolNothingIsReported) {
  Fw().RemoveStatusCode();
  ReportStatusCodeEx(0x80000002, 0x03808010, 0, nullptr, nullptr, nullptr, 0);
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
}

} // namespace
