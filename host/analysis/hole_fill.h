// Missing samples under filters that would take them for heights: filled before, put back afterwards.
#pragma once

#include "analysis/height_map.h"

namespace qv3d {

/// Gives every missing sample the mean of the smallest square around it (3, 7, 15 ... samples a side) in
/// which something was measured. Needs at least one sample that is not missing.
void FillFromAround(HeightMap& map);

/// Makes those samples missing that are missing in `measured`, a map of the same size.
void PutHolesBack(const HeightMap& measured, HeightMap& map);

}  // namespace qv3d
