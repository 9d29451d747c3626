#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vellmar::editor {

// How a property holds its value.
enum class PropertyType {
  Text,           // a string
  YesNo,          // lbYesNo: 32-bit integer, no = 0, yes = 1 (every switch, DebugMode)
  ContentMethod,  // lbContentMethod: 32-bit integer, BodyHTML = 0, BodyText = 1
  Int16Text,      // 16-bit integer kept as its decimal text (the two time-outs)
};

// lbYesNo and lbContentMethod members.
inline constexpr std::int32_t no = 0;
inline constexpr std::int32_t yes = 1;
inline constexpr std::int32_t BodyHTML = 0;
inline constexpr std::int32_t BodyText = 1;

// A value crossing the property interface: text or a 32-bit integer. Text properties answer text;
// the integer kinds (switches, SaveContentMethod, the time-outs) answer integers.
using PropertyValue = std::variant<std::string, std::int32_t>;

// One row of the property table. The table is the single description of the property set: the
// public order, the restore order, keys, defaults, reported names and side effects all come from it.
struct PropertyDef {
  std::string_view name;          // public name, as the element exposes it
  PropertyType type;
  std::string_view defaultText;   // "" for text, "0" for integers, "30" / "300" for the time-outs
  std::string_view readKey;       // key looked up when restoring
  std::string_view writeKey;      // key written when saving
  std::string_view reportedName;  // name reported to the container by the Let
  bool reapplies;                 // the Let re-runs interface enabling
  int readPosition;               // position in the restore order (0-based)

  bool isInteger() const { return type == PropertyType::YesNo || type == PropertyType::ContentMethod; }
  // The default handed to the bag: an integer for the 32-bit kinds, text otherwise.
  PropertyValue defaultValue() const;
};

// Every property, in the order of the control's public interface.
std::span<const PropertyDef> propertyTable();
// The table row of a public name (letter case ignored), or nullptr.
const PropertyDef* findProperty(std::string_view name);
// The rows in restore order.
const std::vector<const PropertyDef*>& propertiesInReadOrder();

// The container's store of saved properties. In the page it is the element's <param> children.
class PropertyBag {
 public:
  virtual ~PropertyBag() = default;
  // The value stored under `key` (letter case ignored), `defaultValue` when there is none, or
  // nullopt when the stored value cannot be produced at all.
  virtual std::optional<PropertyValue> readProperty(std::string_view key,
                                                    const PropertyValue& defaultValue) = 0;
  virtual void writeProperty(std::string_view key, const PropertyValue& value,
                             const PropertyValue& defaultValue) = 0;
};

// A bag held in memory: named text values to read (first of several equal keys wins, letter case
// ignored) and the ordered record of everything written. Backs the page's <param> children, and a
// written bag reads back as a restore source.
class MemoryPropertyBag final : public PropertyBag {
 public:
  struct Written {
    std::string key;
    PropertyValue value;
    PropertyValue defaultValue;
  };

  MemoryPropertyBag() = default;
  explicit MemoryPropertyBag(std::vector<std::pair<std::string, std::string>> values)
      : values_(std::move(values)) {}

  std::optional<PropertyValue> readProperty(std::string_view key,
                                            const PropertyValue& defaultValue) override;
  void writeProperty(std::string_view key, const PropertyValue& value,
                     const PropertyValue& defaultValue) override;

  const std::vector<Written>& written() const { return written_; }
  // The written pairs as a new restore source (values as text, as a page's <param> tags hold them).
  MemoryPropertyBag writtenAsSource() const;

 private:
  std::vector<std::pair<std::string, std::string>> values_;
  std::vector<Written> written_;
};

// What a property Let or Get does beyond the store, supplied by the control instance through which
// the property is used. Every member may be empty.
struct PropertyHooks {
  // PropertyChanged(name) to the container, with the reported name of the table.
  std::function<void(std::string_view reportedName)> changed;
  // The interface-enabling step, run by the Let of a re-applying switch.
  std::function<void()> enableInterface;
  // `content` Get: the current edited document, already cleaned up.
  std::function<std::optional<std::string>()> currentContent;
  // `content` Let: load the document into the editor.
  std::function<void(const std::string& document)> loadContent;
};

// The property values of the control. One store per user-interface thread: every control on the
// page reads and writes the same values, and the one that restored last determines them.
class PropertySet {
 public:
  PropertySet();

  static PropertySet& shared();

  // Generic Get / Let by public name (letter case ignored). get answers nullopt for an unknown
  // name. let answers false when the name is unknown or the value does not convert to the
  // property's type; the property then keeps its value and nothing is reported.
  std::optional<PropertyValue> get(std::string_view name, const PropertyHooks& hooks = {});
  bool let(std::string_view name, PropertyValue value, const PropertyHooks& hooks = {});
  // The value of `name` as text (integers in decimal); "" for an unknown name.
  std::string getText(std::string_view name, const PropertyHooks& hooks = {});

  // Every property back to its default (control initialisation).
  void resetToDefaults();

  // Restore from a bag in the fixed restore order, through each Let; values that do not convert
  // are skipped. Save to a bag in the public order with the table's defaults.
  void readProperties(PropertyBag& bag, const PropertyHooks& hooks = {});
  void writeProperties(PropertyBag& bag, const PropertyHooks& hooks = {});

  // Typed Gets for the consumers.
  const std::string& domain() const { return text(kDomain); }
  const std::string& port() const { return text(kPort); }
  const std::string& documentRoot() const { return text(kDocumentRoot); }
  const std::string& contentID() const { return text(kContentID); }
  // The stored document, without asking the editor (the `content` Get proper needs the hooks).
  const std::string& storedContent() const { return text(kContent); }
  std::int16_t httpTimeout() { return timeout(kHttpTimeout); }
  std::int16_t keepAliveTimeout() { return timeout(kKeepAliveTimeout); }
  std::int32_t debugMode() const { return integer(kDebugMode); }
  std::int32_t saveContentMethod() const { return integer(kSaveContentMethod); }
  const std::string& maxUploadSize() const { return text(kMaxUploadSize); }
  const std::string& helpContentsURL() const { return text(kHelpContentsURL); }
  const std::string& pathToContent() const { return text(kPathToContent); }
  const std::string& pathToSaveToServer() const { return text(kPathToSaveToServer); }
  const std::string& pathToStyleSheet() const { return text(kPathToStyleSheet); }
  const std::string& pathToImageUpload() const { return text(kPathToImageUpload); }
  const std::string& pathToImageDelete() const { return text(kPathToImageDelete); }
  const std::string& pathToImageList() const { return text(kPathToImageList); }
  const std::string& pathToLinkList() const { return text(kPathToLinkList); }
  const std::string& pathToEmailLinkList() const { return text(kPathToEmailLinkList); }
  const std::string& pathToKeepAlive() const { return text(kPathToKeepAlive); }
  // i = 1..10; "" outside that range.
  const std::string& cookieName(int i) const;
  const std::string& cookieValue(int i) const;
  const std::string& urlName(int i) const;
  const std::string& urlValue(int i) const;

  // A switch (or any integer property) by public name; 0 for an unknown or non-integer name.
  std::int32_t switchValue(std::string_view name) const;
  // The test almost every consumer makes: the switch is exactly 1.
  bool isOn(std::string_view name) const { return switchValue(name) == yes; }
  // The test DisableMenuBar, DisableHtmlView and the start-up DisableCssStyles test make.
  bool isNonZero(std::string_view name) const { return switchValue(name) != 0; }

 private:
  // Rows of the table the typed Gets read; the table is checked against them at compile time.
  enum Row : std::size_t {
    kDomain = 0, kSaveContentMethod = 1, kContentID = 2, kDocumentRoot = 3, kPort = 4,
    kContent = 5, kHttpTimeout = 6, kKeepAliveTimeout = 7, kHelpContentsURL = 8, kDebugMode = 9,
    kMaxUploadSize = 38,
    kPathToSaveToServer = 63, kPathToContent = 64, kPathToStyleSheet = 65,
    kPathToImageUpload = 66, kPathToImageDelete = 67, kPathToImageList = 68,
    kPathToLinkList = 69, kPathToEmailLinkList = 70, kPathToKeepAlive = 71,
    kFirstCookie = 79,  // CookieName1, CookieValue1, CookieName2, ...
    kFirstUrl = 99,     // UrlName1, UrlValue1, UrlName2, ...
  };

  const std::string& text(std::size_t row) const;
  std::int32_t integer(std::size_t row) const;
  std::int16_t timeout(std::size_t row);
  bool letRow(std::size_t row, PropertyValue value, const PropertyHooks& hooks);
  PropertyValue getRow(std::size_t row, const PropertyHooks& hooks);

  // Text rows hold std::string, integer rows std::int32_t, time-outs their decimal text.
  std::vector<PropertyValue> values_;
};

// Conversions of the restore step, also used by the element's setters.
// A number as the platform's numeric test accepts it: optional blanks and sign, digits with an
// optional fraction. Rounded half to even to a whole number; nullopt when not numeric or out of
// the 32-bit range.
std::optional<std::int32_t> toInt32(std::string_view text);
std::optional<std::int16_t> toInt16(std::string_view text);
bool isNumeric(std::string_view text);

}  // namespace vellmar::editor
