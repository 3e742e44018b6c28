// Makes a file fit for the library: checks it, and mends a temporary copy where the user asked for it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "files/mesh_check.h"
#include "files/temporary_file.h"

namespace qv3d {

/// What was done to the triangles, and the factor by which they were made larger (a power of two, so that
/// dividing by it gives the old coordinates exactly).
struct RepairedMesh {
  std::vector<Triangle> triangles;
  std::vector<std::string> actions;
  double scale = 1;
};

/// Divides every triangle at its edge midpoints into four, which keeps the surface.
std::vector<Triangle> DivideInFour(const std::vector<Triangle>& triangles);

/// The steps that all formats share: leaves out triangles that are not finite, divides where there are too
/// few and enlarges where they are too small.
void MendTriangles(RepairedMesh& mesh, const MeshCheck& check);

/// The findings of either format.
MeshCheck CheckMesh(MeshFormat format, std::string_view bytes);

/// What the program's own readers find in a file of either format, in order or not.
struct MeshContent {
  MeshCheck check;
  std::vector<Triangle> triangles;
};
MeshContent ReadMeshContent(MeshFormat format, std::string_view bytes);

/// How many triangles the library should find: of a format that has faces, one for each.
std::uint64_t ExpectedTriangles(const MeshCheck& check);

/// A file that the library can be trusted with: the given one, or a mended copy.
struct PreparedMesh {
  std::filesystem::path path;
  MeshFormat format = MeshFormat::kStl;
  double scale = 1;
  std::uint64_t triangles = 0;       ///< that the library should find; 0 where nothing was checked
  MeshCheck check;                   ///< of the given file
  std::vector<std::string> actions;  ///< what was mended
  TemporaryFile copy;
};

struct PrepareOptions {
  bool repair = false;
  bool check = true;
};

/// Throws Failure with the first error, all others and the advice where the file is not in order and must not
/// or cannot be mended.
PreparedMesh PrepareMesh(const std::filesystem::path& path, const PrepareOptions& options);

}  // namespace qv3d
