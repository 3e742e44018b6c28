#include "spectral/fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include "kernels/kernels.h"
#include "platform/large_pages.h"

namespace qv::spectral {

namespace {

constexpr std::ptrdiff_t kLanes = 16;
/// So few lines are transformed one by one: sixteen lanes would be mostly idle.
constexpr std::ptrdiff_t kFewLines = 2;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Memory = std::unique_ptr<T[], Free>;

/// Uninitialised, and empty when it cannot be had.
template <class T>
Memory<T> Allocate(std::ptrdiff_t count) {
  if (static_cast<std::size_t>(count) > std::numeric_limits<std::size_t>::max() / sizeof(T) / 2)
    return nullptr;
  return Memory<T>(static_cast<T*>(std::malloc(static_cast<std::size_t>(count) * sizeof(T))));
}

void ReverseBits(std::ptrdiff_t n, float* real, float* imaginary) {
  std::ptrdiff_t j = 0;
  for (std::ptrdiff_t i = 0; i < n - 1; ++i) {
    if (i < j) {
      std::swap(real[i], real[j]);
      std::swap(imaginary[i], imaginary[j]);
    }
    std::ptrdiff_t k = n / 2;
    for (; k <= j; k /= 2) j -= k;
    j += k;
  }
}

/// The factors of a stage, one after the other, by the recurrence. No sine or cosine: the recurrence's
/// rounding errors are part of the results.
struct Recurrence {
  double c1 = -1, c2 = 0;  ///< of the stage
  double u1 = 1, u2 = 0;   ///< current

  void Step() {
    const double z = u1 * c1 - u2 * c2;
    u2 = u1 * c2 + u2 * c1;
    u1 = z;
  }
  void NextStage(short direction) {
    c2 = std::sqrt((1 - c1) / 2);
    if (direction == kToHeights) c2 = -c2;
    c1 = std::sqrt((1 + c1) / 2);
    u1 = 1;
    u2 = 0;
  }
};

void Butterflies(const Recurrence& factor, std::ptrdiff_t first, std::ptrdiff_t half, std::ptrdiff_t n,
                 float* x, float* y) {
  for (std::ptrdiff_t i = first; i < n; i += 2 * half) {
    const double x1 = x[i + half], y1 = y[i + half], x0 = x[i], y0 = y[i];
    const double t1 = factor.u1 * x1 - factor.u2 * y1;
    const double t2 = factor.u1 * y1 + factor.u2 * x1;
    x[i + half] = static_cast<float>(x0 - t1);
    y[i + half] = static_cast<float>(y0 - t2);
    x[i] = static_cast<float>(x0 + t1);
    y[i] = static_cast<float>(y0 + t2);
  }
}

/// Everything about lines of one length that sixteen at a time share. It lives for one pass of one call.
class LinePlan {
 public:
  LinePlan(int stages, short direction) {
    const std::ptrdiff_t n = std::ptrdiff_t{1} << stages;
    factors_ = Allocate<double>(2 * n);
    order_ = Allocate<std::int32_t>(n);
    AllocateWork(n);
    if (!complete()) return;
    SetFactors(stages, direction);
    SetOrder(n);
    line_ = {stages, direction == kToHeights ? 1 / static_cast<float>(n) : 1.0F, factors_.get(),
             order_.get()};
  }
  bool complete() const { return factors_ && order_ && block_; }
  const kernels::FftLine& line() const { return line_; }
  float* work() const { return work_; }

 private:
  void SetFactors(int stages, short direction) {
    Recurrence factor;
    double* next = factors_.get();
    for (int stage = 1; stage <= stages; ++stage, factor.NextStage(direction)) {
      for (std::ptrdiff_t j = 0; j < std::ptrdiff_t{1} << (stage - 1); ++j, factor.Step()) {
        *next++ = factor.u1;
        *next++ = factor.u2;
      }
    }
  }
  void AllocateWork(std::ptrdiff_t n) {
    constexpr std::size_t kBytesPerPosition = 2 * kLanes * sizeof(float);
    const auto positions = static_cast<std::size_t>(n);
    if (positions > std::numeric_limits<std::ptrdiff_t>::max() / kBytesPerPosition / 2) return;
    const std::size_t bytes = positions * kBytesPerPosition;
    block_ = Allocate<char>(static_cast<std::ptrdiff_t>(platform::RoomForAligned(bytes)));
    if (block_) work_ = static_cast<float*>(platform::AlignedInside(block_.get(), bytes));
  }
  void SetOrder(std::ptrdiff_t n) {
    order_[0] = 0;
    for (std::ptrdiff_t known = 1; known < n; known *= 2) {
      const auto bit = static_cast<std::int32_t>(n / (2 * known));
      for (std::ptrdiff_t i = 0; i < known; ++i) order_[known + i] = order_[i] + bit;
    }
  }

  Memory<double> factors_;
  Memory<std::int32_t> order_;
  Memory<char> block_;
  float* work_ = nullptr;
  kernels::FftLine line_ = {};
};

struct Grid {
  float* const* real;
  float* const* imaginary;
  std::ptrdiff_t rows, columns;
  short direction;

  bool ColumnsOneByOne(int m) const {
    const Memory<float> re = Allocate<float>(rows), im = Allocate<float>(rows);
    if (!re || !im) return false;
    for (std::ptrdiff_t c = 0; c < columns; ++c) {
      for (std::ptrdiff_t r = 0; r < rows; ++r) {
        re[r] = real[r][c];
        im[r] = imaginary[r][c];
      }
      FFT1D(direction, m, re.get(), im.get());
      for (std::ptrdiff_t r = 0; r < rows; ++r) {
        real[r][c] = re[r];
        imaginary[r][c] = im[r];
      }
    }
    return true;
  }

  bool AllColumns() const {
    const int m = FloorLog2(static_cast<int>(rows));
    if (m == 0) return true;
    if (columns <= kFewLines) return ColumnsOneByOne(m);
    const LinePlan plan(m, direction);
    if (!plan.complete()) return ColumnsOneByOne(m);
    const auto transform = kernels::Active().fft.columns;
    for (std::ptrdiff_t c = 0; c < columns; c += kLanes) {
      transform(plan.line(), real, imaginary, c, plan.work());
    }
    return true;
  }

  void RowsOneByOne(int m) const {
    for (std::ptrdiff_t r = 0; r < rows; ++r) FFT1D(direction, m, real[r], imaginary[r]);
  }

  void AllRows() const {
    const int m = FloorLog2(static_cast<int>(columns));
    if (m == 0) return;
    if (rows <= kFewLines) return RowsOneByOne(m);
    const LinePlan plan(m, direction);
    if (!plan.complete()) return RowsOneByOne(m);
    const auto transform = kernels::Active().fft.rows;
    for (std::ptrdiff_t r = 0; r < rows; r += kLanes) {
      float *re[kLanes], *im[kLanes];
      for (std::ptrdiff_t lane = 0; lane < kLanes; ++lane) {
        re[lane] = real[std::min(r + lane, rows - 1)];
        im[lane] = imaginary[std::min(r + lane, rows - 1)];
      }
      transform(plan.line(), re, im, plan.work());
    }
  }
};

}  // namespace

int FloorLog2(int size) {
  return std::bit_width(static_cast<unsigned>(size)) - 1;
}

int FFT1D(short direction, int m, float* real, float* imaginary) {
  const std::ptrdiff_t n = std::ptrdiff_t{1} << std::max(m, 0);
  ReverseBits(n, real, imaginary);
  Recurrence factor;
  for (std::ptrdiff_t half = 1; half < n; half *= 2) {
    for (std::ptrdiff_t j = 0; j < half; ++j, factor.Step()) Butterflies(factor, j, half, n, real, imaginary);
    factor.NextStage(direction);
  }
  if (direction == kToHeights) {
    for (std::ptrdiff_t i = 0; i < n; ++i) {
      real[i] /= static_cast<float>(n);
      imaginary[i] /= static_cast<float>(n);
    }
  }
  return 1;
}

int FFT2D(float* const* realRows, float* const* imaginaryRows, int rows, int columns, short direction) {
  const Grid grid = {realRows, imaginaryRows, rows, columns, direction};
  if (!grid.AllColumns()) return 0;
  grid.AllRows();
  return 1;
}

}  // namespace qv::spectral
