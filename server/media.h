#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "server/database.h"

namespace vellmar::server {

enum class ImageType { none, gif, jpeg, png };

struct ImageInfo {
  ImageType type = ImageType::none;
  int width = 0;   // 0 when the header does not say
  int height = 0;
};

// Recognises an image by its first bytes (GIF, JPEG or PNG) and reads its pixel size from its
// header. Anything else is ImageType::none, whatever its name or declared type claims.
ImageInfo inspectImage(std::string_view bytes);
const char* extensionOf(ImageType type);  // "gif", "jpg", "png"
const char* mimeTypeOf(ImageType type);

// The last component of a file name as a browser or the editor sends it: the editor sends the
// full local path ("C:\pics\Logo.GIF"), which is split at both kinds of separator.
std::string lastPathComponent(std::string_view path);
// A display name fit for the image list: no control characters and none of "<", ">", "&" (the
// list is read without entity decoding), single spaces, at most 100 bytes.
std::string cleanDisplayName(std::string_view name);
// A file name stem built from a display name: lower-case letters, digits, "-" and "_" only, never
// empty, at most 48 bytes. Nothing in it can leave the media folder.
std::string safeFileStem(std::string_view name);
// The file name that an image path of this server ("/media/NAME") names, when it names one:
// a single path component, no leading ".", no separators. Otherwise nothing.
std::optional<std::string> mediaFileOfPath(std::string_view imagePath);
// True for a file name that mediaFileOfPath could have produced.
bool isSafeMediaFileName(std::string_view name);

// A refused upload or delete: the HTTP status and the short text the client receives.
class RequestError : public std::runtime_error {
 public:
  RequestError(int status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

struct StoredImage {
  std::string name;  // display name
  std::string file;  // file name inside the media folder
  std::int64_t size = 0;
  int width = 0;
  int height = 0;
};

// The images: files in the media folder, one database record each. A file is written under a
// temporary name and linked to its final name only when complete, and an existing file is never
// replaced; the record is committed after the file, so a crash leaves at most an unlisted file,
// never a record without its file.
class MediaStore {
 public:
  static constexpr const char* kUrlPrefix = "/media/";

  MediaStore(Database& db, std::filesystem::path dir);

  // Creates the folder and removes temporary files a crash left behind.
  void prepare();
  const std::filesystem::path& dir() const { return dir_; }

  // Stores a checked image. Throws RequestError (415 when `bytes` is no image).
  StoredImage add(std::string_view displayName, std::string_view bytes);
  // Deletes the image named by `imagePath`; throws RequestError 400 when it names no image here.
  StoredImage remove(std::string_view imagePath);
  // The image list document, in display-name order.
  std::string listDocument();

 private:
  std::string linkUnderFreeName(const std::filesystem::path& temp, const std::string& stem,
                                const char* extension);

  Database& db_;
  std::filesystem::path dir_;
  std::mutex mutex_;  // one upload or delete at a time, so names are chosen without races
};

}  // namespace vellmar::server
