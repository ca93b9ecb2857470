// The fake firmware's boot services as the driver depends on them: handle database lookups,
// pool ownership and misuse detection, the variadic ms_abi install.
#include "Support/DriverTest.h"

#include <cstddef>
#include <cstring>

namespace {

EFI_GUID GuidA = {0x11111111, 0x2222, 0x3333, {1, 2, 3, 4, 5, 6, 7, 8}};
EFI_GUID GuidB = {0x44444444, 0x5555, 0x6666, {8, 7, 6, 5, 4, 3, 2, 1}};
EFI_GUID GuidC = {0x77777777, 0x8888, 0x9999, {0, 0, 0, 0, 0, 0, 0, 1}};

class FakeBootServicesTest : public DriverTest {
protected:
  EFI_BOOT_SERVICES *Bs() { return Fw().SystemTable()->BootServices; }
  int InterfaceA = 1, InterfaceB = 2;
};

TEST_F(FakeBootServicesTest, VariadicInstallIsAllOrNothingAndUninstallRemovesTheEmptyHandle) {
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Bs()->InstallMultipleProtocolInterfaces(&Handle, &GuidA, &InterfaceA, nullptr));
  // GuidB is new but GuidA is on the handle already: neither may be installed.
  EXPECT_EQ(EFI_INVALID_PARAMETER, Bs()->InstallMultipleProtocolInterfaces(&Handle, &GuidB, &InterfaceB,
                                                                           &GuidA, &InterfaceB, nullptr));
  EXPECT_EQ(1u, Fw().ProtocolsOn(Handle).size());
  ASSERT_EQ(EFI_SUCCESS, Bs()->InstallMultipleProtocolInterfaces(&Handle, &GuidB, &InterfaceB, nullptr));
  // A wrong interface leaves everything in place.
  EXPECT_EQ(EFI_INVALID_PARAMETER,
            Bs()->UninstallMultipleProtocolInterfaces(Handle, &GuidA, &InterfaceB, nullptr));
  EXPECT_EQ(2u, Fw().ProtocolsOn(Handle).size());
  EXPECT_EQ(EFI_SUCCESS, Bs()->UninstallMultipleProtocolInterfaces(Handle, &GuidA, &InterfaceA, &GuidB,
                                                                   &InterfaceB, nullptr));
  EXPECT_FALSE(Fw().HandleExists(Handle));
}

TEST_F(FakeBootServicesTest, HandleProtocolAnswersLikeFirmware) {
  EFI_HANDLE Handle = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Bs()->InstallProtocolInterface(&Handle, &GuidA, EFI_NATIVE_INTERFACE, &InterfaceA));
  EXPECT_EQ(EFI_INVALID_PARAMETER,
            Bs()->InstallProtocolInterface(&Handle, &GuidA, EFI_NATIVE_INTERFACE, &InterfaceB));
  int NotAHandle = 0;
  struct Case {
    EFI_HANDLE Handle;
    EFI_GUID *Guid;
    EFI_STATUS Expected;
  } Cases[] = {
      {Handle, &GuidA, EFI_SUCCESS},
      {Handle, &GuidC, EFI_UNSUPPORTED},
      {nullptr, &GuidA, EFI_INVALID_PARAMETER},
      {&NotAHandle, &GuidA, EFI_INVALID_PARAMETER},
      {Handle, nullptr, EFI_INVALID_PARAMETER},
  };
  for (const Case &C : Cases) {
    VOID *Found = &NotAHandle;
    EXPECT_EQ(C.Expected, Bs()->HandleProtocol(C.Handle, C.Guid, &Found));
    EXPECT_EQ(C.Expected == EFI_SUCCESS ? static_cast<VOID *>(&InterfaceA) : nullptr, Found);
  }
}

TEST_F(FakeBootServicesTest, LocateFindsHandlesInInstallOrderAndListsArePoolTheCallerOwns) {
  VOID *Found = &InterfaceA;
  EXPECT_EQ(EFI_NOT_FOUND, Bs()->LocateProtocol(&GuidC, nullptr, &Found));
  EXPECT_EQ(nullptr, Found);
  EFI_HANDLE First = nullptr, Second = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Fw().InstallProtocol(&First, GuidC, &InterfaceA));
  ASSERT_EQ(EFI_SUCCESS, Fw().InstallProtocol(&Second, GuidC, &InterfaceB));
  ASSERT_EQ(EFI_SUCCESS, Fw().InstallProtocol(&Second, GuidA, &InterfaceB));
  EXPECT_EQ(EFI_SUCCESS, Bs()->LocateProtocol(&GuidC, nullptr, &Found));
  EXPECT_EQ(&InterfaceA, Found);

  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Bs()->LocateHandleBuffer(ByProtocol, &GuidC, nullptr, &Count, &Handles));
  ASSERT_EQ(2u, Count);
  EXPECT_EQ(First, Handles[0]);
  EXPECT_EQ(Second, Handles[1]);
  EXPECT_EQ(EFI_SUCCESS, Bs()->FreePool(Handles));

  EFI_GUID **Guids = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Bs()->ProtocolsPerHandle(Second, &Guids, &Count));
  ASSERT_EQ(2u, Count);
  EXPECT_EQ(0, std::memcmp(Guids[0], &GuidC, sizeof(EFI_GUID)));
  EXPECT_EQ(0, std::memcmp(Guids[1], &GuidA, sizeof(EFI_GUID)));
  const auto Live = Fw().LivePoolBlocks();
  ASSERT_EQ(1u, Live.size());
  EXPECT_EQ(static_cast<void *>(Guids), Live[0].Address);
  EXPECT_EQ(2 * sizeof(EFI_GUID *), Live[0].Size);
  EXPECT_EQ(EfiBootServicesData, Live[0].Type);
  EXPECT_EQ(EFI_SUCCESS, Bs()->FreePool(Guids));
  EXPECT_TRUE(Fw().LivePoolBlocks().empty());
  int Bogus = 0;
  EXPECT_EQ(EFI_INVALID_PARAMETER, Bs()->ProtocolsPerHandle(&Bogus, &Guids, &Count));
}

TEST_F(FakeBootServicesTest, PoolMisuseAndInjectedFailuresAreRecognised) {
  Fw().FailNextAllocations(2);
  VOID *Block = &InterfaceA;
  EXPECT_EQ(EFI_OUT_OF_RESOURCES, Bs()->AllocatePool(EfiBootServicesData, 8, &Block));
  EXPECT_EQ(nullptr, Block);
  EFI_GUID **Guids = nullptr;
  UINTN Count = 0;
  EXPECT_EQ(EFI_OUT_OF_RESOURCES, Bs()->ProtocolsPerHandle(Fw().ImageHandle(), &Guids, &Count));

  ASSERT_EQ(EFI_SUCCESS, Bs()->AllocatePool(EfiBootServicesData, 32, &Block));
  EXPECT_EQ(EFI_SUCCESS, Bs()->FreePool(Block));
  EXPECT_EQ(EFI_INVALID_PARAMETER, Bs()->FreePool(Block));
  int NotPool = 0;
  EXPECT_EQ(EFI_INVALID_PARAMETER, Bs()->FreePool(&NotPool));
  ASSERT_EQ(1u, Fw().DoubleFrees().size());
  EXPECT_EQ(Block, Fw().DoubleFrees()[0]);
  ASSERT_EQ(1u, Fw().InvalidFrees().size());
  EXPECT_EQ(static_cast<void *>(&NotPool), Fw().InvalidFrees()[0]);
  AllowBadFrees(); // provoked on purpose

  // A block left allocated is still live when the test ends; the fake releases it.
  ASSERT_EQ(EFI_SUCCESS, Bs()->AllocatePool(EfiBootServicesData, 8, &Block));
  EXPECT_EQ(1u, Fw().LivePoolBlocks().size());
  AllowPoolLeaks();
}

TEST_F(FakeBootServicesTest, ServicesTheFakeDoesNotOfferAreRecordedNotNull) {
  AllowUnexpectedCalls();
  EXPECT_EQ(EFI_UNSUPPORTED, Bs()->Stall(10));
  Bs()->RestoreTPL(4);
  EXPECT_EQ((std::vector<std::string>{"BootServices.Stall", "BootServices.RestoreTPL"}),
            Fw().UnexpectedCalls());
}

// A NULL slot would crash the driver instead of failing a test.
TEST_F(FakeBootServicesTest, NoServiceSlotIsNull) {
  EFI_PCI_IO_PROTOCOL *PciIo = static_cast<EFI_PCI_IO_PROTOCOL *>(
      Fw().FindProtocol(Fw().AddPciFunction(0, 1, 0, 0, 0x8086, 0x10D3), EFI_GUID(EFI_PCI_IO_PROTOCOL_GUID)));
  ASSERT_NE(nullptr, PciIo);
  struct Table {
    const char *Name;
    const void *Start;
    size_t First, End; // byte offsets of the function pointers
  } Tables[] = {
      {"boot services", Fw().BootServices(), sizeof(EFI_TABLE_HEADER), sizeof(EFI_BOOT_SERVICES)},
      {"runtime services", Fw().RuntimeServices(), sizeof(EFI_TABLE_HEADER), sizeof(EFI_RUNTIME_SERVICES)},
      {"PCI I/O", PciIo, 0, offsetof(EFI_PCI_IO_PROTOCOL, RomSize)},
  };
  for (const Table &T : Tables) {
    for (size_t Offset = T.First; Offset + sizeof(void *) <= T.End; Offset += sizeof(void *)) {
      void *Slot = nullptr;
      std::memcpy(&Slot, reinterpret_cast<const uint8_t *>(T.Start) + Offset, sizeof(void *));
      EXPECT_NE(nullptr, Slot) << T.Name << " at byte " << Offset;
    }
  }
}

} // namespace
