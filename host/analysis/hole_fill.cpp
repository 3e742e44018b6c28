#include "analysis/hole_fill.h"

#include <QV_3D.h>

namespace qv3d {

void FillFromAround(HeightMap& map) {
  const std::size_t missing = CountMissing(map);
  if (missing == 0 || missing == map.heights.size()) return;
  const std::vector<float> measured = map.heights;
  std::vector<float> mean(measured.size()), residual(measured.size());
  // Holes are filled from the measured samples alone, so what fills them does not depend on the order.
  for (int size = 3; CountMissing(map) > 0; size = 2 * size + 1) {
    FilterMeanf3(size, map.width, map.height, measured.data(), mean.data(), residual.data());
    for (std::size_t i = 0; i < measured.size(); ++i) {
      if (IsMissing(map.heights[i])) map.heights[i] = mean[i];
    }
  }
}

void PutHolesBack(const HeightMap& measured, HeightMap& map) {
  for (std::size_t i = 0; i < map.heights.size(); ++i) {
    if (IsMissing(measured.heights[i])) map.heights[i] = static_cast<float>(QV_BAD_SAMPLE);
  }
}

}  // namespace qv3d
