#include "analysis/bearing.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "failure.h"

namespace qv3d {
namespace {

std::vector<float> Measured(const HeightMap& map) {
  std::vector<float> heights;
  std::copy_if(map.heights.begin(), map.heights.end(), std::back_inserter(heights),
               [](float h) { return !IsMissing(h); });
  if (heights.empty()) throw Failure(ExitCode::kNotComputable, "every sample is missing");
  return heights;
}

}  // namespace

Histogram HistogramOf(const HeightMap& map, int classes) {
  const std::vector<float> heights = Measured(map);
  const auto [low, high] = std::minmax_element(heights.begin(), heights.end());
  Histogram histogram;
  histogram.low = *low;
  if (*low == *high) {
    histogram.shares = {1};
    return histogram;
  }
  histogram.step = (double{*high} - *low) / classes;
  histogram.shares.resize(static_cast<std::size_t>(classes));
  for (const float h : heights) {
    // The highest sample belongs to the last class.
    const auto index = static_cast<int>((h - histogram.low) / histogram.step);
    histogram.shares[static_cast<std::size_t>(std::min(index, classes - 1))] +=
        1 / static_cast<double>(heights.size());
  }
  return histogram;
}

std::vector<std::pair<double, double>> BearingCurve(const HeightMap& map, int steps) {
  std::vector<float> heights = Measured(map);
  std::sort(heights.begin(), heights.end(), std::greater<>());
  const auto count = static_cast<double>(heights.size());
  std::vector<std::pair<double, double>> curve;
  for (int i = 0; i <= steps; ++i) {
    const double ratio = static_cast<double>(i) / steps;
    // As many samples as make up the share reach the height of the last of them.
    const double samples = std::max(1.0, std::ceil(ratio * count - 1e-9));
    curve.emplace_back(ratio, heights[static_cast<std::size_t>(samples) - 1]);
  }
  return curve;
}

}  // namespace qv3d
