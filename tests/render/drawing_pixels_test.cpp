// What walls, profiles, lines, buffers, shaders, picking, shadows and occlusion look like, drawn off-screen
// into 200 x 200 pixels. Grids have 21 x 21 samples over the unit square.
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/pixel_test.h"
#include "tests/support/temporary_file.h"

namespace {

using namespace qv::test;

constexpr float kBad = -1e10F, kX = -0.5F, kY = 0.5F;  // the y offset is subtracted
constexpr Pixel kBlack = {0, 0, 0}, kWall = {80, 80, 80}, kGreen = {0, 255, 0};

double Waves(double x, double y) {
  return 0.2 + 0.1 * std::sin(9 * x) * std::cos(7 * y);
}

class DrawingPixels : public qv::test::PixelTest {
 protected:
  void SetUp() override {
    PixelTest::SetUp();
    glDepthFunc(GL_LEQUAL);
  }

  /// x to the right, z up, seen from the front.
  static void LookFromTheFront() { glRotatef(-90, 1, 0, 0); }

  /// From above the front left corner, all in view.
  static void LookFromTheCorner() {
    glScalef(0.65F, 0.65F, 0.65F);
    glRotatef(-60, 1, 0, 0);
    glRotatef(30, 0, 0, 1);
  }
};

TEST_F(DrawingPixels, WallsSeenFromTheFront) {
  const auto h = Grid([](double x, double) { return 0.1 + 0.2 * x; });
  LookFromTheFront();
  glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
  RenderSideWallsf(h.data(), kSide, kSide, 3, 1, kX, 0.5F, 1, 1);
  const Image image = Drawn();
  // z = 0 lies at pixel row 100, the base one row below.
  for (const int x : {10, 100, 190}) {
    const int top = 100 + 20 + 40 * x / kPixels;
    ExpectPixel(image, x, top - 4, kWall);
    ExpectPixel(image, x, 103, kWall);
    ExpectPixel(image, x, top + 4, kBackground);
    ExpectPixel(image, x, 95, kBackground);
  }
  GLint mode[2] = {};
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_FILL);
  EXPECT_EQ(glIsEnabled(GL_POLYGON_OFFSET_FILL), GL_FALSE);
  float color[4] = {};
  glGetFloatv(GL_CURRENT_COLOR, color);
  EXPECT_EQ(color[0] + color[1] + color[2], 0.0F);
}

TEST_F(DrawingPixels, WallsOfDoublesRestoreThePolygonModes) {
  const auto h = Grid<double>([](double, double) { return 0.25; });
  LookFromTheFront();
  glPolygonMode(GL_FRONT, GL_POINT);
  glPolygonMode(GL_BACK, GL_LINE);
  RenderSideWalls(h.data(), kSide, kSide, 1, 1);
  GLint mode[2] = {};
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_POINT);
  EXPECT_EQ(mode[1], GL_LINE);
  const Image image = Drawn();
  ExpectPixel(image, 100, 125, kWall);
  EXPECT_NEAR(image.Count(kWall) + image.Count(kBlack), 51 * kPixels, 2 * kPixels);
}

TEST_F(DrawingPixels, BodyWithWallsAndWires) {
  const auto h = Grid(Waves);
  LookFromTheCorner();
  glColor3f(0, 1, 0);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1, 1);
  RenderSurfacef(h.data(), kSide, kSide, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  RenderSideWallsf2(h.data(), kSide, kSide, 1, 1, 1, kX, 0.5F, 1, 1);
  RenderSilhouetteLines(h.data(), kSide, kSide, 5, 5, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_GT(image.Count(kGreen), 4000);
  EXPECT_GT(image.Count(kWall), 2000);
  EXPECT_GT(image.Count(kBlack), 800);
  EXPECT_GT(image.Count(kBackground), 15000);
}

TEST_F(DrawingPixels, WaterfallAlongRowsAndColumns) {
  const auto h = Grid(Waves);
  const auto tex = Grid([](double x, double) { return x; });
  UseColorMap();
  RenderWaterfallSurfacef(h.data(), 0, tex.data(), kSide, kSide, 5, GL_LINE_STRIP, 10, 1, kX, kY, 1, 1);
  const auto vertical = [](const Image& image, int x) {
    int drawn = 0;
    for (int y = 0; y < kPixels; ++y) drawn += image.At(x, y) == kBackground ? 0 : 1;
    return drawn;
  };
  const Image rows = Drawn();
  EXPECT_NEAR(vertical(rows, 77), 4, 1);  // of five profiles, the last on the border of the image
  EXPECT_TRUE(Near(rows.At(150, 100), {191, 0, 64}, 6) || Near(rows.At(150, 99), {191, 0, 64}, 6));
  Clear();
  RenderWaterfallSurfacef(h.data(), 0, tex.data(), kSide, kSide, 5, GL_LINE_STRIP, 90, 1, kX, kY, 1, 1);
  const Image columns = Drawn();
  EXPECT_EQ(vertical(columns, 77), 0);
  EXPECT_GT(vertical(columns, 100) + vertical(columns, 99), kPixels - 3);
}

TEST_F(DrawingPixels, WaterfallSeenFromTheCorner) {
  const auto h = Grid<double>(Waves);
  const auto tex = Grid<double>([](double x, double y) { return (Waves(x, y) - 0.1) * 5; });
  LookFromTheCorner();
  UseColorMap();
  RenderWaterfallSurface(h.data(), 0, tex.data(), kSide, kSide, 1, GL_LINE_STRIP, 30, 1.5);
  EXPECT_LT(Drawn().Count(kBackground), kPixels * kPixels - 2000);
}

TEST_F(DrawingPixels, ContoursOverTheSurface) {
  const float segments[] = {-0.5F, 0, 0, 0.25F, 0, 0.25F, 0.5F, 0};
  const auto h = Grid([](double, double) { return 0.1; });
  glColor3f(0, 1, 0);
  RenderSurfacef(h.data(), kSide, kSide, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  glColor3f(0, 0, 0);
  RenderContourLinesf(segments, 0.2F, 1, 2);
  RenderContourLinesf(segments, 0.05F, 1, 2);  // below the surface: not seen
  const Image image = Drawn();
  EXPECT_NEAR(image.Count(kBlack), kPixels, 3);
  EXPECT_EQ(image.Count(kBlack) + image.Count(kGreen), kPixels * kPixels);
}

/// Everything that buffers and the immediate mode draw from.
struct Streams {
  std::vector<float> h, vertices, normals, tex, grey, rgb;
  std::vector<unsigned> indices, starts;
  unsigned indexCount = 0, stripCount = 0;

  explicit Streams(std::vector<float> heights) : h(std::move(heights)) {
    vertices.resize(3 * h.size());
    normals.resize(3 * h.size());
    CreateSurfaceXYZ(vertices.data(), h.data(), kSide, kSide, 1, kX, 0.5F, 1, 1);
    ComputeSurfaceNormalsf(h.data(), kSide, kSide, normals.data(), kX, kY, 1, 1);
    for (int k = 0; k < kSamples; ++k) {
      const float u = static_cast<float>(k % kSide) / 20, v = static_cast<float>(k / kSide) / 20;  // NOLINT
      tex.push_back(u);
      grey.push_back(v);
      rgb.insert(rgb.end(), {u, v, 1});
    }
    indices.resize(3 * kSide * (kSide - 1));
    starts.resize((kSide - 1) * (kSide / 2 + 1) + 1);
    CreateIndiciesList(h.data(), kSide, kSide, indices.data(), starts.data(), &indexCount, &stripCount);
  }

  void DrawImmediately() const {
    const std::vector<int> signedStarts(starts.begin(), starts.end());
    RenderImmediateMode(static_cast<int>(stripCount), signedStarts.data(), indices.data(), vertices.data(),
                        normals.data(), tex.data(), rgb.data(), grey.data(), GL_TRIANGLE_STRIP, 1, 1, 0, 0);
  }

  void DrawFromBuffers() const {
    unsigned names[4] = {};
    BuildVBOs(kSamples, 1, 1, 1, 1, vertices.data(), tex.data(), normals.data(), rgb.data(), &names[0],
              &names[1], &names[2], &names[3]);
    SetPointersToVBOBuffersARB(1, 1, 1, 1, &names[0], &names[1], &names[2], &names[3]);
    for (const GLenum array : {GL_VERTEX_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY}) {
      glEnableClientState(array);
    }
    for (unsigned s = 0; s < stripCount; ++s) {
      DrawRangeElements(GL_TRIANGLE_STRIP, 0, kSamples - 1, static_cast<int>(starts[s + 1] - starts[s]),
                        GL_UNSIGNED_INT, indices.data() + starts[s]);
    }
    glFinish();
    DeleteVBOBuffers(&names[0], &names[1], &names[2], &names[3]);
    for (const unsigned name : names) EXPECT_EQ(name, 0U);
  }
};

TEST_F(DrawingPixels, BuffersDrawWhatTheImmediateModeDraws) {
  auto h = Grid(Waves);
  for (const int k : {47, 48, 220, 242, 300}) h[static_cast<std::size_t>(k)] = kBad;
  const Streams streams(h);
  UseColorMap();
  streams.DrawImmediately();
  const Image immediate = screen.Read();
  Clear();
  streams.DrawFromBuffers();
  const Image buffers = Drawn();
  EXPECT_EQ(immediate.rgb, buffers.rgb);
  EXPECT_GT(buffers.Count(kBackground), 500);
  EXPECT_LT(buffers.Count(kBackground), 2000);
  ExpectPixel(buffers, 150, 50, {static_cast<int>(255 * 0.75 * 0.75), 0, 64}, 5);
}

TEST_F(DrawingPixels, ShaderFromFiles) {
  const qv::test::TemporaryFile vertex("void main() {\r\n  gl_Position = ftransform();\r\n}\r\n");
  const qv::test::TemporaryFile fragment(
      "uniform int shade;\nvoid main() {\n  gl_FragColor = vec4(0.0, float(shade) / 255.0, 1.0, 1.0);\n}\n");
  const auto h = Grid([](double, double) { return 0.0; });
  glColor3f(0, 1, 0);
  ASSERT_EQ(InitShaders(39, vertex.name(), fragment.name()), 0U);
  EXPECT_EQ(TurnOn(39), 0U);
  EXPECT_GE(SetupUniformVariable(39, 128, "shade"), 0);
  EXPECT_EQ(SetupUniformVariable(39, 128, "no such name"), -1);
  RenderSurfacef(h.data(), kSide, kSide, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  EXPECT_EQ(Drawn().Count({0, 128, 255}), kPixels * kPixels);
  EXPECT_EQ(TurnOff(), 0U);
  RenderSurfacef(h.data(), kSide, kSide, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  EXPECT_EQ(Drawn().Count(kGreen), kPixels * kPixels);
  EXPECT_EQ(ReleaseShader(39), 0U);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

/// The names of what lies at a point of the unit square.
template <class Draw>
std::vector<unsigned> Pick(double x, double y, Draw draw) {
  std::array<GLuint, 256> hits = {};
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(x - 0.501, x - 0.499, y - 0.501, y - 0.499, -10, 10);
  glMatrixMode(GL_MODELVIEW);
  glSelectBuffer(static_cast<GLsizei>(hits.size()), hits.data());
  glRenderMode(GL_SELECT);
  glInitNames();
  glPushName(0xFFFFFFFF);
  draw();
  const GLint count = glRenderMode(GL_RENDER);
  std::vector<unsigned> names;
  for (GLint i = 0; i < count; ++i) names.push_back(hits[4 * static_cast<std::size_t>(i) + 3]);
  return names;
}

TEST_F(DrawingPixels, PickingNamesTrianglesAndSamples) {
  auto h = Grid(Waves);
  h[5 * kSide + 5] = kBad;
  const auto triangles = [&] {
    RenderTrianglesForSelection(h.data(), kSide, kSide, GL_TRIANGLES, 1, kX, kY, 1, 1);
  };
  const auto points = [&] { RenderPointsForSelection(h.data(), kSide, kSide, GL_POINTS, 1, kX, kY, 1, 1); };
  using Names = std::vector<unsigned>;
  EXPECT_EQ(Pick(0.51, 0.31, triangles), (Names{6 * kSide + 10}));
  EXPECT_EQ(Pick(0.54, 0.34, triangles), (Names{6 * kSide + 10 + kSamples}));
  EXPECT_EQ(Pick(0.26, 0.26, triangles), Names{});
  EXPECT_EQ(Pick(0.29, 0.29, triangles), (Names{5 * kSide + 5 + kSamples}));
  EXPECT_EQ(Pick(0.5, 0.3, points), (Names{6 * kSide + 10}));
  EXPECT_EQ(Pick(0.52, 0.3, points), Names{});
  EXPECT_EQ(Pick(0.25, 0.25, points), Names{});
}

/// Which triangles face the light, as a host finds out.
void Light(std::vector<QV_ShadowTriangle>& triangles, const std::vector<float>& vertices,
           const float* light) {
  for (auto& triangle : triangles) {
    double e[3][3];
    for (int i = 0; i < 3; ++i) {
      const double a = vertices[3 * triangle.vertex[0] + static_cast<unsigned>(i)];
      e[0][i] = vertices[3 * triangle.vertex[1] + static_cast<unsigned>(i)] - a;
      e[1][i] = vertices[3 * triangle.vertex[2] + static_cast<unsigned>(i)] - a;
      e[2][i] = static_cast<double>(light[i]) - a;
    }
    const double volume = e[2][0] * (e[0][1] * e[1][2] - e[0][2] * e[1][1]) +
                          e[2][1] * (e[0][2] * e[1][0] - e[0][0] * e[1][2]) +
                          e[2][2] * (e[0][0] * e[1][1] - e[0][1] * e[1][0]);
    triangle.lit = volume > 0 ? 1 : 0;
  }
}

TEST_F(DrawingPixels, StencilShadowOfAStep) {
  // The step goes down at x = 0; the light comes from the left at 45 degrees, so the shadow ends at x = 0.3.
  ASSERT_NE(glStencilOpSeparateATI, nullptr);
  const Streams streams(Grid([](double x, double) { return x < 0.501 ? 0.3 : 0.0; }));
  const float light[3] = {-1, 0, 1.3F};
  std::vector<QV_ShadowTriangle> triangles(2 * (kSide - 1) * (kSide - 1));
  QV_ShadowStructure structure = {0, 0, triangles.data()};
  EXPECT_EQ(CreateShadowStructure(&structure, 0, kSide, kSide), kSide - 1);
  Light(triangles, streams.vertices, light);
  glColor3f(0, 1, 0);
  RenderSurfacef(streams.h.data(), kSide, kSide, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  glEnable(GL_STENCIL_TEST);
  glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
  glDepthMask(GL_FALSE);
  glDepthFunc(GL_LESS);
  SetupATIStencilShadows();
  std::vector<unsigned> words(11 * triangles.size());
  std::memcpy(words.data(), triangles.data(), sizeof(unsigned) * words.size());
  EXPECT_EQ(DoShadowPass(light, static_cast<int>(triangles.size()), streams.vertices.data(), words.data()),
            0);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glStencilFunc(GL_NOTEQUAL, 0, ~0U);
  glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
  glDisable(GL_DEPTH_TEST);
  glColor3f(0, 0, 0);
  glRectf(-1, -1, 1, 1);
  const Image image = Drawn();
  for (const int y : {20, 100, 180}) {
    ExpectPixel(image, 50, y, kGreen);
    ExpectPixel(image, 95, y, kGreen);
    ExpectPixel(image, 105, y, kBlack);
    ExpectPixel(image, 155, y, kBlack);
    ExpectPixel(image, 165, y, kGreen);
    ExpectPixel(image, 195, y, kGreen);
  }
}

/// A surface with grooves, darkened by the estimate on the grid (left) and by rays (right).
TEST_F(DrawingPixels, OcclusionDarkensGrooves) {
  const auto h = Grid([](double x, double) { return std::fabs(std::fmod(5 * x, 1.0) - 0.5) * 0.4; });
  std::vector<float> scaled, ao(kSamples), shares(kSamples), directions(3 * kSamples);
  for (const float z : h) scaled.push_back(z * 4);
  ComputeAmbientOcclusionArray(0, kSide, kSide, scaled.data(), ao.data());
  const Streams streams(h);
  std::vector<unsigned> triangles;
  for (unsigned k = 0; k < kSamples - kSide; ++k) {
    if (k % kSide == kSide - 1) continue;
    triangles.insert(triangles.end(), {k, k + 1, k + kSide, k + 1, k + kSide + 1, k + kSide});
  }
  ComputeAmbientOcclusionData(streams.vertices.data(), streams.normals.data(), kSamples,
                              reinterpret_cast<const void*>(triangles.size() / 3), triangles.data(),
                              shares.data(), directions.data());
  const auto draw = [&](const std::vector<float>& values) {
    RenderSurfaceWithNormalsf4(h.data(), streams.normals.data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX,
                               kY, 1, 1, 0xFFFFFF, values.data());
  };
  glViewport(0, 0, kPixels / 2, kPixels);
  draw(ao);
  glViewport(kPixels / 2, 0, kPixels / 2, kPixels);
  draw(shares);
  const Image image = Drawn();
  // Columns 2 and 4 of 20 are the bottom and the ridge of a groove.
  for (const int half : {0, kPixels / 2}) {
    EXPECT_LT(image.At(half + 10, 100).red, image.At(half + 20, 100).red - 60);
  }
  EXPECT_GT(image.At(kPixels / 2 + 20, 100).red, 230);
}

}  // namespace
