#include "mesh/number_scanner.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

#include "mesh/plain_decimal.h"

namespace qv::mesh {
namespace {

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

/// Whether a number that is out of every range is too large, not too small. `mantissaEnd` is behind the last
/// digit before the exponent.
bool IsTooLarge(const char* first, const char* mantissaEnd, std::chars_format format, std::int64_t exponent) {
  std::int64_t position = 0;
  if (!FindLeadingDigit(first, mantissaEnd, &position)) return false;
  const std::int64_t digitWidth = format == std::chars_format::hex ? 4 : 1;
  return position * digitWidth + exponent > 0;
}

/// The careful way. `mantissaEnd` is behind the last digit before the exponent.
float ConvertExactly(const char* first, const char* mantissaEnd, const char* last, std::chars_format format,
                     std::int64_t exponent) {
  float value = 0;
  const std::from_chars_result result = std::from_chars(first, last, value, format);
  if (result.ec != std::errc::result_out_of_range) return value;
  return IsTooLarge(first, mantissaEnd, format, exponent) ? std::numeric_limits<float>::infinity() : 0.0F;
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

/// The number without a sign that [first, last) begins with. False where there is none.
bool ScanUnsignedPrefix(const char* first, const char* last, double* value) {
  const auto isHexDigitAt = [&](std::ptrdiff_t i) { return i < last - first && IsHexDigit(first[i]); };
  auto format = std::chars_format::general;
  if (last - first > 2 && *first == '0' && ToLower(first[1]) == 'x' &&
      (isHexDigitAt(2) || (first[2] == '.' && isHexDigitAt(3)))) {
    format = std::chars_format::hex;
    first += 2;
  }
  const std::from_chars_result result = std::from_chars(first, last, *value, format);
  if (result.ec != std::errc::result_out_of_range) return result.ec == std::errc();

  const char letter = format == std::chars_format::hex ? 'p' : 'e';
  const char* mantissaEnd = std::find_if(first, result.ptr, [=](char c) { return ToLower(c) == letter; });
  const std::int64_t exponent = mantissaEnd == result.ptr ? 0 : ScanExponent(mantissaEnd + 1).value;
  *value = IsTooLarge(first, mantissaEnd, format, exponent) ? std::numeric_limits<double>::infinity() : 0.0;
  return true;
}

}  // namespace

double NumberPrefix(const char* first, const char* last) {
  const bool negative = first < last && *first == '-';
  if (first < last && (*first == '-' || *first == '+')) ++first;
  if (first < last && *first == '-') return 0;  // it would be taken for a sign again
  double value = 0;
  if (!ScanUnsignedPrefix(first, last, &value)) return 0;
  return negative ? -value : value;
}

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
