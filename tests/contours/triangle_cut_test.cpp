#include "contours/triangle_cut.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "tests/support/random_grid.h"

namespace {

using qv::contours::CutTriangle;
using qv::contours::Plane;

constexpr Plane kLevel = {{0, 0, 1}, 0};  // signed values are heights

struct Cut {
  int result;
  bool drawn;
  double segment[6];
};

/// Cuts a triangle with corners at (0,0), (1,0), (0,1) and these heights.
Cut CutHeights(double s0, double s1, double s2) {
  const double triangle[9] = {0, 0, s0, 1, 0, s1, 0, 1, s2};
  Cut cut = {};
  cut.result = CutTriangle(kLevel, triangle, cut.segment, &cut.drawn);
  return cut;
}

TEST(CutTriangle, AllSigns_FollowTheOrderOfTheCases) {
  for (int code = 0; code < 27; ++code) {
    const int s[3] = {code % 3 - 1, code / 3 % 3 - 1, code / 9 - 1};
    const Cut cut = CutHeights(s[0], s[1], s[2]);
    int above = 0, below = 0;
    for (const int sign : s) {
      above += sign > 0 ? 1 : 0;
      below += sign < 0 ? 1 : 0;
    }
    SCOPED_TRACE(testing::Message() << s[0] << ' ' << s[1] << ' ' << s[2]);
    const bool lastRow = s[2] < 0 && s[0] + s[1] == 1 && above == 1 && below == 1;
    const int expected = below == 0 ? 0 : above == 0 ? 3 : lastRow ? -1 : above == 1 && below == 2 ? 4 : 3;
    EXPECT_EQ(cut.result, expected);
    EXPECT_EQ(cut.drawn, above > 0 && below > 0 && !lastRow);
  }
}

TEST(CutTriangle, EndsOfTheSegment_LieOnTheEdgesOfTheTable) {
  struct Case {
    double s[3];
    double ends[2][2];  // x, y
  };
  const Case cases[] = {
      {{1, -1, -3}, {{0, 0.25}, {0.5, 0}}},     // P0-P2, P0-P1
      {{-1, 1, -3}, {{0.75, 0.25}, {0.5, 0}}},  // P1-P2, P1-P0
      {{-1, -3, 1}, {{0, 0.5}, {0.25, 0.75}}},  // P2-P0, P2-P1
      {{-1, 3, 1}, {{0.25, 0}, {0, 0.5}}},      // P0-P1, P0-P2
      {{3, -1, 1}, {{0.75, 0}, {0.5, 0.5}}},    // P1-P0, P1-P2
      {{3, 1, -1}, {{0.5, 0.5}, {0, 0.75}}},    // P2-P1, P2-P0
  };
  for (const Case& c : cases) {
    const Cut cut = CutHeights(c.s[0], c.s[1], c.s[2]);
    ASSERT_TRUE(cut.drawn);
    for (int end = 0; end < 2; ++end) {
      EXPECT_DOUBLE_EQ(cut.segment[3 * end], c.ends[end][0]);
      EXPECT_DOUBLE_EQ(cut.segment[3 * end + 1], c.ends[end][1]);
      EXPECT_NEAR(cut.segment[3 * end + 2], 0, 1e-15);
    }
  }
}

TEST(CutTriangle, NaNs_DrawNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(CutHeights(nan, 1, -1).drawn);
  EXPECT_EQ(CutHeights(nan, 1, -1).result, -1);
}

TEST(PlaneThrough, NormalThatIsNotAUnitVector_LeavesTheOffsetUnscaled) {
  const double normal[3] = {0, 0, 2}, point[3] = {5, 5, 3};
  const Plane plane = qv::contours::PlaneThrough(normal, point);
  EXPECT_EQ(plane.unit[2], 1);
  EXPECT_EQ(plane.offset, -6);  // z = 6, though the point lies at 3
}

TEST(CutTriangle, RandomTrianglesAndPlanes_GivePointsOfThePlaneAndOfTheTriangle) {
  qv::test::Random random(91);
  int drawn = 0;
  for (int round = 0; round < 2000; ++round) {
    double normal[3], point[3], triangle[9];
    for (double& v : normal) v = random.Between(-1.0, 1.0);
    const double length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    for (double& v : normal) v /= length;
    for (double& v : point) v = random.Between(-0.3, 0.3);
    for (double& v : triangle) v = random.Between(-1.0, 1.0);
    const Plane plane = qv::contours::PlaneThrough(normal, point);
    double segment[6];
    bool hasSegment = false;
    CutTriangle(plane, triangle, segment, &hasSegment);
    if (!hasSegment) continue;
    ++drawn;
    for (int end = 0; end < 2; ++end) {
      double s = 0;
      for (int k = 0; k < 3; ++k) s += normal[k] * (segment[3 * end + k] - point[k]);
      ASSERT_NEAR(s, 0, 1e-12);
    }
  }
  EXPECT_GT(drawn, 500);
}

}  // namespace
