// The fake's PCI devices and platform protocols, checked the way the driver reaches them.
#include "Support/DriverTest.h"

#include <cstring>

extern "C++" {
#include "Library/DebugLib.h"
}

namespace {

class FakePlatformTest : public DriverTest {
protected:
  EFI_BOOT_SERVICES *Bs() { return Fw().SystemTable()->BootServices; }
  template <typename T> T *Locate(EFI_GUID Guid) {
    VOID *Interface = nullptr;
    EXPECT_EQ(EFI_SUCCESS, Bs()->LocateProtocol(&Guid, nullptr, &Interface));
    return static_cast<T *>(Interface);
  }
};

TEST_F(FakePlatformTest, PciIoAnswersLocationAndConfigurationReads) {
  EFI_HANDLE Controller = Fw().AddPciFunction(0, 0x3A, 0, 1, 0x1077, 0x8070);
  EFI_HANDLE OtherSegment = Fw().AddPciFunction(1, 0x3A, 0, 1, 0x15B3, 0x1017);
  EFI_GUID PciIoGuid = EFI_PCI_IO_PROTOCOL_GUID;
  EFI_PCI_IO_PROTOCOL *PciIo = nullptr;
  ASSERT_EQ(EFI_SUCCESS, Bs()->HandleProtocol(Controller, &PciIoGuid, reinterpret_cast<VOID **>(&PciIo)));
  UINTN Location[4] = {9, 9, 9, 9};
  ASSERT_EQ(EFI_SUCCESS, PciIo->GetLocation(PciIo, &Location[0], &Location[1], &Location[2], &Location[3]));
  EXPECT_EQ((std::vector<UINTN>{0, 0x3A, 0, 1}), std::vector<UINTN>(Location, Location + 4));
  UINT16 Ids[2] = {};
  ASSERT_EQ(EFI_SUCCESS, PciIo->Pci.Read(PciIo, EfiPciIoWidthUint16, 0, 2, Ids));
  EXPECT_EQ(0x1077, Ids[0]);
  EXPECT_EQ(0x8070, Ids[1]);
  EXPECT_EQ(EFI_UNSUPPORTED, PciIo->Pci.Read(PciIo, EfiPciIoWidthUint32, 4094, 1, Ids)) << "past the space";

  // The MCFG table covers segment 0 only: another segment's function is not in the window.
  ASSERT_EQ(EFI_SUCCESS, Bs()->HandleProtocol(OtherSegment, &PciIoGuid, reinterpret_cast<VOID **>(&PciIo)));
  ASSERT_EQ(EFI_SUCCESS, PciIo->Pci.Read(PciIo, EfiPciIoWidthUint16, 0, 1, Ids));
  EXPECT_EQ(0x15B3, Ids[0]);
  EXPECT_EQ(0x1077, *reinterpret_cast<const uint16_t *>(Fw().EcamBase() + (0x3Au << 20) + (1u << 12)));
}

TEST_F(FakePlatformTest, NaloAnswersByIndexTripleAndFillsOnlyOnSuccess) {
  fake::NaloEntry &Port = Fw().Nalo(2, 1, 0);
  Port.PortTable.DesiredFunctionCount = 4;
  Port.AddressTable[1].Wwpn = Port.OwnText("21000011AABBCCDD");
  Port.QueryDefaultsAddresses = true;
  auto *Nalo = Locate<NALO_CONFIGURATION_PROTOCOL>(NALO_CONFIGURATION_PROTOCOL_GUID);
  ASSERT_NE(nullptr, Nalo);
  NALO_CONFIG_HEADER Header;
  NALO_PORT_TABLE PortTable;
  NALO_ADDRESS_ENTRY Addresses[NALO_FUNCTION_ENTRIES];
  NALO_BOOT_ENTRY Boot[NALO_FUNCTION_ENTRIES];
  std::memset(Boot, 0xA5, sizeof(Boot));

  ASSERT_EQ(EFI_SUCCESS, Nalo->GetPortConfiguration(2, 1, 0, &Header, &PortTable, Addresses, nullptr));
  EXPECT_EQ(4, PortTable.DesiredFunctionCount);
  EXPECT_STREQ("21000011AABBCCDD", reinterpret_cast<const char *>(Addresses[1].Wwpn));
  EXPECT_EQ(0xA5, reinterpret_cast<const uint8_t *>(Boot)[0]) << "a NULL buffer is not filled";
  EXPECT_FALSE(Nalo->QueryDefaults(NALO_QUERY_DEFAULTS_PORT));
  EXPECT_TRUE(Nalo->QueryDefaults(NALO_QUERY_DEFAULTS_ADDRESSES));

  // An unknown triple and a status override fill nothing.
  std::memset(&PortTable, 0x5A, sizeof(PortTable));
  EXPECT_EQ(EFI_NOT_FOUND, Nalo->GetPortConfiguration(1, 2, 0, &Header, &PortTable, Addresses, Boot));
  Port.Status = EFI_DEVICE_ERROR;
  EXPECT_EQ(EFI_DEVICE_ERROR, Nalo->GetPortConfiguration(2, 1, 0, &Header, &PortTable, Addresses, Boot));
  EXPECT_EQ(0x5A, PortTable.DesiredFunctionCount);
  ASSERT_EQ(3u, Fw().NaloCalls().size());
  EXPECT_EQ((fake::NaloKey{1, 2, 0}), Fw().NaloCalls()[1].Key);
  EXPECT_EQ(EFI_NOT_FOUND, Fw().NaloCalls()[1].Status);

  EXPECT_EQ(EFI_SUCCESS, Nalo->NotifyRestartRequired());
  EXPECT_EQ(1u, Fw().RestartNotifications());
  EXPECT_EQ(1u, Fw().EventsOf(fake::EventKind::RestartNotification).size());
}

TEST_F(FakePlatformTest, IpmiAnswersScriptedCompletionCodesAndRecordsRequests) {
  auto *Ipmi = Locate<IPMI_TRANSPORT_PROTOCOL>(IPMI_TRANSPORT_PROTOCOL_GUID);
  ASSERT_NE(nullptr, Ipmi);
  Fw().ScriptIpmiCompletionCodes({0xC0, 0xCE});
  Fw().ScriptIpmiStatuses({EFI_DEVICE_ERROR});
  UINT8 Request[] = {0x57, 0x01, 0x00, 0x42};
  UINT8 Response[8];
  const UINT8 ExpectedCodes[] = {0xC0, 0xCE, 0x00};
  const EFI_STATUS ExpectedStatus[] = {EFI_DEVICE_ERROR, EFI_SUCCESS, EFI_SUCCESS};
  for (size_t I = 0; I < 3; ++I) {
    UINT8 ResponseSize = sizeof(Response);
    EXPECT_EQ(ExpectedStatus[I],
              Ipmi->SendIpmiCommand(Ipmi, 0x2E, 0, 0xF5, Request, I == 2 ? 0 : 4, Response, &ResponseSize));
    EXPECT_EQ(ExpectedCodes[I], Ipmi->LastCompletionCode) << I;
    EXPECT_EQ(0, ResponseSize) << I;
  }
  const auto Events = Fw().EventsOf(fake::EventKind::Ipmi);
  ASSERT_EQ(3u, Events.size());
  for (size_t I = 0; I < 3; ++I) {
    EXPECT_EQ(0x2E, Events[I].NetFn);
    EXPECT_EQ(0, Events[I].Lun);
    EXPECT_EQ(0xF5, Events[I].Command);
    EXPECT_EQ(ExpectedCodes[I], Events[I].CompletionCode);
  }
  EXPECT_EQ((std::vector<uint8_t>{0x57, 0x01, 0x00, 0x42}), Events[0].Data);
  EXPECT_TRUE(Events[2].Data.empty()) << "a request of 0 bytes";
}

TEST_F(FakePlatformTest, ConsoleStatusCodeAndPolicyAreRecorded) {
  auto *Console = Locate<CONSOLE_MESSAGE_PROTOCOL>(CONSOLE_MESSAGE_PROTOCOL_GUID);
  ASSERT_NE(nullptr, Console);
  EXPECT_EQ(EFI_SUCCESS, Console->ShowMessage(WSTR("\r\n!!! TOOL \u00e9 !!!\r\n")));

  auto *StatusCode = Locate<EFI_STATUS_CODE_RUNTIME_PROTOCOL>(EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID);
  ASSERT_NE(nullptr, StatusCode);
  EFI_GUID Caller = {0xD083E94C, 0x6560, 0x42E4, {0xB6, 0xD4, 0x2D, 0xF7, 0x5A, 0xDF, 0x6A, 0x2A}};
  EFI_STATUS_CODE_DATA Data = {20, 0, EFI_STATUS_CODE_SPECIFIC_DATA_GUID};
  EXPECT_EQ(EFI_SUCCESS, StatusCode->ReportStatusCode(0x80000002, 0x03808014, 0x00013AA6, &Caller, &Data));

  Fw().SetForceAdapterEnable(1);
  auto *Policy = Locate<PLATFORM_POLICY_PROTOCOL>(PLATFORM_POLICY_PROTOCOL_GUID);
  ASSERT_NE(nullptr, Policy);
  UINT8 Record[PLATFORM_POLICY_RECORD_SIZE];
  std::memset(Record, 0xEE, sizeof(Record));
  EXPECT_EQ(EFI_SUCCESS, Policy->GetPolicy(Record));
  EXPECT_EQ(1, Record[2]);
  EXPECT_EQ(0, Record[0]);
  EXPECT_EQ(1u, Fw().GetPolicyCalls());

  const auto &Events = Fw().Events();
  ASSERT_EQ(2u, Events.size());
  EXPECT_EQ(fake::EventKind::Console, Events[0].Kind);
  EXPECT_EQ("\r\n!!! TOOL \xC3\xA9 !!!\r\n", Events[0].Text);
  EXPECT_EQ(fake::EventKind::StatusCode, Events[1].Kind);
  EXPECT_EQ(0x80000002u, Events[1].Type);
  EXPECT_EQ(0x03808014u, Events[1].Value);
  EXPECT_EQ(0x00013AA6u, Events[1].Instance);
  EXPECT_EQ("D083E94C-6560-42E4-B6D4-2DF75ADF6A2A", fake::GuidToString(Events[1].CallerId));
  EXPECT_TRUE(Events[1].HasStatusData);
  EXPECT_EQ(20, Events[1].DataHeaderSize);
  EXPECT_EQ(0, Events[1].DataSize);
}

TEST_F(FakePlatformTest, RemovedProtocolsAreNotFound) {
  Fw().RemoveNalo();
  Fw().RemoveIpmi();
  Fw().RemoveStatusCode();
  for (EFI_GUID Guid : {EFI_GUID(NALO_CONFIGURATION_PROTOCOL_GUID), EFI_GUID(IPMI_TRANSPORT_PROTOCOL_GUID),
                        EFI_GUID(EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID)}) {
    VOID *Interface = &Guid;
    EXPECT_EQ(EFI_NOT_FOUND, Bs()->LocateProtocol(&Guid, nullptr, &Interface));
    EXPECT_EQ(nullptr, Interface);
  }
  EXPECT_NE(nullptr, Locate<PLATFORM_POLICY_PROTOCOL>(PLATFORM_POLICY_PROTOCOL_GUID));
}

TEST_F(FakePlatformTest, AdapterSettingsHandOutEachControllersOwnRecord) {
  AdapterSpec Spec;
  Spec.VendorId = 0x10DF;
  Spec.DeviceId = 0x0720;
  Spec.Bus = 0x3A;
  Spec.Ports = 2;
  Spec.FunctionsPerPort = 2;
  const BuiltAdapter Adapter = AddAdapter(Fw(), Spec);
  EFI_GUID Guid = ADAPTER_SETTINGS_PROTOCOL_GUID;
  for (size_t Port = 0; Port < 2; ++Port) {
    for (size_t Pf = 0; Pf < 2; ++Pf) {
      ADAPTER_SETTINGS_PROTOCOL *Settings = nullptr;
      ASSERT_EQ(EFI_SUCCESS,
                Bs()->HandleProtocol(Adapter.Handle(Port, Pf), &Guid, reinterpret_cast<VOID **>(&Settings)));
      FUNCTION_SETTINGS *Record = nullptr;
      ASSERT_EQ(EFI_SUCCESS, Settings->GetAdapterSettings(Settings, &Record));
      ASSERT_EQ(Adapter.Record(Port, Pf), Record);
      // The driver reads vendor and device as one 32-bit value at offset 0x108.
      UINT32 Ids = 0;
      std::memcpy(&Ids, reinterpret_cast<const uint8_t *>(Record) + 0x108, 4);
      EXPECT_EQ(0x10DF0720u, Ids);
      EXPECT_EQ((0x3A << 8) | (Port * 2 + Pf), Record->PciAddress);
      EXPECT_EQ(Adapter.Record(Port, 1), Record->Functions[1]);
      EXPECT_EQ(Adapter.Record(1, 0), Record->Ports[1]);
    }
  }
  Fw().SetAdapterSettingsStatus(Adapter.Handle(0, 0), EFI_NOT_READY);
  ADAPTER_SETTINGS_PROTOCOL *Settings = nullptr;
  ASSERT_EQ(EFI_SUCCESS,
            Bs()->HandleProtocol(Adapter.Handle(0, 0), &Guid, reinterpret_cast<VOID **>(&Settings)));
  FUNCTION_SETTINGS *Record = nullptr;
  EXPECT_EQ(EFI_NOT_READY, Settings->GetAdapterSettings(Settings, &Record));
  EXPECT_EQ(nullptr, Record);
}

TEST_F(FakePlatformTest, DebugOutputBecomesDebugEvents) {
  DebugPrint(DEBUG_ERROR, "CLP failed %d\n", 7);
  DebugPrint(DEBUG_INFO, "not printed\n");
  std::string All;
  for (const auto &E : Fw().EventsOf(fake::EventKind::Debug)) {
    All += E.Text;
  }
  EXPECT_EQ("CLP failed 7\r\n", All);
  EXPECT_EQ(All, Fw().SerialOutput());
}

TEST(FakeFirmwareAssertions, FailedDriverAssertionsAreCollected) {
  fake::FakeFirmware Firmware;
  std::string Seen;
  Firmware.SetAssertCallback([&](const std::string &, uint64_t, const std::string &Text) { Seen = Text; });
  DebugAssert("Driver/X.cpp", 12, "Index < 16");
  ASSERT_EQ(1u, Firmware.Assertions().size());
  EXPECT_EQ("Driver/X.cpp:12: Index < 16", Firmware.Assertions()[0]);
  EXPECT_EQ("Index < 16", Seen);
}

} // namespace
