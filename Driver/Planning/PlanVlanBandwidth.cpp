// VLAN, PXE VLAN and bandwidth shares of one function.
#include "ModuleState.h"
#include "Planning/PredicateInternal.h"
#include "Strings/Vocabulary.h"

// Port mode of a partitioned port: bandwidth and VLAN then come from the function entries.
#define PORT_MODE_PARTITIONED 2
// Emulex0700 boards do not report a trustworthy VLAN: these stand-ins lie outside the 12-bit
// range, so the SET is always planned there.

VOID PlanBandwidth(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!PortTableValid() || mModule.Tables.mNaloPortTable.DesiredPortEnable != 1 || ConfigIsType2Subtype5()) {
    return;
  }
  if (mModule.Tables.mNaloPortTable.PortMode != PORT_MODE_PARTITIONED || mModule.Discovered.mTargetUmc != 1 ||
      mModule.Tables.mCurFunctionEntry == nullptr) {
    return;
  }
  if (Code == SET_PF_BANDWIDTH) {
    const UINT8 *Share = mModule.Tables.mCurFunctionEntry->MinBandwidthShare;
    if (Share == nullptr) {
      return;
    }
    mModule.Planner.mCurrentBandwidth = Settings->MinBandwidth;
    mModule.Planner.mTargetBandwidth = *Share;
    if (mModule.Planner.mCurrentBandwidth != mModule.Planner.mTargetBandwidth && AppendCommand(Code, Count)) {
      Settings->MinBandwidth = mModule.Planner.mTargetBandwidth;
    }
    return;
  }
  const UINT8 *Share = mModule.Tables.mCurFunctionEntry->MaxBandwidthShare;
  if (Share == nullptr) {
    return;
  }
  mModule.Planner.mCurrentRateLimit = Settings->MaxBandwidth;
  mModule.Planner.mTargetRateLimit = *Share;
  if (mModule.Planner.mCurrentRateLimit != mModule.Planner.mTargetRateLimit && AppendCommand(Code, Count)) {
    Settings->MaxBandwidth = mModule.Planner.mTargetRateLimit;
  }
}

// Sets the working VLAN pair from the platform's wish; a missing source leaves target = current.
static VOID DecideVlan(const FUNCTION_SETTINGS *Settings) {
  mModule.Discovered.mCurrentVlanId = Settings->VlanId;
  mModule.Discovered.mTargetVlanId = Settings->VlanId;
  const BOOLEAN FromFunctionEntry =
      !ConfigIsType2Subtype5() && mModule.Tables.mNaloPortTable.PortMode == PORT_MODE_PARTITIONED;
  if (FromFunctionEntry) {
    const NALO_FUNCTION_ENTRY *Entry = mModule.Tables.mCurFunctionEntry;
    if (Entry != nullptr && Entry->FunctionVlanId != nullptr) {
      mModule.Discovered.mTargetVlanId = *Entry->FunctionVlanId & VLAN_ID_MASK;
      if (mModule.Run.mFamily.Emulex0700) {
        mModule.Discovered.mCurrentVlanId = VLAN_UNKNOWN_FUNCTION;
      }
    }
  } else if (BootEntryUsable() && mModule.Tables.mCurBootEntry->BootVlanId != nullptr) {
    mModule.Discovered.mTargetVlanId = *mModule.Tables.mCurBootEntry->BootVlanId & VLAN_ID_MASK;
    if (mModule.Run.mFamily.Emulex0700) {
      mModule.Discovered.mCurrentVlanId = VLAN_UNKNOWN_BOOT;
    }
  }
  // 0 and 4095 both mean "no VLAN"; compare them as one value.
  if (mModule.Discovered.mCurrentVlanId == 0) {
    mModule.Discovered.mCurrentVlanId = VLAN_NONE;
  }
  if (mModule.Discovered.mTargetVlanId == 0) {
    mModule.Discovered.mTargetVlanId = VLAN_NONE;
  }
}

static VOID RecordTargetVlan(FUNCTION_SETTINGS *Settings) {
  Settings->VlanId = mModule.Discovered.mTargetVlanId == VLAN_NONE ? 0 : mModule.Discovered.mTargetVlanId;
}

VOID PlanVlan(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!PortTableValid() || mModule.Tables.mNaloPortTable.DesiredPortEnable != 1 ||
      Settings->PfType == PF_TYPE_FCOE) {
    return;
  }
  DecideVlan(Settings);
  if (Code == SET_PF_VLANID) {
    if (mModule.Discovered.mCurrentVlanId != mModule.Discovered.mTargetVlanId && AppendCommand(Code, Count)) {
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
  if (mModule.Discovered.mTargetVlanId == 0 || mModule.Discovered.mTargetVlanId >= VLAN_NONE) {
    return;
  }
  // QLogic8070 reports its PXE VLAN ID, so only a difference is programmed there.
  if (mModule.Run.mFamily.QLogic8070 &&
      mModule.Discovered.mCurrentVlanId == mModule.Discovered.mTargetVlanId) {
    return;
  }
  if (AppendCommand(Code, Count)) {
    RecordTargetVlan(Settings);
  }
}
