#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>

#include "PlatformToDriver.h"

EFI_STATUS EFIAPI _ModuleEntryPoint(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

namespace fuzz {

const Family kFamilies[] = {
    {0x1077, 0x2031, 0x0000}, {0x1077, 0x2532, 0x0000}, {0x1077, 0x2261, 0x0000}, {0x1077, 0x8070, 0x0000},
    {0x1077, 0x1644, 0x0000}, {0x1077, 0x1656, 0x0000}, {0x10DF, 0x0720, 0xE800}, {0x10DF, 0x0720, 0xE868},
    {0x10DF, 0x0722, 0x0000}, {0x10DF, 0x0724, 0x0000}, {0x10DF, 0xE200, 0x0000}, {0x10DF, 0xE300, 0x0000},
    {0x19A2, 0x0700, 0x0000}, {0x19A2, 0x0702, 0x0000}, {0x19A2, 0x0704, 0x0000}, {0x19A2, 0x0710, 0x0000},
    {0x19A2, 0x0712, 0x0000}, {0x19A2, 0x0714, 0x0000}, {0x15B3, 0x1013, 0x0000}, {0x15B3, 0x1015, 0x0000},
    {0x15B3, 0x1017, 0x0000}, {0x15B3, 0x101B, 0x0000}, {0x8086, 0x1572, 0x0000}, {0x14E4, 0x16D7, 0x0000},
};
const size_t kFamilyCount = sizeof(kFamilies) / sizeof(kFamilies[0]);

const char *const kRealisticReplies[] = {
    "",
    "retdata=Enabled",
    "retdata=Disabled",
    "retdata=Port Disabled",
    "retdata=disabled",
    "retdata=enabled",
    "data=Enabled",
    "data=disabled",
    "data=\"Enabled\"",
    "data=\"Disabled\"",
    "retdata=\r\n16",
    "retdata=\r\nDisabled",
    "retdata=\r\nBootEnable=Enabled",
    "data=19",
    "data=64\r\n",
    "permanentaddress=001B21AABBCC",
    "retdata=aabbccddeeff0011",
    "retdata=20000090fa1b2c3d",
    "data=\"00:0e:1e:aa:bb:cc\"",
    "data=\"00:00:00:00:00:00\"",
    "retdata=ELX_4x10G",
    "retdata=ELX_4x1G",
    "retdata=FCoE",
    "retdata=iSCSI",
    "retdata=NIC",
    "retdata=11.2.3,9",
    "data=14.20.1010,3.5",
    "data=\"MFW:8.50.1,UEFI:6.1.4,MBI:15.20\"",
    "data=\"Ethernet\"",
    "data=\"Ethernet,FCoE,iSCSI,Disabled\"",
    "data=\"NPAR1.5\"",
    "data=\"Default\"",
    "data=\"30,40,50\"",
    "data=\"100\"",
    "data=4095",
    "retdata=PfType=FC\r\nUMCState=Enabled\r\n",
    "retdata=PfType=NIC\r\nPortEnable=Enabled\r\nBootEnable=Disabled\r\nFunctionCount=4\r\n",
    "retdata=PortEnable=Disabled\r\nBootEnable=Enabled\r\n",
    "status=0\r\nretdata=\r\n",
    "retdata=\"",
    "data=\"",
    "data=",
};
const size_t kRealisticReplyCount = sizeof(kRealisticReplies) / sizeof(kRealisticReplies[0]);

void Fail(const std::string &What) {
  std::fprintf(stderr, "fuzz: %s\n", What.c_str());
  std::fflush(stderr);
  std::abort();
}

Platform::Platform() : Firmware(std::make_unique<fake::FakeFirmware>()) {
  Firmware->InstallPlatformProtocols();
  Firmware->SetAssertCallback([](const std::string &File, uint64_t Line, const std::string &Text) {
    Fail("driver ASSERT failed at " + File + ":" + std::to_string(Line) + ": " + Text);
  });
  ResetModuleState();
  if (EFI_ERROR(_ModuleEntryPoint(Firmware->ImageHandle(), Firmware->SystemTable()))) {
    Fail("the driver did not load");
  }
  EFI_GUID Guid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL_GUID;
  Protocol = static_cast<EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *>(
      Firmware->FindProtocol(Firmware->ImageHandle(), Guid));
  if (Protocol == nullptr) {
    Fail("the driver installed no protocol");
  }
}

Platform::~Platform() {
  for (const fake::PoolBlock &Block : Firmware->LivePoolBlocks()) {
    Fail("pool block leaked: allocation #" + std::to_string(Block.Serial) + ", " +
         std::to_string(Block.Size) + " bytes");
  }
  if (!Firmware->DoubleFrees().empty()) {
    Fail("pool block freed twice");
  }
  if (!Firmware->InvalidFrees().empty()) {
    Fail("FreePool of a pointer that was never allocated");
  }
  for (const std::string &Call : Firmware->UnexpectedCalls()) {
    Fail("unexpected firmware call: " + Call);
  }
}

BuiltAdapter AddFuzzAdapter(Platform &P, const Family &Id, uint8_t Bus, uint8_t Ports, uint8_t Pfs,
                            uint8_t Flags) {
  AdapterSpec Spec;
  Spec.VendorId = Id.Vendor;
  Spec.DeviceId = Id.Device;
  Spec.SubsystemId = Id.Subsystem;
  Spec.Bus = Bus;
  Spec.Ports = Ports;
  Spec.FunctionsPerPort = Pfs;
  Spec.PlatformFlags = static_cast<uint8_t>(Flags | PLATFORM_FLAG_MANAGED_MODE_ENABLED);
  return AddAdapter(P.Fw(), Spec);
}

size_t RunDialogue(Platform &P, EFI_HANDLE Controller, Reader &In, const DialogueLimits &Limits,
                   std::vector<uint8_t> &ReplyStorage) {
  size_t Queries = 0;
  UINTN Instance = 0;
  while (Queries < Limits.MaxQueries) {
    UINTN QueryInstance = Instance;
    UINTN Size = 0;
    EFI_GUID *Guid = nullptr;
    VOID *Block = nullptr;
    Queries++;
    const EFI_STATUS Status =
        P.Protocol->Query(P.Protocol, Controller, nullptr, &QueryInstance, &Guid, &Block, &Size);
    if (EFI_ERROR(Status)) {
      break;
    }
    if (Block == nullptr || Guid == nullptr || Size != sizeof(EFI_CONFIGURE_CLP_PARAMETER_BLK)) {
      Fail("Query succeeded without a CLP parameter block");
    }
    auto *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(Block);
    if (Clp->CLPCommand == nullptr) {
      Fail("Query handed out no command");
    }
    // The command must be a terminated text of the length given (an ASan report otherwise).
    volatile CHAR8 Terminator = Clp->CLPCommand[Clp->CLPCommandLength];
    (void)Terminator;

    const uint8_t How = In.Byte();
    if ((How & 3) == 3) {
      ReplyStorage = In.Blob();
    } else {
      const char *Text = kRealisticReplies[In.Byte() % kRealisticReplyCount];
      ReplyStorage.assign(Text, Text + std::char_traits<char>::length(Text));
    }
    // Exactly the reply's bytes on the heap: one byte more read is an ASan report. An empty
    // reply is passed as NULL with length 0 or, when the top bit asks for it, NULL with a length.
    CHAR8 *Reply = nullptr;
    UINT32 ReplyLength = 0;
    if (!ReplyStorage.empty()) {
      Reply = reinterpret_cast<CHAR8 *>(ReplyStorage.data());
      ReplyLength = static_cast<UINT32>(ReplyStorage.size());
    } else if ((How & 0x80) != 0) {
      ReplyLength = In.Byte();
    }
    Clp->CLPReturnString = Reply;
    Clp->CLPReturnStringLength = ReplyLength;
    Clp->CLPCmdStatus = In.Byte() % 4 == 0 ? In.Byte() : 0;
    Clp->CLPErrorValue = In.Byte();
    const uint8_t ActionByte = In.Byte();
    const auto Action =
        static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(ActionByte % 8 < 6 ? 0 : ActionByte % 6);
    UINTN ResponseInstance = Instance;
    P.Protocol->Response(P.Protocol, Controller, nullptr, &ResponseInstance, Guid, Block, Size, Action);
    Instance = Action == EfiPlatformConfigurationActionRestartController ? 0 : Instance + 1;
  }
  return Queries;
}

} // namespace fuzz

namespace fuzz {

namespace {

const char *const kTexts[] = {"10000090FA1B2C3D",
                              "20000090FA1B2C3D",
                              "0001",
                              "16",
                              "8",
                              "4",
                              "Auto",
                              "PT",
                              "LP",
                              "iqn.2001-04.com.example:storage.disk1",
                              "chapuser",
                              "secret123456",
                              "",
                              "1234567890ABCDEF1234"};

CHAR8 *Text(fake::NaloEntry &Entry, Reader &In, bool Hostile) {
  const uint8_t Shape = In.Byte();
  if (Shape % 5 == 0) {
    return nullptr;
  }
  if (Hostile && Shape % 5 == 1) {
    // Any bytes and any length up to 510, ended by the only NUL: a platform text has no length
    // field, so its terminator is the one promise the driver can hold the platform to; it must
    // still never copy more of it than the command field takes.
    std::vector<uint8_t> Bytes = In.Blob();
    for (uint8_t &B : Bytes) {
      B = B == 0 ? 'X' : B;
    }
    Bytes.push_back(0);
    return reinterpret_cast<CHAR8 *>(Entry.OwnBytes(Bytes));
  }
  return Entry.OwnText(kTexts[In.Byte() % (sizeof(kTexts) / sizeof(kTexts[0]))]);
}

UINT8 *Binary(fake::NaloEntry &Entry, Reader &In, size_t Count) {
  if (In.Byte() % 4 == 0) {
    return nullptr;
  }
  std::vector<uint8_t> Bytes = In.Bytes(Count);
  Bytes.resize(Count);
  return Entry.OwnBytes(Bytes);
}

} // namespace

void FillNaloEntry(fake::NaloEntry &Entry, Reader &In, bool Hostile) {
  const uint8_t Status = In.Byte();
  Entry.Status = Status % 8 == 7 ? EFI_NOT_FOUND : EFI_SUCCESS;
  NALO_CONFIG_HEADER &H = Entry.Header;
  H.ConfigType = In.Byte() % 4;
  H.ConfigSubtype = In.Byte() % 4;
  H.PortTableValid = In.Byte() % 3;
  H.AddressTableValid = In.Byte() % 3;
  H.BootTableValid = In.Byte() % 3;
  H.ResponseFlag = In.Byte() % 3;
  H.InitiatorName = Text(Entry, In, Hostile);
  H.SriovValid = In.Byte() % 3;

  NALO_PORT_TABLE &Port = Entry.PortTable;
  Port.DesiredPortEnable = In.Byte() % 3;
  Port.PortMode = In.Byte() % 4;
  Port.DesiredFunctionCount = Hostile ? In.Byte() : In.Byte() % 5;
  const unsigned Functions = In.Byte() % (NALO_FUNCTION_ENTRIES + 1);
  for (unsigned I = 0; I < Functions; I++) {
    NALO_FUNCTION_ENTRY &F = Port.Function[I];
    F.Enabled = In.Byte() % 3;
    F.FunctionType = Hostile ? In.Byte() : In.Byte() % 8;
    F.RoceMode = In.Byte() % 3;
    F.SriovEnable = In.Byte() % 3;
    F.MinBandwidthShare = Binary(Entry, In, 1);
    F.MaxBandwidthShare = Binary(Entry, In, 1);
    F.FunctionVlanId = reinterpret_cast<UINT16 *>(Binary(Entry, In, 2));

    NALO_ADDRESS_ENTRY &A = Entry.AddressTable[I];
    A.Enabled = In.Byte() % 3;
    A.Mac = Binary(Entry, In, 6);
    A.Wwnn = Text(Entry, In, Hostile);
    A.Wwpn = Text(Entry, In, Hostile);

    NALO_BOOT_ENTRY &B = Entry.BootTable[I];
    B.Enabled = In.Byte() % 3;
    B.BootVlanId = reinterpret_cast<UINT16 *>(Binary(Entry, In, 2));
    B.Target1Wwpn = Text(Entry, In, Hostile);
    B.Target1Lun = Text(Entry, In, Hostile);
    B.Target2Wwpn = Text(Entry, In, Hostile);
    B.Target2Lun = Text(Entry, In, Hostile);
    B.FcLinkSpeed = Text(Entry, In, Hostile);
    B.FcTopology = Text(Entry, In, Hostile);
    B.InitiatorOrigin = Binary(Entry, In, 1);
    B.InitiatorAddress = Binary(Entry, In, 4);
    B.InitiatorSubnetMask = Binary(Entry, In, 4);
    B.InitiatorGateway = Binary(Entry, In, 4);
    B.TargetOrigin = Binary(Entry, In, 1);
    B.TargetName = Text(Entry, In, Hostile);
    B.TargetAddress = Binary(Entry, In, 4);
    B.TargetTcpPort = reinterpret_cast<UINT16 *>(Binary(Entry, In, 2));
    B.TargetBootLun = Binary(Entry, In, 1);
    B.AuthMethod = Binary(Entry, In, 1);
    B.ChapUserName = Text(Entry, In, Hostile);
    B.ChapSecret = Text(Entry, In, Hostile);
    B.MutualChapSecret = Text(Entry, In, Hostile);
  }
  Entry.QueryDefaultsPort = In.Byte() % 2 != 0;
  Entry.QueryDefaultsAddresses = In.Byte() % 2 != 0;
}

} // namespace fuzz
