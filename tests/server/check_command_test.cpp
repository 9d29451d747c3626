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
                         " --param PathToSaveToServer=/cms/nowhere --param CookieValue2=x",
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

}  // namespace
}  // namespace vellmar::servertest
