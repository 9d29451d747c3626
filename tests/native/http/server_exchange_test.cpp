#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "dialogs/message_window.h"
#include "editor/properties.h"
#include "http/server_exchange.h"
#include "platform/native/poll_loop.h"

namespace vellmar::http {
namespace {

using Lines = std::vector<std::string>;

std::string firstLine(const std::string& text) { return text.substr(0, text.find("\r\n")); }

class Exchange : public ::testing::Test {
 protected:
  Exchange() {
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
  }
  ~Exchange() override {
    auto& window = dialogs::MessageWindow::shared();
    while (window.isShowing()) window.ok();
    setHttpMessageLoop(nullptr);
    editor::PropertySet::shared().let("DebugMode", std::int32_t{0});
    setDebugSink(nullptr);
  }
  void set(std::string_view name, std::string value) {
    ASSERT_TRUE(props.let(name, editor::PropertyValue(std::move(value)))) << name;
  }

  native::PollLoop loop;
  ctlHttpRequest request{loop};
  editor::PropertySet props;
  Lines log;
};

TEST(PrepareXmlText, RemovesLineBreaksRunsOfSpacesAndSpacesBetweenTags) {
  EXPECT_EQ(prepareXmlText("  <list>\r\n  <item>  a   b </item>\r\n</list>  "),
            "<list><item> a b </item></list>");
  EXPECT_EQ(prepareXmlText("\t<a>\t\tx</a>\n"), "<a> x</a>");
  // One left-to-right pass: the first "> <" is taken, the overlapping one is not.
  EXPECT_EQ(prepareXmlText("<a> > <b>"), "<a> ><b>");
  EXPECT_EQ(prepareXmlText("   "), "");
}

TEST_F(Exchange, CommonVariablesCarryCookiesUrlsAndTheDocumentIdentifier) {
  set("UrlName1", "site");
  set("UrlValue1", "7");
  set("ContentID", "42");
  request.addFormVariable("left over", kindText, "x");
  addCommonVariables(request, props);
  EXPECT_TRUE(request.variables().form.empty());
  EXPECT_EQ(request.variables().cookies.size(), 10u);
  const std::string text = request.composeRequest(0, "h", "/list.xml", 80).text;
  EXPECT_EQ(firstLine(text), "GET /list.xml?site=7&vmContentID=42 HTTP/1.1");
  EXPECT_EQ(text.find("Cookie:"), std::string::npos);
}

TEST_F(Exchange, EmptyPropertiesAddNothingToTheRequest) {
  addCommonVariables(request, props);
  const std::string text = request.composeRequest(0, "h", "/list.xml", 80).text;
  EXPECT_EQ(firstLine(text), "GET /list.xml HTTP/1.1");
  EXPECT_EQ(text.find("Cookie:"), std::string::npos);

  set("CookieName3", "a");
  set("CookieValue3", "x y");
  addCommonVariables(request, props);
  EXPECT_NE(request.composeRequest(0, "h", "/", 80).text.find("\r\nCookie: a=x%20y\r\n"),
            std::string::npos);
}

TEST_F(Exchange, PathsJoinDocumentRootAndPathPropertyWithNothingBetween) {
  const auto path = [&](std::string_view root, std::string_view property) {
    const std::string text =
        request.composeRequest(0, "h", exchangePath(root, property), 80).text;
    return firstLine(text);
  };
  EXPECT_EQ(path("/app", "/images.asp"), "GET /app/images.asp HTTP/1.1");
  EXPECT_EQ(path("app/", "images.asp"), "GET /app/images.asp HTTP/1.1");
  EXPECT_EQ(path("/app", "images.asp"), "GET /appimages.asp HTTP/1.1");
}

TEST(ConvertPort, DecimalNumbersCutToTheirIntegerPart) {
  EXPECT_EQ(convertPort("80"), 80);
  EXPECT_EQ(convertPort(" 8080.9 "), 8080);
  EXPECT_EQ(convertPort(""), std::nullopt);
  EXPECT_EQ(convertPort("eighty"), std::nullopt);
  EXPECT_EQ(convertPort("80a"), std::nullopt);
  EXPECT_EQ(convertPort("-1"), std::nullopt);
  EXPECT_EQ(convertPort("70000"), std::nullopt);
  EXPECT_EQ(convertPort("65535"), 65535);  // both ends of the range are ports
  EXPECT_EQ(convertPort("65536"), std::nullopt);
  EXPECT_EQ(convertPort("0"), 0);
}

TEST_F(Exchange, APortThatIsNotANumberStartsNothingAndIsReported) {
  set("domain", "127.0.0.1");
  set("port", "http");
  EXPECT_FALSE(startExchange(request, 0, "/list.xml", "/list.xml", props));
  EXPECT_EQ(request.socketState(), SocketState::closed);
  ASSERT_EQ(log.size(), 3u);
  EXPECT_EQ(log[0], "HTTP Error (/list.xml)");
  EXPECT_FALSE(dialogs::MessageWindow::shared().isShowing());
}

TEST_F(Exchange, StartUsesDomainPathTimeoutAndPort) {
  set("domain", "127.0.0.1");
  set("port", "9.7");
  set("documentRoot", "/app");
  ASSERT_TRUE(props.let("HttpTimeout", editor::PropertyValue(std::string("12"))));
  EXPECT_TRUE(startExchange(request, 0, "/list.xml", "/list.xml", props));
  EXPECT_EQ(request.requestPath(), "/app/list.xml");
  EXPECT_EQ(request.timeoutSeconds(), 12);
  request.Cancel();
}

TEST_F(Exchange, OutsideDebugModeMessagesOnlyReachTheLog) {
  reportTimeout("/save.asp", 30);
  EXPECT_EQ(log, (Lines{"HTTP Timeout (/save.asp)", "A timeout occurred during an HTTP request.",
                        "<p>The HTTP request exceeded the maximum time of 30 seconds.</p>"}));
  EXPECT_FALSE(dialogs::MessageWindow::shared().isShowing());
  log.clear();
  reportHttpError(111, "Connection refused", "/c", true);
  EXPECT_EQ(log, (Lines{"Network Error (/c)", "Network Number:111", "Connection refused"}));
  log.clear();
  reportHttpError(104, "Connection reset by peer", "/s");
  EXPECT_EQ(log[1], "Error Number:104");
}

TEST_F(Exchange, InDebugModeASecondMessageWaitsForTheWindowToClose) {
  editor::PropertySet::shared().let("DebugMode", std::int32_t{1});
  auto& window = dialogs::MessageWindow::shared();
  showHttpMessage("HTTP Success", "first", "<p>1</p>", "/a");
  ASSERT_TRUE(window.isShowing());
  EXPECT_EQ(window.layout().caption, "HTTP Success (/a)");
  EXPECT_EQ(window.layout().label, "first");
  EXPECT_TRUE(window.layout().tabsVisible);

  showHttpMessage("HTTP Error", "second", "<p>2</p>", "/b");
  EXPECT_EQ(pendingHttpMessages(), 1u);
  EXPECT_EQ(window.layout().label, "first");
  EXPECT_TRUE(log.empty());  // the window is modal: its entries follow its closing

  window.ok();
  EXPECT_EQ(log, (Lines{"HTTP Success (/a)", "first", "<p>1</p>"}));
  ASSERT_TRUE(window.isShowing());
  EXPECT_EQ(window.layout().caption, "HTTP Error (/b)");
  EXPECT_EQ(pendingHttpMessages(), 0u);
  window.ok();
  EXPECT_EQ(log.size(), 6u);
  EXPECT_FALSE(window.isShowing());
}

TEST_F(Exchange, AMessageWaitingForAWindowOpenedElsewhereShowsOnceItCloses) {
  editor::PropertySet::shared().let("DebugMode", std::int32_t{1});
  setHttpMessageLoop(&loop);
  auto& window = dialogs::MessageWindow::shared();
  ASSERT_TRUE(dialogs::showMessage("<p>config</p>", "Setup", "", 0, 0, false));
  showHttpMessage("HTTP Success", "waiting", "<p>w</p>", "/w");
  EXPECT_EQ(pendingHttpMessages(), 1u);
  for (int i = 0; i < 5; ++i) loop.runOnce(std::chrono::milliseconds(60));
  EXPECT_EQ(window.layout().caption, "Setup");
  window.ok();
  for (int i = 0; i < 5 && pendingHttpMessages() > 0; ++i) loop.runOnce(std::chrono::milliseconds(60));
  EXPECT_EQ(window.layout().caption, "HTTP Success (/w)");
}

TEST(ParseFailureDetails, EscapesTheBody) {
  EXPECT_EQ(parseFailureDetails("image list", "/images.asp", "<list>x</list>"),
            "<p>There was an error parsing the image list from /images.asp:</p><p>Error: The "
            "image list was not properly formatted. The image list is output below:</p><hr>"
            "&lt;list&gt;x&lt;/list&gt;");
}

}  // namespace
}  // namespace vellmar::http
