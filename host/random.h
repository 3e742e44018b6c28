// A small random generator of our own, so that the standard library's choice does not change what is made
// with it: the same numbers on every machine.
#pragma once

#include <cstdint>

namespace qv3d {

class Random {
 public:
  /// The seed must not be 0.
  explicit Random(std::uint64_t seed) : state_(seed) {}

  /// From 0 up to, not including, 1.
  double Uniform() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return static_cast<double>((state_ * 2685821657736338717ULL) >> 11) * 0x1p-53;
  }

  /// About normally distributed with standard deviation 1: the sum of twelve uniform numbers.
  double Normal() {
    double sum = -6;
    for (int i = 0; i < 12; ++i) sum += Uniform();
    return sum;
  }

 private:
  std::uint64_t state_;
};

}  // namespace qv3d
