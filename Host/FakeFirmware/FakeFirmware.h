// A UEFI platform in a host process: system table, boot and runtime services with a real handle
// database, pool bookkeeping, NVRAM, PCI functions with an ECAM window reached through real ACPI
// tables, and the platform protocols the driver consumes. Everything the driver does to the
// platform is recorded in one ordered event log.
//
// One instance is active at a time (the protocols without a This pointer and the library hooks
// reach it through FakeFirmware::Active()); a fresh platform is a freshly constructed object.
//
// The fake is deliberately strict where real firmware is strict (unknown handles, duplicate
// protocols, variable parameter rules, disconnect without a bound driver) so that code that
// passes here does not fail on real firmware. Calls to services the driver has no business using
// are answered EFI_UNSUPPORTED and listed in UnexpectedCalls().
#pragma once

#include <array>
#include <csetjmp>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

extern "C++" {
#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Protocol/ConsoleMessage.h"
#include "Protocol/IpmiTransport.h"
#include "Protocol/NaloConfiguration.h"
#include "Protocol/PlatformPolicy.h"
#include "Scenario/TranscriptNames.h"
}

namespace fake {

// The kinds and names of events are the transcript's ("ipmi", "statusCode", ...); the fake never
// records a Start, which marks a nested run in a transcript.
using ptd::EventKind;
using ptd::EventKindName;

// One thing the driver did to the platform. Only the fields of the event's kind are meaningful.
struct Event {
  EventKind Kind = EventKind::Debug;
  EFI_STATUS Status = EFI_SUCCESS; // what the platform answered (ipmi, setVariable, console, connect, ...)

  // ipmi
  uint8_t NetFn = 0, Lun = 0, Command = 0, CompletionCode = 0;
  uint8_t ResponseCapacity = 0; // *ResponseDataSize on entry
  std::vector<uint8_t> Data;    // ipmi request bytes, setVariable data, statusCode extended data

  // statusCode
  uint32_t Type = 0, Value = 0, Instance = 0;
  bool HasCallerId = false;
  EFI_GUID CallerId = {};
  bool HasStatusData = false; // an EFI_STATUS_CODE_DATA header was passed
  uint16_t DataHeaderSize = 0, DataSize = 0;
  EFI_GUID DataType = {};

  // setVariable
  std::u16string Name;
  EFI_GUID Guid = {};
  uint32_t Attributes = 0;

  // console (UTF-8), debug (the bytes the serial port received)
  std::string Text;

  // connect, disconnect
  EFI_HANDLE Handle = nullptr;
  EFI_HANDLE DriverImage = nullptr; // disconnect: DriverImageHandle argument; connect: first entry or NULL
  EFI_HANDLE Child = nullptr;       // disconnect: ChildHandle argument
  bool HasRemainingDevicePath = false;
  bool Recursive = false;

  // reset
  EFI_RESET_TYPE ResetType = EfiResetCold;
  EFI_STATUS ResetStatus = EFI_SUCCESS;
};

// "cold", "warm", "shutdown" (or "unknown").
using ptd::ResetTypeName;
// CHAR16 text (UCS-2 with surrogate pairs) to UTF-8 and back.
std::string Utf16ToUtf8(const std::u16string &Text);
std::u16string Utf8ToUtf16(const std::string &Text);
bool SameGuid(const EFI_GUID &A, const EFI_GUID &B);

struct PoolBlock {
  void *Address = nullptr;
  size_t Size = 0;
  EFI_MEMORY_TYPE Type = EfiBootServicesData;
  uint64_t Serial = 0; // allocation order, from 1
};

struct NvramVariable {
  std::u16string Name;
  EFI_GUID Guid = {};
  uint32_t Attributes = 0;
  std::vector<uint8_t> Data;
};

// What GetPortConfiguration answers for one (NaloIndex, CardIndex, PortIndex) triple. Pointer
// fields of the tables point into memory the entry owns: use Own()/OwnText() to create them.
struct NaloEntry {
  EFI_STATUS Status = EFI_SUCCESS; // not EFI_SUCCESS: nothing is filled and this is answered
  NALO_CONFIG_HEADER Header = {};
  NALO_PORT_TABLE PortTable = {};
  NALO_ADDRESS_ENTRY AddressTable[NALO_FUNCTION_ENTRIES] = {};
  NALO_BOOT_ENTRY BootTable[NALO_FUNCTION_ENTRIES] = {};
  bool QueryDefaultsPort = false;      // QueryDefaults(0) after this entry was returned
  bool QueryDefaultsAddresses = false; // QueryDefaults(1)

  template <typename T> T *Own(const T &Value) {
    Storage.emplace_back(sizeof(T));
    auto *Slot = reinterpret_cast<T *>(Storage.back().data());
    *Slot = Value;
    return Slot;
  }
  CHAR8 *OwnText(const std::string &Text);            // NUL-terminated copy
  UINT8 *OwnBytes(const std::vector<uint8_t> &Bytes); // raw copy
  std::deque<std::vector<uint8_t>> Storage;           // stable addresses
};

using NaloKey = std::tuple<uint8_t, uint8_t, uint8_t>;

struct NaloCall {
  NaloKey Key;
  bool Header = false, PortTable = false, AddressTable = false, BootTable = false; // buffers passed
  EFI_STATUS Status = EFI_SUCCESS;
};

// Which platform protocols to install; each is on its own handle, as separate platform drivers
// would install them.
struct PlatformProtocols {
  bool Nalo = true;
  bool PlatformPolicy = true;
  bool Ipmi = true;
  bool ConsoleMessage = true;
  bool StatusCode = true;
};

class FakeFirmware {
public:
  FakeFirmware();
  ~FakeFirmware();
  FakeFirmware(const FakeFirmware &) = delete;
  FakeFirmware &operator=(const FakeFirmware &) = delete;

  // The instance that is currently active; aborts with a message when there is none.
  static FakeFirmware &Active();
  static FakeFirmware *ActiveOrNull();

  // ---- Tables ---------------------------------------------------------------------------------
  EFI_SYSTEM_TABLE *SystemTable() { return &SystemTable_; }
  EFI_BOOT_SERVICES *BootServices() { return &BootServices_; }
  EFI_RUNTIME_SERVICES *RuntimeServices() { return &RuntimeServices_; }
  // The handle of the driver's image; it carries EFI_LOADED_IMAGE_PROTOCOL like a loaded image.
  EFI_HANDLE ImageHandle() const { return ImageHandle_; }
  void SetUefiRevision(uint32_t Revision) { SystemTable_.Hdr.Revision = Revision; }
  // A text output protocol on ConOut; its OutputString text lands in ConOutText().
  void EnableConOut();
  const std::string &ConOutText() const { return ConOutText_; }

  // ---- Handle database --------------------------------------------------------------------------
  // Installs on *Handle, or on a new handle when *Handle is NULL (then *Handle receives it).
  EFI_STATUS InstallProtocol(EFI_HANDLE *Handle, const EFI_GUID &Guid, void *Interface);
  EFI_STATUS UninstallProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid, void *Interface);
  bool HandleExists(EFI_HANDLE Handle) const;
  void *FindProtocol(EFI_HANDLE Handle, const EFI_GUID &Guid) const; // NULL when absent
  std::vector<EFI_HANDLE> HandlesWith(const EFI_GUID &Guid) const;   // in installation order
  std::vector<EFI_GUID> ProtocolsOn(EFI_HANDLE Handle) const;

  // ---- Pool -------------------------------------------------------------------------------------
  std::vector<PoolBlock> LivePoolBlocks() const;
  size_t PoolAllocationCount() const { return AllocationSerial_; }
  size_t PoolFreeCount() const { return FreeCount_; }
  const std::vector<void *> &DoubleFrees() const { return DoubleFrees_; }
  const std::vector<void *> &InvalidFrees() const { return InvalidFrees_; }
  // The next Count AllocatePool calls answer EFI_OUT_OF_RESOURCES.
  void FailNextAllocations(size_t Count) { FailAllocations_ = Count; }

  // ---- Calls the driver should not make ---------------------------------------------------------
  // Service slots the fake does not offer, and protocol calls with arguments that real firmware
  // would reject or crash on, in order ("BootServices.LoadImage", "IPMI.SendIpmiCommand: ...").
  const std::vector<std::string> &UnexpectedCalls() const { return UnexpectedCalls_; }
  void RecordUnexpected(const std::string &What);

  // ---- Connect / disconnect ---------------------------------------------------------------------
  // Disconnect succeeds only on a handle with a bound driver and unbinds it; a successful connect
  // binds one. Scripted results are consumed first, one per call.
  //
  // Once any handle carries EFI_DRIVER_BINDING_PROTOCOL, the driver model is played for real:
  // ConnectController asks each binding's Supported() (in installation order) and calls Start()
  // of the first that accepts a controller nobody manages, inside the call, and answers
  // EFI_NOT_FOUND when no Start() succeeded; DisconnectController calls Stop() of the binding that
  // manages the controller. An adapter driver's Start() calls the configuration protocol, whose
  // restart disconnects and connects the same controller: the new Start() runs nested inside the
  // Response of the old one, as on real firmware. A controller counts as managed from the moment
  // its Start() is entered, so that a disconnect from inside Start() finds it.
  void SetDriverBound(EFI_HANDLE Controller, bool Bound);
  bool IsDriverBound(EFI_HANDLE Controller) const { return Bound_.count(Controller) != 0; }
  // The boot manager's connect at boot (or a later one by the platform): stops the driver that
  // manages the controller, if any, then connects as ConnectController does. Not recorded as an
  // event: the driver under test did not ask for it.
  EFI_STATUS StartDrivers(EFI_HANDLE Controller);
  void ScriptConnect(EFI_HANDLE Controller, EFI_STATUS Status) {
    ConnectScript_[Controller].push_back(Status);
  }
  void ScriptDisconnect(EFI_HANDLE Controller, EFI_STATUS Status) {
    DisconnectScript_[Controller].push_back(Status);
  }

  // ---- NVRAM ------------------------------------------------------------------------------------
  void PutVariable(const std::u16string &Name, const EFI_GUID &Guid, uint32_t Attributes,
                   const std::vector<uint8_t> &Data);
  const NvramVariable *FindVariable(const std::u16string &Name, const EFI_GUID &Guid) const;
  std::vector<NvramVariable> Variables() const;
  // When set, every SetVariable answers this status and stores nothing (an NVRAM that is full
  // or write-protected).
  void FailSetVariable(std::optional<EFI_STATUS> Status) { SetVariableFailure_ = Status; }
  std::optional<EFI_STATUS> SetVariableFailure() const { return SetVariableFailure_; }

  // ---- Reset --------------------------------------------------------------------------------------
  // Runs Boot; a ResetSystem inside it records a "reset" event and ends Boot at once by longjmp
  // back here, as a real reset never returns into the driver. Returns true when a reset ended it.
  // longjmp runs no destructors of the frames it leaves: the driver core has none, and host code
  // on the call chain from Boot down to the driver must not own objects with destructors either
  // (keep such state in objects that outlive the call, as the adapter-driver loop does). Nested
  // calls are allowed; a reset ends the innermost. ResetSystem outside any RunUntilReset aborts
  // the process with a message.
  bool RunUntilReset(const std::function<void()> &Boot);
  [[noreturn]] void EndBootByReset();

  // ---- PCI ----------------------------------------------------------------------------------------
  // A controller handle with EFI_PCI_IO_PROTOCOL; on segment 0 the function's configuration space
  // is its page of the ECAM window, elsewhere a private page (the MCFG table covers segment 0 only).
  EFI_HANDLE AddPciFunction(uint16_t Segment, uint8_t Bus, uint8_t Device, uint8_t Function,
                            uint16_t VendorId, uint16_t DeviceId);
  uint8_t *ConfigSpace(EFI_HANDLE Controller); // 4096 bytes; NULL for a non-PCI handle
  uint64_t EcamBase() const { return reinterpret_cast<uint64_t>(Ecam_); }
  static constexpr size_t kEcamSize = 256u * 1024 * 1024;
  void *Rsdp() const { return Acpi_.data(); }

  // ---- ADAPTER_SETTINGS_PROTOCOL ------------------------------------------------------------------
  // Installs the protocol on the controller (one instance per controller) and returns the record
  // that GetAdapterSettings hands out: zero-initialised, owned by the fake, stable for its life.
  FUNCTION_SETTINGS *AddAdapterSettings(EFI_HANDLE Controller);
  FUNCTION_SETTINGS *Settings(EFI_HANDLE Controller); // NULL when the controller has none
  void SetAdapterSettingsStatus(EFI_HANDLE Controller, EFI_STATUS Status);
  size_t GetAdapterSettingsCalls() const { return GetAdapterSettingsCalls_; }

  // ---- Platform protocols -------------------------------------------------------------------------
  void InstallPlatformProtocols(const PlatformProtocols &Which = PlatformProtocols{});
  void InstallNalo();
  void InstallPlatformPolicy();
  void InstallIpmi();
  void InstallConsoleMessage();
  void InstallStatusCode();
  void RemoveNalo();
  void RemovePlatformPolicy();
  void RemoveIpmi();
  void RemoveConsoleMessage();
  void RemoveStatusCode();

  // CONSOLE_MESSAGE_PROTOCOL
  void SetConsoleStatus(EFI_STATUS Status) { ConsoleStatus_ = Status; }
  CONSOLE_MESSAGE_PROTOCOL *ConsoleMessageProtocol() { return &ConsoleMessage_; }

  // EFI_STATUS_CODE_RUNTIME_PROTOCOL
  EFI_STATUS_CODE_RUNTIME_PROTOCOL *StatusCodeProtocol() { return &StatusCode_; }

  // IPMI_TRANSPORT_PROTOCOL: completion codes and transport statuses are consumed one per call;
  // when a queue is empty the call answers 0x00 and EFI_SUCCESS. Response bytes likewise (default
  // none).
  void ScriptIpmiCompletionCodes(const std::vector<uint8_t> &Codes);
  void ScriptIpmiStatuses(const std::vector<EFI_STATUS> &Statuses);
  void ScriptIpmiResponse(const std::vector<uint8_t> &Bytes) { IpmiResponses_.push_back(Bytes); }
  IPMI_TRANSPORT_PROTOCOL *IpmiProtocol() { return &Ipmi_; }
  size_t IpmiCallCount() const { return IpmiCalls_; }
  // How often LocateProtocol was asked for Guid, found or not.
  size_t LocateProtocolCalls(const EFI_GUID &Guid) const;

  // NALO_CONFIGURATION_PROTOCOL
  NaloEntry &Nalo(uint8_t NaloIndex, uint8_t CardIndex, uint8_t PortIndex); // created on first use
  void RemoveNaloEntry(uint8_t NaloIndex, uint8_t CardIndex, uint8_t PortIndex);
  const std::vector<NaloCall> &NaloCalls() const { return NaloCalls_; }
  size_t QueryDefaultsCalls() const { return QueryDefaultsCalls_; }
  size_t RestartNotifications() const { return RestartNotifications_; }
  NALO_CONFIGURATION_PROTOCOL *NaloProtocol() { return &NaloProtocol_; }

  // PLATFORM_POLICY_PROTOCOL: GetPolicy copies the whole record (byte 2 is ForceAdapterEnable).
  void SetForceAdapterEnable(uint8_t Value) {
    PolicyRecord_[PLATFORM_POLICY_FORCE_ADAPTER_ENABLE_OFFSET] = Value;
  }
  std::array<uint8_t, PLATFORM_POLICY_RECORD_SIZE> &PolicyRecord() { return PolicyRecord_; }
  void SetPolicyStatus(EFI_STATUS Status) { PolicyStatus_ = Status; }
  size_t GetPolicyCalls() const { return GetPolicyCalls_; }
  PLATFORM_POLICY_PROTOCOL *PolicyProtocol() { return &PlatformPolicy_; }

  // ---- Event log and debug output -----------------------------------------------------------------
  const std::vector<Event> &Events() const { return Events_; }
  std::vector<Event> EventsOf(EventKind Kind) const;
  void ClearEvents() { Events_.clear(); }
  void AddEvent(Event E) { Events_.push_back(std::move(E)); }
  const std::string &SerialOutput() const { return Serial_; }
  // Failed driver assertions, as "File:Line: Description"; the handler below sees each first.
  const std::vector<std::string> &Assertions() const { return Assertions_; }
  void
  SetAssertCallback(std::function<void(const std::string &File, uint64_t Line, const std::string &Text)> Cb) {
    AssertCallback_ = std::move(Cb);
  }

  // ---- Internals used by the service implementations -----------------------------------------------
  struct Handle;
  struct PciFunction;
  struct SettingsInstance;
  void OnSerial(const uint8_t *Bytes, size_t Count);
  void OnAssert(const char *File, uint64_t Line, const char *Text);

private:
  friend struct Services;
  friend struct PlatformCalls;

  void BuildTables();
  void BuildAcpi();
  Handle *Lookup(EFI_HANDLE H) const;
  void InstallPlatform(void *Interface, const EFI_GUID &Guid, EFI_HANDLE &Slot);
  void RemovePlatform(void *Interface, const EFI_GUID &Guid, EFI_HANDLE &Slot);

  EFI_SYSTEM_TABLE SystemTable_ = {};
  EFI_BOOT_SERVICES BootServices_ = {};
  EFI_RUNTIME_SERVICES RuntimeServices_ = {};
  EFI_CONFIGURATION_TABLE ConfigTable_[1] = {};
  SIMPLE_TEXT_OUTPUT_INTERFACE ConOut_ = {};
  std::string ConOutText_;
  EFI_LOADED_IMAGE LoadedImage_ = {};
  EFI_HANDLE ImageHandle_ = nullptr;

  // Handles are heap objects whose address is the EFI_HANDLE; ordered by creation.
  std::vector<std::unique_ptr<Handle>> Handles_;
  uint64_t HandleSerial_ = 0;

  std::map<void *, PoolBlock> Pool_;
  std::set<void *> FreedPool_;
  uint64_t AllocationSerial_ = 0;
  size_t FreeCount_ = 0;
  std::vector<void *> DoubleFrees_;
  std::vector<void *> InvalidFrees_;
  size_t FailAllocations_ = 0;

  std::vector<std::string> UnexpectedCalls_;

  std::set<EFI_HANDLE> Bound_;
  std::map<EFI_HANDLE, EFI_DRIVER_BINDING_PROTOCOL *> ManagedBy_; // binding that started each controller
  std::map<EFI_HANDLE, std::deque<EFI_STATUS>> ConnectScript_;
  std::map<EFI_HANDLE, std::deque<EFI_STATUS>> DisconnectScript_;

  std::map<std::pair<std::u16string, std::string>, NvramVariable> Nvram_;
  std::optional<EFI_STATUS> SetVariableFailure_;

  std::jmp_buf *ResetJump_ = nullptr;

  uint8_t *Ecam_ = nullptr;
  mutable std::vector<uint8_t> Acpi_;
  std::vector<std::unique_ptr<PciFunction>> Pci_;
  std::vector<std::unique_ptr<SettingsInstance>> SettingsInstances_;
  size_t GetAdapterSettingsCalls_ = 0;

  CONSOLE_MESSAGE_PROTOCOL ConsoleMessage_ = {};
  EFI_STATUS ConsoleStatus_ = EFI_SUCCESS;
  EFI_HANDLE ConsoleHandle_ = nullptr;

  EFI_STATUS_CODE_RUNTIME_PROTOCOL StatusCode_ = {};
  EFI_HANDLE StatusCodeHandle_ = nullptr;

  IPMI_TRANSPORT_PROTOCOL Ipmi_ = {};
  EFI_HANDLE IpmiHandle_ = nullptr;
  std::deque<uint8_t> IpmiCodes_;
  std::deque<EFI_STATUS> IpmiStatuses_;
  std::deque<std::vector<uint8_t>> IpmiResponses_;
  size_t IpmiCalls_ = 0;
  std::vector<EFI_GUID> Located_;

  NALO_CONFIGURATION_PROTOCOL NaloProtocol_ = {};
  EFI_HANDLE NaloHandle_ = nullptr;
  std::map<NaloKey, std::unique_ptr<NaloEntry>> NaloEntries_;
  std::optional<NaloKey> NaloLastReturned_;
  std::vector<NaloCall> NaloCalls_;
  size_t QueryDefaultsCalls_ = 0;
  size_t RestartNotifications_ = 0;

  PLATFORM_POLICY_PROTOCOL PlatformPolicy_ = {};
  EFI_HANDLE PolicyHandle_ = nullptr;
  std::array<uint8_t, PLATFORM_POLICY_RECORD_SIZE> PolicyRecord_ = {};
  EFI_STATUS PolicyStatus_ = EFI_SUCCESS;
  size_t GetPolicyCalls_ = 0;

  std::vector<Event> Events_;
  std::string Serial_;
  std::vector<std::string> Assertions_;
  std::function<void(const std::string &, uint64_t, const std::string &)> AssertCallback_;
};

} // namespace fake
