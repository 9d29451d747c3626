#include "editor/server_documents.h"

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

std::string documentForEditing(std::string_view page, bool stripStyles) {
  if (!stripStyles) return html::extractBodyContent(page);
  return html::extractBodyContent(html::stripEmbeddedStyles(page));
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

bool KeepAliveCounter::tick(bool hasPath, std::int32_t keepAliveTimeout) {
  if (!hasPath) return false;
  // The counter is 16-bit; it stops at its top rather than wrapping to negative counts.
  if (ticks_ < INT16_MAX) ++ticks_;
  if (ticks_ <= keepAliveTimeout) return false;
  ticks_ = 0;
  return true;
}

ServerDocuments::ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks)
    : ServerDocuments(loop, std::move(hooks), PropertySet::shared()) {}

ServerDocuments::ServerDocuments(http::EventLoop& loop, ServerDocumentHooks hooks,
                                 PropertySet& properties)
    : properties_(properties),
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

void ServerDocuments::loadContent() {
  guarded("loadContent", [&] {
    http::addCommonVariables(content_, properties_);
    http::startExchange(content_, 0, properties_.pathToContent(), properties_.pathToContent(),
                        properties_);
  });
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
    if (saving_) return;
    std::optional<std::string> text;
    text = hooks_.getContent ? hooks_.getContent(properties_.saveContentMethod()) : std::string();
    if (!text) {
      // Posting anything else in its place would overwrite the stored document.
      http::showHttpMessage(kSaveFailureTitle, kSaveFailureSummary, kSaveFailureDetails,
                            properties_.pathToSaveToServer());
      return;
    }
    http::addCommonVariables(save_, properties_);
    save_.addFormVariable("vmContent", 0, *text);
    saving_ = http::startExchange(save_, 1, properties_.pathToSaveToServer(),
                                  properties_.pathToSaveToServer(), properties_);
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
  auto& state = ControlState::shared();
  e.started = [&state] { state.requestInProgress = true; };
  e.complete = [this, &state](const std::string& body) {
    guarded("ctlHttpContent_complete", [&] {
      const std::string& source = properties_.pathToContent();
      http::showHttpMessage("HTTP Success", kContentSuccess, body, source);
      const bool strip = !properties_.pathToStyleSheet().empty() &&
                         properties_.switchValue("DisableCssStyles") == 0;
      const std::string document = documentForEditing(body, strip);
      if (hooks_.storeContent) hooks_.storeContent(document);
    });
    state.requestInProgress = false;
  };
  e.error = [this, &state](int number, const std::string& description) {
    http::reportHttpError(number, description, properties_.pathToContent(), true);
    state.requestInProgress = false;
  };
  e.parseError = [this, &state](int, const std::string& message, const std::string& text) {
    http::reportParseError(message, text, properties_.pathToContent());
    state.requestInProgress = false;
  };
  e.timeout = [this, &state] {
    http::reportTimeout(properties_.pathToContent(), properties_.httpTimeout());
    state.requestInProgress = false;
  };
}

void ServerDocuments::wireStylesheet() {
  auto& e = css_.events;
  auto& state = ControlState::shared();
  const auto failed = [this, &state] {
    if (hooks_.setVisibleMenuItem) hooks_.setVisibleMenuItem("style", "cssClasses", false);
    state.requestInProgress = false;
  };
  e.started = [&state] { state.requestInProgress = true; };
  e.complete = [this, &state](const std::string& sheet) {
    guarded("ctlHttpCSS_complete", [&] {
      http::showHttpMessage("HTTP Success", kSheetSuccess, "<pre>" + sheet + "</pre>",
                            properties_.pathToStyleSheet());
      classes_ = cssClassesFromStyleSheet(sheet);
      if (hooks_.classesExtracted) hooks_.classesExtracted(classes_);
    });
    state.requestInProgress = false;
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
    properties_.let("ContentID", *id);
    return;
  }
  const std::string page = malformedSavePage(source, body);
  if (hooks_.showSaveError) {
    hooks_.showSaveError(page);
  } else {
    dialogs::showMessage(page, "HTTP Error", "", 6000, 4000, false);
  }
}

void ServerDocuments::wireSave() {
  auto& e = save_.events;
  auto& state = ControlState::shared();
  const auto done = [this, &state] {
    saving_ = false;
    state.requestInProgress = false;
  };
  e.started = [&state] { state.requestInProgress = true; };
  e.canceled = done;
  e.complete = [this, done](const std::string& body) {
    done();
    guarded("ctlHttpSaveToServer_complete", [&] { saveAnswered(body); });
  };
  e.error = [this, done](int number, const std::string& description) {
    done();
    http::reportHttpError(number, description, properties_.pathToSaveToServer());
  };
  e.parseError = [this, done](int, const std::string& message, const std::string& text) {
    done();
    http::reportParseError(message, text, properties_.pathToSaveToServer());
  };
  e.timeout = [this, done] {
    done();
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
