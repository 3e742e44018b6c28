#include "kernels/window_pass.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

struct Strip {
  std::ptrdiff_t x, count;  ///< first result and number of results in a row
};

template <class Sum, class Body>
QV_INLINE void ForEachStrip(std::ptrdiff_t columns, std::ptrdiff_t across, std::ptrdiff_t down, Body body) {
  const std::ptrdiff_t width = StripWidth<Sum>(columns, across, down);
  for (std::ptrdiff_t x = 0; x < columns; x += width) body(Strip{x, Min(width, columns - x)});
}

/// Sums start from 0, so that negative zeros alone give 0 like any other order of adding would.
template <class T>
QV_INLINE double Quotient(T sum, double divisor) {
  return (static_cast<double>(sum) + 0.0) / divisor;
}

/// How sums are carried and how a quotient is stored.
template <class T>
struct Means {
  using Sum = double;
  QV_INLINE double Widen(T z) { return static_cast<double>(z); }
  QV_INLINE T Store(double sum, double divisor) { return Canonical(static_cast<T>(Quotient(sum, divisor))); }
};
template <>
struct Means<std::int32_t> {
  using Sum = std::uint32_t;  // wraps: callers rely on it
  QV_INLINE Sum Widen(std::int32_t z) { return static_cast<Sum>(z); }
  /// The quotient of two ints in double, truncated, is their integer quotient: a rounding cannot reach the
  /// next integer.
  QV_INLINE std::int32_t Store(Sum sum, double divisor) {
    return static_cast<std::int32_t>(static_cast<double>(static_cast<std::int32_t>(sum)) / divisor);
  }
};

template <class T>
void Mean(const Window& window, const T* in, T* out) {
  using Sum = typename Means<T>::Sum;
  const std::ptrdiff_t side = 2 * window.half + 1, columns = window.nx - side + 1;
  ForEachStrip<Sum>(columns, side, side, [&](const Strip& strip) {
    SlidingWindow<Add, Sum> sliding(side, side, strip.count);
    if (!sliding.Ready()) return;
    for (std::ptrdiff_t y = 0; y < window.ny; ++y) {
      const T* __restrict from = in + y * window.nx + strip.x;
      Sum* __restrict row = sliding.Row();
      for (std::ptrdiff_t i = 0; i < strip.count + side - 1; ++i) row[i] = Means<T>::Widen(from[i]);
      const Sum* __restrict sums = sliding.Push();
      if (sums == nullptr) continue;
      T* __restrict to = out + (y - side + 1) * columns + strip.x;
      for (std::ptrdiff_t i = 0; i < strip.count; ++i) to[i] = Means<T>::Store(sums[i], window.divisor);
    }
  });
}

/// One row of results of a member with a residual.
struct ResidualRow {
  const double* __restrict sums;
  const std::uint8_t* __restrict missing;  ///< whether the window holds a missing sample
  const float* __restrict topLeft;
  const float* __restrict centre;
  float* __restrict out;
  float* __restrict residual;
  std::ptrdiff_t count;
};

/// Calls emit(row of results) for the members that mark a window with a missing sample.
template <class Emit>
QV_INLINE void ForEachMarkedRow(const Window& window, const float* in, float* out, float* residual,
                                Emit emit) {
  const std::ptrdiff_t side = 2 * window.half + 1, columns = window.nx - side + 1;
  ForEachStrip<double>(columns, side, side, [&](const Strip& strip) {
    SlidingWindow<Add, double> sliding(side, side, strip.count);
    SlidingWindow<Either, std::uint8_t> marks(side, side, strip.count);
    if (!sliding.Ready() || !marks.Ready()) return;
    for (std::ptrdiff_t y = 0; y < window.ny; ++y) {
      const float* __restrict from = in + y * window.nx + strip.x;
      double* __restrict row = sliding.Row();
      std::uint8_t* __restrict marked = marks.Row();
      for (std::ptrdiff_t i = 0; i < strip.count + side - 1; ++i) row[i] = from[i];
      for (std::ptrdiff_t i = 0; i < strip.count + side - 1; ++i) marked[i] = !Used(from[i]);
      const double* sums = sliding.Push();
      const std::uint8_t* missing = marks.Push();
      if (sums == nullptr) continue;
      const std::ptrdiff_t top = y - side + 1, to = top * columns + strip.x;
      const float* topLeft = in + top * window.nx + strip.x;
      const float* centre = topLeft + window.half * window.nx + window.half;
      emit(ResidualRow{sums, missing, topLeft, centre, out + to, residual + to, strip.count});
    }
  });
}

void MeanResidual(const Window& window, const float* in, float* out, float* residual) {
  ForEachMarkedRow(window, in, out, residual, [&](const ResidualRow& row) {
    for (std::ptrdiff_t i = 0; i < row.count; ++i) {
      const double mean = Quotient(row.sums[i], window.divisor);
      const float stored = Canonical(static_cast<float>(mean));
      const float difference = Canonical(static_cast<float>(row.topLeft[i] - mean));
      row.out[i] = row.missing[i] ? kBad : stored;
      row.residual[i] = row.missing[i] ? kBad : difference;
    }
  });
}

QV_INLINE bool IsInfinite(double z) {
  return z - z != 0;
}

/// The Laplacian sample by sample, for an infinite centre: it cannot be taken back out of a sum.
QV_INLINE double SumAroundInfiniteCentre(const Window& window, const float* topLeft) {
  double sum = 0;
  for (std::ptrdiff_t y = 0; y <= 2 * window.half; ++y) {
    for (std::ptrdiff_t x = 0; x <= 2 * window.half; ++x) {
      const double z = topLeft[y * window.nx + x];
      sum += y == window.half && x == window.half ? window.divisor * z : -z;
    }
  }
  return sum;
}

QV_INLINE void StoreLaplacian(const ResidualRow& row, std::ptrdiff_t i, double sum, double divisor) {
  const double value = sum / divisor;
  const float stored = Canonical(static_cast<float>(value));
  const float difference = Canonical(static_cast<float>(row.topLeft[i] - value));
  row.out[i] = row.missing[i] ? kBad : stored;
  row.residual[i] = row.missing[i] ? kBad : difference;
}

void Laplacian(const Window& window, const float* in, float* out, float* residual) {
  ForEachMarkedRow(window, in, out, residual, [&](const ResidualRow& row) {
    std::int32_t infinite = 0;
    for (std::ptrdiff_t i = 0; i < row.count; ++i) {
      const double centre = row.centre[i];
      infinite |= IsInfinite(centre);
      // The centre is in the sum: once more than its weight makes up for that.
      StoreLaplacian(row, i, (window.divisor + 1) * centre - row.sums[i], window.divisor);
    }
    if (infinite == 0) return;
    for (std::ptrdiff_t i = 0; i < row.count; ++i) {
      if (row.missing[i] || !IsInfinite(row.centre[i])) continue;
      StoreLaplacian(row, i, SumAroundInfiniteCentre(window, row.topLeft + i), window.divisor);
    }
  });
}

/// Writes the samples of one row that a strip of windows reaches; zeros stand for what is missing or outside.
template <class T, class Value>
QV_INLINE void FillClipped(T* __restrict row, const float* __restrict from, std::ptrdiff_t first,
                           std::ptrdiff_t nx, std::ptrdiff_t count, Value value) {
  const std::ptrdiff_t begin = Min(Max(-first, 0), count), end = Max(begin, Min(count, nx - first));
  for (std::ptrdiff_t i = 0; i < begin; ++i) row[i] = 0;
  for (std::ptrdiff_t i = begin; i < end; ++i) row[i] = value(from[first + i]);
  for (std::ptrdiff_t i = end; i < count; ++i) row[i] = 0;
}

/// A window may hold more samples than an int counts only where the grid does; doubles count on.
void ClippedMean(const Window& window, const float* in, float* out, float* residual) {
  const std::ptrdiff_t reachX = Min(window.half, window.nx - 1), reachY = Min(window.half, window.ny - 1);
  const std::ptrdiff_t across = 2 * reachX + 1, down = 2 * reachY + 1;
  ForEachStrip<double>(window.nx, across, down, [&](const Strip& strip) {
    SlidingWindow<Add, double> sliding(across, down, strip.count), used(across, down, strip.count);
    if (!sliding.Ready() || !used.Ready()) return;
    const std::ptrdiff_t length = strip.count + across - 1;
    for (std::ptrdiff_t y = 0; y < window.ny + 2 * reachY; ++y) {
      const std::ptrdiff_t inputRow = y - reachY;
      const bool inside = inputRow >= 0 && inputRow < window.ny;
      const float* from = in + (inside ? inputRow : 0) * window.nx;
      const std::ptrdiff_t width = inside ? window.nx : 0;
      FillClipped(sliding.Row(), from, strip.x - reachX, width, length,
                  [](float z) { return Used(z) ? static_cast<double>(z) : 0.0; });
      FillClipped(used.Row(), from, strip.x - reachX, width, length,
                  [](float z) { return Used(z) ? 1.0 : 0.0; });
      const double* __restrict sums = sliding.Push();
      const double* __restrict counts = used.Push();
      if (sums == nullptr) continue;
      const std::ptrdiff_t to = (y - down + 1) * window.nx + strip.x;
      const float* __restrict centre = in + to;
      float* __restrict toOut = out + to;
      float* __restrict toResidual = residual + to;
      for (std::ptrdiff_t i = 0; i < strip.count; ++i) {
        const double mean = Quotient(sums[i], counts[i]);
        const float stored = Canonical(static_cast<float>(mean));
        const float difference = Canonical(static_cast<float>(centre[i] - mean));
        toOut[i] = counts[i] == 0 ? kBad : stored;
        toResidual[i] = counts[i] == 0 ? kBad : difference;
      }
    }
  });
}

}  // namespace

extern const WindowMeanKernels windowMeans;
const WindowMeanKernels windowMeans = {Mean<double>, Mean<float>, Mean<std::int32_t>,
                                       MeanResidual, Laplacian,   ClippedMean};

}  // namespace qv::kernels::QV_KERNEL_ISA
