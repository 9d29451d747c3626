#include "platform/browser/selection_tracker.h"

#include <cctype>

#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

using editing::SelectionType;
using emscripten::val;

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

}  // namespace

std::int32_t EngineTrackedDocument::QueryStatus(editing::Decmd command) {
  return engine_.QueryStatus(editing::decmdNumber(command));
}

std::string EngineTrackedDocument::ExecCommand(editing::Decmd command) {
  return engine_.ExecCommand(editing::decmdNumber(command));
}

SelectionType EngineTrackedDocument::selectionType() { return engine_.DOM().selection().kind(); }

bool EngineTrackedDocument::textRangeChanged() {
  const dom::Document document = engine_.DOM();
  const dom::TextRange current = document.selection().createRange();
  const val previous = lastRange_;
  lastRange_ = current.js();
  if (previous.isNull()) return true;
  return !current.isEqual(dom::TextRange(document.js(), previous));
}

dom::Element EngineTrackedDocument::selectedElement() const {
  const dom::SelectionObject selection = engine_.DOM().selection();
  if (selection.kind() == SelectionType::Control) return selection.createControlRange().item(0);
  return selection.createRange().parentElement();
}

dom::Element EngineTrackedDocument::enclosing(std::string_view tag) const {
  const dom::SelectionObject selection = engine_.DOM().selection();
  dom::Element element;
  if (selection.kind() == SelectionType::Control) {
    element = selection.createControlRange().item(0);
  } else {
    dom::TextRange start = selection.createRange();
    start.collapse(true);
    element = start.parentElement();
  }
  const std::string wanted = upper(tag);
  for (; element; element = element.parentElement()) {
    const std::string name = element.tagName();
    if (name == "BODY") return {};
    if (name == wanted) return element;
  }
  return {};
}

bool EngineTrackedDocument::checkForParentTag(std::string_view tag) { return static_cast<bool>(enclosing(tag)); }

std::optional<std::string> EngineTrackedDocument::parentTagAttribute(std::string_view tag,
                                                                     std::string_view attribute) {
  const dom::Element element = enclosing(tag);
  if (!element) return std::nullopt;
  return element.getAttribute(attribute);
}

std::string EngineTrackedDocument::selectedTagName() {
  const dom::Element element = selectedElement();
  return element ? element.tagName() : std::string();
}

int EngineTrackedDocument::selectedSourceIndex() {
  const dom::Element element = selectedElement();
  return element ? element.sourceIndex() : -1;
}

std::string EngineTrackedDocument::selectedClassName() {
  const dom::Element element = selectedElement();
  return element ? element.attribute("className") : std::string();
}

void EngineTrackedDocument::removeSelectedSize() {
  dom::Element element = selectedElement();
  if (!element) return;
  element.removeAttribute("width");
  element.removeAttribute("height");
  // The handles size an element through its inline style; that size goes too.
  dom::Style style = element.style();
  if (!style.width().empty()) style.remove("width");
  if (!style.height().empty()) style.remove("height");
}

}  // namespace vellmar::browser
