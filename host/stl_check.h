// What is wrong with an STL file before the library reads it. The library ends the process on some files and
// silently reads others differently from what their author meant; this check says so in words.
#pragma once

#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "stl_file.h"

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

struct StlCheck {
  StlScan scan;
  Bounds bounds;                   ///< of the finite corners
  std::uint64_t nonFinite = 0;     ///< triangles with a coordinate that is not a number or infinite
  std::uint64_t tiny = 0;          ///< triangles too small in x-y for a height, but not standing upright
  std::uint64_t upright = 0;       ///< triangles without area seen from above (walls)
  double smallestDoubledArea = 0;  ///< of those neither upright nor degenerate
  double projectedArea = 0;        ///< sum of the areas seen from above
  std::vector<Finding> findings;

  const Finding* FirstError() const;
};

/// The heights of smaller triangles (doubled area in x-y) come out as 0.0.
inline constexpr double kSmallestDoubledArea = 1e-6;
/// The conversion ends the process on meshes of fewer triangles.
inline constexpr int kFewestTriangles = 200;

StlCheck CheckStl(std::string_view bytes);

/// Throws Failure (unreadable) where the file is none that the program can read: another format, a folder.
void RequireStl(const std::filesystem::path& path, std::string_view bytes);

}  // namespace qv3d
