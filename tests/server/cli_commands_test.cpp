// `vellmar clean` and `vellmar fetch` as a person runs them: what they print, their exit statuses,
// and that they hand out what the editor itself would.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>

#include "html/cleanup.h"
#include "html/splice.h"
#include "http/http_request.h"
#include "http/loopback_server.h"
#include "server_fixture.h"

namespace vellmar::servertest {
namespace {

namespace fs = std::filesystem;

class CliCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(cliBinary())) GTEST_SKIP() << "vellmar is not built at " << cliBinary();
  }
};

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

const std::string kPage =
    "<HTML><HEAD><STYLE>P { color: red }</STYLE></HEAD>\r\n"
    "<BODY><P CLASS=\"Intro\" style=\"COLOR: red\">Caf\xC3\xA9 <B>na\xC3\xAFve</B></P>"
    "<TABLE><TR><TD>cell</TD></TR></TABLE></BODY></HTML>";

TEST_F(CliCommands, CleanFiltersStandardInputAndFilesAlike) {
  const CliRun fromStdin = runCli({"clean"}, kPage);
  ASSERT_EQ(fromStdin.status, 0) << fromStdin.err;
  EXPECT_EQ(fromStdin.out, html::cleanHTML(kPage));
  EXPECT_TRUE(fromStdin.err.empty());

  TempDir dir;
  writeFile(dir.path() / "page.html", kPage);
  const CliRun fromFile = runCli({"clean", (dir.path() / "page.html").string()});
  EXPECT_EQ(fromFile.status, 0);
  EXPECT_EQ(fromFile.out, fromStdin.out);
  EXPECT_EQ(runCli({"clean", "-"}, kPage).out, fromStdin.out);
}

TEST_F(CliCommands, CleanStripsStylesBeforeItTakesTheBody) {
  const CliRun run = runCli({"clean", "--body", "--strip-styles"}, kPage);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, html::cleanHTML(html::extractBodyContent(html::stripEmbeddedStyles(kPage))));
  EXPECT_EQ(run.out.find("class"), std::string::npos);
  EXPECT_EQ(run.out.find("style"), std::string::npos);
  EXPECT_NE(run.out.find("<td>"), std::string::npos);
  EXPECT_EQ(run.out.find("<html"), std::string::npos);
}

TEST_F(CliCommands, CleanRefusesWhatItCannotReadOrUnderstand) {
  const CliRun missing = runCli({"clean", "/no/such/file.html"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_TRUE(missing.out.empty());
  EXPECT_NE(missing.err.find("/no/such/file.html"), std::string::npos);
  EXPECT_EQ(missing.err.find('\n'), missing.err.size() - 1) << "one line: " << missing.err;

  TempDir dir;
  const CliRun directory = runCli({"clean", dir.path().string()});
  EXPECT_EQ(directory.status, 1);

  const CliRun option = runCli({"clean", "--bogus"});
  EXPECT_EQ(option.status, 2);
  EXPECT_NE(option.err.find("usage: vellmar clean"), std::string::npos);
  EXPECT_EQ(runCli({"clean", "a", "b"}).status, 2);
}

TEST_F(CliCommands, CleanThatRunsOutOfMemoryWritesNothingAndFails) {
  // 4 MB of text nested deep enough that every blank breaks the line: some 400 MB of output, in a
  // process allowed 256 MB of address space.
  TempDir dir;
  std::string page;
  for (int i = 0; i < 100; ++i) page += "<div>";
  page.reserve(page.size() + 4'000'000);
  while (page.size() < 4'000'000) page += "x ";
  page += "</div>";
  writeFile(dir.path() / "deep.html", page);
  const std::string command = "ulimit -v 262144; exec '" + cliBinary().string() + "' clean '" +
                              (dir.path() / "deep.html").string() + "' >'" + (dir.path() / "out").string() +
                              "' 2>'" + (dir.path() / "err").string() + "'";
  const int status = std::system(command.c_str());
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(fs::file_size(dir.path() / "out"), 0u) << "no part of a document";
  const std::string err = readFile(dir.path() / "err");
  EXPECT_NE(err.find("cannot clean"), std::string::npos) << err;
  EXPECT_NE(err.find("Out of memory"), std::string::npos) << err;
}

TEST_F(CliCommands, FetchTakesEveryPortUpTo65535) {
  const CliRun top = runCli({"fetch", "--print-request", "--host", "h", "--port", "65535", "--path", "/"});
  EXPECT_EQ(top.status, 0) << top.err;
  EXPECT_EQ(top.out.rfind("GET / HTTP/1.1\r\n", 0), 0u) << top.out;
  EXPECT_EQ(runCli({"fetch", "--print-request", "--host", "h", "--port", "65536", "--path", "/"}).status, 2);
  EXPECT_EQ(runCli({"fetch", "--print-request", "--host", "h", "--port", "0", "--path", "/"}).status, 2);
}

TEST_F(CliCommands, CheckRefusesAnEmailLinkListOfMailtoAddresses) {
  // The editor puts "mailto:" in front of each address itself; a list that already has it would
  // give "mailto:mailto:" links.
  testing::LoopbackServer server({{"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n"
                                    "<emaillinks><emaillink><name>Sales</name><email>mailto:sales@example.com"
                                    "</email></emaillink></emaillinks>"}});
  const CliRun run = runCli({"check", "--param", "domain=127.0.0.1", "--param",
                             "port=" + std::to_string(server.port()), "--param", "PathToEmailLinkList=/mail"});
  EXPECT_EQ(run.status, 1) << run.out << run.err;
  EXPECT_NE(run.out.find("FAIL email link list"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("is not a bare e-mail address"), std::string::npos) << run.out;
}

TEST_F(CliCommands, FetchPrintsTheRequestTheEditorComposes) {
  const CliRun run = runCli({"fetch", "--print-request", "--host", "example.com", "--port", "8080",
                             "--path", "/cms/content", "--cookie", "vmSession=abc", "--url",
                             "vmContentID=7"});
  ASSERT_EQ(run.status, 0) << run.err;
  native::PollLoop loop;
  http::ctlHttpRequest request(loop);
  request.addCookieVariable("vmSession", "abc");
  request.addUrlVariable("vmContentID", "7");
  EXPECT_EQ(run.out, request.composeRequest(0, "example.com", "/cms/content", 8080).text);
}

TEST_F(CliCommands, FetchReportsEachEndingOnItsFirstLine) {
  TempDir data;
  ServerProcess server(data.path());
  const std::string port = std::to_string(server.port());
  const std::string session = demoSession(server.port());

  const CliRun ok = runCli({"fetch", "--host", "127.0.0.1", "--port", port, "--path", "/cms/links",
                            "--cookie", "vmSession=" + session});
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_EQ(firstLine(ok.out), "complete");
  EXPECT_NE(ok.out.find("<link"), std::string::npos);

  const CliRun refused = runCli({"fetch", "--host", "127.0.0.1", "--port", port, "--path", "/cms/links"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(firstLine(refused.out), "parseError 2 HTTP Error: HTTP/1.1 403 Forbidden");

  const CliRun missing = runCli({"fetch", "--host", "127.0.0.1", "--port", port, "--path", "/nothing-here"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(firstLine(missing.out), "parseError 2 HTTP Error: /nothing-here was not found.");

  const CliRun unreachable = runCli({"fetch", "--host", "127.0.0.1", "--port",
                                     std::to_string(testing::closedLoopbackPort()), "--path", "/"});
  EXPECT_EQ(unreachable.status, 1);
  EXPECT_EQ(firstLine(unreachable.out).rfind("error ", 0), 0u) << unreachable.out;
}

TEST_F(CliCommands, FetchGivesAUsageLineForMissingOrMalformedOptions) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"fetch", "--port", "80", "--path", "/"},
           {"fetch", "--host", "h", "--path", "/"},
           {"fetch", "--host", "h", "--port", "eighty", "--path", "/"},
           {"fetch", "--host", "h", "--port", "80", "--path", "/", "--cookie", "novalue"},
           {"fetch", "--host", "h", "--port", "80", "--path"},
       }) {
    const CliRun run = runCli(args);
    EXPECT_EQ(run.status, 2) << args.back();
    EXPECT_NE(run.err.find("usage: vellmar fetch"), std::string::npos) << args.back();
    EXPECT_TRUE(run.out.empty());
  }
}

}  // namespace
}  // namespace vellmar::servertest
