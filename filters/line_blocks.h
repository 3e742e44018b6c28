// The frame of the separable filters: lines of a grid gathered into blocks, smoothed there, and put back.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/kernels.h"

namespace qv::filters {

struct Grid {
  std::ptrdiff_t nx;
  std::ptrdiff_t ny;
};

/// Smooths every row: smooth(block, lines) works on a block of `lines` rows and returns where the result is.
template <class Smooth>
void SmoothRows(const Grid& grid, const float* in, float* out, float* block, Smooth smooth) {
  const kernels::SmoothingKernels& kernel = kernels::Active().smoothing;
  for (std::ptrdiff_t row = 0; row < grid.ny; row += kernels::kBlockLines) {
    const int lines = static_cast<int>(std::min<std::ptrdiff_t>(kernels::kBlockLines, grid.ny - row));
    kernel.packRows(in + row * grid.nx, grid.nx, lines, grid.nx, block);
    kernel.unpackRows(smooth(block, lines), grid.nx, lines, out + row * grid.nx, grid.nx);
  }
}

/// How many columns the first block takes, so that the others start on cache lines of the grid.
inline std::ptrdiff_t FirstColumns(const float* grid) {
  constexpr std::ptrdiff_t kBlockBytes = kernels::kBlockLines * sizeof(float);
  const auto past = static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(grid) % kBlockBytes);
  return (kBlockBytes - past) / static_cast<std::ptrdiff_t>(sizeof(float));
}

/// Smooths every column of `source` and splits `in` into filtered = the result and residual = in - filtered.
/// `source` may be `filtered`.
template <class Smooth>
void SmoothColumns(const Grid& grid, const float* source, const float* in, float* residual, float* filtered,
                   float* block, Smooth smooth) {
  const kernels::SmoothingKernels& kernel = kernels::Active().smoothing;
  std::ptrdiff_t column = 0, wanted = FirstColumns(filtered);
  while (column < grid.nx) {
    const int lines = static_cast<int>(std::min(wanted, grid.nx - column));
    kernel.packColumns(source + column, grid.nx, lines, grid.ny, block);
    kernel.unpackColumns(smooth(block, lines), grid.ny, lines, in + column, residual + column,
                         filtered + column, grid.nx);
    column += lines;
    wanted = kernels::kBlockLines;
  }
}

/// filtered = source, residual = in - source, for a direction that is not smoothed.
void PassColumns(const Grid& grid, const float* source, const float* in, float* residual, float* filtered);

/// Floats of a block of lines of either direction.
inline std::size_t BlockSize(const Grid& grid) {
  return static_cast<std::size_t>(std::max(grid.nx, grid.ny)) * kernels::kBlockLines;
}

}  // namespace qv::filters
