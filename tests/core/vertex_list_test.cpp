#include <climits>
#include <gtest/gtest.h>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"

namespace {

/// The count of the vertex list outlives a call: every test leaves it at zero.
class VertexList : public ::testing::Test {
 protected:
  void TearDown() override { SetVertices(0, nullptr); }
};

void ExpectStartValues() {
  qv::test::Guarded<float> e(6);
  EXPECT_EQ(ComputeExtremes(&e[0], &e[1], &e[2], &e[3], &e[4], &e[5]), 0U);
  EXPECT_EQ(e.Values(), (std::vector<float>{-1e32F, 1e32F, -1e32F, 1e32F, -1e32F, 1e32F}));
}

TEST_F(VertexList, SetVertices_ReturnsItsCount) {
  const QV_VertexRecord records[5] = {};
  EXPECT_EQ(SetVertices(5, records), 5);
  EXPECT_EQ(SetVertices(5, nullptr), 5);
  EXPECT_EQ(SetVertices(-3, records), -3);
  EXPECT_EQ(SetVertices(INT_MAX, nullptr), INT_MAX);
}

TEST_F(VertexList, ComputeExtremes_CountBelowOne_GivesStartValues) {
  ExpectStartValues();
  const QV_VertexRecord record = {{0, 0, 0}, 1, 2, 3};
  SetVertices(0, &record);
  ExpectStartValues();
  SetVertices(-4, &record);
  ExpectStartValues();
}

#ifndef _WIN32
void ScanOneVertex() {
  const QV_VertexRecord record = {{0, 0, 0}, 1, 2, 3};
  SetVertices(1, &record);
  float e[6];
  ComputeExtremes(e, e + 1, e + 2, e + 3, e + 4, e + 5);
}

TEST_F(VertexList, ComputeExtremes_CountOfOne_Faults) {
  EXPECT_DEATH(ScanOneVertex(), "");
}
#endif

}  // namespace
