#include "dialogs/spell_check.h"

#include <algorithm>
#include <utility>

namespace vellmar::dialogs {

namespace {

// One character of UTF-8 text: its code point and length in bytes. Bytes that do not form a
// character count as one replacement character each.
struct Char {
  char32_t cp;
  std::size_t length;
};

Char decode(std::string_view s, std::size_t i) {
  const auto b = static_cast<unsigned char>(s[i]);
  if (b < 0x80) return {b, 1};
  std::size_t n = 0;
  char32_t cp = 0;
  if ((b & 0xE0) == 0xC0) {
    n = 2;
    cp = b & 0x1Fu;
  } else if ((b & 0xF0) == 0xE0) {
    n = 3;
    cp = b & 0x0Fu;
  } else if ((b & 0xF8) == 0xF0) {
    n = 4;
    cp = b & 0x07u;
  } else {
    return {0xFFFD, 1};
  }
  if (i + n > s.size()) return {0xFFFD, 1};
  for (std::size_t k = 1; k < n; ++k) {
    const auto c = static_cast<unsigned char>(s[i + k]);
    if ((c & 0xC0) != 0x80) return {0xFFFD, 1};
    cp = (cp << 6) | (c & 0x3Fu);
  }
  return {cp, n};
}

// The character that ends just before byte `at`; a blank at the start of the text.
char32_t charBefore(std::string_view s, std::size_t at) {
  if (at == 0) return U' ';
  std::size_t b = at - 1;
  while (b > 0 && (static_cast<unsigned char>(s[b]) & 0xC0) == 0x80) --b;
  return decode(s, b).cp;
}

std::size_t utf16Length(char32_t cp) { return cp >= 0x10000 ? 2 : 1; }

bool isApostrophe(char32_t cp) { return cp == U'\'' || cp == U'\u2019'; }
bool isDigit(char32_t cp) { return cp >= U'0' && cp <= U'9'; }

// Letters: ASCII letters and the letters of other scripts. Outside ASCII everything counts as a
// letter except the blanks, punctuation and symbols a text commonly holds.
bool isLetter(char32_t cp) {
  if (cp < 0x80) return (cp >= U'a' && cp <= U'z') || (cp >= U'A' && cp <= U'Z');
  if (cp <= 0xBF) return false;                    // Latin-1 blanks, punctuation, symbols
  if (cp == 0xD7 || cp == 0xF7) return false;      // × ÷
  if (cp >= 0x2000 && cp <= 0x2BFF) return false;  // punctuation, symbols, arrows, shapes
  if (cp >= 0x3000 && cp <= 0x303F) return false;  // CJK punctuation
  if (cp >= 0xD800 && cp <= 0xDFFF) return false;
  if (cp == 0xFEFF || cp == 0xFFFD) return false;
  if (cp >= 0xFE00 && cp <= 0xFE0F) return false;  // variation selectors
  if (cp >= 0x1F000) return false;                 // emoji and friends
  return true;
}

bool isBlank(char32_t cp) {
  return cp == U' ' || cp == U'\t' || cp == U'\n' || cp == U'\r' || cp == U'\f' || cp == 0xA0 ||
         (cp >= 0x2000 && cp <= 0x200B) || cp == 0x3000;
}

// An address is passed over whole: the run of non-blank characters it stands in.
bool looksLikeAddress(std::string_view token) {
  return token.find("://") != std::string_view::npos || token.find('@') != std::string_view::npos ||
         token.starts_with("www.") || token.starts_with("WWW.");
}

}  // namespace

bool WordScanner::next(SpellWord& word) {
  const std::size_t n = text_.size();
  while (pos_ < n) {
    Char c = decode(text_, pos_);
    if (isBlank(c.cp)) {
      pos_ += c.length;
      pos16_ += utf16Length(c.cp);
      continue;
    }
    // At the start of a token (a run without blanks): addresses go whole.
    if (isBlank(charBefore(text_, pos_))) {
      std::size_t end = pos_;
      std::size_t end16 = pos16_;
      while (end < n) {
        const Char t = decode(text_, end);
        if (isBlank(t.cp)) break;
        end += t.length;
        end16 += utf16Length(t.cp);
      }
      if (looksLikeAddress(text_.substr(pos_, end - pos_))) {
        pos_ = end;
        pos16_ = end16;
        continue;
      }
    }
    if (!isLetter(c.cp)) {
      pos_ += c.length;
      pos16_ += utf16Length(c.cp);
      continue;
    }
    // A run of letters, with apostrophes only between letters.
    const std::size_t begin = pos_, begin16 = pos16_;
    bool digit = isDigit(charBefore(text_, begin));
    std::size_t end = pos_, end16 = pos16_;
    while (end < n) {
      const Char t = decode(text_, end);
      if (isLetter(t.cp)) {
        end += t.length;
        end16 += utf16Length(t.cp);
      } else if (isApostrophe(t.cp) && end + t.length < n &&
                 isLetter(decode(text_, end + t.length).cp)) {
        end += t.length;
        end16 += 1;
      } else {
        digit = digit || isDigit(t.cp);
        break;
      }
    }
    pos_ = end;
    pos16_ = end16;
    if (digit) {
      // Skip the rest of the alphanumeric run as well.
      while (pos_ < n) {
        const Char t = decode(text_, pos_);
        if (!isLetter(t.cp) && !isDigit(t.cp)) break;
        pos_ += t.length;
        pos16_ += utf16Length(t.cp);
      }
      continue;
    }
    word = SpellWord{begin, end, begin16, end16};
    return true;
  }
  return false;
}

std::string normalizedWord(std::string_view word) {
  std::string out;
  out.reserve(word.size());
  for (std::size_t i = 0; i < word.size();) {
    const Char c = decode(word, i);
    if (c.cp == U'\u2019') {
      out.push_back('\'');
    } else {
      out.append(word.substr(i, c.length));
    }
    i += c.length;
  }
  return out;
}

// ---- UserDictionary

UserDictionary::UserDictionary(menubar::SettingsStore& store, std::string domain)
    : store_(store), domain_(std::move(domain)) {
  const std::string stored = store_.GetSetting(menubar::kSettingsApplication, domain_, kKey);
  std::size_t start = 0;
  while (start < stored.size()) {
    std::size_t end = stored.find('\n', start);
    if (end == std::string::npos) end = stored.size();
    std::string word = stored.substr(start, end - start);
    if (!word.empty() && word.back() == '\r') word.pop_back();
    if (!word.empty() && words_.insert(word).second) order_.push_back(std::move(word));
    start = end + 1;
  }
}

bool UserDictionary::contains(std::string_view word) const {
  return words_.contains(normalizedWord(word));
}

bool UserDictionary::add(std::string_view word) {
  const std::string w = normalizedWord(word);
  if (w.empty() || w.size() > kMaxWordLength || w.find_first_of("\r\n") != std::string::npos) {
    return false;
  }
  if (words_.contains(w)) return true;
  if (order_.size() >= kMaxWords) return false;
  words_.insert(w);
  order_.push_back(w);
  std::string stored;
  for (const auto& kept : order_) stored.append(kept).push_back('\n');
  store_.SaveSetting(menubar::kSettingsApplication, domain_, kKey, stored);
  return true;
}

// ---- frmSpellCheck

frmSpellCheck::frmSpellCheck(SpellChecker& checker, UserDictionary& userDictionary)
    : checker_(checker), userDictionary_(userDictionary) {}

void frmSpellCheck::checkSpelling(std::string text) {
  text_ = std::move(text);
  scanner_ = WordScanner(text_);
  state_ = State::scanning;
  wordsChecked_ = 0;
  ignored_.clear();
  problem_.clear();
  suggestions_.clear();
  txtChangeToText.clear();
}

bool frmSpellCheck::accepted(const std::string& word) {
  if (ignored_.contains(word) || userDictionary_.contains(word)) return true;
  const auto known = verdicts_.find(word);
  if (known != verdicts_.end()) return known->second;
  const bool ok = checker_.checkWord(word);
  verdicts_.emplace(word, ok);
  return ok;
}

frmSpellCheck::State frmSpellCheck::scan(std::size_t maxWords) {
  if (state_ != State::scanning) return state_;
  SpellWord word;
  for (std::size_t i = 0; i < maxWords; ++i) {
    if (!scanner_.next(word)) {
      state_ = State::complete;
      return state_;
    }
    ++wordsChecked_;
    const std::string w = normalizedWord(std::string_view(text_).substr(word.begin, word.end - word.begin));
    if (!accepted(w)) {
      stopAt(word);
      return state_;
    }
  }
  return state_;
}

void frmSpellCheck::stopAt(const SpellWord& word) {
  current_ = word;
  problem_ = text_.substr(word.begin, word.end - word.begin);
  suggestions_ = checker_.suggestions(normalizedWord(problem_));
  txtChangeToText = suggestions_.empty() ? problem_ : suggestions_.front();
  state_ = State::waiting;
}

void frmSpellCheck::suggestionClicked(std::size_t index) {
  if (index < suggestions_.size()) txtChangeToText = suggestions_[index];
}

void frmSpellCheck::nextWord() {
  scanner_.seek(current_.end, current_.end16);
  state_ = State::scanning;
}

void frmSpellCheck::ignore() {
  if (state_ != State::waiting) return;
  nextWord();
}

void frmSpellCheck::ignoreAll() {
  if (state_ != State::waiting) return;
  ignored_.insert(normalizedWord(problem_));
  nextWord();
}

bool frmSpellCheck::add() {
  if (state_ != State::waiting) return false;
  const bool kept = userDictionary_.add(problem_);
  nextWord();
  return kept;
}

frmSpellCheck::Change frmSpellCheck::change() {
  if (state_ != State::waiting) return {};
  Change change{current_, txtChangeToText};
  // Line breaks have no place in a word's stead; they become blanks.
  std::replace(change.text.begin(), change.text.end(), '\n', ' ');
  std::replace(change.text.begin(), change.text.end(), '\r', ' ');
  std::string text;
  text.reserve(text_.size() - (current_.end - current_.begin) + change.text.size());
  text.append(text_, 0, current_.begin).append(change.text).append(text_, current_.end);
  text_ = std::move(text);
  // The scan goes on at the replacement, so that each of its words is checked in turn.
  scanner_ = WordScanner(text_);
  scanner_.seek(current_.begin, current_.begin16);
  state_ = State::scanning;
  return change;
}

void frmSpellCheck::cancel() { state_ = State::complete; }

int frmSpellCheck::progress() const {
  if (text_.empty() || state_ == State::complete) return 100;
  return static_cast<int>(scanner_.position() * 100 / text_.size());
}

}  // namespace vellmar::dialogs
