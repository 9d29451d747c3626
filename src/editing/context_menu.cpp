#include "editing/context_menu.h"

#include <cctype>
#include <span>

#include "editing/commands.h"
#include "editor/properties.h"
#include "menubar/editor_menu.h"

namespace vellmar::editing {

namespace {

// The item rows: a command key, a separator (empty) or the properties item.
constexpr std::string_view kSeparator = "";
constexpr std::string_view kProperties = "*properties";

constexpr std::string_view kWithLinks[] = {
    "cut",     "copy",      "paste",      "pasteUnformatted", kSeparator,  "copyHTML",
    "pasteHTML", kSeparator, "changeLink", "removeLink",       kSeparator, kProperties,
};
constexpr std::string_view kWithoutLinks[] = {
    "cut", "copy", "paste", "pasteUnformatted", kSeparator, "copyHTML", "pasteHTML", kSeparator, kProperties,
};

std::span<const std::string_view> rows(bool withLinks) {
  if (withLinks) return kWithLinks;
  return kWithoutLinks;
}

bool isTag(std::string_view tag, std::string_view upper) {
  if (tag.size() != upper.size()) return false;
  for (std::size_t i = 0; i < tag.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(tag[i])) != upper[i]) return false;
  }
  return true;
}

}  // namespace

PropertiesTarget propertiesTarget(std::string_view elementTag,
                                  const std::function<bool(std::string_view tag)>& checkForParentTag) {
  if (isTag(elementTag, "IMG")) return PropertiesTarget::image;
  if (checkForParentTag("HR")) return PropertiesTarget::rule;
  if (checkForParentTag("TD")) return PropertiesTarget::cell;
  if (checkForParentTag("TABLE")) return PropertiesTarget::table;
  return PropertiesTarget::none;
}

std::string_view propertiesCaption(PropertiesTarget target) {
  switch (target) {
    case PropertiesTarget::image: return "Image Properties...";
    case PropertiesTarget::rule: return "Horizontal Rule Properties...";
    case PropertiesTarget::cell: return "Cell Properties...";
    case PropertiesTarget::table: return "Table Properties...";
    case PropertiesTarget::none: break;
  }
  return "Properties...";
}

std::string_view propertiesPanelTitle(PropertiesTarget target) {
  switch (target) {
    case PropertiesTarget::image: return "Image Properties";
    case PropertiesTarget::rule: return "Horizontal Rule Properties";
    case PropertiesTarget::cell: return "Cell Properties";
    case PropertiesTarget::table: return "Table Properties";
    case PropertiesTarget::none: break;
  }
  return {};
}

bool linksAllowed(const editor::PropertySet& properties) {
  return !(properties.isOn("DisableLinks") && properties.isOn("DisableEmailLinks"));
}

ContextMenu buildContextMenu(bool withLinks, const std::function<std::int32_t(Decmd)>& queryStatus,
                             PropertiesTarget target) {
  ContextMenu menu;
  for (std::string_view item : rows(withLinks)) {
    if (item == kSeparator) {
      menu.captions.emplace_back();
      menu.states.push_back(kContextItemNormal);
    } else if (item == kProperties) {
      menu.captions.emplace_back(propertiesCaption(target));
      menu.states.push_back(target == PropertiesTarget::none ? kContextItemGrayed : kContextItemNormal);
    } else {
      const CommandRow* row = findCommand(item);
      menu.captions.emplace_back(menubar::menuCaption(item));
      const bool disabled = row && row->shows &&
                            queryStatus(*row->shows) == statusNumber(CommandStatus::Disabled);
      menu.states.push_back(disabled ? kContextItemGrayed : kContextItemNormal);
    }
  }
  return menu;
}

ContextChoice contextMenuChoice(int index, bool withLinks) {
  const auto items = rows(withLinks);
  if (index < 0 || static_cast<std::size_t>(index) >= items.size()) return {};
  const std::string_view item = items[static_cast<std::size_t>(index)];
  if (item == kProperties) return {{}, true};
  return {item, false};
}

}  // namespace vellmar::editing
