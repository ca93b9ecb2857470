#include <gtest/gtest.h>

#include "LibraryTestSupport.h"
#include "Planning/CommandCodes.h"

using namespace LibraryTest;

namespace {

TEST(CommandCodeNames, SpotChecks) {
  struct Case {
    UINTN Code;
    const char16_t *Expected;
  };
  const Case Cases[] = {
      {0, u"END (0)"},
      {1, u"SHOW_PF_INFO                  (1 )"},
      {9, u"SHOW_BOOT_EN                  (9 )"},
      {10, u"SET_BOOT_EN                   (10)"},
      {11, u"SET_ADDR_DEFAULTS FOR THE PORT(11)"},
      {21, u"SET_PF_VLANID                 (21)"},
      {33, u"SET_ISCSI_INI_IPV4_SUBNET_MASK(33)"},
      {43, u"SET_ISCSI_TAR_MUT_CHAP_SECRET (43)"},
      {55, u"SET_ISCSI_INI_CHAP_NAME       (55)"},
      {56, u""},
      {70, u""},
      {71, u""},
      {254, u""},
      {255, u"EXIT (255)"},
  };
  for (const Case &C : Cases) {
    ASSERT_NE(mCommandCodeNames[C.Code], nullptr) << C.Code;
    EXPECT_EQ(Wide(mCommandCodeNames[C.Code]), std::u16string(C.Expected)) << C.Code;
  }
}

TEST(CommandCodeNames, EveryNamedEntryIsThirtyCharactersAndItsNumber) {
  for (UINTN Code = 1; Code <= 55; Code++) {
    std::u16string Name = Wide(mCommandCodeNames[Code]);
    std::string Number = std::to_string(Code) + (Code < 10 ? " " : "");
    std::u16string Suffix = u"(" + std::u16string(Number.begin(), Number.end()) + u")";
    ASSERT_EQ(Name.size(), 30 + Suffix.size()) << Code;
    EXPECT_EQ(Name.substr(30), Suffix) << Code;
    EXPECT_NE(Name[0], u' ') << Code;
  }
}

} // namespace
