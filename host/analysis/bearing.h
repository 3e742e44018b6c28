// How heights are distributed: the histogram and the bearing curve.
#pragma once

#include <utility>
#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

/// Shares of the samples by height: the first class begins at `low`, each is `step` wide. The shares of all
/// samples that are there add up to 1.
struct Histogram {
  double low = 0, step = 0;
  std::vector<double> shares;
};

/// Throws Failure (not computable) where every sample is missing. A flat map has one class.
Histogram HistogramOf(const HeightMap& map, int classes);

/// The bearing (Abbott) curve: material ratios from 0 to 1 in `steps` steps, each with the height that this
/// share of the samples reaches; 0 has the highest and 1 the lowest. Throws Failure (not computable) where
/// every sample is missing.
std::vector<std::pair<double, double>> BearingCurve(const HeightMap& map, int steps);

}  // namespace qv3d
