#include <cstddef>
#include <utility>

#include "exports/QV_3D.h"
#include "mesh/mesh_to_grid.h"
#include "mesh/ply_reader.h"

namespace qv::mesh {
namespace {

/// The triangle of a face's first three corners, wound the other way round. False where there is none: a
/// made-up one, without extent, would take every sample of its cell.
bool TriangleOf(const PlyFace& face, Triangle* triangle) {
  if (face.vertexCount < 3) return false;
  const auto vertexCount = ply.PlyVertices.size();
  const std::int32_t(&corners)[3] = face.vertexIndices;
  for (const std::int32_t corner : corners) {
    if (corner < 0 || static_cast<std::size_t>(corner) >= vertexCount) return false;
  }
  const Vertex* vertices = ply.PlyVertices.data();
  *triangle = {vertices[corners[0]], vertices[corners[2]], vertices[corners[1]]};
  return true;
}

bool BuildTriangles() {
  Triangle* triangles = ply.PlyTriangles.Extend(ply.PlyFaces.size());
  if (triangles == nullptr) return ply.PlyFaces.empty();
  std::size_t count = 0;
  for (const PlyFace& face : ply.PlyFaces) {
    if (TriangleOf(face, triangles + count)) ++count;
  }
  ply.PlyTriangles.Truncate(count);
  return true;
}

}  // namespace
}  // namespace qv::mesh

unsigned QV_CALL ConvertPLYFile(int nx, int ny, float xOffset, float yOffset, float xSize, float ySize,
                                float* heights) {
  using namespace qv::mesh;
  constexpr MeshConversion kPlyConversion = {.degenerateArea = 1e-9, .nudge = 1e-8, .reportsCounts = false};

  const bool isBuilt = !ply.PlyVertices.empty() && BuildTriangles();
  CleanUpPLY();
  // The mesh is gone afterwards, whatever happens.
  GrowingArray<Triangle> triangles = std::move(ply.PlyTriangles);
  if (!isBuilt) return 1;
  return ConvertMeshToGrid(kPlyConversion, triangles, ply.PlyFaceCount, ply.PlyBounds,
                           {nx, ny, xOffset, yOffset, xSize, ySize, heights}, ply.PlyVerbose != 0);
}
