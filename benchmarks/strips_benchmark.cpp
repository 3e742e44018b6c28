// Surfaces of 1024 x 1024 samples (2.1 million vertices) drawn by the library and by the same walk written by
// hand, which makes the same calls in the same order.
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "benchmarks/alternating.h"
#include "benchmarks/drawing_gl.h"
#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 1024;

struct Surface {
  std::vector<float> h, normals;
};

Surface MakeSurface(double missing) {
  Surface s;
  qv::test::Random random(3);
  for (int k = 0; k < kSide * kSide; ++k) {
    const double x = k % kSide / double{kSide - 1}, y = k / kSide / double{kSide - 1};  // NOLINT
    const bool hole = random.Unit() < missing;
    s.h.push_back(hole ? -1e10F : static_cast<float>(0.1 * std::sin(20 * x) * std::cos(15 * y)));
  }
  s.normals.resize(3 * s.h.size());
  ComputeSurfaceNormalsf(s.h.data(), kSide, kSide, s.normals.data(), 0, 0, 1, 1);
  return s;
}

const Surface& Whole() {
  static const Surface surface = MakeSurface(0);
  return surface;
}

const Surface& WithHoles() {
  static const Surface surface = MakeSurface(0.01);
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

/// With the test for holes, and half cells at their edges.
void ByHandAroundHoles(const Surface& s, const Place& p) {
  const float* h = s.h.data();
  const float* normals = s.normals.data();
  const float dx = p.xSize / static_cast<float>(p.width - 1), dy = p.ySize / static_cast<float>(p.height - 1);
  const auto strip = [&](int lower, int upper) {
    const float yLower = static_cast<float>(lower) * dy - p.yOffset,
                yUpper = static_cast<float>(upper) * dy - p.yOffset;
    const std::ptrdiff_t lowerRow = std::ptrdiff_t{lower} * p.width,
                         upperRow = std::ptrdiff_t{upper} * p.width;
    const auto low = [&](int i) {
      glNormal3fv(normals + 3 * (lowerRow + i));
      glVertex3f(static_cast<float>(i) * dx + p.xOffset, yLower, p.zScale * h[lowerRow + i]);
    };
    const auto high = [&](int i) {
      glNormal3fv(normals + 3 * (upperRow + i));
      glVertex3f(static_cast<float>(i) * dx + p.xOffset, yUpper, p.zScale * h[upperRow + i]);
    };
    bool open = true;
    int before = 0;
    const auto column = [&](int i) {
      const bool noLow = Missing(h[lowerRow + i]), noHigh = Missing(h[upperRow + i]);
      if (!noLow && !noHigh) {
        if (!open) {
          glBegin(p.mode);
          const bool lowBefore = !Missing(h[lowerRow + before]), highBefore = !Missing(h[upperRow + before]);
          for (int twice = 0; twice < 2; ++twice) {
            if (lowBefore && !highBefore) low(before);
            if (highBefore && !lowBefore) high(before);
          }
          open = true;
        }
        low(i);
        high(i);
      } else if (open) {
        if (!noLow) low(i);
        if (!noHigh) high(i);
        glEnd();
        open = false;
      }
      before = i;
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

void OursAroundHoles(const Surface& s, const Place& p) {
  RenderSurfaceWithNormalsf3(s.h.data(), s.normals.data(), p.width, p.height, p.step, p.step, p.mode,
                             p.zScale, p.xOffset, p.yOffset, p.xSize, p.ySize);
}

using Draw = void (*)(const Surface&, const Place&);
using Source = const Surface& (*)();

void Register(const std::string& title, bool lit, Source source, Draw ours, Draw byHand) {
  const auto call = [=](Draw draw) {
    return [=] {
      Place place;
      benchmark::DoNotOptimize(place);
      draw(source(), place);
      qv::bench::FinishGL();
    };
  };
  const auto prepare = [=] { qv::bench::PrepareGL({.lit = lit}); };
  qv::bench::RegisterPair(title, "by hand", prepare, call(ours), call(byHand))
      ->Unit(benchmark::kMillisecond)
      ->MinTime(qv::bench::DrawsPixels() ? 4 : 0.5);
}

const bool kRegistered = [] {
  for (const bool lit : {false, true}) {
    if (lit && !qv::bench::DrawsPixels()) break;
    const std::string title = std::string("strips, ") + qv::bench::GLName() + (lit ? ", lit" : "");
    Register(title, lit, &Whole, &Ours, &ByHand);
    Register(title + ", tested for holes", lit, &Whole, &OursAroundHoles, &ByHandAroundHoles);
    Register(title + ", holes", lit, &WithHoles, &OursAroundHoles, &ByHandAroundHoles);
  }
  return true;
}();

}  // namespace
