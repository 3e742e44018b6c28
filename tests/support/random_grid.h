// Random grids for property tests: the same ones on every run and platform.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace qv::test {

/// SplitMix64: small, and the same everywhere, unlike the distributions of <random>.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  int Below(int n) { return static_cast<int>(Next() % static_cast<std::uint64_t>(n)); }
  int Between(int low, int high) { return low + Below(high - low + 1); }
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
  double Between(double low, double high) { return low + (high - low) * Unit(); }
  bool Chance(double probability) { return Unit() < probability; }

 private:
  std::uint64_t state_;
};

struct GridKind {
  double missing = 0;    ///< share of samples that are the sentinel
  double nan = 0;        ///< share of NaN
  double infinite = 0;   ///< share of infinities
  double repeated = 0;   ///< share of small whole numbers and signed zeros: ties
  double magnitude = 1;  ///< of the others
};

template <class T = float>
std::vector<T> RandomSamples(Random& random, std::size_t count, const GridKind& kind) {
  std::vector<T> samples(count);
  for (T& z : samples) {
    z = static_cast<T>(random.Between(-kind.magnitude, kind.magnitude));
    if (random.Chance(kind.repeated)) {
      z = static_cast<T>(random.Between(-2, 2));
      if (z == 0 && random.Chance(0.5)) z = -z;
    }
    if (random.Chance(kind.infinite)) {
      z = std::numeric_limits<T>::infinity();
      if (random.Chance(0.5)) z = -z;
    }
    if (random.Chance(kind.nan)) z = std::numeric_limits<T>::quiet_NaN();
    if (random.Chance(kind.missing)) z = static_cast<T>(-1e10);
  }
  return samples;
}

}  // namespace qv::test
