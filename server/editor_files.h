#pragma once

// The editor's own files under /vellmar/: vellmar.js, vellmar.wasm, vellmar.css and the spell
// checker's files. A page downloads them before the editor shows, so they go out compressed with
// gzip to a browser that accepts it, and with an entity tag: a browser that has them asks again
// with If-None-Match and gets 304 without the bytes. They are not cached without asking, because
// their names stay the same from one build to the next.

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace vellmar::server {

// Whether an Accept-Encoding header admits gzip ("gzip" or "*" without q=0).
bool acceptsGzip(std::string_view acceptEncoding);

// Whether an If-None-Match header names `tag` (or is "*"); weak tags compare by their value.
bool tagMatches(std::string_view ifNoneMatch, std::string_view tag);

// `bytes` compressed as a gzip member at the best compression.
std::string gzipped(std::string_view bytes);

// The media type the editor's files are served with, by file name.
std::string editorFileType(std::string_view name);

class EditorFiles {
 public:
  explicit EditorFiles(std::filesystem::path dir) : dir_(std::move(dir)) {}

  // Answers GET or HEAD of `relative` (the path below /vellmar/). A name that leaves the folder
  // or names no file gets 404.
  void serve(const std::string& relative, const httplib::Request& req, httplib::Response& res);

 private:
  struct Compressed {
    std::string tag;
    std::string bytes;
  };

  std::filesystem::path dir_;
  std::mutex mutex_;
  std::map<std::string, Compressed> compressed_;  // by relative name; replaced when the file changes
};

}  // namespace vellmar::server
