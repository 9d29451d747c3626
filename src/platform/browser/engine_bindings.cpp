// The engine's bindings to JavaScript: the entry point of the browser's events, and the engine's
// test and integration surface.
//
// The surface is `element.vellmarEngine` on the editor's page element (one per editor):
//   execCommand(id, option, value) -> the command's answer (text), or null when it failed (the
//                                     failure text is then in lastError). A value may be a text,
//                                     a number or {NumRows, NumCols, TableAttrs, CellAttrs,
//                                     Caption} for DECMD_INSERTTABLE.
//   queryStatus(id)                -> 0, 1, 3, 7 or 11
//   documentHTML                   (get/set) the whole document's markup
//   bodyHTML                       (get) the body's inner HTML
//   selectionType()                -> "None", "Text" or "Control"
//   selectedElementTag()           -> tag of the element selected as a whole, or ""
//   events()                       -> every event raised so far: {type, x, y, index, time}
//   clearEvents()
//   on(type, handler)              a JavaScript handler called after the editor's own for
//                                  DocumentComplete, DisplayChanged, ShowContextMenu(x, y),
//                                  ContextMenuAction(index), onclick, ondblclick
//   setContextMenu(captions, states)
//   document()                     the edited document (for direct changes, as the editor makes)
//   busy, visualAids, baseURL, styleSheetsLength(), createStyleSheet(url, index), focus()
//   Text ranges over the selection, as the editor uses them: expandSelection(unit),
//   moveSelection(unit, count), moveSelectionStart/End(unit, count), selectionText(),
//   setSelectionText(text), pasteHTML(html), selectionParentTag().
#include <emscripten/bind.h>

#include "common/diagnostics.h"
#include "editing/decmd.h"
#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

CommandValue commandValue(const val& value) {
  if (value.isString()) return value.as<std::string>();
  if (value.isNumber()) return value.as<double>();
  if (value.isNull() || value.isUndefined()) return std::monostate{};
  if (value.typeOf().as<std::string>() == "object") {
    InsertTableParam param;
    auto number = [&](const char* name) {
      const val v = value[name];
      return v.isNumber() ? static_cast<long>(v.as<double>()) : 0L;
    };
    auto text = [&](const char* name) {
      const val v = value[name];
      return v.isString() ? v.as<std::string>() : std::string();
    };
    param.NumRows = number("NumRows");
    param.NumCols = number("NumCols");
    param.TableAttrs = text("TableAttrs");
    param.CellAttrs = text("CellAttrs");
    param.Caption = text("Caption");
    return param;
  }
  return std::monostate{};
}

class EngineSurface {
 public:
  explicit EngineSurface(int id) : id_(id) {}

  val execCommand(int command, int option, val value) {
    lastError_.clear();
    Engine& e = engine();
    val result = val::null();
    // The failure is reported to the caller instead of the debug log.
    try {
      result = val(e.ExecCommand(command, option, commandValue(value)));
    } catch (const std::exception& error) {
      lastError_ = error.what();
    }
    return result;
  }
  int queryStatus(int command) { return engine().QueryStatus(command); }
  std::string lastError() const { return lastError_; }

  std::string getDocumentHTML() const { return engine().DocumentHTML(); }
  void setDocumentHTML(std::string html) { engine().setDocumentHTML(html); }
  std::string getBodyHTML() const { return engine().DOM().body().innerHTML(); }
  std::string selectionType() const { return engine().DOM().selection().type(); }
  std::string selectedElementTag() const {
    return engine().DOM().selection().createControlRange().item(0).tagName();
  }

  val events() const { return engine().eventLog(); }
  void clearEvents() { engine().eventLog().call<void>("splice", 0); }
  void on(std::string type, val handler) { engine().setScriptHandler(type, handler); }
  void setContextMenu(val captions, val states) {
    std::vector<std::string> c;
    std::vector<std::int32_t> s;
    for (int i = 0, n = captions["length"].as<int>(); i < n; ++i) c.push_back(captions[i].as<std::string>());
    for (int i = 0, n = states["length"].as<int>(); i < n; ++i) s.push_back(states[i].as<std::int32_t>());
    engine().SetContextMenu(c, s);
  }

  val document() const { return engine().DOM().js(); }
  bool busy() const { return engine().Busy(); }
  bool getVisualAids() const { return engine().visualAids(); }
  void setVisualAids(bool on) { engine().setVisualAids(on); }
  std::string getBaseURL() const { return engine().BaseURL(); }
  void setBaseURL(std::string url) { engine().setBaseURL(url); }
  int styleSheetsLength() const { return engine().DOM().styleSheetsLength(); }
  void createStyleSheet(std::string url, int index) { engine().DOM().createStyleSheet(url, index); }
  void focus() { engine().focus(); }

  bool expandSelection(std::string unit) {
    dom::TextRange range = engine().DOM().selection().createRange();
    const bool grown = range.expand(unit);
    range.select();
    return grown;
  }
  int moveSelection(std::string unit, int count) { return moveBy(0, unit, count); }
  int moveSelectionStart(std::string unit, int count) { return moveBy(1, unit, count); }
  int moveSelectionEnd(std::string unit, int count) { return moveBy(2, unit, count); }
  std::string selectionText() const { return engine().DOM().selection().createRange().text(); }
  void setSelectionText(std::string text) {
    dom::TextRange range = engine().DOM().selection().createRange();
    range.setText(text);
    range.select();
  }
  void pasteHTML(std::string html) {
    dom::TextRange range = engine().DOM().selection().createRange();
    range.pasteHTML(html);
    range.select();
  }
  std::string selectionParentTag() const {
    return engine().DOM().selection().createRange().parentElement().tagName();
  }

 private:
  Engine& engine() const {
    Engine* e = engineById(id_);
    if (!e) throw ProcedureError(91, "The editing engine is gone");
    return *e;
  }
  int moveBy(int which, const std::string& unit, int count) {
    dom::TextRange range = engine().DOM().selection().createRange();
    long moved = which == 0 ? range.move(unit, count)
                 : which == 1 ? range.moveStart(unit, count)
                              : range.moveEnd(unit, count);
    range.select();
    return static_cast<int>(moved);
  }

  int id_;
  std::string lastError_;
};

val decmdTable() {
  val table = val::object();
  for (const auto& entry : editing::kDecmdTable) {
    table.set(std::string(entry.name), editing::decmdNumber(entry.id));
  }
  return table;
}

}  // namespace

void Engine::exposeTo(val element) { element.set("vellmarEngine", val(EngineSurface(id_))); }

}  // namespace vellmar::browser

EMSCRIPTEN_BINDINGS(vellmar_engine) {
  using vellmar::browser::EngineSurface;
  emscripten::function("decmdTable", &vellmar::browser::decmdTable);
  emscripten::class_<EngineSurface>("VellmarEngine")
      .function("execCommand", &EngineSurface::execCommand)
      .function("queryStatus", &EngineSurface::queryStatus)
      .function("lastError", &EngineSurface::lastError)
      .property("documentHTML", &EngineSurface::getDocumentHTML, &EngineSurface::setDocumentHTML)
      .property("bodyHTML", &EngineSurface::getBodyHTML)
      .function("selectionType", &EngineSurface::selectionType)
      .function("selectedElementTag", &EngineSurface::selectedElementTag)
      .function("events", &EngineSurface::events)
      .function("clearEvents", &EngineSurface::clearEvents)
      .function("on", &EngineSurface::on)
      .function("setContextMenu", &EngineSurface::setContextMenu)
      .function("document", &EngineSurface::document)
      .property("busy", &EngineSurface::busy)
      .property("visualAids", &EngineSurface::getVisualAids, &EngineSurface::setVisualAids)
      .property("baseURL", &EngineSurface::getBaseURL, &EngineSurface::setBaseURL)
      .function("styleSheetsLength", &EngineSurface::styleSheetsLength)
      .function("createStyleSheet", &EngineSurface::createStyleSheet)
      .function("focus", &EngineSurface::focus)
      .function("expandSelection", &EngineSurface::expandSelection)
      .function("moveSelection", &EngineSurface::moveSelection)
      .function("moveSelectionStart", &EngineSurface::moveSelectionStart)
      .function("moveSelectionEnd", &EngineSurface::moveSelectionEnd)
      .function("selectionText", &EngineSurface::selectionText)
      .function("setSelectionText", &EngineSurface::setSelectionText)
      .function("pasteHTML", &EngineSurface::pasteHTML)
      .function("selectionParentTag", &EngineSurface::selectionParentTag);
}
