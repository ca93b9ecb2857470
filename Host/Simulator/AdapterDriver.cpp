#include "Simulator/AdapterDriver.h"

#include <cstring>

namespace sim {

namespace {
const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

// The command as handed out: CLPCommandLength bytes, up to a NUL a ToolMode variable may carry.
void CopyCommand(const EFI_CONFIGURE_CLP_PARAMETER_BLK *Clp, std::string &Command) {
  if (Clp != nullptr && Clp->CLPCommand != nullptr) {
    const char *Text = reinterpret_cast<const char *>(Clp->CLPCommand);
    Command.assign(Text, strnlen(Text, Clp->CLPCommandLength));
  }
}
} // namespace

void RunAdapterDriver(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                      const ClpResponder &Responder, uint64_t InstanceLimit, const StepObserver &Observer,
                      DriverRun &Run) {
  for (UINTN Instance = 0;; Instance++) {
    if (Instance >= InstanceLimit) {
      Run.InstanceLimit = true;
      Run.EndInstance = Instance;
      return;
    }
    if (Observer) {
      Observer(Instance, false);
    }
    EFI_GUID *TypeGuid = nullptr;
    VOID *Block = nullptr;
    UINTN BlockSize = 0;
    UINTN QueryInstance = Instance;
    const EFI_STATUS QueryStatus =
        Protocol->Query(Protocol, Controller, nullptr, &QueryInstance, &TypeGuid, &Block, &BlockSize);
    if (EFI_ERROR(QueryStatus)) {
      Run.EndInstance = Instance;
      Run.EndQuery = QueryStatus;
      return;
    }

    Run.Steps.emplace_back();
    DriverStep &Step = Run.Steps.back();
    Step.Instance = Instance;
    Step.Query = QueryStatus;
    Step.ClpGuid = TypeGuid != nullptr && std::memcmp(TypeGuid, &ClpGuid, sizeof(EFI_GUID)) == 0;
    auto *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(Block);
    CopyCommand(Clp, Step.Command);
    Step.Outcome = Responder(Step.Command);

    // The adapter driver owns the return string until Response returns.
    Run.ReplyBuffer.assign(Step.Outcome.Reply.begin(), Step.Outcome.Reply.end());
    Run.ReplyBuffer.push_back('\0');
    if (Clp != nullptr) {
      Clp->CLPReturnString = Run.ReplyBuffer.data();
      Clp->CLPReturnStringLength = static_cast<UINT32>(Step.Outcome.Reply.size());
      Clp->CLPCmdStatus = Step.Outcome.Status;
      Clp->CLPErrorValue = Step.Outcome.Error;
    }
    UINTN ResponseInstance = Instance;
    Step.Response =
        Protocol->Response(Protocol, Controller, nullptr, &ResponseInstance, TypeGuid, Block, BlockSize,
                           static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(Step.Outcome.Action));
    if (Observer) {
      Observer(Instance, true);
    }
    if (Run.Stopped) {
      // The driver was stopped (and, for a restart, started again and run to its end) inside this
      // Response. What the late Query answers is recorded as the end of this run.
      const UINTN Late = Instance + 1;
      if (Observer) {
        Observer(Late, false);
      }
      UINTN LateInstance = Late;
      Run.EndInstance = Late;
      Run.EndQuery =
          Protocol->Query(Protocol, Controller, nullptr, &LateInstance, &TypeGuid, &Block, &BlockSize);
      return;
    }
  }
}

} // namespace sim
