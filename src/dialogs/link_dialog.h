#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmar::editor {
class PropertySet;
}

// frmLink's rules: the tabs, how the server's link lists read, which entry the link under the
// caret chooses, and what OK keeps for the editor.
namespace vellmar::dialogs {

// One link of a list: the first child's text is its display name, the second its address.
struct LinkEntry {
  std::string name;
  std::string address;
};

// The links of a list document; nullopt when the answer has no root element.
std::optional<std::vector<LinkEntry>> readLinkList(std::string_view body);
// The page the message window shows for a list without a root.
std::string linkListFailurePage(bool email, std::string_view path, std::string_view body);

enum class LinkTab { hyperlink, email };
inline constexpr std::string_view kHyperlinksCaption = "Hyperlinks";
inline constexpr std::string_view kEmailLinksCaption = "Email Links";
inline constexpr std::string_view kMailto = "mailto:";
// The tabs the page allows, in order.
std::vector<LinkTab> linkTabs(const editor::PropertySet& properties);

// The target list. A link's own target that is none of these is offered as an extra entry, so
// that changing the link's address does not lose its frame.
inline constexpr std::string_view kTargets[] = {"Default", "_Blank", "_Parent", "_Self", "_Top"};
// The entries of the target list for a link whose target is `currentTarget`, and which is chosen.
struct TargetChoice {
  std::vector<std::string> entries;
  std::size_t selected = 0;
};
TargetChoice targetChoice(std::string_view currentTarget);

// Where the dialog opens for the link under the caret (`currentHref`, empty when none): the tab,
// and currentHref as that tab compares it (the bare address on the e-mail tab).
struct LinkOpening {
  LinkTab tab = LinkTab::hyperlink;
  std::string currentHref;
};
LinkOpening openingFor(const std::vector<LinkTab>& tabs, std::string_view currentHref);

// What a tab's list shows once its document has arrived.
struct ListChoice {
  int selected = -1;  // the chosen entry; -1 for none
  std::string typed;  // the text of an editable list when no entry matched
};
// The first entry whose address (one trailing "/" removed for hyperlinks) ends `currentHref` is
// chosen, and currentHref is then spent. Otherwise a list that takes no typing chooses its first
// entry, and one that does shows currentHref as typed text.
ListChoice chooseListEntry(const std::vector<LinkEntry>& entries, std::string& currentHref,
                           LinkTab tab, bool customAllowed);

// What OK keeps for the editor.
struct LinkResult {
  std::string linkHref;  // empty unless OK was pressed
  std::string linkTarget;
  std::string linkName;
};
// `selected` is the chosen entry (-1 for none), `typed` the text of an editable list.
LinkResult linkResult(LinkTab tab, const std::vector<LinkEntry>& entries, int selected,
                      std::string_view typed, std::string_view target);

}  // namespace vellmar::dialogs
