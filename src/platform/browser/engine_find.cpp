// The engine's find dialog: find next from the selection onwards, match case, whole words only,
// and a message when the document holds no further match (the search then starts over at the
// top).
#include <algorithm>

#include "common/diagnostics.h"
#include "platform/browser/elements.h"
#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

const char* const kFinished = "Finished searching the document.";

val part(const val& dialog, const char* name) {
  return dialog.call<val>("querySelector", "[data-find=\"" + std::string(name) + "\"]");
}

bool isBlock(const std::string& tag) {
  static const char* const kBlocks[] = {"P", "DIV", "H1", "H2", "H3", "H4", "H5", "H6", "LI", "PRE",
                                        "ADDRESS", "BLOCKQUOTE", "TD", "TH", "TR", "TABLE", "BR",
                                        "HR", "DT", "DD", "CAPTION", "UL", "OL"};
  return std::any_of(std::begin(kBlocks), std::end(kBlocks), [&](const char* b) { return tag == b; });
}

}  // namespace

void Engine::openFind() {
  if (find_.isUndefined()) {
    find_ = create("div", "vellmar-engine-find");
    find_.call<void>("setAttribute", std::string("role"), std::string("dialog"));
    find_.call<void>("setAttribute", std::string("aria-label"), std::string("Find"));
    val title = create("div", "vellmar-engine-find-title");
    title.set("textContent", std::string("Find"));
    find_.call<void>("appendChild", title);

    val what = create("label", "vellmar-engine-find-what");
    what.call<void>("appendChild", val::global("document").call<val>("createTextNode", std::string("Find what: ")));
    val input = create("input");
    input.call<void>("setAttribute", std::string("type"), std::string("text"));
    input.call<void>("setAttribute", std::string("data-find"), std::string("text"));
    what.call<void>("appendChild", input);
    find_.call<void>("appendChild", what);

    for (const auto& [key, caption] : {std::pair{"word", "Match whole word only"}, std::pair{"case", "Match case"}}) {
      val label = create("label", "vellmar-engine-find-option");
      val box = create("input");
      box.call<void>("setAttribute", std::string("type"), std::string("checkbox"));
      box.call<void>("setAttribute", std::string("data-find"), std::string(key));
      label.call<void>("appendChild", box);
      label.call<void>("appendChild", val::global("document").call<val>("createTextNode", " " + std::string(caption)));
      find_.call<void>("appendChild", label);
    }
    val buttons = create("div", "vellmar-engine-find-buttons");
    for (const auto& [key, caption] : {std::pair{"next", "Find Next"}, std::pair{"cancel", "Cancel"}}) {
      val button = create("button");
      button.call<void>("setAttribute", std::string("type"), std::string("button"));
      button.call<void>("setAttribute", std::string("data-find"), std::string(key));
      button.set("textContent", std::string(caption));
      buttons.call<void>("appendChild", button);
    }
    find_.call<void>("appendChild", buttons);
    val message = create("div", "vellmar-engine-find-message");
    message.call<void>("setAttribute", std::string("role"), std::string("alert"));
    message.call<void>("setAttribute", std::string("data-find"), std::string("message"));
    find_.call<void>("appendChild", message);
    listen(find_, "click", kFindClick);
    listen(find_, "keydown", kFindKey);
    overlay_.call<void>("appendChild", find_);
  }
  find_.call<void>("removeAttribute", std::string("hidden"));
  findFrom_ = val(true);  // the first search starts at the selection
  part(find_, "message").set("textContent", std::string());
  val input = part(find_, "text");
  input.call<void>("focus");
  input.call<void>("select");
}

void Engine::closeFind() {
  if (find_.isUndefined()) return;
  find_.call<void>("setAttribute", std::string("hidden"), std::string(""));
}

void Engine::onFindClick(const val& event) {
  const val target = event["target"].call<val>("closest", std::string("[data-find]"));
  if (target.isNull()) return;
  const std::string key = target.call<val>("getAttribute", std::string("data-find")).as<std::string>();
  if (key == "next") guarded("findNext", [&] { findNext(); });
  if (key == "cancel") {
    closeFind();
    focus();
  }
}

void Engine::onFindKey(const val& event) {
  const std::string key = event["key"].isString() ? event["key"].as<std::string>() : "";
  if (key == "Escape") {
    event.call<void>("preventDefault");
    closeFind();
    focus();
  } else if (key == "Enter" && event["target"].call<val>("getAttribute", std::string("data-find")).isString() &&
             event["target"].call<val>("getAttribute", std::string("data-find")).as<std::string>() == "text") {
    event.call<void>("preventDefault");
    guarded("findNext", [&] { findNext(); });
  }
}

void Engine::findNext() {
  const val needleText = part(find_, "text")["value"];
  if (needleText["length"].as<int>() == 0) return;
  const bool matchCase = part(find_, "case")["checked"].as<bool>();
  const bool wholeWord = part(find_, "word")["checked"].as<bool>();
  val message = part(find_, "message");
  message.set("textContent", std::string());

  // The body's text as one string (in the browser's own UTF-16 units, so that offsets map back
  // onto text nodes), with a line break wherever a block begins so that no match runs from one
  // block into the next.
  const val body = document_["body"];
  val pieces = val::array();
  std::vector<val> nodes;
  std::vector<int> starts;
  int length = 0;
  val walker = document_.call<val>("createTreeWalker", body, 1 | 4);
  for (val node = walker.call<val>("nextNode"); !node.isNull(); node = walker.call<val>("nextNode")) {
    if (node["nodeType"].as<int>() == 3) {
      const val data = node["data"];
      nodes.push_back(node);
      starts.push_back(length);
      pieces.call<void>("push", data);
      length += data["length"].as<int>();
    } else if (isBlock(node["tagName"].as<std::string>())) {
      pieces.call<void>("push", std::string("\n"));
      length += 1;
    }
  }
  val flat = pieces.call<val>("join", std::string(""));
  val needle = needleText;
  if (!matchCase) {
    val lowered = flat.call<val>("toLowerCase");
    // Lower-casing that changes lengths would shift every offset; such text is searched as is.
    if (lowered["length"].as<int>() == length) {
      flat = lowered;
      needle = needle.call<val>("toLowerCase");
    }
  }

  // Start after the selection (after the last match when it is still selected).
  int from = 0;
  if (!findFrom_.isNull()) {
    val selection = document_.call<val>("getSelection");
    if (selection["rangeCount"].as<int>() > 0) {
      val range = selection.call<val>("getRangeAt", 0);
      val end = document_.call<val>("createRange");
      end.call<void>("setStart", range["endContainer"], range["endOffset"]);
      from = length;
      for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].strictlyEquals(range["endContainer"])) {
          from = starts[i] + range["endOffset"].as<int>();
          break;
        }
        if (end.call<int>("comparePoint", nodes[i], 0) > 0) {
          from = starts[i];
          break;
        }
      }
    }
  }

  const val wordChar = val::global("RegExp").new_(std::string("[\\p{L}\\p{N}_]"), std::string("u"));
  const int needleLength = needle["length"].as<int>();
  int at = flat.call<int>("indexOf", needle, from);
  while (at >= 0 && wholeWord) {
    const bool before = at > 0 && wordChar.call<bool>("test", flat.call<val>("charAt", at - 1));
    const bool after = wordChar.call<bool>("test", flat.call<val>("charAt", at + needleLength));
    if (!before && !after) break;
    at = flat.call<int>("indexOf", needle, at + 1);
  }
  if (at < 0) {
    message.set("textContent", std::string(kFinished));
    findFrom_ = val::null();
    return;
  }

  // Offsets back to text positions: the piece that holds the first and the last character.
  auto locate = [&](int offset) {
    const auto it = std::upper_bound(starts.begin(), starts.end(), offset);
    const std::size_t i = static_cast<std::size_t>(std::max<long>(0, (it - starts.begin()) - 1));
    return std::pair<val, int>(nodes[i], offset - starts[i]);
  };
  const auto [startNode, startOffset] = locate(at);
  const auto [endNode, endOffset] = locate(at + needleLength - 1);
  val range = document_.call<val>("createRange");
  range.call<void>("setStart", startNode, startOffset);
  range.call<void>("setEnd", endNode, endOffset + 1);
  dom::setControlSelection(document_, dom::Element());
  dom::TextRange found(document_, range);
  found.select();
  val element = startNode["parentElement"];
  val options = val::object();
  options.set("block", std::string("nearest"));
  element.call<void>("scrollIntoView", options);
  findFrom_ = range;
  noteChange(false);
}

}  // namespace vellmar::browser
