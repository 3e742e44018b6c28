// Surfaces of 1024 x 1024 samples (2.1 million vertices) drawn by the library and by the same walk written by
// hand.
#include "benchmarks/strips_benchmark.h"

#include <benchmark/benchmark.h>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"

namespace {

constexpr int kSide = 1024;

struct Surface {
  std::vector<float> h, normals, tex;
};

const Surface& TheSurface() {
  static const Surface surface = [] {
    Surface s;
    for (int k = 0; k < kSide * kSide; ++k) {
      const double x = k % kSide / double{kSide - 1}, y = k / kSide / double{kSide - 1};  // NOLINT
      s.h.push_back(static_cast<float>(0.1 * std::sin(20 * x) * std::cos(15 * y)));
      s.tex.push_back(static_cast<float>(x));
    }
    s.normals.resize(3 * s.h.size());
    ComputeSurfaceNormalsf(s.h.data(), kSide, kSide, s.normals.data(), 0, 0, 1, 1);
    return s;
  }();
  return surface;
}

/// What the placement arguments are: not known to the compiler.
struct Place {
  int width = kSide, height = kSide, step = 1;
  unsigned mode = GL_TRIANGLE_STRIP;
  float zScale = 1, xOffset = -0.5F, yOffset = 0.5F, xSize = 1, ySize = 1;
};

void ByHand(const Surface& s, const Place& p) {
  const float* h = s.h.data();
  const float* normals = s.normals.data();
  const float dx = p.xSize / static_cast<float>(p.width - 1), dy = p.ySize / static_cast<float>(p.height - 1);
  const auto strip = [&](int lower, int upper) {
    const float yLower = static_cast<float>(lower) * dy - p.yOffset,
                yUpper = static_cast<float>(upper) * dy - p.yOffset;
    const std::ptrdiff_t lowerRow = std::ptrdiff_t{lower} * p.width,
                         upperRow = std::ptrdiff_t{upper} * p.width;
    const auto column = [&](int i) {
      const float x = static_cast<float>(i) * dx + p.xOffset;
      glNormal3fv(normals + 3 * (upperRow + i));
      glVertex3f(x, yUpper, p.zScale * h[upperRow + i]);
      glNormal3fv(normals + 3 * (lowerRow + i));
      glVertex3f(x, yLower, p.zScale * h[lowerRow + i]);
    };
    glBegin(p.mode);
    for (int i = 0; i < p.width - p.step; i += p.step) column(i);
    column(p.width - 1);
    glEnd();
  };
  int row = 0;
  for (; row < p.height - p.step; row += p.step) strip(row, row + p.step);
  strip(row, p.height - 1);
}

bool Missing(float z) {
  return std::bit_cast<std::uint32_t>(z) == 0xD01502F9U;
}

/// With the test for holes, of which there are none: what a host would write that knows this one case.
void ByHandTestingHoles(const Surface& s, const Place& p) {
  const float* h = s.h.data();
  const float* normals = s.normals.data();
  const float dx = p.xSize / static_cast<float>(p.width - 1), dy = p.ySize / static_cast<float>(p.height - 1);
  const auto strip = [&](int lower, int upper) {
    const float yLower = static_cast<float>(lower) * dy - p.yOffset,
                yUpper = static_cast<float>(upper) * dy - p.yOffset;
    const std::ptrdiff_t lowerRow = std::ptrdiff_t{lower} * p.width,
                         upperRow = std::ptrdiff_t{upper} * p.width;
    bool open = true;
    const auto column = [&](int i) {
      const float zLower = h[lowerRow + i], zUpper = h[upperRow + i];
      if (Missing(zLower) || Missing(zUpper)) {
        if (open) glEnd();
        open = false;
        return;
      }
      if (!open) glBegin(p.mode);
      open = true;
      const float x = static_cast<float>(i) * dx + p.xOffset;
      glNormal3fv(normals + 3 * (lowerRow + i));
      glVertex3f(x, yLower, p.zScale * zLower);
      glNormal3fv(normals + 3 * (upperRow + i));
      glVertex3f(x, yUpper, p.zScale * zUpper);
    };
    glBegin(p.mode);
    for (int i = 0; i < p.width - p.step; i += p.step) column(i);
    column(p.width - 1);
    if (open) glEnd();
  };
  int row = 0;
  for (; row < p.height - p.step; row += p.step) strip(row, row + p.step);
  strip(row, p.height - 1);
}

void Ours(const Surface& s, const Place& p) {
  RenderSurfaceWithNormalsf(s.h.data(), s.normals.data(), p.width, p.height, p.step, p.mode, p.zScale,
                            p.xOffset, p.yOffset, p.xSize, p.ySize);
}

void OursTestingHoles(const Surface& s, const Place& p) {
  RenderSurfaceWithNormalsf3(s.h.data(), s.normals.data(), p.width, p.height, p.step, p.step, p.mode,
                             p.zScale, p.xOffset, p.yOffset, p.xSize, p.ySize);
}

template <class Draw>
void Register(const std::string& name, bool lit, Draw draw) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const Surface& surface = TheSurface();
    qv::bench::PrepareGL(lit);
    Place place;
    for (auto _ : state) {
      benchmark::DoNotOptimize(place);
      draw(surface, place);
      qv::bench::FinishGL();
    }
  })->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
  const std::string gl = QV_BENCH_GL;
  for (const bool lit : {false, true}) {
    if (lit && gl == "null GL") break;
    const std::string name = "strips, " + gl + (lit ? ", lit" : "");
    Register(name + "/QV_3D", lit, &Ours);
    Register(name + "/by hand", lit, &ByHand);
    Register(name + ", holes/QV_3D", lit, &OursTestingHoles);
    Register(name + ", holes/by hand", lit, &ByHandTestingHoles);
  }
  return true;
}();

}  // namespace
