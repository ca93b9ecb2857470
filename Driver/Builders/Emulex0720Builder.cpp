// BuildEmulex0720ClpCommand: converged adapters with partitions (UMC). Adapter-wide settings live
// on the root target "/", functions are "port<P>/pf<F>" counted from 0, properties carry
// "OEMELX_". iSCSI target properties are arrays used at index 0.
//
// Function-type changes go out one function at a time: the k-th SET_PF2_TYPE reads entry k of
// mPfTypePfNumber and mPfTypeTable (k = mEmulexPfTypeSetIndex) and advances k. Once k has reached
// the end of those 16-entry tables there is no function left to name, so the line is the empty
// command and k stays where it is.
#include "BuilderCommon.h"

// clang-format off
static constexpr CLP_LINE kEmulex0720Lines[] = {
  Fmt(SHOW_PF_INFO, "show port%01d/pf%d OEMELX_PFInfo", ArgPort, ArgPf).Parse(),
  Tpl(SET_MODE, "set / OEMELX_LinkConfig=").Word(SrcActiveLinkConfig, WordsLinkConfig, ByIndex),
  Tpl(SET_PORT_EN, "set port0 OEMELX_PortEnable=", DigitPort).Word(SrcPortEnable, WordsCapital, IfNonZero).Keep(StorePortEnable),
  Fmt(SET_BOOT_EN, "set port%01d/pf%d OEMELX_BootEnable=", ArgPort, ArgPf).Word(SrcBootEnable, WordsCapital, IfOne).Keep(StoreBootEnable),
  Tpl(SET_ADDR_DEFAULTS, "set port0 OEMELX_AddressDefaults=0", DigitPort),
  Fmt(SET_PF_MAC, "set port%01d/pf%d OEMELX_VolatileMAC=", ArgPort, ArgPf).Hex(SrcMac),
  Tpl(SET_PF_WWNN, "set port0/pf0 OEMELX_VolatileWWNN=", DigitPort | DigitPf).Upper(SrcWwnn, 16),
  Tpl(SET_PF_WWPN, "set port0/pf0 OEMELX_VolatileWWPN=", DigitPort | DigitPf).Upper(SrcWwpn, 16),
  Fmt(SET_PF_VLANID, "set port%01d/pf%d OEMELX_PFVlanID=%04d", ArgPort, ArgPf, ArgValue).From(SrcFunctionVlanOr4095).Keep(StoreVlan),
  Fmt(SET_PF_BANDWIDTH, "set port%01d/pf%d OEMELX_MinBandwidth=%03d", ArgPort, ArgPf, ArgValue).From(SrcMinBandwidth).Keep(StoreBandwidth),
  Fmt(SET_PF_RATE_LIMIT, "set port%01d/pf%d OEMELX_MaxBandwidth=%03d", ArgPort, ArgPf, ArgValue).From(SrcMaxBandwidth).Keep(StoreRateLimit),
  Tpl(SET_PF_TAR_WWPN1, "set port0/pf0 OEMELX_TargetWWPN[0]=", DigitPort | DigitPf | DigitIndex).Target('0').Text(SrcTarget1Wwpn, 16),
  Tpl(SET_PF_TAR_WWPN2, "set port0/pf0 OEMELX_TargetWWPN[0]=", DigitPort | DigitPf | DigitIndex).Target('1').Text(SrcTarget2Wwpn, 16),
  Tpl(SET_PF_TAR_LUN1, "set port0/pf0 OEMELX_TargetLUN[0]=", DigitPort | DigitPf | DigitIndex).Target('0').Text(SrcTarget1Lun, 4),
  Tpl(SET_PF_TAR_LUN2, "set port0/pf0 OEMELX_TargetLUN[0]=", DigitPort | DigitPf | DigitIndex).Target('1').Text(SrcTarget2Lun, 4),
  Tpl(SET_ISCSI_INI_ADDR_ORIGIN, "set port0/pf1 OEMELX_InitiatorAddressOrigin=", DigitPort | DigitPf).Word(SrcInitiatorOrigin, WordsOriginIpv4, IfOne),
  Tpl(SET_ISCSI_INI_NAME, "set port0/pf1 OEMELX_InitiatorIscsiName=", DigitPort | DigitPf).Bounded(SrcInitiatorName, 224),
  Tpl(SET_ISCSI_INI_IPV4_ADDR, "set port0/pf1 OEMELX_IPv4InitiatorAddress=", DigitPort | DigitPf).Ipv4Dec(SrcInitiatorAddress),
  Tpl(SET_ISCSI_INI_IPV4_SUBNET_MASK, "set port0/pf1 OEMELX_IPv4InitiatorSubnetMask=", DigitPort | DigitPf).Ipv4Dec(SrcInitiatorSubnetMask),
  Tpl(SET_ISCSI_INI_IPV4_GATEWAY, "set port0/pf1 OEMELX_IPv4InitiatorGateway=", DigitPort | DigitPf).Ipv4Dec(SrcInitiatorGateway),
  Tpl(SET_ISCSI_TAR_ADDR_ORIGIN, "set port0/pf1 OEMELX_BootTargetAddressOrigin=", DigitPort | DigitPf).Word(SrcTargetOrigin, WordsOriginIpv4, IfOne),
  Tpl(SET_ISCSI_TAR_NAME, "set port0/pf1 OEMELX_TargetIscsiName[0]=", DigitPort | DigitPf | DigitIndex).Bounded(SrcTargetName, 224),
  Tpl(SET_ISCSI_TAR_IPV4_ADDR, "set port0/pf1 OEMELX_IPv4TargetAddress[0]=", DigitPort | DigitPf | DigitIndex).Ipv4Dec(SrcTargetAddress),
  Tpl(SET_ISCSI_TAR_TCP_PORT, "set port0/pf1 OEMELX_TcpPort[0]=", DigitPort | DigitPf | DigitIndex).Number(SrcTargetTcpPort, NumDec5),
  Tpl(SET_ISCSI_TAR_BOOT_LUN, "set port0/pf1 OEMELX_BootableLun[0]=", DigitPort | DigitPf | DigitIndex).Number(SrcTargetBootLun, NumHex4),
  Tpl(SET_ISCSI_TAR_AUTH_METHOD, "set port0/pf1 OEMELX_AuthenticationMethod[0]=", DigitPort | DigitPf | DigitIndex).Word(SrcAuthMethod, WordsAuthMethod, ByIndex),
  Tpl(SET_ISCSI_TAR_CHAP_USERNAME, "set port0/pf1 OEMELX_ChapName[0]=", DigitPort | DigitPf | DigitIndex).Bounded(SrcChapUserName, 128),
  Tpl(SET_ISCSI_TAR_CHAP_SECRET, "set port0/pf1 OEMELX_ChapSecret[0]=", DigitPort | DigitPf | DigitIndex).Bounded(SrcChapSecret, 17),
  Tpl(SET_ISCSI_TAR_MUT_CHAP_SECRET, "set port0/pf1 OEMELX_InitiatorChapSecret[0]=", DigitPort | DigitPf | DigitIndex).Bounded(SrcMutualChapSecret, 17),
  Tpl(SET_SRIOV_FOR_CONTROLLER, "set / OEMELX_SRIOVState=").Word(SrcSriovEnabled, WordsCapital, IfOne),
  Tpl(SHOW_LINK_CONFIG, "show / OEMELX_LinkConfig").Parse(),
  Fmt(SET_PF2_TYPE, "set port%01d/pf%d OEMELX_PFType=", ArgPort, ArgPfTypePfNumber).When(CondPfTypeSetIndexValid).TypeName(SrcPfTypeOfSetIndex).Keep(StorePfTypeSet),
  Tpl(SET_PF2_TYPE, ""),
  Tpl(SET_UMC, "set / OEMELX_UMCState=").Word(SrcTargetUmc, WordsCapital, IfOne),
  Fmt(SET_SRIOV_FOR_PF, "set port%01d/pf%d OEMELX_SRIOVState=", ArgPort, ArgPf).Word(SrcSriovEnabled, WordsCapital, IfOne),
  Fmt(SET_PXE_VLAN, "set port%01d/pf%d OEMELX_PXEVlan=", ArgPort, ArgPf).Word(SrcFunctionVlanPxe, WordsCapital, IfNonZero).Keep(StoreVlan),
  Fmt(SET_PXE_VLANID, "set port%01d/pf%d OEMELX_PXEVlanID=%04d", ArgPort, ArgPf, ArgValue).From(SrcFunctionVlanPxe).Keep(StoreVlan),
  Tpl(SET_ROCE_PROFILE, "set / OEMELX_Profile=").Word(SrcRoceMode, WordsRoceProfile, IfOne),
};
// clang-format on

CLP_PACKED_TABLE(kEmulex0720Table, kEmulex0720Lines, CLP_VALUE_CAPACITY);

EFI_STATUS BuildEmulex0720ClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                     BOOLEAN *ParseResponse) {
  return BuildFromDialect(&kEmulex0720Table.Dialect, DigitsFromZero, UnknownKeepsReconfigure, Adapter,
                          Function, Code, ParseResponse);
}
