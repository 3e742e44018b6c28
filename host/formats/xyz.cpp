// Points as text, one line of x, y and z each, that lie on a grid.
#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <limits>

#include "files/number_lines.h"
#include "formats/readers.h"

namespace qv3d {
namespace {

using Point = std::array<double, 3>;

/// Coordinates closer than this share of the extent are the same: printed with few digits, perhaps.
constexpr double kSame = 1e-6;
/// Points may lie off their node by this share of the spacing.
constexpr double kMostOff = 0.05;
/// A grid has at most so many nodes for every point: scattered points would have one for every pair.
constexpr std::size_t kMostNodesPerPoint = 16, kAnyNodes = 1024;

struct Axis {
  double first = 0, spacing = 0;
  int count = 0;
};

[[noreturn]] void RefuseScattered(const std::string& name, const std::string& what) {
  throw Failure(ExitCode::kNotComputable, fmt::format("{}: the points lie on no grid: {}", name, what),
                "qv3d points2grid makes a height map of scattered points.");
}

std::vector<Point> ReadLines(const std::string& name, std::string&& bytes) {
  NumberLines lines(name, std::move(bytes), "A file of points has x, y and z on every line.");
  std::vector<Point> points;
  for (std::vector<double> row; lines.Next(row);) {
    if (row.size() < 3) lines.Refuse(fmt::format("{} numbers where x, y and z should be", row.size()));
    if (!std::isfinite(row[0]) || !std::isfinite(row[1])) lines.Refuse("a point without x or y");
    points.push_back({row[0], row[1], row[2]});
  }
  if (points.size() < 4) {
    RefuseCorrupt(name, fmt::format("{} points; a grid has at least four", points.size()));
  }
  return points;
}

/// The typical distance of neighbouring coordinates tells how many there would be without gaps.
Axis FindAxis(const std::string& name, const std::vector<Point>& points, std::size_t axis) {
  std::vector<double> all(points.size());
  std::transform(points.begin(), points.end(), all.begin(), [axis](const Point& p) { return p[axis]; });
  std::sort(all.begin(), all.end());
  const double extent = all.back() - all.front();
  if (!(extent > 0) || !std::isfinite(extent)) RefuseScattered(name, "they have no extent in x or in y");
  std::vector<double> gaps;
  for (std::size_t i = 1; i < all.size(); ++i) {
    if (all[i] - all[i - 1] > kSame * extent) gaps.push_back(all[i] - all[i - 1]);
  }
  if (gaps.empty()) RefuseScattered(name, "they lie too densely");
  const auto middle = gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2);
  std::nth_element(gaps.begin(), middle, gaps.end());
  const double steps = std::round(extent / *middle);
  return {all.front(), extent / steps, static_cast<int>(steps) + 1};
}

std::size_t NodeOf(const std::string& name, const Axis& axis, double coordinate) {
  const double at = (coordinate - axis.first) / axis.spacing, node = std::round(at);
  if (std::abs(at - node) > kMostOff) {
    RefuseScattered(name, fmt::format("{:g} lies between the nodes {:g} apart", coordinate, axis.spacing));
  }
  return static_cast<std::size_t>(std::clamp(node, 0.0, axis.count - 1.0));
}

void PlacePoints(const std::string& name, const std::vector<Point>& points, const Axis& x, const Axis& y,
                 std::vector<double>& values) {
  std::vector<bool> taken(values.size());
  for (const Point& p : points) {
    const std::size_t k = NodeOf(name, y, p[1]) * static_cast<std::size_t>(x.count) + NodeOf(name, x, p[0]);
    if (taken[k]) RefuseScattered(name, fmt::format("two have x = {:g} and y = {:g}", p[0], p[1]));
    taken[k] = true;
    values[k] = p[2];
  }
}

}  // namespace

FileGrid ReadXyz(const std::string& name, std::string&& bytes) {
  const std::vector<Point> points = ReadLines(name, std::move(bytes));
  const Axis x = FindAxis(name, points, 0), y = FindAxis(name, points, 1);
  if (double{1} * x.count * y.count > static_cast<double>(kMostNodesPerPoint * points.size() + kAnyNodes)) {
    RefuseScattered(name, fmt::format("{} points for {} x {} nodes", points.size(), x.count, y.count));
  }
  FileGrid grid;
  grid.kind = "points as text";
  grid.values.resize(SetSize(grid, name, x.count, y.count), std::numeric_limits<double>::quiet_NaN());
  grid.spacingX = x.spacing;
  grid.spacingY = y.spacing;
  grid.x0 = x.first;
  grid.y0 = y.first;
  grid.origin = Origin::kBottom;
  PlacePoints(name, points, x, y, grid.values);
  return grid;
}

std::string WriteXyz(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  std::string text;
  for (int row = 0; row < map.height; ++row) {
    const double y = map.y0 + row * map.SpacingY();
    for (int column = 0; column < map.width; ++column) {
      const float h = map.At(column, row);
      if (IsMissing(h)) continue;
      fmt::format_to(std::back_inserter(text), "{:.9g} {:.9g} {}\n", map.x0 + column * map.SpacingX(), y, h);
    }
  }
  return text;
}

}  // namespace qv3d
