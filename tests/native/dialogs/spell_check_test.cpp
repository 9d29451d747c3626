#include "dialogs/spell_check.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace vellmar::dialogs {
namespace {

using State = frmSpellCheck::State;

std::vector<std::string> wordsOf(std::string_view text) {
  WordScanner scanner(text);
  std::vector<std::string> words;
  SpellWord w;
  while (scanner.next(w)) words.emplace_back(text.substr(w.begin, w.end - w.begin));
  return words;
}

TEST(WordScanner, LettersWithInnerApostrophesMakeWords) {
  EXPECT_EQ(wordsOf("Don't stop, it's 'quoted' o\u2019clock."),
            (std::vector<std::string>{"Don't", "stop", "it's", "quoted", "o\u2019clock"}));
  EXPECT_EQ(wordsOf("e-mail\tand\nnew\u00A0line"),
            (std::vector<std::string>{"e", "mail", "and", "new", "line"}));
  EXPECT_EQ(wordsOf("na\u00EFve caf\u00E9 \u00FCber"),
            (std::vector<std::string>{"na\u00EFve", "caf\u00E9", "\u00FCber"}));
  EXPECT_TRUE(wordsOf("").empty());
  EXPECT_TRUE(wordsOf(" .,;: 42 -- ").empty());
  // A character cut off at the end of the text is no letter, whatever bytes follow in memory.
  const std::string whole = "caf\u00E9";
  EXPECT_EQ(wordsOf(std::string_view(whole.data(), whole.size() - 1)), (std::vector<std::string>{"caf"}));
}

TEST(WordScanner, PassesOverNumbersAndAddresses) {
  EXPECT_EQ(wordsOf("the 2nd h2o 1999 item"), (std::vector<std::string>{"the", "item"}));
  EXPECT_EQ(wordsOf("see https://exmple.org/pth or mail@exmple.org, www.exmple.com now"),
            (std::vector<std::string>{"see", "or", "now"}));
}

TEST(WordScanner, CountsUtf16UnitsBesideBytes) {
  // "é" is two bytes and one unit; the emoji four bytes and two units.
  const std::string text = "\u00E9t\u00E9 \U0001F600 word";
  WordScanner scanner(text);
  SpellWord w;
  ASSERT_TRUE(scanner.next(w));
  EXPECT_EQ(w, (SpellWord{0, 5, 0, 3}));
  ASSERT_TRUE(scanner.next(w));
  EXPECT_EQ(text.substr(w.begin, w.end - w.begin), "word");
  EXPECT_EQ(w.begin16, 7u);
  EXPECT_EQ(w.end16, 11u);
  EXPECT_FALSE(scanner.next(w));
}

class FakeChecker : public SpellChecker {
 public:
  std::set<std::string> known{"the", "a", "receive", "letter", "We", "will", "it", "don't",
                              "on", "time", "and", "black", "bird", "blackbird"};
  std::vector<std::string> checked;
  bool checkWord(const std::string& word) override {
    checked.push_back(word);
    return known.contains(word);
  }
  std::vector<std::string> suggestions(const std::string& word) override {
    if (word == "teh") return {"ten", "the", "tea"};
    if (word == "recieve") return {"receive", "relieve"};
    return {};
  }
};

class SpellCheckTest : public ::testing::Test {
 protected:
  menubar::MemorySettingsStore store;
  FakeChecker checker;
  UserDictionary user{store, "www.example.com"};
  frmSpellCheck dialog{checker, user};

  State run() { return dialog.scan(1000); }
  std::string problem() const { return dialog.txtProblemText(); }
};

TEST_F(SpellCheckTest, ACleanTextRunsToItsEnd) {
  dialog.checkSpelling("We will receive the letter on time.");
  EXPECT_EQ(run(), State::complete);
  EXPECT_EQ(dialog.wordsChecked(), 7u);
  EXPECT_EQ(dialog.progress(), 100);
}

TEST_F(SpellCheckTest, StopsAtEachMisspellingWithTheCheckersSuggestions) {
  dialog.checkSpelling("We will recieve teh letter.");
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "recieve");
  EXPECT_EQ(dialog.lstSuggestionsList(), (std::vector<std::string>{"receive", "relieve"}));
  EXPECT_EQ(dialog.txtChangeToText, "receive");
  EXPECT_EQ(dialog.currentRange().begin, 8u);
  EXPECT_GT(dialog.progress(), 0);
  EXPECT_LT(dialog.progress(), 100);
  dialog.ignore();
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "teh");
  dialog.suggestionClicked(1);
  EXPECT_EQ(dialog.txtChangeToText, "the");
  dialog.suggestionClicked(7);  // no such row: nothing changes
  EXPECT_EQ(dialog.txtChangeToText, "the");
}

TEST_F(SpellCheckTest, ScanStopsAfterItsShareOfWords) {
  dialog.checkSpelling("the the the the the");
  EXPECT_EQ(dialog.scan(2), State::scanning);
  EXPECT_EQ(dialog.wordsChecked(), 2u);
  EXPECT_EQ(dialog.scan(10), State::complete);
  EXPECT_EQ(dialog.wordsChecked(), 5u);
  // Each distinct word goes to the checker once.
  EXPECT_EQ(checker.checked.size(), 1u);
}

TEST_F(SpellCheckTest, ChangeKeepsTheFollowingSpaceAndGoesOn) {
  dialog.checkSpelling("teh letter and teh bird");
  ASSERT_EQ(run(), State::waiting);
  dialog.txtChangeToText = "the";
  const auto change = dialog.change();
  EXPECT_EQ(change.range, (SpellWord{0, 3, 0, 3}));
  EXPECT_EQ(change.text, "the");
  EXPECT_EQ(dialog.text(), "the letter and teh bird");
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "teh");
  EXPECT_EQ(dialog.currentRange().begin, 15u);
  dialog.txtChangeToText = "a";
  const auto second = dialog.change();
  EXPECT_EQ(second.range.begin16, 15u);
  EXPECT_EQ(dialog.text(), "the letter and a bird");
  EXPECT_EQ(run(), State::complete);
}

TEST_F(SpellCheckTest, AReplacementOfSeveralWordsIsCheckedWordByWord) {
  dialog.checkSpelling("a blakbird sang");
  checker.known.insert("sang");
  ASSERT_EQ(run(), State::waiting);
  dialog.txtChangeToText = "black brd";
  dialog.change();
  EXPECT_EQ(dialog.text(), "a black brd sang");
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "brd");
  EXPECT_EQ(dialog.currentRange().begin, 8u);
  dialog.txtChangeToText = "bird";
  dialog.change();
  EXPECT_EQ(run(), State::complete);
  EXPECT_EQ(dialog.text(), "a black bird sang");
}

TEST_F(SpellCheckTest, ChangeToTheSameMisspellingStopsAgain) {
  dialog.checkSpelling("teh end");
  ASSERT_EQ(run(), State::waiting);
  dialog.txtChangeToText = "teh\r\nx";
  const auto change = dialog.change();
  EXPECT_EQ(change.text, "teh  x");  // no line breaks in a word's stead
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "teh");
  EXPECT_EQ(dialog.currentRange().begin, 0u);
}

TEST_F(SpellCheckTest, IgnoreAllSkipsTheWordEverywhereAfter) {
  dialog.checkSpelling("Vellmar and Vellmar and zork and Vellmar");
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "Vellmar");
  dialog.ignoreAll();
  ASSERT_EQ(run(), State::waiting);
  EXPECT_EQ(problem(), "zork");
  dialog.ignore();
  EXPECT_EQ(run(), State::complete);
  // Ignore All holds for this dialog only; Ignore for the one place only.
  dialog.checkSpelling("zork");
  EXPECT_EQ(run(), State::waiting);
}

TEST_F(SpellCheckTest, AddKeepsTheWordForLaterChecksOfTheSameSite) {
  dialog.checkSpelling("Vellmar it\u2019s");
  checker.known.insert("it's");
  ASSERT_EQ(run(), State::waiting);
  EXPECT_TRUE(dialog.add());
  EXPECT_EQ(run(), State::complete);

  UserDictionary reopened(store, "www.example.com");
  EXPECT_TRUE(reopened.contains("Vellmar"));
  frmSpellCheck later(checker, reopened);
  later.checkSpelling("Vellmar wrote");
  checker.known.insert("wrote");
  EXPECT_EQ(later.scan(100), State::complete);

  UserDictionary otherSite(store, "other.example.com");
  EXPECT_FALSE(otherSite.contains("Vellmar"));
}

TEST_F(SpellCheckTest, CancelEndsTheCheckWithTheChangesMadeSoFar) {
  dialog.checkSpelling("teh recieve");
  ASSERT_EQ(run(), State::waiting);
  dialog.txtChangeToText = "the";
  dialog.change();
  ASSERT_EQ(run(), State::waiting);
  dialog.cancel();
  EXPECT_EQ(dialog.state(), State::complete);
  EXPECT_EQ(run(), State::complete);
  EXPECT_EQ(dialog.text(), "the recieve");
  // Buttons do nothing once the check is over.
  EXPECT_EQ(dialog.change().text, "");
  EXPECT_FALSE(dialog.add());
}

TEST(UserDictionary, KeepsWordsOncePerLineAndRefusesWhatCannotBeAWord) {
  menubar::MemorySettingsStore store;
  UserDictionary dict(store, "site");
  EXPECT_TRUE(dict.add("Korvath"));
  EXPECT_TRUE(dict.add("Korvath"));
  EXPECT_TRUE(dict.add("o\u2019clock"));
  EXPECT_FALSE(dict.add(""));
  EXPECT_FALSE(dict.add("two\nlines"));
  EXPECT_FALSE(dict.add(std::string(UserDictionary::kMaxWordLength + 1, 'x')));
  EXPECT_EQ(store.GetSetting("Vellmar2", "site", "userDictionary"), "Korvath\no'clock\n");
  EXPECT_TRUE(dict.contains("o'clock"));
  EXPECT_TRUE(dict.contains("o\u2019clock"));
  EXPECT_FALSE(dict.contains("korvath"));
  store.SaveSetting("Vellmar2", "site", "userDictionary", "a\r\nb\n\nb\n");
  EXPECT_EQ(UserDictionary(store, "site").size(), 2u);
}

}  // namespace
}  // namespace vellmar::dialogs
