#include "platform/browser/host.h"
#include "platform/browser/image_drop.h"

#include "platform/browser/dialog_views.h"

#include <algorithm>

#include "common/diagnostics.h"
#include "platform/browser/engine.h"
#include "dialogs/message_window.h"
#include "editor/properties.h"
#include "platform/browser/colour_selector_view.h"
#include "platform/browser/debug_log_file.h"
#include "platform/browser/editor_commands.h"
#include "platform/browser/element_frames.h"
#include "platform/browser/fetch_transport.h"
#include "platform/browser/local_files_view.h"
#include "platform/browser/spell_check_view.h"
#include "platform/browser/selection_tracker.h"
#include "platform/browser/toolbar_view.h"

namespace vellmar::browser {

namespace {

const char* const kStyleSheetHref = "vellmar.css";

val handedOut(std::optional<val> document) {
  if (!document) val::global("Error").new_(std::string("The document could not be prepared")).throw_();
  return std::move(*document);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> readParams(const val& element) {
  std::vector<std::pair<std::string, std::string>> params;
  const val children = element["children"];
  const int count = children["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    const val child = children[i];
    if (child["tagName"].as<std::string>() != "PARAM") continue;
    const val name = child.call<val>("getAttribute", std::string("name"));
    if (name.isNull()) continue;
    const val value = child.call<val>("getAttribute", std::string("value"));
    params.emplace_back(name.as<std::string>(), value.isNull() ? "" : value.as<std::string>());
  }
  return params;
}

std::vector<std::string> propertyNames() {
  std::vector<std::string> names;
  for (const auto& def : editor::propertyTable()) names.emplace_back(def.name);
  return names;
}

namespace {

// A property value for the page: text as a string, the integer kinds as numbers.
val toJs(const editor::PropertyValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return val(*text);
  return val(std::get<std::int32_t>(value));
}

// A value the page assigns: numbers that are whole stay numbers (switches take them as they are),
// true and false are 1 and 0, anything else is its text.
editor::PropertyValue fromJs(const val& value) {
  const std::string type = value.typeOf().as<std::string>();
  if (type == "number") {
    const double d = value.as<double>();
    if (d >= INT32_MIN && d <= INT32_MAX && d == static_cast<double>(static_cast<std::int32_t>(d))) {
      return static_cast<std::int32_t>(d);
    }
  } else if (type == "boolean") {
    return value.as<bool>() ? std::int32_t{1} : std::int32_t{0};
  } else if (value.isNull() || value.isUndefined()) {
    return std::string();
  }
  return val::global("String")(value).as<std::string>();
}

}  // namespace

ElementHost::ElementHost(val element) : element_(std::move(element)) {
  const val document = val::global("document");
  // An <object> cannot carry a shadow root, so the editor's box is a child of it, which the
  // loader puts in (as the element is parsed, and again before it attaches an editor); a
  // <vellmar-editor> carries its shadow root itself.
  val host = element_;
  if (element_["tagName"].as<std::string>() == "OBJECT") {
    host = element_.call<val>("querySelector", std::string(":scope > .vellmar-host"));
    if (host.isNull()) throw ProcedureError(5, "the <object> element has no editor box");
  }
  val init = val::object();
  init.set("mode", std::string("open"));
  root_ = host.call<val>("attachShadow", init);

  // The component's style sheet sits beside vellmar.js; the loader tells us where.
  val link = document.call<val>("createElement", std::string("link"));
  link.set("rel", std::string("stylesheet"));
  const val base = val::module_property("vellmarBaseUrl");
  link.set("href", (base.isString() ? base.as<std::string>() : std::string()) + kStyleSheetHref);
  root_.call<void>("appendChild", link);

  surface_ = document.call<val>("createElement", std::string("div"));
  surface_.call<void>("setAttribute", std::string("class"), std::string("vellmar-control"));
  surface_.call<void>("setAttribute", std::string("part"), std::string("control"));
  root_.call<void>("appendChild", surface_);

  installBrowserDebugLog();
  messageBoxes_ = std::make_unique<MessageBoxes>(root_);
  view_ = std::make_unique<ControlView>(surface_, root_);
  editor::ControlHooks hooks;
  // The menu bar draws into the control's menu bar element and answers the control's menu hooks.
  menuBar_ = std::make_unique<EditorMenuBar>(view_->element(editor::Child::MenuBar), root_);
  menuBar_->connect(hooks);
  toolbars_ = std::make_unique<EditorToolbars>([this](editor::Child bar) { return view_->element(bar); });
  toolbars_->connect(hooks);
  hooks.propertyChanged = [this](std::string_view name) {
    val detail = val::object();
    detail.set("name", std::string(name));
    raiseEvent("propertychange", detail);
  };
  control_ = std::make_unique<editor::ctlVellmar2>(*view_, std::move(hooks));
  wireDocuments(control_->hooks());
  view_->setControl(control_.get());
  // Loaded bubbles out of the shadow roots, so that a page can listen on any ancestor.
  view_->setLoadedHandler([this] { raiseEvent("Loaded", val::undefined(), true); });
  control_->initialize();
  editor::MemoryPropertyBag params(readParams(element_));
  control_->readProperties(params);
  // The document is fetched while the interface is built and laid out; the first show's load
  // takes the answer (the same request, sent by then) with every event of its own.
  if (auto planned = documents_->plannedContentRequest()) {
    startEarlyRequest(planned->host, planned->port, planned->request);
  }
}

void ElementHost::wireDocuments(editor::ControlHooks& hooks) {
  views_ = std::make_unique<EditorViews>(*view_, *menuBar_, control_->state());
  views_->sourceViewShown = [this](bool shown) { toolbars_->sourceViewShown(shown); };
  editor::ServerDocumentHooks documentHooks;
  documentHooks.storeContent = [this](std::string document) {
    control_->letProperty("content", std::move(document));
  };
  documentHooks.storeContentID = [this](const std::string& id) {
    control_->letProperty("ContentID", id);
  };
  documentHooks.getContent = [this](std::int32_t type) { return views_->getContent(type); };
  documentHooks.bodyDigest = [this] { return views_->bodyDigest(); };
  documentHooks.contentVersion = [this] { return engine_ ? engine_->contentVersion() : 0; };
  documentHooks.classesExtracted = [this](const std::vector<std::string>& classes) {
    editor::fillStyleMenu(menuBar_->model(), classes,
                          editor::PropertySet::shared().isOn("DisableStyleMenu"));
  };
  documentHooks.setVisibleMenuItem = hooks.setVisibleMenuItem;
  documentHooks.showStatus = [this](const std::string& text) { view_->setStatusText(text); };
  documentHooks.documentLoading = [this](bool loading) {
    view_->setLoadingShown(loading);
    if (engine_) guarded("documentLoading", [&] { engine_->setInputLocked(loading); });
  };
  documents_ = std::make_unique<editor::ServerDocuments>(PageEventLoop::shared(),
                                                         std::move(documentHooks),
                                                         control_->state());
  hooks.loadContent = [this] { documents_->loadContent(); };
  hooks.loadStylesheet = [this] { documents_->loadStylesheet(); };
  hooks.keepAliveTick = [this] { documents_->keepAliveTick(); };
  hooks.currentContent = [this] { return views_->getBodyHTML(); };
  hooks.loadDocument = [this](const std::string& document) {
    views_->loadDocument(document);
    storedDocumentLoaded();
  };
}

void ElementHost::storedDocumentLoaded() {
  // What was just loaded is the stored document; changes count from here. It is read back once
  // the person sees it (a megabyte takes a while), unless something asks before.
  if (!engine_) {
    documents_->changes().loaded(views_->bodyDigest().value_or(editor::ChangeTracker::Digest()));
    return;
  }
  documents_->changes().loadedAt(engine_->contentVersion());
  engine_->whenLoadPainted([this] { documents_->measureStoredDocument(); });
}

ElementHost::~ElementHost() {
  frames_.reset();
  menuBar_->setDispatch({});
  // The dialogs use the message boxes.
  imageDialog_.reset();
  imageDrop_.reset();
  linkDialog_.reset();
  tableDialog_.reset();
  charactersDialog_.reset();
  aboutDialog_.reset();
  spellCheck_.reset();
  localFiles_.reset();
  messageBoxes_.reset();
  toolbars_->setDispatch({});
  toolbars_->setSelectorEvents({}, {}, {});
  tracker_.reset();
  commands_.reset();
  view_->setEngineAccess({}, {});
  documents_.reset();
  views_.reset();
  view_->setControl(nullptr);
  control_.reset();
}

void ElementHost::show() {
  shown_ = true;
  guarded("UserControl_Show", [&] {
    if (!engine_) {
      // The editing engine lives in the editing area from the first show on.
      engine_ = std::make_unique<Engine>(view_->element(editor::Child::Engine));
      engine_->exposeTo(element_);
      views_->attach(*engine_);
      EditorCommandHooks commandHooks;
      commandHooks.setView = [this](std::string_view key) { views_->setView(key); };
      commandHooks.saveToServer = [this] { documents_->saveToServer(); };
      commandHooks.currentView = [this] { return control_->state().currentView; };
      commandHooks.updateStatus = [this] { control_->updateStatus(); };
      wireLocalFiles();
      commandHooks.openLocal = [this] { localFiles_->openLocal(); };
      commandHooks.saveLocal = [this] { localFiles_->saveLocal(); };
      commandHooks.saveLocalAs = [this](const std::string& name) { localFiles_->saveLocalAs(name); };
      commandHooks.openRecentFiles = [this](int n) { localFiles_->openRecentFiles(n); };
      commandHooks.checkFontsInMenu = [this] {
        if (tracker_) tracker_->checkFontsInMenu();
      };
      commandHooks.checkFormatInMenu = [this] {
        if (tracker_) tracker_->checkFormatInMenu();
      };
      commandHooks.checkStyleInMenu = [this] {
        if (tracker_) tracker_->checkStyleInMenu();
      };
      commands_ = std::make_unique<EditorCommands>(*engine_, *menuBar_, root_,
                                                   view_->element(editor::Child::SourceBox),
                                                   std::move(commandHooks));
      commands_->exposeTo(element_);
      // The tracker first: the element frames follow the selection after it.
      wireTracker();
      wireDialogs();
      menuBar_->setDispatch([this](const std::string& key) { commands_->dispatch(key); });
      view_->setEngineAccess([this] { return engine_->Busy(); },
                             [this] { guarded("caretToStart", [&] { views_->caretToStart(); }); });
      // A document given before (the `content` parameter) is now as the engine holds it.
      storedDocumentLoaded();
    } else {
      // Shown again, usually after the element was moved in the page: the engine keeps its
      // document, and the editor starts again in the WYSIWYG view, as every show does.
      engine_->reattach();
      views_->setView("wysiwyg");
    }
  });
  control_->show();
  control_->paint();
}

void ElementHost::wireTracker() {
  toolbars_->setDispatch([this](const std::string& key) { commands_->dispatch(key); });
  toolbars_->setSelectorEvents([this](const std::string& name) { commands_->formatChanged(name); },
                               [this](const std::string& name) { commands_->fontChanged(name); },
                               [this](const std::string& size) { commands_->sizeChanged(size); });
  toolbars_->setRefocus([this] { engine_->focus(); });
  trackedDocument_ = std::make_unique<EngineTrackedDocument>(*engine_);
  editing::TrackerTargets targets;
  targets.menuBar = &menuBar_->model();
  targets.standard = &toolbars_->standard();
  targets.objects = &toolbars_->objects();
  targets.textFormat = &toolbars_->textFormat();
  targets.selector = &toolbars_->selector();
  targets.panels.elementIndex = [this] {
    const EditorDialogs& d = commands_->dialogs();
    return d.panelElementIndex ? d.panelElementIndex() : -1;
  };
  targets.panels.hideAllFrames = [this] {
    if (commands_->dialogs().hideAllFrames) commands_->dialogs().hideAllFrames();
  };
  targets.panels.refreshPanel = [this] {
    if (commands_->dialogs().refreshPanel) commands_->dialogs().refreshPanel();
  };
  tracker_ = std::make_unique<editing::SelectionTracker>(*trackedDocument_, std::move(targets),
                                                         editor::PropertySet::shared());
  editor::ControlHooks& hooks = control_->hooks();
  hooks.checkUnderCursor = [this] { tracker_->checkUnderCursor(); };
  hooks.closeElementFrame = [this] {
    if (commands_ && commands_->dialogs().hideAllFrames) commands_->dialogs().hideAllFrames();
  };
}

void ElementHost::hide() {
  shown_ = false;
  control_->hide();
}

void ElementHost::resize(double width, double height) {
  width_ = width;
  height_ = height;
  control_->resize();
  if (shown_) control_->paint();
}

val ElementHost::getProperty(const std::string& name) const {
  auto value = control_->getProperty(name);
  if (!value) return val::undefined();
  return toJs(*value);
}

bool ElementHost::setProperty(const std::string& name, const val& value) {
  if (!editor::findProperty(name)) return true;
  return control_->letProperty(name, fromJs(value));
}

val ElementHost::getContent(int contentType) { return handedOut(views_->contentText(contentType)); }

val ElementHost::getBodyHTML() { return handedOut(views_->bodyText()); }

bool ElementHost::hasUnsavedChanges() { return documents_->hasUnsavedChanges(); }

val ElementHost::writeProperties() {
  editor::MemoryPropertyBag bag;
  control_->writeProperties(bag);
  val pairs = val::array();
  for (const auto& written : bag.written()) {
    val pair = val::array();
    pair.call<void>("push", written.key);
    pair.call<void>("push", toJs(written.value));
    pairs.call<void>("push", pair);
  }
  return pairs;
}

val ElementHost::getDebugLog() const { return readDebugLog(); }

void ElementHost::showMessage(const std::string& html, const std::string& caption,
                              const std::string& label, int width, int height, bool showTabs,
                              val closed) {
  auto& window = dialogs::MessageWindow::shared();
  auto* previous = window.presenter();
  window.setPresenter(view_->messagePresenter());
  const auto clamp = [](int v) { return static_cast<std::int16_t>(std::clamp(v, 0, 32767)); };
  dialogs::showMessage(html, caption, label, clamp(width), clamp(height), showTabs,
                       [closed] { closed(); });
  window.setPresenter(previous);
}

void ElementHost::raiseEvent(const std::string& type, const val& detail, bool bubbles) const {
  val init = val::object();
  init.set("detail", detail);
  init.set("bubbles", bubbles);
  init.set("composed", bubbles);
  val event = val::global("CustomEvent").new_(type, init);
  element_.call<bool>("dispatchEvent", event);
}

}  // namespace vellmar::browser
