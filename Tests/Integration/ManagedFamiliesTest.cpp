// Whole controller runs of the Emulex0700 family and of refused controllers
// through the installed protocol, with replies in the family's format.
#include "ModuleState.h"
#include "Integration/ScriptedAdapter.h"
#include "Managed/AdapterSettings.h"

namespace {

constexpr uint8_t kWithTables = PLATFORM_FLAG_MANAGED_MODE_ENABLED | PLATFORM_FLAG_6;

class ManagedFamiliesTest : public IntegrationTest {
protected:
  BuiltAdapter AddBound(uint16_t Vendor, uint16_t Device, uint8_t Ports, uint8_t Functions, uint8_t Flags) {
    BuiltAdapter A = Add(Vendor, Device, NextBus++, Ports, Functions, Flags);
    for (auto &Port : A.Handles) {
      for (EFI_HANDLE H : Port) {
        Fw().SetDriverBound(H, true);
      }
    }
    return A;
  }

  uint8_t NextBus = 0x10;
};

// ---- QLogic2261: IOV commands from firmware 6.7 on -----------------------------------------

// ---- Intel -------------------------------------------------------------------------------------------

const Script kIntelAddress = {{"show PermanentAddress", {"permanentaddress=001B21AABB01"}}};

// Sentinels force the enables; an FCoE function gets its permanent names.
TEST_F(ManagedFamiliesTest, Emulex0700WithValidTablesAndAnFcoeFunction) {
  BuiltAdapter A = AddBound(0x19A2, 0x0700, 1, 2, kWithTables);
  A.Record(0, 0)->PfType = PF_TYPE_NIC;
  A.Record(0, 0)->PortEnable = 1;
  A.Record(0, 1)->PfType = PF_TYPE_FCOE;
  fake::NaloEntry &Nalo = ValidTables(0);
  Nalo.PortTable.DesiredFunctionCount = 2;
  Nalo.PortTable.Function[0].Enabled = 1;
  Nalo.PortTable.Function[0].FunctionVlanId = Nalo.Own<UINT16>(100);
  Nalo.PortTable.Function[1].Enabled = 1;
  Nalo.PortTable.Function[1].FunctionType = PF_TYPE_FCOE;
  Nalo.AddressTable[0].Enabled = 1;
  Nalo.AddressTable[0].Mac = Nalo.OwnBytes({0x00, 0x00, 0xC9, 0xAA, 0xBB, 0x01});
  Nalo.BootTable[0].Enabled = 1;
  Nalo.BootTable[0].BootVlanId = Nalo.Own<UINT16>(100);

  EXPECT_EQ(
      Dialogue(A.Handle(0, 0), {{"show port0 OEMVDR_FirmwareVersions", {"retdata=11.2.1.0,11.2.1.0,2.0"}},
                                {"show pf1 OEMVDR_PfType", {"retdata=FCoE"}},
                                {"show port0/pf0 OEMVDR_MFG_PfMAC", {"retdata=0000C9000001"}},
                                {"show port0/pf0 OEMVDR_PfMAC", {"retdata=0000C9000001"}},
                                {"show port0/pf1 OEMVDR_MFG_WWNN", {"retdata=20000000C9000002"}},
                                {"show port0/pf1 OEMVDR_MFG_WWPN", {"retdata=10000000C9000002"}}}),
      (Texts{"show port0 OEMVDR_FirmwareVersions", "show pf1 OEMVDR_PfType",
             "show port0/pf0 OEMVDR_MFG_PfMAC", "show port0/pf1 OEMVDR_MFG_PfMAC",
             "show port0/pf0 OEMVDR_PfMAC", "show port0/pf1 OEMVDR_PfMAC", "show port0/pf1 OEMVDR_MFG_WWNN",
             "show port0/pf1 OEMVDR_WWNN", "show port0/pf1 OEMVDR_MFG_WWPN", "show port0/pf1 OEMVDR_WWPN",
             "set port0 OEMVDR_PortEn=enabled", "set port0/pf0 OEMVDR_PfVLANID=064",
             "set port0/pf0 OEMVDR_PfBootEnable=enabled", "set port0/pf0 OEMVDR_PfMAC=0000C9AABB01",
             "set port0/pf1 OEMVDR_WWNN=20000000C9000002", "set port0/pf1 OEMVDR_WWPN=10000000C9000002",
             "set port0/pf1 OEMVDR_PfBootEnable=disable", "exit"}));
  EXPECT_EQ(A.Record(0, 1)->PortEnable, 1); // the port's decision, carried into the second function
}

// ---- Refusals --------------------------------------------------------------------------------------

// Every refused Query answers EFI_NOT_FOUND and leaves nothing behind for a Response to act on,
// even right after a Query that handed out a command.
TEST_F(ManagedFamiliesTest, RefusedQueriesLeaveNothingForTheResponse) {
  AdapterSpec Bare;
  std::tie(Bare.VendorId, Bare.DeviceId, Bare.Bus, Bare.PlatformFlags, Bare.WithSettings) =
      std::make_tuple(0x10DF, 0xE200, 0x30, kWithTables, false);
  const EFI_HANDLE NoSettings = AddAdapter(Fw(), Bare).Handle(0, 0);
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = nullptr;
  EFI_GUID *Guid = nullptr;
  auto Query = [&](EFI_HANDLE Controller, EFI_HANDLE Child = nullptr) {
    UINTN Instance = 0, Size = 0;
    return Protocol->Query(Protocol, Controller, Child, &Instance, &Guid, (VOID **)&Block, &Size);
  };
  EXPECT_EQ(Query(NoSettings), EFI_NOT_FOUND); // no controller of the platform has a record yet

  const EFI_HANDLE Served = AddBound(0x10DF, 0xE200, 1, 1, kWithTables).Handle(0, 0);
  const EFI_HANDLE Failing = AddBound(0x10DF, 0xE200, 1, 1, kWithTables).Handle(0, 0);
  Fw().SetAdapterSettingsStatus(Failing, EFI_DEVICE_ERROR);
  const EFI_HANDLE Unmanaged = AddBound(0x10DF, 0xE200, 1, 1, PLATFORM_FLAG_6).Handle(0, 0);
  const EFI_HANDLE Unknown = AddBound(0x10DF, 0x0001, 1, 1, kWithTables).Handle(0, 0);
  // Refused before a record was obtained, ManagedMode itself holds no settings for a Response; the
  // front hands a Response no managed command came before to nobody.
  const struct {
    EFI_HANDLE Controller, Child;
    bool BeforeRecord;
  } Refused[] = {{Served, Served, true},
                 {Failing, nullptr, true},
                 {NoSettings, nullptr, true},
                 {Unmanaged, nullptr, false},
                 {Unknown, nullptr, false}};
  for (const auto &C : Refused) {
    ASSERT_EQ(Query(Served), EFI_SUCCESS);
    EFI_CONFIGURE_CLP_PARAMETER_BLK Failed = *Block;
    Failed.CLPCmdStatus = 2;
    EXPECT_EQ(Query(C.Controller, C.Child), EFI_NOT_FOUND);
    EXPECT_EQ((std::vector<UINTN>{mModule.Run.mParseResponse, mModule.Run.mResponseCommandCode}),
              (std::vector<UINTN>{0, 0}));
    Fw().ClearEvents();
    UINTN Instance = 0;
    EXPECT_EQ(Protocol->Response(Protocol, C.Controller, nullptr, &Instance, Guid, &Failed, sizeof(Failed),
                                 EfiPlatformConfigurationActionStopController),
              EFI_SUCCESS);
    if (C.BeforeRecord) {
      EXPECT_EQ(ManagedModeResponse(C.Controller, nullptr, &Instance, Guid, &Failed, sizeof(Failed)),
                EFI_SUCCESS);
    }
    EXPECT_TRUE(Fw().Events().empty()) << Fw().Events().size();
  }
}

} // namespace
