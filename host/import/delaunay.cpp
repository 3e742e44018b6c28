// The Delaunay triangles of a point cloud, by the convex hull of the points lifted to a paraboloid.
#include <fmt/format.h>
#include <libqhullcpp/Qhull.h>
#include <libqhullcpp/QhullFacetList.h>
#include <libqhullcpp/QhullVertexSet.h>

#include "failure.h"
#include "import/points.h"

namespace qv3d {

std::vector<PointTriangle> DelaunayTriangles(const std::vector<MeasuredPoint>& points) {
  std::vector<double> plane;
  plane.reserve(2 * points.size());
  for (const MeasuredPoint& p : points) plane.insert(plane.end(), {p[0] - points[0][0], p[1] - points[0][1]});
  std::vector<PointTriangle> triangles;
  try {
    orgQhull::Qhull hull;
    // Delaunay, all facets triangles, wide facets allowed: rows of a regular grid lie on circles.
    hull.runQhull("", 2, static_cast<int>(points.size()), plane.data(), "d Qt Qbb Qc Q12");
    for (const orgQhull::QhullFacet& facet : hull.facetList()) {
      if (facet.isUpperDelaunay()) continue;
      PointTriangle triangle{};
      std::size_t corner = 0;
      for (const orgQhull::QhullVertex& vertex : facet.vertices()) triangle[corner++] = vertex.point().id();
      triangles.push_back(triangle);
    }
  } catch (const orgQhull::QhullError& error) {
    throw Failure(
        ExitCode::kNotComputable,
        fmt::format("the points cannot be joined to triangles: {} points, all on a line or all the same?",
                    points.size()),
        "Inverse distance (--power) needs no triangles.");
  }
  return triangles;
}

}  // namespace qv3d
