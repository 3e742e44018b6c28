// Imports a mesh through the library without trusting it to come back: the library ends the process on files
// that it cannot use, so the import runs in a child process.
#pragma once

#include <filesystem>
#include <string>

#include "analysis/height_map.h"
#include "files/mesh_repair.h"
#include "import/child_process.h"
#include "progress.h"

namespace qv3d {

/// What the library says about a mesh, in the unit of the file.
struct MeshFacts {
  Bounds bounds;
  int triangles = 0;
  std::string messages;  ///< lines of the library on the standard error stream
  double seconds = 0;
};

/// The grid asked for. Samples lie at the middles of nx x ny cells that divide the mesh's extent, or
/// `spacing` apart. With one of nx and ny the other follows from square cells; with nothing the longer side
/// gets 512 samples.
struct GridRequest {
  int nx = 0;
  int ny = 0;
  double spacing = 0;
};

struct GridPlan {
  int nx = 0, ny = 0;  ///< samples
  double xOffset = 0, yOffset = 0, xSize = 0, ySize = 0;
};

/// Throws Failure (usage) where the request makes no sense for these extents.
GridPlan PlanGrid(double extentX, double extentY, const GridRequest& request);

struct ImportedMap {
  MeshFacts mesh;
  HeightMap map;
};

/// Only reads the mesh. Throws Failure where that does not succeed.
MeshFacts ProbeMesh(const PreparedMesh& mesh, const ChildLimits& limits, Progress& progress);

/// Reads the mesh and converts it to a height map. Throws Failure where that does not succeed.
ImportedMap ImportMesh(const PreparedMesh& mesh, const GridRequest& request, const ChildLimits& limits,
                       Progress& progress);

}  // namespace qv3d
