// BuildQLogic8070ClpCommand: NPAR adapters. Targets are "device", "port<N>" and "port<N>.pf<M>"
// with ports and functions counted from 1; standard property names; MACs with colons.
//
// SHOW_PF_TYPE names the next function whose personality has not been read (entry mPfTypeCount
// of mPfIndexTable, plus one). Once the count has reached the end of the 16-entry table there is
// no function left to name, so the line is the empty command (its reply still goes to the parser,
// which stores nothing past the table).
#include "BuilderCommon.h"

// clang-format off
static constexpr CLP_LINE kQLogic8070Lines[] = {
  Tpl(SHOW_VERSION, "show device FirmwareInformation").Parse(),
  Fmt(SHOW_PF_TYPE, "show port%01d.pf%d Personality", ArgPortPlus1, ArgNextPfIndexPlus1).When(CondPfTypeCountValid).Parse(),
  Tpl(SHOW_PF_TYPE, "").Parse(),
  Tpl(SHOW_BOOT_EN, "show port1 BootMode", DigitPort).Parse(),
  Fmt(SET_BOOT_EN, "set port%01d BootMode=", ArgPortPlus1).Word(SrcQLogicBootMode, WordsBootMode, ByIndex).Keep(StoreBootEnable),
  Tpl(SHOW_PF_MFG_MAC, "show port1.pf1 MacAddress", DigitPort | DigitPf).When(CondPartitioned).Parse(),
  Tpl(SHOW_PF_MFG_MAC, "show port1 MacAddress", DigitPort).Parse(),
  Tpl(SHOW_PF_MAC, "show port1.pf1 VirtualMacAddress", DigitPort | DigitPf).When(CondPartitioned).Parse(),
  Tpl(SHOW_PF_MAC, "show port1 VirtualMacAddress", DigitPort).Parse(),
  Fmt(SET_PF_MAC, "set port%01d.pf%d VirtualMacAddress=", ArgPortPlus1, ArgPfPlus1).When(CondPartitioned).MacColons(SrcCurrentMac),
  Fmt(SET_PF_MAC, "set port%01d VirtualMacAddress=", ArgPortPlus1).MacColons(SrcCurrentMac),
  Tpl(SHOW_SRIOV, "show device SRIOVMode").Parse(),
  Tpl(SET_SRIOV_FOR_CONTROLLER, "set device SRIOVMode=").Word(SrcSriovEnabled, WordsCapital, IfOne),
  Fmt(SET_PXE_VLAN, "set port%01d PXEVlan=", ArgPortPlus1).Word(SrcPxeBootVlan, WordsCapital, IfUsableVlan).Keep(StorePxeVlan),
  Fmt(SET_PXE_VLANID, "set port%01d PXEVlanId=%04d", ArgPortPlus1, ArgValue).From(SrcBootVlan).When(CondUsableVlan).Keep(StoreVlan),
  Tpl(SET_PXE_VLANID, "").From(SrcBootVlan).Keep(StoreVlan),
  Tpl(SHOW_UMC, "show device VirtualizationMode").Parse(),
  Tpl(SHOW_PF_BANDWIDTH, "show port1 MinimumBandwidthAllocation", DigitPort).Parse(),
  Tpl(SHOW_PF_RATE_LIMIT, "show port1 MaximumBandwidthAllocation", DigitPort).Parse(),
  Fmt(SET_PORT_DEFAULTS, "set port%01d VirtualMacAddress=00:00:00:00:00:00", ArgPortPlus1),
  Tpl(SHOW_PXE_VLANID, "show port1 PXEVlanId", DigitPort).Parse(),
  Tpl(SHOW_PXE_VLAN, "show port1 PXEVlan", DigitPort).Parse(),
};
// clang-format on

CLP_PACKED_TABLE(kQLogic8070Table, kQLogic8070Lines, CLP_VALUE_CAPACITY);

EFI_STATUS BuildQLogic8070ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse) {
  return BuildFromDialect(&kQLogic8070Table.Dialect, DigitsFromOne, UnknownKeepsReconfigure, Adapter,
                          Function, Code, ParseResponse);
}
