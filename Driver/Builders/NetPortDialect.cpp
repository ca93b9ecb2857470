// Network port dialect of BuildDefaultClpCommand (vendor 0x1077, QLogic2261): the port is
// "netport" and its number from 1; standard properties mixed with "OEM_" ones.
//
// Link speed: the line carries the characters from the third one of the platform's text (a
// four-character text gives its last two); a shorter text gives what is left, never reading past
// its end. Topology: "00", "04" and "0C" (any case) are sent as "02", "01" and "00"; anything else
// goes out unchanged.
#include "DefaultDialects.h"

// clang-format off
static constexpr CLP_LINE kNetPortLines[] = {
  Fmt(SHOW_PF_INFO, "show port%d", ArgPortPlus1).Parse(),
  Fmt(SHOW_VERSION, "show netport%d OEM_FWVersions", ArgPortPlus1).Parse(),
  Fmt(SHOW_PORT_EN, "show netport%d OEM_PortEnable", ArgPortPlus1).Parse(),
  Fmt(SET_PORT_EN, "set netport%d OEM_PortEnable=", ArgPortPlus1).Word(SrcPortEnable, WordsCapitalShort, IfNonZero).Keep(StorePortEnable),
  Fmt(SHOW_BOOT_EN, "show netport%d OEM_BootEnable", ArgPortPlus1).Parse(),
  Fmt(SET_BOOT_EN, "set netport%d OEM_BootEnable=", ArgPortPlus1).Word(SrcBootEnable, WordsCapitalShort, IfOne).Keep(StoreBootEnable),
  Fmt(SHOW_PF_MFG_WWNN, "show netport%d OEM_MfgWWNN", ArgPortPlus1).Parse(),
  Fmt(SHOW_PF_WWNN, "show netport%d NetworkAddresses[0]", ArgPortPlus1).Parse(),
  Fmt(SET_PF_WWNN, "set netport%d NetworkAddresses[0]=", ArgPortPlus1).Upper(SrcWwnn, 16),
  Fmt(SHOW_PF_MFG_WWPN, "show netport%d OEM_MfgWWPN", ArgPortPlus1).Parse(),
  Fmt(SHOW_PF_WWPN, "show netport%d PermanentAddress", ArgPortPlus1).Parse(),
  Fmt(SET_PF_WWPN, "set netport%d PermanentAddress=", ArgPortPlus1).Upper(SrcWwpn, 16),
  Fmt(SET_PF_TAR_WWPN1, "set netport%d OEM_TargetWWPN[%d]=", ArgPortPlus1, ArgZero).Text(SrcTarget1Wwpn, 16),
  Fmt(SET_PF_TAR_WWPN2, "set netport%d OEM_TargetWWPN[%d]=", ArgPortPlus1, ArgOne).Text(SrcTarget2Wwpn, 16),
  Fmt(SET_PF_TAR_LUN1, "set netport%d OEM_TargetLUN[%d]=", ArgPortPlus1, ArgZero).Text(SrcTarget1Lun, 4),
  Fmt(SET_PF_TAR_LUN2, "set netport%d OEM_TargetLUN[%d]=", ArgPortPlus1, ArgOne).Text(SrcTarget2Lun, 4),
  Fmt(SET_LINK_SPEED, "set netport%d OEM_hbaportLinkSpeed=", ArgPortPlus1).FromThirdChar(SrcFcLinkSpeed),
  Fmt(SET_TOPOLOGY, "set netport%d OEM_hbaportTopology=", ArgPortPlus1).Topology(SrcFcTopology),
  Fmt(SHOW_MAX_LINK_SPEED, "show netport%d OEM_hbaportMaxSpeed", ArgPortPlus1).Parse(),
  Fmt(SHOW_PF_TAR_WWPN1, "show netport%d OEM_TargetWWPN[%d]", ArgPortPlus1, ArgZero),
  Fmt(SHOW_PF_TAR_WWPN2, "show netport%d OEM_TargetWWPN[%d]", ArgPortPlus1, ArgOne),
  Fmt(SHOW_PF_TAR_LUN1, "show netport%d OEM_TargetLUN[%d]", ArgPortPlus1, ArgZero),
  Fmt(SHOW_PF_TAR_LUN2, "show netport%d OEM_TargetLUN[%d]", ArgPortPlus1, ArgOne),
  Fmt(SHOW_LINK_SPEED, "show netport%d OEM_hbaportLinkSpeed", ArgPortPlus1),
  Fmt(SHOW_TOPOLOGY, "show netport%d OEM_hbaportTopology", ArgPortPlus1),
  Fmt(SET_PORT_DEFAULTS, "set netport%d default", ArgPortPlus1),
};
// clang-format on

CLP_PACKED_TABLE(kNetPortTable, kNetPortLines, CLP_BUFFER_BYTES);

const CLP_DIALECT *NetPortDialect(VOID) {
  return &kNetPortTable.Dialect;
}
