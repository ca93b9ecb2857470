#include "ModuleState.h"

// Constant-initialised from the default member initialisers: no constructor runs at load.
DRIVER_MODULE_STATE mModule;
