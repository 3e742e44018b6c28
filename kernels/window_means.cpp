#include "kernels/running_sums.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

/// Sums start from 0, so that negative zeros alone give 0 like any other order of adding would.
QV_INLINE double Quotient(double sum, double divisor) {
  return (sum + 0.0) / divisor;
}

// Windows go by the places of their first samples.

struct WindowRow {
  std::ptrdiff_t y, x, count;
};
struct Tile {
  std::ptrdiff_t y, x, rows, columns;
};

/// The grid as the windows see it. Rows and columns count from the margin's first.
template <class T>
struct Field {
  const T* in;
  std::ptrdiff_t nx, ny;
  std::ptrdiff_t marginX, marginY;  ///< columns and rows of nothing, on either side
  std::ptrdiff_t across, down;      ///< of a window

  [[nodiscard]] std::ptrdiff_t Rows() const { return ny + 2 * marginY; }
  /// Null where there is no row. Of the columns from x on, those from Begin(x) to End(x, columns) exist.
  [[nodiscard]] const T* Row(std::ptrdiff_t y, std::ptrdiff_t x) const {
    const std::ptrdiff_t row = y - marginY;
    return row >= 0 && row < ny ? in + row * nx + x - marginX : nullptr;
  }
  [[nodiscard]] std::ptrdiff_t Begin(std::ptrdiff_t x) const { return Max(0, marginX - x); }
  [[nodiscard]] std::ptrdiff_t End(std::ptrdiff_t x, std::ptrdiff_t columns) const {
    return Min(columns + across - 1, nx + marginX - x);
  }
  [[nodiscard]] std::ptrdiff_t SamplesOfWindow() const { return Min(across, nx) * Min(down, ny); }
};

/// Windows that lie inside the grid.
template <class T>
Field<T> Cropped(const Window& window, const T* in) {
  const std::ptrdiff_t side = 2 * window.half + 1;
  return {in, window.nx, window.ny, 0, 0, side, side};
}

/// Calls body(tile). A tile spans several windows: what is done anew for each costs little then.
template <class T, class Body>
QV_INLINE void ForEachTile(const Field<T>& field, Body body) {
  const std::ptrdiff_t rows = field.Rows() - field.down + 1;
  const std::ptrdiff_t columns = field.nx + 2 * field.marginX - field.across + 1;
  const std::ptrdiff_t height = Max(4, 512 / field.down) * field.down, width = Max(2048, 2 * field.across);
  for (std::ptrdiff_t y = 0; y < rows; y += height) {
    for (std::ptrdiff_t x = 0; x < columns; x += width) {
      body(Tile{y, x, Min(height, rows - y), Min(width, columns - x)});
    }
  }
}

/// Moves windows down a tile: calls step(row that enters, row that leaves, first row of the windows), null
/// where there is none. Until the windows are inside the tile nothing leaves.
template <class T, class Step>
QV_INLINE void ForEachStep(const Field<T>& field, const Tile& tile, Step step) {
  const std::ptrdiff_t end = tile.y + tile.rows + field.down - 1;
  const std::ptrdiff_t begin = field.Begin(tile.x), length = field.End(tile.x, tile.columns) - begin;
  for (std::ptrdiff_t y = tile.y; y < end; ++y) {
    const T* next = y + 1 < end ? field.Row(y + 1, tile.x) : nullptr;
    if (next != nullptr) Ask<0>(next + begin, length);
    const std::ptrdiff_t top = y - field.down + 1;
    step(field.Row(y, tile.x), top > tile.y ? field.Row(top - 1, tile.x) : nullptr, top);
  }
}

/// What is summed: all samples, or those in use, which are also counted.
struct EverySample {
  QV_INLINE float Read(float z) { return z; }
};
template <class CountOfSamples>
struct UsedSamples {
  using Count = CountOfSamples;
  /// By a mask: GCC 12 makes branches of a choice.
  QV_INLINE float Read(float z) {
    return __builtin_bit_cast(float, __builtin_bit_cast(std::uint32_t, z) & (0 - std::uint32_t{Used(z)}));
  }
};

/// How many samples of every window are in use.
template <class Samples>
class Counts {
 public:
  using Count = typename Samples::Count;
  Counts(const Field<float>& field, const Tile& tile)
      : begin_(field.Begin(tile.x)),
        end_(field.End(tile.x, tile.columns)),
        sums_(field.across, tile.columns) {}
  [[nodiscard]] bool Ready() const { return sums_.Ready(); }
  void Move(const float* entering, const float* leaving) {
    sums_.Move(
        entering, leaving, begin_, end_,
        [](float z) __attribute__((always_inline)) { return static_cast<Count>(Used(z)); });
  }
  auto Row() { return sums_.Sums(); }

 private:
  std::ptrdiff_t begin_, end_;
  RunningSums<Count> sums_;
};
/// Nobody asks.
template <>
class Counts<EverySample> {
 public:
  Counts(const Field<float>& /*field*/, const Tile& /*tile*/) {}
  [[nodiscard]] bool Ready() const { return true; }
  void Move(const float* /*entering*/, const float* /*leaving*/) {}
  struct Nothing {
    int operator[](std::ptrdiff_t /*place*/) const { return 0; }
  };
  Nothing Row() { return {}; }
};

template <class Samples>
FixedPoint FixedPointOf(const Field<float>& field, const Tile& tile) {
  const std::ptrdiff_t begin = field.Begin(tile.x), end = field.End(tile.x, tile.columns);
  FixedPoint point(field.SamplesOfWindow());
  ForEachStep(field, tile, [&](const float* row, const float*, std::ptrdiff_t) {
    if (row != nullptr && point.Holds()) point.See(row + begin, end - begin, Samples::Read);
  });
  return point;
}

/// Calls emit(row of windows, finish) from top to bottom, and finish(sink) calls sink(place, sum, samples in
/// use).
template <class Samples, class Emit>
QV_INLINE void RunSums(const Field<float>& field, const Tile& tile, const FixedPoint& point, Emit emit) {
  RunningSums<std::uint64_t> sums(field.across, tile.columns);
  Counts<Samples> counts(field, tile);
  if (!sums.Ready() || !counts.Ready()) return;
  const std::ptrdiff_t begin = field.Begin(tile.x), end = field.End(tile.x, tile.columns);
  const double shift = point.Shift(), unit = point.Unit();
  const auto convert = [=](float z) __attribute__((always_inline)) {
    return FixedPoint::Of(Samples::Read(z), shift);
  };
  ForEachStep(field, tile, [&](const float* entering, const float* leaving, std::ptrdiff_t top) {
    sums.Move(entering, leaving, begin, end, convert);
    counts.Move(entering, leaving);
    if (top < tile.y) return;
    emit(
        WindowRow{top, tile.x, tile.columns}, [&](auto sink) __attribute__((always_inline)) {
          const auto sum = sums.Sums();
          const auto used = counts.Row();
          QV_INDEPENDENT
          for (std::ptrdiff_t i = 0; i < tile.columns; ++i)
            sink(i, FixedPoint::Double(sum[i]) * unit, used[i]);
        });
  });
}

/// The same by additions only, for a strip of a tile.
template <class Samples, class Emit>
QV_INLINE void AddSums(const Field<float>& field, const Tile& strip, Emit emit) {
  WindowSums<double> sums(field.across, field.down, strip.columns);
  Counts<Samples> counts(field, strip);
  if (!sums.Ready() || !counts.Ready()) return;
  ForEachStep(field, strip, [&](const float* entering, const float* leaving, std::ptrdiff_t top) {
    counts.Move(entering, leaving);
    if (top < strip.y) return;
    const std::ptrdiff_t row = (top - strip.y) % field.down;
    if (row == 0) {
      sums.SumColumns(
          top, field.Rows(), field.Begin(strip.x), field.End(strip.x, strip.columns),
          [](float z) __attribute__((always_inline)) { return static_cast<double>(Samples::Read(z)); },
          [&](std::ptrdiff_t y, std::ptrdiff_t x) __attribute__((always_inline)) {
            const float* from = field.Row(y, strip.x);
            return from == nullptr ? nullptr : from + x;
          });
    }
    emit(
        WindowRow{top, strip.x, strip.columns}, [&](auto sink) __attribute__((always_inline)) {
          const auto used = counts.Row();
          sums.Finish(
              row, [=](std::ptrdiff_t i, double sum)
                       __attribute__((always_inline)) { sink(i, sum, used[i]); });
        });
  });
}

/// Of windows that low, adding takes less time than looking for a unit.
constexpr std::ptrdiff_t kFewRows = 3;

/// Running sums where they are exact, and so give what additions of unlimited precision would; elsewhere a
/// huge sample would leave its rounding error in all windows after it.
template <class Samples, class Emit>
QV_INLINE void ForEachRowOfSums(const Field<float>& field, Emit emit) {
  ForEachTile(field, [&](const Tile& tile) {
    if (field.down > kFewRows) {
      const FixedPoint point = FixedPointOf<Samples>(field, tile);
      if (point.Holds()) {
        RunSums<Samples>(field, tile, point, emit);
        return;
      }
    }
    const std::ptrdiff_t width = StripWidth<double>(tile.columns, field.across, field.down);
    for (std::ptrdiff_t x = 0; x < tile.columns; x += width) {
      AddSums<Samples>(field, Tile{tile.y, tile.x + x, tile.rows, Min(width, tile.columns - x)}, emit);
    }
  });
}

/// The same of the samples in use. A window may hold more than an int counts.
template <class Emit>
void ForEachRowOfUsedSums(const Field<float>& field, Emit emit) {
  if (field.SamplesOfWindow() <= INT32_MAX) {
    ForEachRowOfSums<UsedSamples<std::uint32_t>>(field, emit);
  } else {
    ForEachRowOfSums<UsedSamples<std::uint64_t>>(field, emit);
  }
}
QV_INLINE double Double(std::uint32_t count) {
  return static_cast<double>(static_cast<std::int32_t>(count));
}
QV_INLINE double Double(std::uint64_t count) {
  return FixedPoint::Double(count);
}

void MeanFloats(const Window& window, const float* in, float* out) {
  const Field<float> field = Cropped(window, in);
  const std::ptrdiff_t columns = window.nx - 2 * window.half, rows = window.ny - 2 * window.half;
  ForEachRowOfSums<EverySample>(field, [&](const WindowRow& row, auto finish) {
    float* __restrict to = out + row.y * columns + row.x;
    if (row.y + 1 < rows) Ask<1>(to + columns, row.count);
    finish([=](std::ptrdiff_t i, double sum, auto) __attribute__((always_inline)) {
      to[i] = Canonical(static_cast<float>(Quotient(sum, window.divisor)));
    });
  });
}

/// By additions only: a unit that doubles share would leave their sums too many digits.
void MeanDoubles(const Window& window, const double* in, double* out) {
  const std::ptrdiff_t side = 2 * window.half + 1, columns = window.nx - side + 1;
  const std::ptrdiff_t rows = window.ny - side + 1, width = StripWidth<double>(columns, side, side);
  for (std::ptrdiff_t x = 0; x < columns; x += width) {
    const std::ptrdiff_t count = Min(width, columns - x);
    WindowSums<double> sums(side, side, count);
    if (!sums.Ready()) return;
    for (std::ptrdiff_t y = 0; y < rows; ++y) {
      if (y % side == 0) {
        sums.SumColumns(
            y, window.ny, 0, count + side - 1, [](double z) __attribute__((always_inline)) { return z; },
            [=](std::ptrdiff_t row, std::ptrdiff_t column)
                __attribute__((always_inline)) { return in + row * window.nx + x + column; });
      }
      double* __restrict to = out + y * columns + x;
      if (y + 1 < rows) Ask<1>(to + columns, count);
      sums.Finish(
          y % side, [=](std::ptrdiff_t i, double sum)
                        __attribute__((always_inline)) { to[i] = Canonical(Quotient(sum, window.divisor)); });
    }
  }
}

void MeanInts(const Window& window, const std::int32_t* in, std::int32_t* out) {
  const Field<std::int32_t> field = Cropped(window, in);
  const std::ptrdiff_t columns = window.nx - 2 * window.half, rows = window.ny - 2 * window.half;
  ForEachTile(field, [&](const Tile& tile) {
    RunningSums<std::uint32_t> sums(field.across, tile.columns);
    if (!sums.Ready()) return;
    ForEachStep(
        field, tile, [&](const std::int32_t* entering, const std::int32_t* leaving, std::ptrdiff_t top) {
          sums.Move(
              entering, leaving, 0, tile.columns + field.across - 1,
              [](std::int32_t z) __attribute__((always_inline)) { return static_cast<std::uint32_t>(z); });
          if (top < tile.y) return;
          std::int32_t* __restrict to = out + top * columns + tile.x;
          if (top + 1 < rows) Ask<1>(to + columns, tile.columns);
          // The sum wraps: callers rely on it. The quotient of two ints in double, truncated, is their
          // integer quotient: a rounding cannot reach the next integer.
          const auto sum = sums.Sums();
          QV_INDEPENDENT
          for (std::ptrdiff_t i = 0; i < tile.columns; ++i) {
            to[i] = static_cast<std::int32_t>(static_cast<double>(static_cast<std::int32_t>(sum[i])) /
                                              window.divisor);
          }
        });
  });
}

/// Where the members with a residual store.
struct ResidualRow {
  float* __restrict out;
  float* __restrict residual;
  QV_INLINE void Put(const ResidualRow& row, std::ptrdiff_t i, double from, double value, bool good) {
    const float stored = Canonical(static_cast<float>(value));
    const float difference = Canonical(static_cast<float>(from - value));
    row.out[i] = good ? stored : kBad;
    row.residual[i] = good ? difference : kBad;
  }
};

/// Asks for the row after it as well.
ResidualRow RowAt(float* out, float* residual, const WindowRow& row, std::ptrdiff_t rows,
                  std::ptrdiff_t columns) {
  const std::ptrdiff_t place = row.y * columns + row.x;
  if (row.y + 1 < rows) {
    Ask<1>(out + place + columns, row.count);
    Ask<1>(residual + place + columns, row.count);
  }
  return {out + place, residual + place};
}

void MeanResidual(const Window& window, const float* in, float* out, float* residual) {
  const Field<float> field = Cropped(window, in);
  const std::ptrdiff_t all = field.across * field.down;
  ForEachRowOfUsedSums(field, [&](const WindowRow& row, auto finish) {
    const ResidualRow to =
        RowAt(out, residual, row, window.ny - 2 * window.half, window.nx - 2 * window.half);
    const float* __restrict topLeft = in + row.y * window.nx + row.x;
    finish([=](std::ptrdiff_t i, double sum, auto used) __attribute__((always_inline)) {
      ResidualRow::Put(to, i, topLeft[i], Quotient(sum, window.divisor),
                       used == static_cast<decltype(used)>(all));
    });
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

void Laplacian(const Window& window, const float* in, float* out, float* residual) {
  const Field<float> field = Cropped(window, in);
  const std::ptrdiff_t all = field.across * field.down;
  ForEachRowOfUsedSums(field, [&](const WindowRow& row, auto finish) {
    const ResidualRow to =
        RowAt(out, residual, row, window.ny - 2 * window.half, window.nx - 2 * window.half);
    const float* __restrict topLeft = in + row.y * window.nx + row.x;
    const float* __restrict centre = topLeft + window.half * window.nx + window.half;
    finish([=](std::ptrdiff_t i, double sum, auto used) __attribute__((always_inline)) {
      // The centre is in the sum: once more than its weight makes up for that.
      const double value = ((window.divisor + 1) * centre[i] - sum) / window.divisor;
      ResidualRow::Put(to, i, topLeft[i], value, used == static_cast<decltype(used)>(all));
    });
    std::int32_t infinite = 0;
    for (std::ptrdiff_t i = 0; i < row.count; ++i) infinite |= IsInfinite(centre[i]);
    if (infinite == 0) return;
    for (std::ptrdiff_t i = 0; i < row.count; ++i) {
      if (!IsInfinite(centre[i]) || to.out[i] == kBad) continue;
      const double value = SumAroundInfiniteCentre(window, topLeft + i) / window.divisor;
      ResidualRow::Put(to, i, topLeft[i], value, true);
    }
  });
}

/// Windows reach beyond the grid, where there is nothing.
void ClippedMean(const Window& window, const float* in, float* out, float* residual) {
  const std::ptrdiff_t nx = window.nx, ny = window.ny;
  const std::ptrdiff_t reachX = Min(window.half, nx - 1), reachY = Min(window.half, ny - 1);
  const Field<float> field = {in, nx, ny, reachX, reachY, 2 * reachX + 1, 2 * reachY + 1};
  ForEachRowOfUsedSums(field, [&](const WindowRow& row, auto finish) {
    const ResidualRow to = RowAt(out, residual, row, ny, nx);
    const float* __restrict centre = in + row.y * nx + row.x;
    finish([=](std::ptrdiff_t i, double sum, auto used) __attribute__((always_inline)) {
      ResidualRow::Put(to, i, centre[i], Quotient(sum, Double(used)), used != 0);
    });
  });
}

}  // namespace

extern const WindowMeanKernels windowMeans;
const WindowMeanKernels windowMeans = {MeanDoubles,  MeanFloats, MeanInts,
                                       MeanResidual, Laplacian,  ClippedMean};

}  // namespace qv::kernels::QV_KERNEL_ISA
