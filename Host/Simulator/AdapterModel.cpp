#include "Simulator/AdapterModel.h"

#include <functional>
#include <optional>
#include <set>

#include "Simulator/Scenario.h"

namespace sim {

namespace {

enum class Op { Show, Set, SetLayout, PfInfo, Special, Exit };
enum class Scope { Adapter, Port, Function };

struct Position {
  size_t Port;
  size_t Function;
};

class DialectModel;
using SpecialFn = void (*)(DialectModel &Model, Position At);

// One command line of a dialect. Pattern placeholders: {p} port number, {f} function number,
// {t} target index, {v} the value to the end of the line. A missing {p} or {f} means the
// controller's own port or function. In Property, "{t}" stands for the target index.
struct Line {
  const char *Pattern;
  Op Operation;
  Scope Where;
  const char *Property;
  SpecialFn Special = nullptr;
};

struct PfInfoKey {
  const char *Key;
  Scope Where;
  const char *Property;
};

struct Dialect {
  const char *Name;
  const char *Prefix;
  bool Quoted;     // values in double quotes (QLogic8070)
  size_t PortBase; // number of the first port in commands
  size_t FunctionBase;
  std::vector<Line> Lines;
  std::vector<PfInfoKey> PfInfo;
};

// ---- Special effects -------------------------------------------------------------------------

void RestoreAddresses(DialectModel &Model, Position At);
void RestoreIntelAddress(DialectModel &Model, Position At);
void RestoreMellanoxAddress(DialectModel &Model, Position At);
void RestoreNetPortNames(DialectModel &Model, Position At);

// ---- Dialect tables --------------------------------------------------------------------------

const Dialect FcPortDialect = {
    "Fibre Channel port",
    "retdata=",
    false,
    0,
    0,
    {
        {"show fcport{p} OEMELX_FirmwareVersions", Op::Show, Scope::Adapter, "FirmwareVersions"},
        {"show fcport{p} OEMELX_PortEnable", Op::Show, Scope::Port, "PortEnable"},
        {"set fcport{p} OEMELX_PortEnable={v}", Op::Set, Scope::Port, "PortEnable"},
        {"show fcport{p} OEMELX_BootEnable", Op::Show, Scope::Port, "BootEnable"},
        {"set fcport{p} OEMELX_BootEnable={v}", Op::Set, Scope::Port, "BootEnable"},
        {"set fcport{p} OEMELX_AddressDefaults=0", Op::Special, Scope::Port, "", RestoreAddresses},
        {"show fcport{p} OEMELX_MFG_WWNN", Op::Show, Scope::Port, "MFG_WWNN"},
        {"show fcport{p} OEMELX_WWNN", Op::Show, Scope::Port, "WWNN"},
        {"set fcport{p} OEMELX_VolatileWWNN={v}", Op::Set, Scope::Port, "WWNN"},
        {"show fcport{p} OEMELX_MFG_WWPN", Op::Show, Scope::Port, "MFG_WWPN"},
        {"show fcport{p} OEMELX_WWPN", Op::Show, Scope::Port, "WWPN"},
        {"set fcport{p} OEMELX_VolatileWWPN={v}", Op::Set, Scope::Port, "WWPN"},
        {"show fcport{p} OEMELX_VolatileWWNN", Op::Show, Scope::Port, "WWNN"},
        {"show fcport{p} OEMELX_VolatileWWPN", Op::Show, Scope::Port, "WWPN"},
        {"set fcport{p} OEMELX_TargetWWPN[{t}]={v}", Op::Set, Scope::Port, "TargetWWPN[{t}]"},
        {"show fcport{p} OEMELX_TargetWWPN[{t}]", Op::Show, Scope::Port, "TargetWWPN[{t}]"},
        {"set fcport{p} OEMELX_TargetLUN[{t}]={v}", Op::Set, Scope::Port, "TargetLUN[{t}]"},
        {"show fcport{p} OEMELX_TargetLUN[{t}]", Op::Show, Scope::Port, "TargetLUN[{t}]"},
        {"set fcport{p} OEMELX_LinkSpeed={v}", Op::Set, Scope::Port, "LinkSpeed"},
        {"show fcport{p} OEMELX_LinkSpeed", Op::Show, Scope::Port, "LinkSpeed"},
        {"set fcport{p} OEMELX_Topology={v}", Op::Set, Scope::Port, "Topology"},
        {"show fcport{p} OEMELX_Topology", Op::Show, Scope::Port, "Topology"},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    {},
};

// Vendor-independent OEMVDR lines that every default-builder family may receive.
#define OEMVDR_COMMON_LINES                                                                                  \
  {"set OEMVDR_Mode={v}", Op::SetLayout, Scope::Adapter, "Mode"},                                            \
      {"set OEMVDR_PfCount={v}", Op::SetLayout, Scope::Adapter, "PfCount"},                                  \
      {"show pf1 OEMVDR_PfType", Op::Show, Scope::Adapter, "Personality"},                                   \
      {"set pf1 OEMVDR_PfType={v}", Op::SetLayout, Scope::Adapter, "Personality"},                           \
      {"set port{p}/pf{f} OEMVDR_PfVLANID={v}", Op::Set, Scope::Function, "PfVLANID"},                       \
      {"set port{p}/pf{f} OEMVDR_PfBandwidth={v}", Op::Set, Scope::Function, "PfBandwidth"},                 \
      {"set port{p}/pf{f} OEMVDR_PfRateLimit={v}", Op::Set, Scope::Function, "PfRateLimit"},                 \
      {"set port{p}/pf{f} OEMVDR_InitiatorAddressOrigin={v}", Op::Set, Scope::Function,                      \
       "InitiatorAddressOrigin"},                                                                            \
      {"set port{p}/pf{f} OEMVDR_InitiatorIscsiName={v}", Op::Set, Scope::Function, "InitiatorIscsiName"},   \
      {"set port{p}/pf{f} OEMVDR_IPv4InitiatorAddress={v}", Op::Set, Scope::Function,                        \
       "IPv4InitiatorAddress"},                                                                              \
      {"set port{p}/pf{f} OEMVDR_IPv4InitiatorSubnetMask={v}", Op::Set, Scope::Function,                     \
       "IPv4InitiatorSubnetMask"},                                                                           \
      {"set port{p}/pf{f} OEMVDR_IPv4InitiatorGateway={v}", Op::Set, Scope::Function,                        \
       "IPv4InitiatorGateway"},                                                                              \
      {"set port{p}/pf{f} OEMVDR_BootTargetAddressOrigin={v}", Op::Set, Scope::Function,                     \
       "BootTargetAddressOrigin"},                                                                           \
      {"set port{p}/pf{f} OEMVDR_TargetIscsiName={v}", Op::Set, Scope::Function, "TargetIscsiName"},         \
      {"set port{p}/pf{f}/target{t} OEMVDR_IPv4TargetAddress={v}", Op::Set, Scope::Function,                 \
       "IPv4TargetAddress"},                                                                                 \
      {"set port{p}/pf{f}/target{t} OEMVDR_TcpPort={v}", Op::Set, Scope::Function, "TcpPort"},               \
      {"set port{p}/pf{f}/target{t} OEMVDR_BootableLun={v}", Op::Set, Scope::Function, "BootableLun"},       \
      {"set port{p}/pf{f}/target{t} OEMVDR_AuthenticationMethod={v}", Op::Set, Scope::Function,              \
       "AuthenticationMethod"},                                                                              \
      {"set port{p}/pf{f}/target{t} OEMVDR_ChapName={v}", Op::Set, Scope::Function, "ChapName"},             \
      {"set port{p}/pf{f}/target{t} OEMVDR_ChapSecret={v}", Op::Set, Scope::Function, "ChapSecret"},         \
      {"set port{p}/pf{f}/target{t} OEMVDR_InitiatorChapSecret={v}", Op::Set, Scope::Function,               \
       "InitiatorChapSecret"},                                                                               \
      {"set OEMVDR_SRIOV={v}", Op::SetLayout, Scope::Adapter, "SRIOV"}, {                                    \
    "exit", Op::Exit, Scope::Adapter, ""                                                                     \
  }

const Dialect OemPortFunctionDialect = {
    "OEM port/function",
    "retdata=",
    false,
    0,
    0,
    {
        {"show port{p}/pf{f} OEMVDR_PfInfo", Op::PfInfo, Scope::Function, ""},
        {"show port{p} OEMVDR_FirmwareVersions", Op::Show, Scope::Adapter, "FirmwareVersions"},
        {"set port{p} OEMVDR_PortEn={v}", Op::Set, Scope::Port, "PortEn"},
        {"set port{p}/pf{f} OEMVDR_PfBootEnable={v}", Op::Set, Scope::Function, "PfBootEnable"},
        {"set port{p} OEMVDR_AddressDefaults=0", Op::Special, Scope::Port, "", RestoreAddresses},
        {"show port{p}/pf{f} OEMVDR_MFG_PfMAC", Op::Show, Scope::Function, "MFG_PfMAC"},
        {"show port{p}/pf{f} OEMVDR_PfMAC", Op::Show, Scope::Function, "PfMAC"},
        {"set port{p}/pf{f} OEMVDR_PfMAC={v}", Op::Set, Scope::Function, "PfMAC"},
        {"show port{p}/pf{f} OEMVDR_MFG_WWNN", Op::Show, Scope::Function, "MFG_WWNN"},
        {"show port{p}/pf{f} OEMVDR_WWNN", Op::Show, Scope::Function, "WWNN"},
        {"set port{p}/pf{f} OEMVDR_WWNN={v}", Op::Set, Scope::Function, "WWNN"},
        {"show port{p}/pf{f} OEMVDR_MFG_WWPN", Op::Show, Scope::Function, "MFG_WWPN"},
        {"show port{p}/pf{f} OEMVDR_WWPN", Op::Show, Scope::Function, "WWPN"},
        {"set port{p}/pf{f} OEMVDR_WWPN={v}", Op::Set, Scope::Function, "WWPN"},
        {"set port{p}/pf{f}/target{t} OEMVDR_TargetWWPN={v}", Op::Set, Scope::Function, "TargetWWPN[{t}]"},
        {"set port{p}/pf{f}/target{t} OEMVDR_TargetLUN={v}", Op::Set, Scope::Function, "TargetLUN[{t}]"},
        OEMVDR_COMMON_LINES,
    },
    // Current values before manufacturer values: a search for "PfMAC=" also matches inside
    // "MFG_PfMAC=", and the driver reads the first match.
    {
        {"PortEn", Scope::Port, "PortEn"},
        {"FirmwareVersions", Scope::Adapter, "FirmwareVersions"},
        {"PfCount", Scope::Adapter, "PfCount"},
        {"SRIOV", Scope::Adapter, "SRIOV"},
        {"PfType", Scope::Function, "PfType"},
        {"PfBootEnable", Scope::Function, "PfBootEnable"},
        {"PfMAC", Scope::Function, "PfMAC"},
        {"MFG_PfMAC", Scope::Function, "MFG_PfMAC"},
        {"WWNN", Scope::Function, "WWNN"},
        {"MFG_WWNN", Scope::Function, "MFG_WWNN"},
        {"WWPN", Scope::Function, "WWPN"},
        {"MFG_WWPN", Scope::Function, "MFG_WWPN"},
        {"PfBandwidth", Scope::Function, "PfBandwidth"},
        {"PfRateLimit", Scope::Function, "PfRateLimit"},
        {"PfVLANID", Scope::Function, "PfVLANID"},
        {"InitiatorIscsiName", Scope::Function, "InitiatorIscsiName"},
    },
};

const Dialect IntelDialect = {
    "default target",
    "permanentaddress=",
    false,
    0,
    0,
    {
        {"show PermanentAddress", Op::Show, Scope::Function, "PermanentAddress"},
        {"set PermanentAddress={v}", Op::Set, Scope::Function, "PermanentAddress"},
        {"set Default", Op::Special, Scope::Function, "", RestoreIntelAddress},
        OEMVDR_COMMON_LINES,
    },
    {},
};

#define NETPORT_LINES                                                                                        \
  {"show netport{p} OEM_FWVersions", Op::Show, Scope::Adapter, "FirmwareVersions"},                          \
      {"show netport{p} OEM_PortEnable", Op::Show, Scope::Port, "PortEnable"},                               \
      {"set netport{p} OEM_PortEnable={v}", Op::Set, Scope::Port, "PortEnable"},                             \
      {"show netport{p} OEM_BootEnable", Op::Show, Scope::Port, "BootEnable"},                               \
      {"set netport{p} OEM_BootEnable={v}", Op::Set, Scope::Port, "BootEnable"},                             \
      {"show netport{p} OEM_MfgWWNN", Op::Show, Scope::Port, "MFG_WWNN"},                                    \
      {"show netport{p} NetworkAddresses[0]", Op::Show, Scope::Port, "WWNN"},                                \
      {"set netport{p} NetworkAddresses[0]={v}", Op::Set, Scope::Port, "WWNN"},                              \
      {"show netport{p} OEM_MfgWWPN", Op::Show, Scope::Port, "MFG_WWPN"},                                    \
      {"show netport{p} PermanentAddress", Op::Show, Scope::Port, "WWPN"},                                   \
      {"set netport{p} PermanentAddress={v}", Op::Set, Scope::Port, "WWPN"},                                 \
      {"set netport{p} OEM_TargetWWPN[{t}]={v}", Op::Set, Scope::Port, "TargetWWPN[{t}]"},                   \
      {"show netport{p} OEM_TargetWWPN[{t}]", Op::Show, Scope::Port, "TargetWWPN[{t}]"},                     \
      {"set netport{p} OEM_TargetLUN[{t}]={v}", Op::Set, Scope::Port, "TargetLUN[{t}]"},                     \
      {"show netport{p} OEM_TargetLUN[{t}]", Op::Show, Scope::Port, "TargetLUN[{t}]"},                       \
      {"set netport{p} OEM_hbaportLinkSpeed={v}", Op::Set, Scope::Port, "LinkSpeed"},                        \
      {"show netport{p} OEM_hbaportLinkSpeed", Op::Show, Scope::Port, "LinkSpeed"},                          \
      {"set netport{p} OEM_hbaportTopology={v}", Op::Set, Scope::Port, "Topology"},                          \
      {"show netport{p} OEM_hbaportTopology", Op::Show, Scope::Port, "Topology"},                            \
      {"show netport{p} OEM_hbaportMaxSpeed", Op::Show, Scope::Port, "MaxSpeed"}, {                          \
    "set netport{p} default", Op::Special, Scope::Port, "", RestoreNetPortNames                              \
  }

const std::vector<PfInfoKey> QLogicPortInfo = {
    {"FirmwareVersions", Scope::Adapter, "FirmwareVersions"},
    {"BootEnable", Scope::Port, "BootEnable"},
    {"WWNN", Scope::Port, "WWNN"},
    {"WWPN", Scope::Port, "WWPN"},
};

const Dialect NetPortDialect = {
    "network port",
    "retdata=\r\n",
    false,
    1,
    0,
    {
        {"show port{p}", Op::PfInfo, Scope::Port, ""},
        NETPORT_LINES,
        OEMVDR_COMMON_LINES,
    },
    QLogicPortInfo,
};

const Dialect QLogic2031Dialect = {
    "QLogic2031",
    "retdata=",
    false,
    1,
    0,
    {
        {"show port{p}", Op::PfInfo, Scope::Port, ""},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    QLogicPortInfo,
};

const Dialect Emulex0720Dialect = {
    "Emulex0720",
    "retdata=",
    false,
    0,
    0,
    {
        {"show port{p}/pf{f} OEMELX_PFInfo", Op::PfInfo, Scope::Function, ""},
        {"show / OEMELX_LinkConfig", Op::Show, Scope::Adapter, "LinkConfig"},
        {"set / OEMELX_LinkConfig={v}", Op::SetLayout, Scope::Adapter, "LinkConfig"},
        {"set port{p} OEMELX_PortEnable={v}", Op::Set, Scope::Port, "PortEnable"},
        {"set port{p}/pf{f} OEMELX_BootEnable={v}", Op::Set, Scope::Function, "BootEnable"},
        {"set port{p} OEMELX_AddressDefaults=0", Op::Special, Scope::Port, "", RestoreAddresses},
        {"set port{p}/pf{f} OEMELX_VolatileMAC={v}", Op::Set, Scope::Function, "MAC"},
        {"set port{p}/pf{f} OEMELX_VolatileWWNN={v}", Op::Set, Scope::Function, "WWNN"},
        {"set port{p}/pf{f} OEMELX_VolatileWWPN={v}", Op::Set, Scope::Function, "WWPN"},
        {"set port{p}/pf{f} OEMELX_PFVlanID={v}", Op::Set, Scope::Function, "PfVLANID"},
        {"set port{p}/pf{f} OEMELX_MinBandwidth={v}", Op::Set, Scope::Function, "MinBandwidth"},
        {"set port{p}/pf{f} OEMELX_MaxBandwidth={v}", Op::Set, Scope::Function, "MaxBandwidth"},
        {"set port{p}/pf{f} OEMELX_TargetWWPN[{t}]={v}", Op::Set, Scope::Function, "TargetWWPN[{t}]"},
        {"set port{p}/pf{f} OEMELX_TargetLUN[{t}]={v}", Op::Set, Scope::Function, "TargetLUN[{t}]"},
        {"set port{p}/pf{f} OEMELX_InitiatorAddressOrigin={v}", Op::Set, Scope::Function,
         "InitiatorAddressOrigin"},
        {"set port{p}/pf{f} OEMELX_InitiatorIscsiName={v}", Op::Set, Scope::Function, "InitiatorIscsiName"},
        {"set port{p}/pf{f} OEMELX_IPv4InitiatorAddress={v}", Op::Set, Scope::Function,
         "IPv4InitiatorAddress"},
        {"set port{p}/pf{f} OEMELX_IPv4InitiatorSubnetMask={v}", Op::Set, Scope::Function,
         "IPv4InitiatorSubnetMask"},
        {"set port{p}/pf{f} OEMELX_IPv4InitiatorGateway={v}", Op::Set, Scope::Function,
         "IPv4InitiatorGateway"},
        {"set port{p}/pf{f} OEMELX_BootTargetAddressOrigin={v}", Op::Set, Scope::Function,
         "BootTargetAddressOrigin"},
        {"set port{p}/pf{f} OEMELX_TargetIscsiName[{t}]={v}", Op::Set, Scope::Function, "TargetIscsiName"},
        {"set port{p}/pf{f} OEMELX_IPv4TargetAddress[{t}]={v}", Op::Set, Scope::Function,
         "IPv4TargetAddress"},
        {"set port{p}/pf{f} OEMELX_TcpPort[{t}]={v}", Op::Set, Scope::Function, "TcpPort"},
        {"set port{p}/pf{f} OEMELX_BootableLun[{t}]={v}", Op::Set, Scope::Function, "BootableLun"},
        {"set port{p}/pf{f} OEMELX_AuthenticationMethod[{t}]={v}", Op::Set, Scope::Function,
         "AuthenticationMethod"},
        {"set port{p}/pf{f} OEMELX_ChapName[{t}]={v}", Op::Set, Scope::Function, "ChapName"},
        {"set port{p}/pf{f} OEMELX_ChapSecret[{t}]={v}", Op::Set, Scope::Function, "ChapSecret"},
        {"set port{p}/pf{f} OEMELX_InitiatorChapSecret[{t}]={v}", Op::Set, Scope::Function,
         "InitiatorChapSecret"},
        {"set / OEMELX_SRIOVState={v}", Op::SetLayout, Scope::Adapter, "SRIOVState"},
        {"set port{p}/pf{f} OEMELX_PFType={v}", Op::SetLayout, Scope::Function, "PfType"},
        {"set / OEMELX_UMCState={v}", Op::SetLayout, Scope::Adapter, "UMCState"},
        {"set port{p}/pf{f} OEMELX_SRIOVState={v}", Op::SetLayout, Scope::Function, "SRIOVState"},
        {"set port{p}/pf{f} OEMELX_PXEVlan={v}", Op::Set, Scope::Function, "PXEVlan"},
        {"set port{p}/pf{f} OEMELX_PXEVlanID={v}", Op::Set, Scope::Function, "PXEVlanID"},
        {"set / OEMELX_Profile={v}", Op::SetLayout, Scope::Adapter, "Profile"},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    {
        {"PfType", Scope::Function, "PfType"},
        {"PortEnable", Scope::Port, "PortEnable"},
        {"FirmwareVersions", Scope::Adapter, "FirmwareVersions"},
        {"SRIOVState", Scope::Function, "SRIOVState"},
        {"UMCState", Scope::Adapter, "UMCState"},
        {"BootEnable", Scope::Function, "BootEnable"},
        {"MAC", Scope::Function, "MAC"},
        {"MfgMAC", Scope::Function, "MfgMAC"},
        {"MinBandwidth", Scope::Function, "MinBandwidth"},
        {"MaxBandwidth", Scope::Function, "MaxBandwidth"},
        {"PfVLANID", Scope::Function, "PfVLANID"},
        {"WWNN", Scope::Function, "WWNN"},
        {"MFG_WWNN", Scope::Function, "MFG_WWNN"},
        {"WWPN", Scope::Function, "WWPN"},
        {"MFG_WWPN", Scope::Function, "MFG_WWPN"},
        {"InitiatorIscsiName", Scope::Function, "InitiatorIscsiName"},
    },
};

const Dialect QLogic8070Dialect = {
    "QLogic8070",
    "data=",
    true,
    1,
    1,
    {
        {"show device FirmwareInformation", Op::Show, Scope::Adapter, "FirmwareInformation"},
        {"show port{p}.pf{f} Personality", Op::Show, Scope::Function, "Personality"},
        {"show port{p} BootMode", Op::Show, Scope::Port, "BootMode"},
        {"set port{p} BootMode={v}", Op::Set, Scope::Port, "BootMode"},
        {"show port{p}.pf{f} MacAddress", Op::Show, Scope::Function, "MacAddress"},
        {"show port{p} MacAddress", Op::Show, Scope::Function, "MacAddress"},
        {"show port{p}.pf{f} VirtualMacAddress", Op::Show, Scope::Function, "VirtualMacAddress"},
        {"show port{p} VirtualMacAddress", Op::Show, Scope::Function, "VirtualMacAddress"},
        {"set port{p}.pf{f} VirtualMacAddress={v}", Op::Set, Scope::Function, "VirtualMacAddress"},
        {"set port{p} VirtualMacAddress={v}", Op::Set, Scope::Function, "VirtualMacAddress"},
        {"show device SRIOVMode", Op::Show, Scope::Adapter, "SRIOVMode"},
        {"set device SRIOVMode={v}", Op::Set, Scope::Adapter, "SRIOVMode"},
        {"set port{p} PXEVlan={v}", Op::Set, Scope::Port, "PXEVlan"},
        {"show port{p} PXEVlan", Op::Show, Scope::Port, "PXEVlan"},
        {"set port{p} PXEVlanId={v}", Op::Set, Scope::Port, "PXEVlanId"},
        {"show port{p} PXEVlanId", Op::Show, Scope::Port, "PXEVlanId"},
        {"show device VirtualizationMode", Op::Show, Scope::Adapter, "VirtualizationMode"},
        {"show port{p} MinimumBandwidthAllocation", Op::Show, Scope::Port, "MinimumBandwidthAllocation"},
        {"show port{p} MaximumBandwidthAllocation", Op::Show, Scope::Port, "MaximumBandwidthAllocation"},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    {},
};

// Mellanox adapters expose one fixed target whatever the function: the controller's own.
const Dialect Mellanox1013Dialect = {
    "Mellanox",
    "data=",
    false,
    1,
    0,
    {
        {"show netport1 FirmwareVersions", Op::Show, Scope::Adapter, "FirmwareVersions"},
        {"show netport1 PortEnable", Op::Show, Scope::Function, "PortEnable"},
        {"set netport1 PortEnable={v}", Op::Set, Scope::Function, "PortEnable"},
        {"show netport1 BootEnable", Op::Show, Scope::Function, "BootEnable"},
        {"set netport1 BootEnable={v}", Op::Set, Scope::Function, "BootEnable"},
        {"show netport1 MfgMAC", Op::Show, Scope::Function, "MfgMAC"},
        {"show netport1 MAC", Op::Show, Scope::Function, "MAC"},
        {"set netport1 MAC={v}", Op::Set, Scope::Function, "MAC"},
        {"set netport1 VlanID={v}", Op::Set, Scope::Function, "VlanID"},
        {"show netport1 VlanID", Op::Show, Scope::Function, "VlanID"},
        {"show netport1 SRIOVState", Op::Show, Scope::Adapter, "SRIOVState"},
        {"set netport1 SRIOVState={v}", Op::Set, Scope::Adapter, "SRIOVState"},
        {"show netport1 MAXLinkSpeed", Op::Show, Scope::Function, "MAXLinkSpeed"},
        {"set netport1 Default", Op::Special, Scope::Function, "", RestoreMellanoxAddress},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    {},
};

const Dialect Mellanox1017Dialect = {
    "Mellanox",
    "data=",
    false,
    1,
    0,
    {
        {"show netport1 FirmwareVersions", Op::Show, Scope::Adapter, "FirmwareVersions"},
        {"show netport1 MAXLinkSpeed", Op::Show, Scope::Function, "MAXLinkSpeed"},
        {"exit", Op::Exit, Scope::Adapter, ""},
    },
    {},
};

// ---- Pattern matching ----------------------------------------------------------------------

struct Match {
  bool HasPort = false, HasFunction = false;
  size_t Port = 0, Function = 0, Target = 0;
  std::string Value;
};

bool ReadNumber(const std::string &Text, size_t &At, size_t &Out) {
  size_t Start = At;
  Out = 0;
  while (At < Text.size() && Text[At] >= '0' && Text[At] <= '9' && At - Start < 4) {
    Out = Out * 10 + static_cast<size_t>(Text[At] - '0');
    At++;
  }
  return At > Start;
}

bool MatchPattern(const std::string &Pattern, const std::string &Command, Match &M) {
  size_t P = 0, C = 0;
  while (P < Pattern.size()) {
    if (Pattern.compare(P, 3, "{v}") == 0) {
      M.Value = Command.substr(C);
      return true;
    }
    if (Pattern.compare(P, 3, "{p}") == 0 || Pattern.compare(P, 3, "{f}") == 0 ||
        Pattern.compare(P, 3, "{t}") == 0) {
      size_t Number = 0;
      if (!ReadNumber(Command, C, Number)) {
        return false;
      }
      if (Pattern[P + 1] == 'p') {
        M.HasPort = true;
        M.Port = Number;
      } else if (Pattern[P + 1] == 'f') {
        M.HasFunction = true;
        M.Function = Number;
      } else {
        M.Target = Number;
      }
      P += 3;
      continue;
    }
    if (C >= Command.size() || Command[C] != Pattern[P]) {
      return false;
    }
    P++;
    C++;
  }
  return C == Command.size();
}

std::string WithTarget(const char *Property, size_t Target) {
  std::string Name = Property;
  const size_t At = Name.find("{t}");
  if (At != std::string::npos) {
    Name.replace(At, 3, std::to_string(Target));
  }
  return Name;
}

// ---- The engine ----------------------------------------------------------------------------

class DialectModel : public AdapterModel {
public:
  DialectModel(const Dialect &Which, size_t PortCount, const std::vector<size_t> &FunctionsPerPort)
      : D(Which) {
    S.Ports.resize(PortCount);
    S.Functions.resize(PortCount);
    for (size_t P = 0; P < PortCount; P++) {
      S.Functions[P].resize(P < FunctionsPerPort.size() ? FunctionsPerPort[P] : 0);
    }
  }

  const ModelState &State() const override { return S; }
  ModelState &MutableState() { return S; }
  const Dialect &Which() const { return D; }

  void Restart() override {
    for (const Pending &Change : PendingChanges) {
      Map(Change.Where, Change.At)[Change.Property] = Change.Value;
    }
    PendingChanges.clear();
    RestartWanted = false;
  }

  ClpOutcome Execute(size_t Port, size_t Function, const std::string &Command) override {
    for (const Line &L : D.Lines) {
      Match M;
      if (!MatchPattern(L.Pattern, Command, M)) {
        continue;
      }
      Position At{Port, Function};
      if (M.HasPort) {
        if (M.Port < D.PortBase || M.Port - D.PortBase >= S.Ports.size()) {
          return Failure(Command, "no such port");
        }
        At.Port = M.Port - D.PortBase;
        At.Function = M.HasFunction ? 0 : (At.Port == Port ? Function : 0);
      }
      if (M.HasFunction) {
        if (M.Function < D.FunctionBase || M.Function - D.FunctionBase >= S.Functions[At.Port].size()) {
          return Failure(Command, "no such function");
        }
        At.Function = M.Function - D.FunctionBase;
      }
      if (L.Where == Scope::Function && At.Function >= S.Functions[At.Port].size()) {
        return Failure(Command, "no such function");
      }
      return Perform(L, At, M, Command);
    }
    return Failure(Command, "command not recognized");
  }

  PropertyMap &Map(Scope Where, Position At) {
    switch (Where) {
    case Scope::Adapter:
      return S.Adapter;
    case Scope::Port:
      return S.Ports[At.Port];
    case Scope::Function:
    default:
      return S.Functions[At.Port][At.Function];
    }
  }

  // A function-scope property missing on the function is looked up on its port, then the adapter.
  std::optional<std::string> Get(Scope Where, Position At, const std::string &Property) {
    const Scope Order[] = {Scope::Function, Scope::Port, Scope::Adapter};
    for (Scope Candidate : Order) {
      if (static_cast<int>(Candidate) < static_cast<int>(Where)) {
        continue;
      }
      const PropertyMap &Values = Map(Candidate, At);
      auto It = Values.find(Property);
      if (It != Values.end()) {
        return It->second;
      }
    }
    return std::nullopt;
  }

private:
  struct Pending {
    Scope Where;
    Position At;
    std::string Property;
    std::string Value;
  };

  ClpOutcome Reply(const std::string &Value) const {
    ClpOutcome Out;
    Out.Reply = std::string(D.Prefix) + (D.Quoted ? "\"" + Value + "\"" : Value);
    return Out;
  }

  static ClpOutcome Failure(const std::string &Command, const char *Why) {
    ClpOutcome Out;
    Out.Status = 2; // command processing failed
    Out.Error = 2;
    Out.Reply = std::string("error: ") + Why + ": " + Command;
    return Out;
  }

  ClpOutcome Perform(const Line &L, Position At, const Match &M, const std::string &Command) {
    const std::string Property = WithTarget(L.Property, M.Target);
    switch (L.Operation) {
    case Op::Show: {
      // A property the scenario did not give reads as empty, as on an adapter with blank settings.
      const auto Value = Get(L.Where, At, Property);
      return Reply(Value ? *Value : std::string());
    }
    case Op::Set:
      Map(L.Where, At)[Property] = M.Value;
      return Reply("");
    case Op::SetLayout:
      PendingChanges.push_back({L.Where, At, Property, M.Value});
      RestartWanted = true;
      return Reply("");
    case Op::Special:
      L.Special(*this, At);
      return Reply("");
    case Op::PfInfo: {
      std::string Text = D.Prefix;
      for (const PfInfoKey &Key : D.PfInfo) {
        if (const auto Value = Get(Key.Where, At, Key.Property)) {
          Text += std::string(Key.Key) + "=" + *Value + "\r\n";
        }
      }
      ClpOutcome Out;
      Out.Reply = Text;
      return Out;
    }
    case Op::Exit: {
      ClpOutcome Out;
      // Layout changes need the controller to restart; the adapter driver asks for it when it
      // leaves the CLP session.
      if (RestartWanted) {
        Out.Action = EfiPlatformConfigurationActionRestartController;
      }
      return Out;
    }
    }
    return Failure(Command, "internal");
  }

  const Dialect &D;
  ModelState S;
  std::vector<Pending> PendingChanges;
  bool RestartWanted = false;
};

void CopyProperty(DialectModel &Model, Scope Where, Position At, const char *From, const char *To) {
  if (const auto Value = Model.Get(Where, At, From)) {
    Model.Map(Where, At)[To] = *Value;
  }
}

void RestoreAddresses(DialectModel &Model, Position At) {
  ModelState &S = Model.MutableState();
  CopyProperty(Model, Scope::Port, At, "MFG_WWNN", "WWNN");
  CopyProperty(Model, Scope::Port, At, "MFG_WWPN", "WWPN");
  for (size_t F = 0; F < S.Functions[At.Port].size(); F++) {
    const Position Fn{At.Port, F};
    CopyProperty(Model, Scope::Function, Fn, "MFG_PfMAC", "PfMAC");
    CopyProperty(Model, Scope::Function, Fn, "MfgMAC", "MAC");
    CopyProperty(Model, Scope::Function, Fn, "MFG_WWNN", "WWNN");
    CopyProperty(Model, Scope::Function, Fn, "MFG_WWPN", "WWPN");
  }
}

void RestoreIntelAddress(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Function, At, "MfgAddress", "PermanentAddress");
}

void RestoreMellanoxAddress(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Function, At, "MfgMAC", "MAC");
}

void RestoreNetPortNames(DialectModel &Model, Position At) {
  CopyProperty(Model, Scope::Port, At, "MFG_WWNN", "WWNN");
  CopyProperty(Model, Scope::Port, At, "MFG_WWPN", "WWPN");
}

const Dialect *DialectFor(uint16_t VendorId, uint16_t DeviceId) {
  const uint32_t Id = static_cast<uint32_t>(VendorId) << 16 | DeviceId;
  switch (VendorId) {
  case 0x8086:
    return &IntelDialect;
  case 0x19A2:
    return &OemPortFunctionDialect;
  case 0x10DF:
    return (DeviceId == 0xE200 || DeviceId == 0xE300) ? &FcPortDialect : &Emulex0720Dialect;
  case 0x1077:
    if (Id == 0x10778070 || Id == 0x10771644 || Id == 0x10771656) {
      return &QLogic8070Dialect;
    }
    return DeviceId == 0x2261 ? &NetPortDialect : &QLogic2031Dialect;
  case 0x15B3:
    return (DeviceId == 0x1017 || DeviceId == 0x101B) ? &Mellanox1017Dialect : &Mellanox1013Dialect;
  default:
    return nullptr;
  }
}

std::set<std::string> Keys(const Dialect &D, Scope Where) {
  std::set<std::string> Names;
  auto Add = [&](Scope S, const std::string &Property) {
    if (S == Where && !Property.empty()) {
      if (Property.find("{t}") != std::string::npos) {
        Names.insert(WithTarget(Property.c_str(), 0));
        Names.insert(WithTarget(Property.c_str(), 1));
      } else {
        Names.insert(Property);
      }
    }
  };
  for (const Line &L : D.Lines) {
    Add(L.Where, L.Property);
  }
  for (const PfInfoKey &K : D.PfInfo) {
    Add(K.Where, K.Property);
  }
  // Manufacturer values that only a restore command reads.
  if (Where == Scope::Function) {
    if (&D == &IntelDialect) {
      Names.insert("MfgAddress");
    }
    if (&D == &Emulex0720Dialect) {
      Names.insert("MfgMAC");
    }
  }
  if (Where == Scope::Port && (&D == &FcPortDialect || &D == &NetPortDialect)) {
    Names.insert("MFG_WWNN");
    Names.insert("MFG_WWPN");
  }
  return Names;
}

std::string ValueText(const nlohmann::json &Value, const std::string &Path) {
  if (Value.is_string()) {
    return Value.get<std::string>();
  }
  if (Value.is_number_integer()) {
    return std::to_string(Value.get<int64_t>());
  }
  throw ScenarioError(Path + ": expected a string or a number, got " + Value.dump());
}

void LoadProperties(const nlohmann::json &Object, const std::set<std::string> &Allowed, PropertyMap &Into,
                    const std::string &Path, const char *Nested) {
  for (auto It = Object.begin(); It != Object.end(); ++It) {
    if (Nested != nullptr && It.key() == Nested) {
      continue;
    }
    if (Allowed.count(It.key()) == 0) {
      throw ScenarioError(Path + "." + It.key() + ": unknown key");
    }
    Into[It.key()] = ValueText(It.value(), Path + "." + It.key());
  }
}

} // namespace

std::unique_ptr<AdapterModel> CreateAdapterModel(uint16_t VendorId, uint16_t DeviceId, uint16_t SubsystemId,
                                                 size_t PortCount,
                                                 const std::vector<size_t> &FunctionsPerPort,
                                                 const nlohmann::json &State, const std::string &Path) {
  (void)SubsystemId;
  const Dialect *D = DialectFor(VendorId, DeviceId);
  if (D == nullptr) {
    return nullptr;
  }
  auto Model = std::make_unique<DialectModel>(*D, PortCount, FunctionsPerPort);
  ModelState &S = Model->MutableState();
  if (!State.is_object()) {
    throw ScenarioError(Path + ": expected an object");
  }
  LoadProperties(State, Keys(*D, Scope::Adapter), S.Adapter, Path, "ports");
  if (State.contains("ports")) {
    const nlohmann::json &Ports = State["ports"];
    if (!Ports.is_array() || Ports.size() > PortCount) {
      throw ScenarioError(Path + ".ports: expected an array of at most " + std::to_string(PortCount) +
                          " ports");
    }
    for (size_t P = 0; P < Ports.size(); P++) {
      const std::string PP = Path + ".ports[" + std::to_string(P) + "]";
      if (!Ports[P].is_object()) {
        throw ScenarioError(PP + ": expected an object");
      }
      LoadProperties(Ports[P], Keys(*D, Scope::Port), S.Ports[P], PP, "functions");
      if (Ports[P].contains("functions")) {
        const nlohmann::json &Functions = Ports[P]["functions"];
        if (!Functions.is_array() || Functions.size() > S.Functions[P].size()) {
          throw ScenarioError(PP + ".functions: expected an array of at most " +
                              std::to_string(S.Functions[P].size()) + " functions");
        }
        for (size_t F = 0; F < Functions.size(); F++) {
          const std::string FP = PP + ".functions[" + std::to_string(F) + "]";
          if (!Functions[F].is_object()) {
            throw ScenarioError(FP + ": expected an object");
          }
          LoadProperties(Functions[F], Keys(*D, Scope::Function), S.Functions[P][F], FP, nullptr);
        }
      }
    }
  }
  return Model;
}

std::vector<std::string> ModelStateKeys(uint16_t VendorId, uint16_t DeviceId, const char *ScopeName) {
  const Dialect *D = DialectFor(VendorId, DeviceId);
  if (D == nullptr) {
    return {};
  }
  const std::string Name = ScopeName;
  const Scope Where = Name == "adapter" ? Scope::Adapter : Name == "port" ? Scope::Port : Scope::Function;
  const std::set<std::string> K = Keys(*D, Where);
  return std::vector<std::string>(K.begin(), K.end());
}

} // namespace sim
