#include "Simulator/AdapterDriver.h"

#include <cstring>

namespace sim {

namespace {
const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
}

DriverRun RunAdapterDriver(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                           const ClpResponder &Responder, uint64_t InstanceLimit,
                           const StepObserver &Observer) {
  DriverRun Run;
  for (UINTN Instance = 0;; Instance++) {
    if (Instance >= InstanceLimit) {
      Run.InstanceLimit = true;
      Run.EndInstance = Instance;
      return Run;
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
      return Run;
    }

    DriverStep Step;
    Step.Instance = Instance;
    Step.Query = QueryStatus;
    Step.ClpGuid = TypeGuid != nullptr && std::memcmp(TypeGuid, &ClpGuid, sizeof(EFI_GUID)) == 0;
    auto *Clp = static_cast<EFI_CONFIGURE_CLP_PARAMETER_BLK *>(Block);
    if (Clp != nullptr && Clp->CLPCommand != nullptr) {
      const char *Text = reinterpret_cast<const char *>(Clp->CLPCommand);
      Step.Command.assign(Text, strnlen(Text, Clp->CLPCommandLength));
    }
    if (Observer) {
      Observer(Step, false);
    }

    Step.Outcome = Responder(Step.Command);
    // The adapter driver owns the return string until Response returns.
    std::vector<CHAR8> Reply(Step.Outcome.Reply.begin(), Step.Outcome.Reply.end());
    Reply.push_back('\0');
    if (Clp != nullptr) {
      Clp->CLPReturnString = Reply.data();
      Clp->CLPReturnStringLength = static_cast<UINT32>(Step.Outcome.Reply.size());
      Clp->CLPCmdStatus = Step.Outcome.Status;
      Clp->CLPErrorValue = Step.Outcome.Error;
    }
    UINTN ResponseInstance = Instance;
    Step.Response =
        Protocol->Response(Protocol, Controller, nullptr, &ResponseInstance, TypeGuid, Block, BlockSize,
                           static_cast<EFI_PLATFORM_CONFIGURATION_ACTION>(Step.Outcome.Action));
    Run.Steps.push_back(Step);
    if (Observer) {
      Observer(Run.Steps.back(), true);
    }
    if (Step.Outcome.Action == EfiPlatformConfigurationActionRestartController && !EFI_ERROR(Step.Response)) {
      Run.Restarted = true;
      Run.EndInstance = Instance + 1;
      return Run;
    }
  }
}

} // namespace sim
