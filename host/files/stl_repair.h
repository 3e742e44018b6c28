// Mends STL files.
#pragma once

#include <string_view>

#include "files/mesh_repair.h"
#include "files/stl_check.h"

namespace qv3d {

/// Mends what can be mended. `actions` is empty where nothing needed it.
RepairedMesh RepairStl(std::string_view bytes, const StlCheck& check);

}  // namespace qv3d
