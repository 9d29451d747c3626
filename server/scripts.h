#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "server/database.h"
#include "server/documents.h"
#include "server/media.h"
#include "server/sessions.h"

namespace httplib {
class Server;
struct Request;
}

namespace vellmar::server {

// The paths of the server scripts, as the demo page configures the editor with them.
namespace paths {
constexpr const char* kContent = "/cms/content";
constexpr const char* kSave = "/cms/save";
constexpr const char* kStyleSheet = "/cms/styles.css";
constexpr const char* kKeepAlive = "/cms/keepalive";
constexpr const char* kImageList = "/cms/images/list";
constexpr const char* kImageUpload = "/cms/images/upload";
constexpr const char* kImageDelete = "/cms/images/delete";
constexpr const char* kLinkList = "/cms/links";
constexpr const char* kEmailLinkList = "/cms/emaillinks";
constexpr const char* kScriptPrefix = "/cms/";
}  // namespace paths

// The cookie in which a save tells the browser which document it stored, so that the demo page can
// open that document's latest version when the browser comes back.
constexpr const char* kLastDocumentCookie = "vmDocument";

// The scripts the editor talks to. Every path under /cms/ needs a live session (403 otherwise), and
// the scripts that change something (save, upload, delete) refuse a browser's request sent from
// another site's page (403); every refusal is a status with a short text, and no refused request
// changes anything. A refused POST is refused after its body is read, so the client sees the
// answer rather than a connection reset in the middle of sending.
class Scripts {
 public:
  Scripts(Database& db, SessionStore& sessions, DocumentStore& documents, MediaStore& media,
          std::size_t maxUpload, std::size_t maxDocument, std::vector<std::string> allowOrigins = {});

  // Registers the scripts, the /media/ files and the session check on `http`.
  void install(httplib::Server& http);

 private:
  Database& db_;
  SessionStore& sessions_;
  DocumentStore& documents_;
  MediaStore& media_;
  std::size_t maxUpload_;
  std::size_t maxDocument_;
  std::vector<std::string> allowOrigins_;

  // Throws RequestError 403 unless the request carries a live session.
  void requireSession(const std::string& cookieHeader, bool persist);
  // Throws RequestError 403 for a write from another site, then checks the session.
  void admitWrite(const httplib::Request& req);
};

}  // namespace vellmar::server
