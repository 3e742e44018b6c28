#include "mesh/number_scanner.h"

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

namespace qv::mesh {
namespace {

constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr char ToLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr bool IsLetter(char c) {
  return ToLower(c) >= 'a' && ToLower(c) <= 'z';
}
constexpr bool IsHexDigit(char c) {
  return IsDigit(c) || (ToLower(c) >= 'a' && ToLower(c) <= 'f');
}

/// A run of digits, read eight at a time.
struct Digits {
  const char* end;
  std::uint64_t value;  ///< right for up to kExactDigits digits
};

/// So many digits fit a signed integer, which converts to double faster than an unsigned one.
constexpr std::int64_t kExactDigits = 18;

/// How many of the eight characters are digits before the first that is none. `characters` has been combined
/// with eight '0' by exclusive or. A carry can only spoil the bytes behind the first that is no digit.
inline int LeadingDigits(std::uint64_t characters) {
  const std::uint64_t others = ((characters + 0x7676767676767676U) | characters) & 0x8080808080808080U;
  return std::countr_zero(others) / 8;
}

/// The number that eight decimal digits make, the first in the lowest byte.
inline std::uint64_t JoinEightDigits(std::uint64_t digits) {
  digits = digits * 10 + (digits >> 8);
  return ((digits & 0x000000FF000000FFU) * 0x000F424000000064U +
          ((digits >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U) >>
         32;
}

constexpr std::uint64_t kWholePowers[9] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

inline Digits ScanDigits(const char* text, std::uint64_t value) {
  static_assert(std::endian::native == std::endian::little);
  for (;;) {
    std::uint64_t characters;
    std::memcpy(&characters, text, sizeof characters);
    characters ^= 0x3030303030303030U;
    const int count = LeadingDigits(characters);
    if (count == 8) {
      value = value * kWholePowers[8] + JoinEightDigits(characters);
      text += 8;
      continue;
    }
    // In two steps: with no digit all eight characters are shifted out.
    value = value * kWholePowers[count] + JoinEightDigits(characters << (8 * (7 - count)) << 8);
    return {text + count, value};
  }
}

/// The exponent behind the letter, if there is one: [+-]digits. Saturated far outside any use.
struct Exponent {
  const char* end;
  bool complete;
  std::int64_t value;
};

Exponent ScanExponent(const char* text) {
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  const char* first = text;
  std::int64_t value = 0;
  for (; IsDigit(*text); ++text) {
    if (value < 1'000'000'000'000'000) value = value * 10 + (*text - '0');
  }
  return {text, text > first, negative ? -value : value};
}

constexpr std::int64_t kLargestPower = 37;
constexpr double kPowers[2 * kLargestPower + 1] = {
    1e-37, 1e-36, 1e-35, 1e-34, 1e-33, 1e-32, 1e-31, 1e-30, 1e-29, 1e-28, 1e-27, 1e-26, 1e-25, 1e-24, 1e-23,
    1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,  1e-8,
    1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,   1e7,
    1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21,  1e22,
    1e23,  1e24,  1e25,  1e26,  1e27,  1e28,  1e29,  1e30,  1e31,  1e32,  1e33,  1e34,  1e35,  1e36,  1e37};

/// mantissa * 10^exponent as the nearest float, if that can be had from a few roundings in double: the
/// conversion of the mantissa, the power and the product are each off by half a unit in the last place of a
/// double at most, less than three units together. Unless that reaches across the middle between two floats,
/// rounding to float gives what rounding the exact value would.
inline bool RoundToFloat(std::uint64_t mantissa, std::int64_t exponent, float* value) {
  if (exponent < -kLargestPower || exponent > kLargestPower) return false;
  const double product =
      static_cast<double>(static_cast<std::int64_t>(mantissa)) * kPowers[exponent + kLargestPower];
  if (!(product > std::numeric_limits<float>::min() && product < 3e38)) return false;

  constexpr std::int64_t kDropped = 1 << 29, kMiddle = kDropped / 2, kDoubt = 8;
  const std::int64_t fraction = std::bit_cast<std::int64_t>(product) & (kDropped - 1);
  if (fraction >= kMiddle - kDoubt && fraction <= kMiddle + kDoubt) return false;
  *value = static_cast<float>(product);
  return true;
}

/// Where the first digit that is not 0 stands relative to the point: 1 for "5.0", 0 for "0.5", -1 for "0.05".
/// Returns false when every digit is 0.
bool FindLeadingDigit(const char* text, const char* end, std::int64_t* position) {
  std::int64_t whole = 0, zeros = 0;
  bool seenPoint = false, found = false;
  for (; text < end && (IsHexDigit(*text) || *text == '.'); ++text) {
    if (*text == '.') {
      seenPoint = true;
    } else if (found || *text != '0') {
      found = true;
      if (seenPoint) break;
      ++whole;
    } else if (seenPoint) {
      ++zeros;
    }
  }
  *position = whole > 0 ? whole : -zeros;
  return found;
}

/// The careful way. `mantissaEnd` is behind the last digit before the exponent.
float ConvertExactly(const char* first, const char* mantissaEnd, const char* last, std::chars_format format,
                     std::int64_t exponent) {
  std::int64_t position = 0;
  if (!FindLeadingDigit(first, mantissaEnd, &position)) return 0.0F;
  float value = 0;
  const std::from_chars_result result = std::from_chars(first, last, value, format);
  if (result.ec != std::errc::result_out_of_range) return value;
  const std::int64_t digitWidth = format == std::chars_format::hex ? 4 : 1;
  return position * digitWidth + exponent > 0 ? std::numeric_limits<float>::infinity() : 0.0F;
}

ScannedNumber ScanDecimal(const char* text) {
  const char* end = ScanDigits(text, 0).end;
  std::ptrdiff_t length = end - text;
  if (*end == '.') {
    const char* fraction = end + 1;
    end = ScanDigits(fraction, 0).end;
    length += end - fraction;
  }
  if (length == 0) return {end, 0, false};
  Exponent exponent{end, true, 0};
  if (ToLower(*end) == 'e') exponent = ScanExponent(end + 1);
  if (!exponent.complete) return {exponent.end, 0, false};
  return {exponent.end, ConvertExactly(text, end, exponent.end, std::chars_format::general, exponent.value),
          true};
}

/// `text` is behind "0x".
ScannedNumber ScanHexadecimal(const char* text) {
  const char* end = text;
  int length = 0;
  for (; IsHexDigit(*end); ++end) length = 1;
  if (*end == '.') {
    ++end;
    for (; IsHexDigit(*end); ++end) length = 1;
  }
  if (length == 0) return {end, 0, false};
  Exponent exponent{end, true, 0};
  if (ToLower(*end) == 'p') exponent = ScanExponent(end + 1);
  if (!exponent.complete) return {exponent.end, 0, false};
  return {exponent.end, ConvertExactly(text, end, exponent.end, std::chars_format::hex, exponent.value),
          true};
}

/// Behind the characters of `word` (lower case) that `text` has in either case.
const char* Follow(const char* text, const char* word) {
  while (*word != '\0' && ToLower(*text) == *word) {
    ++text;
    ++word;
  }
  return text;
}

ScannedNumber ScanInfinity(const char* text) {
  const char* end = Follow(text, "infinity");
  return {end, std::numeric_limits<float>::infinity(), end - text == 3 || end - text == 8};
}

ScannedNumber ScanNan(const char* text) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const char* end = Follow(text, "nan");
  if (end - text < 3 || *end != '(') return {end, nan, end - text == 3};
  ++end;
  while (IsDigit(*end) || IsLetter(*end) || *end == '_') ++end;
  if (*end != ')') return {end, 0, false};
  return {end + 1, nan, true};
}

/// All that a number can be, as carefully as need be.
[[gnu::noinline]] ScannedNumber ScanAnyNumber(const char* text) {
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;

  ScannedNumber number;
  const char first = ToLower(*text);
  if (first == 'i') {
    number = ScanInfinity(text);
  } else if (first == 'n') {
    number = ScanNan(text);
  } else if (first == '0' && ToLower(text[1]) == 'x') {
    number = ScanHexadecimal(text + 2);
  } else {
    number = ScanDecimal(text);
  }
  if (negative) number.value = -number.value;
  return number;
}

float WithSign(float value, bool negative) {
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) ^
                              (static_cast<std::uint32_t>(negative) << 31));
}

}  // namespace

// The decimals that files are full of. Anything else, or anything in doubt, is scanned again from its start.
// Signs are as good as random: no branches on them.
ScannedNumber ScanNumber(const char* text) {
  const bool negative = *text == '-';
  const char* first = text + (static_cast<int>(negative) | static_cast<int>(*text == '+'));

  // Most often there is one digit before the point.
  Digits digits = IsDigit(*first) && first[1] == '.'
                      ? Digits{first + 1, static_cast<std::uint64_t>(*first - '0')}
                      : ScanDigits(first, 0);
  std::ptrdiff_t length = digits.end - first;
  std::int64_t scale = 0;
  if (*digits.end == '.') {
    const char* fraction = digits.end + 1;
    digits = ScanDigits(fraction, digits.value);
    scale = fraction - digits.end;
    length -= scale;
  }
  Exponent exponent{digits.end, true, 0};
  const char after = ToLower(*digits.end);
  if (after == 'e') exponent = ScanExponent(digits.end + 1);
  if (length == 0 || length > kExactDigits || after == 'x' || !exponent.complete) return ScanAnyNumber(text);

  float value = 0;
  if (digits.value != 0 && !RoundToFloat(digits.value, exponent.value + scale, &value))
    return ScanAnyNumber(text);
  return {exponent.end, WithSign(value, negative), true};
}

}  // namespace qv::mesh
