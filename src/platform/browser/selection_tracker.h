#pragma once

#include <emscripten/val.h>

#include <memory>

#include "editing/tracker.h"
#include "platform/browser/dom.h"

namespace vellmar::browser {

class Engine;

// The selection tracker on the engine's document. The ancestor searches walk from the selection's
// start to BODY and never scan the document, so a run costs the same in a long document as in a
// short one.
class EngineTrackedDocument final : public editing::TrackedDocument {
 public:
  explicit EngineTrackedDocument(Engine& engine) : engine_(engine) {}

  std::int32_t QueryStatus(editing::Decmd command) override;
  std::string ExecCommand(editing::Decmd command) override;
  editing::SelectionType selectionType() override;
  bool textRangeChanged() override;
  bool checkForParentTag(std::string_view tag) override;
  std::optional<std::string> parentTagAttribute(std::string_view tag, std::string_view attribute) override;
  std::string selectedTagName() override;
  int selectedSourceIndex() override;
  std::string selectedClassName() override;
  void removeSelectedSize() override;

 private:
  dom::Element enclosing(std::string_view tag) const;
  dom::Element selectedElement() const;

  Engine& engine_;
  // The selection's range at the last run; null before the first.
  emscripten::val lastRange_ = emscripten::val::null();
};

}  // namespace vellmar::browser
