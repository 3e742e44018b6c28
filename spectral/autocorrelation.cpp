#include <algorithm>
#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "spectral/fft.h"
#include "spectral/work_grid.h"

unsigned QV_CALL Autocorrelate(const float* heights, int width, int height, float* correlation) {
  if (width < 1 || height < 1) return 0;
  qv::spectral::PreparedGrid prepared;
  if (const unsigned status = prepared.Prepare(heights, width, height); status != 0) return status;
  const qv::spectral::WorkGrid& grid = prepared.grid;
  grid.Transform(qv::spectral::kToSpectrum);
  for (std::ptrdiff_t r = 0; r < grid.rows; ++r) {
    qv::kernels::Active().spectra.squares(grid.real[r], grid.imaginary[r], grid.columns);
  }
  grid.Transform(qv::spectral::kToHeights);
  qv::spectral::ForEachRunOfCrop(grid, prepared.place, true,
                                 [&](int row, int column, std::ptrdiff_t out, int count) {
                                   std::copy_n(grid.real[row] + column, count, correlation + out);
                                 });
  return 0;
}
