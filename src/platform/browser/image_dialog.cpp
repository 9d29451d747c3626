// frmImage on the page: the image list, its preview, the upload and delete tabs.
#include <emscripten/val.h>

#include <map>

#include "common/diagnostics.h"
#include "dialogs/message_window.h"
#include "editor/properties.h"
#include "platform/browser/dialog_views.h"
#include "platform/browser/dom.h"
#include "platform/browser/fetch_transport.h"

namespace vellmar::browser {

namespace {

using emscripten::val;
using parts::element;
using parts::labelled;

editor::PropertySet& props() { return editor::PropertySet::shared(); }

constexpr const char* kPreviewDetails = "<i>Image data not displayed.</i>";

std::string mimeFor(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  std::string ext = dot == std::string_view::npos ? std::string() : std::string(path.substr(dot + 1));
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "png") return "image/png";
  if (ext == "gif") return "image/gif";
  if (ext == "jpg" || ext == "jpeg") return "image/jpeg";
  return "application/octet-stream";
}

val bytesToBlobUrl(const std::string& bytes, const std::string& type) {
  val parts = val::array();
  parts.call<void>("push", dom::byteArrayOf(bytes));
  val options = val::object();
  options.set("type", type);
  val blob = val::global("Blob").new_(parts, options);
  return val::global("URL").call<val>("createObjectURL", blob);
}

// The picked images being uploaded, by the name their form part reads them under: the page's module
// has no file system to keep them in.
std::map<std::string, std::string>& uploadFiles() {
  static std::map<std::string, std::string> files;
  return files;
}

std::string readUploadFile(const std::string& path) {
  const auto it = uploadFiles().find(path);
  if (it == uploadFiles().end()) throw ProcedureError(53, "File not found: " + path);
  return it->second;
}

// The name the upload's form part reads the picked image under.
std::string uploadFileName(std::string_view name) {
  const std::size_t slash = name.find_last_of("/\\");
  if (slash != std::string_view::npos) name.remove_prefix(slash + 1);
  std::string safe;
  for (char c : name) {
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                    c == '.' || c == '-' || c == '_';
    safe += ok ? c : '_';
  }
  if (safe.empty() || safe.front() == '.') safe = "image" + safe;
  return "/tmp/" + safe;
}

}  // namespace

void readPickedImage(EventRoute& route, const val& file, std::function<void(const PickedImage&)> done) {
  auto picked = std::make_shared<PickedImage>();
  picked->fileName = file["name"].as<std::string>();
  auto finish = std::make_shared<std::function<void(const PickedImage&)>>(std::move(done));
  val onBytes = route.callback([&route, picked, finish](const val& buffer) {
    picked->bytes = val::global("Uint8Array").new_(buffer).as<std::string>();
    const val url = bytesToBlobUrl(picked->bytes, "application/octet-stream");
    val image = val::global("Image").new_();
    auto settle = [picked, finish, url, image](bool loaded) {
      if (loaded) {
        picked->picture = true;
        picked->width = image["naturalWidth"].as<int>();
        picked->height = image["naturalHeight"].as<int>();
      }
      val::global("URL").call<void>("revokeObjectURL", url);
      (*finish)(*picked);
    };
    image.set("onload", route.callback([settle](const val&) { settle(true); }));
    image.set("onerror", route.callback([settle](const val&) { settle(false); }));
    image.set("src", url);
  });
  val onFailure = route.callback([picked, finish](const val&) { (*finish)(*picked); });
  file.call<val>("arrayBuffer").call<void>("then", onBytes, onFailure);
}

// ---- ImageUploader

ImageUploader::ImageUploader()
    : exchange_(PageEventLoop::shared(), "Successfully retrieved image upload page.") {
  http::setFileReader(readUploadFile);
  exchange_.done = [this](const std::string& answer) {
    removeFile();
    if (stored) stored(answer);
  };
  exchange_.failed = [this](const std::string& reason) {
    removeFile();
    if (failed) failed(dialogs::failureSentence("The image could not be uploaded", reason));
  };
  exchange_.canceled = [this] {
    removeFile();
    if (canceled) canceled();
  };
  exchange_.progress = [this](std::uint64_t sent, std::uint64_t total) {
    if (progress) progress(sent, total);
  };
}

void ImageUploader::removeFile() {
  if (!file_.empty()) uploadFiles().erase(file_);
  file_.clear();
}

std::string ImageUploader::upload(const PickedImage& image, const std::string& name) {
  const bool chosen = !image.fileName.empty() || !image.bytes.empty();
  std::string refusal = dialogs::uploadRefusal(chosen, name, image.bytes.size(), props().maxUploadSize());
  if (refusal.empty() && (!image.picture || image.bytes.empty())) refusal = dialogs::kNotAnImage;
  if (!refusal.empty()) return refusal;
  removeFile();
  file_ = uploadFileName(image.fileName);
  uploadFiles()[file_] = image.bytes;
  http::ctlHttpRequest& r = exchange_.prepare();
  r.addFormVariable("vmImageName", 0, name);
  r.addFormVariable("vmImageSize", 0, std::to_string(image.bytes.size()));
  r.addFormVariable("vmImageWidth", 0, std::to_string(image.width));
  r.addFormVariable("vmImageHeight", 0, std::to_string(image.height));
  r.addFormVariable("vmImageFile", http::kindFile, file_);
  exchange_.start(1, props().pathToImageUpload(), props().pathToImageUpload());
  return {};
}

void ImageUploader::cancel() { exchange_.cancel(); }

// ---- ImageManagerDialog

ImageManagerDialog::ImageManagerDialog(val root, MessageBoxes& boxes)
    : root_(std::move(root)),
      boxes_(boxes),
      list_(PageEventLoop::shared(), "Successfully retrieved image list."),
      preview_(PageEventLoop::shared(), "Successfully retrieved image preview."),
      delete_(PageEventLoop::shared(), "Successfully retrieved image delete page.") {
  list_.done = [this](const std::string& body) { guarded("ctlHttpList_complete", [&] { listArrived(body); }); };
  list_.failed = [this](const std::string& reason) { listFailed(reason); };
  preview_.done = [this](const std::string& body) {
    guarded("ctlHttpPreview_complete", [&] {
      if (previewProgress_) previewProgress_->stop();
      showPreviewBytes(body, mimeFor(selectedImagePath_));
      updateButtons();
    });
  };
  preview_.failed = [this](const std::string& reason) {
    if (previewProgress_) previewProgress_->stop();
    parts::say(f_.alert, dialogs::failureSentence("The preview could not be loaded", reason));
    updateButtons();
  };
  delete_.done = [this](const std::string&) {
    if (deleteProgress_) deleteProgress_->stop();
    loadList();
  };
  delete_.failed = [this](const std::string& reason) {
    if (deleteProgress_) deleteProgress_->stop();
    parts::say(f_.alert, dialogs::failureSentence("The image could not be deleted", reason));
    updateButtons();
  };
  uploader_.stored = [this](const std::string&) {
    uploadProgress_->stop();
    parts::setHidden(f_.cancelUpload, true);
    parts::setText(f_.file, "");
    parts::setText(f_.name, "");
    picked_ = {};
    clearPreview();
    loadList();
  };
  uploader_.failed = [this](const std::string& sentence) {
    uploadProgress_->stop();
    parts::setHidden(f_.cancelUpload, true);
    parts::say(f_.alert, sentence);
    updateButtons();
  };
  uploader_.progress = [this](std::uint64_t sent, std::uint64_t total) {
    if (uploadProgress_) uploadProgress_->show(sent, total);
  };
  uploader_.canceled = [this] {
    uploadProgress_->stop();
    parts::setHidden(f_.cancelUpload, true);
    parts::say(f_.alert, "The upload was cancelled; nothing was stored.");
    updateButtons();
  };
}

ImageManagerDialog::~ImageManagerDialog() { clearPreview(); }

void ImageManagerDialog::build() {
  dialog_ = std::make_unique<ModalDialog>(root_, "Images", "vellmar-image-dialog");
  ModalDialog& d = *dialog_;
  tabs_ = std::make_unique<parts::TabStrip>(d.body(), d.route());
  val columns = element("div", "vellmar-image-columns");
  d.body().call<void>("appendChild", columns);

  for (const std::string& tab : dialogs::imageTabs(props())) {
    val page = tabs_->add(tab);
    if (tab == "Insert") {
      page.call<void>("setAttribute", std::string("aria-label"), std::string("Select Image"));
      f_.insertList = parts::listBox(8);
      labelled(page, "Image:", f_.insertList);
      std::vector<std::string> aligns;
      for (const auto a : dialogs::kAlignments) aligns.emplace_back(a);
      f_.align = parts::dropDown(aligns);
      labelled(page, "Alignment:", f_.align);
      val grid = element("div", "vellmar-image-numbers");
      page.call<void>("appendChild", grid);
      f_.width = parts::textBox();
      labelled(grid, "Width:", f_.width);
      f_.height = parts::textBox();
      labelled(grid, "Height:", f_.height);
      f_.vspace = parts::textBox();
      labelled(grid, "V Space:", f_.vspace);
      f_.hspace = parts::textBox();
      labelled(grid, "H Space:", f_.hspace);
      f_.border = parts::textBox();
      labelled(grid, "Border:", f_.border);
      f_.alt = parts::textBox();
      labelled(page, "Alt Text:", f_.alt);
      insertProgress_ = std::make_unique<parts::Progress>(page, "Loading images");
      d.route().listen(f_.insertList, "change", [this](const val&) {
        const int i = parts::selectedIndex(f_.insertList);
        if (!f_.deleteList.isUndefined()) parts::select(f_.deleteList, i);
        choose(i);
      });
    } else if (tab == "Upload") {
      page.call<void>("setAttribute", std::string("aria-label"), std::string("Upload Image"));
      val row = element("div", "vellmar-image-file");
      page.call<void>("appendChild", row);
      f_.file = parts::textBox();
      f_.file.set("readOnly", true);
      labelled(row, "Select File:", f_.file);
      f_.fileInput = element("input");
      f_.fileInput.set("type", std::string("file"));
      f_.fileInput.set("accept", std::string("image/gif,image/jpeg,image/png,.gif,.jpg,.jpeg,.png"));
      f_.fileInput.set("hidden", true);
      row.call<void>("appendChild", f_.fileInput);
      f_.browse = d.makeButton("Browse...", [this] { f_.fileInput.call<void>("click"); });
      row.call<void>("appendChild", f_.browse);
      d.route().listen(f_.fileInput, "change", [this](const val&) {
        const val files = f_.fileInput["files"];
        if (files["length"].as<int>() > 0) filePicked(files[0]);
      });
      f_.name = parts::textBox();
      labelled(page, "Image Name:", f_.name);
      d.route().listen(f_.name, "input", [this](const val&) { updateButtons(); });
      f_.uploadButton = d.makeButton("Upload Image", [this] { upload(); });
      page.call<void>("appendChild", f_.uploadButton);
      f_.cancelUpload = d.makeButton("Cancel Upload", [this] { uploader_.cancel(); });
      f_.cancelUpload.set("hidden", true);
      page.call<void>("appendChild", f_.cancelUpload);
      uploadProgress_ = std::make_unique<parts::Progress>(page, "Uploading image");
    } else {
      page.call<void>("setAttribute", std::string("aria-label"), std::string("Delete Image"));
      f_.deleteList = parts::listBox(8);
      labelled(page, "Image:", f_.deleteList);
      f_.deleteButton = d.makeButton("Delete", [this] { deleteImage(); });
      page.call<void>("appendChild", f_.deleteButton);
      deleteProgress_ = std::make_unique<parts::Progress>(page, "Deleting image");
      d.route().listen(f_.deleteList, "change", [this](const val&) {
        const int i = parts::selectedIndex(f_.deleteList);
        parts::select(f_.insertList, i);
        choose(i);
      });
    }
  }
  val frame = element("fieldset", "vellmar-image-preview");
  frame.call<void>("appendChild", element("legend", {}, "Thumbnail Preview"));
  f_.preview = element("img", "vellmar-image-picture");
  f_.preview.set("alt", std::string(""));
  f_.preview.set("hidden", true);
  frame.call<void>("appendChild", f_.preview);
  val size = element("p", "vellmar-image-size", "File Size: ");
  f_.size = element("output");
  size.call<void>("appendChild", f_.size);
  frame.call<void>("appendChild", size);
  previewProgress_ = std::make_unique<parts::Progress>(frame, "Loading preview");
  d.body().call<void>("appendChild", frame);
  f_.alert = parts::alertLine();
  d.body().call<void>("appendChild", f_.alert);

  f_.ok = d.addButton("OK", [this] { ok(); }, ModalDialog::Role::accept);
  d.addButton("Cancel", [this] { cancel(); }, ModalDialog::Role::cancel);
  tabs_->chosen = [this](const std::string& tab) { tabChosen(tab); };
  d.onClosed = [this] {
    list_.cancel();
    preview_.cancel();
    delete_.cancel();
    uploader_.cancel();
    clearPreview();
  };
}

void ImageManagerDialog::show(std::function<void(const ImageChoice&)> done) {
  if (dialog_ && dialog_->isOpen()) return;
  f_ = Fields{};
  insertProgress_.reset();
  uploadProgress_.reset();
  deleteProgress_.reset();
  previewProgress_.reset();
  tabs_.reset();
  dialog_.reset();
  done_ = std::move(done);
  images_.clear();
  listLoaded_ = false;
  selectedImagePath_.clear();
  picked_ = {};
  build();
  dialog_->show(f_.insertList);
  loadList();
}

void ImageManagerDialog::loadList() {
  for (val* box : {&f_.width, &f_.height, &f_.vspace, &f_.hspace, &f_.border, &f_.alt})
    parts::setText(*box, "");
  parts::select(f_.align, 0);
  const std::vector<std::string> loading{std::string(dialogs::kLoadingEntry)};
  parts::setEntries(f_.insertList, loading);
  if (!f_.deleteList.isUndefined()) parts::setEntries(f_.deleteList, loading);
  images_.clear();
  listLoaded_ = false;
  parts::say(f_.alert, "");
  const std::string& path = props().pathToImageList();
  if (path.empty()) {
    listLoaded_ = true;
    showImages();
    return;
  }
  insertProgress_->start();
  if (deleteProgress_) deleteProgress_->start();
  list_.prepare();
  list_.start(0, path, path);
  updateButtons();
}

void ImageManagerDialog::listArrived(const std::string& body) {
  insertProgress_->stop();
  if (deleteProgress_) deleteProgress_->stop();
  auto images = dialogs::readImageList(body);
  if (!images) {
    dialogs::showMessage(dialogs::imageListFailurePage(props().pathToImageList(), body), "HTTP Error",
                         "", 6000, 4000, false);
    parts::say(f_.alert, "The image list from the server could not be read.");
  }
  images_ = images ? std::move(*images) : std::vector<dialogs::ImageEntry>{};
  listLoaded_ = true;
  showImages();
}

void ImageManagerDialog::listFailed(const std::string& reason) {
  insertProgress_->stop();
  if (deleteProgress_) deleteProgress_->stop();
  images_.clear();
  listLoaded_ = true;
  showImages();
  parts::say(f_.alert, dialogs::failureSentence("The image list could not be loaded", reason));
}

void ImageManagerDialog::showImages() {
  std::vector<std::string> names;
  for (const auto& image : images_) names.push_back(image.name);
  if (names.empty()) names.emplace_back(dialogs::kNoImagesEntry);
  parts::setEntries(f_.insertList, names);
  if (!f_.deleteList.isUndefined()) parts::setEntries(f_.deleteList, names);
  if (!images_.empty()) {
    parts::select(f_.insertList, 0);
    if (!f_.deleteList.isUndefined()) parts::select(f_.deleteList, 0);
    choose(0);
  }
  updateButtons();
}

void ImageManagerDialog::updateButtons() {
  if (!dialog_) return;
  const bool have = !images_.empty();
  const bool fixedSize = props().isOn("DisableEditImageWidthHeight");
  const bool uploading = uploader_.busy();
  for (val* c : {&f_.insertList, &f_.align, &f_.vspace, &f_.hspace, &f_.border, &f_.alt})
    parts::setDisabled(*c, !have);
  parts::setDisabled(f_.width, !have || fixedSize);
  parts::setDisabled(f_.height, !have || fixedSize);
  if (!f_.deleteList.isUndefined()) {
    parts::setDisabled(f_.deleteList, !have);
    parts::setDisabled(f_.deleteButton, !have || delete_.busy());
  }
  if (!f_.uploadButton.isUndefined()) {
    parts::setDisabled(f_.uploadButton,
                       uploading || !dialogs::uploadReady(parts::text(f_.file), parts::text(f_.name)));
    parts::setDisabled(f_.browse, uploading);
  }
  parts::setDisabled(f_.ok, !have || tabs_->current() != "Insert" || uploading || !listLoaded_);
  tabs_->setDisabled(list_.busy() || preview_.busy() || uploading || delete_.busy());
}

void ImageManagerDialog::choose(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= images_.size()) return;
  const dialogs::ImageDetails d = dialogs::imageDetails(images_[static_cast<std::size_t>(index)]);
  parts::setText(f_.alt, d.alt);
  f_.size.set("value", d.sizeText);
  parts::setText(f_.width, d.width);
  parts::setText(f_.height, d.height);
  selectedImagePath_ = d.path;
  requestPreview();
}

void ImageManagerDialog::requestPreview() {
  if (tabs_->current() == "Upload" && parts::text(f_.file).empty()) {
    f_.size.set("value", std::string());
    return;
  }
  if (selectedImagePath_.empty()) return;
  previewProgress_->start();
  preview_.prepare();
  preview_.start(0, selectedImagePath_, selectedImagePath_, kPreviewDetails);
  updateButtons();
}

void ImageManagerDialog::showPreviewBytes(const std::string& bytes, const std::string& type) {
  if (!previewUrl_.empty()) val::global("URL").call<void>("revokeObjectURL", previewUrl_);
  previewUrl_ = bytesToBlobUrl(bytes, type).as<std::string>();
  f_.preview.set("src", previewUrl_);
  f_.preview.set("hidden", false);
  f_.size.set("value", dialogs::fileSizeText(bytes.size()));
}

void ImageManagerDialog::clearPreview() {
  if (!previewUrl_.empty()) val::global("URL").call<void>("revokeObjectURL", previewUrl_);
  previewUrl_.clear();
  if (f_.preview.isUndefined()) return;
  f_.preview.call<void>("removeAttribute", std::string("src"));
  f_.preview.set("hidden", true);
  f_.size.set("value", std::string());
}

void ImageManagerDialog::tabChosen(const std::string& tab) {
  if (tab == "Insert") {
    clearPreview();
    const int i = parts::selectedIndex(f_.insertList);
    if (i >= 0 && !images_.empty()) choose(i);
  } else if (tab == "Upload") {
    clearPreview();
    parts::setText(f_.file, "");
    parts::setText(f_.name, "");
    picked_ = {};
  }
  updateButtons();
}

void ImageManagerDialog::filePicked(const val& file) {
  readPickedImage(dialog_->route(), file, [this](const PickedImage& image) {
    if (!image.picture) {
      boxes_.show(std::string(dialogs::kNotAnImage), "Images");
      return;
    }
    picked_ = image;
    parts::setText(f_.file, image.fileName);
    if (parts::text(f_.name).empty()) parts::setText(f_.name, dialogs::imageNameForFile(image.fileName));
    showPreviewBytes(image.bytes, mimeFor(image.fileName));
    updateButtons();
  });
}

void ImageManagerDialog::upload() {
  if (uploader_.busy()) return;
  const std::string refusal = uploader_.upload(picked_, parts::text(f_.name));
  if (!refusal.empty()) {
    boxes_.show(refusal, "Images");
    return;
  }
  parts::say(f_.alert, "");
  uploadProgress_->start();
  parts::setHidden(f_.cancelUpload, false);
  updateButtons();
}

void ImageManagerDialog::deleteImage() {
  const int index = parts::selectedIndex(f_.deleteList);
  if (index < 0 || static_cast<std::size_t>(index) >= images_.size()) return;
  const dialogs::ImageEntry image = images_[static_cast<std::size_t>(index)];
  boxes_.show(std::string(dialogs::kDeleteQuestion), "Delete Image", MessageButtons::okCancel,
              [this, image](MessageAnswer answer) {
                if (answer != MessageAnswer::ok || !dialog_ || !dialog_->isOpen()) return;
                http::ctlHttpRequest& r = delete_.prepare();
                for (const auto& [name, value] : image.fields) r.addFormVariable(name, 0, value);
                deleteProgress_->start();
                delete_.start(1, props().pathToImageDelete(), props().pathToImageDelete());
                updateButtons();
              });
}

void ImageManagerDialog::ok() {
  if (tabs_->current() != "Insert" || images_.empty()) return;
  dialogs::ImageBoxes boxes;
  const int a = parts::selectedIndex(f_.align);
  boxes.alignment = a >= 0 ? std::string(dialogs::kAlignments[a]) : std::string();
  boxes.width = parts::text(f_.width);
  boxes.height = parts::text(f_.height);
  boxes.vSpace = parts::text(f_.vspace);
  boxes.hSpace = parts::text(f_.hspace);
  boxes.border = parts::text(f_.border);
  boxes.alt = parts::text(f_.alt);
  const dialogs::ImageResult r = dialogs::imageResult(selectedImagePath_, boxes);
  auto done = std::move(done_);
  dialog_->close();
  if (done && !r.imagePath.empty())
    done(ImageChoice{r.imagePath, r.alignment, r.altText, r.borderWidth, r.imageWidth, r.imageHeight,
                     r.vSpace, r.hSpace});
}

void ImageManagerDialog::cancel() {
  done_ = nullptr;
  dialog_->close();
}

}  // namespace vellmar::browser
