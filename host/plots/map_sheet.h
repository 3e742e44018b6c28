// Several flat maps side by side in one picture, each with its own scales and colour bar.
#pragma once

#include <string>
#include <vector>

#include "analysis/height_map.h"
#include "drawing/offscreen.h"
#include "drawing/picture.h"

namespace qv3d {

struct SheetMap {
  const HeightMap* map;
  std::string title;
};

/// Size that gives each of `count` maps a panel of ordinary size, as high as the first map's shape asks for.
std::pair<int, int> SheetSize(std::size_t count, const HeightMap& map);

/// Draws the maps from left to right in equal panels of a picture of width x height pixels. Throws Failure
/// (usage) where the panels would be too narrow, (not computable) where all samples of a map are missing.
Picture DrawMapSheet(const OffscreenContext& context, const std::vector<SheetMap>& maps, int width,
                     int height, const std::string& unit);

}  // namespace qv3d
