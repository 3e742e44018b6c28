#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/shader_slots.h"
#include "tests/reference/surface_drawing_reference.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::GLCall;
using qv::test::GLCalls;
using qv::test::Random;
using qv::test::TakeGLCalls;
using qv::test::reference::Form;
using qv::test::reference::Scene;
using qv::test::reference::Walker;

constexpr float kBad = -1e10F;
constexpr unsigned kTriangleStrip = 5;

struct Export {
  const char* name;
  Form form;
  unsigned (*draw)(const Scene&);
};

// Shorthands for what most argument lists end with.
#define QV_PLACE s.zScale, s.xOffset, s.yOffset, s.xSize, s.ySize
#define QV_STEPS s.width, s.height, s.colStep, s.rowStep, s.mode, QV_PLACE
#define QV_STEP s.width, s.height, s.colStep, s.mode, QV_PLACE
#define QV_CALLS(...) [](const Scene& s) { return __VA_ARGS__; }

const Export kExports[] = {
    {"RenderSurface",
     {.doubles = true, .normal = true, .everySample = true},
     QV_CALLS(RenderSurface(s.hDouble.data(), s.normalsDouble.data(), s.width, s.height, 12345))},
    {"RenderSurfacef", {}, QV_CALLS(RenderSurfacef(s.h.data(), QV_STEP))},
    {"RenderSurfacef2", {.steps = true, .holes = true}, QV_CALLS(RenderSurfacef2(s.h.data(), QV_STEPS))},
    {"RenderSurfaceWithNormalsf",
     {.normal = true},
     QV_CALLS(RenderSurfaceWithNormalsf(s.h.data(), s.normals.data(), QV_STEP))},
    {"RenderSurfaceWithNormalsf2",
     {.steps = true, .normal = true},
     QV_CALLS(RenderSurfaceWithNormalsf2(s.h.data(), s.normals.data(), QV_STEPS))},
    {"RenderSurfaceWithNormalsf3",
     {.steps = true, .holes = true, .normal = true},
     QV_CALLS(RenderSurfaceWithNormalsf3(s.h.data(), s.normals.data(), QV_STEPS))},
    {"RenderSurfaceWithNormalsf4",
     {.steps = true, .holes = true, .normal = true, .darkened = true},
     QV_CALLS(RenderSurfaceWithNormalsf4(s.h.data(), s.normals.data(), QV_STEPS, s.color, s.ao.data()))},
    {"RenderSurfaceWithNormalsf5",
     {.steps = true, .holes = true, .normal = true, .attribute = "ambient_occlusion"},
     QV_CALLS(RenderSurfaceWithNormalsf5(s.h.data(), s.normals.data(), QV_STEPS, s.slot, s.ao.data()))},
    {"RenderSurfaceWithNormalsWithAmbOccf",
     {.steps = true, .holes = true, .normal = true, .attribute = "Accessibility"},
     QV_CALLS(
         RenderSurfaceWithNormalsWithAmbOccf(s.h.data(), s.normals.data(), QV_STEPS, s.slot, s.ao.data()))},
    {"RenderSurfaceWithColorsAndNormals",
     {.doubles = true, .normal = true, .grey = true},
     QV_CALLS(RenderSurfaceWithColorsAndNormals(s.hDouble.data(), s.normalsDouble.data(), s.greyDouble.data(),
                                                s.width, s.height, s.colStep, s.mode, s.zScaleDouble))},
    {"RenderSurfaceWithColorsAndNormalsf",
     {.normal = true, .grey = true},
     QV_CALLS(RenderSurfaceWithColorsAndNormalsf(s.h.data(), s.normals.data(), s.grey.data(), QV_STEP))},
    {"RenderSurfaceWithColorsAndNormalsf3",
     {.steps = true, .holes = true, .normal = true, .rgb = true},
     QV_CALLS(RenderSurfaceWithColorsAndNormalsf3(s.h.data(), s.normals.data(), s.rgb.data(), QV_STEPS))},
    {"RenderSurfaceWithTextureAndNormals",
     {.doubles = true, .normal = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormals(s.hDouble.data(), s.normalsDouble.data(), s.texDouble.data(),
                                                 s.width, s.height, s.colStep, s.mode, s.zScaleDouble))},
    {"RenderSurfaceWithTextureAndNormalsf",
     {.normal = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsf(s.h.data(), s.normals.data(), s.tex.data(), QV_STEP))},
    {"RenderSurfaceWithTextureAndNormalsf2",
     {.steps = true, .normal = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsf2(s.h.data(), s.normals.data(), s.tex.data(), QV_STEPS))},
    {"RenderSurfaceWithTextureAndNormalsf3",
     {.steps = true, .holes = true, .normal = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsf3(s.h.data(), s.normals.data(), s.tex.data(), QV_STEPS))},
    {"RenderSurfaceWithTextureAndNormalsAndClipping",
     {.steps = true, .holes = true, .clipping = true, .normal = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsAndClipping(s.h.data(), s.normals.data(), s.tex.data(),
                                                            QV_STEPS, s.clipMax, s.clipMin))},
    {"RenderSurfaceWithTextureAndNormalsAndAOColorf3",
     {.steps = true, .holes = true, .normal = true, .rgb = true, .tex = true},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsAndAOColorf3(s.h.data(), s.normals.data(), s.tex.data(),
                                                             s.rgb.data(), QV_STEPS))},
    {"RenderSurfaceWithTextureAndNormalsf4",
     {.steps = true, .holes = true, .normal = true, .tex = true, .attribute = "ambient_occlusion"},
     QV_CALLS(RenderSurfaceWithTextureAndNormalsf4(s.h.data(), s.normals.data(), s.tex.data(), QV_STEPS,
                                                   s.slot, s.ao.data()))},
    {"RenderProjectedSurfaceWithTexture",
     {.steps = true, .tex = true, .flat = true},
     QV_CALLS(RenderProjectedSurfaceWithTexture(s.tex.data(), s.width, s.height, s.colStep, s.rowStep,
                                                s.zScale, s.mode, s.zLevel, s.xOffset, s.yOffset, s.xSize,
                                                s.ySize))},
    {"RenderProjectedSurfaceWithTexture2",
     {.steps = true, .holes = true, .tex = true, .flat = true},
     QV_CALLS(RenderProjectedSurfaceWithTexture2(s.h.data(), s.tex.data(), s.width, s.height, s.colStep,
                                                 s.rowStep, s.zScale, s.mode, s.zLevel, s.xOffset, s.yOffset,
                                                 s.xSize, s.ySize))},
    {"RenderSurfaceWith2DTexturef2",
     {.steps = true, .image = true},
     QV_CALLS(RenderSurfaceWith2DTexturef2(s.h.data(), QV_STEPS))},
};
static_assert(std::size(kExports) == 22);

/// A scene of this size with every array filled; missing samples, NaNs and infinities in the heights, both
/// kinds.
Scene RandomScene(Random& random, int width, int height, double missing) {
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  Scene s;
  s.width = width;
  s.height = height;
  s.mode = kTriangleStrip + static_cast<unsigned>(random.Below(4));
  for (float* value : {&s.zScale, &s.xOffset, &s.yOffset, &s.xSize, &s.ySize, &s.zLevel}) {
    *value = static_cast<float>(random.Between(-2.0, 2.0));
  }
  s.clipMax = 0.5F;
  s.clipMin = -0.6F;
  s.zScaleDouble = random.Between(-2.0, 2.0);
  s.color = static_cast<int>(static_cast<std::uint32_t>(random.Next()));
  s.slot = random.Between(0, 39);
  s.location = random.Between(-1, 3);
  s.h = qv::test::RandomSamples(random, count,
                                {.missing = missing, .nan = 0.03, .infinite = 0.03, .repeated = 0.1});
  for (auto [array, size] : {std::pair{&s.normals, 3}, {&s.grey, 1}, {&s.rgb, 3}, {&s.tex, 1}, {&s.ao, 1}}) {
    *array = qv::test::RandomSamples(random, size * count, {});
  }
  for (auto [array, size] :
       {std::pair{&s.hDouble, 1}, {&s.normalsDouble, 3}, {&s.greyDouble, 1}, {&s.texDouble, 1}}) {
    *array = qv::test::RandomSamples<double>(random, size * count, {.missing = missing, .nan = 0.03});
  }
  return s;
}

bool IsVertex(const GLCall& call) {
  return call.name.starts_with("glVertex3");
}
bool IsAttribute(const GLCall& call) {
  return call.name.starts_with("glTexCoord") || call.name.starts_with("glColor3") ||
         call.name.starts_with("glNormal3") || call.name.starts_with("glVertexAttrib");
}

/// The attribute calls before a vertex are in no particular order.
GLCalls InOneOrder(GLCalls calls) {
  for (auto call = calls.begin(); call != calls.end();) {
    const auto end = std::find_if_not(call, calls.end(), IsAttribute);
    std::sort(call, end, [](const GLCall& a, const GLCall& b) { return a.name < b.name; });
    call = end == calls.end() ? end : end + 1;
  }
  return calls;
}

bool SameNumber(double a, double b) {
  return a == b ? std::signbit(a) == std::signbit(b) : a != a && b != b;
}
bool SameCall(const GLCall& a, const GLCall& b) {
  return a.name == b.name && a.text == b.text &&
         std::equal(a.arguments.begin(), a.arguments.end(), b.arguments.begin(), b.arguments.end(),
                    SameNumber);
}

::testing::AssertionResult SameCalls(const GLCalls& actual, const GLCalls& expected) {
  const GLCalls a = InOneOrder(actual), e = InOneOrder(expected);
  for (std::size_t i = 0; i < std::min(a.size(), e.size()); ++i) {
    if (!SameCall(a[i], e[i])) {
      return ::testing::AssertionFailure() << "call " << i << " is " << a[i] << ", expected " << e[i];
    }
  }
  if (a.size() == e.size()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a.size() << " calls, expected " << e.size();
}

class SurfaceDrawing : public ::testing::Test {
 protected:
  SurfaceDrawing() {
    TakeGLCalls();
    qv::test::SetShaderEntryPoints(true);
    for (int slot = 0; slot < qv::render::kShaderSlots; ++slot) {
      qv::render::shaderSlots.program[slot] = 1000U + static_cast<unsigned>(slot);
    }
  }
  ~SurfaceDrawing() override { qv::render::shaderSlots = {}; }

  static GLCalls Drawn(const Export& e, const Scene& scene) {
    qv::test::SetAttributeLocation(scene.location);
    EXPECT_EQ(e.draw(scene), 0U) << e.name;
    return TakeGLCalls();
  }
};

TEST_F(SurfaceDrawing, EveryExport_RandomGridsAndSteps_SameCallsAsTheReference) {
  Random random(11);
  for (int round = 0; round < 400; ++round) {
    Scene scene = RandomScene(random, random.Between(1, 11), random.Between(1, 8), round % 4 * 0.2);
    scene.colStep = random.Between(1, 5);
    scene.rowStep = random.Between(1, 5);
    if (random.Chance(0.05)) scene.colStep = std::numeric_limits<int>::max();
    if (random.Chance(0.05)) scene.rowStep = std::numeric_limits<int>::max();
    for (const Export& e : kExports) {
      ASSERT_TRUE(SameCalls(Drawn(e, scene), Walker(scene, e.form).Calls()))
          << e.name << ' ' << scene.width << " x " << scene.height << " steps " << scene.colStep << ' '
          << scene.rowStep;
    }
  }
}

TEST_F(SurfaceDrawing, EveryExport_SizeOrStepBelowOne_NoCalls) {
  Random random(12);
  for (const int low : {0, -1, std::numeric_limits<int>::min()}) {
    for (int Scene::*member : {&Scene::width, &Scene::height, &Scene::colStep, &Scene::rowStep}) {
      Scene scene = RandomScene(random, 3, 3, 0);
      scene.*member = low;
      for (const Export& e : kExports) {
        const bool read = member == &Scene::rowStep   ? e.form.steps
                          : member == &Scene::colStep ? !e.form.everySample
                                                      : true;
        if (!read) continue;
        EXPECT_EQ(Drawn(e, scene), GLCalls{}) << e.name;
      }
    }
  }
}

TEST_F(SurfaceDrawing, RenderSurfacef_ThreeByTwo_TheseCalls) {
  const float h[] = {1, 2, 3, 4, 5, 6};
  RenderSurfacef(h, 3, 2, 1, kTriangleStrip, 2, 10, 100, 4, 8);
  // Spacings 2 and 8; y = 8 j - 100: the offset is subtracted. The second strip joins the last row to itself.
  const GLCalls expected = {{"glBegin", {5}, ""},
                            {"glVertex3f", {10, -92, 8}, ""},
                            {"glVertex3f", {10, -100, 2}, ""},
                            {"glVertex3f", {12, -92, 10}, ""},
                            {"glVertex3f", {12, -100, 4}, ""},
                            {"glVertex3f", {14, -92, 12}, ""},
                            {"glVertex3f", {14, -100, 6}, ""},
                            {"glEnd", {}, ""},
                            {"glBegin", {5}, ""},
                            {"glVertex3f", {10, -92, 8}, ""},
                            {"glVertex3f", {10, -92, 8}, ""},
                            {"glVertex3f", {12, -92, 10}, ""},
                            {"glVertex3f", {12, -92, 10}, ""},
                            {"glVertex3f", {14, -92, 12}, ""},
                            {"glVertex3f", {14, -92, 12}, ""},
                            {"glEnd", {}, ""}};
  EXPECT_TRUE(SameCalls(TakeGLCalls(), expected));
}

TEST_F(SurfaceDrawing, RenderSurface_TwoByTwo_StateThenOneQuadStrip) {
  const double h[] = {1, 2, 3, 4}, normals[] = {0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0, -1};
  RenderSurface(h, normals, 2, 2, 7);
  const GLCalls expected = {{"glEnable", {0x0BA1}, ""},
                            {"glColor3f", {0.5, 0.5, 0.5}, ""},
                            {"glBegin", {8}, ""},
                            {"glNormal3d", {1, 0, 0}, ""},
                            {"glVertex3d", {-0.5, 0.5, 3}, ""},
                            {"glNormal3d", {0, 0, 1}, ""},
                            {"glVertex3d", {-0.5, -0.5, 1}, ""},
                            {"glNormal3d", {0, 0, -1}, ""},
                            {"glVertex3d", {0.5, 0.5, 4}, ""},
                            {"glNormal3d", {0, 1, 0}, ""},
                            {"glVertex3d", {0.5, -0.5, 2}, ""},
                            {"glEnd", {}, ""}};
  EXPECT_TRUE(SameCalls(TakeGLCalls(), expected));
}

std::vector<double> ColumnsOfFirstStrip(const GLCalls& calls) {
  std::vector<double> columns;
  for (const GLCall& call : calls) {
    if (call.name == "glEnd") break;
    if (IsVertex(call) && (columns.empty() || columns.back() != call.arguments[0])) {
      columns.push_back(call.arguments[0]);
    }
  }
  return columns;
}

TEST_F(SurfaceDrawing, Steps_ThatDoNotLandOnTheEnd_LastColumnAndRowAreDrawn) {
  const std::vector<float> h(6 * 6, 0.0F);
  RenderSurfacef(h.data(), 6, 6, 2, kTriangleStrip, 1, 0, 0, 5, 5);
  const GLCalls calls = TakeGLCalls();
  EXPECT_EQ(ColumnsOfFirstStrip(calls), (std::vector<double>{0, 2, 5}));
  std::set<double> rows;
  for (const GLCall& call : calls) {
    if (IsVertex(call)) rows.insert(call.arguments[1]);
  }
  EXPECT_EQ(rows, (std::set<double>{0, 2, 4, 5}));
}

TEST_F(SurfaceDrawing, Step_LargerThanTheGrid_OnlyTheClosingColumn) {
  const std::vector<float> h(4 * 4, 0.0F);
  RenderSurfacef2(h.data(), 4, 4, 4, 1, kTriangleStrip, 1, 0, 0, 3, 3);
  const GLCalls calls = TakeGLCalls();
  EXPECT_EQ(ColumnsOfFirstStrip(calls), std::vector<double>{3});
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), IsVertex), 2 * 4);
}

TEST_F(SurfaceDrawing, RowPairAllMissing_BeginAndEndAlone) {
  const std::vector<float> h(5 * 2, kBad);
  RenderSurfacef2(h.data(), 5, 2, 1, 1, kTriangleStrip, 1, 0, 0, 1, 1);
  const GLCalls expected = {{"glBegin", {5}, ""}, {"glEnd", {}, ""}, {"glBegin", {5}, ""}, {"glEnd", {}, ""}};
  EXPECT_TRUE(SameCalls(TakeGLCalls(), expected));
}

TEST_F(SurfaceDrawing, NaN_IsAHeight) {
  std::vector<float> h(3 * 3, std::numeric_limits<float>::quiet_NaN());
  RenderSurfacef2(h.data(), 3, 3, 1, 1, kTriangleStrip, 1, 0, 0, 1, 1);
  const GLCalls calls = TakeGLCalls();
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), IsVertex), 3 * 6);
  RenderSurfaceWithTextureAndNormalsAndClipping(h.data(), std::vector<float>(27).data(), h.data(), 3, 3, 1, 1,
                                                kTriangleStrip, 1, 0, 0, 1, 1, 1.0F, 0.0F);
  const GLCalls clipped = TakeGLCalls();
  EXPECT_EQ(std::count_if(clipped.begin(), clipped.end(), IsVertex), 3 * 6);
}

TEST_F(SurfaceDrawing, Clipping_BoundsThemselves_AreInside) {
  const float h[] = {0, 1, 0, 1};
  const float zeros[12] = {};
  RenderSurfaceWithTextureAndNormalsAndClipping(h, zeros, zeros, 2, 2, 1, 1, kTriangleStrip, 1, 0, 0, 1, 1, 1,
                                                0);
  const GLCalls calls = TakeGLCalls();
  EXPECT_EQ(std::count_if(calls.begin(), calls.end(), IsVertex), 2 * 4);
}

TEST_F(SurfaceDrawing, PackedColor_UpperByteIgnored_ChannelsTimesOcclusion) {
  const float h[] = {0, 0, 0, 0}, normals[12] = {}, ao[] = {1, 0.5F, 0, 1};
  RenderSurfaceWithNormalsf4(h, normals, 2, 2, 1, 1, kTriangleStrip, 1, 0, 0, 1, 1,
                             static_cast<int>(0xAB3366FFU), ao);
  const GLCalls calls = TakeGLCalls();
  const auto color =
      std::find_if(calls.begin(), calls.end(), [](const GLCall& c) { return c.name == "glColor3f"; });
  ASSERT_NE(color, calls.end());
  EXPECT_EQ(color->arguments,
            (std::vector<double>{255 * 0.003921569F, 102 * 0.003921569F, 51 * 0.003921569F}));
}

TEST_F(SurfaceDrawing, Shaders_NothingToGiveTheAttributeTo_VerticesWithoutIt) {
  Random random(13);
  Scene scene = RandomScene(random, 4, 4, 0.1);
  scene.location = 2;
  for (const Export& e : kExports) {
    if (e.form.attribute == nullptr) continue;
    for (const int slot : {-1, 40, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
      scene.slot = slot;
      EXPECT_TRUE(SameCalls(Drawn(e, scene), Walker(scene, e.form).Calls())) << e.name;
    }
    scene.slot = 39;
    Form without = e.form;
    without.attribute = nullptr;
    const GLCalls expected = Walker(scene, without).Calls();
    qv::test::SetShaderEntryPoints(false);
    EXPECT_TRUE(SameCalls(Drawn(e, scene), expected)) << e.name;
    qv::test::SetShaderEntryPoints(true);
    __glewVertexAttrib1f = nullptr;
    EXPECT_TRUE(SameCalls(Drawn(e, scene), expected)) << e.name;
    qv::test::SetShaderEntryPoints(true);
    __glewGetAttribLocationARB = nullptr;
    EXPECT_TRUE(SameCalls(Drawn(e, scene), expected)) << e.name;
    qv::test::SetShaderEntryPoints(true);
  }
}

TEST_F(SurfaceDrawing, Shaders_AttributeInTheProgram_AskedForOncePerCall) {
  Random random(14);
  Scene scene = RandomScene(random, 5, 5, 0.1);
  scene.location = 3;
  for (const Export& e : kExports) {
    if (e.form.attribute == nullptr) continue;
    const GLCalls calls = Drawn(e, scene);
    EXPECT_EQ(calls.front(), (GLCall{"glGetAttribLocationARB", {1000.0 + scene.slot}, e.form.attribute}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), calls.front()), 1);
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const GLCall& c) { return c.name == "glVertexAttrib1f"; }),
              std::count_if(calls.begin(), calls.end(), IsVertex));
  }
}

// ---------------------------------------------------------------------------------------------------------------
// What the strips around holes amount to: triangles.

using Triangle = std::array<int, 3>;  // sample numbers, sorted
using Triangles = std::multiset<Triangle>;

/// The triangles of the triangle strips drawn, without those that repeat a sample. Samples are known by their
/// height.
Triangles DrawnTriangles(const GLCalls& calls) {
  Triangles triangles;
  std::vector<int> strip;
  for (const GLCall& call : calls) {
    if (IsVertex(call)) strip.push_back(static_cast<int>(call.arguments[2]));
    if (call.name != "glEnd") continue;
    for (std::size_t i = 2; i < strip.size(); ++i) {
      Triangle t = {strip[i - 2], strip[i - 1], strip[i]};
      std::sort(t.begin(), t.end());
      if (t[0] != t[1] && t[1] != t[2]) triangles.insert(t);
    }
    strip.clear();
  }
  return triangles;
}

/// The triangles that the rule promises: of each cell of visited samples the two halves, cut along the
/// diagonal from the upper left; where one corner is missing, the other three.
Triangles GoodTriangles(const std::vector<float>& h, int width, const std::vector<int>& columns,
                        const std::vector<int>& rows) {
  Triangles triangles;
  for (std::size_t r = 1; r < rows.size(); ++r) {
    for (std::size_t c = 1; c < columns.size(); ++c) {
      const int lowerLeft = rows[r - 1] * width + columns[c - 1],
                lowerRight = rows[r - 1] * width + columns[c];
      const int upperLeft = rows[r] * width + columns[c - 1], upperRight = rows[r] * width + columns[c];
      std::vector<int> good;
      for (const int k : {lowerLeft, lowerRight, upperLeft, upperRight}) {
        if (h[static_cast<std::size_t>(k)] != kBad) good.push_back(k);
      }
      if (good.size() == 4) {
        triangles.insert({lowerLeft, lowerRight, upperLeft});
        triangles.insert({lowerRight, upperLeft, upperRight});
      } else if (good.size() == 3) {
        triangles.insert({good[0], good[1], good[2]});
      }
    }
  }
  return triangles;
}

/// The last step of a row is not taken: of 6 columns, step 2, number 4 is left out.
std::vector<int> VisitedColumns(int width, int step) {
  std::vector<int> visited;
  for (int i = 0; i < width - step; i += step) visited.push_back(i);
  visited.push_back(width - 1);
  return visited;
}

/// Every step is taken, and the closing strip goes on from there.
std::vector<int> VisitedRows(int height, int step) {
  std::vector<int> visited = {0};
  while (visited.back() < height - step) visited.push_back(visited.back() + step);
  if (visited.back() != height - 1) visited.push_back(height - 1);
  return visited;
}

/// Heights are sample numbers, so that vertices tell which sample they are.
void ExpectGoodTrianglesOnly(const std::vector<float>& h, int width, int height, int colStep, int rowStep) {
  RenderSurfacef2(h.data(), width, height, colStep, rowStep, kTriangleStrip, 1, 0, 0, 1, 1);
  ASSERT_EQ(DrawnTriangles(TakeGLCalls()),
            GoodTriangles(h, width, VisitedColumns(width, colStep), VisitedRows(height, rowStep)))
      << ::testing::PrintToString(h);
}

TEST_F(SurfaceDrawing, Holes_EveryPatternOfFourByThree_ExactlyTheGoodTriangles) {
  for (unsigned pattern = 0; pattern < 1U << 12; ++pattern) {
    std::vector<float> h(12);
    for (unsigned k = 0; k < 12; ++k) h[k] = (pattern >> k & 1U) != 0 ? kBad : static_cast<float>(k);
    ExpectGoodTrianglesOnly(h, 4, 3, 1, 1);
  }
}

TEST_F(SurfaceDrawing, Holes_RandomPatternsAndSteps_ExactlyTheGoodTriangles) {
  Random random(15);
  for (int round = 0; round < 3000; ++round) {
    const int width = random.Between(2, 9), height = random.Between(2, 8);
    std::vector<float> h(static_cast<std::size_t>(width * height));
    const double missing = random.Between(0.0, 0.7);
    for (std::size_t k = 0; k < h.size(); ++k) h[k] = random.Chance(missing) ? kBad : static_cast<float>(k);
    ExpectGoodTrianglesOnly(h, width, height, random.Between(1, 4), random.Between(1, 4));
  }
}

}  // namespace
