#include "editor/control.h"

#include <gtest/gtest.h>

#include <map>

#include "common/diagnostics.h"
#include "editor/debug_log.h"

namespace vellmar::editor {
namespace {

// A page box with bars of fixed natural widths and heights.
class FakeView : public ControlView {
 public:
  struct Element {
    Rect rect;
    bool shown = false;
    bool enabled = true;
  };

  FakeView() {
    natural[Child::MenuBar] = 300;
    natural[Child::StandardToolbar] = 200;
    natural[Child::ObjectsToolbar] = 150;
    natural[Child::FontSelector] = 250;
    natural[Child::TextFormatToolbar] = 180;
    for (auto& [child, w] : natural) elements[child].rect = {0, 0, w, 24};
  }

  int innerWidth() const override { return width; }
  int innerHeight() const override { return height; }
  Rect bounds(Child c) const override { return elements.at(c).rect; }
  void setBounds(Child c, const Rect& r) override {
    Rect applied = r;
    if (auto it = natural.find(c); it != natural.end()) {
      applied.width = std::max(r.width, it->second);
      applied.height = 24;
    }
    elements[c].rect = applied;
    ++assignments;
  }
  bool isShown(Child c) const override { return elements.at(c).shown; }
  void setShown(Child c, bool s) override { elements[c].shown = s; }
  bool isEnabled(Child c) const override { return elements.at(c).enabled; }
  void setEnabled(Child c, bool e) override { elements[c].enabled = e; }
  Rect tabClientArea(const Rect& tabs) const override {
    return {tabs.left + 1, tabs.top + 22, tabs.width - 2, tabs.height - 23};
  }
  int progressValue() const override { return progress; }
  void setProgressValue(int v) override { progress = v; }
  void setTimerEnabled(Timer t, bool e) override { timers[t] = e; }
  bool engineBusy() const override { return busy; }
  void caretToStart() override { events.push_back("caret"); }
  void raiseLoaded() override { events.push_back("Loaded"); }

  int width = 800;
  int height = 500;
  int progress = 0;
  bool busy = false;
  int assignments = 0;
  std::map<Child, int> natural;
  mutable std::map<Child, Element> elements{
      {Child::MenuBar, {}}, {Child::StandardToolbar, {}}, {Child::ObjectsToolbar, {}},
      {Child::FontSelector, {}}, {Child::TextFormatToolbar, {}}, {Child::ViewTabs, {}},
      {Child::Engine, {}}, {Child::SourceBox, {}}, {Child::Progress, {}}, {Child::Status, {}}};
  std::map<Timer, bool> timers;
  std::vector<std::string> events;
};

class ControlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
    control.initialize();
    props().let("domain", std::string("www.example.com"));
    props().let("port", std::string("80"));
  }
  void TearDown() override {
    dialogs::MessageWindow::shared().ok();
    setDebugSink(nullptr);
    PropertySet::shared().resetToDefaults();
  }
  static PropertySet& props() { return PropertySet::shared(); }
  Rect at(Child c) const { return view.elements[c].rect; }

  FakeView view;
  ctlVellmar2 control{view};
  std::vector<std::string> log;
};

TEST(ConfigurationPage, WordForWord) {
  const std::string tail =
      "<p>Vellmar's &lt;object&gt; tag must have the domain and port parameter as shown below:</p>"
      "<p>&lt;OBJECT ...&gt;<br>&nbsp;&nbsp;&nbsp;&lt;PARAM NAME=\"domain\"<br>"
      "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;VALUE=\"www.example.com\"&gt;<Br>"
      "&nbsp;&nbsp;&nbsp;&lt;PARAM NAME=\"port\"<br>"
      "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;VALUE=\"80\"&gt;<Br>&lt;/OBJECT&gt;</font>";
  const std::string head =
      "<font face='Verdana' size='2'><p>Vellmar is not configured correctly within the container "
      "HTML document. You are missing the following ";
  EXPECT_EQ(configurationPage(true, true), head + "parameters:</p><blockquote>Domain</blockquote>"
                                                  "<blockquote>Port</blockquote>" + tail);
  EXPECT_EQ(configurationPage(false, true),
            head + "parameter:</p><blockquote>Port</blockquote>" + tail);
  EXPECT_EQ(configurationPage(true, false),
            head + "parameter:</p><blockquote>Domain</blockquote>" + tail);
}

TEST_F(ControlTest, UnconfiguredShowsThePageStaysEmptyAndRaisesLoadedOnClose) {
  props().let("port", std::string(""));
  control.show();
  auto& window = dialogs::MessageWindow::shared();
  ASSERT_TRUE(window.isShowing());
  EXPECT_EQ(window.layout().caption, "Korvath Vellmar Configuration Error");
  EXPECT_EQ(window.layout().width, 7000);
  EXPECT_EQ(window.layout().height, 4000);
  EXPECT_FALSE(window.layout().tabsVisible);
  EXPECT_NE(window.layout().source.find("<blockquote>Port</blockquote>"), std::string::npos);
  EXPECT_TRUE(view.events.empty()) << "the caller waits for the window";
  window.ok();
  EXPECT_EQ(view.events, std::vector<std::string>{"Loaded"});
  EXPECT_FALSE(control.state().ready);
  EXPECT_FALSE(control.state().configurationValid);
  EXPECT_FALSE(view.elements[Child::Engine].shown);
  EXPECT_FALSE(view.timers[Timer::KeepAlive]);
}

TEST_F(ControlTest, ShowRunsItsStepsInOrder) {
  std::vector<std::string> calls;
  auto& h = control.hooks();
  h.fillFontTables = [&] { calls.push_back("fonts"); };
  h.buildEditorMenu = [&] { calls.push_back("menu"); };
  h.applyMenuSwitches = [&] {
    calls.push_back("menuSwitches");
    return true;
  };
  h.applyToolbarSwitches = [&](int w) {
    calls.push_back("toolbarSwitches " + std::to_string(w));
    return ToolbarVisibility{};
  };
  h.loadContent = [&] { calls.push_back("loadContent"); };
  h.loadStylesheet = [&] { calls.push_back("loadStylesheet"); };
  h.setVisibleMenuItem = [&](std::string_view m, std::string_view i, bool v) {
    calls.push_back(std::string(m) + "/" + std::string(i) + (v ? " shown" : " hidden"));
  };
  props().let("pathToContent", std::string("/doc"));
  props().let("PathToStyleSheet", std::string("/site.css"));
  control.show();
  EXPECT_EQ(calls, (std::vector<std::string>{"fonts", "menu", "menuSwitches", "toolbarSwitches 800",
                                             "loadContent", "loadStylesheet"}));
  EXPECT_EQ(log, (std::vector<std::string>{"_Show", "set font arrays",
                                           "mcMenuBar1.Visible = mcMenuBar1.isVisible", "True",
                                           "load Stylesheet", "load Stylesheet complete"}));
  EXPECT_EQ(view.events, (std::vector<std::string>{"caret", "Loaded"}));
  EXPECT_TRUE(view.timers[Timer::KeepAlive]);
  EXPECT_TRUE(control.state().ready);

  // Without a style sheet, or with DisableCssStyles non-zero, the class menu is hidden instead.
  calls.clear();
  props().let("pathToContent", std::string(""));
  props().let("DisableCssStyles", -1);
  control.show();
  EXPECT_EQ(calls.back(), "style/cssClasses hidden");
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "loadContent"), 0);
}

TEST_F(ControlTest, AShowAfterHideKeepsTheDocumentAndTheClasses) {
  int contentLoads = 0;
  int sheetLoads = 0;
  control.hooks().loadContent = [&] { ++contentLoads; };
  control.hooks().loadStylesheet = [&] { ++sheetLoads; };
  props().let("pathToContent", std::string("/doc"));
  props().let("PathToStyleSheet", std::string("/site.css"));
  control.show();
  control.hide();
  EXPECT_FALSE(view.timers[Timer::Progress]);
  control.show();  // the element was put back into the page
  EXPECT_EQ(contentLoads, 1) << "a second fetch would replace what the person typed";
  EXPECT_EQ(sheetLoads, 1);
  EXPECT_TRUE(control.state().ready);
  EXPECT_TRUE(view.timers[Timer::Progress]);
  EXPECT_TRUE(view.timers[Timer::KeepAlive]);
  EXPECT_EQ(view.events, (std::vector<std::string>{"caret", "Loaded", "caret", "Loaded"}));
  // A control initialised afresh loads again.
  control.initialize();
  props().let("domain", std::string("www.example.com"));
  props().let("port", std::string("80"));
  props().let("pathToContent", std::string("/doc"));
  control.show();
  EXPECT_EQ(contentLoads, 2);
}

TEST_F(ControlTest, EachEditorHasItsOwnStateButTheyShareTheProperties) {
  FakeView otherView;
  ctlVellmar2 other{otherView};
  control.show();
  other.show();
  EXPECT_EQ(ctlVellmar2::active(), &other);
  other.state().currentView = View::Html;
  other.state().requestInProgress = true;
  EXPECT_EQ(control.state().currentView, View::Wysiwyg);
  EXPECT_FALSE(control.state().requestInProgress);

  // Removing one leaves the other laid out: its layout still runs.
  other.hide();
  EXPECT_FALSE(other.state().ready);
  EXPECT_TRUE(control.state().ready);
  EXPECT_EQ(ctlVellmar2::active(), &control);
  view.width = 600;
  control.resize();
  EXPECT_EQ(at(Child::ViewTabs).width, 600);

  // One property set: a Let through one is seen through the other.
  other.letProperty("HelpContentsURL", std::string("/help"));
  EXPECT_EQ(std::get<std::string>(*control.getProperty("HelpContentsURL")), "/help");
}

TEST_F(ControlTest, BarsShareARowWhileTheyFit) {
  props().let("DisableMenuBar", 1);
  view.width = 750;
  control.show();
  // 200 + 150 + 250 = 600 fit in 750; the text-format bar (180) does not and starts a new row,
  // after the selector bar has been stretched to the right edge.
  EXPECT_EQ(at(Child::StandardToolbar), (Rect{0, 0, 200, 24}));
  EXPECT_EQ(at(Child::ObjectsToolbar), (Rect{200, 0, 150, 24}));
  EXPECT_EQ(at(Child::FontSelector), (Rect{350, 0, 400, 24}));
  EXPECT_EQ(at(Child::TextFormatToolbar), (Rect{0, 24, 750, 24}));  // last bar stretched too
  // The tab strip reaches down to the bottom strip (18 pixels).
  EXPECT_EQ(at(Child::ViewTabs), (Rect{0, 48, 750, 434}));
  EXPECT_EQ(at(Child::Engine), (Rect{1, 70, 748, 409}));
  EXPECT_EQ(at(Child::SourceBox), at(Child::Engine));
  EXPECT_TRUE(view.elements[Child::ViewTabs].shown);
}

TEST_F(ControlTest, ABarThatExactlyFillsTheRestOfItsRowStaysOnIt) {
  props().let("DisableMenuBar", 1);
  view.width = 600;  // 200 + 150 + 250: the selector bar ends exactly at the right edge
  control.show();
  EXPECT_EQ(at(Child::ObjectsToolbar), (Rect{200, 0, 150, 24}));
  EXPECT_EQ(at(Child::FontSelector), (Rect{350, 0, 250, 24}));
  EXPECT_EQ(at(Child::TextFormatToolbar), (Rect{0, 24, 600, 24}));
  // One pixel less and it no longer fits.
  view.width = 599;
  control.resize();
  EXPECT_EQ(at(Child::ObjectsToolbar), (Rect{200, 0, 399, 24}));
  EXPECT_EQ(at(Child::FontSelector), (Rect{0, 24, 250, 24}));
}

TEST_F(ControlTest, NarrowEditorWrapsEveryBarBelowTheMenuBar) {
  view.width = 260;
  control.show();
  EXPECT_EQ(at(Child::MenuBar), (Rect{0, 0, 300, 24}));  // never narrower than its content
  EXPECT_EQ(at(Child::StandardToolbar), (Rect{0, 24, 260, 24}));
  EXPECT_EQ(at(Child::ObjectsToolbar), (Rect{0, 48, 260, 24}));
  EXPECT_EQ(at(Child::FontSelector), (Rect{0, 72, 260, 24}));
  EXPECT_EQ(at(Child::TextFormatToolbar), (Rect{0, 96, 260, 24}));
  EXPECT_EQ(at(Child::ViewTabs).top, 120);

  // Widening puts them back on fewer rows.
  view.width = 1000;
  control.resize();
  EXPECT_EQ(at(Child::StandardToolbar), (Rect{0, 24, 200, 24}));
  EXPECT_EQ(at(Child::TextFormatToolbar), (Rect{600, 24, 400, 24}));
  EXPECT_EQ(at(Child::ViewTabs).top, 48);
}

TEST_F(ControlTest, WithoutHtmlViewTheEngineSitsAboveTheBottomStrip) {
  props().let("DisableHtmlView", -1);  // any non-zero value
  control.show();
  EXPECT_FALSE(view.elements[Child::ViewTabs].shown);
  // The status text, and the 9-pixel progress indicator at the strip's right end.
  EXPECT_TRUE(view.elements[Child::Status].shown);
  EXPECT_EQ(at(Child::Status), (Rect{0, 482, 634, 18}));
  EXPECT_EQ(at(Child::Progress), (Rect{638, 486, 160, 9}));
  EXPECT_EQ(at(Child::Engine), (Rect{2, 48, 796, 434}));
  // A narrow editor gives the indicator a third of its width.
  view.width = 300;
  control.resize();
  EXPECT_EQ(at(Child::Progress), (Rect{198, 486, 100, 9}));
  EXPECT_EQ(at(Child::Status).width, 194);
}

TEST_F(ControlTest, TheElementFrameTakesItsRoomFromTheEditingSurface) {
  std::vector<Rect> placed;
  control.hooks().placeElementFrame = [&](const Rect& r) { placed.push_back(r); };
  control.show();
  const Rect engine = at(Child::Engine);
  const Rect source = at(Child::SourceBox);
  control.setElementFrameHeight(100);
  ASSERT_EQ(placed.size(), 1u);
  // In the tabs' client area, right under the shrunk surface, with the gap below it.
  EXPECT_EQ(at(Child::Engine), (Rect{engine.left, engine.top, engine.width, engine.height - 100 - kFrameGap}));
  EXPECT_EQ(placed[0], (Rect{engine.left, at(Child::Engine).bottom(), engine.width, 100}));
  EXPECT_EQ(at(Child::SourceBox), source);
  // Again the same height: nothing moves.
  control.setElementFrameHeight(100);
  EXPECT_EQ(placed.size(), 1u);
  control.setElementFrameHeight(0);
  EXPECT_EQ(at(Child::Engine), engine);

  // Without the view tabs the frame spans the whole control.
  props().let("DisableHtmlView", 1);
  control.setElementFrameHeight(50);
  EXPECT_EQ(placed.back().left, 0);
  EXPECT_EQ(placed.back().width, 800);
  EXPECT_EQ(placed.back().top, at(Child::Engine).bottom());
}

TEST_F(ControlTest, NothingVisibleStartsTheEditingAreaAtTheTop) {
  for (const char* s : {"DisableMenuBar", "DisableStandardToolbar", "DisableObjectsToolbar",
                        "DisableFontToolbar", "DisableFormattingToolbar", "DisableHtmlView"}) {
    props().let(s, 1);
  }
  control.show();
  EXPECT_EQ(at(Child::Engine).top, 0);
  EXPECT_FALSE(view.elements[Child::MenuBar].shown);
  EXPECT_FALSE(view.elements[Child::StandardToolbar].shown);
}

TEST_F(ControlTest, AReapplyingSwitchRelaysTheInterfaceOnceShown) {
  control.letProperty("DisableStandardToolbar", 1);  // idle before show
  EXPECT_EQ(view.assignments, 1) << "only the engine moved out of sight at initialisation";
  control.letProperty("DisableStandardToolbar", 0);
  control.show();
  EXPECT_EQ(at(Child::StandardToolbar).left, 0);
  control.letProperty("DisableStandardToolbar", 1);
  EXPECT_FALSE(view.elements[Child::StandardToolbar].shown);
  EXPECT_EQ(at(Child::ObjectsToolbar), (Rect{0, 24, 150, 24}));
  control.letProperty("DisableHtmlView", 1);
  EXPECT_FALSE(view.elements[Child::ViewTabs].shown);
}

TEST_F(ControlTest, LayoutAssignsOnlyWhatChanged) {
  control.show();
  const int before = view.assignments;
  control.resize();
  // The four bars are measured (width 1) and set back each pass; nothing else moves.
  EXPECT_EQ(view.assignments - before, 8 + 1);  // + the stretched end of the one row
}

TEST_F(ControlTest, ResizeBeforeShowAndAfterHideDoesNothing) {
  const int before = view.assignments;
  control.resize();
  EXPECT_EQ(view.assignments, before);
  control.show();
  control.hide();
  EXPECT_FALSE(control.state().ready);
  EXPECT_FALSE(view.timers[Timer::KeepAlive]);
  EXPECT_FALSE(view.timers[Timer::Progress]);
  const int afterHide = view.assignments;
  control.resize();
  EXPECT_EQ(view.assignments, afterHide);
  EXPECT_EQ(log.back(), "_Resize");
}

TEST_F(ControlTest, InitialisationMovesTheEngineOutOfSightAndResets) {
  props().let("HideBold", 1);
  control.initialize();
  EXPECT_EQ(at(Child::Engine).left, -50 * 800);
  EXPECT_EQ(props().switchValue("HideBold"), 0);
  EXPECT_EQ(props().domain(), "");
  EXPECT_TRUE(view.timers[Timer::Progress]);
}

TEST_F(ControlTest, ProgressIndicatorFollowsBusyAndRequests) {
  control.show();
  view.busy = true;
  control.progressTimer();
  control.progressTimer();
  EXPECT_TRUE(view.elements[Child::Progress].shown);
  EXPECT_EQ(view.progress, 2);
  EXPECT_FALSE(view.elements[Child::ViewTabs].enabled);
  EXPECT_FALSE(view.elements[Child::SourceBox].enabled);
  view.progress = 99;
  control.progressTimer();
  EXPECT_EQ(view.progress, 0);
  view.busy = false;
  control.state().requestInProgress = true;
  control.progressTimer();
  EXPECT_EQ(view.progress, 1);
  control.state().requestInProgress = false;
  control.progressTimer();
  EXPECT_FALSE(view.elements[Child::Progress].shown);
  EXPECT_EQ(view.progress, 0);
  EXPECT_TRUE(view.elements[Child::ViewTabs].enabled);
}

TEST_F(ControlTest, PropertyChangesReachTheContainerThroughTheControl) {
  std::vector<std::string> names;
  control.hooks().propertyChanged = [&](std::string_view n) { names.emplace_back(n); };
  MemoryPropertyBag page({{"domain", "a.example"}, {"hidecut", "1"}});
  control.readProperties(page);
  EXPECT_EQ(names.size(), 119u);
  EXPECT_EQ(names.front(), "Domain");
  EXPECT_EQ(names[5], "Content");
  EXPECT_TRUE(props().isOn("hideCut"));
}

TEST_F(ControlTest, FailuresFollowTheErrorConvention) {
  control.hooks().buildEditorMenu = [] { throw ProcedureError(9, "Subscript out of range"); };
  control.show();
  EXPECT_EQ(std::vector<std::string>(log.end() - 3, log.end()),
            (std::vector<std::string>{"Error in UserControl_Show", "9", "Subscript out of range"}));
  EXPECT_TRUE(view.events.empty());
}

TEST_F(ControlTest, UpdateStatusRunsTheTrackerOnlyWhenIdle) {
  int tracked = 0;
  int framesClosed = 0;
  control.hooks().checkUnderCursor = [&] { ++tracked; };
  control.hooks().closeElementFrame = [&] { ++framesClosed; };
  control.updateStatus();
  EXPECT_EQ(tracked, 1);
  view.busy = true;
  control.updateStatus();
  view.busy = false;
  control.state().requestInProgress = true;
  control.updateStatus();
  EXPECT_EQ(tracked, 1);
  control.state().currentView = View::Html;
  control.updateStatus();
  EXPECT_EQ(framesClosed, 1);
  EXPECT_EQ(tracked, 1);
}

TEST_F(ControlTest, HideAndFailedCheckCloseTheDebugLog) {
  auto files = std::make_shared<MemoryLogFileSystem::Files>();
  DebugLog::shared().setFileSystemFactory(
      [files] { return std::make_unique<MemoryLogFileSystem>(files); });
  installDebugLog();
  control.initialize();
  props().let("DebugMode", 1);
  control.show();  // unconfigured: properties were reset
  EXPECT_TRUE(DebugLog::shared().streamOpen());
  dialogs::MessageWindow::shared().ok();
  EXPECT_FALSE(DebugLog::shared().streamOpen());
  ASSERT_EQ(files->size(), 1u);
  EXPECT_EQ(files->begin()->second, "_Show\r\n");
  DebugLog::shared().clearOpenFlag();
  DebugLog::shared().setFileSystemFactory(nullptr);
}

}  // namespace
}  // namespace vellmar::editor
