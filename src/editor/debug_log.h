#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace vellmar::editor {

// A moment in local time, as the log file name records it.
struct LocalTime {
  int year = 0;
  int month = 0;  // 1..12
  int day = 0;    // 1..31
  int hour = 0;
  int minute = 0;
  int second = 0;

  static LocalTime now();
};

// "\vellmar_debuglog_" + month, day, year, hour, minute, second (decimal, no leading zeros, no
// separators) + ".txt". Several moments share a name (1 December and 21 January both give "121..."),
// so two runs may append to one file.
std::string debugLogFileName(const LocalTime& t);

// UTF-8 to the 8-bit code page the log file holds (Windows-1252); characters it cannot hold
// become "?".
std::string toLogCodePage(std::string_view utf8);

// Where the log file lives. The browser backs it with the origin-private file system; tests with
// memory. Paths are the folder path followed by the file name.
class LogFileSystem {
 public:
  virtual ~LogFileSystem() = default;
  // The folder the log goes into.
  virtual std::string folderPath() = 0;
  // Opens `path` for appending, creating it when missing. False when it cannot be opened.
  virtual bool openForAppend(const std::string& path) = 0;
  // Appends bytes to the open file. False when the write failed.
  virtual bool append(std::string_view bytes) = 0;
  virtual void close() = 0;
};

// A file system in memory, shared by every object made from the same instance's `files`.
class MemoryLogFileSystem final : public LogFileSystem {
 public:
  using Files = std::map<std::string, std::string>;

  explicit MemoryLogFileSystem(std::shared_ptr<Files> files, std::string folder = "C:\\Windows")
      : files_(std::move(files)), folder_(std::move(folder)) {}

  std::string folderPath() override { return folder_; }
  bool openForAppend(const std::string& path) override;
  bool append(std::string_view bytes) override;
  void close() override { open_.clear(); }

 private:
  std::shared_ptr<Files> files_;
  std::string folder_;
  std::string open_;
};

// The editor's debug log: written only while DebugMode is exactly 1, one file per opening, each
// entry the message followed by CR LF. One per user-interface thread.
class DebugLog {
 public:
  using FileSystemFactory = std::function<std::unique_ptr<LogFileSystem>()>;
  using Clock = std::function<LocalTime()>;
  using Echo = std::function<void(std::string_view message)>;

  static DebugLog& shared();

  // The file system object is created from the factory at the first entry after a close.
  void setFileSystemFactory(FileSystemFactory factory) { factory_ = std::move(factory); }
  void setClock(Clock clock) { clock_ = std::move(clock); }
  // Receives every entry that is written (the browser console).
  void setEcho(Echo echo) { echo_ = std::move(echo); }

  // Writes one entry. Failures while opening or writing lose the message and nothing else.
  void write(std::string_view message);
  // Hide and a failed configuration check: the stream and the file system object are released.
  // The log-open flag stays set, so nothing more is written until initialisation clears it.
  void close();
  // Control initialisation: clears the log-open flag.
  void clearOpenFlag() { openFlag_ = false; }

  bool openFlag() const { return openFlag_; }
  bool streamOpen() const { return fileSystem_ != nullptr && streamOpen_; }
  // The path of the file opened last ("" before the first opening).
  const std::string& path() const { return path_; }

 private:
  FileSystemFactory factory_;
  Clock clock_;
  Echo echo_;
  std::unique_ptr<LogFileSystem> fileSystem_;
  bool streamOpen_ = false;
  bool openFlag_ = false;
  std::string path_;
};

// Makes the editor's debug log the sink of every diagnostic line (debugLog of common/diagnostics).
void installDebugLog();

}  // namespace vellmar::editor
