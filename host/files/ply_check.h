// What is wrong with a PLY file before the library reads it.
#pragma once

#include <string>
#include <vector>

#include "files/mesh_check.h"
#include "files/ply_file.h"

namespace qv3d {

struct PlyCheck : MeshCheck {
  /// What reading the file forgivingly has mended already, as --repair reports it.
  std::vector<std::string> mended;
};

/// The heights of smaller triangles (doubled area in x-y) of a PLY file come out as 0.0.
inline constexpr double kSmallestPlyDoubledArea = 1e-9;

PlyCheck CheckPly(const PlyFile& file);

/// Adds to `check` what keeps even the vertices from being read: an unknown format, a cut header, missing
/// coordinates.
void JudgePlyVertices(const PlyFile& file, PlyCheck& check);

}  // namespace qv3d
