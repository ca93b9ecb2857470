#include <gtest/gtest.h>

#include "LibraryTestSupport.h"
#include "Planning/CommandCodes.h"

using namespace LibraryTest;

namespace {

// The dialogue log aligns names in a 30-character column followed by the code in parentheses.
TEST(CommandCodeNames, NamedCodesAreAColumnOfThirtyAndTheirNumber) {
  for (UINTN Code = 1; Code <= 55; Code++) {
    std::u16string Name = Wide(mCommandCodeNames[Code]);
    std::string Number = std::to_string(Code) + (Code < 10 ? " " : "");
    std::u16string Suffix = u"(" + std::u16string(Number.begin(), Number.end()) + u")";
    ASSERT_EQ(Name.size(), 30 + Suffix.size()) << Code;
    EXPECT_EQ(Name.substr(30), Suffix) << Code;
    EXPECT_NE(Name[0], u' ') << Code;
  }
  EXPECT_EQ(Wide(mCommandCodeNames[11]), u"SET_ADDR_DEFAULTS FOR THE PORT(11)");
  EXPECT_EQ(Wide(mCommandCodeNames[0]), u"END (0)");
  EXPECT_EQ(Wide(mCommandCodeNames[255]), u"EXIT (255)");
  for (UINTN Code : {56, 254}) {
    ASSERT_NE(mCommandCodeNames[Code], nullptr) << Code;
    EXPECT_EQ(Wide(mCommandCodeNames[Code]), u"") << Code;
  }
}

} // namespace
