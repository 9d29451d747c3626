// The editor's own files as a browser fetches them: the WebAssembly compressed with gzip when the
// browser accepts it (and byte-exact once inflated), 304 for a browser that already has the file,
// the right media types, and nothing outside the folder.
#include <gtest/gtest.h>
#include <zlib.h>

#include "server_fixture.h"

namespace vellmar::servertest {
namespace {

std::string inflated(const std::string& gz) {
  z_stream z{};
  EXPECT_EQ(inflateInit2(&z, 15 + 16), Z_OK);
  std::string out;
  char buffer[65536];
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(gz.data()));
  z.avail_in = static_cast<uInt>(gz.size());
  int status = Z_OK;
  while (status == Z_OK) {
    z.next_out = reinterpret_cast<Bytef*>(buffer);
    z.avail_out = sizeof buffer;
    status = inflate(&z, Z_NO_FLUSH);
    out.append(buffer, sizeof buffer - z.avail_out);
  }
  inflateEnd(&z);
  EXPECT_EQ(status, Z_STREAM_END);
  return out;
}

class EditorFilesServed : public ::testing::Test {
 protected:
  void SetUp() override {
    server = std::make_unique<ServerProcess>(tmp.path() / "data");
    web = tmp.path() / "data-site" / "web";
    // Something like a module: repetitive, so that compression shows.
    for (int i = 0; wasm.size() < 300000; ++i) wasm += "\0asm function " + std::to_string(i % 977) + ";";
    writeFile(web / "vellmar.wasm", wasm);
    std::filesystem::create_directories(web / "spell");
    writeFile(web / "spell" / "en.dic", "2\nteh\nthe\n");
  }
  std::string get(const std::string& path, const std::string& headers = {}) {
    return raw(server->port(), "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + "\r\n");
  }

  TempDir tmp;
  std::unique_ptr<ServerProcess> server;
  std::filesystem::path web;
  std::string wasm;
};

TEST_F(EditorFilesServed, TheModuleGoesOutCompressedToABrowserThatTakesGzipAndWholeToOneThatDoesNot) {
  const std::string zipped = get("/vellmar/vellmar.wasm", "Accept-Encoding: gzip, deflate\r\n");
  ASSERT_EQ(statusLine(zipped), "HTTP/1.1 200 OK");
  EXPECT_EQ(headerOf(zipped, "Content-Type"), "application/wasm");
  EXPECT_EQ(headerOf(zipped, "Content-Encoding"), "gzip");
  EXPECT_EQ(headerOf(zipped, "Vary"), "Accept-Encoding");
  EXPECT_LT(bodyOf(zipped).size(), wasm.size() / 4);
  EXPECT_EQ(inflated(bodyOf(zipped)), wasm);

  for (const std::string refusing : {"", "Accept-Encoding: identity\r\n", "Accept-Encoding: gzip;q=0, *\r\n"}) {
    SCOPED_TRACE(refusing);
    const std::string whole = get("/vellmar/vellmar.wasm", refusing);
    EXPECT_EQ(headerOf(whole, "Content-Encoding"), "");
    EXPECT_EQ(bodyOf(whole), wasm);
  }
}

TEST_F(EditorFilesServed, ABrowserOfferingBrotliGetsGzipForEveryFile) {
  writeFile(web / "vellmar.js", wasm);
  for (const std::string file : {"vellmar.wasm", "vellmar.js"}) {
    SCOPED_TRACE(file);
    const std::string answer = get("/vellmar/" + file, "Accept-Encoding: gzip, deflate, br, zstd\r\n");
    EXPECT_EQ(headerOf(answer, "Content-Encoding"), "gzip");
    EXPECT_EQ(inflated(bodyOf(answer)), wasm);
  }
}

TEST_F(EditorFilesServed, ABrowserThatHasTheFileGets304UntilTheFileChanges) {
  const std::string first = get("/vellmar/vellmar.wasm");
  const std::string tag = headerOf(first, "ETag");
  ASSERT_FALSE(tag.empty());
  EXPECT_EQ(headerOf(first, "Cache-Control"), "no-cache");

  const std::string again = get("/vellmar/vellmar.wasm", "If-None-Match: " + tag + "\r\n");
  EXPECT_EQ(statusLine(again), "HTTP/1.1 304 Not Modified");
  EXPECT_EQ(bodyOf(again), "");
  // The tag is the same whether the file travelled compressed or not.
  EXPECT_EQ(statusLine(get("/vellmar/vellmar.wasm", "Accept-Encoding: gzip\r\nIf-None-Match: " + tag + "\r\n")),
            "HTTP/1.1 304 Not Modified");

  writeFile(web / "vellmar.wasm", wasm + "a new build");
  const std::string changed =
      get("/vellmar/vellmar.wasm", "Accept-Encoding: gzip\r\nIf-None-Match: " + tag + "\r\n");
  ASSERT_EQ(statusLine(changed), "HTTP/1.1 200 OK");
  EXPECT_NE(headerOf(changed, "ETag"), tag);
  EXPECT_EQ(inflated(bodyOf(changed)), wasm + "a new build") << "a stale compressed copy was served";
}

TEST_F(EditorFilesServed, FilesInSubfoldersAreServedAndNothingOutsideTheFolder) {
  const std::string dic = get("/vellmar/spell/en.dic");
  EXPECT_EQ(statusLine(dic), "HTTP/1.1 200 OK");
  EXPECT_EQ(bodyOf(dic), "2\nteh\nthe\n");
  EXPECT_EQ(statusLine(get("/vellmar/vellmar.js")), "HTTP/1.1 200 OK");
  EXPECT_EQ(headerOf(get("/vellmar/vellmar.js"), "Content-Type"), "text/javascript");

  writeFile(tmp.path() / "data-site" / "secret.txt", "not for the web");
  for (const std::string path : {"/vellmar/../secret.txt", "/vellmar/%2e%2e/secret.txt", "/vellmar/spell/../../secret.txt",
                                 "/vellmar/missing.js", "/vellmar/spell", "/vellmar//etc/passwd"}) {
    SCOPED_TRACE(path);
    const std::string answer = get(path);
    EXPECT_NE(statusLine(answer), "HTTP/1.1 200 OK");
    EXPECT_EQ(answer.find("not for the web"), std::string::npos);
  }
}

}  // namespace
}  // namespace vellmar::servertest
