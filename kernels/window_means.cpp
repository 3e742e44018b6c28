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

/// Calls emit(first row of windows, sums, row within the block) for every row of windows of a strip.
template <class Sum, class T, class Emit>
QV_INLINE void ForEachRow(const Window& window, const Strip& strip, const T* in, WindowSums<Sum>& sums,
                          Emit emit) {
  const std::ptrdiff_t side = 2 * window.half + 1, rows = window.ny - side + 1;
  for (std::ptrdiff_t top = 0; top < rows; top += side) {
    sums.SumColumns(
        top, window.ny, 0, strip.count + side - 1,
        [](T z) __attribute__((always_inline)) { return Means<T>::Widen(z); },
        [&](std::ptrdiff_t y, std::ptrdiff_t x)
            __attribute__((always_inline)) { return in + y * window.nx + strip.x + x; });
    for (std::ptrdiff_t j = 0; j < side && top + j < rows; ++j) emit(top + j, j);
  }
}

template <class T>
void Mean(const Window& window, const T* in, T* out) {
  using Sum = typename Means<T>::Sum;
  const std::ptrdiff_t side = 2 * window.half + 1, columns = window.nx - side + 1;
  const std::ptrdiff_t rows = window.ny - side + 1;
  const double divisor = window.divisor;
  ForEachStrip<Sum>(columns, side, side, [&](const Strip& strip) {
    WindowSums<Sum> sums(side, side, strip.count);
    if (!sums.Ready()) return;
    ForEachRow(window, strip, in, sums, [&](std::ptrdiff_t y, std::ptrdiff_t j) {
      T* __restrict to = out + y * columns + strip.x;
      if (y + 1 < rows) Ask<1>(to + columns, strip.count);
      sums.Finish(
          j, [=](std::ptrdiff_t i, Sum sum)
                 __attribute__((always_inline)) { to[i] = Means<T>::Store(sum, divisor); });
    });
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
    WindowSums<double> sliding(side, side, strip.count);
    SlidingWindow<Either, std::uint8_t> marks(side, side, strip.count);
    Scratch<double> sums(strip.count);
    if (!sliding.Ready() || !marks.Ready() || sums.Data() == nullptr) return;
    const std::uint8_t* missing = marks.Row();
    std::ptrdiff_t marked = 0;
    ForEachRow(window, strip, in, sliding, [&](std::ptrdiff_t top, std::ptrdiff_t j) {
      for (; marked < top + side; ++marked) {
        const float* __restrict from = in + marked * window.nx + strip.x;
        std::uint8_t* __restrict row = marks.Row();
        for (std::ptrdiff_t i = 0; i < strip.count + side - 1; ++i) row[i] = !Used(from[i]);
        missing = marks.Push();
      }
      double* __restrict to = sums.Data();
      sliding.Finish(
          j, [=](std::ptrdiff_t i, double sum) __attribute__((always_inline)) { to[i] = sum; });
      const std::ptrdiff_t place = top * columns + strip.x;
      const float* topLeft = in + top * window.nx + strip.x;
      const float* centre = topLeft + window.half * window.nx + window.half;
      if (top + side < window.ny) {
        Ask<1>(out + place + columns, strip.count);
        Ask<1>(residual + place + columns, strip.count);
      }
      emit(ResidualRow{sums.Data(), missing, topLeft, centre, out + place, residual + place, strip.count});
    });
  });
}

void MeanResidual(const Window& window, const float* in, float* out, float* residual) {
  ForEachMarkedRow(window, in, out, residual, [&](const ResidualRow& row) {
    for (std::ptrdiff_t i = 0; i < row.count; ++i) {
      const double mean = Quotient(row.sums[i], window.divisor);
      const float stored = Canonical(static_cast<float>(mean));
      const float difference = Canonical(static_cast<float>(row.topLeft[i] - mean));
      // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): Ready() has been asked
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
      // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): Ready() has been asked
      if (row.missing[i] || !IsInfinite(row.centre[i])) continue;
      StoreLaplacian(row, i, SumAroundInfiniteCentre(window, row.topLeft + i), window.divisor);
    }
  });
}

/// Windows reach beyond the grid, where there is nothing: zero samples, none of them counted. A window may
/// hold more samples than an int counts.
template <class Count>
void ClippedMeanCountedIn(const Window& window, const float* in, float* out, float* residual) {
  const std::ptrdiff_t nx = window.nx, ny = window.ny;
  const std::ptrdiff_t reachX = Min(window.half, nx - 1), reachY = Min(window.half, ny - 1);
  const std::ptrdiff_t across = 2 * reachX + 1, down = 2 * reachY + 1;
  ForEachStrip<double>(nx, across, down, [&](const Strip& strip) {
    WindowSums<double> sums(across, down, strip.count);
    WindowSums<Count> counts(across, down, strip.count);
    Scratch<Count> found(strip.count);
    if (!sums.Ready() || !counts.Ready() || found.Data() == nullptr) return;
    const std::ptrdiff_t first = strip.x - reachX;
    const std::ptrdiff_t begin = Max(0, -first), end = Min(strip.count + across - 1, nx - first);
    const auto source = [=](std::ptrdiff_t y, std::ptrdiff_t x) __attribute__((always_inline)) {
      const std::ptrdiff_t row = y - reachY;
      return row >= 0 && row < ny ? in + row * nx + first + x : nullptr;
    };
    for (std::ptrdiff_t top = 0; top < ny; top += down) {
      const std::ptrdiff_t rows = ny + 2 * reachY;
      sums.SumColumns(
          top, rows, begin, end,
          [](float z) __attribute__((always_inline)) { return Used(z) ? static_cast<double>(z) : 0.0; },
          source);
      counts.SumColumns(
          top, rows, begin, end,
          [](float z) __attribute__((always_inline)) { return static_cast<Count>(Used(z)); }, source);
      for (std::ptrdiff_t j = 0; j < down && top + j < ny; ++j) {
        Count* __restrict count = found.Data();
        counts.Finish(
            j, [=](std::ptrdiff_t i, Count used) __attribute__((always_inline)) { count[i] = used; });
        const std::ptrdiff_t to = (top + j) * nx + strip.x;
        if (top + j + 1 < ny) {
          Ask<1>(out + to + nx, strip.count);
          Ask<1>(residual + to + nx, strip.count);
        }
        const float* __restrict centre = in + to;
        float* __restrict toOut = out + to;
        float* __restrict toResidual = residual + to;
        sums.Finish(
            j, [=](std::ptrdiff_t i, double sum) __attribute__((always_inline)) {
              const double mean = Quotient(sum, static_cast<double>(count[i]));
              const float stored = Canonical(static_cast<float>(mean));
              const float difference = Canonical(static_cast<float>(centre[i] - mean));
              toOut[i] = count[i] == 0 ? kBad : stored;
              toResidual[i] = count[i] == 0 ? kBad : difference;
            });
      }
    }
  });
}

void ClippedMean(const Window& window, const float* in, float* out, float* residual) {
  const bool fewSamples = window.nx <= INT32_MAX / window.ny;
  (fewSamples ? ClippedMeanCountedIn<std::int32_t> : ClippedMeanCountedIn<double>)(window, in, out, residual);
}

}  // namespace

extern const WindowMeanKernels windowMeans;
const WindowMeanKernels windowMeans = {Mean<double>, Mean<float>, Mean<std::int32_t>,
                                       MeanResidual, Laplacian,   ClippedMean};

}  // namespace qv::kernels::QV_KERNEL_ISA
