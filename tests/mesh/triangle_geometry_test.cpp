#include "mesh/triangle_geometry.h"

#include <cmath>
#include <gtest/gtest.h>

#include "tests/reference/mesh_to_grid_reference.h"
#include "tests/support/random_grid.h"

namespace {

using qv::mesh::Triangle;
using qv::mesh::Vertex;
using qv::test::Random;

constexpr double kStlArea = 1e-6, kPlyArea = 1e-9;

const Triangle kCorner = {{0, 0, 1}, {4, 0, 5}, {0, 2, 3}};

}  // namespace

TEST(SideOfEdge, LeftRightAndOn_MinusOneOneZero) {
  const Vertex a = {0, 0, 0}, b = {2, 0, 9};
  EXPECT_EQ(qv::mesh::SideOfEdge({1, 1}, a, b), -1);
  EXPECT_EQ(qv::mesh::SideOfEdge({1, -1}, a, b), 1);
  EXPECT_EQ(qv::mesh::SideOfEdge({5, 0}, a, b), 0);
  EXPECT_EQ(qv::mesh::SideOfEdge({1, 1e-300}, a, b), -1);
  EXPECT_EQ(qv::mesh::SideOfEdge({7, 7}, a, a), 0);
}

TEST(PointInTriangle, EitherWinding_EdgesAndCornersInside) {
  for (const Triangle& t : {kCorner, Triangle{kCorner.a, kCorner.c, kCorner.b}}) {
    EXPECT_TRUE(qv::mesh::PointInTriangle({1, 0.5}, t));
    EXPECT_TRUE(qv::mesh::PointInTriangle({2, 1}, t));
    EXPECT_TRUE(qv::mesh::PointInTriangle({2, 0}, t));
    EXPECT_TRUE(qv::mesh::PointInTriangle({0, 0}, t));
    EXPECT_TRUE(qv::mesh::PointInTriangle({4, 0}, t));
    EXPECT_TRUE(qv::mesh::PointInTriangle({0, 2}, t));
    EXPECT_FALSE(qv::mesh::PointInTriangle({5, 0}, t));
    EXPECT_FALSE(qv::mesh::PointInTriangle({-1e-9, 0}, t));
    EXPECT_FALSE(qv::mesh::PointInTriangle({2, 1.0000001}, t));
  }
}

TEST(PointInTriangle, Degenerate_AcceptsItsLineOrEverything) {
  const Triangle line = {{0, 0, 0}, {1, 1, 0}, {3, 3, 0}};
  EXPECT_TRUE(qv::mesh::PointInTriangle({100, 100}, line));
  EXPECT_FALSE(qv::mesh::PointInTriangle({1, 1.5}, line));
  const Triangle point = {{1, 1, 0}, {1, 1, 5}, {1, 1, 9}};
  EXPECT_TRUE(qv::mesh::PointInTriangle({-7, 3}, point));
}

TEST(PointInTriangle, LatticePoints_LikeReference) {
  Random random(31);
  const auto coordinate = [&] { return static_cast<float>(random.Between(-3, 3)); };
  for (int i = 0; i < 50000; ++i) {
    const Triangle t = {
        {coordinate(), coordinate(), 0}, {coordinate(), coordinate(), 0}, {coordinate(), coordinate(), 0}};
    const float x = coordinate(), y = coordinate();
    EXPECT_EQ(qv::mesh::PointInTriangle({x, y}, t), qv::test::MeshToGridReference::IsInside(x, y, t));
  }
}

TEST(PlaneHeightAt, Plane_Interpolated) {
  EXPECT_DOUBLE_EQ(qv::mesh::PlaneHeightAt({0, 0}, kCorner, kStlArea), 1);
  EXPECT_DOUBLE_EQ(qv::mesh::PlaneHeightAt({4, 0}, kCorner, kStlArea), 5);
  EXPECT_DOUBLE_EQ(qv::mesh::PlaneHeightAt({0, 2}, kCorner, kStlArea), 3);
  EXPECT_DOUBLE_EQ(qv::mesh::PlaneHeightAt({2, 1}, kCorner, kStlArea), 4);
  EXPECT_DOUBLE_EQ(qv::mesh::PlaneHeightAt({1, 0}, kCorner, kStlArea), 2);
}

TEST(PlaneHeightAt, SmallArea_ZeroUpToThreshold) {
  const Triangle thin = {{0, 0, 5}, {1, 0, 5}, {0, 0x1p-20F, 5}};  // doubled area 9.5e-7
  EXPECT_EQ(qv::mesh::PlaneHeightAt({0, 0}, thin, kStlArea), 0.0);
  EXPECT_EQ(qv::mesh::PlaneHeightAt({0, 0}, thin, 0x1p-20), 0.0);
  EXPECT_EQ(qv::mesh::PlaneHeightAt({0, 0}, thin, std::nextafter(0x1p-20, 0)), 5.0);
  EXPECT_EQ(qv::mesh::PlaneHeightAt({0, 0}, thin, kPlyArea), 5.0);
  const Triangle flat = {{0, 0, 5}, {1, 0, 5}, {7, 0, 5}};
  EXPECT_EQ(qv::mesh::PlaneHeightAt({1, 0}, flat, kStlArea), 0.0);
}

TEST(PlaneHeightAt, RandomTriangles_CloseToExtendedPrecision) {
  Random random(32);
  for (int i = 0; i < 20000; ++i) {
    const double offset = random.Chance(0.5) ? 0 : random.Between(-1e5, 1e5);
    const auto vertex = [&] {
      return Vertex{static_cast<float>(offset + random.Between(-1.0, 1.0)),
                    static_cast<float>(random.Between(-1.0, 1.0)),
                    static_cast<float>(random.Between(-1.0, 1.0))};
    };
    const Triangle t = {vertex(), vertex(), vertex()};
    const double p = 0.25, q = 0.5;
    const double x =
        t.a.x + p * (static_cast<double>(t.b.x) - t.a.x) + q * (static_cast<double>(t.c.x) - t.a.x);
    const double y =
        t.a.y + p * (static_cast<double>(t.b.y) - t.a.y) + q * (static_cast<double>(t.c.y) - t.a.y);
    const double expected =
        t.a.z + p * (static_cast<double>(t.b.z) - t.a.z) + q * (static_cast<double>(t.c.z) - t.a.z);
    const double area = std::abs(qv::mesh::DoubledArea(t));
    if (area < 1e-3) continue;
    EXPECT_NEAR(qv::mesh::PlaneHeightAt({x, y}, t, kStlArea), expected, 1e-10 / area);
  }
}

TEST(PlaneHeightAt, HugeCoordinatesWithoutArea_ZeroNotNan) {
  // Twice the area is 0, but the rounding of the sum that is compared with the threshold need not be.
  Random random(33);
  for (int i = 0; i < 20000; ++i) {
    const auto x = static_cast<float>(random.Between(-1e12, 1e12)),
               y = static_cast<float>(random.Between(-1e12, 1e12));
    const Vertex a = {x, y, 1}, b = {x * 3, y * 3, 2}, c = {x * 1.5F, y * 1.5F, 3};
    EXPECT_TRUE(std::isfinite(qv::mesh::PlaneHeightAt({x, y}, Triangle{a, b, c}, kStlArea)));
  }
}

TEST(EdgeMidpoint, Mean_RoundedOnce) {
  const Vertex m = qv::mesh::EdgeMidpoint({1, -2, 3}, {2, 2, 3e38F});
  EXPECT_EQ(m.x, 1.5F);
  EXPECT_EQ(m.y, 0.0F);
  EXPECT_EQ(m.z, 1.5e38F);
  EXPECT_EQ(qv::mesh::EdgeMidpoint({3e38F, 0, 0}, {3e38F, 0, 0}).x, 3e38F);
}

TEST(EdgeLength2D, IgnoresHeight) {
  EXPECT_EQ(qv::mesh::EdgeLength2D({1, 1, 0}, {4, 5, 100}), 5.0);
  EXPECT_EQ(qv::mesh::EdgeLength2D({1e30F, 0, 0}, {-1e30F, 0, 0}), 2.0 * static_cast<double>(1e30F));
}
