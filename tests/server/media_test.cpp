// Image upload, list and delete through the editor's own multipart and form requests: type and
// size limits, names made safe, nothing overwritten, deletion confined to the media folder.
#include <gtest/gtest.h>

#include "http/server_exchange.h"
#include "server_fixture.h"
#include "xml/simple_dom.h"

namespace vellmar::servertest {
namespace {

namespace fs = std::filesystem;

// A real 1 x 1 GIF.
const std::string kGif("GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\xff\xff\x00\x00\x00,\x00\x00\x00\x00"
                       "\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;",
                       43);
// The first bytes of a PNG with a 300 x 200 header.
const std::string kPng("\x89PNG\r\n\x1a\n\x00\x00\x00\x0dIHDR\x00\x00\x01\x2c\x00\x00\x00\xc8"
                       "\x08\x06\x00\x00\x00",
                       29);

struct ListedImage {
  std::string name, size, width, height, path;
};

class Media : public ::testing::Test {
 protected:
  TempDir tmp;
  std::unique_ptr<ServerProcess> server;
  std::string session;
  fs::path media;

  void SetUp() override {
    server = std::make_unique<ServerProcess>(tmp.path() / "data",
                                             std::vector<std::string>{"--max-upload", "1000"});
    session = demoSession(server->port());
    media = tmp.path() / "data" / "media";
  }

  // Uploads `bytes` from a local file at `localName` (inside a folder of its own, so the editor
  // sends a full path) under the image name `name`, with the fields the image manager sends.
  Outcome upload(const std::string& name, const std::string& bytes,
                 const std::string& localName = "picture.gif") {
    const fs::path local = tmp.path() / "local" / localName;
    fs::create_directories(local.parent_path());
    writeFile(local, bytes);
    return sessionExchange(server->port(), session, 1, "/cms/images/upload", [&](auto& r) {
      r.addFormVariable("vmImageName", 0, name);
      r.addFormVariable("vmImageSize", 0, std::to_string(bytes.size()));
      r.addFormVariable("vmImageWidth", 0, "1");
      r.addFormVariable("vmImageHeight", 0, "1");
      r.addFormVariable("vmImageFile", 1, local.string());
    });
  }

  Outcome remove(const std::string& imagePath) {
    return sessionExchange(server->port(), session, 1, "/cms/images/delete", [&](auto& r) {
      r.addFormVariable("vmImageName", 0, "whatever");
      r.addFormVariable("vmImagePath", 0, imagePath);
    });
  }

  std::vector<ListedImage> list() {
    const Outcome o = sessionExchange(server->port(), session, 0, "/cms/images/list");
    auto root = xml::SimpleDOMParser().Parse(http::prepareXmlText(o.body));
    std::vector<ListedImage> images;
    if (!root) return images;
    for (int i = 0; i < root->ChildElements().Count(); ++i) {
      const auto& c = root->ChildElements().Item(i)->ChildElements();
      images.push_back({c.Item(0)->Text, c.Item(1)->Text, c.Item(2)->Text, c.Item(3)->Text,
                        c.Item(4)->Text});
    }
    return images;
  }

  const ListedImage* find(const std::vector<ListedImage>& images, const std::string& name) {
    for (const auto& i : images)
      if (i.name == name) return &i;
    return nullptr;
  }

  std::size_t filesInMedia() {
    std::size_t n = 0;
    for ([[maybe_unused]] const auto& e : fs::directory_iterator(media)) ++n;
    return n;
  }
};

TEST_F(Media, UploadStoresTheImageUnderItsNameAndListsIt) {
  const Outcome o = upload("Holiday photo", kPng, "My Pictures/beach.PNG");
  ASSERT_EQ(o.event, "complete") << o.message << o.body;
  const auto images = list();
  const ListedImage* image = find(images, "Holiday photo");
  ASSERT_TRUE(image);
  EXPECT_EQ(image->path, "/media/holiday-photo.png") << "the type comes from the bytes";
  EXPECT_EQ(image->size, "29");
  EXPECT_EQ(image->width, "300");
  EXPECT_EQ(image->height, "200");
  EXPECT_EQ(readFile(media / "holiday-photo.png"), kPng);
}

TEST_F(Media, OnlyRealImagesWithinTheSizeLimitAreAccepted) {
  const std::size_t before = filesInMedia();
  const Outcome text = upload("notes", "<html>not an image</html>", "notes.gif");
  EXPECT_EQ(text.message, "HTTP Error: HTTP/1.1 415 Unsupported Media Type");
  EXPECT_NE(text.body.find("GIF, JPEG and PNG"), std::string::npos);

  const Outcome empty = upload("nothing", "", "empty.gif");
  EXPECT_EQ(empty.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(empty.body.find("The image file is empty."), std::string::npos) << empty.body;

  const std::string exactly = kGif + std::string(1000 - kGif.size(), '\0');
  EXPECT_EQ(upload("exactly", exactly).event, "complete");
  const Outcome big = upload("too big", exactly + "x");
  EXPECT_EQ(big.message, "HTTP Error: HTTP/1.1 413 Payload Too Large");
  EXPECT_NE(big.body.find("1000 bytes"), std::string::npos);

  EXPECT_EQ(filesInMedia(), before + 1);
  EXPECT_TRUE(find(list(), "exactly"));
  EXPECT_FALSE(find(list(), "too big"));
  EXPECT_FALSE(find(list(), "notes"));
}

TEST_F(Media, NamesAreMadeSafeAndNothingIsOverwritten) {
  const std::string other = kGif + "second";
  ASSERT_EQ(upload("Logo", kGif).event, "complete");
  ASSERT_EQ(upload("logo", other).event, "complete");
  EXPECT_EQ(readFile(media / "logo.gif"), kGif);
  EXPECT_EQ(readFile(media / "logo-2.gif"), other);

  // A hostile name stays a name: the file lands inside the media folder.
  ASSERT_EQ(upload("../../etc/<evil>", kGif).event, "complete");
  EXPECT_TRUE(fs::exists(media / "etc-evil.gif"));
  EXPECT_TRUE(find(list(), "../../etc/evil"));

  // Without a name, the last component of the local path names the image.
  ASSERT_EQ(upload("  ", kGif, "Trip/Alps.gif").event, "complete");
  EXPECT_TRUE(find(list(), "Alps"));
  for (const auto& e : fs::directory_iterator(media))
    EXPECT_NE(e.path().filename().string().front(), '.') << "no temporary file is left behind";
}

TEST_F(Media, DeleteRemovesOnlyImagesOfTheMediaFolder) {
  ASSERT_EQ(upload("Doomed", kGif).event, "complete");
  writeFile(media / "unlisted.gif", kGif);
  const fs::path db = tmp.path() / "data" / "vellmar.db";
  for (const std::string& bad : std::vector<std::string>{"/media/../vellmar.db", "../vellmar.db", db.string(),
                                 "/media/unlisted.gif", "/media/nothing.gif", "/media/", "",
                                 "/media/..", "/media/.hidden", "/etc/passwd"}) {
    const Outcome o = remove(bad);
    EXPECT_EQ(o.message, "HTTP Error: HTTP/1.1 400 Bad Request") << bad;
    EXPECT_FALSE(o.body.empty());
  }
  EXPECT_TRUE(fs::exists(db));
  EXPECT_TRUE(fs::exists(media / "unlisted.gif"));
  EXPECT_TRUE(find(list(), "Doomed"));

  const Outcome ok = remove("/media/doomed.gif");
  EXPECT_EQ(ok.event, "complete") << ok.message << ok.body;
  EXPECT_FALSE(fs::exists(media / "doomed.gif"));
  EXPECT_FALSE(find(list(), "Doomed"));
  EXPECT_EQ(remove("/media/doomed.gif").message, "HTTP Error: HTTP/1.1 400 Bad Request");
}

TEST_F(Media, MalformedUploadsAreRefusedAndTheServerCarriesOn) {
  // A form POST where a multipart body is expected, and a multipart body without the file.
  const Outcome form = sessionExchange(server->port(), session, 1, "/cms/images/upload",
                                       [](auto& r) { r.addFormVariable("vmImageName", 0, "x"); });
  EXPECT_EQ(form.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(form.body.find("multipart"), std::string::npos);
  const fs::path gif = tmp.path() / "some.gif";
  writeFile(gif, kGif);
  const Outcome nofile = sessionExchange(server->port(), session, 1, "/cms/images/upload",
                                         [&](auto& r) {
                                           r.addFormVariable("vmImageName", 0, "x");
                                           r.addFormVariable("attachment", 1, gif.string());
                                         });
  EXPECT_EQ(nofile.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(nofile.body.find("vmImageFile"), std::string::npos);
  EXPECT_EQ(list().size(), 3u);
}

}  // namespace
}  // namespace vellmar::servertest
