// Walls, profiles and lines as recorded calls, against references that write every call down.
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/gl_object_recorder.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Call;
using qv::test::GLCalls;
using qv::test::TakeGLCalls;

/// 0, step, 2*step ... while below count - step, then the last.
std::vector<int> Visited(int count, int step) {
  std::vector<int> visited;
  for (int i = 0; i < count - step; i += step) visited.push_back(i);
  visited.push_back(count - 1);
  return visited;
}

struct Placement {
  float zScale, xOffset, yOffset, xSize, ySize;
};

Placement RandomPlacement(qv::test::Random& random) {
  const auto number = [&] { return static_cast<float>(random.Between(-3.0, 3.0)); };
  return {number(), number(), number(), number(), number()};
}

/// Up to beyond the grid, and now and then the largest of all.
int RandomStep(qv::test::Random& random) {
  return random.Chance(0.05) ? std::numeric_limits<int>::max() : random.Between(1, 16);
}

int RandomSize(qv::test::Random& random) {
  return random.Between(2, random.Chance(0.1) ? 70 : 14);
}

struct Case {
  int width, height, colStep, rowStep;
  std::vector<float> h, tex;
  Placement place;
  std::vector<double> hd, texd;

  explicit Case(qv::test::Random& random)
      : width(RandomSize(random)),
        height(RandomSize(random)),
        colStep(RandomStep(random)),
        rowStep(RandomStep(random)),
        place(RandomPlacement(random)) {
    const std::size_t count = static_cast<std::size_t>(width) * height;
    h = qv::test::RandomSamples(random, count, {.missing = 0.1, .infinite = 0.05, .magnitude = 2});
    tex = qv::test::RandomSamples(random, count, {});
    hd.assign(h.begin(), h.end());
    texd.assign(tex.begin(), tex.end());
  }

  float X(int i) const {
    return static_cast<float>(i) * (place.xSize / static_cast<float>(width - 1)) + place.xOffset;
  }
  float Y(int j) const {
    return static_cast<float>(j) * (place.ySize / static_cast<float>(height - 1)) - place.yOffset;
  }
  float Z(int i, int j) const { return place.zScale * h[static_cast<std::size_t>(j) * width + i]; }
  qv::test::GLCall Vertex(int i, int j) const { return Call("glVertex3f", {X(i), Y(j), Z(i, j)}); }
};

template <class Body>
void ForRandomCases(Body body) {
  qv::test::Random random(11);
  for (int round = 0; round < 300; ++round) {
    const Case c(random);
    SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", steps " << c.colStep << ", "
                                    << c.rowStep);
    body(c);
    if (testing::Test::HasFailure()) return;
  }
}

// ---------------------------------------------------------------------------------------------------------------

TEST(RenderContourLines, Records_AreLinesAtTheScaledLevel) {
  const double segments[] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(RenderContourLines(segments, 0.3, 7.0, 2), 0U);
  const double z = 0.3 * 7.0;
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glBegin", {GL_LINES}), Call("glVertex3d", {1, 2, z}),
                                    Call("glVertex3d", {3, 4, z}), Call("glVertex3d", {5, 6, z}),
                                    Call("glVertex3d", {7, 8, z}), Call("glEnd")}));
}

TEST(RenderContourLinesf, Records_AreLinesAtTheScaledLevel) {
  const float segments[] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(RenderContourLinesf(segments, 0.3F, 7.0F, 2), 0U);
  const float z = 0.3F * 7.0F;
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glBegin", {GL_LINES}), Call("glVertex3f", {1, 2, z}),
                                    Call("glVertex3f", {3, 4, z}), Call("glVertex3f", {5, 6, z}),
                                    Call("glVertex3f", {7, 8, z}), Call("glEnd")}));
}

TEST(RenderContourLines, NoRecords_StillBeginAndEnd) {
  const GLCalls empty = {Call("glBegin", {GL_LINES}), Call("glEnd")};
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(RenderContourLines(nullptr, 1, 1, count), 0U);
    EXPECT_EQ(TakeGLCalls(), empty);
    EXPECT_EQ(RenderContourLinesf(nullptr, 1, 1, count), 0U);
    EXPECT_EQ(TakeGLCalls(), empty);
  }
}

// ---------------------------------------------------------------------------------------------------------------
// Walls. In the unit frame all values are double and the calls of the d kind.

template <class Real>
struct WallFrame {
  Real left, right, front, back, base, zScale;
  const char* vertex;
  const char* normal;
};

template <class Real, class X, class Y>
GLCalls Walls(const std::vector<Real>& h, int width, int height, int colStep, int rowStep,
              const WallFrame<Real>& f, X x, Y y) {
  GLCalls calls;
  const auto z = [&](int i, int j) -> double {
    return f.zScale * h[static_cast<std::size_t>(j) * width + i];
  };
  const auto vertex = [&](double vx, double vy, double vz) { calls.push_back(Call(f.vertex, {vx, vy, vz})); };
  const auto strip = [&](double nx, double ny) {
    calls.push_back(Call("glBegin", {GL_TRIANGLE_STRIP}));
    calls.push_back(Call(f.normal, {nx, ny, 0}));
  };
  const float grey = 80 * 0.003921569F;
  calls.push_back(Call("glColor3f", {grey, grey, grey}));
  calls.push_back(Call("glEnable", {GL_POLYGON_OFFSET_FILL}));
  calls.push_back(Call("glPolygonOffset", {1, 1}));
  calls.push_back(Call("glPolygonMode", {GL_FRONT_AND_BACK, GL_FILL}));
  strip(0, -1);
  for (const int i : Visited(width, colStep)) {
    vertex(x(i), f.front, z(i, 0));
    vertex(x(i), f.front, f.base);
  }
  calls.push_back(Call("glEnd"));
  strip(0, 1);
  for (const int i : Visited(width, colStep)) {
    vertex(x(i), f.back, f.base);
    vertex(x(i), f.back, z(i, height - 1));
  }
  calls.push_back(Call("glEnd"));
  strip(-1, 0);
  for (const int j : Visited(height, rowStep)) {
    vertex(f.left, y(j), f.base);
    vertex(f.left, y(j), z(0, j));
  }
  calls.push_back(Call("glEnd"));
  strip(1, 0);
  for (const int j : Visited(height, rowStep)) {
    vertex(f.right, y(j), z(width - 1, j));
    vertex(f.right, y(j), f.base);
  }
  calls.push_back(Call("glEnd"));
  calls.push_back(Call("glDisable", {GL_POLYGON_OFFSET_FILL}));
  calls.push_back(Call("glColor3f", {0, 0, 0}));
  calls.push_back(Call("glBegin", {GL_LINES}));
  for (const int j : {0, height - 1}) {
    for (const int i : {0, width - 1}) {
      vertex(i == 0 ? f.left : f.right, j == 0 ? f.front : f.back, z(i, j));
      vertex(i == 0 ? f.left : f.right, j == 0 ? f.front : f.back, f.base);
    }
  }
  const Real base[4][4] = {{f.left, f.back, f.right, f.back},
                           {f.left, f.front, f.right, f.front},
                           {f.left, f.front, f.left, f.back},
                           {f.right, f.front, f.right, f.back}};
  for (const auto& edge : base) {
    vertex(edge[0], edge[1], f.base);
    vertex(edge[2], edge[3], f.base);
  }
  calls.push_back(Call("glEnd"));
  return calls;
}

GLCalls FloatWalls(const Case& c, int colStep, int rowStep) {
  const Placement& p = c.place;
  const float front = p.yOffset - p.ySize;
  const WallFrame<float> frame = {p.xOffset, p.xOffset + p.xSize, front,       p.yOffset, -0.005F,
                                  p.zScale,  "glVertex3f",        "glNormal3f"};
  const auto y = [&](int j) -> double {
    return static_cast<float>(j) * (p.ySize / static_cast<float>(c.height - 1)) + front;
  };
  return Walls(
      c.h, c.width, c.height, colStep, rowStep, frame, [&](int i) -> double { return c.X(i); }, y);
}

TEST(RenderSideWallsf, RandomGrids_EqualTheReference) {
  ForRandomCases([](const Case& c) {
    const Placement& p = c.place;
    EXPECT_EQ(RenderSideWallsf(c.h.data(), c.width, c.height, c.colStep, p.zScale, p.xOffset, p.yOffset,
                               p.xSize, p.ySize),
              0U);
    EXPECT_EQ(TakeGLCalls(), FloatWalls(c, c.colStep, c.colStep));
  });
}

TEST(RenderSideWallsf2, RandomGrids_EqualTheReference) {
  ForRandomCases([](const Case& c) {
    const Placement& p = c.place;
    EXPECT_EQ(RenderSideWallsf2(c.h.data(), c.width, c.height, c.colStep, c.rowStep, p.zScale, p.xOffset,
                                p.yOffset, p.xSize, p.ySize),
              0U);
    EXPECT_EQ(TakeGLCalls(), FloatWalls(c, c.colStep, c.rowStep));
  });
}

TEST(RenderSideWalls, RandomGrids_EqualTheReferenceAndRestoreThePolygonModes) {
  qv::test::glAnswers.polygonMode[0] = GL_LINE;
  qv::test::glAnswers.polygonMode[1] = GL_POINT;
  ForRandomCases([](const Case& c) {
    EXPECT_EQ(RenderSideWalls(c.hd.data(), c.width, c.height, c.colStep, 0.7), 0U);
    GLCalls expected = {Call("glGetIntegerv", {GL_POLYGON_MODE})};
    const WallFrame<double> frame = {-0.5, 0.5, -0.5, 0.5, -0.005, 0.7, "glVertex3d", "glNormal3d"};
    const auto walls = Walls(
        c.hd, c.width, c.height, c.colStep, c.colStep, frame,
        [&](int i) { return static_cast<double>(i) / (c.width - 1) - 0.5; },
        [&](int j) { return static_cast<double>(j) / (c.height - 1) - 0.5; });
    expected.insert(expected.end(), walls.begin(), walls.end());
    expected.push_back(Call("glPolygonMode", {GL_FRONT, GL_LINE}));
    expected.push_back(Call("glPolygonMode", {GL_BACK, GL_POINT}));
    EXPECT_EQ(TakeGLCalls(), expected);
  });
}

TEST(RenderSideWalls, NoSamples_LeaveTheStateAlone) {
  const float h = 0;
  const double hd = 0;
  for (const auto& [width, height, step] :
       {std::array{4, 0, 1}, {0, 4, 1}, {-4, 4, 1}, {4, -1, 1}, {4, 4, 0}}) {
    EXPECT_EQ(RenderSideWalls(&hd, width, height, step, 1), 0U);
    EXPECT_EQ(RenderSideWallsf(&h, width, height, step, 1, 0, 0, 1, 1), 0U);
    EXPECT_EQ(RenderSideWallsf2(&h, width, height, step, 1, 1, 0, 0, 1, 1), 0U);
    EXPECT_EQ(TakeGLCalls(), GLCalls{});
  }
}

// ---------------------------------------------------------------------------------------------------------------

/// Profiles of sample(i, j) -> calls, along the columns or the rows.
template <class SampleCalls>
GLCalls Profiles(const Case& c, bool columns, unsigned mode, SampleCalls sample) {
  GLCalls calls;
  const auto outer = columns ? Visited(c.width, c.colStep) : Visited(c.height, c.colStep);
  const auto inner = columns ? Visited(c.height, c.colStep) : Visited(c.width, c.colStep);
  for (const int o : outer) {
    calls.push_back(Call("glBegin", {static_cast<double>(mode)}));
    for (const int i : inner) sample(calls, columns ? o : i, columns ? i : o);
    calls.push_back(Call("glEnd"));
  }
  return calls;
}

struct Angle {
  double degrees;
  bool columns;
};
const Angle kAngles[] = {{0, false},   {44.9, false},  {45, true},
                         {90, true},   {135, true},    {135.1, false},
                         {180, false}, {224.9, false}, {225, true},
                         {300, true},  {314.9, true},  {315, false},
                         {400, false}, {-60, false},   {std::numeric_limits<double>::quiet_NaN(), false}};

TEST(RenderWaterfallSurfacef, RandomGridsAndAngles_EqualTheReference) {
  int round = 0;
  ForRandomCases([&](const Case& c) {
    const Angle& angle = kAngles[round++ % std::size(kAngles)];
    SCOPED_TRACE(angle.degrees);
    const Placement& p = c.place;
    EXPECT_EQ(RenderWaterfallSurfacef(c.h.data(), round, c.tex.data(), c.width, c.height, c.colStep,
                                      GL_LINE_STRIP, static_cast<float>(angle.degrees), p.zScale, p.xOffset,
                                      p.yOffset, p.xSize, p.ySize),
              0U);
    EXPECT_EQ(TakeGLCalls(), Profiles(c, angle.columns, GL_LINE_STRIP, [&](GLCalls& calls, int i, int j) {
                calls.push_back(Call("glTexCoord1f", {c.tex[static_cast<std::size_t>(j) * c.width + i]}));
                calls.push_back(c.Vertex(i, j));
              }));
  });
}

TEST(RenderWaterfallSurface, RandomGridsAndAngles_EqualTheReference) {
  int round = 0;
  ForRandomCases([&](const Case& c) {
    const Angle& angle = kAngles[round++ % std::size(kAngles)];
    SCOPED_TRACE(angle.degrees);
    EXPECT_EQ(RenderWaterfallSurface(c.hd.data(), round, c.texd.data(), c.width, c.height, c.colStep,
                                     GL_POINTS, angle.degrees, 0.3),
              0U);
    EXPECT_EQ(
        TakeGLCalls(), Profiles(c, angle.columns, GL_POINTS, [&](GLCalls& calls, int i, int j) {
          const std::size_t k = static_cast<std::size_t>(j) * c.width + i;
          calls.push_back(Call("glTexCoord1d", {c.texd[k]}));
          calls.push_back(Call("glVertex3d", {static_cast<double>(i) / (c.width - 1) - 0.5,
                                              static_cast<double>(j) / (c.height - 1) - 0.5, 0.3 * c.hd[k]}));
        }));
  });
}

TEST(RenderSilhouetteLines, RandomGrids_EqualTheReference) {
  ForRandomCases([](const Case& c) {
    const Placement& p = c.place;
    EXPECT_EQ(RenderSilhouetteLines(c.h.data(), c.width, c.height, c.colStep, c.rowStep, p.zScale, p.xOffset,
                                    p.yOffset, p.xSize, p.ySize),
              0U);
    GLCalls expected;
    const auto columns = Visited(c.width, c.colStep), rows = Visited(c.height, c.rowStep);
    for (const int j : rows) {
      expected.push_back(Call("glBegin", {GL_LINE_STRIP}));
      for (const int i : columns) expected.push_back(c.Vertex(i, j));
      expected.push_back(Call("glEnd"));
    }
    for (const int i : columns) {
      expected.push_back(Call("glBegin", {GL_LINE_STRIP}));
      for (const int j : rows) expected.push_back(c.Vertex(i, j));
      expected.push_back(Call("glEnd"));
    }
    EXPECT_EQ(TakeGLCalls(), expected);
  });
}

/// A NaN compares with nothing, so the vertices are counted.
TEST(RenderSilhouetteLines, NaN_IsAHeightInEveryDrawing) {
  const std::vector<float> h(12, std::numeric_limits<float>::quiet_NaN());
  const std::vector<double> hd(h.begin(), h.end());
  const auto vertices = [] {
    int nan = 0;
    for (const auto& call : TakeGLCalls()) {
      if (call.name.starts_with("glVertex3") && std::isnan(call.arguments[2])) ++nan;
    }
    return nan;
  };
  RenderSilhouetteLines(h.data(), 4, 3, 1, 1, 1, 0, 0, 1, 1);
  EXPECT_EQ(vertices(), 24);
  RenderWaterfallSurfacef(h.data(), 0, h.data(), 4, 3, 1, GL_LINE_STRIP, 0, 1, 0, 0, 1, 1);
  EXPECT_EQ(vertices(), 12);
  RenderWaterfallSurface(hd.data(), 0, hd.data(), 4, 3, 1, GL_LINE_STRIP, 90, 1);
  EXPECT_EQ(vertices(), 12);
  RenderSideWallsf(h.data(), 4, 3, 1, 1, 0, 0, 1, 1);
  EXPECT_EQ(vertices(), 2 * (4 + 3) + 4);
  RenderSideWalls(hd.data(), 4, 3, 1, 1);
  EXPECT_EQ(vertices(), 2 * (4 + 3) + 4);
}

TEST(RenderSilhouetteLines, NoSamplesOrSteps_DrawNothing) {
  const float h = 0;
  const double hd = 0;
  EXPECT_EQ(RenderSilhouetteLines(&h, 0, 3, 1, 1, 1, 0, 0, 1, 1), 0U);
  EXPECT_EQ(RenderSilhouetteLines(&h, 3, 0, 1, 1, 1, 0, 0, 1, 1), 0U);
  EXPECT_EQ(RenderSilhouetteLines(&h, 3, 3, 0, 1, 1, 0, 0, 1, 1), 0U);
  EXPECT_EQ(RenderSilhouetteLines(&h, 3, 3, 1, -1, 1, 0, 0, 1, 1), 0U);
  EXPECT_EQ(RenderWaterfallSurfacef(&h, 0, &h, 3, 0, 1, GL_LINE_STRIP, 0, 1, 0, 0, 1, 1), 0U);
  EXPECT_EQ(RenderWaterfallSurface(&hd, 0, &hd, 3, 3, 0, GL_LINE_STRIP, 0, 1), 0U);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

}  // namespace
