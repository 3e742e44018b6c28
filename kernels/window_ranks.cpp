#include "kernels/rank_lists.h"
#include "kernels/rank_sets.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

/// Where results go: the sample found, or with it its difference from the centre.
template <class T>
struct SampleOutput {
  T* out;
  std::ptrdiff_t columns;
  void Put(std::ptrdiff_t y, std::ptrdiff_t x, const typename RankKey<T>::Key* __restrict keys,
           std::ptrdiff_t count) const {
    T* __restrict to = out + y * columns + x;
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = RankKey<T>::Sample(keys[i]);
  }
};
struct ResidualOutput {
  const float* firstCentre;
  std::ptrdiff_t nx;
  float *out, *residual;
  std::ptrdiff_t columns;
  void Put(std::ptrdiff_t y, std::ptrdiff_t x, const std::int32_t* __restrict keys,
           std::ptrdiff_t count) const {
    const float* __restrict centre = firstCentre + y * nx + x;
    float* __restrict toOut = out + y * columns + x;
    float* __restrict toResidual = residual + y * columns + x;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const float found = RankKey<float>::Sample(keys[i]);
      const float difference = Canonical(centre[i] - found);
      toOut[i] = Used(found) ? found : kBad;
      toResidual[i] = Used(found) ? difference : kBad;
    }
  }
};

template <int kLength, class T, class Output>
void RankByLists(const RankWindow& ranked, const T* in, const Output& output) {
  using Key = typename RankKey<T>::Key;
  const std::ptrdiff_t nx = ranked.window.nx, side = 2 * ranked.window.half + 1, columns = nx - side + 1;
  const std::ptrdiff_t rows = ranked.window.ny - side + ranked.fullRows;
  const std::ptrdiff_t strip = StripWidth<Key[kLength]>(columns, side, ranked.fullRows);
  const int rank = static_cast<int>(ranked.rank);
  for (std::ptrdiff_t x = 0; x < columns; x += strip) {
    const std::ptrdiff_t count = Min(strip, columns - x);
    RankLists<Key, kLength> lists(side, ranked.fullRows, count, rank, ranked.oneMore);
    Scratch<Key> keys(count);
    if (!lists.Ready() || keys.Data() == nullptr) return;
    for (std::ptrdiff_t y = 0; y < rows; ++y) {
      const T* __restrict from = in + y * nx + x;
      Key* __restrict row = lists.Row();
      for (std::ptrdiff_t i = 0; i < count + side - 1; ++i) row[i] = RankKey<T>::Of(from[i]);
      if (!lists.Push()) continue;
      if (!ranked.oneMore) {
        output.Put(y - ranked.fullRows + 1, x, lists.Found(), count);
        continue;
      }
      // One sample more can only move the position back by one.
      const T* __restrict more = from + nx;
      Key* __restrict found = keys.Data();
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        const Key own = lists.Found()[i], before = lists.FoundBefore()[i], key = RankKey<T>::Of(more[i]);
        const Key lower = key < own ? key : own;
        found[i] = rank > 0 && lower < before ? before : lower;
      }
      output.Put(y - ranked.fullRows + 1, x, found, count);
    }
  }
}

/// Of nine samples, the columns are sorted once for the three windows that they lie in.
template <class T>
class NineRanks {
 public:
  using Key = typename RankKey<T>::Key;

  explicit NineRanks(std::ptrdiff_t count)
      : count_(count), pitch_((count + 2 + 2 * kCount) / kCount * kCount), memory_(7 * pitch_) {}
  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }
  /// To be filled with count + 2 keys, of every row in turn.
  Key* Row(std::ptrdiff_t y) { return memory_.Data() + y % 3 * pitch_; }

  /// The keys at position 1 or, for kMedian, 4, of the windows over the latest three rows.
  template <bool kMedian>
  const Key* Find() {
    Key* low = memory_.Data() + 3 * pitch_;
    Key *middle = low + pitch_, *high = middle + pitch_, *found = high + pitch_;
    for (std::ptrdiff_t x = 0; x < count_ + 2; x += kCount) {
      Vector a = LoadAt(low - 3 * pitch_ + x), b = LoadAt(low - 2 * pitch_ + x), c = LoadAt(low - pitch_ + x);
      Order(a, b);
      Order(b, c);
      Order(a, b);
      StoreAt(low + x, a);
      StoreAt(middle + x, b);
      if (kMedian) StoreAt(high + x, c);
    }
    for (std::ptrdiff_t x = 0; x < count_; x += kCount) {
      StoreAt(found + x, kMedian ? Median(low + x, middle + x, high + x) : Second(low + x, middle + x));
    }
    return found;
  }

 private:
  using Vector = typename VectorOf<Key>::Type;
  static constexpr std::ptrdiff_t kCount = VectorOf<Key>::kCount;

  QV_INLINE Vector LoadAt(const Key* from) {
    Vector keys;
    __builtin_memcpy(&keys, from, sizeof keys);
    return keys;
  }
  QV_INLINE void StoreAt(Key* to, const Vector& keys) { __builtin_memcpy(to, &keys, sizeof keys); }
  QV_INLINE Vector Lower(const Vector& a, const Vector& b) { return b < a ? b : a; }
  QV_INLINE Vector Higher(const Vector& a, const Vector& b) { return b < a ? a : b; }
  QV_INLINE Vector MedianOfThree(Vector a, Vector b, const Vector& c) {
    Order(a, b);
    return Higher(a, Lower(b, c));
  }

  /// The second smallest, from the two smallest of each column.
  QV_INLINE Vector Second(const Key* low, const Key* middle) {
    Vector first = LoadAt(low), other = LoadAt(low + 1);
    const Vector last = LoadAt(low + 2);
    Order(first, other);
    const Vector second = Lower(other, Lower(LoadAt(middle), LoadAt(middle + 1)));
    return Lower(Higher(first, last), Lower(second, LoadAt(middle + 2)));
  }
  /// The median of the highest low, the middle middle and the lowest high.
  QV_INLINE Vector Median(const Key* low, const Key* middle, const Key* high) {
    const Vector lows = Higher(Higher(LoadAt(low), LoadAt(low + 1)), LoadAt(low + 2));
    const Vector highs = Lower(Lower(LoadAt(high), LoadAt(high + 1)), LoadAt(high + 2));
    return MedianOfThree(lows, MedianOfThree(LoadAt(middle), LoadAt(middle + 1), LoadAt(middle + 2)), highs);
  }

  std::ptrdiff_t count_, pitch_;
  Scratch<Key> memory_;
};

template <bool kMedian, class T, class Output>
void RankOfNine(const RankWindow& ranked, const T* in, const Output& output) {
  const std::ptrdiff_t nx = ranked.window.nx, columns = nx - 2;
  constexpr std::ptrdiff_t kStrip = 1024;
  for (std::ptrdiff_t x = 0; x < columns; x += kStrip) {
    const std::ptrdiff_t count = Min(kStrip, columns - x);
    NineRanks<T> nine(count);
    if (!nine.Ready()) return;
    for (std::ptrdiff_t y = 0; y < ranked.window.ny; ++y) {
      const T* __restrict from = in + y * nx + x;
      typename RankKey<T>::Key* __restrict row = nine.Row(y);
      for (std::ptrdiff_t i = 0; i < count + 2; ++i) row[i] = RankKey<T>::Of(from[i]);
      if (y >= 2) output.Put(y - 2, x, nine.template Find<kMedian>(), count);
    }
  }
}

template <class T, class Output>
void RankBySets(const RankWindow& ranked, const T* in, const Output& output) {
  RankTiles<T> tiles(ranked, in);
  if (!tiles.Ready()) return;
  tiles.Run(
      [&](std::ptrdiff_t y, std::ptrdiff_t x, typename RankKey<T>::Key key) { output.Put(y, x, &key, 1); });
}

/// Lists cost by their length, sets by the window's side.
template <class T, class Output>
void Rank(const RankWindow& ranked, const T* in, const Output& output) {
  const bool nine = ranked.window.half == 1 && ranked.fullRows == 3;
  if (nine && ranked.rank == 1) {
    RankOfNine<false>(ranked, in, output);
  } else if (nine && ranked.rank == 4) {
    RankOfNine<true>(ranked, in, output);
  } else if (ranked.rank < 2) {
    RankByLists<2>(ranked, in, output);
  } else if (ranked.rank < 4) {
    RankByLists<4>(ranked, in, output);
  } else if (ranked.rank < 8) {
    RankByLists<8>(ranked, in, output);
  } else if (ranked.rank < 16) {
    RankByLists<16>(ranked, in, output);
  } else if (sizeof(T) == 4 && ranked.rank < 32) {
    RankByLists<32>(ranked, in, output);
  } else {
    RankBySets(ranked, in, output);
  }
}

template <class T>
void RankSamples(const RankWindow& ranked, const T* in, T* out) {
  Rank(ranked, in, SampleOutput<T>{out, ranked.window.nx - 2 * ranked.window.half});
}

void RankResidual(const RankWindow& ranked, const float* in, float* out, float* residual) {
  const Window& window = ranked.window;
  const float* centre = in + window.half * window.nx + window.half;
  Rank(ranked, in, ResidualOutput{centre, window.nx, out, residual, window.nx - 2 * window.half});
}

}  // namespace

extern const WindowRankKernels windowRanks;
const WindowRankKernels windowRanks = {RankSamples<double>, RankSamples<float>, RankSamples<std::int32_t>,
                                       RankResidual};

}  // namespace qv::kernels::QV_KERNEL_ISA
