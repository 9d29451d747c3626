#include "server/editor_files.h"

#include <httplib.h>
#include <zlib.h>

#include <cstdio>
#include <stdexcept>

#include "server/text.h"

namespace vellmar::server {

namespace fs = std::filesystem;

namespace {

// A file of the folder that vanished between its check and its reading is the server's error.
std::string readFileOrThrow(const fs::path& path) {
  auto bytes = readWholeFile(path);
  if (!bytes) throw std::runtime_error("cannot read " + path.string());
  return std::move(*bytes);
}

// Calls `each` with every comma-separated item of a header, trimmed.
template <typename F>
void forEachItem(std::string_view header, F each) {
  while (!header.empty()) {
    const auto comma = header.find(',');
    each(trim(header.substr(0, comma)));
    if (comma == std::string_view::npos) break;
    header.remove_prefix(comma + 1);
  }
}

// The HTTP library compresses text, JavaScript, JSON and SVG answers itself; WebAssembly it leaves
// alone, so that is compressed here, once per version of the file.
bool compressedHere(std::string_view type) { return type == "application/wasm"; }

bool compressedByLibrary(std::string_view type) {
  return type.rfind("text/", 0) == 0 || type == "image/svg+xml" || type == "application/json";
}

// Only plain names below the folder: no empty, "." or ".." segment and no backslash.
bool safeRelative(std::string_view name) {
  if (name.empty() || name.find('\\') != std::string_view::npos || name.find('\0') != std::string_view::npos)
    return false;
  for (std::string_view rest = name;;) {
    const auto slash = rest.find('/');
    const std::string_view segment = rest.substr(0, slash);
    if (segment.empty() || segment == "." || segment == "..") return false;
    if (slash == std::string_view::npos) return true;
    rest.remove_prefix(slash + 1);
  }
}

}  // namespace

bool acceptsGzip(std::string_view acceptEncoding) {
  bool accepted = false;
  bool refused = false;
  forEachItem(acceptEncoding, [&](std::string_view item) {
    const auto semicolon = item.find(';');
    const std::string_view coding = trim(item.substr(0, semicolon));
    if (!equalsNoCase(coding, "gzip") && !equalsNoCase(coding, "x-gzip") && coding != "*") return;
    bool zero = false;
    if (semicolon != std::string_view::npos) {
      std::string_view q = trim(item.substr(semicolon + 1));
      if (q.size() >= 2 && (q[0] == 'q' || q[0] == 'Q') && q[1] == '=') {
        q.remove_prefix(2);
        zero = q.find_first_not_of("0.") == std::string_view::npos;
      }
    }
    if (coding == "*") {
      if (!zero && !refused) accepted = true;
    } else if (zero) {
      refused = true;
      accepted = false;
    } else {
      accepted = true;
    }
  });
  return accepted && !refused;
}

bool tagMatches(std::string_view ifNoneMatch, std::string_view tag) {
  const auto opaque = [](std::string_view t) {
    if (t.rfind("W/", 0) == 0) t.remove_prefix(2);
    return t;
  };
  bool match = false;
  forEachItem(ifNoneMatch, [&](std::string_view item) {
    if (item == "*" || (!item.empty() && opaque(item) == opaque(tag))) match = true;
  });
  return match;
}

std::string gzipped(std::string_view bytes) {
  z_stream z{};
  // 15 + 16: a gzip header and trailer around the deflate stream.
  if (deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::runtime_error("zlib could not start");
  std::string out(deflateBound(&z, static_cast<uLong>(bytes.size())) + 32, '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  z.avail_in = static_cast<uInt>(bytes.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  const int status = deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  if (status != Z_STREAM_END) throw std::runtime_error("zlib could not compress");
  return out;
}

std::string editorFileType(std::string_view name) {
  const auto dot = name.rfind('.');
  const std::string_view ext = dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
  if (ext == "js" || ext == "mjs") return "text/javascript";
  if (ext == "wasm") return "application/wasm";
  if (ext == "css") return "text/css";
  if (ext == "json") return "application/json";
  if (ext == "html" || ext == "htm") return "text/html";
  if (ext == "svg") return "image/svg+xml";
  if (ext == "png") return "image/png";
  if (ext == "gif") return "image/gif";
  if (ext == "jpg" || ext == "jpeg") return "image/jpeg";
  if (ext == "ts" || ext == "txt" || ext == "dic" || ext == "aff") return "text/plain; charset=utf-8";
  return "application/octet-stream";
}

void EditorFiles::serve(const std::string& relative, const httplib::Request& req, httplib::Response& res) {
  const fs::path path = dir_ / relative;
  std::error_code ec;
  const auto status = fs::status(path, ec);
  if (!safeRelative(relative) || ec || !fs::is_regular_file(status)) {
    res.status = 404;
    res.set_content("404 Not Found " + req.path + "\n", "text/plain");
    return;
  }
  const auto size = fs::file_size(path, ec);
  const auto modified = fs::last_write_time(path, ec).time_since_epoch().count();
  char tagText[64];
  std::snprintf(tagText, sizeof tagText, "\"%jx-%llx", static_cast<std::uintmax_t>(size),
                static_cast<unsigned long long>(modified));

  const std::string type = editorFileType(relative);
  const bool gzip = compressedHere(type) && acceptsGzip(req.get_header_value("Accept-Encoding"));
  // Weak: the same tag stands for the file however it is encoded on the way.
  const std::string tag = "W/" + std::string(tagText) + "\"";

  res.set_header("Cache-Control", "no-cache");
  res.set_header("ETag", tag);
  if (compressedHere(type) || compressedByLibrary(type)) res.set_header("Vary", "Accept-Encoding");
  if (tagMatches(req.get_header_value("If-None-Match"), tag)) {
    res.status = 304;
    return;
  }

  std::string body;
  if (gzip) {
    std::lock_guard lock(mutex_);
    Compressed& c = compressed_[relative];
    if (c.tag != tag) c = {tag, gzipped(readFileOrThrow(path))};
    body = c.bytes;
    res.set_header("Content-Encoding", "gzip");
  } else {
    body = readFileOrThrow(path);
  }
  res.set_content(std::move(body), type);
}

}  // namespace vellmar::server
