// From a file to a height map that is ready to be measured or drawn.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "analysis/height_map.h"
#include "files/mesh_repair.h"
#include "formats/grid_file.h"
#include "import/child_process.h"
#include "import/safe_import.h"
#include "progress.h"

namespace qv3d {

/// Which surface is wanted, and how a file becomes one.
struct ImportOptions {
  std::filesystem::path file;
  PrepareOptions prepare;
  ChildLimits limits;
  GridRequest grid;
  std::string unit = "mm";
  std::optional<Origin>
      origin;  ///< of a height map, where its file is to be understood otherwise than it says
  std::optional<double> zScale, zOffset;
  bool fill = false;
  bool level = true;
  bool json = false;
  bool quiet = false;
};

struct LoadedMap {
  bool fromMesh = true;  ///< otherwise the file was a height map, and the next two are empty
  PreparedMesh prepared;
  MeshFacts mesh;
  FileGrid file;                    ///< what the file of a height map says of itself, without its values
  Origin origin = Origin::kBottom;  ///< where its first row lies
  HeightMap map;                    ///< filled and levelled as asked for
  std::size_t missing = 0;          ///< samples that were missing before filling
  Plane plane;                      ///< what levelling subtracted

  double MissingShare() const {
    return static_cast<double>(missing) / static_cast<double>(map.heights.size());
  }
};

/// How a height map is to be understood, in words of its reader.
GridReading ReadingOf(const ImportOptions& options);

/// Reads a height map, or checks, mends and imports a mesh; then levels and fills. Warnings go to the
/// standard error stream.
LoadedMap LoadHeightMap(const ImportOptions& options, Progress& progress);

/// Prints what the check found short of errors, what was mended, and what the library remarked.
void PrintRemarks(const PreparedMesh& prepared, const std::string& libraryMessages);

}  // namespace qv3d
