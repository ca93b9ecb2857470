// The planning predicate: decides code by code whether a setting of one function must change.
//
// PlanCommand only routes; the decisions live in small routines grouped by subject
// (PlanEnables, PlanAddresses, PlanBootTargets, PlanVlanBandwidth, PlanLayout).
#include "Planning/PredicateInternal.h"
#include "Library/BaseLib.h"

BOOLEAN AppendCommand(UINT32 Code, UINTN *Count) {
  if (Count == nullptr || *Count > PLAN_LAST_APPEND_INDEX) {
    return FALSE;
  }
  mModule.CommandList[*Count] = (INT32)Code;
  (*Count)++;
  return TRUE;
}

BOOLEAN PlanTextDiffers(const CHAR8 *First, const CHAR8 *Second, UINTN Bound) {
  for (UINTN Index = 0; Index < Bound; Index++) {
    if (First[Index] != Second[Index]) {
      return TRUE;
    }
    if (First[Index] == 0) {
      return FALSE;
    }
  }
  return FALSE;
}

typedef struct {
  UINT8 FirstCode;
  UINT8 LastCode;
  PLAN_DECISION Decide;
} PLAN_DISPATCH_ROW;

// Codes the predicate knows; everything else is refused with EFI_NOT_FOUND.
static const PLAN_DISPATCH_ROW mPlanDispatch[] = {
    {SET_MODE, SET_MODE, PlanMode},
    {SET_PFCOUNT, SET_PFCOUNT, PlanPfCount},
    {SET_PF1_TYPE, SET_PF1_TYPE, PlanPf1Type},
    {SET_PORT_EN, SET_PORT_EN, PlanPortEnable},
    {SET_BOOT_EN, SET_BOOT_EN, PlanBootEnable},
    {SET_ADDR_DEFAULTS, SET_ADDR_DEFAULTS, PlanAddressDefaults},
    {SET_PF_MAC, SET_PF_MAC, PlanPfMac},
    {SET_PF_WWNN, SET_PF_WWNN, PlanPfWorldWideName},
    {SET_PF_WWPN, SET_PF_WWPN, PlanPfWorldWideName},
    {SET_PF_VLANID, SET_PF_VLANID, PlanVlan},
    {SET_PF_BANDWIDTH, SET_PF_RATE_LIMIT, PlanBandwidth},
    {SET_PF_TAR_WWPN1, SET_TOPOLOGY, PlanFcBootTarget},
    {SET_ISCSI_INI_ADDR_ORIGIN, SET_ISCSI_TAR_MUT_CHAP_SECRET, PlanIscsi},
    {SET_SRIOV_FOR_CONTROLLER, SET_SRIOV_FOR_CONTROLLER, PlanSriov},
    {SET_PF2_TYPE, SET_PF2_TYPE, PlanPf2Types},
    {SET_UMC, SET_UMC, PlanUmc},
    {SET_DEFAULT_WWNN, SET_DEFAULT_WWPN, PlanAddressDefaults},
    {SET_SRIOV_FOR_PF, SET_SRIOV_FOR_PF, PlanSriov},
    {SET_PXE_VLANID, SET_PXE_VLANID, PlanVlan},
    {SET_PORT_DEFAULTS, SET_PORT_DEFAULTS, PlanPortDefaults},
    {SHOW_PXE_VLANID, SHOW_PXE_VLANID, PlanShowPxeVlanId},
};

BOOLEAN PlanCommand(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (Settings == nullptr || Count == nullptr) {
    mModule.mConfigStatus = EFI_INVALID_PARAMETER;
    return FALSE;
  }
  mModule.mPciVidDid = VID_DID(Settings->VendorId, Settings->DeviceId);

  const UINTN Before = *Count;
  for (const PLAN_DISPATCH_ROW &Row : mPlanDispatch) {
    if (Code >= Row.FirstCode && Code <= Row.LastCode) {
      Row.Decide(Settings, Code, Count);
      return *Count > Before ? TRUE : FALSE;
    }
  }
  mModule.mConfigStatus = EFI_NOT_FOUND;
  return FALSE;
}
