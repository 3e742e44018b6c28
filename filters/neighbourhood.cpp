#include <algorithm>
#include <cstddef>
#include <cstdint>

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

/// Sorted are the first size * size samples in row order, of which an even size visits more: of its size + 1
/// columns, size - 1 full rows and one sample.
template <class Kernel, class... Arrays>
unsigned RunRank(Kernel kernel, int size, int nx, int ny, std::ptrdiff_t rank, Arrays... arrays) {
  const Frame frame = FrameOf(size, nx, ny);
  if (frame.empty || size == 0) return 0;
  const bool even = size % 2 == 0;
  const std::ptrdiff_t side = 2 * frame.window.half + 1;
  kernel(qv::kernels::RankWindow{frame.window, even ? side - 2 : side, even, rank}, arrays...);
  return 0;
}

/// Not the median, for all that the exports are called so: callers rely on it.
std::ptrdiff_t LowRank(int size) {
  return size / 2;
}
std::ptrdiff_t TrueMedian(int size) {
  return static_cast<std::ptrdiff_t>(static_cast<std::int64_t>(size) * size / 2);
}

const qv::kernels::WindowMeanKernels& Means() {
  return qv::kernels::Active().windowMeans;
}
const qv::kernels::WindowExtremeKernels& Extremes() {
  return qv::kernels::Active().windowExtremes;
}
const qv::kernels::WindowRankKernels& Ranks() {
  return qv::kernels::Active().windowRanks;
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

unsigned QV_CALL FilterMedian(int size, int nx, int ny, const double* in, double* out) {
  return RunRank(Ranks().rankDoubles, size, nx, ny, LowRank(size), in, out);
}
unsigned QV_CALL FilterMedianf(int size, int nx, int ny, const float* in, float* out) {
  return RunRank(Ranks().rankFloats, size, nx, ny, LowRank(size), in, out);
}
unsigned QV_CALL FilterMediani(int size, int nx, int ny, const int* in, int* out) {
  return RunRank(Ranks().rankInts, size, nx, ny, LowRank(size), in, out);
}
unsigned QV_CALL FilterMedianf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return RunRank(Ranks().rankResidual, size, nx, ny, TrueMedian(size), in, out, residual);
}

unsigned QV_CALL FilterLaplacianf2(int size, int nx, int ny, const float* in, float* out, float* residual) {
  return Run(Means().laplacian, size, nx, ny, in, out, residual);
}
