// Grids of zeros around height maps: the transforms take powers of two.
#pragma once

#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

/// The smallest power of two that is at least n.
int PowerOfTwoAbove(int n);

/// The heights less their mean, in the middle of a grid of zeros; the first sample lies at column (columns -
/// width) / 2 and row (rows - height) / 2.
std::vector<float> PadWithZeros(const HeightMap& map, int columns, int rows);

}  // namespace qv3d
