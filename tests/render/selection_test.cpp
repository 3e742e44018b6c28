// Names and primitives for picking as recorded calls, and the points of a surface.
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/gl_object_recorder.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Call;
using qv::test::GLCalls;
using qv::test::TakeGLCalls;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

bool Missing(float z) {
  return z == -1e10F || z != z;
}

struct Case {
  int width, height;
  unsigned mode;
  std::vector<float> h;
  float zScale = 1.5F, xOffset = -0.7F, yOffset = 0.3F, xSize = 2.1F, ySize = 0.9F;

  explicit Case(qv::test::Random& random)
      : width(random.Between(2, 9)),
        height(random.Between(2, 9)),
        mode(static_cast<unsigned>(random.Between(0, 9))) {
    h = qv::test::RandomSamples(random, static_cast<std::size_t>(width) * height,
                                {.missing = 0.2, .nan = 0.05, .magnitude = 2});
  }
  float Height(int i, int j) const { return h[static_cast<std::size_t>(j) * width + i]; }
  float X(int i) const { return static_cast<float>(i) * (xSize / static_cast<float>(width - 1)) + xOffset; }
  float Y(int j) const { return static_cast<float>(j) * (ySize / static_cast<float>(height - 1)) - yOffset; }

  void Primitive(GLCalls& calls, int name, const std::vector<std::pair<int, int>>& corners) const {
    for (const auto& [i, j] : corners) {
      if (Missing(Height(i, j))) return;
    }
    calls.push_back(Call("glLoadName", {static_cast<double>(name)}));
    calls.push_back(Call("glBegin", {static_cast<double>(mode)}));
    for (const auto& [i, j] : corners)
      calls.push_back(Call("glVertex3f", {X(i), Y(j), zScale * Height(i, j)}));
    calls.push_back(Call("glEnd"));
  }
};

TEST(RenderTrianglesForSelection, RandomGrids_EqualTheReference) {
  qv::test::Random random(5);
  for (int round = 0; round < 100; ++round) {
    const Case c(random);
    EXPECT_EQ(RenderTrianglesForSelection(c.h.data(), c.width, c.height, c.mode, c.zScale, c.xOffset,
                                          c.yOffset, c.xSize, c.ySize),
              0U);
    GLCalls expected;
    for (int r = 0; r < c.height - 1; ++r) {
      for (int i = 0; i < c.width - 1; ++i) {
        c.Primitive(expected, r * c.width + i, {{i, r}, {i + 1, r}, {i, r + 1}});
        c.Primitive(expected, r * c.width + i + c.width * c.height, {{i + 1, r}, {i + 1, r + 1}, {i, r + 1}});
      }
    }
    ASSERT_EQ(TakeGLCalls(), expected);
  }
}

TEST(RenderPointsForSelection, RandomGrids_EqualTheReference) {
  qv::test::Random random(6);
  for (int round = 0; round < 100; ++round) {
    const Case c(random);
    EXPECT_EQ(RenderPointsForSelection(c.h.data(), c.width, c.height, c.mode, c.zScale, c.xOffset, c.yOffset,
                                       c.xSize, c.ySize),
              0U);
    GLCalls expected;
    for (int j = 0; j < c.height; ++j) {
      for (int i = 0; i < c.width; ++i) c.Primitive(expected, j * c.width + i, {{i, j}});
    }
    ASSERT_EQ(TakeGLCalls(), expected);
  }
}

std::set<double> Names() {
  std::set<double> names;
  for (const auto& call : TakeGLCalls()) {
    if (call.name == "glLoadName") names.insert(call.arguments[0]);
  }
  return names;
}

TEST(RenderTrianglesForSelection, OneMissingSample_RemovesTheSixTrianglesAroundIt) {
  std::vector<float> h(16, 1.0F);
  RenderTrianglesForSelection(h.data(), 4, 4, GL_TRIANGLES, 1, 0, 0, 1, 1);
  const auto all = Names();
  EXPECT_EQ(all.size(), 18U);
  h[5] = -1e10F;
  RenderTrianglesForSelection(h.data(), 4, 4, GL_TRIANGLES, 1, 0, 0, 1, 1);
  EXPECT_EQ(Names().size(), 12U);
  RenderPointsForSelection(h.data(), 4, 4, GL_POINTS, 1, 0, 0, 1, 1);
  const auto points = Names();
  EXPECT_EQ(points.size(), 15U);
  EXPECT_EQ(points.count(5), 0U);
}

TEST(RenderTrianglesForSelection, NothingMeasuredOrTooSmall_EmitsNoNames) {
  const std::vector<float> missing(16, -1e10F), flat(16, 0.0F);
  RenderTrianglesForSelection(missing.data(), 4, 4, GL_TRIANGLES, 1, 0, 0, 1, 1);
  RenderPointsForSelection(missing.data(), 4, 4, GL_POINTS, 1, 0, 0, 1, 1);
  for (const int height : {1, 0, -1, std::numeric_limits<int>::min()}) {
    RenderTrianglesForSelection(flat.data(), 4, height, GL_TRIANGLES, 1, 0, 0, 1, 1);
    RenderTrianglesForSelection(flat.data(), height, 4, GL_TRIANGLES, 1, 0, 0, 1, 1);
  }
  RenderPointsForSelection(flat.data(), 4, 0, GL_POINTS, 1, 0, 0, 1, 1);
  RenderPointsForSelection(flat.data(), 0, 4, GL_POINTS, 1, 0, 0, 1, 1);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST(CreateSurfaceXYZ, RandomGrids_EqualTheReference) {
  qv::test::Random random(8);
  for (int round = 0; round < 100; ++round) {
    const Case c(random);
    std::vector<float> expected;
    for (int j = 0; j < c.height; ++j) {
      for (int i = 0; i < c.width; ++i) {
        expected.push_back(c.X(i));
        const float dy = c.ySize / static_cast<float>(c.height - 1);
        expected.push_back(0.4F - static_cast<float>(c.height - 1 - j) * dy);
        expected.push_back(Missing(c.Height(i, j)) ? -1e10F : c.zScale * c.Height(i, j));
      }
    }
    qv::test::Guarded<float> xyz(expected.size());
    EXPECT_EQ(CreateSurfaceXYZ(xyz.data(), c.h.data(), c.width, c.height, c.zScale, c.xOffset, 0.4F, c.xSize,
                               c.ySize),
              0U);
    ASSERT_TRUE(qv::test::SameBits(xyz.data(), expected.data(), expected.size()));
  }
}

TEST(CreateSurfaceXYZ, LastRow_LiesAtTheTop) {
  const std::vector<float> h = {0, 0, 0, kNaN, 0, 0};
  qv::test::Guarded<float> xyz(18);
  CreateSurfaceXYZ(xyz.data(), h.data(), 2, 3, 2, 0, 5, 1, 4);
  EXPECT_EQ(xyz[1], 1.0F);
  EXPECT_EQ(xyz[13], 5.0F);
  EXPECT_EQ(xyz[11], -1e10F);
  EXPECT_FALSE(std::signbit(xyz[2]));
  CreateSurfaceXYZ(xyz.data(), h.data(), 2, 3, -2, 0, 5, 1, 4);
  EXPECT_TRUE(std::signbit(xyz[2]));  // -2 * 0
  EXPECT_EQ(xyz[11], -1e10F);
}

TEST(CreateSurfaceXYZ, NoSamples_WritesNothing) {
  const float h = 0;
  qv::test::Guarded<float> xyz(3);
  for (const int size : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(CreateSurfaceXYZ(xyz.data(), &h, size, 1, 1, 0, 0, 1, 1), 0U);
    EXPECT_EQ(CreateSurfaceXYZ(xyz.data(), &h, 1, size, 1, 0, 0, 1, 1), 0U);
  }
  EXPECT_TRUE(xyz.Untouched());
}

}  // namespace
