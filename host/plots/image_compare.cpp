#include "plots/image_compare.h"

#include <algorithm>
#include <cmath>

namespace qv3d {

ImageDifference Compare(const Image& a, const Image& b) {
  // Differences are seldom large, and are to be seen.
  constexpr int kBrighter = 8;
  ImageDifference result{0, 0, Image(a.width(), a.height(), {0, 0, 0})};
  double sum = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      for (int i = 0; i < 3; ++i) {
        const int d = std::abs(a.Pixel(x, y)[i] - b.Pixel(x, y)[i]);
        sum += d;
        result.largest = std::max(result.largest, d);
        result.picture.Pixel(x, y)[i] = static_cast<std::uint8_t>(std::min(255, kBrighter * d));
      }
    }
  }
  result.mean = sum / static_cast<double>(std::max<std::size_t>(1, a.bytes().size()));
  return result;
}

}  // namespace qv3d
