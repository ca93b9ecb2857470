// ManagedMode Response: reports a failed command, records the one success the platform needs to
// know about, and hands marked replies to the parsers.
#include "ModuleState.h"
#include "Managed/AdapterSettings.h"
#include "Parsers/DiscoveredState.h"
#include "Reporting/Reporting.h"

VOID NoteClpSuccess(FUNCTION_SETTINGS *Settings, EFI_CONFIGURE_CLP_PARAMETER_BLK *ParameterBlock,
                    UINTN CommandCode) {
  (void)ParameterBlock;
  if (CommandCode == SET_PF_MAC && mModule.Run.mFamily.QLogic8070 &&
      mModule.Tables.mNaloHeader.ResponseFlag == 0) {
    Settings->PlatformFlags |= PLATFORM_FLAG_MAC_APPLIED;
  }
}

EFI_STATUS ManagedModeResponse(EFI_HANDLE ControllerHandle, EFI_HANDLE ChildHandle, UINTN *Instance,
                               EFI_GUID *ParameterTypeGuid, VOID *ParameterBlock, UINTN ParameterBlockSize) {
  (void)ControllerHandle;
  (void)ChildHandle;
  (void)ParameterTypeGuid;
  (void)ParameterBlockSize;

  FUNCTION_SETTINGS *Settings = mModule.Run.mCurrentSettings;
  EFI_CONFIGURE_CLP_PARAMETER_BLK *Block = (EFI_CONFIGURE_CLP_PARAMETER_BLK *)ParameterBlock;
  if (Settings == nullptr || Block == nullptr) {
    return EFI_SUCCESS;
  }

  if (Block->CLPCmdStatus != 0) {
    ReportClpFailure(Settings, Block->CLPCmdStatus, Block->CLPErrorValue);
    // The command is the one this driver handed out; the reply has only the length the adapter
    // driver gives, with no terminator promised.
    LogClpDialogueWithReply(Settings, mModule.Builder.ClpCommandBuffer, Block->CLPReturnString,
                            Block->CLPReturnString != nullptr ? Block->CLPReturnStringLength : 0);
  } else {
    NoteClpSuccess(Settings, Block, mModule.Run.mResponseCommandCode);
  }

  // A failed SHOW is parsed too: its reply may still say what the adapter has.
  if (mModule.Run.mParseResponse) {
    return ParseClpReply(Settings, Instance, Block->CLPReturnString, Block->CLPReturnStringLength,
                         mModule.Run.mResponseCommandCode);
  }
  return EFI_SUCCESS;
}
