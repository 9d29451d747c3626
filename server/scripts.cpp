#include "server/scripts.h"

#include <httplib.h>

#include <charconv>
#include <optional>
#include <sstream>
#include <string>

#include "http/charset.h"
#include "server/form.h"
#include "server/multipart.h"
#include "server/origin.h"
#include "server/text.h"

namespace vellmar::server {

namespace fs = std::filesystem;

namespace {

// Text travels as UTF-8 both ways: documents are stored as the UTF-8 the editor posted and go back
// as the same bytes, labelled so.
constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr const char* kXml = "text/xml; charset=utf-8";
constexpr const char* kText = "text/plain; charset=utf-8";

// The server reads the bodies of its POST scripts itself: the library's multipart reader refuses
// a body whose closing delimiter has no line end after it (exactly how the editor ends its
// uploads), and its form reader refuses any URL-encoded body over 8 KB (every save of a real
// document). The Content-Type is therefore moved to this header before the library reads the
// body, so the body arrives raw.
constexpr const char* kBodyContentType = "X-Vellmar-Body-Content-Type";

void takeOverBody(const httplib::Request& req) {
  // The library hands the pre-routing hook a const view of its own, non-const request.
  auto& headers = const_cast<httplib::Request&>(req).headers;
  headers.erase(kBodyContentType);
  const auto it = headers.find("Content-Type");
  if (it == headers.end()) return;
  std::string value = it->second;
  headers.erase(it);
  headers.emplace(kBodyContentType, std::move(value));
}

// The URL's variables and, for a URL-encoded body, the form's fields.
FormFields fieldsOf(const httplib::Request& req) {
  FormFields fields;
  for (const auto& [name, value] : req.params) fields.add(name, value);
  if (isUrlEncodedForm(req.get_header_value(kBodyContentType))) fields.add(parseUrlEncoded(req.body));
  return fields;
}

const FormPart* findPart(const std::vector<FormPart>& parts, std::string_view name) {
  for (const auto& part : parts)
    if (part.name == name) return &part;
  return nullptr;
}

void answer(httplib::Response& res, int status, const std::string& text) {
  res.status = status;
  res.set_content(text + "\n", kText);
}

// Runs a script with the one failure policy: a refused request answers its own status, a database
// failure 503, anything else 500; nothing escapes to the connection thread.
template <class Script>
httplib::Server::Handler guarded(Script script, const char* cacheControl = "no-store") {
  return [script, cacheControl](const httplib::Request& req, httplib::Response& res) {
    res.set_header("Cache-Control", cacheControl);
    try {
      script(req, res);
    } catch (const RequestError& e) {
      answer(res, e.status(), e.what());
    } catch (const DatabaseError& e) {
      answer(res, 503, std::string("The database could not complete the request: ") + e.what());
    } catch (const std::exception& e) {
      answer(res, 500, std::string("Internal error: ") + e.what());
    }
  };
}

std::string linkDocument(Database& db, const char* list, const char* root, const char* item,
                         const char* addressElement) {
  std::string xml = std::string("<") + root + ">\r\n";
  db.read([&](Connection& c) {
    auto st = c.prepare("SELECT name, address FROM links WHERE list = ? ORDER BY position, id");
    st.bind(1, std::string_view(list));
    while (st.step()) {
      xml += std::string("<") + item + "><name>" + st.text(0) + "</name><" + addressElement + ">" +
             st.text(1) + "</" + addressElement + "></" + item + ">\r\n";
    }
  });
  xml += std::string("</") + root + ">\r\n";
  return xml;
}

}  // namespace

Scripts::Scripts(Database& db, SessionStore& sessions, DocumentStore& documents, MediaStore& media,
                 std::size_t maxUpload, std::size_t maxDocument,
                 std::vector<std::string> allowOrigins)
    : db_(db),
      sessions_(sessions),
      documents_(documents),
      media_(media),
      maxUpload_(maxUpload),
      maxDocument_(maxDocument),
      allowOrigins_(std::move(allowOrigins)) {}

void Scripts::requireSession(const std::string& cookieHeader, bool persist) {
  const std::string token = SessionStore::cookieValue(cookieHeader, SessionStore::kCookieName);
  if (sessions_.touch(token, persist)) return;
  throw RequestError(403, token.empty()
                              ? "Forbidden: this script needs a session; open the demo page to get one."
                              : "Forbidden: the session has ended; open the demo page again.");
}

void Scripts::admitWrite(const httplib::Request& req) {
  std::string reason;
  if (!isSameOriginWrite(req.get_header_value("Origin"), req.get_header_value("Referer"),
                         req.get_header_value("Host"), allowOrigins_, reason))
    throw RequestError(403, reason);
  requireSession(req.get_header_value("Cookie"), false);
}

void Scripts::install(httplib::Server& http) {
  http.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
    if (req.path.rfind(paths::kScriptPrefix, 0) != 0) return httplib::Server::HandlerResponse::Unhandled;
    // A POST is checked by its script once its body has been read (admitWrite).
    if (req.method == "POST") {
      takeOverBody(req);
      return httplib::Server::HandlerResponse::Unhandled;
    }
    try {
      requireSession(req.get_header_value("Cookie"), req.path == paths::kKeepAlive);
      return httplib::Server::HandlerResponse::Unhandled;
    } catch (const RequestError& e) {
      answer(res, e.status(), e.what());
    } catch (const std::exception& e) {
      answer(res, 503, std::string("The session could not be checked: ") + e.what());
    }
    res.set_header("Cache-Control", "no-store");
    return httplib::Server::HandlerResponse::Handled;
  });

  http.Get(paths::kContent, guarded([this](const httplib::Request& req, httplib::Response& res) {
    auto id = documentIdOf(fieldsOf(req));
    if (!id) id = documents_.firstDocument();
    std::optional<std::string> body;
    if (id) body = documents_.latest(*id);
    if (!body) {
      if (req.has_param("vmContentID"))
        throw RequestError(404, "No document " + std::to_string(*id) + ".");
      body = std::string("<p>No document has been saved yet.</p>");
    }
    // Opened directly, a document runs nothing: a script saved in it would otherwise run in the
    // server's origin, beside the demo page and its session. The editor reads the text and is
    // unaffected.
    res.set_header("Content-Security-Policy", "sandbox");
    res.set_content(renderDocumentPage("Document " + std::to_string(id.value_or(0)), *body), kHtml);
  }));

  http.Post(paths::kSave, guarded([this](const httplib::Request& req, httplib::Response& res) {
    admitWrite(req);
    const FormFields fields = fieldsOf(req);
    const auto given = fields.get("vmContent");
    if (!given) throw RequestError(400, "Nothing to save: the form field vmContent is missing.");
    const auto id = documentIdOf(fields);
    const std::string& content = *given;
    if (content.size() > maxDocument_)
      throw RequestError(413, "The document is larger than the server's limit of " +
                                  std::to_string(maxDocument_) + " bytes.");
    // Stored bytes are served as UTF-8; anything else would come back as replacement characters.
    if (!http::isValidUtf8(content))
      throw RequestError(400, "The document is not UTF-8 text; send vmContent percent-encoded as UTF-8.");
    const auto saved = documents_.save(id, content);
    if (!saved) throw RequestError(404, "No document " + std::to_string(*id) + " to save to.");
    // The demo page opens this document again, at its latest version, when this browser comes back.
    res.set_header("Set-Cookie", std::string(kLastDocumentCookie) + "=" + std::to_string(saved->id) +
                                     "; Path=/; Max-Age=31536000; HttpOnly; SameSite=Strict");
    res.set_content("<vmContentID>" + std::to_string(saved->id) + "</vmContentID>", kXml);
  }));

  http.Get(paths::kStyleSheet, guarded([](const httplib::Request&, httplib::Response& res) {
    res.set_content(std::string(siteStyleSheet()), "text/css; charset=utf-8");
  }));

  http.Get(paths::kKeepAlive, guarded([this](const httplib::Request&, httplib::Response& res) {
    const auto minutes = static_cast<double>(sessions_.lifetime().count()) / 60000.0;
    std::ostringstream page;
    page << "<html><body><p>Session kept alive for another " << minutes
         << " minutes.</p></body></html>";
    res.set_content(page.str(), kHtml);
  }));

  http.Get(paths::kLinkList, guarded([this](const httplib::Request&, httplib::Response& res) {
    res.set_content(linkDocument(db_, "link", "links", "link", "url"), kXml);
  }));

  http.Get(paths::kEmailLinkList, guarded([this](const httplib::Request&, httplib::Response& res) {
    res.set_content(linkDocument(db_, "email", "emaillinks", "emaillink", "email"), kXml);
  }));

  http.Get(paths::kImageList, guarded([this](const httplib::Request&, httplib::Response& res) {
    res.set_content(media_.listDocument(), kXml);
  }));

  http.Post(paths::kImageUpload, guarded([this](const httplib::Request& req, httplib::Response& res) {
    admitWrite(req);
    const std::string boundary = multipartBoundary(req.get_header_value(kBodyContentType));
    if (boundary.empty())
      throw RequestError(400, "An image upload must be sent as multipart/form-data.");
    const auto parts = parseMultipart(req.body, boundary);
    if (!parts) throw RequestError(400, "The upload is not a well-formed multipart/form-data body.");
    const FormPart* file = findPart(*parts, "vmImageFile");
    if (!file) throw RequestError(400, "No image: the file field vmImageFile is missing.");
    if (file->content.empty()) throw RequestError(400, "The image file is empty.");
    if (file->content.size() > maxUpload_)
      throw RequestError(413, "The image is larger than the limit of " +
                                  std::to_string(maxUpload_) + " bytes.");
    const FormPart* namePart = findPart(*parts, "vmImageName");
    std::string name = namePart ? std::string(namePart->content) : std::string();
    if (cleanDisplayName(name).empty()) {
      // Without a name of its own the image is named after its file (the last path component
      // only: the editor sends the full local path).
      name = lastPathComponent(file->filename.value_or(""));
      if (const auto dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.resize(dot);
    }
    const StoredImage image = media_.add(name, file->content);
    res.set_content("<p>Stored the image " + image.name + " as " + MediaStore::kUrlPrefix +
                        image.file + " (" + std::to_string(image.size) + " bytes, " +
                        std::to_string(image.width) + " x " + std::to_string(image.height) +
                        " pixels).</p>",
                    kHtml);
  }));

  http.Post(paths::kImageDelete, guarded([this](const httplib::Request& req, httplib::Response& res) {
    admitWrite(req);
    const auto path = fieldsOf(req).get("vmImagePath");
    if (!path) throw RequestError(400, "Nothing to delete: the form field vmImagePath is missing.");
    const StoredImage image = media_.remove(*path);
    res.set_content("<p>Deleted the image " + image.name + " (" + MediaStore::kUrlPrefix +
                        image.file + ").</p>",
                    kHtml);
  }));

  http.Get(R"(/media/([^/]+))", guarded([this](const httplib::Request& req, httplib::Response& res) {
    const std::string name = req.matches[1];
    const fs::path path = media_.dir() / name;
    std::error_code ec;
    if (!isSafeMediaFileName(name) || !fs::is_regular_file(fs::symlink_status(path, ec)))
      throw RequestError(404, "No image " + req.path + ".");
    const std::string bytes = readWholeFile(path).value_or(std::string());
    res.set_content(bytes, mimeTypeOf(inspectImage(bytes).type));
  }, "no-cache"));
}

}  // namespace vellmar::server
