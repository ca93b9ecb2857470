// The road of one EmulexE200 Fibre Channel function through its three planning phases, driven
// through the installed protocol with replies in the Fibre Channel port format.
#include "Integration/ScriptedAdapter.h"

namespace {

class EmulexE200RoadTest : public IntegrationTest {
protected:
  void SetUp() override {
    IntegrationTest::SetUp();
    Adapter = Add(0x10DF, 0xE200, 0x3A);
    Record = Adapter.Record(0, 0);
    Record->PfType = PF_TYPE_FC;
    Record->PortEnable = 1;
    Record->BootEnable = 1;
    Record->NaloIndex = 1;
    Record->CardIndex = 2;

    fake::NaloEntry &Nalo = ValidTables(1, 2);
    Nalo.AddressTable[0].Enabled = 1;
    Nalo.AddressTable[0].Wwnn = Nalo.OwnText("20000011aabbccdd"); // lower case: sent upper-cased
    Nalo.AddressTable[0].Wwpn = Nalo.OwnText("21000011AABBCCDD");
    NALO_BOOT_ENTRY &Boot = Nalo.BootTable[0];
    Boot.Enabled = 1;
    Boot.Target1Wwpn = Nalo.OwnText("50060e8000000001"); // case kept
    Boot.Target2Wwpn = Nalo.OwnText("50060E8000000002");
    Boot.Target1Lun = Nalo.OwnText("0000");
    Boot.Target2Lun = Nalo.OwnText("00012"); // cut to 4 characters
    Boot.FcLinkSpeed = Nalo.OwnText("0008");
    Boot.FcTopology = Nalo.OwnText("02");
  }

  BuiltAdapter Adapter;
  FUNCTION_SETTINGS *Record = nullptr;
};

TEST_F(EmulexE200RoadTest, ShowsThenSetsOnlyWhatDiffers) {
  const Texts Commands =
      Dialogue(Adapter.Handle(0, 0), {{"show fcport0 OEMELX_FirmwareVersions", {"retdata=12.8.340.8"}},
                                      {"show fcport0 OEMELX_PortEnable", {"retdata=enabled"}},
                                      {"show fcport0 OEMELX_BootEnable", {"retdata=enabled"}},
                                      {"show fcport0 OEMELX_MFG_WWNN", {"retdata=20000090FA000001"}},
                                      {"show fcport0 OEMELX_WWNN", {"retdata=20000090fa000001"}},
                                      {"show fcport0 OEMELX_MFG_WWPN", {"retdata=10000090FA000001"}},
                                      {"show fcport0 OEMELX_WWPN", {"retdata=10000090FA000001"}}});
  EXPECT_EQ(Commands,
            Join({Prefixed("show fcport0 OEMELX_",
                           {"FirmwareVersions", "PortEnable", "BootEnable", "MFG_WWNN", "WWNN", "MFG_WWPN",
                            "WWPN", "VolatileWWNN", "VolatileWWPN", "TargetWWPN[0]", "TargetWWPN[1]",
                            "TargetLUN[0]", "TargetLUN[1]", "LinkSpeed", "Topology"}),
                  Prefixed("set fcport0 OEMELX_",
                           {"VolatileWWNN=20000011AABBCCDD", "VolatileWWPN=21000011AABBCCDD",
                            "TargetWWPN[0]=50060e8000000001", "TargetWWPN[1]=50060E8000000002",
                            "TargetLUN[0]=0000", "TargetLUN[1]=0001", "LinkSpeed=0008", "Topology=02"}),
                  {"exit"}}));
  // Nothing failed: nothing went to the BMC or to the status-code listeners.
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Ipmi).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
  EXPECT_EQ(Dialogue(Adapter.Handle(0, 0)), Texts{}); // done for this boot
}

// The reports themselves are checked in the reporting tests; here the front must raise them.
TEST_F(EmulexE200RoadTest, FailedCommandIsReportedAsStatusCodesAndToTheBmc) {
  Record->AuxLocation = 5;
  Record->SubIndex = 4;
  ScriptedAdapter(Protocol, Adapter.Handle(0, 0),
                  {{"show fcport0 OEMELX_PortEnable", {ScriptedReply{"retdata=x", 2, 0xF7}}}})
      .Dialogue(256, false);
  Fields Codes;
  for (const fake::Event &E : Fw().EventsOf(fake::EventKind::StatusCode)) {
    Codes.insert(Codes.end(), {E.Value, E.Instance});
  }
  EXPECT_EQ(Codes, (Fields{0x03808014, 0x00003AA6, 0x03808015, 0x000500A6}));
  EXPECT_FALSE(Fw().EventsOf(fake::EventKind::Ipmi).empty());
}

} // namespace
