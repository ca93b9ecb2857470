// Response parsing: what the replies told about the adapter, and the dispatcher that reads them.
#ifndef DRIVER_PARSERS_DISCOVERED_STATE_H_
#define DRIVER_PARSERS_DISCOVERED_STATE_H_

#include "Uefi.h"
#include "Protocol/AdapterSettings.h"
#include "Builders/Builders.h"
#include "Planning/CommandCodes.h"

// What the adapter's replies told: the shared scan variables of the parsers, and the current
// values with the targets the planners and builders work towards.
struct DISCOVERED_STATE {
  const CHAR8 *mSearchKey = nullptr;
  UINTN mScanLength = 0;
  CHAR8 *mScanPtr = nullptr;
  UINT8 *mDestPtr = nullptr;
  UINTN mByteLength = 0;
  EFI_STATUS mConfigStatus = EFI_SUCCESS;
  UINT8 mCurrentPfCount = 0;
  UINT8 mTargetPfCount = 0;
  UINT32 mCurrentPersonality = 0;
  UINT32 mTargetPersonality = 0;
  UINT32 mLinkConfig = 0;
  UINT32 mActiveLinkConfig = 0;
  UINT8 mCurrentUmc = 0;
  UINT8 mTargetUmc = 0;
  UINT16 mCurrentVlanId = 0;
  UINT16 mTargetVlanId = 0;
  UINT32 mPfTypeTable[PF_TYPE_TABLE_ENTRIES] = {};
  UINT8 mPfTypeCount = 0;
  UINT8 mPxeVlanEnabled = 0;
  UINT8 mFcIovSupported = 0;
};

EFI_STATUS ParseClpReply(FUNCTION_SETTINGS *Settings, UINTN *Instance, CHAR8 *Reply, UINT32 ReplyLength,
                         UINTN CommandCode);
UINT8 GetPxeVlanEnabled(VOID);

#endif
