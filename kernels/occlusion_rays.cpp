// Which rays from one point a triangle mesh stops: packets of sixteen rays, one per lane, through a tree of
// boxes.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

/// One bit per lane where low <= high.
QV_INLINE unsigned NotAbove(const Floats& low, const Floats& high) {
#if defined(__AVX512F__)
  return _mm512_cmp_ps_mask(reinterpret_cast<__m512>(low), reinterpret_cast<__m512>(high), _CMP_LE_OQ);
#else
  return Bits(low <= high);
#endif
}

// The forms without a mask warn of an operand that they leave undefined.
#if defined(__AVX512F__)
constexpr __mmask16 kAll = 0xFFFF;
#endif

QV_INLINE Floats Smaller(const Floats& a, const Floats& b) {
#if defined(__AVX512F__)
  return reinterpret_cast<Floats>(
      _mm512_maskz_min_ps(kAll, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
#else
  return a < b ? a : b;
#endif
}

QV_INLINE Floats Larger(const Floats& a, const Floats& b) {
#if defined(__AVX512F__)
  return reinterpret_cast<Floats>(
      _mm512_maskz_max_ps(kAll, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
#else
  return a > b ? a : b;
#endif
}

struct Point {
  float x, y, z;
};

QV_INLINE Point Cross(const Point& a, const Point& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

QV_INLINE float Magnitude(float x) {
  return x < 0 ? -x : x;
}

struct Packet {
  Floats x, y, z;                       ///< directions
  Floats inverseX, inverseY, inverseZ;  ///< of what is never 0
};

/// A direction along an axis would make 0 * infinity of a box that touches the origin.
QV_INLINE Floats Inverse(const Floats& d) {
  const Floats tiny = Floats{} + 1e-12F;
  const Floats magnitude = d < 0 ? -d : d;
  return 1.0F / (magnitude < tiny ? tiny : d);
}

/// The rays that pass a node's slab between two of their distances. No division: all rays start at one point.
QV_INLINE unsigned InSlab(const OcclusionNode& node, const OcclusionView& view, const Packet& rays,
                          const Floats& enter, const Floats& leave) {
  const float* o = view.origin;
  const float* n = node.normal;
  const float x = o[0] * n[0], y = o[1] * n[1], z = o[2] * n[2];
  const float margin = kOcclusionRounding * (Magnitude(x) + Magnitude(y) + Magnitude(z));
  const float least = node.least - (x + y + z) - margin, most = node.most - (x + y + z) + margin;
  const Floats slope = rays.x * n[0] + rays.y * n[1] + rays.z * n[2];
  const Floats first = enter * slope, last = leave * slope, slack = leave * kOcclusionRounding;
  return NotAbove(Smaller(first, last), most + slack) & NotAbove(least - slack, Larger(first, last));
}

/// The rays that pass what a node holds, given from their origin.
QV_INLINE unsigned InBox(const OcclusionNode& node, const OcclusionView& view, const Packet& rays) {
  const float* o = view.origin;
  const Floats x0 = (node.low[0] - o[0]) * rays.inverseX, x1 = (node.high[0] - o[0]) * rays.inverseX;
  const Floats y0 = (node.low[1] - o[1]) * rays.inverseY, y1 = (node.high[1] - o[1]) * rays.inverseY;
  const Floats z0 = (node.low[2] - o[2]) * rays.inverseZ, z1 = (node.high[2] - o[2]) * rays.inverseZ;
  const Floats enter = Larger(Larger(Smaller(x0, x1), Smaller(y0, y1)), Larger(Smaller(z0, z1), Floats{}));
  const Floats leave =
      Smaller(Smaller(Larger(x0, x1), Larger(y0, y1)), Smaller(Larger(z0, z1), Floats{} + view.reach));
  // The margin covers the rounding of the six products.
  const Floats end = leave * 1.000001F;
  return NotAbove(enter, end) & InSlab(node, view, rays, enter, end);
}

QV_INLINE Floats Dot(const Packet& rays, const Point& p) {
  return rays.x * p.x + rays.y * p.y + rays.z * p.z;
}

/// The rays that a triangle stops, whichever way it faces. All rays share their origin, so the planes through
/// it and the edges are the same for all; neighbouring triangles have the same plane with the sign turned,
/// exactly, and no ray slips through between them.
QV_INLINE unsigned AtTriangle(const float* corners, const OcclusionView& view, const Packet& rays) {
  const float* o = view.origin;
  const Point a = {corners[0] - o[0], corners[1] - o[1], corners[2] - o[2]};
  const Point b = {corners[3] - o[0], corners[4] - o[1], corners[5] - o[2]};
  const Point c = {corners[6] - o[0], corners[7] - o[1], corners[8] - o[2]};
  const Point ab = Cross(a, b), bc = Cross(b, c), ca = Cross(c, a);
  const float volume = a.x * bc.x + a.y * bc.y + a.z * bc.z;
  if (volume == 0) return 0;
  const Floats u = Dot(rays, ab), v = Dot(rays, bc), w = Dot(rays, ca);
  const Floats sum = u + v + w;
  // The distance is volume / sum, short of the reach.
  if (volume > 0) {
    return NotAbove(Floats{}, Smaller(Smaller(u, v), w)) & NotAbove(Floats{} + volume, sum * view.reach);
  }
  return NotAbove(Larger(Larger(u, v), w), Floats{}) & NotAbove(sum * view.reach, Floats{} + volume);
}

/// Asks for what comes next if a node is passed, while that is found out: large trees are not in the cache.
QV_INLINE void AskForContents(const OcclusionScene& scene, const OcclusionNode& node) {
  if (node.count > 0) {
    Ask<0>(scene.triangles + 9 * static_cast<std::ptrdiff_t>(node.first), 9 * std::ptrdiff_t{node.count});
  } else {
    Ask<0>(scene.nodes[node.first].low, 2 * sizeof(OcclusionNode) / sizeof(float));
  }
}

/// The rays that nothing stops.
QV_INLINE unsigned Trace(const OcclusionScene& scene, const OcclusionView& view, const Packet& rays,
                         const float* towards) {
  unsigned open = 0xFFFFU;
  std::int32_t stack[kOcclusionTreeDepth];
  int depth = 0;
  std::int32_t at = 0;
  for (;;) {
    const OcclusionNode& node = scene.nodes[at];
    if (node.count > 0) {
      const float* corners = scene.triangles + 9 * static_cast<std::ptrdiff_t>(node.first);
      for (std::int32_t i = 0; i < node.count; ++i) open &= ~AtTriangle(corners + 9 * i, view, rays);
      if (open == 0) return 0;
    } else {
      const std::int32_t second = towards[-node.count] < 0 ? 0 : 1;
      const std::int32_t near = node.first + 1 - second, far = node.first + second;
      AskForContents(scene, scene.nodes[near]);
      AskForContents(scene, scene.nodes[far]);
      const unsigned inNear = InBox(scene.nodes[near], view, rays) & open;
      const unsigned inFar = InBox(scene.nodes[far], view, rays) & open;
      if (inNear != 0) {
        if (inFar != 0) stack[depth++] = far;
        at = near;
        continue;
      }
      if (inFar != 0) {
        at = far;
        continue;
      }
    }
    if (depth == 0) return open;
    at = stack[--depth];
  }
}

QV_INLINE Packet Turn(const OcclusionView& view, const float* local) {
  const Floats u = Load(local), v = Load(local + kLanes), w = Load(local + 2 * kLanes);
  const float* f = view.frame;
  Packet rays = {};
  rays.x = u * f[0] + v * f[3] + w * f[6];
  rays.y = u * f[1] + v * f[4] + w * f[7];
  rays.z = u * f[2] + v * f[5] + w * f[8];
  rays.inverseX = Inverse(rays.x);
  rays.inverseY = Inverse(rays.y);
  rays.inverseZ = Inverse(rays.z);
  return rays;
}

QV_INLINE float FoldFloats(const Floats& lanes) {
  float lane[kLanes];
  Store(lane, lanes);
  for (int half = kLanes / 2; half > 0; half /= 2) {
    for (int i = 0; i < half; ++i) lane[i] += lane[i + half];
  }
  return lane[0];
}

constexpr Ints kLaneBits = {1,      1 << 1, 1 << 2,  1 << 3,  1 << 4,  1 << 5,  1 << 6,  1 << 7,
                            1 << 8, 1 << 9, 1 << 10, 1 << 11, 1 << 12, 1 << 13, 1 << 14, 1 << 15};

OcclusionSum View(const OcclusionScene& scene, const OcclusionView& view) {
  Floats x = {}, y = {}, z = {};
  int count = 0;
  for (std::ptrdiff_t packet = 0; packet < view.packets; ++packet) {
    const Packet rays = Turn(view, view.rays + 3 * kLanes * packet);
    const float towards[3] = {FoldFloats(rays.x), FoldFloats(rays.y), FoldFloats(rays.z)};
    const unsigned open = scene.nodes == nullptr ? 0xFFFFU : Trace(scene, view, rays, towards);
    const Ints mask = ((Ints{} + static_cast<std::int32_t>(open)) & kLaneBits) != 0;
    x += Masked(rays.x, mask);
    y += Masked(rays.y, mask);
    z += Masked(rays.z, mask);
    count += __builtin_popcount(open);
  }
  return {{FoldFloats(x), FoldFloats(y), FoldFloats(z)}, count};
}

}  // namespace

extern const OcclusionRayKernels occlusionRays;
const OcclusionRayKernels occlusionRays = {View};

}  // namespace qv::kernels::QV_KERNEL_ISA
