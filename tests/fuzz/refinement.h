// Which meshes a fuzz target may have converted: the refinement of others would only take long.
#pragma once

#include <algorithm>
#include <cmath>

#include "mesh/growing_array.h"
#include "mesh/mesh_bounds.h"
#include "mesh/triangle_geometry.h"

namespace qv::test {

inline bool IsQuicklyRefined(const mesh::GrowingArray<mesh::Triangle>& triangles, int sizingCount,
                             const mesh::MeshBounds& bounds) {
  constexpr double kMostPieces = 200000;
  const double resolution = std::min(std::sqrt(0.005 * sizingCount), 80.0);
  const double extents[2] = {static_cast<double>(bounds.maximum[0]) - bounds.minimum[0],
                             static_cast<double>(bounds.maximum[1]) - bounds.minimum[1]};
  const double limit = std::min(extents[0], extents[1]) / std::floor(resolution);
  double pieces = 0;
  for (const mesh::Triangle& t : triangles) {
    const double longest =
        std::max({mesh::EdgeLength2D(t.a, t.b), mesh::EdgeLength2D(t.b, t.c), mesh::EdgeLength2D(t.c, t.a)});
    pieces += std::max(1.0, 4 * (longest / limit) * (longest / limit));
  }
  return !(pieces > kMostPieces);  // a NaN goes on: such meshes are refused before anything is split
}

}  // namespace qv::test
