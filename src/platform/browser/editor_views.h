#pragma once

#include <emscripten/val.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "editor/control_state.h"
#include "editor/server_documents.h"
#include "html/cleanup.h"
#include "platform/browser/control_view.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

class Engine;
class EditorMenuBar;

// The two views of the editing area: the engine (WYSIWYG) and the source box (HTML), the tabs and
// `view` menu items that switch between them, and the document going into and out of the engine.
class EditorViews {
 public:
  // `state` is the editor's own: its current view and whether its document is still loading.
  EditorViews(ControlView& view, EditorMenuBar& menuBar, editor::ControlState& state);
  ~EditorViews();
  EditorViews(const EditorViews&) = delete;
  EditorViews& operator=(const EditorViews&) = delete;

  // The engine exists from the first show on; a document loaded before goes into it then.
  void attach(Engine& engine);

  // Puts the document into the engine, scrolls to the top, refreshes the source box and puts the
  // caret at the start. Before the engine exists the document waits for it.
  void loadDocument(const std::string& content);
  void loadDocument(const emscripten::val& content);
  // A collapsed selection at the start of the body, once the document has been painted.
  void caretToStart();
  // Told each time the HTML view is shown (true) or left (false), for the toolbars.
  std::function<void(bool shown)> sourceViewShown;
  // The body cleaned up; nothing when the clean-up failed (never a part of the document).
  std::optional<std::string> getBodyHTML() const;
  // The same as a JavaScript string, for the page, and as a digest, for the change tracker: the
  // module's memory then never holds the whole of it.
  std::optional<emscripten::val> bodyText() const;
  std::optional<editor::ChangeTracker::Digest> bodyDigest() const;
  // 0: getBodyHTML; 1: the body's plain text; anything else: "". Nothing when it failed.
  std::optional<std::string> getContent(std::int32_t contentType) const;
  // The same as a JavaScript string.
  std::optional<emscripten::val> contentText(std::int32_t contentType) const;
  // "wysiwyg" or "html"; any other key, or the current view's, does nothing. Nor does a switch
  // while the document is loading: the source box would write into a document about to go.
  void setView(std::string_view viewKey);

  // The page's events.
  void handleEvent(int kind, int index);

 private:
  void sourceChanged();
  // The body as getBodyHTML hands it out, to `piece` a part at a time; false when the clean-up
  // failed (the parts handed on so far are then not the document). `sizeHint`, when given, first
  // hears the length of the body's markup (in UTF-16 units).
  bool cleanBody(const html::Cleaner::Sink& piece, const std::function<void(std::size_t)>& sizeHint = {}) const;
  void setAllMenuItemsGrayed(bool grayed);
  void selectTab(int index);
  static void setAside(emscripten::val box);
  // Makes the engine's body from the source box's text (unless it is made from it already).
  void bodyFromSource(bool always);

  ControlView& view_;
  EditorMenuBar& menuBar_;
  editor::ControlState& state_;
  Engine* engine_ = nullptr;
  // A document loaded before the engine existed (a JavaScript string), or null.
  emscripten::val pending_ = emscripten::val::null();
  emscripten::val source_;
  EventRoute route_{"EditorViews"};
  // True while the control itself writes the source box.
  bool suppress_ = false;
  // The source box's text the engine's body was last made from, and the engine's content version
  // just after: while both still hold, making the body from the same text again would give the
  // same document, so a switch back to the WYSIWYG view leaves it (and its layout) as it is.
  emscripten::val madeFrom_ = emscripten::val::null();
  // What the control last wrote into the source box (null once someone typed into it).
  emscripten::val written_ = emscripten::val::null();
  std::uint64_t madeAt_ = 0;
};

}  // namespace vellmar::browser
