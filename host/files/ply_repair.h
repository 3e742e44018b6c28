// Mends PLY files.
#pragma once

#include "files/mesh_repair.h"
#include "files/ply_check.h"

namespace qv3d {

/// Mends what can be mended. `actions` is empty where nothing needed it.
RepairedMesh RepairPly(const PlyFile& file, const PlyCheck& check);

}  // namespace qv3d
