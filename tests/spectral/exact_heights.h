// Heights whose sum is exact in double whatever the order of the additions, so that a mean has one value
// only.
#pragma once

#include <cmath>
#include <vector>

#include "tests/support/random_grid.h"

namespace qv::test {

inline std::vector<float> ExactHeights(Random& random, int width, int height) {
  std::vector<float> heights(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (float& z : heights) z = static_cast<float>(random.Between(-4096, 4096)) / 1024;
  return heights;
}

}  // namespace qv::test
