// A part of a height map.
#pragma once

#include "analysis/height_map.h"

namespace qv3d {

/// The block of width x height samples from a column and row on, which must lie in the map.
HeightMap CropBlock(const HeightMap& map, int column, int row, int width, int height);

/// The map without `x` samples at either end of every row and `y` rows at either end. At least two samples
/// must remain in both directions.
HeightMap CropEdges(const HeightMap& map, int x, int y);

}  // namespace qv3d
