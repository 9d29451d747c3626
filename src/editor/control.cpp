#include "editor/control.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "common/diagnostics.h"
#include "editor/debug_log.h"
#include "editor/status.h"

namespace vellmar::editor {

namespace {

// The controls that are shown, in the order of their last show; the last one is active.
thread_local std::vector<ctlVellmar2*> shownControls;

constexpr int kConfigurationWidth = 7000;   // twips
constexpr int kConfigurationHeight = 4000;

// The bars the layout places after the menu bar, in their order.
constexpr Child kPlacedBars[] = {Child::StandardToolbar, Child::ObjectsToolbar, Child::FontSelector,
                                 Child::TextFormatToolbar};

}  // namespace

std::string configurationPage(bool domainMissing, bool portMissing) {
  std::string page =
      "<font face='Verdana' size='2'><p>Vellmar is not configured correctly within the container "
      "HTML document. You are missing the following ";
  page += (domainMissing && portMissing) ? "parameters:</p>" : "parameter:</p>";
  if (domainMissing) page += "<blockquote>Domain</blockquote>";
  if (portMissing) page += "<blockquote>Port</blockquote>";
  page += "<p>Vellmar's &lt;object&gt; tag must have the domain and port parameter as shown below:</p>";
  page += "<p>&lt;OBJECT ...&gt;<br>";
  page += "&nbsp;&nbsp;&nbsp;&lt;PARAM NAME=\"domain\"<br>";
  page += "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;VALUE=\"";
  page += kExampleHost;
  page += "\"&gt;<Br>";
  page += "&nbsp;&nbsp;&nbsp;&lt;PARAM NAME=\"port\"<br>";
  page += "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;VALUE=\"80\"&gt;<Br>";
  page += "&lt;/OBJECT&gt;</font>";
  return page;
}

ctlVellmar2::ctlVellmar2(ControlView& view, ControlHooks hooks)
    : view_(view),
      hooks_(std::move(hooks)),
      properties_(PropertySet::shared()),
      alive_(std::make_shared<bool>(true)) {}

ctlVellmar2::~ctlVellmar2() {
  *alive_ = false;
  releaseReferences();
}

ctlVellmar2* ctlVellmar2::active() {
  return shownControls.empty() ? nullptr : shownControls.back();
}

PropertyHooks ctlVellmar2::propertyHooks() {
  PropertyHooks h;
  h.changed = [this](std::string_view name) {
    if (hooks_.propertyChanged) hooks_.propertyChanged(name);
  };
  h.enableInterface = [this] { enableInterface(); };
  if (hooks_.currentContent) h.currentContent = hooks_.currentContent;
  if (hooks_.loadDocument) h.loadContent = hooks_.loadDocument;
  return h;
}

std::optional<PropertyValue> ctlVellmar2::getProperty(std::string_view name) {
  return properties_.get(name, propertyHooks());
}

bool ctlVellmar2::letProperty(std::string_view name, PropertyValue value) {
  return properties_.let(name, std::move(value), propertyHooks());
}

void ctlVellmar2::initialize() {
  guarded("UserControl_Initialize", [&] {
    DebugLog::shared().clearOpenFlag();
    state_.configurationValid = false;
    shownBefore_ = false;
    properties_.resetToDefaults();
    // Out of sight until the layout pass brings it back.
    Rect engine = view_.bounds(Child::Engine);
    engine.left = -50 * view_.innerWidth();
    view_.setBounds(Child::Engine, engine);
    state_.ready = false;
    view_.setTimerEnabled(Timer::KeepAlive, false);
    view_.setTimerEnabled(Timer::Progress, true);
  });
}

void ctlVellmar2::readProperties(PropertyBag& bag) {
  guarded("UserControl_ReadProperties", [&] { properties_.readProperties(bag, propertyHooks()); });
}

void ctlVellmar2::writeProperties(PropertyBag& bag) {
  guarded("UserControl_WriteProperties",
          [&] { properties_.writeProperties(bag, propertyHooks()); });
}

bool ctlVellmar2::checkConfiguration(std::function<void()> closed) {
  const bool domainMissing = properties_.domain().empty();
  const bool portMissing = properties_.port().empty();
  if (!domainMissing && !portMissing) return true;
  dialogs::showMessage(configurationPage(domainMissing, portMissing), kConfigurationCaption, "",
                       kConfigurationWidth, kConfigurationHeight, false, std::move(closed));
  return false;
}

void ctlVellmar2::show() {
  guarded("UserControl_Show", [&] {
    std::erase(shownControls, this);
    shownControls.push_back(this);
    dialogs::MessageWindow::shared().setPresenter(view_.messagePresenter());
    debugLog("_Show");
    // The configuration page is modal: the rest of an unconfigured show runs once it is closed.
    std::weak_ptr<bool> alive = alive_;
    state_.configurationValid = checkConfiguration([this, alive] {
      if (auto a = alive.lock(); a && *a) finishUnconfiguredShow();
    });
    if (!state_.configurationValid) return;
    state_.currentView = View::Wysiwyg;
    debugLog("set font arrays");
    if (hooks_.fillFontTables) hooks_.fillFontTables();
    if (hooks_.buildEditorMenu) hooks_.buildEditorMenu();
    state_.ready = true;
    const bool firstShow = !shownBefore_;
    shownBefore_ = true;
    enableInterface();
    if (firstShow && !properties_.pathToContent().empty() && hooks_.loadContent) {
      hooks_.loadContent();
    }
    if (properties_.pathToStyleSheet().empty() || properties_.isNonZero("DisableCssStyles")) {
      if (hooks_.setVisibleMenuItem) hooks_.setVisibleMenuItem("style", "cssClasses", false);
    } else if (firstShow) {
      debugLog("load Stylesheet");
      if (hooks_.loadStylesheet) hooks_.loadStylesheet();
      debugLog("load Stylesheet complete");
    }
    // Hiding stopped the progress timer too.
    view_.setTimerEnabled(Timer::Progress, true);
    view_.setTimerEnabled(Timer::KeepAlive, true);
    view_.caretToStart();
    view_.raiseLoaded();
  });
}

void ctlVellmar2::finishUnconfiguredShow() {
  guarded("UserControl_Show", [&] {
    DebugLog::shared().close();
    releaseReferences();
    view_.raiseLoaded();
  });
}

void ctlVellmar2::releaseReferences() {
  if (std::find(shownControls.begin(), shownControls.end(), this) == shownControls.end()) return;
  std::erase(shownControls, this);
  // The shared procedures go on with the editor shown before this one, if any is left.
  auto& window = dialogs::MessageWindow::shared();
  if (window.presenter() == view_.messagePresenter()) {
    window.setPresenter(active() ? active()->view_.messagePresenter() : nullptr);
  }
}

void ctlVellmar2::hide() {
  guarded("UserControl_Hide", [&] {
    debugLog("hide");
    view_.setTimerEnabled(Timer::KeepAlive, false);
    view_.setTimerEnabled(Timer::Progress, false);
    state_.ready = false;
    DebugLog::shared().close();
    releaseReferences();
    if (hooks_.closeElementFrame) hooks_.closeElementFrame();
  });
}

void ctlVellmar2::resize() {
  guarded("UserControl_Resize", [&] {
    debugLog("_Resize");
    if (state_.ready) layout();
  });
}

void ctlVellmar2::paint() {
  guarded("UserControl_Paint", [&] {
    debugLog("_Paint");
    // A page is always at run time; a design tool is the only container that is not.
    view_.setUserMode(true);
  });
}

void ctlVellmar2::keepAliveTimer() {
  guarded("tmrKeepAlive_Timer", [&] {
    if (hooks_.keepAliveTick) hooks_.keepAliveTick();
  });
}

void ctlVellmar2::progressTimer() {
  guarded("tmrProgressBar_Timer", [&] {
    const bool busy = view_.engineBusy() || state_.requestInProgress;
    if (busy) {
      if (!view_.isShown(Child::Progress)) view_.setShown(Child::Progress, true);
      view_.setProgressValue((view_.progressValue() + 1) % 100);
      if (view_.isEnabled(Child::ViewTabs)) view_.setEnabled(Child::ViewTabs, false);
      if (view_.isEnabled(Child::SourceBox)) view_.setEnabled(Child::SourceBox, false);
    } else {
      if (view_.isShown(Child::Progress)) view_.setShown(Child::Progress, false);
      view_.setProgressValue(0);
      if (!view_.isEnabled(Child::ViewTabs)) view_.setEnabled(Child::ViewTabs, true);
      if (!view_.isEnabled(Child::SourceBox)) view_.setEnabled(Child::SourceBox, true);
    }
  });
}

void ctlVellmar2::updateStatus() {
  StatusHooks h;
  h.engineBusy = [this] { return view_.engineBusy(); };
  h.closeElementFrame = hooks_.closeElementFrame;
  h.checkUnderCursor = hooks_.checkUnderCursor;
  editor::updateStatus(state_, h);
}

void ctlVellmar2::setElementFrameHeight(int height) {
  height = std::max(0, height);
  if (height == frameHeight_) return;
  frameHeight_ = height;
  layout();
}

bool ctlVellmar2::barIsVisible(Child bar) const {
  switch (bar) {
    case Child::MenuBar: return menuBarIsVisible_;
    case Child::StandardToolbar: return toolbars_.standard;
    case Child::ObjectsToolbar: return toolbars_.objects;
    case Child::FontSelector: return toolbars_.fontSelector;
    case Child::TextFormatToolbar: return toolbars_.textFormat;
    default: return false;
  }
}

void ctlVellmar2::enableInterface() {
  guarded("enableInterface", [&] {
    if (!state_.ready) return;
    if (properties_.isNonZero("DisableMenuBar")) {
      menuBarIsVisible_ = false;
    } else {
      menuBarIsVisible_ = hooks_.applyMenuSwitches ? hooks_.applyMenuSwitches() : true;
    }
    if (properties_.switchValue("DisableHtmlView") == 0 && !view_.isShown(Child::ViewTabs)) {
      view_.setShown(Child::ViewTabs, true);
    }
    if (!view_.isShown(Child::Engine)) view_.setShown(Child::Engine, true);
    if (!view_.isShown(Child::Status)) view_.setShown(Child::Status, true);
    debugLog("mcMenuBar1.Visible = mcMenuBar1.isVisible");
    // A menu bar whose isVisible is false draws nothing; hiding the component is the page's way
    // of drawing nothing.
    view_.setShown(Child::MenuBar, menuBarIsVisible_);
    debugLog(view_.isShown(Child::MenuBar) ? "True" : "False");
    if (hooks_.applyToolbarSwitches) {
      toolbars_ = hooks_.applyToolbarSwitches(view_.innerWidth());
    } else {
      toolbars_.standard = !properties_.isOn("DisableStandardToolbar");
      toolbars_.objects = !properties_.isOn("DisableObjectsToolbar");
      toolbars_.fontSelector = !properties_.isOn("DisableFontToolbar");
      toolbars_.textFormat = !properties_.isOn("DisableFormattingToolbar");
    }
    view_.setShown(Child::StandardToolbar, toolbars_.standard);
    view_.setShown(Child::ObjectsToolbar, toolbars_.objects);
    view_.setShown(Child::TextFormatToolbar, toolbars_.textFormat);
    view_.setShown(Child::FontSelector, toolbars_.fontSelector);
    layout();
  });
}

void ctlVellmar2::assign(Child child, const Rect& rect) {
  if (view_.bounds(child) != rect) view_.setBounds(child, rect);
}

void ctlVellmar2::assignShown(Child child, bool shown) {
  if (view_.isShown(child) != shown) view_.setShown(child, shown);
}

void ctlVellmar2::setToRemainingWidth(Child obj) {
  Rect r = view_.bounds(obj);
  r.width = view_.innerWidth() - r.left;
  assign(obj, r);
}

void ctlVellmar2::placeObject(Child obj, std::optional<Child> prev) {
  Rect r = view_.bounds(obj);
  r.width = 1;
  view_.setBounds(obj, r);
  r = view_.bounds(obj);
  if (!prev) {
    r.top = 0;
    r.left = 0;
  } else {
    const Rect p = view_.bounds(*prev);
    const int room = view_.innerWidth() - p.right();
    if (room < r.width) {
      if (*prev != Child::MenuBar) setToRemainingWidth(*prev);
      r.top = p.bottom();
      r.left = 0;
    } else {
      r.top = p.top;
      r.left = p.right();
    }
  }
  r.width = 1;
  view_.setBounds(obj, r);
}

void ctlVellmar2::layout() {
  guarded("layout", [&] {
    if (!state_.ready) return;
    const int width = view_.innerWidth();
    const int height = view_.innerHeight();
    std::optional<Child> prev;
    if (menuBarIsVisible_) {
      // The menu bar spans the control's top row; every bar goes below it.
      Rect menu = view_.bounds(Child::MenuBar);
      assign(Child::MenuBar, {0, 0, width, menu.height});
      prev = Child::MenuBar;
    }
    for (Child bar : kPlacedBars) {
      if (!barIsVisible(bar)) continue;
      placeObject(bar, prev);
      prev = bar;
    }
    if (prev && *prev != Child::MenuBar) setToRemainingWidth(*prev);
    const int top = prev ? view_.bounds(*prev).bottom() : 0;

    // The bottom strip: the status text, then the progress indicator at its right end.
    const int stripTop = std::max(top, height - kStatusStripHeight);
    const int progressWidth = std::min(kProgressWidth, width / 3);
    const Rect progress{width - progressWidth - 2,
                        stripTop + (kStatusStripHeight - kProgressHeight) / 2, progressWidth,
                        kProgressHeight};
    assign(Child::Progress, progress);
    assign(Child::Status, {0, stripTop, std::max(0, progress.left - 4), kStatusStripHeight});
    Rect area;
    // The element frame spans the control without the view tabs, else the tabs' client area.
    Rect frameSpan;
    if (properties_.isNonZero("DisableHtmlView")) {
      assignShown(Child::ViewTabs, false);
      area = {2, top, std::max(0, width - 4), stripTop - top};
      frameSpan = {0, 0, width, 0};
    } else {
      const Rect tabs{0, top, width, stripTop - top};
      assignShown(Child::ViewTabs, true);
      assign(Child::ViewTabs, tabs);
      area = view_.tabClientArea(tabs);
      area.height = std::max(0, area.height - 2);
      frameSpan = area;
    }
    // The source box never shares its room: the frame closes in the HTML view.
    assign(Child::SourceBox, area);
    if (frameHeight_ > 0) {
      // Under the shrunk surface: the title line, the panel, and a gap below them.
      area.height = std::max(0, area.height - frameHeight_ - kFrameGap);
      if (hooks_.placeElementFrame) {
        hooks_.placeElementFrame({frameSpan.left, area.bottom(), frameSpan.width, frameHeight_});
      }
    }
    assign(Child::Engine, area);
  });
}

}  // namespace vellmar::editor
