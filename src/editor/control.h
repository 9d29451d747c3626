#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "dialogs/message_window.h"
#include "editor/control_state.h"
#include "editor/properties.h"

namespace vellmar::editor {

// A rectangle in pixels, relative to the control's inner area.
struct Rect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int right() const { return left + width; }
  int bottom() const { return top + height; }
  bool operator==(const Rect&) const = default;
};

// The child elements the control positions.
enum class Child {
  MenuBar,
  StandardToolbar,
  ObjectsToolbar,
  FontSelector,
  TextFormatToolbar,
  ViewTabs,
  Engine,
  SourceBox,
  Progress,
  Status,  // the status text of the bottom strip, beside the progress indicator
};

enum class Timer { KeepAlive, Progress };

// The progress indicator's height: 135 twips.
inline constexpr int kProgressHeight = 135 / dialogs::kTwipsPerPixel;
// The bottom strip below the editing area: the status text, and the progress indicator at its
// right end (at most this wide, and never more than a third of the control).
inline constexpr int kStatusStripHeight = 18;
// Below the element property frame, between its panel and the bottom of the editing area.
inline constexpr int kFrameGap = 2;
inline constexpr int kProgressWidth = 160;

// The page side of the control: the element's box, its child elements and the container services.
// Units are pixels.
class ControlView {
 public:
  virtual ~ControlView() = default;

  virtual int innerWidth() const = 0;
  virtual int innerHeight() const = 0;

  virtual Rect bounds(Child child) const = 0;
  // A bar never becomes narrower than its natural width: asking for width 1 gives that width,
  // which bounds() then reports.
  virtual void setBounds(Child child, const Rect& rect) = 0;
  virtual bool isShown(Child child) const = 0;
  virtual void setShown(Child child, bool shown) = 0;
  virtual bool isEnabled(Child child) const = 0;
  virtual void setEnabled(Child child, bool enabled) = 0;
  // The tab strip's client area (the editing area) when the tab strip occupies `tabs`.
  virtual Rect tabClientArea(const Rect& tabs) const = 0;

  virtual int progressValue() const = 0;
  virtual void setProgressValue(int value) = 0;
  virtual void setTimerEnabled(Timer timer, bool enabled) = 0;

  // The engine's Busy.
  virtual bool engineBusy() const = 0;
  // Puts the caret at the start of the body (a collapsed range at the body's start, selected).
  virtual void caretToStart() = 0;
  // The ambient UserMode, handed to the control surface at paint time.
  virtual void setUserMode(bool userMode) { (void)userMode; }
  // The one event the control raises to the page.
  virtual void raiseLoaded() = 0;
  // Draws the message window for this control (nullptr: the window stays a model).
  virtual dialogs::MessagePresenter* messagePresenter() { return nullptr; }
};

// The bars' own isVisible values after the toolbar switches are applied.
struct ToolbarVisibility {
  bool standard = true;
  bool objects = true;
  bool fontSelector = true;
  bool textFormat = true;
};

// The pieces of the editor's other parts that the control's life calls into. An empty member stands
// for a part that is not there: the defaults keep every bar and menu visible unless its own
// Disable...Toolbar / DisableMenuBar switch says otherwise.
struct ControlHooks {
  std::function<void()> fillFontTables;
  std::function<void()> buildEditorMenu;
  // True when at least one menu button remains visible.
  std::function<bool()> applyMenuSwitches;
  std::function<ToolbarVisibility(int innerWidth)> applyToolbarSwitches;
  std::function<void()> loadContent;
  std::function<void()> loadStylesheet;
  std::function<void(std::string_view menu, std::string_view item, bool visible)>
      setVisibleMenuItem;
  // The `content` property: the current document cleaned up (nothing when it could not be), and
  // loading a document.
  std::function<std::optional<std::string>()> currentContent;
  std::function<void(const std::string& document)> loadDocument;
  // updateStatus.
  std::function<void()> checkUnderCursor;
  std::function<void()> closeElementFrame;
  // Places the element property frame (its title line and panel) where the layout put it.
  std::function<void(const Rect& frame)> placeElementFrame;
  // tmrKeepAlive_Timer.
  std::function<void()> keepAliveTick;
  // PropertyChanged(name) to the container.
  std::function<void(std::string_view reportedName)> propertyChanged;
};

// The heading, the missing parameters and the example tag of the configuration page.
std::string configurationPage(bool domainMissing, bool portMissing);
inline constexpr std::string_view kConfigurationCaption = "Korvath Vellmar Configuration Error";
inline constexpr std::string_view kExampleHost = "www.example.com";

// The editor control: its life in the page (initialise, restore, show, resize, paint, hide), the
// configuration check, interface enabling and the layout of its bars and editing area.
class ctlVellmar2 {
 public:
  ctlVellmar2(ControlView& view, ControlHooks hooks = {});
  ~ctlVellmar2();
  ctlVellmar2(const ctlVellmar2&) = delete;
  ctlVellmar2& operator=(const ctlVellmar2&) = delete;

  ControlHooks& hooks() { return hooks_; }
  // This editor's own state (ready, current view, request in progress, ...).
  ControlState& state() { return state_; }
  const ControlState& state() const { return state_; }

  // Container entry points.
  void initialize();
  void readProperties(PropertyBag& bag);
  void writeProperties(PropertyBag& bag);
  void show();
  void hide();
  void resize();
  void paint();
  void progressTimer();
  void keepAliveTimer();

  // Get and Let through this control: its hooks run (PropertyChanged, re-applying switches,
  // `content`).
  std::optional<PropertyValue> getProperty(std::string_view name);
  bool letProperty(std::string_view name, PropertyValue value);
  PropertyHooks propertyHooks();

  // True when `domain` and `port` are set; otherwise shows the configuration page and calls
  // `closed` when the user has closed it.
  bool checkConfiguration(std::function<void()> closed = {});
  void enableInterface();
  void layout();
  void placeObject(Child obj, std::optional<Child> prev);
  void setToRemainingWidth(Child obj);
  void updateStatus();
  // The element property frame's height (title line and panel), 0 when none is shown: the
  // editing surface gives up that room and a gap at the bottom of the editing area.
  void setElementFrameHeight(int height);
  int elementFrameHeight() const { return frameHeight_; }

  // The bar's own isVisible value (the menu bar's is the result of its switches).
  bool barIsVisible(Child bar) const;

  // The control whose view shared procedures use (the one shown last of those still shown), or
  // nullptr.
  static ctlVellmar2* active();

 private:
  void assign(Child child, const Rect& rect);
  void assignShown(Child child, bool shown);
  void releaseReferences();
  void finishUnconfiguredShow();

  ControlView& view_;
  ControlHooks hooks_;
  ControlState state_;
  PropertySet& properties_;
  bool menuBarIsVisible_ = false;
  // Set by the first show. A later show (the element was taken out of the page and put back)
  // keeps the document and the style sheet's classes the editor already has: fetching them
  // again would throw away what the person typed.
  bool shownBefore_ = false;
  ToolbarVisibility toolbars_;
  int frameHeight_ = 0;
  // Continuations that outlive the control (the message window's) check this first.
  std::shared_ptr<bool> alive_;
};

}  // namespace vellmar::editor
