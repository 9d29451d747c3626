#include "dialogs/message_window.h"

#include <utility>

#include "common/diagnostics.h"

namespace vellmar::dialogs {

namespace {

constexpr int kDefaultWidth = 5025;
constexpr int kDefaultHeight = 2880;
constexpr int kLeft = 720;               // right of the icon
constexpr int kTop = 120;
constexpr int kWidthMargin = 930;        // window width - content width
constexpr int kHeightMargin = 1065;      // window height - content height
constexpr int kOkGap = 105;              // between the content and the OK button
constexpr int kOkWidth = 1215;
constexpr int kOkHeight = 375;
constexpr int kLabelHeight = 255;        // one line of the summary label
constexpr int kTabHeaderHeight = 360;    // the row of tabs at the top of the tab strip
constexpr int kTabClientInset = 45;      // the tab strip's frame around its client area

TwipRect okCentredBelow(const TwipRect& above) {
  return {above.left + (above.width - kOkWidth) / 2, above.bottom() + kOkGap, kOkWidth, kOkHeight};
}

}  // namespace

MessageWindowLayout layoutMessage(std::string_view html, std::string_view caption,
                                  std::string_view label, std::int16_t width, std::int16_t height,
                                  bool showTabs) {
  MessageWindowLayout l;
  l.html = std::string(kMessageStyleBlock);
  l.html.append(html);
  l.source = l.html;
  l.caption = std::string(caption.empty() ? kDefaultMessageCaption : caption);
  l.width = width == 0 ? kDefaultWidth : width;
  l.height = height == 0 ? kDefaultHeight : height;
  l.icon = {120, kTop, 480, 480};
  const int contentWidth = l.width - kWidthMargin;
  if (!showTabs) {
    l.client = {kLeft, kTop, contentWidth, l.height - kHeightMargin};
    l.ok = okCentredBelow(l.client);
    return l;
  }
  l.label = std::string(label);
  l.labelVisible = !label.empty();
  l.labelRect = {kLeft, kTop, contentWidth, kLabelHeight};
  l.tabsVisible = true;
  if (l.labelVisible) {
    l.tabs = {kLeft, l.labelRect.bottom(), contentWidth, l.height - kHeightMargin - kLabelHeight};
  } else {
    l.tabs = {kLeft, kTop, contentWidth, l.height - kHeightMargin};
  }
  l.client = {l.tabs.left + kTabClientInset, l.tabs.top + kTabHeaderHeight,
              l.tabs.width - 2 * kTabClientInset, l.tabs.height - kTabHeaderHeight - kTabClientInset};
  l.ok = okCentredBelow(l.tabs);
  return l;
}

MessageWindow& MessageWindow::shared() {
  thread_local MessageWindow window;
  return window;
}

bool MessageWindow::showMessage(std::string_view html, std::string_view caption,
                                std::string_view label, std::int16_t width, std::int16_t height,
                                bool showTabs, std::function<void()> closed) {
  if (showing_) {
    debugLog("Already showing error msg.");
    if (closed) closed();
    return false;
  }
  const bool shown = guarded("showMessage", [&] {
    layout_ = layoutMessage(html, caption, label, width, height, showTabs);
    browserVisible_ = true;
    closed_ = std::move(closed);
    showing_ = true;
    presentedBy_ = presenter_;
    if (presenter_) presenter_->present(layout_);
  });
  if (!shown && showing_) {
    // A window that could not be drawn is not showing; the caller goes on.
    ok();
  }
  return shown;
}

void MessageWindow::selectTab(std::string_view key) {
  browserVisible_ = key == kMessageTabs[0].key;
  if (presentedBy_) presentedBy_->tabChanged(browserVisible_);
}

void MessageWindow::ok() {
  if (!showing_) return;
  showing_ = false;
  if (auto* p = std::exchange(presentedBy_, nullptr)) p->closed();
  auto closed = std::move(closed_);
  closed_ = nullptr;
  if (closed) closed();
}

void MessageWindow::forget(MessagePresenter* presenter) {
  if (presenter_ == presenter) presenter_ = nullptr;
  if (presentedBy_ == presenter) {
    presentedBy_ = nullptr;
    ok();
  }
}

bool showMessage(std::string_view html, std::string_view caption, std::string_view label,
                 std::int16_t width, std::int16_t height, bool showTabs,
                 std::function<void()> closed) {
  return MessageWindow::shared().showMessage(html, caption, label, width, height, showTabs,
                                             std::move(closed));
}

}  // namespace vellmar::dialogs
