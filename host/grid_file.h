// Height maps as files that other programs read.
#pragma once

#include <filesystem>

#include "height_map.h"

namespace qv3d {

/// Throws Failure (usage) where the file's extension is none of .csv, .xyz, .png.
void RequireGridFormat(const std::filesystem::path& path);

/// .csv: one line per row of the grid, the missing samples "nan". .xyz: one line "x y z" per sample that is
/// there. .png: grey levels 1 to 255 from the lowest to the highest height, 0 where a sample is missing, +y
/// upwards.
void WriteGrid(const std::filesystem::path& path, const HeightMap& map);

}  // namespace qv3d
