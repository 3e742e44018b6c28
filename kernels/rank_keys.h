// Samples as integers that compare in the order of the ranks: by value, -0 before 0, NaN last. Only for
// kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include <cstdint>

#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

template <class Key>
inline constexpr Key kLargest = static_cast<Key>(~(std::uint64_t{1} << (8 * sizeof(Key) - 1)));
template <class Key>
inline constexpr Key kSmallest = -kLargest<Key> - 1;

/// The bits of a positive number count up with it, those of a negative one down: all but its sign are
/// flipped. Twice gives the bits back.
template <class Key>
QV_INLINE Key FlipNegative(Key bits) {
  return bits ^ ((bits < 0 ? Key{-1} : Key{0}) & kLargest<Key>);
}

template <class T>
struct RankKey;

template <>
struct RankKey<float> {
  using Key = std::int32_t;
  static constexpr Key kNaN = 0x7FC00000;
  QV_INLINE Key Of(float z) {
    const Key bits = __builtin_bit_cast(Key, z);
    return (bits & kLargest<Key>) > 0x7F800000 ? kNaN : FlipNegative(bits);
  }
  QV_INLINE float Sample(Key key) { return __builtin_bit_cast(float, FlipNegative(key)); }
};

template <>
struct RankKey<double> {
  using Key = std::int64_t;
  static constexpr Key kNaN = 0x7FF8000000000000;
  QV_INLINE Key Of(double z) {
    const Key bits = __builtin_bit_cast(Key, z);
    return (bits & kLargest<Key>) > 0x7FF0000000000000 ? kNaN : FlipNegative(bits);
  }
  QV_INLINE double Sample(Key key) { return __builtin_bit_cast(double, FlipNegative(key)); }
};

template <>
struct RankKey<std::int32_t> {
  using Key = std::int32_t;
  QV_INLINE Key Of(std::int32_t z) { return z; }
  QV_INLINE std::int32_t Sample(Key key) { return key; }
};

}  // namespace qv::kernels::QV_KERNEL_ISA
