// What is wrong with a mesh file before the library reads it. The library ends the process on some files and
// silently reads others differently from what their author meant; these checks say so in words.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "files/mesh_file.h"

namespace qv3d {

struct Bounds {
  double min[3] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                   std::numeric_limits<double>::infinity()};
  double max[3] = {-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                   -std::numeric_limits<double>::infinity()};

  double Extent(int axis) const { return max[axis] > min[axis] ? max[axis] - min[axis] : 0; }
};

enum class Severity { kNote, kWarning, kError };

struct Finding {
  Severity severity;
  std::string id;      ///< a stable short name, for --json
  std::string what;    ///< one sentence
  std::string advice;  ///< what to do
  ExitCode code;       ///< how a command that needs the file in order ends
  bool repairable;     ///< whether --repair mends it
};

/// The conversion ends the process on meshes of fewer triangles (STL) or faces (PLY).
inline constexpr int kFewestTriangles = 200;

/// Triangles are in the axes of height maps: x and y across, z up.
struct MeshCheck {
  std::string format;  ///< "binary STL", "ASCII PLY", ...
  std::uint64_t fileBytes = 0;
  std::uint64_t triangles = 0;  ///< that the program found
  std::optional<std::uint64_t> announcedTriangles;
  std::optional<std::uint64_t> vertices, faces;  ///< of a format that has them

  Bounds bounds;                   ///< of the finite corners
  std::uint64_t nonFinite = 0;     ///< triangles with a coordinate that is not a number or infinite
  std::uint64_t tiny = 0;          ///< triangles too small in x-y for a height, but not standing upright
  std::uint64_t upright = 0;       ///< triangles without area seen from above (walls)
  double heightlessArea = 0;       ///< triangles of this doubled area in x-y and less have a height of 0
  double smallestDoubledArea = 0;  ///< of those neither upright nor degenerate
  double projectedArea = 0;        ///< sum of the areas seen from above
  std::vector<Finding> findings;

  const Finding* FirstError() const;
  std::uint64_t Usable() const { return triangles - nonFinite; }
  void Add(Severity severity, const char* id, std::string what, std::string advice, ExitCode code,
           bool repairable);
  /// Counts a triangle and takes its size.
  void Measure(const Triangle& t);
};

/// Judges what was measured. `counted` is what the library holds against kFewestTriangles, `noun` its name.
void JudgeTriangles(MeshCheck& check, std::uint64_t counted, const char* noun);

enum class MeshFormat { kStl, kPly };

/// Throws Failure (unreadable) where the file is none that the program can read: another format, a folder.
MeshFormat RequireMesh(const std::filesystem::path& path, std::string_view bytes);

/// What the file's name says, for files whose content is left to the library.
MeshFormat FormatByName(const std::filesystem::path& path);

}  // namespace qv3d
