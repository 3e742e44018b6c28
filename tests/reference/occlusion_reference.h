// The 7 x 7 ambient occlusion, sample by sample.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace qv::test {

inline float OcclusionOf(const std::vector<float>& h, int width, int height, int i, int j) {
  const double centre = h[static_cast<std::size_t>(j) * width + i];
  double occlusion = 0;
  for (int dj = -3; dj <= 3; ++dj) {
    for (int di = -3; di <= 3; ++di) {
      if (i + di < 0 || i + di >= width || j + dj < 0 || j + dj >= height) continue;
      const double neighbour = h[static_cast<std::size_t>(j + dj) * width + i + di];
      if (neighbour > centre) occlusion += 0.5 / std::sqrt(di * di + dj * dj) * (neighbour - centre);
    }
  }
  return occlusion > 0.8 ? 0.2F : static_cast<float>(1 - occlusion);
}

inline std::vector<float> OcclusionArray(const std::vector<float>& h, int width, int height) {
  std::vector<float> ao;
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) ao.push_back(OcclusionOf(h, width, height, i, j));
  }
  return ao;
}

}  // namespace qv::test
