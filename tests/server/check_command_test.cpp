// `vellmar check` against the reference server: everything passes; a wrongly configured editor
// gets each fault named.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>

#include "server_fixture.h"

namespace vellmar::servertest {
namespace {

namespace fs = std::filesystem;

int runCheck(const std::string& args, std::string& output) {
  const std::string command = cliBinary().string() + " check " + args + " 2>&1";
  output.clear();
  FILE* p = popen(command.c_str(), "r");
  if (!p) return -1;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) output.append(buf, n);
  const int status = pclose(p);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(CheckCommand, PassesAgainstTheReferenceServerAndNamesFaults) {
  if (!fs::exists(cliBinary())) GTEST_SKIP() << "vellmar is not built at " << cliBinary();
  TempDir tmp;
  ServerProcess server(tmp.path() / "data");

  // A page with every path, as the demo page configures the editor.
  const std::string session = demoSession(server.port());
  const fs::path page = tmp.path() / "page.html";
  writeFile(page,
            "<object type=\"application/x-vellmar\">\n"
            "<param name=\"domain\" value=\"127.0.0.1\">\n"
            "<param name=\"port\" value=\"" + std::to_string(server.port()) + "\">\n"
            "<param name=\"documentRoot\" value=\"\">\n"
            "<param name=\"pathToContent\" value=\"/cms/content\">\n"
            "<param name=\"PathToSaveToServer\" value=\"/cms/save\">\n"
            "<param name=\"PathToStyleSheet\" value=\"/cms/styles.css\">\n"
            "<param name=\"PathToKeepAlive\" value=\"/cms/keepalive\">\n"
            "<param name=\"PathToImageList\" value=\"/cms/images/list\">\n"
            "<param name=\"PathToImageUpload\" value=\"/cms/images/upload\">\n"
            "<param name=\"PathToImageDelete\" value=\"/cms/images/delete\">\n"
            "<param name=\"PathToLinkList\" value=\"/cms/links\">\n"
            "<param name=\"PathToEmailLinkList\" value=\"/cms/emaillinks\">\n"
            "<param name=\"CookieName1\" value=\"vmSession\">\n"
            "<param name=\"CookieValue1\" value=\"" + session + "\">\n"
            "</object>\n");
  std::string out;
  EXPECT_EQ(runCheck("--page " + page.string() + " --write", out), 0) << out;
  EXPECT_EQ(count(out, "\nOK "), 10u) << out;
  EXPECT_EQ(out.find("FAIL"), std::string::npos) << out;
  EXPECT_NE(out.find("image delete"), std::string::npos);

  // Wrong answers, one per exchange: each is named with the server's words.
  EXPECT_EQ(runCheck("--page " + page.string() + " --param pathToContent=/cms/styles.css" +
                         " --param PathToImageList=/cms/links --param PathToEmailLinkList=/cms/links" +
                         " --param PathToSaveToServer=/cms/nowhere --param CookieValue2=x --write",
                     out),
            1);
  EXPECT_NE(out.find("FAIL content"), std::string::npos) << out;
  EXPECT_NE(out.find("no <body>"), std::string::npos) << out;
  EXPECT_NE(out.find("FAIL image list"), std::string::npos) << out;
  EXPECT_NE(out.find("<vmImageName>"), std::string::npos) << out;
  EXPECT_NE(out.find("FAIL email link list"), std::string::npos) << out;
  EXPECT_NE(out.find("FAIL save"), std::string::npos) << out;
  EXPECT_NE(out.find("/cms/nowhere was not found"), std::string::npos) << out;
  EXPECT_NE(out.find("OK   link list"), std::string::npos) << out;

  // Without the session every script answers 403, and the check says so.
  EXPECT_EQ(runCheck("--page " + page.string() + " --param CookieValue1=", out), 1);
  EXPECT_NE(out.find("403 Forbidden"), std::string::npos) << out;
}

std::string countVersions(const ServerProcess& server) {
  return sqlite(server.dataDir() / "vellmar.db", "SELECT count(*) FROM versions");
}

TEST(CheckCommand, SavesOnlyWithWriteAndThenReadsBackTextOfEveryScript) {
  if (!fs::exists(cliBinary())) GTEST_SKIP() << "vellmar is not built at " << cliBinary();
  TempDir tmp;
  ServerProcess server(tmp.path() / "data");
  const std::string params = "--param domain=127.0.0.1 --param port=" + std::to_string(server.port()) +
                             " --param CookieName1=vmSession --param CookieValue1=" +
                             demoSession(server.port()) +
                             " --param pathToContent=/cms/content --param PathToSaveToServer=/cms/save";
  const std::string before = countVersions(server);
  std::string out;
  EXPECT_EQ(runCheck(params, out), 0) << out;
  EXPECT_NE(out.find("SKIP save              /cms/save: a save stores a document; run with --write"),
            std::string::npos) << out;
  EXPECT_EQ(out.find("OK   save"), std::string::npos) << out;
  EXPECT_EQ(countVersions(server), before) << "nothing is written without --write";

  EXPECT_EQ(runCheck(params + " --write", out), 0) << out;
  EXPECT_NE(out.find("OK   save"), std::string::npos) << out;
  EXPECT_NE(out.find("and read back"), std::string::npos) << out;
  const std::string id = out.substr(out.find("vmContentID ") + 12, out.find(" and read back") - out.find("vmContentID ") - 12);
  EXPECT_EQ(sqlite(server.dataDir() / "vellmar.db",
                   "SELECT instr(body, '\u4E2D\u6587 \u2014 \u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC "
                   "\u2014 \U0001F600') > 0 FROM versions WHERE document_id = " + id),
            "1");
}

TEST(CheckCommand, WarnsOfFaultsThatOnlyTheBrowserWouldShow) {
  if (!fs::exists(cliBinary())) GTEST_SKIP() << "vellmar is not built at " << cliBinary();
  TempDir tmp;
  ServerProcess server(tmp.path() / "data");
  const std::string port = std::to_string(server.port());
  // A style sheet written with LF line ends, served beside the component.
  writeFile(tmp.path() / "data-site" / "web" / "lf.css",
            "/* site */\n.headline { font-size: 26px }\n.note,\n.aside { color: red }\n"
            "@media print {\n  .intro { display: none }\n}\na:hover { }\n");

  // The demo page, fetched as a browser fetches it: it sets vmSession as an HttpOnly cookie and
  // hands the same value to the editor, which is fine.
  const std::string page = "--page http://127.0.0.1:" + port + "/";
  std::string out;
  EXPECT_EQ(runCheck(page + " --param pathToContent=/cms/content", out), 0) << out;
  EXPECT_EQ(out.find("WARN"), std::string::npos) << out;

  EXPECT_EQ(runCheck(page + " --param CookieValue1=someoneelse --param domain=localhost" +
                         " --param PathToStyleshet=/cms/styles.css --param DebugMode=maybe" +
                         " --param PathToStyleSheet=/vellmar/lf.css",
                     out),
            1)
      << out;
  EXPECT_NE(out.find("WARN param             PathToStyleshet is not a property the editor takes; "
                     "did you mean PathToStyleSheet?"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("WARN param             DebugMode=\"maybe\" is not a value this property takes"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("WARN origin            the page comes from 127.0.0.1:" + port +
                     " but the editor talks to localhost:" + port),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("WARN cookie            the server sets vmSession as an HttpOnly cookie"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("not CookieValue1"), std::string::npos) << out;
  // The whole LF sheet is one line to the editor, which starts with a comment: no class at all.
  EXPECT_NE(out.find("FAIL style sheet"), std::string::npos) << out;
  EXPECT_NE(out.find("WARN style sheet       the sheet has 4 class rules, but the editor will see 0 "
                     "classes: it reads class rules one CR LF line at a time"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("(this sheet's lines end in LF alone)"), std::string::npos) << out;
}

}  // namespace
}  // namespace vellmar::servertest
