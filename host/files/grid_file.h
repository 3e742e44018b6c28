// Height maps as files that other programs read.
#pragma once

#include <filesystem>
#include <string>

#include "analysis/height_map.h"

namespace qv3d {

/// Throws Failure (usage) where the file's extension is none of .csv, .xyz, .png.
void RequireGridFormat(const std::filesystem::path& path);

/// True for the extensions of height maps that ReadGrid reads: .csv and .txt.
bool IsGridFile(const std::filesystem::path& path);

/// Reads rows of heights, separated by commas, semicolons or white space; "nan", "-" and empty fields are
/// missing samples. Comment lines "# Width: 5.12 mm", "# Height: ..." and "# Value units: um" (the extent of
/// all cells, and the unit of the heights) are understood; without them numbers are in `unit` and samples
/// `spacing` apart, 1 where that is 0. A given spacing overrides the comments. Throws Failure (unreadable,
/// corrupt).
HeightMap ReadGrid(const std::filesystem::path& path, const std::string& unit, double spacing);

/// .csv: comment lines with extent and unit, then one line per row of the grid, the missing samples "nan".
/// .xyz: one line "x y z" per sample that is there. .png: grey levels 1 to 255 from the lowest to the highest
/// height, 0 where a sample is missing, +y upwards.
void WriteGrid(const std::filesystem::path& path, const HeightMap& map, const std::string& unit);

/// As WriteGrid to a .csv file, for values that are no lengths: the unit is that of the extent alone.
void WriteGridOfNumbers(const std::filesystem::path& path, const HeightMap& map, const std::string& unit);

}  // namespace qv3d
