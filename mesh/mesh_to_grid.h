// The pipeline from a triangle mesh to a grid of heights, shared by the file formats.
#pragma once

#include "mesh/growing_array.h"
#include "mesh/mesh_bounds.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// In what the conversions of the file formats differ.
struct MeshConversion {
  double degenerateArea;  ///< a triangle whose doubled area is not above this has the height 0
  double nudge;           ///< each end of the grid's rectangle is pulled inside by this much
  bool reportsCounts;     ///< whether the verbose messages include the pieces and the missing samples
};

struct GridRequest {
  int nx, ny;  ///< intervals
  float xOffset, yOffset, xSize, ySize;
  float* heights;
};

/// Converts a mesh, which is refined in place, to heights. `sizingCount` is the number from which the
/// resolution of the search is taken. Returns 0, or 1 when memory runs out. Ends the process when the mesh
/// cannot be put into cells.
unsigned ConvertMeshToGrid(const MeshConversion& conversion, GrowingArray<Triangle>& triangles,
                           int sizingCount, const MeshBounds& bounds, const GridRequest& request,
                           bool verbose);

}  // namespace qv::mesh
