#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "tests/reference/gridding_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Guarded;
using qv::test::NodePlacement;
using qv::test::Random;
using Points = std::vector<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<float> Grid(const Points& points, const NodePlacement& p, double power, double smoothing) {
  Guarded<float> out(p.Count());
  const Guarded<double> input(points);
  EXPECT_EQ(InverseDistanceToAPower(input.data(), static_cast<int>(points.size() / 3), out.data(), p.nx, p.ny,
                                    p.dx, p.dy, p.x0, p.y0, power, smoothing),
            0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), points.data(), points.size())) << "the input changed";
  return out.Values();
}

/// All nodes on every instruction set, which give the same bits. Returns them.
std::vector<float> ExpectLikeReference(const Points& points, const NodePlacement& p, double power,
                                       double smoothing) {
  std::vector<float> first;
  qv::test::ForEachVariant([&] {
    const std::vector<float> actual = Grid(points, p, power, smoothing);
    if (first.empty()) {
      first = actual;
      for (int row = 0; row < p.ny; ++row) {
        for (int column = 0; column < p.nx; ++column) {
          const auto expected = qv::test::InverseDistanceReference(points, column * p.dx + p.x0,
                                                                   row * p.dy + p.y0, power, smoothing);
          const float height = actual[p.Index(column, row)];
          EXPECT_TRUE(qv::test::IsCloseTo(height, expected))
              << "node " << column << ", " << row << " is " << height << ", expected " << expected.value
              << ", power " << power << ", smoothing " << smoothing;
        }
      }
    }
    EXPECT_TRUE(qv::test::SameBits(actual.data(), first.data(), first.size()));
  });
  return first;
}

Points RandomPoints(Random& random, int count, double size = 10) {
  Points points;
  for (int i = 0; i < count; ++i) {
    points.push_back(random.Between(0.0, size));
    points.push_back(random.Between(0.0, size));
    points.push_back(random.Between(-3.0, 3.0));
  }
  return points;
}

}  // namespace

TEST(InverseDistanceToAPower, PointOnNode_NodeTakesItsHeight) {
  const Points points = {0, 0, 5, 2, 1, -7.25, 3.5, 0.5, 100};
  for (const double power : {2.0, 1.0, 2.5, 0.0, -2.0, 40.0, 5000.0}) {
    const auto heights = ExpectLikeReference(points, {4, 3, 1, 1, 0, 0}, power, 0);
    EXPECT_EQ(heights[2 * 4 + 0], 5.0F);
    EXPECT_EQ(heights[1 * 4 + 2], -7.25F);
  }
}

TEST(InverseDistanceToAPower, SeveralPointsOnNode_FirstCounts) {
  const Points points = {1, 1, 5, 0, 0, 1, 0, 0, 2, 1, 1, 6};
  for (const double power : {2.0, 3.0, 99.0}) {
    const auto heights = ExpectLikeReference(points, {2, 2, 1, 1, 0, 0}, power, 0);
    EXPECT_EQ(heights[2], 1.0F);
    EXPECT_EQ(heights[1], 5.0F);
  }
}

TEST(InverseDistanceToAPower, PointOnNode_WhateverTheOthersHold) {
  for (const double odd : {kNaN, kInfinity, -kInfinity, 1e300}) {
    for (std::size_t i = 0; i < 3; ++i) {
      Points points = {3, 3, 3, 1, 1, 5, 2, 2, 7};
      points[i] = odd;
      const auto heights = ExpectLikeReference(points, {3, 3, 1, 1, 0, 0}, 2, 0);
      EXPECT_EQ(heights[4], 5.0F);
      EXPECT_EQ(heights[2], 7.0F);
    }
  }
}

TEST(InverseDistanceToAPower, DistanceThatVanishesInItsSquare_CoincidesExactly) {
  // 1e-170 squared is 0; 2e-162 squared is not.
  EXPECT_EQ(Grid({1e-170, 0, 5, 1, 0, 1}, {1, 1, 1, 1, 0, 0}, 2, 0)[0], 5.0F);
  EXPECT_EQ(Grid({0, -1e-170, 5, 1, 0, 1}, {1, 1, 1, 1, 0, 0}, 2.5, 1e-170)[0], 5.0F);
  EXPECT_EQ(Grid({2e-162, 0, 5, 1e-161, 0, 1}, {1, 1, 1, 1, 0, 0}, 0, 0)[0], 3.0F);
  EXPECT_EQ(Grid({0, 0, 5, 1, 0, 1}, {1, 1, 1, 1, 0, 0}, 0, 2e-162)[0], 3.0F);
}

TEST(InverseDistanceToAPower, Smoothing_NoNodeCoincides) {
  const Points points = {0, 0, 4, 3, 0, 8};
  const auto heights = ExpectLikeReference(points, {4, 1, 1, 1, 0, 0}, 2, 4);
  EXPECT_FLOAT_EQ(heights[0], static_cast<float>((4 / 16.0 + 8 / 25.0) / (1 / 16.0 + 1 / 25.0)));
  ExpectLikeReference(points, {4, 1, 1, 1, 0, 0}, 3, 1e-5);
  ExpectLikeReference(points, {4, 1, 1, 1, 0, 0}, 2, -4);
}

TEST(InverseDistanceToAPower, NoPoints_Zero) {
  const double point[3] = {1, 1, 1};
  for (const int count : {0, -1, INT32_MIN}) {
    Guarded<float> out(6, 3.0F);
    EXPECT_EQ(InverseDistanceToAPower(point, count, out.data(), 3, 2, 1, 1, 0, 0, 2, 0), 0U);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(out[i], 0.0F);
  }
}

TEST(InverseDistanceToAPower, NoNodes_NothingWritten) {
  const Points points = {1, 1, 1};
  for (const auto& [nx, ny] :
       {std::pair(0, 3), std::pair(3, 0), std::pair(-2, -3), std::pair(5, INT32_MIN)}) {
    Guarded<float> out(9);
    EXPECT_EQ(InverseDistanceToAPower(points.data(), 1, out.data(), nx, ny, 1, 1, 0, 0, 2, 0), 0U);
    EXPECT_TRUE(out.Untouched());
  }
}

TEST(InverseDistanceToAPower, FirstRow_HoldsLargestY) {
  const Points points = {0, 10, 1, 0, 12, 2, 0, 14, 3};
  EXPECT_EQ(Grid(points, {1, 3, 1, 2, 0, 10}, 2, 0), (std::vector<float>{3, 2, 1}));
  EXPECT_EQ(Grid(points, {1, 3, 1, -2, 0, 14}, 2, 0), (std::vector<float>{1, 2, 3}));
}

TEST(InverseDistanceToAPower, OnePoint_ItsHeightEverywhere) {
  for (const double power : {2.0, 2.5, -1.0, 0.0}) {
    for (const float z : Grid({-3, 2, 0.125}, {37, 5, 0.5, 0.5, 0, 0}, power, 0)) EXPECT_EQ(z, 0.125F);
  }
}

TEST(InverseDistanceToAPower, PowerZero_PlainMean) {
  const Points points = {0.5, 0.5, 1, 7, 7, 2, 90, 3, 6};
  for (const float z : ExpectLikeReference(points, {5, 4, 1, 1, 0, 0}, 0, 0)) EXPECT_EQ(z, 3.0F);
}

TEST(InverseDistanceToAPower, NegativePower_DistantPointsWeighMost) {
  const auto heights = ExpectLikeReference({0, 0, 0, 10, 0, 1}, {11, 1, 1, 1, 0, 0}, -2, 0);
  EXPECT_NEAR(heights[1], 81.0 / 82, 1e-6);
  EXPECT_NEAR(heights[9], 1.0 / 82, 1e-6);
}

TEST(InverseDistanceToAPower, MissingValue_IsAHeight) {
  const auto heights = ExpectLikeReference({0, 0, -1e10, 2, 0, 0}, {3, 1, 1, 1, 0, 0}, 2, 0);
  EXPECT_EQ(heights, (std::vector<float>{-1e10F, -5e9F, 0}));
}

TEST(InverseDistanceToAPower, NotFinite_LikeReference) {
  Random random(81);
  for (const double odd : {kNaN, kInfinity, -kInfinity}) {
    for (std::size_t i = 0; i < 3; ++i) {
      Points points = RandomPoints(random, 9);
      points[12 + i] = odd;
      for (const double power : {2.0, 2.5, 0.0, -1.0}) {
        ExpectLikeReference(points, {7, 3, 1, 1, 0, 0}, power, 0);
      }
    }
    const Points points = RandomPoints(random, 9);
    ExpectLikeReference(points, {7, 3, 1, 1, 0, 0}, odd, 0);
    ExpectLikeReference(points, {7, 3, 1, 1, 0, 0}, 2, odd);
    ExpectLikeReference(points, {7, 3, odd, 1, 0, 0}, 2, 0);
    ExpectLikeReference(points, {7, 3, 1, odd, 0, 0}, 2, 0);
    ExpectLikeReference(points, {7, 3, 1, 1, odd, 0}, 2, 0);
    ExpectLikeReference(points, {7, 3, 1, 1, 0, odd}, 2.5, 0);
  }
}

TEST(InverseDistanceToAPower, NaNResult_IsTheQuietOne) {
  const float expected = std::numeric_limits<float>::quiet_NaN();
  for (const double odd : {-kNaN, kInfinity}) {
    const auto heights = Grid({0, 0, odd, 0.5, 0, -kInfinity, 3, 0, 1, 4, 0, 1}, {2, 1, 7, 1, 9, 0}, 2, 0);
    EXPECT_TRUE(qv::test::SameBits(heights.data(), &expected, 1));
  }
}

TEST(InverseDistanceToAPower, HugeAndTinyNumbers_LikeReference) {
  Random random(82);
  for (const double scale :
       {1e-320, 1e-170, 1e-155, 1e-100, 1e-40, 1e-9, 1e9, 1e30, 1e40, 1e100, 1e154, 1e300}) {
    for (const double heights : {1e-310, 1e-40, 1.0, 1e40, 1e300}) {
      Points points = RandomPoints(random, 11, 1);
      for (std::size_t i = 0; i < points.size(); ++i) points[i] *= i % 3 == 2 ? heights : scale;
      for (const double power : {2.0, 1.0, 2.5, 31.0, -3.0}) {
        ExpectLikeReference(points, {9, 3, scale / 8, scale / 2, 0, 0}, power, 0);
        ExpectLikeReference(points, {9, 3, scale / 8, scale / 2, 0, 0}, power, scale / 3);
      }
    }
  }
}

TEST(InverseDistanceToAPower, DistancesFarApart_LikeReference) {
  // One point next to a node, others far: products of four squares leave what doubles hold.
  for (const double close : {1e-20, 1e-60, 1e-90, 1e-120, 1e-150}) {
    for (const double far : {1.0, 1e20, 1e33, 1e60}) {
      const Points points = {close, 0, 1, far, far, 2, far / 2, far, 3, far, far / 3, 4, far, 0, 5};
      for (const double power : {2.0, 2.5, 0.5, 7.0, -2.0})
        ExpectLikeReference(points, {5, 2, far / 4, far / 2, 0, 0}, power, 0);
    }
  }
}

TEST(InverseDistanceToAPower, RandomPoints_LikeReference) {
  Random random(83);
  constexpr double kPowers[] = {2, 2, 1, 2.5, 3, 0.5, -1.5, 16, 32, 33, 100};
  for (int round = 0; round < 120; ++round) {
    const Points points = RandomPoints(random, random.Between(1, 40));
    const NodePlacement p = {random.Between(1, 70),     random.Between(1, 5),      random.Between(-0.3, 0.3),
                             random.Between(-2.0, 2.0), random.Between(-5.0, 5.0), random.Between(-5.0, 5.0)};
    const double power = kPowers[random.Below(11)];
    ExpectLikeReference(points, p, power, random.Chance(0.5) ? 0 : random.Between(0.0, 2.0));
  }
}

TEST(InverseDistanceToAPower, ManyPointsAndNodes_RunsSeamless) {
  // More points than one run of the kernels takes, and more nodes; points on some nodes.
  Random random(84);
  Points points = RandomPoints(random, 1030);
  for (std::size_t i = 0; i < 40; ++i) {
    points[3 * 25 * i] = random.Between(0, 600) * 0.0625;
    points[3 * 25 * i + 1] = 1;
  }
  for (const double power : {2.0, 2.5}) {
    const auto heights = ExpectLikeReference(points, {600, 2, 0.0625, 1, 0, 0}, power, 0);
    // A node comes out the same wherever it lies in a run.
    for (const int first : {1, 7, 255, 300}) {
      const auto part = Grid(points, {600 - first, 2, 0.0625, 1, first * 0.0625, 0}, power, 0);
      for (int c = first; c < 600; ++c) {
        EXPECT_EQ(part[static_cast<std::size_t>(c - first)], heights[static_cast<std::size_t>(c)]);
      }
    }
  }
}

TEST(GriddingKernels, WeightsOfEveryMagnitude_WithinTheirError) {
  constexpr std::ptrdiff_t kNodes = 2 * qv::kernels::kNodeStep;
  Random random(85);
  for (const double exponent : {-1.25, -0.5, 0.25, 1.0, -5.5, -16.0, 16.0, 0.0}) {
    for (int round = 0; round < 200; ++round) {
      const double most = exponent == 0 ? 900 : std::min(900.0, 850 / std::abs(exponent));
      const double square = std::exp2(random.Between(-most, most));
      const double x = 0, z = 1, nodes[kNodes] = {};
      const long double expected =
          std::pow(static_cast<long double>(square), static_cast<long double>(exponent));
      qv::test::ForEachVariant([&] {
        double weighted[kNodes] = {}, weight[kNodes] = {}, least[kNodes];
        std::fill(least, least + kNodes, kInfinity);
        qv::kernels::Active().gridding.powers({&x, &z, &square, 1}, nodes, kNodes, exponent,
                                              {weighted, weight, least});
        for (std::ptrdiff_t k = 0; k < kNodes; ++k) {
          EXPECT_LE(std::abs(static_cast<double>(weight[k] / expected - 1)), 4e-13) << square;
          EXPECT_EQ(weighted[k], weight[k]);
          EXPECT_EQ(least[k], square);
        }
      });
    }
  }
}

TEST(GriddingKernels, LeastOfSquares_ProductOfEachGroup) {
  constexpr std::ptrdiff_t kNodes = qv::kernels::kNodeStep;
  const double x[6] = {}, z[6] = {1, 1, 1, 1, 1, 1}, nodes[kNodes] = {};
  const double squares[6] = {2, 0.5, 4, 0.125, 8, 3};
  qv::test::ForEachVariant([&] {
    for (const auto& [count, expected] : {std::pair(4, 0.5), std::pair(6, 0.5), std::pair(3, 0.5)}) {
      double weighted[kNodes] = {}, weight[kNodes] = {}, least[kNodes];
      std::fill(least, least + kNodes, kInfinity);
      qv::kernels::Active().gridding.inverseSquares({x, z, squares, count}, nodes, kNodes,
                                                    {weighted, weight, least});
      EXPECT_EQ(least[5], expected);
    }
  });
}
