#pragma once

// The editing surface's context menu: which items it has (with links allowed or not), which are
// greyed, what the properties item says for the element under the selection, and what choosing
// an item does. Its items are command keys of the registry, so they run exactly what the menu bar
// runs for the same key.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "editing/decmd.h"

namespace vellmar::editor {
class PropertySet;
}

namespace vellmar::editing {

// The element whose property panel the properties item opens.
enum class PropertiesTarget { none, image, rule, cell, table };

// Decided in this order: the element under the selection is an IMG; a rule, a cell, a table
// encloses the selection. `elementTag` is the element's tag (any letter case); `checkForParentTag`
// answers whether an element of that tag encloses the selection.
PropertiesTarget propertiesTarget(std::string_view elementTag,
                                  const std::function<bool(std::string_view tag)>& checkForParentTag);
// "Image Properties..." and so on; "Properties..." for none.
std::string_view propertiesCaption(PropertiesTarget target);
// The title of the panel the item opens ("Image Properties"); empty for none.
std::string_view propertiesPanelTitle(PropertiesTarget target);

// Links are allowed unless both DisableLinks and DisableEmailLinks are 1.
bool linksAllowed(const editor::PropertySet& properties);

inline constexpr std::int32_t kContextItemNormal = 0;
inline constexpr std::int32_t kContextItemGrayed = 2;

// Parallel captions and states as the engine takes them; an empty caption is a separator.
struct ContextMenu {
  std::vector<std::string> captions;
  std::vector<std::int32_t> states;
};

// `createContextMenuWithLink` (12 items) or `createContextMenuWithOutLink` (9 items). An item is
// greyed when the engine reports the command its key shows disabled; the properties item is
// greyed when it has no panel to open.
ContextMenu buildContextMenu(bool withLinks, const std::function<std::int32_t(Decmd)>& queryStatus,
                             PropertiesTarget target);

// What choosing item `index` does: run the command key, or (properties) open the property panel
// of the element under the selection. Separators and unknown indexes do nothing.
struct ContextChoice {
  std::string_view key;
  bool properties = false;
  bool any() const { return properties || !key.empty(); }
};
ContextChoice contextMenuChoice(int index, bool withLinks);

}  // namespace vellmar::editing
