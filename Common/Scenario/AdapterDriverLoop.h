// One adapter driver's configuration loop, as its driver-binding Start() runs it: Query Instance
// 0, 1, ... until Query answers an error, executing each CLP command and calling Response after
// every successful Query. A Response that restarts the controller stops this driver (its Stop()
// comes inside the Response) and starts a new one, nested, before it returns; the loop then asks for
// one more Instance, as a real driver's loop does before it looks at its stop flag, and ends.
// The host simulator and the firmware stand-in both play their scripted adapters through this.
// Freestanding; a reset inside Response may leave it by longjmp on the host, so it keeps nothing
// with a destructor in its frame.
#pragma once

#include "Uefi.h"

namespace ptd {

// What the adapter answers to a command. Reply stays the adapter driver's, NUL-terminated, until
// Response returns.
struct ClpAnswer {
  CHAR8 *Reply;
  UINT32 ReplyLength;
  UINT8 Status;
  UINT8 Error;
  UINT32 Action;
};

// The command as handed out: CLPCommandLength bytes, up to a NUL a ToolMode variable may carry.
inline UINTN ClpCommandLength(const EFI_CONFIGURE_CLP_PARAMETER_BLK *Clp) {
  if (Clp == nullptr || Clp->CLPCommand == nullptr) {
    return 0;
  }
  UINTN Length = 0;
  while (Length < Clp->CLPCommandLength && Clp->CLPCommand[Length] != 0) {
    Length++;
  }
  return Length;
}

// Driver supplies the adapter and watches the loop:
//   void BeforeQuery(UINTN Instance);     // also before the late Query after a stop
//   void AfterQuery();
//   ClpAnswer Execute(UINTN Instance, EFI_STATUS Query, const EFI_GUID *TypeGuid,
//                     const CHAR8 *Command, UINTN CommandLength);
//   void BeforeResponse();
//   void AfterResponse(EFI_STATUS Response);
//   bool Stopped();                       // Stop() came for this run
//   void Ended(UINTN Instance, EFI_STATUS Query);
//   void PassedLimit(UINTN Instance);     // InstanceLimit Instances were answered without an end
template <class Driver>
void PlayAdapterDriver(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                       UINTN InstanceLimit, Driver &D) {
  for (UINTN Instance = 0; Instance < InstanceLimit; Instance++) {
    EFI_GUID *TypeGuid = nullptr;
    VOID *Block = nullptr;
    UINTN BlockSize = 0;
    UINTN QueryInstance = Instance;
    D.BeforeQuery(Instance);
    const EFI_STATUS Query =
        Protocol->Query(Protocol, Controller, nullptr, &QueryInstance, &TypeGuid, &Block, &BlockSize);
    D.AfterQuery();
    if (EFI_ERROR(Query)) {
      D.Ended(Instance, Query);
      return;
    }
    EFI_CONFIGURE_CLP_PARAMETER_BLK *Clp = (EFI_CONFIGURE_CLP_PARAMETER_BLK *)Block;
    const CHAR8 *Command = Clp != nullptr ? (const CHAR8 *)Clp->CLPCommand : nullptr;
    const ClpAnswer Answer = D.Execute(Instance, Query, TypeGuid, Command, ClpCommandLength(Clp));
    if (Clp != nullptr) {
      Clp->CLPReturnString = Answer.Reply;
      Clp->CLPReturnStringLength = Answer.ReplyLength;
      Clp->CLPCmdStatus = Answer.Status;
      Clp->CLPErrorValue = Answer.Error;
    }
    UINTN ResponseInstance = Instance;
    D.BeforeResponse();
    const EFI_STATUS Response =
        Protocol->Response(Protocol, Controller, nullptr, &ResponseInstance, TypeGuid, Block, BlockSize,
                           (EFI_PLATFORM_CONFIGURATION_ACTION)Answer.Action);
    D.AfterResponse(Response);
    if (D.Stopped()) {
      // Stopped (and, for a restart, started again and run to its end) inside that Response. What
      // the late Query answers is the end of this run.
      UINTN LateInstance = Instance + 1;
      D.BeforeQuery(Instance + 1);
      const EFI_STATUS Late =
          Protocol->Query(Protocol, Controller, nullptr, &LateInstance, &TypeGuid, &Block, &BlockSize);
      D.AfterQuery();
      D.Ended(Instance + 1, Late);
      return;
    }
  }
  D.PassedLimit(InstanceLimit);
}

} // namespace ptd
