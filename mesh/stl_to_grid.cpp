#include <utility>

#include "exports/QV_3D.h"
#include "mesh/mesh_to_grid.h"
#include "mesh/stl_reader.h"

unsigned QV_CALL ConvertSTLFile(int nx, int ny, float xOffset, float yOffset, float xSize, float ySize,
                                float* heights) {
  using namespace qv::mesh;
  constexpr MeshConversion kStlConversion = {.degenerateArea = 1e-6, .nudge = 0, .reportsCounts = true};

  // The mesh is gone afterwards, whatever happens.
  GrowingArray<Triangle> triangles = std::move(stl.StlTriangles);
  if (triangles.empty()) return 1;
  return ConvertMeshToGrid(kStlConversion, triangles, stl.StlTriangleCount, stl.StlBounds,
                           {nx, ny, xOffset, yOffset, xSize, ySize, heights}, stl.Verbose != 0);
}
