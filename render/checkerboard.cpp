// The two-colour checkerboard behind a drawn surface.
#include <cstddef>
#include <cstdint>

#include "exports/QV_3D.h"

namespace {

struct Pixel {
  explicit Pixel(unsigned color)
      : red(static_cast<std::uint8_t>(color & 0xFFU)),
        green(static_cast<std::uint8_t>(color >> 8 & 0xFFU)),
        blue(static_cast<std::uint8_t>(color >> 16 & 0xFFU)) {}
  std::uint8_t red, green, blue;
};

/// The squares change at the ninth, nineteenth ... row and column, so that the first ones are nine pixels
/// wide and high and all others ten: kept, hosts align their pictures with it.
bool Odd(std::ptrdiff_t position) {
  return (position + 1) / 10 % 2 != 0;
}

}  // namespace

unsigned QV_CALL CreateCheckerboardBackground(unsigned char* image, const unsigned char* mask, int width,
                                              int height, unsigned color1, unsigned color2) {
  const Pixel different(color1), equal(color2);
  for (std::ptrdiff_t row = 0; row < height; ++row) {
    for (std::ptrdiff_t column = 0; column < width; ++column) {
      const std::ptrdiff_t index = row * width + column;
      if (mask[index] != 255) continue;
      const Pixel& pixel = Odd(row) == Odd(column) ? equal : different;
      image[3 * index] = pixel.red;
      image[3 * index + 1] = pixel.green;
      image[3 * index + 2] = pixel.blue;
    }
  }
  return 0;
}
