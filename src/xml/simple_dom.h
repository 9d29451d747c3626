#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The editor's small, strict reader of the server's XML answers: element names, the text right
// after each start tag and the nesting. Attributes, comments, declarations, processing
// instructions, character data sections and entity references are not interpreted.
namespace vellmar::xml {

class SimpleElement;

// The ordered children of one element; it owns them.
class SimpleElements {
 public:
  // Appends `element` and returns it.
  SimpleElement* Add(std::unique_ptr<SimpleElement> element);
  // The element at 0-based `index`, or null when `index` is negative or not below Count().
  SimpleElement* Item(std::int64_t index) const;
  std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }

 private:
  friend class SimpleElement;
  std::vector<std::unique_ptr<SimpleElement>> items_;
};

class SimpleElement {
 public:
  SimpleElement() = default;
  explicit SimpleElement(std::string elementName) : name(std::move(elementName)) {}
  // Releases the subtree without recursion, so that no nesting depth can exhaust the stack.
  ~SimpleElement();
  SimpleElement(const SimpleElement&) = delete;
  SimpleElement& operator=(const SimpleElement&) = delete;

  std::string name;  // as written, case kept
  std::string Text;  // trimmed text right after the start tag

  SimpleElements& ChildElements() { return children_; }
  const SimpleElements& ChildElements() const { return children_; }

 private:
  SimpleElements children_;
};

// A stack of object references. Storage grows geometrically rather than in fixed steps, so that a
// deeply nested document still parses in time linear in its size.
template <class T>
class Stack {
 public:
  void Push(T* item) { items_.push_back(item); }
  // The top, removed; null when empty.
  T* Pop() {
    if (items_.empty()) return nullptr;
    T* top = items_.back();
    items_.pop_back();
    return top;
  }
  // The top, left in place; null when empty.
  T* Peek() const { return items_.empty() ? nullptr : items_.back(); }
  std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }

 private:
  std::vector<T*> items_;
};

// Why the last Parse returned no element (number 0 when it did not reject the text).
struct ParseFailure {
  long number = 0;
  std::string source;
  std::string description;
};

class SimpleDOMParser {
 public:
  // The root element, or null when the trimmed text is empty or the text is rejected. A rejection
  // writes its description to the debug log. Of several top-level elements the last is returned.
  std::unique_ptr<SimpleElement> Parse(std::string_view xml);

  const ParseFailure& lastFailure() const { return failure_; }

 private:
  ParseFailure failure_;
};

}  // namespace vellmar::xml
