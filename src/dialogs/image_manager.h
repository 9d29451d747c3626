#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellmar::editor {
class PropertySet;
}

// frmImage's rules: which tabs it offers, how the server's image list reads, what choosing an
// image fills in, which uploads are refused before anything is sent, and what OK keeps for the
// editor. The view (the dialog on the page) only shows what these give.
namespace vellmar::dialogs {

// One image of the list: its children in document order (name, text), the first child's text
// being what the lists show.
struct ImageEntry {
  std::string name;
  std::vector<std::pair<std::string, std::string>> fields;
  // The text of the child named exactly `child`; empty when there is none.
  std::string field(std::string_view child) const;
};

// The images of a list document; nullopt when the answer has no root element.
std::optional<std::vector<ImageEntry>> readImageList(std::string_view body);
// The page the message window shows for a list without a root.
std::string imageListFailurePage(std::string_view pathToImageList, std::string_view body);

// The tabs, by their captions: "Insert", then "Upload" and "Delete" where the page allows them.
std::vector<std::string> imageTabs(const editor::PropertySet& properties);

// Bytes as the dialog shows a file's size: kilobytes rounded to two decimals ("20 KB", "1.5 KB").
std::string fileSizeText(std::uint64_t bytes);

// What choosing an image fills in.
struct ImageDetails {
  std::string alt;       // the Alt Text box
  std::string sizeText;  // the File Size value
  std::string width;     // the Width box; empty when unknown
  std::string height;
  std::string path;      // selectedImagePath
};
ImageDetails imageDetails(const ImageEntry& image);

// The refusal of an upload, checked before anything is sent; empty when the upload may go.
// `maxUploadSize` is the property's text (empty: no limit).
std::string uploadRefusal(bool fileChosen, std::string_view imageName, std::uint64_t fileSize,
                          std::string_view maxUploadSize);
// A picked or dropped file the browser could not show as a picture.
inline constexpr std::string_view kNotAnImage =
    "The selected file is not an image.  Please choose a GIF, JPEG or PNG file.";
// "Upload Image" is offered when both boxes hold something.
bool uploadReady(std::string_view selectedFile, std::string_view imageName);
// The name a dropped or pasted file is uploaded under: its file name without the extension, or
// "Image" for a nameless one (a pasted screenshot).
std::string imageNameForFile(std::string_view fileName);
// Where the server put an image it has just stored, read from the image list fetched after the
// upload: the image whose path the upload's answer names (the longest, should one path hold
// another), otherwise the last image of the list named `name`; nullptr when neither is there.
const ImageEntry* storedImage(const std::vector<ImageEntry>& images, std::string_view uploadAnswer,
                              std::string_view name);

// The whole number a box holds, as a 16-bit integer; 0 when the box does not hold a number.
std::int16_t boxInteger(std::string_view text);

// What OK keeps for the editor.
struct ImageResult {
  std::string imagePath;  // empty unless OK was pressed
  std::string altText;
  std::string alignment;  // empty for "Not Set"
  std::int16_t imageWidth = 0, imageHeight = 0, vSpace = 0, hSpace = 0, borderWidth = 0;
};
struct ImageBoxes {
  std::string alignment;  // the chosen entry of the alignment list
  std::string width, height, vSpace, hSpace, border, alt;
};
ImageResult imageResult(std::string_view selectedImagePath, const ImageBoxes& boxes);

// The alignment list's entries; the first stands for none.
inline constexpr std::string_view kAlignments[] = {"Not Set",  "Left",      "Right",
                                                   "Texttop",  "Absmiddle", "Baseline",
                                                   "Absbottom", "Bottom",   "Middle",
                                                   "Top"};

inline constexpr std::string_view kLoadingEntry = "Loading....";
inline constexpr std::string_view kNoImagesEntry = "No Images Available";
inline constexpr std::string_view kSelectImageMessage = "Please select an image to upload.";
inline constexpr std::string_view kNameImageMessage =
    "Please provide a name for the selected image.";
inline constexpr std::string_view kDeleteQuestion = "Are you sure you wish to delete this image?";

}  // namespace vellmar::dialogs
