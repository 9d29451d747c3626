#include "editor/local_files.h"

#include <cstdio>

#include "common/diagnostics.h"
#include "http/charset.h"

namespace vellmar::editor {

namespace {

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool endsWithNoCase(std::string_view s, std::string_view suffix) {
  if (s.size() < suffix.size()) return false;
  for (std::size_t i = 0; i < suffix.size(); ++i) {
    if (lower(s[s.size() - suffix.size() + i]) != suffix[i]) return false;
  }
  return true;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

void appendEscaped(std::string& out, std::string_view text) {
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '\t': out += ' '; break;
      default: out += c;
    }
  }
}

}  // namespace

LocalFileKind localFileKind(std::string_view name, std::string_view text) {
  for (std::string_view ext : {".htm", ".html", ".xhtml", ".shtml"}) {
    if (endsWithNoCase(name, ext)) return LocalFileKind::html;
  }
  for (std::string_view ext : {".txt", ".text"}) {
    if (endsWithNoCase(name, ext)) return LocalFileKind::text;
  }
  std::size_t i = 0;
  if (text.starts_with("\xEF\xBB\xBF")) i = 3;
  while (i < text.size() && isBlank(text[i])) ++i;
  if (i + 1 < text.size() && text[i] == '<') {
    const char next = text[i + 1];
    if ((next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z') || next == '!') {
      return LocalFileKind::html;
    }
  }
  return LocalFileKind::text;
}

bool looksLikeText(std::string_view bytes) {
  // UTF-16 text holds NUL bytes of its own; its byte order mark says so.
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return bytes.size() % 2 == 0;
  const std::size_t sample = std::min<std::size_t>(bytes.size(), 64 * 1024);
  std::size_t control = 0;
  for (std::size_t i = 0; i < sample; ++i) {
    const auto b = static_cast<unsigned char>(bytes[i]);
    if (b == 0) return false;
    if (b < 0x20 && b != '\t' && b != '\n' && b != '\r' && b != '\f' && b != 0x1B) ++control;
  }
  // A stray control character happens in text; one in a hundred does not.
  return control * 100 <= sample;
}

std::string decodeLocalFile(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  if (bytes.starts_with("\xFF\xFE")) {
    return http::decodeAnswer(bytes.substr(2), "text/plain; charset=utf-16le");
  }
  if (bytes.starts_with("\xFE\xFF")) {
    return http::decodeAnswer(bytes.substr(2), "text/plain; charset=utf-16be");
  }
  if (http::isValidUtf8(bytes)) return std::string(bytes);
  return http::decodeAnswer(bytes, "text/plain; charset=windows-1252");
}

std::string textToHtml(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8 + 16);
  // Lines, with CR LF, CR and LF all ending one.
  std::string paragraph;
  bool lineOpen = false;
  auto endParagraph = [&] {
    if (!paragraph.empty()) out.append("<p>").append(paragraph).append("</p>");
    paragraph.clear();
  };
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    bool blank = true;
    for (char c : line) blank = blank && isBlank(c);
    if (blank) {
      endParagraph();
      lineOpen = false;
    } else {
      if (lineOpen) paragraph.append("<br>");
      appendEscaped(paragraph, line);
      lineOpen = true;
    }
    if (end == text.size()) break;
    start = end + ((text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1);
  }
  endParagraph();
  return out;
}

std::string openErrorMessage(std::string_view path) {
  return "There was an error opening the file " + std::string(path) +
         ".  File does not exist or is locked.";
}

std::string notTextMessage(std::string_view path) {
  return "The file " + std::string(path) +
         " is not an HTML or text file.  It was not opened.";
}

std::string tooLargeMessage(std::string_view path, std::uint64_t size) {
  char megabytes[32];
  std::snprintf(megabytes, sizeof megabytes, "%.1f",
                static_cast<double>(size) / (1024.0 * 1024.0));
  return "The file " + std::string(path) + " is too large to open (" + megabytes +
         " MB).  Files of up to " + std::to_string(kMaxLocalFileBytes / (1024 * 1024)) +
         " MB can be opened.";
}

bool LocalFiles::shouldOpen(std::string_view path) const {
  return !path.empty() && path != currentFile_;
}

bool LocalFiles::sizeAllowed(const std::string& path, std::uint64_t size) {
  if (size <= kMaxLocalFileBytes) return true;
  if (hooks_.showMessage) hooks_.showMessage(tooLargeMessage(path, size), std::string(kOpenErrorCaption));
  return false;
}

bool LocalFiles::fileRead(const std::string& path, std::string_view bytes) {
  if (!sizeAllowed(path, bytes.size())) return false;
  if (!looksLikeText(bytes)) {
    if (hooks_.showMessage) hooks_.showMessage(notTextMessage(path), std::string(kOpenErrorCaption));
    return false;
  }
  bool loaded = false;
  guarded("readAndOpenLocalFile", [&] {
    std::string text = decodeLocalFile(bytes);
    if (localFileKind(path, text) == LocalFileKind::text) text = textToHtml(text);
    if (hooks_.loadContent) hooks_.loadContent(text);
    currentFile_ = path;
    loaded = true;
  });
  if (!loaded) {
    openFailed(path);
    return false;
  }
  if (hooks_.fillRecentFiles) hooks_.fillRecentFiles(path);
  return true;
}

void LocalFiles::openFailed(const std::string& path) {
  if (hooks_.showMessage) hooks_.showMessage(openErrorMessage(path), std::string(kOpenErrorCaption));
}

std::string LocalFiles::saveAsName(std::string_view defaultName) const {
  if (!defaultName.empty()) return std::string(defaultName);
  if (!currentFile_.empty()) return currentFile_;
  const bool text = hooks_.saveContentMethod && hooks_.saveContentMethod() == 1;
  return text ? "Untitled.txt" : "Untitled.htm";
}

std::optional<std::string> LocalFiles::textToSave() const {
  if (!hooks_.documentText) return std::nullopt;
  auto text = hooks_.documentText();
  if (!text) debugLog("The document could not be prepared.");
  return text;
}

void LocalFiles::saved(const std::string& path) {
  currentFile_ = path;
  if (hooks_.fillRecentFiles) hooks_.fillRecentFiles(path);
}

}  // namespace vellmar::editor
