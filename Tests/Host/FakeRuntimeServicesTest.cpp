// The fake's NVRAM and reset, with the UEFI rules the driver's ToolMode relies on.
#include "Support/DriverTest.h"

#include <cstring>

namespace {

EFI_GUID ClpGuid = EFI_PLATFORM_TO_DRIVER_CONFIGURATION_CLP_GUID;
EFI_GUID OtherGuid = {0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr UINT32 kNvBsRt =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

class FakeRuntimeServicesTest : public DriverTest {
protected:
  EFI_RUNTIME_SERVICES *Rt() { return Fw().SystemTable()->RuntimeServices; }
  void SetUp() override {
    DriverTest::SetUp();
    Fw().PutVariable(u"CLPCMD000_0", ClpGuid, kNvBsRt, {'s', 'h', 'o', 'w', ' ', '/'});
  }
};

TEST_F(FakeRuntimeServicesTest, GetVariableAnswersByBufferSize) {
  struct Case {
    const char *What;
    UINTN Size;
    bool WithData;
    bool WithSizePointer;
    EFI_STATUS Expected;
    UINTN SizeAfter;
  } Cases[] = {
      {"exact buffer", 6, true, true, EFI_SUCCESS, 6},
      {"larger buffer", 500, true, true, EFI_SUCCESS, 6},
      {"one byte short", 5, true, true, EFI_BUFFER_TOO_SMALL, 6},
      {"size query", 0, false, true, EFI_BUFFER_TOO_SMALL, 6},
      {"NULL data with a size", 8, false, true, EFI_INVALID_PARAMETER, 8},
      {"NULL size", 0, true, false, EFI_INVALID_PARAMETER, 0},
  };
  for (const Case &C : Cases) {
    UINT8 Buffer[500];
    std::memset(Buffer, 0xEE, sizeof(Buffer));
    UINTN Size = C.Size;
    UINT32 Attributes = 0;
    EXPECT_EQ(C.Expected,
              Rt()->GetVariable(WSTR("CLPCMD000_0"), &ClpGuid, &Attributes,
                                C.WithSizePointer ? &Size : nullptr, C.WithData ? Buffer : nullptr))
        << C.What;
    if (C.WithSizePointer) {
      EXPECT_EQ(C.SizeAfter, Size) << C.What;
    }
    if (C.Expected == EFI_SUCCESS) {
      EXPECT_EQ(0, std::memcmp(Buffer, "show /", 6)) << C.What;
      EXPECT_EQ(0xEE, Buffer[6]) << C.What << ": nothing is written past the data";
      EXPECT_EQ(kNvBsRt, Attributes) << C.What;
    } else {
      EXPECT_EQ(0xEE, Buffer[0]) << C.What << ": nothing is copied on failure";
    }
  }
  // Name and GUID together are the key.
  UINT8 Buffer[16];
  UINTN Size = sizeof(Buffer);
  EXPECT_EQ(EFI_NOT_FOUND, Rt()->GetVariable(WSTR("CLPCMD000_0"), &OtherGuid, nullptr, &Size, Buffer));
  EXPECT_EQ(EFI_NOT_FOUND, Rt()->GetVariable(WSTR("CLPCMD000_1"), &ClpGuid, nullptr, &Size, Buffer));
}

TEST_F(FakeRuntimeServicesTest, SetVariableKeepsAttributesDeletesWithSizeZeroAndIsRecorded) {
  UINT8 Result[] = {'o', 'k'};
  ASSERT_EQ(EFI_SUCCESS, Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid, kNvBsRt, 2, Result));
  const fake::NvramVariable *Stored = Fw().FindVariable(u"CLPCMD000_0_RESULT", ClpGuid);
  ASSERT_NE(nullptr, Stored);
  EXPECT_EQ(kNvBsRt, Stored->Attributes);
  EXPECT_EQ((std::vector<uint8_t>{'o', 'k'}), Stored->Data);

  // The attributes of an existing variable cannot change by rewriting it.
  EXPECT_EQ(EFI_INVALID_PARAMETER, Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid,
                                                     EFI_VARIABLE_BOOTSERVICE_ACCESS, 2, Result));
  EXPECT_EQ(EFI_INVALID_PARAMETER, Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid,
                                                     EFI_VARIABLE_BOOTSERVICE_ACCESS, 0, nullptr));
  ASSERT_NE(nullptr, Fw().FindVariable(u"CLPCMD000_0_RESULT", ClpGuid));
  EXPECT_EQ(EFI_SUCCESS, Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid, kNvBsRt, 0, nullptr));
  EXPECT_EQ(nullptr, Fw().FindVariable(u"CLPCMD000_0_RESULT", ClpGuid));
  EXPECT_EQ(EFI_NOT_FOUND, Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid, kNvBsRt, 0, nullptr));
  // Runtime access without boot-service access is not a valid combination.
  EXPECT_EQ(EFI_INVALID_PARAMETER,
            Rt()->SetVariable(WSTR("X"), &ClpGuid, EFI_VARIABLE_RUNTIME_ACCESS, 2, Result));

  // An injected NVRAM failure stores nothing.
  Fw().FailSetVariable(EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(EFI_OUT_OF_RESOURCES,
            Rt()->SetVariable(WSTR("CLPCMD000_0_RESULT"), &ClpGuid, kNvBsRt, 1, Result));
  EXPECT_EQ(nullptr, Fw().FindVariable(u"CLPCMD000_0_RESULT", ClpGuid));

  const auto Events = Fw().EventsOf(fake::EventKind::SetVariable);
  ASSERT_EQ(7u, Events.size());
  EXPECT_EQ(u"CLPCMD000_0_RESULT", Events[0].Name);
  EXPECT_EQ(kNvBsRt, Events[0].Attributes);
  EXPECT_EQ((std::vector<uint8_t>{'o', 'k'}), Events[0].Data);
  const EFI_STATUS Statuses[] = {EFI_SUCCESS,   EFI_INVALID_PARAMETER, EFI_INVALID_PARAMETER, EFI_SUCCESS,
                                 EFI_NOT_FOUND, EFI_INVALID_PARAMETER, EFI_OUT_OF_RESOURCES};
  for (size_t I = 0; I < Events.size(); ++I) {
    EXPECT_EQ(Statuses[I], Events[I].Status) << I;
  }
}

TEST_F(FakeRuntimeServicesTest, ResetSystemEndsTheBootInsideRunUntilReset) {
  bool ReachedAfterReset = false;
  const bool Reset = Fw().RunUntilReset([&] {
    Rt()->ResetSystem(EfiResetCold, EFI_SUCCESS, 0, nullptr);
    ReachedAfterReset = true;
  });
  EXPECT_TRUE(Reset);
  EXPECT_FALSE(ReachedAfterReset);
  const auto Events = Fw().EventsOf(fake::EventKind::Reset);
  ASSERT_EQ(1u, Events.size());
  EXPECT_EQ(EfiResetCold, Events[0].ResetType);
  EXPECT_STREQ("cold", fake::ResetTypeName(Events[0].ResetType));

  bool Ran = false;
  EXPECT_FALSE(Fw().RunUntilReset([&] { Ran = true; }));
  EXPECT_TRUE(Ran);
}

TEST_F(FakeRuntimeServicesTest, ResetOutsideABootAbortsWithAMessage) {
  EXPECT_DEATH(Rt()->ResetSystem(EfiResetWarm, EFI_SUCCESS, 0, nullptr), "outside RunUntilReset");
}

} // namespace
