#include "editing/element_panels.h"

#include <cctype>

#include "common/diagnostics.h"
#include "editing/formats.h"
#include "toolbars/colour_selector.h"

namespace vellmar::editing {

namespace {

using Target = PropertiesTarget;

const std::vector<std::string_view> kAlignments = {"Not Set", "Left", "Right", "Texttop", "Absmiddle",
                                                    "Baseline", "Absbottom", "Bottom", "Middle", "Top"};
const std::vector<std::string_view> kHAlignments = {"Not Set", "Left", "Center", "Right"};
const std::vector<std::string_view> kVAlignments = {"Not Set", "Top", "Middle", "Bottom"};
constexpr std::string_view kNotSet = "Not Set";

constexpr int kMaxNumber = 32767;
constexpr std::string_view kWholeNumberMessage = "Enter a whole number from 0 to 32767, or leave the field empty.";
constexpr std::string_view kSizeMessage = "Enter pixels or a percentage, such as 400 or 80%.";
constexpr std::string_view kColourMessage = "Enter a colour as # and six hexadecimal digits, such as #FF0000.";
constexpr std::string_view kDigitsMessage = "Enter a number from 0 to 32767.";

// One field of one panel: the table of what each field is and which property it edits.
struct FieldRow {
  Target panel;
  PanelField field;
  std::string_view property;  // empty for the table structure and the button
};

std::vector<FieldRow> makeRows() {
  using K = FieldKind;
  return {
      {Target::table, {"txtRows", K::text, "Rows:", {}}, ""},
      {Target::table, {"txtCols", K::text, "Cols:", {}}, ""},
      {Target::table, {"txtWidth", K::text, "Width:", {}}, "width"},
      {Target::table, {"txtHeight", K::text, "Height:", {}}, "height"},
      {Target::table, {"txtPadding", K::text, "Padding:", {}}, "cellPadding"},
      {Target::table, {"txtSpacing", K::text, "Spacing:", {}}, "cellSpacing"},
      {Target::table, {"txtBorder", K::text, "Border:", {}}, "border"},
      {Target::table, {"ctlBorderColor", K::colour, "Border Color:", {}}, "borderColor"},
      {Target::table, {"ctlBgColor", K::colour, "Bg Color:", {}}, "bgColor"},
      {Target::table, {"cmbAlign", K::list, "Alignment:", kAlignments}, "align"},

      {Target::cell, {"txtWidth", K::text, "Width:", {}}, "width"},
      {Target::cell, {"txtHeight", K::text, "Height:", {}}, "height"},
      {Target::cell, {"cmbHAlign", K::list, "H Align:", kHAlignments}, "align"},
      {Target::cell, {"cmbVAlign", K::list, "V Align:", kVAlignments}, "vAlign"},
      {Target::cell, {"ctlBorderColor", K::colour, "Brdr Color:", {}}, "borderColor"},
      {Target::cell, {"ctlBgColor", K::colour, "Bg Color:", {}}, "bgColor"},
      {Target::cell, {"cbNowrap", K::check, "No Wrap", {}}, "noWrap"},

      {Target::image, {"cmbAlign", K::list, "Alignment:", kAlignments}, "align"},
      {Target::image, {"txtAlt", K::text, "Alt Text:", {}}, "alt"},
      {Target::image, {"txtWidth", K::text, "Width:", {}}, "width"},
      {Target::image, {"txtHeight", K::text, "Height:", {}}, "height"},
      {Target::image, {"txtBorder", K::text, "Border:", {}}, "border"},
      {Target::image, {"txtHSpace", K::text, "H Space:", {}}, "hspace"},
      {Target::image, {"txtVSpace", K::text, "V Space:", {}}, "vspace"},
      {Target::image, {"cmdResetBtn", K::button, "Reset W&H", {}}, ""},

      {Target::rule, {"txtWidth", K::text, "Width:", {}}, "width"},
      {Target::rule, {"txtHeight", K::text, "Height:", {}}, "size"},
      {Target::rule, {"cbShaded", K::check, "Shaded", {}}, "noShade"},
      {Target::rule, {"ctlSelColor1", K::colour, "Border Color:", {}}, "color"},
  };
}

const std::vector<FieldRow>& rows() {
  static const std::vector<FieldRow> all = makeRows();
  return all;
}

const FieldRow* findRow(Target panel, std::string_view field) {
  for (const FieldRow& row : rows()) {
    if (row.panel == panel && row.field.id == field) return &row;
  }
  return nullptr;
}

std::string trim(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return std::string(text);
}

bool sameIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
  }
  return true;
}

bool allDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

// A whole number 0..kMaxNumber written as digits only.
std::optional<int> smallWholeNumber(std::string_view text) {
  if (!allDigits(text) || text.size() > 5) return std::nullopt;
  const int value = std::stoi(std::string(text));
  if (value > kMaxNumber) return std::nullopt;
  return value;
}

// A size as tables, cells and rules take one: pixels ("400", "400px") or a percentage ("80%",
// "12.5%"), written as the attribute carries it.
std::optional<std::string> readSize(std::string_view text) {
  std::string t = trim(text);
  if (t.size() > 2 && sameIgnoringCase(std::string_view(t).substr(t.size() - 2), "px")) t.resize(t.size() - 2);
  if (!t.empty() && t.back() == '%') {
    const std::string number = t.substr(0, t.size() - 1);
    const auto dot = number.find('.');
    const std::string whole = number.substr(0, dot);
    if (!smallWholeNumber(whole)) return std::nullopt;
    if (dot != std::string::npos && !allDigits(std::string_view(number).substr(dot + 1))) return std::nullopt;
    return t;
  }
  if (!smallWholeNumber(t)) return std::nullopt;
  return std::to_string(*smallWholeNumber(t));
}

// A count typed into the rows or columns box: a decimal number, truncated.
std::optional<long> readCount(std::string_view text) {
  const std::string t = trim(text);
  std::size_t i = 0;
  bool negative = false;
  if (i < t.size() && (t[i] == '-' || t[i] == '+')) negative = t[i++] == '-';
  long value = 0;
  bool digits = false;
  for (; i < t.size() && std::isdigit(static_cast<unsigned char>(t[i])); ++i) {
    digits = true;
    if (value < 1000000000L) value = value * 10 + (t[i] - '0');
  }
  if (i < t.size() && t[i] == '.') {
    for (++i; i < t.size() && std::isdigit(static_cast<unsigned char>(t[i])); ++i) digits = true;
  }
  if (!digits || i != t.size()) return std::nullopt;
  return negative ? -value : value;
}

// Writes a property unless it already holds that value (an unchanged write would still make an
// undo step of nothing).
bool write(PanelElement& element, std::string_view property, std::string_view value) {
  if (element.property(property) == value) return false;
  element.setProperty(property, value);
  return true;
}

bool remove(PanelElement& element, std::string_view property) {
  if (element.property(property).empty()) return false;
  element.removeProperty(property);
  return true;
}

void moveStyleSize(PanelElement& element, std::string_view which, std::string_view property) {
  const std::string size = element.styleSize(which);
  if (size.empty()) return;
  element.setProperty(property, size);
  element.clearStyleSize(which);
}

std::string listEntry(const std::vector<std::string_view>& entries, std::string_view value) {
  if (trim(value).empty()) return std::string(entries.front());
  for (std::string_view e : entries) {
    if (sameIgnoringCase(e, trim(value))) return std::string(e);
  }
  return {};
}

FieldOutcome refused(std::string shown, std::string_view message) {
  return FieldOutcome{false, std::move(shown), std::string(message)};
}

// The rows and columns boxes of the table panel.
FieldOutcome applyRows(PanelElement& table, std::string_view text) {
  const int current = static_cast<int>(table.rowSpans().size());
  const auto n = readCount(text);
  if (!n) return refused(std::to_string(current), "Enter the number of rows.");
  if (*n < 1) return refused(std::to_string(current), "A table keeps at least one row.");
  if (*n > kMaxTableRows) return refused(std::to_string(current), "A table can have at most 1000 rows.");
  const int wanted = static_cast<int>(*n);
  if (wanted == current) return FieldOutcome{false, std::to_string(current), {}};
  const int columns = tableColumns(table);
  for (int count = current; count < wanted; ++count) table.appendRow(columns);
  for (int index = current - 1; index >= wanted; --index) table.deleteRow(index);
  return FieldOutcome{true, std::to_string(wanted), {}};
}

FieldOutcome applyColumns(PanelElement& table, std::string_view text) {
  const int current = tableColumns(table);
  const auto n = readCount(text);
  if (!n) return refused(std::to_string(current), "Enter the number of columns.");
  if (*n < 1) return refused(std::to_string(current), "A table keeps at least one column.");
  if (*n > kMaxTableColumns) return refused(std::to_string(current), "A table can have at most 100 columns.");
  const int wanted = static_cast<int>(*n);
  if (wanted == current) return FieldOutcome{false, std::to_string(current), {}};
  const int rowCount = static_cast<int>(table.rowSpans().size());
  for (int added = current; added < wanted; ++added) {
    for (int row = 0; row < rowCount; ++row) table.appendCell(row);
  }
  for (int removed = current; removed > wanted; --removed) {
    // A row that has run out of cells keeps its last one: no row is left empty.
    const auto spans = table.rowSpans();
    for (int row = 0; row < rowCount; ++row) {
      if (spans[static_cast<std::size_t>(row)].size() > 1) table.deleteLastCell(row);
    }
  }
  return FieldOutcome{true, std::to_string(tableColumns(table)), {}};
}

// The image's number boxes: the number reading ("12px" is 12, "" is 0), always written.
FieldOutcome applyImageNumber(PanelElement& image, std::string_view property, std::string_view text) {
  std::int16_t number = 0;
  try {
    number = numberReading(text);
  } catch (const ProcedureError&) {
    return refused(image.property(property), kDigitsMessage);
  }
  const std::string digits = std::to_string(number);
  return FieldOutcome{write(image, property, digits), digits, {}};
}

FieldOutcome applyColour(PanelElement& element, std::string_view property, std::string_view text) {
  const auto colour = toolbars::readColourText(text);
  if (!colour) return refused(std::string(text), kColourMessage);
  if (colour->empty()) return FieldOutcome{remove(element, property), {}, {}};
  return FieldOutcome{write(element, property, *colour), *colour, {}};
}

FieldOutcome applySize(PanelElement& element, std::string_view property, std::string_view text) {
  if (trim(text).empty()) return FieldOutcome{remove(element, property), {}, {}};
  const auto size = readSize(text);
  if (!size) return refused(std::string(text), kSizeMessage);
  return FieldOutcome{write(element, property, *size), *size, {}};
}

FieldOutcome applyWholeNumber(PanelElement& element, std::string_view property, std::string_view text) {
  const std::string t = trim(text);
  if (t.empty()) return FieldOutcome{remove(element, property), {}, {}};
  const auto number = smallWholeNumber(t);
  if (!number) return refused(std::string(text), kWholeNumberMessage);
  const std::string digits = std::to_string(*number);
  return FieldOutcome{write(element, property, digits), digits, {}};
}

FieldOutcome applyList(const FieldRow& row, PanelElement& element, std::string_view entry) {
  const std::string chosen = listEntry(row.field.entries, entry);
  if (chosen.empty()) return refused({}, "Choose one of the list's entries.");
  if (chosen == kNotSet) return FieldOutcome{remove(element, row.property), chosen, {}};
  return FieldOutcome{write(element, row.property, chosen), chosen, {}};
}

bool checked(std::string_view text) { return text == "true"; }

PanelValues readImage(PanelElement& image) {
  PanelValues v;
  moveStyleSize(image, "width", "width");
  moveStyleSize(image, "height", "height");
  v["cmbAlign"] = listEntry(kAlignments, image.property("align"));
  for (const char* id : {"txtAlt", "txtWidth", "txtHeight", "txtBorder", "txtHSpace", "txtVSpace"}) {
    v[id] = image.property(findRow(Target::image, id)->property);
  }
  return v;
}

}  // namespace

const std::vector<PanelField>& panelFields(PropertiesTarget panel) {
  static const std::map<PropertiesTarget, std::vector<PanelField>> byPanel = [] {
    std::map<PropertiesTarget, std::vector<PanelField>> out;
    for (const FieldRow& row : rows()) out[row.panel].push_back(row.field);
    out[PropertiesTarget::none];
    return out;
  }();
  return byPanel.at(panel);
}

int tableColumns(const PanelElement& table) {
  const auto spans = table.rowSpans();
  if (spans.empty()) return 0;
  int sum = 0;
  for (int span : spans.front()) sum += span;
  return sum;
}

PanelValues setProperties(PropertiesTarget panel, PanelElement& element) {
  PanelValues v;
  switch (panel) {
    case Target::table:
      moveStyleSize(element, "width", "width");
      moveStyleSize(element, "height", "height");
      v["txtRows"] = std::to_string(element.rowSpans().size());
      v["txtCols"] = std::to_string(tableColumns(element));
      for (const char* id : {"txtWidth", "txtHeight", "txtPadding", "txtSpacing", "txtBorder",
                             "ctlBorderColor", "ctlBgColor"}) {
        v[id] = element.property(findRow(Target::table, id)->property);
      }
      v["cmbAlign"] = listEntry(kAlignments, element.property("align"));
      break;
    case Target::cell:
      moveStyleSize(element, "width", "width");
      moveStyleSize(element, "height", "height");
      v["txtWidth"] = element.property("width");
      v["txtHeight"] = element.property("height");
      v["cmbHAlign"] = listEntry(kHAlignments, element.property("align"));
      v["cmbVAlign"] = listEntry(kVAlignments, element.property("vAlign"));
      v["ctlBorderColor"] = element.property("borderColor");
      v["ctlBgColor"] = element.property("bgColor");
      v["cbNowrap"] = element.property("noWrap") == "true" ? "true" : "false";
      break;
    case Target::image:
      v = readImage(element);
      break;
    case Target::rule: {
      // Each step that fails is skipped.
      const auto step = [](auto&& body) {
        try {
          body();
        } catch (const ProcedureError&) {
        }
      };
      step([&] { moveStyleSize(element, "width", "width"); });
      step([&] { moveStyleSize(element, "height", "size"); });
      step([&] {
        if (element.styleSize("width").empty() && element.property("width").empty()) {
          element.setProperty("width", "100%");
        }
      });
      std::string colour = element.property("color");
      for (char& c : colour) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      v["ctlSelColor1"] = colour;
      v["txtWidth"] = element.property("width");
      v["txtHeight"] = element.property("size");
      v["cbShaded"] = element.property("noShade") == "true" ? "false" : "true";
      break;
    }
    case Target::none:
      break;
  }
  return v;
}

FieldOutcome applyField(PropertiesTarget panel, std::string_view field, std::string_view text,
                        PanelElement& element) {
  const FieldRow* row = findRow(panel, field);
  if (!row) return {};
  if (row->field.kind == FieldKind::list) return applyList(*row, element, text);
  if (row->field.kind == FieldKind::colour) return applyColour(element, row->property, text);
  switch (panel) {
    case Target::table:
      if (field == "txtRows") return applyRows(element, text);
      if (field == "txtCols") return applyColumns(element, text);
      if (field == "txtWidth" || field == "txtHeight") return applySize(element, row->property, text);
      return applyWholeNumber(element, row->property, text);
    case Target::cell:
      if (field == "cbNowrap") {
        return FieldOutcome{checked(text) ? write(element, "noWrap", "true") : remove(element, "noWrap"),
                            checked(text) ? "true" : "false", {}};
      }
      return applySize(element, row->property, text);
    case Target::image:
      if (field == "txtAlt") {
        const bool same = element.hasProperty("alt") && element.property("alt") == text;
        if (!same) element.setProperty("alt", text);
        return FieldOutcome{!same, std::string(text), {}};
      }
      if (field == "cmdResetBtn") {
        // Sizes written as 0 give the image back its natural size.
        const bool height = remove(element, "height");
        const bool width = remove(element, "width");
        return FieldOutcome{height || width, {}, {}};
      }
      return applyImageNumber(element, row->property, text);
    case Target::rule:
      if (field == "cbShaded") {
        return FieldOutcome{checked(text) ? remove(element, "noShade") : write(element, "noShade", "true"),
                            checked(text) ? "true" : "false", {}};
      }
      if (field == "txtWidth") return applySize(element, "width", text);
      return applyWholeNumber(element, "size", text);
    case Target::none:
      break;
  }
  return {};
}

bool FrameTracking::show(PropertiesTarget panel, int index, const std::string& outerHtml) {
  const bool read = panel != current_ || outerHtml != elementHtml_;
  current_ = panel;
  elementIndex_ = index;
  elementHtml_ = outerHtml;
  return read;
}

void FrameTracking::hideAll() {
  current_ = PropertiesTarget::none;
  elementIndex_ = -1;
  elementHtml_.clear();
}

FrameTracking::Follow FrameTracking::follow(int index, const std::string& outerHtml) {
  if (elementIndex_ == -1) return Follow::nothing;
  if (index != elementIndex_) return Follow::close;
  if (outerHtml == elementHtml_) return Follow::nothing;
  elementHtml_ = outerHtml;
  return Follow::reread;
}

}  // namespace vellmar::editing
