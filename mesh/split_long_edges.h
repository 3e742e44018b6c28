#pragma once

#include "mesh/growing_array.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

enum class Refinement {
  kDone,
  kOutOfMemory,  ///< or more triangles than an int counts
  kNotFinite,    ///< an x or y is infinite or a NaN; nothing was split
};

/// Halves edges until none is as long as `limit` (> 0) seen from above. In every pass each triangle that has
/// such an edge loses its longest one (of equals the later) to the midpoint: one half takes its place, the
/// other goes to the end of the list and waits for the next pass. An edge that cannot be halved, because in
/// floats its midpoint is one of its ends, counts as short enough.
///
/// `largestCoordinate` is the largest magnitude of an x or y of the mesh. With `verbose` every pass is
/// reported.
Refinement SplitLongEdges(GrowingArray<Triangle>& triangles, double limit, double largestCoordinate,
                          bool verbose);

}  // namespace qv::mesh
