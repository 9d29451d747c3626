#include "platform/browser/engine_undo.h"

#include "platform/browser/dom.h"

namespace vellmar::browser {

namespace {

bool childOf(const val& node, const val& parent) {
  return !node.isNull() && !node.isUndefined() && node["parentNode"].strictlyEquals(parent);
}

}  // namespace

void UndoHistory::clear() {
  observer_.call<val>("takeRecords");
  pending_ = val::array();
  pendingKind_ = Kind::Other;
  pendingSelection_ = val::null();
  undo_.clear();
  redo_.clear();
}

void UndoHistory::take(const val& records) {
  const int count = records["length"].as<int>();
  for (int i = 0; i < count; ++i) pending_.call<void>("push", records[i]);
}

void UndoHistory::collect() { take(observer_.call<val>("takeRecords")); }

void UndoHistory::checkpoint(Kind next, const val& selection) {
  collect();
  if (next != Kind::Other && next == pendingKind_) return;  // the burst goes on
  if (pending_["length"].as<int>() > 0) {
    undo_.push_back(Step{pending_, pendingSelection_, selection});
    redo_.clear();
    pending_ = val::array();
  }
  pendingKind_ = next;
  pendingSelection_ = selection;
}

bool UndoHistory::canUndo() const {
  if (!undo_.empty() || pending_["length"].as<int>() > 0) return true;
  // Records the observer has not delivered yet count too; peeking would consume them, so they
  // are taken into the open step.
  const_cast<UndoHistory*>(this)->collect();
  return pending_["length"].as<int>() > 0;
}

bool UndoHistory::canRedo() const {
  if (redo_.empty()) return false;
  const_cast<UndoHistory*>(this)->collect();
  return pending_["length"].as<int>() == 0;
}

val UndoHistory::undo(const val& selection) {
  checkpoint(Kind::Other, selection);
  if (undo_.empty()) return val::null();
  Step step = undo_.back();
  undo_.pop_back();
  redo_.push_back(Step{revert(step.records), step.selectionAfter, step.selectionBefore});
  pendingSelection_ = step.selectionBefore;
  return step.selectionBefore;
}

val UndoHistory::redo(const val& selection) {
  checkpoint(Kind::Other, selection);
  if (redo_.empty()) return val::null();
  Step step = redo_.back();
  redo_.pop_back();
  undo_.push_back(Step{revert(step.records), step.selectionAfter, step.selectionBefore});
  pendingSelection_ = step.selectionBefore;
  return step.selectionBefore;
}

val UndoHistory::revert(const val& records) {
  // Whatever the observer holds belongs to the open step, not to this reversal.
  collect();
  const int count = records["length"].as<int>();
  for (int i = count - 1; i >= 0; --i) {
    const val record = records[i];
    const std::string type = record["type"].as<std::string>();
    val target = record["target"];
    if (type == "attributes") {
      const val name = record["attributeName"];
      const val space = record["attributeNamespace"];
      const val old = record["oldValue"];
      if (old.isNull()) {
        if (space.isNull()) {
          target.call<void>("removeAttribute", name);
        } else {
          target.call<void>("removeAttributeNS", space, name);
        }
      } else if (space.isNull()) {
        dom::call(target, "setAttribute", name, old);
      } else {
        dom::call(target, "setAttributeNS", space, name, old);
      }
    } else if (type == "characterData") {
      target.set("data", record["oldValue"]);
    } else if (type == "childList") {
      const val added = record["addedNodes"];
      for (int j = added["length"].as<int>() - 1; j >= 0; --j) {
        const val node = added[j];
        if (childOf(node, target)) target.call<val>("removeChild", node);
      }
      const val removed = record["removedNodes"];
      const val next = record["nextSibling"];
      const val previous = record["previousSibling"];
      const int removedCount = removed["length"].as<int>();
      for (int j = 0; j < removedCount; ++j) {
        const val node = removed[j];
        if (childOf(next, target)) {
          dom::call(target, "insertBefore", node, next);
        } else if (childOf(previous, target)) {
          // Each re-inserted node goes after the one before it.
          const val anchor = j == 0 ? previous : removed[j - 1];
          dom::call(target, "insertBefore", node, anchor["nextSibling"]);
        } else {
          dom::call(target, "appendChild", node);
        }
      }
    }
  }
  dom::noteChange();
  return observer_.call<val>("takeRecords");
}

}  // namespace vellmar::browser
