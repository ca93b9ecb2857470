// The dialect tables, one per adapter family the models simulate.
#include "Simulator/AdapterDialect.h"

namespace sim::dialect {

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

} // namespace sim::dialect
