#include "xml/simple_dom.h"

#include <utility>

#include "common/diagnostics.h"

namespace vellmar::xml {

namespace {

constexpr long kRejected = 50000;

std::string_view trimBlanks(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

// The element name of a tag: "<" and "/" are skipped wherever they stand; the name ends at ">",
// "[" or a space. A tag in which "!" or "?" comes first (comment, declaration, processing
// instruction, character data) has no name.
std::string getTagName(std::string_view tag) {
  std::string name;
  for (char c : tag) {
    if (c == '<' || c == '/') continue;
    if (c == '>' || c == '[' || c == ' ') break;
    if (c == '!' || c == '?') return {};
    name.push_back(c);
  }
  return name;
}

struct Rejection {
  const char* source;
  std::string description;
};

}  // namespace

SimpleElement::~SimpleElement() {
  std::vector<std::unique_ptr<SimpleElement>> pending = std::move(children_.items_);
  while (!pending.empty()) {
    std::unique_ptr<SimpleElement> element = std::move(pending.back());
    pending.pop_back();
    for (auto& child : element->children_.items_) pending.push_back(std::move(child));
    element->children_.items_.clear();
  }
}

SimpleElement* SimpleElements::Add(std::unique_ptr<SimpleElement> element) {
  items_.push_back(std::move(element));
  return items_.back().get();
}

SimpleElement* SimpleElements::Item(std::int64_t index) const {
  if (index < 0 || static_cast<std::uint64_t>(index) >= items_.size()) return nullptr;
  return items_[static_cast<std::size_t>(index)].get();
}

std::unique_ptr<SimpleElement> SimpleDOMParser::Parse(std::string_view xml) {
  failure_ = {};
  if (trimBlanks(xml).empty()) return nullptr;

  Stack<SimpleElement> stack;
  std::unique_ptr<SimpleElement> root;

  auto pushElement = [&](std::string name) {
    auto element = std::make_unique<SimpleElement>(std::move(name));
    if (SimpleElement* top = stack.Peek()) {
      stack.Push(top->ChildElements().Add(std::move(element)));
    } else {
      // Anything earlier is closed by now, so a later top-level element replaces the root.
      root = std::move(element);
      stack.Push(root.get());
    }
  };

  auto popElement = [&](const std::string& name) {
    SimpleElement* top = stack.Peek();
    if (!top) return;  // a stray end tag before any start tag
    if (top->name != name) {
      throw Rejection{"SimpleDOMParser.PopElement", "The end element " + name +
                                                        " does not match the starting element " +
                                                        top->name + "."};
    }
    stack.Pop();

  };

  // Only the text right after a start tag counts; it goes to the open element, or to that
  // element's last child when it has children already (text after a nameless tag).
  auto setText = [&](std::string_view text) {
    SimpleElement* top = stack.Peek();
    if (!top) return;
    const SimpleElements& children = top->ChildElements();
    SimpleElement* last = children.Item(children.Count() - 1);
    (last ? last : top)->Text.assign(text);
  };

  const std::size_t length = xml.size();
  std::size_t p = 0;
  try {
    while (p + 1 < length) {
      const auto open = xml.find('<', p);
      if (open == std::string_view::npos) break;
      const auto close = xml.find('>', open + 1);
      if (close == std::string_view::npos) break;
      const std::string_view tag = trimBlanks(xml.substr(open, close - open + 1));
      p = close + 1;
      while (p < length && (xml[p] == '\r' || xml[p] == '\n')) ++p;
      if (tag.empty()) continue;

      const bool endTag = tag.substr(0, 2) == "</";
      std::string name = getTagName(tag);
      if (!name.empty()) {
        if (endTag)
          popElement(name);
        else
          pushElement(std::move(name));
      }

      const bool selfClosing = tag.size() >= 2 && tag.substr(tag.size() - 2) == "/>";
      if (!endTag && !selfClosing) {
        const auto next = xml.find('<', p);
        if (next != std::string_view::npos && next > p) {
          setText(trimBlanks(xml.substr(p, next - p)));
          p = next;
        }
      }
    }
    if (stack.Count() != 0)
      throw Rejection{"SimpleDOMParser.Parse", "The source XML document is not well-formed."};
  } catch (const Rejection& rejection) {
    failure_ = {kRejected, rejection.source, rejection.description};
    debugLog(rejection.description);
    return nullptr;
  }
  return root;
}

}  // namespace vellmar::xml
