// Meshes by way of files, and scattered points.
#include <algorithm>
#include <cmath>

#include "analysis/crop.h"
#include "files/mesh_repair.h"
#include "files/ply_file.h"
#include "files/stl_file.h"
#include "import/points.h"
#include "import/safe_import.h"
#include "random.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

using G = CapGauge;

void CheckImport(Checks& checks, const std::filesystem::path& file, const std::string& format) {
  Progress quiet(true);
  // As many samples as the mesh has cells: they lie at the cells' middles, on the sides that fall.
  const ImportedMap imported =
      ImportMesh(PrepareMesh(file, {}), {G::kSize - 1, G::kSize - 1, 0}, ChildLimits{}, quiet);
  checks.Count("cap", format + ", triangles", std::size_t{2} * (G::kSize - 1) * (G::kSize - 1),
               static_cast<std::size_t>(imported.mesh.triangles));
  checks.Near("cap", format + ", extent in z", CapHeight(0, 0) - CapHeight(G::kMiddle, G::kMiddle),
              imported.mesh.bounds.Extent(2), Rounding(2 * G::kRadius));
  checks.Count("cap", format + ", missing samples", 0, CountMissing(imported.map));
  // In the middle of a side of length d the mesh lies d^2 / (8 * curvature radius) below the sphere; the
  // radius is that along the steepest line at the corners.
  const double steepest = G::kRadius / (CapHeight(G::kMiddle, G::kMiddle) + G::kRadius - G::kPeak);
  const double below = 2 * kGaugeSpacing * kGaugeSpacing / (8 * G::kRadius) * std::pow(steepest, 3);
  checks.Near("cap", format + ", farthest from the sphere", 0,
              FarthestFrom(imported.map,
                           [](double x, double y) { return CapHeight(x - G::kMiddle, y - G::kMiddle); }),
              below + Rounding(2 * G::kRadius));
}

/// Points on the plane's area: its four corners, and others by chance. Their heights are those of the gauge's
/// fitted plane, of which the gauge's corners tell the parameters.
PointCloud CloudOf(const HeightMap& plane, int count) {
  const double lastX = plane.xSize, lastY = plane.ySize;
  const double c = plane.At(0, 0), a = (plane.At(plane.width - 1, 0) - c) / lastX,
               b = (plane.At(0, plane.height - 1) - c) / lastY;
  Random random(7);
  PointCloud cloud;
  for (int i = 0; i < count; ++i) {
    const int right = i % 2, upper = i / 2;
    const double x = i < 4 ? right * lastX : lastX * random.Uniform();
    const double y = i < 4 ? upper * lastY : lastY * random.Uniform();
    cloud.points.push_back({x, y, a * x + b * y + c});
  }
  cloud.bounds.min[0] = cloud.bounds.min[1] = 0;
  cloud.bounds.max[0] = lastX;
  cloud.bounds.max[1] = lastY;
  return cloud;
}

double DoubledArea(const PointCloud& cloud, int a, int b, int c) {
  const auto at = [&](int i) -> const MeasuredPoint& { return cloud.points[static_cast<std::size_t>(i)]; };
  return (at(b)[0] - at(a)[0]) * (at(c)[1] - at(a)[1]) - (at(c)[0] - at(a)[0]) * (at(b)[1] - at(a)[1]);
}

/// The rectangle of the first four points, divided: every other point divides the triangle it lies in into
/// three. The heights lie in a plane, so that it does not matter how the points are joined.
std::vector<PointTriangle> TrianglesOf(const PointCloud& cloud) {
  std::vector<PointTriangle> triangles{{0, 1, 2}, {1, 3, 2}};
  for (int p = 4; p < static_cast<int>(cloud.points.size()); ++p) {
    const auto around = std::find_if(triangles.begin(), triangles.end(), [&](const PointTriangle& t) {
      return DoubledArea(cloud, t[0], t[1], p) >= 0 && DoubledArea(cloud, t[1], t[2], p) >= 0 &&
             DoubledArea(cloud, t[2], t[0], p) >= 0;
    });
    // On an edge, rounding may put it outside of both sides.
    if (around == triangles.end()) continue;
    const auto [a, b, c] = *around;
    *around = {a, b, p};
    triangles.insert(triangles.end(), {{b, c, p}, {c, a, p}});
  }
  return triangles;
}

}  // namespace

void CheckMeshImport(const Gauges& gauges, Checks& checks) {
  const TemporaryFile stl = TemporaryFile::Create(), ply = TemporaryFile::Create();
  WriteBinaryStl(stl.path(), gauges.mesh, "QV_3D sphere cap");
  CheckImport(checks, stl.path(), "STL");
  WriteBinaryPly(ply.path(), gauges.mesh);
  CheckImport(checks, ply.path(), "PLY");
}

void CheckGridding(const Gauges& gauges, Checks& checks) {
  Progress quiet(true);
  const PointCloud cloud = CloudOf(gauges.plane, 300);
  // The triangles are flat and lie in the plane; a result is rounded once. The heights that the corners of
  // the gauge tell are rounded too.
  const double rounding = Rounding(8 * (PlaneGauge::kC + 15));
  const HeightMap byTriangles = GridByTriangles(cloud, TrianglesOf(cloud), {33, 25}, 0, quiet);
  checks.Count("plane", "by triangles, missing samples", 0, CountMissing(byTriangles));
  checks.Near("plane", "by triangles, farthest from it", 0, FarthestFrom(byTriangles, PlaneHeight), rounding);
  // A node takes the height of the point that lies on it.
  const HeightMap byDistance = GridByDistance(cloud, {33, 25}, 2, 0, quiet);
  checks.Near("plane", "by distance, at a point", PlaneHeight(gauges.plane.xSize, gauges.plane.ySize),
              byDistance.heights.back(), rounding);
  // Four points alone: by symmetry their mean in the middle.
  const HeightMap ofFour = GridByDistance(CloudOf(gauges.plane, 4), {3, 3}, 2, 1, quiet);
  checks.Near("plane", "by distance, amid four points",
              PlaneHeight(gauges.plane.xSize / 2, gauges.plane.ySize / 2), ofFour.At(1, 1), rounding);
}

}  // namespace qv3d
