// A map for contour lines that can be told apart.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

/// About so many round heights, in the handy unit, between the lowest and the highest of a range.
std::vector<double> RoundHeights(std::pair<float, float> range, const std::string& unit, int count);

struct ContourMap {
  HeightMap map;
  int window = 1;  ///< samples along a side of the moving mean that was taken twice; 1: the map as it is
  std::vector<double> heights;  ///< of the lines
};

/// Smooths a map, as little as does, until the lines at about `count` round heights, outliers apart, lie
/// apart on the average.
ContourMap ContourMapOf(const HeightMap& map, const std::string& unit, int count);

}  // namespace qv3d
