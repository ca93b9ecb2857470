// The planning predicate: decides code by code whether a setting of one function must change.
//
// PlanCommand only routes; the decisions live in small routines grouped by subject
// (PlanEnables, PlanAddresses, PlanBootTargets, PlanVlanBandwidth, PlanLayout).
#include "ModuleState.h"
#include "Planning/PlanObserver.h"
#include "Planning/PredicateInternal.h"
#include "Library/BaseLib.h"
#include "Strings/Vocabulary.h"

// Codes the predicate knows; everything else is refused with EFI_NOT_FOUND. A switch rather than a
// table of decision routines: the code is dense, so the compiler makes it one jump through a
// position-independent table, and the image carries no load-time relocation for it.
BOOLEAN PlanCommand(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (Settings == nullptr || Count == nullptr) {
    mModule.Discovered.mConfigStatus = EFI_INVALID_PARAMETER;
    return FALSE;
  }

  const UINTN Before = *Count;
  PLAN_OBSERVE(PlanObserveDecisionStart, Code, Settings, Before, FALSE);
  switch (Code) {
  case SET_MODE:
    PlanMode(Settings, Code, Count);
    break;
  case SET_PFCOUNT:
    PlanPfCount(Settings, Code, Count);
    break;
  case SET_PF1_TYPE:
    PlanPf1Type(Settings, Code, Count);
    break;
  case SET_PORT_EN:
    PlanPortEnable(Settings, Code, Count);
    break;
  case SET_BOOT_EN:
    PlanBootEnable(Settings, Code, Count);
    break;
  case SET_ADDR_DEFAULTS:
  case SET_DEFAULT_WWNN:
  case SET_DEFAULT_WWPN:
    PlanAddressDefaults(Settings, Code, Count);
    break;
  case SET_PF_MAC:
    PlanPfMac(Settings, Code, Count);
    break;
  case SET_PF_WWNN:
  case SET_PF_WWPN:
    PlanPfWorldWideName(Settings, Code, Count);
    break;
  case SET_PF_VLANID:
  case SET_PXE_VLANID:
    PlanVlan(Settings, Code, Count);
    break;
  case SET_PF_BANDWIDTH:
  case SET_PF_RATE_LIMIT:
    PlanBandwidth(Settings, Code, Count);
    break;
  case SET_PF_TAR_WWPN1:
  case SET_PF_TAR_WWPN2:
  case SET_PF_TAR_LUN1:
  case SET_PF_TAR_LUN2:
  case SET_LINK_SPEED:
  case SET_TOPOLOGY:
    PlanFcBootTarget(Settings, Code, Count);
    break;
  case SET_ISCSI_INI_ADDR_ORIGIN:
  case SET_ISCSI_INI_NAME:
  case SET_ISCSI_INI_IPV4_ADDR:
  case SET_ISCSI_INI_IPV4_SUBNET_MASK:
  case SET_ISCSI_INI_IPV4_GATEWAY:
  case SET_ISCSI_TAR_ADDR_ORIGIN:
  case SET_ISCSI_TAR_NAME:
  case SET_ISCSI_TAR_IPV4_ADDR:
  case SET_ISCSI_TAR_TCP_PORT:
  case SET_ISCSI_TAR_BOOT_LUN:
  case SET_ISCSI_TAR_AUTH_METHOD:
  case SET_ISCSI_TAR_CHAP_USERNAME:
  case SET_ISCSI_TAR_CHAP_SECRET:
  case SET_ISCSI_TAR_MUT_CHAP_SECRET:
    PlanIscsi(Settings, Code, Count);
    break;
  case SET_SRIOV_FOR_CONTROLLER:
  case SET_SRIOV_FOR_PF:
    PlanSriov(Settings, Code, Count);
    break;
  case SET_PF2_TYPE:
    PlanPf2Types(Settings, Code, Count);
    break;
  case SET_UMC:
    PlanUmc(Settings, Code, Count);
    break;
  case SET_PORT_DEFAULTS:
    PlanPortDefaults(Settings, Code, Count);
    break;
  case SHOW_PXE_VLANID:
    PlanShowPxeVlanId(Settings, Code, Count);
    break;
  default:
    mModule.Discovered.mConfigStatus = EFI_NOT_FOUND;
    return FALSE;
  }
  PLAN_OBSERVE(PlanObserveDecisionEnd, Code, Settings, *Count, *Count > Before);
  return *Count > Before ? TRUE : FALSE;
}
