#include "render/occlusion_mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "core/samples.h"

namespace qv::render {

namespace {

using Vector = std::array<double, 3>;

Vector At(const float* values, std::size_t index) {
  return {values[3 * index], values[3 * index + 1], values[3 * index + 2]};
}
Vector Minus(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double Dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
double Length(const Vector& a) {
  return std::sqrt(Dot(a, a));
}

Vector NormalAt(const VertexArrays& arrays, std::size_t vertex) {
  float unit[3];
  UnitNormal(arrays.normals + 3 * vertex, unit);
  return At(unit, 0);
}

/// What the usable vertices span: the diagonal, and the rounding of their coordinates.
struct Extent {
  double diagonal = 0, rounding = 0;
  Vector low = {}, high = {};

  explicit Extent(const VertexArrays& arrays) {
    bool any = false;
    for (std::ptrdiff_t k = 0; k < arrays.count; ++k) {
      const float* vertex = arrays.vertices + 3 * k;
      if (!IsUsableVertex(vertex)) continue;
      const Vector p = At(vertex, 0);
      for (std::size_t i = 0; i < 3; ++i) {
        low[i] = any ? std::min(low[i], p[i]) : p[i];
        high[i] = any ? std::max(high[i], p[i]) : p[i];
        rounding = std::max(rounding, 8 * std::numeric_limits<float>::epsilon() * std::fabs(p[i]));
      }
      any = true;
    }
    diagonal = Length(Minus(high, low));
  }
};

/// What the triangles at a vertex say of its surroundings.
struct Surroundings {
  Vector towards = {};  ///< sum of the vectors to their centroids
  double length = 0;    ///< sum of their edges' lengths
  int edges = 0;
};

/// Above the vertex, and a little inwards from a border, so that a ray that starts where two surfaces meet is
/// on the right side of both.
void SetStart(const Vector& vertex, const Vector& normal, const Surroundings& around, double height,
              float* start) {
  constexpr double kInwards = 0.1;
  const double along = Dot(around.towards, normal);
  Vector inwards = {};
  for (std::size_t i = 0; i < 3; ++i) inwards[i] = around.towards[i] - along * normal[i];
  const double length = Length(inwards);
  const double share = around.edges > 0 && length > 0.01 * around.length ? kInwards * height / length : 0;
  for (std::size_t i = 0; i < 3; ++i) {
    start[i] = static_cast<float>(vertex[i] + height * normal[i] + share * inwards[i]);
  }
}

void AddTriangle(const std::array<Vector, 3>& corners, OcclusionMesh& mesh) {
  for (const Vector& corner : corners) {
    for (const double x : corner) mesh.corners.push_back(static_cast<float>(x));
  }
}

void Surround(const std::array<Vector, 3>& corners, std::size_t corner, Surroundings& around) {
  const Vector& here = corners[corner];
  for (std::size_t i = 0; i < 3; ++i) {
    around.towards[i] += (corners[0][i] + corners[1][i] + corners[2][i]) / 3 - here[i];
  }
  around.length +=
      Length(Minus(corners[(corner + 1) % 3], here)) + Length(Minus(corners[(corner + 2) % 3], here));
  around.edges += 2;
}

/// Interleaves the bits of a position in a lattice over the extent, so that sorting brings neighbours
/// together.
std::uint64_t MortonKey(const Vector& p, const Extent& extent) {
  std::uint64_t key = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double share = (p[axis] - extent.low[axis]) / extent.diagonal;
    auto bits = static_cast<std::uint64_t>(share * 2097151.0);
    for (int bit = 0; bit < 21; ++bit) key |= (bits >> bit & 1U) << (3 * bit + static_cast<int>(axis));
  }
  return key;
}

using KeyedVertices = std::vector<std::pair<std::uint64_t, std::ptrdiff_t>>;

/// The usable vertices.
KeyedVertices SortedByKey(const VertexArrays& arrays, const Extent& extent) {
  KeyedVertices order;
  for (std::ptrdiff_t k = 0; k < arrays.count && extent.diagonal > 0; ++k) {
    const float* vertex = arrays.vertices + 3 * k;
    if (IsUsableVertex(vertex)) order.emplace_back(MortonKey(At(vertex, 0), extent), k);
  }
  std::sort(order.begin(), order.end());
  return order;
}

/// The distance to the nearest other vertex among those that the sorting brought near, per vertex; 0 where
/// none.
std::vector<double> Spacings(const VertexArrays& arrays, const Extent& extent) {
  constexpr std::ptrdiff_t kReach = 16;
  const KeyedVertices order = SortedByKey(arrays, extent);
  std::vector<double> spacings(static_cast<std::size_t>(arrays.count), 0.0);
  const auto count = static_cast<std::ptrdiff_t>(order.size());
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const auto k = static_cast<std::size_t>(order[static_cast<std::size_t>(i)].second);
    constexpr double kNone = std::numeric_limits<double>::infinity();
    double nearest[3] = {kNone, kNone, kNone};
    for (std::ptrdiff_t j = std::max<std::ptrdiff_t>(0, i - kReach); j < std::min(count, i + kReach + 1);
         ++j) {
      const auto other = static_cast<std::size_t>(order[static_cast<std::size_t>(j)].second);
      const double distance = Length(Minus(At(arrays.vertices, other), At(arrays.vertices, k)));
      if (!(distance > extent.rounding) || distance >= nearest[2]) continue;
      nearest[2] = distance;
      std::sort(nearest, nearest + 3);
    }
    if (nearest[2] < kNone) spacings[k] = nearest[2];
  }
  return spacings;
}

void AddSquare(const Vector& centre, const Vector& normal, double half, OcclusionMesh& mesh) {
  const Vector other = std::fabs(normal[2]) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
  Vector u = {normal[1] * other[2] - normal[2] * other[1], normal[2] * other[0] - normal[0] * other[2],
              normal[0] * other[1] - normal[1] * other[0]};
  const double scale = half / Length(u);
  for (double& x : u) x *= scale;
  const Vector v = {normal[1] * u[2] - normal[2] * u[1], normal[2] * u[0] - normal[0] * u[2],
                    normal[0] * u[1] - normal[1] * u[0]};
  const auto corner = [&](double a, double b) {
    return Vector{centre[0] + a * u[0] + b * v[0], centre[1] + a * u[1] + b * v[1],
                  centre[2] + a * u[2] + b * v[2]};
  };
  AddTriangle({corner(-1, -1), corner(1, -1), corner(1, 1)}, mesh);
  AddTriangle({corner(-1, -1), corner(1, 1), corner(-1, 1)}, mesh);
}

/// Memory below 2^31: all of a 32-bit process, some of any process on Windows.
#if defined(_WIN32)
constexpr bool kPointersLookLikeCounts = true;
#else
constexpr bool kPointersLookLikeCounts = sizeof(void*) == 4;
#endif

}  // namespace

std::vector<std::ptrdiff_t> NeighbourOrder(const VertexArrays& arrays) {
  std::vector<std::ptrdiff_t> order;
  order.reserve(static_cast<std::size_t>(arrays.count));
  std::vector<bool> taken(static_cast<std::size_t>(arrays.count), false);
  for (const auto& [key, vertex] : SortedByKey(arrays, Extent(arrays))) {
    order.push_back(vertex);
    taken[static_cast<std::size_t>(vertex)] = true;
  }
  for (std::ptrdiff_t k = 0; k < arrays.count; ++k) {
    if (!taken[static_cast<std::size_t>(k)]) order.push_back(k);
  }
  return order;
}

bool IsUsableVertex(const float* vertex) {
  return std::isfinite(vertex[0]) && std::isfinite(vertex[1]) && std::isfinite(vertex[2]) &&
         !IsMissing(vertex[2]);
}

void UnitNormal(const float* normal, float* unit) {
  const Vector n = At(normal, 0);
  const double length = Length(n);
  const bool usable = std::isfinite(length) && length > 0;
  for (std::size_t i = 0; i < 3; ++i)
    unit[i] = usable ? static_cast<float>(n[i] / length) : (i == 2 ? 1.0F : 0.0F);
}

Connectivity ReadConnectivity(const void* first, const void* second) {
  constexpr std::uintptr_t kCounts = std::uintptr_t{1} << 31;
  const auto a = reinterpret_cast<std::uintptr_t>(first), b = reinterpret_cast<std::uintptr_t>(second);
  if (a == 0 || b == 0) return {};
  const auto triangles = [](std::uintptr_t count, const void* indices) {
    return Connectivity{static_cast<std::ptrdiff_t>(count), static_cast<const unsigned*>(indices)};
  };
  if (a < kCounts && (b >= kCounts || kPointersLookLikeCounts)) return triangles(a, second);
  if (a >= kCounts && b < kCounts && sizeof(void*) > 4) return triangles(b, first);
  return {};
}

OcclusionMesh MeshOfTriangles(const VertexArrays& arrays, const Connectivity& connectivity, float offset) {
  OcclusionMesh mesh;
  const Extent extent(arrays);
  mesh.size = static_cast<float>(extent.diagonal);
  std::vector<Surroundings> around(static_cast<std::size_t>(arrays.count));
  mesh.corners.reserve(9 * static_cast<std::size_t>(connectivity.count));
  for (std::ptrdiff_t t = 0; t < connectivity.count; ++t) {
    const unsigned* index = connectivity.indices + 3 * t;
    const auto usable = [&](int corner) {
      return IsUsableVertex(arrays.vertices + 3 * std::size_t{index[corner]});
    };
    if (!usable(0) || !usable(1) || !usable(2)) continue;
    const std::array<Vector, 3> corners = {At(arrays.vertices, index[0]), At(arrays.vertices, index[1]),
                                           At(arrays.vertices, index[2])};
    AddTriangle(corners, mesh);
    for (std::size_t corner = 0; corner < 3; ++corner) Surround(corners, corner, around[index[corner]]);
  }
  mesh.starts.resize(3 * around.size());
  for (std::size_t k = 0; k < around.size(); ++k) {
    const double edge = around[k].edges > 0 ? around[k].length / around[k].edges : 0;
    const double height = std::max(static_cast<double>(offset) * edge, 4 * extent.rounding);
    SetStart(At(arrays.vertices, k), NormalAt(arrays, k), around[k], height, &mesh.starts[3 * k]);
  }
  return mesh;
}

OcclusionMesh MeshOfVertices(const VertexArrays& arrays) {
  // The squares overlap, so that none is missing between two; rays start high enough to clear a neighbour's
  // on a rounded surface, and low enough to meet it in a groove.
  constexpr double kHalf = 0.75, kHeight = 0.25;
  OcclusionMesh mesh;
  const Extent extent(arrays);
  mesh.size = static_cast<float>(extent.diagonal);
  const std::vector<double> spacings = Spacings(arrays, extent);
  mesh.starts.resize(3 * spacings.size());
  for (std::size_t k = 0; k < spacings.size(); ++k) {
    const Vector vertex = At(arrays.vertices, k), normal = NormalAt(arrays, k);
    SetStart(vertex, normal, {}, kHeight * spacings[k], &mesh.starts[3 * k]);
    if (spacings[k] > 0) AddSquare(vertex, normal, kHalf * spacings[k], mesh);
  }
  return mesh;
}

}  // namespace qv::render
