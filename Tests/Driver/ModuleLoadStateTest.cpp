// The driver's state at load. The firmware image keeps it in .bss, which the loader fills with
// zeros and which cannot hold anything else: a field whose load value is not zero must be set by
// the entry point, and a default that is not zero would be lost in the image without a sound.
#include <gtest/gtest.h>

#include <cstring>

#include "ModuleState.h"

TEST(ModuleLoadState, ZeroButForTheFieldsTheEntryPointSets) {
  // Padding is no part of the state and a reset need not touch it: start from zero bytes.
  std::memset(static_cast<void *>(&mModule), 0, sizeof(mModule));
  mModule.mPlanStopped = 1;
  mModule.mCommandCount = 7;
  ResetModuleState();

  EXPECT_EQ(mModule.mToolModeSetting, 255u); // CLPCMD_MODE not read yet
  EXPECT_EQ(mModule.mPlanInstance, 255);
  EXPECT_EQ(mModule.mPlanInstance2, 255);
  EXPECT_EQ(mModule.mClpPortDigit, '0');
  EXPECT_EQ(mModule.mClpPfDigit, '0');
  EXPECT_EQ(mModule.mClpTargetDigit, '0');
  for (UINT64 Number : mModule.mPfTypePfNumber) {
    EXPECT_EQ(Number, 1u);
  }

  // Clear those in a copy; every byte left must be zero.
  static DRIVER_MODULE_STATE Rest;
  std::memcpy(static_cast<void *>(&Rest), &mModule, sizeof(Rest));
  Rest.mToolModeSetting = 0;
  Rest.mPlanInstance = Rest.mPlanInstance2 = 0;
  Rest.mClpPortDigit = Rest.mClpPfDigit = Rest.mClpTargetDigit = 0;
  std::memset(Rest.mPfTypePfNumber, 0, sizeof(Rest.mPfTypePfNumber));
  const unsigned char *Bytes = reinterpret_cast<const unsigned char *>(&Rest);
  size_t FirstNonZero = sizeof(Rest);
  for (size_t Offset = 0; Offset < sizeof(Rest) && FirstNonZero == sizeof(Rest); Offset++) {
    if (Bytes[Offset] != 0) {
      FirstNonZero = Offset;
    }
  }
  EXPECT_EQ(FirstNonZero, sizeof(Rest)) << "byte " << FirstNonZero << " of the state is not zero at load";
}
