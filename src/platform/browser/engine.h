#pragma once

// The editing engine: the component the editor drives by command identifiers, command status,
// selection and direct manipulation of the document's elements.
//
// The document lives in an <iframe sandbox="allow-same-origin"> whose document is in design mode.
// The sandbox has no allow-scripts, so nothing in a loaded or pasted document (scripts, event
// handler attributes, javascript: addresses) ever runs; the engine reaches into the document from
// the page, which the shared origin allows.
//
// Commands the browser has (bold, lists, fontName, formatBlock, createLink, ...) are the browser's,
// run with styleWithCSS off so that the markup is <b>, <i>, <u> and <font face|size|color>. The
// rest is ours: table structure, the control selection of IMG / HR / TABLE with resize handles,
// find, undo and redo over every change to the document, visual aids and the context menu.

#include <emscripten/val.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "editing/commands.h"
#include "editing/decmd.h"
#include "editing/selection.h"
#include "platform/browser/dom.h"
#include "platform/browser/event_route.h"

namespace vellmar::editing {
struct TableEdit;
}

namespace vellmar::browser {

using emscripten::val;

// The insert-table parameter object: `TableAttrs` is text placed inside the new TABLE tag,
// `CellAttrs` inside every TD tag; an empty `Caption` makes no CAPTION.
struct InsertTableParam {
  long NumRows = 0;
  long NumCols = 0;
  std::string TableAttrs;
  std::string CellAttrs;
  std::string Caption;
};

// What ExecCommand takes as its value: nothing, a text, a number or the table parameters.
using CommandValue = std::variant<std::monostate, std::string, double, InsertTableParam>;

class UndoHistory;

class Engine {
 public:
  // The events the engine raises to the editor. DisplayChanged follows every change of selection,
  // caret or content, at most once per animation frame. ShowContextMenu(x, y) gives the pointer
  // position relative to the engine's box; the handler answers with SetContextMenu, and the
  // engine reports the chosen entry with ContextMenuAction(index).
  struct Events {
    std::function<void()> DocumentComplete;
    std::function<void()> DisplayChanged;
    std::function<void(int x, int y)> ShowContextMenu;
    std::function<void(int index)> ContextMenuAction;
    std::function<void()> onclick;
    std::function<void()> ondblclick;
    // A key press in the document that may be a shortcut; true when the editor ran one, and the
    // browser's own handling of the key is then suppressed.
    std::function<bool(const editing::KeyChord& chord)> ShortcutKey;
    // Files dropped on the document or pasted into it (a FileList, or an array of File), with the
    // range they are to go in. The browser's own insertion (a blob or data address) never happens.
    std::function<void(const val& files, const val& range)> FilesArrived;
  };

  // Builds the engine's box (the frame and its overlays) inside `container`.
  explicit Engine(val container);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  Events& events() { return events_; }

  // DECMDF status of a command: 0 not supported, 1 disabled, 3 enabled, 7 latched, 11 ninched.
  std::int32_t QueryStatus(std::int32_t command);
  // Runs a command. The GET commands answer with their value (block format name, font name,
  // font size, colour); the others answer with an empty text. A command that is not supported or
  // disabled fails with a ProcedureError, as the old engine's did.
  std::string ExecCommand(std::int32_t command, std::int32_t option = 0,
                          const CommandValue& value = {});

  // The context menu for the current ShowContextMenu: parallel captions and states (0 normal,
  // 2 grayed); an empty caption is a separator.
  void SetContextMenu(const std::vector<std::string>& captions, const std::vector<std::int32_t>& states);

  dom::Document DOM() const;
  std::string DocumentHTML() const;
  // Replaces the whole document. Undo history starts afresh; DocumentComplete follows.
  void setDocumentHTML(const std::string& html);
  // The same from a JavaScript string.
  void setDocumentHTML(const emscripten::val& html);
  bool Busy() const { return busy_; }
  // While locked the document takes no input at all (it leaves design mode): a document that is
  // still on its way would replace whatever was typed.
  void setInputLocked(bool locked);
  bool inputLocked() const { return inputLocked_; }
  // A frame taken out of the page and put back gets a new, empty document from the browser. This
  // moves the document the engine had (with its unsaved changes and its undo history) into the
  // new one and listens there; true when the frame's document had changed.
  bool reattach();
  // The address relative addresses in the document resolve against; never part of the markup.
  std::string BaseURL() const { return baseUrl_; }
  void setBaseURL(const std::string& url);

  // The visual-aids display switch: outlines for table cells and borderless tables, marks for
  // named anchors. Display only; the document is unchanged.
  bool visualAids() const { return visualAids_; }
  void setVisualAids(bool on);

  // Puts markup in place of the selection (a selected element included), as the old engine's
  // pasteHTML did: a paragraph it lands in is split around any block elements in it, and the
  // caret ends after it. Answers {first, last}: the first and last node inserted.
  val insertMarkup(const std::string& html);

  // Closes the current undo step: what the editor changes next is a step of its own. The engine's
  // commands do this themselves; the editor calls it before changing the document directly.
  void beginChange();

  void focus();
  // Puts the caret (a collapsed selection) at the start of the body once the document has been
  // painted: setting a selection lays the whole document out at once, which for a long document
  // takes longer than everything else its loading does, while the first frame lays it out anyway.
  // A selection made in the meantime (a click, a script) stays; a key press or a command that
  // changes the document places the caret first.
  void caretToStart();
  // Places a caret that caretToStart left waiting, now.
  void settleCaret();
  // A loaded document has not been painted yet. What asks about the selection (the toolbars'
  // state) waits for the paint: it lays the whole document out at once, which the first frame
  // does anyway; a DisplayChanged follows the paint.
  bool paintPending() const { return paintPending_; }
  // Runs `done` once, in the task after the next loaded document is painted (or after the last
  // one's paint, if it is still to come).
  void whenLoadPainted(std::function<void()> done) { loadPainted_ = std::move(done); }
  // A number that changes whenever the document's content does (a load, an edit, an undo): two
  // equal answers mean the content in between stayed as it was.
  std::uint64_t contentVersion();
  // The engine's box inside the container, for the control to place, show and hide.
  const val& box() const { return box_; }
  const val& frame() const { return frame_; }

  // The engine's test and integration surface on the page element (see engine_bindings.cpp).
  void exposeTo(val element);

  // Entry point of every browser event the engine listens to (see engine_bindings.cpp).
  void handleEvent(int kind, const val& event);
  // The events raised so far as {type, x, y, index, time}, for the test surface.
  const val& eventLog() const { return eventLog_; }
  // Handlers set from JavaScript through the test surface, called after the editor's own.
  void setScriptHandler(const std::string& type, const val& handler);
  int id() const { return id_; }

  // Kinds of browser events, as the listeners report them.
  enum EventKind : int {
    kKeyDown, kBeforeInput, kInput, kMouseDown, kClick, kDblClick, kContextMenu, kSelectionChange,
    kScroll, kMutations, kMicrotask, kFrame, kHandleDown, kHandleMove, kHandleUp, kMenuClick,
    kMenuKey, kOverlayDown, kFindClick, kFindKey, kDocumentComplete, kPasteDone, kIgnore, kDrop, kPaste,
    kCaretAfterPaint, kLoadPainted,
  };

 private:
  // What the status of every command is derived from, read once per change of the document or
  // the selection.
  struct Context {
    bool editable = false;  // there is a selection inside the body
    editing::SelectionType type = editing::SelectionType::None;
    val range = val::null();
    dom::Element control;
    dom::Element start;  // the element at the start of the selection (for a control, the control)
    dom::Element cell;   // the table cell around the start, if any
    dom::Element link;   // the link (A with href) around the start, if any
    std::string list;    // "OL" or "UL": the innermost list around the start, if any
    // The character and paragraph states at a caret, read on first demand (caretState).
    bool caretRead = false;
    bool typingStyle = false;  // a style command was given at this very caret
    bool bold = false, italic = false, underline = false;
    std::string align;
  };
  struct DomTable;

  // ---- document and events (engine.cpp)
  void loadDocument(const emscripten::val& html);
  // Design mode, the markup settings and the observer over the body of the current document.
  // A new document starts a fresh undo history; a moved one keeps it.
  void attachDocument(bool keepHistory = false);
  void applyEditable();
  // handleEvent(kind) in the first task after the next frame has been painted.
  void afterNextPaint(int kind);
  // The browser's editing settings for the markup the old engine wrote; see applyEditable.
  void applyEditingSettings();
  void listenToDocument();
  // The engine's listeners: for good (removed when the engine goes), or for one call.
  int listen(const val& target, const char* type, int kind, bool capture = false);
  val persistent(int kind);
  val once(int kind);
  void raise(const char* type, int x = 0, int y = 0, int index = -1);
  void noteChange(bool content);
  void fireDisplayChanged();
  val selectionSnapshot() const;
  bool sameSelection(const val& a, const val& b) const;
  void onKeyDown(const val& event);
  void onBeforeInput(const val& event);
  void startParagraphAtCaret();
  void onMouseDown(const val& event);
  void onContextMenu(const val& event);
  void onFiles(int kind, const val& event);

  // ---- control selection and handles (engine.cpp)
  void selectControl(const dom::Element& element);
  void updateHandles();
  void onHandleDown(const val& event);
  void onHandleMove(const val& event);
  void onHandleUp(const val& event);

  // ---- commands (engine_commands.cpp)
  const Context& context();
  std::int32_t status(editing::Decmd id);
  std::string execute(editing::Decmd id, const CommandValue& value);
  // The browser's own command for `id` (see editing::kBrowserCommands), or one by the browser's name.
  bool browserCommand(editing::Decmd id, const std::string& value = std::string());
  bool runBrowserCommand(const std::string& name, const std::string& value = std::string());
  std::int32_t toggleStatus(editing::Decmd id);
  bool caretState(editing::Decmd id);
  std::string blockFormatName() const;
  std::string fontName() const;
  std::string fontSize() const;
  std::string foreColor() const;
  void createLink(const std::string& url);
  void unlink();
  void insertImage(const std::string& source);
  void paste();
  void clipboardWrite(bool cut);

  // ---- tables (engine_tables.cpp)
  dom::Element caretCell() const;
  DomTable readTable(const dom::Element& table) const;
  int cellNumber(const DomTable& table, const dom::Element& cell) const;
  void applyTableEdit(DomTable& table, const editing::TableEdit& edit);
  static void writeSpan(const val& cell, const char* attribute, int span);
  std::vector<int> touchedCells(const DomTable& table);
  bool canMergeCells();
  bool canSplitCell();
  void insertTable(const InsertTableParam& param);
  void insertRow();
  void insertColumn();
  void deleteRows();
  void deleteColumns();
  void mergeCells();
  void splitCell();
  void placeCaretIn(const dom::Element& element, bool atEnd = false);

  // ---- find (engine_find.cpp)
  void openFind();
  void closeFind();
  void findNext();
  void onFindClick(const val& event);
  void onFindKey(const val& event);

  // ---- context menu (engine_menu.cpp)
  void showMenu(int x, int y);
  void hideMenu();
  void chooseMenuItem(int index);
  void onMenuClick(const val& event);
  void onMenuKey(const val& event);

  int id_;
  Events events_;
  EventRoute route_{"engineEvent"};
  val container_;
  val box_ = val::undefined();       // the engine's box in the container
  val frame_ = val::undefined();     // the iframe
  val document_ = val::null();       // the frame's document
  val overlay_ = val::undefined();   // handles, context menu and find dialog above the frame
  val handles_ = val::undefined();
  val menu_ = val::undefined();
  val find_ = val::undefined();
  val observer_ = val::undefined();  // the MutationObserver over the body
  val observedBody_ = val::null();
  val visualAidsSheet_ = val::undefined();
  val eventLog_ = val::array();
  val scriptHandlers_ = val::object();
  val baseElement_ = val::null();
  std::unique_ptr<UndoHistory> history_;

  std::string baseUrl_;
  bool busy_ = false;
  bool visualAids_ = false;
  bool inputLocked_ = false;
  // The window whose editor has been given the editing settings (a frame put back into the page
  // is a new window with the browser's defaults).
  val settingsWindow_ = val::null();

  // A caret at the start waiting for the first paint (caretToStart), and the selection it was
  // asked for over: any other selection by then means someone placed the caret.
  bool caretPending_ = false;
  val caretAskedAt_ = val::null();

  // DisplayChanged coalescing: the first change of a frame is reported at the end of the task
  // that made it; later changes in the same frame wait for the next frame.
  bool microtaskQueued_ = false;
  bool firedThisFrame_ = false;
  bool frameQueued_ = false;
  bool changePending_ = false;
  bool contentChanged_ = false;
  bool deferredToFrame_ = false;
  bool paintPending_ = false;
  std::function<void()> loadPainted_;
  std::uint64_t contentVersion_ = 0;
  val lastSnapshot_ = val::null();

  // Status answers stay valid while neither the engine nor the DOM wrapper saw a change, and only
  // while a DisplayChanged is being handled: outside it the browser may have moved the selection
  // without telling anyone yet (selectionchange comes later).
  bool caching_ = false;
  // The caret at which a character style was last switched (see toggleStatus).
  val typingStyleAt_ = val::null();
  std::unique_ptr<Context> context_;
  std::uint64_t contextGeneration_ = ~std::uint64_t{0};
  std::uint64_t generation_ = 0;
  std::int32_t statusCache_[64];
  std::uint64_t statusGeneration_ = ~std::uint64_t{0};

  // Resize by handle in progress.
  struct Drag {
    bool active = false;
    std::string handle;
    double startX = 0, startY = 0, startWidth = 0, startHeight = 0;
    val element = val::null();
  } drag_;

  // Context menu.
  std::vector<int> menuListeners_;  // go with the menu's element
  std::vector<std::string> menuCaptions_;
  std::vector<std::int32_t> menuStates_;
  bool menuRequested_ = false;
  int menuX_ = 0, menuY_ = 0;

  // Find: where the next search starts, as a collapsed range; null means the top.
  val findFrom_ = val::null();
};

// The engine living in the editor element `element` (by its test surface), or null.
Engine* engineById(int id);

}  // namespace vellmar::browser
