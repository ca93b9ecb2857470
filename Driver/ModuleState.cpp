#include "ModuleState.h"

// Zero at load: the image loader fills the .bss section; SetModuleLoadValues() does the rest.
DRIVER_MODULE_STATE mModule;

VOID SetModuleLoadValues(VOID) {
  mModule.mToolModeSetting = 255;
  mModule.mPlanInstance = PLAN_INSTANCE_NONE;
  mModule.mPlanInstance2 = PLAN_INSTANCE_NONE;
  mModule.mClpPortDigit = '0';
  mModule.mClpPfDigit = '0';
  mModule.mClpTargetDigit = '0';
  for (UINTN Index = 0; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
    mModule.mPfTypePfNumber[Index] = 1;
  }
}
