#include "menubar/editor_menu.h"

#include <array>
#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "editing/commands.h"
#include "editing/formats.h"

namespace vellmar::menubar {

namespace {

using editor::PropertySet;

// Rows the menu takes from the editing tables instead of repeating them.
enum class Expand { none, blockFormats, fonts, sizes };

// A row of the menu as written here; a row with `expand` stands for the rows of a table, all under
// the same parent. Shortcut texts come from the command registry.
struct MenuTemplateRow {
  std::string_view button;
  std::string_view buttonCaption;
  std::string_view key;
  std::string_view caption;
  std::string_view parentKey;
  bool separator = false;
  bool hidden = false;
  bool checked = false;
  Expand expand = Expand::none;
};

// clang-format off
constexpr MenuTemplateRow kMenuTemplate[] = {
  // button caption  key                     caption                              submenu of           sep    hidden checked / rows made from a table
  {"file",  "File",  "openLocal",            "Open Local...",                     "",                  false, false, false},
  {"",      "",      "saveToServer",         "Save To Server",                    "",                  false, false, false},
  {"",      "",      "saveLocal",            "Save Local",                        "",                  false, false, false},
  {"",      "",      "saveLocalAs",          "Save Local As...",                  "",                  false, false, false},
  {"",      "",      "recentFilesSeparator", "",                                  "",                  true,  false, false},
  {"",      "",      "recentFiles1",         "(empty)",                           "",                  false, true,  false},
  {"",      "",      "recentFiles2",         "(empty)",                           "",                  false, true,  false},
  {"",      "",      "recentFiles3",         "(empty)",                           "",                  false, true,  false},
  {"",      "",      "recentFiles4",         "(empty)",                           "",                  false, true,  false},
  {"edit",  "Edit",  "undo",                 "Undo",                              "",                  false, false, false},
  {"",      "",      "redo",                 "Redo",                              "",                  false, false, false},
  {"",      "",      "sep3",                 "",                                  "",                  true,  false, false},
  {"",      "",      "cut",                  "Cut",                               "",                  false, false, false},
  {"",      "",      "copy",                 "Copy",                              "",                  false, false, false},
  {"",      "",      "paste",                "Paste",                             "",                  false, false, false},
  {"",      "",      "pasteUnformatted",     "Paste Unformatted",                 "",                  false, false, false},
  {"",      "",      "sep4",                 "",                                  "",                  true,  false, false},
  {"",      "",      "copyHTML",             "Copy HTML",                         "",                  false, false, false},
  {"",      "",      "pasteHTML",            "Paste HTML",                        "",                  false, false, false},
  {"",      "",      "sep5",                 "",                                  "",                  true,  false, false},
  {"",      "",      "selectAll",            "Select All",                        "",                  false, false, false},
  {"",      "",      "find",                 "Find...",                           "",                  false, false, false},
  {"",      "",      "sep7",                 "",                                  "",                  true,  false, false},
  {"",      "",      "spellCheck",           "Check Spelling",                    "",                  false, false, false},
  {"view",  "View",  "wysiwyg",              "WYSIWYG",                           "",                  false, false, true},
  {"",      "",      "html",                 "HTML",                              "",                  false, false, false},
  {"",      "",      "sep8",                 "",                                  "",                  true,  false, false},
  {"",      "",      "visualAids",           "Visual Aids",                       "",                  false, false, false},
  {"insert", "Insert", "image",                "Image",                             "",                  false, false, false},
  {"",      "",      "table",                "Table",                             "",                  false, false, false},
  {"",      "",      "horizontalrule",       "Horizontal Rule",                   "",                  false, false, false},
  {"",      "",      "sep9",                 "",                                  "",                  true,  false, false},
  {"",      "",      "link",                 "Link",                              "",                  false, false, false},
  {"",      "",      "sep10",                "",                                  "",                  true,  false, false},
  {"",      "",      "specialCharacters",    "Special Characters",                "",                  false, false, false},
  {"",      "",      "lineBreak",            "Line Break",                        "specialCharacters", false, false, false},
  {"",      "",      "nonBreakingSpace",     "Non-breaking Space",                "specialCharacters", false, false, false},
  {"",      "",      "sep11",                "",                                  "specialCharacters", true,  false, false},
  {"",      "",      "otherCharacters",      "Other Characters...",               "specialCharacters", false, false, false},
  {"style", "Style", "cssClasses",           "CSS Classes",                       "",                  false, false, false},
  {"",      "",      "clearStyle",           "Clear Style",                       "",                  false, false, false},
  {"",      "",      "removeFormatting",     "Remove Formatting",                 "",                  false, false, false},
  {"",      "",      "sep12",                "",                                  "",                  true,  false, false},
  {"",      "",      "",                     "",                                  "",                  false, false, false, Expand::blockFormats},
  {"",      "",      "sep13",                "",                                  "",                  true,  false, false},
  {"",      "",      "bold",                 "Bold",                              "",                  false, false, false},
  {"",      "",      "italic",               "Italic",                            "",                  false, false, false},
  {"",      "",      "underline",            "Underline",                         "",                  false, false, false},
  {"format", "Format", "changeLink",           "Change Link...",                    "",                  false, false, false},
  {"",      "",      "removeLink",           "Remove Link",                       "",                  false, false, false},
  {"",      "",      "sep19",                "",                                  "",                  true,  false, false},
  {"",      "",      "table",                "Table",                             "",                  false, false, false},
  {"",      "",      "sep20",                "",                                  "table",             true,  false, false},
  {"",      "",      "mergeCells",           "Merge Cells",                       "table",             false, false, false},
  {"",      "",      "splitCells",           "Split Cells",                       "table",             false, false, false},
  {"",      "",      "sep21",                "",                                  "table",             true,  false, false},
  {"",      "",      "insertRow",            "Insert Row",                        "table",             false, false, false},
  {"",      "",      "insertColumn",         "Insert Column",                     "table",             false, false, false},
  {"",      "",      "sep22",                "",                                  "table",             true,  false, false},
  {"",      "",      "deleteRow",            "Delete Row",                        "table",             false, false, false},
  {"",      "",      "deleteColumn",         "Delete Column",                     "table",             false, false, false},
  {"",      "",      "sep24",                "",                                  "",                  true,  false, false},
  {"",      "",      "indent",               "Indent",                            "",                  false, false, false},
  {"",      "",      "outdent",              "Outdent",                           "",                  false, false, false},
  {"",      "",      "sep25",                "",                                  "",                  true,  false, false},
  {"",      "",      "alignment",            "Alignment",                         "",                  false, false, false},
  {"",      "",      "left",                 "Left",                              "alignment",         false, false, false},
  {"",      "",      "center",               "Center",                            "alignment",         false, false, false},
  {"",      "",      "right",                "Right",                             "alignment",         false, false, false},
  {"",      "",      "list",                 "List",                              "",                  false, false, false},
  {"",      "",      "bulletList",           "Bullet List",                       "list",              false, false, false},
  {"",      "",      "numberList",           "Number List",                       "list",              false, false, false},
  {"",      "",      "font",                 "Font",                              "",                  false, false, false},
  {"",      "",      "",                     "",                                  "font",              false, false, false, Expand::fonts},
  {"",      "",      "size",                 "Size",                              "",                  false, false, false},
  {"",      "",      "",                     "",                                  "size",              false, false, false, Expand::sizes},
  {"",      "",      "sep28",                "",                                  "",                  true,  false, false},
  {"",      "",      "color",                "Color...",                          "",                  false, false, false},
  {"help",  "Help",  "contents",             "Contents...",                       "",                  false, false, false},
  {"",      "",      "aboutVellmar",         "About Vellmar",                     "",                  false, false, false},
};
// clang-format on

// When a switch rule hides its item.
enum class Hide {
  whenOn,                  // the switch is exactly 1
  whenOnOrTextEmpty,       // the switch is 1, or the text property is empty after trimming
  whenBothOn,              // the switch and the second switch are both 1
  whenTextEmptyOrNonZero,  // the text property is empty (untrimmed), or the switch is not 0
  whenChildrenHidden,      // every rule of the submenu this item opens has hidden its item
  onlyWhenOn,              // the switch is 1; otherwise the item is left as it is
};

using TextProperty = const std::string& (PropertySet::*)() const;

struct SwitchRule {
  std::string_view button;
  std::string_view key;
  Hide hide;
  std::string_view switchName;
  std::string_view secondSwitch = {};
  TextProperty text = nullptr;
  // Rules that do not count toward the menu's result: submenu parents (their children count) and
  // the recent files (counted by what fillRecentFiles shows).
  bool counts = true;
  // For a rule under a parent governed by whenChildrenHidden: that parent's key.
  std::string_view parentRule = {};
  // The rule stands for one rule per block format.
  bool blockFormats = false;
};

// The rules of the menu procedures, in the order they are applied. A parent decided by its
// children comes after them.
// clang-format off
const SwitchRule kRuleTemplate[] = {
  {"file",   "openLocal",         Hide::whenOn,            "DisableOpenLocal"},
  {"file",   "saveToServer",      Hide::whenOnOrTextEmpty, "DisableSaveToServer", {}, &PropertySet::pathToSaveToServer},
  {"file",   "saveLocal",         Hide::whenOn,            "DisableSaveLocal"},
  {"file",   "saveLocalAs",       Hide::whenOn,            "DisableSaveLocal"},
  {"file",   "recentFiles1",      Hide::onlyWhenOn,        "DisableRecentFiles", {}, nullptr, false},
  {"file",   "recentFiles2",      Hide::onlyWhenOn,        "DisableRecentFiles", {}, nullptr, false},
  {"file",   "recentFiles3",      Hide::onlyWhenOn,        "DisableRecentFiles", {}, nullptr, false},
  {"file",   "recentFiles4",      Hide::onlyWhenOn,        "DisableRecentFiles", {}, nullptr, false},

  {"edit",   "undo",              Hide::whenOn,            "HideUndo"},
  {"edit",   "redo",              Hide::whenOn,            "HideRedo"},
  {"edit",   "cut",               Hide::whenOn,            "hideCut"},
  {"edit",   "copy",              Hide::whenOn,            "HideCopy"},
  {"edit",   "paste",             Hide::whenOn,            "HidePaste"},
  {"edit",   "pasteUnformatted",  Hide::whenOn,            "DisablePasteUnformatted"},
  {"edit",   "selectAll",         Hide::whenOn,            "HideSelectAll"},
  {"edit",   "find",              Hide::whenOn,            "HideFind"},
  {"edit",   "copyHTML",          Hide::whenOn,            "DisableCopyHtml"},
  {"edit",   "pasteHTML",         Hide::whenOn,            "DisablePasteHTML"},
  {"edit",   "spellCheck",        Hide::whenOn,            "DisableSpellCheck"},

  {"view",   "wysiwyg",           Hide::whenOn,            "DisableHtmlView"},
  {"view",   "html",              Hide::whenOn,            "DisableHtmlView"},
  {"view",   "visualAids",        Hide::whenOn,            "DisableVisualAids"},

  {"insert", "image",             Hide::whenOnOrTextEmpty, "DisableImages", {}, &PropertySet::pathToImageList},
  {"insert", "table",             Hide::whenOn,            "DisableTables"},
  {"insert", "horizontalrule",    Hide::whenOn,            "DisableHorizontalRule"},
  {"insert", "link",              Hide::whenBothOn,        "DisableLinks", "DisableEmailLinks"},
  {"insert", "specialCharacters", Hide::whenOn,            "DisableSpecialCharacters"},

  {"style",  "removeFormatting",  Hide::whenOn,            "DisableRemoveFormat"},
  {"style",  "cssClasses",        Hide::whenOnOrTextEmpty, "DisableCssStyles", {}, &PropertySet::pathToStyleSheet},
  {"style",  "clearStyle",        Hide::whenOn,            "DisableCssStyles"},
  {"style",  "sep12",             Hide::whenOn,            "DisableCssStyles"},
  // Every block format (the key is filled in from the block-format table).
  {"style",  "",                  Hide::whenOn,            "DisableBlockformat", {}, nullptr, true, {}, true},
  {"style",  "bold",              Hide::whenOn,            "HideBold"},
  {"style",  "italic",            Hide::whenOn,            "HideItalic"},
  {"style",  "underline",         Hide::whenOn,            "HideUnderline"},

  {"format", "changeLink",        Hide::whenBothOn,        "DisableLinks", "DisableEmailLinks"},
  {"format", "removeLink",        Hide::whenBothOn,        "DisableLinks", "DisableEmailLinks"},
  // The table operations make no sense without tables either; this item is not a group of its own.
  {"format", "table",             Hide::whenOn,            "DisableTables", {}, nullptr, false},
  {"format", "indent",            Hide::whenOn,            "HideIndent"},
  {"format", "outdent",           Hide::whenOn,            "HideOutdent"},
  {"format", "left",              Hide::whenOn,            "DisableAlignLeft",   {}, nullptr, true, "alignment"},
  {"format", "center",            Hide::whenOn,            "DisableAlignCenter", {}, nullptr, true, "alignment"},
  {"format", "right",             Hide::whenOn,            "DisableAlignRight",  {}, nullptr, true, "alignment"},
  {"format", "alignment",         Hide::whenChildrenHidden, {},                  {}, nullptr, false},
  {"format", "bulletList",        Hide::whenOn,            "DisableBulletList",  {}, nullptr, true, "list"},
  {"format", "numberList",        Hide::whenOn,            "DisableNumberList",  {}, nullptr, true, "list"},
  {"format", "list",              Hide::whenChildrenHidden, {},                  {}, nullptr, false},
  {"format", "font",              Hide::whenOn,            "DisableFont"},
  {"format", "size",              Hide::whenOn,            "DisableFontSize"},
  {"format", "color",             Hide::whenOn,            "DisableColor"},

  {"help",   "contents",          Hide::whenTextEmptyOrNonZero, "DisableContents", {}, &PropertySet::helpContentsURL},
  {"help",   "aboutVellmar",      Hide::whenOn,            "DisableAbout"},
};
// clang-format on

const std::vector<SwitchRule>& switchRules() {
  static const std::vector<SwitchRule> rules = [] {
    std::vector<SwitchRule> all;
    for (const auto& rule : kRuleTemplate) {
      if (!rule.blockFormats) {
        all.push_back(rule);
        continue;
      }
      for (const auto& format : editing::kBlockFormatTable) {
        SwitchRule one = rule;
        one.key = format.name;
        one.blockFormats = false;
        all.push_back(one);
      }
    }
    return all;
  }();
  return rules;
}

const std::vector<EditorMenuRow>& menuRows() {
  static const std::vector<EditorMenuRow> rows = [] {
    std::vector<EditorMenuRow> all;
    const auto add = [&](std::string_view button, std::string_view buttonCaption, std::string_view key,
                         std::string_view caption, std::string_view parent, bool separator, bool hidden,
                         bool checked) {
      all.push_back(EditorMenuRow{button, buttonCaption, key, caption, editing::menuShortcut(key), parent,
                                  separator, hidden, checked});
    };
    for (const auto& row : kMenuTemplate) {
      switch (row.expand) {
        case Expand::none:
          add(row.button, row.buttonCaption, row.key, row.caption, row.parentKey, row.separator, row.hidden,
              row.checked);
          break;
        case Expand::blockFormats:
          for (const auto& format : editing::kBlockFormatTable) {
            add({}, {}, format.name, format.name, row.parentKey, false, false, false);
          }
          break;
        case Expand::fonts:
          // The default font is the one checked until the tracker knows better.
          for (const auto& font : editing::kFontTable) {
            add({}, {}, font.key, font.family, row.parentKey, false, false, &font == &editing::kFontTable[0]);
          }
          break;
        case Expand::sizes:
          for (const auto& size : editing::kSizeTable) {
            add({}, {}, size.key, size.label, row.parentKey, false, false, false);
          }
          break;
      }
    }
    return all;
  }();
  return rows;
}

bool emptyAfterTrimming(const std::string& text) {
  return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool ruleHides(const SwitchRule& rule, const PropertySet& properties) {
  switch (rule.hide) {
    case Hide::whenOn:
    case Hide::onlyWhenOn:
      return properties.isOn(rule.switchName);
    case Hide::whenOnOrTextEmpty:
      return properties.isOn(rule.switchName) || emptyAfterTrimming((properties.*rule.text)());
    case Hide::whenBothOn:
      return properties.isOn(rule.switchName) && properties.isOn(rule.secondSwitch);
    case Hide::whenTextEmptyOrNonZero:
      return (properties.*rule.text)().empty() || properties.switchValue(rule.switchName) != 0;
    case Hide::whenChildrenHidden:
      for (const auto& child : switchRules()) {
        if (child.button == rule.button && child.parentRule == rule.key &&
            !ruleHides(child, properties)) {
          return false;
        }
      }
      return true;
  }
  return false;
}

// Applies the rules of one menu; true when a counting rule left its item shown.
bool applyRules(mcMenuBar& bar, const PropertySet& properties, std::string_view button) {
  bool anyShown = false;
  for (const auto& rule : switchRules()) {
    if (rule.button != button) continue;
    const bool hidden = ruleHides(rule, properties);
    if (hidden || rule.hide != Hide::onlyWhenOn) bar.setVisibleMenuItem(button, rule.key, !hidden);
    if (rule.counts && !hidden) anyShown = true;
  }
  return anyShown;
}

bool itemShown(const mcMenuBar& bar, std::string_view button, std::string_view key) {
  const MenuId b = bar.getMBbuttonIDbyName(button);
  const MenuId item = bar.getMBitemIDbyName(b, key);
  const auto* record = bar.buttonRecord(b);
  return item >= 0 && record && record->items[static_cast<std::size_t>(item)].visible;
}

}  // namespace

std::span<const EditorMenuRow> editorMenuTable() { return menuRows(); }

std::string_view menuCaption(std::string_view key) {
  for (const auto& row : menuRows()) {
    if (row.key == key) return row.caption;
  }
  return {};
}

void buildEditorMenu(mcMenuBar& bar) {
  MenuId button = -1;
  for (const auto& row : menuRows()) {
    if (!row.button.empty()) {
      button = bar.AddMenuButton(std::string(row.buttonCaption), std::string(row.button));
    }
    MenuId parent = -1;
    if (!row.parentKey.empty()) {
      parent = static_cast<MenuId>(bar.getMBitemIDbyName(button, row.parentKey) + 1);
    }
    bar.AddMenuItem(button, std::string(row.key), parent, std::string(row.caption),
                    std::string(row.shortcut), !row.hidden, row.checked, false, row.separator);
  }
}

bool applyFileMenuSwitches(mcMenuBar& bar, const PropertySet& properties, SettingsStore& store) {
  bool shown = applyRules(bar, properties, kFileMenu);
  fillRecentFiles(bar, properties, store, "");
  bool recentShown = false;
  for (int n = 1; n <= kRecentFileCount; ++n) {
    recentShown = recentShown || itemShown(bar, kFileMenu, recentFilesKey(n));
  }
  if (!shown && recentShown) bar.setVisibleMenuItem(kFileMenu, "recentFilesSeparator", false);
  return shown || recentShown;
}

bool applyEditMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kEditMenu);
}

bool applyViewMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kViewMenu);
}

bool applyInsertMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kInsertMenu);
}

bool applyStyleMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kStyleMenu);
}

bool applyFormatMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kFormatMenu);
}

bool applyHelpMenuSwitches(mcMenuBar& bar, const PropertySet& properties) {
  return applyRules(bar, properties, kHelpMenu);
}

bool applyMenuSwitches(mcMenuBar& bar, const PropertySet& properties, SettingsStore& store) {
  // Separator tidying hides separators for good, and it runs after every single change. Put the
  // menu's items back as built, so that applying the switches again after they changed ends where
  // a first application with the new values would. The recent files keep what they show.
  MenuId button = -1;
  for (const auto& row : menuRows()) {
    if (!row.button.empty()) button = bar.getMBbuttonIDbyName(row.button);
    if (row.hidden) continue;
    const MenuId item = bar.getMBitemIDbyName(button, row.key);
    const auto* record = bar.buttonRecord(button);
    if (item < 0 || !record) continue;
    const auto& current = record->items[static_cast<std::size_t>(item)];
    bar.EditMenuItem(button, item, current.key, current.parent, current.caption, current.shortcut,
                     true, current.checked, current.grayed, current.separator);
  }

  struct Menu {
    std::string_view button;
    std::string_view menuSwitch;
    bool (*apply)(mcMenuBar&, const PropertySet&, SettingsStore&);
  };
  static constexpr Menu kMenus[] = {
      {kFileMenu, "DisableFileMenu", &applyFileMenuSwitches},
      {kEditMenu, "DisableEditMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyEditMenuSwitches(b, p); }},
      {kViewMenu, "DisableViewMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyViewMenuSwitches(b, p); }},
      {kInsertMenu, "DisableInsertMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyInsertMenuSwitches(b, p); }},
      {kStyleMenu, "DisableStyleMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyStyleMenuSwitches(b, p); }},
      {kFormatMenu, "DisableFormatMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyFormatMenuSwitches(b, p); }},
      {kHelpMenu, "DisableHelpMenu",
       [](mcMenuBar& b, const PropertySet& p, SettingsStore&) { return applyHelpMenuSwitches(b, p); }},
  };

  bool anyButton = false;
  for (const auto& menu : kMenus) {
    const bool visible = !properties.isOn(menu.menuSwitch) && menu.apply(bar, properties, store);
    bar.setVisibleMenuButton(menu.button, visible);
    anyButton = anyButton || visible;
  }
  return anyButton;
}

bool fillRecentFiles(mcMenuBar& bar, const PropertySet& properties, SettingsStore& store,
                     std::string_view path) {
  bool anyEntry = false;
  guarded("fillRecentFiles", [&] {
    if (properties.switchValue("DisableRecentFiles") == 0) {
      const std::string& domain = properties.domain();
      std::array<std::string, kRecentFileCount> entries;
      for (int n = 1; n <= kRecentFileCount; ++n) {
        entries[static_cast<std::size_t>(n - 1)] = readRecentFile(store, domain, n);
      }

      if (!path.empty()) {
        // Move to the front: the entry equal to `path`, or the last one when none is, makes room.
        std::size_t at = entries.size() - 1;
        for (std::size_t i = 0; i < entries.size(); ++i) {
          if (entries[i] == path) {
            at = i;
            break;
          }
        }
        for (std::size_t i = at; i > 0; --i) entries[i] = std::move(entries[i - 1]);
        entries[0] = std::string(path);
        for (int n = 1; n <= kRecentFileCount; ++n) {
          store.SaveSetting(kSettingsApplication, domain, recentFilesKey(n),
                            entries[static_cast<std::size_t>(n - 1)]);
        }
      }

      const MenuId file = bar.getMBbuttonIDbyName(kFileMenu);
      for (int n = 1; n <= kRecentFileCount; ++n) {
        const std::string& entry = entries[static_cast<std::size_t>(n - 1)];
        if (entry.empty()) break;
        const std::string key = recentFilesKey(n);
        bar.EditMenuItem(file, bar.getMBitemIDbyName(file, key), key, -1, entry, "", true, false,
                         false, false);
      }
      for (const auto& entry : entries) anyEntry = anyEntry || !entry.empty();
    }

    const bool anyFileItem = !properties.isOn("DisableOpenLocal") ||
                             !properties.isOn("DisableSaveToServer") ||
                             !properties.isOn("DisableSaveLocal");
    bar.setVisibleMenuItem(kFileMenu, "recentFilesSeparator", anyFileItem);
  });
  return anyEntry;
}

}  // namespace vellmar::menubar
