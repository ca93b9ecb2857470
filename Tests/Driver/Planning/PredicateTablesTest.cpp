// Loading the platform's configuration tables, the policy switch and the restart notice.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

class PredicateTablesTest : public PredicateTest {
protected:
  void FillTablesWithStaleData() {
    std::memset(&mModule.mNaloHeader, 0x5A, sizeof(mModule.mNaloHeader));
    std::memset(&mModule.mNaloPortTable, 0x5A, sizeof(mModule.mNaloPortTable));
    std::memset(mModule.mNaloAddressTable, 0x5A, sizeof(mModule.mNaloAddressTable));
    std::memset(mModule.mNaloBootTable, 0x5A, sizeof(mModule.mNaloBootTable));
  }
  static bool AllZero(const void *Data, size_t Size) {
    const auto *Bytes = static_cast<const UINT8 *>(Data);
    for (size_t Index = 0; Index < Size; Index++) {
      if (Bytes[Index] != 0) {
        return false;
      }
    }
    return true;
  }
  bool TablesZero() const {
    return AllZero(&mModule.mNaloHeader, 24) && AllZero(&mModule.mNaloPortTable, 648) &&
           AllZero(mModule.mNaloAddressTable, 512) && AllZero(mModule.mNaloBootTable, 3328);
  }
};

TEST_F(PredicateTablesTest, LoadWithoutPlatformFlag6ZeroesTablesAndAsksNothing) {
  FillTablesWithStaleData();
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_UNSUPPORTED);
  EXPECT_TRUE(TablesZero());
  EXPECT_EQ(PlatformState.GetPortCalls, 0);
}

TEST_F(PredicateTablesTest, LoadPassesTheRecordIndicesAndKeepsThePlatformsTables) {
  FillTablesWithStaleData();
  S->PlatformFlags = PLATFORM_FLAG_6;
  S->NaloIndex = 7;
  S->CardIndex = 2;
  S->PortIndex = 1;
  PlatformState.HeaderToGive.PortTableValid = 1;
  PlatformState.PortTableToGive.DesiredFunctionCount = 4;
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_SUCCESS);
  EXPECT_EQ(PlatformState.GetPortCalls, 1);
  EXPECT_EQ(PlatformState.GetPortArgs[0], 7);
  EXPECT_EQ(PlatformState.GetPortArgs[1], 2);
  EXPECT_EQ(PlatformState.GetPortArgs[2], 1);
  EXPECT_EQ(mModule.mNaloHeader.PortTableValid, 1);
  EXPECT_EQ(mModule.mNaloPortTable.DesiredFunctionCount, 4);
  EXPECT_EQ(mModule.mNaloAddressTable[3].Enabled, 1);
  EXPECT_EQ(mModule.mNaloBootTable[15].Enabled, 1);
  // Stale bytes of the previous controller are gone where the platform wrote nothing.
  EXPECT_EQ(mModule.mNaloAddressTable[0].Enabled, 0);
  EXPECT_EQ(mModule.mNaloBootTable[0].Enabled, 0);
}

TEST_F(PredicateTablesTest, FailedLoadLeavesNoHalfWrittenTables) {
  S->PlatformFlags = PLATFORM_FLAG_6;
  PlatformState.HeaderToGive.PortTableValid = 1;
  PlatformState.GetPortStatus = EFI_DEVICE_ERROR;
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_DEVICE_ERROR);
  EXPECT_TRUE(TablesZero());
}

TEST_F(PredicateTablesTest, LoadWithoutProtocolReturnsTheLookupFailure) {
  FillTablesWithStaleData();
  S->PlatformFlags = PLATFORM_FLAG_6;
  PlatformState.NaloPresent = false;
  EXPECT_EQ(LoadNaloConfiguration(S), EFI_NOT_FOUND);
  EXPECT_TRUE(TablesZero());
  EXPECT_EQ(mModule.mNaloConfig, nullptr);
}

TEST_F(PredicateTablesTest, LocateUsesTheKnownInterfaceWithoutBootServices) {
  mModule.mNaloConfig = &gFakeNalo;
  gBS = nullptr;
  EXPECT_EQ(LocateNaloConfig(), EFI_SUCCESS);
  PlatformState.QueryAnswer[1] = TRUE;
  EXPECT_TRUE(QueryDefaults(1));
  EXPECT_EQ(PlatformState.QueryCalls[1], 1);
}

TEST_F(PredicateTablesTest, MissingProtocolIsRetriedAndNeverCalled) {
  PlatformState.NaloPresent = false;
  PlatformState.QueryAnswer[0] = TRUE;
  EXPECT_FALSE(QueryDefaults(0));
  NotifyRestartOnce();
  EXPECT_EQ(PlatformState.QueryCalls[0], 0);
  EXPECT_EQ(PlatformState.NotifyCalls, 0);
  EXPECT_EQ(mModule.mAdapterNotified, 0);
  // The platform driver arrives later in the boot: the next use finds it.
  PlatformState.NaloPresent = true;
  EXPECT_TRUE(QueryDefaults(0));
  EXPECT_EQ(mModule.mNaloConfig, &gFakeNalo);
}

TEST_F(PredicateTablesTest, RestartIsNotifiedAtMostOnce) {
  for (int Call = 0; Call < 3; Call++) {
    NotifyRestartOnce();
  }
  EXPECT_EQ(PlatformState.NotifyCalls, 1);
  EXPECT_EQ(mModule.mAdapterNotified, 1);
}

TEST_F(PredicateTablesTest, ForceAdapterEnableIsRetriedUntilReadThenCached) {
  mModule.mPlatformPolicyRead = FALSE;
  EXPECT_EQ(GetForceAdapterEnable(), 0);
  EXPECT_EQ(GetForceAdapterEnable(), 0);
  EXPECT_EQ(PlatformState.PolicyLocateCalls, 2);

  PlatformState.PolicyPresent = true;
  PlatformState.PolicyStatus = EFI_NOT_READY;
  EXPECT_EQ(GetForceAdapterEnable(), 0);
  EXPECT_FALSE(mModule.mPlatformPolicyRead);

  PlatformState.PolicyStatus = EFI_SUCCESS;
  PlatformState.PolicyByte2 = 1;
  EXPECT_EQ(GetForceAdapterEnable(), 1);
  PlatformState.PolicyByte2 = 0;
  EXPECT_EQ(GetForceAdapterEnable(), 1);
  EXPECT_EQ(PlatformState.GetPolicyCalls, 2);
  EXPECT_EQ(mModule.mPlatformPolicyRecord[2], 1);
}

TEST_F(PredicateTablesTest, EntrySelectionStaysInsideTheTables) {
  SelectNaloEntries(15);
  EXPECT_EQ(mModule.mCurFunctionEntry, &mModule.mNaloPortTable.Function[15]);
  EXPECT_EQ(mModule.mCurAddressEntry, &mModule.mNaloAddressTable[15]);
  EXPECT_EQ(mModule.mCurBootEntry, &mModule.mNaloBootTable[15]);
  SelectNaloEntries(16);
  EXPECT_EQ(mModule.mCurFunctionEntry, nullptr);
  EXPECT_EQ(mModule.mCurAddressEntry, nullptr);
  EXPECT_EQ(mModule.mCurBootEntry, nullptr);
}

} // namespace
} // namespace predicate_test
