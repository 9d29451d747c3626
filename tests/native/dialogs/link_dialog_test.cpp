#include "dialogs/link_dialog.h"

#include <gtest/gtest.h>

#include "editor/properties.h"

namespace vellmar::dialogs {
namespace {

const std::vector<LinkEntry> kLinks{{"Home page", "/site/index.html"},
                                    {"Contact", "/site/contact.html/"},
                                    {"Contact again", "/site/contact.html"}};

TEST(LinkList, NameAndAddressAreTheFirstTwoChildren) {
  const auto links = readLinkList(
      "<links><link><name>Home page</name><url>/site/index.html</url><x>y</x></link>"
      "<link><only>Lonely</only></link><link><name>Two</name><url>/two</url></link></links>");
  ASSERT_TRUE(links);
  ASSERT_EQ(links->size(), 3U);
  EXPECT_EQ((*links)[2].address, "/two");
  EXPECT_EQ((*links)[0].name, "Home page");
  EXPECT_EQ((*links)[0].address, "/site/index.html");
  EXPECT_EQ((*links)[1].name, "Lonely");
  EXPECT_EQ((*links)[1].address, "");
  EXPECT_FALSE(readLinkList("<html>Server error"));
  EXPECT_EQ(linkListFailurePage(true, "/e", "<a>"),
            "<p>There was an error parsing the email link list from /e:</p><p>Error: The email "
            "link list was not properly formatted. The email link list is output below:</p><hr>"
            "&lt;a&gt;");
}

TEST(LinkTabs, EachSwitchRemovesItsTab) {
  editor::PropertySet props;
  EXPECT_EQ(linkTabs(props), (std::vector<LinkTab>{LinkTab::hyperlink, LinkTab::email}));
  props.let("DisableLinks", std::int32_t{1});
  EXPECT_EQ(linkTabs(props), (std::vector<LinkTab>{LinkTab::email}));
  // The only tab is the one the dialog opens on.
  EXPECT_EQ(openingFor(linkTabs(props), "").tab, LinkTab::email);
  EXPECT_EQ(openingFor(linkTabs(props), "http://x.test/").tab, LinkTab::email);
  props.let("DisableEmailLinks", std::int32_t{1});
  EXPECT_TRUE(linkTabs(props).empty());
  props.let("DisableLinks", std::int32_t{0});
  EXPECT_EQ(linkTabs(props), (std::vector<LinkTab>{LinkTab::hyperlink}));
}

TEST(LinkOpening, MailtoOpensTheEmailTabWithTheBareAddress) {
  const std::vector<LinkTab> both{LinkTab::hyperlink, LinkTab::email};
  EXPECT_EQ(openingFor(both, "").tab, LinkTab::hyperlink);
  const LinkOpening mail = openingFor(both, "mailto:sales@x.test");
  EXPECT_EQ(mail.tab, LinkTab::email);
  EXPECT_EQ(mail.currentHref, "sales@x.test");
  const LinkOpening onlyLinks = openingFor({LinkTab::hyperlink}, "mailto:sales@x.test");
  EXPECT_EQ(onlyLinks.tab, LinkTab::hyperlink);
}

TEST(LinkChoice, TheFirstEntryThatEndsTheAddressWinsTrailingSlashIgnored) {
  std::string href = "http://www.x.test/site/contact.html";
  ListChoice c = chooseListEntry(kLinks, href, LinkTab::hyperlink, true);
  EXPECT_EQ(c.selected, 1);
  EXPECT_EQ(href, "");
  EXPECT_EQ(c.typed, "");
  // An address nothing matches is kept as typed text, or dropped for a list without typing.
  href = "http://elsewhere.test/";
  c = chooseListEntry(kLinks, href, LinkTab::hyperlink, true);
  EXPECT_EQ(c.selected, -1);
  EXPECT_EQ(c.typed, "http://elsewhere.test/");
  href = "http://elsewhere.test/";
  c = chooseListEntry(kLinks, href, LinkTab::hyperlink, false);
  EXPECT_EQ(c.selected, 0);
  EXPECT_EQ(c.typed, "");
  // An entry without an address (or only "/") matches nothing.
  href = "http://x.test/page";
  c = chooseListEntry({{"Root", "/"}, {"Empty", ""}}, href, LinkTab::hyperlink, true);
  EXPECT_EQ(c.selected, -1);
  // E-mail addresses keep their last character.
  href = "a@b.test";
  c = chooseListEntry({{"Sales", "a@b.test/"}}, href, LinkTab::email, true);
  EXPECT_EQ(c.selected, -1);
}

TEST(LinkResult, EntryTypedAndEmail) {
  LinkResult r = linkResult(LinkTab::hyperlink, kLinks, 1, "ignored", "_Blank");
  EXPECT_EQ(r.linkHref, "/site/contact.html/");
  EXPECT_EQ(r.linkName, "Contact");
  EXPECT_EQ(r.linkTarget, "_Blank");
  r = linkResult(LinkTab::hyperlink, kLinks, -1, "http://typed.test/", "Default");
  EXPECT_EQ(r.linkHref, "http://typed.test/");
  EXPECT_EQ(r.linkName, "");
  const std::vector<LinkEntry> mail{{"Sales", "sales@x.test"}};
  r = linkResult(LinkTab::email, mail, 0, "", "_Top");
  EXPECT_EQ(r.linkHref, "mailto:sales@x.test");
  EXPECT_EQ(r.linkName, "Sales");
  EXPECT_EQ(r.linkTarget, "Default");
  r = linkResult(LinkTab::email, mail, -1, "me@y.test", "Default");
  EXPECT_EQ(r.linkHref, "mailto:me@y.test");
  EXPECT_EQ(r.linkName, "");
  // Nothing chosen and nothing typed.
  EXPECT_EQ(linkResult(LinkTab::hyperlink, {}, -1, "", "Default").linkHref, "");
  EXPECT_EQ(linkResult(LinkTab::email, {}, -1, "", "Default").linkHref, "");
}

TEST(LinkTargets, TheLinksOwnTargetIsKept) {
  EXPECT_EQ(targetChoice("").selected, 0U);
  EXPECT_EQ(targetChoice("_blank").selected, 1U);
  const TargetChoice frame = targetChoice("main");
  EXPECT_EQ(frame.entries.size(), 6U);
  EXPECT_EQ(frame.entries[frame.selected], "main");
}

}  // namespace
}  // namespace vellmar::dialogs
