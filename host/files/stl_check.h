// What is wrong with an STL file before the library reads it.
#pragma once

#include <string_view>

#include "files/mesh_check.h"
#include "files/stl_file.h"

namespace qv3d {

struct StlCheck : MeshCheck {
  StlScan scan;
};

/// The heights of smaller triangles (doubled area in x-y) come out as 0.0.
inline constexpr double kSmallestDoubledArea = 1e-6;

StlCheck CheckStl(std::string_view bytes);

}  // namespace qv3d
