#pragma once

#include <emscripten/val.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dialogs/spell_check.h"
#include "menubar/settings_store.h"
#include "platform/browser/event_route.h"
#include "platform/browser/modal_dialog.h"

namespace vellmar::browser {

class Engine;

// The spell check dialog of one editor ("Spell Check"). The checker and its dictionary are not
// part of the component's start-up: the first check imports them from the component's folder and
// says so while they load; later checks of the page reuse them.
//
// The words come from the text of the engine's body; a misspelled word is selected and scrolled
// into view in the document, and a change goes through `replace`, which writes it into the
// document as one undoable step.
class SpellCheckView {
 public:
  using Replace = std::function<void(const emscripten::val& range, const std::string& text)>;

  SpellCheckView(emscripten::val root, Engine& engine, MessageBoxes& messageBoxes,
                 menubar::SettingsStore& settings);
  ~SpellCheckView();
  SpellCheckView(const SpellCheckView&) = delete;
  SpellCheckView& operator=(const SpellCheckView&) = delete;

  // `spellCheck`: "Starting Spell Check", the check to its end, "Spell Check Complete".
  void spellCheck(Replace replace);

 private:
  // A text node of the body and where its text starts in the flat text, in UTF-16 units.
  struct Segment {
    emscripten::val node;
    std::size_t start16;
    std::size_t length16;
  };

  void build();
  void checkSpelling();
  void begin();
  void scheduleScan();
  void scanSlice();
  void showProblem();
  void setScanning(bool scanning);
  void finish();
  // The body's text with a line break between blocks, and the text nodes it came from.
  std::string flatten();
  emscripten::val rangeOf(const dialogs::SpellWord& word) const;

  void ignore();
  void ignoreAll();
  void change();
  void add();
  void cancel();

  emscripten::val root_;
  Engine& engine_;
  MessageBoxes& messageBoxes_;
  menubar::SettingsStore& settings_;
  Replace replace_;

  std::unique_ptr<ModalDialog> dialog_;
  emscripten::val problem_ = emscripten::val::undefined();
  emscripten::val changeTo_ = emscripten::val::undefined();
  emscripten::val suggestions_ = emscripten::val::undefined();
  emscripten::val progress_ = emscripten::val::undefined();
  emscripten::val status_ = emscripten::val::undefined();
  std::vector<emscripten::val> problemControls_;

  std::unique_ptr<dialogs::SpellChecker> checker_;
  std::unique_ptr<dialogs::UserDictionary> userDictionary_;
  std::unique_ptr<dialogs::frmSpellCheck> model_;
  std::vector<Segment> segments_;
  bool running_ = false;
  bool scanQueued_ = false;
  EventRoute route_{"frmSpellCheck"};
};

}  // namespace vellmar::browser
