#include "analysis/correlation.h"

#include <QV_3D.h>
#include <cmath>
#include <numbers>

#include "analysis/padding.h"
#include "failure.h"

namespace qv3d {
namespace {

constexpr int kDirections = 360;

/// The distance along one direction at which the correlation first falls to the threshold; 0 where it does
/// not.
double Decay(const HeightMap& c, double threshold, double angle) {
  const double step = std::min(c.SpacingX(), c.SpacingY()) / 2;
  const double dx = std::cos(angle) * step / c.SpacingX(), dy = std::sin(angle) * step / c.SpacingY();
  const double middleX = (c.width - 1) / 2.0, middleY = (c.height - 1) / 2.0;
  double before = 1;
  for (int k = 1;; ++k) {
    const double x = middleX + k * dx, y = middleY + k * dy;
    if (x < 0 || y < 0 || x > c.width - 1 || y > c.height - 1) return 0;
    const int i = std::min(static_cast<int>(x), c.width - 2), j = std::min(static_cast<int>(y), c.height - 2);
    const double u = x - i, v = y - j;
    const double value = (1 - v) * ((1 - u) * c.At(i, j) + u * c.At(i + 1, j)) +
                         v * ((1 - u) * c.At(i, j + 1) + u * c.At(i + 1, j + 1));
    if (value <= threshold) return step * (k - 1 + (before - threshold) / (before - value));
    before = value;
  }
}

}  // namespace

HeightMap AutocorrelationOf(const HeightMap& map) {
  const int lagX = map.width / 2, lagY = map.height / 2;
  const int columns = PowerOfTwoAbove(map.width + lagX), rows = PowerOfTwoAbove(map.height + lagY);
  std::vector<float> sums = PadWithZeros(map, columns, rows);
  if (Autocorrelate(sums.data(), columns, rows, sums.data()) != 0) {
    throw Failure(ExitCode::kNotComputable, "not enough memory for the autocorrelation",
                  "Choose a coarser grid.");
  }
  HeightMap c;
  c.width = 2 * lagX + 1;
  c.height = 2 * lagY + 1;
  c.x0 = -lagX * map.SpacingX();
  c.y0 = -lagY * map.SpacingY();
  c.xSize = static_cast<float>(-2 * c.x0);
  c.ySize = static_cast<float>(-2 * c.y0);
  c.heights.resize(static_cast<std::size_t>(c.width) * static_cast<std::size_t>(c.height));
  CropSurface(sums.data(), c.heights.data(), columns / 2 - lagX, rows / 2 - lagY, columns, rows, c.width,
              c.height);
  const double square = double{c.At(lagX, lagY)} / map.Count();
  if (!(square > 0)) throw Failure(ExitCode::kNotComputable, "the surface is flat: nothing correlates");
  std::size_t k = 0;
  for (int j = -lagY; j <= lagY; ++j) {
    for (int i = -lagX; i <= lagX; ++i, ++k) {
      const double overlap = double{1.0} * (map.width - std::abs(i)) * (map.height - std::abs(j));
      c.heights[k] = static_cast<float>(c.heights[k] / overlap / square);
    }
  }
  return c;
}

CorrelationLength LengthOfCorrelation(const HeightMap& correlation, double threshold) {
  CorrelationLength length;
  bool everywhere = true;
  for (int k = 0; k < kDirections; ++k) {
    const double degrees = 180.0 * k / kDirections;
    const double distance = Decay(correlation, threshold, degrees * std::numbers::pi / 180);
    if (distance == 0) {
      everywhere = false;
      length.slowestDirection = degrees;
      continue;
    }
    if (length.fastest == 0 || distance < length.fastest) {
      length.fastest = distance;
      length.fastestDirection = degrees;
    }
    if (everywhere && distance > length.slowest) {
      length.slowest = distance;
      length.slowestDirection = degrees;
    }
  }
  if (!everywhere) length.slowest = 0;
  return length;
}

}  // namespace qv3d
