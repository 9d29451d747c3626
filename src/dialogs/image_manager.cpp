#include "dialogs/image_manager.h"

#include <cmath>
#include <cstdio>

#include "editor/properties.h"
#include "http/server_exchange.h"
#include "xml/simple_dom.h"

namespace vellmar::dialogs {

namespace {

std::string_view trimmed(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

// A decimal number as a box or property holds it: optional sign, digits, optional fraction.
std::optional<double> decimal(std::string_view text) {
  text = trimmed(text);
  if (text.empty()) return std::nullopt;
  std::size_t i = 0;
  bool negative = false;
  if (text[i] == '+' || text[i] == '-') negative = text[i++] == '-';
  double value = 0;
  bool digits = false;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10 + (text[i] - '0');
    digits = true;
  }
  if (i < text.size() && text[i] == '.') {
    double scale = 0.1;
    for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, scale /= 10) {
      value += (text[i] - '0') * scale;
      digits = true;
    }
  }
  if (!digits || i != text.size()) return std::nullopt;
  return negative ? -value : value;
}

}  // namespace

std::string ImageEntry::field(std::string_view child) const {
  for (const auto& [childName, text] : fields) {
    if (childName == child) return text;
  }
  return {};
}

std::optional<std::vector<ImageEntry>> readImageList(std::string_view body) {
  xml::SimpleDOMParser parser;
  const auto root = parser.Parse(http::prepareXmlText(body));
  if (!root) return std::nullopt;
  std::vector<ImageEntry> images;
  const auto& children = root->ChildElements();
  images.reserve(static_cast<std::size_t>(children.Count()));
  for (std::int32_t i = 0; i < children.Count(); ++i) {
    const xml::SimpleElement* image = children.Item(i);
    ImageEntry entry;
    const auto& fields = image->ChildElements();
    for (std::int32_t j = 0; j < fields.Count(); ++j) {
      entry.fields.emplace_back(fields.Item(j)->name, fields.Item(j)->Text);
    }
    if (!entry.fields.empty()) entry.name = entry.fields.front().second;
    images.push_back(std::move(entry));
  }
  return images;
}

std::string imageListFailurePage(std::string_view pathToImageList, std::string_view body) {
  return http::parseFailureDetails("image list", pathToImageList, trimmed(body));
}

std::vector<std::string> imageTabs(const editor::PropertySet& properties) {
  std::vector<std::string> tabs{"Insert"};
  if (!properties.pathToImageUpload().empty() && properties.switchValue("DisableUploadImage") == 0)
    tabs.emplace_back("Upload");
  if (!properties.pathToImageDelete().empty() && properties.switchValue("DisableDeleteImage") == 0)
    tabs.emplace_back("Delete");
  return tabs;
}

std::string fileSizeText(std::uint64_t bytes) {
  const double kb = std::round(static_cast<double>(bytes) / 1024.0 * 100.0) / 100.0;
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", kb);
  std::string s(text);
  // Trailing zeros of the fraction are not shown, nor a lone point.
  while (s.back() == '0') s.pop_back();
  if (s.back() == '.') s.pop_back();
  return s + " KB";
}

ImageDetails imageDetails(const ImageEntry& image) {
  ImageDetails d;
  d.alt = image.field("vmImageName");
  const std::optional<double> size = decimal(image.field("vmImageSize"));
  d.sizeText = fileSizeText(size && *size > 0 ? static_cast<std::uint64_t>(*size) : 0);
  const auto dimension = [](std::string_view text) {
    const std::string_view t = trimmed(text);
    return t == "0" ? std::string() : std::string(t);
  };
  d.width = dimension(image.field("vmImageWidth"));
  d.height = dimension(image.field("vmImageHeight"));
  d.path = image.field("vmImagePath");
  return d;
}

std::string uploadRefusal(bool fileChosen, std::string_view imageName, std::uint64_t fileSize,
                          std::string_view maxUploadSize) {
  if (!fileChosen) return std::string(kSelectImageMessage);
  if (trimmed(imageName).empty()) return std::string(kNameImageMessage);
  const std::string_view limitText = trimmed(maxUploadSize);
  if (!limitText.empty()) {
    // A limit that is not a number limits nothing.
    if (const std::optional<double> limit = decimal(limitText);
        limit && static_cast<double>(fileSize) > std::floor(*limit)) {
      return "The selected file exceeds the maximum upload size.  Uploaded files must be smaller "
             "than " +
             std::string(limitText) + "  bytes.";
    }
  }
  return {};
}

bool uploadReady(std::string_view selectedFile, std::string_view imageName) {
  return !trimmed(selectedFile).empty() && !trimmed(imageName).empty();
}

std::string imageNameForFile(std::string_view fileName) {
  const std::size_t slash = fileName.find_last_of("/\\");
  if (slash != std::string_view::npos) fileName.remove_prefix(slash + 1);
  const std::size_t dot = fileName.rfind('.');
  if (dot != std::string_view::npos && dot > 0) fileName = fileName.substr(0, dot);
  fileName = trimmed(fileName);
  return fileName.empty() ? std::string("Image") : std::string(fileName);
}

const ImageEntry* storedImage(const std::vector<ImageEntry>& images, std::string_view uploadAnswer,
                              std::string_view name) {
  const ImageEntry* named = nullptr;
  const ImageEntry* answered = nullptr;
  std::size_t answeredLength = 0;
  for (const ImageEntry& image : images) {
    const std::string path = std::string(trimmed(image.field("vmImagePath")));
    if (!path.empty() && path.size() > answeredLength &&
        uploadAnswer.find(path) != std::string_view::npos) {
      answered = &image;
      answeredLength = path.size();
    }
    if (trimmed(image.name) == trimmed(name)) named = &image;
  }
  return answered ? answered : named;
}

std::int16_t boxInteger(std::string_view text) {
  const std::optional<double> value = decimal(text);
  // A negative or oversized number is no size either: the editor then leaves the attribute out.
  if (!value || *value < 0 || *value > 32767.0) return 0;
  return static_cast<std::int16_t>(std::lround(*value));
}

ImageResult imageResult(std::string_view selectedImagePath, const ImageBoxes& boxes) {
  ImageResult r;
  r.imagePath = std::string(selectedImagePath);
  r.altText = boxes.alt;
  r.alignment = boxes.alignment == kAlignments[0] ? std::string() : boxes.alignment;
  r.imageWidth = boxInteger(boxes.width);
  r.imageHeight = boxInteger(boxes.height);
  r.vSpace = boxInteger(boxes.vSpace);
  r.hSpace = boxInteger(boxes.hSpace);
  r.borderWidth = boxInteger(boxes.border);
  return r;
}

}  // namespace vellmar::dialogs
