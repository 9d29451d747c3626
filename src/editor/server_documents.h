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
struct ControlState;

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
// to the inner HTML of its body (kept whole when it has no body). The page's own memory becomes
// the document's.
std::string documentForEditing(std::string page, bool stripStyles);

// The identifier a save answer carries ("<vmContentID>42</vmContentID>"), or nullopt when the
// answer does not parse or has another root.
std::optional<std::string> contentIdFromSaveAnswer(std::string_view body);
// The page shown for a save answer that is not a vmContentID document.
std::string malformedSavePage(std::string_view pathToSaveToServer, std::string_view body);

// The status strip's account of the last document load and save, so that a failure is never
// silent (the message window shows server exchanges only in debug mode).
inline constexpr std::string_view kStatusLoading = "Loading\u2026";
inline constexpr std::string_view kStatusLoaded = "Loaded";
inline constexpr std::string_view kStatusSaving = "Saving\u2026";
inline constexpr std::string_view kStatusSaved = "Saved";
enum class StatusAction { Load, Save };
// "Load failed: " or "Save failed: " and the reason in a few words: "HTTP 500" for a status the
// server answered with (from the parse error's message), "cannot reach the server" for a
// transport error, "no answer within N seconds" for a time-out.
std::string failedStatus(StatusAction action, std::string_view reason);
std::string httpFailureReason(std::string_view parseErrorMessage);
std::string timeoutReason(int httpTimeout);
inline constexpr std::string_view kUnreachableReason = "cannot reach the server";
inline constexpr std::string_view kUnexpectedAnswerReason = "unexpected answer";
inline constexpr std::string_view kBadPortReason = "the port is not a number";
inline constexpr std::string_view kUnpreparedReason = "the document could not be prepared";

// Whether the document in the editor differs from the one last loaded or stored by a save. The
// document is compared as getBodyHTML hands it out, so that what the clean-up does not keep
// (white space between tags, letter case) never counts as a change.
class ChangeTracker {
 public:
  // What is kept of a document to tell whether another one is the same: its length and two
  // independent 64-bit hashes of its bytes, instead of a copy of a document that may run to
  // megabytes. It takes the text in pieces, as the clean-up hands it on.
  struct Digest {
    std::size_t size = 0;
    std::uint64_t first = 0xcbf29ce484222325ULL;
    std::uint64_t second = 0x9e3779b97f4a7c15ULL;
    void add(std::string_view text);
    static Digest of(std::string_view text) {
      Digest d;
      d.add(text);
      return d;
    }
    bool operator==(const Digest&) const = default;
  };

  // The document now in the editor is the stored one.
  void loaded(const Digest& bodyHTML);
  // The same, measured later (`measure`): reading a long document back out of the engine takes a
  // while, and the person should see it first. `version` is the engine's count of changes to its
  // document as the load left it.
  void loadedAt(std::uint64_t version);
  bool measured() const { return !loadedAt_; }
  // Measures the document `loadedAt` stands for. When the engine's count is still the one it had
  // then, the document is the loaded one and `digest` reads it; when anything changed it in
  // between (or it cannot be read), what was stored can no longer be told, and the document
  // counts as changed until a save.
  void measure(std::uint64_t versionNow, const std::function<std::optional<Digest>()>& digest);
  // A save posts this document; it becomes the stored one if the save succeeds. A later save
  // replaces it.
  void saveStarted(const Digest& bodyHTML) { posting_ = bodyHTML; }
  void saveSucceeded();
  // Asked once the stored document is measured.
  bool changed(const Digest& currentBodyHTML) const { return unknown_ || currentBodyHTML != stored_; }

 private:
  Digest stored_;
  Digest posting_;
  std::optional<std::uint64_t> loadedAt_;
  bool unknown_ = false;
};

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
  std::function<void(std::string document)> storeContent;
  // getContent(contentType) of the engine's document; nothing when it could not be prepared.
  std::function<std::optional<std::string>(std::int32_t contentType)> getContent;
  // The extracted class list, for the `style` menu.
  std::function<void(const std::vector<std::string>& classes)> classesExtracted;
  // Hiding the `cssClasses` item after a failed style sheet request.
  std::function<void(std::string_view menu, std::string_view item, bool visible)>
      setVisibleMenuItem;
  // The window a malformed save answer is shown in (the message window by default).
  std::function<void(const std::string& page)> showSaveError;
  // The `ContentID` Let, with its PropertyChanged (the bare store by default).
  std::function<void(const std::string& id)> storeContentID;
  // The digest of getBodyHTML of the engine's document, for the change tracker; nothing when it
  // could not be prepared.
  std::function<std::optional<ChangeTracker::Digest>()> bodyDigest;
  // The engine's count of changes to its document (for a document the tracker measures later).
  std::function<std::uint64_t()> contentVersion;
  // The status strip's text.
  std::function<void(const std::string& text)> showStatus;
  // True while the document request is under way: the editing area takes no input.
  std::function<void(bool loading)> documentLoading;
};

// A request as it would go out: the server's host and port and the composed request.
struct PlannedRequest {
  std::string host;
  int port = 0;
  http::OutgoingRequest request;
};

// ctlHttpContent, ctlHttpCSS, ctlHttpSaveToServer and ctlHttpKeepAlive of one control.
class ServerDocuments {
 public:
  // `state` is the editor's own (request in progress, document loading).
  ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks, ControlState& state);
  ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks, ControlState& state,
                  PropertySet& properties);

  void loadContent();
  // The document request loadContent() would send now, for a platform that starts it ahead of
  // the first show (while the interface is still being built) and hands its answer to the
  // exchange that sends the same request. Nothing when no request would go out (no domain, port
  // or pathToContent, a port that is not a number) or while the document request is under way.
  std::optional<PlannedRequest> plannedContentRequest();
  void loadStylesheet();
  // A save started while another is under way resets the save client, which abandons the
  // running exchange: the newer document is the one that counts.
  void saveToServer();
  // tmrKeepAlive_Timer.
  void keepAliveTick();

  bool saving() const { return saving_; }
  const std::vector<std::string>& classList() const { return classes_; }
  std::int16_t keepAliveTicks() const { return counter_.value(); }
  ChangeTracker& changes() { return changes_; }
  // The document differs from the one last loaded or saved.
  bool hasUnsavedChanges();
  // Measures a document the tracker took as loaded but has not read yet (nothing otherwise).
  void measureStoredDocument();

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
  void status(std::string_view text);
  void loadFailed(std::string_view reason);
  void setLoading(bool loading);

  PropertySet& properties_;
  ControlState& state_;
  ServerDocumentHooks hooks_;
  http::ctlHttpRequest content_;
  http::ctlHttpRequest css_;
  http::ctlHttpRequest save_;
  http::ctlHttpRequest keepAlive_;
  KeepAliveCounter counter_;
  std::vector<std::string> classes_;
  ChangeTracker changes_;
  bool saving_ = false;
};

}  // namespace vellmar::editor
