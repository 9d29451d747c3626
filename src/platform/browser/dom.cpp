#include "platform/browser/dom.h"

#include <emscripten/em_js.h>
#include <emscripten/em_macros.h>
#include <emscripten/val.h>

#include <algorithm>
#include <cctype>

#include "common/diagnostics.h"

using JsHandle = emscripten::EM_VAL;

// JavaScript exceptions unwind straight through WebAssembly frames, past every C++ handler, so
// the call is made inside a JavaScript try and the outcome comes back as {ok, value | error}.
EM_JS(JsHandle, vellmar_dom_safe_call, (JsHandle target, const char* method, JsHandle args), {
  var t = Emval.toValue(target);
  var name = UTF8ToString(method);
  try {
    return Emval.toHandle({ok : true, value : t[name].apply(t, Emval.toValue(args))});
  } catch (e) {
    return Emval.toHandle({ok : false, error : name + ": " + String(e && e.message || e)});
  }
});

EM_JS(JsHandle, vellmar_dom_safe_set, (JsHandle target, const char* property, JsHandle value), {
  try {
    Emval.toValue(target)[UTF8ToString(property)] = Emval.toValue(value);
    return Emval.toHandle(null);
  } catch (e) {
    return Emval.toHandle(UTF8ToString(property) + ": " + String(e && e.message || e));
  }
});

namespace vellmar::browser::dom {

namespace {

std::uint64_t gChangeCount = 0;

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string str(const val& v) { return v.isString() ? v.as<std::string>() : std::string(); }

// Node types and tree-walker filters of the DOM.
constexpr int kElementNode = 1;
constexpr int kTextNode = 3;
constexpr unsigned kShowElementAndText = 0x1 | 0x4;

// Elements whose start begins a new line of text.
bool isBlockTag(const std::string& tag) {
  static const char* const kBlocks[] = {"P",  "DIV", "H1", "H2",      "H3",         "H4",
                                        "H5", "H6",  "LI", "PRE",     "ADDRESS",    "BLOCKQUOTE",
                                        "UL", "OL",  "TR", "TABLE",   "HR",         "DL",
                                        "DT", "DD",  "TD", "TH",      "CAPTION",    "CENTER"};
  return std::any_of(std::begin(kBlocks), std::end(kBlocks),
                     [&](const char* block) { return tag == block; });
}

bool endsWithLineBreak(const std::string& text) {
  return text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0;
}

bool insidePre(const val& textNode) {
  return !textNode["parentElement"].isNull() &&
         !textNode["parentElement"].call<val>("closest", std::string("pre,textarea")).isNull();
}

// Appends a text node's characters as they read on screen: outside PRE, every run of white space
// is one blank, and none starts a line or follows another blank; the source's line breaks between
// blocks are not the document's text.
void appendRenderedText(std::string& out, const std::string& data, bool preformatted) {
  if (preformatted) {
    out += data;
    return;
  }
  for (char c : data) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f') {
      if (out.empty() || out.back() == ' ' || endsWithLineBreak(out)) continue;
      out.push_back(' ');
    } else {
      out.push_back(c);
    }
  }
}

const val& textEncoder() {
  static const val encoder = val::global("TextEncoder").new_();
  return encoder;
}

}  // namespace

std::uint64_t changeCount() { return gChangeCount; }
void noteChange() { ++gChangeCount; }

val textOf(std::string_view text) {
  static const val decoder = val::global("TextDecoder").new_();
  return decoder.call<val>("decode", val(emscripten::typed_memory_view(
                                          text.size(), reinterpret_cast<const unsigned char*>(text.data()))));
}

std::string stringOf(const val& text) {
  if (!text.isString()) return {};
  return bytesOf(textEncoder().call<val>("encode", text));
}

void forEachPieceOf(const val& text, const std::function<void(std::string_view)>& piece) {
  if (!text.isString()) return;
  // A UTF-16 unit takes at most three bytes of UTF-8 (a pair of them four), so a part of this many
  // units always fits the buffer whole.
  constexpr int kUnits = 8 * 1024;
  std::string buffer(3 * kUnits, '\0');
  const int length = text["length"].as<int>();
  for (int at = 0; at < length;) {
    int end = std::min(length, at + kUnits);
    if (end < length) {
      const int last = text.call<int>("charCodeAt", end - 1);
      if (last >= 0xD800 && last <= 0xDBFF) --end;  // the first half of a pair waits for its second
    }
    const val done = textEncoder().call<val>(
        "encodeInto", text.call<val>("substring", at, end),
        val(emscripten::typed_memory_view(buffer.size(), reinterpret_cast<unsigned char*>(buffer.data()))));
    piece(std::string_view(buffer.data(), done["written"].as<std::size_t>()));
    at = end;
  }
}

TextBuilder::TextBuilder() : decoder_(val::global("TextDecoder").new_()), parts_(val::array()) {}

void TextBuilder::append(std::string_view bytes) {
  if (bytes.empty()) return;
  static const val streaming = [] {
    val options = val::object();
    options.set("stream", true);
    return options;
  }();
  parts_.call<void>("push", decoder_.call<val>("decode",
                                               val(emscripten::typed_memory_view(
                                                   bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()))),
                                               streaming));
}

val TextBuilder::take() {
  parts_.call<void>("push", decoder_.call<val>("decode"));
  const val text = parts_.call<val>("join", std::string());
  parts_ = val::array();
  return text;
}

std::string bytesOf(const val& bytes) {
  const val view = bytes.instanceof(val::global("Uint8Array")) ? bytes : val::global("Uint8Array").new_(bytes);
  std::string out(view["length"].as<std::size_t>(), '\0');
  val(emscripten::typed_memory_view(out.size(), reinterpret_cast<unsigned char*>(out.data())))
      .call<void>("set", view);
  return out;
}

val byteArrayOf(std::string_view bytes) {
  return val::global("Uint8Array")
      .new_(emscripten::typed_memory_view(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data())));
}

val safeCall(const val& target, const char* method, const val& args) {
  val outcome = val::take_ownership(vellmar_dom_safe_call(target.as_handle(), method, args.as_handle()));
  if (!outcome["ok"].as<bool>()) throw ProcedureError(5, outcome["error"].as<std::string>());
  return outcome["value"];
}

void safeSet(const val& target, const char* property, const val& value) {
  val error = val::take_ownership(vellmar_dom_safe_set(target.as_handle(), property, value.as_handle()));
  if (!error.isNull()) throw ProcedureError(5, error.as<std::string>());
}

std::string attributeName(std::string_view propertyName) {
  std::string name = lower(propertyName);
  if (name == "classname") return "class";
  if (name == "htmlfor") return "for";
  if (name == "httpequiv") return "http-equiv";
  return name;
}

// ---- Element --------------------------------------------------------------------------------

std::string Element::tagName() const {
  if (empty()) return {};
  return upper(str(node_["tagName"]));
}

std::string Element::id() const { return str(node_["id"]); }

std::string Element::innerHTML() const { return stringOf(node_["innerHTML"]); }

void Element::setInnerHTML(const std::string& html) { setInnerHTML(textOf(html)); }

void Element::setInnerHTML(const val& html) {
  safeSet(node_, "innerHTML", html);
  noteChange();
}

std::string Element::outerHTML() const { return stringOf(node_["outerHTML"]); }

void Element::setOuterHTML(const std::string& html) {
  if (node_["parentNode"].isNull()) throw ProcedureError(5, "the element is not in the document");
  safeSet(node_, "outerHTML", val(html));
  noteChange();
}

std::string Element::innerText() const { return str(node_["innerText"]); }

std::optional<std::string> Element::getAttribute(std::string_view name, int /*flags*/) const {
  val value = node_.call<val>("getAttribute", attributeName(name));
  if (value.isNull()) return std::nullopt;
  return str(value);
}

std::string Element::attribute(std::string_view name) const {
  return getAttribute(name).value_or(std::string());
}

bool Element::hasAttribute(std::string_view name) const {
  return node_.call<bool>("hasAttribute", attributeName(name));
}

void Element::setAttribute(std::string_view name, std::string_view value, int /*flags*/) {
  call(node_, "setAttribute", attributeName(name), std::string(value));
  noteChange();
}

bool Element::removeAttribute(std::string_view name, int /*flags*/) {
  const std::string attr = attributeName(name);
  if (!node_.call<bool>("hasAttribute", attr)) return false;
  node_.call<void>("removeAttribute", attr);
  noteChange();
  return true;
}

Element Element::parentElement() const {
  if (empty()) return {};
  return Element(node_["parentElement"]);
}

std::vector<Element> Element::children() const {
  std::vector<Element> out;
  const val list = node_["children"];
  const int count = list["length"].as<int>();
  out.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) out.emplace_back(list[i]);
  return out;
}

bool Element::contains(const Element& other) const {
  if (empty() || other.empty()) return false;
  return node_.call<bool>("contains", other.node_);
}

int Element::sourceIndex() const {
  // The document's live list of all elements is kept by the browser; looking the element up in
  // it is one native scan instead of a walk made of single steps.
  const val all = node_["ownerDocument"].call<val>("getElementsByTagName", std::string("*"));
  return val::global("Array")["prototype"]["indexOf"].call<int>("call", all, node_);
}

Style Element::style() const { return Style(node_["style"]); }

ElementCollection Element::tags(std::string_view tagName) const {
  return ElementCollection(node_.call<val>("getElementsByTagName", std::string(tagName)));
}

TextRange Element::createTextRange() const {
  const val document = node_["ownerDocument"];
  val range = document.call<val>("createRange");
  range.call<void>("selectNodeContents", node_);
  return TextRange(document, range);
}

void Element::scrollIntoView(bool alignToTop) const {
  val options = val::object();
  options.set("block", std::string(alignToTop ? "start" : "end"));
  node_.call<void>("scrollIntoView", options);
}

int Element::colSpan() const {
  const val span = node_["colSpan"];
  return span.isNumber() ? std::max(1, span.as<int>()) : 1;
}

void Element::setColSpan(int span) {
  if (span <= 1) {
    removeAttribute("colspan");
  } else {
    setAttribute("colspan", std::to_string(span));
  }
}

int Element::rowSpan() const {
  const val span = node_["rowSpan"];
  return span.isNumber() ? std::max(1, span.as<int>()) : 1;
}

int Element::cellIndex() const { return node_["cellIndex"].as<int>(); }
int Element::rowIndex() const { return node_["rowIndex"].as<int>(); }

// ---- Style ----------------------------------------------------------------------------------

std::string Style::get(std::string_view property) const {
  return str(style_.call<val>("getPropertyValue", std::string(property)));
}

void Style::set(std::string_view property, std::string_view value) {
  call(style_, "setProperty", std::string(property), std::string(value));
  noteChange();
}

void Style::remove(std::string_view property) {
  style_.call<val>("removeProperty", std::string(property));
  noteChange();
}

// ---- ElementCollection ----------------------------------------------------------------------

int ElementCollection::length() const { return list_["length"].as<int>(); }

Element ElementCollection::item(int index) const {
  if (index < 0 || index >= length()) return {};
  return Element(list_[index]);
}

// ---- TextRange ------------------------------------------------------------------------------

TextRange TextRange::duplicate() const {
  return TextRange(document_, range_.call<val>("cloneRange"));
}

bool TextRange::collapsed() const { return range_["collapsed"].as<bool>(); }

void TextRange::collapse(bool toStart) { range_.call<void>("collapse", toStart); }

bool TextRange::expand(std::string_view unitName) {
  const std::string unit = lower(unitName);
  if (unit == "textedit") {
    const val body = document_["body"];
    if (body.isNull()) return false;
    range_.call<void>("selectNodeContents", body);
    return true;
  }
  const val oldStartNode = range_["startContainer"];
  const int oldStart = range_["startOffset"].as<int>();
  const val oldEndNode = range_["endContainer"];
  const int oldEnd = range_["endOffset"].as<int>();
  // The unit that holds the start: its far side, then back to its beginning.
  TextRange start = duplicate();
  start.collapse(true);
  start.moveBoundary(false, unit, 1);
  start.collapse(false);
  start.moveBoundary(true, unit, -1);
  start.collapse(true);
  // The unit that holds the end: its beginning, then forward to its far side.
  TextRange end = duplicate();
  end.collapse(false);
  end.moveBoundary(true, unit, -1);
  end.collapse(true);
  end.moveBoundary(false, unit, 1);
  end.collapse(false);
  val startPoint = start.js();
  val endPoint = end.js();
  // Never shrink: the unit boundaries found may lie inside the old range.
  if (range_.call<int>("compareBoundaryPoints", 0 /*START_TO_START*/, startPoint) < 0) {
    startPoint = range_;
  }
  if (range_.call<int>("compareBoundaryPoints", 2 /*END_TO_END*/, endPoint) > 0) endPoint = range_;
  call(range_, "setStart", startPoint["startContainer"], startPoint["startOffset"]);
  call(range_, "setEnd", endPoint["endContainer"], endPoint["endOffset"]);
  return !(range_["startContainer"].strictlyEquals(oldStartNode) &&
           range_["startOffset"].as<int>() == oldStart &&
           range_["endContainer"].strictlyEquals(oldEndNode) &&
           range_["endOffset"].as<int>() == oldEnd);
}

long TextRange::move(std::string_view unit, long count) {
  // The range collapses to its start and then moves, as the old engine's did.
  collapse(true);
  const long moved = moveBoundary(false, unit, count);
  collapse(false);
  return moved;
}

long TextRange::moveStart(std::string_view unit, long count) { return moveBoundary(true, unit, count); }

long TextRange::moveEnd(std::string_view unit, long count) { return moveBoundary(false, unit, count); }

long TextRange::moveBoundary(bool start, std::string_view unitName, long count) {
  if (count == 0) return 0;
  std::string unit = lower(unitName);
  if (unit == "textedit") {
    const val body = document_["body"];
    val whole = document_.call<val>("createRange");
    whole.call<void>("selectNodeContents", body);
    if (count < 0) {
      call(range_, "setStart", whole["startContainer"], whole["startOffset"]);
      if (!start) range_.call<void>("collapse", true);
    } else {
      call(range_, "setEnd", whole["endContainer"], whole["endOffset"]);
      if (start) range_.call<void>("collapse", false);
    }
    return count < 0 ? -1 : 1;
  }
  if (unit == "sentence") unit = "paragraph";
  if (unit != "character" && unit != "word" && unit != "paragraph") {
    throw ProcedureError(5, "unknown text unit " + std::string(unitName));
  }
  // The browser knows word and paragraph boundaries best, but only through a selection: the
  // boundary is moved as the caret of the document's selection, which is put back afterwards.
  val selection = document_.call<val>("getSelection");
  val saved = selection["rangeCount"].as<int>() > 0 ? selection.call<val>("getRangeAt", 0) : val::null();
  const val node = range_[start ? "startContainer" : "endContainer"];
  const int offset = range_[start ? "startOffset" : "endOffset"].as<int>();
  call(selection, "collapse", node, offset);
  const std::string direction = count < 0 ? "backward" : "forward";
  long moved = 0;
  for (long i = 0; i < std::labs(count); ++i) {
    const val beforeNode = selection["focusNode"];
    const int beforeOffset = selection["focusOffset"].as<int>();
    selection.call<void>("modify", std::string("move"), direction, unit);
    if (unit == "word" && count > 0) {
      // A word moved over takes the blanks after it with it, as in the old engine.
      for (;;) {
        selection.call<void>("modify", std::string("extend"), std::string("forward"),
                             std::string("character"));
        const std::string ahead = str(selection.call<val>("toString"));
        const bool blank = !ahead.empty() && std::all_of(ahead.begin(), ahead.end(), [](char c) {
          return c == ' ' || c == '\t';
        });
        if (blank) {
          selection.call<void>("collapseToEnd");
        } else {
          selection.call<void>("collapseToStart");
          break;
        }
      }
    }
    if (selection["focusNode"].strictlyEquals(beforeNode) &&
        selection["focusOffset"].as<int>() == beforeOffset) {
      break;
    }
    ++moved;
  }
  const val newNode = selection["focusNode"];
  const int newOffset = selection["focusOffset"].as<int>();
  selection.call<void>("removeAllRanges");
  if (!saved.isNull()) selection.call<void>("addRange", saved);
  // A boundary moved past the other one drags it along.
  if (start) {
    call(range_, "setStart", newNode, newOffset);
  } else {
    call(range_, "setEnd", newNode, newOffset);
  }
  return count < 0 ? -moved : moved;
}

std::string TextRange::text() const {
  if (collapsed()) return {};
  const val root = range_["commonAncestorContainer"];
  if (root["nodeType"].as<int>() == kTextNode) {
    return str(root["data"].call<val>("substring", range_["startOffset"], range_["endOffset"]));
  }
  std::string out;
  const val startNode = range_["startContainer"];
  const val endNode = range_["endContainer"];
  val walker = document_.call<val>("createTreeWalker", root, kShowElementAndText);
  for (val node = walker.call<val>("nextNode"); !node.isNull(); node = walker.call<val>("nextNode")) {
    if (!range_.call<bool>("intersectsNode", node)) continue;
    if (node["nodeType"].as<int>() == kTextNode) {
      val data = node["data"];
      if (node.strictlyEquals(startNode) || node.strictlyEquals(endNode)) {
        const val from = node.strictlyEquals(startNode) ? range_["startOffset"] : val(0);
        const val to = node.strictlyEquals(endNode) ? range_["endOffset"] : data["length"];
        data = data.call<val>("substring", from, to);
      }
      appendRenderedText(out, str(data), insidePre(node));
      continue;
    }
    if (node["nodeType"].as<int>() != kElementNode) continue;
    const std::string tag = upper(str(node["tagName"]));
    if (tag == "BR") {
      if (!out.empty() && out.back() == ' ') out.pop_back();
      out += "\r\n";
    } else if (isBlockTag(tag) && !out.empty() && !endsWithLineBreak(out)) {
      if (out.back() == ' ') out.pop_back();
      out += "\r\n";
    }
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

void TextRange::setText(const std::string& text) {
  range_.call<void>("deleteContents");
  // Line breaks in the text become BR elements; everything else stays characters.
  val fragment = document_.call<val>("createDocumentFragment");
  std::size_t begin = 0;
  while (begin <= text.size()) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    std::size_t lineEnd = end;
    if (lineEnd > begin && text[lineEnd - 1] == '\r') --lineEnd;
    if (lineEnd > begin) {
      fragment.call<void>("appendChild",
                          document_.call<val>("createTextNode", text.substr(begin, lineEnd - begin)));
    }
    if (end == text.size()) break;
    fragment.call<void>("appendChild", document_.call<val>("createElement", std::string("br")));
    begin = end + 1;
  }
  const val last = fragment["lastChild"];
  call(range_, "insertNode", fragment);
  if (!last.isNull()) range_.call<void>("setStartAfter", last);
  range_.call<void>("collapse", true);
  noteChange();
}

std::string TextRange::htmlText() const {
  val holder = document_.call<val>("createElement", std::string("div"));
  holder.call<void>("appendChild", range_.call<val>("cloneContents"));
  return str(holder["innerHTML"]);
}

void TextRange::pasteHTML(const std::string& html) {
  range_.call<void>("deleteContents");
  // The fragment is parsed in the edited document, whose frame runs no script: a pasted script
  // or event handler attribute stays inert markup.
  val fragment = call(range_, "createContextualFragment", html);
  const val last = fragment["lastChild"];
  call(range_, "insertNode", fragment);
  if (!last.isNull()) range_.call<void>("setStartAfter", last);
  range_.call<void>("collapse", true);
  noteChange();
}

void TextRange::select() const {
  val selection = document_.call<val>("getSelection");
  selection.call<void>("removeAllRanges");
  selection.call<void>("addRange", range_.call<val>("cloneRange"));
  noteChange();
}

void TextRange::scrollIntoView(bool alignToTop) const {
  val node = range_[alignToTop ? "startContainer" : "endContainer"];
  if (node["nodeType"].as<int>() != kElementNode) node = node["parentElement"];
  if (!node.isNull()) Element(node).scrollIntoView(alignToTop);
}

bool TextRange::isEqual(const TextRange& other) const {
  // Ranges of different documents (an earlier load) compare unequal instead of failing.
  if (!range_["startContainer"]["ownerDocument"].strictlyEquals(
          other.range_["startContainer"]["ownerDocument"])) {
    return false;
  }
  return range_.call<int>("compareBoundaryPoints", 0 /*START_TO_START*/, other.range_) == 0 &&
         range_.call<int>("compareBoundaryPoints", 2 /*END_TO_END*/, other.range_) == 0;
}

bool TextRange::inRange(const TextRange& other) const {
  if (!range_["startContainer"]["ownerDocument"].strictlyEquals(
          other.range_["startContainer"]["ownerDocument"])) {
    return false;
  }
  return range_.call<int>("compareBoundaryPoints", 0 /*START_TO_START*/, other.range_) <= 0 &&
         range_.call<int>("compareBoundaryPoints", 2 /*END_TO_END*/, other.range_) >= 0;
}

Element TextRange::parentElement() const {
  val node = range_["commonAncestorContainer"];
  // A range that exactly spans one element's contents or the element itself belongs to it.
  if (!collapsed() && node["nodeType"].as<int>() == kElementNode &&
      range_["startContainer"].strictlyEquals(node) && range_["endContainer"].strictlyEquals(node) &&
      range_["endOffset"].as<int>() - range_["startOffset"].as<int>() == 1) {
    const val only = node["childNodes"][range_["startOffset"].as<int>()];
    if (only["nodeType"].as<int>() == kElementNode) node = only;
  }
  if (node["nodeType"].as<int>() != kElementNode) node = node["parentElement"];
  return Element(node);
}

// ---- ControlRange ---------------------------------------------------------------------------

Element ControlRange::item(int index) const {
  if (index < 0 || index >= length()) return {};
  return items_[static_cast<std::size_t>(index)];
}

Element ControlRange::commonParentElement() const {
  if (items_.empty()) return {};
  if (items_.size() == 1) return items_.front().parentElement();
  Element parent = items_.front().parentElement();
  while (parent && !std::all_of(items_.begin(), items_.end(),
                                [&](const Element& e) { return parent.contains(e); })) {
    parent = parent.parentElement();
  }
  return parent;
}

void ControlRange::select() const {
  if (items_.empty()) return;
  setControlSelection(document_, items_.front());
}

void ControlRange::scrollIntoView(bool alignToTop) const {
  if (!items_.empty()) items_.front().scrollIntoView(alignToTop);
}

// ---- SelectionObject ------------------------------------------------------------------------

std::string SelectionObject::type() const { return std::string(editing::selectionTypeName(kind())); }

editing::SelectionType SelectionObject::kind() const {
  if (controlSelection(document_)) return editing::SelectionType::Control;
  val selection = document_.call<val>("getSelection");
  if (selection.isNull() || selection["rangeCount"].as<int>() == 0) return editing::SelectionType::None;
  return selection["isCollapsed"].as<bool>() ? editing::SelectionType::None : editing::SelectionType::Text;
}

TextRange SelectionObject::createRange() const {
  val selection = document_.call<val>("getSelection");
  const val body = document_["body"];
  // A selection outside the body (left on the document node when the document was replaced) is no
  // place to type or paste: it counts as none.
  if (!selection.isNull() && selection["rangeCount"].as<int>() > 0) {
    val range = selection.call<val>("getRangeAt", 0);
    if (!body.isNull() && body.call<bool>("contains", range["startContainer"]) &&
        body.call<bool>("contains", range["endContainer"])) {
      return TextRange(document_, range.call<val>("cloneRange"));
    }
  }
  // No selection yet: a caret at the start of the body.
  val range = document_.call<val>("createRange");
  if (!body.isNull()) range.call<void>("setStart", body, 0);
  return TextRange(document_, range);
}

ControlRange SelectionObject::createControlRange() const {
  std::vector<Element> items;
  if (Element control = controlSelection(document_)) items.push_back(control);
  return ControlRange(document_, std::move(items));
}

void SelectionObject::empty() const {
  setControlSelection(document_, Element());
  val selection = document_.call<val>("getSelection");
  if (!selection.isNull()) selection.call<void>("removeAllRanges");
  noteChange();
}

// ---- Document -------------------------------------------------------------------------------

Element Document::body() const { return Element(document_["body"]); }

Element Document::documentElement() const { return Element(document_["documentElement"]); }

Element Document::getElementById(std::string_view id) const {
  return Element(document_.call<val>("getElementById", std::string(id)));
}

Element Document::createElement(std::string_view tagName) const {
  return Element(call(document_, "createElement", std::string(tagName)));
}

ElementCollection Document::allTags(std::string_view tagName) const {
  return ElementCollection(document_.call<val>("getElementsByTagName", std::string(tagName)));
}

ElementCollection Document::all() const { return allTags("*"); }

// Every linked or embedded style sheet counts from the moment its element is there, loaded or
// not: a sheet still on its way (or one that failed) must not look like a missing one.
int Document::styleSheetsLength() const {
  return document_.call<val>("querySelectorAll", std::string("link[rel~=stylesheet i], style"))["length"].as<int>();
}

void Document::createStyleSheet(const std::string& url, int index) const {
  val head = document_["head"];
  if (head.isNull()) {
    head = document_.call<val>("createElement", std::string("head"));
    document_["documentElement"].call<void>("insertBefore", head,
                                            document_["documentElement"]["firstChild"]);
  }
  val link = document_.call<val>("createElement", std::string("link"));
  link.call<void>("setAttribute", std::string("rel"), std::string("stylesheet"));
  link.call<void>("setAttribute", std::string("type"), std::string("text/css"));
  call(link, "setAttribute", std::string("href"), url);
  // Style sheets are the LINK and STYLE elements of the head, in order; `index` counts them.
  const val sheets = head.call<val>("querySelectorAll", std::string("link[rel~=stylesheet i], style"));
  const int count = sheets["length"].as<int>();
  if (index < 0 || index >= count) {
    head.call<void>("appendChild", link);
  } else {
    head.call<void>("insertBefore", link, sheets[index]);
  }
}

void Document::scroll(int x, int y) const {
  const val window = document_["defaultView"];
  if (!window.isNull()) window.call<void>("scrollTo", x, y);
}

// ---- control selection record ---------------------------------------------------------------

// The record lives on the document object itself (never in its markup): the element and the
// selection boundaries that selecting it produced. Once the document's selection has moved away
// from those boundaries the element is no longer selected.
Element controlSelection(const val& constDocument) {
  val document = constDocument;
  const val record = document["vellmarControlSelection"];
  if (record.isUndefined() || record.isNull()) return {};
  const val element = record["element"];
  val selection = document.call<val>("getSelection");
  const bool still = !element["parentNode"].isNull() && !selection.isNull() &&
                     selection["rangeCount"].as<int>() > 0 &&
                     selection["anchorNode"].strictlyEquals(record["anchorNode"]) &&
                     selection["anchorOffset"].strictlyEquals(record["anchorOffset"]) &&
                     selection["focusNode"].strictlyEquals(record["focusNode"]) &&
                     selection["focusOffset"].strictlyEquals(record["focusOffset"]);
  if (!still) {
    document.set("vellmarControlSelection", val::null());
    return {};
  }
  return Element(element);
}

void setControlSelection(const val& constDocument, const Element& element) {
  val document = constDocument;
  noteChange();
  if (element.empty()) {
    document.set("vellmarControlSelection", val::null());
    return;
  }
  val selection = document.call<val>("getSelection");
  val range = document.call<val>("createRange");
  call(range, "selectNode", element.js());
  selection.call<void>("removeAllRanges");
  selection.call<void>("addRange", range);
  val record = val::object();
  record.set("element", element.js());
  record.set("anchorNode", selection["anchorNode"]);
  record.set("anchorOffset", selection["anchorOffset"]);
  record.set("focusNode", selection["focusNode"]);
  record.set("focusOffset", selection["focusOffset"]);
  document.set("vellmarControlSelection", record);
}

void focus(const val& element) {
  if (element.isNull() || element.isUndefined()) return;
  if (element["tagName"].as<std::string>() != "IFRAME") {
    element.call<void>("focus");
    return;
  }
  const val window = element["contentWindow"];
  if (window.isNull()) return;
  window.call<void>("focus");
  const val document = element["contentDocument"];
  if (document.isNull() || document["designMode"].as<std::string>() != "on") return;
  // Focusing the body as well makes the frame take keys again; the selection stays as it was,
  // and so does a format chosen for the next characters typed (setting the selection anew would
  // drop that).
  const val body = document["body"];
  if (!body.isNull()) body.call<void>("focus");
}

}  // namespace vellmar::browser::dom
