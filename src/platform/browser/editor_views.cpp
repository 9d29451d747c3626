#include "platform/browser/editor_views.h"

#include "common/diagnostics.h"
#include "editor/control_state.h"
#include "editor/properties.h"
#include "html/cleanup.h"
#include "html/splice.h"
#include "platform/browser/engine.h"
#include "platform/browser/menubar_view.h"

namespace vellmar::browser {

namespace {

using editor::Child;
using editor::View;
using emscripten::val;

enum Kind { kTabClick = 0, kSourceInput = 1 };

}  // namespace

EditorViews::EditorViews(ControlView& view, EditorMenuBar& menuBar, editor::ControlState& state)
    : view_(view), menuBar_(menuBar), state_(state), source_(view.element(Child::SourceBox)) {
  source_.call<void>("setAttribute", std::string("spellcheck"), std::string("false"));
  route_.listen(source_, "input", [this](const val&) { handleEvent(kSourceInput, 0); });
  const val tabs = view_.element(Child::ViewTabs).call<val>("querySelectorAll", std::string("[role=tab]"));
  const int count = tabs["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    route_.listen(tabs[i], "click", [this, i](const val&) { handleEvent(kTabClick, i); });
  }
}

EditorViews::~EditorViews() = default;

void EditorViews::attach(Engine& engine) {
  engine_ = &engine;
  if (!pending_.isNull()) {
    const val document = pending_;
    pending_ = val::null();
    loadDocument(document);
  }
}

void EditorViews::handleEvent(int kind, int index) {
  if (kind == kTabClick) {
    guarded("TabStrip1_Click", [&] { setView(index == 0 ? "wysiwyg" : "html"); });
  } else if (kind == kSourceInput) {
    guarded("rtHTML_Change", [&] { sourceChanged(); });
  }
}

void EditorViews::loadDocument(const std::string& content) { loadDocument(dom::textOf(content)); }

void EditorViews::loadDocument(const val& content) {
  guarded("loadDocument", [&] {
    if (!engine_) {
      // Kept as the page's string: the module's memory, once grown for a copy, stays that size.
      pending_ = content;
      return;
    }
    engine_->setDocumentHTML(content);
    const dom::Document doc = engine_->DOM();
    doc.scroll(0, 0);
    suppress_ = true;
    if (state_.currentView == View::Html) {
      const std::string document = engine_->DocumentHTML();
      const std::optional<std::string> cleaned = html::cleanHTML(document);
      written_ = dom::textOf(cleaned ? *cleaned : document);
      source_.set("value", written_);
    } else {
      // Hidden, the box is written afresh by the switch to the HTML view; a copy of the old
      // document kept in it would only hold memory (and serializing a long one takes a while).
      source_.set("value", std::string());
      written_ = val::null();
    }
    madeFrom_ = val::null();
    suppress_ = false;
    caretToStart();
  });
}

void EditorViews::caretToStart() {
  if (engine_) engine_->caretToStart();
}

bool EditorViews::cleanBody(const html::Cleaner::Sink& piece, const std::function<void(std::size_t)>& sizeHint) const {
  return guarded("getBodyHTML", [&] {
    html::Cleaner cleaner(piece);
    if (engine_) {
      // Read and cleaned a part at a time: a long document is never whole in the module's memory.
      const val html = engine_->DOM().body().js()["innerHTML"];
      if (sizeHint) sizeHint(html["length"].as<std::size_t>());
      dom::forEachPieceOf(html, [&](std::string_view part) { cleaner.feed(part); });
    } else if (!pending_.isNull()) {
      cleaner.feed(html::takeBodyContent(dom::stringOf(pending_)));
    }
    cleaner.finish();
  });
}

std::optional<std::string> EditorViews::getBodyHTML() const {
  std::string html;
  // Room for the clean-up's line breaks and indentation from the start: growing by doubling would
  // hold the old and the new buffer at once, twice the document.
  const auto reserve = [&](std::size_t length) { html.reserve(length + length / 4); };
  if (!cleanBody([&](std::string_view piece) { html.append(piece); }, reserve)) return std::nullopt;
  return html;
}

std::optional<editor::ChangeTracker::Digest> EditorViews::bodyDigest() const {
  editor::ChangeTracker::Digest digest;
  if (!cleanBody([&](std::string_view piece) { digest.add(piece); })) return std::nullopt;
  return digest;
}

std::optional<val> EditorViews::bodyText() const {
  dom::TextBuilder text;
  if (!cleanBody([&](std::string_view piece) { text.append(piece); })) return std::nullopt;
  return text.take();
}

std::optional<std::string> EditorViews::getContent(std::int32_t contentType) const {
  if (contentType == editor::BodyHTML) return engine_ ? getBodyHTML() : std::string();
  std::optional<std::string> text;
  const bool done = guarded("getContent", [&] {
    text = std::string();
    if (engine_ && contentType == editor::BodyText) text = engine_->DOM().body().createTextRange().text();
  });
  return done ? text : std::nullopt;
}

std::optional<val> EditorViews::contentText(std::int32_t contentType) const {
  if (contentType == editor::BodyHTML && engine_) return bodyText();
  const std::optional<std::string> text = getContent(contentType);
  if (!text) return std::nullopt;
  return dom::textOf(*text);
}

void EditorViews::setAllMenuItemsGrayed(bool grayed) {
  auto& bar = menuBar_.model();
  for (menubar::MenuId b = 0; b < bar.menuButtonCount(); ++b) {
    for (menubar::MenuId i = 0; i < bar.menuItemCount(b); ++i) bar.grayMenuItem(b, i, grayed);
  }
}

void EditorViews::selectTab(int index) {
  const val tabs = view_.element(Child::ViewTabs).call<val>("querySelectorAll", std::string("[role=tab]"));
  const int count = tabs["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    tabs[i].call<void>("setAttribute", std::string("aria-selected"),
                       std::string(i == index ? "true" : "false"));
  }
}

void EditorViews::setView(std::string_view viewKey) {
  auto& state = state_;
  if (state.loadingDocument) return;
  auto& bar = menuBar_.model();
  val engineBox = view_.element(Child::Engine);
  if (viewKey == "html" && state.currentView != View::Html) {
    setAllMenuItemsGrayed(true);
    if (sourceViewShown) sourceViewShown(true);
    setAside(engineBox);
    source_.set("hidden", true);
    state.currentView = View::Html;
    bar.setCheckedMenuItem("view", "html", true);
    bar.setCheckedMenuItem("view", "wysiwyg", false);
    for (const char* key : {"cut", "copy", "paste"}) bar.setGrayedMenuItem("edit", key, false);
    selectTab(1);
    suppress_ = true;
    // The source box is what goes back into the engine: when the clean-up fails it shows the body
    // as it is rather than nothing.
    const std::optional<val> cleaned = bodyText();
    const val text = cleaned ? *cleaned
                             : (engine_ ? engine_->DOM().body().js()["innerHTML"] : val(std::string()));
    // The same text again is not written again. (The box gives its text back with bare line
    // feeds, so it is compared with what was written into it.)
    if (!text.strictlyEquals(written_)) {
      source_.set("value", text);
      // A new text is shown from its start, with the caret there (a text box puts it at the end).
      source_.call<void>("setSelectionRange", 0, 0);
      written_ = text;
      madeFrom_ = val::null();
    }
    suppress_ = false;
    source_.set("hidden", false);
    source_.call<void>("focus");
  } else if (viewKey == "wysiwyg" && state.currentView != View::Wysiwyg) {
    setAllMenuItemsGrayed(false);
    if (sourceViewShown) sourceViewShown(false);
    engineBox.set("hidden", true);
    // (A long source kept laid out while hidden slows every frame of the WYSIWYG view down.)
    source_.set("hidden", true);
    state.currentView = View::Wysiwyg;
    bar.setCheckedMenuItem("view", "wysiwyg", true);
    bar.setCheckedMenuItem("view", "html", false);
    selectTab(0);
    bodyFromSource(false);
    engineBox.set("hidden", !view_.isShown(Child::Engine));
    if (engine_) engine_->focus();
  }
}

void EditorViews::bodyFromSource(bool always) {
  if (!engine_) return;
  const val text = source_["value"];
  if (!always && text.strictlyEquals(madeFrom_) && engine_->contentVersion() == madeAt_) return;
  engine_->DOM().body().setInnerHTML(text);
  madeFrom_ = text;
  madeAt_ = engine_->contentVersion();
}

void EditorViews::setAside(val box) {
  // Hidden but still laid out (see .vellmar-aside): showing a long document again takes a
  // paint, not a layout of all of it.
  box["classList"].call<void>("add", std::string("vellmar-aside"));
  box.set("hidden", true);
}

void EditorViews::sourceChanged() {
  if (suppress_) return;
  written_ = val::null();
  // The engine's layout kept for the way back is of no use once its body is made anew, and
  // keeping up with every key typed here would take longer than the key itself.
  view_.element(Child::Engine)["classList"].call<void>("remove", std::string("vellmar-aside"));
  bodyFromSource(true);
}

}  // namespace vellmar::browser

