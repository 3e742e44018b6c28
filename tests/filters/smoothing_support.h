// Comparisons shared by the tests of the line filters.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/smoothing_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace qv::test {

inline constexpr float kBad = -1e10F;
inline constexpr float kInfinity = std::numeric_limits<float>::infinity();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Equal bits; a NaN equals any NaN, whose bits no operation fixes.
template <class T>
::testing::AssertionResult SameNumbers(const std::vector<T>& actual, const std::vector<T>& expected) {
  if (actual.size() != expected.size()) return ::testing::AssertionFailure() << "sizes differ";
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (std::isnan(actual[i]) && std::isnan(expected[i])) continue;
    if (std::memcmp(&actual[i], &expected[i], sizeof(T)) == 0) continue;
    return ::testing::AssertionFailure() << "element " << i << " of " << actual.size() << " is " << actual[i]
                                         << ", expected " << expected[i];
  }
  return ::testing::AssertionSuccess();
}

using SeparableFilter = unsigned(QV_CALL*)(int, int, float, float, float, const float*, float*, float*);

struct Spacings {
  float dx, dy, cutoff;
};

/// Runs a separable filter between guard bands and checks status and input.
inline reference::Split RunSeparable(SeparableFilter filter, int nx, int ny, const Spacings& s,
                                     const std::vector<float>& in) {
  const Guarded<float> input(in);
  Guarded<float> residual(in.size()), filtered(in.size());
  EXPECT_EQ(filter(nx, ny, s.dx, s.dy, s.cutoff, input.data(), residual.data(), filtered.data()), 0U);
  EXPECT_TRUE(SameBits(input.data(), in.data(), in.size()));
  return {residual.Values(), filtered.Values()};
}

/// A mixture of ordinary grids and of what breaks running sums.
inline GridKind AnyKind(Random& random) {
  GridKind kind;
  const double scales[] = {1, 1, 1000, 1e-3, 1e-30, 1e-38, 1e-44, 1e30, 3e38};
  kind.magnitude = scales[random.Below(9)];
  if (random.Chance(0.3)) kind.missing = random.Unit() * 0.1;
  if (random.Chance(0.1)) kind.nan = 0.01;
  if (random.Chance(0.1)) kind.infinite = 0.01;
  if (random.Chance(0.3)) kind.repeated = random.Unit();
  return kind;
}

}  // namespace qv::test
