#include "analysis/contour_map.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "analysis/hole_fill.h"
#include "plots/ticks.h"
#include "units.h"

namespace qv3d {
namespace {

/// The mean distance of the lines, as a share of the map's longer side, at which a picture is still clear.
constexpr double kLeastDistance = 1.0 / 80;
/// Of the samples at either end of the heights, which need no lines.
constexpr double kOutliers = 0.002;

/// The length of all lines, from how often rows and columns cross one: exact for lines of all directions
/// alike.
double LengthOfLines(const HeightMap& map, const std::vector<double>& heights) {
  double alongRows = 0, alongColumns = 0;
  const auto classOf = [&](float h) {
    return std::upper_bound(heights.begin(), heights.end(), h) - heights.begin();
  };
  const auto crossings = [&](float a, float b) {
    return IsMissing(a) || IsMissing(b) ? 0.0 : static_cast<double>(std::abs(classOf(a) - classOf(b)));
  };
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      const float h = map.At(column, row);
      if (column > 0) alongRows += crossings(map.At(column - 1, row), h);
      if (row > 0) alongColumns += crossings(map.At(column, row - 1), h);
    }
  }
  return std::numbers::pi / 4 * (alongRows * map.SpacingY() + alongColumns * map.SpacingX());
}

bool AreApart(const ContourMap& contours) {
  const HeightMap& map = contours.map;
  const auto measured = static_cast<double>(map.heights.size() - CountMissing(map));
  const double area = measured * map.SpacingX() * map.SpacingY();
  return LengthOfLines(map, contours.heights) * kLeastDistance * std::max(map.xSize, map.ySize) <= area;
}

/// Twice the mean of a window; holes stay.
HeightMap Smoothed(const HeightMap& map, int window) {
  HeightMap smooth = map;
  std::vector<float> once(map.heights.size()), residual(map.heights.size());
  FilterMeanf3(window, map.width, map.height, map.heights.data(), once.data(), residual.data());
  FilterMeanf3(window, map.width, map.height, once.data(), smooth.heights.data(), residual.data());
  PutHolesBack(map, smooth);
  return smooth;
}

}  // namespace

std::vector<double> RoundHeights(std::pair<float, float> range, const std::string& unit, int count) {
  std::vector<double> heights;
  const auto [low, high] = range;
  const Unit handy = HandyUnit(unit, std::max(std::abs(low), std::abs(high)));
  const double span = (double{high} - low) * handy.factor, wanted = span / count;
  // Of the round steps below and above the one that comes closer to the number asked for.
  const double below = NiceStepBelow(wanted), above = NiceStepAbove(wanted);
  const double step = wanted / below < above / wanted ? below : above;
  const int most = std::max(1, static_cast<int>(std::ceil(span / step)));
  for (const Tick& tick : LinearTicks(low * handy.factor, high * handy.factor, most)) {
    const double height = tick.value / handy.factor;
    if (height > low && height < high) heights.push_back(height);
  }
  return heights;
}

ContourMap ContourMapOf(const HeightMap& map, const std::string& unit, int count) {
  const auto heightsOf = [&](const HeightMap& m) {
    return RoundHeights(HeightRange(m, kOutliers), unit, count);
  };
  ContourMap contours{map, 1, heightsOf(map)};
  const int most = std::min(map.width, map.height) / 4;
  for (int window = 3; window <= most && !AreApart(contours); window += 2 * (window / 4 + 1)) {
    contours.map = Smoothed(map, window);
    contours.window = window;
    contours.heights = heightsOf(contours.map);
  }
  return contours;
}

}  // namespace qv3d
