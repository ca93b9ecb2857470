// Which controllers ManagedMode may touch and which family each PCI vendor:device pair is.
#include <gtest/gtest.h>

#include <string>

#include "ModuleState.h"
#include "Managed/AdapterFamilies.h"
#include "Managed/AdapterSettings.h"

namespace {

std::string FamilyFlags() {
  const ADAPTER_FAMILY &F = mModule.Run.mFamily;
  const std::pair<BOOLEAN, const char *> Flags[] = {
      {F.Intel, "Intel"},
      {F.QLogic2031, "QLogic2031"},
      {F.QLogic2261, "QLogic2261"},
      {F.QLogic8070, "QLogic8070"},
      {F.Emulex0720, "Emulex0720"},
      {F.EmulexE200, "EmulexE200"},
      {F.Emulex0700, "Emulex0700"},
      {F.Emulex0710, "Emulex0710"},
      {F.Mellanox1013, "Mellanox1013"},
      {F.Mellanox1017, "Mellanox1017"},
  };
  std::string Out;
  for (const auto &[Set, Name] : Flags) {
    if (Set) {
      Out += Out.empty() ? Name : std::string(",") + Name;
    }
  }
  return Out;
}

TEST(AdapterIdentificationTest, EveryVendorDevicePairSetsItsFamilyAndNothingElse) {
  const struct {
    UINT16 Vendor, Device;
    const char *Families; // empty: no family, the controller is refused
  } Rows[] = {
      {0x8086, 0x1572, "Intel"},
      {0x8086, 0x0000, "Intel"},
      {0x8086, 0x2031, "Intel"},
      {0x1077, 0x2031, "QLogic2031"},
      {0x1077, 0x2532, "QLogic2031"},
      {0x1077, 0x2261, "QLogic2031,QLogic2261"},
      {0x1077, 0x8070, "QLogic8070"},
      {0x1077, 0x1644, "QLogic8070"},
      {0x1077, 0x1656, "QLogic8070"},
      {0x10DF, 0x0720, "Emulex0720"},
      {0x10DF, 0x0722, "Emulex0720"},
      {0x10DF, 0x0724, "Emulex0720"},
      {0x10DF, 0xE200, "EmulexE200"},
      {0x10DF, 0xE300, "EmulexE200"},
      {0x19A2, 0x0700, "Emulex0700"},
      {0x19A2, 0x0702, "Emulex0700"},
      {0x19A2, 0x0704, "Emulex0700"},
      {0x19A2, 0x0710, "Emulex0710"},
      {0x19A2, 0x0712, "Emulex0710"},
      {0x19A2, 0x0714, "Emulex0710"},
      {0x15B3, 0x1013, "Mellanox1013"},
      {0x15B3, 0x1015, "Mellanox1013"},
      {0x15B3, 0x1017, "Mellanox1017"},
      {0x15B3, 0x101B, "Mellanox1017"},
      // Neighbours of the listed pairs, and listed devices under another vendor.
      {0x15B3, 0x1019, ""},
      {0x1077, 0x2262, ""},
      {0x1077, 0x8071, ""},
      {0x10DF, 0x0721, ""},
      {0x10DF, 0xE201, ""},
      {0x19A2, 0x0701, ""},
      {0x19A2, 0x0720, ""},
      {0x10DF, 0x0710, ""},
      {0x1077, 0x0720, ""},
      {0x15B3, 0x2031, ""},
      // Device 0 of vendors whose rows list fewer devices than they have room for.
      {0x1077, 0x0000, ""},
      {0x15B3, 0x0000, ""},
      {0x8087, 0x1572, ""},
      {0x0000, 0x0000, ""},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << std::hex << Row.Vendor << ":" << Row.Device);
    ResetModuleState();
    mModule.Run.mFamily = {TRUE, TRUE, TRUE, TRUE, TRUE,
                           TRUE, TRUE, TRUE, TRUE, TRUE}; // a previous controller's
    FUNCTION_SETTINGS Settings = {};
    Settings.VendorId = Row.Vendor;
    Settings.DeviceId = Row.Device;
    Settings.SubsystemId = 0xE868;
    EXPECT_EQ(Row.Families[0] != 0, IdentifyAdapterFamily(&Settings) != FALSE);
    EXPECT_EQ(Row.Families, FamilyFlags());
  }
}

// ConfigDone is ProgressFlags bit 7; ReconfigureRequested and ManagedModeEnabled are PlatformFlags
// bits 3 and 5.
TEST(AdapterIdentificationTest, AcceptanceByFlagsAndVendor) {
  const struct {
    UINT16 Vendor;
    UINT8 ProgressFlags, PlatformFlags;
    bool Accepted;
  } Rows[] = {
      {0x1077, 0x00, 0x20, true},  {0x1077, 0x7F, 0xDF, false}, {0x1077, 0x80, 0x28, false},
      {0x10DF, 0x80, 0x28, false}, {0x8086, 0x80, 0x28, true},  {0x8086, 0x80, 0x20, false},
      {0x15B3, 0x80, 0x28, true},  {0x15B3, 0x80, 0xF7, false}, {0x15B3, 0x80, 0x08, false},
      {0x8086, 0x00, 0x08, false}, {0x19A2, 0x80, 0x28, false}, {0x1234, 0x80, 0x28, false},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE(testing::Message() << std::hex << Row.Vendor << " " << int(Row.ProgressFlags) << " "
                                    << int(Row.PlatformFlags));
    FUNCTION_SETTINGS Settings = {};
    Settings.VendorId = Row.Vendor;
    Settings.ProgressFlags = Row.ProgressFlags;
    Settings.PlatformFlags = Row.PlatformFlags;
    EXPECT_EQ(Row.Accepted, AcceptController(&Settings) != FALSE);
  }
}

} // namespace
