// VLAN, PXE VLAN and bandwidth shares of one function.
#include "Planning/PredicateInternal.h"
#include "Strings/Vocabulary.h"

// Port mode of a partitioned port: bandwidth and VLAN then come from the function entries.
#define PORT_MODE_PARTITIONED 2
// Emulex0700 boards do not report a trustworthy VLAN: these stand-ins lie outside the 12-bit
// range, so the SET is always planned there.

VOID PlanBandwidth(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!PortTableValid() || mModule.mNaloPortTable.DesiredPortEnable != 1 || ConfigIsType2Subtype5()) {
    return;
  }
  if (mModule.mNaloPortTable.PortMode != PORT_MODE_PARTITIONED || mModule.mTargetUmc != 1 ||
      mModule.mCurFunctionEntry == nullptr) {
    return;
  }
  if (Code == SET_PF_BANDWIDTH) {
    const UINT8 *Share = mModule.mCurFunctionEntry->MinBandwidthShare;
    if (Share == nullptr) {
      return;
    }
    mModule.mCurrentBandwidth = Settings->MinBandwidth;
    mModule.mTargetBandwidth = *Share;
    if (mModule.mCurrentBandwidth != mModule.mTargetBandwidth && AppendCommand(Code, Count)) {
      Settings->MinBandwidth = mModule.mTargetBandwidth;
    }
    return;
  }
  const UINT8 *Share = mModule.mCurFunctionEntry->MaxBandwidthShare;
  if (Share == nullptr) {
    return;
  }
  mModule.mCurrentRateLimit = Settings->MaxBandwidth;
  mModule.mTargetRateLimit = *Share;
  if (mModule.mCurrentRateLimit != mModule.mTargetRateLimit && AppendCommand(Code, Count)) {
    Settings->MaxBandwidth = mModule.mTargetRateLimit;
  }
}

// Sets the working VLAN pair from the platform's wish; a missing source leaves target = current.
static VOID DecideVlan(const FUNCTION_SETTINGS *Settings) {
  mModule.mCurrentVlanId = Settings->VlanId;
  mModule.mTargetVlanId = Settings->VlanId;
  const BOOLEAN FromFunctionEntry =
      !ConfigIsType2Subtype5() && mModule.mNaloPortTable.PortMode == PORT_MODE_PARTITIONED;
  if (FromFunctionEntry) {
    const NALO_FUNCTION_ENTRY *Entry = mModule.mCurFunctionEntry;
    if (Entry != nullptr && Entry->FunctionVlanId != nullptr) {
      mModule.mTargetVlanId = *Entry->FunctionVlanId & VLAN_ID_MASK;
      if (mModule.mFamily.Emulex0700) {
        mModule.mCurrentVlanId = VLAN_UNKNOWN_FUNCTION;
      }
    }
  } else if (BootEntryUsable() && mModule.mCurBootEntry->BootVlanId != nullptr) {
    mModule.mTargetVlanId = *mModule.mCurBootEntry->BootVlanId & VLAN_ID_MASK;
    if (mModule.mFamily.Emulex0700) {
      mModule.mCurrentVlanId = VLAN_UNKNOWN_BOOT;
    }
  }
  // 0 and 4095 both mean "no VLAN"; compare them as one value.
  if (mModule.mCurrentVlanId == 0) {
    mModule.mCurrentVlanId = VLAN_NONE;
  }
  if (mModule.mTargetVlanId == 0) {
    mModule.mTargetVlanId = VLAN_NONE;
  }
}

static VOID RecordTargetVlan(FUNCTION_SETTINGS *Settings) {
  Settings->VlanId = mModule.mTargetVlanId == VLAN_NONE ? 0 : mModule.mTargetVlanId;
}

VOID PlanVlan(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!PortTableValid() || mModule.mNaloPortTable.DesiredPortEnable != 1 ||
      Settings->PfType == PF_TYPE_FCOE) {
    return;
  }
  DecideVlan(Settings);
  if (Code == SET_PF_VLANID) {
    if (mModule.mCurrentVlanId != mModule.mTargetVlanId && AppendCommand(Code, Count)) {
      RecordTargetVlan(Settings);
    }
    return;
  }
  // PXE VLAN tagging exists only on network functions.
  if (Settings->PfType != PF_TYPE_NIC && Settings->PfType != PF_TYPE_ROCE) {
    return;
  }
  // The builder writes enabled or disabled from the decided pair.
  AppendCommand(SET_PXE_VLAN, Count);
  if (mModule.mTargetVlanId == 0 || mModule.mTargetVlanId >= VLAN_NONE) {
    return;
  }
  // QLogic8070 reports its PXE VLAN ID, so only a difference is programmed there.
  if (mModule.mFamily.QLogic8070 && mModule.mCurrentVlanId == mModule.mTargetVlanId) {
    return;
  }
  if (AppendCommand(Code, Count)) {
    RecordTargetVlan(Settings);
  }
}
