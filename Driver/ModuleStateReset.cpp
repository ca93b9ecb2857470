// Host builds only: tests and the simulator's reboot put the driver back to its load state.
// Kept out of the firmware image, which never resets itself.
#include "ModuleState.h"

VOID ResetModuleState(VOID) {
  mModule = DRIVER_MODULE_STATE{};
  SetModuleLoadValues();
}
