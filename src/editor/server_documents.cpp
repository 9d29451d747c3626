#include "editor/server_documents.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "common/diagnostics.h"
#include "dialogs/message_window.h"
#include "editor/control_state.h"
#include "editor/properties.h"
#include "html/splice.h"
#include "http/server_exchange.h"
#include "menubar/menu_bar.h"
#include "xml/simple_dom.h"

namespace vellmar::editor {

namespace {

std::string_view trimBlanks(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// a > b comparing upper-case forms.
bool greaterUpper(const std::string& a, const std::string& b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto ca = static_cast<unsigned char>(upper(a[i]));
    const auto cb = static_cast<unsigned char>(upper(b[i]));
    if (ca != cb) return ca > cb;
  }
  return a.size() > b.size();
}

constexpr std::string_view kContentSuccess = "Successfully retrieved content.";
constexpr std::string_view kSheetSuccess = "Successfully retrieved style sheet.";
constexpr std::string_view kSaveSuccess = "Successfully saved to server.";
constexpr std::string_view kKeepAliveSuccess = "Successfully accessed keep-alive page.";
constexpr std::string_view kSaveFailureTitle = "Save Error";
constexpr std::string_view kSaveFailureSummary = "The document could not be prepared.";
constexpr std::string_view kSaveFailureDetails =
    "<p>The document could not be prepared for saving, so nothing was sent to the server. The "
    "document in the editor is as it was.</p>";

}  // namespace

void sortClassNames(std::vector<std::string>& names) {
  // The walk restarts at the first pair after every swap. A restart only needs to go back to the
  // pair before the swap, since everything in front of it was already in order: the same swaps
  // happen in the same order, without rescanning the ordered prefix.
  std::size_t i = 0;
  while (i + 1 < names.size()) {
    if (greaterUpper(names[i], names[i + 1])) {
      std::swap(names[i], names[i + 1]);
      if (i > 0) --i;
    } else {
      ++i;
    }
  }
}

std::vector<std::string> cssClassesFromStyleSheet(std::string_view sheet) {
  std::vector<std::string> classes(1);
  std::size_t start = 0;
  while (start <= sheet.size()) {
    std::size_t end = sheet.find("\r\n", start);
    if (end == std::string_view::npos) end = sheet.size();
    const std::string_view line = trimBlanks(sheet.substr(start, end - start));
    start = end + 2;
    if (line.empty() || line.front() != '.') continue;
    const std::size_t brace = line.find('{');
    if (brace == std::string_view::npos) continue;
    const std::string_view name = trimBlanks(line.substr(0, brace));
    if (name.find(':') != std::string_view::npos) continue;
    if (classes.size() == 1 && classes.front().empty()) {
      classes.front() = std::string(name);
    } else {
      classes.emplace_back(name);
    }
  }
  sortClassNames(classes);
  return classes;
}

void fillStyleMenu(menubar::mcMenuBar& menuBar, const std::vector<std::string>& classes,
                   bool disableStyleMenu) {
  if (classes.empty() || classes.front().empty()) {
    menuBar.setVisibleMenuItem("style", "cssClasses", false);
    return;
  }
  for (const auto& name : classes) {
    const auto button = menuBar.getMBbuttonIDbyName("style");
    const auto item = menuBar.getMBitemIDbyName(button, "cssClasses");
    menuBar.AddMenuItem(button, "cssStyle_" + name, item + 1, name, "", true, false, false, false);
  }
  menuBar.setVisibleMenuItem("style", "cssClasses", true);
  menuBar.setVisibleMenuItem("style", "clearStyle", true);
  menuBar.setVisibleMenuItem("style", "sep12", true);
  if (disableStyleMenu) menuBar.setVisibleMenuButton("style", false);
}

std::string documentForEditing(std::string page, bool stripStyles) {
  if (!stripStyles) return html::takeBodyContent(std::move(page));
  std::string stripped = html::stripEmbeddedStyles(page);
  std::string().swap(page);
  return html::takeBodyContent(std::move(stripped));
}

std::optional<std::string> contentIdFromSaveAnswer(std::string_view body) {
  xml::SimpleDOMParser parser;
  const auto root = parser.Parse(http::prepareXmlText(body));
  if (!root || root->name != "vmContentID") return std::nullopt;
  return root->Text;
}

std::string malformedSavePage(std::string_view pathToSaveToServer, std::string_view body) {
  std::string page = "<p>There was an error parsing the save to server results from ";
  page += pathToSaveToServer;
  page +=
      ":</p><p>Error: The save to server results were not properly formatted. The  save to "
      "server results are output below:</p><hr>";
  const std::string_view trimmed = trimBlanks(body);
  page.reserve(page.size() + trimmed.size());
  for (const char c : trimmed) {
    if (c == '<') {
      page += "&lt;";
    } else if (c == '>') {
      page += "&gt;";
    } else {
      page += c;
    }
  }
  return page;
}

std::string failedStatus(StatusAction action, std::string_view reason) {
  std::string text = action == StatusAction::Load ? "Load failed: " : "Save failed: ";
  text += reason;
  return text;
}

std::string httpFailureReason(std::string_view message) {
  // A status the server answered with reads "HTTP Error: HTTP/1.1 500 Internal Server Error", or
  // for 404 "HTTP Error: <path> was not found."; anything else is an answer that was not HTTP.
  const std::size_t version = message.find("HTTP/1.");
  if (version != std::string_view::npos) {
    const std::size_t code = message.find(' ', version);
    if (code != std::string_view::npos && code + 4 <= message.size()) {
      const std::string_view digits = message.substr(code + 1, 3);
      if (std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return "HTTP " + std::string(digits);
    }
  }
  constexpr std::string_view kNotFound = " was not found.";
  if (message.size() >= kNotFound.size() &&
      message.substr(message.size() - kNotFound.size()) == kNotFound)
    return "HTTP 404";
  if (message.substr(0, 10) == "HTTP Error") return "HTTP error";
  return "unreadable answer";
}

std::string timeoutReason(int httpTimeout) {
  return "no answer within " + std::to_string(httpTimeout) + " seconds";
}

void ChangeTracker::Digest::add(std::string_view text) {
  // FNV-1a, and a multiply-rotate hash with other constants; a document edited so that both
  // hashes and the length come out the same is not a practical case.
  size += text.size();
  std::uint64_t a = first;
  std::uint64_t b = second;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    a = (a ^ byte) * 0x100000001b3ULL;
    b = std::rotl((b ^ byte) * 0xff51afd7ed558ccdULL, 31);
  }
  first = a;
  second = b;
}

void ChangeTracker::loaded(const Digest& bodyHTML) {
  stored_ = bodyHTML;
  posting_ = Digest();
  loadedAt_.reset();
  unknown_ = false;
}

void ChangeTracker::loadedAt(std::uint64_t version) {
  posting_ = Digest();
  loadedAt_ = version;
  unknown_ = false;
}

void ChangeTracker::measure(std::uint64_t versionNow,
                            const std::function<std::optional<Digest>()>& digest) {
  if (!loadedAt_) return;
  const bool untouched = versionNow == *loadedAt_;
  loadedAt_.reset();
  const std::optional<Digest> now = untouched && digest ? digest() : std::nullopt;
  if (now) stored_ = *now;
  unknown_ = !now;
}

void ChangeTracker::saveSucceeded() {
  stored_ = posting_;
  loadedAt_.reset();
  unknown_ = false;
}

bool KeepAliveCounter::tick(bool hasPath, std::int32_t keepAliveTimeout) {
  if (!hasPath) return false;
  // The counter is 16-bit; it stops at its top rather than wrapping to negative counts.
  if (ticks_ < INT16_MAX) ++ticks_;
  if (ticks_ <= keepAliveTimeout) return false;
  ticks_ = 0;
  return true;
}

ServerDocuments::ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks,
                                 ControlState& state)
    : ServerDocuments(loop, std::move(hooks), state, PropertySet::shared()) {}

ServerDocuments::ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks,
                                 ControlState& state, PropertySet& properties)
    : properties_(properties),
      state_(state),
      hooks_(std::move(hooks)),
      content_(loop),
      css_(loop),
      save_(loop),
      keepAlive_(loop) {
  wireContent();
  wireStylesheet();
  wireSave();
  wireKeepAlive();
}

void ServerDocuments::status(std::string_view text) {
  if (hooks_.showStatus) hooks_.showStatus(std::string(text));
}

void ServerDocuments::setLoading(bool loading) {
  if (state_.loadingDocument == loading) return;
  state_.loadingDocument = loading;
  if (hooks_.documentLoading) hooks_.documentLoading(loading);
}

void ServerDocuments::loadFailed(std::string_view reason) {
  setLoading(false);
  status(failedStatus(StatusAction::Load, reason));
}

void ServerDocuments::measureStoredDocument() {
  if (changes_.measured()) return;
  changes_.measure(hooks_.contentVersion ? hooks_.contentVersion() : 0, hooks_.bodyDigest);
}

bool ServerDocuments::hasUnsavedChanges() {
  if (!hooks_.bodyDigest) return false;
  measureStoredDocument();
  // A document that cannot be prepared cannot be saved either: it counts as changed.
  const std::optional<ChangeTracker::Digest> current = hooks_.bodyDigest();
  return !current || changes_.changed(*current);
}

void ServerDocuments::loadContent() {
  bool started = false;
  guarded("loadContent", [&] {
    setLoading(true);
    status(kStatusLoading);
    http::addCommonVariables(content_, properties_);
    started = http::startExchange(content_, 0, properties_.pathToContent(),
                                  properties_.pathToContent(), properties_);
  });
  // A request that never went out must not leave the editing area locked.
  if (!started) loadFailed(kBadPortReason);
}

std::optional<PlannedRequest> ServerDocuments::plannedContentRequest() {
  std::optional<PlannedRequest> planned;
  guarded("plannedContentRequest", [&] {
    using State = http::ctlHttpRequest::RequestState;
    if (content_.state() == State::connecting || content_.state() == State::receiving) return;
    if (properties_.domain().empty() || properties_.pathToContent().empty()) return;
    const std::optional<int> port = http::convertPort(properties_.port());
    if (!port) return;
    // The variables as loadContent() adds them; it resets the instance again before it sends.
    http::addCommonVariables(content_, properties_);
    planned = PlannedRequest{
        properties_.domain(), *port,
        content_.composeRequest(0, properties_.domain(),
                                http::exchangePath(properties_.documentRoot(),
                                                   properties_.pathToContent()),
                                *port)};
  });
  return planned;
}

void ServerDocuments::loadStylesheet() {
  guarded("loadStylesheet", [&] {
    http::addCommonVariables(css_, properties_);
    http::startExchange(css_, 0, properties_.pathToStyleSheet(), properties_.pathToStyleSheet(),
                        properties_);
  });
}

void ServerDocuments::saveToServer() {
  guarded("saveToServer", [&] {
    std::optional<std::string> text =
        hooks_.getContent ? hooks_.getContent(properties_.saveContentMethod()) : std::string();
    if (!text) {
      // Posting anything else in its place would overwrite the stored document.
      http::showHttpMessage(kSaveFailureTitle, kSaveFailureSummary, kSaveFailureDetails,
                            properties_.pathToSaveToServer());
      status(failedStatus(StatusAction::Save, kUnpreparedReason));
      return;
    }
    // A document loaded but not measured yet is measured before this one goes out.
    measureStoredDocument();
    // What counts as stored after the save is the body as getBodyHTML hands it out, whatever
    // form of the document the save posts.
    std::optional<ChangeTracker::Digest> posted;
    if (properties_.saveContentMethod() != BodyHTML && hooks_.bodyDigest) posted = hooks_.bodyDigest();
    changes_.saveStarted(posted.value_or(ChangeTracker::Digest::of(*text)));
    http::addCommonVariables(save_, properties_);
    save_.addFormVariable("vmContent", 0, std::move(*text));
    status(kStatusSaving);
    saving_ = http::startExchange(save_, 1, properties_.pathToSaveToServer(),
                                  properties_.pathToSaveToServer(), properties_);
    if (!saving_) status(failedStatus(StatusAction::Save, kBadPortReason));
  });
}

void ServerDocuments::keepAliveTick() {
  guarded("tmrKeepAlive_Timer", [&] {
    if (!counter_.tick(!properties_.pathToKeepAlive().empty(), properties_.keepAliveTimeout())) {
      return;
    }
    http::addCommonVariables(keepAlive_, properties_);
    debugLog("Accessing PathToKeepAlive");
    http::startExchange(keepAlive_, 0, properties_.pathToKeepAlive(),
                        properties_.pathToKeepAlive(), properties_);
  });
}

void ServerDocuments::wireContent() {
  auto& e = content_.events;
  e.started = [this] { state_.requestInProgress = true; };
  e.canceled = [this] {
    state_.requestInProgress = false;
    setLoading(false);
  };
  e.complete = [this](std::string body) {
    const bool loaded = guarded("ctlHttpContent_complete", [&] {
      const std::string& source = properties_.pathToContent();
      http::showHttpMessage("HTTP Success", kContentSuccess, body, source);
      const bool strip = !properties_.pathToStyleSheet().empty() &&
                         properties_.switchValue("DisableCssStyles") == 0;
      // The answer becomes the document: loading makes more copies of it.
      std::string document = documentForEditing(std::move(body), strip);
      if (hooks_.storeContent) hooks_.storeContent(std::move(document));
    });
    state_.requestInProgress = false;
    setLoading(false);
    status(loaded ? kStatusLoaded : failedStatus(StatusAction::Load, kUnexpectedAnswerReason));
  };
  e.error = [this](int number, const std::string& description) {
    http::reportHttpError(number, description, properties_.pathToContent(), true);
    state_.requestInProgress = false;
    loadFailed(kUnreachableReason);
  };
  e.parseError = [this](int, const std::string& message, const std::string& text) {
    http::reportParseError(message, text, properties_.pathToContent());
    state_.requestInProgress = false;
    loadFailed(httpFailureReason(message));
  };
  e.timeout = [this] {
    http::reportTimeout(properties_.pathToContent(), properties_.httpTimeout());
    state_.requestInProgress = false;
    loadFailed(timeoutReason(properties_.httpTimeout()));
  };
}

void ServerDocuments::wireStylesheet() {
  auto& e = css_.events;
  const auto failed = [this] {
    if (hooks_.setVisibleMenuItem) hooks_.setVisibleMenuItem("style", "cssClasses", false);
    state_.requestInProgress = false;
  };
  e.started = [this] { state_.requestInProgress = true; };
  e.complete = [this](const std::string& sheet) {
    guarded("ctlHttpCSS_complete", [&] {
      http::showHttpMessage("HTTP Success", kSheetSuccess, "<pre>" + sheet + "</pre>",
                            properties_.pathToStyleSheet());
      classes_ = cssClassesFromStyleSheet(sheet);
      if (hooks_.classesExtracted) hooks_.classesExtracted(classes_);
    });
    state_.requestInProgress = false;
  };
  e.error = [this, failed](int number, const std::string& description) {
    http::reportHttpError(number, description, properties_.pathToStyleSheet());
    failed();
  };
  e.parseError = [this, failed](int, const std::string& message, const std::string& text) {
    http::reportParseError(message, text, properties_.pathToStyleSheet());
    failed();
  };
  e.timeout = [this, failed] {
    http::reportTimeout(properties_.pathToStyleSheet(), properties_.httpTimeout());
    failed();
  };
}

void ServerDocuments::saveAnswered(const std::string& body) {
  const std::string& source = properties_.pathToSaveToServer();
  http::showHttpMessage("HTTP Success", kSaveSuccess, body, source);
  if (auto id = contentIdFromSaveAnswer(body)) {
    if (hooks_.storeContentID) {
      hooks_.storeContentID(*id);
    } else {
      properties_.let("ContentID", *id);
    }
    changes_.saveSucceeded();
    status(kStatusSaved);
    return;
  }
  status(failedStatus(StatusAction::Save, kUnexpectedAnswerReason));
  const std::string page = malformedSavePage(source, body);
  if (hooks_.showSaveError) {
    hooks_.showSaveError(page);
  } else {
    dialogs::showMessage(page, "HTTP Error", "", 6000, 4000, false);
  }
}

void ServerDocuments::wireSave() {
  auto& e = save_.events;
  const auto done = [this] {
    saving_ = false;
    state_.requestInProgress = false;
  };
  e.started = [this] { state_.requestInProgress = true; };
  e.canceled = done;
  e.complete = [this, done](const std::string& body) {
    done();
    guarded("ctlHttpSaveToServer_complete", [&] { saveAnswered(body); });
  };
  e.error = [this, done](int number, const std::string& description) {
    done();
    status(failedStatus(StatusAction::Save, kUnreachableReason));
    http::reportHttpError(number, description, properties_.pathToSaveToServer());
  };
  e.parseError = [this, done](int, const std::string& message, const std::string& text) {
    done();
    status(failedStatus(StatusAction::Save, httpFailureReason(message)));
    http::reportParseError(message, text, properties_.pathToSaveToServer());
  };
  e.timeout = [this, done] {
    done();
    status(failedStatus(StatusAction::Save, timeoutReason(properties_.httpTimeout())));
    http::reportTimeout(properties_.pathToSaveToServer(), properties_.httpTimeout());
  };
}

void ServerDocuments::wireKeepAlive() {
  auto& e = keepAlive_.events;
  e.started = [] { debugLog("Get Keep-alive page."); };
  e.complete = [this](const std::string& body) {
    http::showHttpMessage("HTTP Success", kKeepAliveSuccess, body, properties_.pathToKeepAlive());
  };
  e.error = [this](int number, const std::string& description) {
    http::reportHttpError(number, description, properties_.pathToKeepAlive());
  };
  e.parseError = [this](int, const std::string& message, const std::string& text) {
    http::reportParseError(message, text, properties_.pathToKeepAlive());
  };
  e.timeout = [this] {
    http::reportTimeout(properties_.pathToKeepAlive(), properties_.httpTimeout());
  };
}

}  // namespace vellmar::editor
