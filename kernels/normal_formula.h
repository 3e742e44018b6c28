// The normal of one sample, step by step. This is what every faster way must equal bit for bit.
//
// Shared by kernels and the code above them. Everything is static and inlined, so no copy built for one
// instruction set can end up elsewhere.
#pragma once

#include <cstddef>

namespace qv {

#define QV_FORMULA [[gnu::always_inline]] static inline

struct Vector3 {
  double x, y, z;
};

/// The unit normal of the triangle with the edges a and b from its first corner, counter-clockwise; stored as
/// Real. A normal without length stays as it is. Products with zero edge components stay in: they carry NaNs
/// and the signs of zeros.
template <class Real>
QV_FORMULA Vector3 TriangleNormal(const Vector3& a, const Vector3& b) {
  const Vector3 n = {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  const double square = n.x * n.x + n.y * n.y + n.z * n.z;
  if (!(square > 0)) return {static_cast<Real>(n.x), static_cast<Real>(n.y), static_cast<Real>(n.z)};
  const double length = __builtin_sqrt(square);
  return {static_cast<Real>(n.x / length), static_cast<Real>(n.y / length), static_cast<Real>(n.z / length)};
}

QV_FORMULA Vector3 NormalizeVector(const Vector3& v) {
  const double length = __builtin_sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  if (length == 0) return v;
  const double factor = 1 / length;
  return {v.x * factor, v.y * factor, v.z * factor};
}

/// One NaN for all: which of two NaNs an operation hands on is up to the compiler.
template <class Real>
QV_FORMULA Real OneNaN(double value) {
  return static_cast<Real>(value == value ? value : __builtin_nan(""));
}

/// The neighbours of a sample, counter-clockwise. Four: right, above, left, below. Six: with the two across
/// the diagonal from (i+1, j) to (i, j+1).
struct Offset {
  int column, row;
};
template <int kNeighbours>
inline constexpr Offset kRing[kNeighbours] = {};
template <>
inline constexpr Offset kRing<4>[4] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
template <>
inline constexpr Offset kRing<6>[6] = {{1, 0}, {0, 1}, {-1, 1}, {-1, 0}, {0, -1}, {1, -1}};

/// Missing by value: the sentinel or a NaN. Double samples are never missing.
QV_FORMULA bool IsMissingNeighbour(float z) {
  return !(z < -1e10F || z > -1e10F);
}
QV_FORMULA bool IsMissingNeighbour(double /*z*/) {
  return false;
}

/// Where a sample lies in its grid.
struct Place {
  bool left, right, below, above;  ///< it has neighbours on this side
  bool Corner() const { return left != right && below != above; }
  bool Has(const Offset& side) const {
    return (side.column <= 0 || right) && (side.column >= 0 || left) && (side.row <= 0 || above) &&
           (side.row >= 0 || below);
  }
};

/// The normal of the sample at h, whose neighbours are h[1], h[width] and so on.
template <int kNeighbours, class Real>
QV_FORMULA void SampleNormal(const Real* h, std::ptrdiff_t width, double dx, double dy, const Place& place,
                             Real* normal) {
  Vector3 edge[kNeighbours];
  bool inside[kNeighbours], missing[kNeighbours];
  for (int k = 0; k < kNeighbours; ++k) {
    const Offset side = kRing<kNeighbours>[k];
    inside[k] = place.Has(side);
    const Real z = inside[k] ? h[side.row * width + side.column] : Real{0};
    missing[k] = IsMissingNeighbour(z);
    edge[k] = {side.column == 0 ? 0.0 : side.column * dx, side.row == 0 ? 0.0 : side.row * dy,
               static_cast<double>(z) - static_cast<double>(*h)};
  }
  Vector3 sum = {0, 0, 0};
  int formed = 0, dropped = 0;
  for (int k = 0; k < kNeighbours; ++k) {
    const int next = (k + 1) % kNeighbours;
    if (!inside[k] || !inside[next]) continue;
    const bool drop = missing[k] || missing[next];
    const Vector3 n = drop ? Vector3{0, 0, 0} : TriangleNormal<Real>(edge[k], edge[next]);
    sum = formed == 0 ? n : Vector3{sum.x + n.x, sum.y + n.y, sum.z + n.z};
    ++formed;
    dropped += drop ? 1 : 0;
  }
  if (place.Corner() && formed == dropped) {
    // One corner falls back to straight up, the others to sideways: kept, callers rely on it.
    const bool up = !place.right && !place.above;
    sum = {up ? 0.0 : 1.0, 0, up ? 1.0 : 0.0};
  } else if (!(place.Corner() && kNeighbours == 4)) {
    sum = NormalizeVector(sum);
  }
  normal[0] = OneNaN<Real>(sum.x);
  normal[1] = OneNaN<Real>(sum.y);
  normal[2] = OneNaN<Real>(sum.z);
}

}  // namespace qv
