#include "kernels/rank_lists.h"
#include "kernels/rank_networks.h"
#include "kernels/rank_sets.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

/// Where results go: the sample found, or with it its difference from the centre. Expect() asks for the lines
/// in advance: stores that wait for theirs hold up all that come after them.
template <class T>
struct SampleOutput {
  T* out;
  std::ptrdiff_t columns;
  void Put(std::ptrdiff_t y, std::ptrdiff_t x, const typename RankKey<T>::Key* __restrict keys,
           std::ptrdiff_t count) const {
    T* __restrict to = out + y * columns + x;
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = RankKey<T>::Sample(keys[i]);
  }
  void Expect(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t count) const {
    Ask<1>(out + y * columns + x, count);
  }
  void Put(std::ptrdiff_t y, std::ptrdiff_t x,
           const typename VectorOf<typename RankKey<T>::Key>::Type& keys) const {
    const auto bits = RankKey<T>::BitsOf(keys);
    __builtin_memcpy(out + y * columns + x, &bits, sizeof bits);
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
  void Expect(std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t count) const {
    Ask<1>(out + y * columns + x, count);
    Ask<1>(residual + y * columns + x, count);
  }
  void Put(std::ptrdiff_t y, std::ptrdiff_t x, const Ints& keys) const {
    const std::ptrdiff_t at = y * columns + x;
    const Floats found = reinterpret_cast<Floats>(RankKey<float>::BitsOf(keys));
    const Floats difference = Load(firstCentre + y * nx + x) - found;
    const Ints used = Used(found);
    Store(out + at, used ? found : Floats{} + kBad);
    Store(residual + at, used ? CanonicalVector(difference) : Floats{} + kBad);
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

/// Sorted rows of three samples, three of them for every window. A row replaces the one before the last where
/// that has just been read, so that a wide strip stays in the first-level cache.
template <int kRank, class T, class Output>
void RankOfNine(const RankWindow& ranked, const T* in, Output output) {
  using Key = typename RankKey<T>::Key;
  using Vector = typename VectorOf<Key>::Type;
  constexpr std::ptrdiff_t kStrip = 768, kCount = VectorOf<Key>::kCount, kPitch = kStrip + kCount;
  constexpr int kKept = kRank == 1 ? 2 : 3;
  const std::ptrdiff_t nx = ranked.window.nx, columns = nx - 2, rows = ranked.window.ny - 2;
  Scratch<Key> memory(2 * kKept * kPitch);
  if (memory.Data() == nullptr) return;
  const auto load = [](const T* from) __attribute__((always_inline)) {
    Vector bits;
    __builtin_memcpy(&bits, from, sizeof bits);
    return Sorted<Vector, 1>{{RankKey<T>::OfBits(bits)}};
  };
  for (std::ptrdiff_t x = 0; x < columns; x += kStrip) {
    const std::ptrdiff_t count = Min(kStrip, columns - x);
    for (std::ptrdiff_t y = 0; y < ranked.window.ny; ++y) {
      const T* from = in + y * nx + x;
      Key* own = memory.Data() + y % 2 * kKept * kPitch;
      const Key* before = memory.Data() + (y + 1) % 2 * kKept * kPitch;
      const std::ptrdiff_t nextIn = y + 1 < ranked.window.ny ? nx : 0, nextOut = Max(0, Min(y - 1, rows - 1));
      for (std::ptrdiff_t i = 0; i < count; i += kCount) {
        // The last vector begins early, in samples that others have done, but has sorted rows of its own.
        const std::ptrdiff_t at = Min(i, count - kCount);
        Ask<0>(from + nextIn + at, kCount);
        output.Expect(nextOut, x + at, kCount);
        const auto a = LoadPlanes<kKept>(own + i, kPitch), b = LoadPlanes<kKept>(before + i, kPitch);
        const auto c =
            Smallest<kKept>(Merged(load(from + at), Merged(load(from + at + 1), load(from + at + 2))));
        StorePlanes(own + i, kPitch, c);
        if (y >= 2) output.Put(y - 2, x + at, OfThree<kRank>(a, b, c));
      }
    }
  }
}

template <int kSide, int kRank, class T, class Output>
void RankByNetwork(const RankWindow& ranked, const T* in, const Output& output) {
  using Network = RankNetwork<T, kSide, kRank>;
  constexpr std::ptrdiff_t kStrip = 4096, kStretch = Network::kStretch;
  const std::ptrdiff_t nx = ranked.window.nx, columns = nx - kSide + 1, rows = ranked.window.ny - kSide + 1;
  Network network(Min(kStrip, columns));
  if (!network.Ready()) return;
  for (std::ptrdiff_t x = 0; x < columns; x += kStrip) {
    const std::ptrdiff_t count = Min(kStrip, columns - x);
    for (std::ptrdiff_t y = 0; y < ranked.window.ny; ++y) {
      const T* __restrict from = in + y * nx + x;
      typename Network::Key* __restrict row = network.Row(y);
      const std::ptrdiff_t nextIn = y + 1 < ranked.window.ny ? nx : 0;
      const std::ptrdiff_t nextOut = Max(0, Min(y - kSide + 2, rows - 1));
      std::ptrdiff_t filled = 0;
      for (std::ptrdiff_t i = 0; i < count; i += kStretch) {
        const std::ptrdiff_t places = Min(kStretch, count - i);
        Ask<0>(from + nextIn + i, places);
        output.Expect(nextOut, x + i, places);
        // In whole vectors: what is read back before it has reached the cache has to be read as it was
        // stored.
        const std::ptrdiff_t end = Min(i + kStretch + VectorOf<T>::kCount, count + kSide - 1);
        for (; filled < end; ++filled) row[filled] = RankKey<T>::Of(from[filled]);
        if (y >= kSide - 1) output.Put(y - kSide + 1, x + i, network.Find(i, places), places);
      }
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

// Without a minimum of integers, longer lists are no faster than sets, and take a compiler most of a minute.
#if defined(__AVX2__)
inline constexpr int kLongestList = 32;
#else
inline constexpr int kLongestList = 8;
#endif

/// Lists cost by their length, sets by the window's side.
template <int kLength, class T, class Output>
void RankByListsOrSets(const RankWindow& ranked, const T* in, const Output& output) {
  if constexpr (kLength > kLongestList) {
    RankBySets(ranked, in, output);
  } else if (ranked.rank < kLength) {
    RankByLists<kLength>(ranked, in, output);
  } else {
    RankByListsOrSets<2 * kLength>(ranked, in, output);
  }
}

template <class T, class Output>
void Rank(const RankWindow& ranked, const T* in, const Output& output) {
  const bool odd = ranked.fullRows == 2 * ranked.window.half + 1;
  const bool wide = ranked.window.nx - 2 * ranked.window.half >= kLanes;
  if (odd && wide && ranked.fullRows == 3 && ranked.rank == 1) {
    RankOfNine<1>(ranked, in, output);
  } else if (odd && wide && ranked.fullRows == 3 && ranked.rank == 4) {
    RankOfNine<4>(ranked, in, output);
  } else if (odd && ranked.fullRows == 5 && ranked.rank == 2) {
    RankByNetwork<5, 2>(ranked, in, output);
  } else if (odd && ranked.fullRows == 5 && ranked.rank == 12) {
    RankByNetwork<5, 12>(ranked, in, output);
  } else {
    RankByListsOrSets<2>(ranked, in, output);
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
