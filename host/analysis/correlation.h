// How like itself a surface is at a distance.
#pragma once

#include "analysis/height_map.h"

namespace qv3d {

/// The autocorrelation over lags of up to half the surface: 1 at lag zero. x0 and y0 are the first lags. Each
/// value is the mean over the samples that overlap, so that nothing wraps around. Throws Failure (not
/// computable) where memory runs out or the surface is flat. The map must have no missing samples.
HeightMap AutocorrelationOf(const HeightMap& map);

/// Distances in which the correlation first falls to a threshold.
struct CorrelationLength {
  double fastest = 0;           ///< 0 where it does so in no direction
  double fastestDirection = 0;  ///< degrees from +x towards +y, from 0 up to 180
  double slowest = 0;           ///< 0 where in some direction it does not within the lags there are
  double slowestDirection = 0;
};

/// ISO 25178-2 takes 0.2 for Sal (the fastest) and Str (fastest over slowest).
inline constexpr double kCorrelationThreshold = 0.2;
CorrelationLength LengthOfCorrelation(const HeightMap& correlation, double threshold);

}  // namespace qv3d
