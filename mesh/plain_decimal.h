// The decimals that files are full of, scanned without branches that depend on their digits. Everything that
// is not quite so plain is left to ScanNumber.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <limits>

namespace qv::mesh {

constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The number that eight decimal digits make, the first in the lowest byte.
inline std::uint64_t JoinEightDigits(std::uint64_t digits) {
  digits = digits * 10 + (digits >> 8);
  return ((digits & 0x000000FF000000FFU) * 0x000F424000000064U +
          ((digits >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U) >>
         32;
}

/// Powers of ten of up to sixteen digits.
inline constexpr std::uint64_t kWholePowers[17] = {1,
                                                   10,
                                                   100,
                                                   1000,
                                                   10000,
                                                   100000,
                                                   1000000,
                                                   10000000,
                                                   100000000,
                                                   1000000000,
                                                   10000000000,
                                                   100000000000,
                                                   1000000000000,
                                                   10000000000000,
                                                   100000000000000,
                                                   1000000000000000,
                                                   10000000000000000};

inline constexpr std::int64_t kLargestPower = 37;
inline constexpr double kPowers[2 * kLargestPower + 1] = {
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

inline float WithSign(float value, bool negative) {
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(value) ^
                              (static_cast<std::uint32_t>(negative) << 31));
}

/// Scans a number of the form [-]d.d...d of up to fifteen digits behind the point, without an exponent, and
/// moves *text behind it. Returns false, and changes nothing, where the text has another form or where
/// rounding its value needs more care. 18 bytes must be readable.
inline bool ScanPlainDecimal(const char** text, float* value) {
  static_assert(std::endian::native == std::endian::little);
  const bool negative = **text == '-';  // as good as random: no branch on it
  const char* first = *text + static_cast<int>(negative);
  if (!IsDigit(first[0]) || first[1] != '.') return false;

  const __m128i digits =
      _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(first + 2)), _mm_set1_epi8('0'));
  const __m128i others = _mm_cmpeq_epi8(_mm_max_epu8(digits, _mm_set1_epi8(10)), digits);
  const int count = std::countr_zero(static_cast<unsigned>(_mm_movemask_epi8(others)) | 0x10000U);
  const char* end = first + 2 + count;
  if (count == 0 || count == 16 || (*end | 0x20) == 'e') return false;

  // The digits, moved up so that the last one comes to lie in the last of sixteen bytes.
  std::uint64_t halves[2];
  std::memcpy(halves, &digits, sizeof halves);
  const bool isLong = count > 8;
  const int shift = (8 * (16 - count)) & 63, back = (64 - shift) & 63;
  const std::uint64_t low = isLong ? halves[0] << shift : 0;
  const std::uint64_t high = isLong ? (halves[1] << shift) | (halves[0] >> back) : halves[0] << shift;
  const std::uint64_t fraction = JoinEightDigits(low) * kWholePowers[8] + JoinEightDigits(high);
  const std::uint64_t mantissa = static_cast<std::uint64_t>(*first - '0') * kWholePowers[count] + fraction;

  float magnitude = 0;
  if (mantissa != 0 && !RoundToFloat(mantissa, -count, &magnitude)) return false;
  *value = WithSign(magnitude, negative);
  *text = end;
  return true;
}

}  // namespace qv::mesh
