// The shape of the port: link configuration, function count and types, partitioning, SR-IOV.
//
// On the Emulex families any of these changes makes the planner end the plan and ask for a
// controller restart, so they are decided before anything that depends on the layout.
#include "ModuleState.h"
#include "Planning/PredicateInternal.h"
#include "Reporting/Reporting.h"
#include "Library/ReportStatusCodeLib.h"
#include "Strings/Vocabulary.h"

#define PF_COUNT_MAX_WISH 4
// The adapters offer one, two or four functions per port; a wish of three gets two.
#define PF_COUNT_UNSUPPORTED 3

// SR-IOV wanted in a link layout that cannot carry it.
#define STATUS_TYPE_ERROR_MAJOR 0x80000002u
#define STATUS_SRIOV_LAYOUT_CONFLICT 0x0380801Bu
#define STATUS_INSTANCE_LOW_BYTE 0xAA
#define LINK_CONFIG_UNTYPED 1

VOID PlanMode(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  (VOID) Settings;
  if (mModule.Discovered.mLinkConfig != mModule.Discovered.mActiveLinkConfig) {
    AppendCommand(Code, Count);
  }
}

VOID PlanPfCount(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  const UINT8 Wish = mModule.Tables.mNaloPortTable.DesiredFunctionCount;
  if (mModule.Discovered.mActiveLinkConfig != 0 || !PortTableValid() || Wish < 1 ||
      Wish > PF_COUNT_MAX_WISH) {
    return;
  }
  mModule.Discovered.mTargetPfCount = Wish == PF_COUNT_UNSUPPORTED ? 2 : Wish;
  if (mModule.Discovered.mTargetPfCount != mModule.Discovered.mCurrentPfCount && AppendCommand(Code, Count)) {
    Settings->FunctionCount = mModule.Discovered.mTargetPfCount;
  }
}

VOID PlanPf1Type(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  (VOID) Settings;
  if (mModule.Discovered.mActiveLinkConfig != 0 || !PortTableValid() ||
      mModule.Tables.mNaloPortTable.DesiredFunctionCount <= 1) {
    return;
  }
  mModule.Discovered.mTargetPersonality = mModule.Tables.mNaloPortTable.Function[1].FunctionType;
  if (mModule.Discovered.mTargetPersonality != mModule.Discovered.mCurrentPersonality) {
    AppendCommand(Code, Count);
  }
}

// Queues one type change for the builder: entry k of the type table and of the function-number
// table describe the k-th SET_PF2_TYPE of the plan.
static VOID QueueTypeChange(UINT32 Code, UINTN *Count, UINTN *Queued, UINTN Function) {
  if (*Queued >= PF_TYPE_TABLE_ENTRIES || !AppendCommand(Code, Count)) {
    return;
  }
  mModule.Discovered.mPfTypeTable[*Queued] = mModule.Planner.mTargetPfTypeWork;
  mModule.Builder.mPfTypePfNumber[*Queued] = Function;
  (*Queued)++;
}

static UINTN TypedFunctionsOfLayout(VOID) {
  if (mModule.Discovered.mActiveLinkConfig == 2) {
    return 16;
  }
  if (mModule.Discovered.mActiveLinkConfig == 3) {
    return 4;
  }
  return 8;
}

VOID PlanPf2Types(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  (VOID) Settings;
  if (!LayoutAllowsTyping() || !PortTableValid()) {
    return;
  }
  UINTN Queued = 0;

  mModule.Planner.mCurrentPfTypeWork = mModule.Discovered.mPfTypeTable[0];
  if (mModule.Planner.mRoceMode != 0) {
    mModule.Planner.mTargetPfTypeWork = PF_TYPE_ROCE;
  } else {
    mModule.Planner.mTargetPfTypeWork = PF_TYPE_NIC;
    if (mModule.Planner.mCurrentPfTypeWork == PF_TYPE_ROCE) {
      mModule.Planner.mRoceTypeFound = 1;
    }
  }
  if (mModule.Planner.mTargetPfTypeWork != mModule.Planner.mCurrentPfTypeWork) {
    QueueTypeChange(Code, Count, &Queued, 0);
  }

  // Queued never exceeds Function, so the entries still to be examined hold current types.
  const UINTN Functions = TypedFunctionsOfLayout();
  const BOOLEAN UmcSwitchingOn = mModule.Discovered.mCurrentUmc == 0 && mModule.Discovered.mTargetUmc == 1;
  for (UINTN Function = 1; Function < Functions && Function < PF_TYPE_TABLE_ENTRIES; Function++) {
    mModule.Planner.mCurrentPfTypeWork = mModule.Discovered.mPfTypeTable[Function];
    // Functions that partitioning brings into existence are always typed.
    if (UmcSwitchingOn && mModule.Planner.mCurrentPfTypeWork == PF_TYPE_DISABLED) {
      mModule.Planner.mCurrentPfTypeWork = PF_TYPE_UNKNOWN;
    }
    const NALO_FUNCTION_ENTRY &Entry = mModule.Tables.mNaloPortTable.Function[Function];
    if (mModule.Tables.mNaloPortTable.DesiredFunctionCount != 0 && Entry.Enabled == 1) {
      // RoCE mode keeps the further functions off; a further NIC function exists only on a
      // partitioned port.
      if (mModule.Planner.mRoceMode != 0 ||
          (Entry.FunctionType == PF_TYPE_NIC && mModule.Discovered.mTargetUmc == 0)) {
        mModule.Planner.mTargetPfTypeWork = PF_TYPE_DISABLED;
      } else {
        mModule.Planner.mTargetPfTypeWork = Entry.FunctionType;
      }
    } else {
      mModule.Planner.mTargetPfTypeWork = PF_TYPE_DISABLED;
    }
    if (mModule.Planner.mTargetPfTypeWork != mModule.Planner.mCurrentPfTypeWork) {
      QueueTypeChange(Code, Count, &Queued, Function);
    }
  }
}

VOID PlanUmc(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  if (!LayoutAllowsTyping() || !PortTableValid()) {
    return;
  }
  const UINTN Functions = DesiredFunctionEntries();
  mModule.Discovered.mTargetUmc = 0;
  // RoCE and SR-IOV both exclude partitioning; otherwise a further NIC function needs it.
  if (mModule.Planner.mRoceMode == 0 && !(SriovValid() && mModule.Planner.mSriovRequested != 0)) {
    for (UINTN Function = 1; Function < Functions; Function++) {
      const NALO_FUNCTION_ENTRY &Entry = mModule.Tables.mNaloPortTable.Function[Function];
      if (Entry.Enabled == 1 && Entry.FunctionType == PF_TYPE_NIC) {
        mModule.Discovered.mTargetUmc = 1;
        break;
      }
    }
  }
  if (mModule.Discovered.mTargetUmc == mModule.Discovered.mCurrentUmc) {
    return;
  }
  // SR-IOV has to be off before a NIC port is partitioned.
  if (mModule.Discovered.mTargetUmc == 1 && Settings->PfType == PF_TYPE_NIC &&
      AppendCommand(SET_SRIOV_FOR_CONTROLLER, Count)) {
    Settings->SriovEnabled = 0;
  }
  AppendCommand(Code, Count);
}

// Controller-wide SR-IOV: one switch for the whole adapter, mirrored into every port's record.
static VOID PlanControllerSriov(FUNCTION_SETTINGS *Settings, UINTN *Count) {
  if (!SriovValid()) {
    return;
  }
  if (mModule.Tables.mNaloPortTable.Function[0].SriovEnable == 1) {
    mModule.Planner.mSriovRequested = 1;
  }
  // On a multi-port adapter the decision waits for a later port, after every port's wish is known.
  if (Settings->PortCount != 1 && IsFirstFunctionOfAdapter(Settings)) {
    return;
  }
  const UINT8 Desired = mModule.Planner.mSriovRequested != 0 ? 1 : 0;
  if (Desired == Settings->SriovEnabled || !AppendCommand(SET_SRIOV_FOR_CONTROLLER, Count)) {
    return;
  }
  const UINTN Ports =
      Settings->PortCount < FUNCTION_LIST_ENTRIES ? Settings->PortCount : FUNCTION_LIST_ENTRIES;
  // A NULL entry ends the port list.
  for (UINTN Port = 0; Port < Ports && Settings->Ports[Port] != nullptr; Port++) {
    Settings->Ports[Port]->SriovEnabled = Desired;
  }
}

// SR-IOV of a port whose functions can carry virtual functions only while the port has few of them.
static VOID PlanPortSriov(FUNCTION_SETTINGS *Settings, UINTN *Count) {
  if (!SriovValid()) {
    return;
  }
  UINT8 Desired = 0;
  const UINTN Functions = DesiredFunctionEntries();
  for (UINTN Function = 0; Function < Functions; Function++) {
    if (mModule.Tables.mNaloPortTable.Function[Function].SriovEnable == 1) {
      Desired = 1;
      break;
    }
  }
  if (Desired == Settings->SriovEnabled) {
    return;
  }
  if (mModule.Discovered.mCurrentPfCount > 2 ||
      (mModule.Discovered.mCurrentPfCount == 2 && mModule.Discovered.mCurrentPersonality == PF_TYPE_NIC)) {
    return;
  }
  if (AppendCommand(SET_SRIOV_FOR_CONTROLLER, Count)) {
    Settings->SriovEnabled = Desired;
  }
}

// Per-function SR-IOV, held back while partitioning or RoCE typing is being established.
static VOID PlanFunctionSriov(FUNCTION_SETTINGS *Settings, UINTN *Count) {
  UINT8 Desired = Settings->SriovEnabled;
  if (mModule.Planner.mRoceMode != 0) {
    Desired = 0;
  } else if (SriovValid() && mModule.Tables.mCurFunctionEntry != nullptr) {
    Desired = mModule.Tables.mCurFunctionEntry->SriovEnable;
  }
  if (Desired == Settings->SriovEnabled) {
    return;
  }
  const BOOLEAN UmcSwitchingOn = mModule.Discovered.mCurrentUmc == 0 && mModule.Discovered.mTargetUmc == 1;
  const BOOLEAN SriovOnUnderUmc = mModule.Discovered.mTargetUmc == 1 && Desired != 0;
  if (UmcSwitchingOn || SriovOnUnderUmc || mModule.Planner.mRoceTypeFound != 0) {
    return;
  }
  if (AppendCommand(SET_SRIOV_FOR_PF, Count)) {
    Settings->SriovEnabled = Desired;
  }
}

static VOID ReportSriovLayoutConflict(FUNCTION_SETTINGS *Settings) {
  const UINT16 Address = Settings->PciAddress;
  const UINT16 Swapped = (UINT16)((Address >> 8) | (Address << 8));
  const UINT32 Instance = ((UINT32)Swapped << 8) + STATUS_INSTANCE_LOW_BYTE;
  ReportStatusCodeEx(STATUS_TYPE_ERROR_MAJOR, STATUS_SRIOV_LAYOUT_CONFLICT, Instance, &gClpStatusCallerGuid,
                     nullptr, nullptr, 0);
  Settings->ErrorFlags |= ERROR_FLAG_ERROR_REPORTED;
}

// Both SR-IOV codes take this path: the device decides which kind of switch it has.
VOID PlanSriov(FUNCTION_SETTINGS *Settings, UINT32 Code, UINTN *Count) {
  (VOID) Code;
  if (!IsFirstFunctionOfPort(Settings)) {
    return;
  }
  if (LayoutAllowsTyping() || mModule.Run.mFamily.Mellanox1013 || mModule.Run.mFamily.QLogic8070) {
    switch (RecordVidDid(Settings)) {
    case VIDDID_QLOGIC_1644:
    case VIDDID_QLOGIC_8070:
    case VIDDID_MELLANOX_1013:
    case VIDDID_MELLANOX_1015:
      PlanControllerSriov(Settings, Count);
      break;
    case VIDDID_QLOGIC_1656:
    case VIDDID_EMULEX_0710:
    case VIDDID_EMULEX_0712:
    case VIDDID_EMULEX_0714:
      PlanPortSriov(Settings, Count);
      break;
    case VIDDID_EMULEX_0720:
    case VIDDID_EMULEX_0722:
    case VIDDID_EMULEX_0724:
      PlanFunctionSriov(Settings, Count);
      break;
    default:
      break;
    }
  }
  if (SriovValid() && mModule.Discovered.mActiveLinkConfig == LINK_CONFIG_UNTYPED &&
      mModule.Tables.mNaloPortTable.Function[0].SriovEnable == 1) {
    ReportSriovLayoutConflict(Settings);
  }
}
