#pragma once

// Small text and file helpers the server's parts share.

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vellmar::server {

// `s` without the blanks, tabs and carriage returns at either end.
inline std::string_view trim(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

// ASCII comparison without regard to case, as header names and tokens are compared.
inline bool equalsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

// The whole content of a file; nullopt when it cannot be read.
inline std::optional<std::string> readWholeFile(const std::filesystem::path& path) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!in) return std::nullopt;
  std::string out;
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, in.get())) > 0;) out.append(buffer, n);
  if (std::ferror(in.get())) return std::nullopt;
  return out;
}

}  // namespace vellmar::server
