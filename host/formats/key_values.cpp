#include "formats/key_values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

#include "files/number_lines.h"
#include "formats/format.h"

namespace qv3d {

KeyValues::KeyValues(const std::string& fileName, std::string_view text, char separator)
    : fileName_(fileName) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t at = line.find(separator);
    if (at == std::string_view::npos) continue;
    std::string key(Trim(line.substr(0, at)));
    std::transform(key.begin(), key.end(), key.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    values_[key] = Trim(line.substr(at + 1));
  }
}

std::string KeyValues::Text(const std::string& key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::string() : found->second;
}

double KeyValues::Number(const std::string& key, std::optional<double> otherwise) const {
  if (!Has(key)) {
    if (otherwise) return *otherwise;
    RefuseCorrupt(fileName_, fmt::format("the header does not tell \"{}\"", key));
  }
  const std::string text = Text(key);
  const std::optional<double> number = ParseNumber(text);
  if (!number || !std::isfinite(*number)) {
    RefuseCorrupt(fileName_, fmt::format("\"{}\" is no number for \"{}\"", text.substr(0, 40), key));
  }
  return *number;
}

std::optional<double> ParseNumber(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

}  // namespace qv3d
