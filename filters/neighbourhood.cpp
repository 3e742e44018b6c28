#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/kept_memory.h"
#include "core/samples.h"
#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace {

/// What every window that stays inside the grid has in common.
struct Frame {
  qv::kernels::Window window;
  bool empty;  ///< there is nothing to write
};

/// `half` truncates toward zero, so sizes 1, 0 and -1 visit the centre alone; below that there is no window.
/// Even sizes reach as far as the next odd one, and are divided by their own square all the same: callers
/// rely on it.
Frame FrameOf(int size, int nx, int ny) {
  const std::ptrdiff_t half = size / 2;
  const double divisor = static_cast<double>(size) * size;
  return {{nx, ny, half, divisor}, half < 0 || nx <= 2 * half || ny <= 2 * half};
}

template <class Kernel, class... Arrays>
unsigned Run(Kernel kernel, int size, int nx, int ny, Arrays... arrays) {
  const Frame frame = FrameOf(size, nx, ny);
  if (!frame.empty) kernel(frame.window, arrays...);
  return 0;
}

const qv::kernels::WindowMeanKernels& Means() {
  return qv::kernels::Active().windowMeans;
}
const qv::kernels::WindowExtremeKernels& Extremes() {
  return qv::kernels::Active().windowExtremes;
}

}  // namespace

unsigned QV_CALL FilterMean(int size, int nx, int ny, const double* in, double* out) {
  return Run(Means().meanDoubles, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMeanf(int size, int nx, int ny, const float* in, float* out) {
  return Run(Means().meanFloats, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMeani(int size, int nx, int ny, const int* in, int* out) {
  if (size == 0) return 0;  // nothing to divide by
  return Run(Means().meanInts, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMeanf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return Run(Means().meanResidual, size, nx, ny, in, out, residual);
}

unsigned QV_CALL FilterMeanf3(int size, int nx, int ny, const float* in, float* out, float* residual) {
  if (nx < 1 || ny < 1) return 0;
  const Frame frame = FrameOf(size, nx, ny);
  if (frame.window.half < 0) {  // an empty window at every sample
    const std::ptrdiff_t samples = static_cast<std::ptrdiff_t>(nx) * ny;
    std::fill_n(out, samples, qv::kBadSampleFloat);
    std::fill_n(residual, samples, qv::kBadSampleFloat);
    return 0;
  }
  Means().clippedMean(frame.window, in, out, residual);
  return 0;
}

unsigned QV_CALL FilterMinimum(int size, int nx, int ny, const double* in, double* out) {
  // Only this one of all: hosts have been sized around it.
  if (nx > 0 && ny > 0 && nx <= PTRDIFF_MAX / ny) qv::KeepBlock(std::ptrdiff_t{nx} * ny, sizeof(double));
  return Run(Extremes().minimumDoubles, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMinimumf(int size, int nx, int ny, const float* in, float* out) {
  return Run(Extremes().minimumFloats, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMinimumi(int size, int nx, int ny, const int* in, int* out) {
  return Run(Extremes().minimumInts, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMinimumf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return Run(Extremes().minimumResidual, size, nx, ny, in, out, residual);
}

unsigned QV_CALL FilterMaximum(int size, int nx, int ny, const double* in, double* out) {
  return Run(Extremes().maximumDoubles, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMaximumf(int size, int nx, int ny, const float* in, float* out) {
  return Run(Extremes().maximumFloats, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMaximumi(int size, int nx, int ny, const int* in, int* out) {
  return Run(Extremes().maximumInts, size, nx, ny, in, out);
}
unsigned QV_CALL FilterMaximumf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return Run(Extremes().maximumResidual, size, nx, ny, in, out, residual);
}

namespace {

template <class T>
bool Before(T a, T b) {
  if (a != a || b != b) return a == a;
  if (a != b) return a < b;
  return std::signbit(a) && !std::signbit(b);
}
bool Before(int a, int b) {
  return a < b;
}

template <class T, class Emit>
void ForEachRank(int size, int nx, int ny, const T* in, std::ptrdiff_t rank, Emit emit) {
  const Frame frame = FrameOf(size, nx, ny);
  if (frame.empty || size == 0) return;
  const std::ptrdiff_t half = frame.window.half, side = 2 * half + 1;
  const std::size_t kept = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
  std::vector<T> values;
  for (std::ptrdiff_t r = 0; r < ny - 2 * half; ++r) {
    for (std::ptrdiff_t c = 0; c < nx - 2 * half; ++c) {
      values.clear();
      for (std::ptrdiff_t i = 0; i < side; ++i)
        values.insert(values.end(), in + (r + i) * nx + c, in + (r + i) * nx + c + side);
      values.resize(kept);
      std::nth_element(values.begin(), values.begin() + rank, values.end(),
                       [](T a, T b) { return Before(a, b); });
      T z = values[static_cast<std::size_t>(rank)];
      if (z != z) z = std::numeric_limits<T>::quiet_NaN();
      emit(r * (nx - 2 * half) + c, in[(r + half) * nx + c + half], z);
    }
  }
}

template <class T>
unsigned LowRank(int size, int nx, int ny, const T* in, T* out) {
  ForEachRank(size, nx, ny, in, size / 2, [&](std::ptrdiff_t i, T, T z) { out[i] = z; });
  return 0;
}

}  // namespace

unsigned QV_CALL FilterMedian(int size, int nx, int ny, const double* in, double* out) {
  return LowRank(size, nx, ny, in, out);
}
unsigned QV_CALL FilterMedianf(int size, int nx, int ny, const float* in, float* out) {
  return LowRank(size, nx, ny, in, out);
}
unsigned QV_CALL FilterMediani(int size, int nx, int ny, const int* in, int* out) {
  return LowRank(size, nx, ny, in, out);
}
unsigned QV_CALL FilterMedianf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  const std::ptrdiff_t rank = static_cast<std::ptrdiff_t>(size) * size / 2;
  ForEachRank(size, nx, ny, in, rank, [&](std::ptrdiff_t i, float centre, float z) {
    out[i] = qv::IsMissing(z) ? qv::kBadSampleFloat : z;
    residual[i] = qv::IsMissing(z) ? qv::kBadSampleFloat : centre - z;
    if (residual[i] != residual[i]) residual[i] = std::numeric_limits<float>::quiet_NaN();
  });
  return 0;
}

unsigned QV_CALL FilterLaplacianf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return Run(Means().laplacian, size, nx, ny, in, out, residual);
}
