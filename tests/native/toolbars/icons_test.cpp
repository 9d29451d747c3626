#include "toolbars/icons.h"

#include <gtest/gtest.h>

#include <string>

namespace vellmar::toolbars {
namespace {

TEST(Icons, EachUsedIconOnceAndOnlyTheUsedOnes) {
  const auto icons = usedIcons();
  EXPECT_EQ(icons.size(), 29u);  // the 29 buttons, each with a picture of its own
  EXPECT_EQ(icons.front(), "folder-open");
  EXPECT_EQ(icons.back(), "baseline");
}

TEST(Icons, DataAddressDropsCommentsAndEncodesWhatCssCannotCarry) {
  const std::string uri = svgDataUri(
      "<!-- @license lucide-static - ISC -->\n<svg\n  class=\"lucide\"\n  stroke=\"#000\"\n>\n  <path d=\"M6 12h9\" />\n</svg>\n");
  EXPECT_EQ(uri,
            "data:image/svg+xml,%3Csvg class=%22lucide%22 stroke=%22%23000%22%3E%3Cpath d=%22M6 12h9%22/%3E%3C/svg%3E");
  EXPECT_EQ(uri.find_first_of("<>\"#\n"), std::string::npos);
}

TEST(Icons, RuleGivesTheButtonsOfThatIconTheirPicture) {
  EXPECT_EQ(iconRule("bold", "<svg/>"),
            ".vellmar-tool[data-icon=\"bold\"] { --vellmar-icon: url(\"data:image/svg+xml,%3Csvg/%3E\"); }\n");
}

}  // namespace
}  // namespace vellmar::toolbars
