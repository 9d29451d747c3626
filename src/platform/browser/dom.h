#pragma once

// The editor's view of the document object model: a thin wrapper over emscripten::val that gives
// the browser's DOM the shape the editing code was written against (upper-case tag names,
// attribute access by property name with flags, `sourceIndex`, `all.tags(...)`, text ranges that
// collapse, expand and move by word, control ranges, a selection object with a type). Every call
// goes straight to the browser; nothing is cached except what `changeCount` guards.
//
// JavaScript exceptions do not unwind through C++ frames, so every DOM call that can throw goes
// through a guarded call that turns the exception into a ProcedureError.

#include <emscripten/val.h>

#include <cstdint>
#include <optional>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "editing/selection.h"

namespace vellmar::browser::dom {

using emscripten::val;

// Counts the changes made through this wrapper (markup, attributes, selection). Answers derived
// from the document may be cached only while this count stays the same.
std::uint64_t changeCount();
void noteChange();

// Calls `target[method](args...)` and turns a JavaScript exception into a ProcedureError, so that
// the error convention traps it like any other run-time failure.
val safeCall(const val& target, const char* method, const val& args);
template <class... Args>
val call(const val& target, const char* method, Args&&... args) {
  val list = val::array();
  (list.call<void>("push", val(std::forward<Args>(args))), ...);
  return safeCall(target, method, list);
}
// A JavaScript string of the UTF-8 `text`, decoded straight from the module's memory: passing a
// std::string instead copies it into a fresh buffer of that memory first, which for a document
// is megabytes the memory keeps once it has grown for them.
val textOf(std::string_view text);
// The UTF-8 bytes of the JavaScript string `text` ("" when it is not a string), with one buffer of
// the module's memory: reading it with as<std::string>() holds two at once.
std::string stringOf(const val& text);
// Hands the UTF-8 form of the JavaScript string `text` to `piece` a part of some ten kilobytes at
// a time, so that a document read out of the page never has a copy of its own in the module's
// memory. A character is never split between two parts.
void forEachPieceOf(const val& text, const std::function<void(std::string_view)>& piece);
// Builds a JavaScript string from UTF-8 pieces split anywhere, even inside a character: what the
// module hands out piece by piece is never whole in its memory.
class TextBuilder {
 public:
  TextBuilder();
  void append(std::string_view bytes);
  // The whole text; the builder is then empty again.
  val take();

 private:
  val decoder_;
  val parts_;
};
// The bytes of a Uint8Array or ArrayBuffer, copied once into the string that keeps them.
std::string bytesOf(const val& bytes);
// A Uint8Array of its own holding `bytes` (a copy: the module's memory may move under a view).
val byteArrayOf(std::string_view bytes);

// `target[property] = value`, with the same exception handling.
void safeSet(const val& target, const char* property, const val& value);

// The attribute an element property name stands for: "className" is "class", "htmlFor" is "for";
// other names are attribute names in any letter case ("cellPadding", "vAlign", "BorderColor").
std::string attributeName(std::string_view propertyName);

class Style;
class ElementCollection;
class TextRange;

// An element of the document, or empty. Equality is identity.
class Element {
 public:
  Element() = default;
  explicit Element(val node) : node_(std::move(node)) {}

  bool empty() const { return node_.isNull() || node_.isUndefined(); }
  explicit operator bool() const { return !empty(); }
  bool operator==(const Element& other) const { return node_.strictlyEquals(other.node_); }
  const val& js() const { return node_; }

  // Upper case, as the element names are compared throughout the editor ("IMG", "TD").
  std::string tagName() const;
  std::string id() const;

  std::string innerHTML() const;
  void setInnerHTML(const std::string& html);
  void setInnerHTML(const val& html);  // a string of the page's
  std::string outerHTML() const;
  // Replaces the element by the markup (an element that is not in the document cannot be).
  void setOuterHTML(const std::string& html);
  std::string innerText() const;

  // Flags as the editing code passes them: 0 reads the attribute case-insensitively, 1 matches the
  // case; in an HTML document attribute names are case-insensitive, so both behave alike.
  // A missing attribute reads as nullopt.
  std::optional<std::string> getAttribute(std::string_view name, int flags = 0) const;
  // The attribute's value, empty when missing.
  std::string attribute(std::string_view name) const;
  bool hasAttribute(std::string_view name) const;
  void setAttribute(std::string_view name, std::string_view value, int flags = 1);
  // True when the attribute was there.
  bool removeAttribute(std::string_view name, int flags = 1);

  Element parentElement() const;
  std::vector<Element> children() const;
  bool contains(const Element& other) const;
  // The element's position among all elements of its document, in document order.
  int sourceIndex() const;
  Style style() const;
  // Every element below this one with that tag (or all of them for "*").
  ElementCollection tags(std::string_view tagName) const;
  // A text range over the element's contents (as the body's createTextRange gives).
  TextRange createTextRange() const;
  void scrollIntoView(bool alignToTop = true) const;

  // Table structure, as the table, row and cell elements offer it.
  int colSpan() const;
  void setColSpan(int span);
  int rowSpan() const;
  int cellIndex() const;
  int rowIndex() const;

 private:
  val node_ = val::null();
};

// The inline style of an element.
class Style {
 public:
  explicit Style(val style) : style_(std::move(style)) {}
  std::string get(std::string_view property) const;  // CSS property name ("width")
  void set(std::string_view property, std::string_view value);
  void remove(std::string_view property);
  std::string width() const { return get("width"); }
  std::string height() const { return get("height"); }
  void setWidth(std::string_view value) { set("width", value); }
  void setHeight(std::string_view value) { set("height", value); }

 private:
  val style_;
};

// A live list of elements (`all.tags(...)`, `rows`, `cells`).
class ElementCollection {
 public:
  explicit ElementCollection(val list) : list_(std::move(list)) {}
  int length() const;
  Element item(int index) const;
  const val& js() const { return list_; }

 private:
  val list_;
};

// A stretch of the document between two positions, with the operations of the old engine's text
// range. Units: "character", "word", "sentence" (as "paragraph" here) and "textedit" (the body).
class TextRange {
 public:
  TextRange(val document, val range) : document_(std::move(document)), range_(std::move(range)) {}

  TextRange duplicate() const;
  bool collapsed() const;
  void collapse(bool toStart = true);
  // Grows the range to whole units around it; false when it could not grow.
  bool expand(std::string_view unit);
  // Move both ends (collapsing first) or one end by `count` units; returns the units moved.
  long move(std::string_view unit, long count);
  long moveStart(std::string_view unit, long count);
  long moveEnd(std::string_view unit, long count);

  // The range's text: blocks and line breaks become CR LF.
  std::string text() const;
  // Replaces the range's contents by plain text (markup characters stay characters).
  void setText(const std::string& text);
  std::string htmlText() const;
  // Replaces the range's contents by the markup; the range ends collapsed after it.
  void pasteHTML(const std::string& html);
  // Makes this range the document's selection.
  void select() const;
  void scrollIntoView(bool alignToTop = true) const;
  bool isEqual(const TextRange& other) const;
  bool inRange(const TextRange& other) const;
  // The innermost element that holds the whole range.
  Element parentElement() const;

  const val& js() const { return range_; }
  const val& document() const { return document_; }

 private:
  // Moves one boundary by words or characters through the document's selection machinery.
  long moveBoundary(bool start, std::string_view unit, long count);

  val document_;
  val range_;
};

// One or more elements selected as wholes (an image, a rule, a table).
class ControlRange {
 public:
  ControlRange(val document, std::vector<Element> items)
      : document_(std::move(document)), items_(std::move(items)) {}
  int length() const { return static_cast<int>(items_.size()); }
  Element item(int index) const;
  // The innermost element holding every item; for one item, its parent.
  Element commonParentElement() const;
  void select() const;
  void scrollIntoView(bool alignToTop = true) const;

 private:
  val document_;
  std::vector<Element> items_;
};

// The document's selection: its type is "None" (a caret), "Text" or "Control".
class SelectionObject {
 public:
  explicit SelectionObject(val document) : document_(std::move(document)) {}
  std::string type() const;
  editing::SelectionType kind() const;
  // The selection as a text range (a caret is a collapsed range). For a control selection, the
  // range around the element.
  TextRange createRange() const;
  // The selected element for a control selection; empty otherwise.
  ControlRange createControlRange() const;
  void empty() const;

 private:
  val document_;
};

// The document being edited.
class Document {
 public:
  Document() = default;
  explicit Document(val document) : document_(std::move(document)) {}

  bool empty() const { return document_.isNull() || document_.isUndefined(); }
  const val& js() const { return document_; }

  Element body() const;
  Element documentElement() const;
  Element getElementById(std::string_view id) const;
  Element createElement(std::string_view tagName) const;
  // `all.tags(tag)`: every element of the document with that tag name.
  ElementCollection allTags(std::string_view tagName) const;
  ElementCollection all() const;
  SelectionObject selection() const { return SelectionObject(document_); }

  // `styleSheets.length`: the style sheets the document links or embeds.
  int styleSheetsLength() const;
  // Links the style sheet at `url` into the head; `index` -1 appends it after all others.
  void createStyleSheet(const std::string& url, int index = -1) const;
  // Scrolls the document's window (the old `parentWindow.scroll`).
  void scroll(int x, int y) const;

 private:
  val document_ = val::null();
};

// The element selected as a whole in `document`, if any. The engine keeps this record; the
// selection object and control ranges read and write it.
Element controlSelection(const val& document);
void setControlSelection(const val& document, const Element& element);

// Gives `element` the focus. A frame whose document is in design mode gets it down to its body:
// given only to the frame from a script after the focus had left it (a dialog closed, a menu
// chosen), the browser shows the caret but lets nothing typed in.
void focus(const val& element);

}  // namespace vellmar::browser::dom
