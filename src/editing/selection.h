#pragma once

// The three kinds of selection the engine reports. Commands decide by kind, never by comparing the
// engine's names for them.

#include <string_view>

namespace vellmar::editing {

enum class SelectionType {
  // A caret: nothing is selected. Insertions go in at the caret; the element under it is the
  // parent of the collapsed range.
  None,
  // A stretch of text (possibly across elements). Insertions replace it; the element under it is
  // the innermost element holding all of it.
  Text,
  // One element selected as a whole (an image, a rule or a table). Insertions replace that
  // element; the element under the selection is the element itself.
  Control,
};

// The engine's name of a kind: "None", "Text", "Control".
constexpr std::string_view selectionTypeName(SelectionType type) {
  switch (type) {
    case SelectionType::Text: return "Text";
    case SelectionType::Control: return "Control";
    case SelectionType::None: break;
  }
  return "None";
}

// The kind an engine name stands for, in any letter case; an unknown name is a caret.
constexpr SelectionType selectionTypeFromName(std::string_view name) {
  const auto same = [](std::string_view a, std::string_view lowerB) {
    if (a.size() != lowerB.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      const char c = (a[i] >= 'A' && a[i] <= 'Z') ? static_cast<char>(a[i] + ('a' - 'A')) : a[i];
      if (c != lowerB[i]) return false;
    }
    return true;
  };
  if (same(name, "text")) return SelectionType::Text;
  if (same(name, "control")) return SelectionType::Control;
  return SelectionType::None;
}

// Text and caret selections work on a text range; a control selection on its element.
constexpr bool isTextual(SelectionType type) { return type != SelectionType::Control; }

}  // namespace vellmar::editing
