// The STL reader's inside: what the export module of the import, its conversion and the tests share.
#pragma once

#include <cstdio>

#include "mesh/growing_array.h"
#include "mesh/mesh_bounds.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// The loaded STL mesh: one at a time, for one thread at a time. ParseSTLFile fills it; ConvertSTLFile and
/// CleanUpSTL release the triangles.
struct StlModule {
  GrowingArray<Triangle> StlTriangles;
  int StlTriangleCount = 0;  ///< the result of the latest ReadSTL; StlTriangles may have been released since
  MeshBounds StlBounds;
  int Verbose = 0;  ///< prints what the import does; set by tests only
};
extern StlModule stl;

/// Reads a file into stl.StlTriangles, in place of what is there, and returns the number of triangles; -1
/// when the file cannot be opened or recognised, or does not fit into memory.
int ReadSTL(const char* fileName);

/// The same for an open file, from its present position. The file stays the caller's.
int ReadSTL(std::FILE* file);

}  // namespace qv::mesh
