#include "server/media.h"

#include "server/image_size.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <random>
#include <system_error>

namespace vellmar::server {

namespace fs = std::filesystem;

namespace {

constexpr const char* kTempPrefix = ".upload-";

unsigned byteAt(std::string_view b, std::size_t i) { return static_cast<unsigned char>(b[i]); }

std::int64_t nowSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::string randomSuffix() {
  static std::mutex mutex;
  static std::random_device device;
  std::lock_guard lock(mutex);
  return std::to_string(device()) + std::to_string(device());
}

// Makes a finished rename or link survive a crash of the machine.
void syncDirectory(const fs::path& dir) {
  const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

void writeNewFile(const fs::path& path, std::string_view bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) throw RequestError(500, "Cannot store the image: " + std::string(std::strerror(errno)));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const int err = errno;
      ::close(fd);
      ::unlink(path.c_str());
      throw RequestError(500, "Cannot store the image: " + std::string(std::strerror(err)));
    }
    done += static_cast<std::size_t>(n);
  }
  const bool synced = ::fsync(fd) == 0;
  if (::close(fd) != 0 || !synced) {
    ::unlink(path.c_str());
    throw RequestError(500, "Cannot store the image: the disk did not take it.");
  }
}

}  // namespace

ImageInfo inspectImage(std::string_view b) {
  ImageInfo info;
  if (b.size() >= 6 && (b.substr(0, 6) == "GIF87a" || b.substr(0, 6) == "GIF89a")) {
    info.type = ImageType::gif;
  } else if (b.size() >= 8 && b.substr(0, 8) == std::string_view("\x89PNG\r\n\x1a\n", 8)) {
    info.type = ImageType::png;
  } else if (b.size() >= 3 && byteAt(b, 0) == 0xFF && byteAt(b, 1) == 0xD8 && byteAt(b, 2) == 0xFF) {
    info.type = ImageType::jpeg;
  }
  if (info.type != ImageType::none) {
    const auto size = imagePixelSize(b);
    info.width = size.first;
    info.height = size.second;
  }
  return info;
}

const char* extensionOf(ImageType type) {
  switch (type) {
    case ImageType::gif: return "gif";
    case ImageType::jpeg: return "jpg";
    case ImageType::png: return "png";
    case ImageType::none: break;
  }
  return "";
}

const char* mimeTypeOf(ImageType type) {
  switch (type) {
    case ImageType::gif: return "image/gif";
    case ImageType::jpeg: return "image/jpeg";
    case ImageType::png: return "image/png";
    case ImageType::none: break;
  }
  return "application/octet-stream";
}

std::string lastPathComponent(std::string_view path) {
  const auto cut = path.find_last_of("/\\");
  return std::string(cut == std::string_view::npos ? path : path.substr(cut + 1));
}

std::string cleanDisplayName(std::string_view name) {
  std::string out;
  out.reserve(name.size());
  for (char ch : name) {
    const auto c = static_cast<unsigned char>(ch);
    if (c == '<' || c == '>' || c == '&') continue;
    if (c < 0x20 || c == 0x7F || c == ' ') {
      if (!out.empty() && out.back() != ' ') out.push_back(' ');
      continue;
    }
    out.push_back(ch);
  }
  while (!out.empty() && out.back() == ' ') out.pop_back();
  if (out.size() > 100) {
    out.resize(100);
    while (!out.empty() && out.back() == ' ') out.pop_back();
  }
  return out;
}

std::string safeFileStem(std::string_view name) {
  std::string out;
  out.reserve(name.size());
  for (char ch : name) {
    if (ch >= 'A' && ch <= 'Z') {
      out.push_back(static_cast<char>(ch - 'A' + 'a'));
    } else if ((ch >= 'a' && ch <= 'z') || (ch >= '0' && ch <= '9') || ch == '_') {
      out.push_back(ch);
    } else if (!out.empty() && out.back() != '-') {
      out.push_back('-');
    }
    if (out.size() >= 48) break;
  }
  while (!out.empty() && out.back() == '-') out.pop_back();
  return out.empty() ? "image" : out;
}

bool isSafeMediaFileName(std::string_view name) {
  if (name.empty() || name.size() > 200 || name.front() == '.') return false;
  for (char ch : name) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == '/' || c == '\\' || c == 0x7F) return false;
  }
  return true;
}

std::optional<std::string> mediaFileOfPath(std::string_view imagePath) {
  std::string_view prefix = MediaStore::kUrlPrefix;
  if (imagePath.substr(0, prefix.size()) != prefix) return std::nullopt;
  std::string_view name = imagePath.substr(prefix.size());
  if (!isSafeMediaFileName(name)) return std::nullopt;
  return std::string(name);
}

MediaStore::MediaStore(Database& db, fs::path dir) : db_(db), dir_(std::move(dir)) {}

void MediaStore::prepare() {
  std::error_code ec;
  fs::create_directories(dir_, ec);
  if (ec) throw DatabaseError("cannot create media folder " + dir_.string() + ": " + ec.message());
  for (const auto& entry : fs::directory_iterator(dir_, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(kTempPrefix, 0) == 0) fs::remove(entry.path(), ec);
  }
}

std::string MediaStore::linkUnderFreeName(const fs::path& temp, const std::string& stem,
                                          const char* extension) {
  for (int n = 1; n < 100000; ++n) {
    std::string name = stem;
    if (n > 1) name += "-" + std::to_string(n);
    name += ".";
    name += extension;
    const bool recorded = db_.read([&](Connection& c) {
      auto st = c.prepare("SELECT 1 FROM images WHERE file = ?");
      st.bind(1, name);
      return st.step();
    });
    if (recorded) continue;
    // link() refuses an existing target, so a file already there is never replaced.
    if (::link(temp.c_str(), (dir_ / name).c_str()) == 0) return name;
    if (errno != EEXIST)
      throw RequestError(500, "Cannot store the image: " + std::string(std::strerror(errno)));
  }
  throw RequestError(409, "No free file name for this image name.");
}

StoredImage MediaStore::add(std::string_view displayName, std::string_view bytes) {
  const ImageInfo info = inspectImage(bytes);
  if (info.type == ImageType::none)
    throw RequestError(415, "Not an image: only GIF, JPEG and PNG files are accepted.");

  StoredImage image;
  image.name = cleanDisplayName(displayName);
  if (image.name.empty()) throw RequestError(400, "The image needs a name (vmImageName).");
  image.size = static_cast<std::int64_t>(bytes.size());
  image.width = info.width;
  image.height = info.height;

  std::lock_guard lock(mutex_);
  const fs::path temp = dir_ / (kTempPrefix + randomSuffix());
  writeNewFile(temp, bytes);
  try {
    image.file = linkUnderFreeName(temp, safeFileStem(image.name), extensionOf(info.type));
  } catch (...) {
    ::unlink(temp.c_str());
    throw;
  }
  ::unlink(temp.c_str());
  syncDirectory(dir_);

  try {
    db_.write([&](Connection& c) {
      c.prepare("INSERT INTO images(name, file, size, width, height, created) "
                "VALUES(?, ?, ?, ?, ?, ?)")
          .bind(1, image.name)
          .bind(2, image.file)
          .bind(3, image.size)
          .bind(4, image.width)
          .bind(5, image.height)
          .bind(6, nowSeconds())
          .run();
    });
  } catch (...) {
    ::unlink((dir_ / image.file).c_str());
    throw;
  }
  return image;
}

StoredImage MediaStore::remove(std::string_view imagePath) {
  const auto file = mediaFileOfPath(imagePath);
  if (!file)
    throw RequestError(400, "Not an image path of this server: " + std::string(imagePath));

  std::lock_guard lock(mutex_);
  StoredImage image;
  const bool found = db_.write([&](Connection& c) {
    auto st = c.prepare("SELECT name, size, width, height FROM images WHERE file = ?");
    st.bind(1, *file);
    if (!st.step()) return false;
    image.name = st.text(0);
    image.size = st.integer(1);
    image.width = static_cast<int>(st.integer(2));
    image.height = static_cast<int>(st.integer(3));
    c.prepare("DELETE FROM images WHERE file = ?").bind(1, *file).run();
    return true;
  });
  if (!found) throw RequestError(400, "No such image: " + std::string(imagePath));
  image.file = *file;
  // The record is gone; a file that cannot be removed now is merely unlisted.
  std::error_code ec;
  if (fs::is_regular_file(fs::symlink_status(dir_ / *file, ec))) fs::remove(dir_ / *file, ec);
  return image;
}

std::string MediaStore::listDocument() {
  std::string xml = "<images>\r\n";
  db_.read([&](Connection& c) {
    auto st = c.prepare(
        "SELECT name, size, width, height, file FROM images ORDER BY name COLLATE NOCASE, id");
    while (st.step()) {
      xml += "<image><vmImageName>";
      xml += st.text(0);
      xml += "</vmImageName><vmImageSize>";
      xml += std::to_string(st.integer(1));
      xml += "</vmImageSize><vmImageWidth>";
      xml += std::to_string(st.integer(2));
      xml += "</vmImageWidth><vmImageHeight>";
      xml += std::to_string(st.integer(3));
      xml += "</vmImageHeight><vmImagePath>";
      xml += kUrlPrefix;
      xml += st.text(4);
      xml += "</vmImagePath></image>\r\n";
    }
  });
  xml += "</images>\r\n";
  return xml;
}

}  // namespace vellmar::server
