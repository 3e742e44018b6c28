// The calls that the cut makes, recorded: this program takes the place of the GL entry points.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"

namespace {

struct Call {
  std::string name;
  std::vector<double> arguments;
  bool operator==(const Call&) const = default;
};
std::vector<Call> calls;

}  // namespace

extern "C" {
void glBegin(GLenum mode) {
  calls.push_back({"glBegin", {static_cast<double>(mode)}});
}
void glVertex3d(GLdouble x, GLdouble y, GLdouble z) {
  calls.push_back({"glVertex3d", {x, y, z}});
}
void glEnd() {
  calls.push_back({"glEnd", {}});
}
}

namespace {

std::vector<Call> CallsFor(const std::vector<double>& triangles, const std::vector<double>& normal,
                           const std::vector<double>& point, int count) {
  calls.clear();
  const std::vector<double> before = triangles;
  EXPECT_EQ(ComputeCrossSectionLines(triangles.data(), normal.data(), point.data(), count), 0U);
  EXPECT_EQ(triangles, before);
  return calls;
}

const Call kBegin = {"glBegin", {GL_LINES}}, kEnd = {"glEnd", {}};

TEST(ComputeCrossSectionLines, TwoCutTrianglesOfThree_AreDrawnOneByOne) {
  const std::vector<double> triangles = {
      0, 0, 1, 1, 0, -1, 0, 1, -3,  // cut
      0, 0, 1, 1, 0, 2,  0, 1, 3,   // above
      0, 0, 3, 1, 0, 1,  0, 1, -1,  // cut
  };
  const std::vector<Call> expected = {
      kBegin, {"glVertex3d", {0, 0.25, 0}},  {"glVertex3d", {0.5, 0, 0}},  kEnd,
      kBegin, {"glVertex3d", {0.5, 0.5, 0}}, {"glVertex3d", {0, 0.75, 0}}, kEnd};
  EXPECT_EQ(CallsFor(triangles, {0, 0, 1}, {9, 9, 0}, 3), expected);
}

TEST(ComputeCrossSectionLines, FlatTriangleOrNone_DrawsNothing) {
  EXPECT_TRUE(CallsFor({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 0, 1}, {0, 0, 0}, 1).empty());
  EXPECT_TRUE(CallsFor({0, 0, 1, 1, 0, -1, 0, 1, -3}, {0, 0, 1}, {0, 0, 0}, 0).empty());
  EXPECT_TRUE(CallsFor({0, 0, 1, 1, 0, -1, 0, 1, -3}, {0, 0, 1}, {0, 0, 0}, -4).empty());
}

TEST(ComputeCrossSectionLines, LongNormal_CutsWhereItsUnscaledOffsetPutsThePlane) {
  // A triangle around z = 6; the point lies at 3, the normal is 2 long.
  const auto drawn = CallsFor({0, 0, 5, 1, 0, 5, 0, 1, 7}, {0, 0, 2}, {0, 0, 3}, 1);
  ASSERT_EQ(drawn.size(), 4U);
  EXPECT_EQ(drawn[1].arguments[2], 6);
}

}  // namespace
