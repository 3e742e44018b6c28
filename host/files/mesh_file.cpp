#include "files/mesh_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qv3d {

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) {
  return text.size() == lower.size() &&
         std::equal(text.begin(), text.end(), lower.begin(), [](char a, char b) {
           return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
         });
}

bool ParseForgivingly(std::string_view word, double& value, bool& hasComma) {
  std::string copy;
  if (const std::size_t comma = word.find(','); comma != std::string_view::npos) {
    hasComma = true;
    copy = word;
    copy[comma] = '.';
    word = copy;
  }
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  // What a double cannot hold is far outside a float, whether it is huge or next to nothing.
  if (error == std::errc::result_out_of_range)
    value = word.find("e-") != word.npos || word.find("E-") != word.npos ? 0 : HUGE_VAL;
  return error != std::errc::invalid_argument && end == word.data() + word.size();
}

double DoubledArea(const Triangle& t) {
  return (double{t[4]} - t[7]) * t[0] + (double{t[7]} - t[1]) * t[3] + (double{t[1]} - t[4]) * t[6];
}

}  // namespace qv3d
