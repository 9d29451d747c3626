#include "platform/browser/colour_selector_view.h"
#include "platform/browser/elements.h"

#include "common/diagnostics.h"
#include "platform/browser/dom.h"

namespace vellmar::browser {

namespace {

using emscripten::val;

std::string lowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

// ---- ColourPicker -------------------------------------------------------------------------------

void ColourPicker::build() {
  dialog_ = std::make_unique<ModalDialog>(root_, "Color", "vellmar-colour-picker");
  grid_ = create("div", "vellmar-colour-grid");
  setAttr(grid_, "role", "group");
  setAttr(grid_, "aria-label", "Colours");
  for (std::string_view colour : toolbars::pickerPalette()) {
    val swatch = dialog_->makeButton("", [this, c = std::string(colour)] { finish(c); });
    setAttr(swatch, "class", "vellmar-colour-swatch");
    setAttr(swatch, "aria-label", toolbars::colourName(colour));
    setAttr(swatch, "title", toolbars::colourName(colour));
    setAttr(swatch, "data-colour", std::string(colour));
    swatch["style"].set("backgroundColor", std::string(colour));
    grid_.call<void>("appendChild", swatch);
  }
  dialog_->route().listen(grid_, "keydown", [this](const val& event) { moveInGrid(event); });
  dialog_->body().call<void>("appendChild", grid_);

  val other = create("label", "vellmar-colour-other");
  other.call<void>("appendChild", val::global("document").call<val>("createTextNode", std::string("Other colour: ")));
  custom_ = create("input", "");
  setAttr(custom_, "type", "color");
  other.call<void>("appendChild", custom_);
  customText_ = create("output", "vellmar-colour-text");
  other.call<void>("appendChild", customText_);
  dialog_->body().call<void>("appendChild", other);
  dialog_->route().listen(custom_, "input", [this](const val&) {
    customText_.set("textContent", toolbars::readColourText(custom_["value"].as<std::string>()).value_or(""));
  });

  dialog_->addButton("OK", [this] {
    const auto colour = toolbars::readColourText(custom_["value"].as<std::string>());
    finish(colour.value_or(std::string()));
  }, ModalDialog::Role::accept);
  dialog_->addButton("Cancel", [this] {
    chosen_ = nullptr;
    dialog_->close();
  }, ModalDialog::Role::cancel);
}

void ColourPicker::open(const std::string& start, std::function<void(const std::string&)> chosen) {
  if (!dialog_) build();
  if (dialog_->isOpen()) return;
  chosen_ = std::move(chosen);
  const std::string colour = toolbars::readColourText(start).value_or("");
  const std::string shown = colour.empty() ? std::string(toolbars::SelColor::kPickerStart) : colour;
  custom_.set("value", lowerCase(shown));
  customText_.set("textContent", shown);
  // The grid marks the colour it starts from, and the focus starts there (or on the first).
  val focus = val::undefined();
  const val swatches = grid_["children"];
  for (int i = 0; i < swatches["length"].as<int>(); ++i) {
    const val swatch = swatches[i];
    const bool current = swatch.call<val>("getAttribute", std::string("data-colour")).as<std::string>() == shown;
    setAttr(swatch, "aria-pressed", current ? "true" : "false");
    if (current) focus = swatch;
  }
  dialog_->show(focus.isUndefined() ? swatches[0] : focus);
}

void ColourPicker::finish(const std::string& colour) {
  auto chosen = std::move(chosen_);
  chosen_ = nullptr;
  dialog_->close();
  if (chosen && !colour.empty()) chosen(colour);
}

void ColourPicker::moveInGrid(const val& event) {
  const std::string key = event["key"].as<std::string>();
  int step = 0;
  if (key == "ArrowRight") step = 1;
  if (key == "ArrowLeft") step = -1;
  if (key == "ArrowDown") step = static_cast<int>(toolbars::kPaletteColumns);
  if (key == "ArrowUp") step = -static_cast<int>(toolbars::kPaletteColumns);
  if (step == 0) return;
  const val swatches = grid_["children"];
  const int count = swatches["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    if (!swatches[i].strictlyEquals(event["target"])) continue;
    const int next = i + step;
    if (next >= 0 && next < count) swatches[next].call<void>("focus");
    event.call<void>("preventDefault");
    return;
  }
}

// ---- ImageButton --------------------------------------------------------------------------------

ImageButton::ImageButton(const std::string& label, std::function<void()> click) {
  button_ = create("button", "vellmar-image-button");
  setAttr(button_, "type", "button");
  setAttr(button_, "aria-label", label);
  setAttr(button_, "title", label);
  picture_ = create("span", "vellmar-image-button-picture");
  setAttr(picture_, "aria-hidden", "true");
  button_.call<void>("appendChild", picture_);
  route_.listen(button_, "pointerdown", [this](const val&) { state_.pointerDown(); showPressed(); });
  route_.listen(button_, "pointerenter", [this](const val&) { state_.pointerEnter(); showPressed(); });
  route_.listen(button_, "pointerleave", [this](const val&) { state_.pointerLeave(); showPressed(); });
  route_.listen(button_, "pointerup", [this](const val&) { state_.pointerUp(); showPressed(); });
  route_.listen(button_, "pointercancel", [this](const val&) { state_.cancel(); showPressed(); });
  // The browser's click is the click: by mouse, and by Enter or Space as well.
  route_.listen(button_, "click", [click = std::move(click)](const val&) {
    if (click) click();
  });
}

void ImageButton::setSwatch(const std::string& colour) {
  picture_["style"].set("backgroundColor", colour);
  if (colour.empty()) {
    picture_["classList"].call<void>("add", std::string("vellmar-no-colour"));
  } else {
    picture_["classList"].call<void>("remove", std::string("vellmar-no-colour"));
  }
}

void ImageButton::showPressed() {
  button_["classList"].call<void>("toggle", std::string("vellmar-pressed"), state_.pressed());
}

// ---- SelColorView -------------------------------------------------------------------------------

SelColorView::SelColorView(ColourPicker& picker, const std::string& id, const std::string& label)
    : picker_(picker) {
  box_ = create("span", "vellmar-sel-color");
  text_ = create("input", "vellmar-sel-color-text");
  setAttr(text_, "type", "text");
  setAttr(text_, "id", id);
  setAttr(text_, "spellcheck", "false");
  setAttr(text_, "autocomplete", "off");
  box_.call<void>("appendChild", text_);
  button_ = std::make_unique<ImageButton>("Choose " + label, [this] {
    picker_.open(model_.Color(), [this](const std::string& colour) { model_.chosen(colour); });
  });
  box_.call<void>("appendChild", button_->element());
  model_.Changed = [this] {
    text_.set("value", model_.Color());
    showSwatch();
    if (Changed) Changed();
  };
  route_.listen(text_, "input", [this](const val&) {
    model_.typed(text_["value"].as<std::string>());
    showSwatch();
  });
  route_.listen(text_, "change", [this](const val&) {
    if (committed) committed();
  });
  showSwatch();
}

void SelColorView::setColor(const std::string& colour) {
  model_.setColor(colour);
  model_.clearPropertyChanged();
  text_.set("value", colour);
  showSwatch();
}

void SelColorView::showSwatch() {
  button_->setSwatch(toolbars::readColourText(model_.Color()).value_or(""));
}

}  // namespace vellmar::browser
