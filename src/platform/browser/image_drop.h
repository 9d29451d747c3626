#pragma once

#include <emscripten/val.h>

#include <deque>

#include "dialogs/dialog_exchange.h"
#include "platform/browser/dialog_views.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

class EditorCommands;
class MessageBoxes;

// Image files dropped on the document or pasted into it. Each goes up through the image manager's
// upload (its checks, its messages), one after the other; once the server has stored one, the
// image list is read again to learn its path and the image goes in where it was dropped.
class ImageDrop {
 public:
  ImageDrop(EditorCommands& commands, MessageBoxes& boxes);
  // `files` a FileList or an array of File; `range` where they go in the document.
  void add(const emscripten::val& files, const emscripten::val& range);

 private:
  struct Pending {
    emscripten::val file;
    emscripten::val range;
  };
  void next();
  void picked(const PickedImage& image);
  void listArrived(const std::string& answer);
  void refuse(const std::string& message);
  void finishOne();

  EditorCommands& commands_;
  MessageBoxes& boxes_;
  EventRoute route_{"ImageDrop"};
  ImageUploader uploader_;
  dialogs::DialogExchange list_;
  std::deque<Pending> pending_;
  bool working_ = false;
  std::string name_;    // the name the current file is uploaded under
  std::string answer_;  // the upload page's answer for it
};

}  // namespace vellmar::browser
