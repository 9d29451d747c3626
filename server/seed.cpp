#include "server/seed.h"

#include <string>
#include <string_view>

namespace vellmar::server {

namespace {

struct SampleImage {
  const char* file;  // in server/seed
  const char* name;  // display name
};

constexpr SampleImage kSampleImages[] = {
    {"logo.gif", "Company logo"},
    {"leaf.png", "Green leaf"},
    {"sunset.jpg", "Sunset"},
};

struct SampleLink {
  const char* name;
  const char* address;
};

constexpr SampleLink kLinks[] = {
    {"Home page", "/"},
    {"Sample document", "/cms/content?vmContentID=1"},
    {"Site style sheet", "/cms/styles.css"},
    {"Example site", "http://www.example.com/"},
    {"Example contact page", "http://www.example.com/contact/"},
};

constexpr SampleLink kEmailLinks[] = {
    {"Sales", "sales@example.com"},
    {"Support", "support@example.com"},
    {"Webmaster", "webmaster@example.com"},
};

bool seeded(Database& db) {
  return db.read([](Connection& c) {
    auto st = c.prepare("SELECT 1 FROM settings WHERE key = 'seeded'");
    return st.step();
  });
}

bool imageNamed(Database& db, std::string_view name) {
  return db.read([&](Connection& c) {
    auto st = c.prepare("SELECT 1 FROM images WHERE name = ?");
    st.bind(1, name);
    return st.step();
  });
}

}  // namespace

const char* sampleDocumentBody() {
  return "<h1 class=\"headline\">Welcome to Vellmar</h1>\r\n"
         "<p class=\"intro\">This is the sample document of the reference server. Change it, then "
         "choose <b>Save To Server</b> in the <i>File</i> menu: every save is kept as a new "
         "version.</p>\r\n"
         "<p><img src=\"/media/company-logo.gif\" alt=\"Company logo\" width=\"120\" "
         "height=\"60\" align=\"right\">Things to try:</p>\r\n"
         "<ul>\r\n"
         "<li>Give a paragraph a class from the <b>Style</b> menu; the classes come from the "
         "site style sheet.</li>\r\n"
         "<li>Insert an image from the server's image list, or upload one of your own.</li>\r\n"
         "<li>Link to a page or an e-mail address from the server's link lists.</li>\r\n"
         "<li>Switch to the HTML view to see the cleaned source.</li>\r\n"
         "</ul>\r\n"
         "<table border=\"1\" cellpadding=\"4\">\r\n"
         "<tr><th>Script</th><th>Path</th></tr>\r\n"
         "<tr><td>Document</td><td>/cms/content</td></tr>\r\n"
         "<tr><td>Save</td><td>/cms/save</td></tr>\r\n"
         "<tr><td>Images</td><td>/cms/images/list</td></tr>\r\n"
         "</table>\r\n"
         "<p class=\"note\" style=\"color: #555555\">Caf&eacute; cr&egrave;me &amp; "
         "<span class=\"highlight\">highlighted</span> text keep their entities.</p>";
}

void seedIfNew(Database& db, MediaStore& media) {
  if (seeded(db)) return;
  // Images first: each is its own file and record, and a start that crashed half-way finds the
  // ones already there by name.
  for (const auto& sample : kSampleImages) {
    if (imageNamed(db, sample.name)) continue;
    for (const auto& file : seedFiles()) {
      if (std::string_view(file.name) != sample.file) continue;
      media.add(sample.name,
                std::string_view(reinterpret_cast<const char*>(file.bytes), file.size));
    }
  }
  db.write([&](Connection& c) {
    if (c.prepare("SELECT 1 FROM settings WHERE key = 'seeded'").step()) return;
    c.prepare("INSERT INTO documents(created, current_version) VALUES(strftime('%s','now'), 1)")
        .run();
    const std::int64_t id = c.lastInsertId();
    c.prepare("INSERT INTO versions(document_id, number, body, saved) "
              "VALUES(?, 1, ?, strftime('%s','now'))")
        .bind(1, id)
        .bind(2, sampleDocumentBody())
        .run();
    auto addLinks = [&](std::string_view list, const auto& links) {
      std::int64_t position = 0;
      for (const auto& link : links) {
        c.prepare("INSERT INTO links(list, position, name, address) VALUES(?, ?, ?, ?)")
            .bind(1, list)
            .bind(2, ++position)
            .bind(3, link.name)
            .bind(4, link.address)
            .run();
      }
    };
    addLinks("link", kLinks);
    addLinks("email", kEmailLinks);
    c.prepare("INSERT INTO settings(key, value) VALUES('seeded', '1')").run();
  });
}

}  // namespace vellmar::server
