#include "analysis/height_map.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "failure.h"

namespace qv3d {
namespace {

/// The fit carries two of its sums as floats, so it is given few points with coordinates of the order of 1,
/// and what those sums lose is made up for by fitting once more to what the first plane leaves.
constexpr int kMostFitPoints = 250000;
constexpr int kFits = 3;

struct FitFrame {
  double unit;  ///< length that becomes 1
  double middleX, middleY;
};

std::vector<float> FitPoints(const HeightMap& map, const FitFrame& frame) {
  const int step = std::max(1, static_cast<int>(std::sqrt(double{1.0} * map.Count() / kMostFitPoints)));
  // Two rows, or columns, at the least.
  const int rowStep = std::min(step, map.height - 1), columnStep = std::min(step, map.width - 1);
  std::vector<float> points;
  for (int row = 0; row < map.height; row += rowStep) {
    for (int column = 0; column < map.width; column += columnStep) {
      const float h = map.At(column, row);
      if (IsMissing(h)) continue;
      points.push_back(static_cast<float>((column - frame.middleX) * map.SpacingX() / frame.unit));
      points.push_back(static_cast<float>((row - frame.middleY) * map.SpacingY() / frame.unit));
      points.push_back(h);
    }
  }
  return points;
}

/// True where all points lie above one line of the ground, or nearly: the fit would find some plane through
/// it, as steep as rounding has it.
bool AreOnALine(const std::vector<float>& points) {
  double count = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
  for (std::size_t k = 0; k + 2 < points.size(); k += 3, ++count) {
    x += points[k], y += points[k + 1];
  }
  for (std::size_t k = 0; k + 2 < points.size(); k += 3) {
    const double u = points[k] - x / count, v = points[k + 1] - y / count;
    xx += u * u, xy += u * v, yy += v * v;
  }
  constexpr double kThin = 1e-12;  // the square of width over length
  return xx * yy - xy * xy <= kThin * (xx + yy) * (xx + yy);
}

void Subtract(HeightMap& map, const Plane& plane, const FitFrame& frame) {
  std::size_t k = 0;
  for (int row = 0; row < map.height; ++row) {
    const double y = (row - frame.middleY) * map.SpacingY();
    for (int column = 0; column < map.width; ++column, ++k) {
      if (IsMissing(map.heights[k])) continue;
      const double x = (column - frame.middleX) * map.SpacingX();
      map.heights[k] = static_cast<float>(map.heights[k] - (plane.a * x + plane.b * y + plane.c));
    }
  }
}

}  // namespace

bool IsMissing(float height) {
  return height == static_cast<float>(QV_BAD_SAMPLE) || std::isnan(height);
}

std::size_t CountMissing(const HeightMap& map) {
  return static_cast<std::size_t>(std::count_if(map.heights.begin(), map.heights.end(), IsMissing));
}

std::pair<float, float> HeightRange(const HeightMap& map, double share) {
  std::vector<float> good;
  good.reserve(map.heights.size());
  std::copy_if(map.heights.begin(), map.heights.end(), std::back_inserter(good),
               [](float h) { return !IsMissing(h); });
  if (good.empty()) return {0, 0};
  const auto skip = static_cast<std::ptrdiff_t>(share * static_cast<double>(good.size()));
  std::nth_element(good.begin(), good.begin() + skip, good.end());
  const float low = good[static_cast<std::size_t>(skip)];
  std::nth_element(good.begin(), good.end() - 1 - skip, good.end());
  return {low, *(good.end() - 1 - skip)};
}

double RmsSlope(const HeightMap& map) {
  double sum = 0;
  std::size_t pairs = 0;
  const auto add = [&](float a, float b, double spacing) {
    if (IsMissing(a) || IsMissing(b)) return;
    sum += std::pow((double{b} - a) / spacing, 2);
    ++pairs;
  };
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      if (column > 0) add(map.At(column - 1, row), map.At(column, row), map.SpacingX());
      if (row > 0) add(map.At(column, row - 1), map.At(column, row), map.SpacingY());
    }
  }
  // Both directions together make up the gradient.
  return pairs == 0 ? 0 : std::sqrt(2 * sum / static_cast<double>(pairs));
}

Plane Level(HeightMap& map) {
  const FitFrame frame{std::max(map.xSize, map.ySize) / 2.0, (map.width - 1) / 2.0, (map.height - 1) / 2.0};
  Plane total;
  RemoveAverage(map.heights.data(), map.Count());
  for (int fit = 0; fit < kFits; ++fit) {
    const std::vector<float> points = FitPoints(map, frame);
    float a = 0, b = 0, c = 0;
    if (AreOnALine(points) ||
        FitLSPlane(points.data(), static_cast<int>(points.size() / 3), &a, &b, &c) != 1) {
      throw Failure(ExitCode::kNotComputable,
                    "no plane can be fitted: fewer than three samples, or all on a line",
                    "Choose a finer grid, or keep the heights as they are, without levelling.");
    }
    const Plane plane{a / frame.unit, b / frame.unit, c};
    Subtract(map, plane, frame);
    total = {total.a + plane.a, total.b + plane.b, total.c + plane.c};
  }
  RemoveAverage(map.heights.data(), map.Count());
  return total;
}

double SubtractMean(HeightMap& map) {
  double sum = 0;
  std::size_t count = 0;
  for (const float h : map.heights) {
    if (IsMissing(h)) continue;
    sum += h;
    ++count;
  }
  const double mean = count == 0 ? 0 : sum / static_cast<double>(count);
  for (float& h : map.heights) {
    if (!IsMissing(h)) h = static_cast<float>(h - mean);
  }
  return mean;
}

void FillMissing(HeightMap& map) {
  ReplaceBadSamplesWithMinimum(map.heights.data(), map.Count());
}

Statistics Measure(const HeightMap& map) {
  Statistics s;
  const float* h = map.heights.data();
  const int count = map.Count();
  if (ComputeAverage(h, count, &s.sa) != 0) {
    throw Failure(ExitCode::kNotComputable, "every sample is missing: there is nothing to measure");
  }
  ComputeRMS(h, count, &s.sq);
  ComputePeak(h, count, &s.sp);
  ComputeValley(h, count, &s.sv);
  ComputePeakToValley(h, count, &s.sz);
  ComputeSkewness(h, count, &s.ssk);
  ComputeKurtosis(h, count, &s.sku);
  s.hasTenPoint = ComputeTenPointHeight(h, map.width, map.height, &s.tenPoint) == 0;
  return s;
}

}  // namespace qv3d
