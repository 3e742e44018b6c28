#include "render/mesh_occlusion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "kernels/kernels.h"

namespace qv::render {

namespace {

constexpr std::ptrdiff_t kPacket = 16;

struct DiscPoint {
  double x, y;
  std::size_t number;
};

/// Evenly over the unit disc, which makes the directions above it cosine-weighted. A low-discrepancy set: the
/// error of a share falls almost with the number of points, not with its root.
std::vector<DiscPoint> DiscPoints(std::size_t count) {
  std::vector<DiscPoint> points(count);
  for (std::size_t i = 0; i < count; ++i) {
    double reversed = 0, digit = 0.5;
    for (std::size_t bits = i; bits != 0; bits /= 2, digit /= 2) {
      if (bits % 2 != 0) reversed += digit;
    }
    const double radius = std::sqrt((static_cast<double>(i) + 0.5) / static_cast<double>(count));
    const double angle = 2 * 3.14159265358979323846 * reversed;
    points[i] = {radius * std::cos(angle), radius * std::sin(angle), i};
  }
  return points;
}

/// Halves the points along alternate axes until each part is one packet: its rays stay together.
void SortIntoPackets(std::vector<DiscPoint>& points, std::ptrdiff_t begin, std::ptrdiff_t end, bool byX) {
  if (end - begin <= kPacket) return;
  std::sort(points.begin() + begin, points.begin() + end, [byX](const DiscPoint& a, const DiscPoint& b) {
    const double u = byX ? a.x : a.y, v = byX ? b.x : b.y;
    return u < v || (u == v && a.number < b.number);
  });
  const std::ptrdiff_t packets = (end - begin) / kPacket;
  const std::ptrdiff_t middle = begin + packets / 2 * kPacket;
  SortIntoPackets(points, begin, middle, !byX);
  SortIntoPackets(points, middle, end, !byX);
}

/// Directions about the z axis.
std::vector<float> Rays(int wanted) {
  const auto count = static_cast<std::size_t>((std::max(wanted, 1) + kPacket - 1) / kPacket * kPacket);
  auto points = DiscPoints(count);
  SortIntoPackets(points, 0, static_cast<std::ptrdiff_t>(count), true);
  std::vector<float> rays(3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    float* packet = &rays[i / kPacket * 3 * kPacket + i % kPacket];
    packet[0] = static_cast<float>(points[i].x);
    packet[kPacket] = static_cast<float>(points[i].y);
    packet[2 * kPacket] = static_cast<float>(
        std::sqrt(std::max(0.0, 1 - points[i].x * points[i].x - points[i].y * points[i].y)));
  }
  return rays;
}

/// Two axes across the normal, without a jump between neighbouring normals except at straight down.
void SetFrame(const float* normal, float* frame) {
  const float x = normal[0], y = normal[1], z = normal[2];
  const float sign = z < 0 ? -1.0F : 1.0F;
  const float a = -1 / (sign + z), b = x * y * a;
  const float axes[9] = {1 + sign * x * x * a, sign * b, -sign * x, b, sign + y * y * a, -y, x, y, z};
  std::copy(axes, axes + 9, frame);
}

void SetDirection(const float* sum, const float* otherwise, float* direction) {
  const double x = sum[0], y = sum[1], z = sum[2], length = std::sqrt(x * x + y * y + z * z);
  for (int i = 0; i < 3; ++i) {
    direction[i] = length > 0 ? static_cast<float>(static_cast<double>(sum[i]) / length) : otherwise[i];
  }
}

bool AllInRange(const Connectivity& connectivity, std::ptrdiff_t vertexCount) {
  for (std::ptrdiff_t i = 0; i < 3 * connectivity.count; ++i) {
    if (connectivity.indices[i] >= static_cast<std::size_t>(vertexCount)) return false;
  }
  return true;
}

}  // namespace

void* MeshOcclusion::create_object_vn(const float* vertices, int /*vertexStride*/, const float* normals,
                                      int /*normalStride*/, int vertexCount, int /*one*/,
                                      const void* connectivity1, const void* connectivity2) {
  arrays_ = {vertices, normals, std::max(vertexCount, 0)};
  connectivity_ = arrays_.count > 0 ? ReadConnectivity(connectivity1, connectivity2) : Connectivity{};
  return this;
}

unsigned char MeshOcclusion::start_ao_gen_vert(void* /*object*/, int rays, float offset, float reach,
                                               int /*a*/, int /*b*/, int /*c*/, int /*d*/) {
  try {
    Start(rays, offset, reach);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return 1;
}

void MeshOcclusion::Start(int rays, float offset, float reach) {
  done_ = 0;
  results_.resize(static_cast<std::size_t>(arrays_.count));
  if (arrays_.count == 0) return;
  const bool known = connectivity_.count > 0 && AllInRange(connectivity_, arrays_.count);
  mesh_ = known ? MeshOfTriangles(arrays_, connectivity_, offset) : MeshOfVertices(arrays_);
  tree_.emplace(mesh_.corners);
  order_ = NeighbourOrder(arrays_);
  rays_ = Rays(rays);
  reach_ = reach * mesh_.size * 1.01F;
}

platform::VertexOcclusion MeshOcclusion::LookFrom(std::ptrdiff_t vertex) const {
  platform::VertexOcclusion result = {};
  float normal[3];
  UnitNormal(arrays_.normals + 3 * vertex, normal);
  if (!IsUsableVertex(arrays_.vertices + 3 * vertex)) {
    std::copy(normal, normal + 3, result.direction);
    result.accessibility = 1;
    return result;
  }
  kernels::OcclusionView view = {};
  std::copy_n(&mesh_.starts[3 * static_cast<std::size_t>(vertex)], 3, view.origin);
  SetFrame(normal, view.frame);
  view.rays = rays_.data();
  view.packets = static_cast<std::ptrdiff_t>(rays_.size()) / (3 * kPacket);
  view.reach = reach_;
  const kernels::OcclusionSum seen = kernels::Active().occlusionRays.view(tree_->Scene(), view);
  SetDirection(seen.direction, normal, result.direction);
  result.accessibility =
      static_cast<float>(static_cast<double>(seen.count) / static_cast<double>(view.packets * kPacket));
  return result;
}

void MeshOcclusion::ao_vert_generate(int effort) {
  const std::ptrdiff_t end =
      std::min(arrays_.count, done_ + 64 * static_cast<std::ptrdiff_t>(std::max(effort, 1)));
  for (; done_ < end; ++done_) {
    const std::ptrdiff_t vertex = order_[static_cast<std::size_t>(done_)];
    results_[static_cast<std::size_t>(vertex)] = LookFrom(vertex);
  }
}

void MeshOcclusion::destroy_object(void* /*object*/) {
  *this = MeshOcclusion();
}

}  // namespace qv::render
