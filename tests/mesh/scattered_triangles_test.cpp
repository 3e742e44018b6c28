#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/gridding_reference.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Guarded;
using qv::test::NodePlacement;
using qv::test::Random;
using qv::test::TakeMessages;
using Triangles = std::vector<double>;

constexpr const char* kBadCell = "Bad cell index - shouldn't happen\n";
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Gridded {
  int result;
  std::vector<float> heights;
  bool untouched;
};

Gridded Grid(const Triangles& triangles, const NodePlacement& p, int cells) {
  Guarded<float> out(p.Count());
  const Guarded<double> input(triangles);
  TakeMessages();
  const int result = LinearInterpolationOfTriangles(input.data(), static_cast<int>(triangles.size() / 9),
                                                    out.data(), p.nx, p.ny, p.dx, p.dy, p.x0, p.y0, cells);
  EXPECT_EQ(TakeMessages(), result == -1 ? kBadCell : "");
  EXPECT_TRUE(qv::test::SameBits(input.data(), triangles.data(), triangles.size())) << "the input changed";
  return {result, out.Values(), out.Untouched()};
}

/// Compares all bits with the reference; returns how many nodes have a triangle.
int ExpectLikeReference(const Triangles& triangles, const NodePlacement& p, int cells) {
  const auto expected = qv::test::TriangleGridReference(triangles, p, cells).Convert();
  const Gridded actual = Grid(triangles, p, cells);
  EXPECT_EQ(actual.result, expected.result);
  if (expected.result != 0) {
    EXPECT_TRUE(actual.untouched);
    return 0;
  }
  EXPECT_TRUE(qv::test::SameBits(actual.heights.data(), expected.heights.data(), expected.heights.size()));
  int covered = 0;
  for (const float z : expected.heights) covered += z == -1e10F ? 0 : 1;
  return covered;
}

void ExpectFault(const Triangles& triangles, const NodePlacement& p, int cells) {
  const Gridded out = Grid(triangles, p, cells);
  EXPECT_EQ(out.result, -1);
  EXPECT_TRUE(out.untouched);
}

const Triangles kOne = {0, 0, 1, 4, 0, 5, 0, 4, 9};
constexpr NodePlacement kFive = {5, 5, 1, 1, 0, 0};

}  // namespace

TEST(LinearInterpolationOfTriangles, OneTriangle_PlaneInsideMissingOutside) {
  const Gridded out = Grid(kOne, kFive, 3);
  ASSERT_EQ(out.result, 0);
  for (int row = 0; row < 5; ++row) {
    for (int column = 0; column < 5; ++column) {
      const float expected =
          column + row <= 4 ? static_cast<float>(1 + column + 2 * row) : -1e10F;  // edges and corners belong
      EXPECT_EQ(out.heights[kFive.Index(column, row)], expected);
    }
  }
}

TEST(LinearInterpolationOfTriangles, FirstRow_HoldsLargestY) {
  EXPECT_EQ(Grid(kOne, {2, 2, 4, 4, 0, 0}, 1).heights, (std::vector<float>{9, -1e10F, 1, 5}));
}

TEST(LinearInterpolationOfTriangles, NegativeSpacing_MirroredNodes) {
  EXPECT_EQ(Grid(kOne, {2, 2, -4, 4, 4, 0}, 3).heights, (std::vector<float>{-1e10F, 9, 5, 1}));
  EXPECT_EQ(Grid(kOne, {2, 2, 4, -4, 0, 4}, 3).heights, (std::vector<float>{1, 5, 9, -1e10F}));
  EXPECT_EQ(Grid(kOne, {2, 2, -4, -4, 4, 4}, 3).heights, (std::vector<float>{5, 1, -1e10F, 9}));
}

TEST(LinearInterpolationOfTriangles, Overlap_FirstWins) {
  Triangles two = kOne;
  for (const double v : {0, 0, 70, 4, 0, 70, 0, 4, 70}) two.push_back(v);
  EXPECT_EQ(Grid(two, kFive, 2).heights[kFive.Index(1, 1)], 4.0F);
  Triangles turned(two.begin() + 9, two.end());
  turned.insert(turned.end(), two.begin(), two.begin() + 9);
  EXPECT_EQ(Grid(turned, kFive, 2).heights[kFive.Index(1, 1)], 70.0F);
}

TEST(LinearInterpolationOfTriangles, Degenerate_ZeroOnItsLineWithinItsCells) {
  const Triangles line = {0, 0, 5, 2, 2, 5, 1, 1, 5};
  const auto wide = Grid(line, kFive, 1).heights, narrow = Grid(line, kFive, 4).heights;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(wide[kFive.Index(i, i)], 0.0F);
    EXPECT_EQ(narrow[kFive.Index(i, i)], i < 3 ? 0.0F : -1e10F);
  }
  EXPECT_EQ(wide[kFive.Index(1, 0)], -1e10F);
  const Triangles point = {1.5, 1.5, 5, 1.5, 1.5, 6, 1.5, 1.5, 7};
  for (const float z : Grid(point, kFive, 1).heights) EXPECT_EQ(z, 0.0F);
  int zeros = 0;
  for (const float z : Grid(point, kFive, 2).heights) zeros += z == 0.0F ? 1 : 0;
  EXPECT_EQ(zeros, 4);  // columns and rows 0 and 1
}

TEST(LinearInterpolationOfTriangles, SmallArea_ZeroUpToThreshold) {
  const auto height = [](double width) {
    return Grid({0, 0, 7, width, 0, 7, 0, 1, 7}, kFive, 1).heights[kFive.Index(0, 1)];
  };
  EXPECT_EQ(height(1e-9), 0.0F);
  EXPECT_EQ(height(1.0000001e-9), 7.0F);
}

TEST(LinearInterpolationOfTriangles, NoTriangles_AllMissing) {
  for (const int count : {0, -1, INT32_MIN}) {
    for (const int cells : {4, 0, -1, INT32_MIN, INT32_MAX}) {
      Guarded<float> out(6);
      EXPECT_EQ(LinearInterpolationOfTriangles(kOne.data(), count, out.data(), 3, 2, 1, 1, 0, 0, cells), 0);
      for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(out[i], -1e10F);
    }
  }
  Guarded<float> out(3);
  EXPECT_EQ(LinearInterpolationOfTriangles(kOne.data(), 0, out.data(), 1, 3, kNaN, 0, kInfinity, 0, 4), 0);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(out[i], -1e10F);
}

TEST(LinearInterpolationOfTriangles, NoCells_Fault) {
  for (const int cells : {0, -1, -7, INT32_MIN}) ExpectFault(kOne, kFive, cells);
}

TEST(LinearInterpolationOfTriangles, OneNodeWideOrWithoutExtent_Fault) {
  ExpectFault(kOne, {1, 5, 1, 1, 0, 0}, 4);
  ExpectFault(kOne, {5, 1, 1, 1, 0, 0}, 4);
  ExpectFault(kOne, {1, 1, 1, 1, 0, 0}, 4);
  ExpectFault(kOne, {5, 5, 0, 1, 0, 0}, 4);
  ExpectFault(kOne, {5, 5, 1, 0, 0, 0}, 4);
  ExpectFault({0, 0, 1, 0, 0, 5, 0, 0, 9}, {1, 1, 1, 1, 0, 0}, 4);
}

TEST(LinearInterpolationOfTriangles, NoNodes_NothingWritten) {
  for (const auto& [nx, ny] :
       {std::pair(0, 5), std::pair(5, 0), std::pair(-3, 5), std::pair(INT32_MIN, -1)}) {
    for (const double x : {0.0, -0.5, 99.0}) {
      const Triangles t = {x, 0, 1, x, 0, 5, x, 0, 9};
      const NodePlacement p = {nx, ny, 1, 1, 0, 0};
      Guarded<float> out(9);
      TakeMessages();
      const int expected = qv::test::TriangleGridReference(t, p, 4).Convert().result;
      EXPECT_EQ(LinearInterpolationOfTriangles(t.data(), 1, out.data(), nx, ny, 1, 1, 0, 0, 4), expected);
      EXPECT_EQ(TakeMessages(), expected == -1 ? kBadCell : "");
      EXPECT_TRUE(out.Untouched());
    }
  }
}

TEST(LinearInterpolationOfTriangles, VertexOutside_Fault) {
  // The index truncates: up to a cell's width around the grid is still a cell.
  for (std::size_t i = 0; i < 9; ++i) {
    if (i % 3 == 2) continue;
    for (const double odd : {kNaN, kInfinity, -kInfinity, 1e300, -1e300, -1.0, 5.0}) {
      Triangles t = kOne;
      t[i] = odd;
      ExpectFault(t, kFive, 4);
      ExpectLikeReference(t, kFive, 1);
    }
    for (const double accepted : {-0.999, 4.999}) {
      Triangles t = kOne;
      t[i] = accepted;
      EXPECT_EQ(Grid(t, kFive, 4).result, 0);
      ExpectLikeReference(t, kFive, 4);
    }
  }
}

TEST(LinearInterpolationOfTriangles, LastTriangleOutside_NothingWritten) {
  Triangles t;
  for (int i = 0; i < 100; ++i) t.insert(t.end(), kOne.begin(), kOne.end());
  t[99 * 9 + 4] = 6;
  ExpectFault(t, kFive, 4);
}

TEST(LinearInterpolationOfTriangles, HeightsNotFinite_WhereTheyCover) {
  for (const double odd : {kNaN, kInfinity}) {
    Triangles t = kOne;
    t[2] = odd;
    const Gridded out = Grid(t, kFive, 3);
    EXPECT_EQ(out.result, 0);
    EXPECT_FALSE(std::isfinite(out.heights[kFive.Index(1, 1)]));
    EXPECT_EQ(out.heights[kFive.Index(4, 4)], -1e10F);
  }
}

TEST(LinearInterpolationOfTriangles, PlacementNotFinite_LikeReference) {
  for (const double odd : {kNaN, kInfinity, -kInfinity, 1e308, -1e308}) {
    ExpectLikeReference(kOne, {5, 5, odd, 1, 0, 0}, 3);
    ExpectLikeReference(kOne, {5, 5, 1, odd, 0, 0}, 3);
    ExpectLikeReference(kOne, {5, 5, 1, 1, odd, 0}, 3);
    ExpectLikeReference(kOne, {5, 5, 1, 1, 0, odd}, 3);
  }
}

TEST(LinearInterpolationOfTriangles, AsManyCellsAsThereCanBe_LikeReference) {
  for (const int cells : {100000, INT32_MAX - 1, INT32_MAX}) {
    EXPECT_EQ(ExpectLikeReference(kOne, kFive, cells), 15);
    ExpectLikeReference({0, 0, 5, 2, 2, 5, 1, 1, 5}, kFive, cells);
    ExpectLikeReference({1, 2, 5, 1, 2, 5, 1, 2, 5}, kFive, cells);
  }
}

namespace {

/// A corner on a node, on a border of cells, anywhere on the grid, or a hair beside.
double Corner(Random& random, double first, double spacing, int nodes, int cells) {
  const double extent = (static_cast<double>(nodes) - 1) * spacing;
  double position = first + extent * random.Unit();
  if (random.Chance(0.4)) position = first + extent * random.Below(nodes) / (nodes - 1);
  if (random.Chance(0.2)) position = first + extent * random.Between(0, cells) / cells;
  if (random.Chance(0.15)) position = std::nextafter(position, random.Chance(0.5) ? -kInfinity : kInfinity);
  return position;
}

Triangles RandomTriangles(Random& random, int count, const NodePlacement& p, int cells) {
  Triangles triangles;
  for (int i = 0; i < count; ++i) {
    double v[9];
    for (int k = 0; k < 3; ++k) {
      v[3 * k] = Corner(random, p.x0, p.dx, p.nx, cells);
      v[3 * k + 1] = Corner(random, p.y0, p.dy, p.ny, cells);
      v[3 * k + 2] = random.Between(-1.0, 1.0);
    }
    const int shape = random.Below(10);
    if (shape == 0) std::copy_n(v, 2, v + 6);  // a line
    if (shape == 1) std::copy_n(v, 2, v + 3), std::copy_n(v, 2, v + 6);
    if (shape == 2) v[6] = (v[0] + v[3]) / 2, v[7] = (v[1] + v[4]) / 2;  // a line, or nearly
    if (shape == 3) v[3] = v[6] = v[0];
    if (shape >= 8) {  // small
      for (int k = 3; k < 9; ++k) v[k] = k % 3 == 2 ? v[k] : v[k % 3] + (v[k] - v[k % 3]) / 64;
    }
    triangles.insert(triangles.end(), v, v + 9);
  }
  return triangles;
}

}  // namespace

TEST(LinearInterpolationOfTriangles, RandomTriangles_LikeReference) {
  Random random(91);
  long covered = 0, nodes = 0;
  for (int round = 0; round < 600; ++round) {
    NodePlacement p = {random.Between(2, 40),     random.Between(2, 40),     random.Between(0.01, 2.0),
                       random.Between(0.01, 2.0), random.Between(-5.0, 5.0), random.Between(-5.0, 5.0)};
    if (random.Chance(0.4)) p.dx = p.dy = 0.25, p.x0 = 1, p.y0 = -2;
    if (random.Chance(0.3)) p.dx = -p.dx;
    if (random.Chance(0.3)) p.dy = -p.dy;
    if (random.Chance(0.2)) p.x0 += 1e6;
    const int cells = random.Between(1, random.Chance(0.5) ? 5 : 50);
    covered += ExpectLikeReference(RandomTriangles(random, random.Between(1, 40), p, cells), p, cells);
    nodes += static_cast<long>(p.Count());
  }
  EXPECT_GT(covered, nodes / 4);
  EXPECT_LT(covered, nodes);
}

TEST(LinearInterpolationOfTriangles, EveryMagnitude_LikeReference) {
  // Products of lengths vanish or overflow on the way.
  Random random(92);
  for (const double scale : {5e-324, 1e-320, 1e-308, 1e-170, 1e-155, 1e-100, 1e-92, 1e-30, 1e30, 1e88, 1e100,
                             1e153, 1e155, 1e300}) {
    for (int round = 0; round < 15; ++round) {
      const NodePlacement p = {9,
                               11,
                               scale * random.Between(1, 4),
                               (random.Chance(0.5) ? scale : 1) * random.Between(1, 4),
                               random.Chance(0.5) ? 0 : scale,
                               0};
      const int cells = random.Between(1, 12);
      ExpectLikeReference(RandomTriangles(random, 20, p, cells), p, cells);
    }
  }
}

TEST(LinearInterpolationOfTriangles, TinyTrianglesOnAnOrdinaryGrid_LikeReference) {
  Random random(93);
  for (const double size : {1e-3, 1e-17, 1e-100, 1e-160, 1e-300, 1e-310, 5e-324}) {
    for (int round = 0; round < 40; ++round) {
      Triangles t;
      for (int k = 0; k < 3 * 6; ++k) {
        // Around nodes, some of which are at 0, where doubles are finest.
        t.push_back(random.Between(0, 4) + size * random.Between(-3, 3));
        t.push_back(size * random.Between(-3, 3));
        t.push_back(random.Unit());
      }
      ExpectLikeReference(t, {9, 9, 1, 1, -4, -4}, random.Between(1, 9));
    }
  }
}

TEST(LinearInterpolationOfTriangles, DigitsExhausted_LikeReference) {
  // Nodes so close that several share a position.
  Random random(94);
  for (int round = 0; round < 60; ++round) {
    const NodePlacement p = {30, 20, 1e-17 * random.Between(1, 40), 0x1p-52, 1, -1};
    const int cells = random.Between(1, 9);
    ExpectLikeReference(RandomTriangles(random, 12, p, cells), p, cells);
  }
}
