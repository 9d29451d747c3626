#pragma once

// Undo and redo over every change to the document, whoever made it: typing, the browser's editing
// commands, the engine's own commands and the editor's direct changes to elements all reach the
// document as DOM mutations, and a MutationObserver on the body hands them to this history.
//
// A step is the list of mutation records between two checkpoints. Undoing a step applies the
// inverse of its records in reverse order; the records that this produces are exactly the step
// that redoes it, so undo and redo are the same operation on two stacks. Nodes are re-inserted as
// the very objects that were removed, so node references held elsewhere (selections kept with a
// step, the editor's own element references) stay valid across undo and redo.
//
// Checkpoints come from the engine: before a command, at every mouse press and navigation key,
// and when the kind of typing changes. Consecutive insertions (or consecutive deletions) by
// typing fall into one step, so a burst of typing undoes at once.

#include <emscripten/val.h>

#include <vector>

namespace vellmar::browser {

using emscripten::val;

class UndoHistory {
 public:
  // What the records collected since the last checkpoint were made by.
  enum class Kind { Other, Typing, Deleting };

  explicit UndoHistory(val observer) : observer_(std::move(observer)) {}

  // Forget everything (a new document).
  void clear();
  // Records delivered by the observer's callback.
  void take(const val& records);
  // Closes the records collected so far into a step. `next` is the kind of what comes now; a
  // typing checkpoint of the same kind as the open step keeps the step open.
  void checkpoint(Kind next, const val& selection);
  bool canUndo() const;
  // False as soon as anything changed after the last undo: that change drops the redo steps.
  bool canRedo() const;
  // Each returns the selection to restore (null when none was kept).
  val undo(const val& selection);
  val redo(const val& selection);

 private:
  struct Step {
    val records;
    val selectionBefore;
    val selectionAfter;
  };

  void collect();
  // Applies the inverse of `records` and returns the records of what that did.
  val revert(const val& records);

  val observer_;
  val pending_ = val::array();
  Kind pendingKind_ = Kind::Other;
  val pendingSelection_ = val::null();  // the selection when the open step began
  std::vector<Step> undo_;
  std::vector<Step> redo_;
};

}  // namespace vellmar::browser
