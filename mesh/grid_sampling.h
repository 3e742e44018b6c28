#pragma once

#include <cstddef>

#include "mesh/cell_grid.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// A rectangle of (nx + 1) x (ny + 1) samples, and where their heights go: row by row from `heights` on,
/// `pitch` apart, which is negative where the last row comes first.
struct SampleGrid {
  int nx, ny;  ///< at least 1
  double x0, y0;
  double xLength, yLength;  ///< of either sign
  float* heights;
  std::ptrdiff_t pitch;
};

/// Gives every sample the height of the first triangle, in index order, that contains it seen from above and
/// has the sample's cell among the cells that its vertices span; the missing value where there is none. A
/// triangle of no more than `degenerateArea` (twice its area) gives the height 0. Positions of samples are
/// rounded to Real before they are looked up.
///
/// Every vertex lies in a cell, which have a positive extent. Returns the number of samples without a
/// triangle; -1, with nothing written, when memory runs out.
template <class Real>
std::ptrdiff_t SampleTriangles(const TriangleOf<Real>* triangles, std::size_t count, const CellGrid& cells,
                               const SampleGrid& grid, double degenerateArea);

}  // namespace qv::mesh
