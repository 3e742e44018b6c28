#pragma once

#include <cstddef>

#include "mesh/cell_grid.h"
#include "mesh/growing_array.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// A rectangle of (nx + 1) x (ny + 1) samples. The ends may lie on either side of the starts.
struct SampleGrid {
  int nx, ny;  ///< at least 1
  float x0, y0, x1, y1;
};

/// Gives every sample the height of the first triangle, in index order, that contains it seen from above and
/// has the sample's cell among the cells that its vertices span; the missing value where there is none. A
/// triangle of no more than `degenerateArea` (twice its area) gives the height 0.
///
/// Returns the number of samples without a triangle; -1, with nothing written, when memory runs out.
std::ptrdiff_t SampleTriangles(const GrowingArray<Triangle>& triangles, const CellGrid& cells,
                               const SampleGrid& grid, double degenerateArea, float* heights);

}  // namespace qv::mesh
