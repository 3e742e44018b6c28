// Surface normals written down step by step: slow and obvious.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

namespace qv::test::reference {

struct Point {
  double x = 0, y = 0, z = 0;
};

inline Point Minus(const Point& p, const Point& q) {
  return {p.x - q.x, p.y - q.y, p.z - q.z};
}

template <class Real>
Point TriangleNormal(const Point& p0, const Point& p1, const Point& p2) {
  const Point a = Minus(p1, p0), b = Minus(p2, p0);
  Point n;
  n.x = a.y * b.z - a.z * b.y;
  n.y = a.z * b.x - a.x * b.z;
  n.z = a.x * b.y - a.y * b.x;
  const double s = n.x * n.x + n.y * n.y + n.z * n.z;
  if (s > 0) n = {n.x / std::sqrt(s), n.y / std::sqrt(s), n.z / std::sqrt(s)};
  return {static_cast<Real>(n.x), static_cast<Real>(n.y), static_cast<Real>(n.z)};
}

inline Point NormalizeVector(const Point& v) {
  const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  if (length == 0) return v;
  return {v.x * (1 / length), v.y * (1 / length), v.z * (1 / length)};
}

/// Six neighbours or four; floats have missing samples, doubles have none. Positions are relative to the
/// sample, so that edges come from the spacings.
template <class Real>
std::vector<Real> SurfaceNormals(bool six, const std::vector<Real>& h, int width, int height, Real xSize,
                                 Real ySize) {
  std::vector<Real> normals(3 * h.size(), 0);
  if (width == 1 || height == 1) return normals;
  const double dx = xSize / static_cast<Real>(width - 1), dy = ySize / static_cast<Real>(height - 1);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      const std::size_t k = static_cast<std::size_t>(j) * width + i;
      const auto inside = [&](int c, int r) {
        return i + c >= 0 && i + c < width && j + r >= 0 && j + r < height;
      };
      const auto height_at = [&](int c, int r) {
        return h[static_cast<std::size_t>(j + r) * width + (i + c)];
      };
      const auto bad = [&](int c, int r) {
        return sizeof(Real) == sizeof(float) && (height_at(c, r) == -1e10F || std::isnan(height_at(c, r)));
      };
      // A neighbour in the same column or row has the same x or y, whatever the spacing.
      const auto at = [&](int c, int r) {
        return Point{c == 0 ? 0 : c * dx, r == 0 ? 0 : r * dy, height_at(c, r)};
      };
      const Point p = {0, 0, h[k]};
      Point sum;
      int formed = 0, dropped = 0;
      const auto triangle = [&](int c1, int r1, int c2, int r2) {
        if (!inside(c1, r1) || !inside(c2, r2)) return;
        Point n;
        if (bad(c1, r1) || bad(c2, r2)) {
          ++dropped;
        } else {
          n = TriangleNormal<Real>(p, at(c1, r1), at(c2, r2));
        }
        if (++formed == 1) {
          sum = n;
        } else {
          sum = {sum.x + n.x, sum.y + n.y, sum.z + n.z};
        }
      };
      if (six) {
        triangle(1, 0, 0, 1);
        triangle(0, 1, -1, 1);
        triangle(-1, 1, -1, 0);
        triangle(-1, 0, 0, -1);
        triangle(0, -1, 1, -1);
        triangle(1, -1, 1, 0);
      } else {
        triangle(1, 0, 0, 1);
        triangle(0, 1, -1, 0);
        triangle(-1, 0, 0, -1);
        triangle(0, -1, 1, 0);
      }
      const bool corner = (i == 0 || i == width - 1) && (j == 0 || j == height - 1);
      Point normal = corner && !six ? sum : NormalizeVector(sum);
      if (corner && formed == dropped) {
        normal = i == width - 1 && j == height - 1 ? Point{0, 0, 1} : Point{1, 0, 0};
      }
      const double xyz[3] = {normal.x, normal.y, normal.z};
      for (int c = 0; c < 3; ++c) {
        normals[3 * k + c] =
            std::isnan(xyz[c]) ? std::numeric_limits<Real>::quiet_NaN() : static_cast<Real>(xyz[c]);
      }
    }
  }
  return normals;
}

}  // namespace qv::test::reference
