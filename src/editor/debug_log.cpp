#include "editor/debug_log.h"

#include <array>
#include <cstdint>
#include <ctime>

#include "common/diagnostics.h"
#include "editor/properties.h"

namespace vellmar::editor {

LocalTime LocalTime::now() {
  const std::time_t t = std::time(nullptr);
  const std::tm* tm = std::localtime(&t);
  if (!tm) return {};
  return {tm->tm_year + 1900, tm->tm_mon + 1, tm->tm_mday, tm->tm_hour, tm->tm_min, tm->tm_sec};
}

std::string debugLogFileName(const LocalTime& t) {
  std::string name = "\\vellmar_debuglog_";
  for (int part : {t.month, t.day, t.year, t.hour, t.minute, t.second}) {
    name += std::to_string(part);
  }
  name += ".txt";
  return name;
}

namespace {

// Windows-1252 bytes 0x80..0x9F and the characters they stand for (0 where the byte is unused).
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char codePageByte(char32_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(static_cast<unsigned char>(c));
  for (std::size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == c) return static_cast<char>(static_cast<unsigned char>(0x80 + i));
  }
  return '?';
}

}  // namespace

std::string toLogCodePage(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  std::size_t i = 0;
  while (i < utf8.size()) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    std::size_t len = 0;
    char32_t c = 0;
    if (b < 0x80) {
      len = 1;
      c = b;
    } else if ((b & 0xE0) == 0xC0) {
      len = 2;
      c = b & 0x1Fu;
    } else if ((b & 0xF0) == 0xE0) {
      len = 3;
      c = b & 0x0Fu;
    } else if ((b & 0xF8) == 0xF0) {
      len = 4;
      c = b & 0x07u;
    }
    bool valid = len != 0 && i + len <= utf8.size();
    for (std::size_t k = 1; valid && k < len; ++k) {
      const auto cont = static_cast<unsigned char>(utf8[i + k]);
      if ((cont & 0xC0) != 0x80) {
        valid = false;
      } else {
        c = (c << 6) | (cont & 0x3Fu);
      }
    }
    if (!valid) {
      out += '?';
      ++i;
      continue;
    }
    out += codePageByte(c);
    i += len;
  }
  return out;
}

bool MemoryLogFileSystem::openForAppend(const std::string& path) {
  (*files_)[path];
  open_ = path;
  return true;
}

bool MemoryLogFileSystem::append(std::string_view bytes) {
  if (open_.empty()) return false;
  (*files_)[open_].append(bytes);
  return true;
}

DebugLog& DebugLog::shared() {
  thread_local DebugLog log;
  return log;
}

void DebugLog::write(std::string_view message) {
  if (PropertySet::shared().debugMode() != 1) return;
  if (!openFlag_) {
    if (!fileSystem_ && factory_) fileSystem_ = factory_();
    if (!fileSystem_) return;
    const std::string path =
        fileSystem_->folderPath() + debugLogFileName(clock_ ? clock_() : LocalTime::now());
    if (!fileSystem_->openForAppend(path)) return;
    path_ = path;
    streamOpen_ = true;
    openFlag_ = true;
  }
  if (!streamOpen()) return;
  std::string entry = toLogCodePage(message);
  entry += "\r\n";
  fileSystem_->append(entry);
  if (echo_) echo_(message);
}

void DebugLog::close() {
  if (fileSystem_ && streamOpen_) fileSystem_->close();
  streamOpen_ = false;
  fileSystem_.reset();
}

void installDebugLog() {
  setDebugSink([](std::string_view line) { DebugLog::shared().write(line); });
}

}  // namespace vellmar::editor
