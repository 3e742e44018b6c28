// An OpenGL context without a window to look at, and what was drawn in it. On Linux through EGL, on Windows
// through a hidden window whose pixel format the library picks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qv::test {

struct Pixel {
  int red, green, blue;
  friend bool operator==(const Pixel&, const Pixel&) = default;
};

struct Image {
  int width, height;
  std::vector<std::uint8_t> rgb;  ///< row by row, the lowest first

  Pixel At(int x, int y) const {
    const std::uint8_t* p = &rgb[3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                      static_cast<std::size_t>(x))];
    return {p[0], p[1], p[2]};
  }
  int Count(Pixel pixel) const;
};

/// Makes a context current as long as it lives, and draws into a framebuffer of this size with 24 bits of
/// depth and 8 of stencil.
class Offscreen {
 public:
  Offscreen(int width, int height);
  ~Offscreen();
  Offscreen(const Offscreen&) = delete;
  Offscreen& operator=(const Offscreen&) = delete;

  /// Empty when all is well, else what failed.
  const std::string& Problem() const { return problem_; }
  Image Read() const;

 private:
  void MakeFramebuffer();

  struct Context;
  int width_, height_;
  std::string problem_;
  Context* context_ = nullptr;
  unsigned framebuffer_ = 0, color_ = 0, depth_ = 0;
};

/// Writes a PNG file, to be looked at. Does nothing where there is no libpng.
void SaveImage(const Image& image, const std::string& path);

}  // namespace qv::test
