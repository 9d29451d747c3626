#include "dialogs/link_dialog.h"

#include "editor/properties.h"
#include "http/server_exchange.h"
#include "xml/simple_dom.h"

namespace vellmar::dialogs {

namespace {

bool equalNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool endsWith(std::string_view text, std::string_view tail) {
  return tail.size() <= text.size() && text.substr(text.size() - tail.size()) == tail;
}

}  // namespace

std::optional<std::vector<LinkEntry>> readLinkList(std::string_view body) {
  xml::SimpleDOMParser parser;
  const auto root = parser.Parse(http::prepareXmlText(body));
  if (!root) return std::nullopt;
  std::vector<LinkEntry> links;
  const auto& children = root->ChildElements();
  for (std::int32_t i = 0; i < children.Count(); ++i) {
    const auto& fields = children.Item(i)->ChildElements();
    LinkEntry entry;
    if (fields.Count() > 0) entry.name = fields.Item(0)->Text;
    if (fields.Count() > 1) entry.address = fields.Item(1)->Text;
    links.push_back(std::move(entry));
  }
  return links;
}

std::string linkListFailurePage(bool email, std::string_view path, std::string_view body) {
  return http::parseFailureDetails(email ? "email link list" : "link list", path, body);
}

std::vector<LinkTab> linkTabs(const editor::PropertySet& properties) {
  std::vector<LinkTab> tabs;
  if (!properties.isOn("DisableLinks")) tabs.push_back(LinkTab::hyperlink);
  if (!properties.isOn("DisableEmailLinks")) tabs.push_back(LinkTab::email);
  return tabs;
}

TargetChoice targetChoice(std::string_view currentTarget) {
  TargetChoice choice;
  for (const auto t : kTargets) choice.entries.emplace_back(t);
  if (currentTarget.empty()) return choice;
  for (std::size_t i = 0; i < choice.entries.size(); ++i) {
    if (equalNoCase(choice.entries[i], currentTarget)) {
      choice.selected = i;
      return choice;
    }
  }
  choice.entries.emplace_back(currentTarget);
  choice.selected = choice.entries.size() - 1;
  return choice;
}

LinkOpening openingFor(const std::vector<LinkTab>& tabs, std::string_view currentHref) {
  const auto has = [&](LinkTab t) {
    for (const LinkTab x : tabs) {
      if (x == t) return true;
    }
    return false;
  };
  LinkOpening o;
  o.currentHref = std::string(currentHref);
  if (tabs.empty()) return o;
  if (currentHref.empty()) {
    o.tab = tabs.front();
  } else if (currentHref.substr(0, kMailto.size()) == kMailto) {
    o.tab = has(LinkTab::email) ? LinkTab::email : LinkTab::hyperlink;
    o.currentHref = std::string(currentHref.substr(kMailto.size()));
  } else {
    o.tab = has(LinkTab::hyperlink) ? LinkTab::hyperlink : LinkTab::email;
  }
  return o;
}

ListChoice chooseListEntry(const std::vector<LinkEntry>& entries, std::string& currentHref,
                           LinkTab tab, bool customAllowed) {
  ListChoice choice;
  for (std::size_t i = 0; i < entries.size() && !currentHref.empty(); ++i) {
    std::string_view address = entries[i].address;
    if (address.empty()) continue;
    if (tab == LinkTab::hyperlink && address.back() == '/')
      address.remove_suffix(1);
    if (address.empty()) continue;
    if (endsWith(currentHref, address)) {
      choice.selected = static_cast<int>(i);
      currentHref.clear();
    }
  }
  if (choice.selected < 0 && !customAllowed && !entries.empty()) choice.selected = 0;
  if (!currentHref.empty() && customAllowed) choice.typed = currentHref;
  return choice;
}

LinkResult linkResult(LinkTab tab, const std::vector<LinkEntry>& entries, int selected,
                      std::string_view typed, std::string_view target) {
  LinkResult r;
  const bool chosen = selected >= 0 && static_cast<std::size_t>(selected) < entries.size();
  const std::string address = chosen ? entries[static_cast<std::size_t>(selected)].address
                                     : std::string(typed);
  if (chosen) r.linkName = entries[static_cast<std::size_t>(selected)].name;
  if (tab == LinkTab::hyperlink) {
    r.linkHref = address;
    r.linkTarget = std::string(target);
  } else {
    // Nothing chosen and nothing typed is no address at all.
    r.linkHref = address.empty() ? std::string() : std::string(kMailto) + address;
    r.linkTarget = "Default";
  }
  return r;
}

}  // namespace vellmar::dialogs
