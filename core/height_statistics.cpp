#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace {

const qv::kernels::StatisticsKernels& Kernels() {
  return qv::kernels::Active().statistics;
}

unsigned StoreMean(const qv::kernels::Sum& sum, float* result) {
  if (sum.count == 0) return 1;
  *result = static_cast<float>(sum.value / static_cast<double>(sum.count));
  return 0;
}

/// Rq as ComputeRMS writes it.
float RootMeanSquare(double squares, std::ptrdiff_t count) {
  return static_cast<float>(std::sqrt(squares / static_cast<double>(count)));
}

// Neighbourhood tests for inner samples, of which all eight neighbours exist.

template <class Order>
bool StandsOut(int x, int y, int width, const float* heights, Order neighbourIsBeyond) {
  const float* centre = heights + static_cast<std::ptrdiff_t>(y) * width + x;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const float neighbour = centre[static_cast<std::ptrdiff_t>(dy) * width + dx];
      if (qv::IsMissing(neighbour) || !neighbourIsBeyond(neighbour, *centre)) return false;
    }
  }
  return true;
}

bool IsLocalPeak(int x, int y, int width, const float* heights) {
  return StandsOut(x, y, width, heights, [](float neighbour, float centre) { return neighbour < centre; });
}

bool IsLocalValley(int x, int y, int width, const float* heights) {
  return StandsOut(x, y, width, heights, [](float neighbour, float centre) { return neighbour > centre; });
}

bool ComparePeaksDescending(float a, float b) {
  return a > b;
}
bool CompareValleysAscending(float a, float b) {
  return a < b;
}

constexpr int kExtremaUsed = 5;

/// The extrema of one kind. The list starts as zeros, and so do the entries that a short list lacks.
class ExtremaList {
 public:
  explicit ExtremaList(std::size_t capacity)
      : heights_(static_cast<float*>(std::calloc(capacity, sizeof(float)))) {}
  explicit operator bool() const { return heights_ != nullptr; }

  void Append(float height) { heights_.get()[count_++] = height; }
  [[nodiscard]] std::ptrdiff_t Count() const { return count_; }

  /// The sum of the first five in the given order.
  template <class Order>
  double SumOfFirst(Order order) {
    float* begin = heights_.get();
    std::partial_sort(begin, begin + std::min<std::ptrdiff_t>(kExtremaUsed, count_), begin + count_, order);
    double sum = 0;
    for (int i = 0; i < kExtremaUsed; ++i) sum += begin[i];
    return sum;
  }

 private:
  struct Free {
    void operator()(float* block) const { std::free(block); }
  };
  std::unique_ptr<float, Free> heights_;
  std::ptrdiff_t count_ = 0;
};

}  // namespace

unsigned QV_CALL ComputeAverage(const float* heights, int count, float* result) {
  return StoreMean(Kernels().sumAbsolutes(heights, count), result);
}

unsigned QV_CALL ComputeRMS(const float* heights, int count, float* result) {
  const auto sum = Kernels().sumSquares(heights, count);
  if (sum.count == 0) return 1;
  *result = RootMeanSquare(sum.value, sum.count);
  return 0;
}

unsigned QV_CALL ComputePeak(const float* heights, int count, float* result) {
  *result = Kernels().extremes(heights, count).maximum;
  return 0;
}

unsigned QV_CALL ComputeValley(const float* heights, int count, float* result) {
  *result = std::fabs(Kernels().extremes(heights, count).minimum);
  return 0;
}

unsigned QV_CALL ComputePeakToValley(const float* heights, int count, float* result) {
  const auto found = Kernels().extremes(heights, count);
  *result = static_cast<float>(static_cast<double>(found.maximum) - found.minimum);
  return 0;
}

// Skewness and kurtosis take the squares in the same pass, in the order of ComputeRMS: the same Rq for half
// the reading.

unsigned QV_CALL ComputeSkewness(const float* heights, int count, float* result) {
  const auto sums = Kernels().thirdMoment(heights, count);
  if (sums.count == 0) return 1;
  const double rq = RootMeanSquare(sums.squares, sums.count);
  *result = static_cast<float>(sums.powers / static_cast<double>(sums.count) / (rq * rq * rq));
  return 0;
}

unsigned QV_CALL ComputeKurtosis(const float* heights, int count, float* result) {
  const auto sums = Kernels().fourthMoment(heights, count);
  if (sums.count == 0) return 1;
  const double rq = RootMeanSquare(sums.squares, sums.count);
  *result = static_cast<float>(sums.powers / static_cast<double>(sums.count) / (rq * rq * rq * rq));
  return 0;
}

unsigned QV_CALL ComputeTenPointHeight(const float* heights, int width, int height, float* result) {
  if (width < 3 || height < 3) return 1;
  const std::size_t samples = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  ExtremaList peaks(samples), valleys(samples);
  if (!peaks || !valleys) return 0;  // without a result: kept, hosts do not expect a failure here

  for (int y = 1; y < height - 1; ++y) {
    for (int x = 1; x < width - 1; ++x) {
      const float z = heights[static_cast<std::ptrdiff_t>(y) * width + x];
      if (qv::IsMissing(z)) continue;
      if (IsLocalPeak(x, y, width, heights)) {
        peaks.Append(z);
      } else if (IsLocalValley(x, y, width, heights)) {
        valleys.Append(z);
      }
    }
  }
  // "and": one long list is enough, the other may then be short.
  if (peaks.Count() < kExtremaUsed && valleys.Count() < kExtremaUsed) return 1;

  const double peakSum = peaks.SumOfFirst(ComparePeaksDescending);
  const double valleySum = valleys.SumOfFirst(CompareValleysAscending);
  *result = static_cast<float>((peakSum - valleySum) * static_cast<double>(0.2F));
  return 0;
}
