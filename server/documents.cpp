#include "server/documents.h"

#include <chrono>

namespace vellmar::server {

namespace {

std::int64_t nowSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

std::optional<DocumentStore::Saved> DocumentStore::save(std::optional<std::int64_t> id,
                                                        std::string_view body) {
  return db_.write([&](Connection& c) -> std::optional<Saved> {
    Saved saved;
    const std::int64_t now = nowSeconds();
    if (id) {
      auto st = c.prepare("SELECT current_version FROM documents WHERE id = ?");
      st.bind(1, *id);
      if (!st.step()) return std::nullopt;
      saved.id = *id;
      saved.version = st.integer(0) + 1;
      c.prepare("UPDATE documents SET current_version = ? WHERE id = ?")
          .bind(1, saved.version)
          .bind(2, saved.id)
          .run();
    } else {
      c.prepare("INSERT INTO documents(created, current_version) VALUES(?, 1)").bind(1, now).run();
      saved.id = c.lastInsertId();
      saved.version = 1;
    }
    c.prepare("INSERT INTO versions(document_id, number, body, saved) VALUES(?, ?, ?, ?)")
        .bind(1, saved.id)
        .bind(2, saved.version)
        .bind(3, body)
        .bind(4, now)
        .run();
    c.prepare("DELETE FROM versions WHERE document_id = ? AND number <= ?")
        .bind(1, saved.id)
        .bind(2, saved.version - keepVersions_)
        .run();
    return saved;
  });
}

std::optional<std::string> DocumentStore::latest(std::int64_t id) {
  return db_.read([&](Connection& c) -> std::optional<std::string> {
    auto st = c.prepare(
        "SELECT v.body FROM documents d JOIN versions v "
        "ON v.document_id = d.id AND v.number = d.current_version WHERE d.id = ?");
    st.bind(1, id);
    if (!st.step()) return std::nullopt;
    return st.text(0);
  });
}

std::optional<std::string> DocumentStore::version(std::int64_t id, std::int64_t number) {
  return db_.read([&](Connection& c) -> std::optional<std::string> {
    auto st = c.prepare("SELECT body FROM versions WHERE document_id = ? AND number = ?");
    st.bind(1, id).bind(2, number);
    if (!st.step()) return std::nullopt;
    return st.text(0);
  });
}

std::int64_t DocumentStore::versionCount(std::int64_t id) {
  return db_.read([&](Connection& c) {
    auto st = c.prepare("SELECT count(*) FROM versions WHERE document_id = ?");
    st.bind(1, id);
    return st.step() ? st.integer(0) : 0;
  });
}

std::optional<std::int64_t> DocumentStore::firstDocument() {
  return db_.read([&](Connection& c) -> std::optional<std::int64_t> {
    auto st = c.prepare("SELECT min(id) FROM documents");
    if (!st.step() || st.isNull(0)) return std::nullopt;
    return st.integer(0);
  });
}

std::string renderDocumentPage(std::string_view title, std::string_view body) {
  std::string page;
  page.reserve(body.size() + 512);
  page += "<!DOCTYPE html PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">\r\n<html>\r\n<head>\r\n";
  page += "<title>";
  page += title;
  page += "</title>\r\n";
  page += "<link rel=\"stylesheet\" type=\"text/css\" href=\"/cms/styles.css\">\r\n";
  page += "<style type=\"text/css\">\r\n"
          "body { background-color: #FFFFF0; margin: 0; }\r\n"
          ".site-banner { font-size: 30px; color: #8B0000; }\r\n"
          "</style>\r\n</head>\r\n";
  page += "<body class=\"site-page\" style=\"padding: 16px; font-size: 14px\">\r\n";
  page += body;
  page += "\r\n</body>\r\n</html>\r\n";
  return page;
}

std::string_view siteStyleSheet() {
  return "/* Site style sheet of the Vellmar reference server */\r\n"
         "body { font-family: Georgia, \"Times New Roman\", serif; color: #222222; }\r\n"
         "h1, h2, h3 { font-family: Arial, Helvetica, sans-serif; color: #1F3A5F; }\r\n"
         "table { border-collapse: collapse; }\r\n"
         "td, th { border: 1px solid #AAAAAA; padding: 4px; }\r\n"
         "a:hover { color: #C0392B; }\r\n"
         ".headline { font-size: 26px; letter-spacing: 1px; }\r\n"
         ".intro { font-size: 16px; font-style: italic; }\r\n"
         ".note { border-left: 4px solid #F2C14E; padding-left: 8px; }\r\n"
         ".highlight { background-color: #FFF3C4; }\r\n"
         ".Caption { font-size: 11px; color: #666666; }\r\n"
         ".button:hover { text-decoration: underline; }\r\n";
}

}  // namespace vellmar::server
