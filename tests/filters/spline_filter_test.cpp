#include "filters/spline_filter.h"

#include <cfloat>

#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using qv::reference::Separable;
using qv::reference::SplineLine;
using qv::reference::Split;

void ExpectReference(int nx, int ny, const Spacings& s, const std::vector<float>& in) {
  const Split expected = Separable(nx, ny, s.dx, s.dy, s.cutoff, in, SplineLine);
  ForEachVariant([&] {
    const Split split = RunSeparable(SplineFilter, nx, ny, s, in);
    ASSERT_TRUE(SameNumbers(split.filtered, expected.filtered));
    ASSERT_TRUE(SameNumbers(split.residual, expected.residual));
  });
}

TEST(SplineFilter, CutoffZero_PassesTheInputThrough) {
  const std::vector<float> in = {1, -2, 3, kBad, 5, 6.5F, 7, 8, 9, 10, 11, 12};
  for (const float zero : {0.0F, -0.0F}) {
    ForEachVariant([&] {
      const Split split = RunSeparable(SplineFilter, 4, 3, {1, 1, zero}, in);
      EXPECT_TRUE(SameNumbers(split.filtered, in));
      EXPECT_TRUE(SameNumbers(split.residual, std::vector<float>(12, 0.0F)));
    });
  }
}

TEST(SplineFilter, StraightLine_IsReproduced) {
  for (const int n : {4, 5, 31, 32, 33, 200}) {
    std::vector<float> in;
    for (int k = 0; k < n; ++k) in.push_back(static_cast<float>(0.25 * k - 3));
    ForEachVariant([&] {
      for (const float cutoff : {2.5F, 8.0F, 20.0F}) {
        const Split split = RunSeparable(SplineFilter, n, 1, {1, 1, cutoff}, in);
        // The rounding of intermediate values is amplified by the stiffness.
        const double tolerance = 1e-6 * n * cutoff;
        for (std::size_t k = 0; k < in.size(); ++k) {
          ASSERT_NEAR(split.filtered[k], in[k], tolerance) << n << " " << cutoff << " " << k;
        }
      }
    });
  }
}

TEST(SplineFilter, ShortLines_AreLeftAsTheyAre) {
  Random random(11);
  for (const int ny : {1, 2}) {
    for (const int nx : {1, 2}) {
      const auto in = RandomSamples(random, static_cast<std::size_t>(nx) * ny, {});
      ForEachVariant([&] {
        EXPECT_TRUE(SameNumbers(RunSeparable(SplineFilter, nx, ny, {1, 1, 8}, in).filtered, in));
      });
    }
  }
}

// The solution of the dense system, by elimination with pivoting in long double.
std::vector<long double> SolveDense(const std::vector<float>& z, double a) {
  const std::size_t n = z.size();
  std::vector<std::vector<long double>> rows(n, std::vector<long double>(n + 1, 0));
  for (std::size_t k = 0; k + 2 < n; ++k) {  // the sum of squared second differences
    const long double d[3] = {1, -2, 1};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) rows[k + i][k + j] += a * d[i] * d[j];
    }
  }
  for (std::size_t k = 0; k < n; ++k) rows[k][k] += 1, rows[k][n] = z[k];
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t r = k; r < n; ++r) pivot = std::fabs(rows[r][k]) > std::fabs(rows[pivot][k]) ? r : pivot;
    std::swap(rows[k], rows[pivot]);
    for (std::size_t r = 0; r < n; ++r) {
      if (r == k) continue;
      const long double factor = rows[r][k] / rows[k][k];
      for (std::size_t c = k; c <= n; ++c) rows[r][c] -= factor * rows[k][c];
    }
  }
  std::vector<long double> solution(n);
  for (std::size_t k = 0; k < n; ++k) solution[k] = rows[k][n] / rows[k][k];
  return solution;
}

TEST(SplineFilter, RandomLines_SolveTheDenseSystem) {
  Random random(12);
  for (int round = 0; round < 60; ++round) {
    const int n = random.Between(4, 60);
    const auto in = RandomSamples(random, static_cast<std::size_t>(n), {.magnitude = 10});
    const auto cutoff = static_cast<float>(random.Between(2.1, 20.0));
    const auto expected = SolveDense(in, qv::filters::SplineStiffness(cutoff, 1));
    const Split split = RunSeparable(SplineFilter, n, 1, {1, 1, cutoff}, in);
    for (std::size_t k = 0; k < in.size(); ++k) {
      ASSERT_NEAR(split.filtered[k], static_cast<double>(expected[k]), 1e-4 * cutoff) << n << " " << cutoff;
    }
  }
}

TEST(SplineFilter, Sine_HalfPassesAtTheCutoff) {
  const int n = 2000;
  std::vector<float> in;
  for (int k = 0; k < n; ++k) in.push_back(static_cast<float>(std::sin(2 * 3.14159265358979 * k / 40)));
  const Split split = RunSeparable(SplineFilter, n, 1, {1, 1, 40}, in);
  for (std::size_t k = 500; k < 1500; ++k) ASSERT_NEAR(split.filtered[k], 0.5 * in[k], 1e-3);
}

TEST(SplineFilter, RandomGrids_EqualTheReference) {
  Random random(13);
  for (int round = 0; round < 400; ++round) {
    const int nx = random.Between(1, 80), ny = random.Between(1, 80);
    const auto in = RandomSamples(random, static_cast<std::size_t>(nx) * ny, AnyKind(random));
    const float dx = static_cast<float>(random.Between(0.2, 3.0)),
                dy = static_cast<float>(random.Between(0.2, 3.0));
    const auto cutoff = static_cast<float>(random.Between(-20.0, random.Chance(0.2) ? 1e6 : 100.0));
    SCOPED_TRACE(testing::Message() << nx << " x " << ny << " cutoff " << cutoff << " round " << round);
    ASSERT_NO_FATAL_FAILURE(ExpectReference(nx, ny, {dx, dy, cutoff}, in));
  }
}

TEST(SplineFilter, StrangeCutoffs_EqualTheReference) {
  Random random(14);
  const auto in = RandomSamples(random, 37 * 33, {});
  for (const float cutoff : {1e-44F, 1.0F, 2.0F, -8.0F, 1e20F, FLT_MAX, kInfinity, -kInfinity, kNaN}) {
    for (const float spacing : {1.0F, 0.0F, -1.0F, 1e-44F, FLT_MAX}) {
      SCOPED_TRACE(testing::Message() << cutoff << " " << spacing);
      ASSERT_NO_FATAL_FAILURE(ExpectReference(37, 33, {spacing, spacing, cutoff}, in));
    }
  }
}

TEST(SplineFilter, LargeGrid_EqualsTheReference) {
  Random random(15);
  const int nx = 517, ny = 389;
  const auto in =
      RandomSamples(random, static_cast<std::size_t>(nx) * ny, {.missing = 0.001, .magnitude = 5});
  ExpectReference(nx, ny, {0.5F, 0.7F, 60}, in);
}

}  // namespace
