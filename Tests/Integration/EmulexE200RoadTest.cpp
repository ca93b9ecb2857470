// The road of one EmulexE200 Fibre Channel function through its three planning phases, driven
// through the installed protocol with replies in the Fibre Channel port format.
#include "Integration/ScriptedAdapter.h"

extern "C++" {
#include "Reporting/Reporting.h"
}

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
  ScriptedAdapter Driver(Protocol, Adapter.Handle(0, 0),
                         {{"show fcport0 OEMELX_FirmwareVersions", {"retdata=12.8.340.8"}},
                          {"show fcport0 OEMELX_PortEnable", {"retdata=enabled"}},
                          {"show fcport0 OEMELX_BootEnable", {"retdata=enabled"}},
                          {"show fcport0 OEMELX_MFG_WWNN", {"retdata=20000090FA000001"}},
                          {"show fcport0 OEMELX_WWNN", {"retdata=20000090fa000001"}},
                          {"show fcport0 OEMELX_MFG_WWPN", {"retdata=10000090FA000001"}},
                          {"show fcport0 OEMELX_WWPN", {"retdata=10000090FA000001"}}});
  bool PhaseTwoSawReplies = false;
  Driver.AfterResponse = [&](const ScriptedStep &Step) {
    if (Step.Instance == 2) {
      // The replies of phase 1 were parsed before phase 2 is planned.
      EXPECT_EQ(Str(Record->FirmwareVersion[0]), "12.8.340.8");
      EXPECT_EQ(Record->PortEnable, 1);
      EXPECT_EQ(Record->BootEnable, 1);
      EXPECT_EQ(mModule.mPlanInstance, 3);
      PhaseTwoSawReplies = true;
    }
    if (Step.Instance == 6) {
      // Fibre Channel function: WWNN in slot 0, WWPN in slot 1, upper-cased by the address parser.
      EXPECT_EQ(Str(Record->CurrentAddressText[0]), "20000090FA000001");
      EXPECT_EQ(Str(Record->MfgAddressText[1]), "10000090FA000001");
      const uint8_t Wwnn[8] = {0x20, 0x00, 0x00, 0x90, 0xFA, 0x00, 0x00, 0x01};
      EXPECT_EQ(std::memcmp(Record->CurrentAddress[0], Wwnn, 8), 0);
      EXPECT_EQ(mModule.mPlanInstance2, 15);
    }
  };
  EXPECT_EQ(Driver.Dialogue(),
            Join({Prefixed("show fcport0 OEMELX_",
                           {"FirmwareVersions", "PortEnable", "BootEnable", "MFG_WWNN", "WWNN", "MFG_WWPN",
                            "WWPN", "VolatileWWNN", "VolatileWWPN", "TargetWWPN[0]", "TargetWWPN[1]",
                            "TargetLUN[0]", "TargetLUN[1]", "LinkSpeed", "Topology"}),
                  Prefixed("set fcport0 OEMELX_",
                           {"VolatileWWNN=20000011AABBCCDD", "VolatileWWPN=21000011AABBCCDD",
                            "TargetWWPN[0]=50060e8000000001", "TargetWWPN[1]=50060E8000000002",
                            "TargetLUN[0]=0000", "TargetLUN[1]=0001", "LinkSpeed=0008", "Topology=02"}),
                  {"exit"}}));
  EXPECT_TRUE(PhaseTwoSawReplies);

  // What the planning wrote into the record for the builders, and the end of the run.
  EXPECT_EQ(Str(Record->CurrentAddressText[0]), "20000011AABBCCDD");
  const uint8_t NewWwpn[8] = {0x21, 0x00, 0x00, 0x11, 0xAA, 0xBB, 0xCC, 0xDD};
  EXPECT_EQ(std::memcmp(Record->CurrentAddress[1], NewWwpn, 8), 0);
  EXPECT_EQ(Str(Record->TargetWwpn1Text), "50060e8000000001");
  EXPECT_EQ(Str(Record->TargetLun2Text), "0001");
  EXPECT_EQ(Str(Record->LinkSpeedText), "0008");
  const uint8_t Progress = kBothPlansDone | PROGRESS_FLAG_CONFIG_DONE | PROGRESS_FLAG_PORT_ENABLE_PLANNED;
  EXPECT_EQ(Record->ProgressFlags & Progress, Progress);
  // Nothing failed: nothing went to the BMC or to the status-code listeners.
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::Ipmi).empty());
  EXPECT_TRUE(Fw().EventsOf(fake::EventKind::StatusCode).empty());
  EXPECT_EQ(Dialogue(Adapter.Handle(0, 0)), Texts{}); // done for this boot
}

std::vector<uint8_t> OemText(const std::string &Text) {
  std::vector<uint8_t> Request(HxOemEnterpriseNumber, HxOemEnterpriseNumber + 3);
  Request.push_back(0x0C);
  Request.push_back(static_cast<uint8_t>(Text.size()));
  Request.insert(Request.end(), Text.begin(), Text.end());
  return Request;
}

TEST_F(EmulexE200RoadTest, FailedCommandIsReportedAsStatusCodesAndToTheBmc) {
  Record->AuxLocation = 5;
  Record->SubIndex = 4;
  Fw().ScriptIpmiCompletionCodes({0xC0, 0xC0}); // busy twice, then accepted
  const std::string Reply = "retdata=" + std::string(62, 'x');
  ScriptedAdapter Driver(Protocol, Adapter.Handle(0, 0),
                         {{"show fcport0 OEMELX_FirmwareVersions", {"retdata=12.8.340.8"}},
                          {"show fcport0 OEMELX_PortEnable", {ScriptedReply{Reply, 2, 0xF7}}}});
  std::vector<fake::Event> AtFailure;
  Driver.AfterResponse = [&](const ScriptedStep &Step) {
    if (Step.Instance == 1) {
      AtFailure = Fw().Events();
    }
  };
  Driver.Run();

  ASSERT_GE(AtFailure.size(), 2u);
  // Kind, value and instance of the two status codes.
  const auto Code = [](const fake::Event &E) {
    return Fields{static_cast<int>(E.Kind), E.Value, E.Instance};
  };
  const int StatusCode = static_cast<int>(fake::EventKind::StatusCode);
  EXPECT_EQ(Code(AtFailure[0]), (Fields{StatusCode, 0x03808014, 0x00003AA6}));
  EXPECT_EQ(Code(AtFailure[1]), (Fields{StatusCode, 0x03808015, 0x000500A6}));
  EXPECT_EQ(AtFailure[0].Type, 0x80000002u);
  EXPECT_TRUE(AtFailure[0].HasCallerId);
  EXPECT_EQ(fake::GuidToString(AtFailure[0].CallerId), "D083E94C-6560-42E4-B6D4-2DF75ADF6A2A");
  EXPECT_NE(Record->ErrorFlags & ERROR_FLAG_ERROR_REPORTED, 0);

  std::vector<std::vector<uint8_t>> Requests;
  for (size_t I = 2; I < AtFailure.size(); I++) {
    ASSERT_EQ(AtFailure[I].Kind, fake::EventKind::Ipmi);
    EXPECT_EQ((Fields{AtFailure[I].NetFn, AtFailure[I].Lun, AtFailure[I].Command}), (Fields{0x2E, 0, 0xF5}));
    Requests.push_back(AtFailure[I].Data);
  }
  // The header is formatted: its "\n" becomes "\r\n", %x is upper case, and it is cut after 60
  // characters.
  const std::string Header =
      std::string("\r\n_VID/DID/PFA 0x10DF/E200/3A00, FW 12.8.340.8, NaloI/CardI/PortI/SubI 1/2/0/4_")
          .substr(0, 60);
  const std::string RequestBanner = "\n       ___________ CLP REQUEST: __________";
  const std::vector<std::vector<uint8_t>> Expected = {
      OemText(RequestBanner),
      OemText(RequestBanner),
      OemText(RequestBanner), // two busy answers, then sent
      OemText(Header),
      OemText("show fcport0 OEMELX_PortEnable"),
      OemText("\n       ___________ CLP RESPONSE: __________"),
      OemText(Reply.substr(0, 61)),
      OemText(Reply.substr(61)),
  };
  EXPECT_EQ(Requests, Expected);
  // A failed show is still parsed: its reply has no disable word, so the port reads as enabled.
  EXPECT_EQ(Record->PortEnable, 1);
}

} // namespace
