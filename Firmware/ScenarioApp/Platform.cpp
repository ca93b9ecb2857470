// The platform of a scenario: settings records on the VM's e1000e functions, the virtual-I/O
// configuration, the platform policy, an IPMI transport with the scenario's completion codes, a
// console-message protocol and the scenario's NVRAM variables; and taking them all away again.
#include "ScenarioApp.h"
#include "Protocol/ConsoleMessage.h"
#include "Protocol/IpmiTransport.h"
#include "Protocol/PlatformPolicy.h"

namespace app {

PciFunction gFunctions[kMaxFunctions];
UINTN gFunctionCount;

namespace {

EFI_GUID gAdapterSettingsGuid = ADAPTER_SETTINGS_PROTOCOL_GUID;
EFI_GUID gNaloGuid = NALO_CONFIGURATION_PROTOCOL_GUID;
EFI_GUID gPolicyGuid = PLATFORM_POLICY_PROTOCOL_GUID;
EFI_GUID gIpmiGuid = IPMI_TRANSPORT_PROTOCOL_GUID;
EFI_GUID gConsoleMessageGuid = CONSOLE_MESSAGE_PROTOCOL_GUID;

constexpr UINT16 kE1000eVendorId = 0x8086;
constexpr UINT16 kE1000eDeviceId = 0x10D3;

PTD_PACK_SCENARIO *gScenario;
UINTN gIpmiCodesUsed;

struct SettingsInstance {
  ADAPTER_SETTINGS_PROTOCOL Protocol;
  FUNCTION_SETTINGS *Record;
  EFI_HANDLE Handle;
};
SettingsInstance gSettings[kMaxFunctions];

EFI_STATUS EFIAPI GetAdapterSettings(ADAPTER_SETTINGS_PROTOCOL *This, FUNCTION_SETTINGS **Settings) {
  for (SettingsInstance &S : gSettings) {
    if (&S.Protocol == This && S.Record != nullptr && Settings != nullptr) {
      *Settings = S.Record;
      return EFI_SUCCESS;
    }
  }
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI Unused() {
  return EFI_UNSUPPORTED;
}

PTD_PACK_NALO *gNaloLastReturned;

EFI_STATUS EFIAPI GetPortConfiguration(UINT8 NaloIndex, UINT8 CardIndex, UINT8 PortIndex,
                                       NALO_CONFIG_HEADER *Header, NALO_PORT_TABLE *PortTable,
                                       NALO_ADDRESS_ENTRY *AddressTable, NALO_BOOT_ENTRY *BootTable) {
  for (UINT32 I = 0; I < gScenario->NaloCount; I++) {
    PTD_PACK_NALO *N = &gScenario->Nalo[I];
    if (N->Key[0] != NaloIndex || N->Key[1] != CardIndex || N->Key[2] != PortIndex) {
      continue;
    }
    if (EFI_ERROR(N->Status)) {
      return N->Status;
    }
    if (Header != nullptr) {
      CopyMem(Header, &N->Header, sizeof(*Header));
    }
    if (PortTable != nullptr) {
      CopyMem(PortTable, &N->PortTable, sizeof(*PortTable));
    }
    if (AddressTable != nullptr) {
      CopyMem(AddressTable, N->AddressTable, sizeof(N->AddressTable));
    }
    if (BootTable != nullptr) {
      CopyMem(BootTable, N->BootTable, sizeof(N->BootTable));
    }
    gNaloLastReturned = N;
    return EFI_SUCCESS;
  }
  return EFI_NOT_FOUND;
}

BOOLEAN EFIAPI QueryDefaults(UINTN Selector) {
  if (gNaloLastReturned == nullptr || Selector > 1) {
    return FALSE;
  }
  return (Selector == NALO_QUERY_DEFAULTS_PORT ? gNaloLastReturned->QueryDefaultsPort
                                               : gNaloLastReturned->QueryDefaultsAddresses) != 0;
}

EFI_STATUS EFIAPI NotifyRestartRequired() {
  NewEvent(ptd::EventKind::RestartNotification);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetPolicy(UINT8 *Record) {
  if (Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  SetMem(Record, PLATFORM_POLICY_RECORD_SIZE, 0);
  Record[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET] = gScenario->ForceAdapterEnable;
  return EFI_SUCCESS;
}

IPMI_TRANSPORT_PROTOCOL gIpmi;

EFI_STATUS EFIAPI SendIpmiCommand(IPMI_TRANSPORT_PROTOCOL *This, UINT8 NetFunction, UINT8 Lun, UINT8 Command,
                                  UINT8 *CommandData, UINT8 CommandDataSize, UINT8 *ResponseData,
                                  UINT8 *ResponseDataSize) {
  (VOID) ResponseData;
  if (This != &gIpmi || ResponseDataSize == nullptr || (CommandData == nullptr && CommandDataSize != 0)) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8 Code = 0;
  if (gIpmiCodesUsed < gScenario->IpmiCodeCount) {
    Code = gScenario->IpmiCodes[gIpmiCodesUsed++];
  }
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::Ipmi)) {
    E->NetFn = NetFunction;
    E->Lun = Lun;
    E->Command = Command;
    E->CompletionCode = Code;
    E->Data = KeepBytes(CommandData, CommandDataSize);
    E->DataSize = E->Data != nullptr ? CommandDataSize : 0;
  }
  *ResponseDataSize = 0;
  gIpmi.LastCompletionCode = Code;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ShowMessage(CHAR16 *String) {
  if (String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  UINTN Length = 0;
  while (String[Length] != 0 && Length < 4096) {
    Length++;
  }
  if (ptd::EventFields *E = NewEvent(ptd::EventKind::Console)) {
    KeepText(E, String, Length);
  }
  return EFI_SUCCESS;
}

NALO_CONFIGURATION_PROTOCOL gNalo = {(NALO_UNUSED_MEMBER)Unused, (NALO_UNUSED_MEMBER)Unused,
                                     GetPortConfiguration,       QueryDefaults,
                                     (NALO_UNUSED_MEMBER)Unused, (NALO_UNUSED_MEMBER)Unused,
                                     (NALO_UNUSED_MEMBER)Unused, NotifyRestartRequired};
PLATFORM_POLICY_PROTOCOL gPolicy = {(PLATFORM_POLICY_UNUSED_MEMBER)Unused,
                                    (PLATFORM_POLICY_UNUSED_MEMBER)Unused,
                                    (PLATFORM_POLICY_UNUSED_MEMBER)Unused, GetPolicy};
CONSOLE_MESSAGE_PROTOCOL gConsoleMessage = {(CONSOLE_MESSAGE_UNUSED_MEMBER)Unused, ShowMessage};
EFI_HANDLE gNaloHandle, gPolicyHandle, gIpmiHandle, gConsoleHandle;

EFI_STATUS Install(EFI_HANDLE *Handle, EFI_GUID *Guid, VOID *Interface) {
  *Handle = nullptr;
  return uefi_call_wrapper(BS->InstallProtocolInterface, 4, Handle, Guid, EFI_NATIVE_INTERFACE, Interface);
}

VOID Uninstall(EFI_HANDLE *Handle, EFI_GUID *Guid, VOID *Interface) {
  if (*Handle != nullptr) {
    uefi_call_wrapper(BS->UninstallProtocolInterface, 3, *Handle, Guid, Interface);
    *Handle = nullptr;
  }
}

} // namespace

VOID FindTestFunctions() {
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  if (EFI_ERROR(uefi_call_wrapper(BS->LocateHandleBuffer, 5, ByProtocol, &PciIoProtocol, nullptr, &Count,
                                  &Handles))) {
    return;
  }
  for (UINTN I = 0; I < Count; I++) {
    EFI_PCI_IO *PciIo = nullptr;
    if (EFI_ERROR(uefi_call_wrapper(BS->HandleProtocol, 3, Handles[I], &PciIoProtocol, (VOID **)&PciIo))) {
      continue;
    }
    UINT16 Ids[2] = {0, 0};
    uefi_call_wrapper(PciIo->Pci.Read, 5, PciIo, EfiPciIoWidthUint16, 0, 2, Ids);
    UINTN Segment, Bus, Device, Fn;
    if (Ids[0] != kE1000eVendorId || Ids[1] != kE1000eDeviceId ||
        EFI_ERROR(uefi_call_wrapper(PciIo->GetLocation, 5, PciIo, &Segment, &Bus, &Device, &Fn)) ||
        gFunctionCount >= kMaxFunctions) {
      continue;
    }
    UINTN At = gFunctionCount++;
    const UINTN Key = Bus << 16 | Device << 8 | Fn;
    while (At > 0 && (gFunctions[At - 1].Bus << 16 | gFunctions[At - 1].Device << 8 |
                      gFunctions[At - 1].Function) > Key) {
      gFunctions[At] = gFunctions[At - 1];
      At--;
    }
    gFunctions[At] = {Handles[I], Bus, Device, Fn};
  }
  FreePool(Handles);
}

VOID BuildPlatform(PTD_PACK_SCENARIO *S) {
  gScenario = S;
  gIpmiCodesUsed = 0;
  gNaloLastReturned = nullptr;
  gIpmi.LastCompletionCode = 0;
  gIpmi.SendIpmiCommand = SendIpmiCommand;
  for (UINT32 V = 0; V < S->VariableCount; V++) {
    PTD_PACK_VARIABLE &Var = S->Variables[V];
    uefi_call_wrapper(gRealSetVariable, 5, Var.Name, &Var.Guid, Var.Attributes, (UINTN)Var.Size, Var.Data);
  }
  if ((S->Protocols & PTD_PACK_HAS_NALO) != 0) {
    Install(&gNaloHandle, &gNaloGuid, &gNalo);
  }
  if ((S->Protocols & PTD_PACK_HAS_POLICY) != 0) {
    Install(&gPolicyHandle, &gPolicyGuid, &gPolicy);
  }
  if ((S->Protocols & PTD_PACK_HAS_IPMI) != 0) {
    Install(&gIpmiHandle, &gIpmiGuid, &gIpmi);
  }
  if ((S->Protocols & PTD_PACK_HAS_CONSOLE) != 0) {
    Install(&gConsoleHandle, &gConsoleMessageGuid, &gConsoleMessage);
  }
  for (UINT32 C = 0; C < S->ControllerCount; C++) {
    SettingsInstance &Si = gSettings[C];
    Si.Record = S->Controllers[C].Record;
    Si.Protocol.GetAdapterSettings = GetAdapterSettings;
    Si.Handle = nullptr;
    if (Si.Record != nullptr && (S->Protocols & PTD_PACK_HAS_ADAPTER_SETTINGS) != 0) {
      Si.Handle = gFunctions[C].Handle;
      uefi_call_wrapper(BS->InstallProtocolInterface, 4, &Si.Handle, &gAdapterSettingsGuid,
                        EFI_NATIVE_INTERFACE, &Si.Protocol);
    }
  }
}

// The next scenario starts from a clean platform: the protocols and the variables of this one go.
VOID TearDownPlatform(PTD_PACK_SCENARIO *S) {
  for (UINT32 C = 0; C < S->ControllerCount; C++) {
    Uninstall(&gSettings[C].Handle, &gAdapterSettingsGuid, &gSettings[C].Protocol);
  }
  Uninstall(&gNaloHandle, &gNaloGuid, &gNalo);
  Uninstall(&gPolicyHandle, &gPolicyGuid, &gPolicy);
  Uninstall(&gIpmiHandle, &gIpmiGuid, &gIpmi);
  Uninstall(&gConsoleHandle, &gConsoleMessageGuid, &gConsoleMessage);
  for (UINT32 V = 0; V < S->VariableCount; V++) {
    PTD_PACK_VARIABLE &Var = S->Variables[V];
    uefi_call_wrapper(gRealSetVariable, 5, Var.Name, &Var.Guid, 0, (UINTN)0, nullptr);
  }
  ForgetWrittenVariables();
}

} // namespace app
