// Saves of real sizes: every document up to the server's limit is stored and read back exactly
// through the editor's own client; a larger one is refused with 413 and a text that says why.
#include <gtest/gtest.h>

#include "http/server_exchange.h"
#include "server_fixture.h"
#include "xml/simple_dom.h"

namespace vellmar::servertest {
namespace {

// Cleaned HTML as the editor posts it, of about `bytes` bytes: paragraphs of words, markup that
// percent-encodes, and text above U+00FF.
std::string documentOf(std::size_t bytes) {
  const std::string paragraph =
      "<p>\r\n  Lorem <b>ipsum</b> dolor sit amet, 5 \u20AC \u2014 \u201Cquoted\u201D & "
      "<a href=\"/page?a=1&amp;b=2\">a link</a> \u4E2D\u6587.\r\n</p>\r\n";
  std::string text;
  text.reserve(bytes + paragraph.size());
  while (text.size() + paragraph.size() <= bytes) text += paragraph;
  return text;
}

std::string savedId(const Outcome& o) {
  if (o.event != "complete") return {};
  const auto root = xml::SimpleDOMParser().Parse(http::prepareXmlText(o.body));
  return root && root->name == "vmContentID" ? root->Text : std::string();
}

class SaveSize : public ::testing::Test {
 protected:
  TempDir tmp;
};

TEST_F(SaveSize, DocumentsFromOneKilobyteToFortyMegabytesAreStoredAndReadBack) {
  ServerProcess server(tmp.path() / "data");
  const std::string session = demoSession(server.port());
  for (const std::size_t size : {std::size_t{1} << 10, std::size_t{100} << 10, std::size_t{5} << 20,
                                 std::size_t{40} << 20}) {
    SCOPED_TRACE(size);
    const std::string document = documentOf(size);
    const Outcome saved = sessionExchange(server.port(), session, 1, "/cms/save", [&](auto& r) {
      r.addFormVariable("vmContent", 0, document);
    });
    const std::string id = savedId(saved);
    ASSERT_FALSE(id.empty()) << saved.event << " " << saved.message << " " << saved.body.substr(0, 200);

    const Outcome read = sessionExchange(server.port(), session, 0, "/cms/content",
                                         [&](auto& r) { r.addUrlVariable("vmContentID", id); });
    ASSERT_EQ(read.event, "complete") << read.message;
    EXPECT_NE(read.body.find("\r\n" + document + "\r\n"), std::string::npos)
        << "the document read back differs from the one saved";
  }
}

TEST_F(SaveSize, ADocumentOverTheConfiguredLimitIsRefusedWithItsReason) {
  ServerProcess server(tmp.path() / "data", {"--max-document", "4096"});
  const std::string session = demoSession(server.port());
  const auto save = [&](const std::string& document) {
    return sessionExchange(server.port(), session, 1, "/cms/save",
                           [&](auto& r) { r.addFormVariable("vmContent", 0, document); });
  };
  EXPECT_FALSE(savedId(save(std::string(4096, 'a'))).empty()) << "exactly the limit is stored";

  const Outcome over = save(std::string(4097, 'a'));
  EXPECT_EQ(over.event, "parseError");
  EXPECT_EQ(over.message, "HTTP Error: HTTP/1.1 413 Payload Too Large");
  EXPECT_NE(over.body.find("larger than the server's limit of 4096 bytes"), std::string::npos)
      << over.body;

  // A body beyond anything the server reads is refused before it is read, with the same kind of
  // text, and nothing is stored.
  const std::string count =
      sqlite(server.dataDir() / "vellmar.db", "SELECT count(*) FROM versions");
  const Outcome huge = save(std::string(8u << 20, 'a'));
  EXPECT_EQ(huge.message, "HTTP Error: HTTP/1.1 413 Payload Too Large");
  EXPECT_NE(huge.body.find("larger than the server's limit of"), std::string::npos) << huge.body;
  EXPECT_EQ(sqlite(server.dataDir() / "vellmar.db", "SELECT count(*) FROM versions"), count);
}

TEST_F(SaveSize, AFormLongerThanEightKilobytesStillDeletesAnImageByItsField) {
  // The delete script reads its form the same way: a long field is an ordinary bad path (400),
  // not a body the server would not read.
  ServerProcess server(tmp.path() / "data");
  const std::string session = demoSession(server.port());
  const Outcome longPath = sessionExchange(server.port(), session, 1, "/cms/images/delete", [&](auto& r) {
    r.addFormVariable("vmImagePath", 0, "/media/" + std::string(20000, 'x') + ".png");
  });
  EXPECT_EQ(longPath.message, "HTTP Error: HTTP/1.1 400 Bad Request") << longPath.body;
}

}  // namespace
}  // namespace vellmar::servertest
