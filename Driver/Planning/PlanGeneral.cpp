// General planner (Intel, EmulexE200, Emulex0700, Emulex0710, QLogic2261) and the read-only
// planner of the other QLogic2031 devices.
#include "ModuleState.h"
#include "Planning/PlanPhases.h"
#include "Planning/Planning.h"
#include "Planning/PredicateInternal.h"
#include "Planning/NaloConfiguration.h"
#include "Reporting/Reporting.h"
#include "Strings/DriverStrings.h"
#include "Library/BaseMemoryLib.h"
#include "Library/PrintLib.h"
#include "Strings/Vocabulary.h"

#define FC_IOV_MESSAGE_SIZE 256
#define DOTTED_VERSION_PARTS 16
// The firmware version slot that holds the Fibre Channel firmware of a QLogic2261 adapter.
#define QLOGIC_FC_FIRMWARE_SLOT 3

// Addresses, boot targets, link speed and topology as the adapter has them now.
static const UINT32 mEmulexE200Phase2Shows[] = {
    SHOW_PF_MFG_WWNN,      SHOW_PF_WWNN,          SHOW_PF_MFG_WWPN,  SHOW_PF_WWPN,
    SHOW_PF_VOLATILE_WWNN, SHOW_PF_VOLATILE_WWPN, SHOW_PF_TAR_WWPN1, SHOW_PF_TAR_WWPN2,
    SHOW_PF_TAR_LUN1,      SHOW_PF_TAR_LUN2,      SHOW_LINK_SPEED,   SHOW_TOPOLOGY,
};

static const UINT32 mQLogic2261Phase2Shows[] = {
    SHOW_PORT_EN,     SHOW_BOOT_EN,        SHOW_PF_MFG_WWNN,  SHOW_PF_WWNN,      SHOW_PF_MFG_WWPN,
    SHOW_PF_WWPN,     SHOW_MAX_LINK_SPEED, SHOW_PF_TAR_WWPN1, SHOW_PF_TAR_WWPN2, SHOW_PF_TAR_LUN1,
    SHOW_PF_TAR_LUN2, SHOW_LINK_SPEED,     SHOW_TOPOLOGY,
};

static const UINT32 mFcoeWwnShows[] = {SHOW_PF_MFG_WWNN, SHOW_PF_WWNN, SHOW_PF_MFG_WWPN, SHOW_PF_WWPN};

static const UINT32 mEmulex0710Shares[] = {SET_PF_BANDWIDTH, SET_PF_RATE_LIMIT, SET_ADDR_DEFAULTS};
static const UINT32 mFcoeDefaultNames[] = {SET_DEFAULT_WWNN, SET_DEFAULT_WWPN};

static const UINT32 mFibreChannelLink[] = {SET_LINK_SPEED, SET_TOPOLOGY};

static BOOLEAN HasPlatformFlag6(const FUNCTION_SETTINGS *Settings) {
  return (Settings->PlatformFlags & PLATFORM_FLAG_6) != 0;
}

static VOID PlanGeneralPhase1(PLAN_CALL *Call, const FUNCTION_SETTINGS *Settings) {
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  switch (Settings->VendorId) {
  case VENDOR_INTEL:
    PlanAppend(Call, HasPlatformFlag6(Settings) ? SET_ADDR_DEFAULTS : SHOW_PF_MFG_MAC);
    break;
  case VENDOR_EMULEX:
    if (IsFirstFunctionOfAdapter(Settings)) {
      PlanAppend(Call, SHOW_VERSION);
    }
    PlanAppend(Call, SHOW_PORT_EN);
    PlanAppend(Call, SHOW_BOOT_EN);
    break;
  case VENDOR_EMULEX_OC:
    if (Family.Emulex0700 && IsFirstFunctionOfAdapter(Settings)) {
      PlanAppend(Call, SHOW_VERSION);
      PlanAppend(Call, SHOW_PF_TYPE);
    }
    if (Family.Emulex0710) {
      PlanAppend(Call, SHOW_PF_INFO);
    }
    if (Family.Emulex0700) {
      PlanAppend(Call, SHOW_PF_MFG_MAC);
    }
    break;
  case VENDOR_QLOGIC:
    PlanAppend(Call, SHOW_PF_INFO);
    break;
  default:
    break;
  }
}

// On the adapter's first function, a change of function count, second-function type or SR-IOV
// needs the controller restarted before anything else can be planned. TRUE when the plan ended.
static BOOLEAN PlanEmulexOcRestart(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  if (!IsFirstFunctionOfAdapter(Settings)) {
    return FALSE;
  }
  const BOOLEAN Is0710 = mModule.Run.mFamily.Emulex0710;
  const BOOLEAN CountChanged = Is0710 ? PlanDecide(Call, Settings, SET_PFCOUNT) : FALSE;
  const BOOLEAN TypeChanged = PlanDecide(Call, Settings, SET_PF1_TYPE);
  BOOLEAN SriovChanged = FALSE;
  if (Is0710 && !CountChanged && !TypeChanged) {
    SriovChanged = PlanDecide(Call, Settings, SET_SRIOV_FOR_CONTROLLER);
  }
  if (!CountChanged && !TypeChanged && !SriovChanged) {
    return FALSE;
  }
  mModule.Run.mPlanStopped = 1;
  mModule.Run.mPlanComplete = 1;
  mModule.Run.mPlanInstance2 = (UINT8)Call->Local;
  PlanEnd(Call);
  NotifyRestartOnce();
  return TRUE;
}

// TRUE when the plan ended in this phase (a restart is needed).
static BOOLEAN PlanGeneralPhase2(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  switch (Settings->VendorId) {
  case VENDOR_INTEL:
    PlanAppend(Call, HasPlatformFlag6(Settings) ? SHOW_PF_MFG_MAC : SHOW_PF_MAC);
    break;
  case VENDOR_EMULEX:
    PlanDecide(Call, Settings, SET_ADDR_DEFAULTS);
    PlanAppendAll(Call, PLAN_CODES(mEmulexE200Phase2Shows));
    break;
  case VENDOR_QLOGIC:
    if (mModule.Discovered.mFcIovSupported != 0) {
      PlanDecide(Call, Settings, SET_PORT_DEFAULTS);
      PlanAppendAll(Call, PLAN_CODES(mQLogic2261Phase2Shows));
    }
    break;
  case VENDOR_EMULEX_OC:
    if (PlanEmulexOcRestart(Call, Settings)) {
      return TRUE;
    }
    if (Family.Emulex0700) {
      PlanAppend(Call, SHOW_PF_MAC);
      if (Settings->PfType == PF_TYPE_FCOE) {
        PlanAppendAll(Call, PLAN_CODES(mFcoeWwnShows));
      }
    }
    break;
  default:
    break;
  }
  PlanEndPhase2(Call);
  return FALSE;
}

// Virtual addresses are wanted but the Fibre Channel firmware cannot take the IOV commands that
// set them: tell the management controller which firmware would.
static VOID ReportFcIovUnsupported(FUNCTION_SETTINGS *Settings) {
  if (!AddressEntryEnabled()) {
    return;
  }
  UINT8 Version[DOTTED_VERSION_PARTS];
  ZeroMem(Version, sizeof(Version));
  ParseDottedVersion(Version, Settings->FirmwareVersion[QLOGIC_FC_FIRMWARE_SLOT]);
  CHAR8 Message[FC_IOV_MESSAGE_SIZE];
  ZeroMem(Message, sizeof(Message));
  AsciiSPrint(Message, sizeof(Message),
              "Current QLogic FC FW Version(%d.%d) does not support IOV Command. Supported from %d.%d\n",
              (int)Version[0], (int)Version[1], 6, 7);
  SendClpLogChunks(Message);
}

static VOID PlanGeneralPhase3(PLAN_CALL *Call, FUNCTION_SETTINGS *Settings) {
  const ADAPTER_FAMILY &Family = mModule.Run.mFamily;
  const UINT32 PfType = Settings->PfType;

  if (Family.QLogic2261 && mModule.Discovered.mFcIovSupported == 0) {
    ReportFcIovUnsupported(Settings);
    PlanFinish(Settings);
    return;
  }
  if (!Family.Intel) {
    PlanDecide(Call, Settings, SET_PORT_EN);
  }
  if (Family.Emulex0710) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mEmulex0710Shares));
  }
  if (Family.Emulex0700 && PfType == PF_TYPE_FCOE) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mFcoeDefaultNames));
  }
  if (Family.Emulex0700 || Family.Emulex0710) {
    PlanDecide(Call, Settings, SET_PF_VLANID);
  }
  if (!Family.Intel) {
    PlanDecide(Call, Settings, SET_BOOT_EN);
  }
  if (PfType == PF_TYPE_NIC || PfType == PF_TYPE_FCOE || PfType == PF_TYPE_ISCSI || PfType == PF_TYPE_IB) {
    const BOOLEAN MacPlanned = PlanDecide(Call, Settings, SET_PF_MAC);
    // Without a change the adapter's current MAC is still to be read back.
    if (Family.Intel && HasPlatformFlag6(Settings) && !MacPlanned) {
      PlanAppend(Call, SHOW_PF_MAC);
    }
  }
  if (PfType == PF_TYPE_FC || PfType == PF_TYPE_FCOE) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mFibreChannelNameCodes));
    if (PfType == PF_TYPE_FC) {
      PlanDecideAll(Call, Settings, PLAN_CODES(mFibreChannelLink));
    }
  } else if (PfType == PF_TYPE_ISCSI && !Family.Intel) {
    PlanDecideAll(Call, Settings, PLAN_CODES(mIscsiSettingCodes));
  }
  PlanFinish(Settings);
}

VOID PlanGeneral(UINT64 Instance, FUNCTION_SETTINGS *Settings, PLAN_STATE *PlanState, UINTN *Count) {
  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  if (PlanAtPhase1(&Call)) {
    PlanGeneralPhase1(&Call, Settings);
    PlanEndPhase1(&Call);
  }
  if (PlanAtPhase2(&Call)) {
    if (PlanGeneralPhase2(&Call, Settings)) {
      return; // the count is already written back
    }
  }
  if (PlanAtPhase3(&Call)) {
    PlanGeneralPhase3(&Call, Settings);
  }
  PlanEnd(&Call);
}

VOID PlanQLogic2031(UINT64 Instance, FUNCTION_SETTINGS * /* Settings */, PLAN_STATE *PlanState,
                    UINTN *Count) {
  PLAN_CALL Call;
  PlanBegin(&Call, Instance, PlanState, Count);
  // These devices are only read: one information query, then the plan is complete.
  if (PlanAtPhase1(&Call)) {
    PlanAppend(&Call, SHOW_PF_INFO);
    mModule.Run.mPlanComplete = 1;
    PlanEndPhase1(&Call);
  }
  if (PlanAtPhase2(&Call)) {
    mModule.Run.mPlanComplete = 1;
    PlanEndPhase2(&Call);
  }
  if (PlanAtPhase3(&Call)) {
    mModule.Run.mPlanComplete = 1;
  }
  PlanEnd(&Call);
}
