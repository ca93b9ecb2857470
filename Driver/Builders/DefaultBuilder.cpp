// BuildDefaultClpCommand: the builder of every family without one of its own (Intel, Emulex0700,
// Emulex0710, EmulexE200, QLogic2261). Adapter-wide and iSCSI lines are the same for every vendor;
// the other lines come from the dialect of the entry's PCI vendor.
#include "Builders/Builders.h"
#include "DefaultDialects.h"
#include "Managed/AdapterFamilies.h"
#include "Strings/Vocabulary.h"

// clang-format off

// Lines that do not depend on the vendor. The target digit of these lines is always "0".
static constexpr CLP_LINE kVendorIndependentLines[] = {
  Tpl(SET_MODE, "set OEMVDR_Mode=").Word(SrcActiveLinkConfig, WordsMode, IfOne),
  Tpl(SET_PFCOUNT, "set OEMVDR_PfCount=").Number(SrcTargetPfCount, NumHex2Cap3),
  Tpl(SHOW_PF_TYPE, "show pf1 OEMVDR_PfType").Parse(),
  Tpl(SET_PF1_TYPE, "set pf1 OEMVDR_PfType=").TypeName(SrcTargetPersonality),
  Tpl(SET_PF_VLANID, "set port0/pf0 OEMVDR_PfVLANID=", DigitPort | DigitPf).Vlan(SrcFunctionVlanOr4095).Keep(StoreVlan),
  Tpl(SET_PF_BANDWIDTH, "set port0/pf0 OEMVDR_PfBandwidth=", DigitPort | DigitPf).Number(SrcMinBandwidth, NumHex2).Keep(StoreBandwidth),
  Tpl(SET_PF_RATE_LIMIT, "set port0/pf0 OEMVDR_PfRateLimit=", DigitPort | DigitPf).Number(SrcMaxBandwidth, NumHex2).Keep(StoreRateLimit),
  Tpl(SET_ISCSI_INI_ADDR_ORIGIN, "set port0/pf1 OEMVDR_InitiatorAddressOrigin=", DigitPort | DigitPf).Word(SrcInitiatorOrigin, WordsOrigin, IfOne),
  Tpl(SET_ISCSI_INI_NAME, "set port0/pf1 OEMVDR_InitiatorIscsiName=", DigitPort | DigitPf).Bounded(SrcInitiatorName, 224),
  Tpl(SET_ISCSI_INI_IPV4_ADDR, "set port0/pf1 OEMVDR_IPv4InitiatorAddress=", DigitPort | DigitPf).Ipv4Hex(SrcInitiatorAddress),
  Tpl(SET_ISCSI_INI_IPV4_SUBNET_MASK, "set port0/pf1 OEMVDR_IPv4InitiatorSubnetMask=", DigitPort | DigitPf).Ipv4Hex(SrcInitiatorSubnetMask),
  Tpl(SET_ISCSI_INI_IPV4_GATEWAY, "set port0/pf1 OEMVDR_IPv4InitiatorGateway=", DigitPort | DigitPf).Ipv4Hex(SrcInitiatorGateway),
  Tpl(SET_ISCSI_TAR_ADDR_ORIGIN, "set port0/pf1 OEMVDR_BootTargetAddressOrigin=", DigitPort | DigitPf).Word(SrcTargetOrigin, WordsOrigin, IfOne),
  Tpl(SET_ISCSI_TAR_NAME, "set port0/pf1 OEMVDR_TargetIscsiName=", DigitPort | DigitPf).Bounded(SrcTargetName, 224),
  Tpl(SET_ISCSI_TAR_IPV4_ADDR, "set port0/pf1/target0 OEMVDR_IPv4TargetAddress=", DigitPort | DigitPf | DigitTarget).Ipv4Hex(SrcTargetAddress),
  Tpl(SET_ISCSI_TAR_TCP_PORT, "set port0/pf1/target0 OEMVDR_TcpPort=", DigitPort | DigitPf | DigitTarget).Number(SrcTargetTcpPort, NumHex4),
  Tpl(SET_ISCSI_TAR_BOOT_LUN, "set port0/pf1/target0 OEMVDR_BootableLun=", DigitPort | DigitPf | DigitTarget).Number(SrcTargetBootLun, NumHex2),
  Tpl(SET_ISCSI_TAR_AUTH_METHOD, "set port0/pf1/target0 OEMVDR_AuthenticationMethod=", DigitPort | DigitPf | DigitTarget).Word(SrcAuthMethod, WordsAuthMethod, ByIndex),
  Tpl(SET_ISCSI_TAR_CHAP_USERNAME, "set port0/pf1/target0 OEMVDR_ChapName=", DigitPort | DigitPf | DigitTarget).Bounded(SrcChapUserName, 128),
  Tpl(SET_ISCSI_TAR_CHAP_SECRET, "set port0/pf1/target0 OEMVDR_ChapSecret=", DigitPort | DigitPf | DigitTarget).Bounded(SrcChapSecret, 17),
  Tpl(SET_ISCSI_TAR_MUT_CHAP_SECRET, "set port0/pf1/target0 OEMVDR_InitiatorChapSecret=", DigitPort | DigitPf | DigitTarget).Bounded(SrcMutualChapSecret, 17),
  Tpl(SET_SRIOV_FOR_CONTROLLER, "set OEMVDR_SRIOV=").Word(SrcSriovEnabled, WordsLower, IfOne),
  Tpl(SET_DEFAULT_WWNN, "set port0/pf1 OEMVDR_WWNN=", DigitPort | DigitPf).Text(SrcMfgWwnnText, 16),
  Tpl(SET_DEFAULT_WWPN, "set port0/pf1 OEMVDR_WWPN=", DigitPort | DigitPf).Text(SrcMfgWwpnText, 16),
};

// Every code that has per-vendor lines, with what it yields for a vendor that has no line: the
// empty prefix, the value alone, and the parse flag that holds whatever the vendor.
static constexpr CLP_LINE kPerVendorCodes[] = {
  Tpl(SHOW_PF_INFO, "").Parse(),
  Tpl(SHOW_VERSION, "").Parse(),
  Tpl(SHOW_PORT_EN, "").Parse(),
  Tpl(SET_PORT_EN, "").Word(SrcPortEnable, WordsLowerShort, IfNonZero).Keep(StorePortEnable),
  Tpl(SHOW_BOOT_EN, "").Parse(),
  Tpl(SET_BOOT_EN, "").Word(SrcBootEnable, WordsLowerShort, IfOne).Keep(StoreBootEnable),
  Tpl(SET_ADDR_DEFAULTS, ""),
  Tpl(SHOW_PF_MFG_MAC, "").Parse(),
  Tpl(SHOW_PF_MAC, "").Parse(),
  Tpl(SET_PF_MAC, "").Hex(SrcMac),
  Tpl(SHOW_PF_MFG_WWNN, "").Parse(),
  Tpl(SHOW_PF_WWNN, "").Parse(),
  Tpl(SET_PF_WWNN, "").Upper(SrcWwnn, 16),
  Tpl(SHOW_PF_MFG_WWPN, "").Parse(),
  Tpl(SHOW_PF_WWPN, "").Parse(),
  Tpl(SET_PF_WWPN, "").Upper(SrcWwpn, 16),
  Tpl(SET_PF_TAR_WWPN1, "").Text(SrcTarget1Wwpn, 16),
  Tpl(SET_PF_TAR_WWPN2, "").Text(SrcTarget2Wwpn, 16),
  Tpl(SET_PF_TAR_LUN1, "").Text(SrcTarget1Lun, 4),
  Tpl(SET_PF_TAR_LUN2, "").Text(SrcTarget2Lun, 4),
  Tpl(SET_LINK_SPEED, "").Text(SrcFcLinkSpeed, 4),
  Tpl(SET_TOPOLOGY, "").Text(SrcFcTopology, 2),
  Tpl(SHOW_MAX_LINK_SPEED, "").Parse(),
  Tpl(SHOW_PF_TAR_WWPN1, ""),
  Tpl(SHOW_PF_TAR_WWPN2, ""),
  Tpl(SHOW_PF_TAR_LUN1, ""),
  Tpl(SHOW_PF_TAR_LUN2, ""),
  Tpl(SHOW_LINK_SPEED, ""),
  Tpl(SHOW_TOPOLOGY, ""),
  Tpl(SET_PORT_DEFAULTS, ""),
  Tpl(SHOW_PF_VOLATILE_WWNN, ""),
  Tpl(SHOW_PF_VOLATILE_WWPN, ""),
};

// Vendor 0x19A2 (Emulex0700, Emulex0710): OEM port/function dialect.
static constexpr CLP_LINE kOemPortFunctionLines[] = {
  kOemPfInfoLine,
  Tpl(SHOW_VERSION, "show port0 OEMVDR_FirmwareVersions", DigitPort).Parse(),
  Tpl(SET_PORT_EN, "set port0 OEMVDR_PortEn=", DigitPort).Word(SrcPortEnable, WordsLowerShort, IfNonZero).Keep(StorePortEnable),
  Tpl(SET_BOOT_EN, "set port0/pf0 OEMVDR_PfBootEnable=", DigitPort | DigitPf).Word(SrcBootEnable, WordsLowerShort, IfOne).Keep(StoreBootEnable),
  Tpl(SET_ADDR_DEFAULTS, "set port0 OEMVDR_AddressDefaults=0"),
  Tpl(SHOW_PF_MFG_MAC, "show port0/pf0 OEMVDR_MFG_PfMAC", DigitPort | DigitPf).Parse(),
  Tpl(SHOW_PF_MAC, "show port0/pf0 OEMVDR_PfMAC", DigitPort | DigitPf).Parse(),
  Tpl(SET_PF_MAC, "set port0/pf0 OEMVDR_PfMAC=", DigitPort | DigitPf).Hex(SrcMac),
  Tpl(SHOW_PF_MFG_WWNN, "show port0/pf1 OEMVDR_MFG_WWNN", DigitPort | DigitPf).Parse(),
  Tpl(SHOW_PF_WWNN, "show port0/pf1 OEMVDR_WWNN", DigitPort | DigitPf).Parse(),
  Tpl(SET_PF_WWNN, "set port0/pf1 OEMVDR_WWNN=", DigitPort | DigitPf).Upper(SrcWwnn, 16),
  Tpl(SHOW_PF_MFG_WWPN, "show port0/pf1 OEMVDR_MFG_WWPN", DigitPort | DigitPf).Parse(),
  Tpl(SHOW_PF_WWPN, "show port0/pf1 OEMVDR_WWPN", DigitPort | DigitPf).Parse(),
  Tpl(SET_PF_WWPN, "set port0/pf1 OEMVDR_WWPN=", DigitPort | DigitPf).Upper(SrcWwpn, 16),
  Tpl(SET_PF_TAR_WWPN1, "set port0/pf1/target0 OEMVDR_TargetWWPN=", DigitPort | DigitPf | DigitTarget).Target('0').Text(SrcTarget1Wwpn, 16),
  Tpl(SET_PF_TAR_WWPN2, "set port0/pf1/target0 OEMVDR_TargetWWPN=", DigitPort | DigitPf | DigitTarget).Target('1').Text(SrcTarget2Wwpn, 16),
  Tpl(SET_PF_TAR_LUN1, "set port0/pf1/target0 OEMVDR_TargetLUN=", DigitPort | DigitPf | DigitTarget).Target('0').Text(SrcTarget1Lun, 4),
  Tpl(SET_PF_TAR_LUN2, "set port0/pf1/target0 OEMVDR_TargetLUN=", DigitPort | DigitPf | DigitTarget).Target('1').Text(SrcTarget2Lun, 4),
};

// Vendor 0x8086 (Intel): bare property lines on the default target.
static constexpr CLP_LINE kIntelLines[] = {
  kOemPfInfoLine,
  Tpl(SET_ADDR_DEFAULTS, "set Default"),
  Tpl(SHOW_PF_MFG_MAC, "show PermanentAddress").Parse(),
  Tpl(SHOW_PF_MAC, "show PermanentAddress").Parse(),
  Tpl(SET_PF_MAC, "set PermanentAddress=").Hex(SrcMac),
};

// clang-format on

CLP_PACKED_TABLE(kOemPortFunctionTable, kOemPortFunctionLines, CLP_BUFFER_BYTES);
CLP_PACKED_TABLE(kIntelTable, kIntelLines, CLP_BUFFER_BYTES);
CLP_PACKED_TABLE(kVendorIndependentTable, kVendorIndependentLines, CLP_BUFFER_BYTES);
CLP_PACKED_TABLE(kPerVendorTable, kPerVendorCodes, CLP_BUFFER_BYTES);

const CLP_DIALECT *OemPortFunctionDialect(VOID) {
  return &kOemPortFunctionTable.Dialect;
}

const CLP_DIALECT *IntelDialect(VOID) {
  return &kIntelTable.Dialect;
}

// The record's vendor decides the lines, whatever family the adapter is.
static const CLP_DIALECT *DialectOfVendor(UINT16 VendorId) {
  const ADAPTER_VENDOR_ROW *Vendor = FindAdapterVendor(VendorId);
  switch (Vendor != nullptr ? Vendor->Dialect : DialectNone) {
  case DialectIntel:
    return IntelDialect();
  case DialectNetPort:
    return NetPortDialect();
  case DialectFcPort:
    return FcPortDialect();
  case DialectOemPortFunction:
    return OemPortFunctionDialect();
  default:
    return nullptr;
  }
}

EFI_STATUS BuildDefaultClpCommand(ADAPTER_SETTINGS *Adapter, FUNCTION_SETTINGS *Function, UINT64 Code,
                                  BOOLEAN *ParseResponse) {
  const FUNCTION_SETTINGS *Entry = ClpFunctionOrAbsent(Function);
  PrepareClpDigits(Entry, DigitsFromZero);
  if (Code == EXIT) {
    WriteClpExit();
    return EFI_SUCCESS;
  }

  const CLP_DIALECT *VendorIndependent = &kVendorIndependentTable.Dialect;
  const CLP_ROW *Line = FindClpLine(VendorIndependent, Code, Entry);
  if (Line != nullptr) {
    return RunClpLine(VendorIndependent, Line, Entry, ParseResponse);
  }

  const CLP_DIALECT *PerVendor = &kPerVendorTable.Dialect;
  const CLP_ROW *NoVendorLine = FindClpLine(PerVendor, Code, Entry);
  if (NoVendorLine == nullptr) {
    return RefuseClpCode(Adapter, UnknownClearsReconfigure);
  }
  const CLP_DIALECT *Vendor = DialectOfVendor(Entry->VendorId);
  Line = FindClpLine(Vendor, Code, Entry);
  if (Line == nullptr) {
    return RunClpLine(PerVendor, NoVendorLine, Entry, ParseResponse);
  }
  const EFI_STATUS Status = RunClpLine(Vendor, Line, Entry, ParseResponse);
  // The parse flag belongs to the code, whatever the vendor's line says.
  if (NoVendorLine->ParseReply && ParseResponse != nullptr) {
    *ParseResponse = TRUE;
  }
  return Status;
}
