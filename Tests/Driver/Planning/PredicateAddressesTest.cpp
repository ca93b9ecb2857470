// Virtual MAC, WWNN and WWPN decisions.
#include "PredicateFixture.h"

namespace predicate_test {
namespace {

class PredicateAddressesTest : public PredicateTest {
protected:
  void SetUp() override {
    PredicateTest::SetUp();
    mModule.mNaloHeader.AddressTableValid = 1;
    mModule.mNaloAddressTable[0].Enabled = 1;
    mModule.mNaloAddressTable[0].Mac = Mac;
    mModule.mNaloAddressTable[0].Wwnn = ASTR(Wwnn);
    mModule.mNaloAddressTable[0].Wwpn = ASTR(Wwpn);
  }

public:
  UINT8 Mac[6] = {0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C};
  char Wwnn[17] = "20000090fa1b2c3d";
  char Wwpn[17] = "10000090FA1B2C3D";
};

TEST_F(PredicateAddressesTest, DifferentMacIsPlannedAndRecorded) {
  SetText(S->CurrentAddressText[0], "001B210AFF3D");
  EXPECT_TRUE(Plan(SET_PF_MAC));
  EXPECT_EQ(Planned(), Codes{SET_PF_MAC});
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3C");
  EXPECT_EQ(std::memcmp(S->CurrentAddress[0], Mac, 6), 0);
  // Now current: a second decision plans nothing.
  EXPECT_FALSE(Plan(SET_PF_MAC));
}

TEST_F(PredicateAddressesTest, MacIsNotPlannedWithoutAUsableWish) {
  struct {
    const char *Name;
    void (*Break)(PredicateAddressesTest *);
  } const Cases[] = {
      {"AllZeroMac", [](PredicateAddressesTest *T) { std::memset(T->Mac, 0, 6); }},
      {"TableInvalid", [](PredicateAddressesTest *) { mModule.mNaloHeader.AddressTableValid = 0; }},
      {"EntryDisabled", [](PredicateAddressesTest *) { mModule.mNaloAddressTable[0].Enabled = 0; }},
      {"NullMac", [](PredicateAddressesTest *) { mModule.mNaloAddressTable[0].Mac = nullptr; }},
      {"NoEntry", [](PredicateAddressesTest *) { mModule.mCurAddressEntry = nullptr; }},
  };
  for (const auto &Case : Cases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    SetText(S->CurrentAddressText[0], "001B210AFF3D");
    Case.Break(this);
    EXPECT_FALSE(Plan(SET_PF_MAC));
    EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3D");
  }
}

struct NameCase {
  const char *Name;
  UINT32 Code;
  UINT32 PfType;
  UINTN Slot;
  const char *Expected;
  UINT8 Bytes[8];
};

const NameCase kNameCases[] = {
    {"FcWwnn",
     SET_PF_WWNN,
     PF_TYPE_FC,
     0,
     "20000090FA1B2C3D",
     {0x20, 0x00, 0x00, 0x90, 0xFA, 0x1B, 0x2C, 0x3D}},
    {"FcWwpn",
     SET_PF_WWPN,
     PF_TYPE_FC,
     1,
     "10000090FA1B2C3D",
     {0x10, 0x00, 0x00, 0x90, 0xFA, 0x1B, 0x2C, 0x3D}},
    {"FcoeWwnn",
     SET_PF_WWNN,
     PF_TYPE_FCOE,
     1,
     "20000090FA1B2C3D",
     {0x20, 0x00, 0x00, 0x90, 0xFA, 0x1B, 0x2C, 0x3D}},
    {"FcoeWwpn",
     SET_PF_WWPN,
     PF_TYPE_FCOE,
     2,
     "10000090FA1B2C3D",
     {0x10, 0x00, 0x00, 0x90, 0xFA, 0x1B, 0x2C, 0x3D}},
};

TEST_F(PredicateAddressesTest, NamesGoToTheSlotOfTheFunctionTypeInTextOrder) {
  for (const NameCase &Case : kNameCases) {
    SCOPED_TRACE(Case.Name);
    SetUp();
    S->PfType = Case.PfType;
    for (UINTN Slot = 0; Slot < 3; Slot++) {
      SetText(S->CurrentAddressText[Slot], "0000000000000000");
    }
    EXPECT_TRUE(Plan(Case.Code));
    EXPECT_EQ(Planned(), Codes{static_cast<INT32>(Case.Code)});
    EXPECT_EQ(Text(S->CurrentAddressText[Case.Slot]), Case.Expected);
    EXPECT_EQ(std::memcmp(S->CurrentAddress[Case.Slot], Case.Bytes, 8), 0);
    for (UINTN Slot = 0; Slot < 3; Slot++) {
      if (Slot != Case.Slot) {
        EXPECT_EQ(Text(S->CurrentAddressText[Slot]), "0000000000000000") << Slot;
      }
    }
  }
}

TEST_F(PredicateAddressesTest, LowerCaseWishEqualsUpperCaseCurrent) {
  S->PfType = PF_TYPE_FC;
  SetText(S->CurrentAddressText[0], "20000090FA1B2C3D");
  EXPECT_FALSE(Plan(SET_PF_WWNN));
  EXPECT_EQ(Count, 0u);
}

TEST_F(PredicateAddressesTest, MissingNamesPlanNothing) {
  mModule.mNaloAddressTable[0].Wwnn = nullptr;
  mModule.mNaloAddressTable[0].Wwpn = nullptr;
  EXPECT_FALSE(Plan(SET_PF_WWNN));
  EXPECT_FALSE(Plan(SET_PF_WWPN));
  mModule.mNaloAddressTable[0].Wwnn = ASTR(Wwnn);
  mModule.mNaloAddressTable[0].Enabled = 0;
  EXPECT_FALSE(Plan(SET_PF_WWNN));
}

} // namespace
} // namespace predicate_test
