#include "editing/dispatch.h"

#include "common/diagnostics.h"
#include "editing/formats.h"

namespace vellmar::editing {

void runOperation(EditorOperations& ops, const CommandRow& row) {
  if (row.simple) {
    ops.runCommand(row);
    return;
  }
  switch (row.operation) {
    case Operation::openLocal: ops.openLocal(); break;
    case Operation::saveToServer: ops.saveToServer(); break;
    case Operation::saveLocal: ops.saveLocal(); break;
    case Operation::saveLocalAs: ops.saveLocalAs(""); break;
    case Operation::openRecentFiles: ops.openRecentFiles(row.argument.empty() ? 0 : row.argument[0] - '0'); break;
    case Operation::cut: ops.cut(); break;
    case Operation::copy: ops.copy(); break;
    case Operation::paste: ops.paste(); break;
    case Operation::pasteUnformatted: ops.pasteUnformatted(); break;
    case Operation::copyHTML: ops.copyHTML(); break;
    case Operation::pasteHTML: ops.pasteHTML(); break;
    case Operation::spellCheck: ops.spellCheck(); break;
    case Operation::setView: ops.setView(row.argument); break;
    case Operation::visualAids: ops.visualAids(); break;
    case Operation::addImage: ops.addImage(); break;
    case Operation::addLink: ops.addLink(); break;
    case Operation::addHorizontalrule: ops.addHorizontalrule(); break;
    case Operation::addTable: ops.addTable(); break;
    case Operation::insertHTML: ops.insertHTML(row.argument); break;
    case Operation::addOtherCharacter: ops.addOtherCharacter(); break;
    case Operation::clearStyle: ops.clearStyle(); break;
    case Operation::setColor: ops.setColor(); break;
    case Operation::setFont: ops.setFont(row.argument); break;
    case Operation::setFontSize: ops.setFontSize(row.argument); break;
    case Operation::setBlockFormat: ops.setBlockFormat(row.argument); break;
    case Operation::applyClass: ops.applyClass(row.argument); break;
    case Operation::setTableValign: ops.setTableValign(row.argument); break;
    case Operation::goToHelp: ops.goToHelp(); break;
    case Operation::aboutVellmar: ops.aboutVellmar(); break;
    default:
      // Every other operation is its engine command alone (the row says simple).
      break;
  }
}

void mcMenuBar1_menuItemSelected(EditorOperations& ops, std::string_view key) {
  guarded("mcMenuBar1_menuItemSelected", [&] {
    if (key.empty()) return;
    if (const CommandRow* row = findCommand(key)) {
      runOperation(ops, *row);
    } else if (const auto className = classKeyName(key)) {
      ops.applyClass(*className);
    }
  });
}

void ctlFontSelector1_fontChanged(EditorOperations& ops, std::string_view name) {
  guarded("ctlFontSelector1_fontChanged", [&] {
    for (std::size_t index : fontsBeginningWith(name)) ops.setFont(kFontTable[index].key);
    ops.checkFormatInMenu();
  });
}

void ctlFontSelector1_formatChanged(EditorOperations& ops, std::string_view name) {
  guarded("ctlFontSelector1_formatChanged", [&] {
    ops.setBlockFormat(name);
    ops.checkFormatInMenu();
  });
}

void ctlFontSelector1_sizeChanged(EditorOperations& ops, std::string_view size) {
  guarded("ctlFontSelector1_sizeChanged", [&] {
    ops.setFontSize(size);
    ops.checkFormatInMenu();
  });
}

}  // namespace vellmar::editing
