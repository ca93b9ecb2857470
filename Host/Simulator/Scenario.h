// A simulated platform: firmware, platform protocols, NVRAM, the virtual-I/O database, the adapters
// with their functions' settings records and CLP behaviour, and how the boot runs.
// LoadScenario refuses a malformed scenario with the key path of the first problem.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Simulator/RecordFields.h"

namespace sim {

using Bytes = std::vector<uint8_t>;

struct ScenarioError : std::runtime_error {
  explicit ScenarioError(const std::string &Message) : std::runtime_error(Message) {}
};

struct VariableSpec {
  std::string Name;
  EFI_GUID Guid;
  uint32_t Attributes = 7;
  Bytes Data;
};

struct NaloFunctionSpec {
  uint8_t Enabled = 0, FunctionType = 0, RoceMode = 0, SriovEnable = 0;
  std::optional<uint8_t> MinBandwidthShare, MaxBandwidthShare;
  std::optional<uint16_t> FunctionVlanId;
};

struct NaloAddressSpec {
  uint8_t Enabled = 0;
  std::optional<Bytes> Mac;
  std::optional<std::string> Wwnn, Wwpn;
};

struct NaloBootSpec {
  uint8_t Enabled = 0;
  std::optional<uint16_t> BootVlanId, TargetTcpPort;
  std::optional<std::string> Target1Wwpn, Target1Lun, Target2Wwpn, Target2Lun, FcLinkSpeed, FcTopology,
      TargetName, ChapUserName, ChapSecret, MutualChapSecret;
  std::optional<uint8_t> InitiatorOrigin, TargetOrigin, TargetBootLun, AuthMethod;
  std::optional<std::array<uint8_t, 4>> InitiatorAddress, InitiatorSubnetMask, InitiatorGateway,
      TargetAddress;
};

struct NaloEntrySpec {
  std::array<uint8_t, 3> Key{}; // NaloIndex, CardIndex, PortIndex
  uint64_t Status = 0;          // EFI_STATUS
  bool QueryDefaultsPort = false, QueryDefaultsAddresses = false;
  uint16_t ConfigType = 0, ConfigSubtype = 0;
  uint8_t PortTableValid = 0, AddressTableValid = 0, BootTableValid = 0, ResponseFlag = 0, SriovValid = 0;
  std::optional<std::string> InitiatorName;
  uint8_t DesiredPortEnable = 0, PortMode = 0, DesiredFunctionCount = 0;
  std::vector<NaloFunctionSpec> Functions;
  std::vector<NaloAddressSpec> Addresses;
  std::vector<NaloBootSpec> Boots;
};

// One value for one record field; Slot is used by the slot arrays.
struct FieldAssignment {
  const RecordField *Field;
  size_t Slot = 0;
  uint64_t Number = 0;
  std::string Text;
  Bytes Data;
};

struct FunctionSpec {
  uint8_t Function = 0;
  bool Settings = true;
  std::vector<FieldAssignment> Record;
};

struct PortSpec {
  std::optional<NaloEntrySpec> Nalo; // inline entry, keyed by the port's first function record
  std::vector<FunctionSpec> Functions;
};

struct ReplySpec {
  std::string Command;
  std::string Reply;
  uint8_t Status = 0, Error = 0;
  uint32_t Action = 0;
  std::optional<uint64_t> Times;
};

struct AdapterSpec {
  std::string Name;
  uint16_t VendorId = 0, DeviceId = 0, SubsystemId = 0;
  uint16_t Segment = 0;
  uint8_t Bus = 0, Device = 0;
  std::vector<PortSpec> Ports;
  std::vector<ReplySpec> Replies;
  ReplySpec DefaultReply;
  std::string Model = "scripted";
  nlohmann::json State = nlohmann::json::object();
};

struct Scenario {
  std::string Name;
  uint32_t UefiRevision = 0x00020046;
  bool AdapterSettingsProtocol = true, NaloProtocol = true, PlatformPolicyProtocol = true,
       IpmiProtocol = true, ConsoleMessageProtocol = true, StatusCodeProtocol = true;
  uint8_t ForceAdapterEnable = 0;
  std::vector<uint8_t> IpmiCompletionCodes;
  std::vector<VariableSpec> Variables;
  std::vector<NaloEntrySpec> Nalo;
  std::vector<AdapterSpec> Adapters;
  std::vector<std::string> Order; // controller names "adapter/pN/fM"; empty: scenario order
  uint32_t MaxRestarts = 8;
  uint32_t Reboots = 0;
};

Scenario LoadScenario(const nlohmann::json &Document);
Scenario LoadScenarioText(const std::string &Text);

// "EFI_NOT_FOUND" and friends, as the transcript prints them.
std::string StatusName(uint64_t Status);
std::string ActionName(uint32_t Action);
std::string ControllerName(const AdapterSpec &Adapter, size_t Port, size_t Function);

} // namespace sim
