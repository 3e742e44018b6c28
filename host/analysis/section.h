// Profiles along the rows or the columns of a height map.
#pragma once

#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

enum class BandMode { kHighest = 0, kMean = 1, kLowest = 2 };

struct SectionRequest {
  bool alongX = true;  ///< a row; otherwise a column
  double line = 0;     ///< which row or column, from 0; between two of them heights are interpolated
  int band = 1;        ///< lines taken together around it
  BandMode mode = BandMode::kMean;
};

struct Profile {
  std::vector<double> positions;  ///< coordinates along it
  std::vector<float> heights;     ///< QV_BAD_SAMPLE where there is none
};

/// The line must lie in the map.
Profile ProfileOf(const HeightMap& map, const SectionRequest& request);

}  // namespace qv3d
