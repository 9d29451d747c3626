#include "editing/context_menu.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "editor/properties.h"

namespace vellmar::editing {
namespace {

using Captions = std::vector<std::string>;
using States = std::vector<std::int32_t>;

// Statuses by command; anything not named is enabled.
auto statuses(std::map<Decmd, std::int32_t> set) {
  return [set](Decmd command) {
    const auto found = set.find(command);
    return found == set.end() ? 3 : found->second;
  };
}

TEST(ContextMenu, TwelveItemsWithLinks) {
  const ContextMenu menu = buildContextMenu(true, statuses({}), PropertiesTarget::cell);
  EXPECT_EQ(menu.captions, (Captions{"Cut", "Copy", "Paste", "Paste Unformatted", "", "Copy HTML", "Paste HTML", "",
                                     "Change Link...", "Remove Link", "", "Cell Properties..."}));
  EXPECT_EQ(menu.states, States(12, 0));
}

TEST(ContextMenu, NineItemsWithoutLinks) {
  const ContextMenu menu = buildContextMenu(false, statuses({}), PropertiesTarget::none);
  EXPECT_EQ(menu.captions, (Captions{"Cut", "Copy", "Paste", "Paste Unformatted", "", "Copy HTML", "Paste HTML", "",
                                     "Properties..."}));
  // "Properties..." alone is greyed when there is no panel for the element.
  EXPECT_EQ(menu.states, (States{0, 0, 0, 0, 0, 0, 0, 0, 2}));
}

TEST(ContextMenu, ItemsGreyWhenTheirCommandIsDisabled) {
  const ContextMenu menu = buildContextMenu(
      true, statuses({{Decmd::Cut, 1}, {Decmd::Copy, 1}, {Decmd::Unlink, 1}, {Decmd::Paste, 7}}),
      PropertiesTarget::image);
  EXPECT_EQ(menu.states, (States{2, 2, 0, 0, 0, 2, 0, 0, 2, 2, 0, 0}));
  const ContextMenu noPaste = buildContextMenu(true, statuses({{Decmd::Paste, 1}}), PropertiesTarget::table);
  EXPECT_EQ(noPaste.states, (States{0, 0, 2, 2, 0, 0, 2, 0, 0, 0, 0, 0}));
  EXPECT_EQ(noPaste.captions.back(), "Table Properties...");
}

TEST(ContextMenu, ThePropertiesItemFollowsTheElementUnderTheSelection) {
  const auto parents = [](std::set<std::string_view> tags) {
    return [tags](std::string_view tag) { return tags.count(tag) > 0; };
  };
  // The image test comes first: an image in a cell is an image.
  EXPECT_EQ(propertiesTarget("IMG", parents({"TD", "TABLE"})), PropertiesTarget::image);
  EXPECT_EQ(propertiesTarget("img", parents({})), PropertiesTarget::image);
  EXPECT_EQ(propertiesTarget("HR", parents({"HR", "TD"})), PropertiesTarget::rule);
  EXPECT_EQ(propertiesTarget("P", parents({"TD", "TABLE"})), PropertiesTarget::cell);
  EXPECT_EQ(propertiesTarget("TABLE", parents({"TABLE"})), PropertiesTarget::table);
  EXPECT_EQ(propertiesTarget("P", parents({})), PropertiesTarget::none);
  EXPECT_EQ(propertiesCaption(PropertiesTarget::rule), "Horizontal Rule Properties...");
  EXPECT_EQ(propertiesPanelTitle(PropertiesTarget::image), "Image Properties");
  EXPECT_EQ(propertiesPanelTitle(PropertiesTarget::cell), "Cell Properties");
  EXPECT_EQ(propertiesPanelTitle(PropertiesTarget::none), "");
}

TEST(ContextMenu, ChoicesRunTheKeysOfTheMenuBar) {
  EXPECT_EQ(contextMenuChoice(0, true).key, "cut");
  EXPECT_EQ(contextMenuChoice(3, false).key, "pasteUnformatted");
  EXPECT_EQ(contextMenuChoice(5, true).key, "copyHTML");
  EXPECT_EQ(contextMenuChoice(6, false).key, "pasteHTML");
  EXPECT_EQ(contextMenuChoice(8, true).key, "changeLink");
  EXPECT_EQ(contextMenuChoice(9, true).key, "removeLink");
  EXPECT_TRUE(contextMenuChoice(11, true).properties);
  // Without links, item 8 is the properties item.
  EXPECT_TRUE(contextMenuChoice(8, false).properties);
  for (int index : {4, 7, 10, 12, -1}) EXPECT_FALSE(contextMenuChoice(index, true).any()) << index;
  EXPECT_FALSE(contextMenuChoice(9, false).any());
}

TEST(ContextMenu, LinksAreAllowedUnlessBothLinkSwitchesAreOn) {
  editor::PropertySet properties;
  EXPECT_TRUE(linksAllowed(properties));
  properties.let("DisableLinks", std::int32_t{1});
  EXPECT_TRUE(linksAllowed(properties));
  properties.let("DisableEmailLinks", std::int32_t{1});
  EXPECT_FALSE(linksAllowed(properties));
  properties.let("DisableLinks", std::int32_t{2});
  EXPECT_TRUE(linksAllowed(properties));
}

}  // namespace
}  // namespace vellmar::editing
