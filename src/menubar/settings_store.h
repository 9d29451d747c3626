#pragma once

#include <map>
#include <string>
#include <string_view>
#include <tuple>

// The per-user settings store: text values under (application, section, key). The editor keeps
// only its recent files there; the page backs the store with browser storage.
namespace vellmar::menubar {

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  // The stored value, or "" when there is none.
  virtual std::string GetSetting(std::string_view application, std::string_view section,
                                 std::string_view key) = 0;
  virtual void SaveSetting(std::string_view application, std::string_view section,
                           std::string_view key, std::string_view value) = 0;
};

// A store held in memory, for tests and for hosts without persistent storage.
class MemorySettingsStore final : public SettingsStore {
 public:
  std::string GetSetting(std::string_view application, std::string_view section,
                         std::string_view key) override;
  void SaveSetting(std::string_view application, std::string_view section, std::string_view key,
                   std::string_view value) override;

 private:
  std::map<std::tuple<std::string, std::string, std::string>, std::string, std::less<>> values_;
};

// Where the recent files live: application "Vellmar2", section = the editor's `domain`, keys
// "recentFiles1" (most recent) to "recentFiles4".
inline constexpr std::string_view kSettingsApplication = "Vellmar2";
inline constexpr int kRecentFileCount = 4;
// "recentFiles" + n: the settings key and the File menu item key of entry n (1-based).
std::string recentFilesKey(int n);
// Entry n (1-based) of the recent files of `domain`; "" when missing or n is out of range.
std::string readRecentFile(SettingsStore& store, std::string_view domain, int n);

}  // namespace vellmar::menubar
