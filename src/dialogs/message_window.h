#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vellmar::dialogs {

// A rectangle in twips, relative to the window's client area.
struct TwipRect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int right() const { return left + width; }
  int bottom() const { return top + height; }
  bool operator==(const TwipRect&) const = default;
};

// Everything the message window shows, worked out by showMessage; the view only draws it.
struct MessageWindowLayout {
  std::string caption;   // "Korvath Vellmar" unless the caller gave one
  int width = 0;         // the window, twips
  int height = 0;
  TwipRect icon;
  bool labelVisible = false;
  std::string label;
  TwipRect labelRect;
  bool tabsVisible = false;
  TwipRect tabs;         // the tab strip
  TwipRect client;       // the tab strip's client area, or the browser alone without tabs
  TwipRect ok;           // the OK button
  std::string html;      // the caller's HTML behind the style block: what is rendered
  std::string source;    // the text of the source box (the same prefixed HTML)
};

// The two tabs.
struct MessageTab {
  std::string_view key;
  std::string_view caption;
  std::string_view toolTip;
};
inline constexpr MessageTab kMessageTabs[] = {
    {"Message", "Message", "Message Returned From Server"},
    {"HTML Source", "HTML Source", "HTLM Source For Message"},
};

inline constexpr std::string_view kDefaultMessageCaption = "Korvath Vellmar";
inline constexpr std::string_view kMessageStyleBlock =
    "<style>\r\np{font-family: Verdana, Arial, Helvetica, sans-serif; font-size: 12px}\r\n"
    "</style>\r\n";
inline constexpr int kTwipsPerPixel = 15;
inline constexpr int twipsToPixels(int twips) {
  return (twips + kTwipsPerPixel / 2) / kTwipsPerPixel;
}

// Lays out a message as showMessage does (sizes of 0 take the defaults 5025 x 2880).
MessageWindowLayout layoutMessage(std::string_view html, std::string_view caption,
                                  std::string_view label, std::int16_t width, std::int16_t height,
                                  bool showTabs);

// Draws the window. The view calls MessageWindow::ok() when the user closes it.
class MessagePresenter {
 public:
  virtual ~MessagePresenter() = default;
  virtual void present(const MessageWindowLayout& layout) = 0;
  // The model's tab changed.
  virtual void tabChanged(bool browserVisible) { (void)browserVisible; }
  // The window was closed: take it off the screen.
  virtual void closed() {}
};

// frmMessageWindow: one message at a time, modal. In the page a modal wait is a continuation:
// `closed` runs when the user closes the window (or at once when the message was dropped).
class MessageWindow {
 public:
  static MessageWindow& shared();

  // The presenter of the editor that owns the window from now on (nullptr: none; the window is
  // then only a model, as in tests).
  void setPresenter(MessagePresenter* presenter) { presenter_ = presenter; }
  MessagePresenter* presenter() const { return presenter_; }
  // A presenter going away: it draws nothing more, and a window it shows counts as closed.
  void forget(MessagePresenter* presenter);

  // Answers false when a message is already showing: the new one is logged as dropped.
  bool showMessage(std::string_view html, std::string_view caption, std::string_view label,
                   std::int16_t width, std::int16_t height, bool showTabs,
                   std::function<void()> closed = {});

  bool isShowing() const { return showing_; }
  const MessageWindowLayout& layout() const { return layout_; }

  // Choosing the tab with key "Message" shows the browser; any other tab shows the source box.
  void selectTab(std::string_view key);
  bool browserVisible() const { return browserVisible_; }
  bool sourceVisible() const { return !browserVisible_; }

  // OK: closes the window and lets the caller continue.
  void ok();

 private:
  MessagePresenter* presenter_ = nullptr;
  MessagePresenter* presentedBy_ = nullptr;  // the presenter drawing the open window
  bool showing_ = false;
  bool browserVisible_ = true;
  MessageWindowLayout layout_;
  std::function<void()> closed_;
};

// The shared procedure every part calls.
bool showMessage(std::string_view html, std::string_view caption, std::string_view label,
                 std::int16_t width, std::int16_t height, bool showTabs,
                 std::function<void()> closed = {});

}  // namespace vellmar::dialogs
