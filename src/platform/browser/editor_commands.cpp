// The editor's operations on the document and the handlers of the engine's events. The rules
// (which key runs what, guards, the context menu, the tables) are the editing subsystem's; this
// file applies them to the engine and the page.
#include "platform/browser/editor_commands.h"

#include <emscripten/bind.h>
#include <emscripten/em_js.h>
#include <emscripten/em_macros.h>

#include <random>
#include <unordered_map>

#include "common/diagnostics.h"
#include "common/entropy.h"
#include "editing/formats.h"
#include "editor/properties.h"
#include "http/server_exchange.h"
#include "menubar/editor_menu.h"
#include "platform/browser/engine.h"
#include "platform/browser/menubar_view.h"

using JsHandle = emscripten::EM_VAL;

// The clipboard in text form: the text (or null when the page may not read it) goes to `done`.
EM_JS(void, vellmar_clipboard_read_text, (JsHandle done), {
  var report = Emval.toValue(done);
  if (!navigator.clipboard || !navigator.clipboard.readText) { report(null); return; }
  navigator.clipboard.readText().then(report, function() { report(null); });
});

EM_JS(void, vellmar_clipboard_write_text, (JsHandle text), {
  var value = Emval.toValue(text);
  if (!navigator.clipboard || !navigator.clipboard.writeText) return;
  navigator.clipboard.writeText(value).catch(function() {});
});

namespace vellmar::browser {

namespace {

using editing::Decmd;
using editing::SelectionType;
using emscripten::val;

constexpr std::int32_t number(Decmd id) { return editing::decmdNumber(id); }
constexpr std::int32_t kDisabled = editing::statusNumber(editing::CommandStatus::Disabled);
constexpr std::int32_t kEnabled = editing::statusNumber(editing::CommandStatus::Enabled);

// Runs a step whose failure is of no consequence: the operation goes on with its next step.
template <class Step>
void quietly(Step&& step) noexcept {
  try {
    std::forward<Step>(step)();
  } catch (...) {
  }
}

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

std::string lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::string trim(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  const auto end = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(begin, end - begin + 1));
}

std::string escapeText(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else {
      out += c;
    }
  }
  return out;
}

// The first character of a UTF-8 text (all its bytes).
std::string firstCharacter(const std::string& text) {
  if (text.empty()) return {};
  std::size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) ++length;
  return text.substr(0, length);
}

// Replaces an element by its content, keeping the content's nodes (and a selection inside them).
void unwrap(const dom::Element& element) {
  val node = element.js();
  val parent = node["parentNode"];
  while (!node["firstChild"].isNull()) parent.call<val>("insertBefore", node["firstChild"], node);
  parent.call<val>("removeChild", node);
  dom::noteChange();
}

bool attributeEmpty(const dom::Element& element, std::string_view name) {
  const auto value = element.getAttribute(name);
  return !value || value->empty();
}

std::unordered_map<int, EditorCommands*>& registry() {
  static std::unordered_map<int, EditorCommands*> all;
  return all;
}

}  // namespace

EditorCommands::EditorCommands(Engine& engine, EditorMenuBar& menuBar, val root, val source,
                               EditorCommandHooks hooks)
    : engine_(engine), menuBar_(menuBar), root_(std::move(root)), source_(std::move(source)), hooks_(std::move(hooks)) {
  auto& events = engine_.events();
  events.DocumentComplete = [this] { documentComplete(); };
  events.DisplayChanged = [this] { displayChanged(); };
  events.ShowContextMenu = [this](int x, int y) { showContextMenu(x, y); };
  events.ContextMenuAction = [this](int index) { contextMenuAction(index); };
  events.onclick = [this] { onclick(); };
  events.ondblclick = [this] { ondblclick(); };
  events.ShortcutKey = [this](const editing::KeyChord& chord) { return shortcutKey(chord); };
}

EditorCommands::~EditorCommands() {
  engine_.events() = Engine::Events{};
  for (auto it = registry().begin(); it != registry().end();) {
    it = it->second == this ? registry().erase(it) : std::next(it);
  }
}

void EditorCommands::dispatch(const std::string& key) { editing::mcMenuBar1_menuItemSelected(*this, key); }
void EditorCommands::fontChanged(const std::string& name) { editing::ctlFontSelector1_fontChanged(*this, name); }
void EditorCommands::formatChanged(const std::string& name) { editing::ctlFontSelector1_formatChanged(*this, name); }
void EditorCommands::sizeChanged(const std::string& size) { editing::ctlFontSelector1_sizeChanged(*this, size); }

// ---- the selection ---------------------------------------------------------------------------

bool EditorCommands::wysiwyg() const {
  return !hooks_.currentView || hooks_.currentView() == editor::View::Wysiwyg;
}

SelectionType EditorCommands::selectionType() const { return engine_.DOM().selection().kind(); }

dom::Element EditorCommands::selectedElement() const {
  const dom::SelectionObject selection = engine_.DOM().selection();
  if (selection.kind() == SelectionType::Control) return selection.createControlRange().item(0);
  return selection.createRange().parentElement();
}

dom::Element EditorCommands::findParentTag(std::string_view tag) const {
  const dom::Document document = engine_.DOM();
  if (document.allTags(tag).length() == 0) return {};
  const dom::SelectionObject selection = document.selection();
  dom::Element element;
  if (selection.kind() == SelectionType::Control) {
    element = selection.createControlRange().item(0);
  } else {
    dom::TextRange start = selection.createRange().duplicate();
    start.collapse(true);
    element = start.parentElement();
  }
  const std::string wanted = upper(tag);
  for (; element; element = element.parentElement()) {
    const std::string name = element.tagName();
    if (name == "BODY" || name == wanted) return element;
  }
  return document.body();
}

bool EditorCommands::checkForParentTag(std::string_view tag) const {
  const dom::Element found = findParentTag(tag);
  return found && found.tagName() != "BODY";
}

editing::PropertiesTarget EditorCommands::propertiesTarget() const {
  const dom::Element element = selectedElement();
  return editing::propertiesTarget(element ? element.tagName() : std::string(),
                                   [this](std::string_view tag) { return checkForParentTag(tag); });
}

// ---- the engine --------------------------------------------------------------------------------

std::int32_t EditorCommands::QueryStatus(Decmd command) { return engine_.QueryStatus(number(command)); }

void EditorCommands::ExecCommand(Decmd command) { engine_.ExecCommand(number(command)); }

void EditorCommands::runCommand(const editing::CommandRow& row) {
  guarded(editing::operationName(row.operation), [&] { editing::runSimpleCommand(*this, row); });
}

// ---- engine events -------------------------------------------------------------------------------

void EditorCommands::documentComplete() {
  guarded("DHTMLSafe1_DocumentComplete", [&] {
    const auto& props = editor::PropertySet::shared();
    engine_.setBaseURL("http://" + props.domain() + ":" + props.port());
  });
}

void EditorCommands::displayChanged() {
  guarded("DHTMLSafe1_DisplayChanged", [&] {
    auto& props = editor::PropertySet::shared();
    const dom::Document doc = engine_.DOM();
    if (!props.pathToStyleSheet().empty() && doc.styleSheetsLength() == 0) {
      // The engine's document has no address of its own on the editor's server, so the sheet is
      // addressed there in full.
      std::string url = "http://" + props.domain();
      if (const auto port = http::convertPort(props.port())) url += ":" + std::to_string(*port);
      std::string path = http::exchangePath(props.documentRoot(), props.pathToStyleSheet());
      if (path.empty() || path.front() != '/') path.insert(0, 1, '/');
      doc.createStyleSheet(url + path);
    }
    if (hooks_.updateStatus && !engine_.paintPending()) hooks_.updateStatus();
  });
}

void EditorCommands::showContextMenu(int /*x*/, int /*y*/) {
  guarded("DHTMLSafe1_ShowContextMenu", [&] {
    const bool links = editing::linksAllowed(editor::PropertySet::shared());
    const editing::ContextMenu menu = editing::buildContextMenu(
        links, [this](Decmd command) { return QueryStatus(command); }, propertiesTarget());
    engine_.SetContextMenu(menu.captions, menu.states);
  });
}

void EditorCommands::contextMenuAction(int index) {
  guarded("DHTMLSafe1_ContextMenuAction", [&] {
    const editing::ContextChoice choice =
        editing::contextMenuChoice(index, editing::linksAllowed(editor::PropertySet::shared()));
    if (choice.properties) {
      propertiesAction();
    } else if (const editing::CommandRow* row = editing::findCommand(choice.key)) {
      editing::runOperation(*this, *row);
    }
  });
}

void EditorCommands::propertiesAction() {
  guarded("propertiesAction", [&] {
    if (dialogs_.hideAllFrames) dialogs_.hideAllFrames();
    const editing::PropertiesTarget target = propertiesTarget();
    if (target != editing::PropertiesTarget::none && dialogs_.showFrame) {
      dialogs_.showFrame(target, editing::propertiesPanelTitle(target));
    }
  });
}

void EditorCommands::onclick() {
  // A click keeps the selection visible. This engine shows every selection by itself (handles
  // around a control, the browser's highlight for text); selecting again here would only cancel
  // the browser's placing of the caret when a click lands inside a selection.
}

void EditorCommands::ondblclick() {
  guarded("DHTMLSafe1_ondblclick", [&] {
    const dom::SelectionObject selection = engine_.DOM().selection();
    if (selection.kind() == SelectionType::Control) {
      selection.createControlRange().select();
    } else {
      dom::TextRange range = selection.createRange();
      range.expand("word");
      range.select();
    }
  });
}

bool EditorCommands::shortcutKey(const editing::KeyChord& chord) {
  const editing::CommandRow* row = editing::findShortcut(chord);
  if (!row || !wysiwyg()) return false;
  if (row->browserKey) {
    // The browser's own cut, copy and paste reach the system clipboard; they run when the
    // operation's guard lets them, and the key does nothing otherwise.
    return row->command && !editing::guardPasses(row->guard, QueryStatus(*row->command));
  }
  guarded("mcMenuBar1_menuItemSelected", [&] { editing::runOperation(*this, *row); });
  return true;
}

// ---- file, server, views, help -----------------------------------------------------------------

void EditorCommands::openLocal() {
  if (hooks_.openLocal) hooks_.openLocal();
}
void EditorCommands::saveToServer() {
  if (hooks_.saveToServer) hooks_.saveToServer();
}
void EditorCommands::saveLocal() {
  if (hooks_.saveLocal) hooks_.saveLocal();
}
void EditorCommands::saveLocalAs(const std::string& fileName) {
  if (hooks_.saveLocalAs) hooks_.saveLocalAs(fileName);
}
void EditorCommands::openRecentFiles(int n) {
  if (hooks_.openRecentFiles) hooks_.openRecentFiles(n);
}
void EditorCommands::setView(std::string_view viewKey) {
  if (hooks_.setView) hooks_.setView(viewKey);
}
void EditorCommands::spellCheck() {
  if (dialogs_.spellCheck) {
    dialogs_.spellCheck([this](const val& range, const std::string& text) { replaceText(range, text); });
  }
}

void EditorCommands::replaceText(const val& range, const std::string& text) {
  guarded("btnChangeBtn_Click", [&] {
    engine_.beginChange();
    range.call<void>("deleteContents");
    const val start = range["startContainer"];
    if (start["nodeType"].as<int>() == 3) {
      start.call<void>("insertData", range["startOffset"], text);
    } else if (!text.empty()) {
      range.call<void>("insertNode", engine_.DOM().js().call<val>("createTextNode", text));
    }
  });
}
void EditorCommands::aboutVellmar() {
  if (dialogs_.about) dialogs_.about();
}
void EditorCommands::checkFormatInMenu() {
  if (hooks_.checkFormatInMenu) hooks_.checkFormatInMenu();
}

void EditorCommands::goToHelp() {
  guarded("goToHelp", [&] {
    const std::string& url = editor::PropertySet::shared().helpContentsURL();
    if (url.empty()) return;
    dom::call(val::global("window"), "open", url, std::string("_blank"), std::string("noopener"));
  });
}

void EditorCommands::visualAids() {
  guarded("visualAids", [&] {
    auto& bar = menuBar_.model();
    const menubar::MenuId button = bar.getMBbuttonIDbyName(menubar::kViewMenu);
    const menubar::MenuId item = bar.getMBitemIDbyName(button, "visualAids");
    const bool on = !engine_.visualAids();
    if (const auto* record = bar.buttonRecord(button); record && item >= 0) {
      const auto& current = record->items[static_cast<std::size_t>(item)];
      bar.EditMenuItem(button, item, "visualAids", current.parent, std::string(menubar::menuCaption("visualAids")),
                       current.shortcut, current.visible, on, current.grayed, false);
    }
    engine_.setVisualAids(on);
  });
}

// ---- clipboard ---------------------------------------------------------------------------------

void EditorCommands::clipboardWrite(const std::string& text) {
  vellmar_clipboard_write_text(val(text).as_handle());
}

void EditorCommands::clipboardRead(std::function<void(const std::string& text)> done) {
  const val callback = route_.callback([done = std::move(done)](const val& text) {
    if (text.isString()) done(text.as<std::string>());
  });
  vellmar_clipboard_read_text(callback.as_handle());
}

void EditorCommands::sourceBoxReplaceSelection(const std::string& text) {
  const int start = source_["selectionStart"].as<int>();
  const int end = source_["selectionEnd"].as<int>();
  dom::call(source_, "setRangeText", text, start, end, std::string("end"));
  // The source box's change goes into the engine as a typed one would.
  source_.call<bool>("dispatchEvent", val::global("Event").new_(std::string("input")));
}

void EditorCommands::cut() {
  guarded("cut", [&] {
    if (wysiwyg()) {
      if (QueryStatus(Decmd::Cut) == kEnabled) ExecCommand(Decmd::Cut);
      return;
    }
    const int start = source_["selectionStart"].as<int>();
    const int end = source_["selectionEnd"].as<int>();
    clipboardWrite(source_["value"].call<std::string>("substring", start, end));
    sourceBoxReplaceSelection("");
  });
}

void EditorCommands::copy() {
  guarded("copy", [&] {
    if (wysiwyg()) {
      if (QueryStatus(Decmd::Copy) == kEnabled) ExecCommand(Decmd::Copy);
      return;
    }
    const int start = source_["selectionStart"].as<int>();
    const int end = source_["selectionEnd"].as<int>();
    clipboardWrite(source_["value"].call<std::string>("substring", start, end));
  });
}

void EditorCommands::paste() {
  guarded("paste", [&] {
    if (wysiwyg()) {
      if (QueryStatus(Decmd::Paste) == kEnabled) ExecCommand(Decmd::Paste);
      return;
    }
    clipboardRead([this](const std::string& text) {
      guarded("paste", [&] { sourceBoxReplaceSelection(text); });
    });
  });
}

void EditorCommands::pasteUnformatted() {
  guarded("pasteUnformatted", [&] {
    if (!wysiwyg()) return;
    // The text goes where the selection is now, also if the clipboard answers after a while.
    auto range = std::make_shared<dom::TextRange>(engine_.DOM().selection().createRange());
    clipboardRead([this, range](const std::string& text) {
      guarded("pasteUnformatted", [&] {
        engine_.beginChange();
        dom::setControlSelection(engine_.DOM().js(), dom::Element());
        range->setText(text);
        range->select();
      });
    });
  });
}

void EditorCommands::copyHTML() {
  guarded("copyHTML", [&] {
    if (!wysiwyg()) return;
    const dom::SelectionObject selection = engine_.DOM().selection();
    std::string html;
    if (selection.kind() == SelectionType::Control) {
      if (const dom::Element item = selection.createControlRange().item(0)) html = item.outerHTML();
    } else if (const dom::Element parent = selection.createRange().parentElement()) {
      html = parent.innerHTML();
    }
    clipboardWrite(html);
  });
}

void EditorCommands::pasteHTML() {
  guarded("pasteHTML", [&] {
    if (!wysiwyg()) return;
    clipboardRead([this](const std::string& text) {
      guarded("pasteHTML", [&] {
        engine_.beginChange();
        engine_.insertMarkup(text);
      });
    });
  });
}

// ---- insertion -----------------------------------------------------------------------------------

void EditorCommands::insertHTML(std::string_view html) {
  guarded("insertHTML", [&] {
    engine_.beginChange();
    engine_.insertMarkup(std::string(html));
  });
}

void EditorCommands::addHorizontalrule() {
  guarded("addHorizontalrule", [&] { insertHTML("<hr>"); });
}

void EditorCommands::addOtherCharacter() {
  guarded("addOtherCharacter", [&] {
    if (dialogs_.specialCharacters) {
      dialogs_.specialCharacters([this](const std::string& character) { insertCharacter(character); });
    }
  });
}

void EditorCommands::insertCharacter(const std::string& character) {
  guarded("addOtherCharacter", [&] {
    // A character outside a paragraph starts one of its own.
    const std::string text = escapeText(firstCharacter(character));
    insertHTML(checkForParentTag("p") ? text : "<p>" + text + "</p>");
  });
}

void EditorCommands::addImage() {
  guarded("addImage", [&] {
    if (dialogs_.image) dialogs_.image([this](const ImageChoice& choice) { applyImage(choice); });
  });
}

void EditorCommands::applyImage(const ImageChoice& choice) {
  guarded("addImage", [&] {
    if (choice.path.empty()) return;
    const std::string source = editor::PropertySet::shared().documentRoot() + choice.path;
    engine_.ExecCommand(number(Decmd::Image), 2, source);
    // The engine leaves the new image selected.
    dom::Element image = engine_.DOM().selection().createControlRange().item(0);
    if (!image) throw ProcedureError(91, "The new image is not selected");
    if (!choice.align.empty()) image.setAttribute("align", choice.align);
    image.setAttribute("alt", choice.alt);
    image.setAttribute("border", std::to_string(choice.border));
    if (choice.height != 0) image.setAttribute("height", std::to_string(choice.height));
    if (choice.width != 0) image.setAttribute("width", std::to_string(choice.width));
    image.setAttribute("vspace", std::to_string(choice.vspace));
    image.setAttribute("hspace", std::to_string(choice.hspace));
  });
}

void EditorCommands::addTable() {
  guarded("addTable", [&] {
    if (dialogs_.table) dialogs_.table([this](const TableChoice& choice) { applyTable(choice); });
  });
}

void EditorCommands::applyTable(const TableChoice& choice) {
  guarded("addTable", [&] {
    InsertTableParam param;
    param.NumCols = editing::numberReading(choice.cols);
    param.NumRows = editing::numberReading(choice.rows);
    // The new table is found again by an id it carries only until its attributes are set; the id
    // is one no element of the document has.
    static std::mt19937 random{entropySeed()};
    const dom::Document document = engine_.DOM();
    std::string marker;
    do {
      marker = std::to_string(std::uniform_int_distribution<int>(0, 10000)(random));
    } while (document.getElementById(marker));
    param.TableAttrs = "id=\"" + marker + "\"";
    engine_.ExecCommand(number(Decmd::InsertTable), 2, param);
    dom::Element table = document.getElementById(marker);
    if (!table) throw ProcedureError(91, "The new table is not in the document");
    table.setAttribute("border", std::to_string(editing::numberReading(choice.border)));
    if (!trim(choice.padding).empty()) table.setAttribute("cellPadding", std::to_string(editing::numberReading(choice.padding)));
    if (!trim(choice.spacing).empty()) table.setAttribute("cellSpacing", std::to_string(editing::numberReading(choice.spacing)));
    if (!trim(choice.width).empty()) table.setAttribute("width", choice.widthValue);
    table.removeAttribute("id");
  });
}

void EditorCommands::addLink() {
  guarded("addLink", [&] {
    LinkChoice prefill;
    if (checkForParentTag("a")) {
      const dom::Element anchor = findParentTag("a");
      prefill.url = anchor.attribute("href");
      prefill.target = anchor.attribute("target");
    }
    if (dialogs_.link) dialogs_.link(prefill, [this](const LinkChoice& choice) { applyLink(choice); });
  });
}

void EditorCommands::applyLink(const LinkChoice& choice) {
  guarded("addLink", [&] {
    if (choice.url.empty()) return;
    // From here on each step that fails is skipped.
    const bool control = selectionType() == SelectionType::Control;
    dom::Element selected;
    dom::Element anchor;
    quietly([&] {
      if (control) selected = selectedElement();
      if (checkForParentTag("a")) anchor = findParentTag("a");
    });
    // A link whose text is itself a web address would have that text rewritten with the address;
    // disguised for the while, it stays as the user wrote it.
    const auto firstText = [](const dom::Element& a) {
      const val first = a.js()["firstChild"];
      return !first.isNull() && first["nodeType"].as<int>() == 3 ? first : val::null();
    };
    quietly([&] {
      if (!anchor) return;
      const val text = firstText(anchor);
      if (!text.isNull() && lower(text["data"].as<std::string>()).rfind("http://", 0) == 0) {
        text.call<void>("replaceData", 0, 7, std::string("http:||"));
      }
    });
    quietly([&] { engine_.ExecCommand(number(Decmd::Hyperlink), 2, choice.url); });
    quietly([&] {
      if (!anchor && !control && checkForParentTag("a")) anchor = findParentTag("a");
    });
    quietly([&] {
      if (!anchor) return;
      const val text = firstText(anchor);
      if (!text.isNull() && lower(text["data"].as<std::string>()).rfind("http:||", 0) == 0) {
        text.call<void>("replaceData", 0, 7, std::string("http://"));
      }
    });
    if (control) {
      // The engine wrapped the selected element in the new link.
      quietly([&] {
        const dom::Element parent = selected ? selected.parentElement() : dom::Element();
        if (parent && parent.tagName() == "A") anchor = parent;
      });
    }
    const bool forceName = editor::PropertySet::shared().isOn("ForceLinkNameAsLinkText") && !choice.name.empty();
    quietly([&] {
      if (!anchor) return;
      if (choice.target == "Default") {
        anchor.removeAttribute("target");
      } else {
        anchor.setAttribute("target", choice.target);
      }
    });
    quietly([&] {
      if (!anchor || !forceName) return;
      anchor.setInnerHTML(escapeText(choice.name));
      // After an element that gave way to the name, typing goes on outside the link.
      if (control) {
        const val space = engine_.DOM().js().call<val>("createTextNode", std::string(" "));
        anchor.js()["parentNode"].call<val>("insertBefore", space, anchor.js()["nextSibling"]);
      }
    });
  });
}

// ---- formatting ---------------------------------------------------------------------------------

void EditorCommands::setColor() {
  guarded("setColor", [&] {
    if (QueryStatus(Decmd::SetForeColor) == kDisabled || !dialogs_.colour) return;
    // Black to start with; a cancelled picker changes nothing and says nothing.
    dialogs_.colour("#000000", [this](const std::string& colour) { colourChosen(colour); });
  });
}

void EditorCommands::colourChosen(const std::string& colour) {
  quietly([&] {
    if (QueryStatus(Decmd::SetForeColor) == kDisabled) return;
    engine_.ExecCommand(number(Decmd::SetForeColor), 2, colour);
  });
}

void EditorCommands::setFont(std::string_view key) {
  // Each step that fails is skipped; nothing is logged.
  quietly([&] {
    if (QueryStatus(Decmd::SetFontName) != kEnabled) return;
    if (editing::isDefaultFontKey(key)) {
      if (!checkForParentTag("font")) return;
      dom::Element font = findParentTag("font");
      engine_.beginChange();
      font.removeAttribute("face");
      if (attributeEmpty(font, "face") && attributeEmpty(font, "size") && attributeEmpty(font, "color")) unwrap(font);
    } else {
      engine_.ExecCommand(number(Decmd::SetFontName), 2, std::string(editing::fontFamily(key)));
    }
  });
  quietly([&] {
    if (hooks_.checkFontsInMenu) hooks_.checkFontsInMenu();
  });
}

void EditorCommands::setFontSize(std::string_view key) {
  guarded("setFontSize", [&] {
    if (!editing::isDefaultSizeKey(key)) {
      const auto size = editing::fontSizeNumber(key);
      if (!size) throw ProcedureError(13, "Type mismatch");
      const bool hadFace = checkForParentTag("font") && findParentTag("font").getAttribute("face").has_value();
      if (QueryStatus(Decmd::SetFontSize) != kDisabled) {
        engine_.ExecCommand(number(Decmd::SetFontSize), 0, static_cast<double>(*size));
      }
      // The engine may give the text a face along with the size; it is not the user's.
      if (!hadFace) {
        quietly([&] {
          if (dom::Element font = findParentTag("font")) font.removeAttribute("face");
        });
      }
      return;
    }
    if (!checkForParentTag("font")) return;
    const dom::Element font = findParentTag("font");
    if (attributeEmpty(font, "face") && attributeEmpty(font, "color")) {
      engine_.beginChange();
      unwrap(font);
    }
  });
}

void EditorCommands::setBlockFormat(std::string_view name) {
  guarded("setBlockFormat", [&] {
    // The engine may drop inline markup (bold, links, fonts) when it changes a block's type; the
    // block's content is put back as it was.
    std::optional<std::string> remembered;
    for (std::string_view tag : editing::kBlockTags) {
      if (checkForParentTag(tag)) {
        remembered = findParentTag(tag).innerHTML();
        break;
      }
    }
    if (QueryStatus(Decmd::SetBlockFmt) == kEnabled) {
      engine_.ExecCommand(number(Decmd::SetBlockFmt), 0, std::string(name));
    }
    if (remembered) {
      for (std::string_view tag : editing::kBlockTags) {
        if (!checkForParentTag(tag)) continue;
        dom::Element block = findParentTag(tag);
        // Unchanged content is left alone, and so is the caret in it.
        if (block.innerHTML() != *remembered) block.setInnerHTML(*remembered);
        break;
      }
    }
    checkFormatInMenu();
  });
}

void EditorCommands::applyClass(std::string_view className) {
  guarded("applyClass", [&] {
    dom::Element element = selectedElement();
    if (!element) return;
    engine_.beginChange();
    element.removeAttribute("className");
    element.setAttribute("className", className, 1);
    if (hooks_.checkStyleInMenu) hooks_.checkStyleInMenu();
  });
}

void EditorCommands::clearStyle() {
  guarded("clearStyle", [&] {
    dom::Element element = selectedElement();
    if (!element) return;
    engine_.beginChange();
    element.removeAttribute("className");
  });
}

void EditorCommands::setTableValign(std::string_view valign) {
  guarded("setTableValign", [&] {
    dom::Element element = selectedElement();
    for (; element && element.tagName() != "BODY"; element = element.parentElement()) {
      if (element.tagName() == "TD") {
        engine_.beginChange();
        element.setAttribute("vAlign", valign);
        return;
      }
    }
  });
}

// ---- the test and integration surface -------------------------------------------------------------

namespace {

// `element.vellmarCommands`: the dispatch, the selector's events, and the dialogs' and panels'
// entry points for a page (or a test) to answer until the dialogs themselves are there.
class CommandsSurface {
 public:
  explicit CommandsSurface(int id) : id_(id) {}

  void dispatch(std::string key) { commands().dispatch(key); }
  void fontChanged(std::string name) { commands().fontChanged(name); }
  void formatChanged(std::string name) { commands().formatChanged(name); }
  void sizeChanged(std::string size) { commands().sizeChanged(size); }

  // Answers the dialogs from `answers`: {link: {url, target, name}, image: {...}, table: {...},
  // character: "..."}; a dialog without an answer is cancelled. Panels shown are reported to
  // `answers.panel(title)` and closing them all to `answers.hideAllFrames()`, when given.
  void answerDialogs(val answers) {
    EditorDialogs& d = commands().dialogs();
    const auto text = [](const val& object, const char* name, const char* fallback = "") {
      const val v = object[name];
      return v.isString() ? v.as<std::string>() : std::string(fallback);
    };
    const auto integer = [](const val& object, const char* name) {
      const val v = object[name];
      return v.isNumber() ? static_cast<int>(v.as<double>()) : 0;
    };
    d.link = [answers, text](const LinkChoice&, std::function<void(const LinkChoice&)> done) {
      const val a = answers["link"];
      if (a.isUndefined() || a.isNull()) return;
      done(LinkChoice{text(a, "url"), text(a, "target", "Default"), text(a, "name")});
    };
    d.image = [answers, text, integer](std::function<void(const ImageChoice&)> done) {
      const val a = answers["image"];
      if (a.isUndefined() || a.isNull()) return;
      done(ImageChoice{text(a, "path"), text(a, "align"), text(a, "alt"), integer(a, "border"),
                       integer(a, "width"), integer(a, "height"), integer(a, "vspace"), integer(a, "hspace")});
    };
    d.table = [answers, text](std::function<void(const TableChoice&)> done) {
      const val a = answers["table"];
      if (a.isUndefined() || a.isNull()) return;
      done(TableChoice{text(a, "rows"), text(a, "cols"), text(a, "border"), text(a, "padding"),
                       text(a, "spacing"), text(a, "width"), text(a, "widthValue")});
    };
    d.specialCharacters = [answers](std::function<void(const std::string&)> done) {
      const val a = answers["character"];
      if (a.isString()) done(a.as<std::string>());
    };
    d.showFrame = [answers](editing::PropertiesTarget, std::string_view title) {
      const val report = answers["panel"];
      if (report.typeOf().as<std::string>() == "function") report(std::string(title));
    };
    d.hideAllFrames = [answers] {
      const val report = answers["hideAllFrames"];
      if (report.typeOf().as<std::string>() == "function") report();
    };
  }

 private:
  EditorCommands& commands() const {
    const auto found = registry().find(id_);
    if (found == registry().end()) throw ProcedureError(91, "The editor is gone");
    return *found->second;
  }
  int id_;
};

int gNextSurface = 1;

}  // namespace

void EditorCommands::exposeTo(val element) {
  const int id = gNextSurface++;
  registry()[id] = this;
  element.set("vellmarCommands", val(CommandsSurface(id)));
}

}  // namespace vellmar::browser

EMSCRIPTEN_BINDINGS(vellmar_commands) {
  using vellmar::browser::CommandsSurface;
  emscripten::class_<CommandsSurface>("VellmarCommands")
      .function("dispatch", &CommandsSurface::dispatch)
      .function("fontChanged", &CommandsSurface::fontChanged)
      .function("formatChanged", &CommandsSurface::formatChanged)
      .function("sizeChanged", &CommandsSurface::sizeChanged)
      .function("answerDialogs", &CommandsSurface::answerDialogs);
}
