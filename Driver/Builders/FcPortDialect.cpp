// Fibre Channel port dialect of BuildDefaultClpCommand (vendor 0x10DF, EmulexE200): the port is
// "fcport" and its number from 0, properties carry "OEMELX_".
#include "DefaultDialects.h"

// clang-format off
static constexpr CLP_LINE kFcPortLines[] = {
  kOemPfInfoLine,
  Fmt(SHOW_VERSION, "show fcport%d OEMELX_FirmwareVersions", ArgPort).Parse(),
  Fmt(SHOW_PORT_EN, "show fcport%d OEMELX_PortEnable", ArgPort).Parse(),
  Fmt(SET_PORT_EN, "set fcport%d OEMELX_PortEnable=", ArgPort).Word(SrcPortEnable, WordsLowerShort, IfNonZero).Keep(StorePortEnable),
  Fmt(SHOW_BOOT_EN, "show fcport%d OEMELX_BootEnable", ArgPort).Parse(),
  Fmt(SET_BOOT_EN, "set fcport%d OEMELX_BootEnable=", ArgPort).Word(SrcBootEnable, WordsLowerShort, IfOne).Keep(StoreBootEnable),
  Fmt(SET_ADDR_DEFAULTS, "set fcport%d OEMELX_AddressDefaults=0", ArgPort),
  Fmt(SHOW_PF_MFG_WWNN, "show fcport%d OEMELX_MFG_WWNN", ArgPort).Parse(),
  Fmt(SHOW_PF_WWNN, "show fcport%d OEMELX_WWNN", ArgPort).Parse(),
  Fmt(SET_PF_WWNN, "set fcport%d OEMELX_VolatileWWNN=", ArgPort).Upper(SrcWwnn, 16),
  Fmt(SHOW_PF_MFG_WWPN, "show fcport%d OEMELX_MFG_WWPN", ArgPort).Parse(),
  Fmt(SHOW_PF_WWPN, "show fcport%d OEMELX_WWPN", ArgPort).Parse(),
  Fmt(SET_PF_WWPN, "set fcport%d OEMELX_VolatileWWPN=", ArgPort).Upper(SrcWwpn, 16),
  Fmt(SET_PF_TAR_WWPN1, "set fcport%d OEMELX_TargetWWPN[%d]=", ArgPort, ArgZero).Text(SrcTarget1Wwpn, 16),
  Fmt(SET_PF_TAR_WWPN2, "set fcport%d OEMELX_TargetWWPN[%d]=", ArgPort, ArgOne).Text(SrcTarget2Wwpn, 16),
  Fmt(SET_PF_TAR_LUN1, "set fcport%d OEMELX_TargetLUN[%d]=", ArgPort, ArgZero).Text(SrcTarget1Lun, 4),
  Fmt(SET_PF_TAR_LUN2, "set fcport%d OEMELX_TargetLUN[%d]=", ArgPort, ArgOne).Text(SrcTarget2Lun, 4),
  Fmt(SET_LINK_SPEED, "set fcport%d OEMELX_LinkSpeed=", ArgPort).Text(SrcFcLinkSpeed, 4),
  Fmt(SET_TOPOLOGY, "set fcport%d OEMELX_Topology=", ArgPort).Text(SrcFcTopology, 2),
  Fmt(SHOW_PF_TAR_WWPN1, "show fcport%d OEMELX_TargetWWPN[%d]", ArgPort, ArgZero),
  Fmt(SHOW_PF_TAR_WWPN2, "show fcport%d OEMELX_TargetWWPN[%d]", ArgPort, ArgOne),
  Fmt(SHOW_PF_TAR_LUN1, "show fcport%d OEMELX_TargetLUN[%d]", ArgPort, ArgZero),
  Fmt(SHOW_PF_TAR_LUN2, "show fcport%d OEMELX_TargetLUN[%d]", ArgPort, ArgOne),
  Fmt(SHOW_LINK_SPEED, "show fcport%d OEMELX_LinkSpeed", ArgPort),
  Fmt(SHOW_TOPOLOGY, "show fcport%d OEMELX_Topology", ArgPort),
  Fmt(SHOW_PF_VOLATILE_WWNN, "show fcport%d OEMELX_VolatileWWNN", ArgPort),
  Fmt(SHOW_PF_VOLATILE_WWPN, "show fcport%d OEMELX_VolatileWWPN", ArgPort),
};
// clang-format on

CLP_PACKED_TABLE(kFcPortTable, kFcPortLines, CLP_BUFFER_BYTES);

const CLP_DIALECT *FcPortDialect(VOID) {
  return &kFcPortTable.Dialect;
}
