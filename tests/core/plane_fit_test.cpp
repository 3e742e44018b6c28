#include "core/plane_fit.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Guarded;
using qv::test::Random;

struct Fit {
  int found;
  float a, b, c;
};

Fit FitPlane(const std::vector<float>& points, int count) {
  const Guarded<float> input(points);
  Guarded<float> plane(3);
  const int found = FitLSPlane(input.data(), count, &plane[0], &plane[1], &plane[2]);
  EXPECT_TRUE(qv::test::SameBits(input.data(), points.data(), points.size()));
  return {found, plane[0], plane[1], plane[2]};
}

Fit FitPlane(const std::vector<float>& points) {
  return FitPlane(points, static_cast<int>(points.size() / 3));
}

TEST(FitLSPlane, FourPointsOfAPlane_FindsIt) {
  const Fit fit = FitPlane({0, 0, 1, 1, 0, 3, 0, 1, 0, 1, 1, 2});
  EXPECT_EQ(fit.found, 1);
  EXPECT_FLOAT_EQ(fit.a, 2);
  EXPECT_FLOAT_EQ(fit.b, -1);
  EXPECT_FLOAT_EQ(fit.c, 1);
}

TEST(FitLSPlane, TooFewOrCollinearPoints_ReturnsZeroWithStartValues) {
  for (const auto& points :
       {std::vector<float>{}, {1, 2, 3}, {0, 0, 0, 1, 1, 1, 2, 2, 2}, {0, 0, 0, 1, 0, 5}}) {
    const Fit fit = FitPlane(points);
    EXPECT_EQ(fit.found, 0);
    EXPECT_EQ(fit.a, 1e32F);
    EXPECT_EQ(fit.b, 1e32F);
    EXPECT_EQ(fit.c, 1e32F);
  }
  EXPECT_EQ(FitPlane({1, 2, 3}, -7).found, 0);
}

TEST(FitLSPlane, NaNInThePoints_CountsAsFound) {
  const Fit fit = FitPlane({0, 0, 1, 1, 0, 3, std::numeric_limits<float>::quiet_NaN(), 1, 0, 1, 1, 2});
  EXPECT_EQ(fit.found, 1);
  EXPECT_TRUE(std::isnan(fit.a) && std::isnan(fit.b) && std::isnan(fit.c));
}

TEST(FitLSPlane, MissingHeights_ArePointsLikeAnyOther) {
  EXPECT_LT(FitPlane({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, -1e10F}).a, -1e9F);
}

TEST(FitLSPlane, SumsOfYSquaredAndYZ_AreRoundedToFloatAtEveryPoint) {
  // 2^24 + 1 is no float: while y*y sums up past 2^24, additions of 1 are lost one by one. A double sum would
  // keep them, and the slope along y would differ in the third digit.
  std::vector<float> points = {0, 4096, 4096, 1, 0, 0, 0, 0, 0};
  const std::size_t lost = 100000;
  for (std::size_t i = 0; i < lost; ++i) points.insert(points.end(), {0, 1, 0});
  const Fit fit = FitPlane(points);
  double sx = 1, sy = 4096 + double{lost}, sz = 4096, sxx = 1;
  const double syy = 4096.0 * 4096, syz = 4096.0 * 4096, n = 3 + double{lost};
  // Normal equations with sxy = sxz = 0, solved exactly.
  const double determinant = sxx * (syy * n - sy * sy) - sx * (syy * sx);
  const double b = (sxx * (syz * n - sy * sz) - sx * (syz * sx)) / determinant;
  EXPECT_EQ(fit.found, 1);
  EXPECT_NEAR(fit.b, b, 1e-6 * std::fabs(b));
  const double exactSyy = syy + double{lost};
  const double exactDeterminant = sxx * (exactSyy * n - sy * sy) - sx * (exactSyy * sx);
  const double exactB = (sxx * (syz * n - sy * sz) - sx * (syz * sx)) / exactDeterminant;
  EXPECT_GT(std::fabs(fit.b - exactB), 1e-4 * std::fabs(b));
}

TEST(FitLSPlane, RandomPlanesWithNoise_AreFound) {
  Random random(21);
  for (int round = 0; round < 200; ++round) {
    const double a = random.Between(-2.0, 2.0), b = random.Between(-2.0, 2.0), c = random.Between(-2.0, 2.0);
    std::vector<float> points;
    for (int i = 0; i < 400; ++i) {
      const double x = random.Between(-1.0, 1.0), y = random.Between(-1.0, 1.0);
      const double z = a * x + b * y + c + random.Between(-1e-3, 1e-3);
      points.insert(points.end(), {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
    const Fit fit = FitPlane(points);
    ASSERT_EQ(fit.found, 1);
    ASSERT_NEAR(fit.a, a, 3e-4);
    ASSERT_NEAR(fit.b, b, 3e-4);
    ASSERT_NEAR(fit.c, c, 3e-4);
  }
}

TEST(SolveLinear3x3, DeterminantBelowTheThreshold_WritesNothing) {
  const float matrix[9] = {1e-11F, 0, 0, 0, 1e-11F, 0, 0, 0, 1e-11F}, right[3] = {1, 2, 3};
  Guarded<float> solution(3);
  EXPECT_FALSE(qv::SolveLinear3x3(matrix, right, solution.data()));  // 1e-33
  EXPECT_TRUE(solution.Untouched());
  const float larger[9] = {1.1e-10F, 0, 0, 0, 1e-11F, 0, 0, 0, 1e-11F};
  EXPECT_TRUE(qv::SolveLinear3x3(larger, right, solution.data()));  // 1.1e-32
}

TEST(SolveLinear3x3, RandomSystems_AgreeWithElimination) {
  Random random(22);
  for (int round = 0; round < 500; ++round) {
    float matrix[9], right[3], solution[3];
    for (float& m : matrix) m = static_cast<float>(random.Between(-1.0, 1.0));
    for (int i = 0; i < 3; ++i) matrix[4 * i] += 3;  // well conditioned
    for (float& r : right) r = static_cast<float>(random.Between(-1.0, 1.0));
    ASSERT_TRUE(qv::SolveLinear3x3(matrix, right, solution));
    for (int row = 0; row < 3; ++row) {
      double product = 0;
      for (int k = 0; k < 3; ++k) product += static_cast<double>(matrix[3 * row + k]) * solution[k];
      ASSERT_NEAR(product, right[row], 2e-6);
    }
  }
}

}  // namespace
