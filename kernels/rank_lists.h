// Low ranks of windows by sorted lists: to find the element at position t of a window, no part of it ever
// needs to remember more than its t + 1 smallest samples. Many windows are worked on together, one in each
// lane. Only for kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include "kernels/rank_keys.h"
#include "kernels/window_pass.h"

namespace qv::kernels::QV_KERNEL_ISA {

template <class T>
struct VectorOf {
  using Type __attribute__((vector_size(64))) = T;
  static_assert(sizeof(Type) == 64);
  static constexpr std::ptrdiff_t kCount = 64 / static_cast<std::ptrdiff_t>(sizeof(T));
};

/// `kLength` sorted keys in each lane, the smallest first. What is not there is the largest key of all.
template <class Key, int kLength>
struct Lists {
  using Vector = typename VectorOf<Key>::Type;
  Vector keys[kLength];

  /// The keys of one place lie in planes.
  [[gnu::always_inline]] void Load(const Key* from, std::ptrdiff_t plane) {
#pragma GCC unroll 32
    for (int i = 0; i < kLength; ++i) __builtin_memcpy(&keys[i], from + i * plane, sizeof(Vector));
  }
  [[gnu::always_inline]] void Store(Key* to, std::ptrdiff_t plane) const {
#pragma GCC unroll 32
    for (int i = 0; i < kLength; ++i) __builtin_memcpy(to + i * plane, &keys[i], sizeof(Vector));
  }
};

template <class Vector>
QV_INLINE void Order(Vector& low, Vector& high) {
  const Vector a = low, b = high;
  low = b < a ? b : a;
  high = b < a ? a : b;
}

/// Sorts what first rises and then falls.
template <class Key, int kLength>
QV_INLINE void SortBitonic(Lists<Key, kLength>& lists) {
#pragma GCC unroll 8
  for (int distance = kLength / 2; distance > 0; distance /= 2) {
#pragma GCC unroll 32
    for (int i = 0; i < kLength; ++i) {
      if ((i & distance) == 0) Order(lists.keys[i], lists.keys[i + distance]);
    }
  }
}

/// The kOut smallest keys of two lists, of which the first is not the longer one.
template <class Key, int kA, int kB, int kOut>
QV_INLINE void Merge(const Lists<Key, kA>& a, const Lists<Key, kB>& b, Lists<Key, kOut>& out) {
  static_assert(kA <= kB && (kOut == 2 * kB || kOut == kB));
#pragma GCC unroll 32
  for (int i = 0; i < kOut; ++i) {
    const int mirrored = kOut - 1 - i;
    if constexpr (kOut == kB) {
      out.keys[i] = b.keys[i];
      if (mirrored < kA) {
        const auto other = a.keys[mirrored];
        out.keys[i] = other < out.keys[i] ? other : out.keys[i];
      }
    } else {
      out.keys[i] = i < kB          ? b.keys[i]
                    : mirrored < kA ? a.keys[mirrored]
                                    : b.keys[0] - b.keys[0] + kLargest<Key>;
    }
  }
  SortBitonic(out);
}

/// The key at position `rank` of two lists together.
template <class Key, int kLength>
QV_INLINE typename VectorOf<Key>::Type Select(const Lists<Key, kLength>& a, const Key* b,
                                              std::ptrdiff_t plane, int rank) {
  using Vector = typename VectorOf<Key>::Type;
  Vector found = {};
  found += kSmallest<Key>;
#pragma GCC unroll 32
  for (int i = 0; i < kLength; ++i) {
    if (i > rank) continue;
    Vector other;
    __builtin_memcpy(&other, b + (rank - i) * plane, sizeof other);
    const Vector smaller = other < a.keys[i] ? other : a.keys[i];
    found = found < smaller ? smaller : found;
  }
  return found;
}

/// Takes the rows of a strip of a grid one after the other and gives the key at position `rank` of every
/// window that ends in the row. See SlidingWindow for the blocks.
template <class Key, int kLength>
class RankLists {
 public:
  RankLists(std::ptrdiff_t across, std::ptrdiff_t down, std::ptrdiff_t count, int rank, bool needsBefore)
      : across_(across),
        down_(down),
        count_(count),
        rank_(rank),
        needsBefore_(needsBefore && rank > 0),
        rowPlane_((count + across + 3 * kLanesOfKey) / kLanesOfKey * kLanesOfKey),
        plane_((count + kLanesOfKey - 1) / kLanesOfKey * kLanesOfKey),
        memory_(2 * kLength * rowPlane_ + (down + 1) * kLength * plane_ + 2 * plane_) {
    if (!Ready()) return;
    parts_ = memory_.Data();
    row_ = parts_ + kLength * rowPlane_;
    block_ = row_ + kLength * rowPlane_;
    prefix_ = block_ + down * kLength * plane_;
    found_ = prefix_ + kLength * plane_;
    for (std::ptrdiff_t i = 0; i < kLength * rowPlane_; ++i) row_[i] = kLargest<Key>;
  }

  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }
  /// To be filled with count + across - 1 keys before each call of Push().
  Key* Row() { return parts_; }

  /// Returns whether there are results.
  bool Push() {
    CombineRow<1>(1, 0, 0);
    const bool last = inBlock_ == down_ - 1, any = anyBlock_ || last;
    Key* own = block_ + inBlock_ * kLength * plane_;
    const Key* before = own + kLength * plane_;
    for (std::ptrdiff_t x = 0; x < plane_; x += kLanesOfKey) PushPlace(x, own, last ? nullptr : before);
    ++inBlock_;
    if (last) CombineBackwards();
    return any;
  }

  /// The keys at position `rank`, and at the one before it if that is needed, of the latest windows.
  const Key* Found() const { return found_; }
  const Key* FoundBefore() const { return found_ + plane_; }

 private:
  static constexpr std::ptrdiff_t kLanesOfKey = VectorOf<Key>::kCount;
  using List = Lists<Key, kLength>;
  using Vector = typename VectorOf<Key>::Type;

  /// Parts are lists of `reached` neighbours, of which kPart are kept. Those whose length has its bit set in
  /// the width make up the row; `covered` is what they cover so far, in lists of kept elements.
  template <int kPart>
  void CombineRow(std::ptrdiff_t reached, std::ptrdiff_t covered, int kept) {
    constexpr int kNext = 2 * kPart < kLength ? 2 * kPart : kLength;
    for (;;) {
      if ((across_ & reached) != 0) {
        kept = covered == 0 ? CopyParts<kPart>() : AppendParts<kPart, 1>(covered, kept);
        covered += reached;
        if (covered == across_) return;
      }
      PairParts<kPart, kNext>(reached, count_ + across_ - 2 * reached);
      reached *= 2;
      if constexpr (kNext != kPart) {
        CombineRow<kNext>(reached, covered, kept);
        return;
      }
    }
  }

  template <int kPart, int kNext>
  void PairParts(std::ptrdiff_t distance, std::ptrdiff_t places) {
    for (std::ptrdiff_t x = 0; x < places; x += kLanesOfKey) {
      Lists<Key, kPart> a, b;
      Lists<Key, kNext> both;
      a.Load(parts_ + x, rowPlane_);
      b.Load(parts_ + x + distance, rowPlane_);
      Merge(a, b, both);
      both.Store(parts_ + x, rowPlane_);
    }
  }

  template <int kPart>
  int CopyParts() {
    for (int i = 0; i < kPart; ++i) {
      __builtin_memcpy(row_ + i * rowPlane_, parts_ + i * rowPlane_,
                       static_cast<std::size_t>(plane_) * sizeof(Key));
    }
    return kPart;
  }

  template <int kPart, int kKept>
  int AppendParts(std::ptrdiff_t distance, int kept) {
    if constexpr (kKept < kPart) {
      if (kept != kKept) return AppendParts<kPart, 2 * kKept>(distance, kept);
    }
    constexpr int kNext = 2 * kPart < kLength ? 2 * kPart : kLength;
    for (std::ptrdiff_t x = 0; x < count_; x += kLanesOfKey) {
      Lists<Key, kKept> a;
      Lists<Key, kPart> b;
      Lists<Key, kNext> both;
      a.Load(row_ + x, rowPlane_);
      b.Load(parts_ + x + distance, rowPlane_);
      Merge(a, b, both);
      both.Store(row_ + x, rowPlane_);
    }
    return kNext;
  }

  void PushPlace(std::ptrdiff_t x, Key* own, const Key* before) {
    List list;
    list.Load(row_ + x, rowPlane_);
    list.Store(own + x, plane_);
    if (inBlock_ > 0) {
      List prefix, both;
      prefix.Load(prefix_ + x, plane_);
      Merge(prefix, list, both);
      list = both;
    }
    if (before == nullptr) {
      __builtin_memcpy(found_ + x, &list.keys[rank_], sizeof(Vector));
      if (rank_ > 0) __builtin_memcpy(found_ + plane_ + x, &list.keys[rank_ - 1], sizeof(Vector));
      return;
    }
    list.Store(prefix_ + x, plane_);
    const Vector found = Select(list, before + x, plane_, rank_);
    __builtin_memcpy(found_ + x, &found, sizeof found);
    if (!needsBefore_) return;
    const Vector foundBefore = Select(list, before + x, plane_, rank_ - 1);
    __builtin_memcpy(found_ + plane_ + x, &foundBefore, sizeof found);
  }

  void CombineBackwards() {
    for (std::ptrdiff_t j = down_ - 2; j > 0; --j) {
      Key* own = block_ + j * kLength * plane_;
      for (std::ptrdiff_t x = 0; x < plane_; x += kLanesOfKey) {
        List a, b, both;
        a.Load(own + x, plane_);
        b.Load(own + kLength * plane_ + x, plane_);
        Merge(a, b, both);
        both.Store(own + x, plane_);
      }
    }
    inBlock_ = 0;
    anyBlock_ = true;
  }

  std::ptrdiff_t across_, down_, count_;
  int rank_;
  bool needsBefore_;
  std::ptrdiff_t rowPlane_, plane_;
  Scratch<Key> memory_;
  Key *parts_ = nullptr, *row_ = nullptr, *block_ = nullptr, *prefix_ = nullptr, *found_ = nullptr;
  std::ptrdiff_t inBlock_ = 0;
  bool anyBlock_ = false;
};

}  // namespace qv::kernels::QV_KERNEL_ISA
