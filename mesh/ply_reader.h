// The PLY import's inside: what its export module, its conversion and the tests share. The reader of the
// format itself is in mesh/ply/.
#pragma once

#include <cstdint>

#include "mesh/growing_array.h"
#include "mesh/mesh_bounds.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// A face, of which a triangle is made of the first three corners.
struct PlyFace {
  std::uint8_t vertexCount;  ///< the low 8 bits of the file's number
  std::int32_t vertexIndices[3];
};

/// The loaded PLY mesh: one at a time, for one thread at a time. ParsePLYFile fills it; ConvertPLYFile and
/// CleanUpPLY release it.
struct PlyModule {
  GrowingArray<Vertex> PlyVertices;  ///< in the frame of height maps: the file's (y, -z, x)
  GrowingArray<PlyFace> PlyFaces;
  int PlyVertexCount = 0;  ///< counts of the latest file; the arrays may have been released since
  int PlyFaceCount = 0;
  MeshBounds PlyBounds;
  GrowingArray<Triangle> PlyTriangles;  ///< lives during a conversion
  int PlyVerbose = 0;                   ///< prints what the conversion does; set by tests only
};
extern PlyModule ply;

}  // namespace qv::mesh
