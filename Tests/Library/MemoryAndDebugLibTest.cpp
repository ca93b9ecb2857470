#include <gtest/gtest.h>

#include <cstring>

#include "Library/BaseMemoryLib.h"
#include "Library/DebugLib.h"
#include "Library/HostHooks.h"
#include "Library/MemoryAllocationLib.h"
#include "Library/SerialPortLib.h"
#include "Library/UefiBootServicesTableLib.h"
#include "Library/UefiRuntimeServicesTableLib.h"
#include "LibraryTestSupport.h"

using namespace LibraryTest;

namespace {

TEST(CopyMem, OverlappingBuffersBothDirections) {
  UINT8 Forward[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  CopyMem(Forward + 2, Forward, 5);
  EXPECT_EQ(std::vector<UINT8>(Forward, Forward + 8), (std::vector<UINT8>{1, 2, 1, 2, 3, 4, 5, 8}));
  UINT8 Backward[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  CopyMem(Backward, Backward + 3, 5);
  EXPECT_EQ(std::vector<UINT8>(Backward, Backward + 8), (std::vector<UINT8>{4, 5, 6, 7, 8, 6, 7, 8}));
}

// An unaligned head, whole words and a tail; the value's bytes differ from the fill around them.
TEST(SetMem, HeadWordsAndTailStayInsideTheRange) {
  const struct {
    UINTN Offset;
    UINTN Length;
  } Cases[] = {{1, 2}, {3, 20}, {8, 8}, {5, 0}};
  for (const auto &C : Cases) {
    alignas(8) UINT8 Buffer[32];
    std::memset(Buffer, 0x11, sizeof(Buffer));
    EXPECT_EQ(SetMem(Buffer + C.Offset, C.Length, 0xA5), Buffer + C.Offset);
    for (UINTN Index = 0; Index < sizeof(Buffer); Index++) {
      const bool Inside = Index >= C.Offset && Index < C.Offset + C.Length;
      EXPECT_EQ(Buffer[Index], Inside ? 0xA5 : 0x11) << C.Offset << "+" << C.Length << " at " << Index;
    }
  }
}

TEST(CompareMem, UnsignedOrderAndGuids) {
  const UINT8 Low[2] = {1, 0x01};
  const UINT8 High[2] = {1, 0xF0};
  EXPECT_LT(CompareMem(Low, High, 2), 0);
  EXPECT_GT(CompareMem(High, Low, 2), 0);
  EXPECT_EQ(CompareMem(Low, High, 1), 0);
  EXPECT_EQ(CompareMem(Low, High, 0), 0);
  EFI_GUID First = {0x335984bd, 0xe805, 0x409a, {0xb8, 0xf8, 0xd2, 0x7e, 0xce, 0x5f, 0xf7, 0xa6}};
  EFI_GUID Second = {};
  EXPECT_EQ(CopyGuid(&Second, &First), &Second);
  EXPECT_TRUE(CompareGuid(&First, &Second));
  Second.Data4[7] ^= 1;
  EXPECT_FALSE(CompareGuid(&First, &Second));
}

// A NULL buffer asserts only where bytes would be read or written through it.
TEST(MemoryLib, NullBuffersAssertOnlyWithALength) {
  UINT8 Byte = 1;
  EFI_GUID Guid = {};
  ExpectAsserts Expect;
  CopyMem(nullptr, &Byte, 0);
  CopyMem(&Byte, nullptr, 0);
  SetMem(nullptr, 0, 0);
  CompareMem(nullptr, &Byte, 0);
  EXPECT_EQ(Expect.Records().size(), 0u);
  CopyMem(nullptr, &Byte, 1);
  CopyMem(&Byte, nullptr, 1);
  SetMem(nullptr, 1, 0);
  EXPECT_EQ(CompareMem(&Byte, nullptr, 1), 0);
  EXPECT_FALSE(CompareGuid(nullptr, &Guid));
  EXPECT_FALSE(CompareGuid(&Guid, nullptr));
  EXPECT_EQ(Expect.Records().size(), 6u);
  EXPECT_EQ(Byte, 1);
}

// Without a system table the table libraries and the pool routines assert, and nothing is called
// through a missing table.
TEST(TableLibs, MissingTablesAssert) {
  const EFI_HANDLE SavedImage = gImageHandle;
  EFI_SYSTEM_TABLE *const SavedSt = gST;
  EFI_BOOT_SERVICES *const SavedBs = gBS;
  EFI_RUNTIME_SERVICES *const SavedRt = gRT;
  UINT8 Byte = 0;
  {
    ExpectAsserts Expect;
    UefiBootServicesTableLibConstructor(nullptr, nullptr);
    UefiRuntimeServicesTableLibConstructor(nullptr, nullptr);
    EXPECT_EQ(Expect.Records().size(), 5u);
    EXPECT_EQ(AllocatePool(4), nullptr);
    FreePool(&Byte);
    FreePool(nullptr);
    EXPECT_EQ(Expect.Records().size(), 9u);
  }
  gImageHandle = SavedImage;
  gST = SavedSt;
  gBS = SavedBs;
  gRT = SavedRt;
}

TEST(DebugPrint, PrintsOnlyLevelsInTheMaskAndCutsLongMessages) {
  CaptureSerial Serial;
  DEBUG((DEBUG_INFO, "info %d\n", 1));
  DEBUG((DEBUG_ERROR, "error %d\n", 2));
  DEBUG((DEBUG_WARN, "warn\n"));
  DEBUG((DEBUG_INIT, "init\n"));
  EXPECT_EQ(Serial.Text(), "error 2\r\nwarn\r\n");
  std::string Long(600, 'z');
  DEBUG((DEBUG_ERROR, "%a", A(Long.c_str())));
  EXPECT_EQ(Serial.Text(), "error 2\r\nwarn\r\n" + std::string(255, 'z'));
  EXPECT_EQ(SerialPortWrite(nullptr, 5), 0u);
}

TEST(DebugAssert, PrintsFileLineAndDescriptionThenCallsHandler) {
  CaptureSerial Serial;
  ExpectAsserts Expect;
  DebugAssert("HxStringLib", 4096, "0");
  EXPECT_EQ(Serial.Text(), "ASSERT HxStringLib(4096): 0\r\n");
  ASSERT_EQ(Expect.Records().size(), 1u);
  EXPECT_EQ(Expect.Records()[0].File, "HxStringLib");
  EXPECT_EQ(Expect.Records()[0].Line, 4096u);
  EXPECT_EQ(Expect.Records()[0].Description, "0");
  DebugAssert("F", 10, "x");
  DebugAssert("F", 18446744073709551615ULL, "x");
  DebugAssert(nullptr, 3, nullptr);
  EXPECT_EQ(Serial.Text(), "ASSERT HxStringLib(4096): 0\r\nASSERT F(10): x\r\nASSERT "
                           "F(18446744073709551615): x\r\nASSERT <null string>(3): <null string>\r\n");
}

// Without a handler the report goes to stderr and the process stops, as a dead loop would not.
TEST(DebugAssertDeathTest, WithoutAHandlerTheProcessStops) {
  EXPECT_DEATH(
      {
        HostSetAssertHandler(nullptr);
        DebugAssert("Lib", 12, "x != 0");
      },
      "ASSERT Lib\\(12\\): x != 0");
}

// The report shares the 255 characters of a debug message.
TEST(DebugAssert, LongReportIsCutLikeADebugMessage) {
  CaptureSerial Serial;
  ExpectAsserts Expect;
  const std::string Long(600, 'z');
  DebugAssert("F", 1, Long.c_str());
  EXPECT_EQ(Serial.Text(), "ASSERT F(1): " + std::string(255 - 13, 'z'));
}

} // namespace
