#pragma once

#include <emscripten/val.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dialogs/dialog_exchange.h"
#include "dialogs/image_manager.h"
#include "dialogs/link_dialog.h"
#include "platform/browser/dialog_parts.h"
#include "platform/browser/editor_commands.h"
#include "platform/browser/modal_dialog.h"

// The editor's dialogs on the page. Each is made on first use and kept for the editor's life;
// showing it again starts it afresh. The rules they follow are the dialogs' models.
namespace vellmar::browser {

// An image file the user picked, dropped or pasted, read into memory and measured as a picture.
struct PickedImage {
  std::string fileName;
  std::string bytes;
  int width = 0;
  int height = 0;
  bool picture = false;  // the browser could show it
};
// Reads `file` (a File) and measures it; `done` gets the result.
void readPickedImage(EventRoute& route, const emscripten::val& file,
                     std::function<void(const PickedImage&)> done);

// The upload exchange with the list that follows it: shared by the dialog's Upload tab and by
// images dropped or pasted into the document.
class ImageUploader {
 public:
  ImageUploader();
  // Sends `image` under `name`; the refusal message (size, name, not a picture) comes back at
  // once instead, and nothing is sent.
  std::string upload(const PickedImage& image, const std::string& name);
  void cancel();
  bool busy() const { return exchange_.busy(); }
  // The server stored it; `answer` is the upload page's answer.
  std::function<void(const std::string& answer)> stored;
  // It failed: one sentence.
  std::function<void(const std::string& sentence)> failed;
  std::function<void()> canceled;
  // Bytes sent of the whole request, as they go.
  std::function<void(std::uint64_t sent, std::uint64_t total)> progress;

 private:
  void removeFile();
  dialogs::DialogExchange exchange_;
  std::string file_;
};

class ImageManagerDialog {
 public:
  ImageManagerDialog(emscripten::val root, MessageBoxes& boxes);
  ~ImageManagerDialog();
  void show(std::function<void(const ImageChoice&)> done);

 private:
  void build();
  void loadList();
  void listArrived(const std::string& body);
  void listFailed(const std::string& reason);
  void showImages();
  void choose(int index);
  void requestPreview();
  void showPreviewBytes(const std::string& bytes, const std::string& type);
  void clearPreview();
  void tabChosen(const std::string& tab);
  void filePicked(const emscripten::val& file);
  void upload();
  void deleteImage();
  void ok();
  void cancel();
  void updateButtons();

  emscripten::val root_;
  MessageBoxes& boxes_;
  std::unique_ptr<ModalDialog> dialog_;
  std::unique_ptr<parts::TabStrip> tabs_;
  std::function<void(const ImageChoice&)> done_;
  std::vector<dialogs::ImageEntry> images_;
  bool listLoaded_ = false;
  std::string selectedImagePath_;
  PickedImage picked_;
  std::string previewUrl_;

  dialogs::DialogExchange list_;
  dialogs::DialogExchange preview_;
  dialogs::DialogExchange delete_;
  ImageUploader uploader_;

  struct Fields {
    emscripten::val insertList = emscripten::val::undefined();
    emscripten::val align = emscripten::val::undefined();
    emscripten::val width = emscripten::val::undefined();
    emscripten::val height = emscripten::val::undefined();
    emscripten::val vspace = emscripten::val::undefined();
    emscripten::val hspace = emscripten::val::undefined();
    emscripten::val border = emscripten::val::undefined();
    emscripten::val alt = emscripten::val::undefined();
    emscripten::val file = emscripten::val::undefined();
    emscripten::val fileInput = emscripten::val::undefined();
    emscripten::val browse = emscripten::val::undefined();
    emscripten::val name = emscripten::val::undefined();
    emscripten::val uploadButton = emscripten::val::undefined();
    emscripten::val cancelUpload = emscripten::val::undefined();
    emscripten::val deleteList = emscripten::val::undefined();
    emscripten::val deleteButton = emscripten::val::undefined();
    emscripten::val preview = emscripten::val::undefined();
    emscripten::val size = emscripten::val::undefined();
    emscripten::val alert = emscripten::val::undefined();
    emscripten::val ok = emscripten::val::undefined();
  };
  Fields f_;
  std::unique_ptr<parts::Progress> insertProgress_, uploadProgress_, deleteProgress_,
      previewProgress_;
};

class LinkDialog {
 public:
  explicit LinkDialog(emscripten::val root);
  ~LinkDialog();
  void show(const LinkChoice& current, std::function<void(const LinkChoice&)> done);

 private:
  struct Page {
    dialogs::LinkTab tab;
    std::unique_ptr<dialogs::DialogExchange> exchange;
    std::vector<dialogs::LinkEntry> entries;
    bool loaded = false;
    bool custom = true;
    emscripten::val list = emscripten::val::undefined();
    emscripten::val typed = emscripten::val::undefined();
    emscripten::val alert = emscripten::val::undefined();
    std::unique_ptr<parts::Progress> progress;
  };
  Page* page(dialogs::LinkTab tab);
  void build();
  void tabChosen(const std::string& caption);
  void listArrived(Page& p, const std::string& body);
  void ok();

  emscripten::val root_;
  std::unique_ptr<ModalDialog> dialog_;
  std::unique_ptr<parts::TabStrip> tabs_;
  std::vector<std::unique_ptr<Page>> pages_;
  emscripten::val target_ = emscripten::val::undefined();
  std::string currentHref_;
  std::string currentTargetText_;
  std::function<void(const LinkChoice&)> done_;
};

class TableDialog {
 public:
  explicit TableDialog(emscripten::val root);
  void show(std::function<void(const TableChoice&)> done);

 private:
  void ok();
  void updateOk();
  emscripten::val root_;
  std::unique_ptr<ModalDialog> dialog_;
  std::function<void(const TableChoice&)> done_;
  emscripten::val rows_ = emscripten::val::undefined();
  emscripten::val cols_ = emscripten::val::undefined();
  emscripten::val width_ = emscripten::val::undefined();
  emscripten::val scale_ = emscripten::val::undefined();
  emscripten::val border_ = emscripten::val::undefined();
  emscripten::val padding_ = emscripten::val::undefined();
  emscripten::val spacing_ = emscripten::val::undefined();
  emscripten::val ok_ = emscripten::val::undefined();
  std::vector<emscripten::val> alerts_;  // beside each box, in TableBox order after none
};

class SpecialCharactersDialog {
 public:
  explicit SpecialCharactersDialog(emscripten::val root);
  void show(std::function<void(const std::string&)> done);

 private:
  void ok();
  emscripten::val root_;
  std::unique_ptr<ModalDialog> dialog_;
  emscripten::val list_ = emscripten::val::undefined();
  std::function<void(const std::string&)> done_;
};

class AboutDialog {
 public:
  AboutDialog(emscripten::val root, MessageBoxes& boxes);
  void show();

 private:
  emscripten::val root_;
  MessageBoxes& boxes_;
  std::unique_ptr<ModalDialog> dialog_;
};

}  // namespace vellmar::browser
