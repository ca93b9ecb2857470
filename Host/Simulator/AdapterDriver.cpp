#include "Simulator/AdapterDriver.h"

#include <cstring>

#include "Scenario/AdapterDriverLoop.h"

namespace sim {

namespace {
const EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;

// The shared loop's view of a host run: steps and their outcomes go into Run as they happen.
struct HostDriver {
  const ClpResponder &Responder;
  const StepObserver &Observer;
  DriverRun &Run;

  void BeforeQuery(UINTN Instance) {
    if (Observer) {
      Observer(Instance, false);
    }
  }
  void AfterQuery() {}

  ptd::ClpAnswer Execute(UINTN Instance, EFI_STATUS Query, const EFI_GUID *TypeGuid, const CHAR8 *Command,
                         UINTN CommandLength) {
    Run.Steps.emplace_back();
    DriverStep &Step = Run.Steps.back();
    Step.Instance = Instance;
    Step.Query = Query;
    Step.ClpGuid = TypeGuid != nullptr && std::memcmp(TypeGuid, &ClpGuid, sizeof(EFI_GUID)) == 0;
    if (CommandLength != 0) {
      Step.Command.assign(reinterpret_cast<const char *>(Command), CommandLength);
    }
    Step.Outcome = Responder(Step.Command);
    // The adapter driver owns the return string until Response returns.
    Run.ReplyBuffer.assign(Step.Outcome.Reply.begin(), Step.Outcome.Reply.end());
    Run.ReplyBuffer.push_back('\0');
    return {Run.ReplyBuffer.data(), static_cast<UINT32>(Step.Outcome.Reply.size()), Step.Outcome.Status,
            Step.Outcome.Error, Step.Outcome.Action};
  }

  void BeforeResponse() {}
  void AfterResponse(EFI_STATUS Response) {
    Run.Steps.back().Response = Response;
    if (Observer) {
      Observer(Run.Steps.back().Instance, true);
    }
  }

  bool Stopped() const { return Run.Stopped; }

  void Ended(UINTN Instance, EFI_STATUS Query) {
    Run.EndInstance = Instance;
    Run.EndQuery = Query;
  }

  void PassedLimit(UINTN Instance) {
    Run.InstanceLimit = true;
    Run.EndInstance = Instance;
  }
};
} // namespace

void RunAdapterDriver(EFI_PLATFORM_TO_DRIVER_CONFIGURATION_PROTOCOL *Protocol, EFI_HANDLE Controller,
                      const ClpResponder &Responder, uint64_t InstanceLimit, const StepObserver &Observer,
                      DriverRun &Run) {
  HostDriver Driver{Responder, Observer, Run};
  ptd::PlayAdapterDriver(Protocol, Controller, InstanceLimit, Driver);
}

} // namespace sim
