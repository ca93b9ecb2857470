// The diagnostic names of the command codes: the name padded with blanks to 30 characters, then the
// number in parentheses (one-digit numbers padded with a blank); codes without a name are empty.
#include <gtest/gtest.h>

#include <string>

#include "Planning/CommandCodes.h"

namespace {

std::string Narrow(const CHAR16 *Text) {
  std::string Out;
  for (; *Text != 0; Text++) {
    Out += *Text < 0x80 ? (char)*Text : '?';
  }
  return Out;
}

TEST(CommandCodeNamesTest, EveryCodeHasItsPaddedNameAndNumber) {
  // The names of codes 1 to 55, in code order.
  const std::string Names =
      "SHOW_PF_INFO|SHOW_VERSION|SET_MODE|SET_PFCOUNT|SHOW_PF_TYPE|SET_PF1_TYPE|SHOW_PORT_EN|SET_PORT_EN|"
      "SHOW_BOOT_EN|SET_BOOT_EN|SET_ADDR_DEFAULTS FOR THE PORT|SHOW_PF_MFG_MAC|SHOW_PF_MAC|SET_PF_MAC|"
      "SHOW_PF_MFG_WWNN|SHOW_PF_WWNN|SET_PF_WWNN|SHOW_PF_MFG_WWPN|SHOW_PF_WWPN|SET_PF_WWPN|SET_PF_VLANID|"
      "SET_PF_BANDWIDTH|SET_PF_RATE_LIMIT|SET_PF_TAR_WWPN1|SET_PF_TAR_WWPN2|SET_PF_TAR_LUN1|SET_PF_TAR_LUN2|"
      "SET_LINK_SPEED|SET_TOPOLOGY|SET_ISCSI_INI_ADDR_ORIGIN|SET_ISCSI_INI_NAME|SET_ISCSI_INI_IPV4_ADDR|"
      "SET_ISCSI_INI_IPV4_SUBNET_MASK|SET_ISCSI_INI_IPV4_GATEWAY|SET_ISCSI_TAR_ADDR_ORIGIN|SET_ISCSI_TAR_"
      "NAME|"
      "SET_ISCSI_TAR_IPV4_ADDR|SET_ISCSI_TAR_TCP_PORT|SET_ISCSI_TAR_BOOT_LUN|SET_ISCSI_TAR_AUTH_METHOD|"
      "SET_ISCSI_TAR_CHAP_USERNAME|SET_ISCSI_TAR_CHAP_SECRET|SET_ISCSI_TAR_MUT_CHAP_SECRET|SHOW_SRIOV|"
      "SET_SRIOV_FOR_CONTROLLER|SHOW_LINK_CONFIG|SET_PF2_TYPE|SET_UMC|SET_DEFAULT_WWNN|SET_DEFAULT_WWPN|"
      "SET_SRIOV_FOR_PF|SET_PXE_VLAN|SET_PXE_VLANID|SET_ROCE_PROFILE|SET_ISCSI_INI_CHAP_NAME|";
  EXPECT_EQ(Narrow(mCommandCodeNames[0]), "END (0)");
  EXPECT_EQ(Narrow(mCommandCodeNames[255]), "EXIT (255)");
  size_t Start = 0;
  for (UINTN Code = 1; Code < 255; Code++) {
    std::string Expected;
    if (Code <= 55) {
      const size_t End = Names.find('|', Start);
      const std::string Name = Names.substr(Start, End - Start), Number = std::to_string(Code);
      Start = End + 1;
      Expected = Name + std::string(30 - Name.size(), ' ') + "(" + Number + (Code < 10 ? " )" : ")");
    }
    EXPECT_EQ(Narrow(mCommandCodeNames[Code]), Expected) << Code;
  }
}

} // namespace
