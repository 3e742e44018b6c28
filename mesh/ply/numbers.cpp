#include "mesh/ply/numbers.h"

#include <algorithm>
#include <limits>

#include "mesh/number_scanner.h"
#include "mesh/plain_decimal.h"

namespace qv::ply {
namespace {

/// The white space that C's conversions skip. Of it only a quoted word can begin with the usual kinds.
std::string_view WithoutSpace(std::string_view word) {
  const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  word.remove_prefix(
      static_cast<std::size_t>(std::find_if_not(word.begin(), word.end(), isSpace) - word.begin()));
  return word;
}

struct SignedDigits {
  bool negative;
  std::uint64_t magnitude;  ///< no more than `limit`
};

SignedDigits ScanSignedDigits(std::string_view word, std::uint64_t limit) {
  word = WithoutSpace(word);
  const bool negative = !word.empty() && word.front() == '-';
  if (!word.empty() && (word.front() == '-' || word.front() == '+')) word.remove_prefix(1);
  std::uint64_t magnitude = 0;
  for (const char c : word) {
    if (!mesh::IsDigit(c)) break;
    magnitude = std::min(magnitude * 10 + static_cast<std::uint64_t>(c - '0'), limit);
  }
  return {negative, magnitude};
}

}  // namespace

std::int32_t IntegerOf(std::string_view word) {
  constexpr std::int64_t kBeyond = std::int64_t{1} << 31;
  const SignedDigits digits = ScanSignedDigits(word, kBeyond);
  const auto magnitude = static_cast<std::int64_t>(digits.magnitude);
  return static_cast<std::int32_t>(digits.negative ? -magnitude : std::min(magnitude, kBeyond - 1));
}

std::uint32_t UnsignedOf(std::string_view word) {
  constexpr std::uint64_t kBeyond = std::uint64_t{1} << 32;
  const SignedDigits digits = ScanSignedDigits(word, kBeyond);
  if (digits.magnitude == kBeyond) return std::numeric_limits<std::uint32_t>::max();
  const auto magnitude = static_cast<std::uint32_t>(digits.magnitude);
  return digits.negative ? 0U - magnitude : magnitude;
}

double DecimalOf(std::string_view word) {
  word = WithoutSpace(word);
  return mesh::NumberPrefix(word.data(), word.data() + word.size());
}

}  // namespace qv::ply
