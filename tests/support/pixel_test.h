// What the tests that draw off-screen share: the picture, the grids in it and the look of a pixel.
#pragma once

#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <source_location>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "tests/support/offscreen.h"

namespace qv::test {

constexpr int kPixels = 200;  ///< width and height of the picture
constexpr int kSide = 21;     ///< samples along either side of a grid over the unit square
constexpr int kSamples = kSide * kSide;
constexpr Pixel kBackground = {255, 0, 255};

template <class Real = float>
std::vector<Real> Grid(const std::function<double(double, double)>& f) {
  std::vector<Real> values;
  for (int k = 0; k < kSamples; ++k) {
    values.push_back(
        static_cast<Real>(f((k % kSide) / (kSide - 1.0), (k / kSide) / (kSide - 1.0))));  // NOLINT
  }
  return values;
}

inline bool Near(Pixel p, Pixel q, int tolerance) {
  return std::abs(p.red - q.red) <= tolerance && std::abs(p.green - q.green) <= tolerance &&
         std::abs(p.blue - q.blue) <= tolerance;
}

inline void ExpectPixel(const Image& image, int x, int y, Pixel expected, int tolerance = 0,
                        std::source_location where = std::source_location::current()) {
  const Pixel actual = image.At(x, y);
  EXPECT_TRUE(Near(actual, expected, tolerance))
      << "line " << where.line() << ": pixel " << x << ", " << y << " is " << actual.red << ' '
      << actual.green << ' ' << actual.blue << ", expected " << expected.red << ' ' << expected.green << ' '
      << expected.blue;
}

/// The unit square around the origin fills the picture; the viewer looks down along z.
class PixelTest : public ::testing::Test {
 protected:
  PixelTest() : screen(kPixels, kPixels) {}

  void SetUp() override {
    ASSERT_EQ(screen.Problem(), "");
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-0.5, 0.5, -0.5, 0.5, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glClearColor(1, 0, 1, 1);
    Clear();
  }

  static void Clear() { glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT); }

  /// The image so far. It is kept as a file beside the test, to be looked at.
  Image Drawn() const {
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    Image image = screen.Read();
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    SaveImage(image, std::string(test->name()) + ".png");
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
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glEnable(GL_TEXTURE_1D);
    glColor3f(1, 1, 1);
  }

  Offscreen screen;
};

}  // namespace qv::test
