// What the occlusion generator makes of its arguments: triangles to stop rays, and per vertex where rays
// start.
#pragma once

#include <cstddef>
#include <vector>

namespace qv::render {

/// The two connectivity arguments understood: `count` triangles of 3 vertex numbers, or none.
struct Connectivity {
  std::ptrdiff_t count = 0;
  const unsigned* indices = nullptr;
};

/// A number below 2^31 is the count, in either order; the first where both are such numbers and pointers can
/// be. Anything else is none.
Connectivity ReadConnectivity(const void* first, const void* second);

struct VertexArrays {
  const float* vertices;
  const float* normals;
  std::ptrdiff_t count;
};

struct OcclusionMesh {
  std::vector<float> corners;  ///< nine floats per triangle
  std::vector<float> starts;   ///< three floats per vertex
  float size = 0;              ///< the diagonal of what is there
};

/// Rays start above the surface by `offset` times the length of the edges at the vertex. A vertex that is
/// missing by value, or not finite, takes its triangles with it. Throws std::bad_alloc.
OcclusionMesh MeshOfTriangles(const VertexArrays& arrays, const Connectivity& connectivity, float offset);

/// Without triangles: a small square per vertex, across its normal, as wide as the vertices are apart.
OcclusionMesh MeshOfVertices(const VertexArrays& arrays);

/// The vertices in an order in which neighbours follow each other, so that their rays meet the same part of
/// the mesh.
std::vector<std::ptrdiff_t> NeighbourOrder(const VertexArrays& arrays);

/// Nothing is known of a vertex that was not measured.
bool IsUsableVertex(const float* vertex);

/// The normal at unit length; straight up where there is none.
void UnitNormal(const float* normal, float* unit);

}  // namespace qv::render
