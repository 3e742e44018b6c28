#include "mesh/split_long_edges.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/fake_diagnostics.h"

namespace {

using qv::mesh::GrowingArray;
using qv::mesh::Refinement;
using qv::mesh::Triangle;
using qv::mesh::Vertex;
using qv::test::TakeMessages;

using Triangles = std::vector<Triangle>;

GrowingArray<Triangle> ArrayOf(const Triangles& triangles) {
  GrowingArray<Triangle> array;
  for (const Triangle& t : triangles) EXPECT_TRUE(array.Append(t));
  return array;
}

/// Splits with a limit and compares all coordinates.
void ExpectSplit(const Triangles& before, double limit, const Triangles& after, const std::string& messages) {
  TakeMessages();
  GrowingArray<Triangle> array = ArrayOf(before);
  EXPECT_EQ(qv::mesh::SplitLongEdges(array, limit, 1e3, true), Refinement::kDone);
  EXPECT_EQ(TakeMessages(), messages);
  ASSERT_EQ(array.size(), after.size());
  EXPECT_EQ(std::memcmp(array.data(), after.data(), after.size() * sizeof(Triangle)), 0);
}

Refinement Split(const Triangles& triangles, double limit, double largest) {
  GrowingArray<Triangle> array = ArrayOf(triangles);
  return qv::mesh::SplitLongEdges(array, limit, largest, false);
}

}  // namespace

TEST(SplitLongEdges, AllShort_OnePassNothingChanged) {
  const Triangles mesh = {{{0, 0, 0}, {3, 0, 1}, {0, 2, 2}}};
  ExpectSplit(mesh, 4, mesh, "Maximum edge length: 3.60555 (Triangles: 1)\n");
}

TEST(SplitLongEdges, LongestIsAB_FirstHalfInPlace) {
  const Vertex a = {0, 0, 0}, b = {4, 0, 8}, c = {2, 1, 5}, m = {2, 0, 4};
  ExpectSplit({{a, b, c}}, 4, {{a, m, c}, {m, b, c}},
              "Maximum edge length: 4 (Triangles: 2)\nMaximum edge length: 2.23607 (Triangles: 2)\n");
}

TEST(SplitLongEdges, LongestIsBC_FirstHalfInPlace) {
  const Vertex a = {2, 1, 5}, b = {0, 0, 0}, c = {4, 0, 8}, m = {2, 0, 4};
  ExpectSplit({{a, b, c}}, 4, {{a, b, m}, {a, m, c}},
              "Maximum edge length: 4 (Triangles: 2)\nMaximum edge length: 2.23607 (Triangles: 2)\n");
}

TEST(SplitLongEdges, LongestIsCA_FirstHalfInPlace) {
  const Vertex a = {4, 0, 8}, b = {2, 1, 5}, c = {0, 0, 0}, m = {2, 0, 4};
  ExpectSplit({{a, b, c}}, 4, {{a, b, m}, {m, b, c}},
              "Maximum edge length: 4 (Triangles: 2)\nMaximum edge length: 2.23607 (Triangles: 2)\n");
}

TEST(SplitLongEdges, EqualABAndBC_LaterIsSplitFirst) {
  const Vertex a = {-5, 0, 0}, b = {0, 12, 0}, c = {5, 0, 0}, m = {2.5F, 6, 0}, n = {-2.5F, 6, 0};
  ExpectSplit({{a, b, c}}, 13, {{a, n, m}, {a, m, c}, {n, b, m}},
              "Maximum edge length: 13 (Triangles: 2)\nMaximum edge length: 13 (Triangles: 3)\n"
              "Maximum edge length: 10 (Triangles: 3)\n");
}

TEST(SplitLongEdges, EqualBCAndCA_LaterIsSplitFirst) {
  const Vertex a = {-5, 0, 0}, b = {5, 0, 0}, c = {0, 12, 0}, m = {-2.5F, 6, 0}, n = {2.5F, 6, 0};
  ExpectSplit({{a, b, c}}, 13, {{a, b, m}, {m, b, n}, {m, n, c}},
              "Maximum edge length: 13 (Triangles: 2)\nMaximum edge length: 13 (Triangles: 3)\n"
              "Maximum edge length: 10 (Triangles: 3)\n");
}

TEST(SplitLongEdges, EqualABAndCA_LaterIsSplitFirst) {
  const Vertex a = {0, 12, 0}, b = {-5, 0, 0}, c = {5, 0, 0}, m = {2.5F, 6, 0}, n = {-2.5F, 6, 0};
  ExpectSplit({{a, b, c}}, 13, {{a, n, m}, {m, b, c}, {n, b, m}},
              "Maximum edge length: 13 (Triangles: 2)\nMaximum edge length: 13 (Triangles: 3)\n"
              "Maximum edge length: 10 (Triangles: 3)\n");
}

TEST(SplitLongEdges, NewTriangles_WaitForNextPass) {
  // Both halves of the first are still long; the second triangle is visited before them.
  const Triangles mesh = {{{0, 0, 0}, {16, 0, 0}, {16, 1, 0}}, {{0, 0, 1}, {5, 0, 1}, {0, 1, 1}}};
  TakeMessages();
  GrowingArray<Triangle> array = ArrayOf(mesh);
  EXPECT_EQ(qv::mesh::SplitLongEdges(array, 5, 16, true), Refinement::kDone);
  EXPECT_EQ(array[2].a.x, 8.0F);  // from the first triangle, pass 1
  EXPECT_EQ(array[3].a.z, 1.0F);  // from the second triangle, pass 1
  EXPECT_EQ(array[4].a.z, 0.0F);  // from the first half, pass 2
  EXPECT_EQ(TakeMessages().substr(0, 48), "Maximum edge length: 16.0312 (Triangles: 4)\nMaxi");
}

TEST(SplitLongEdges, LengthEqualToLimit_IsLong) {
  const Triangles mesh = {{{0, 0, 0}, {3, 4, 0}, {1, 1, 0}}};
  GrowingArray<Triangle> array = ArrayOf(mesh);
  EXPECT_EQ(qv::mesh::SplitLongEdges(array, 5, 5, false), Refinement::kDone);
  EXPECT_EQ(array.size(), 2U);
  array = ArrayOf(mesh);
  EXPECT_EQ(qv::mesh::SplitLongEdges(array, std::nextafter(5.0, 6.0), 5, false), Refinement::kDone);
  EXPECT_EQ(array.size(), 1U);
}

TEST(SplitLongEdges, EdgesBetweenNeighbouringFloats_CountAsShort) {
  const float x = 1e9F, next = std::nextafter(x, 2e9F);  // 64 apart
  const Triangles stuck = {{{x, x, 0}, {next, x, 1}, {next, x, 2}}};
  ExpectSplit(stuck, 10, stuck, "Maximum edge length: 0 (Triangles: 1)\n");
  // The long side can be halved until its pieces cannot.
  const float far = x + 64 * 4;
  GrowingArray<Triangle> array = ArrayOf({{{x, x, 0}, {far, x, 1}, {x, next, 2}}});
  EXPECT_EQ(qv::mesh::SplitLongEdges(array, 10, 1e9, false), Refinement::kDone);
  EXPECT_GT(array.size(), 3U);
  EXPECT_LT(array.size(), 40U);
}

TEST(SplitLongEdges, PointTriangles_LeftAlone) {
  const Triangles mesh = {{{1, 1, 0}, {1, 1, 5}, {1, 1, -5}}};
  ExpectSplit(mesh, 1e-30, mesh, "Maximum edge length: 0 (Triangles: 1)\n");
}

TEST(SplitLongEdges, NotFinite_NothingSplit) {
  for (const float bad : {INFINITY, -INFINITY, NAN}) {
    EXPECT_EQ(Split({{{0, 0, 0}, {16, 0, 0}, {16, bad, 0}}}, 5, 16), Refinement::kNotFinite);
    EXPECT_EQ(Split({{{bad, 0, 0}, {bad, 0, 0}, {bad, 1, 0}}}, 5, 16), Refinement::kNotFinite);
    EXPECT_EQ(Split({{{0, 0, bad}, {16, 0, bad}, {16, 1, bad}}}, 5, 16), Refinement::kDone);
  }
}

TEST(SplitLongEdges, HopelesslyManyPieces_RefusedAtOnce) {
  // Too many by length alone, and by area alone.
  EXPECT_EQ(Split({{{0, 0, 0}, {1, 0, 0}, {1, 1e-6F, 0}}}, 2e-10, 0), Refinement::kOutOfMemory);
  EXPECT_EQ(Split(Triangles(100, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), 1e-4, 0), Refinement::kOutOfMemory);
}

TEST(SplitLongEdges, LimitBelowDistanceOfFloats_NotRefusedForLength) {
  // Counted by length these would be far too many pieces, but nothing here can be halved.
  const float x = 1e9F, next = std::nextafter(x, 2e9F);
  EXPECT_EQ(Split(Triangles(300, {{x, x, 0}, {next, x, 1}, {next, x, 2}}), 1e-6, 1.1e9), Refinement::kDone);
}

TEST(SplitLongEdges, TriangleAmongItsOwnPieces_RefusedAtOnce) {
  // Where floats are 128 and 64 apart, rounding throws the midpoints from corner to corner of this triangle's
  // box.
  const float x = 0x1p30F, y = -0x1p30F;
  Refinement worst = Refinement::kDone;
  for (int corner = 0; corner < 6; ++corner) {
    const Vertex c = {x + 128.0F * static_cast<float>(corner % 2), y + 64.0F * static_cast<float>(corner / 2),
                      0};
    if (Split({{{x, y, 0}, {x + 128, y + 128, 0}, c}}, 121, 0x1.001p30) == Refinement::kOutOfMemory) {
      worst = Refinement::kOutOfMemory;
    }
  }
  EXPECT_EQ(worst, Refinement::kOutOfMemory);
}
