// The platform protocols the driver consumes: adapter settings, console message, status code,
// IPMI transport, the virtual-I/O configuration (NALO) and the platform policy. Several of them
// have members without a This pointer, as the platform defines them; those reach the single
// active fake.
#include "FakeFirmware/Internal.h"

#include <cstring>
#include <stdexcept>

namespace fake {

namespace {

constexpr size_t kMaxConsoleChars = 64 * 1024;

const EFI_GUID kAdapterSettingsGuid = ADAPTER_SETTINGS_PROTOCOL_GUID;
const EFI_GUID kConsoleMessageGuid = CONSOLE_MESSAGE_PROTOCOL_GUID;
const EFI_GUID kStatusCodeGuid = EFI_STATUS_CODE_RUNTIME_PROTOCOL_GUID;
const EFI_GUID kIpmiGuid = IPMI_TRANSPORT_PROTOCOL_GUID;
const EFI_GUID kNaloGuid = NALO_CONFIGURATION_PROTOCOL_GUID;
const EFI_GUID kPolicyGuid = PLATFORM_POLICY_PROTOCOL_GUID;

bool ReadText16(const CHAR16 *Text, std::u16string &Out) {
  Out.clear();
  for (size_t I = 0; I < kMaxConsoleChars; ++I) {
    if (Text[I] == 0) {
      return true;
    }
    Out += static_cast<char16_t>(Text[I]);
  }
  return false;
}

} // namespace

// Firmware-called members; a friend of FakeFirmware.
struct PlatformCalls {
  static EFI_STATUS EFIAPI GetAdapterSettings(ADAPTER_SETTINGS_PROTOCOL *This, FUNCTION_SETTINGS **Settings) {
    FakeFirmware &F = FakeFirmware::Active();
    FakeFirmware::SettingsInstance *Instance = nullptr;
    for (const auto &Candidate : F.SettingsInstances_) {
      if (&Candidate->Protocol == This) {
        Instance = Candidate.get();
      }
    }
    if (Instance == nullptr || Settings == nullptr) {
      F.RecordUnexpected("AdapterSettings.GetAdapterSettings: unknown This or NULL Settings");
      return EFI_INVALID_PARAMETER;
    }
    ++F.GetAdapterSettingsCalls_;
    if (EFI_ERROR(Instance->Status)) {
      return Instance->Status;
    }
    *Settings = Instance->Record.get();
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI ShowMessage(CHAR16 *String) {
    FakeFirmware &F = FakeFirmware::Active();
    if (String == nullptr) {
      F.RecordUnexpected("ConsoleMessage.ShowMessage: NULL string");
      return EFI_INVALID_PARAMETER;
    }
    std::u16string Text;
    if (!ReadText16(String, Text)) {
      F.RecordUnexpected("ConsoleMessage.ShowMessage: unterminated string");
      return EFI_INVALID_PARAMETER;
    }
    Event E;
    E.Kind = EventKind::Console;
    E.Text = Utf16ToUtf8(Text);
    E.Status = F.ConsoleStatus_;
    F.Events_.push_back(std::move(E));
    return F.ConsoleStatus_;
  }

  static EFI_STATUS EFIAPI ConOutOutputString(SIMPLE_TEXT_OUTPUT_INTERFACE *This, CHAR16 *String) {
    FakeFirmware &F = FakeFirmware::Active();
    std::u16string Text;
    if (This != &F.ConOut_ || String == nullptr || !ReadText16(String, Text)) {
      F.RecordUnexpected("ConOut.OutputString: bad arguments");
      return EFI_INVALID_PARAMETER;
    }
    F.ConOutText_ += Utf16ToUtf8(Text);
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI ReportStatusCode(EFI_STATUS_CODE_TYPE Type, EFI_STATUS_CODE_VALUE Value,
                                            UINT32 Instance, EFI_GUID *CallerId, EFI_STATUS_CODE_DATA *Data) {
    FakeFirmware &F = FakeFirmware::Active();
    Event E;
    E.Kind = EventKind::StatusCode;
    E.Type = Type;
    E.Value = Value;
    E.Instance = Instance;
    if (CallerId != nullptr) {
      E.HasCallerId = true;
      E.CallerId = *CallerId;
    }
    if (Data != nullptr) {
      E.HasStatusData = true;
      E.DataHeaderSize = Data->HeaderSize;
      E.DataSize = Data->Size;
      E.DataType = Data->Type;
      // The extended data follows the header; HeaderSize says where it starts.
      const auto *Bytes = reinterpret_cast<const uint8_t *>(Data) + Data->HeaderSize;
      E.Data.assign(Bytes, Bytes + Data->Size);
    }
    F.Events_.push_back(std::move(E));
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun,
                                           UINT8 Command, UINT8 *CommandData, UINT8 CommandDataSize,
                                           UINT8 *ResponseData, UINT8 *ResponseDataSize) {
    FakeFirmware &F = FakeFirmware::Active();
    if (This != &F.Ipmi_) {
      F.RecordUnexpected("IpmiTransport.SendIpmiCommand: unknown This");
      return EFI_INVALID_PARAMETER;
    }
    if ((CommandData == nullptr && CommandDataSize != 0) || ResponseDataSize == nullptr ||
        (ResponseData == nullptr && *ResponseDataSize != 0)) {
      F.RecordUnexpected("IpmiTransport.SendIpmiCommand: NULL buffer with a non-zero size");
      return EFI_INVALID_PARAMETER;
    }
    ++F.IpmiCalls_;
    Event E;
    E.Kind = EventKind::Ipmi;
    E.NetFn = NetFunction;
    E.Lun = Lun;
    E.Command = Command;
    E.ResponseCapacity = *ResponseDataSize;
    if (CommandDataSize != 0) {
      E.Data.assign(CommandData, CommandData + CommandDataSize);
    }
    E.CompletionCode = 0x00;
    if (!F.IpmiCodes_.empty()) {
      E.CompletionCode = F.IpmiCodes_.front();
      F.IpmiCodes_.pop_front();
    }
    E.Status = EFI_SUCCESS;
    if (!F.IpmiStatuses_.empty()) {
      E.Status = F.IpmiStatuses_.front();
      F.IpmiStatuses_.pop_front();
    }
    std::vector<uint8_t> Response;
    if (!F.IpmiResponses_.empty()) {
      Response = F.IpmiResponses_.front();
      F.IpmiResponses_.pop_front();
    }
    const size_t Capacity = *ResponseDataSize;
    const size_t Copied = Response.size() < Capacity ? Response.size() : Capacity;
    if (Copied != 0) {
      std::memcpy(ResponseData, Response.data(), Copied);
    }
    *ResponseDataSize = static_cast<UINT8>(Copied);
    if (Response.size() > Capacity && !EFI_ERROR(E.Status)) {
      E.Status = EFI_BUFFER_TOO_SMALL;
    }
    F.Ipmi_.LastCompletionCode = E.CompletionCode;
    const EFI_STATUS Status = E.Status;
    F.Events_.push_back(std::move(E));
    return Status;
  }

  static EFI_STATUS EFIAPI GetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                                NALO_CONFIG_HEADER *Header, NALO_PORT_TABLE *PortTable,
                                                NALO_ADDRESS_ENTRY *AddressTable,
                                                NALO_BOOT_ENTRY *BootTable) {
    FakeFirmware &F = FakeFirmware::Active();
    NaloCall Call;
    Call.Key = NaloKey{NaloIndex, CardIndex, PortIndex};
    Call.Header = Header != nullptr;
    Call.PortTable = PortTable != nullptr;
    Call.AddressTable = AddressTable != nullptr;
    Call.BootTable = BootTable != nullptr;
    auto It = F.NaloEntries_.find(Call.Key);
    if (It == F.NaloEntries_.end()) {
      Call.Status = EFI_NOT_FOUND;
    } else if (EFI_ERROR(It->second->Status)) {
      Call.Status = It->second->Status;
    } else {
      const NaloEntry &Entry = *It->second;
      if (Header != nullptr) {
        std::memcpy(Header, &Entry.Header, sizeof(NALO_CONFIG_HEADER));
      }
      if (PortTable != nullptr) {
        std::memcpy(PortTable, &Entry.PortTable, sizeof(NALO_PORT_TABLE));
      }
      if (AddressTable != nullptr) {
        std::memcpy(AddressTable, Entry.AddressTable, sizeof(Entry.AddressTable));
      }
      if (BootTable != nullptr) {
        std::memcpy(BootTable, Entry.BootTable, sizeof(Entry.BootTable));
      }
      F.NaloLastReturned_ = Call.Key;
      Call.Status = EFI_SUCCESS;
    }
    F.NaloCalls_.push_back(Call);
    return Call.Status;
  }

  static BOOLEAN EFIAPI QueryDefaults(UINTN Selector) {
    FakeFirmware &F = FakeFirmware::Active();
    ++F.QueryDefaultsCalls_;
    if (Selector > 1) {
      F.RecordUnexpected("NaloConfiguration.QueryDefaults: selector " + std::to_string(Selector));
      return FALSE;
    }
    if (!F.NaloLastReturned_.has_value()) {
      return FALSE;
    }
    auto It = F.NaloEntries_.find(*F.NaloLastReturned_);
    if (It == F.NaloEntries_.end()) {
      return FALSE;
    }
    const bool Answer = Selector == NALO_QUERY_DEFAULTS_PORT ? It->second->QueryDefaultsPort
                                                             : It->second->QueryDefaultsAddresses;
    return Answer ? TRUE : FALSE;
  }

  static EFI_STATUS EFIAPI NotifyRestartRequired() {
    FakeFirmware &F = FakeFirmware::Active();
    ++F.RestartNotifications_;
    Event E;
    E.Kind = EventKind::RestartNotification;
    F.Events_.push_back(std::move(E));
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI GetPolicy(UINT8 *Record) {
    FakeFirmware &F = FakeFirmware::Active();
    ++F.GetPolicyCalls_;
    if (Record == nullptr) {
      F.RecordUnexpected("PlatformPolicy.GetPolicy: NULL record");
      return EFI_INVALID_PARAMETER;
    }
    if (EFI_ERROR(F.PolicyStatus_)) {
      return F.PolicyStatus_;
    }
    std::memcpy(Record, F.PolicyRecord_.data(), F.PolicyRecord_.size());
    return EFI_SUCCESS;
  }
};

void Services::InstallPlatformMembers(FakeFirmware &F) {
  FAKE_UNEXPECTED(F.ConsoleMessage_, Member1, "ConsoleMessage.Member1");
  F.ConsoleMessage_.ShowMessage = PlatformCalls::ShowMessage;

  F.StatusCode_.ReportStatusCode = PlatformCalls::ReportStatusCode;

  F.Ipmi_.LastCompletionCode = 0;
  F.Ipmi_.SendIpmiCommand = PlatformCalls::SendIpmiCommand;

  FAKE_UNEXPECTED(F.NaloProtocol_, Member1, "NaloConfiguration.Member1");
  FAKE_UNEXPECTED(F.NaloProtocol_, Member2, "NaloConfiguration.Member2");
  F.NaloProtocol_.GetPortConfiguration = PlatformCalls::GetPortConfiguration;
  F.NaloProtocol_.QueryDefaults = PlatformCalls::QueryDefaults;
  FAKE_UNEXPECTED(F.NaloProtocol_, Member5, "NaloConfiguration.Member5");
  FAKE_UNEXPECTED(F.NaloProtocol_, Member6, "NaloConfiguration.Member6");
  FAKE_UNEXPECTED(F.NaloProtocol_, Member7, "NaloConfiguration.Member7");
  F.NaloProtocol_.NotifyRestartRequired = PlatformCalls::NotifyRestartRequired;

  FAKE_UNEXPECTED(F.PlatformPolicy_, Member1, "PlatformPolicy.Member1");
  FAKE_UNEXPECTED(F.PlatformPolicy_, Member2, "PlatformPolicy.Member2");
  FAKE_UNEXPECTED(F.PlatformPolicy_, Member3, "PlatformPolicy.Member3");
  F.PlatformPolicy_.GetPolicy = PlatformCalls::GetPolicy;

  FAKE_UNEXPECTED(F.ConOut_, Reset, "ConOut.Reset");
  F.ConOut_.OutputString = PlatformCalls::ConOutOutputString;
  FAKE_UNEXPECTED(F.ConOut_, TestString, "ConOut.TestString");
  FAKE_UNEXPECTED(F.ConOut_, QueryMode, "ConOut.QueryMode");
  FAKE_UNEXPECTED(F.ConOut_, SetMode, "ConOut.SetMode");
  FAKE_UNEXPECTED(F.ConOut_, SetAttribute, "ConOut.SetAttribute");
  FAKE_UNEXPECTED(F.ConOut_, ClearScreen, "ConOut.ClearScreen");
  FAKE_UNEXPECTED(F.ConOut_, SetCursorPosition, "ConOut.SetCursorPosition");
  FAKE_UNEXPECTED(F.ConOut_, EnableCursor, "ConOut.EnableCursor");
  F.ConOut_.Mode = nullptr;
}

void FakeFirmware::EnableConOut() {
  SystemTable_.ConOut = &ConOut_;
}

// ---- ADAPTER_SETTINGS_PROTOCOL ------------------------------------------------------------------

FUNCTION_SETTINGS *FakeFirmware::AddAdapterSettings(EFI_HANDLE Controller) {
  if (!HandleExists(Controller)) {
    throw std::invalid_argument("AddAdapterSettings: unknown controller handle");
  }
  if (FindProtocol(Controller, kAdapterSettingsGuid) != nullptr) {
    throw std::invalid_argument("AddAdapterSettings: the controller has settings already");
  }
  auto Instance = std::make_unique<SettingsInstance>();
  Instance->Controller = Controller;
  Instance->Record = std::make_unique<FUNCTION_SETTINGS>();
  std::memset(Instance->Record.get(), 0, sizeof(FUNCTION_SETTINGS));
  Instance->Protocol.GetAdapterSettings = PlatformCalls::GetAdapterSettings;
  EFI_HANDLE Handle = Controller;
  InstallProtocol(&Handle, kAdapterSettingsGuid, &Instance->Protocol);
  FUNCTION_SETTINGS *Record = Instance->Record.get();
  SettingsInstances_.push_back(std::move(Instance));
  return Record;
}

FUNCTION_SETTINGS *FakeFirmware::Settings(EFI_HANDLE Controller) {
  for (const auto &Instance : SettingsInstances_) {
    if (Instance->Controller == Controller) {
      return Instance->Record.get();
    }
  }
  return nullptr;
}

void FakeFirmware::SetAdapterSettingsStatus(EFI_HANDLE Controller, EFI_STATUS Status) {
  for (const auto &Instance : SettingsInstances_) {
    if (Instance->Controller == Controller) {
      Instance->Status = Status;
      return;
    }
  }
  throw std::invalid_argument("SetAdapterSettingsStatus: the controller has no settings");
}

// ---- Installation ---------------------------------------------------------------------------------

void FakeFirmware::InstallPlatform(void *Interface, const EFI_GUID &Guid, EFI_HANDLE &Slot) {
  if (Slot != nullptr) {
    return; // installed already
  }
  InstallProtocol(&Slot, Guid, Interface);
}

void FakeFirmware::RemovePlatform(void *Interface, const EFI_GUID &Guid, EFI_HANDLE &Slot) {
  if (Slot == nullptr) {
    return;
  }
  UninstallProtocol(Slot, Guid, Interface);
  Slot = nullptr;
}

void FakeFirmware::InstallPlatformProtocols(const PlatformProtocols &Which) {
  if (Which.Nalo) {
    InstallNalo();
  }
  if (Which.PlatformPolicy) {
    InstallPlatformPolicy();
  }
  if (Which.Ipmi) {
    InstallIpmi();
  }
  if (Which.ConsoleMessage) {
    InstallConsoleMessage();
  }
  if (Which.StatusCode) {
    InstallStatusCode();
  }
}

void FakeFirmware::InstallNalo() {
  InstallPlatform(&NaloProtocol_, kNaloGuid, NaloHandle_);
}
void FakeFirmware::InstallPlatformPolicy() {
  InstallPlatform(&PlatformPolicy_, kPolicyGuid, PolicyHandle_);
}
void FakeFirmware::InstallIpmi() {
  InstallPlatform(&Ipmi_, kIpmiGuid, IpmiHandle_);
}
void FakeFirmware::InstallConsoleMessage() {
  InstallPlatform(&ConsoleMessage_, kConsoleMessageGuid, ConsoleHandle_);
}
void FakeFirmware::InstallStatusCode() {
  InstallPlatform(&StatusCode_, kStatusCodeGuid, StatusCodeHandle_);
}
void FakeFirmware::RemoveNalo() {
  RemovePlatform(&NaloProtocol_, kNaloGuid, NaloHandle_);
}
void FakeFirmware::RemovePlatformPolicy() {
  RemovePlatform(&PlatformPolicy_, kPolicyGuid, PolicyHandle_);
}
void FakeFirmware::RemoveIpmi() {
  RemovePlatform(&Ipmi_, kIpmiGuid, IpmiHandle_);
}
void FakeFirmware::RemoveConsoleMessage() {
  RemovePlatform(&ConsoleMessage_, kConsoleMessageGuid, ConsoleHandle_);
}
void FakeFirmware::RemoveStatusCode() {
  RemovePlatform(&StatusCode_, kStatusCodeGuid, StatusCodeHandle_);
}

// ---- Scripts and entries ----------------------------------------------------------------------------

void FakeFirmware::ScriptIpmiCompletionCodes(const std::vector<uint8_t> &Codes) {
  IpmiCodes_.insert(IpmiCodes_.end(), Codes.begin(), Codes.end());
}

void FakeFirmware::ScriptIpmiStatuses(const std::vector<EFI_STATUS> &Statuses) {
  IpmiStatuses_.insert(IpmiStatuses_.end(), Statuses.begin(), Statuses.end());
}

NaloEntry &FakeFirmware::Nalo(uint8_t NaloIndex, uint8_t CardIndex, uint8_t PortIndex) {
  auto &Slot = NaloEntries_[NaloKey{NaloIndex, CardIndex, PortIndex}];
  if (!Slot) {
    Slot = std::make_unique<NaloEntry>();
  }
  return *Slot;
}

void FakeFirmware::RemoveNaloEntry(uint8_t NaloIndex, uint8_t CardIndex, uint8_t PortIndex) {
  NaloEntries_.erase(NaloKey{NaloIndex, CardIndex, PortIndex});
}

} // namespace fake
