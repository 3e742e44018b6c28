#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "spectral/fft.h"
#include "spectral/work_grid.h"

namespace {

using qv::spectral::WorkGrid;

enum class Mode { kLowPass, kHighPass };

/// Multiplies the terms of both parts by gain(k), k being the rounded distance from the four corners of the
/// array. The mirrored positions are one bin off the conjugate ones (columns-1-c for columns-c), so a real
/// grid does not stay exactly real; kept.
template <class Gain>
void MultiplyByGains(const WorkGrid& grid, Gain gain) {
  const int halfRows = grid.rows / 2, halfColumns = grid.columns / 2;
  std::vector<float> gains(static_cast<std::size_t>(halfColumns));
  const double corner =
      std::sqrt(static_cast<double>(halfRows) * halfRows + static_cast<double>(halfColumns) * halfColumns);
  std::vector<float> table(static_cast<std::size_t>(corner) + 1);
  for (std::size_t k = 0; k < table.size(); ++k) table[k] = static_cast<float>(gain(static_cast<double>(k)));
  for (int r = 0; r < halfRows; ++r) {
    for (int c = 0; c < halfColumns; ++c) {
      const double square = static_cast<double>(r) * r + static_cast<double>(c) * c;
      // Half up after the addition's own rounding: lround would differ just below .5.
      // NOLINTNEXTLINE(bugprone-incorrect-roundings)
      gains[static_cast<std::size_t>(c)] = table[static_cast<std::size_t>(std::sqrt(square) + 0.5)];
    }
    for (const qv::spectral::Rows* part : {&grid.real, &grid.imaginary}) {
      for (const int row : {r, grid.rows - 1 - r}) {
        float* terms = (*part)[row];
        qv::kernels::Active().spectra.gain(terms, terms + grid.columns, gains.data(), halfColumns);
      }
    }
  }
}

double LargerHalf(const WorkGrid& grid) {
  return std::max(grid.rows / 2, grid.columns / 2);
}

void ApplyButterworthFilter(const WorkGrid& grid, Mode mode, double cutoff, double order) {
  const double radius = LargerHalf(grid) * cutoff;
  MultiplyByGains(grid, [&](double k) {
    const double low = 1 / (1 + 0.414 * std::pow(k / radius, 2 * order));
    return mode == Mode::kLowPass ? low : 1 - low;
  });
}

void ApplyGaussianFilter(const WorkGrid& grid, Mode mode, double cutoff) {
  const double sigma = LargerHalf(grid) * cutoff * 1.2011224090139594;  // 1 / sqrt(ln 2)
  MultiplyByGains(grid, [&](double k) {
    const double low = std::exp(-(k * k) / (2 * sigma * sigma));
    return mode == Mode::kLowPass ? low : 1 - low;
  });
}

/// Clears terms by their distance from the middle of the array, where the highest frequencies lie: "low pass"
/// keeps the finest waves of the surface and "high pass" the longest. Kept: hosts name the kinds accordingly.
void ApplyIdealFilter(const WorkGrid& grid, Mode mode, double cutoff) {
  const int halfRows = grid.rows / 2, halfColumns = grid.columns / 2;
  const double larger = LargerHalf(grid);
  for (int r = 0; r < grid.rows; ++r) {
    const double dy = r - halfRows;
    for (int c = 0; c < grid.columns; ++c) {
      const double dx = c - halfColumns;
      const double ratio = std::trunc(std::sqrt(dx * dx + dy * dy)) / larger;
      if (mode == Mode::kLowPass ? ratio > cutoff : ratio < cutoff) {
        grid.real[r][c] = 0;
        grid.imaginary[r][c] = 0;
      }
    }
  }
}

void ApplyFilter(const WorkGrid& grid, int filterType, double parameter1) {
  const Mode mode = filterType % 2 == 0 ? Mode::kLowPass : Mode::kHighPass;
  if (filterType == 0 || filterType == 1) ApplyIdealFilter(grid, mode, parameter1);
  if (filterType == 2 || filterType == 3) ApplyButterworthFilter(grid, mode, parameter1, 1.0);
  if (filterType == 4 || filterType == 5) ApplyGaussianFilter(grid, mode, parameter1);
}

}  // namespace

unsigned QV_CALL FFTFilter(const float* heights, int width, int height, int filterType, float parameter1,
                           float /*parameter2*/, float* filtered) {
  if (width < 1 || height < 1) return 0;
  qv::spectral::PreparedGrid prepared;
  if (const unsigned status = prepared.Prepare(heights, width, height); status != 0) return status;
  const WorkGrid& grid = prepared.grid;
  grid.Transform(qv::spectral::kToSpectrum);
  try {
    ApplyFilter(grid, filterType, parameter1);
  } catch (const std::bad_alloc&) {
    return 5;
  }
  grid.Transform(qv::spectral::kToHeights);
  qv::spectral::ForEachRunOfCrop(grid, prepared.place, false,
                                 [&](int row, int column, std::ptrdiff_t out, int count) {
                                   std::copy_n(grid.real[row] + column, count, filtered + out);
                                 });
  return 0;
}
