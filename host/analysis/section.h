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

/// Which line lies at a position, in the unit of the map.
double LineAt(const HeightMap& map, bool alongX, double position);

/// Throws Failure (usage) where the line lies outside of the map; one that only rounding put there is moved
/// to its rim.
void RequireInside(const HeightMap& map, SectionRequest& request);

/// The line must lie in the map.
Profile ProfileOf(const HeightMap& map, const SectionRequest& request);

struct ProfileStatistics {
  float pa = 0, pq = 0, pp = 0, pv = 0, pt = 0, psk = 0, pku = 0;
};

/// About the mean of the profile. Throws Failure (not computable) where every sample is missing.
ProfileStatistics MeasureProfile(Profile profile);

}  // namespace qv3d
