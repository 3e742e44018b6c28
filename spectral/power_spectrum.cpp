#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "spectral/fft.h"
#include "spectral/work_grid.h"

unsigned QV_CALL PowerSpectrum(const float* heights, int width, int height, int linear, float* spectrum) {
  if (width < 1 || height < 1) return 0;
  qv::spectral::PreparedGrid prepared;
  if (const unsigned status = prepared.Prepare(heights, width, height); status != 0) return status;
  const qv::spectral::WorkGrid& grid = prepared.grid;
  grid.Transform(qv::spectral::kToSpectrum);
  const auto write = [&](int row, int column, std::ptrdiff_t out, int count) {
    // Amplitudes, in spite of the name.
    qv::kernels::Active().spectra.magnitudes(grid.real[row] + column, grid.imaginary[row] + column,
                                             spectrum + out, count);
    if (linear == 0) qv::kernels::Active().decades.replace(spectrum + out, count);
  };
  qv::spectral::ForEachRunOfCrop(grid, prepared.place, true, write);
  return 0;
}
