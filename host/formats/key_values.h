// Header lines "key = value".
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace qv3d {

/// The keys of a header in small letters, for programs do not agree on the others.
class KeyValues {
 public:
  /// Takes lines up to the end of the text; lines without the separator are passed over.
  KeyValues(const std::string& fileName, std::string_view text, char separator = '=');

  bool Has(const std::string& key) const { return values_.count(key) != 0; }

  /// The empty text where the key is not there.
  std::string Text(const std::string& key) const;

  /// The number of a key. Throws Failure (corrupt) where its value is none or infinite, or, without
  /// `otherwise`, the key is not there.
  double Number(const std::string& key, std::optional<double> otherwise = {}) const;

 private:
  std::string fileName_;
  std::map<std::string, std::string> values_;
};

/// A number in the C locale, from its first character to its last.
std::optional<double> ParseNumber(std::string_view text);

}  // namespace qv3d
