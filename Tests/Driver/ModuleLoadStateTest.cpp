// The driver's state at load. The firmware image keeps it in .bss, which the loader fills with
// zeros and which cannot hold anything else: a field whose load value is not zero must be set by
// the entry point, and a default that is not zero would be lost in the image without a sound.
#include <gtest/gtest.h>

#include <cstring>
#include <new>

#include "ModuleState.h"

TEST(ModuleLoadState, DefaultsAreZeroAndTheEntryPointSetsTheRest) {
  // Built over zero bytes, the defaults must leave every byte zero (padding is never written).
  alignas(DRIVER_MODULE_STATE) static unsigned char Raw[sizeof(DRIVER_MODULE_STATE)];
  std::memset(Raw, 0, sizeof(Raw));
  new (Raw) DRIVER_MODULE_STATE;
  size_t FirstNonZero = sizeof(Raw);
  for (size_t Offset = 0; Offset < sizeof(Raw) && FirstNonZero == sizeof(Raw); Offset++) {
    if (Raw[Offset] != 0) {
      FirstNonZero = Offset;
    }
  }
  EXPECT_EQ(FirstNonZero, sizeof(Raw))
      << "byte " << FirstNonZero << " of the state has a default that is not zero";

  // The reset puts back the load values over a used state.
  mModule.Run.mPlanStopped = 1;
  mModule.Run.mCommandCount = 7;
  mModule.Builder.mPfTypePfNumber[15] = 9;
  ResetModuleState();
  EXPECT_EQ(mModule.ToolMode.mToolModeSetting, 255u); // CLPCMD_MODE not read yet
  EXPECT_EQ(mModule.Run.mPlanInstance, 255);
  EXPECT_EQ(mModule.Run.mPlanInstance2, 255);
  EXPECT_EQ(mModule.Builder.mClpPortDigit, '0');
  EXPECT_EQ(mModule.Builder.mClpPfDigit, '0');
  EXPECT_EQ(mModule.Builder.mClpTargetDigit, '0');
  for (UINT64 Number : mModule.Builder.mPfTypePfNumber) {
    EXPECT_EQ(Number, 1u);
  }
  EXPECT_EQ(mModule.Run.mPlanStopped, 0);
  EXPECT_EQ(mModule.Run.mCommandCount, 0u);
}
