#include "editor/properties.h"

#include <algorithm>
#include <array>

#include "common/diagnostics.h"

namespace vellmar::editor {

namespace {

using enum PropertyType;

// The property set, in the order of the public interface. Columns: public name, type, default,
// read key, write key, name reported by the Let, whether the Let re-runs interface enabling, and
// the position in the restore order. The keys differ from each other and from the names in places;
// they are matched without regard to letter case, so a saved value is found again when restored.
constexpr PropertyDef kTable[] = {
    {"domain",                      Text,          "",    "Domain",                      "Domain",                      "Domain",                      false,   0},
    {"SaveContentMethod",           ContentMethod, "0",   "SaveContentMethod",           "SaveContentMethod",           "SaveContentMethod",           false,   1},
    {"ContentID",                   Text,          "",    "contentID",                   "contentID",                   "ContentID",                   false,   2},
    {"documentRoot",                Text,          "",    "documentRoot",                "DocumentRoot",                "documentRoot",                false,   3},
    {"port",                        Text,          "",    "Port",                        "Port",                        "Port",                        false,   4},
    {"content",                     Text,          "",    "Content",                     "Content",                     "Content",                     false,   5},
    {"HttpTimeout",                 Int16Text,     "30",  "HttpTimeout",                 "HttpTimeout",                 "HttpTimeout",                 false,   6},
    {"KeepAliveTimeout",            Int16Text,     "300", "KeepAliveTimeout",            "KeepAliveTimeout",            "KeepAliveTimeout",            false,   7},
    {"HelpContentsURL",             Text,          "",    "HelpContentsURL",             "HelpContentsURL",             "HelpContentsURL",             false,   8},
    {"DebugMode",                   YesNo,         "0",   "DebugMode",                   "DebugMode",                   "DebugMode",                   false,   9},
    {"DisableMenuBar",              YesNo,         "0",   "DisableMenuBar",              "DisableMenuBar",              "DisableMenuBar",              true,   10},
    {"DisableFileMenu",             YesNo,         "0",   "DisableFileMenu",             "DisableFileMenu",             "DisableFileMenu",             true,   11},
    {"DisableEditMenu",             YesNo,         "0",   "DisableEditMenu",             "DisableEditMenu",             "DisableEditMenu",             true,   12},
    {"DisableViewMenu",             YesNo,         "0",   "DisableViewMenu",             "DisableViewMenu",             "DisableViewMenu",             true,   13},
    {"DisableInsertMenu",           YesNo,         "0",   "DisableInsertMenu",           "DisableInsertMenu",           "DisableInsertMenu",           true,   14},
    {"DisableStyleMenu",            YesNo,         "0",   "DisableStyleMenu",            "DisableStyleMenu",            "DisableStyleMenu",            true,   15},
    {"DisableFormatMenu",           YesNo,         "0",   "DisableFormatMenu",           "DisableFormatMenu",           "DisableFormatMenu",           true,   16},
    {"DisableHelpMenu",             YesNo,         "0",   "DisableHelpMenu",             "DisableHelpMenu",             "DisableHelpMenu",             true,   17},
    {"DisableOpenLocal",            YesNo,         "0",   "DisableOpenLocal",            "DisableOpenLocal",            "DisableOpenLocal",            true,   18},
    {"DisableSaveToServer",         YesNo,         "0",   "DisableSaveToServer",         "DisableSaveToServer",         "DisableSaveToServer",         true,   19},
    {"DisableSaveLocal",            YesNo,         "0",   "DisableSaveLocal",            "DisableSaveLocal",            "DisableSaveLocal",            true,   20},
    {"DisableRecentFiles",          YesNo,         "0",   "DisableRecentFiles",          "DisableRecentFiles",          "DisableRecentFiles",          true,   21},
    {"HideUndo",                    YesNo,         "0",   "hideUndo",                    "hideUndo",                    "HideUndo",                    true,   22},
    {"HideRedo",                    YesNo,         "0",   "HideRedo",                    "hideRedo",                    "HideRedo",                    true,   23},
    {"hideCut",                     YesNo,         "0",   "HideCut",                     "hideCut",                     "HideCut",                     true,   24},
    {"HideCopy",                    YesNo,         "0",   "HideCopy",                    "hideCopy",                    "HideCopy",                    true,   25},
    {"HidePaste",                   YesNo,         "0",   "HidePaste",                   "hidePaste",                   "HidePaste",                   true,   26},
    {"DisablePasteUnformatted",     YesNo,         "0",   "DisablePasteUnformatted",     "DisablePasteUnformatted",     "DisablePasteUnformatted",     true,   27},
    {"HideSelectAll",               YesNo,         "0",   "HideSelectAll",               "hideSelectAll",               "HideSelectAll",               true,   28},
    {"HideFind",                    YesNo,         "0",   "HideFind",                    "hideFind",                    "HideFind",                    true,   29},
    {"DisableCopyHtml",             YesNo,         "0",   "DisableCopyHtml",             "DisableCopyHtml",             "DisableCopyHtml",             true,   30},
    {"DisablePasteHTML",            YesNo,         "0",   "DisablePasteHTML",            "DisablePasteHtml",            "DisablePasteHTML",            true,   31},
    {"DisableSpellCheck",           YesNo,         "0",   "DisableSpellCheck",           "DisableSpellCheck",           "DisableSpellCheck",           true,   32},
    {"DisableVisualAids",           YesNo,         "0",   "DisableVisualAids",           "DisableVisualAids",           "DisableVisualAids",           true,   33},
    {"DisableImages",               YesNo,         "0",   "DisableImages",               "DisableImages",               "DisableImages",               true,   34},
    {"DisableTables",               YesNo,         "0",   "DisableTables",               "DisableTables",               "DisableTables",               true,   35},
    {"DisableHorizontalRule",       YesNo,         "0",   "DisableHorizontalRule",       "DisableHorizontalRule",       "DisableHorizontalRule",       true,   36},
    {"DisableSpecialCharacters",    YesNo,         "0",   "DisableSpecialCharacters",    "DisableSpecialCharacters",    "DisableSpecialCharacters",    true,   37},
    {"MaxUploadSize",               Text,          "",    "MaxUploadSize",               "MaxUploadSize",               "MaxUploadSize",               false,  72},
    {"DisableEditImageWidthHeight", YesNo,         "0",   "DisableEditImageWidthHeight", "DisableEditImageWidthHeight", "DisableEditImageWidthHeight", false,  73},
    {"DisableRemoveFormat",         YesNo,         "0",   "DisableRemoveFormat",         "DisableRemoveFormat",         "DisableRemoveFormat",         true,   38},
    {"DisableCssStyles",            YesNo,         "0",   "DisableCssStyles",            "DisableCssStyles",            "DisableCssStyles",            true,   39},
    {"DisableBlockformat",          YesNo,         "0",   "DisableBlockformat",          "DisableBlockformat",          "DisableBlockformat",          true,   40},
    {"HideBold",                    YesNo,         "0",   "hideBold",                    "HideBold",                    "HideBold",                    true,   41},
    {"HideItalic",                  YesNo,         "0",   "hideItalic",                  "HideItalic",                  "HideItalic",                  true,   42},
    {"HideUnderline",               YesNo,         "0",   "hideUnderline",               "HideUnderline",               "HideUnderline",               true,   43},
    {"HideIndent",                  YesNo,         "0",   "HideIndent",                  "HideIndent",                  "HideIndent",                  true,   44},
    {"HideOutdent",                 YesNo,         "0",   "HideOutdent",                 "HideOutdent",                 "HideOutdent",                 true,   45},
    {"DisableAlignLeft",            YesNo,         "0",   "DisableAlignLeft",            "DisableAlignLeft",            "DisableAlignLeft",            true,   46},
    {"DisableAlignCenter",          YesNo,         "0",   "DisableAlignCenter",          "DisableAlignCenter",          "DisableAlignCenter",          true,   47},
    {"DisableAlignRight",           YesNo,         "0",   "DisableAlignRight",           "DisableAlignRight",           "DisableAlignRight",           true,   48},
    {"DisableBulletList",           YesNo,         "0",   "DisableBulletList",           "DisableBulletList",           "DisableBulletList",           true,   49},
    {"DisableNumberList",           YesNo,         "0",   "DisableNumberList",           "DisableNumberList",           "DisableNumberList",           true,   50},
    {"DisableFont",                 YesNo,         "0",   "DisableFont",                 "DisableFont",                 "DisableFont",                 true,   51},
    {"DisableFontSize",             YesNo,         "0",   "DisableFontSize",             "DisableFontSize",             "DisableFontSize",             true,   52},
    {"DisableColor",                YesNo,         "0",   "DisableColor",                "DisableColor",                "DisableColor",                true,   53},
    {"DisableContents",             YesNo,         "0",   "DisableContents",             "DisableContents",             "DisableContents",             true,   54},
    {"DisableAbout",                YesNo,         "0",   "DisableAbout",                "DisableAbout",                "DisableAbout",                true,   55},
    {"DisableStandardToolbar",      YesNo,         "0",   "DisableStandardToolbar",      "DisableStandardToolbar",      "DisableStandardToolbar",      true,   56},
    {"DisableObjectsToolbar",       YesNo,         "0",   "DisableObjectsToolbar",       "DisableObjectsToolbar",       "DisableObjectsToolbar",       true,   57},
    {"DisableFontToolbar",          YesNo,         "0",   "DisableFontToolbar",          "DisableFontToolbar",          "DisableFontToolbar",          true,   58},
    {"DisableFormattingToolbar",    YesNo,         "0",   "DisableFormattingToolbar",    "DisableFormattingToolbar",    "DisableFormattingToolbar",    true,   59},
    {"DisableHtmlView",             YesNo,         "0",   "DisableHtmlView",             "DisableHtmlView",             "DisableHtmlView",             true,   60},
    {"PathToSaveToServer",          Text,          "",    "PathToSaveToServer",          "PathToSaveToServer",          "PathToSaveToServer",          false,  61},
    {"pathToContent",               Text,          "",    "PathToContent",               "PathToContent",               "PathToContent",               false,  62},
    {"PathToStyleSheet",            Text,          "",    "PathToStyleSheet",            "PathToStyleSheet",            "PathToStyleSheet",            false,  63},
    {"PathToImageUpload",           Text,          "",    "PathToImageUpload",           "PathToImageUpload",           "PathToImageUpload",           false,  64},
    {"PathToImageDelete",           Text,          "",    "PathToImageDelete",           "PathToImageDelete",           "PathToImageDelete",           false,  65},
    {"PathToImageList",             Text,          "",    "PathToImageList",             "PathToImageList",             "PathToImageList",             false,  66},
    {"PathToLinkList",              Text,          "",    "PathToLinkList",              "PathToLinkList",              "PathToLinkList",              false,  67},
    {"PathToEmailLinkList",         Text,          "",    "PathToEmailLinkList",         "PathToEmailLinkList",         "PathToEmailLinkList",         false,  68},
    {"PathToKeepAlive",             Text,          "",    "PathToKeepAlive",             "PathToKeepAlive",             "PathToKeepAlive",             false,  69},
    {"DisableUploadImage",          YesNo,         "0",   "DisableUploadImage",          "DisableUploadImage",          "DisableUploadImage",          false,  70},
    {"DisableDeleteImage",          YesNo,         "0",   "DisableDeleteImage",          "DisableDeleteImage",          "DisableDeleteImage",          false,  71},
    {"DisableLinks",                YesNo,         "0",   "DisableLinks",                "DisableLinks",                "DisableLinks",                true,   74},
    {"DisableEmailLinks",           YesNo,         "0",   "DisableEmailLinks",           "DisableEmailLinks",           "DisableEmailLinks",           false,  75},
    {"DisableCustomLinks",          YesNo,         "0",   "DisableCustomLinks",          "DisableCustomLinks",          "DisableCustomLinks",          false,  76},
    {"DisableCustomEmailLinks",     YesNo,         "0",   "DisableCustomEmailLinks",     "DisableCustomEmailLinks",     "DisableCustomEmailLinks",     false,  77},
    {"ForceLinkNameAsLinkText",     YesNo,         "0",   "ForceLinkNameAsLinkText",     "ForceLinkNameAsLinkText",     "ForceLinkNameAsLinkText",     false,  78},
    {"CookieName1",                 Text,          "",    "cookieName1",                 "cookieName1",                 "CookieName1",                 false,  79},
    {"CookieValue1",                Text,          "",    "cookieValue1",                "cookieValue1",                "cookieValue1",                false,  89},
    {"CookieName2",                 Text,          "",    "cookieName2",                 "cookieName2",                 "cookieName2",                 false,  80},
    {"CookieValue2",                Text,          "",    "cookieValue2",                "cookieValue2",                "cookieValue2",                false,  90},
    {"CookieName3",                 Text,          "",    "cookieName3",                 "cookieName3",                 "cookieName3",                 false,  81},
    {"CookieValue3",                Text,          "",    "cookieValue3",                "cookieValue3",                "cookieValue3",                false,  91},
    {"CookieName4",                 Text,          "",    "cookieName4",                 "cookieName4",                 "cookieName4",                 false,  82},
    {"CookieValue4",                Text,          "",    "cookieValue4",                "cookieValue4",                "cookieValue4",                false,  92},
    {"CookieName5",                 Text,          "",    "cookieName5",                 "cookieName5",                 "cookieName5",                 false,  83},
    {"CookieValue5",                Text,          "",    "cookieValue5",                "cookieValue5",                "cookieValue5",                false,  93},
    {"CookieName6",                 Text,          "",    "cookieName6",                 "cookieName6",                 "cookieName6",                 false,  84},
    {"CookieValue6",                Text,          "",    "cookieValue6",                "cookieValue6",                "cookieValue6",                false,  94},
    {"CookieName7",                 Text,          "",    "cookieName7",                 "cookieName7",                 "cookieName7",                 false,  85},
    {"CookieValue7",                Text,          "",    "cookieValue7",                "cookieValue7",                "cookieValue7",                false,  95},
    {"CookieName8",                 Text,          "",    "cookieName8",                 "cookieName8",                 "cookieName8",                 false,  86},
    {"CookieValue8",                Text,          "",    "cookieValue8",                "cookieValue8",                "cookieValue8",                false,  96},
    {"CookieName9",                 Text,          "",    "cookieName9",                 "cookieName9",                 "cookieName9",                 false,  87},
    {"CookieValue9",                Text,          "",    "cookieValue9",                "cookieValue9",                "cookieValue9",                false,  97},
    {"CookieName10",                Text,          "",    "cookieName10",                "cookieName10",                "cookieName10",                false,  88},
    {"CookieValue10",               Text,          "",    "cookieValue10",               "cookieValue10",               "cookieValue10",               false,  98},
    {"UrlName1",                    Text,          "",    "UrlName1",                    "urlName1",                    "urlName1",                    false,  99},
    {"UrlValue1",                   Text,          "",    "UrlValue1",                   "urlValue1",                   "urlValue1",                   false, 109},
    {"UrlName2",                    Text,          "",    "UrlName2",                    "urlName2",                    "urlName2",                    false, 100},
    {"UrlValue2",                   Text,          "",    "UrlValue2",                   "urlValue2",                   "urlValue2",                   false, 110},
    {"UrlName3",                    Text,          "",    "UrlName3",                    "urlName3",                    "urlName3",                    false, 101},
    {"UrlValue3",                   Text,          "",    "UrlValue3",                   "urlValue3",                   "urlValue3",                   false, 111},
    {"UrlName4",                    Text,          "",    "UrlName4",                    "urlName4",                    "urlName4",                    false, 102},
    {"UrlValue4",                   Text,          "",    "UrlValue4",                   "urlValue4",                   "urlValue4",                   false, 112},
    {"UrlName5",                    Text,          "",    "UrlName5",                    "urlName5",                    "urlName5",                    false, 103},
    {"UrlValue5",                   Text,          "",    "UrlValue5",                   "urlValue5",                   "urlValue5",                   false, 113},
    {"UrlName6",                    Text,          "",    "UrlName6",                    "urlName6",                    "urlName6",                    false, 104},
    {"UrlValue6",                   Text,          "",    "UrlValue6",                   "urlValue6",                   "urlValue6",                   false, 114},
    {"UrlName7",                    Text,          "",    "UrlName7",                    "urlName7",                    "urlName7",                    false, 105},
    {"UrlValue7",                   Text,          "",    "UrlValue7",                   "urlValue7",                   "urlValue7",                   false, 115},
    {"UrlName8",                    Text,          "",    "UrlName8",                    "urlName8",                    "urlName8",                    false, 106},
    {"UrlValue8",                   Text,          "",    "UrlValue8",                   "urlValue8",                   "urlValue8",                   false, 116},
    {"UrlName9",                    Text,          "",    "UrlName9",                    "urlName9",                    "urlName9",                    false, 107},
    {"UrlValue9",                   Text,          "",    "UrlValue9",                   "urlValue9",                   "urlValue9",                   false, 117},
    {"UrlName10",                   Text,          "",    "UrlName10",                   "urlName10",                   "urlName10",                   false, 108},
    {"UrlValue10",                  Text,          "",    "UrlValue10",                  "urlValue10",                  "urlValue10",                  false, 118},
};

constexpr std::size_t kCount = std::size(kTable);

constexpr bool sameName(std::size_t row, std::string_view name) {
  return row < kCount && kTable[row].name == name;
}

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// A number the way the numeric test sees it: blanks, an optional sign, digits with an optional
// fraction, blanks.
struct Number {
  bool negative = false;
  std::string_view whole;
  std::string_view fraction;
};

std::optional<Number> parseNumber(std::string_view t) {
  std::size_t i = 0;
  std::size_t end = t.size();
  while (i < end && isBlank(t[i])) ++i;
  while (end > i && isBlank(t[end - 1])) --end;
  Number n;
  if (i < end && (t[i] == '+' || t[i] == '-')) {
    n.negative = t[i] == '-';
    ++i;
  }
  std::size_t start = i;
  while (i < end && t[i] >= '0' && t[i] <= '9') ++i;
  n.whole = t.substr(start, i - start);
  if (i < end && t[i] == '.') {
    ++i;
    start = i;
    while (i < end && t[i] >= '0' && t[i] <= '9') ++i;
    n.fraction = t.substr(start, i - start);
  }
  if (i != end || (n.whole.empty() && n.fraction.empty())) return std::nullopt;
  return n;
}

// Rounds half to even, as the platform's integer conversions do; nullopt beyond +-2^40, which is
// far outside every range asked for.
std::optional<std::int64_t> roundNumber(const Number& n) {
  constexpr std::int64_t kLimit = std::int64_t{1} << 40;
  std::int64_t value = 0;
  for (char c : n.whole) {
    value = value * 10 + (c - '0');
    if (value > kLimit) return std::nullopt;
  }
  if (!n.fraction.empty()) {
    const char first = n.fraction.front();
    const bool restNonZero =
        std::any_of(n.fraction.begin() + 1, n.fraction.end(), [](char c) { return c != '0'; });
    if (first > '5' || (first == '5' && (restNonZero || value % 2 == 1))) ++value;
  }
  return n.negative ? -value : value;
}

std::optional<std::int64_t> toInteger(std::string_view text) {
  auto n = parseNumber(text);
  if (!n) return std::nullopt;
  return roundNumber(*n);
}

std::string decimal(std::int64_t v) { return std::to_string(v); }

// The conversion of a restored value to the property's type; nullopt when it does not convert.
std::optional<PropertyValue> convertForRead(const PropertyDef& def, PropertyValue&& value) {
  if (def.type == Text) {
    if (auto* s = std::get_if<std::string>(&value)) return std::move(*s);  // a document: not copied
    return decimal(std::get<std::int32_t>(value));
  }
  std::optional<std::int64_t> v;
  if (auto* s = std::get_if<std::string>(&value)) {
    v = toInteger(*s);
  } else {
    v = std::get<std::int32_t>(value);
  }
  if (!v) return std::nullopt;
  const std::int64_t lo = def.type == Int16Text ? INT16_MIN : INT32_MIN;
  const std::int64_t hi = def.type == Int16Text ? INT16_MAX : INT32_MAX;
  if (*v < lo || *v > hi) return std::nullopt;
  return static_cast<std::int32_t>(*v);
}

const std::string& emptyText() {
  static const std::string empty;
  return empty;
}

}  // namespace

PropertyValue PropertyDef::defaultValue() const {
  if (isInteger()) return static_cast<std::int32_t>(*toInteger(defaultText));
  return std::string(defaultText);
}

std::span<const PropertyDef> propertyTable() { return kTable; }

const PropertyDef* findProperty(std::string_view name) {
  for (const auto& def : kTable) {
    if (def.name == name) return &def;
  }
  for (const auto& def : kTable) {
    if (equalsIgnoringCase(def.name, name)) return &def;
  }
  return nullptr;
}

const std::vector<const PropertyDef*>& propertiesInReadOrder() {
  static const std::vector<const PropertyDef*> order = [] {
    std::vector<const PropertyDef*> v(kCount, nullptr);
    for (const auto& def : kTable) v[static_cast<std::size_t>(def.readPosition)] = &def;
    return v;
  }();
  return order;
}

bool isNumeric(std::string_view text) { return parseNumber(text).has_value(); }

std::optional<std::int32_t> toInt32(std::string_view text) {
  auto v = toInteger(text);
  if (!v || *v < INT32_MIN || *v > INT32_MAX) return std::nullopt;
  return static_cast<std::int32_t>(*v);
}

std::optional<std::int16_t> toInt16(std::string_view text) {
  auto v = toInteger(text);
  if (!v || *v < INT16_MIN || *v > INT16_MAX) return std::nullopt;
  return static_cast<std::int16_t>(*v);
}

// ---- MemoryPropertyBag

std::optional<PropertyValue> MemoryPropertyBag::readProperty(std::string_view key,
                                                             const PropertyValue& defaultValue) {
  for (const auto& [k, v] : values_) {
    if (equalsIgnoringCase(k, key)) return PropertyValue(v);
  }
  return defaultValue;
}

void MemoryPropertyBag::writeProperty(std::string_view key, const PropertyValue& value,
                                      const PropertyValue& defaultValue) {
  written_.push_back({std::string(key), value, defaultValue});
}

MemoryPropertyBag MemoryPropertyBag::writtenAsSource() const {
  std::vector<std::pair<std::string, std::string>> values;
  values.reserve(written_.size());
  for (const auto& w : written_) {
    if (auto* s = std::get_if<std::string>(&w.value)) {
      values.emplace_back(w.key, *s);
    } else {
      values.emplace_back(w.key, decimal(std::get<std::int32_t>(w.value)));
    }
  }
  return MemoryPropertyBag(std::move(values));
}

// ---- PropertySet

PropertySet::PropertySet() {
  static_assert(kCount == 119);
  static_assert(sameName(kDomain, "domain") && sameName(kSaveContentMethod, "SaveContentMethod") &&
                sameName(kContentID, "ContentID") && sameName(kDocumentRoot, "documentRoot") &&
                sameName(kPort, "port") && sameName(kContent, "content") &&
                sameName(kHttpTimeout, "HttpTimeout") &&
                sameName(kKeepAliveTimeout, "KeepAliveTimeout") &&
                sameName(kHelpContentsURL, "HelpContentsURL") && sameName(kDebugMode, "DebugMode") &&
                sameName(kMaxUploadSize, "MaxUploadSize"));
  static_assert(sameName(kPathToSaveToServer, "PathToSaveToServer") &&
                sameName(kPathToContent, "pathToContent") &&
                sameName(kPathToStyleSheet, "PathToStyleSheet") &&
                sameName(kPathToImageUpload, "PathToImageUpload") &&
                sameName(kPathToImageDelete, "PathToImageDelete") &&
                sameName(kPathToImageList, "PathToImageList") &&
                sameName(kPathToLinkList, "PathToLinkList") &&
                sameName(kPathToEmailLinkList, "PathToEmailLinkList") &&
                sameName(kPathToKeepAlive, "PathToKeepAlive"));
  static_assert(sameName(kFirstCookie, "CookieName1") && sameName(kFirstCookie + 1, "CookieValue1") &&
                sameName(kFirstCookie + 19, "CookieValue10") && sameName(kFirstUrl, "UrlName1") &&
                sameName(kFirstUrl + 1, "UrlValue1") && sameName(kFirstUrl + 19, "UrlValue10"));
  resetToDefaults();
}

PropertySet& PropertySet::shared() {
  thread_local PropertySet set;
  return set;
}

void PropertySet::resetToDefaults() {
  values_.clear();
  values_.reserve(kCount);
  for (const auto& def : kTable) values_.push_back(def.defaultValue());
}

const std::string& PropertySet::text(std::size_t row) const {
  if (auto* s = std::get_if<std::string>(&values_[row])) return *s;
  return emptyText();
}

std::int32_t PropertySet::integer(std::size_t row) const {
  if (auto* v = std::get_if<std::int32_t>(&values_[row])) return *v;
  return 0;
}

std::int16_t PropertySet::timeout(std::size_t row) {
  auto& stored = std::get<std::string>(values_[row]);
  if (!isNumeric(stored)) stored = "30";
  if (auto v = toInt16(stored)) return *v;
  stored = "30";
  return 30;
}

const std::string& PropertySet::cookieName(int i) const {
  if (i < 1 || i > 10) return emptyText();
  return text(kFirstCookie + 2 * static_cast<std::size_t>(i - 1));
}
const std::string& PropertySet::cookieValue(int i) const {
  if (i < 1 || i > 10) return emptyText();
  return text(kFirstCookie + 2 * static_cast<std::size_t>(i - 1) + 1);
}
const std::string& PropertySet::urlName(int i) const {
  if (i < 1 || i > 10) return emptyText();
  return text(kFirstUrl + 2 * static_cast<std::size_t>(i - 1));
}
const std::string& PropertySet::urlValue(int i) const {
  if (i < 1 || i > 10) return emptyText();
  return text(kFirstUrl + 2 * static_cast<std::size_t>(i - 1) + 1);
}

std::int32_t PropertySet::switchValue(std::string_view name) const {
  const PropertyDef* def = findProperty(name);
  if (!def || !def->isInteger()) return 0;
  return integer(static_cast<std::size_t>(def - kTable));
}

PropertyValue PropertySet::getRow(std::size_t row, const PropertyHooks& hooks) {
  const PropertyDef& def = kTable[row];
  if (row == kContent && hooks.currentContent) {
    // A document that could not be cleaned up leaves the last one in place rather than none.
    if (auto current = hooks.currentContent()) values_[row] = std::move(*current);
  }
  if (def.type == Int16Text) return static_cast<std::int32_t>(timeout(row));
  return values_[row];
}

bool PropertySet::letRow(std::size_t row, PropertyValue value, const PropertyHooks& hooks) {
  const PropertyDef& def = kTable[row];
  PropertyValue stored;
  if (def.type == Int16Text) {
    // A value that is not numeric becomes 30; the value is kept as its decimal text.
    const auto* s = std::get_if<std::string>(&value);
    if (s && !isNumeric(*s)) {
      stored = std::string("30");
    } else {
      auto converted = convertForRead(def, std::move(value));
      if (!converted) return false;
      stored = decimal(std::get<std::int32_t>(*converted));
    }
  } else {
    auto converted = convertForRead(def, std::move(value));
    if (!converted) return false;
    stored = std::move(*converted);
  }
  if (row == kContent) debugLog(std::get<std::string>(stored));
  values_[row] = std::move(stored);
  if (hooks.changed) hooks.changed(def.reportedName);
  if (row == kContent && hooks.loadContent) hooks.loadContent(std::get<std::string>(values_[row]));
  if (def.reapplies && hooks.enableInterface) hooks.enableInterface();
  return true;
}

std::optional<PropertyValue> PropertySet::get(std::string_view name, const PropertyHooks& hooks) {
  const PropertyDef* def = findProperty(name);
  if (!def) return std::nullopt;
  return getRow(static_cast<std::size_t>(def - kTable), hooks);
}

bool PropertySet::let(std::string_view name, PropertyValue value, const PropertyHooks& hooks) {
  const PropertyDef* def = findProperty(name);
  if (!def) return false;
  return letRow(static_cast<std::size_t>(def - kTable), std::move(value), hooks);
}

std::string PropertySet::getText(std::string_view name, const PropertyHooks& hooks) {
  auto v = get(name, hooks);
  if (!v) return {};
  if (auto* s = std::get_if<std::string>(&*v)) return std::move(*s);
  return decimal(std::get<std::int32_t>(*v));
}

void PropertySet::readProperties(PropertyBag& bag, const PropertyHooks& hooks) {
  for (const PropertyDef* def : propertiesInReadOrder()) {
    const auto row = static_cast<std::size_t>(def - kTable);
    // The restore of one value never stops the others: a value that cannot be read or converted
    // leaves the property as it was.
    guarded("UserControl_ReadProperties", [&] {
      auto raw = bag.readProperty(def->readKey, def->defaultValue());
      if (!raw) return;
      auto converted = convertForRead(*def, std::move(*raw));
      if (!converted) return;
      letRow(row, std::move(*converted), hooks);
    });
  }
}

void PropertySet::writeProperties(PropertyBag& bag, const PropertyHooks& hooks) {
  for (std::size_t row = 0; row < kCount; ++row) {
    const PropertyDef& def = kTable[row];
    bag.writeProperty(def.writeKey, getRow(row, hooks), def.defaultValue());
  }
}

}  // namespace vellmar::editor
