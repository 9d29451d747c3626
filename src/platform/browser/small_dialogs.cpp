// frmTable, frmSpecialChars and frmAbout on the page.
#include "common/diagnostics.h"
#include "common/version.h"
#include "dialogs/about_box.h"
#include "dialogs/character_chart.h"
#include "dialogs/table_dialog.h"
#include "platform/browser/dialog_views.h"

namespace vellmar::browser {

namespace {
using emscripten::val;
using parts::labelled;
}  // namespace

// ---- TableDialog

TableDialog::TableDialog(val root) : root_(std::move(root)) {}

void TableDialog::show(std::function<void(const TableChoice&)> done) {
  if (dialog_ && dialog_->isOpen()) return;
  done_ = std::move(done);
  dialog_ = std::make_unique<ModalDialog>(root_, "Tables", "vellmar-table-dialog");
  ModalDialog& d = *dialog_;
  const dialogs::TableBoxes initial;
  alerts_.clear();
  val grid = parts::element("div", "vellmar-table-fields");
  d.body().call<void>("appendChild", grid);
  // Each box has its line for what is wrong with it, in the order of dialogs::TableBox.
  const auto box = [&](const char* label, const std::string& value) {
    val input = parts::textBox(value);
    val field = labelled(grid, label, input);
    val alert = parts::alertLine();
    field.call<void>("appendChild", alert);
    alerts_.push_back(alert);
    return input;
  };
  rows_ = box("Rows:", initial.rows);
  cols_ = box("Columns:", initial.cols);
  width_ = box("Width:", initial.width);
  scale_ = parts::dropDown({"Percent", "Pixels"});
  scale_.call<void>("setAttribute", std::string("aria-label"), std::string("Width unit"));
  width_["parentNode"].call<void>("insertBefore", scale_, width_["nextSibling"]);
  border_ = box("Border:", initial.border);
  padding_ = box("Cell Padding:", initial.padding);
  spacing_ = box("Cell Spacing:", initial.spacing);
  ok_ = d.addButton("OK", [this] { ok(); }, ModalDialog::Role::accept);
  d.addButton("Cancel", [this] {
    done_ = nullptr;
    dialog_->close();
  }, ModalDialog::Role::cancel);
  for (val* b : {&rows_, &cols_}) {
    d.route().listen(*b, "blur", [this](const val&) { updateOk(); });
    d.route().listen(*b, "input", [this](const val&) { updateOk(); });
  }
  updateOk();
  d.show(rows_);
  rows_.call<void>("select");
}

void TableDialog::updateOk() {
  dialogs::TableBoxes b;
  b.rows = parts::text(rows_);
  b.cols = parts::text(cols_);
  parts::setDisabled(ok_, !dialogs::tableOkEnabled(b));
}

void TableDialog::ok() {
  dialogs::TableBoxes b;
  b.rows = parts::text(rows_);
  b.cols = parts::text(cols_);
  b.width = parts::text(width_);
  b.percent = parts::selectedIndex(scale_) == 0;
  b.border = parts::text(border_);
  b.padding = parts::text(padding_);
  b.spacing = parts::text(spacing_);
  if (!dialogs::tableOkEnabled(b)) return;
  for (const val& a : alerts_) parts::say(a, "");
  const dialogs::TableProblem problem = dialogs::checkTable(b);
  if (problem.box != dialogs::TableBox::none) {
    const auto index = static_cast<std::size_t>(problem.box) - 1;
    parts::say(alerts_[index], problem.message);
    const val boxes[] = {rows_, cols_, width_, border_, padding_, spacing_};
    boxes[index].call<void>("setAttribute", std::string("aria-invalid"), std::string("true"));
    boxes[index].call<void>("focus");
    return;
  }
  auto done = std::move(done_);
  dialog_->close();
  if (done)
    done(TableChoice{b.rows, b.cols, b.border, b.padding, b.spacing, b.width, dialogs::tableWidth(b)});
}

// ---- SpecialCharactersDialog

SpecialCharactersDialog::SpecialCharactersDialog(val root) : root_(std::move(root)) {}

void SpecialCharactersDialog::show(std::function<void(const std::string&)> done) {
  if (dialog_ && dialog_->isOpen()) return;
  done_ = std::move(done);
  dialog_ = std::make_unique<ModalDialog>(root_, "Special Characters", "vellmar-special-dialog");
  ModalDialog& d = *dialog_;
  val frame = parts::element("fieldset", "vellmar-special-frame");
  frame.call<void>("appendChild", parts::element("legend", {}, "Select Character"));
  list_ = parts::listBox(12);
  list_.call<void>("setAttribute", std::string("aria-label"), std::string("Select Character"));
  std::vector<std::string> entries;
  for (const auto& c : dialogs::specialCharacters()) entries.push_back(dialogs::specialCharacterEntry(c));
  parts::setEntries(list_, entries);
  frame.call<void>("appendChild", list_);
  d.body().call<void>("appendChild", frame);
  // Enter in the list and a double click choose, as OK does.
  d.route().listen(list_, "dblclick", [this](const val&) { ok(); });
  d.route().listen(list_, "keydown", [this](const val& event) {
    if (event["key"].as<std::string>() != "Enter") return;
    event.call<void>("preventDefault");
    ok();
  });
  d.addButton("OK", [this] { ok(); }, ModalDialog::Role::accept);
  d.addButton("Cancel", [this] {
    done_ = nullptr;
    dialog_->close();
  }, ModalDialog::Role::cancel);
  d.show(list_);
}

void SpecialCharactersDialog::ok() {
  const int i = parts::selectedIndex(list_);
  const std::string result = i >= 0 ? list_["options"][i]["text"].as<std::string>() : std::string();
  auto done = std::move(done_);
  dialog_->close();
  // Nothing chosen inserts nothing.
  if (done && !result.empty()) done(result);
}

// ---- AboutDialog

AboutDialog::AboutDialog(val root, MessageBoxes& boxes) : root_(std::move(root)), boxes_(boxes) {}

void AboutDialog::show() {
  if (dialog_ && dialog_->isOpen()) return;
  dialog_ = std::make_unique<ModalDialog>(root_, std::string(dialogs::kAboutCaption), "vellmar-about-dialog");
  ModalDialog& d = *dialog_;
  val icon = d.makeButton("V2", [this] {
    boxes_.show(std::string(dialogs::kAboutThanks), std::string(dialogs::kAboutCaption));
  });
  icon.call<void>("setAttribute", std::string("class"), std::string("vellmar-about-icon"));
  icon.call<void>("setAttribute", std::string("aria-label"), std::string("Vellmar 2"));
  d.body().call<void>("appendChild", icon);
  val text = parts::element("div", "vellmar-about-text");
  text.call<void>("appendChild", parts::element("h2", "vellmar-about-title", std::string(dialogs::kAboutTitle)));
  text.call<void>("appendChild",
                  parts::element("p", "vellmar-about-version", dialogs::aboutVersionLine(productVersion())));
  text.call<void>("appendChild", parts::element("p", "vellmar-about-credit", std::string(dialogs::kAboutCredit)));
  val visit = parts::element("p", {}, "Visit us at: ");
  val link = parts::element("a", {}, std::string(dialogs::kMakerAddress));
  link.set("href", std::string(dialogs::kMakerAddress));
  link.set("target", std::string("_blank"));
  link.set("rel", std::string("noopener"));
  visit.call<void>("appendChild", link);
  text.call<void>("appendChild", visit);
  d.body().call<void>("appendChild", text);
  val ok = d.addButton("OK", [this] { dialog_->close(); }, ModalDialog::Role::accept);
  d.setEscape([this] { dialog_->close(); });
  d.show(ok);
}

}  // namespace vellmar::browser
