// Lines of equal height, joined from the library's segments.
#pragma once

#include <array>
#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

struct ContourLine {
  std::vector<std::array<float, 2>> points;  ///< x, y; of a closed line the first is not repeated
  bool closed = false;
};

struct ContourLevel {
  float height = 0;
  std::vector<float> segments;  ///< x1, y1, x2, y2 of each, as the library gives them
  std::vector<ContourLine> lines;
};

/// Joins segments end to end where their ends are exactly equal. Segments given twice, in either direction,
/// and those without length count once and not at all. At crossings lines run into each other anyhow.
std::vector<ContourLine> JoinSegments(const std::vector<float>& segments);

double LengthOf(const ContourLine& line);

/// The lines of one level, in the coordinates of the map; missing samples leave gaps.
ContourLevel ContoursAt(const HeightMap& map, float height);

}  // namespace qv3d
