// What the grids of every family have in common: the missing-sample tests, the start values of searches and
// the conversions whose out-of-range cases C++ leaves open.
//
// Kernels must not include this header: see kernels/kernels.h.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

namespace qv {

inline constexpr double kBadSample = -1e10;
inline constexpr float kBadSampleFloat = -1e10F;
static_assert(kBadSampleFloat == kBadSample, "the float sentinel must widen to the double one");

inline constexpr std::uint32_t kBadSampleBits = 0xD01502F9U;
static_assert(std::bit_cast<std::uint32_t>(kBadSampleFloat) == kBadSampleBits);

/// Missing by value: the sentinel or a NaN.
inline bool IsMissing(float sample) {
  return !(sample < kBadSampleFloat || sample > kBadSampleFloat);
}

/// Missing by bit pattern: a NaN is a height.
inline bool HasMissingBits(float sample) {
  return std::bit_cast<std::uint32_t>(sample) == kBadSampleBits;
}
inline bool HasMissingBits(double sample) {
  return std::bit_cast<std::uint64_t>(sample) == std::bit_cast<std::uint64_t>(kBadSample);
}

/// Where searches for a maximum or a minimum of floats begin. Not exactly 1e32: tests against the exact
/// double for "nothing found" never succeed, and callers rely on that.
inline constexpr float kSearchStart = 1e32F;
static_assert(static_cast<double>(kSearchStart) != 1e32);

/// Truncation toward zero; a value out of range, or a NaN, gives the lowest integer.
inline std::int32_t TruncateToInt(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                       : std::numeric_limits<std::int32_t>::min();
}

/// The low 8 bits of a byte argument. It arrives in a 32-bit slot whose other bits a caller may leave dirty,
/// which the compiler is told not to assume away.
inline std::uint8_t LowByte(unsigned char argument) {
  unsigned slot = argument;
  asm("" : "+r"(slot));
  return static_cast<std::uint8_t>(slot & 0xFFU);
}

}  // namespace qv
