#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "server/database.h"

namespace vellmar::server {

// Documents and their versions. A document is the inner HTML of a page body, stored as the bytes
// the editor posted; every save adds a version and none is ever overwritten. Of each document the
// newest `keepVersions` versions are kept; older ones are deleted by the save that passes them.
class DocumentStore {
 public:
  explicit DocumentStore(Database& db, std::int64_t keepVersions = 100)
      : db_(db), keepVersions_(keepVersions < 1 ? 1 : keepVersions) {}

  struct Saved {
    std::int64_t id = 0;
    std::int64_t version = 0;
  };

  // Stores `body` as the next version of document `id`, or as a new document when `id` is empty.
  // One transaction: either the version and the document's pointer to it are both written, or
  // neither. Returns nothing when `id` names no document.
  std::optional<Saved> save(std::optional<std::int64_t> id, std::string_view body);

  // The newest version's body of document `id`.
  std::optional<std::string> latest(std::int64_t id);
  // The body of one version.
  std::optional<std::string> version(std::int64_t id, std::int64_t number);
  // The number of versions of document `id` (0 when it does not exist).
  std::int64_t versionCount(std::int64_t id);
  // The first document, which the content script shows when no document is asked for.
  std::optional<std::int64_t> firstDocument();

 private:
  Database& db_;
  std::int64_t keepVersions_;
};

// The whole page the content script answers with: a head carrying the site style sheet link and
// a style block of its own, and a body with a class and a style attribute around `body`.
std::string renderDocumentPage(std::string_view title, std::string_view body);

// The site style sheet. Lines end in CR LF and each class rule keeps its selector and "{" on one
// line, the form the editor reads class names from.
std::string_view siteStyleSheet();

}  // namespace vellmar::server
