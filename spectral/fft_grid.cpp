#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "spectral/fft.h"
#include "spectral/work_grid.h"

unsigned QV_CALL ComputeFFTGrid(const float* heights, int width, int height, float* spectrum) {
  if (width < 1 || height < 1) return 0;
  qv::spectral::PreparedGrid prepared;
  if (const unsigned status = prepared.Prepare(heights, width, height); status != 0) return status;
  const qv::spectral::WorkGrid& grid = prepared.grid;
  grid.Transform(qv::spectral::kToSpectrum);
  for (std::ptrdiff_t r = 0; r < grid.rows; ++r) {
    qv::kernels::Active().spectra.join(grid.real[r], grid.imaginary[r], spectrum + 2 * r * grid.columns,
                                       grid.columns);
  }
  return 0;
}

unsigned QV_CALL DoFFTInverse(int width, int height, const float* spectrum, float* heights) {
  if (width < 1 || height < 1) return 0;
  qv::spectral::WorkGrid grid;
  if (const unsigned status = grid.Allocate(height, width); status != 0) return status;
  const auto wide = static_cast<std::ptrdiff_t>(width);
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    qv::kernels::Active().spectra.separate(spectrum + 2 * r * wide, grid.real[r], grid.imaginary[r], wide);
  }
  grid.Transform(qv::spectral::kToHeights);
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    for (std::ptrdiff_t c = 0; c < wide; ++c) heights[r * wide + c] = grid.real[r][c];
  }
  return 0;
}
