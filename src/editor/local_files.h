#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Local files: opening a document from a file of the user's computer, saving it to one, and the
// current file a plain save writes to again. The pickers, the reading and the writing are the
// platform's; what a file must be to be opened, how its bytes become the document, the messages
// and the current file are here.
namespace vellmar::editor {

// Files larger than this are not opened: the editor would hold them several times over.
inline constexpr std::uint64_t kMaxLocalFileBytes = 16u * 1024u * 1024u;

inline constexpr std::string_view kOpenLocalTitle = "Open Local File";
inline constexpr std::string_view kSaveLocalTitle = "Save Local File";
inline constexpr std::string_view kOpenErrorCaption = "Vellmar Open Local File Error";

// How a file is read: as HTML (the whole file is the document) or as plain text (its lines become
// paragraphs and line breaks, its markup characters stay characters).
enum class LocalFileKind { html, text };

// By the name's extension (.htm, .html, .xhtml, .shtml; .txt, .text); for any other name by the
// contents: HTML when the first thing in it that is not blank is a tag.
LocalFileKind localFileKind(std::string_view name, std::string_view text);

// Whether the bytes can be text at all: no NUL bytes, and few control characters.
bool looksLikeText(std::string_view bytes);

// The file's bytes as UTF-8 text: UTF-8 (a byte order mark dropped), UTF-16 with its byte order
// mark, and otherwise the Windows code page older files were written in.
std::string decodeLocalFile(std::string_view bytes);

// Plain text as a document body: paragraphs at blank lines, line breaks inside them, markup
// characters escaped.
std::string textToHtml(std::string_view text);

// The messages of a file that is not opened.
std::string openErrorMessage(std::string_view path);
std::string notTextMessage(std::string_view path);
std::string tooLargeMessage(std::string_view path, std::uint64_t size);

struct LocalFileHooks {
  // The `content` value is set to the document and loaded into the engine.
  std::function<void(const std::string& content)> loadContent;
  // Records the path as the most recent file (fillRecentFiles).
  std::function<void(const std::string& path)> fillRecentFiles;
  // A message box with an OK button.
  std::function<void(const std::string& text, const std::string& caption)> showMessage;
  // getContent(SaveContentMethod): the cleaned body HTML or the body text; nothing when the
  // document could not be prepared.
  std::function<std::optional<std::string>()> documentText;
  // SaveContentMethod: 1 when the body text is saved.
  std::function<std::int32_t()> saveContentMethod;
};

// The current file and the rules of opening and saving. One per editor.
class LocalFiles {
 public:
  explicit LocalFiles(LocalFileHooks hooks) : hooks_(std::move(hooks)) {}

  const std::string& currentFile() const { return currentFile_; }

  // Whether a file of this name is to be opened at all: not an empty name, not the current file.
  bool shouldOpen(std::string_view path) const;
  // Before reading: false (and the message shown) when the file is too large.
  bool sizeAllowed(const std::string& path, std::uint64_t size);
  // The file's bytes were read: checked, made the document and recorded; false (and a message,
  // the document unchanged) when they are not a text or HTML file.
  bool fileRead(const std::string& path, std::string_view bytes);
  // The file could not be found or read.
  void openFailed(const std::string& path);

  // saveLocal: the file a plain save writes to without asking; empty when the user must choose.
  const std::string& saveLocalTarget() const { return currentFile_; }
  // saveLocalAs: the name the save picker proposes: `defaultName`, else the current file, else a
  // name of the saved kind.
  std::string saveAsName(std::string_view defaultName) const;
  // The text a save writes; nothing when the document could not be prepared (then nothing must be
  // written).
  std::optional<std::string> textToSave() const;
  // The file was written: it becomes the current file and the most recent one.
  void saved(const std::string& path);

 private:
  LocalFileHooks hooks_;
  std::string currentFile_;
};

}  // namespace vellmar::editor
