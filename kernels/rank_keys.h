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
/// flipped. Twice gives the bits back. Like all here, of one key or of a vector of them.
template <class Key, class Bits>
QV_INLINE Bits FlipNegative(const Bits& bits) {
  return bits ^ ((bits < 0 ? Bits{} - 1 : Bits{}) & kLargest<Key>);
}

template <class Sample>
struct RankKey;

/// Key has the size of T, of whose infinity and NaN the bits are given.
template <class T, class KeyOfT, KeyOfT kInfinity, KeyOfT kNaN>
struct FloatingRankKey {
  using Key = KeyOfT;
  template <class Bits>
  QV_INLINE Bits OfBits(const Bits& bits) {
    return (bits & kLargest<Key>) > kInfinity ? Bits{} + kNaN : FlipNegative<Key>(bits);
  }
  template <class Bits>
  QV_INLINE Bits BitsOf(const Bits& key) {
    return FlipNegative<Key>(key);
  }
  QV_INLINE Key Of(T z) { return OfBits(__builtin_bit_cast(Key, z)); }
  QV_INLINE T Sample(Key key) { return __builtin_bit_cast(T, BitsOf(key)); }
};

template <>
struct RankKey<float> : FloatingRankKey<float, std::int32_t, 0x7F800000, 0x7FC00000> {};

template <>
struct RankKey<double> : FloatingRankKey<double, std::int64_t, 0x7FF0000000000000, 0x7FF8000000000000> {};

template <>
struct RankKey<std::int32_t> {
  using Key = std::int32_t;
  template <class Bits>
  QV_INLINE Bits OfBits(const Bits& bits) {
    return bits;
  }
  template <class Bits>
  QV_INLINE Bits BitsOf(const Bits& key) {
    return key;
  }
  QV_INLINE Key Of(std::int32_t z) { return z; }
  QV_INLINE std::int32_t Sample(Key key) { return key; }
};

}  // namespace qv::kernels::QV_KERNEL_ISA
