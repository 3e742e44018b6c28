// Cross-section profiles written down value by value: slow and obvious.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qv::test::reference {

struct ProfileRequest {
  int width, height, direction, bandMode;
  float position, halfBand, scale;
};

inline bool BadBits(float z) {
  return std::bit_cast<std::uint32_t>(z) == 0xD01502F9U;
}
inline bool BadValue(float z) {
  return z == -1e10F || std::isnan(z);
}

/// `before`: what the profile held.
inline std::vector<float> ReferenceProfile(const ProfileRequest& q, const std::vector<float>& heights,
                                           const std::vector<float>& before) {
  std::vector<float> out = before;
  const bool row = q.direction == 0;
  const int last = (row ? q.height : q.width) - 1;
  const int count = row ? q.width : q.height;
  const float centre = static_cast<float>(last) * q.position;
  double lower = std::floor(static_cast<double>(centre) - static_cast<double>(q.halfBand));
  double upper = std::floor(static_cast<double>(centre) + static_cast<double>(q.halfBand));
  lower = std::fmax(std::fmin(lower, last), 0.0);
  upper = std::fmax(std::fmin(upper, last), 0.0);
  const int lo = static_cast<int>(lower), hi = static_cast<int>(upper);
  // The sample of line `line` that belongs to value k of the profile.
  const auto at = [&](int line, int k) {
    return row ? heights[static_cast<std::size_t>(line) * q.width + k]
               : heights[static_cast<std::size_t>(q.height - 1 - k) * q.width + line];
  };
  for (int k = 0; k < count; ++k) {
    if (lo == hi) {
      const float h0 = at(lo, k), h1 = at(lo < last ? lo + 1 : lo, k);
      if (row ? BadBits(h0) : BadValue(h0)) {
        out[k] = -1e10F;
      } else if (BadBits(h1)) {
        out[k] = h0;
      } else {
        out[k] = static_cast<float>((static_cast<double>(h1) - h0) * (static_cast<double>(centre) - lo) + h0);
      }
      continue;
    }
    float greatest = -1e32F, smallest = 1e32F, sum = 0;
    int used = 0;
    for (int line = lo; line <= hi; ++line) {
      const float z = at(line, k);
      if (BadValue(z)) continue;
      if (z > greatest) greatest = z;
      if (z < smallest) smallest = z;
      sum += z;
      ++used;
    }
    if (q.bandMode == 0) out[k] = greatest;
    if (q.bandMode == 1) out[k] = sum / static_cast<float>(used);
    if (q.bandMode == 2) out[k] = smallest;
  }
  for (float& value : out) {
    if (!BadValue(value)) value *= q.scale;
  }
  return out;
}

}  // namespace qv::test::reference
