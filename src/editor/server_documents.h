#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http/http_request.h"

namespace vellmar::menubar {
class mcMenuBar;
}

// The control's exchanges with its own server: the document and style sheet it edits with, saving
// the document back, and the keep-alive page that keeps the user's login from lapsing.
namespace vellmar::editor {

class PropertySet;

// The class selectors of a style sheet, each as written with its leading ".", sorted by their
// upper-case forms. A sheet without class rules gives the single empty entry.
std::vector<std::string> cssClassesFromStyleSheet(std::string_view sheet);
// Ascending by upper-case form: adjacent pairs are swapped and the walk restarts after each swap,
// so equal names keep their order.
void sortClassNames(std::vector<std::string>& names);
// Adds the classes as the submenu of the `style` menu's `cssClasses` item, or hides that item when
// `classes` holds only the empty entry; `DisableStyleMenu` hides the whole `style` button.
void fillStyleMenu(menubar::mcMenuBar& menuBar, const std::vector<std::string>& classes,
                   bool disableStyleMenu);

// A fetched page made ready for editing: its own styling stripped when `stripStyles`, then reduced
// to the inner HTML of its body (kept whole when it has no body).
std::string documentForEditing(std::string_view page, bool stripStyles);

// The identifier a save answer carries ("<vmContentID>42</vmContentID>"), or nullopt when the
// answer does not parse or has another root.
std::optional<std::string> contentIdFromSaveAnswer(std::string_view body);
// The page shown for a save answer that is not a vmContentID document.
std::string malformedSavePage(std::string_view pathToSaveToServer, std::string_view body);

// Ticks since the last keep-alive request (16-bit, as the timer counts them).
class KeepAliveCounter {
 public:
  // One timer tick; true when a keep-alive request is due now (the counter is then back at 0).
  // Without a keep-alive path nothing counts.
  bool tick(bool hasPath, std::int32_t keepAliveTimeout);
  std::int16_t value() const { return ticks_; }

 private:
  std::int16_t ticks_ = 0;
};

// What the exchanges do to the rest of the editor.
struct ServerDocumentHooks {
  // The `content` Let: keep the document and load it into the engine.
  std::function<void(const std::string& document)> storeContent;
  // getContent(contentType) of the engine's document; nothing when it could not be prepared.
  std::function<std::optional<std::string>(std::int32_t contentType)> getContent;
  // The extracted class list, for the `style` menu.
  std::function<void(const std::vector<std::string>& classes)> classesExtracted;
  // Hiding the `cssClasses` item after a failed style sheet request.
  std::function<void(std::string_view menu, std::string_view item, bool visible)>
      setVisibleMenuItem;
  // The window a malformed save answer is shown in (the message window by default).
  std::function<void(const std::string& page)> showSaveError;
};

// ctlHttpContent, ctlHttpCSS, ctlHttpSaveToServer and ctlHttpKeepAlive of one control.
class ServerDocuments {
 public:
  ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks);
  ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks, PropertySet& properties);

  void loadContent();
  void loadStylesheet();
  // Ignored while an earlier save is still under way.
  void saveToServer();
  // tmrKeepAlive_Timer.
  void keepAliveTick();

  bool saving() const { return saving_; }
  const std::vector<std::string>& classList() const { return classes_; }
  std::int16_t keepAliveTicks() const { return counter_.value(); }

  http::ctlHttpRequest& contentRequest() { return content_; }
  http::ctlHttpRequest& cssRequest() { return css_; }
  http::ctlHttpRequest& saveRequest() { return save_; }
  http::ctlHttpRequest& keepAliveRequest() { return keepAlive_; }

 private:
  void wireContent();
  void wireStylesheet();
  void wireSave();
  void wireKeepAlive();
  void saveAnswered(const std::string& body);

  PropertySet& properties_;
  ServerDocumentHooks hooks_;
  http::ctlHttpRequest content_;
  http::ctlHttpRequest css_;
  http::ctlHttpRequest save_;
  http::ctlHttpRequest keepAlive_;
  KeepAliveCounter counter_;
  std::vector<std::string> classes_;
  bool saving_ = false;
};

}  // namespace vellmar::editor
