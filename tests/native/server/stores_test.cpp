// The server's stores on a database of their own (documents and their versions, sessions), image
// recognition on files from a real encoder, the names images are listed and stored under, and the
// command line.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "server/database.h"
#include "server/documents.h"
#include "server/media.h"
#include "server/server.h"
#include "server/sessions.h"

namespace vellmar::server {
namespace {

namespace fs = std::filesystem;

class Store : public ::testing::Test {
 protected:
  fs::path dir;
  std::unique_ptr<Database> db;

  void SetUp() override {
    dir = fs::temp_directory_path() /
          ("vellmar-store-" + std::to_string(::getpid()) + "-" +
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
    db = std::make_unique<Database>(dir / "vellmar.db");
    db->open();
  }
  void TearDown() override {
    db.reset();
    fs::remove_all(dir);
  }
  std::int64_t count(const std::string& sql) {
    return db->read([&](Connection& c) {
      auto st = c.prepare(sql);
      return st.step() ? st.integer(0) : -1;
    });
  }
};

TEST_F(Store, VersionsCountUpAndOnlyTheNewestAreKept) {
  DocumentStore docs(*db, 3);
  EXPECT_EQ(docs.firstDocument(), std::nullopt);
  const auto first = docs.save(std::nullopt, "<p>v1</p>");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->version, 1);
  const auto other = docs.save(std::nullopt, "<p>other</p>");
  EXPECT_EQ(other->id, first->id + 1);
  for (int v = 2; v <= 5; ++v) {
    const auto saved = docs.save(first->id, "<p>v" + std::to_string(v) + "</p>");
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->id, first->id);
    EXPECT_EQ(saved->version, v);
  }
  EXPECT_EQ(docs.latest(first->id), "<p>v5</p>");
  EXPECT_EQ(docs.versionCount(first->id), 3);
  EXPECT_EQ(docs.version(first->id, 3), "<p>v3</p>");
  EXPECT_EQ(docs.version(first->id, 2), std::nullopt) << "older than the newest three";
  EXPECT_EQ(docs.versionCount(other->id), 1) << "another document's versions are its own";
  EXPECT_EQ(docs.firstDocument(), first->id);

  EXPECT_EQ(docs.save(999, "<p>x</p>"), std::nullopt) << "no such document";
  EXPECT_EQ(docs.latest(999), std::nullopt);
  EXPECT_EQ(count("SELECT count(*) FROM documents"), 2);
}

TEST_F(Store, SessionsLiveUntilTheyLapseEndOrMakeWayForNewerOnes) {
  SessionStore sessions(*db, std::chrono::milliseconds(300), 3);
  const std::string a = sessions.create();
  EXPECT_EQ(a.size(), 32u);
  EXPECT_EQ(a.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_TRUE(sessions.touch(a));
  EXPECT_FALSE(sessions.touch(""));
  EXPECT_FALSE(sessions.touch("0123456789abcdef0123456789abcdef"));

  sessions.end(a);
  EXPECT_FALSE(sessions.touch(a));
  EXPECT_EQ(count("SELECT count(*) FROM sessions"), 0);

  // At most three live at once: the least recently used give way.
  std::vector<std::string> made;
  for (int i = 0; i < 5; ++i) {
    made.push_back(sessions.create());
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_EQ(count("SELECT count(*) FROM sessions"), 3);
  EXPECT_FALSE(sessions.touch(made[0]));
  EXPECT_FALSE(sessions.touch(made[1]));
  EXPECT_TRUE(sessions.touch(made[4]));

  // A session that lapsed is refused, and deleted by the next one made.
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  EXPECT_FALSE(sessions.touch(made[4]));
  sessions.create();
  EXPECT_EQ(count("SELECT count(*) FROM sessions"), 1);

  // Another process (a restart) finds live sessions in the database, and not lapsed ones.
  const std::string kept = sessions.create();
  SessionStore again(*db, std::chrono::milliseconds(300), 3);
  EXPECT_TRUE(again.touch(kept));
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  SessionStore later(*db, std::chrono::milliseconds(300), 3);
  EXPECT_FALSE(later.touch(kept));
}

// The sample images are named KIND_WIDTHxHEIGHT.EXT by the encoder script.
TEST(Images, TypeAndSizeOfFilesFromARealEncoder) {
  const std::regex name(R"(([a-z0-9_]+)_(\d+)x(\d+)\.(jpg|png|gif))");
  int seen = 0;
  for (const auto& entry : fs::directory_iterator(VELLMAR_TEST_IMAGES)) {
    const std::string file = entry.path().filename().string();
    std::smatch m;
    if (!std::regex_match(file, m, name)) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const ImageInfo info = inspectImage(bytes.str());
    const ImageType type = m[4] == "jpg" ? ImageType::jpeg : m[4] == "png" ? ImageType::png : ImageType::gif;
    EXPECT_EQ(info.type, type) << file;
    EXPECT_EQ(info.width, std::stoi(m[2])) << file;
    EXPECT_EQ(info.height, std::stoi(m[3])) << file;
    EXPECT_STREQ(extensionOf(info.type), m[4].str().c_str());
    ++seen;
  }
  EXPECT_GE(seen, 14);
}

TEST(Images, OnlyTheThreeSignaturesAreImagesAndBrokenHeadersHaveNoSize) {
  EXPECT_EQ(inspectImage("").type, ImageType::none);
  EXPECT_EQ(inspectImage("GIF88a\x10\0\x10\0").type, ImageType::none);
  EXPECT_EQ(inspectImage("<svg xmlns=\"http://www.w3.org/2000/svg\"/>").type, ImageType::none);
  EXPECT_EQ(inspectImage("BM\x36\0\0\0").type, ImageType::none);
  EXPECT_EQ(inspectImage(std::string("\x89PNG\r\n\x1a", 7)).type, ImageType::none);
  EXPECT_EQ(inspectImage(std::string("\xFF\xD8", 2)).type, ImageType::none);

  const ImageInfo cut = inspectImage(std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF", 10));
  EXPECT_EQ(cut.type, ImageType::jpeg);
  EXPECT_EQ(cut.width, 0);
  EXPECT_EQ(cut.height, 0);
  const ImageInfo png = inspectImage(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDX", 16));
  EXPECT_EQ(png.type, ImageType::png);
  EXPECT_EQ(png.width, 0);

  EXPECT_STREQ(mimeTypeOf(ImageType::gif), "image/gif");
  EXPECT_STREQ(mimeTypeOf(ImageType::jpeg), "image/jpeg");
  EXPECT_STREQ(mimeTypeOf(ImageType::png), "image/png");
  EXPECT_STREQ(mimeTypeOf(ImageType::none), "application/octet-stream");
  EXPECT_STREQ(extensionOf(ImageType::none), "");
}

TEST(ImageNames, DisplayNamesAreCleanAndBounded) {
  EXPECT_EQ(cleanDisplayName("  Logo \t of\r\n<b>the</b> & site  "), "Logo of bthe/b site");
  EXPECT_EQ(cleanDisplayName("\x01\x7f"), "");
  EXPECT_EQ(cleanDisplayName("caf\xc3\xa9"), "caf\xc3\xa9") << "letters beyond ASCII stay";
  EXPECT_EQ(cleanDisplayName(std::string(100, 'n')), std::string(100, 'n'));
  EXPECT_EQ(cleanDisplayName(std::string(101, 'n')), std::string(100, 'n'));
  EXPECT_EQ(cleanDisplayName(std::string(99, 'n') + " x"), std::string(99, 'n'))
      << "no blank left at the cut";

  EXPECT_EQ(lastPathComponent("C:\\pics\\Logo.GIF"), "Logo.GIF");
  EXPECT_EQ(lastPathComponent("/home/a/b.png"), "b.png");
  EXPECT_EQ(lastPathComponent("plain.jpg"), "plain.jpg");
  EXPECT_EQ(lastPathComponent("dir/"), "");
}

TEST(ImageNames, FileStemsAndMediaPathsCannotLeaveTheFolder) {
  EXPECT_EQ(safeFileStem("My Logo (2).GIF"), "my-logo-2-gif");
  EXPECT_EQ(safeFileStem("../../etc/passwd"), "etc-passwd");
  EXPECT_EQ(safeFileStem("__a__"), "__a__");
  EXPECT_EQ(safeFileStem("..."), "image");
  EXPECT_EQ(safeFileStem(""), "image");
  EXPECT_EQ(safeFileStem(std::string(60, 'z')), std::string(48, 'z'));
  EXPECT_EQ(safeFileStem(std::string(47, 'z') + " y"), std::string(47, 'z'));

  EXPECT_EQ(mediaFileOfPath("/media/logo.gif"), "logo.gif");
  EXPECT_EQ(mediaFileOfPath("/media/" + std::string(200, 'a')), std::string(200, 'a'));
  for (const std::string& bad : std::vector<std::string>{"/media/", "/media/.hidden", "/media/../vellmar.db", "/media/a/b",
                                "/media/a\\b", "/mediax/a", "media/a", "/media/a\x01",
                                "/media/a\x7f", "/media/" + std::string(201, 'a')})
    EXPECT_EQ(mediaFileOfPath(bad), std::nullopt) << bad;
  EXPECT_TRUE(isSafeMediaFileName("a.b"));
  EXPECT_FALSE(isSafeMediaFileName(".a"));
}

TEST(CommandLine, NewLimitsAndOriginsAreCheckedAtStart) {
  const auto parse = [](std::vector<std::string> args, Options& o, std::string& error) {
    args.insert(args.begin(), "vellmar-server");
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    return parseOptions(static_cast<int>(argv.size()), argv.data(), o, error);
  };
  Options o;
  std::string error;
  ASSERT_TRUE(parse({"--allow-origin", "http://a.example:8000", "--allow-origin", "https://b.example",
                     "--keep-versions", "1", "--max-sessions", "1000000000", "--header-seconds",
                     "0.5", "--port", "65535"},
                    o, error))
      << error;
  EXPECT_EQ(o.allowOrigins, (std::vector<std::string>{"http://a.example:8000", "https://b.example"}));
  EXPECT_EQ(o.keepVersions, 1);
  EXPECT_EQ(o.maxSessions, 1000000000);
  EXPECT_DOUBLE_EQ(o.headerSeconds, 0.5);
  EXPECT_EQ(o.port, 65535);

  for (const auto& bad : std::vector<std::vector<std::string>>{
           {"--allow-origin", "a.example"}, {"--allow-origin", "null"}, {"--keep-versions", "0"},
           {"--keep-versions", "1000000001"}, {"--max-sessions", "2x"}, {"--header-seconds", "0"},
           {"--header-seconds", "3601"}, {"--port", "65536"}, {"--max-document", "0"},
           {"--allow-origin"}}) {
    Options fresh;
    EXPECT_FALSE(parse(bad, fresh, error)) << bad[0];
    EXPECT_NE(error.find(bad[0]), std::string::npos) << error;
  }
  Options defaults;
  EXPECT_TRUE(parse({}, defaults, error));
  EXPECT_GE(defaults.maxDocument, 32u << 20);
  EXPECT_EQ(defaults.keepVersions, 100);
  EXPECT_GE(maxRequestBody(defaults), 3 * defaults.maxDocument);
}

}  // namespace
}  // namespace vellmar::server
