// Class extraction, the save answer, the keep-alive arithmetic, and the four exchanges against a
// transport the test answers by hand.
#include "editor/server_documents.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "editor/control_state.h"
#include "editor/properties.h"
#include "menubar/editor_menu.h"
#include "menubar/menu_bar.h"

namespace vellmar::editor {
namespace {

using Names = std::vector<std::string>;

TEST(CssClasses, ClassRulesSortedByUpperCaseWithoutPseudoClasses) {
  EXPECT_EQ(cssClassesFromStyleSheet(".b{color:red}\r\n.A {x:y}\r\n.a:hover {z:w}\r\n"),
            (Names{".A", ".b"}));
  EXPECT_EQ(cssClassesFromStyleSheet("  .x { }\r\n.x{}\r\n"), (Names{".x", ".x"}));
}

TEST(CssClasses, LinesThatAreNotClassRulesAddNothing) {
  const char* sheet =
      "body { margin: 0 }\r\n"
      ".split\r\n{ color: red }\r\n"  // selector and brace on different lines
      "p.inner { }\r\n"
      "  color: blue;\r\n"
      "}\r\n";
  EXPECT_EQ(cssClassesFromStyleSheet(sheet), (Names{""}));
  EXPECT_EQ(cssClassesFromStyleSheet(""), (Names{""}));
}

TEST(CssClasses, OnlyCarriageReturnLineFeedSplitsLines) {
  // A bare line feed does not end a line: the first "{" belongs to the first rule.
  EXPECT_EQ(cssClassesFromStyleSheet(".one {}\n.two {}"), (Names{".one"}));
}

TEST(CssClasses, SortIsStableForNamesEqualIgnoringCase) {
  Names names{".c", ".B", ".a", ".b", ".A"};
  sortClassNames(names);
  EXPECT_EQ(names, (Names{".a", ".A", ".B", ".b", ".c"}));
}

TEST(StyleMenu, ClassesBecomeTheSubmenuOfCssClasses) {
  menubar::mcMenuBar bar;
  menubar::buildEditorMenu(bar);
  fillStyleMenu(bar, {".A", ".b"}, false);
  const auto style = bar.getMBbuttonIDbyName("style");
  const auto parent = bar.getMBitemIDbyName(style, "cssClasses");
  const auto a = bar.getMBitemIDbyName(style, "cssStyle_.A");
  const auto b = bar.getMBitemIDbyName(style, "cssStyle_.b");
  ASSERT_GE(a, 0);
  ASSERT_EQ(b, a + 1);
  const auto* record = bar.buttonRecord(style);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->items[static_cast<std::size_t>(a)].parent, parent + 1);
  EXPECT_EQ(record->items[static_cast<std::size_t>(a)].caption, ".A");
  EXPECT_TRUE(record->items[static_cast<std::size_t>(parent)].visible);
}

TEST(SaveAnswer, ContentIdFromTheRootElementOnly) {
  EXPECT_EQ(contentIdFromSaveAnswer("<vmContentID> 17 </vmContentID>"), "17");
  EXPECT_EQ(contentIdFromSaveAnswer("\r\n<vmContentID>42</vmContentID>\r\n"), "42");
  EXPECT_EQ(contentIdFromSaveAnswer("<error>x</error>"), std::nullopt);
  EXPECT_EQ(contentIdFromSaveAnswer("not xml"), std::nullopt);
  EXPECT_EQ(contentIdFromSaveAnswer(""), std::nullopt);
}

TEST(SaveAnswer, MalformedPageNamesTheScriptAndEscapesTheAnswer) {
  EXPECT_EQ(malformedSavePage("/cms/save", "  <error>x</error> "),
            "<p>There was an error parsing the save to server results from /cms/save:</p><p>"
            "Error: The save to server results were not properly formatted. The  save to server "
            "results are output below:</p><hr>&lt;error&gt;x&lt;/error&gt;");
}

TEST(StatusText, ReasonsInAFewWords) {
  EXPECT_EQ(httpFailureReason("HTTP Error: HTTP/1.1 500 Internal Server Error"), "HTTP 500");
  EXPECT_EQ(httpFailureReason("HTTP Error: HTTP/1.0 403 Forbidden"), "HTTP 403");
  EXPECT_EQ(httpFailureReason("HTTP Error: /cms/content was not found."), "HTTP 404");
  EXPECT_EQ(httpFailureReason("The response returned by the server used a version of HTTP "
                              "unsupported by the HTTP control.  The version was SPDY"),
            "unreadable answer");
  EXPECT_EQ(failedStatus(StatusAction::Save, timeoutReason(30)),
            "Save failed: no answer within 30 seconds");
  EXPECT_EQ(failedStatus(StatusAction::Load, "HTTP 404"), "Load failed: HTTP 404");
}

TEST(KeepAlive, DefaultTimeoutFiresOnEvery301stTick) {
  KeepAliveCounter counter;
  int fired = 0;
  for (int tick = 1; tick <= 602; ++tick) {
    if (counter.tick(true, 300)) {
      ++fired;
      EXPECT_EQ(tick % 301, 0) << tick;
    }
  }
  EXPECT_EQ(fired, 2);
}

TEST(KeepAlive, ZeroFiresOnEveryTickAndNoPathNeverCounts) {
  KeepAliveCounter counter;
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(counter.tick(true, 0));
  KeepAliveCounter idle;
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(idle.tick(false, 0));
  EXPECT_EQ(idle.value(), 0);
}

TEST(Loading, StylesAreStrippedOnlyWhenAsked) {
  const char* page =
      "<html><head><style>p{}</style></head><body class=\"x\">"
      "<p class=\"a\" style=\"color:red\">t</p></body></html>";
  EXPECT_EQ(documentForEditing(page, true), "<p>t</p>");
  EXPECT_EQ(documentForEditing(page, false), "<p class=\"a\" style=\"color:red\">t</p>");
  EXPECT_EQ(documentForEditing("<p>no body</p>", true), "<p>no body</p>");
}

// ---- the exchanges ----

class Wire final : public http::Transport {
 public:
  explicit Wire(http::TransportListener& l) : listener(l) {}
  void connect(const std::string&, int) override {
    state_ = http::SocketState::connecting;
    ++connects;
  }
  void send(const http::OutgoingRequest& r) override { sent.push_back(r); }
  void close() override { state_ = http::SocketState::closed; }
  http::SocketState state() const override { return state_; }
  void answer(int status, const std::string& body) {
    state_ = http::SocketState::connected;
    listener.transportConnected();
    listener.transportAnswer({status, "OK", body});
  }
  void fail() {
    state_ = http::SocketState::connected;
    listener.transportConnected();
    listener.transportError(0, "refused");
  }
  http::TransportListener& listener;
  http::SocketState state_ = http::SocketState::closed;
  std::vector<http::OutgoingRequest> sent;
  int connects = 0;
};

class NullTimer final : public http::Timer {
 public:
  void setEnabled(bool e) override { on_ = e; }
  bool enabled() const override { return on_; }
  bool on_ = false;
};

// Transports in creation order: content, style sheet, save, keep-alive.
class Loop final : public http::EventLoop {
 public:
  std::unique_ptr<http::Transport> createTransport(http::TransportListener& l) override {
    auto w = std::make_unique<Wire>(l);
    wires.push_back(w.get());
    return w;
  }
  std::unique_ptr<http::Timer> createTimer(std::chrono::milliseconds,
                                           std::function<void()>) override {
    return std::make_unique<NullTimer>();
  }
  std::vector<Wire*> wires;
};

class Exchanges : public ::testing::Test {
 protected:
  Exchanges() {
    props.let("domain", std::string("h"));
    props.let("port", std::string("80"));
    props.let("documentRoot", std::string("/site"));
    props.let("pathToContent", std::string("page.htm"));
    props.let("PathToStyleSheet", std::string("/s.css"));
    props.let("PathToSaveToServer", std::string("/save"));
    props.let("PathToKeepAlive", std::string("/ka"));
    ServerDocumentHooks hooks;
    hooks.storeContent = [this](const std::string& d) { stored.push_back(d); };
    hooks.getContent = [this](std::int32_t type) -> std::optional<std::string> {
      if (!prepared) return std::nullopt;
      return type == 0 ? body : std::string();
    };
    hooks.showSaveError = [this](const std::string& page) { errorPages.push_back(page); };
    hooks.bodyDigest = [this] {
      ++digestsTaken;
      return std::optional(ChangeTracker::Digest::of(body));
    };
    hooks.contentVersion = [this] { return version; };
    hooks.showStatus = [this](const std::string& text) { statuses.push_back(text); };
    hooks.documentLoading = [this](bool loading) { loadingCalls.push_back(loading); };
    docs = std::make_unique<ServerDocuments>(loop, std::move(hooks), state, props);
  }
  Wire& content() { return *loop.wires.at(0); }
  Wire& save() { return *loop.wires.at(2); }
  Wire& keepAlive() { return *loop.wires.at(3); }

  Loop loop;
  PropertySet props;
  ControlState state;
  std::unique_ptr<ServerDocuments> docs;
  std::vector<std::string> stored;
  std::vector<std::string> errorPages;
  std::vector<std::string> statuses;
  std::vector<bool> loadingCalls;
  std::string body = "<p>edited</p>";
  bool prepared = true;  // false: the clean-up fails
  std::uint64_t version = 1;  // the engine's count of changes
  int digestsTaken = 0;
};

TEST_F(Exchanges, DocumentPathIsDocumentRootAndPathJoined) {
  docs->loadContent();
  EXPECT_EQ(docs->contentRequest().requestPath(), "/sitepage.htm");
  content().answer(200, "<html><head><style>x{}</style></head><body><p class=\"c\">a</p></body></html>");
  EXPECT_EQ(stored, (Names{"<p>a</p>"}));
  EXPECT_FALSE(state.requestInProgress);
}

TEST_F(Exchanges, PlannedDocumentRequestIsTheOneTheLoadSends) {
  props.let("CookieName1", std::string("session"));
  props.let("CookieValue1", std::string("a b"));
  props.let("UrlName1", std::string("lang"));
  props.let("UrlValue1", std::string("de"));
  props.let("ContentID", std::string("7"));
  const auto planned = docs->plannedContentRequest();
  ASSERT_TRUE(planned);
  EXPECT_EQ(planned->host, "h");
  EXPECT_EQ(planned->port, 80);
  EXPECT_TRUE(stored.empty());
  EXPECT_TRUE(statuses.empty()) << "planning reports nothing";
  docs->loadContent();
  content().answer(200, "<p>x</p>");
  ASSERT_EQ(content().sent.size(), 1u);
  const http::OutgoingRequest& sent = content().sent[0];
  EXPECT_EQ(planned->request.text, sent.text);
  EXPECT_EQ(planned->request.target, sent.target);
  EXPECT_EQ(planned->request.method, sent.method);
  ASSERT_EQ(planned->request.cookies.size(), sent.cookies.size());
  EXPECT_EQ(planned->request.cookies[0].value, sent.cookies[0].value);
  EXPECT_NE(sent.target.find("vmContentID=7"), std::string::npos) << sent.target;
}

TEST_F(Exchanges, NoPlannedDocumentRequestWhereNoneWouldGoOut) {
  props.let("port", std::string("http"));
  EXPECT_FALSE(docs->plannedContentRequest());
  props.let("port", std::string("8080"));
  props.let("pathToContent", std::string(""));
  EXPECT_FALSE(docs->plannedContentRequest());
  props.let("pathToContent", std::string("/doc"));
  props.let("domain", std::string(""));
  EXPECT_FALSE(docs->plannedContentRequest());
  props.let("domain", std::string("h"));
  EXPECT_TRUE(docs->plannedContentRequest());
  // While the document is on its way, a plan would reset the request under way.
  docs->loadContent();
  EXPECT_FALSE(docs->plannedContentRequest());
  content().answer(200, "<p>x</p>");
  EXPECT_EQ(stored, (Names{"<p>x</p>"}));
}

TEST_F(Exchanges, FailedDocumentRequestLoadsNothing) {
  docs->loadContent();
  content().fail();
  EXPECT_TRUE(stored.empty());
  EXPECT_FALSE(state.requestInProgress);
}

TEST_F(Exchanges, SaveAdoptsTheIdAndCarriesItNextTime) {
  docs->saveToServer();
  EXPECT_TRUE(docs->saving());
  save().answer(200, "");
  ASSERT_EQ(save().sent.size(), 1u);
  EXPECT_EQ(save().sent[0].method, "POST");
  EXPECT_NE(save().sent[0].body().find("vmContent=%3Cp%3Eedited%3C%2Fp%3E"), std::string::npos)
      << save().sent[0].body();
  errorPages.clear();
  docs->saveToServer();
  save().answer(200, "<vmContentID>42</vmContentID>");
  EXPECT_EQ(props.contentID(), "42");
  EXPECT_FALSE(docs->saving());
  docs->saveToServer();
  EXPECT_NE(docs->saveRequest().requestText().find("vmContentID=42"), std::string::npos)
      << docs->saveRequest().requestText();
}

TEST_F(Exchanges, ASecondSaveAbandonsTheRunningOne) {
  body = "<p>first</p>";
  docs->saveToServer();
  body = "<p>second</p>";
  docs->saveToServer();  // the save client is reset and starts again
  EXPECT_EQ(save().connects, 2);
  save().answer(200, "<vmContentID>5</vmContentID>");
  ASSERT_EQ(save().sent.size(), 1u) << "only the second exchange is under way";
  EXPECT_NE(save().sent[0].body().find("second"), std::string::npos) << save().sent[0].body();
  EXPECT_EQ(save().sent[0].body().find("first"), std::string::npos);
  EXPECT_EQ(props.contentID(), "5");
  EXPECT_FALSE(docs->saving());
  EXPECT_FALSE(state.requestInProgress);
}

TEST_F(Exchanges, TheIdFromASaveGoesThroughTheLetHook) {
  ServerDocumentHooks hooks;
  std::vector<std::string> ids;
  hooks.storeContentID = [&](const std::string& id) { ids.push_back(id); };
  ServerDocuments own(loop, std::move(hooks), state, props);
  own.saveToServer();
  loop.wires.at(6)->answer(200, "<vmContentID>9</vmContentID>");
  EXPECT_EQ(ids, (Names{"9"})) << "so that the element raises propertychange";
}

TEST_F(Exchanges, TheStatusStripTellsHowLoadAndSaveEnded) {
  docs->loadContent();
  EXPECT_TRUE(state.loadingDocument);
  content().answer(200, "<body><p>a</p></body>");
  EXPECT_FALSE(state.loadingDocument);
  EXPECT_EQ(loadingCalls, (std::vector<bool>{true, false}));
  docs->saveToServer();
  save().answer(500, "oops");
  docs->saveToServer();
  save().fail();
  docs->saveToServer();
  save().answer(200, "<error/>");
  docs->saveToServer();
  save().answer(200, "<vmContentID>3</vmContentID>");
  EXPECT_EQ(statuses, (Names{"Loading\u2026", "Loaded", "Saving\u2026", "Save failed: HTTP 500",
                             "Saving\u2026", "Save failed: cannot reach the server", "Saving\u2026",
                             "Save failed: unexpected answer", "Saving\u2026", "Saved"}));
}

TEST_F(Exchanges, AFailedLoadUnlocksTheEditingArea) {
  docs->loadContent();
  content().answer(404, "");
  EXPECT_FALSE(state.loadingDocument);
  EXPECT_EQ(statuses.back(), "Load failed: HTTP 404");
  docs->loadContent();
  content().fail();
  EXPECT_EQ(statuses.back(), "Load failed: cannot reach the server");
  EXPECT_EQ(loadingCalls, (std::vector<bool>{true, false, true, false}));
  props.let("port", std::string("eighty"));
  docs->loadContent();  // never goes out
  EXPECT_FALSE(state.loadingDocument);
  EXPECT_EQ(statuses.back(), "Load failed: the port is not a number");
}

TEST_F(Exchanges, UnsavedChangesCountFromTheLastLoadOrSuccessfulSave) {
  docs->changes().loaded(ChangeTracker::Digest::of("<p>edited</p>"));
  EXPECT_FALSE(docs->hasUnsavedChanges());
  body = "<p>typed</p>";
  EXPECT_TRUE(docs->hasUnsavedChanges());
  docs->saveToServer();
  body = "<p>typed more while saving</p>";
  save().answer(200, "<vmContentID>1</vmContentID>");
  EXPECT_TRUE(docs->hasUnsavedChanges()) << "what was typed during the save is not stored";
  body = "<p>typed</p>";
  EXPECT_FALSE(docs->hasUnsavedChanges());
  body = "<p>again</p>";
  docs->saveToServer();
  save().answer(500, "");
  EXPECT_TRUE(docs->hasUnsavedChanges()) << "a failed save stores nothing";
}

// A loaded document is read back after it is shown, or when something asks first; a change
// before that cannot be measured against it and counts until a save.
TEST_F(Exchanges, ADocumentMeasuredAfterItsLoadCountsChangesMadeBeforeTheMeasure) {
  body = "<p>loaded</p>";
  docs->changes().loadedAt(version);
  EXPECT_EQ(digestsTaken, 0);
  docs->measureStoredDocument();
  EXPECT_EQ(digestsTaken, 1);
  docs->measureStoredDocument();
  EXPECT_EQ(digestsTaken, 1) << "measured once";
  EXPECT_FALSE(docs->hasUnsavedChanges());
  body = "<p>typed</p>";
  EXPECT_TRUE(docs->hasUnsavedChanges());

  // Asked before the measure, untouched: the document is the loaded one.
  body = "<p>another</p>";
  docs->changes().loadedAt(++version);
  EXPECT_FALSE(docs->hasUnsavedChanges());

  // Changed before the measure: changed, even where the text came back to what was loaded,
  // until a save stores it.
  docs->changes().loadedAt(++version);
  ++version;
  docs->measureStoredDocument();
  EXPECT_TRUE(docs->hasUnsavedChanges());
  docs->saveToServer();
  save().answer(200, "<vmContentID>1</vmContentID>");
  EXPECT_FALSE(docs->hasUnsavedChanges());

  // A save while the measure is pending measures first and then stores what it posted.
  docs->changes().loadedAt(++version);
  ++version;
  body = "<p>typed before the paint</p>";
  docs->saveToServer();
  save().answer(200, "<vmContentID>2</vmContentID>");
  EXPECT_FALSE(docs->hasUnsavedChanges());

  // A document that cannot be read back at the measure counts as changed; a new load starts
  // afresh.
  docs->changes().loadedAt(++version);
  docs->changes().measure(version, [] { return std::optional<ChangeTracker::Digest>(); });
  EXPECT_TRUE(docs->hasUnsavedChanges());
  docs->changes().loaded(ChangeTracker::Digest::of(body));
  EXPECT_FALSE(docs->hasUnsavedChanges());
}

TEST_F(Exchanges, MalformedOrFailedSaveKeepsTheId) {
  props.let("ContentID", std::string("7"));
  docs->saveToServer();
  save().answer(200, "<error>x</error>");
  EXPECT_EQ(props.contentID(), "7");
  ASSERT_EQ(errorPages.size(), 1u);
  EXPECT_NE(errorPages[0].find("from /save:"), std::string::npos);
  docs->saveToServer();
  save().fail();
  EXPECT_EQ(props.contentID(), "7");
  EXPECT_FALSE(docs->saving());
}

TEST_F(Exchanges, ADocumentThatCannotBePreparedIsNotSent) {
  std::vector<std::string> log;
  setDebugSink([&log](std::string_view line) { log.emplace_back(line); });
  props.let("ContentID", std::string("7"));
  prepared = false;
  docs->saveToServer();
  EXPECT_EQ(save().connects, 0);
  EXPECT_TRUE(save().sent.empty());
  EXPECT_FALSE(docs->saving());
  EXPECT_FALSE(state.requestInProgress);
  ASSERT_GE(log.size(), 2u);
  EXPECT_EQ(log[0], "Save Error (/save)");
  EXPECT_EQ(log[1], "The document could not be prepared.");
  // Once it can be prepared again, the save goes out as usual.
  prepared = true;
  docs->saveToServer();
  EXPECT_EQ(save().connects, 1);
  setDebugSink(nullptr);
}

TEST_F(Exchanges, KeepAliveZeroRequestsOnEveryTick) {
  props.let("KeepAliveTimeout", std::string("0"));
  for (int i = 0; i < 3; ++i) docs->keepAliveTick();
  EXPECT_EQ(keepAlive().connects, 3);
  EXPECT_EQ(docs->keepAliveRequest().requestPath(), "/site/ka");
}

TEST(ChangeTrackerDigest, TellsApartDocumentsOfTheSameLengthThatDifferAnywhere) {
  using Digest = ChangeTracker::Digest;
  const std::string text(100000, 'a');
  EXPECT_EQ(Digest::of(text), Digest::of(std::string(100000, 'a')));
  std::string swapped = "<p>ab</p>" + text;
  std::string other = "<p>ba</p>" + text;
  EXPECT_NE(Digest::of(swapped), Digest::of(other)) << "two characters swapped";
  for (std::size_t at : {std::size_t{0}, text.size() / 2, text.size() - 1}) {
    std::string changed = text;
    changed[at] = 'b';
    EXPECT_NE(Digest::of(changed), Digest::of(text)) << "one byte at " << at;
  }
  EXPECT_NE(Digest::of(""), Digest::of(std::string(1, '\0')));
  EXPECT_EQ(Digest(), Digest::of(""));
  // Taken in pieces, as the clean-up hands the text on, a text gives the digest of the whole.
  Digest pieces;
  for (std::size_t at = 0; at < swapped.size(); at += 777) pieces.add(std::string_view(swapped).substr(at, 777));
  EXPECT_EQ(pieces, Digest::of(swapped));
}

}  // namespace
}  // namespace vellmar::editor
