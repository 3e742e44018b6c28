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
#include "tests/support/pixel_test.h"

namespace {

using namespace qv::test;

constexpr float kBad = -1e10F;
constexpr float kX = -0.5F, kY = 0.5F;  // the y offset is subtracted

std::vector<float> Normals(const std::vector<float>& h) {
  std::vector<float> normals(3 * h.size());
  ComputeSurfaceNormalsf(h.data(), kSide, kSide, normals.data(), kX, kY, 1, 1);
  return normals;
}

class SurfacePixels : public qv::test::PixelTest {
 protected:
  ~SurfacePixels() override { qv::render::shaderSlots = {}; }

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
  ExpectPixel(image, 50, 5, {6, 0, 249}, 4);
  ExpectPixel(image, 50, 195, {249, 0, 6}, 4);
  ExpectPixel(image, 50, 100, {128, 0, 127}, 4);
  ExpectPixel(image, 150, 100, {0, 0, 0}, 4);
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
  ExpectPixel(image, 100, 100, kBackground);
  ExpectPixel(image, 107, 107, {0, 255, 0});
  ExpectPixel(image, 93, 93, {0, 255, 0});
  ExpectPixel(image, 92, 108, {0, 255, 0});
  ExpectPixel(image, 108, 92, {0, 255, 0});
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
  ExpectPixel(image, 55, 100, kBackground);
  ExpectPixel(image, 145, 100, kBackground);
  ExpectPixel(image, 65, 100, {83, 0, 172}, 4);
  ExpectPixel(image, 135, 100, {173, 0, 82}, 4);
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
    for (const int y : {2, 131, 198}) ExpectPixel(image, x, y, {shade, shade, shade}, 2);
  }
}

TEST_F(SurfacePixels, GreyLevels) {
  const auto h = Grid([](double, double) { return 0.0; });
  const auto grey = Grid([](double x, double y) { return (x + y) / 2; });
  RenderSurfaceWithColorsAndNormalsf(h.data(), Normals(h).data(), grey.data(), kSide, kSide, 1,
                                     GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1);
  const Image image = Drawn();
  ExpectPixel(image, 0, 0, {1, 1, 1}, 2);
  ExpectPixel(image, 100, 100, {128, 128, 128}, 2);
  ExpectPixel(image, 199, 199, {254, 254, 254}, 2);
  ExpectPixel(image, 199, 0, {127, 127, 127}, 2);
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
  ExpectPixel(image, 1, 1, {2, 2, 128}, 3);
  ExpectPixel(image, 198, 1, {253, 2, 128}, 3);
  ExpectPixel(image, 1, 198, {2, 253, 128}, 3);
  ExpectPixel(image, 100, 50, {128, 64, 128}, 3);
}

TEST_F(SurfacePixels, DarkenedColor) {
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double x, double) { return x; });
  RenderSurfaceWithNormalsf4(h.data(), Normals(h).data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1,
                             1, 0x0080FF, ao.data());
  const Image image = Drawn();
  ExpectPixel(image, 199, 100, {254, 128, 0}, 2);
  ExpectPixel(image, 100, 100, {128, 64, 0}, 2);
  ExpectPixel(image, 0, 100, {1, 0, 0}, 2);
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
  ExpectPixel(image, 20, 100, {0, 255, 0});  // in front of the map
  ExpectPixel(image, 60, 100, {77, 0, 178}, 4);
  ExpectPixel(image, 140, 100, {179, 0, 76}, 4);
}

TEST_F(SurfacePixels, ProjectedMapWithHoles) {
  const auto h = Grid([](double x, double) { return x > 0.5 ? double{kBad} : 0.0; });
  const auto tex = Grid([](double, double) { return 1.0; });
  UseColorMap();
  RenderProjectedSurfaceWithTexture2(h.data(), tex.data(), kSide, kSide, 1, 1, 1, GL_TRIANGLE_STRIP, 0.25F,
                                     kX, kY, 1, 1);
  const Image image = Drawn();
  EXPECT_EQ(image.Count(kBackground), kPixels * kPixels / 2);
  ExpectPixel(image, 98, 3, {255, 0, 0}, 1);
  ExpectPixel(image, 102, 3, kBackground);
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
  ExpectPixel(image, 50, 50, {255, 0, 0});
  ExpectPixel(image, 150, 50, {0, 255, 0});
  ExpectPixel(image, 50, 150, {0, 0, 255});
  ExpectPixel(image, 150, 150, {255, 255, 255});
  EXPECT_NEAR(image.Count({255, 0, 0}), kPixels * kPixels / 4, kPixels);
}

TEST_F(SurfacePixels, ShaderTakesAmbientOcclusion) {
  ASSERT_NO_FATAL_FAILURE(UseAttributeProgram(7, "ambient_occlusion"));
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double x, double) { return x; });
  RenderSurfaceWithNormalsf5(h.data(), Normals(h).data(), kSide, kSide, 1, 1, GL_TRIANGLE_STRIP, 1, kX, kY, 1,
                             1, 7, ao.data());
  const Image image = Drawn();
  for (const int x : {5, 100, 195}) ExpectPixel(image, x, 100, {x * 255 / 200, x * 255 / 200, 0}, 3);
}

TEST_F(SurfacePixels, ShaderTakesAmbientOcclusionWithTexture) {
  ASSERT_NO_FATAL_FAILURE(UseAttributeProgram(0, "ambient_occlusion"));
  const auto h = Grid([](double, double) { return 0.0; });
  const auto ao = Grid([](double, double y) { return y; });
  RenderSurfaceWithTextureAndNormalsf4(h.data(), Normals(h).data(), h.data(), kSide, kSide, 2, 2,
                                       GL_TRIANGLE_STRIP, 1, kX, kY, 1, 1, 0, ao.data());
  const Image image = Drawn();
  for (const int y : {5, 100, 195}) ExpectPixel(image, 100, y, {y * 255 / 200, y * 255 / 200, 0}, 3);
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
  ExpectPixel(image, 3, 197, {128, 128, 128}, 1);
}

TEST_F(SurfacePixels, DoublesWithGreyAndTexture) {
  const std::vector<double> h(kSamples, 0.25), half(kSamples, 0.5);
  std::vector<double> normals(3 * kSamples);
  ComputeSurfaceNormals(h.data(), kSide, kSide, normals.data());
  RenderSurfaceWithColorsAndNormals(h.data(), normals.data(), half.data(), kSide, kSide, 6, GL_QUAD_STRIP,
                                    1.0);
  const Image grey = Drawn();
  EXPECT_EQ(grey.Count(kBackground), 0);
  ExpectPixel(grey, 199, 199, {128, 128, 128}, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  UseColorMap();
  RenderSurfaceWithTextureAndNormals(h.data(), normals.data(), half.data(), kSide, kSide, 6, GL_QUAD_STRIP,
                                     1.0);
  ExpectPixel(Drawn(), 199, 199, {128, 0, 127}, 2);
}

}  // namespace
