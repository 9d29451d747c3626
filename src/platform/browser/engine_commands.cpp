// The engine's commands: what each DECMD identifier does, and what status it reports where the
// caret stands.
#include <emscripten/em_js.h>
#include <emscripten/em_macros.h>
#include <emscripten/val.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>

#include "common/diagnostics.h"
#include "editing/formats.h"
#include "platform/browser/engine.h"
#include "platform/browser/engine_undo.h"

using JsHandle = emscripten::EM_VAL;

// Reads the clipboard (HTML preferred, else text) and reports {html, text} to `done`, or null
// when the page may not read it.
EM_JS(void, vellmar_engine_read_clipboard, (JsHandle done), {
  var report = Emval.toValue(done);
  if (!navigator.clipboard || !navigator.clipboard.read) { report(null); return; }
  navigator.clipboard.read().then(function(items) {
    for (var i = 0; i < items.length; i++) {
      if (items[i].types.indexOf("text/html") >= 0) {
        return items[i].getType("text/html").then(function(b) { return b.text(); })
            .then(function(html) { return {html : html}; });
      }
    }
    for (var j = 0; j < items.length; j++) {
      if (items[j].types.indexOf("text/plain") >= 0) {
        return items[j].getType("text/plain").then(function(b) { return b.text(); })
            .then(function(text) { return {text : text}; });
      }
    }
    return null;
  }).then(report, function() { report(null); });
});

namespace vellmar::browser {

using editing::Decmd;
using editing::SelectionType;

namespace {


constexpr std::int32_t kStatusNotSupported = editing::statusNumber(editing::CommandStatus::NotSupported);
constexpr std::int32_t kStatusDisabled = editing::statusNumber(editing::CommandStatus::Disabled);
constexpr std::int32_t kStatusEnabled = editing::statusNumber(editing::CommandStatus::Enabled);
constexpr std::int32_t kStatusLatched = editing::statusNumber(editing::CommandStatus::Latched);
constexpr std::int32_t kStatusNinched = editing::statusNumber(editing::CommandStatus::Ninched);

std::string trim(const std::string& text) {
  const auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return {};
  const auto end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

std::string escapeAttribute(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

// Names the old engine gave blocks it could report but not set.
struct ReportedBlock {
  const char* name;
  const char* tag;
};
constexpr ReportedBlock kReportedOnly[] = {
    {"Normal (DIV)", "DIV"}, {"Definition Term", "DT"}, {"Definition", "DD"},
};

std::string escapeText(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string textValue(const CommandValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<double>(&value)) {
    char buffer[32];
    if (std::floor(*number) == *number) {
      std::snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(*number));
    } else {
      std::snprintf(buffer, sizeof buffer, "%g", *number);
    }
    return buffer;
  }
  return {};
}

std::string colourText(const std::string& css) { return editing::colourTextFromCss(css); }

// The first family of a font list, without quotes: "'Times New Roman', serif" gives
// "Times New Roman".
std::string firstFamily(const std::string& list) {
  std::string family = trim(list.substr(0, list.find(',')));
  if (family.size() >= 2 && (family.front() == '"' || family.front() == '\'') &&
      family.back() == family.front()) {
    family = family.substr(1, family.size() - 2);
  }
  return family;
}

}  // namespace


const Engine::Context& Engine::context() {
  const std::uint64_t stamp = generation_ + dom::changeCount();
  if (caching_ && context_ && stamp == contextGeneration_) return *context_;
  auto context = std::make_unique<Context>();
  const dom::Document document(document_);
  const dom::Element body = document.body();
  const dom::SelectionObject selection = document.selection();
  context->type = selection.kind();
  val native = document_.call<val>("getSelection");
  if (body && !native.isNull() && native["rangeCount"].as<int>() > 0) {
    context->range = native.call<val>("getRangeAt", 0);
    const val container = context->range["commonAncestorContainer"];
    context->editable = body.js().call<bool>("contains", container);
  }
  if (context->editable) {
    if (context->type == SelectionType::Control) {
      context->control = selection.createControlRange().item(0);
      context->start = context->control;
    } else {
      dom::TextRange caret(document_, context->range.call<val>("cloneRange"));
      caret.collapse(true);
      context->start = caret.parentElement();
    }
    // One walk up to the body finds both the cell and the link.
    for (dom::Element e = context->type == SelectionType::Control ? context->start.parentElement() : context->start;
         e && !(e == body); e = e.parentElement()) {
      const std::string tag = e.tagName();
      if (!context->cell && (tag == "TD" || tag == "TH")) context->cell = e;
      if (!context->link && tag == "A" && e.hasAttribute("href")) context->link = e;
      if (context->list.empty() && (tag == "OL" || tag == "UL")) context->list = tag;
    }
  }
  if (context->type == SelectionType::None && !typingStyleAt_.isNull()) {
    context->typingStyle = sameSelection(selectionSnapshot(), typingStyleAt_);
  }
  context_ = std::move(context);
  contextGeneration_ = stamp;
  return *context_;
}

bool Engine::browserCommand(Decmd id, const std::string& value) {
  return runBrowserCommand(std::string(editing::browserCommandName(id)), value);
}

bool Engine::runBrowserCommand(const std::string& name, const std::string& value) {
  const bool done = dom::call(document_, "execCommand", name, false, value).as<bool>();
  dom::noteChange();
  return done;
}

bool Engine::caretState(Decmd id) {
  Context& ctx = const_cast<Context&>(context());
  if (!ctx.start) return false;
  if (!ctx.caretRead) {
    ctx.caretRead = true;
    const val view = document_["defaultView"];
    const val body = document_["body"];
    const val style = view.call<val>("getComputedStyle", ctx.start.js());
    const std::string weight = style["fontWeight"].as<std::string>();
    ctx.bold = weight == "bold" || weight == "bolder" || std::atoi(weight.c_str()) >= 600;
    const std::string slant = style["fontStyle"].as<std::string>();
    ctx.italic = slant == "italic" || slant == "oblique";
    ctx.align = style["textAlign"].as<std::string>();
    // Underlining is drawn by an ancestor and not inherited as a computed value.
    for (val e = ctx.start.js(); !e.isNull() && !e.strictlyEquals(body) && !ctx.underline; e = e["parentElement"]) {
      const std::string line = view.call<val>("getComputedStyle", e)["textDecorationLine"].as<std::string>();
      ctx.underline = line.find("underline") != std::string::npos;
    }
  }
  const std::string& align = ctx.align;
  switch (id) {
    case Decmd::Bold: return ctx.bold;
    case Decmd::Italic: return ctx.italic;
    case Decmd::Underline: return ctx.underline;
    case Decmd::JustifyCenter: return align == "center" || align == "-webkit-center";
    case Decmd::JustifyRight: return align == "right" || align == "-webkit-right" || align == "end";
    case Decmd::JustifyLeft:
      return align == "left" || align == "start" || align == "-webkit-left" || align == "justify";
    case Decmd::OrderList: return ctx.list == "OL";
    case Decmd::UnorderList: return ctx.list == "UL";
    default: return false;
  }
}

std::int32_t Engine::toggleStatus(Decmd id) {
  const std::string browserName(editing::browserCommandName(id));
  const Context& ctx = context();
  if (!ctx.editable) return kStatusDisabled;
  const bool characterStyle = id == Decmd::Bold || id == Decmd::Italic || id == Decmd::Underline;
  if (characterStyle && ctx.type == SelectionType::Control) return kStatusDisabled;
  // At a caret the state is read from the computed style where the caret stands: asking the
  // browser costs a layout per question, several times the whole display change on a long
  // document. Only right after a style command at this very caret (the browser then holds a
  // style for the next typed character that no element shows yet) is the browser asked.
  if (ctx.type == SelectionType::None && !(characterStyle && ctx.typingStyle)) {
    return caretState(id) ? kStatusLatched : kStatusEnabled;
  }
  if (document_.call<bool>("queryCommandState", browserName)) return kStatusLatched;
  if (!characterStyle || ctx.type != SelectionType::Text) return kStatusEnabled;
  // Not the whole selection has the style: if some of its text has, the state is mixed.
  const val view = document_["defaultView"];
  const val body = document_["body"];
  val walker = document_.call<val>("createTreeWalker", ctx.range["commonAncestorContainer"], 4 /*text*/);
  int inspected = 0;
  for (val node = walker.call<val>("nextNode"); !node.isNull() && inspected < 2000;
       node = walker.call<val>("nextNode")) {
    if (!ctx.range.call<bool>("intersectsNode", node)) continue;
    if (trim(node["data"].as<std::string>()).empty()) continue;
    ++inspected;
    val element = node["parentElement"];
    const val style = view.call<val>("getComputedStyle", element);
    if (id == Decmd::Bold) {
      const std::string weight = style["fontWeight"].as<std::string>();
      if (weight == "bold" || weight == "bolder" || std::atoi(weight.c_str()) >= 600) return kStatusNinched;
    } else if (id == Decmd::Italic) {
      const std::string slant = style["fontStyle"].as<std::string>();
      if (slant == "italic" || slant == "oblique") return kStatusNinched;
    } else {
      // Underlining is drawn by an ancestor and not inherited as a computed value.
      for (val e = element; !e.isNull() && !e.strictlyEquals(body); e = e["parentElement"]) {
        const std::string line =
            view.call<val>("getComputedStyle", e)["textDecorationLine"].as<std::string>();
        if (line.find("underline") != std::string::npos) return kStatusNinched;
      }
    }
  }
  return kStatusEnabled;
}

std::int32_t Engine::QueryStatus(std::int32_t command) {
  const auto id = editing::decmdFromNumber(command);
  if (!id) return kStatusNotSupported;
  // The tracker asks for some forty statuses per display change, several twice; answers are
  // kept while neither the document nor the selection changed.
  const std::uint64_t stamp = generation_ + dom::changeCount();
  const int slot = command - 5000;
  if (stamp != statusGeneration_) {
    std::fill(std::begin(statusCache_), std::end(statusCache_), -1);
    statusGeneration_ = stamp;
  }
  if (caching_ && slot >= 0 && slot < 64 && statusCache_[slot] >= 0) return statusCache_[slot];
  std::int32_t result = kStatusDisabled;
  // A document whose frame left the page (until reattach moves it into the new one) has no
  // window to compute styles with: nothing can be done in it.
  if (document_.isNull() || document_["defaultView"].isNull()) return result;
  guarded("QueryStatus", [&] { result = status(*id); });
  if (slot >= 0 && slot < 64) statusCache_[slot] = result;
  return result;
}

std::int32_t Engine::status(Decmd id) {
  const Context& ctx = context();
  const bool text = ctx.editable && ctx.type != SelectionType::Control;
  switch (id) {
    case Decmd::Bold:
    case Decmd::Italic:
    case Decmd::Underline:
    case Decmd::JustifyLeft:
    case Decmd::JustifyCenter:
    case Decmd::JustifyRight:
    case Decmd::OrderList:
    case Decmd::UnorderList:
      return toggleStatus(id);
    case Decmd::Indent:
    case Decmd::Outdent:
    case Decmd::Paste:
    case Decmd::Image:
    case Decmd::InsertTable:
    case Decmd::Hyperlink:
      return ctx.editable ? kStatusEnabled : kStatusDisabled;
    case Decmd::Cut:
    case Decmd::Copy:
    case Decmd::Delete:
      return ctx.editable && ctx.type != SelectionType::None ? kStatusEnabled : kStatusDisabled;
    case Decmd::SelectAll:
    case Decmd::FindText:
      return document_["body"].isNull() ? kStatusDisabled : kStatusEnabled;
    case Decmd::Undo: return history_->canUndo() ? kStatusEnabled : kStatusDisabled;
    case Decmd::Redo: return history_->canRedo() ? kStatusEnabled : kStatusDisabled;
    case Decmd::Unlink: {
      if (!ctx.editable) return kStatusDisabled;
      if (ctx.link) return kStatusEnabled;
      if (ctx.type == SelectionType::None) return kStatusDisabled;
      // A selection that takes in any link can be unlinked.
      const val links = document_["links"];
      for (int i = 0, n = links["length"].as<int>(); i < n; ++i) {
        if (ctx.range.call<bool>("intersectsNode", links[i])) return kStatusEnabled;
      }
      return kStatusDisabled;
    }
    case Decmd::RemoveFormat:
    case Decmd::SetBlockFmt:
    case Decmd::GetBlockFmt:
    case Decmd::SetFontName:
    case Decmd::GetFontName:
    case Decmd::SetFontSize:
    case Decmd::GetFontSize:
    case Decmd::SetForeColor:
    case Decmd::GetForeColor:
    case Decmd::SetBackColor:
    case Decmd::GetBackColor:
      return text ? kStatusEnabled : kStatusDisabled;
    // Table structure needs the caret in a table cell.
    case Decmd::InsertRow:
    case Decmd::InsertCol:
    case Decmd::DeleteRows:
    case Decmd::DeleteCols:
      return ctx.cell ? kStatusEnabled : kStatusDisabled;
    case Decmd::MergeCells: return canMergeCells() ? kStatusEnabled : kStatusDisabled;
    case Decmd::SplitCell: return canSplitCell() ? kStatusEnabled : kStatusDisabled;
    default:
      return kStatusNotSupported;
  }
}

std::string Engine::ExecCommand(std::int32_t command, std::int32_t /*option*/, const CommandValue& value) {
  const auto id = editing::decmdFromNumber(command);
  const bool reading = id && (*id == Decmd::GetBlockFmt || *id == Decmd::GetBlockFmtNames ||
                              *id == Decmd::GetFontName || *id == Decmd::GetFontSize ||
                              *id == Decmd::GetForeColor || *id == Decmd::GetBackColor);
  // A command acts where the caret is: one still waiting for the first paint goes there first.
  if (id && !reading) settleCaret();
  const std::int32_t state = id ? status(*id) : kStatusNotSupported;
  if (state == kStatusNotSupported) {
    throw ProcedureError(438, "Command " + std::to_string(command) + " is not supported");
  }
  if (state == kStatusDisabled) {
    throw ProcedureError(-2147467259, "Command " + std::string(editing::decmdName(*id)) + " is disabled");
  }
  // The GET commands only read: they neither close an undo step nor count as a change (the
  // selection tracker reads them on every display change, between the keys of a typing burst).
  if (reading) return execute(*id, value);
  // Everything before this command is a step of its own; what the command and any direct
  // changes right after it do, until the next user action, is one step.
  if (*id != Decmd::Undo && *id != Decmd::Redo) {
    history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
  }
  std::string result = execute(*id, value);
  noteChange(true);
  return result;
}

std::string Engine::execute(Decmd id, const CommandValue& value) {
  const std::string text = textValue(value);
  switch (id) {
    case Decmd::Bold:
    case Decmd::Italic:
    case Decmd::Underline:
      browserCommand(id);
      typingStyleAt_ = selectionSnapshot();
      break;
    case Decmd::JustifyLeft:
    case Decmd::JustifyCenter:
    case Decmd::JustifyRight:
    case Decmd::Indent:
    case Decmd::Outdent:
    case Decmd::RemoveFormat:
    case Decmd::Delete:
      browserCommand(id);
      break;
    case Decmd::OrderList:
    case Decmd::UnorderList: {
      browserCommand(id);
      // The browser can leave the new list inside the paragraph it came from, which no parser
      // would ever build; a paragraph holding nothing but the list gives way to it.
      const val wrapped = document_["body"].call<val>("querySelectorAll", std::string("p > ul, p > ol"));
      // Moving the list would drop a selection inside it; the selection is put back after.
      const val kept = selectionSnapshot();
      for (int i = 0, n = wrapped["length"].as<int>(); i < n; ++i) {
        val list = wrapped[i];
        val paragraph = list["parentNode"];
        const std::string rest = paragraph["textContent"].as<std::string>().size() ==
                                         list["textContent"].as<std::string>().size()
                                     ? ""
                                     : "text";
        if (rest.empty() && paragraph["children"]["length"].as<int>() == 1) {
          paragraph["parentNode"].call<val>("replaceChild", list, paragraph);
        }
      }
      if (wrapped["length"].as<int>() > 0 && !kept.isNull()) {
        dom::call(document_.call<val>("getSelection"), "setBaseAndExtent", kept["anchorNode"],
                  kept["anchorOffset"], kept["focusNode"], kept["focusOffset"]);
      }
      break;
    }
    case Decmd::SelectAll:
      dom::setControlSelection(document_, dom::Element());
      browserCommand(id);
      break;
    case Decmd::Cut: clipboardWrite(true); break;
    case Decmd::Copy: clipboardWrite(false); break;
    case Decmd::Paste: paste(); break;
    case Decmd::FindText: openFind(); break;
    case Decmd::Undo:
    case Decmd::Redo: {
      const val snapshot = selectionSnapshot();
      const val restore = id == Decmd::Undo ? history_->undo(snapshot) : history_->redo(snapshot);
      ++contentVersion_;
      dom::setControlSelection(document_, dom::Element());
      if (!restore.isNull() && restore["anchorNode"]["isConnected"].as<bool>() &&
          restore["focusNode"]["isConnected"].as<bool>()) {
        val selection = document_.call<val>("getSelection");
        guarded(id == Decmd::Undo ? "undo" : "redo", [&] {
          dom::call(selection, "setBaseAndExtent", restore["anchorNode"], restore["anchorOffset"],
                    restore["focusNode"], restore["focusOffset"]);
        });
      }
      break;
    }
    case Decmd::SetBlockFmt: {
      const editing::BlockFormatEntry* format = editing::findBlockFormat(text);
      if (!format) throw ProcedureError(5, "Unknown block format " + text);
      browserCommand(id, "<" + std::string(format->tag) + ">");
      break;
    }
    case Decmd::SetFontName:
      if (text.empty()) throw ProcedureError(5, "No font name");
      browserCommand(id, text);
      break;
    case Decmd::SetFontSize: {
      const int size = std::atoi(text.c_str());
      if (size < 1 || size > 7) throw ProcedureError(5, "Font size " + text + " is not 1 to 7");
      browserCommand(id, std::to_string(size));
      break;
    }
    case Decmd::SetForeColor:
    case Decmd::SetBackColor:
      browserCommand(id, text);
      break;
    case Decmd::GetBlockFmt: return blockFormatName();
    case Decmd::GetFontName: return fontName();
    case Decmd::GetFontSize: return fontSize();
    case Decmd::GetForeColor: return foreColor();
    case Decmd::GetBackColor:
      return colourText(document_.call<val>("queryCommandValue", std::string(editing::browserCommandName(Decmd::GetBackColor))).as<std::string>());
    case Decmd::Hyperlink:
      if (text.empty()) throw ProcedureError(5, "No address for the link");
      createLink(text);
      break;
    case Decmd::Unlink: unlink(); break;
    case Decmd::Image:
      if (text.empty()) throw ProcedureError(5, "No image address");
      insertImage(text);
      break;
    case Decmd::InsertTable: {
      const auto* param = std::get_if<InsertTableParam>(&value);
      if (!param) throw ProcedureError(13, "The table parameters are missing");
      insertTable(*param);
      break;
    }
    case Decmd::InsertRow: insertRow(); break;
    case Decmd::InsertCol: insertColumn(); break;
    case Decmd::DeleteRows: deleteRows(); break;
    case Decmd::DeleteCols: deleteColumns(); break;
    case Decmd::MergeCells: mergeCells(); break;
    case Decmd::SplitCell: splitCell(); break;
    default:
      throw ProcedureError(438, "Command " + std::string(editing::decmdName(id)) + " is not supported");
  }
  return {};
}

// ---- the GET commands: values in the forms the selection tracker compares ---------------------

std::string Engine::blockFormatName() const {
  const dom::Element body = dom::Document(document_).body();
  const Context& ctx = const_cast<Engine*>(this)->context();
  for (dom::Element e = ctx.start; e && !(e == body); e = e.parentElement()) {
    const std::string tag = e.tagName();
    if (const editing::BlockFormatEntry* format = editing::findBlockFormat(tag); format && format->tag == tag) {
      return std::string(format->name);
    }
    if (tag == "LI") {
      const dom::Element list = e.parentElement();
      return list && list.tagName() == "OL" ? "Numbered List" : "Bulleted List";
    }
    for (const auto& format : kReportedOnly) {
      if (tag == format.tag) return format.name;
    }
    if (tag == "TD" || tag == "TH" || tag == "BLOCKQUOTE") break;
  }
  return "Normal";
}

std::string Engine::fontName() const {
  const dom::Element body = dom::Document(document_).body();
  const Context& ctx = const_cast<Engine*>(this)->context();
  for (dom::Element e = ctx.start; e && !(e == body); e = e.parentElement()) {
    if (e.tagName() == "FONT") {
      const auto face = e.getAttribute("face");
      if (face && !trim(*face).empty()) return firstFamily(*face);
    }
  }
  if (!ctx.start) return {};
  const val style = document_["defaultView"].call<val>("getComputedStyle", ctx.start.js());
  return firstFamily(style["fontFamily"].as<std::string>());
}

std::string Engine::fontSize() const {
  const dom::Element body = dom::Document(document_).body();
  const Context& ctx = const_cast<Engine*>(this)->context();
  for (dom::Element e = ctx.start; e && !(e == body); e = e.parentElement()) {
    if (e.tagName() != "FONT") continue;
    const std::string size = trim(e.attribute("size"));
    if (size.empty()) continue;
    // Relative sizes count from the default size 3.
    int value = std::atoi(size.c_str());
    if (size[0] == '+' || size[0] == '-') value += 3;
    return std::to_string(std::clamp(value, 1, 7));
  }
  return document_.call<val>("queryCommandValue", std::string("fontSize")).as<std::string>();
}

std::string Engine::foreColor() const {
  const dom::Element body = dom::Document(document_).body();
  const Context& ctx = const_cast<Engine*>(this)->context();
  for (dom::Element e = ctx.start; e && !(e == body); e = e.parentElement()) {
    if (e.tagName() == "FONT" && !trim(e.attribute("color")).empty()) return colourText(e.attribute("color"));
  }
  if (!ctx.start) return {};
  const val style = document_["defaultView"].call<val>("getComputedStyle", ctx.start.js());
  return colourText(style["color"].as<std::string>());
}

// ---- links, images, clipboard -----------------------------------------------------------------

void Engine::createLink(const std::string& url) {
  const Context& ctx = context();
  // The caret (or a selection) inside one link changes that link's address.
  if (ctx.link && ctx.type != SelectionType::Control) {
    val end = ctx.range["endContainer"];
    if (ctx.link.js().call<bool>("contains", end)) {
      dom::Element(ctx.link).setAttribute("href", url);
      return;
    }
  }
  // Otherwise the selection becomes a link. At a caret the address itself becomes the link's
  // text, and that text is left selected, so that the editor can go on with the new link.
  if (ctx.type == SelectionType::None) {
    const val inserted =
        insertMarkup("<a href=\"" + escapeAttribute(url) + "\">" + escapeText(url) + "</a>");
    const val anchor = inserted["first"];
    if (!anchor.isNull() && anchor["nodeType"].as<int>() == 1) {
      val range = document_.call<val>("createRange");
      range.call<void>("selectNodeContents", anchor);
      dom::TextRange(document_, range).select();
    }
    return;
  }
  browserCommand(Decmd::Hyperlink, url);
}

void Engine::unlink() {
  const Context& ctx = context();
  if (ctx.link && (ctx.type == SelectionType::None || ctx.link.js().call<bool>("contains", ctx.range["endContainer"]))) {
    // The link goes, its contents stay where it was.
    val link = ctx.link.js();
    val parent = link["parentNode"];
    while (!link["firstChild"].isNull()) parent.call<void>("insertBefore", link["firstChild"], link);
    parent.call<val>("removeChild", link);
    dom::noteChange();
    return;
  }
  browserCommand(Decmd::Unlink);
}

void Engine::insertImage(const std::string& source) {
  const val inserted = insertMarkup("<img src=\"" + escapeAttribute(source) + "\">");
  const dom::Element image(inserted["first"]);
  if (!image || image.tagName() != "IMG") throw ProcedureError(5, "The image was not inserted");
  // The inserted image is left selected as a whole, so the editor can set its attributes.
  selectControl(image);
}

namespace {

bool isBlockElement(const std::string& tag) {
  static const char* const kBlocks[] = {"P",  "DIV", "H1",      "H2",         "H3", "H4", "H5", "H6",
                                        "HR", "UL",  "OL",      "DL",         "PRE", "TABLE", "ADDRESS",
                                        "BLOCKQUOTE", "CENTER", "FORM", "FIELDSET"};
  return std::any_of(std::begin(kBlocks), std::end(kBlocks), [&](const char* b) { return tag == b; });
}

bool isSplittableBlock(const std::string& tag) {
  return tag == "P" || tag == "ADDRESS" || tag == "PRE" ||
         (tag.size() == 2 && tag[0] == 'H' && tag[1] >= '1' && tag[1] <= '6');
}

// True when a block holds nothing worth keeping (no text, no object, no line break or anchor).
bool emptyBlock(const val& block) {
  const std::string text = block["textContent"].as<std::string>();
  return text.find_first_not_of(" \t\r\n\xC2\xA0") == std::string::npos &&
         block.call<val>("querySelector", std::string("img,hr,table,input,object,iframe,br,a[name]")).isNull();
}

// Removes the inline elements below `block` that hold nothing at all (no text, no object, no line
// break), innermost first.
void pruneEmptyInline(const val& block) {
  const val all = block.call<val>("querySelectorAll", std::string("*"));
  for (int i = all["length"].as<int>() - 1; i >= 0; --i) {
    const val element = all[i];
    const std::string tag = element["tagName"].as<std::string>();
    if (isBlockElement(tag) || tag == "BR" || tag == "IMG" || tag == "INPUT" || tag == "IFRAME" ||
        tag == "OBJECT" || tag == "TD" || tag == "TH" || tag == "TR" || tag == "LI") {
      continue;
    }
    if (element["childNodes"]["length"].as<int>() == 0 && !element.call<bool>("hasAttribute", std::string("name"))) {
      element.call<void>("remove");
    }
  }
}

}  // namespace

val Engine::insertMarkup(const std::string& html) {
  settleCaret();
  const Context& ctx = context();
  if (!ctx.editable) throw ProcedureError(5, "There is no selection in the document");
  val range = ctx.range.call<val>("cloneRange");
  if (ctx.type == SelectionType::Control) {
    range.call<void>("selectNode", ctx.control.js());
    dom::setControlSelection(document_, dom::Element());
  }
  dom::call(range, "deleteContents");
  // Parsed in the edited document, whose frame runs no script: a script or an event handler
  // attribute in the markup stays inert.
  val fragment = dom::call(range, "createContextualFragment", html);
  val result = val::object();
  result.set("first", fragment["firstChild"]);
  result.set("last", fragment["lastChild"]);
  const val last = fragment["lastChild"];
  if (last.isNull()) {
    // Nothing to put in: the selection is only taken away.
    dom::noteChange();
    return result;
  }

  // Block elements cannot stand inside a paragraph, heading, address or preformatted block: such a
  // block is split at the selection and the markup goes between the halves; a half left empty goes.
  bool blocks = false;
  for (val child = fragment["firstElementChild"]; !child.isNull() && !blocks; child = child["nextElementSibling"]) {
    blocks = isBlockElement(child["tagName"].as<std::string>());
  }
  const val body = document_["body"];
  val block = val::null();
  if (blocks) {
    val node = range["startContainer"];
    for (val e = node["nodeType"].as<int>() == 1 ? node : node["parentElement"];
         !e.isNull() && !e.strictlyEquals(body); e = e["parentElement"]) {
      const std::string tag = e["tagName"].as<std::string>();
      if (isSplittableBlock(tag)) {
        block = e;
        break;
      }
      if (tag == "TD" || tag == "TH" || tag == "LI" || tag == "DIV" || tag == "BLOCKQUOTE") break;
    }
  }
  if (!block.isNull()) {
    val tail = range.call<val>("cloneRange");
    dom::call(tail, "setEndAfter", block);
    val rest = dom::call(tail, "extractContents");
    const val restBlock = rest["firstElementChild"];
    val parent = block["parentNode"];
    dom::call(parent, "insertBefore", fragment, block["nextSibling"]);
    dom::call(parent, "insertBefore", rest, last["nextSibling"]);
    // The split leaves the inline elements it cut through behind, empty, at the cut.
    pruneEmptyInline(block);
    if (!restBlock.isNull()) pruneEmptyInline(restBlock);
    if (emptyBlock(block)) block.call<void>("remove");
    if (!restBlock.isNull() && emptyBlock(restBlock)) restBlock.call<void>("remove");
  } else {
    dom::call(range, "insertNode", fragment);
  }
  dom::noteChange();
  // The caret goes after what was inserted: into the second half of a split block, if any.
  val caret = document_.call<val>("createRange");
  if (!block.isNull() && !last.isNull() && !last["nextSibling"].isNull() &&
      last["nextSibling"]["nodeType"].as<int>() == 1 && isSplittableBlock(last["nextSibling"]["tagName"].as<std::string>())) {
    caret.call<void>("setStart", last["nextSibling"], 0);
    caret.call<void>("collapse", true);
    dom::TextRange(document_, caret).select();
  } else if (!last.isNull() && last["isConnected"].as<bool>()) {
    caret.call<void>("setStartAfter", last);
    caret.call<void>("collapse", true);
    dom::TextRange(document_, caret).select();
  }
  return result;
}

void Engine::paste() {
  if (browserCommand(Decmd::Paste)) return;
  // A page may not paste through the editing command; the clipboard is read instead and its
  // content inserted when it arrives.
  vellmar_engine_read_clipboard(once(kPasteDone).as_handle());
}

void Engine::clipboardWrite(bool cut) {
  if (browserCommand(cut ? Decmd::Cut : Decmd::Copy)) return;
  const val selection = document_.call<val>("getSelection");
  const val clipboard = val::global("navigator")["clipboard"];
  if (!clipboard.isUndefined()) {
    clipboard.call<val>("writeText", selection.call<val>("toString"))
        .call<val>("catch", once(kIgnore));
  }
  if (cut) browserCommand(Decmd::Delete);
}

}  // namespace vellmar::browser
