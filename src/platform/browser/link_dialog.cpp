// frmLink on the page: hyperlinks and e-mail links from the server's lists, or typed.
#include "common/diagnostics.h"
#include "dialogs/message_window.h"
#include "editor/properties.h"
#include "platform/browser/dialog_views.h"
#include "platform/browser/fetch_transport.h"

namespace vellmar::browser {

namespace {

using emscripten::val;
using dialogs::LinkTab;
using parts::labelled;

editor::PropertySet& props() { return editor::PropertySet::shared(); }

std::string caption(LinkTab tab) {
  return std::string(tab == LinkTab::hyperlink ? dialogs::kHyperlinksCaption
                                               : dialogs::kEmailLinksCaption);
}
const std::string& listPath(LinkTab tab) {
  return tab == LinkTab::hyperlink ? props().pathToLinkList() : props().pathToEmailLinkList();
}

}  // namespace

LinkDialog::LinkDialog(val root) : root_(std::move(root)) {}
LinkDialog::~LinkDialog() = default;

LinkDialog::Page* LinkDialog::page(LinkTab tab) {
  for (auto& p : pages_) {
    if (p->tab == tab) return p.get();
  }
  return nullptr;
}

void LinkDialog::build() {
  pages_.clear();
  tabs_.reset();
  dialog_ = std::make_unique<ModalDialog>(root_, "Links", "vellmar-link-dialog");
  ModalDialog& d = *dialog_;
  tabs_ = std::make_unique<parts::TabStrip>(d.body(), d.route());
  for (const LinkTab tab : dialogs::linkTabs(props())) {
    auto p = std::make_unique<Page>();
    p->tab = tab;
    const bool email = tab == LinkTab::email;
    p->custom = !props().isOn(email ? "DisableCustomEmailLinks" : "DisableCustomLinks");
    p->exchange = std::make_unique<dialogs::DialogExchange>(
        PageEventLoop::shared(),
        email ? "Successfully retrieved email link list." : "Successfully retrieved link list.");
    val pageEl = tabs_->add(caption(tab));
    p->list = parts::listBox(7);
    labelled(pageEl, email ? "Mail To:" : "Link:", p->list);
    if (p->custom) {
      p->typed = parts::textBox(email ? "" : "http://");
      p->typed.call<void>("setAttribute", std::string("class"), std::string("vellmar-link-typed"));
      labelled(pageEl, email ? "Address:" : "Address:", p->typed);
      Page* raw = p.get();
      d.route().listen(p->list, "change", [raw](const val&) {
        const int i = parts::selectedIndex(raw->list);
        if (i >= 0 && static_cast<std::size_t>(i) < raw->entries.size())
          parts::setText(raw->typed, raw->entries[static_cast<std::size_t>(i)].address);
      });
      // Typing makes the address the user's own: no list entry is chosen any more.
      d.route().listen(p->typed, "input", [raw](const val&) { parts::select(raw->list, -1); });
    }
    if (!email) {
      const dialogs::TargetChoice targets = dialogs::targetChoice(currentTargetText_);
      target_ = parts::dropDown(targets.entries);
      parts::select(target_, static_cast<int>(targets.selected));
      labelled(pageEl, "Target:", target_);
    }
    p->progress = std::make_unique<parts::Progress>(pageEl, email ? "Loading email links" : "Loading links");
    p->alert = parts::alertLine();
    pageEl.call<void>("appendChild", p->alert);
    Page* raw = p.get();
    p->exchange->done = [this, raw](const std::string& body) {
      guarded(raw->tab == LinkTab::email ? "ctlHttpEmailLinks_complete" : "ctlHttpLinks_complete",
              [&] { listArrived(*raw, body); });
    };
    p->exchange->failed = [raw](const std::string& reason) {
      raw->progress->stop();
      parts::say(raw->alert, dialogs::failureSentence(
                                 raw->tab == LinkTab::email ? "The email link list could not be loaded"
                                                            : "The link list could not be loaded",
                                 reason));
    };
    pages_.push_back(std::move(p));
  }
  d.addButton("OK", [this] { ok(); }, ModalDialog::Role::accept);
  d.addButton("Cancel", [this] {
    done_ = nullptr;
    dialog_->close();
  }, ModalDialog::Role::cancel);
  d.onClosed = [this] {
    for (auto& p : pages_) p->exchange->cancel();
  };
}

void LinkDialog::show(const LinkChoice& current, std::function<void(const LinkChoice&)> done) {
  if (dialog_ && dialog_->isOpen()) return;
  done_ = std::move(done);
  currentTargetText_ = current.target == "Default" ? std::string() : current.target;
  build();
  if (pages_.empty()) {
    // Both kinds of link are switched off: there is nothing to choose.
    done_ = nullptr;
    return;
  }
  std::vector<LinkTab> tabs;
  for (auto& p : pages_) tabs.push_back(p->tab);
  const dialogs::LinkOpening opening = dialogs::openingFor(tabs, current.url);
  currentHref_ = opening.currentHref;
  if (Page* p = page(opening.tab); p && p->custom && !currentHref_.empty())
    parts::setText(p->typed, currentHref_);
  tabs_->chosen = [this](const std::string& c) { tabChosen(c); };
  Page* first = page(opening.tab);
  dialog_->show(first->custom ? first->typed : first->list);
  tabs_->choose(caption(opening.tab));
}

void LinkDialog::tabChosen(const std::string& c) {
  for (auto& p : pages_) {
    if (caption(p->tab) != c || p->loaded || p->exchange->busy()) continue;
    const std::string& path = listPath(p->tab);
    if (path.find_first_not_of(' ') == std::string::npos) continue;
    p->progress->start();
    p->exchange->prepare();
    p->exchange->start(0, path, path);
  }
}

void LinkDialog::listArrived(Page& p, const std::string& body) {
  p.progress->stop();
  p.loaded = true;
  const bool email = p.tab == LinkTab::email;
  auto entries = dialogs::readLinkList(body);
  if (!entries) {
    dialogs::showMessage(dialogs::linkListFailurePage(email, listPath(p.tab), body), "HTTP Error", "",
                         6000, 4000, false);
    parts::say(p.alert, email ? "The email link list from the server could not be read."
                              : "The link list from the server could not be read.");
    return;
  }
  p.entries = std::move(*entries);
  std::vector<std::string> names;
  for (const auto& e : p.entries) names.push_back(e.name);
  parts::setEntries(p.list, names);
  // The link under the caret is compared on the tab the dialog opened on.
  std::string href = currentHref_;
  const dialogs::ListChoice choice = dialogs::chooseListEntry(p.entries, href, p.tab, p.custom);
  currentHref_ = href;
  parts::select(p.list, choice.selected);
  if (choice.selected >= 0 && p.custom)
    parts::setText(p.typed, p.entries[static_cast<std::size_t>(choice.selected)].address);
  else if (!choice.typed.empty())
    parts::setText(p.typed, choice.typed);
  debugLog("done loading links");
}

void LinkDialog::ok() {
  Page* p = nullptr;
  for (auto& x : pages_) {
    if (caption(x->tab) == tabs_->current()) p = x.get();
  }
  if (!p) return;
  const std::string target =
      target_.isUndefined() ? std::string("Default")
                            : target_["options"][parts::selectedIndex(target_)]["text"].as<std::string>();
  const std::string typed = p->custom ? parts::text(p->typed) : std::string();
  const dialogs::LinkResult r =
      dialogs::linkResult(p->tab, p->entries, parts::selectedIndex(p->list), typed, target);
  auto done = std::move(done_);
  dialog_->close();
  if (done && !r.linkHref.empty()) done(LinkChoice{r.linkHref, r.linkTarget, r.linkName});
}

}  // namespace vellmar::browser
