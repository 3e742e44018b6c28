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
  if (ranked.rank < 2) {
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
