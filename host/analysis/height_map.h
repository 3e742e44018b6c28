// A measured surface as the library takes it: heights on a grid, with missing samples.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace qv3d {

struct HeightMap {
  int width = 0;   ///< samples per row
  int height = 0;  ///< rows
  double x0 = 0;   ///< position of the first sample
  double y0 = 0;
  float xSize = 0;  ///< from the first to the last sample
  float ySize = 0;
  std::vector<float> heights;  ///< row by row; QV_BAD_SAMPLE where nothing was measured

  int Count() const { return width * height; }
  double SpacingX() const { return double{xSize} / (width - 1); }
  double SpacingY() const { return double{ySize} / (height - 1); }
  float At(int column, int row) const {
    return heights[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                   static_cast<std::size_t>(column)];
  }
};

/// Heights above make no sense in any unit, and their squares and sums would leave the range of a float.
inline constexpr float kMostHeight = 1e18f;

bool IsMissing(float height);
std::size_t CountMissing(const HeightMap& map);

/// Lowest and highest height, leaving out `share` of the samples at either end. (0, 0) with no samples at
/// all.
std::pair<float, float> HeightRange(const HeightMap& map, double share = 0);

/// Root mean square of the slope between neighbouring samples.
double RmsSlope(const HeightMap& map);

/// z = a*x + b*y + c, with x and y measured from the middle of the map.
struct Plane {
  double a = 0, b = 0, c = 0;
};

/// Subtracts the least-squares plane and then the mean. Throws Failure (not computable) where there is no
/// plane.
Plane Level(HeightMap& map);

/// Subtracts the mean of the samples and returns it; 0 where every sample is missing.
double SubtractMean(HeightMap& map);

/// Gives missing samples the lowest height.
void FillMissing(HeightMap& map);

struct Statistics {
  float sa = 0, sq = 0, sp = 0, sv = 0, sz = 0, ssk = 0, sku = 0;
  float tenPoint = 0;
  bool hasTenPoint = false;  ///< false where there are too few peaks and valleys
};

/// Throws Failure (not computable) where every sample is missing.
Statistics Measure(const HeightMap& map);

}  // namespace qv3d
