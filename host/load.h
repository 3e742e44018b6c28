// From a file to a height map that is ready to be measured or drawn.
#pragma once

#include "commands/commands.h"
#include "height_map.h"
#include "progress.h"
#include "safe_import.h"
#include "stl_repair.h"

namespace qv3d {

struct LoadedMap {
  PreparedMesh prepared;
  MeshFacts mesh;
  HeightMap map;            ///< filled and levelled as asked for
  std::size_t missing = 0;  ///< samples that were missing before filling
  Plane plane;              ///< what levelling subtracted

  double MissingShare() const {
    return static_cast<double>(missing) / static_cast<double>(map.heights.size());
  }
};

/// Checks, mends, imports, fills and levels. Warnings go to the standard error stream.
LoadedMap LoadHeightMap(const ImportOptions& options, Progress& progress);

/// Prints what the check found short of errors, what was mended, and what the library remarked.
void PrintRemarks(const PreparedMesh& prepared, const std::string& libraryMessages);

}  // namespace qv3d
