#pragma once

// The element property panels (image, rule, table, cell) without a page: which fields each has,
// what `setProperties` reads into them, and what each field writes into its element, with the
// checks that keep a broken attribute or table out of the document. The frame that shows a panel
// and follows the selection keeps its tracking state here too. The browser layer draws the
// fields and hands the element over as a PanelElement.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editing/context_menu.h"

namespace vellmar::editing {

// The element a panel edits, as the panel needs it. Property names are the element's
// ("cellPadding", "bgColor", "noWrap"); a boolean property reads "true" when set and
// empty when not.
class PanelElement {
 public:
  virtual ~PanelElement() = default;
  // The property as the element reports it; empty when not set.
  virtual std::string property(std::string_view name) const = 0;
  // Whether the element carries the attribute at all (an empty alt is not a missing one).
  virtual bool hasProperty(std::string_view name) const { return !property(name).empty(); }
  virtual void setProperty(std::string_view name, std::string_view value) = 0;
  virtual void removeProperty(std::string_view name) = 0;
  // The inline style's "width" or "height" (empty when none), and clearing it.
  virtual std::string styleSize(std::string_view which) const = 0;
  virtual void clearStyleSize(std::string_view which) = 0;

  // Tables only: the colSpan of every cell, row by row; appending a row of `cells` cells;
  // deleting row `index`; appending a cell to a row; deleting a row's last cell.
  virtual std::vector<std::vector<int>> rowSpans() const { return {}; }
  virtual void appendRow(int /*cells*/) {}
  virtual void deleteRow(int /*index*/) {}
  virtual void appendCell(int /*row*/) {}
  virtual void deleteLastCell(int /*row*/) {}
};

enum class FieldKind { text, list, check, colour, button };

struct PanelField {
  std::string_view id;      // "txtBorder"
  FieldKind kind;
  std::string_view label;   // what the field is called on the panel
  std::vector<std::string_view> entries;  // a list's entries, in order
};

// The fields of a panel, in the order they are shown.
const std::vector<PanelField>& panelFields(PropertiesTarget panel);

// The largest table a panel makes.
inline constexpr int kMaxTableRows = 1000;
inline constexpr int kMaxTableColumns = 100;

// What the fields show: field id -> text ("true"/"false" for check boxes, the entry for lists,
// empty for a list entry that matches none).
using PanelValues = std::map<std::string, std::string, std::less<>>;

// `setProperties`: moves style sizes into attributes (a rule without a width gets "100%") and
// reads the element into the fields.
PanelValues setProperties(PropertiesTarget panel, PanelElement& element);

// What a field's change did.
struct FieldOutcome {
  bool wrote = false;     // the element changed
  std::string shown;      // what the field shows afterwards
  std::string message;    // a message beside the field when the input was refused; else empty
};

// A field was left (text), chosen (list), clicked (check box, button) or given a colour. `text`
// is the field's text, the list entry, "true"/"false" or the colour.
FieldOutcome applyField(PropertiesTarget panel, std::string_view field, std::string_view text,
                        PanelElement& element);

// The column count of a table: the sum of the first row's colSpans.
int tableColumns(const PanelElement& table);

// Which panel is shown and for which element: the frame's tracking state, kept across display
// changes.
class FrameTracking {
 public:
  PropertiesTarget current() const { return current_; }
  int elementIndex() const { return elementIndex_; }
  bool open() const { return current_ != PropertiesTarget::none; }

  // `showFrame` found the element at `index` with `outerHtml`: true when the panel must read it
  // (it is new, or changed since it was last read).
  bool show(PropertiesTarget panel, int index, const std::string& outerHtml);
  // `hideAllFrames`.
  void hideAll();

  // After a display change, with the element under the selection: whether the panel closes
  // (the selection left its element) or must read its element again (it changed).
  enum class Follow { nothing, close, reread };
  Follow follow(int index, const std::string& outerHtml);

 private:
  PropertiesTarget current_ = PropertiesTarget::none;
  int elementIndex_ = -1;
  std::string elementHtml_;
};

}  // namespace vellmar::editing
