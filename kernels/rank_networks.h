// Ranks of small windows by sorting networks: columns are sorted once for all the windows that they lie in,
// and merged. Only for kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include "kernels/rank_lists.h"

namespace qv::kernels::QV_KERNEL_ISA {

/// `kCount` sorted vectors, lane by lane, the smallest first. What nobody asks for in the end, the compiler
/// leaves out.
template <class Vector, int kCount>
struct Sorted {
  Vector at[kCount + (kCount == 0)];  // no array is empty
};

template <class Vector>
QV_INLINE Vector Lower(const Vector& a, const Vector& b) {
  return b < a ? b : a;
}
template <class Vector>
QV_INLINE Vector Higher(const Vector& a, const Vector& b) {
  return b < a ? a : b;
}

template <int kFirst, class Vector, int kCount>
QV_INLINE auto EverySecond(const Sorted<Vector, kCount>& all) {
  Sorted<Vector, (kCount + 1 - kFirst) / 2> some;
#pragma GCC unroll 32
  for (int i = kFirst; i < kCount; i += 2) some.at[i / 2] = all.at[i];
  return some;
}

/// Batcher's odd-even merge, for any two lengths.
template <class Vector, int kA, int kB>
QV_INLINE auto Merged(const Sorted<Vector, kA>& a, const Sorted<Vector, kB>& b) {
  Sorted<Vector, kA + kB> all;
  if constexpr (kA == 0) {
    all = b;
  } else if constexpr (kB == 0) {
    all = a;
  } else if constexpr (kA == 1 && kB == 1) {
    all.at[0] = a.at[0];
    all.at[1] = b.at[0];
    Order(all.at[0], all.at[1]);
  } else {
    const auto even = Merged(EverySecond<0>(a), EverySecond<0>(b));
    const auto odd = Merged(EverySecond<1>(a), EverySecond<1>(b));
    constexpr int kEven = (kA + 1) / 2 + (kB + 1) / 2, kOdd = kA / 2 + kB / 2;
    all.at[0] = even.at[0];
#pragma GCC unroll 32
    for (int i = 1; i < kEven && i <= kOdd; ++i) {
      all.at[2 * i - 1] = odd.at[i - 1];
      all.at[2 * i] = even.at[i];
      Order(all.at[2 * i - 1], all.at[2 * i]);
    }
    if constexpr ((kA + kB) % 2 == 0)
      all.at[kA + kB - 1] = kEven > kOdd ? even.at[kEven - 1] : odd.at[kOdd - 1];
  }
  return all;
}

template <int kCount, class Vector, int kAll>
QV_INLINE auto Smallest(const Sorted<Vector, kAll>& all) {
  Sorted<Vector, kCount> some;
#pragma GCC unroll 32
  for (int i = 0; i < kCount; ++i) some.at[i] = all.at[i];
  return some;
}

/// What is at position kRank of two lists together: of every way to divide the kRank + 1 smallest between
/// them, the one whose largest is least.
template <int kRank, class Vector, int kA, int kB>
QV_INLINE Vector AtRank(const Sorted<Vector, kA>& a, const Sorted<Vector, kB>& b) {
  static_assert(kRank < kA);
  Vector found = a.at[kRank];
#pragma GCC unroll 32
  for (int i = 0; i < kB && i <= kRank; ++i) {
    Vector largest = b.at[i];
    if (i < kRank) largest = Higher(largest, a.at[kRank - 1 - i]);
    found = Lower(found, largest);
  }
  return found;
}

template <class Vector>
QV_INLINE Vector MedianOfThree(Vector a, Vector b, const Vector& c) {
  Order(a, b);
  return Higher(a, Lower(b, c));
}

/// The vectors of one place lie in planes.
template <int kCount, class Key>
QV_INLINE auto LoadPlanes(const Key* from, std::ptrdiff_t plane) {
  Sorted<typename VectorOf<Key>::Type, kCount> all;
#pragma GCC unroll 32
  for (int i = 0; i < kCount; ++i) __builtin_memcpy(&all.at[i], from + i * plane, sizeof all.at[i]);
  return all;
}
template <class Key, class Vector, int kCount>
QV_INLINE void StorePlanes(Key* to, std::ptrdiff_t plane, const Sorted<Vector, kCount>& all) {
#pragma GCC unroll 32
  for (int i = 0; i < kCount; ++i) __builtin_memcpy(to + i * plane, &all.at[i], sizeof all.at[i]);
}

/// The vector at position kRank of nine, of which three each are sorted.
template <int kRank, class Vector, int kKept>
QV_INLINE Vector OfThree(const Sorted<Vector, kKept>& a, const Sorted<Vector, kKept>& b,
                         const Sorted<Vector, kKept>& c) {
  if constexpr (kRank == 4) {  // the median of the highest low, the middle middle and the lowest high
    return MedianOfThree(Higher(Higher(a.at[0], b.at[0]), c.at[0]), MedianOfThree(a.at[1], b.at[1], c.at[1]),
                         Lower(Lower(a.at[2], b.at[2]), c.at[2]));
  } else {
    return AtRank<kRank>(Smallest<kRank + 1>(Merged(a, b)), c);
  }
}

/// The key at position `kRank` of windows of kSide x kSide samples, a row of windows after the other.
template <class T, int kSide, int kRank>
class RankNetwork {
 public:
  using Key = typename RankKey<T>::Key;
  /// Windows are worked on so many at a time: what is known of their columns stays in the first-level cache.
  static constexpr std::ptrdiff_t kStretch = 512;

  explicit RankNetwork(std::ptrdiff_t count)
      : pitch_((count + 3 * kCount + kSide) / kCount * kCount),
        memory_(kSide * pitch_ + (kKept + kPairKept) * kPlane + kStretch) {}
  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }

  /// To be filled with the row's keys up to kSide - 1 past each stretch before it is asked for.
  Key* Row(std::ptrdiff_t y) { return memory_.Data() + y % kSide * pitch_; }

  /// Finds `count` keys, kStretch at most, of the windows from x on over the latest rows.
  const Key* Find(std::ptrdiff_t x, std::ptrdiff_t count) {
    Key* columns = memory_.Data() + kSide * pitch_;
    Key *pairs = columns + kKept * kPlane, *found = pairs + kPairKept * kPlane;
    for (std::ptrdiff_t i = 0; i < count + kSide - 1; i += kCount) {
      StorePlanes(columns + i, kPlane, Smallest<kKept>(SortedColumn<0, kSide>(memory_.Data() + x + i)));
    }
    for (std::ptrdiff_t i = 0; i < count + 2; i += kCount) {
      StorePlanes(pairs + i, kPlane, TwoOf<kKept, kPairKept>(columns + i, 1));
    }
    for (std::ptrdiff_t i = 0; i < count; i += kCount) {
      const auto four = TwoOf<kPairKept, kFourKept>(pairs + i, 2);
      StoreAt(found + i, AtRank<kRank>(four, LoadPlanes<kKept>(columns + i + 4, kPlane)));
    }
    return found;
  }

 private:
  static_assert(kSide == 3 || kSide == 5);
  using Vector = typename VectorOf<Key>::Type;
  static constexpr std::ptrdiff_t kCount = VectorOf<Key>::kCount;
  static constexpr std::ptrdiff_t kPlane = kStretch + 2 * kCount;
  static constexpr int Kept(int count) { return count < kRank + 1 ? count : kRank + 1; }
  static constexpr int kKept = Kept(kSide), kPairKept = Kept(2 * kKept), kFourKept = Kept(2 * kPairKept);

  QV_INLINE Vector LoadAt(const Key* from) {
    Vector keys;
    __builtin_memcpy(&keys, from, sizeof keys);
    return keys;
  }
  QV_INLINE void StoreAt(Key* to, const Vector& keys) { __builtin_memcpy(to, &keys, sizeof keys); }

  template <int kFirst, int kRows>
  [[gnu::always_inline]] Sorted<Vector, kRows> SortedColumn(const Key* top) const {
    if constexpr (kRows == 1) {
      return {{LoadAt(top + kFirst * pitch_)}};
    } else {
      return Merged(SortedColumn<kFirst, kRows / 2>(top),
                    SortedColumn<kFirst + kRows / 2, kRows - kRows / 2>(top));
    }
  }

  template <int kPlanes, int kOut>
  QV_INLINE Sorted<Vector, kOut> TwoOf(const Key* from, std::ptrdiff_t distance) {
    return Smallest<kOut>(
        Merged(LoadPlanes<kPlanes>(from, kPlane), LoadPlanes<kPlanes>(from + distance, kPlane)));
  }

  std::ptrdiff_t pitch_;
  Scratch<Key> memory_;
};

}  // namespace qv::kernels::QV_KERNEL_ISA
