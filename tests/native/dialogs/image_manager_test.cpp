#include "dialogs/image_manager.h"

#include <gtest/gtest.h>

#include "editor/properties.h"

namespace vellmar::dialogs {
namespace {

TEST(ImageList, ReadsEveryImageWithItsFieldsInOrder) {
  const auto images = readImageList(
      " <images>\r\n <image><vmImageName>Company logo</vmImageName><vmImageSize>20480</vmImageSize>"
      "<vmImageWidth>120</vmImageWidth><vmImageHeight>60</vmImageHeight>"
      "<vmImagePath>/site/images/logo.gif</vmImagePath><extra>x</extra></image>\r\n"
      "<image><vmImagePath>/p.png</vmImagePath><vmImageName>Second</vmImageName></image></images>");
  ASSERT_TRUE(images);
  ASSERT_EQ(images->size(), 2U);
  EXPECT_EQ((*images)[0].name, "Company logo");
  EXPECT_EQ((*images)[0].fields.size(), 6U);
  EXPECT_EQ((*images)[0].field("vmImagePath"), "/site/images/logo.gif");
  // The lists show the first child, whatever it is.
  EXPECT_EQ((*images)[1].name, "/p.png");
  EXPECT_EQ((*images)[1].field("vmImageSize"), "");
  // Names match exactly.
  EXPECT_EQ((*images)[0].field("vmimagename"), "");
}

TEST(ImageList, AnEmptyRootIsNoImagesAndAnUnreadableAnswerIsNoList) {
  const auto empty = readImageList("<images></images>");
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->empty());
  EXPECT_FALSE(readImageList(""));
  EXPECT_FALSE(readImageList("<html><body>Internal error"));
  EXPECT_FALSE(readImageList("not xml at all"));
}

TEST(ImageList, FailurePageShowsTheTrimmedAnswerAsText) {
  EXPECT_EQ(imageListFailurePage("/cms/images/list", "  <b>oops</b> \r\n"),
            "<p>There was an error parsing the image list from /cms/images/list:</p><p>Error: "
            "The image list was not properly formatted. The image list is output below:</p><hr>"
            "&lt;b&gt;oops&lt;/b&gt;");
}

TEST(ImageTabs, UploadAndDeleteNeedTheirPathsAndNoSwitch) {
  editor::PropertySet props;
  EXPECT_EQ(imageTabs(props), (std::vector<std::string>{"Insert"}));
  props.let("PathToImageUpload", std::string("/up"));
  props.let("PathToImageDelete", std::string("/del"));
  EXPECT_EQ(imageTabs(props), (std::vector<std::string>{"Insert", "Upload", "Delete"}));
  props.let("DisableUploadImage", std::int32_t{1});
  EXPECT_EQ(imageTabs(props), (std::vector<std::string>{"Insert", "Delete"}));
  props.let("DisableDeleteImage", std::int32_t{1});
  EXPECT_EQ(imageTabs(props), (std::vector<std::string>{"Insert"}));
}

TEST(ImageDetails, SizeInKilobytesAndUnknownDimensionsEmpty) {
  EXPECT_EQ(fileSizeText(20480), "20 KB");
  EXPECT_EQ(fileSizeText(1536), "1.5 KB");
  EXPECT_EQ(fileSizeText(1000), "0.98 KB");
  EXPECT_EQ(fileSizeText(0), "0 KB");
  ImageEntry e;
  e.fields = {{"vmImageName", "Logo"}, {"vmImageSize", "0"}, {"vmImageWidth", " 120 "},
              {"vmImageHeight", "0"}, {"vmImagePath", "/a.gif"}};
  const ImageDetails d = imageDetails(e);
  EXPECT_EQ(d.alt, "Logo");
  EXPECT_EQ(d.sizeText, "0 KB");
  EXPECT_EQ(d.width, "120");
  EXPECT_EQ(d.height, "");
  EXPECT_EQ(d.path, "/a.gif");
}

TEST(Upload, ChecksInOrderAndTheLimitIsInclusive) {
  EXPECT_EQ(uploadRefusal(false, "", 5, "10"), kSelectImageMessage);
  EXPECT_EQ(uploadRefusal(true, "  ", 5, "10"), kNameImageMessage);
  EXPECT_EQ(uploadRefusal(true, "Logo", 100000, "100000"), "");
  EXPECT_EQ(uploadRefusal(true, "Logo", 100001, " 100000 "),
            "The selected file exceeds the maximum upload size.  Uploaded files must be smaller "
            "than 100000  bytes.");
  EXPECT_EQ(uploadRefusal(true, "Logo", 1u << 30, ""), "");
  // The whole number of a fractional limit.
  EXPECT_NE(uploadRefusal(true, "Logo", 11, "10.9"), "");
  EXPECT_EQ(uploadRefusal(true, "Logo", 1u << 30, "unlimited"), "");
  EXPECT_TRUE(uploadReady(" a.png", "x"));
  EXPECT_FALSE(uploadReady("a.png", " "));
  EXPECT_FALSE(uploadReady("", "x"));
}

TEST(Upload, DroppedFilesAreNamedAfterTheirFile) {
  EXPECT_EQ(imageNameForFile("holiday photo.png"), "holiday photo");
  EXPECT_EQ(imageNameForFile("C:\\pics\\logo.gif"), "logo");
  EXPECT_EQ(imageNameForFile(".png"), ".png");
  EXPECT_EQ(imageNameForFile(""), "Image");
}

TEST(Upload, TheStoredImageIsTheOneTheAnswerNamesElseTheLastOfItsName) {
  const auto list = readImageList(
      "<images><image><vmImageName>Logo</vmImageName><vmImagePath>/media/logo.png</vmImagePath></image>"
      "<image><vmImageName>Logo</vmImageName><vmImagePath>/media/logo-2.png</vmImagePath></image>"
      "<image><vmImageName>Shot</vmImageName><vmImagePath>/media/a.png</vmImagePath></image>"
      "<image><vmImageName>Other</vmImageName><vmImagePath>/media/aa.png</vmImagePath></image>"
      "</images>");
  ASSERT_TRUE(list);
  const auto path = [&](std::string_view answer, std::string_view name) {
    const ImageEntry* image = storedImage(*list, answer, name);
    return image ? image->field("vmImagePath") : std::string("none");
  };
  // The answer names the file even where the name is shared.
  EXPECT_EQ(path("<p>Stored the image Logo as /media/logo.png (9 bytes)</p>", "Logo"), "/media/logo.png");
  // A path inside a longer one that the answer names is not taken for it.
  EXPECT_EQ(path("Stored as /media/logo-2.png", "Logo"), "/media/logo-2.png");
  // An answer that names no path: the newest image of that name (the last of its name).
  EXPECT_EQ(path("<p>OK</p>", " Logo "), "/media/logo-2.png");
  EXPECT_EQ(path("", "Shot"), "/media/a.png");
  EXPECT_EQ(path("<p>OK</p>", "Missing"), "none");
  EXPECT_EQ(storedImage({}, "/media/logo.png", "Logo"), nullptr);
}

TEST(ImageResult, NumbersOfTheBoxesAndTheAlignment) {
  EXPECT_EQ(boxInteger("40"), 40);
  EXPECT_EQ(boxInteger(" 12.6 "), 13);
  EXPECT_EQ(boxInteger("12px"), 0);
  EXPECT_EQ(boxInteger(""), 0);
  EXPECT_EQ(boxInteger("-5"), 0);
  EXPECT_EQ(boxInteger("40000"), 0);
  EXPECT_EQ(boxInteger("32767"), 32767);
  EXPECT_EQ(boxInteger("32768"), 0);
  ImageBoxes boxes{"Not Set", "120", "", "3", "x", "1", "Logo"};
  ImageResult r = imageResult("/a.gif", boxes);
  EXPECT_EQ(r.imagePath, "/a.gif");
  EXPECT_EQ(r.alignment, "");
  EXPECT_EQ(r.imageWidth, 120);
  EXPECT_EQ(r.imageHeight, 0);
  EXPECT_EQ(r.vSpace, 3);
  EXPECT_EQ(r.hSpace, 0);
  EXPECT_EQ(r.borderWidth, 1);
  EXPECT_EQ(r.altText, "Logo");
  boxes.alignment = "Absmiddle";
  EXPECT_EQ(imageResult("/a.gif", boxes).alignment, "Absmiddle");
}

}  // namespace
}  // namespace vellmar::dialogs
