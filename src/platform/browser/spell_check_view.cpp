#include "platform/browser/spell_check_view.h"
#include "platform/browser/elements.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "common/diagnostics.h"
#include "editor/properties.h"
#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

using emscripten::val;

constexpr const char* kCaption = "Spell Check";
constexpr const char* kMessageCaption = "Vellmar";
// How long one stretch of the scan may keep the page busy before it yields to the browser, in ms.
constexpr double kSliceMs = 12;
// Words checked between two looks at the clock.
constexpr std::size_t kWordsPerStep = 200;

bool present(const val& v) { return !v.isUndefined() && !v.isNull(); }

double now() { return val::global("performance").call<double>("now"); }

// Elements whose edges do not end a word: the character and phrase elements.
bool isInline(const std::string& tag) {
  static constexpr std::array<std::string_view, 26> kInline = {
      "A",   "ABBR", "ACRONYM", "B",    "BDI",  "BDO",  "BIG", "CITE", "CODE",
      "DEL", "DFN",  "EM",      "FONT", "I",    "INS",  "KBD", "MARK", "Q",
      "S",   "SAMP", "SMALL",   "SPAN", "STRIKE", "STRONG", "SUB", "SUP"};
  return std::find(kInline.begin(), kInline.end(), tag) != kInline.end() || tag == "TT" ||
         tag == "U" || tag == "VAR" || tag == "LABEL" || tag == "NOBR" || tag == "TIME";
}

// What is never text to check.
bool isSkipped(const std::string& tag) {
  return tag == "SCRIPT" || tag == "STYLE" || tag == "NOSCRIPT" || tag == "TEMPLATE" ||
         tag == "OBJECT" || tag == "IFRAME" || tag == "SELECT" || tag == "TEXTAREA";
}

std::size_t utf16Units(std::string_view utf8) {
  std::size_t units = 0;
  for (char c : utf8) {
    const auto b = static_cast<unsigned char>(c);
    if ((b & 0xC0) != 0x80) ++units;
    if (b >= 0xF0) ++units;  // a character outside the basic plane takes two units
  }
  return units;
}

// The checker of the page: nspell with the English dictionary, imported on first use.
class PageChecker final : public dialogs::SpellChecker {
 public:
  explicit PageChecker(val checker) : checker_(std::move(checker)) {}
  bool checkWord(const std::string& word) override {
    return checker_.call<bool>("correct", word);
  }
  std::vector<std::string> suggestions(const std::string& word) override {
    std::vector<std::string> out;
    const val list = checker_.call<val>("suggest", word);
    const int n = list["length"].as<int>();
    for (int i = 0; i < n; ++i) out.push_back(list[i].as<std::string>());
    return out;
  }

 private:
  val checker_;
};

// One load for every editor of the page; a failed load is tried again on the next check.
val& checkerPromise() {
  static val promise = val::undefined();
  return promise;
}
val& loadedChecker() {
  static val checker = val::undefined();
  return checker;
}

val loadChecker() {
  if (present(checkerPromise())) return checkerPromise();
  const val base = val::module_property("vellmarBaseUrl");
  const std::string url =
      (base.isString() ? base.as<std::string>() : std::string()) + "spell/spell_checker.js";
  const val importer = val::module_property("vellmarImport");
  checkerPromise() = importer(url).call<val>(
      "then", val::global("Function")(std::string("m"), std::string("return m.createChecker();")));
  return checkerPromise();
}

}  // namespace

SpellCheckView::SpellCheckView(val root, Engine& engine, MessageBoxes& messageBoxes,
                               menubar::SettingsStore& settings)
    : root_(std::move(root)), engine_(engine), messageBoxes_(messageBoxes), settings_(settings) {}

SpellCheckView::~SpellCheckView() = default;

void SpellCheckView::spellCheck(Replace replace) {
  if (running_) return;
  guarded("spellCheck", [&] {
    running_ = true;
    replace_ = std::move(replace);
    // The dictionary loads while the person reads the first message.
    if (!present(loadedChecker())) {
      loadChecker().call<void>(
          "then",
          route_.callback([](const val& checker) { loadedChecker() = checker; }),
          route_.callback([](const val& error) {
            checkerPromise() = val::undefined();
            debugLog("The spelling dictionary could not be loaded: " +
                     val::global("String")(error).as<std::string>());
          }));
    }
    messageBoxes_.show("Starting Spell Check", kMessageCaption, MessageButtons::ok,
                       [this](MessageAnswer) { checkSpelling(); });
  });
}

void SpellCheckView::build() {
  dialog_ = std::make_unique<ModalDialog>(root_, kCaption, "vellmar-spell-check");
  const val body = dialog_->body();
  auto field = [&](const char* label, const char* id, val control) {
    val row = create("div", "vellmar-spell-check-field");
    val caption = create("label");
    caption.set("textContent", std::string(label));
    const std::string fullId = std::string("vellmar-spell-") + id;
    setAttr(caption, "for", fullId);
    setAttr(control, "id", fullId);
    row.call<void>("appendChild", caption);
    row.call<void>("appendChild", control);
    body.call<void>("appendChild", row);
    return control;
  };
  problem_ = field("Not in dictionary:", "problem", create("input"));
  problem_.set("readOnly", true);
  changeTo_ = field("Change To:", "change-to", create("input"));
  suggestions_ = field("Suggestions:", "suggestions", create("select"));
  suggestions_.set("size", 6);
  route_.listen(suggestions_, "change", [this](const val&) {
    if (!model_) return;
    const int index = suggestions_["selectedIndex"].as<int>();
    if (index < 0) return;
    model_->suggestionClicked(static_cast<std::size_t>(index));
    changeTo_.set("value", model_->txtChangeToText);
  });
  route_.listen(suggestions_, "dblclick", [this](const val&) { change(); });

  status_ = create("div", "vellmar-spell-check-status");
  setAttr(status_, "role", "status");
  body.call<void>("appendChild", status_);
  progress_ = create("progress", "vellmar-spell-check-progress");
  setAttr(progress_, "max", "100");
  setAttr(progress_, "aria-label", "Checked");
  body.call<void>("appendChild", progress_);

  using Role = ModalDialog::Role;
  auto button = [&](const char* label, const char* key, void (SpellCheckView::*pressed)(),
                    Role role = Role::plain) {
    val b = dialog_->addButton(label, [this, pressed] { (this->*pressed)(); }, role);
    setAttr(b, "accesskey", key);
    return b;
  };
  problemControls_ = {problem_, changeTo_, suggestions_};
  problemControls_.push_back(button("Ignore", "i", &SpellCheckView::ignore));
  problemControls_.push_back(button("Ignore All", "g", &SpellCheckView::ignoreAll));
  problemControls_.push_back(button("Change", "c", &SpellCheckView::change, Role::accept));
  problemControls_.push_back(button("Add", "a", &SpellCheckView::add));
  button("Cancel", "", &SpellCheckView::cancel, Role::cancel);
}

void SpellCheckView::checkSpelling() {
  guarded("checkSpelling", [&] {
    if (!dialog_) build();
    problem_.set("value", std::string());
    changeTo_.set("value", std::string());
    suggestions_.set("innerHTML", std::string());
    progress_.set("value", 0);
    setScanning(true);
    dialog_->show(problemControls_.back());  // the focus waits on a button while scanning
    if (present(loadedChecker())) {
      begin();
      return;
    }
    status_.set("textContent", std::string("Loading the dictionary\u2026"));
    loadChecker().call<void>(
        "then", route_.callback([this](const val& checker) {
          loadedChecker() = checker;
          if (dialog_ && dialog_->isOpen()) begin();
        }),
        route_.callback([this](const val&) {
          checkerPromise() = val::undefined();
          if (!dialog_ || !dialog_->isOpen()) return;
          dialog_->close();
          messageBoxes_.show("The spelling dictionary could not be loaded.", kMessageCaption,
                             MessageButtons::ok, [this](MessageAnswer) { running_ = false; });
        }));
  });
}

void SpellCheckView::begin() {
  guarded("checkSpelling", [&] {
    status_.set("textContent", std::string());
    checker_ = std::make_unique<PageChecker>(loadedChecker());
    userDictionary_ = std::make_unique<dialogs::UserDictionary>(
        settings_, editor::PropertySet::shared().domain());
    model_ = std::make_unique<dialogs::frmSpellCheck>(*checker_, *userDictionary_);
    model_->checkSpelling(flatten());
    scheduleScan();
  });
}

void SpellCheckView::scheduleScan() {
  if (scanQueued_) return;
  scanQueued_ = true;
  val::global("setTimeout")(route_.callback([this](const val&) {
                              scanQueued_ = false;
                              scanSlice();
                            }),
                            0);
}

void SpellCheckView::scanSlice() {
  if (!model_ || !dialog_ || !dialog_->isOpen()) return;
  bool scheduled = false;
  guarded("Timer1_Timer", [&] {
    const double start = now();
    dialogs::frmSpellCheck::State state = model_->state();
    while (state == dialogs::frmSpellCheck::State::scanning && now() - start < kSliceMs) {
      state = model_->scan(kWordsPerStep);
    }
    progress_.set("value", model_->progress());
    switch (state) {
      case dialogs::frmSpellCheck::State::scanning:
        scheduleScan();
        scheduled = true;
        break;
      case dialogs::frmSpellCheck::State::waiting:
        showProblem();
        scheduled = true;
        break;
      case dialogs::frmSpellCheck::State::complete:
        break;
    }
  });
  if (!scheduled) finish();
}

void SpellCheckView::showProblem() {
  const val range = rangeOf(model_->currentRange());
  if (present(range)) {
    const val window = engine_.frame()["contentWindow"];
    const val selection = window.call<val>("getSelection");
    selection.call<void>("removeAllRanges");
    selection.call<void>("addRange", range);
    val node = range["startContainer"];
    if (node["nodeType"].as<int>() != 1) node = node["parentElement"];
    if (present(node)) {
      val options = val::object();
      options.set("block", std::string("center"));
      options.set("inline", std::string("nearest"));
      node.call<void>("scrollIntoView", options);
    }
  }
  problem_.set("value", model_->txtProblemText());
  changeTo_.set("value", model_->txtChangeToText);
  suggestions_.set("innerHTML", std::string());
  for (const auto& suggestion : model_->lstSuggestionsList()) {
    val option = create("option");
    option.set("textContent", suggestion);
    suggestions_.call<void>("appendChild", option);
  }
  setScanning(false);
  changeTo_.call<void>("focus");
  changeTo_.call<void>("select");
}

void SpellCheckView::setScanning(bool scanning) {
  for (val control : problemControls_) control.set("disabled", scanning);
  progress_.set("hidden", !scanning);
  if (scanning) {
    // The focus must not sit on a control that goes grey.
    const val cancel = dialog_->element().call<val>("querySelector",
                                                    std::string(".vellmar-dialog-buttons button:last-child"));
    if (present(cancel) && dialog_->isOpen()) cancel.call<void>("focus");
  }
}

void SpellCheckView::finish() {
  if (dialog_ && dialog_->isOpen()) dialog_->close();
  model_.reset();
  segments_.clear();
  messageBoxes_.show("Spell Check Complete", kMessageCaption, MessageButtons::ok,
                     [this](MessageAnswer) { running_ = false; });
  // A second check may start as soon as this one is over; the box only reports it.
  running_ = false;
}

std::string SpellCheckView::flatten() {
  segments_.clear();
  std::string text;
  std::size_t length16 = 0;
  // A line break where a block (or a line break, an image, a cell) starts or ends, so that words
  // never run from one into the next.
  auto boundary = [&] {
    if (!text.empty() && text.back() != '\n') {
      text.push_back('\n');
      ++length16;
    }
  };
  const val body = engine_.DOM().js()["body"];
  if (!present(body)) return text;
  // An explicit stack of the open elements: documents nest deeper than a recursion should go.
  struct Open {
    val element;
    bool inlineElement;
  };
  std::vector<Open> open;
  val node = body["firstChild"];
  while (true) {
    while (!present(node)) {
      if (open.empty()) return text;
      if (!open.back().inlineElement) boundary();
      node = open.back().element["nextSibling"];
      open.pop_back();
    }
    const int type = node["nodeType"].as<int>();
    if (type == 3) {
      const std::string value = node["nodeValue"].as<std::string>();
      const std::size_t units = utf16Units(value);
      if (units > 0) segments_.push_back(Segment{node, length16, units});
      text += value;
      length16 += units;
    } else if (type == 1) {
      const std::string tag = node["tagName"].as<std::string>();
      if (!isSkipped(tag)) {
        const bool inlineElement = isInline(tag);
        if (!inlineElement) boundary();
        const val first = node["firstChild"];
        if (present(first)) {
          open.push_back(Open{node, inlineElement});
          node = first;
          continue;
        }
      }
    }
    node = node["nextSibling"];
  }
}

val SpellCheckView::rangeOf(const dialogs::SpellWord& word) const {
  auto segmentAt = [&](std::size_t at16, bool end) -> const Segment* {
    auto it = std::upper_bound(segments_.begin(), segments_.end(), at16,
                               [](std::size_t v, const Segment& s) { return v < s.start16; });
    if (it == segments_.begin()) return nullptr;
    --it;
    // An end that falls on a segment's start belongs to the one before it.
    if (end && it->start16 == at16 && it != segments_.begin()) --it;
    if (at16 > it->start16 + it->length16) return nullptr;
    return &*it;
  };
  const Segment* first = segmentAt(word.begin16, false);
  const Segment* last = segmentAt(word.end16, true);
  if (!first || !last) return val::null();
  val range = engine_.DOM().js().call<val>("createRange");
  range.call<void>("setStart", first->node, static_cast<double>(word.begin16 - first->start16));
  range.call<void>("setEnd", last->node, static_cast<double>(word.end16 - last->start16));
  return range;
}

void SpellCheckView::ignore() {
  guarded("ignoreBtn_Click", [&] {
    if (!model_) return;
    model_->ignore();
    setScanning(true);
    scheduleScan();
  });
}

void SpellCheckView::ignoreAll() {
  guarded("ignoreAllBtn_Click", [&] {
    if (!model_) return;
    model_->ignoreAll();
    setScanning(true);
    scheduleScan();
  });
}

void SpellCheckView::add() {
  guarded("addBtn_Click", [&] {
    if (!model_) return;
    model_->add();
    setScanning(true);
    scheduleScan();
  });
}

void SpellCheckView::change() {
  guarded("btnChangeBtn_Click", [&] {
    if (!model_ || model_->state() != dialogs::frmSpellCheck::State::waiting) return;
    model_->txtChangeToText = changeTo_["value"].as<std::string>();
    const val range = rangeOf(model_->currentRange());
    const auto replacement = model_->change();
    if (present(range) && replace_) replace_(range, replacement.text);
    // The document's text nodes changed; the flat text is the model's already.
    flatten();
    setScanning(true);
    scheduleScan();
  });
}

void SpellCheckView::cancel() {
  guarded("CancelBtn_Click", [&] {
    if (model_) model_->cancel();
    finish();
  });
}

}  // namespace vellmar::browser
