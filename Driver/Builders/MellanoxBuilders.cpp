// The Mellanox builders: one fixed target "netport1" whatever the Instance's port and function,
// plain property names and lower-case enable words. Every value is checked against the room left
// in the command buffer first (Space), and a value that does not fit empties the command.
#include "BuilderCommon.h"

// clang-format off
static constexpr CLP_LINE kMellanox1013Lines[] = {
  Tpl(SHOW_VERSION, "show netport1 FirmwareVersions").Parse(),
  Tpl(SHOW_PORT_EN, "show netport1 PortEnable").Parse(),
  Tpl(SET_PORT_EN, "set netport1 PortEnable=").Word(SrcPortEnable, WordsLower, IfOne).Keep(StorePortEnable).Needs(8),
  Tpl(SHOW_BOOT_EN, "show netport1 BootEnable").Parse(),
  Tpl(SET_BOOT_EN, "set netport1 BootEnable=").Word(SrcBootEnable, WordsLower, IfOne).Keep(StoreBootEnable).Needs(8),
  Tpl(SHOW_PF_MFG_MAC, "show netport1 MfgMAC").Parse(),
  Tpl(SHOW_PF_MAC, "show netport1 MAC").Parse(),
  Tpl(SET_PF_MAC, "set netport1 MAC=").Hex(SrcMac).Needs(13),
  Tpl(SET_PF_VLANID, "set netport1 VlanID=").Number(SrcBootVlanOr4095, NumDec4).Keep(StoreVlan).Needs(9),
  Tpl(SHOW_SRIOV, "show netport1 SRIOVState").Parse(),
  Tpl(SET_SRIOV_FOR_CONTROLLER, "set netport1 SRIOVState=").Word(SrcSriovEnabled, WordsLower, IfOne).Needs(8),
  Tpl(SHOW_MAX_LINK_SPEED, "show netport1 MAXLinkSpeed").Parse(),
  Tpl(SET_PORT_DEFAULTS, "set netport1 Default"),
  Tpl(SHOW_PXE_VLANID, "show netport1 VlanID").Parse(),
};

static constexpr CLP_LINE kMellanox1017Lines[] = {
  Tpl(SHOW_VERSION, "show netport1 FirmwareVersions").Parse(),
  Tpl(SHOW_MAX_LINK_SPEED, "show netport1 MAXLinkSpeed").Parse(),
};
// clang-format on

CLP_PACKED_TABLE(kMellanox1013Table, kMellanox1013Lines, CLP_BUFFER_BYTES);
CLP_PACKED_TABLE(kMellanox1017Table, kMellanox1017Lines, CLP_BUFFER_BYTES);

EFI_STATUS BuildMellanox1013ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                       BOOLEAN *ParseResponse) {
  return BuildFromDialect(&kMellanox1013Table.Dialect, DigitsUnused, UnknownClearsReconfigure, Adapter,
                          Function, Code, ParseResponse);
}

EFI_STATUS BuildMellanox1017ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                       BOOLEAN *ParseResponse) {
  return BuildFromDialect(&kMellanox1017Table.Dialect, DigitsUnused, UnknownClearsReconfigure, Adapter,
                          Function, Code, ParseResponse);
}
