// The planning predicate, code by code: when each SET code is planned and what it records, what a
// missing or NULL wish prevents, and the bounds of the command list and of the 16-entry tables.
#include "ModuleState.h"
#include "PlanningFixture.h"
#include "Planning/PredicateInternal.h"

namespace {

NALO_CONFIG_HEADER &Hdr = mModule.Tables.mNaloHeader;
NALO_PORT_TABLE &Tbl = mModule.Tables.mNaloPortTable;
NALO_BOOT_ENTRY &Boot0 = mModule.Tables.mNaloBootTable[0];
NALO_ADDRESS_ENTRY &Addr0 = mModule.Tables.mNaloAddressTable[0];

// A platform that wishes everything: all tables valid, function 0 with every entry and pointer
// and SR-IOV, a partitioned port with a further NIC function. The single-port function reports
// nothing; its port's second function reads FCoE.
class PredicateTest : public PlanningTest {
public:
  void Fresh() override {
    PlanningTest::Fresh();
    Hdr.PortTableValid = Hdr.AddressTableValid = Hdr.BootTableValid = Hdr.SriovValid = 1;
    Hdr.InitiatorName = ASTR(Initiator);
    Tbl.DesiredPortEnable = Tbl.Function[1].Enabled = 1;
    Tbl.PortMode = Tbl.DesiredFunctionCount = 2;
    Tbl.Function[0] = {1, 0, 0, 0, {}, &MinShare, &MaxShare, &FunctionVlan, 1, {}};
    mModule.Discovered.mTargetUmc = mModule.Discovered.mPxeVlanEnabled = 1;
    mModule.Discovered.mCurrentPersonality = PF_TYPE_FCOE;
    std::memcpy(Mac, "\x00\x1B\x21\x0A\xFF\x3C", 6);
    Addr0 = {1, {}, Mac, ASTR(Wwnn), ASTR(Wwpn)};
    mModule.Tables.mNaloAddressTable[1].Enabled = 1; // also what a read behind the 16th function entry finds
    // Fields in the order of the platform's boot entry; the values the builders read are not needed.
    // clang-format off
    Boot0 = {1, {}, &BootVlan, 0, 0, 0, ASTR(Target1), ASTR(Lun1), ASTR(Target2), ASTR(Lun2), ASTR(Speed),
             ASTR(Topology), &InitiatorOrigin, 0, 0, 0, 0, &TargetOrigin, 0, 0, 0, 0, &AuthMethod, 0, 0, 0, 0};
    // clang-format on
    std::tie(BootVlan, FunctionVlan, InitiatorOrigin, TargetOrigin, AuthMethod) =
        std::make_tuple(100, 200, 1, 1, 2);
    S->PortCount = 1;
    S->Ports[0] = S;
  }
  static void EnableFunction(UINTN Index, UINT8 Type) {
    Tbl.Function[Index].Enabled = 1;
    Tbl.Function[Index].FunctionType = Type;
  }
  UINT8 Mac[6] = {};
  char Wwnn[17] = "20000090fa1b2c3d", Wwpn[18] = "10000090FA1B2C3DE"; // either case; one digit too many
  char Target1[20] = "50060E8012345678XY", Target2[19] = "50060E8087654321XY";
  char Lun1[6] = "00015", Lun2[7] = "000234", Speed[6] = "16000", Topology[4] = "P2P";
  char Initiator[29] = "iqn.2001-04.com.example:host";
  UINT16 BootVlan = 0, FunctionVlan = 0;
  UINT8 MinShare = 25, MaxShare = 80, InitiatorOrigin = 0, TargetOrigin = 0, AuthMethod = 0;
};

using T = PredicateTest;

TEST_F(PredicateTest, EachMissingWishPreventsItsCodesAndWritesNothing) {
  std::vector<UINT32> Boot = {24, 25, 26, 27, 28, 29, 30, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43};
  const struct {
    const char *Name;
    std::vector<UINT32> Codes;
    void (*Break)(T *);
  } Cases[] = {
      {"AllZeroMac", {SET_PF_MAC}, [](T *X) { std::memset(X->Mac, 0, 6); }},
      {"NoAddressTable", {14, 17, 20}, [](T *) { Hdr.AddressTableValid = 0; }},
      {"NullAddresses", {14, 17, 20}, [](T *) { Addr0.Mac = nullptr, Addr0.Wwnn = Addr0.Wwpn = nullptr; }},
      {"NoAddressEntry", {14, 17, 20}, [](T *) { mModule.Tables.mCurAddressEntry = nullptr; }},
      {"NoBootTable", Boot, [](T *) { Hdr.BootTableValid = 0; }},
      {"NoBootTableNoName", {SET_ISCSI_INI_NAME}, [](T *) { Hdr.BootTableValid = 0; }},
      {"BootEntryDisabled", Boot, [](T *) { Boot0.Enabled = 0; }},
      {"NoBootEntry", Boot, [](T *) { mModule.Tables.mCurBootEntry = nullptr; }},
      {"NullBootFields",
       {27, 28, 31, 32, 33, 34, 36, 37, 38, 39, 41, 42, 43},
       [](T *) {
         Boot0.Target2Lun = Boot0.FcLinkSpeed = Hdr.InitiatorName = nullptr;
         Boot0.InitiatorOrigin = Boot0.TargetOrigin = Boot0.AuthMethod = nullptr;
       }},
      {"SameInitiatorName", {31}, [](T *X) { SetText(X->S->IscsiInitiatorName, X->Initiator); }},
      {"DhcpInitiatorNoAuth", {32, 33, 34, 41, 42, 43}, [](T *X) { X->InitiatorOrigin = X->AuthMethod = 0; }},
      {"DhcpTarget", {36, 37, 38, 39}, [](T *X) { X->TargetOrigin = 2; }},
      {"ChapWithoutMutual", {43}, [](T *X) { X->AuthMethod = 1; }},
      {"UnknownAuthMethod", {41, 42, 43}, [](T *X) { X->AuthMethod = 3; }},
      {"PxeVlanNotEnabled", {SHOW_PXE_VLANID}, [](T *) { mModule.Discovered.mPxeVlanEnabled = 0; }},
      {"Fcoe", {21, 53}, [](T *X) { X->S->PfType = PF_TYPE_FCOE; }},
      {"PortDisabled", {21, 22, 23, 53}, [](T *) { Tbl.DesiredPortEnable = 0; }},
      {"NoPortTable", {4, 6, 21, 22, 23, 48, 53}, [](T *) { Hdr.PortTableValid = 0; }},
      {"NoFunctionEntry", {21, 22, 23}, [](T *) { mModule.Tables.mCurFunctionEntry = nullptr; }},
      {"NoFunctionVlan", {21}, [](T *) { Tbl.Function[0].FunctionVlanId = nullptr; }},
      {"NoBootVlan", {21}, [](T *) { Tbl.PortMode = 0, Boot0.BootVlanId = 0; }},
      {"NoBootVlanKeepsReported",
       {21},
       [](T *X) { Tbl.PortMode = 0, Boot0.BootVlanId = 0, X->S->VlanId = 50; }},
      {"Config25", {22, 23}, [](T *) { Hdr.ConfigType = 2, Hdr.ConfigSubtype = 5; }},
      {"NotPartitioned", {22, 23}, [](T *) { Tbl.PortMode = 0; }},
      {"UmcNotWanted", {22, 23}, [](T *) { mModule.Discovered.mTargetUmc = 0; }},
      {"NoShares", {22, 23}, [](T *) { Tbl.Function[0] = {1, 0, 0, 0, {}, 0, 0, 0, 0, {}}; }},
      {"FurtherFunctionFc", {48}, [](T *) { EnableFunction(1, PF_TYPE_FC); }},
      {"NicBehindTheTable", {48}, [](T *) { Tbl.Function[1].Enabled = 0, Tbl.DesiredFunctionCount = 200; }},
      {"RoceMode", {48}, [](T *) { mModule.Planner.mRoceMode = 1; }},
      {"SriovRequested", {48}, [](T *) { mModule.Planner.mSriovRequested = 1; }},
      {"SamePersonality", {6}, [](T *) { mModule.Discovered.mCurrentPersonality = PF_TYPE_NIC; }},
      {"SameFcoePersonality", {6}, [](T *) { Tbl.Function[1].FunctionType = PF_TYPE_FCOE; }},
      {"OneFunctionWished", {6}, [](T *) { Tbl.DesiredFunctionCount = 1; }},
      {"NoCountWish", {4, 6}, [](T *) { Tbl.DesiredFunctionCount = 0; }},
      {"FiveFunctionsWished", {4}, [](T *) { Tbl.DesiredFunctionCount = 5; }},
      {"UntypedLayout", {4, 6, 47, 48}, [](T *) { mModule.Discovered.mActiveLinkConfig = 1; }},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    for (UINT32 Code : C.Codes) {
      Fresh(); // the wish as it stands plans the code
      EXPECT_TRUE(Plan(Code)) << Code;
      Fresh();
      C.Break(this);
      const FUNCTION_SETTINGS Before = *S;
      EXPECT_FALSE(Plan(Code)) << Code;
      EXPECT_EQ(std::memcmp(&Before, S, sizeof(Before)), 0) << Code;
    }
  }
}

TEST_F(PredicateTest, EnableDecisions) {
  const struct {
    const char *Name;
    UINT32 Code;
    UINT8 TableValid, Wish, Reported, Emulex0700, PortDefaults, Force, IscsiWord, PfType, Append, Record;
  } Cases[] = {
      {"PortTableDisables", SET_PORT_EN, 1, 0, 1, false, FALSE, 0, 0, 0, true, 0},
      {"NoPortTableDefaultsEnable", SET_PORT_EN, 0, 0, 0, false, TRUE, 0, 0, 0, true, 1},
      {"NoPortTableNoDefaults", SET_PORT_EN, 0, 0, 0, false, FALSE, 0, 0, 0, false, 0},
      {"NoPortTableEnabledPortNotAsked", SET_PORT_EN, 0, 0, 1, false, TRUE, 0, 0, 0, false, 1},
      {"NoPortTableDefaultsEmulex0700", SET_PORT_EN, 0, 0, 0, true, TRUE, 0, 0, 0, true, 1},
      {"PortForced", SET_PORT_EN, 1, 0, 0, false, FALSE, 1, 0, 0, true, 1},
      {"PortForcedNeedsZeroIscsiWord", SET_PORT_EN, 1, 0, 0, false, FALSE, 1, 5, 0, false, 0},
      {"PortEmulex0700AlwaysSets", SET_PORT_EN, 1, 1, 1, true, FALSE, 0, 0, 0, true, 1},
      {"BootEmulex0700AlwaysSets", SET_BOOT_EN, 1, 1, 1, true, FALSE, 0, 0, PF_TYPE_NIC, true, 1},
      {"NoBootTableKeepsReported", SET_BOOT_EN, 0, 1, 0, false, FALSE, 0, 0, PF_TYPE_NIC, false, 0},
      {"BootForcedOnNic", SET_BOOT_EN, 0, 0, 0, false, FALSE, 1, 0, PF_TYPE_NIC, true, 1},
      {"BootNotForcedOnFc", SET_BOOT_EN, 0, 0, 0, false, FALSE, 1, 0, PF_TYPE_FC, false, 0},
      {"BootNotForcedWithIscsiWord", SET_BOOT_EN, 0, 0, 0, false, FALSE, 1, 1, PF_TYPE_NIC, false, 0},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    PlanningTest::Fresh();
    Hdr.PortTableValid = Hdr.BootTableValid = C.TableValid;
    Tbl.DesiredPortEnable = Boot0.Enabled = C.Wish;
    S->PortEnable = S->PortEnableToApply = S->BootEnable = S->BootEnableToApply = C.Reported;
    std::tie(mModule.Run.mFamily.Emulex0700, P.Defaults[0], mModule.Tables.mForceAdapterEnable, S->IscsiWord,
             S->PfType) = std::tie(C.Emulex0700, C.PortDefaults, C.Force, C.IscsiWord, C.PfType);
    EXPECT_EQ(Plan(C.Code), C.Append ? TRUE : FALSE);
    EXPECT_EQ(Planned(), C.Append ? Codes{(INT32)C.Code} : Codes{});
    const bool Port = C.Code == SET_PORT_EN;
    EXPECT_EQ(Port ? S->PortEnable : S->BootEnable, C.Record);
    EXPECT_EQ(Port ? S->PortEnableToApply : S->BootEnableToApply, C.Record);
    EXPECT_EQ(P.DefaultsCalls[0], Port && C.Reported == 0 && C.TableValid == 0 ? 1 : 0);
    EXPECT_EQ((S->ProgressFlags & PROGRESS_FLAG_PORT_ENABLE_PLANNED) != 0, Port && C.TableValid == 1);
  }
  // On 1077:1656 the first boot entry decides for the records of Instances 1 to 7; an Instance
  // without a record is passed over.
  Fresh();
  SetDevice(0x1077, 0x1656);
  SelectNaloEntries(3); // the function's own entry is disabled
  FUNCTION_SETTINGS **Settings = mModule.Run.mCommandSettings;
  for (UINTN Index = 0; Index < 9; Index++) {
    Settings[Index] = Index == 2 ? nullptr : NewRecord();
  }
  EXPECT_TRUE(Plan(SET_BOOT_EN));
  EXPECT_EQ(Settings[1]->BootEnable + Settings[7]->BootEnableToApply, 2);
  EXPECT_EQ(Settings[0]->BootEnable + Settings[8]->BootEnable + S->BootEnable, 0);
}

TEST_F(PredicateTest, AddressDefaultsAreDecidedOncePerPort) {
  SetText(S->MfgAddressText[0], "001B210AFF3C");
  SetText(S->CurrentAddressText[0], "020000000001");
  std::memcpy(S->MfgAddress[0], "\x00\x1B\x21\x0A\xFF\x3C\x00\x00", 8);
  std::tie(S->MfgAddress[0][8], S->CurrentAddress[0][8]) = std::make_tuple(0x11, 0x77); // behind the address
  std::tie(S->MfgAddressText[0][16], S->CurrentAddressText[0][16]) = std::make_tuple('Y', 'Z'); // not copied
  Addr0.Enabled = 0; // no virtual address: the manufacturer's is wanted
  EXPECT_TRUE(Plan(SET_ADDR_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3C");
  EXPECT_EQ(std::memcmp(S->CurrentAddress[0], S->MfgAddress[0], 8), 0);
  EXPECT_EQ(S->CurrentAddress[0][8], 0x77);
  EXPECT_EQ(S->CurrentAddressText[0][16], 'Z');
  FUNCTION_SETTINGS *Second = NewRecord();
  SetText(Second->MfgAddressText[1], "ABCDEF");
  EXPECT_FALSE(PlanCommand(Second, SET_ADDR_DEFAULTS, &Count));
  EXPECT_EQ(Text(Second->CurrentAddressText[1]), "ABCDEF"); // its texts are still returned
  // Without the platform's request a function with a virtual address wants nothing; with it, a
  // function that needs no reset leaves the decision to the next one that does.
  Fresh();
  EXPECT_FALSE(Plan(SET_ADDR_DEFAULTS));
  P.Defaults[1] = TRUE;
  EXPECT_FALSE(Plan(SET_ADDR_DEFAULTS));
  SetText(S->MfgAddressText[0], "001B210AFF3C");
  EXPECT_TRUE(Plan(SET_ADDR_DEFAULTS));
  // The per-name defaults are appended even when the names already agree.
  EXPECT_TRUE(Plan(SET_DEFAULT_WWNN));
  EXPECT_TRUE(Plan(SET_DEFAULT_WWPN));
  EXPECT_EQ(Planned(), (Codes{SET_ADDR_DEFAULTS, SET_DEFAULT_WWNN, SET_DEFAULT_WWPN}));
  // Port defaults on the QLogic2261 sub-family follow the same wish; other families have none.
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
  mModule.Run.mFamily.QLogic2261 = TRUE;
  EXPECT_TRUE(Plan(SET_PORT_DEFAULTS));
  mModule.Run.mFamily.QLogic2261 = FALSE,
  mModule.Run.mFamily.QLogic8070 = TRUE; // its MAC is the permanent one
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
  EXPECT_FALSE(RestoreMacFromPermanent(nullptr));
  // A different MAC returns to the permanent one: twelve digits and the first seven bytes.
  SetText(S->CurrentAddressText[0], "020000000001");
  std::memset(S->CurrentAddress[0], 0xEE, 8);
  std::memcpy(S->MfgAddress[0], "\x00\x1B\x21\x0A\xFF\x3C\x00\x55", 8);
  SetDevice(0x1077, 0x1656); // except on this device
  EXPECT_FALSE(Plan(SET_PORT_DEFAULTS));
  SetDevice(0x1077, 0x8070);
  EXPECT_TRUE(Plan(SET_PORT_DEFAULTS));
  EXPECT_EQ(Text(S->CurrentAddressText[0]), "001B210AFF3C");
  EXPECT_EQ(std::vector<UINT8>(S->CurrentAddress[0], S->CurrentAddress[0] + 8),
            (std::vector<UINT8>{0x00, 0x1B, 0x21, 0x0A, 0xFF, 0x3C, 0x00, 0xEE}));

  Fresh(); // no protocol
  P.NaloPresent = false;
  for (UINT32 Code : {SET_ADDR_DEFAULTS, SET_DEFAULT_WWNN, SET_PORT_DEFAULTS}) {
    mModule.Discovered.mConfigStatus = EFI_SUCCESS;
    EXPECT_FALSE(Plan(Code));
    EXPECT_EQ(mModule.Discovered.mConfigStatus, EFI_NOT_FOUND);
  }
}

TEST_F(PredicateTest, WishedTextsAreCopiedBoundedIntoTheirSlots) {
  const struct {
    UINT32 Code;
    size_t Offset; // of the record field, an interface of the platform
    const char *Expected, *QLogicExpected;
  } Cases[] = {
      {SET_PF_TAR_WWPN1, 0x374, "50060E8012345678", "50060E8012345678"},
      {SET_PF_TAR_WWPN2, 0x385, "50060E8087654321", "50060E8087654321"},
      {SET_PF_TAR_LUN1, 0x396, "0001", "0001"},
      {SET_PF_TAR_LUN2, 0x39B, "0002", "0002"},
      {SET_LINK_SPEED, 0x3A0, "1600", "16"},
      {SET_TOPOLOGY, 0x3A5, "P2", "P2"},
  };
  for (const auto &C : Cases) {
    for (UINT16 Vendor : {0x10DF, 0x1077}) {
      Fresh();
      SetDevice(Vendor, 0x2261);
      CHAR8 *Field = reinterpret_cast<CHAR8 *>(S) + C.Offset;
      std::memset(Field, 'Z', 4);
      EXPECT_TRUE(Plan(C.Code));
      EXPECT_EQ(Text(Field), Vendor == 0x1077 ? C.QLogicExpected : C.Expected) << C.Code << " " << Vendor;
    }
  }

  AuthMethod = 1; // CHAP without the mutual secret
  EXPECT_TRUE(Plan(SET_ISCSI_TAR_CHAP_USERNAME) && Plan(SET_ISCSI_TAR_CHAP_SECRET));
  // The initiator name does not need the function's boot entry and is copied bounded.
  std::string Long(300, 'q');
  Boot0.Enabled = 0;
  Hdr.InitiatorName = ASTR(Long.data());
  std::memset(S->IscsiInitiatorName, 'x', sizeof(S->IscsiInitiatorName));
  EXPECT_TRUE(Plan(SET_ISCSI_INI_NAME));
  EXPECT_EQ(Text(S->IscsiInitiatorName), Long.substr(0, 254));
  EXPECT_EQ(S->Reserved477[0], 0); // nothing written behind the field
  // Names go to the slot of the function type, in text order.
  const struct {
    UINT32 Code, PfType;
    UINTN Slot;
    const char *Expected;
  } Names[] = {{SET_PF_WWNN, PF_TYPE_FCOE, 1, "20000090FA1B2C3D"},
               {SET_PF_WWPN, PF_TYPE_FCOE, 2, "10000090FA1B2C3D"},
               {SET_PF_WWNN, PF_TYPE_FC, 0, "20000090FA1B2C3D"},
               {SET_PF_WWPN, PF_TYPE_FC, 1, "10000090FA1B2C3D"},
               {SET_PF_MAC, PF_TYPE_NIC, 0, "001B210AFF3C"}};
  for (const auto &C : Names) {
    SCOPED_TRACE(testing::Message() << C.Code << " type " << C.PfType);
    Fresh();
    S->PfType = C.PfType;
    std::memset(S->CurrentAddress, 0xEE, sizeof(S->CurrentAddress));
    SetText(S->CurrentAddressText[C.Slot],
            ("F" + std::string(C.Expected).substr(1)).c_str()); // first digit differs
    EXPECT_TRUE(Plan(C.Code));
    EXPECT_EQ(S->CurrentAddress[C.Slot][8], 0xEE); // nothing behind the eight bytes of an address
    const std::string Hex = C.Expected;
    std::vector<UINT8> Bytes(8, 0xEE); // a MAC takes 6 bytes of the slot
    for (size_t K = 0; K < Hex.size() / 2; K++) {
      Bytes[K] = (UINT8)std::stoul(Hex.substr(2 * K, 2), nullptr, 16);
    }
    EXPECT_EQ(Text(S->CurrentAddressText[C.Slot]), C.Expected);
    EXPECT_EQ(std::vector<UINT8>(S->CurrentAddress[C.Slot], S->CurrentAddress[C.Slot] + 8), Bytes);
    EXPECT_EQ(Text(S->CurrentAddressText[(C.Slot + 1) % 3]), ""); // no other slot written
  }
}

TEST_F(PredicateTest, VlanDecisions) {
  const struct {
    const char *Name;
    UINT8 Code, PfType, ConfigType, ConfigSubtype, PortMode;
    UINT16 FunctionVlan, BootVlan, Reported;
    UINT8 Emulex0700, QLogic8070;
    Codes Expected;
    UINT16 Record;
  } Cases[] = {
      {"BothNoneMeanTheSame", 21, 0, 0, 0, 0, 0, 0, 0, false, false, {}, 0},
      {"BootVlanCleared", 21, 0, 0, 0, 0, 0, 0, 50, false, false, {21}, 0},
      {"OnlyLow12BitsCount", 21, 0, 0, 0, 0, 0, 0x1064, 100, false, false, {}, 100},
      {"Config25UsesBootEntry", 21, 0, 2, 5, 2, 200, 100, 100, false, false, {}, 100},
      {"ConfigType2AloneIsNot25", 21, 0, 2, 0, 2, 200, 100, 100, false, false, {21}, 200},
      {"ConfigSubtype5AloneIsNot25", 21, 0, 0, 5, 2, 200, 100, 100, false, false, {21}, 200},
      {"Emulex0700FunctionSentinel", 21, 0, 0, 0, 2, 100, 0, 100, true, false, {21}, 100},
      {"PxeOtherFamilyAlwaysSetsId", 53, PF_TYPE_NIC, 0, 0, 0, 0, 100, 100, false, false, {52, 53}, 100},
      {"PxeQLogic8070OnlyOnDifference", 53, PF_TYPE_NIC, 0, 0, 0, 0, 100, 100, false, true, {52}, 100},
      {"PxeNoVlanWantedOnlyTagging", 53, PF_TYPE_NIC, 0, 0, 0, 0, 0, 100, false, false, {52}, 100},
      {"PxeNewIdRecorded", 53, PF_TYPE_NIC, 0, 0, 0, 0, 300, 100, false, false, {52, 53}, 300},
      {"PxeVlanOne", 53, PF_TYPE_NIC, 0, 0, 0, 0, 1, 1, false, false, {52, 53}, 1},
      {"Wish4095MeansNone", 21, 0, 0, 0, 0, 0, 4095, 0, false, false, {}, 0},
      {"Pxe4095OnlyTagging", 53, PF_TYPE_NIC, 0, 0, 0, 0, 4095, 0, false, false, {52}, 0},
      {"PxeOnRoce", 53, PF_TYPE_ROCE, 0, 0, 0, 0, 100, 100, false, false, {52, 53}, 100},
      {"PxeNotOnIscsi", 53, PF_TYPE_ISCSI, 0, 0, 0, 0, 300, 100, false, false, {}, 100},
      {"Emulex0700BootSentinel", 21, 0, 0, 0, 0, 0, 100, 100, true, false, {21}, 100},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    Fresh();
    std::tie(S->PfType, Hdr.ConfigType, Hdr.ConfigSubtype, Tbl.PortMode, FunctionVlan, BootVlan, S->VlanId) =
        std::tie(C.PfType, C.ConfigType, C.ConfigSubtype, C.PortMode, C.FunctionVlan, C.BootVlan, C.Reported);
    std::tie(mModule.Run.mFamily.Emulex0700, mModule.Run.mFamily.QLogic8070) =
        std::tie(C.Emulex0700, C.QLogic8070);
    EXPECT_EQ(Plan(C.Code), C.Expected.empty() ? FALSE : TRUE);
    EXPECT_EQ(Planned(), C.Expected);
    EXPECT_EQ(S->VlanId, C.Record);
  }
  // The shares decided are recorded for the builder.
  Fresh();
  EXPECT_TRUE(Plan(SET_PF_BANDWIDTH) && Plan(SET_PF_RATE_LIMIT));
  EXPECT_EQ(std::make_pair(S->MinBandwidth, S->MaxBandwidth), std::make_pair(MinShare, MaxShare));
}

TEST_F(PredicateTest, UnknownCodesAppendNothingAndAppendsKeepRoomForExitAndEnd) {
  Count = PLAN_LAST_APPEND_INDEX;
  EXPECT_TRUE(AppendCommand(SET_UMC, &Count));
  EXPECT_FALSE(AppendCommand(SET_UMC, &Count));
  EXPECT_EQ(Count, 253u);
  Count = COMMAND_LIST_ENTRIES + 10;
  EXPECT_FALSE(AppendCommand(SET_UMC, &Count));
  EXPECT_FALSE(AppendCommand(SET_UMC, nullptr));
  mModule.Discovered.mConfigStatus = EFI_SUCCESS;
  EXPECT_FALSE(PlanCommand(nullptr, SET_PORT_EN, &Count));
  EXPECT_EQ(mModule.Discovered.mConfigStatus, EFI_INVALID_PARAMETER);
  // Pairs and queues: what takes the last place is planned, the rest is neither appended nor recorded.
  Fresh();
  Tbl.PortMode = 0;
  Count = PLAN_LAST_APPEND_INDEX;
  EXPECT_TRUE(Plan(SET_PXE_VLANID));
  EXPECT_EQ(mModule.Run.CommandList[252], SET_PXE_VLAN);
  EXPECT_EQ(S->VlanId, 0);
  mModule.Discovered.mActiveLinkConfig = 2;
  Tbl.DesiredFunctionCount = 0;
  Count = 250;
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(Count, 253u);
  EXPECT_EQ(mModule.Builder.mPfTypePfNumber[2], 3u);
  EXPECT_EQ(mModule.Discovered.mPfTypeTable[3], 0u);
  EXPECT_EQ(mModule.Run.CommandList[253], 0);
  EXPECT_EQ(mModule.Run.CommandList[254], 0);
  // A family planner that appends directly stops at the same place.
  Fresh();
  mModule.Run.mFamily.EmulexE200 = TRUE;
  FUNCTION_SETTINGS *F = Port(0x10DF, 0xE200, 1, 1)[0];
  PLAN_STATE State = {248, PLAN_INSTANCE_NONE, 0, 0, 0};
  Count = 248;
  PlanGeneral(248, F, &State, &Count);
  EXPECT_EQ(Count, (UINTN)COMMAND_LIST_ENTRIES - 2);              // two entries stay free for EXIT and END
  EXPECT_EQ(mModule.Run.CommandList[252], SHOW_PF_VOLATILE_WWNN); // the fifth of the twelve shows
  EXPECT_EQ(mModule.Run.CommandList[253], END);
  EXPECT_EQ(mModule.Run.mPlanInstance2, (UINT8)Count);
  // Unknown codes: nothing, and EFI_NOT_FOUND.
  Fresh();
  SetDevice(0x10DF, 0xE200);
  for (UINT32 Code : {0u, 1u, 2u, 5u, 7u, 9u, 12u, 44u, 46u, 52u, 54u, 65u, 67u, 70u, 71u, 255u, 4096u}) {
    mModule.Discovered.mConfigStatus = EFI_SUCCESS;
    EXPECT_FALSE(Plan(Code)) << Code;
    EXPECT_EQ(mModule.Discovered.mConfigStatus, EFI_NOT_FOUND) << Code;
  }
  EXPECT_EQ(Count, 0u);
}

TEST_F(PredicateTest, LayoutFunctionCountTypesAndPartitioning) {
  mModule.Discovered.mLinkConfig = mModule.Discovered.mActiveLinkConfig = 1;
  EXPECT_FALSE(Plan(SET_MODE));
  mModule.Discovered.mLinkConfig = 0;
  EXPECT_TRUE(Plan(SET_MODE));
  const UINT8 Cases[][4] = {
      {3, 1, 1, 2}, {3, 2, 0, 9}, {4, 2, 1, 4}, {1, 2, 1, 1}}; // wish, current, append, record
  for (const auto &C : Cases) {
    Fresh();
    Tbl.DesiredFunctionCount = C[0];
    mModule.Discovered.mCurrentPfCount = C[1];
    S->FunctionCount = 9;
    EXPECT_EQ(Plan(SET_PFCOUNT), C[2]) << int(C[0]) << int(C[1]);
    EXPECT_EQ(S->FunctionCount, C[3]);
  }
  // Function types: the loop length follows the layout.
  for (const auto &L : {std::array<UINT32, 2>{2, 16}, {3, 4}, {0, 8}}) { // layout, functions examined
    Fresh();
    mModule.Discovered.mActiveLinkConfig = L[0];
    Tbl.DesiredFunctionCount = 0; // nothing wished: every examined NIC is disabled
    Plan(SET_PF2_TYPE);
    EXPECT_EQ(Count, L[1] - 1) << L[0];
    for (UINTN K = 0; K + 1 < L[1]; K++) {
      EXPECT_EQ(mModule.Builder.mPfTypePfNumber[K], K + 1);
      EXPECT_EQ(mModule.Discovered.mPfTypeTable[K], (UINT32)PF_TYPE_DISABLED);
    }
  }
  // A further NIC exists only on a partitioned port.
  Fresh();
  mModule.Discovered.mTargetUmc = 0;
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(std::make_pair(mModule.Builder.mPfTypePfNumber[0], mModule.Discovered.mPfTypeTable[0]),
            std::make_pair(UINT64{1}, UINT32{7}));
  // A RoCE type left over from an earlier profile is noticed, and the functions that partitioning
  // brings into existence are typed even when they read disabled.
  Fresh();
  std::fill(mModule.Discovered.mPfTypeTable, mModule.Discovered.mPfTypeTable + 16, (UINT32)PF_TYPE_DISABLED);
  mModule.Discovered.mPfTypeTable[0] = PF_TYPE_ROCE;
  EnableFunction(2, PF_TYPE_DISABLED);
  Plan(SET_PF2_TYPE);
  EXPECT_EQ(mModule.Planner.mRoceTypeFound, 1);
  EXPECT_EQ(Count, 8u); // functions 0 to 7 in order
  EXPECT_EQ(std::vector<UINT32>(mModule.Discovered.mPfTypeTable, mModule.Discovered.mPfTypeTable + 3),
            (std::vector<UINT32>{0, 0, 7}));
  EXPECT_EQ(mModule.Builder.mPfTypePfNumber[7], 7u);
  // Partitioning for a further NIC function.
  for (UINT32 PfType : {PF_TYPE_NIC, PF_TYPE_FC}) {
    Fresh();
    S->SriovEnabled = 1;
    S->PfType = PfType;
    EXPECT_TRUE(Plan(SET_UMC));
    // SR-IOV goes off first on a NIC.
    EXPECT_EQ(Planned(), PfType == PF_TYPE_NIC ? (Codes{SET_SRIOV_FOR_CONTROLLER, SET_UMC}) : Codes{SET_UMC});
    EXPECT_EQ(S->SriovEnabled, PfType == PF_TYPE_NIC ? 0 : 1);
  }
  Fresh(); // the sixteenth entry still counts
  Tbl.Function[1].Enabled = 0;
  Tbl.DesiredFunctionCount = 200;
  EnableFunction(15, PF_TYPE_NIC);
  EXPECT_TRUE(Plan(SET_UMC));
}

TEST_F(PredicateTest, SriovDecisionsByKindOfDevice) {
  const struct {
    const char *Name;
    UINT16 Vendor, Device;
    UINT8 Wished, WishCount, Current, PfCount, Personality, CurrentUmc, TargetUmc, Roce, RoceFound, Layout,
        First;
    INT32 Code;
    UINT8 Record;
  } Cases[] = {
      // Controller-wide: the family, not the layout, allows the decision.
      {"ControllerOn", 0x1077, 0x8070, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 1, 45, 1},
      {"ControllerAgrees", 0x1077, 0x8070, 0, 2, 1, 0, 0, 0, 0, 0, 0, 1, 1, 0, 1},
      {"ControllerOff", 0x1077, 0x8070, 16, 2, 1, 0, 0, 0, 0, 0, 0, 1, 1, 45, 0},
      // Per port: any wished function counts; held back on ports with many functions.
      {"PortOn", 0x19A2, 0x0712, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 45, 1},
      {"PortFirstEntryWishes", 0x19A2, 0x0712, 0, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 45, 1},
      {"PortSecondIsFcoe", 0x19A2, 0x0712, 1, 2, 0, 2, 2, 0, 0, 0, 0, 0, 1, 45, 1},
      {"PortSecondIsNic", 0x19A2, 0x0712, 1, 2, 0, 2, 0, 0, 0, 0, 0, 0, 1, 0, 0},
      {"PortThreeFunctions", 0x19A2, 0x0712, 1, 2, 0, 3, 2, 0, 0, 0, 0, 0, 1, 0, 0},
      {"PortWishBeyondCount", 0x19A2, 0x0712, 2, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0},
      {"PortCountBeyondTable", 0x19A2, 0x0712, 16, 200, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0},
      {"PortUntypedLayout", 0x19A2, 0x0712, 1, 2, 0, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0},
      {"PortNotFirstFunction", 0x19A2, 0x0712, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      // Per function: held back while partitioning or RoCE typing is being established.
      {"FunctionOn", 0x10DF, 0x0722, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1, 51, 1},
      {"FunctionOffHeldWhileUmcSwitchesOn", 0x10DF, 0x0722, 16, 2, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1},
      {"FunctionHeldWhileUmcSwitchesOn", 0x10DF, 0x0722, 0, 2, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0},
      {"FunctionNotOnUnderUmc", 0x10DF, 0x0722, 0, 2, 0, 0, 0, 1, 1, 0, 0, 0, 1, 0, 0},
      {"FunctionOffUnderUmc", 0x10DF, 0x0722, 16, 2, 1, 0, 0, 1, 1, 0, 0, 0, 1, 51, 0},
      {"FunctionHeldWhileRoceTypeLeftOver", 0x10DF, 0x0722, 0, 2, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0},
      {"FunctionRoceModeSwitchesOff", 0x10DF, 0x0722, 0, 2, 1, 0, 0, 0, 0, 1, 0, 0, 1, 51, 0},
      {"FunctionAgrees", 0x10DF, 0x0722, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1},
      {"OtherDevice", 0x8086, 0x1572, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0},
      // The other devices of each kind.
      {"Port1656", 0x1077, 0x1656, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 45, 1},
      {"Port0710", 0x19A2, 0x0710, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 45, 1},
      {"Port0714", 0x19A2, 0x0714, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 1, 45, 1},
      {"Function0720", 0x10DF, 0x0720, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1, 51, 1},
      {"Function0724", 0x10DF, 0x0724, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1, 51, 1},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    Fresh();
    SetDevice(C.Vendor, C.Device);
    mModule.Run.mFamily.QLogic8070 = C.Vendor == 0x1077;
    Tbl.Function[0].SriovEnable = 0;
    if (C.Wished < 16) {
      Tbl.Function[C.Wished].SriovEnable = 1;
    }
    std::tie(Tbl.DesiredFunctionCount, S->SriovEnabled, mModule.Discovered.mCurrentPfCount,
             mModule.Discovered.mCurrentPersonality) =
        std::tie(C.WishCount, C.Current, C.PfCount, C.Personality);
    std::tie(mModule.Discovered.mCurrentUmc, mModule.Discovered.mTargetUmc, mModule.Planner.mRoceMode,
             mModule.Planner.mRoceTypeFound) = std::tie(C.CurrentUmc, C.TargetUmc, C.Roce, C.RoceFound);
    mModule.Discovered.mActiveLinkConfig = C.Layout;
    S->PfIndex = C.First ? 0 : 1;
    EXPECT_EQ(Plan(SET_SRIOV_FOR_CONTROLLER), C.Code != 0 ? TRUE : FALSE);
    EXPECT_EQ(Planned(), C.Code != 0 ? Codes{C.Code} : Codes{});
    EXPECT_EQ(S->SriovEnabled, C.Record);
  }
  // Without valid SR-IOV wishes a per-function device keeps what it reports.
  Fresh();
  SetDevice(0x10DF, 0x0722);
  Hdr.SriovValid = mModule.Discovered.mTargetUmc = 0;
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_PF));
  // A wish in a layout that cannot carry SR-IOV is reported once, on the port's first function.
  Fresh();
  S->PciAddress = 0x3A01;
  for (int Step = 0; Step < 3; Step++) {
    mModule.Discovered.mActiveLinkConfig = Step == 2 ? 0 : 1;
    S->PfIndex = Step != 1 ? 0 : 1;
    EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
    EXPECT_EQ(P.Reports.size(), 1u) << Step; // at once, in the layout that cannot carry it
  }
  EXPECT_EQ(P.Reports,
            (std::vector<std::array<UINT32, 4>>{{0x80000002u, 0x0380801Bu, 0x00013AAAu, 0xD083E94Cu}}));
  EXPECT_NE(S->ErrorFlags & ERROR_FLAG_ERROR_REPORTED, 0);
  // A QLogic8070 works in the layout its record gives.
  for (UINT8 Layout : {0, 1}) {
    Fresh();
    mModule.Run.mFamily.QLogic8070 = TRUE;
    FUNCTION_SETTINGS *F = NewRecord(0x1077, 0x8070, 0, 0);
    F->LinkConfig = Layout;
    PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
    PlanQLogic8070(5, F, &State, &Count);
    EXPECT_EQ(P.Reports.size(), Layout) << int(Layout);
  }
  // A multi-port adapter with controller-wide SR-IOV decides on a later port, for every port.
  Fresh();
  SetDevice(0x15B3, 0x1013);
  mModule.Run.mFamily.Mellanox1013 = TRUE;
  FUNCTION_SETTINGS *SecondPort = NewRecord(0x15B3, 0x1015, 1, 0);
  for (FUNCTION_SETTINGS *F : {S, SecondPort}) {
    F->PortCount = 2;
    F->Ports[0] = S;
    F->Ports[1] = SecondPort;
  }
  EXPECT_FALSE(Plan(SET_SRIOV_FOR_CONTROLLER));
  Tbl.Function[0].SriovEnable = 0; // the first port's wish is kept
  EXPECT_TRUE(PlanCommand(SecondPort, SET_SRIOV_FOR_PF, &Count));
  EXPECT_EQ(Planned(), Codes{SET_SRIOV_FOR_CONTROLLER});
  EXPECT_EQ(S->SriovEnabled + SecondPort->SriovEnabled, 2);
  // The port list is walked only through its sixteen entries, whatever the count says.
  Fresh();
  SetDevice(0x1077, 0x1644);
  S->PortIndex = 1; // not the adapter's first function
  S->PortCount = 255;
  std::vector<FUNCTION_SETTINGS *> Ports;
  for (UINTN Port = 0; Port < 16; Port++) {
    Ports.push_back(NewRecord());
    S->Ports[Port] = Ports.back();
  }
  EXPECT_TRUE(Plan(SET_SRIOV_FOR_CONTROLLER));
  for (UINTN Port = 0; Port < 16; Port++) {
    EXPECT_EQ(Ports[Port]->SriovEnabled, 1) << Port;
  }
}

// The settings phase of the general planner, family by family and type by type, against the
// platform that wishes everything (addresses, boot entry, VLAN and shares all differ).
TEST_F(PredicateTest, GeneralPlannerSettingsByFamilyAndType) {
  enum Kind { Intel, E200, Oc0700, Oc0710, Q2261, Q2261NoIov };
  const struct {
    const char *Name;
    Kind Family;
    UINT8 PfType;
    bool Virtual, Flag6, SameMac;
    Codes Expected;
  } Cases[] = {
      {"IntelNic", Intel, PF_TYPE_NIC, true, false, false, {14}},
      {"IntelSameMacReadBack", Intel, PF_TYPE_NIC, true, true, true, {13}},
      {"IntelSameMacNoFlag6", Intel, PF_TYPE_NIC, true, false, true, {}},
      {"IntelNewMacNoReadBack", Intel, PF_TYPE_NIC, true, true, false, {14}},
      {"IntelIscsiOnlyMac", Intel, PF_TYPE_ISCSI, true, false, false, {14}},
      {"E200Nic", E200, PF_TYPE_NIC, true, false, false, {8, 10, 14}},
      {"E200Fc", E200, PF_TYPE_FC, true, false, false, {8, 10, 17, 20, 24, 25, 26, 27, 28, 29}},
      {"E200Fcoe", E200, PF_TYPE_FCOE, true, false, false, {8, 10, 14, 17, 20, 24, 25, 26, 27}},
      {"E200FcoeNoDefaultNames", E200, PF_TYPE_FCOE, false, false, false, {8, 10, 24, 25, 26, 27}},
      {"E200Iscsi",
       E200,
       PF_TYPE_ISCSI,
       true,
       false,
       false,
       {8, 10, 14, 31, 30, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43}},
      {"E200Ib", E200, PF_TYPE_IB, true, false, false, {8, 10, 14}},
      {"E200Roce", E200, PF_TYPE_ROCE, true, false, false, {8, 10}},
      {"Oc0710Nic", Oc0710, PF_TYPE_NIC, true, false, false, {8, 22, 23, 21, 10, 14}},
      {"Oc0700FcoeDefaultNames", Oc0700, PF_TYPE_FCOE, false, false, false, {8, 49, 50, 10, 24, 25, 26, 27}},
      {"Oc0700Nic", Oc0700, PF_TYPE_NIC, true, false, false, {8, 21, 10, 14}},
      {"Q2261Fc", Q2261, PF_TYPE_FC, true, false, false, {8, 10, 17, 20, 24, 25, 26, 27, 28, 29}},
      {"Q2261WithoutIov", Q2261NoIov, PF_TYPE_FC, true, false, false, {}},
  };
  const UINT16 Ids[][2] = {{0x8086, 0x1572}, {0x10DF, 0xE200}, {0x19A2, 0x0700},
                           {0x19A2, 0x0710}, {0x1077, 0x2261}, {0x1077, 0x2261}};
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    Fresh();
    ADAPTER_FAMILY &F = mModule.Run.mFamily;
    std::tie(F.Intel, F.EmulexE200, F.Emulex0700, F.Emulex0710) =
        std::make_tuple(C.Family == Intel, C.Family == E200, C.Family == Oc0700, C.Family == Oc0710);
    F.QLogic2031 = F.QLogic2261 = C.Family >= Q2261;
    mModule.Discovered.mFcIovSupported = C.Family == Q2261;
    SetDevice(Ids[C.Family][0], Ids[C.Family][1]);
    S->PfType = C.PfType;
    S->PlatformFlags = C.Flag6 ? PLATFORM_FLAG_6 : 0;
    Addr0.Enabled = C.Virtual;
    if (C.SameMac) {
      SetText(S->CurrentAddressText[0], "001B210AFF3C");
    }
    PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
    PlanGeneral(5, S, &State, &Count);
    EXPECT_EQ(Planned(), C.Expected);
    EXPECT_EQ(mModule.Run.mPlanComplete, 1);
    EXPECT_EQ(S->ProgressFlags & 0x30, PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  }
}

// The settings phase of a later function of an Emulex0720 port (the port's layout is decided on
// its first function), type by type, against the platform that wishes everything.
TEST_F(PredicateTest, Emulex0720SettingsOfALaterFunctionByType) {
  const struct {
    UINT8 PfType, TargetUmc;
    Codes Expected;
  } Cases[] = {
      {PF_TYPE_NIC, 1, {22, 23, 21, 10, 14}},
      {PF_TYPE_FC, 1, {22, 23, 21, 10, 17, 20, 24, 25, 26, 27}},
      {PF_TYPE_FCOE, 1, {22, 23, 10, 14, 17, 20, 24, 25, 26, 27}},
      {PF_TYPE_ISCSI, 1, {22, 23, 21, 10, 14, 31, 30, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43}},
      {PF_TYPE_IB, 1, {22, 23, 21, 10, 14}},
      {PF_TYPE_ROCE, 1, {22, 23, 21, 10, 14}},
      {PF_TYPE_DISABLED, 1, {22, 23, 21, 10}},
      {PF_TYPE_NIC, 0, {21, 52, 53, 10, 14}}, // not partitioned: PXE VLAN, no shares
      {PF_TYPE_ISCSI, 0, {21, 10, 14, 31, 30, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43}},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(testing::Message() << "type " << int(C.PfType) << " umc " << int(C.TargetUmc));
    Fresh();
    mModule.Run.mFamily.Emulex0720 = TRUE;
    mModule.Discovered.mTargetUmc = C.TargetUmc;
    FUNCTION_SETTINGS *F = NewRecord(0x10DF, 0x0720, 0, 1);
    F->PfType = C.PfType;
    PLAN_STATE State = {PLAN_INSTANCE_NONE, 5, 0, 0, 0};
    PlanEmulex0720(5, F, &State, &Count);
    EXPECT_EQ(Planned(), C.Expected);
    EXPECT_EQ(F->ProgressFlags & 0x30, PROGRESS_FLAG_PLAN_DONE1 | PROGRESS_FLAG_PLAN_DONE2);
  }
}

// The restart check of the Emulex OneConnect families on the adapter's first function: a change of
// function count, second-function type or (Emulex0710, when neither of those) SR-IOV ends the plan.
TEST_F(PredicateTest, EmulexOneConnectRestartCheck) {
  const struct {
    const char *Name;
    bool Is0710;
    UINT8 Port, WishCount, CurrentCount, Personality;
    Codes Expected;
  } Cases[] = {
      {"CountAndType", true, 0, 2, 0, PF_TYPE_FCOE, {SET_PFCOUNT, SET_PF1_TYPE}},
      {"CountOnly", true, 0, 1, 2, PF_TYPE_FCOE, {SET_PFCOUNT}},
      {"TypeOnly", true, 0, 2, 2, PF_TYPE_FCOE, {SET_PF1_TYPE}},
      {"SriovOnly", true, 0, 1, 1, PF_TYPE_FCOE, {SET_SRIOV_FOR_CONTROLLER}},
      {"Emulex0700Type", false, 0, 2, 0, PF_TYPE_FCOE, {SET_PF1_TYPE}},
      {"LaterPortGoesOn", true, 1, 2, 0, PF_TYPE_FCOE, {8, 22, 23, 21, 10, 14}},
  };
  for (const auto &C : Cases) {
    SCOPED_TRACE(C.Name);
    Fresh();
    (C.Is0710 ? mModule.Run.mFamily.Emulex0710 : mModule.Run.mFamily.Emulex0700) = TRUE;
    FUNCTION_SETTINGS *F = NewRecord(0x19A2, C.Is0710 ? 0x0710 : 0x0700, C.Port, 0);
    Tbl.DesiredFunctionCount = C.WishCount;
    std::tie(mModule.Discovered.mCurrentPfCount, mModule.Discovered.mCurrentPersonality) =
        std::make_tuple(C.CurrentCount, C.Personality);
    PLAN_STATE State = {5, PLAN_INSTANCE_NONE, 0, 0, 0};
    PlanGeneral(5, F, &State, &Count);
    EXPECT_EQ(Planned(), C.Expected);
    const bool Stopped = C.Port == 0;
    EXPECT_EQ(mModule.Run.mPlanStopped, Stopped ? 1 : 0);
    EXPECT_EQ(mModule.Run.mPlanInstance2, Stopped ? Count : PLAN_INSTANCE_NONE);
  }
  // With the IOV firmware a QLogic2261 returns to its defaults before it reads its settings.
  Fresh();
  mModule.Run.mFamily.QLogic2031 = mModule.Run.mFamily.QLogic2261 = mModule.Discovered.mFcIovSupported = TRUE;
  SetDevice(0x1077, 0x2261);
  Addr0.Enabled = 0;
  PLAN_STATE State = {5, PLAN_INSTANCE_NONE, 0, 0, 0};
  PlanGeneral(5, S, &State, &Count);
  EXPECT_EQ(Planned(), (Codes{66, 7, 9, 15, 16, 18, 19, 59, 60, 61, 62, 63, 64, 65}));
}

} // namespace

// Address texts fill their slots without a terminator: a comparison stops at the slot's end, and
// at the terminator of a shorter text.
TEST(PlanTextDiffersTest, ComparesUpToTheBoundOrTheTerminator) {
  const CHAR8 *A = (const CHAR8 *)"ABCD\0x", *B = (const CHAR8 *)"ABCE\0y";
  EXPECT_FALSE(PlanTextDiffers(A, B, 3));
  EXPECT_TRUE(PlanTextDiffers(A, B, 4));
  EXPECT_FALSE(PlanTextDiffers((const CHAR8 *)"AB\0x", (const CHAR8 *)"AB\0y", 4));
}
