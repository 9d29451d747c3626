#pragma once

#include <emscripten/val.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "editing/tracker.h"
#include "editor/control.h"
#include "editor/server_documents.h"
#include "platform/browser/control_view.h"
#include "platform/browser/editor_views.h"
#include "platform/browser/menubar_view.h"
#include "platform/browser/modal_dialog.h"

namespace vellmar::browser {

using emscripten::val;

class Engine;
class EditorCommands;
class ColourPicker;
class ElementFrames;
class ImageManagerDialog;
class ImageDrop;
class LinkDialog;
class TableDialog;
class SpecialCharactersDialog;
class AboutDialog;
class LocalFilesView;
class SpellCheckView;
class EditorToolbars;
class EngineTrackedDocument;

// The `<param name=... value=...>` children of an editor element, in document order. This is the
// property bag the control restores from; names keep the spelling of the page.
std::vector<std::pair<std::string, std::string>> readParams(const val& element);

// One editor on the page: the element the page placed (`<object type="application/x-vellmar">` or
// `<vellmar-editor>`), the shadow root that keeps the page's styles and the editor's apart, and the
// control behind them. The loader maps the page's life onto these entry points: the constructor
// when the element is found, show() once it is connected and laid out, resize() on every size
// change, hide() when it is removed or hidden.
class ElementHost {
 public:
  explicit ElementHost(val element);
  ~ElementHost();
  ElementHost(const ElementHost&) = delete;
  ElementHost& operator=(const ElementHost&) = delete;

  void show();
  void hide();
  void resize(double width, double height);

  // The element's public interface (the loader defines a JavaScript property per name).
  val getProperty(const std::string& name) const;
  // False when the value does not convert to the property's type (the loader throws a TypeError).
  bool setProperty(const std::string& name, const val& value);
  // The document as text; when it could not be prepared, an Error is thrown at the caller, since an
  // empty text would pass for the document.
  val getContent(int contentType);
  val getBodyHTML();
  // The document differs from the one last loaded or saved (the page asks before it is left).
  bool hasUnsavedChanges();
  // The ordered (key, value) pairs a save of the properties writes, as [[key, value], ...].
  val writeProperties();
  // A promise of the text of the current debug log file.
  val getDebugLog() const;
  // Shows a message in this editor's message window; `closed` is called when the user closes it
  // (at once when another message is showing).
  void showMessage(const std::string& html, const std::string& caption, const std::string& label,
                   int width, int height, bool showTabs, val closed);

  // Dispatches a DOM event on the element; `detail` becomes the CustomEvent's detail. A bubbling
  // event is also composed: it leaves any shadow root the element sits in.
  void raiseEvent(const std::string& type, const val& detail, bool bubbles = false) const;

  const val& element() const { return element_; }
  const val& surface() const { return surface_; }
  double width() const { return width_; }
  double height() const { return height_; }

 private:
  // The views and the server exchanges, and the control hooks that reach them.
  void wireDocuments(editor::ControlHooks& hooks);
  // The document just loaded is the stored one, from which changes count.
  void storedDocumentLoaded();
  // The dialogs and panels the commands open (host_dialogs.cpp).
  void wireDialogs();
  // Open Local, Save Local, Save Local As and the recent files (host_files.cpp).
  void wireLocalFiles();

  val element_;
  val root_ = val::undefined();     // the shadow root
  val surface_ = val::undefined();  // the control's own box inside the shadow root
  double width_ = 0;
  double height_ = 0;
  bool shown_ = false;
  std::unique_ptr<ControlView> view_;
  std::unique_ptr<EditorMenuBar> menuBar_;
  // The three toolbars and the selector bar.
  std::unique_ptr<EditorToolbars> toolbars_;
  std::unique_ptr<editor::ctlVellmar2> control_;
  std::unique_ptr<Engine> engine_;  // the editing engine, in the editing area
  std::unique_ptr<EditorViews> views_;
  // The editing operations and the dispatch, from the first show on.
  std::unique_ptr<EditorCommands> commands_;
  // The selection tracker on the engine's document, from the first show on.
  std::unique_ptr<EngineTrackedDocument> trackedDocument_;
  std::unique_ptr<editing::SelectionTracker> tracker_;
  // The tracker's targets and partial refreshes, and the element frames it closes.
  void wireTracker();
  // The document, style sheet, save and keep-alive exchanges.
  std::unique_ptr<editor::ServerDocuments> documents_;
  // This editor's message boxes, shared by its dialogs.
  std::unique_ptr<MessageBoxes> messageBoxes_;
  // The colour picker and the element property frames (host_dialogs.cpp).
  std::unique_ptr<ColourPicker> colourPicker_;
  std::unique_ptr<ElementFrames> frames_;
  // The dialogs, each made on first use (host_dialogs.cpp).
  std::unique_ptr<ImageManagerDialog> imageDialog_;
  std::unique_ptr<ImageDrop> imageDrop_;  // images dropped on or pasted into the document
  std::unique_ptr<LinkDialog> linkDialog_;
  std::unique_ptr<TableDialog> tableDialog_;
  std::unique_ptr<SpecialCharactersDialog> charactersDialog_;
  std::unique_ptr<AboutDialog> aboutDialog_;
  std::unique_ptr<SpellCheckView> spellCheck_;
  std::unique_ptr<LocalFilesView> localFiles_;
};

// Public property names in the order of the control's public interface.
std::vector<std::string> propertyNames();

}  // namespace vellmar::browser
