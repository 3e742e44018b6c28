#include "plots/image.h"

#include <algorithm>
#include <cmath>

namespace qv3d {

Image::Image(int width, int height, Colour fill)
    : width_(width),
      height_(height),
      bytes_(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
  FillRectangle(0, 0, width, height, fill);
}

void Image::Blend(int x, int y, Colour colour, double share) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
  std::uint8_t* const pixel = Pixel(x, y);
  for (std::size_t i = 0; i < 3; ++i) {
    pixel[i] = static_cast<std::uint8_t>(std::lround(pixel[i] + (colour[i] - pixel[i]) * share));
  }
}

void Image::FillRectangle(int x, int y, int width, int height, Colour colour) {
  for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row) {
    for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column) {
      std::copy(colour.begin(), colour.end(), Pixel(column, row));
    }
  }
}

void Image::Paste(const Image& other, int x, int y) {
  for (int row = std::max(0, -y); row < std::min(other.height_, height_ - y); ++row) {
    for (int column = std::max(0, -x); column < std::min(other.width_, width_ - x); ++column) {
      std::copy_n(other.Pixel(column, row), 3, Pixel(x + column, y + row));
    }
  }
}

Image Downsample(const Image& large, int factor) {
  Image small(large.width() / factor, large.height() / factor);
  const int area = factor * factor;
  for (int y = 0; y < small.height(); ++y) {
    for (int x = 0; x < small.width(); ++x) {
      int sum[3] = {0, 0, 0};
      for (int v = 0; v < factor; ++v) {
        const std::uint8_t* at = large.Pixel(x * factor, y * factor + v);
        for (int u = 0; u < factor; ++u) {
          for (int i = 0; i < 3; ++i) sum[i] += *at++;
        }
      }
      for (int i = 0; i < 3; ++i)
        small.Pixel(x, y)[i] = static_cast<std::uint8_t>((sum[i] + area / 2) / area);
    }
  }
  return small;
}

}  // namespace qv3d
