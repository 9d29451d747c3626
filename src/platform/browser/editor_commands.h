#pragma once

#include <emscripten/val.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "editing/context_menu.h"
#include "editing/dispatch.h"
#include "editor/control_state.h"
#include "platform/browser/dom.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

class Engine;
class EditorMenuBar;

// What the dialogs give back. Dialogs are opened with a continuation that gets the answer when
// they close; a cancelled dialog never calls it.
struct LinkChoice {
  std::string url;
  std::string target = "Default";  // "Default": no target
  std::string name;
};
struct ImageChoice {
  std::string path;  // below documentRoot
  std::string align;
  std::string alt;
  int border = 0, width = 0, height = 0, vspace = 0, hspace = 0;  // 0: not given
};
struct TableChoice {
  std::string rows, cols, border, padding, spacing, width;  // the boxes' texts
  std::string widthValue;                                    // the width as the table carries it
};

// The entry points of the dialogs and panels the commands open. A member left empty stands for a
// dialog that is not there: the operation then does nothing.
struct EditorDialogs {
  std::function<void(const LinkChoice& prefill, std::function<void(const LinkChoice&)> done)> link;
  std::function<void(std::function<void(const ImageChoice&)> done)> image;
  std::function<void(std::function<void(const TableChoice&)> done)> table;
  std::function<void(std::function<void(const std::string& character)> done)> specialCharacters;
  // The spell check writes each change through `replace`: the text in place of the range, as one
  // step of its own.
  std::function<void(std::function<void(const emscripten::val& range, const std::string& text)> replace)>
      spellCheck;
  std::function<void()> about;
  // The element property panels: close them all, show one titled for its element.
  std::function<void()> hideAllFrames;
  std::function<void(editing::PropertiesTarget panel, std::string_view title)> showFrame;
  // The colour picker, starting from a colour text; a cancelled picker never calls `done`.
  std::function<void(const std::string& start, std::function<void(const std::string& colour)> done)> colour;
  // The open panel as the selection tracker follows it: the sourceIndex of its element (-1 when
  // no panel is open), and re-reading that element when its outer HTML changed since it was shown.
  std::function<int()> panelElementIndex;
  std::function<void()> refreshPanel;
};

// The parts of the control the commands reach beyond the engine.
struct EditorCommandHooks {
  std::function<void(std::string_view viewKey)> setView;
  std::function<void()> saveToServer;
  std::function<editor::View()> currentView;
  std::function<void()> updateStatus;
  // Local files (open, save, save as, recent files n).
  std::function<void()> openLocal;
  std::function<void()> saveLocal;
  std::function<void(const std::string& fileName)> saveLocalAs;
  std::function<void(int n)> openRecentFiles;
  // The selection tracker's partial refreshes.
  std::function<void()> checkFontsInMenu;
  std::function<void()> checkFormatInMenu;
  std::function<void()> checkStyleInMenu;
};

// The editor's operations on the document: what every command key, the keyboard's shortcuts and
// the context menu run, through the registry's dispatch. Also handles the engine's events.
class EditorCommands final : public editing::EditorOperations, private editing::CommandEngine {
 public:
  // `root` is the control's shadow root; `source` is the HTML view's source box.
  EditorCommands(Engine& engine, EditorMenuBar& menuBar, emscripten::val root, emscripten::val source,
                 EditorCommandHooks hooks);
  ~EditorCommands() override;
  EditorCommands(const EditorCommands&) = delete;
  EditorCommands& operator=(const EditorCommands&) = delete;

  EditorDialogs& dialogs() { return dialogs_; }

  // `mcMenuBar1_menuItemSelected`: what the menu bar and the toolbars deliver.
  void dispatch(const std::string& key);
  // The selector's events.
  void fontChanged(const std::string& name);
  void formatChanged(const std::string& name);
  void sizeChanged(const std::string& size);

  // The ancestor searches of the selection tracker: whether an element of `tag` encloses the
  // selection, and which (BODY when none does; empty when the document has no such element).
  bool checkForParentTag(std::string_view tag) const;
  dom::Element findParentTag(std::string_view tag) const;
  // The element the selection is about: a text range's parent element, or the selected element.
  dom::Element selectedElement() const;

  // The results of the dialogs, applied to the document.
  void applyLink(const LinkChoice& choice);
  void applyImage(const ImageChoice& choice);
  void applyTable(const TableChoice& choice);
  void insertCharacter(const std::string& character);
  // A word of the spell check replaced: `text` (plain text) in place of the range's contents.
  void replaceText(const emscripten::val& range, const std::string& text);

  // The test and integration surface on the page element (`element.vellmarCommands`).
  void exposeTo(emscripten::val element);

  // ---- editing::EditorOperations
  void runCommand(const editing::CommandRow& row) override;
  void openLocal() override;
  void saveToServer() override;
  void saveLocal() override;
  void saveLocalAs(const std::string& fileName) override;
  void openRecentFiles(int n) override;
  void cut() override;
  void copy() override;
  void paste() override;
  void pasteUnformatted() override;
  void copyHTML() override;
  void pasteHTML() override;
  void spellCheck() override;
  void setView(std::string_view viewKey) override;
  void visualAids() override;
  void addImage() override;
  void addLink() override;
  void addHorizontalrule() override;
  void addTable() override;
  void insertHTML(std::string_view html) override;
  void addOtherCharacter() override;
  void clearStyle() override;
  void setColor() override;
  void setFont(std::string_view key) override;
  void setFontSize(std::string_view key) override;
  void setBlockFormat(std::string_view name) override;
  void applyClass(std::string_view className) override;
  void setTableValign(std::string_view valign) override;
  void goToHelp() override;
  void aboutVellmar() override;
  void checkFormatInMenu() override;

 private:
  // ---- editing::CommandEngine
  std::int32_t QueryStatus(editing::Decmd command) override;
  void ExecCommand(editing::Decmd command) override;

  // The engine's events.
  void documentComplete();
  void displayChanged();
  void showContextMenu(int x, int y);
  void contextMenuAction(int index);
  void propertiesAction();
  void onclick();
  void ondblclick();
  bool shortcutKey(const editing::KeyChord& chord);

  bool wysiwyg() const;
  editing::SelectionType selectionType() const;
  editing::PropertiesTarget propertiesTarget() const;
  // The clipboard in text form. Reading answers later (or never, when the page may not read it).
  void clipboardWrite(const std::string& text);
  void clipboardRead(std::function<void(const std::string& text)> done);
  void sourceBoxReplaceSelection(const std::string& text);
  void colourChosen(const std::string& colour);

  Engine& engine_;
  EditorMenuBar& menuBar_;
  emscripten::val root_;
  emscripten::val source_;
  EditorCommandHooks hooks_;
  EditorDialogs dialogs_;
  EventRoute route_{"EditorCommands"};
};

}  // namespace vellmar::browser
