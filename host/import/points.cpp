#include "import/points.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "failure.h"
#include "files/number_lines.h"
#include "files/ply_check.h"
#include "files/whole_file.h"

namespace qv3d {
namespace {

constexpr auto kMostPoints = static_cast<std::size_t>(std::numeric_limits<int>::max());
constexpr int kFewestNodes = 2, kMostNodes = 65536, kDefaultMost = 512;
/// Nodes times points per call, so that progress can be shown: some tenths of a second.
constexpr double kPairsPerCall = 2e8;

void Add(PointCloud& cloud, const MeasuredPoint& p) {
  if (!std::all_of(p.begin(), p.end(), [](double v) { return std::isfinite(v); })) {
    ++cloud.notFinite;
    return;
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    cloud.bounds.min[axis] = std::min(cloud.bounds.min[axis], p[axis]);
    cloud.bounds.max[axis] = std::max(cloud.bounds.max[axis], p[axis]);
  }
  cloud.points.push_back(p);
}

int NodesFor(double wanted) {
  return static_cast<int>(std::clamp(std::round(wanted), double{kFewestNodes}, double{kMostNodes}));
}

HeightMap EmptyMap(const PointCloud& cloud, const NodeGrid& grid) {
  HeightMap map;
  map.width = grid.nx;
  map.height = grid.ny;
  map.x0 = cloud.bounds.min[0];
  map.y0 = cloud.bounds.min[1];
  map.xSize = static_cast<float>(cloud.bounds.Extent(0));
  map.ySize = static_cast<float>(cloud.bounds.Extent(1));
  map.heights.resize(static_cast<std::size_t>(grid.nx) * static_cast<std::size_t>(grid.ny));
  return map;
}

/// Distance of the nodes along one axis; the last node lies on the rim.
double Step(const PointCloud& cloud, int axis, int nodes) {
  return cloud.bounds.Extent(axis) / (nodes - 1);
}

/// The library writes the row of the largest y first; height maps begin at the lowest.
void TurnRows(float* heights, int width, int rows) {
  const std::ptrdiff_t n = width;
  for (std::ptrdiff_t low = 0, high = rows - 1; low < high; ++low, --high) {
    std::swap_ranges(heights + low * n, heights + (low + 1) * n, heights + high * n);
  }
}

double LongestSide(const MeasuredPoint& a, const MeasuredPoint& b, const MeasuredPoint& c) {
  const auto side = [](const MeasuredPoint& p, const MeasuredPoint& q) {
    return std::hypot(p[0] - q[0], p[1] - q[1]);
  };
  return std::max({side(a, b), side(b, c), side(c, a)});
}

/// Small triangles have to stand above the area (1e-9) below which the library takes the height for 0: x and
/// y are enlarged so that the typical triangle has an area of about 1.
double Enlargement(const PointCloud& cloud) {
  const double area = cloud.bounds.Extent(0) * cloud.bounds.Extent(1);
  return std::exp2(std::round(std::log2(static_cast<double>(cloud.points.size()) / area) / 2));
}

PointCloud PointsOfPly(const std::filesystem::path& path, const PlyFile& file) {
  PlyCheck check;
  JudgePlyVertices(file, check);
  if (const Finding* const error = check.FirstError()) {
    throw Failure(error->code, fmt::format("{}: {}", path.string(), error->what), error->advice);
  }
  const PlyElement& vertex = *file.Element("vertex");
  if (vertex.present < vertex.announced || vertex.present > kMostPoints) {
    throw Failure(ExitCode::kCorrupt,
                  vertex.present > kMostPoints
                      ? fmt::format("{}: more points than can be gridded", path.string())
                      : fmt::format("{}: the header announces {} vertices, but only {} can be read",
                                    path.string(), vertex.announced, vertex.present),
                  "Export or copy it again.");
  }
  PointCloud cloud;
  for (const MeasuredPoint& p : file.vertices) Add(cloud, p);
  return cloud;
}

}  // namespace

PointCloud ReadPoints(const std::filesystem::path& path) {
  std::string bytes = ReadWholeFile(path);
  if (LooksLikePly(bytes)) return PointsOfPly(path, ReadPly(bytes));
  NumberLines lines(
      path, std::move(bytes),
      "A file of points has x, y and z on every line, and little more. A matrix of heights is a "
      "height map already, which all other commands take.");
  PointCloud cloud;
  std::vector<double> row;
  while (lines.Next(row)) {
    // Colours and the like may follow.
    constexpr std::size_t kMostColumns = 16;
    if (row.size() < 3 || row.size() > kMostColumns)
      lines.Refuse(fmt::format("{} numbers where x, y and z should be", row.size()));
    Add(cloud, {row[0], row[1], row[2]});
  }
  if (cloud.points.size() > kMostPoints) lines.Refuse("more points than can be gridded");
  return cloud;
}

NodeGrid PlanNodes(const PointCloud& cloud, int nx, int ny, double spacing) {
  const double x = cloud.bounds.Extent(0), y = cloud.bounds.Extent(1);
  if (!(x > 0) || !(y > 0)) {
    throw Failure(ExitCode::kNotComputable, "the points have no extent in x or in y",
                  "A grid needs an area to lie in.");
  }
  NodeGrid grid{nx, ny};
  if (spacing > 0) {
    grid = {NodesFor(x / spacing + 1), NodesFor(y / spacing + 1)};
  } else if (nx == 0 && ny == 0) {
    const double along =
        std::sqrt(static_cast<double>(cloud.points.size()) * std::max(x, y) / std::min(x, y));
    (x >= y ? grid.nx : grid.ny) = NodesFor(std::min(along, double{kDefaultMost}));
  }
  if (grid.nx == 0) grid.nx = NodesFor((grid.ny - 1) * x / y + 1);
  if (grid.ny == 0) grid.ny = NodesFor((grid.nx - 1) * y / x + 1);
  if (double{1} * grid.nx * grid.ny > std::numeric_limits<int>::max()) {
    throw Failure(ExitCode::kUsage, fmt::format("a grid of {} x {} nodes is too large", grid.nx, grid.ny));
  }
  return grid;
}

HeightMap GridByDistance(const PointCloud& cloud, const NodeGrid& grid, double power, double smoothing,
                         Progress& progress) {
  HeightMap map = EmptyMap(cloud, grid);
  const double dx = Step(cloud, 0, grid.nx), dy = Step(cloud, 1, grid.ny);
  const auto count = static_cast<int>(cloud.points.size());
  const int band = std::max(1, static_cast<int>(kPairsPerCall / (double{1} * count * grid.nx)));
  for (int row = 0; row < grid.ny; row += band) {
    const int rows = std::min(band, grid.ny - row);
    float* heights = map.heights.data() + static_cast<std::ptrdiff_t>(row) * grid.nx;
    InverseDistanceToAPower(cloud.points.data()->data(), count, heights, grid.nx, rows, dx, dy, map.x0,
                            map.y0 + row * dy, power, smoothing);
    TurnRows(heights, grid.nx, rows);
    progress.Tick(static_cast<double>(row + rows) / grid.ny);
  }
  return map;
}

HeightMap GridByTriangles(const PointCloud& cloud, const std::vector<PointTriangle>& triangles,
                          const NodeGrid& grid, double longestSide, Progress& progress) {
  const double scale = Enlargement(cloud);
  std::vector<double> corners;
  for (const PointTriangle& t : triangles) {
    const auto at = [&](int k) -> const MeasuredPoint& {
      return cloud.points[static_cast<std::size_t>(t[static_cast<std::size_t>(k)])];
    };
    if (longestSide > 0 && LongestSide(at(0), at(1), at(2)) > longestSide) continue;
    for (int k = 0; k < 3; ++k) {
      corners.insert(corners.end(), {(at(k)[0] - cloud.bounds.min[0]) * scale,
                                     (at(k)[1] - cloud.bounds.min[1]) * scale, at(k)[2]});
    }
  }
  progress.Tick();
  HeightMap map = EmptyMap(cloud, grid);
  const auto count = static_cast<int>(corners.size() / 9);
  const int cells = std::clamp(static_cast<int>(std::sqrt(count / 2.0)), 1, 1024);
  const int status = LinearInterpolationOfTriangles(corners.data(), count, map.heights.data(), grid.nx,
                                                    grid.ny, Step(cloud, 0, grid.nx) * scale,
                                                    Step(cloud, 1, grid.ny) * scale, 0, 0, cells);
  if (status != 0) {
    throw Failure(ExitCode::kNotComputable,
                  status == 1 ? "out of memory" : "the triangles lie outside the grid",
                  "Choose a coarser grid.");
  }
  TurnRows(map.heights.data(), grid.nx, grid.ny);
  return map;
}

}  // namespace qv3d
