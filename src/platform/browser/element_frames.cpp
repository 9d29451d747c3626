#include "platform/browser/element_frames.h"
#include "platform/browser/elements.h"

#include <cmath>

#include "common/diagnostics.h"
#include "editor/properties.h"
#include "platform/browser/editor_commands.h"
#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

using editing::FieldKind;
using editing::PropertiesTarget;
using emscripten::val;

bool isBoolean(std::string_view name) { return name == "noWrap" || name == "noShade"; }

// The element as the panels see it: attributes by their property names, sizes an image reports,
// and the table's rows and cells.
class DomPanelElement final : public editing::PanelElement {
 public:
  explicit DomPanelElement(dom::Element element) : element_(std::move(element)) {}

  std::string property(std::string_view name) const override {
    if (isBoolean(name)) return element_.hasAttribute(name) ? "true" : "";
    if (const auto value = element_.getAttribute(name)) return *value;
    if (element_.tagName() == "IMG" && (name == "width" || name == "height")) {
      // An image without the attribute still has a size: the one it is shown at.
      const val size = element_.js()[std::string(name)];
      if (size.isNumber() && size.as<double>() > 0) return std::to_string(std::lround(size.as<double>()));
    }
    return {};
  }
  bool hasProperty(std::string_view name) const override { return element_.hasAttribute(name); }
  void setProperty(std::string_view name, std::string_view value) override {
    element_.setAttribute(name, isBoolean(name) ? std::string_view() : value);
  }
  void removeProperty(std::string_view name) override { element_.removeAttribute(name); }
  std::string styleSize(std::string_view which) const override { return element_.style().get(which); }
  void clearStyleSize(std::string_view which) override {
    element_.style().remove(which);
    // A style left empty goes with its attribute, so the document keeps no empty style="".
    if (element_.attribute("style").find_first_not_of(" ;") == std::string::npos) element_.removeAttribute("style");
  }

  std::vector<std::vector<int>> rowSpans() const override {
    std::vector<std::vector<int>> out;
    const val rows = element_.js()["rows"];
    const int count = rows["length"].as<int>();
    out.reserve(static_cast<std::size_t>(count));
    for (int r = 0; r < count; ++r) {
      const val cells = rows[r]["cells"];
      std::vector<int> spans;
      for (int c = 0; c < cells["length"].as<int>(); ++c) spans.push_back(cells[c]["colSpan"].as<int>());
      out.push_back(std::move(spans));
    }
    return out;
  }
  void appendRow(int cells) override {
    const val row = dom::call(element_.js(), "insertRow", -1);
    for (int i = 0; i < cells; ++i) dom::call(row, "insertCell", -1);
  }
  void deleteRow(int index) override { dom::call(element_.js(), "deleteRow", index); }
  void appendCell(int row) override { dom::call(element_.js()["rows"][row], "insertCell", -1); }
  void deleteLastCell(int row) override { dom::call(element_.js()["rows"][row], "deleteCell", -1); }

 private:
  dom::Element element_;
};

const char* panelName(PropertiesTarget kind) {
  switch (kind) {
    case PropertiesTarget::image: return "image";
    case PropertiesTarget::rule: return "rule";
    case PropertiesTarget::cell: return "cell";
    case PropertiesTarget::table: return "table";
    case PropertiesTarget::none: break;
  }
  return "none";
}

}  // namespace

ElementFrames::ElementFrames(val surface, Engine& engine, EditorCommands& commands,
                             editor::ctlVellmar2& control, ColourPicker& picker)
    : surface_(std::move(surface)), engine_(engine), commands_(commands), control_(control), picker_(picker) {
  band_ = create("section", "vellmar-element-frame");
  setAttr(band_, "role", "region");
  setAttr(band_, "aria-labelledby", "vellmar-frame-title");
  band_.set("hidden", true);
  val titleLine = create("div", "vellmar-frame-titleline");
  title_ = create("h2", "vellmar-frame-title");
  setAttr(title_, "id", "vellmar-frame-title");
  titleLine.call<void>("appendChild", title_);
  val close = create("button", "vellmar-frame-close");
  setAttr(close, "type", "button");
  setAttr(close, "aria-label", "Close");
  setAttr(close, "title", "Close");
  close.set("textContent", std::string("\u2715"));
  route_.listen(close, "click", [this](const val&) {
    guarded("btnCloseFrames_Click", [&] { hideAllFrames(); });
    engine_.focus();
  });
  titleLine.call<void>("appendChild", close);
  band_.call<void>("appendChild", titleLine);
  // The panels themselves are made when first shown.
  surface_.call<void>("appendChild", band_);
}

ElementFrames::~ElementFrames() {
  guarded("ElementFrames", [&] { band_.call<void>("remove"); });
}

void ElementFrames::buildPanel(PropertiesTarget kind) {
  auto p = std::make_unique<Panel>();
  p->kind = kind;
  p->element = create("div", "vellmar-panel");
  setAttr(p->element, "data-panel", panelName(kind));
  Panel& owner = *p;
  for (const editing::PanelField& def : editing::panelFields(kind)) {
    auto f = std::make_unique<Field>();
    Field& field = *f;
    f->def = &def;
    const std::string id = std::string("vellmar-") + panelName(kind) + "-" + std::string(def.id);
    val cell = create("div", "vellmar-panel-field");
    const std::string labelText(def.label);
    if (def.kind == FieldKind::button) {
      f->input = create("button", "vellmar-panel-button");
      setAttr(f->input, "type", "button");
      f->input.set("textContent", labelText);
      route_.listen(f->input, "click", [this, &owner, &field](const val&) { fieldChanged(owner, field); });
      cell.call<void>("appendChild", f->input);
    } else if (def.kind == FieldKind::check) {
      val label = create("label", "vellmar-panel-check");
      f->input = create("input", "");
      setAttr(f->input, "type", "checkbox");
      setAttr(f->input, "id", id);
      label.call<void>("appendChild", f->input);
      label.call<void>("appendChild", val::global("document").call<val>("createTextNode", " " + labelText));
      route_.listen(f->input, "change", [this, &owner, &field](const val&) { fieldChanged(owner, field); });
      cell.call<void>("appendChild", label);
    } else {
      val label = create("label", "vellmar-panel-label");
      setAttr(label, "for", id);
      label.set("textContent", labelText);
      cell.call<void>("appendChild", label);
      if (def.kind == FieldKind::colour) {
        std::string name = labelText;
        if (!name.empty() && name.back() == ':') name.pop_back();
        f->colour = std::make_unique<SelColorView>(picker_, id, name);
        f->input = f->colour->input();
        f->colour->Changed = [this, &owner, &field] { fieldChanged(owner, field); };
        f->colour->committed = [this, &owner, &field] { fieldChanged(owner, field); };
        cell.call<void>("appendChild", f->colour->element());
      } else if (def.kind == FieldKind::list) {
        f->input = create("select", "vellmar-panel-select");
        setAttr(f->input, "id", id);
        for (std::string_view entry : def.entries) {
          val option = create("option", "");
          option.set("value", std::string(entry));
          option.set("textContent", std::string(entry));
          f->input.call<void>("appendChild", option);
        }
        route_.listen(f->input, "change", [this, &owner, &field](const val&) { fieldChanged(owner, field); });
        cell.call<void>("appendChild", f->input);
      } else {
        f->input = create("input", "vellmar-panel-text");
        setAttr(f->input, "type", "text");
        setAttr(f->input, "id", id);
        setAttr(f->input, "autocomplete", "off");
        route_.listen(f->input, "change", [this, &owner, &field](const val&) { fieldChanged(owner, field); });
        cell.call<void>("appendChild", f->input);
      }
    }
    f->message = create("span", "vellmar-panel-message");
    setAttr(f->message, "id", id + "-message");
    setAttr(f->message, "role", "alert");
    f->message.set("hidden", true);
    cell.call<void>("appendChild", f->message);
    p->element.call<void>("appendChild", cell);
    p->fields.push_back(std::move(f));
  }
  // Only the open panel is in the band.
  panels_.push_back(std::move(p));
}

ElementFrames::Panel* ElementFrames::panel(PropertiesTarget kind) {
  for (auto& p : panels_) {
    if (p->kind == kind) return p.get();
  }
  if (kind == PropertiesTarget::none) return nullptr;
  buildPanel(kind);
  return panels_.back().get();
}

dom::Element ElementFrames::selectionElement() const { return commands_.selectedElement(); }

dom::Element ElementFrames::panelElement(PropertiesTarget kind) const {
  const char* tag = kind == PropertiesTarget::image ? "IMG"
                    : kind == PropertiesTarget::rule ? "HR"
                    : kind == PropertiesTarget::cell ? "TD"
                                                     : "TABLE";
  // Images and rules are selected as a whole; a table may be, or enclose the caret.
  const dom::Element selected = selectionElement();
  if (selected && selected.tagName() == tag) return selected;
  if (kind == PropertiesTarget::image || kind == PropertiesTarget::rule) return {};
  if (!commands_.checkForParentTag(tag)) return {};
  return commands_.findParentTag(tag);
}

void ElementFrames::showFrame(PropertiesTarget kind, std::string_view title) {
  Panel* shown = panel(kind);
  if (!shown) return;
  if (!visible_ || tracking_.current() != kind) {
    title_.set("textContent", std::string(title));
    for (auto& p : panels_) {
      if (p.get() != shown) p->element.call<void>("remove");
    }
    band_.call<void>("appendChild", shown->element);
    band_.set("hidden", false);
    visible_ = true;
    measure();
  }
  const dom::Element element = selectionElement();
  if (!element) throw ProcedureError(91, "Nothing is selected");
  if (tracking_.show(kind, element.sourceIndex(), element.outerHTML())) setProperties();
  element.scrollIntoView(false);
}

void ElementFrames::hideAllFrames() {
  tracking_.hideAll();
  if (!visible_) return;
  visible_ = false;
  band_.set("hidden", true);
  for (auto& p : panels_) p->element.call<void>("remove");
  control_.setElementFrameHeight(0);
}

void ElementFrames::followSelection() {
  if (!tracking_.open()) return;
  guarded("checkUnderCursor", [&] {
    const dom::Element element = selectionElement();
    const auto follow = tracking_.follow(element ? element.sourceIndex() : -1,
                                         element ? element.outerHTML() : std::string());
    if (follow == editing::FrameTracking::Follow::close) {
      hideAllFrames();
    } else if (follow == editing::FrameTracking::Follow::reread) {
      setProperties();
    }
  });
}

void ElementFrames::setProperties() {
  Panel* open = panel(tracking_.current());
  if (!open) return;
  const dom::Element element = panelElement(open->kind);
  if (!element) throw ProcedureError(91, "The element of the panel is not selected");
  DomPanelElement adapter(element);
  const editing::PanelValues values = editing::setProperties(open->kind, adapter);
  const val focused = band_.call<val>("getRootNode")["activeElement"];
  for (auto& field : open->fields) {
    // The field the person is typing in keeps what they typed.
    if (field->input.strictlyEquals(focused)) continue;
    const auto found = values.find(field->def->id);
    // A field whose value is unchanged keeps what was said of it: a read that follows a refused
    // entry (a display change arriving late) must not take the reason away.
    if (found == values.end() || fieldText(*field) == found->second) continue;
    showValue(*field, found->second);
    showMessage(*field, {});
  }
  if (open->kind == PropertiesTarget::image) {
    // Sizes cannot be edited while the switch keeps images at their own size.
    const bool locked = editor::PropertySet::shared().isOn("DisableEditImageWidthHeight");
    for (auto& field : open->fields) {
      if (field->def->id == "txtWidth" || field->def->id == "txtHeight" || field->def->id == "cmdResetBtn") {
        field->input.set("disabled", locked);
      }
    }
  }
}

std::string ElementFrames::fieldText(const Field& field) const {
  switch (field.def->kind) {
    case FieldKind::check: return field.input["checked"].as<bool>() ? "true" : "false";
    case FieldKind::colour: return field.colour->Color();
    case FieldKind::button: return {};
    default: return field.input["value"].as<std::string>();
  }
}

void ElementFrames::showValue(Field& field, const std::string& text) {
  switch (field.def->kind) {
    case FieldKind::check: field.input.set("checked", text == "true"); break;
    case FieldKind::colour: field.colour->setColor(text); break;
    case FieldKind::button: break;
    case FieldKind::list:
      // No entry matches: nothing is selected.
      if (text.empty()) {
        field.input.set("selectedIndex", -1);
      } else {
        field.input.set("value", text);
      }
      break;
    case FieldKind::text: field.input.set("value", text); break;
  }
}

void ElementFrames::showMessage(Field& field, const std::string& message) {
  field.message.set("textContent", message);
  field.message.set("hidden", message.empty());
  if (message.empty()) {
    field.input.call<void>("removeAttribute", std::string("aria-invalid"));
    field.input.call<void>("removeAttribute", std::string("aria-describedby"));
  } else {
    setAttr(field.input, "aria-invalid", "true");
    setAttr(field.input, "aria-describedby", field.message["id"].as<std::string>());
  }
}

void ElementFrames::fieldChanged(Panel& owner, Field& field) {
  const std::string procedure = std::string(field.def->id) + "_Change";
  guarded(procedure, [&] {
    if (!visible_ || tracking_.current() != owner.kind) return;
    const dom::Element element = panelElement(owner.kind);
    if (!element) return;
    DomPanelElement adapter(element);
    // Each change is an undo step of its own.
    engine_.beginChange();
    const editing::FieldOutcome outcome = editing::applyField(owner.kind, field.def->id, fieldText(field), adapter);
    if (outcome.wrote) dom::noteChange();
    if (field.def->kind == FieldKind::button) {
      setProperties();
      return;
    }
    showValue(field, outcome.shown);
    showMessage(field, outcome.message);
  });
}

void ElementFrames::measure() {
  // The band's height follows its content at the width the layout gives it.
  val style = band_["style"];
  style.set("height", std::string("auto"));
  const double height = band_.call<val>("getBoundingClientRect")["height"].as<double>();
  control_.setElementFrameHeight(static_cast<int>(std::ceil(height)));
}

void ElementFrames::place(const editor::Rect& rect) {
  val style = band_["style"];
  style.set("left", std::to_string(rect.left) + "px");
  style.set("top", std::to_string(rect.top) + "px");
  style.set("width", std::to_string(rect.width) + "px");
  style.set("height", std::string("auto"));
  if (!visible_) return;
  // A new width may wrap the fields onto more lines: the height is settled once this layout is
  // done.
  const int height = static_cast<int>(std::ceil(band_.call<val>("getBoundingClientRect")["height"].as<double>()));
  if (height != rect.height) {
    val::global("queueMicrotask")(route_.callback([this](const val&) {
      if (visible_) measure();
    }));
  }
}

}  // namespace vellmar::browser
