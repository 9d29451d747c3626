#include "platform/browser/image_drop.h"

#include <algorithm>

#include "common/diagnostics.h"
#include "dialogs/image_manager.h"
#include "editor/properties.h"
#include "platform/browser/dom.h"
#include "platform/browser/editor_commands.h"
#include "platform/browser/fetch_transport.h"
#include "platform/browser/modal_dialog.h"

namespace vellmar::browser {

using emscripten::val;

namespace {
editor::PropertySet& props() { return editor::PropertySet::shared(); }
constexpr const char* kCaption = "Images";
}  // namespace

ImageDrop::ImageDrop(EditorCommands& commands, MessageBoxes& boxes)
    : commands_(commands),
      boxes_(boxes),
      list_(PageEventLoop::shared(), "Successfully retrieved image list.") {
  uploader_.stored = [this](const std::string& answer) {
    answer_ = answer;
    const std::string& path = props().pathToImageList();
    if (path.empty()) {
      // Nowhere to learn the stored image's path from: it stays in the server's list only.
      finishOne();
      return;
    }
    list_.prepare();
    list_.start(0, path, path);
  };
  uploader_.failed = [this](const std::string& sentence) { refuse(sentence); };
  uploader_.canceled = [this] { finishOne(); };
  list_.done = [this](const std::string& body) {
    guarded("ctlHttpList_complete", [&] { listArrived(body); });
  };
  list_.failed = [this](const std::string& reason) {
    refuse(dialogs::failureSentence("The image list could not be loaded", reason));
  };
}

void ImageDrop::add(const val& files, const val& range) {
  // The files of a drop or a paste can be read only while its event lasts: they are taken now.
  const val list = val::global("Array").call<val>("from", files);
  const int count = list["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    // Each file goes after the one before it: the range is kept as the first left it.
    pending_.push_back({list[i], range});
  }
  if (!working_) next();
}

void ImageDrop::next() {
  if (pending_.empty()) {
    working_ = false;
    return;
  }
  working_ = true;
  const val file = pending_.front().file;
  readPickedImage(route_, file, [this](const PickedImage& image) {
    guarded("ImageDrop_read", [&] { picked(image); });
  });
}

void ImageDrop::picked(const PickedImage& image) {
  const std::vector<std::string> tabs = dialogs::imageTabs(props());
  if (std::find(tabs.begin(), tabs.end(), "Upload") == tabs.end()) {
    // The page allows no uploads: nothing goes in, and the browser's own copy was refused.
    refuse("Images cannot be uploaded here.");
    return;
  }
  name_ = dialogs::imageNameForFile(image.fileName);
  const std::string refusal = uploader_.upload(image, name_);
  if (!refusal.empty()) refuse(refusal);
}

void ImageDrop::listArrived(const std::string& answer) {
  const auto images = dialogs::readImageList(answer);
  const dialogs::ImageEntry* stored =
      images ? dialogs::storedImage(*images, answer_, name_) : nullptr;
  if (!stored) {
    refuse("The image was stored, but the image list does not show where.");
    return;
  }
  const std::string path = stored->field("vmImagePath");
  val range = pending_.front().range;
  const val body = range["startContainer"]["ownerDocument"]["body"];
  // A document replaced meanwhile has no place for it; it stays in the image list.
  if (!body.isNull() && body.call<bool>("contains", range["startContainer"])) {
    const val doc = range["startContainer"]["ownerDocument"];
    // An image selected as a whole (the one dropped before) would be replaced: the drop point is
    // the selection now.
    dom::setControlSelection(doc, dom::Element());
    const val selection = doc.call<val>("getSelection");
    selection.call<void>("removeAllRanges");
    selection.call<void>("addRange", range);
    ImageChoice choice;
    choice.path = path;
    choice.alt = stored->field("vmImageName");
    commands_.applyImage(choice);
    // The next file goes after this one.
    const val placed = doc.call<val>("getSelection");
    if (placed["rangeCount"].as<int>() > 0) {
      val after = placed.call<val>("getRangeAt", 0).call<val>("cloneRange");
      after.call<void>("collapse", false);
      for (std::size_t i = 1; i < pending_.size(); ++i) {
        if (pending_[i].range.strictlyEquals(range)) pending_[i].range = after;
      }
    }
  }
  finishOne();
}

void ImageDrop::refuse(const std::string& message) {
  boxes_.show(message, kCaption);
  finishOne();
}

void ImageDrop::finishOne() {
  if (!pending_.empty()) pending_.pop_front();
  next();
}

}  // namespace vellmar::browser
