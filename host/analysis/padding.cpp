#include "analysis/padding.h"

#include <cstddef>

namespace qv3d {

int PowerOfTwoAbove(int n) {
  int power = 1;
  while (power < n) power *= 2;
  return power;
}

std::vector<float> PadWithZeros(const HeightMap& map, int columns, int rows) {
  double mean = 0;
  for (const float h : map.heights) mean += h;
  mean /= map.Count();
  std::vector<float> padded(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  auto in = map.heights.begin();
  for (int row = 0; row < map.height; ++row) {
    auto out = padded.begin() + std::ptrdiff_t{columns} * (row + (rows - map.height) / 2) +
               (columns - map.width) / 2;
    for (int column = 0; column < map.width; ++column) *out++ = static_cast<float>(*in++ - mean);
  }
  return padded;
}

}  // namespace qv3d
