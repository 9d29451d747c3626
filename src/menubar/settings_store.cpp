#include "menubar/settings_store.h"

namespace vellmar::menubar {

std::string MemorySettingsStore::GetSetting(std::string_view application, std::string_view section,
                                            std::string_view key) {
  auto found = values_.find(std::tuple(std::string(application), std::string(section),
                                       std::string(key)));
  return found == values_.end() ? std::string() : found->second;
}

void MemorySettingsStore::SaveSetting(std::string_view application, std::string_view section,
                                      std::string_view key, std::string_view value) {
  values_[std::tuple(std::string(application), std::string(section), std::string(key))] =
      std::string(value);
}

std::string recentFilesKey(int n) { return "recentFiles" + std::to_string(n); }

std::string readRecentFile(SettingsStore& store, std::string_view domain, int n) {
  if (n < 1 || n > kRecentFileCount) return {};
  return store.GetSetting(kSettingsApplication, domain, recentFilesKey(n));
}

}  // namespace vellmar::menubar
