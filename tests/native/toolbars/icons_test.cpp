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

TEST(Icons, SpritePlacesEachIconApartKeepingItsOwnAttributes) {
  const auto sprite = iconSprite({"<!-- licence -->\n<svg stroke=\"red\" viewBox=\"0 0 24 24\"><path d=\"M1 1\"/></svg>\n",
                                  "<svg fill=\"none\"><circle r=\"2\"/></svg>"});
  ASSERT_TRUE(sprite);
  EXPECT_EQ(*sprite,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"72\" height=\"24\" viewBox=\"0 0 72 24\">"
            "<svg x=\"0\" stroke=\"red\" viewBox=\"0 0 24 24\"><path d=\"M1 1\"/></svg>"
            "<svg x=\"36\" fill=\"none\"><circle r=\"2\"/></svg></svg>");
  // Something that is not an SVG document stops the sprite rather than shifting every later icon.
  EXPECT_FALSE(iconSprite({"<svg/>", "<html></html>"}));
}

TEST(Icons, RulesShiftEachButtonToItsIconOnWholePixels) {
  const std::string rules = iconRules({"bold", "italic", "underline"}, "<svg/>");
  // 36 units apart at 16 px for 24 units: 24 px per icon.
  EXPECT_EQ(rules,
            ".vellmar-tool-icon { --vellmar-icons: url(\"data:image/svg+xml,%3Csvg/%3E\"); "
            "--vellmar-icons-size: 72px 16px; }\n"
            ".vellmar-tool[data-icon=\"bold\"] { --vellmar-icon-x: 0px; }\n"
            ".vellmar-tool[data-icon=\"italic\"] { --vellmar-icon-x: -24px; }\n"
            ".vellmar-tool[data-icon=\"underline\"] { --vellmar-icon-x: -48px; }\n");
  // One picture for all of them.
  EXPECT_EQ(rules.find("url("), rules.rfind("url("));
}

}  // namespace
}  // namespace vellmar::toolbars
