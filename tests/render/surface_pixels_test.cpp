// What the surfaces look like, drawn off-screen. The unit square fills the image of 200 x 200 pixels; the
// viewer looks down along z. Grids have 21 x 21 samples, so a cell covers 10 x 10 pixels.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/shader_slots.h"
#include "tests/support/offscreen.h"

namespace {

using qv::test::Image;
using qv::test::Offscreen;
using qv::test::Pixel;

constexpr int kPixels = 200;
constexpr int kSide = 21;
constexpr int kSamples = kSide * kSide;
constexpr float kBad = -1e10F;
constexpr Pixel kBackground = {255, 0, 255};
constexpr float kX = -0.5F, kY = 0.5F;  // the y offset is subtracted

std::vector<float> Grid(const std::function<double(double, double)>& f) {
  std::vector<float> values;
  for (int k = 0; k < kSamples; ++k) {
    values.push_back(
        static_cast<float>(f((k % kSide) / (kSide - 1.0), (k / kSide) / (kSide - 1.0))));  // NOLINT
  }
  return values;
}

std::vector<float> Normals(const std::vector<float>& h) {
  std::vector<float> normals(3 * h.size());
  ComputeSurfaceNormalsf(h.data(), kSide, kSide, normals.data(), kX, kY, 1, 1);
  return normals;
}

bool Near(Pixel p, Pixel q, int tolerance) {
  return std::abs(p.red - q.red) <= tolerance && std::abs(p.green - q.green) <= tolerance &&
         std::abs(p.blue - q.blue) <= tolerance;
}

#define EXPECT_PIXEL(image, x, y, tolerance, ...)                                                         \
  do {                                                                                                    \
    const Pixel actual = (image).At(x, y), expected = __VA_ARGS__;                                        \
    EXPECT_TRUE(Near(actual, expected, tolerance))                                                        \
        << "pixel " << (x) << ", " << (y) << " is " << actual.red << ' ' << actual.green << ' '           \
        << actual.blue << ", expected " << expected.red << ' ' << expected.green << ' ' << expected.blue; \
  } while (false)

class SurfacePixels : public ::testing::Test {
 protected:
  SurfacePixels() : screen(kPixels, kPixels) {}
  ~SurfacePixels() override { qv::render::shaderSlots = {}; }

  void SetUp() override {
    ASSERT_EQ(screen.Problem(), "");
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-0.5, 0.5, -0.5, 0.5, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glClearColor(1, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  }

  /// The image so far. It is kept as a file beside the test, to be looked at.
  Image Drawn() const {
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    Image image = screen.Read();
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    qv::test::SaveImage(image, std::string(test->name()) + ".png");
    return image;
  }

  static void UseColorMap() {
    std::vector<std::uint8_t> map;
    for (int i = 0; i < 256; ++i)
      map.insert(map.end(), {static_cast<std::uint8_t>(i), 0, static_cast<std::uint8_t>(255 - i)});
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_1D, texture);
    glTexImage1D(GL_TEXTURE_1D, 0, GL_RGB, 256, 0, GL_RGB, GL_UNSIGNED_BYTE, map.data());
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_TEXTURE_1D);
    glColor3f(1, 1, 1);
  }

  static void UseLight(float x, float y, float z) {
    const float direction[] = {x, y, z, 0}, white[] = {1, 1, 1, 1}, black[] = {0, 0, 0, 1};
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glLightfv(GL_LIGHT0, GL_POSITION, direction);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, black);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, white);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, GL_FALSE);
  }

  /// A program that shows one attribute as a grey level.
  static void UseAttributeProgram(int slot, const std::string& attribute) {
    const std::string vertex = "attribute float " + attribute +
                               "; varying float shade; void main() { shade = " + attribute +
                               "; gl_Position = ftransform(); }";
    const std::string fragment =
        "varying float shade; void main() { gl_FragColor = vec4(shade, shade, 0.0, 1.0); }";
    const GLhandleARB program = glCreateProgramObjectARB();
    for (const auto& [kind, source] :
         {std::pair{GL_VERTEX_SHADER_ARB, vertex}, {GL_FRAGMENT_SHADER_ARB, fragment}}) {
      const GLhandleARB shader = glCreateShaderObjectARB(static_cast<GLenum>(kind));
      const char* text = source.c_str();
      glShaderSourceARB(shader, 1, &text, nullptr);
      glCompileShaderARB(shader);
      glAttachObjectARB(program, shader);
    }
    glLinkProgramARB(program);
    GLint linked = 0;
    glGetObjectParameterivARB(program, GL_OBJECT_LINK_STATUS_ARB, &linked);
    ASSERT_EQ(linked, 1);
    qv::render::shaderSlots.program[slot] = program;
    glUseProgramObjectARB(program);
  }

  Offscreen screen;
};

TEST_F(SurfacePixels, InitGlewAndExtensions) {
  EXPECT_EQ(InitGlew(), 0U);
  EXPECT_EQ(IsExtensionSupported("GL_VERSION_2_0"), 0U);
  EXPECT_EQ(IsExtensionSupported("GL_VERSION_2_0 GL_ARB_shader_objects"), 0U);
  EXPECT_EQ(IsExtensionSupported("GL_QV_no_such_extension"), 1U);
  EXPECT_EQ(IsExtensionSupported("GL_VERSION_2_0 GL_QV_no_such_extension"), 1U);
}

TEST_F(SurfacePixels, LitRidgeWithColorMap) {
  // A ridge along y: the left flank rises, the right one falls. Light from the left.
  const auto h = Grid([](double x, double /*y*/) { return x < 0.5 ? x : 1 - x; });
  const auto tex = Grid([](double /*x*/, double y) { return y; });
  const auto normals = Normals(h);
  UseColorMap();
  UseLight(-1, 0, 1);
  RenderSurfaceWithTextureAndNormalsf(h.data(), normals.data(), tex.data(), kSide, kSide, 1,
                                      GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), 0);
  // The flanks are at 45 degrees: one faces the light, the other is in its own shadow.
  EXPECT_PIXEL(image, 50, 5, 4, {6, 0, 249});
  EXPECT_PIXEL(image, 50, 195, 4, {249, 0, 6});
  EXPECT_PIXEL(image, 50, 100, 4, {128, 0, 127});
  EXPECT_PIXEL(image, 150, 100, 4, {0, 0, 0});
}

TEST_F(SurfacePixels, HoleShowsTheBackground) {
  auto h = Grid([](double x, double y) { return 0.2 * x * y; });
  h[10 * kSide + 10] = kBad;
  glColor3f(0, 1, 0);
  RenderSurfacef2(h.data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  // Each of the four cells around the hole keeps the half away from it: two cells' worth is open.
  EXPECT_NEAR(image.Count(kBackground), 200, 25);
  EXPECT_EQ(image.Count(kBackground) + image.Count({0, 255, 0}), kPixels * kPixels);
  EXPECT_PIXEL(image, 100, 100, 0, kBackground);
  EXPECT_PIXEL(image, 107, 107, 0, {0, 255, 0});
  EXPECT_PIXEL(image, 93, 93, 0, {0, 255, 0});
  EXPECT_PIXEL(image, 92, 108, 0, {0, 255, 0});
  EXPECT_PIXEL(image, 108, 92, 0, {0, 255, 0});
}

TEST_F(SurfacePixels, ClippingLeavesTheRange) {
  const auto h = Grid([](double x, double /*y*/) { return x; });
  const auto tex = h;
  const auto normals = Normals(h);
  UseColorMap();
  RenderSurfaceWithTextureAndNormalsAndClipping(h.data(), normals.data(), tex.data(), kSide, kSide, 1, 1,
                                                GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1, 0.71F, 0.29F);
  const Image image = Drawn();
  // Columns 6 to 14 are in the range, at pixels 60 to 140.
  EXPECT_NEAR(image.Count(kBackground), 120 * kPixels, 2 * kPixels);
  EXPECT_PIXEL(image, 55, 100, 0, kBackground);
  EXPECT_PIXEL(image, 145, 100, 0, kBackground);
  EXPECT_PIXEL(image, 65, 100, 4, {83, 0, 172});
  EXPECT_PIXEL(image, 135, 100, 4, {173, 0, 82});
}

TEST_F(SurfacePixels, DecimationCoversTheWholeGrid) {
  const auto h = Grid([](double x, double y) { return x + y; });
  const auto normals = Normals(h);
  UseLight(0, 0, 1);
  RenderSurfaceWithNormalsf2(h.data(), normals.data(), kSide, kSide, 3, 7, GL_QUAD_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), 0);
  const int shade = static_cast<int>(std::lround(255 / std::sqrt(3.0)));  // the plane leans by (1, 1, 1)
  for (const int x : {2, 77, 198}) {
    for (const int y : {2, 131, 198}) EXPECT_PIXEL(image, x, y, 2, {shade, shade, shade});
  }
}

TEST_F(SurfacePixels, GreyLevels) {
  const auto h = Grid([](double, double) { return 0.0; });
  const auto grey = Grid([](double x, double y) { return (x + y) / 2; });
  RenderSurfaceWithColorsAndNormalsf(h.data(), Normals(h).data(), grey.data(), kSide, kSide, 1,
                                     GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_PIXEL(image, 0, 0, 2, {1, 1, 1});
  EXPECT_PIXEL(image, 100, 100, 2, {128, 128, 128});
  EXPECT_PIXEL(image, 199, 199, 2, {254, 254, 254});
  EXPECT_PIXEL(image, 199, 0, 2, {127, 127, 127});
}

TEST_F(SurfacePixels, RgbColors) {
  const auto h = Grid([](double, double) { return 0.0; });
  std::vector<float> rgb;
  for (int k = 0; k < kSamples; ++k) {
    rgb.insert(rgb.end(),
               {static_cast<float>(k % kSide) / 20, static_cast<float>(k / kSide) / 20, 0.5F});  // NOLINT
  }
  RenderSurfaceWithColorsAndNormalsf3(h.data(), Normals(h).data(), rgb.data(), kSide, kSide, 1, 1,
                                      GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_PIXEL(image, 1, 1, 3, {2, 2, 128});
  EXPECT_PIXEL(image, 198, 1, 3, {253, 2, 128});
  EXPECT_PIXEL(image, 1, 198, 3, {2, 253, 128});
  EXPECT_PIXEL(image, 100, 50, 3, {128, 64, 128});
}

TEST_F(SurfacePixels, DarkenedColor) {
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double x, double) { return x; });
  RenderSurfaceWithNormalsf4(h.data(), Normals(h).data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1,
                             1, 0x0080FF, ao.data());
  const Image image = Drawn();
  EXPECT_PIXEL(image, 199, 100, 2, {254, 128, 0});
  EXPECT_PIXEL(image, 100, 100, 2, {128, 64, 0});
  EXPECT_PIXEL(image, 0, 100, 2, {1, 0, 0});
}

TEST_F(SurfacePixels, ProjectedMapSeenThroughTheHole) {
  auto h = Grid([](double, double) { return 0.1; });
  for (int row = 5; row <= 15; ++row) {
    for (int column = 5; column <= 15; ++column) h[static_cast<std::size_t>(row * kSide + column)] = kBad;
  }
  const auto tex = Grid([](double x, double) { return x; });
  glColor3f(0, 1, 0);
  RenderSurfacef2(h.data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  UseColorMap();
  RenderProjectedSurfaceWithTexture(tex.data(), kSide, kSide, 1, 1, 2, GL_TRIANGLE_STRIP, -0.25F, kX, kY, 1,
                                    1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), 0);
  EXPECT_PIXEL(image, 20, 100, 0, {0, 255, 0});  // in front of the map
  EXPECT_PIXEL(image, 60, 100, 4, {77, 0, 178});
  EXPECT_PIXEL(image, 140, 100, 4, {179, 0, 76});
}

TEST_F(SurfacePixels, ProjectedMapWithHoles) {
  const auto h = Grid([](double x, double) { return x > 0.5 ? double{kBad} : 0.0; });
  const auto tex = Grid([](double, double) { return 1.0; });
  UseColorMap();
  RenderProjectedSurfaceWithTexture2(h.data(), tex.data(), kSide, kSide, 1, 1, 1, GL_TRIANGLE_STRIP, 0.25F,
                                     kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), kPixels * kPixels / 2);
  EXPECT_PIXEL(image, 98, 3, 1, {255, 0, 0});
  EXPECT_PIXEL(image, 102, 3, 0, kBackground);
}

TEST_F(SurfacePixels, ImageDrapedOverTheSurface) {
  const auto h = Grid([](double x, double y) { return 0.3 * std::sin(6 * x) * y; });
  const std::uint8_t quarters[] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255};
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, quarters);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  glEnable(GL_TEXTURE_2D);
  RenderSurfaceWith2DTexturef2(h.data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), 0);
  EXPECT_PIXEL(image, 50, 50, 0, {255, 0, 0});
  EXPECT_PIXEL(image, 150, 50, 0, {0, 255, 0});
  EXPECT_PIXEL(image, 50, 150, 0, {0, 0, 255});
  EXPECT_PIXEL(image, 150, 150, 0, {255, 255, 255});
  EXPECT_NEAR(image.Count({255, 0, 0}), kPixels * kPixels / 4, kPixels);
}

TEST_F(SurfacePixels, ShaderTakesAmbientOcclusion) {
  ASSERT_NO_FATAL_FAILURE(UseAttributeProgram(7, "ambient_occlusion"));
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double x, double) { return x; });
  RenderSurfaceWithNormalsf5(h.data(), Normals(h).data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1,
                             1, 7, ao.data());
  const Image image = Drawn();
  for (const int x : {5, 100, 195}) EXPECT_PIXEL(image, x, 100, 3, {x * 255 / 200, x * 255 / 200, 0});
}

TEST_F(SurfacePixels, ShaderTakesAmbientOcclusionWithTexture) {
  ASSERT_NO_FATAL_FAILURE(UseAttributeProgram(0, "ambient_occlusion"));
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double, double y) { return y; });
  RenderSurfaceWithTextureAndNormalsf4(h.data(), Normals(h).data(), h.data(), kSide, kSide, 2, 2,
                                       GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1, 0, ao.data());
  const Image image = Drawn();
  for (const int y : {5, 100, 195}) EXPECT_PIXEL(image, 100, y, 3, {y * 255 / 200, y * 255 / 200, 0});
}

TEST_F(SurfacePixels, ShaderTakesAccessibility) {
  ASSERT_NO_FATAL_FAILURE(UseAttributeProgram(39, "Accessibility"));
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double, double) { return 0.75; });
  RenderSurfaceWithNormalsWithAmbOccf(h.data(), Normals(h).data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1,
                                      kX, kY, 1, 1, 39, ao.data());
  EXPECT_EQ(Drawn().Count({191, 191, 0}), kPixels * kPixels);
}

TEST_F(SurfacePixels, DoublesInTheUnitFrame) {
  const std::vector<double> h(kSamples, 0.25);
  std::vector<double> normals(3 * kSamples);
  ComputeSurfaceNormals(h.data(), kSide, kSide, normals.data());
  RenderSurface(h.data(), normals.data(), kSide, kSide, 0);
  EXPECT_EQ(glIsEnabled(GL_NORMALIZE), GL_TRUE);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), 0);
  EXPECT_PIXEL(image, 3, 197, 1, {128, 128, 128});
}

TEST_F(SurfacePixels, DoublesWithGreyAndTexture) {
  const std::vector<double> h(kSamples, 0.25), half(kSamples, 0.5);
  std::vector<double> normals(3 * kSamples);
  ComputeSurfaceNormals(h.data(), kSide, kSide, normals.data());
  RenderSurfaceWithColorsAndNormals(h.data(), normals.data(), half.data(), kSide, kSide, 6, GL_QUAD_STRIP,
                                    1.0);
  const Image grey = Drawn();
  EXPECT_EQ(grey.Count(kBackground), 0);
  EXPECT_PIXEL(grey, 199, 199, 1, {128, 128, 128});
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  UseColorMap();
  RenderSurfaceWithTextureAndNormals(h.data(), normals.data(), half.data(), kSide, kSide, 6, GL_QUAD_STRIP,
                                     1.0);
  EXPECT_PIXEL(Drawn(), 199, 199, 2, {128, 0, 127});
}

}  // namespace
