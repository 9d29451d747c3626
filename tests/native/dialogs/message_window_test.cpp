#include "dialogs/message_window.h"

#include <gtest/gtest.h>

#include "common/diagnostics.h"

namespace vellmar::dialogs {
namespace {

const std::string kStyle =
    "<style>\r\np{font-family: Verdana, Arial, Helvetica, sans-serif; font-size: 12px}\r\n"
    "</style>\r\n";

TEST(MessageLayout, DefaultsWithoutTabs) {
  auto l = layoutMessage("<p>x</p>", "", "", 0, 0, false);
  EXPECT_EQ(l.width, 5025);
  EXPECT_EQ(l.height, 2880);
  EXPECT_EQ(l.caption, "Korvath Vellmar");
  EXPECT_FALSE(l.tabsVisible);
  EXPECT_FALSE(l.labelVisible);
  EXPECT_EQ(l.client, (TwipRect{720, 120, 5025 - 930, 2880 - 1065}));
  EXPECT_EQ(l.source, kStyle + "<p>x</p>");
  EXPECT_EQ(l.html, l.source);
  // OK 105 twips below the browser, centred on it.
  EXPECT_EQ(l.ok.top, l.client.bottom() + 105);
  EXPECT_EQ(l.ok.left + l.ok.width / 2, l.client.left + l.client.width / 2);
}

TEST(MessageLayout, TabsWithAndWithoutLabel) {
  auto plain = layoutMessage("<p>a</p>", "HTTP Success (/x)", "", 8000, 6000, true);
  EXPECT_EQ(plain.caption, "HTTP Success (/x)");
  EXPECT_TRUE(plain.tabsVisible);
  EXPECT_FALSE(plain.labelVisible);
  EXPECT_EQ(plain.tabs, (TwipRect{720, 120, 8000 - 930, 6000 - 1065}));
  EXPECT_EQ(plain.ok.top, plain.tabs.bottom() + 105);

  auto labelled = layoutMessage("<p>a</p>", "", "Summary", 8000, 6000, true);
  EXPECT_TRUE(labelled.labelVisible);
  EXPECT_EQ(labelled.label, "Summary");
  EXPECT_EQ(labelled.tabs.top, labelled.labelRect.top + labelled.labelRect.height);
  EXPECT_EQ(labelled.tabs.height, 6000 - 1065 - labelled.labelRect.height);
  EXPECT_EQ(labelled.tabs.bottom(), plain.tabs.bottom());
}

TEST(MessageLayout, ContentFitsInsideTheTabFrame) {
  // The browser and the source box fill the tab strip's client area: below the row of tabs, with
  // the same frame on the left, the right and the bottom.
  for (const auto& l : {layoutMessage("<p>a</p>", "", "Summary", 8000, 6000, true),
                        layoutMessage("<p>a</p>", "", "", 0, 0, true)}) {
    const int frame = l.client.left - l.tabs.left;
    EXPECT_GT(frame, 0);
    EXPECT_EQ(l.tabs.right() - l.client.right(), frame);
    EXPECT_EQ(l.tabs.bottom() - l.client.bottom(), frame);
    EXPECT_GT(l.client.top - l.tabs.top, frame) << "the row of tabs lies above the content";
    EXPECT_GT(l.client.height, 0);
  }
}

TEST(MessageLayout, PixelsAtFifteenTwips) {
  EXPECT_EQ(twipsToPixels(7000), 467);
  EXPECT_EQ(twipsToPixels(4000), 267);
  EXPECT_EQ(twipsToPixels(135), 9);
}

class Recorder : public MessagePresenter {
 public:
  void present(const MessageWindowLayout& l) override { shown.push_back(l.caption); }
  void tabChanged(bool browser) override { browserShown = browser; }
  std::vector<std::string> shown;
  bool browserShown = true;
};

class MessageWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
    window.setPresenter(&presenter);
  }
  void TearDown() override {
    window.ok();
    window.setPresenter(nullptr);
    setDebugSink(nullptr);
  }
  MessageWindow& window = MessageWindow::shared();
  Recorder presenter;
  std::vector<std::string> log;
};

TEST_F(MessageWindowTest, OneAtATimeAndTheCallerContinuesOnClose) {
  int closed = 0;
  EXPECT_TRUE(showMessage("<p>1</p>", "", "", 0, 0, true, [&] { ++closed; }));
  EXPECT_TRUE(window.isShowing());
  int droppedClosed = 0;
  EXPECT_FALSE(showMessage("<p>2</p>", "second", "", 0, 0, true, [&] { ++droppedClosed; }));
  EXPECT_EQ(log, std::vector<std::string>{"Already showing error msg."});
  EXPECT_EQ(droppedClosed, 1);  // a dropped message does not hold its caller up
  EXPECT_EQ(presenter.shown, std::vector<std::string>{"Korvath Vellmar"});
  EXPECT_EQ(closed, 0);
  window.ok();
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(window.isShowing());
  EXPECT_TRUE(showMessage("<p>3</p>", "third", "", 0, 0, false));
  EXPECT_EQ(window.layout().caption, "third");
}

TEST_F(MessageWindowTest, TabsSwitchBetweenBrowserAndSource) {
  showMessage("<p>x</p>", "", "", 0, 0, true);
  EXPECT_TRUE(window.browserVisible());
  window.selectTab("HTML Source");
  EXPECT_TRUE(window.sourceVisible());
  EXPECT_FALSE(presenter.browserShown);
  window.selectTab("Message");
  EXPECT_TRUE(window.browserVisible());
  window.ok();
  showMessage("<p>y</p>", "", "", 0, 0, true);
  EXPECT_TRUE(window.browserVisible()) << "each message starts on the Message tab";
}

TEST_F(MessageWindowTest, APresenterThatFailsLeavesNoWindowOpen) {
  class Failing : public MessagePresenter {
    void present(const MessageWindowLayout&) override { throw std::runtime_error("no dialog"); }
  } failing;
  window.setPresenter(&failing);
  int closed = 0;
  EXPECT_FALSE(showMessage("<p>x</p>", "", "", 0, 0, false, [&] { ++closed; }));
  EXPECT_FALSE(window.isShowing());
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(log.front(), "Error in showMessage");
}

}  // namespace
}  // namespace vellmar::dialogs
