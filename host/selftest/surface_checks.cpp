// Normals, lists of vertices and triangles, and occlusion: what drawing is prepared with.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "drawing/surface.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

/// The farthest that a component of a normal lies from `normal(column, row)`, over all samples `rim` away
/// from the edges.
template <class Real, class Normal>
double FarthestNormal(const HeightMap& map, const std::vector<Real>& normals, int rim, Normal normal) {
  double farthest = 0;
  for (int row = rim; row < map.height - rim; ++row) {
    for (int column = rim; column < map.width - rim; ++column) {
      const Point expected = normal(column, row);
      for (std::size_t k = 0; k < 3; ++k) {
        const double found =
            normals[3 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(map.width) +
                         static_cast<std::size_t>(column)) +
                    k];
        farthest = std::max(farthest, std::abs(found - expected[k]));
      }
    }
  }
  return farthest;
}

std::vector<float> NormalsOf(const HeightMap& map) {
  std::vector<float> normals(3 * map.heights.size());
  ComputeSurfaceNormalsf2(map.heights.data(), map.width, map.height, normals.data(), 0, 0, map.xSize,
                          map.ySize);
  return normals;
}

Point Unit(double x, double y, double z) {
  const double length = std::sqrt(x * x + y * y + z * z);
  return {x / length, y / length, z / length};
}

struct StripCount {
  std::size_t triangles = 0, overHoles = 0;
};

/// The triangles in all strips that have three different corners, and those of them with a missing one.
StripCount CountTriangles(const HeightMap& map, const std::vector<unsigned>& indices,
                          const std::vector<unsigned>& starts, std::size_t strips) {
  StripCount count;
  for (std::size_t strip = 0; strip < strips; ++strip) {
    for (std::size_t i = starts[strip]; i + 2 < starts[strip + 1]; ++i) {
      const unsigned a = indices[i], b = indices[i + 1], c = indices[i + 2];
      if (a == b || b == c || a == c) continue;
      ++count.triangles;
      count.overHoles += IsMissing(map.heights[a]) || IsMissing(map.heights[b]) || IsMissing(map.heights[c]);
    }
  }
  return count;
}

void CheckIndexLists(const Gauges& gauges, Checks& checks) {
  const HeightMap& map = gauges.holes;
  const auto width = static_cast<std::size_t>(map.width), height = static_cast<std::size_t>(map.height);
  std::vector<unsigned> indices(3 * width * (height - 1)), starts((height - 1) * (width / 2 + 1) + 1);
  unsigned indexCount = 0, strips = 0;
  CreateIndiciesList(map.heights.data(), map.width, map.height, indices.data(), starts.data(), &indexCount,
                     &strips);
  // Four cells meet in an inner sample. Without it each keeps the triangle of its other three corners, and no
  // two holes share a cell.
  const StripCount count = CountTriangles(map, indices, starts, strips);
  checks.Count("holes", "triangles of the index list",
               2 * (width - 1) * (height - 1) - 4 * std::size_t{HolesGauge::kHoles}, count.triangles);
  checks.Count("", "triangles of it that touch a missing sample", 0, count.overHoles);
}

void CheckShadowStructure(const Gauges& gauges, Checks& checks) {
  const auto columns = static_cast<std::size_t>(gauges.plane.width - 1),
             rows = static_cast<std::size_t>(gauges.plane.height - 1);
  std::vector<QV_ShadowTriangle> triangles(2 * columns * rows);
  QV_ShadowStructure structure{0, 0, triangles.data()};
  CreateShadowStructure(&structure, 0, gauges.plane.width, gauges.plane.height);
  std::size_t rims = 0;
  for (const QV_ShadowTriangle& t : triangles) {
    rims += static_cast<std::size_t>(std::count(std::begin(t.neighbour), std::end(t.neighbour), -1));
  }
  checks.Count("", "sides of shadow triangles at the rim", 2 * (columns + rows), rims);
}

void CheckPoints(const Gauges& gauges, Checks& checks) {
  const HeightMap& map = gauges.plane;
  std::vector<float> xyz(3 * map.heights.size());
  CreateSurfaceXYZ(xyz.data(), map.heights.data(), map.width, map.height, 2, 0, map.ySize, map.xSize,
                   map.ySize);
  double farthest = 0;
  for (std::size_t k = 0; k < xyz.size(); k += 3) {
    farthest = std::max(farthest, std::abs(xyz[k + 2] - 2 * PlaneHeight(xyz[k], xyz[k + 1])));
  }
  // Positions of up to 640 are rounded, and the plane's slope makes heights of that.
  checks.Near("plane", "points of the surface, farthest from twice the plane", 0, farthest,
              Rounding(640 + 4 * (PlaneGauge::kC + 15)));
}

}  // namespace

void CheckNormals(const Gauges& gauges, Checks& checks) {
  using P = PlaneGauge;
  const Point upright = Unit(-P::kA, -P::kB, 1);
  // Differences of rounded heights over the spacing, and the rounding of the normal.
  const double rounding = Rounding(4 * (P::kC + 15) / kGaugeSpacing + 2);
  checks.Near("plane", "normals, six neighbours, farthest from its own", 0,
              FarthestNormal(gauges.plane, NormalsOf(gauges.plane), 0, [&](int, int) { return upright; }),
              rounding);
  const HeightMap& plane = gauges.plane;
  const std::vector<double> heights(plane.heights.begin(), plane.heights.end());
  std::vector<double> normals(3 * heights.size());
  ComputeSurfaceNormals(heights.data(), plane.width, plane.height, normals.data());
  // In the unit frame slopes are those per map.
  const Point inFrame = Unit(-P::kA * plane.xSize, -P::kB * plane.ySize, 1);
  checks.Near("plane", "normals, unit frame, farthest from its own", 0,
              FarthestNormal(plane, normals, 0, [&](int, int) { return inFrame; }), rounding * plane.xSize);
  // On the sphere a triangle's normal is that at its circumcentre: with six around a sample the means cancel
  // to the order of (spacing / radius)^2, of which each triangle has up to one and a half.
  using G = CapGauge;
  const double curved = 1.5 * (kGaugeSpacing / G::kRadius) * (kGaugeSpacing / G::kRadius);
  checks.Near("cap", "normals, farthest from the sphere's", 0,
              FarthestNormal(gauges.cap, NormalsOf(gauges.cap), 1,
                             [](int column, int row) {
                               const double x = column * kGaugeSpacing - G::kMiddle,
                                            y = row * kGaugeSpacing - G::kMiddle;
                               return Unit(x, y, CapHeight(x, y) + G::kRadius - G::kPeak);
                             }),
              curved + Rounding(4 * G::kRadius / kGaugeSpacing));
}

void CheckSurfaceLists(const Gauges& gauges, Checks& checks) {
  CheckPoints(gauges, checks);
  CheckIndexLists(gauges, checks);
  CheckShadowStructure(gauges, checks);
}

}  // namespace qv3d
