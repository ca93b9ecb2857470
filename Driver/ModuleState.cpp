#include "ModuleState.h"

// Zero at load: the image loader fills the .bss section; SetModuleLoadValues() does the rest.
DRIVER_MODULE_STATE mModule;

VOID SetModuleLoadValues(VOID) {
  mModule.ToolMode.mToolModeSetting = 255;
  mModule.Run.mPlanInstance = PLAN_INSTANCE_NONE;
  mModule.Run.mPlanInstance2 = PLAN_INSTANCE_NONE;
  mModule.Builder.mClpPortDigit = '0';
  mModule.Builder.mClpPfDigit = '0';
  mModule.Builder.mClpTargetDigit = '0';
  for (UINTN Index = 0; Index < PF_TYPE_TABLE_ENTRIES; Index++) {
    mModule.Builder.mPfTypePfNumber[Index] = 1;
  }
}
