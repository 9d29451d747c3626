#include "platform/browser/engine.h"

#include <emscripten/val.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

#include "common/diagnostics.h"
#include "platform/browser/engine_undo.h"
#include "platform/browser/elements.h"

namespace vellmar::browser {

namespace {


std::unordered_map<int, Engine*>& registry() {
  static std::unordered_map<int, Engine*> engines;
  return engines;
}

int gNextId = 1;

const char* const kHandleNames[] = {"nw", "n", "ne", "e", "se", "s", "sw", "w"};

// What the engine adds to the document's display only: the visual aids. An adopted style sheet
// is never part of the document's markup.
const char* const kVisualAidsCss =
    "td, th { outline: 1px dotted #a0a0a0; outline-offset: -1px; }\n"
    "table:not([border]), table[border=\"0\"], table[border=\"\"] { outline: 1px dashed #808080; }\n"
    "a[name]:not([href])::before { content: \"\\2693\"; font: 10px sans-serif; color: #c00000;"
    " border: 1px solid #c00000; background: #ffffe0; padding: 0 1px; margin-right: 1px; }\n";

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string tagOf(const val& node) {
  if (node.isNull() || node.isUndefined() || node["nodeType"].as<int>() != 1) return {};
  return upper(node["tagName"].as<std::string>());
}

// The blocks that hold lines of text themselves; text anywhere inside one of them is in a block.
bool holdsText(const std::string& tag) {
  static const char* const kHolders[] = {"P",  "H1", "H2",      "H3",  "H4",  "H5", "H6",
                                         "PRE", "ADDRESS", "DIV", "LI", "DT", "DD",
                                         "TD", "TH", "CAPTION", "CENTER", "BLOCKQUOTE"};
  return std::any_of(std::begin(kHolders), std::end(kHolders),
                     [&](const char* holder) { return tag == holder; });
}

}  // namespace

Engine* engineById(int id) {
  auto it = registry().find(id);
  return it == registry().end() ? nullptr : it->second;
}

Engine::Engine(val container) : id_(gNextId++), container_(std::move(container)) {
  registry()[id_] = this;
  box_ = create("div", "vellmar-engine-box");
  frame_ = create("iframe", "vellmar-engine-frame");
  // Same origin so that the engine can reach into the document; no allow-scripts, so that the
  // document's own scripts never run.
  frame_.call<void>("setAttribute", std::string("sandbox"), std::string("allow-same-origin"));
  frame_.call<void>("setAttribute", std::string("title"), std::string("Document"));
  box_.call<void>("appendChild", frame_);
  overlay_ = create("div", "vellmar-engine-overlay");
  box_.call<void>("appendChild", overlay_);

  handles_ = create("div", "vellmar-engine-selection");
  handles_.call<void>("setAttribute", std::string("hidden"), std::string(""));
  for (const char* name : kHandleNames) {
    val handle = create("div", "vellmar-engine-handle");
    handle.call<void>("setAttribute", std::string("data-handle"), std::string(name));
    handles_.call<void>("appendChild", handle);
  }
  listen(handles_, "pointerdown", kHandleDown);
  listen(handles_, "pointermove", kHandleMove);
  listen(handles_, "pointerup", kHandleUp);
  listen(handles_, "pointercancel", kHandleUp);
  overlay_.call<void>("appendChild", handles_);
  container_.call<void>("appendChild", box_);

  document_ = frame_["contentDocument"];
  if (document_.isNull() || document_.isUndefined()) {
    throw ProcedureError(5, "the editing frame has no document (the container is not in the page)");
  }
  observer_ = val::global("MutationObserver").new_(persistent(kMutations));
  history_ = std::make_unique<UndoHistory>(observer_);
  listen(overlay_, "mousedown", kOverlayDown);
  listenToDocument();
  loadDocument(val("<html><head></head><body></body></html>"));
}

void Engine::listenToDocument() {
  const std::pair<const char*, EventKind> documentEvents[] = {
      {"keydown", kKeyDown},     {"beforeinput", kBeforeInput}, {"input", kInput},
      {"mousedown", kMouseDown}, {"click", kClick},             {"dblclick", kDblClick},
      {"contextmenu", kContextMenu}, {"selectionchange", kSelectionChange}, {"scroll", kScroll},
      {"drop", kDrop},           {"paste", kPaste},
  };
  for (const auto& [type, kind] : documentEvents) {
    listen(document_, type, kind, true);
  }
  // A constructed sheet can only be adopted by documents of the window that made it.
  val sheetType = frame_["contentWindow"]["CSSStyleSheet"];
  visualAidsSheet_ = sheetType.new_();
  visualAidsSheet_.call<void>("replaceSync", std::string(kVisualAidsCss));
}

bool Engine::reattach() {
  const val current = frame_["contentDocument"];
  if (current.isNull() || current.isUndefined() || current.strictlyEquals(document_)) return false;
  // What the person did last may still wait in the observer's queue.
  history_->take(observer_.call<val>("takeRecords"));
  const val old = document_;
  document_ = current;
  listenToDocument();
  val moved = dom::call(document_, "adoptNode", old["documentElement"]);
  dom::call(document_, "replaceChild", moved, document_["documentElement"]);
  attachDocument(true);
  val::global("setTimeout")(once(kDocumentComplete), 0);
  return true;
}

void Engine::setInputLocked(bool locked) {
  inputLocked_ = locked;
  applyEditable();
}

void Engine::applyEditable() {
  document_.set("designMode", std::string(inputLocked_ ? "off" : "on"));
  if (!inputLocked_) applyEditingSettings();
}

void Engine::applyEditingSettings() {
  // The old engine's markup: <b>, <i>, <u>, <font ...>, and paragraphs on Enter. The browser keeps
  // these per window and takes them only while the document is in design mode. Each command lays
  // the whole document out first, so they are given once per window, the first time it enters
  // design mode (the engine's first, empty document), not each time a loaded document does.
  const val window = frame_["contentWindow"];
  if (window.strictlyEquals(settingsWindow_)) return;
  settingsWindow_ = window;
  document_.call<bool>("execCommand", std::string("styleWithCSS"), false, false);
  document_.call<bool>("execCommand", std::string("defaultParagraphSeparator"), false, std::string("p"));
}

Engine::~Engine() {
  registry().erase(id_);
  if (!observer_.isUndefined()) observer_.call<void>("disconnect");
  const val parent = box_["parentNode"];
  if (!parent.isNull()) parent.call<val>("removeChild", box_);
}

int Engine::listen(const val& target, const char* type, int kind, bool capture) {
  return route_.listen(target, type, [this, kind](const val& event) { handleEvent(kind, event); }, capture);
}

val Engine::persistent(int kind) {
  return route_.function([this, kind](const val& event) { handleEvent(kind, event); });
}

val Engine::once(int kind) {
  return route_.callback([this, kind](const val& event) { handleEvent(kind, event); });
}

// ---- the document ---------------------------------------------------------------------------

dom::Document Engine::DOM() const { return dom::Document(document_); }

std::string Engine::DocumentHTML() const {
  // The base address is the engine's, not the document's: it is left out of the markup.
  const bool hideBase = !baseElement_.isNull() && !baseElement_["parentNode"].isNull();
  val head = val::null();
  val next = val::null();
  if (hideBase) {
    head = baseElement_["parentNode"];
    next = baseElement_["nextSibling"];
    head.call<val>("removeChild", baseElement_);
  }
  std::string html = dom::stringOf(document_["documentElement"]["outerHTML"]);
  if (hideBase) head.call<val>("insertBefore", baseElement_, next);
  return html;
}

void Engine::setDocumentHTML(const std::string& html) { loadDocument(dom::textOf(html)); }

void Engine::setDocumentHTML(const val& html) { loadDocument(html); }

void Engine::loadDocument(const val& html) {
  busy_ = true;
  hideMenu();
  closeFind();
  caretPending_ = false;
  // The markup is parsed apart from the frame and its nodes are moved in (adopted, not copied):
  // the frame's document object stays the same (with the engine's listeners on it), and nothing
  // in the markup can act while it is parsed. A refresh pragma would act on insertion, so it is
  // dropped first.
  val parsed = val::global("DOMParser").new_().call<val>("parseFromString", html, std::string("text/html"));
  const val refreshes =
      parsed.call<val>("querySelectorAll", std::string("meta[http-equiv=\"refresh\" i]"));
  for (int i = refreshes["length"].as<int>() - 1; i >= 0; --i) refreshes[i].call<void>("remove");
  val adopted = document_.call<val>("adoptNode", parsed["documentElement"]);
  document_.call<val>("replaceChild", adopted, document_["documentElement"]);
  attachDocument();
  busy_ = false;
  paintPending_ = true;
  afterNextPaint(kLoadPainted);
  val::global("setTimeout")(once(kDocumentComplete), 0);
}

std::uint64_t Engine::contentVersion() {
  // Changes the observer holds but has not reported yet count too.
  const val records = observer_.call<val>("takeRecords");
  if (records["length"].as<int>() > 0) {
    ++contentVersion_;
    history_->take(records);
  }
  return contentVersion_;
}

void Engine::attachDocument(bool keepHistory) {
  ++contentVersion_;
  applyEditable();
  val body = document_["body"];
  if (body.isNull()) {
    body = document_.call<val>("createElement", std::string("body"));
    document_["documentElement"].call<void>("appendChild", body);
  }
  observer_.call<void>("disconnect");
  val options = val::object();
  options.set("subtree", true);
  options.set("childList", true);
  options.set("attributes", true);
  options.set("attributeOldValue", true);
  options.set("characterData", true);
  options.set("characterDataOldValue", true);
  observer_.call<void>("observe", body, options);
  observedBody_ = body;
  if (!keepHistory) history_->clear();
  dom::setControlSelection(document_, dom::Element());
  setVisualAids(visualAids_);
  setBaseURL(baseUrl_);
  findFrom_ = val::null();
  lastSnapshot_ = val::null();
  ++generation_;
  dom::noteChange();
}

void Engine::setBaseURL(const std::string& url) {
  baseUrl_ = url;
  if (!baseElement_.isNull() && !baseElement_["parentNode"].isNull()) baseElement_.call<void>("remove");
  if (url.empty()) return;
  baseElement_ = document_.call<val>("createElement", std::string("base"));
  baseElement_.call<void>("setAttribute", std::string("href"), url);
  val head = document_["head"];
  if (head.isNull()) return;
  head.call<void>("insertBefore", baseElement_, head["firstChild"]);
}

void Engine::setVisualAids(bool on) {
  visualAids_ = on;
  val sheets = val::array();
  if (on) sheets.call<void>("push", visualAidsSheet_);
  document_.set("adoptedStyleSheets", sheets);
}

void Engine::focus() { dom::focus(frame_); }

void Engine::caretToStart() {
  caretPending_ = true;
  caretAskedAt_ = selectionSnapshot();
  afterNextPaint(kCaretAfterPaint);
}

void Engine::afterNextPaint(int kind) {
  // A frame's animation callbacks run before it is laid out and painted; the task after them,
  // after.
  val::global("requestAnimationFrame")(route_.callback(
      [this, kind](const val&) { val::global("setTimeout")(once(kind), 0); }));
}

void Engine::settleCaret() {
  if (!caretPending_) return;
  caretPending_ = false;
  if (!sameSelection(selectionSnapshot(), caretAskedAt_)) return;
  const val body = document_["body"];
  if (body.isNull()) return;
  // At the first character, as a text range collapsed to its start is: a caret between the body
  // and its first block would be outside every block, and the first key would start a paragraph
  // there in place of the block's own format.
  val range = document_.call<val>("createRange");
  range.call<void>("setStart", body, 0);
  const val walker = document_.call<val>("createTreeWalker", body, 4 /* SHOW_TEXT */);
  for (val node = walker.call<val>("nextNode"); !node.isNull(); node = walker.call<val>("nextNode")) {
    if (node["data"].call<val>("trim")["length"].as<int>() == 0) continue;
    range.call<void>("setStart", node, 0);
    break;
  }
  range.call<void>("collapse", true);
  dom::TextRange(document_, range).select();
}

void Engine::beginChange() { history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot()); }

// ---- events ---------------------------------------------------------------------------------

void Engine::setScriptHandler(const std::string& type, const val& handler) {
  scriptHandlers_.set(type, handler);
}

void Engine::raise(const char* type, int x, int y, int index) {
  const std::string name(type);
  val entry = val::object();
  entry.set("type", name);
  if (name == "ShowContextMenu") {
    entry.set("x", x);
    entry.set("y", y);
  }
  if (name == "ContextMenuAction") entry.set("index", index);
  entry.set("time", val::global("performance").call<double>("now"));
  eventLog_.call<void>("push", entry);
  if (eventLog_["length"].as<int>() > 4000) eventLog_.call<void>("splice", 0, 2000);

  // The editor's handlers trap their own failures; a failure that escapes still must not stop
  // the engine's event processing.
  guarded(name, [&] {
    if (name == "DocumentComplete" && events_.DocumentComplete) events_.DocumentComplete();
    if (name == "DisplayChanged" && events_.DisplayChanged) events_.DisplayChanged();
    if (name == "ShowContextMenu" && events_.ShowContextMenu) events_.ShowContextMenu(x, y);
    if (name == "ContextMenuAction" && events_.ContextMenuAction) events_.ContextMenuAction(index);
    if (name == "onclick" && events_.onclick) events_.onclick();
    if (name == "ondblclick" && events_.ondblclick) events_.ondblclick();
  });
  const val handler = scriptHandlers_[name];
  if (handler.typeOf().as<std::string>() == "function") {
    val args = val::array();
    args.call<void>("push", val::null());
    if (name == "ShowContextMenu") {
      args.call<void>("push", x);
      args.call<void>("push", y);
    }
    if (name == "ContextMenuAction") args.call<void>("push", index);
    guarded(name, [&] { dom::safeCall(handler, "call", args); });
  }
}

val Engine::selectionSnapshot() const {
  val selection = document_.call<val>("getSelection");
  val snapshot = val::object();
  if (selection.isNull() || selection["rangeCount"].as<int>() == 0) return val::null();
  snapshot.set("anchorNode", selection["anchorNode"]);
  snapshot.set("anchorOffset", selection["anchorOffset"]);
  snapshot.set("focusNode", selection["focusNode"]);
  snapshot.set("focusOffset", selection["focusOffset"]);
  return snapshot;
}

bool Engine::sameSelection(const val& a, const val& b) const {
  if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
  return a["anchorNode"].strictlyEquals(b["anchorNode"]) &&
         a["anchorOffset"].strictlyEquals(b["anchorOffset"]) &&
         a["focusNode"].strictlyEquals(b["focusNode"]) &&
         a["focusOffset"].strictlyEquals(b["focusOffset"]);
}

void Engine::noteChange(bool content) {
  ++generation_;
  changePending_ = true;
  if (content) contentChanged_ = true;
  if (!microtaskQueued_) {
    microtaskQueued_ = true;
    val::global("queueMicrotask")(once(kMicrotask));
  }
}

void Engine::fireDisplayChanged() {
  changePending_ = false;
  contentChanged_ = false;
  firedThisFrame_ = true;
  if (!frameQueued_) {
    frameQueued_ = true;
    val::global("requestAnimationFrame")(once(kFrame));
  }
  lastSnapshot_ = selectionSnapshot();
  updateHandles();
  caching_ = true;
  raise("DisplayChanged");
  caching_ = false;
}

void Engine::handleEvent(int kind, const val& event) {
  switch (kind) {
    case kMutations:
      ++contentVersion_;
      history_->take(event);
      noteChange(true);
      break;
    case kMicrotask:
      microtaskQueued_ = false;
      if (!changePending_) break;
      if (firedThisFrame_) {
        deferredToFrame_ = true;
      } else {
        fireDisplayChanged();
      }
      break;
    case kFrame:
      frameQueued_ = false;
      firedThisFrame_ = false;
      if (deferredToFrame_) {
        deferredToFrame_ = false;
        if (changePending_) fireDisplayChanged();
      }
      break;
    case kSelectionChange: {
      if (!sameSelection(selectionSnapshot(), lastSnapshot_)) noteChange(false);
      break;
    }
    case kInput:
      noteChange(true);
      break;
    case kKeyDown:
      onKeyDown(event);
      break;
    case kBeforeInput:
      onBeforeInput(event);
      break;
    case kDrop:
    case kPaste:
      onFiles(kind, event);
      break;
    case kMouseDown:
      onMouseDown(event);
      break;
    case kClick:
      raise("onclick");
      break;
    case kDblClick:
      raise("ondblclick");
      break;
    case kContextMenu:
      onContextMenu(event);
      break;
    case kScroll:
      hideMenu();
      updateHandles();
      break;
    case kHandleDown:
      onHandleDown(event);
      break;
    case kHandleMove:
      onHandleMove(event);
      break;
    case kHandleUp:
      onHandleUp(event);
      break;
    case kMenuClick:
      onMenuClick(event);
      break;
    case kMenuKey:
      onMenuKey(event);
      break;
    case kOverlayDown:
      // A press on the overlay outside the menu closes the menu.
      if (!menu_.isUndefined() && !menu_.call<bool>("contains", event["target"])) hideMenu();
      break;
    case kFindClick:
      onFindClick(event);
      break;
    case kFindKey:
      onFindKey(event);
      break;
    case kCaretAfterPaint:
      settleCaret();
      break;
    case kLoadPainted:
      // What waited for the paint is told now.
      paintPending_ = false;
      noteChange(false);
      if (auto done = std::exchange(loadPainted_, nullptr)) guarded("LoadPainted", done);
      break;
    case kDocumentComplete:
      raise("DocumentComplete");
      noteChange(true);
      break;
    case kPasteDone: {
      if (event.isNull() || event.isUndefined()) break;
      history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
      const val html = event["html"];
      if (html.isString() && !html.as<std::string>().empty()) {
        runBrowserCommand("insertHTML", html.as<std::string>());
      } else if (event["text"].isString()) {
        runBrowserCommand("insertText", event["text"].as<std::string>());
      }
      noteChange(true);
      break;
    }
    default:
      break;
  }
}

void Engine::onKeyDown(const val& event) {
  hideMenu();
  settleCaret();
  const std::string key = event["key"].isString() ? event["key"].as<std::string>() : std::string();
  // The browser keeps the focus in a design-mode document on Tab and does nothing else with the
  // key: Tab and Shift+Tab go on to the next and previous control (the page's loader knows them).
  if (key == "Tab" && !event["ctrlKey"].as<bool>() && !event["altKey"].as<bool>() &&
      !event["metaKey"].as<bool>() && !event["isComposing"].as<bool>()) {
    const val leave = val::module_property("vellmarLeaveFrame");
    if (leave.isUndefined()) return;
    event.call<void>("preventDefault");
    leave(frame_, !event["shiftKey"].as<bool>());
    return;
  }
  if (events_.ShortcutKey && !event["isComposing"].as<bool>()) {
    const editing::KeyChord chord{key, event["ctrlKey"].as<bool>() || event["metaKey"].as<bool>(),
                                  event["shiftKey"].as<bool>(), event["altKey"].as<bool>()};
    bool handled = false;
    guarded("ShortcutKey", [&] { handled = events_.ShortcutKey(chord); });
    if (handled) {
      event.call<void>("preventDefault");
      return;
    }
  }
  static const char* const kNavigation[] = {"ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown",
                                            "Home",      "End",        "PageUp",  "PageDown"};
  for (const char* navigation : kNavigation) {
    if (key == navigation) {
      history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
      break;
    }
  }
}

void Engine::onBeforeInput(const val& event) {
  const std::string type = event["inputType"].isString() ? event["inputType"].as<std::string>() : "";
  if (type == "historyUndo" || type == "historyRedo") {
    event.call<void>("preventDefault");
    const auto id = type == "historyUndo" ? editing::Decmd::Undo : editing::Decmd::Redo;
    guarded(type, [&] {
      if (QueryStatus(editing::decmdNumber(id)) == 3) ExecCommand(editing::decmdNumber(id));
    });
    return;
  }
  UndoHistory::Kind kind = UndoHistory::Kind::Other;
  if (type == "insertText" || type == "insertCompositionText" || type == "insertReplacementText") {
    kind = UndoHistory::Kind::Typing;
  } else if (type.rfind("delete", 0) == 0 && type != "deleteByCut" && type != "deleteByDrag") {
    kind = UndoHistory::Kind::Deleting;
  }
  history_->checkpoint(kind, selectionSnapshot());
  if (type == "insertText" || type == "insertReplacementText" || type == "insertParagraph" ||
      type == "insertLineBreak" || type == "insertFromPaste" || type == "insertFromDrop") {
    guarded("DHTMLSafe1_beforeinput", [&] { startParagraphAtCaret(); });
  }
}

void Engine::onFiles(int kind, const val& event) {
  const val data = kind == kDrop ? event["dataTransfer"] : event["clipboardData"];
  if (data.isNull() || data.isUndefined()) return;
  const val files = data["files"];
  if (files.isUndefined() || files.isNull() || files["length"].as<int>() == 0) return;
  // A copy from a word processor carries a picture of the text beside the text itself: the text
  // is what is pasted.
  if (kind == kPaste) {
    const val types = data["types"];
    if (types.call<bool>("includes", std::string("text/html")) ||
        types.call<bool>("includes", std::string("text/plain")))
      return;
  }
  event.call<void>("preventDefault");
  event.call<void>("stopPropagation");
  if (inputLocked_) return;
  val range = val::null();
  if (kind == kDrop) {
    // Where the pointer let go; a drop outside the text goes to the end of the body.
    if (document_["caretRangeFromPoint"].isUndefined()) {
      const val position = document_.call<val>("caretPositionFromPoint", event["clientX"], event["clientY"]);
      if (!position.isNull()) {
        range = document_.call<val>("createRange");
        range.call<void>("setStart", position["offsetNode"], position["offset"]);
      }
    } else {
      range = document_.call<val>("caretRangeFromPoint", event["clientX"], event["clientY"]);
    }
  } else {
    const val selection = document_.call<val>("getSelection");
    if (!selection.isNull() && selection["rangeCount"].as<int>() > 0)
      range = selection.call<val>("getRangeAt", 0).call<val>("cloneRange");
  }
  const val body = document_["body"];
  if (range.isNull() || body.isNull() || !body.call<bool>("contains", range["startContainer"])) {
    range = document_.call<val>("createRange");
    range.call<void>("selectNodeContents", body);
    range.call<void>("collapse", false);
  }
  if (events_.FilesArrived) events_.FilesArrived(files, range);
}

void Engine::startParagraphAtCaret() {
  // Text typed straight into the body (an emptied document, or loose text between blocks) would
  // stand outside every block, and the clean-up would later split it apart at the first block
  // that follows. It goes into a paragraph instead, started before the browser inserts it.
  const val selection = document_.call<val>("getSelection");
  if (selection.isNull() || selection["rangeCount"].as<int>() == 0) return;
  const val body = document_["body"];
  if (body.isNull() || !body.call<bool>("contains", selection["anchorNode"])) return;
  for (val node = selection["anchorNode"]; !node.isNull() && !node.strictlyEquals(body);
       node = node["parentNode"]) {
    if (holdsText(tagOf(node))) return;
  }
  browserCommand(editing::Decmd::SetBlockFmt, "<p>");
}

void Engine::onMouseDown(const val& event) {
  hideMenu();
  // The press places the caret itself.
  caretPending_ = false;
  history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
  const val target = event["target"];
  const std::string tag = tagOf(target);
  const val body = document_["body"];
  if (body.isNull() || !body.call<bool>("contains", target) || target.strictlyEquals(body)) return;
  // An image or a rule is taken as a whole; so is a table when the press is on its own border
  // (or between its cells), where the target is the table itself and not a cell.
  if (tag == "IMG" || tag == "HR" || tag == "TABLE") {
    event.call<void>("preventDefault");
    focus();
    selectControl(dom::Element(target));
  }
}

void Engine::onContextMenu(const val& event) {
  event.call<void>("preventDefault");
  const int x = static_cast<int>(std::lround(event["clientX"].as<double>() + frame_["clientLeft"].as<double>()));
  const int y = static_cast<int>(std::lround(event["clientY"].as<double>() + frame_["clientTop"].as<double>()));
  menuX_ = x;
  menuY_ = y;
  menuCaptions_.clear();
  menuStates_.clear();
  menuRequested_ = true;
  raise("ShowContextMenu", x, y);
  menuRequested_ = false;
  if (!menuCaptions_.empty()) showMenu(x, y);
}

// ---- control selection and handles ----------------------------------------------------------

void Engine::selectControl(const dom::Element& element) {
  dom::setControlSelection(document_, element);
  noteChange(false);
  updateHandles();
}

void Engine::updateHandles() {
  const dom::Element control = dom::controlSelection(document_);
  if (!control) {
    if (!drag_.active) handles_.call<void>("setAttribute", std::string("hidden"), std::string(""));
    return;
  }
  const val rect = control.js().call<val>("getBoundingClientRect");
  const double left = rect["left"].as<double>() + frame_["clientLeft"].as<double>();
  const double top = rect["top"].as<double>() + frame_["clientTop"].as<double>();
  val style = handles_["style"];
  style.set("left", std::to_string(left) + "px");
  style.set("top", std::to_string(top) + "px");
  style.set("width", std::to_string(rect["width"].as<double>()) + "px");
  style.set("height", std::to_string(rect["height"].as<double>()) + "px");
  handles_.call<void>("removeAttribute", std::string("hidden"));
}

void Engine::onHandleDown(const val& event) {
  const val target = event["target"];
  const val name = target.call<val>("getAttribute", std::string("data-handle"));
  const dom::Element control = dom::controlSelection(document_);
  if (name.isNull() || !control) return;
  event.call<void>("preventDefault");
  history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
  const val rect = control.js().call<val>("getBoundingClientRect");
  drag_.active = true;
  drag_.handle = name.as<std::string>();
  drag_.startX = event["clientX"].as<double>();
  drag_.startY = event["clientY"].as<double>();
  drag_.startWidth = rect["width"].as<double>();
  drag_.startHeight = rect["height"].as<double>();
  drag_.element = control.js();
  target.call<void>("setPointerCapture", event["pointerId"]);
}

void Engine::onHandleMove(const val& event) {
  if (!drag_.active) return;
  const double dx = event["clientX"].as<double>() - drag_.startX;
  const double dy = event["clientY"].as<double>() - drag_.startY;
  const std::string& h = drag_.handle;
  const bool east = h.find('e') != std::string::npos;
  const bool west = h.find('w') != std::string::npos;
  const bool south = h.find('s') != std::string::npos;
  const bool north = h.find('n') != std::string::npos;
  // The old engine sized elements through their inline style; the property panels move the
  // sizes into attributes when they open.
  dom::Style style = dom::Element(drag_.element).style();
  if (east || west) {
    const double width = std::max(1.0, drag_.startWidth + (east ? dx : -dx));
    style.setWidth(std::to_string(std::lround(width)) + "px");
  }
  if (north || south) {
    const double height = std::max(1.0, drag_.startHeight + (south ? dy : -dy));
    style.setHeight(std::to_string(std::lround(height)) + "px");
  }
  updateHandles();
}

void Engine::onHandleUp(const val& event) {
  if (!drag_.active) return;
  drag_.active = false;
  drag_.element = val::null();
  const val target = event["target"];
  if (target.call<bool>("hasPointerCapture", event["pointerId"])) {
    target.call<void>("releasePointerCapture", event["pointerId"]);
  }
  history_->checkpoint(UndoHistory::Kind::Other, selectionSnapshot());
  noteChange(true);
}

}  // namespace vellmar::browser
