#include "server/form.h"

#include <cctype>
#include <charconv>

#include "server/media.h"

namespace vellmar::server {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string decode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '+') {
      out += ' ';
    } else if (c == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> parseUrlEncoded(std::string_view text) {
  std::vector<std::pair<std::string, std::string>> fields;
  std::size_t pos = 0;
  while (pos <= text.size()) {
    std::size_t end = text.find('&', pos);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view pair = text.substr(pos, end - pos);
    if (!pair.empty()) {
      const auto eq = pair.find('=');
      if (eq == std::string_view::npos)
        fields.emplace_back(decode(pair), std::string());
      else
        fields.emplace_back(decode(pair.substr(0, eq)), decode(pair.substr(eq + 1)));
    }
    pos = end + 1;
  }
  return fields;
}

bool isUrlEncodedForm(std::string_view contentType) {
  std::string_view type = contentType.substr(0, contentType.find(';'));
  while (!type.empty() && type.back() == ' ') type.remove_suffix(1);
  while (!type.empty() && type.front() == ' ') type.remove_prefix(1);
  constexpr std::string_view kForm = "application/x-www-form-urlencoded";
  if (type.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < type.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(type[i])) != kForm[i]) return false;
  return true;
}

void FormFields::add(std::vector<std::pair<std::string, std::string>> fields) {
  for (auto& f : fields) fields_.push_back(std::move(f));
}

void FormFields::add(std::string name, std::string value) {
  fields_.emplace_back(std::move(name), std::move(value));
}

std::optional<std::string> FormFields::get(std::string_view name) const {
  for (const auto& [n, v] : fields_)
    if (n == name) return v;
  return std::nullopt;
}

std::optional<std::int64_t> documentIdOf(const FormFields& fields) {
  const auto given = fields.get("vmContentID");
  if (!given) return std::nullopt;
  const std::string& text = *given;
  std::string_view trimmed = text;
  while (!trimmed.empty() && trimmed.front() == ' ') trimmed.remove_prefix(1);
  while (!trimmed.empty() && trimmed.back() == ' ') trimmed.remove_suffix(1);
  if (trimmed.empty()) return std::nullopt;
  std::int64_t id = 0;
  const auto [end, ec] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), id);
  if (ec != std::errc() || end != trimmed.data() + trimmed.size() || id <= 0)
    throw RequestError(400, "vmContentID must be a document number, not '" + text + "'.");
  return id;
}

}  // namespace vellmar::server
