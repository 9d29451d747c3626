#include "toolbars/toolbars.h"

#include "toolbars/font_selector.h"

namespace vellmar::toolbars {

namespace {

using editor::PropertySet;

// The switch rules, one per governed button.
template <const char* Switch>
bool on(const PropertySet& p) {
  return p.isOn(Switch);
}

bool blank(const std::string& text) { return text.find_first_not_of(" \t") == std::string::npos; }

constexpr char kDisableOpenLocal[] = "DisableOpenLocal";
constexpr char kDisableSpellCheck[] = "DisableSpellCheck";
constexpr char kHideFind[] = "HideFind";
constexpr char kHideCut[] = "hideCut";
constexpr char kHideCopy[] = "HideCopy";
constexpr char kHidePaste[] = "HidePaste";
constexpr char kHideUndo[] = "HideUndo";
constexpr char kHideRedo[] = "HideRedo";
constexpr char kDisableTables[] = "DisableTables";
constexpr char kDisableHorizontalRule[] = "DisableHorizontalRule";
constexpr char kHideBold[] = "HideBold";
constexpr char kHideItalic[] = "HideItalic";
constexpr char kHideUnderline[] = "HideUnderline";
constexpr char kDisableAlignLeft[] = "DisableAlignLeft";
constexpr char kDisableAlignCenter[] = "DisableAlignCenter";
constexpr char kDisableAlignRight[] = "DisableAlignRight";
constexpr char kDisableBulletList[] = "DisableBulletList";
constexpr char kDisableNumberList[] = "DisableNumberList";
constexpr char kHideIndent[] = "HideIndent";
constexpr char kHideOutdent[] = "HideOutdent";
constexpr char kDisableColor[] = "DisableColor";

bool saveToServerHidden(const PropertySet& p) {
  return p.isOn("DisableSaveToServer") || blank(p.pathToSaveToServer());
}
bool imageHidden(const PropertySet& p) { return p.isOn("DisableImages") || blank(p.pathToImageList()); }
bool linkHidden(const PropertySet& p) { return p.isOn("DisableLinks") && p.isOn("DisableEmailLinks"); }

constexpr ButtonDef kSeparator{};

// The buttons print, htmlComment, emailLink, namedAnchor and ImageMap have no switch and no
// command: they are shown and a click on them does nothing.
// clang-format off
constexpr ButtonDef kStandard[] = {
    {"openLocal",    "Open Local...",   "folder-open",          &on<kDisableOpenLocal>},
    {"saveToServer", "Save To Server",  "cloud-upload",         &saveToServerHidden},
    kSeparator,
    {"print",        "Print",           "printer"},
    {"spellCheck",   "Check Spelling",  "spell-check",          &on<kDisableSpellCheck>},
    kSeparator,
    {"find",         "Find",            "search",               &on<kHideFind>},
    kSeparator,
    {"cut",          "Cut",             "scissors",             &on<kHideCut>},
    {"copy",         "Copy",            "copy",                 &on<kHideCopy>},
    {"paste",        "Paste",           "clipboard-paste",      &on<kHidePaste>},
    kSeparator,
    {"undo",         "Undo",            "undo-2",               &on<kHideUndo>},
    {"redo",         "Redo",            "redo-2",               &on<kHideRedo>},
};

constexpr ButtonDef kObjects[] = {
    {"image",          "Image",           "image",                &imageHidden},
    {"table",          "Table",           "table",                &on<kDisableTables>},
    {"horizontalrule", "Horizontal Rule", "separator-horizontal", &on<kDisableHorizontalRule>},
    {"htmlComment",    "HTML Comment",    "message-square-code"},
    kSeparator,
    {"link",           "Link",            "link",                 &linkHidden},
    {"emailLink",      "Email Link",      "mail"},
    {"namedAnchor",    "Named Anchor",    "anchor"},
    {"ImageMap",       "Image Map",       "map"},
};

constexpr ButtonDef kTextFormat[] = {
    {"bold",       "Bold",        "bold",                 &on<kHideBold>, true},
    {"italic",     "Italic",      "italic",               &on<kHideItalic>, true},
    {"underline",  "Underline",   "underline",            &on<kHideUnderline>, true},
    kSeparator,
    {"left",       "Left",        "text-align-start",     &on<kDisableAlignLeft>, true},
    {"center",     "Center",      "text-align-center",    &on<kDisableAlignCenter>, true},
    {"right",      "Right",       "text-align-end",       &on<kDisableAlignRight>, true},
    kSeparator,
    {"bulletList", "Bullet List", "list",                 &on<kDisableBulletList>, true},
    {"numberList", "Number List", "list-ordered",         &on<kDisableNumberList>, true},
    {"indent",     "Indent",      "list-indent-increase", &on<kHideIndent>},
    {"outdent",    "Outdent",     "list-indent-decrease", &on<kHideOutdent>},
    kSeparator,
    {"color",      "Set Color",   "baseline",             &on<kDisableColor>},
};
// clang-format on

}  // namespace

std::span<const ButtonDef> toolbarButtons(ToolbarId toolbar) {
  switch (toolbar) {
    case ToolbarId::objects: return kObjects;
    case ToolbarId::textFormat: return kTextFormat;
    case ToolbarId::standard: break;
  }
  return kStandard;
}

std::string_view toolbarName(ToolbarId toolbar) {
  switch (toolbar) {
    case ToolbarId::objects: return "ctlTlbrObjects";
    case ToolbarId::textFormat: return "ctlTlbrTextFormat";
    case ToolbarId::standard: break;
  }
  return "ctlTlbrStandard";
}

std::string_view toolbarLabel(ToolbarId toolbar) {
  switch (toolbar) {
    case ToolbarId::objects: return "Objects";
    case ToolbarId::textFormat: return "Text Format";
    case ToolbarId::standard: break;
  }
  return "Standard";
}

ctlToolbar::ctlToolbar(ToolbarId id) : id_(id) {
  for (const ButtonDef& def : toolbarButtons(id)) buttons_.push_back(ToolbarButton{&def});
}

const ToolbarButton& ctlToolbar::button(int index) const {
  return buttons_.at(static_cast<std::size_t>(index - 1));
}

int ctlToolbar::indexOf(std::string_view key) const {
  if (key.empty()) return 0;
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    if (buttons_[i].def->key == key) return static_cast<int>(i + 1);
  }
  return 0;
}

bool ctlToolbar::buttonEnabled(std::string_view key, bool enabled) {
  return buttonEnabled(indexOf(key), enabled);
}

bool ctlToolbar::buttonEnabled(int index, bool enabled) {
  if (!valid(index)) return false;
  ToolbarButton& b = buttons_[static_cast<std::size_t>(index - 1)];
  if (b.enabled != enabled) {
    b.enabled = enabled;
    notify(index);
  }
  return true;
}

bool ctlToolbar::buttonValue(std::string_view key, int value) { return buttonValue(indexOf(key), value); }

bool ctlToolbar::buttonValue(int index, int value) {
  if (!valid(index)) return false;
  ToolbarButton& b = buttons_[static_cast<std::size_t>(index - 1)];
  const int pressed = value != 0 ? 1 : 0;
  if (b.value != pressed) {
    b.value = pressed;
    notify(index);
  }
  return true;
}

bool ctlToolbar::setButtonVisible(int index, bool visible) {
  if (!valid(index)) return false;
  ToolbarButton& b = buttons_[static_cast<std::size_t>(index - 1)];
  if (b.visible != visible) {
    b.visible = visible;
    notify(index);
  }
  return true;
}

void ctlToolbar::setIsVisible(bool visible) {
  if (isVisible_ == visible) return;
  isVisible_ = visible;
  notify(0);
}

void ctlToolbar::click(int index) {
  if (!valid(index)) return;
  const ToolbarButton& b = buttons_[static_cast<std::size_t>(index - 1)];
  if (b.def->separator() || !b.visible || !b.enabled) return;
  if (ButtonClick) ButtonClick(std::string(b.def->key));
}

std::int16_t toolbarContentWidth(const ctlToolbar& toolbar) {
  std::int32_t width = 0;
  for (const ToolbarButton& b : toolbar.buttons()) {
    if (b.visible) width += b.def->separator() ? kSeparatorWidthTwips : kButtonWidthTwips;
  }
  return static_cast<std::int16_t>(width);
}

int toolbarWidthPixels(const ctlToolbar& toolbar) {
  return toolbarContentWidth(toolbar) / kTwipsPerPixel + kBarExtraPixels;
}

void tidyToolbarSeparators(ctlToolbar& toolbar) {
  const auto buttons = toolbar.buttons();
  const int count = static_cast<int>(buttons.size());
  // One pass in index order: what was hidden before counts as hidden for the rest of the pass.
  bool buttonBefore = false;
  bool separatorLast = false;
  for (int i = 1; i <= count; ++i) {
    const ToolbarButton& b = buttons[static_cast<std::size_t>(i - 1)];
    if (!b.visible) continue;
    if (!b.def->separator()) {
      buttonBefore = true;
      separatorLast = false;
      continue;
    }
    bool buttonAfter = false;
    for (int j = i + 1; j <= count && !buttonAfter; ++j) {
      const ToolbarButton& next = buttons[static_cast<std::size_t>(j - 1)];
      buttonAfter = next.visible && !next.def->separator();
    }
    if (!buttonBefore || separatorLast || !buttonAfter) {
      toolbar.setButtonVisible(i, false);
    } else {
      separatorLast = true;
    }
  }
}

bool applyButtonRules(ctlToolbar& toolbar, const editor::PropertySet& properties) {
  bool anyShown = false;
  const auto buttons = toolbar.buttons();
  for (std::size_t i = 0; i < buttons.size(); ++i) {
    const ButtonDef& def = *buttons[i].def;
    // Every button starts shown again: a separator the last run hid may be needed now.
    const bool hidden = def.hiddenWhen && def.hiddenWhen(properties);
    toolbar.setButtonVisible(static_cast<int>(i + 1), !hidden);
    if (def.hiddenWhen && !hidden) anyShown = true;
  }
  tidyToolbarSeparators(toolbar);
  return anyShown;
}

editor::ToolbarVisibility applyToolbarSwitches(ctlToolbar& standard, ctlToolbar& objects,
                                               ctlFontSelector& selector, ctlToolbar& textFormat,
                                               const editor::PropertySet& properties) {
  const auto apply = [&](ctlToolbar& toolbar, std::string_view toolbarSwitch) {
    const bool shown = !properties.isOn(toolbarSwitch) && applyButtonRules(toolbar, properties);
    toolbar.setIsVisible(shown);
    return shown;
  };
  editor::ToolbarVisibility result;
  result.standard = apply(standard, "DisableStandardToolbar");
  result.objects = apply(objects, "DisableObjectsToolbar");
  if (properties.isOn("DisableFontToolbar")) {
    selector.setIsVisible(false);
  } else {
    selector.setDisableCtlFormatSelector(properties.isOn("DisableBlockformat"));
    selector.setDisableCtlFontSelector(properties.isOn("DisableFont"));
    selector.setDisableCtlSizeSelector(properties.isOn("DisableFontSize"));
    selector.setIsVisible(!(selector.DisableCtlFormatSelector() && selector.DisableCtlFontSelector() &&
                            selector.DisableCtlSizeSelector()));
  }
  result.fontSelector = selector.isVisible();
  result.textFormat = apply(textFormat, "DisableFormattingToolbar");
  return result;
}

}  // namespace vellmar::toolbars
