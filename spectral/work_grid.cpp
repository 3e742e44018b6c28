#include "spectral/work_grid.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "kernels/kernels.h"
#include "platform/large_pages.h"
#include "spectral/fft.h"

namespace qv::spectral {

namespace {

constexpr std::size_t kVector = 16;

/// Number of samples up to which a float counter counts.
constexpr double kCounterStops = 16777216;

double Mean(const float* heights, std::ptrdiff_t count) {
  // The number of samples is counted in a float, kept: from 2^24 on it stands still.
  return kernels::Active().spectra.sum(heights, count) / std::min(static_cast<double>(count), kCounterStops);
}

}  // namespace

int PaddedSize(int size) {
  const int m = FloorLog2(size);
  if (size == 1 << m) return size;
  return m < 30 ? 1 << (m + 1) : 0;
}

bool Rows::AllocatePointers(int rows) {
  pointers_.reset(static_cast<float**>(std::malloc(static_cast<std::size_t>(rows) * sizeof(float*))));
  return pointers_ != nullptr;
}

bool Rows::AllocateSamples(int rows, int columns) {
  pitch_ = (static_cast<std::size_t>(columns) / kVector + 2) * kVector;
  count_ = static_cast<std::size_t>(rows);
  if (pitch_ > std::numeric_limits<std::size_t>::max() / 2 / sizeof(float) / count_) return false;
  const std::size_t bytes = count_ * pitch_ * sizeof(float);
  samples_.reset(static_cast<float*>(std::malloc(platform::RoomForAligned(bytes))));
  if (samples_ == nullptr) return false;
  auto* const first = static_cast<float*>(platform::AlignedInside(samples_.get(), bytes));
  for (std::size_t r = 0; r < count_; ++r) pointers_[r] = first + r * pitch_;
  return true;
}

void Rows::Clear(std::ptrdiff_t row) const {
  std::memset((*this)[row], 0, pitch_ * sizeof(float));
}

// Not calloc: its pages would be fetched twice, once to be read as zeros.
void Rows::Clear() const {
  std::memset(pointers_[0], 0, count_ * pitch_ * sizeof(float));
}

unsigned WorkGrid::Allocate(int rowCount, int columnCount) {
  const unsigned status = AllocateWithoutReal(rowCount, columnCount);
  if (status == 0) real.Clear();
  return status;
}

unsigned WorkGrid::AllocateWithoutReal(int rowCount, int columnCount) {
  rows = rowCount;
  columns = columnCount;
  if (!real.AllocatePointers(rows)) return 2;
  if (!real.AllocateSamples(rows, columns)) return 3;
  if (!imaginary.AllocatePointers(rows)) return 4;
  if (!imaginary.AllocateSamples(rows, columns)) return 5;
  imaginary.Clear();
  return 0;
}

void WorkGrid::Transform(short direction) const {
  // A transform that finds no work memory leaves the grid as it is and goes unreported; kept.
  FFT2D(real.pointers(), imaginary.pointers(), rows, columns, direction);
}

unsigned PreparedGrid::Prepare(const float* heights, int width, int height) {
  const int rows = PaddedSize(height), columns = PaddedSize(width);
  if (rows == 0 || columns == 0) return 3;
  if (const unsigned status = grid.AllocateWithoutReal(rows, columns); status != 0) return status;
  place = {width, height, (rows - height) / 2, (columns - width) / 2};
  const double mean = Mean(heights, static_cast<std::ptrdiff_t>(width) * height);
  for (int row = 0; row < rows; ++row) {
    grid.real.Clear(row);
    const int r = row - place.rowOffset;
    if (r < 0 || r >= height) continue;
    kernels::Active().spectra.subtract(heights + static_cast<std::ptrdiff_t>(r) * width,
                                       grid.real[row] + place.columnOffset, width, mean);
  }
  return 0;
}

}  // namespace qv::spectral
