// Triangles of a mesh, seen from above: sides, lengths and heights, all evaluated in double. The signs of the
// side tests decide which triangle a sample belongs to, so their expressions are fixed to the last rounding.
#pragma once

#include <cmath>

namespace qv::mesh {

template <class Real>
struct VertexOf {
  Real x, y, z;
};

/// Vertices in the order of the file or of the caller's array.
template <class Real>
struct TriangleOf {
  VertexOf<Real> a, b, c;
};

/// As files have them.
using Vertex = VertexOf<float>;
using Triangle = TriangleOf<float>;
static_assert(sizeof(Triangle) == 9 * sizeof(float) && sizeof(TriangleOf<double>) == 9 * sizeof(double));

/// A position in x and y.
struct Point {
  double x, y;
};

/// -1 to the left of the line from a to b, 1 to the right, 0 on it. No tolerance.
template <class Real>
int SideOfEdge(const Point& p, const VertexOf<Real>& a, const VertexOf<Real>& b) {
  const double d =
      (p.y - a.y) * (static_cast<double>(b.x) - a.x) - (p.x - a.x) * (static_cast<double>(b.y) - a.y);
  return static_cast<int>(d < 0) - static_cast<int>(d > 0);
}

/// Edges and corners belong to the triangle, either winding will do, and a triangle without area accepts the
/// points of its line, also those beyond its ends.
template <class Real>
bool PointInTriangle(const Point& p, const TriangleOf<Real>& t) {
  const int ab = SideOfEdge(p, t.a, t.b);
  const int bc = SideOfEdge(p, t.b, t.c);
  const int ca = SideOfEdge(p, t.c, t.a);
  // The set of the three results, without a branch: whichever it is comes as a surprise to the processor.
  const unsigned found = (1U << (ab + 1)) | (1U << (bc + 1)) | (1U << (ca + 1));
  constexpr unsigned kBothSides = 1U << 0 | 1U << 2;
  return (found & kBothSides) != kBothSides;
}

/// Twice the signed area in x-y.
template <class Real>
double DoubledArea(const TriangleOf<Real>& t) {
  return (static_cast<double>(t.b.y) - t.c.y) * t.a.x + (static_cast<double>(t.c.y) - t.a.y) * t.b.x +
         (static_cast<double>(t.a.y) - t.b.y) * t.c.x;
}

/// The height at p of the plane through the vertices; 0 where twice the area is `degenerateArea` or less.
template <class Real>
double PlaneHeightAt(const Point& p, const TriangleOf<Real>& t, double degenerateArea) {
  if (std::abs(DoubledArea(t)) <= degenerateArea) return 0.0;
  // Relative to the first vertex: no digits are lost far from the origin.
  const double bx = static_cast<double>(t.b.x) - t.a.x, by = static_cast<double>(t.b.y) - t.a.y;
  const double cx = static_cast<double>(t.c.x) - t.a.x, cy = static_cast<double>(t.c.y) - t.a.y;
  const double px = p.x - t.a.x, py = p.y - t.a.y;
  const double area = bx * cy - by * cx;
  if (area == 0) return 0.0;  // what the first sum found was rounding, large only because the coordinates are
  const double bz = static_cast<double>(t.b.z) - t.a.z, cz = static_cast<double>(t.c.z) - t.a.z;
  return t.a.z + ((px * cy - py * cx) * bz + (py * bx - px * by) * cz) / area;
}

/// The square of EdgeLength2D, before the root.
inline double EdgeSquare2D(const Vertex& a, const Vertex& b) {
  const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
  return dx * dx + dy * dy;
}

/// The distance in x and y.
inline double EdgeLength2D(const Vertex& a, const Vertex& b) {
  return std::sqrt(EdgeSquare2D(a, b));
}

inline Vertex EdgeMidpoint(const Vertex& a, const Vertex& b) {
  return {static_cast<float>((static_cast<double>(a.x) + b.x) / 2),
          static_cast<float>((static_cast<double>(a.y) + b.y) / 2),
          static_cast<float>((static_cast<double>(a.z) + b.z) / 2)};
}

}  // namespace qv::mesh
