// Fibre Channel boot targets, link speed, topology and the iSCSI codes.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

class PredicateBootTargetsTest : public PredicateTest {
protected:
  void SetUp() override {
    PredicateTest::SetUp();
    mModule.mNaloHeader.BootTableValid = 1;
    NALO_BOOT_ENTRY &Entry = mModule.mNaloBootTable[0];
    Entry.Enabled = 1;
    Entry.Target1Wwpn = ASTR(Target1);
    Entry.Target2Wwpn = ASTR(Target2);
    Entry.Target1Lun = ASTR(Lun1);
    Entry.Target2Lun = ASTR(Lun2);
    Entry.FcLinkSpeed = ASTR(Speed);
    Entry.FcTopology = ASTR(Topology);
    Entry.InitiatorOrigin = &InitiatorOrigin;
    Entry.TargetOrigin = &TargetOrigin;
    Entry.AuthMethod = &AuthMethod;
  }
  char Target1[20] = "50060E8012345678XY";
  char Target2[17] = "50060E8087654321";
  char Lun1[6] = "00015";
  char Lun2[3] = "02";
  char Speed[5] = "1600";
  char Topology[4] = "P2P";
  UINT8 InitiatorOrigin = 1;
  UINT8 TargetOrigin = 1;
  UINT8 AuthMethod = 2;
};

struct FcCase {
  UINT32 Code;
  UINT16 Vendor;
  size_t Offset;
  const char *Expected;
};

const FcCase kFcCases[] = {
    {SET_PF_TAR_WWPN1, 0x10DF, 0x374, "50060E8012345678"},
    {SET_PF_TAR_WWPN2, 0x10DF, 0x385, "50060E8087654321"},
    {SET_PF_TAR_LUN1, 0x10DF, 0x396, "0001"},
    {SET_PF_TAR_LUN2, 0x10DF, 0x39B, "02"},
    {SET_LINK_SPEED, 0x10DF, 0x3A0, "1600"},
    {SET_LINK_SPEED, 0x1077, 0x3A0, "16"},
    {SET_TOPOLOGY, 0x10DF, 0x3A5, "P2"},
};

TEST_F(PredicateBootTargetsTest, UsableBootEntryPlansAndCopiesEachFcSetting) {
  for (const FcCase &Case : kFcCases) {
    SCOPED_TRACE(Case.Code);
    SetUp();
    SetDevice(Case.Vendor, 0x2261);
    CHAR8 *Field = reinterpret_cast<CHAR8 *>(S) + Case.Offset;
    std::memset(Field, 'Z', 4);
    EXPECT_TRUE(Plan(Case.Code));
    EXPECT_EQ(Planned(), Codes{static_cast<INT32>(Case.Code)});
    EXPECT_EQ(Text(Field), Case.Expected);
  }
}

TEST_F(PredicateBootTargetsTest, FcSettingsNeedAUsableEntryAndAValue) {
  for (UINT32 Code = SET_PF_TAR_WWPN1; Code <= SET_TOPOLOGY; Code++) {
    SCOPED_TRACE(Code);
    SetUp();
    mModule.mNaloBootTable[0].Enabled = 0;
    EXPECT_FALSE(Plan(Code));
    SetUp();
    mModule.mNaloHeader.BootTableValid = 0;
    EXPECT_FALSE(Plan(Code));
    SetUp();
    mModule.mCurBootEntry = nullptr;
    EXPECT_FALSE(Plan(Code));
  }
  SetUp();
  mModule.mNaloBootTable[0].FcLinkSpeed = nullptr;
  mModule.mNaloBootTable[0].Target2Lun = nullptr;
  EXPECT_FALSE(Plan(SET_LINK_SPEED));
  EXPECT_FALSE(Plan(SET_PF_TAR_LUN2));
  EXPECT_TRUE(Plan(SET_TOPOLOGY));
}

struct IscsiCase {
  const char *Name;
  UINT8 InitiatorOrigin;
  UINT8 TargetOrigin;
  UINT8 AuthMethod;
  Codes Expected;
};

const IscsiCase kIscsiCases[] = {
    {"AllStaticMutualChap", 1, 1, 2, {30, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43}},
    {"DhcpNoAuth", 0, 2, 0, {30, 35, 40}},
    {"StaticInitiatorChap", 1, 0, 1, {30, 32, 33, 34, 35, 40, 41, 42}},
    {"StaticTargetUnknownAuth", 0, 1, 3, {30, 35, 36, 37, 38, 39, 40}},
};

TEST_F(PredicateBootTargetsTest, IscsiCodesFollowOriginsAndAuthMethod) {
  for (const IscsiCase &Case : kIscsiCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    InitiatorOrigin = Case.InitiatorOrigin;
    TargetOrigin = Case.TargetOrigin;
    AuthMethod = Case.AuthMethod;
    for (UINT32 Code = SET_ISCSI_INI_ADDR_ORIGIN; Code <= SET_ISCSI_TAR_MUT_CHAP_SECRET; Code++) {
      if (Code != SET_ISCSI_INI_NAME) {
        Plan(Code);
      }
    }
    EXPECT_EQ(Planned(), Case.Expected);
  }
}

TEST_F(PredicateBootTargetsTest, IscsiCodesNeedUsableEntryAndSelectors) {
  mModule.mNaloBootTable[0].Enabled = 0;
  for (UINT32 Code = SET_ISCSI_INI_ADDR_ORIGIN; Code <= SET_ISCSI_TAR_MUT_CHAP_SECRET; Code++) {
    if (Code != SET_ISCSI_INI_NAME) {
      EXPECT_FALSE(Plan(Code)) << Code;
    }
  }
  SetUp();
  mModule.mNaloBootTable[0].InitiatorOrigin = nullptr;
  mModule.mNaloBootTable[0].TargetOrigin = nullptr;
  mModule.mNaloBootTable[0].AuthMethod = nullptr;
  for (UINT32 Code : {32u, 33u, 34u, 36u, 37u, 38u, 39u, 41u, 42u, 43u}) {
    EXPECT_FALSE(Plan(Code)) << Code;
  }
  EXPECT_TRUE(Plan(SET_ISCSI_TAR_AUTH_METHOD));
}

TEST_F(PredicateBootTargetsTest, InitiatorNameIsComparedAndCopiedBounded) {
  std::string Long(300, 'q');
  Long.replace(0, 4, "iqn.");
  mModule.mNaloBootTable[0].Enabled = 0; // the name does not depend on the function's entry
  mModule.mNaloHeader.InitiatorName = ASTR(Long.data());
  std::memset(S->IscsiInitiatorName, 'x', sizeof(S->IscsiInitiatorName));
  EXPECT_TRUE(Plan(SET_ISCSI_INI_NAME));
  EXPECT_EQ(Text(S->IscsiInitiatorName), Long.substr(0, 254));
  EXPECT_EQ(mModule.mScanLength, 254u);
  EXPECT_EQ(S->Reserved477[0], 0); // nothing written behind the field

  std::string Same = "iqn.2001-04.com.example:host";
  mModule.mNaloHeader.InitiatorName = ASTR(Same.data());
  SetText(S->IscsiInitiatorName, Same.c_str());
  Count = 0;
  EXPECT_FALSE(Plan(SET_ISCSI_INI_NAME));

  mModule.mNaloHeader.InitiatorName = nullptr;
  EXPECT_FALSE(Plan(SET_ISCSI_INI_NAME));
  mModule.mNaloHeader.InitiatorName = ASTR(Long.data());
  mModule.mNaloHeader.BootTableValid = 0;
  EXPECT_FALSE(Plan(SET_ISCSI_INI_NAME));
}

} // namespace
} // namespace predicate_test
