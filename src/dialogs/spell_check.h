#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "menubar/settings_store.h"

// The spell check dialog `frmSpellCheck`: the words of the document's text one after another, the
// checker's verdict on each, and the state the dialog is in (scanning, or waiting on a misspelled
// word for Change / Ignore / Ignore All / Add / Cancel). The view hands in the body's text and
// applies the replacements to the document; everything else is here.
namespace vellmar::dialogs {

// A word of the text: its bytes [begin, end) in the UTF-8 text, and the same span in UTF-16 code
// units, which is how the page's DOM counts.
struct SpellWord {
  std::size_t begin = 0, end = 0;
  std::size_t begin16 = 0, end16 = 0;
  bool operator==(const SpellWord&) const = default;
};

// Finds the words of a text in order. A word is a run of letters (any script), with apostrophes
// inside it ("don't", "o’clock"); hyphens, digits and punctuation end it. Runs that touch a digit
// ("2nd", "h2o") and whole addresses ("www.example.com", "a@b.org", "https://...") are no words a
// dictionary could judge and are passed over.
class WordScanner {
 public:
  explicit WordScanner(std::string_view text) : text_(text) {}
  // Starts over at byte `at`, which is at UTF-16 offset `at16` (both at a character boundary).
  void seek(std::size_t at, std::size_t at16) {
    pos_ = at;
    pos16_ = at16;
  }
  // The next word at or after the current position; false at the end of the text.
  bool next(SpellWord& word);
  std::size_t position() const { return pos_; }

 private:
  std::string_view text_;
  std::size_t pos_ = 0;
  std::size_t pos16_ = 0;
};

// The word as the checker should see it: typographic apostrophes as plain ones.
std::string normalizedWord(std::string_view word);

// The spelling checker behind the dialog: a Hunspell-compatible checker with its dictionary.
class SpellChecker {
 public:
  virtual ~SpellChecker() = default;
  // True when the word is spelled correctly.
  virtual bool checkWord(const std::string& word) = 0;
  // Suggestions for a misspelled word, best first.
  virtual std::vector<std::string> suggestions(const std::string& word) = 0;
};

// The user's own words ("Add"), kept in the settings store per site: application "Vellmar2",
// section = the editor's `domain`, key "userDictionary", one word per line.
class UserDictionary {
 public:
  static constexpr std::string_view kKey = "userDictionary";
  // The first (and only) user dictionary's name.
  static constexpr std::string_view kName = "userdic.tlx";
  // Words longer than this are not kept; the stored list stops growing at kMaxWords.
  static constexpr std::size_t kMaxWordLength = 100;
  static constexpr std::size_t kMaxWords = 10000;

  UserDictionary(menubar::SettingsStore& store, std::string domain);
  bool contains(std::string_view word) const;
  // Adds the word and stores the list; false when it cannot be kept (empty, too long, full, or
  // holding a line break).
  bool add(std::string_view word);
  std::size_t size() const { return words_.size(); }

 private:
  menubar::SettingsStore& store_;
  std::string domain_;
  std::vector<std::string> order_;
  std::unordered_set<std::string> words_;
};

// The dialog's state and rules. The view calls scan() on a timer until it answers something else
// than `scanning`; a misspelled word then waits for a button.
class frmSpellCheck {
 public:
  enum class State { scanning, waiting, complete };
  // The action code a word is added to the user dictionary with (accept the word).
  static constexpr int kAddAction = 105;

  frmSpellCheck(SpellChecker& checker, UserDictionary& userDictionary);

  // `checkSpelling`: starts at the beginning of `text`, the body's text.
  void checkSpelling(std::string text);

  // One stretch of the scan: checks at most `maxWords` words, stopping early at a misspelling or
  // the end of the text.
  State scan(std::size_t maxWords);
  State state() const { return state_; }

  // While waiting: the word in question (`currentRange`), its text (`txtProblemText`) and the
  // checker's suggestions (`lstSuggestionsList`), in the checker's order. `txtChangeToText` starts
  // as the first suggestion, or the word itself when there is none.
  const SpellWord& currentRange() const { return current_; }
  const std::string& txtProblemText() const { return problem_; }
  const std::vector<std::string>& lstSuggestionsList() const { return suggestions_; }
  std::string txtChangeToText;
  // A suggestion clicked in the list goes into "Change To:".
  void suggestionClicked(std::size_t index);

  // The buttons. Change answers the replacement the view must make in the document: the word's
  // span, replaced by the text (which may be empty: the word is deleted). The replacement is
  // checked again, word by word; the text after it (the following space included) stays.
  void ignore();
  void ignoreAll();
  bool add();
  struct Change {
    SpellWord range;
    std::string text;
  };
  Change change();
  void cancel();

  // How far the scan has come through the text, 0 to 100.
  int progress() const;
  // The body's text as the dialog knows it (with the changes made so far).
  const std::string& text() const { return text_; }
  std::size_t wordsChecked() const { return wordsChecked_; }

 private:
  bool accepted(const std::string& word);
  void stopAt(const SpellWord& word);
  void nextWord();

  SpellChecker& checker_;
  UserDictionary& userDictionary_;
  std::string text_;
  WordScanner scanner_{std::string_view()};
  State state_ = State::complete;
  SpellWord current_;
  std::string problem_;
  std::vector<std::string> suggestions_;
  std::unordered_set<std::string> ignored_;
  // The checker's verdicts so far: most words of a document come again and again.
  std::unordered_map<std::string, bool> verdicts_;
  std::size_t wordsChecked_ = 0;
};

}  // namespace vellmar::dialogs
