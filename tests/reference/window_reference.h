// The neighbourhood filters written down directly: every window walked sample by sample, top to bottom and
// left to right, with sums in long double.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace qv::reference {

enum class WindowStatistic {
  kMean,
  kMeanResidual,
  kClippedMean,
  kMinimum,
  kMinimumResidual,
  kMaximum,
  kMaximumResidual,
  kLowRank,
  kMedianResidual,
  kLaplacian,
};

/// What a window gives: the value and the residual, in long double, and how far a sum may be off.
struct WindowResult {
  long double value = 0;
  long double residual = 0;
  long double slack = 0;  ///< of sums formed in another order, in double; 0 for what must be exact
  bool exact = true;      ///< the value is one of the samples or a marker
};

template <class T>
struct WindowGrid {
  int size, nx, ny;
  const std::vector<T>* in;
  [[nodiscard]] T At(std::ptrdiff_t row, std::ptrdiff_t column) const {
    return (*in)[static_cast<std::size_t>(row * nx + column)];
  }
  [[nodiscard]] std::ptrdiff_t Half() const { return size / 2; }
  [[nodiscard]] std::ptrdiff_t OutWidth(WindowStatistic s) const {
    return s == WindowStatistic::kClippedMean ? nx : nx - 2 * Half();
  }
  [[nodiscard]] std::ptrdiff_t OutHeight(WindowStatistic s) const {
    return s == WindowStatistic::kClippedMean ? ny : ny - 2 * Half();
  }
};

template <class T>
bool Unusable(T z) {
  return z == static_cast<T>(-1e10) || z != z;
}

/// By value, -0 before 0, NaN last.
template <class T>
bool SortsBefore(T a, T b) {
  if (a != a) return false;
  if (b != b) return true;
  if (a == b) return std::signbit(static_cast<double>(a)) && !std::signbit(static_cast<double>(b));
  return a < b;
}

/// The samples of a window inside the grid, in row order.
template <class T>
std::vector<T> WindowSamples(const WindowGrid<T>& grid, std::ptrdiff_t r, std::ptrdiff_t c) {
  std::vector<T> samples;
  const std::ptrdiff_t half = grid.Half();
  for (std::ptrdiff_t i = r - half; i <= r + half; ++i) {
    for (std::ptrdiff_t j = c - half; j <= c + half; ++j) {
      if (i >= 0 && i < grid.ny && j >= 0 && j < grid.nx) samples.push_back(grid.At(i, j));
    }
  }
  return samples;
}

struct TermSum {
  long double sum = 0, magnitude = 0;
  std::ptrdiff_t count = 0;
  void Add(long double term) {
    sum += term;
    magnitude += std::fabs(term);
    ++count;
  }
  [[nodiscard]] long double Slack() const {
    return static_cast<long double>(count + 4) * 0x1p-53L * magnitude;
  }
};

template <class T>
WindowResult Averaged(const TermSum& sum, long double divisor, T residualSample) {
  WindowResult result;
  result.exact = false;
  result.value = sum.sum / divisor;
  result.residual = residualSample - result.value;
  result.slack = sum.Slack() / std::fabs(divisor) + std::fabs(result.value) * 0x1p-52L;
  return result;
}

inline WindowResult Marked() {
  WindowResult result;
  result.value = result.residual = -1e10L;
  return result;
}

template <class T>
WindowResult MeanOf(const WindowGrid<T>& grid, const std::vector<T>& samples, T topLeft) {
  if constexpr (std::numeric_limits<T>::is_integer) {
    std::uint32_t sum = 0;
    for (const T z : samples) sum += static_cast<std::uint32_t>(z);
    WindowResult result;
    result.value = static_cast<std::int64_t>(static_cast<std::int32_t>(sum)) /
                   (static_cast<std::int64_t>(grid.size) * grid.size);
    return result;
  } else {
    TermSum sum;
    for (const T z : samples) sum.Add(z);
    return Averaged(sum, static_cast<long double>(grid.size) * grid.size, topLeft);
  }
}

template <class T>
T SmallestOf(const std::vector<T>& samples) {
  T m = std::numeric_limits<T>::is_integer ? static_cast<T>(1000000000)
        : sizeof(T) == 8                   ? static_cast<T>(1e32)
                                           : static_cast<T>(1e32F);
  for (const T z : samples) {
    if (z < m) m = z;
  }
  return m;
}

template <class T>
T LargestOf(const std::vector<T>& samples) {
  T m = std::numeric_limits<T>::is_integer ? static_cast<T>(-1000000000)
        : sizeof(T) == 8                   ? static_cast<T>(-1e32)
                                           : static_cast<T>(-1e32F);
  for (const T z : samples) {
    if (z > m) m = z;
  }
  return m;
}

template <class T>
WindowResult Extreme(T found, T topLeft, bool marks) {
  if (marks && found == static_cast<T>(-1e10)) return Marked();
  WindowResult result;
  result.value = found;
  result.residual = static_cast<long double>(topLeft) - found;
  return result;
}

template <class T>
T RankOf(const WindowGrid<T>& grid, std::vector<T> samples, std::ptrdiff_t rank) {
  samples.resize(static_cast<std::size_t>(grid.size) * static_cast<std::size_t>(grid.size));
  std::sort(samples.begin(), samples.end(), SortsBefore<T>);
  return samples[static_cast<std::size_t>(rank)];
}

/// The result for the centre (r, c). Only where the window may be visited and has a divisor or a rank.
template <class T>
WindowResult WindowAt(WindowStatistic statistic, const WindowGrid<T>& grid, std::ptrdiff_t r,
                      std::ptrdiff_t c) {
  const std::vector<T> samples = WindowSamples(grid, r, c);
  const std::ptrdiff_t half = grid.Half();
  const T centre = grid.At(r, c);
  const T topLeft = statistic == WindowStatistic::kClippedMean ? centre : grid.At(r - half, c - half);
  const bool anyUnusable = std::any_of(samples.begin(), samples.end(), Unusable<T>);
  const long double squared = static_cast<long double>(grid.size) * grid.size;
  TermSum sum;
  switch (statistic) {
    case WindowStatistic::kMean:
      return MeanOf(grid, samples, topLeft);
    case WindowStatistic::kMeanResidual:
      return anyUnusable ? Marked() : MeanOf(grid, samples, topLeft);
    case WindowStatistic::kClippedMean:
      for (const T z : samples) {
        if (!Unusable(z)) sum.Add(z);
      }
      return sum.count == 0 ? Marked() : Averaged(sum, sum.count, centre);
    case WindowStatistic::kMinimum:
    case WindowStatistic::kMinimumResidual:
      return Extreme(SmallestOf(samples), topLeft, statistic == WindowStatistic::kMinimumResidual);
    case WindowStatistic::kMaximum:
    case WindowStatistic::kMaximumResidual:
      return Extreme(LargestOf(samples), topLeft, statistic == WindowStatistic::kMaximumResidual);
    case WindowStatistic::kLowRank:
      return Extreme(RankOf(grid, samples, half), centre, false);
    case WindowStatistic::kMedianResidual: {
      const std::ptrdiff_t rank = static_cast<std::ptrdiff_t>(grid.size) * grid.size / 2;
      const T median = RankOf(grid, samples, rank);
      return Unusable(median) ? Marked() : Extreme(median, centre, true);
    }
    case WindowStatistic::kLaplacian:
      if (anyUnusable) return Marked();
      for (std::size_t i = 0; i < samples.size(); ++i) {
        const long double z = samples[i];
        sum.Add(i == samples.size() / 2 ? squared * z : -z);
      }
      return Averaged(sum, squared, topLeft);
  }
  return {};
}

}  // namespace qv::reference
