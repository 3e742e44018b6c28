#include "mesh/grid_axis.h"

#include <cmath>
#include <gtest/gtest.h>

#include "tests/support/random_grid.h"

namespace {

using qv::mesh::CellAxis;
using qv::mesh::GridAxis;
using qv::test::Random;

float PositionOf(float first, float last, int i, int intervals) {
  return static_cast<float>(first + (static_cast<double>(last) - first) * i / intervals);
}

/// All samples between the positions, and not many more.
void ExpectRange(const GridAxis& axis, double low, double high) {
  const GridAxis::Range range = axis.Between(low, high);
  std::ptrdiff_t inside = 0;
  for (std::ptrdiff_t k = axis.begin(); k < axis.end(); ++k) {
    if (axis[k] < low || axis[k] > high) continue;
    ++inside;
    EXPECT_GE(k, range.begin);
    EXPECT_LT(k, range.end);
  }
  EXPECT_GE(range.begin, axis.begin());
  EXPECT_LE(range.end, axis.end());
  EXPECT_LE(range.end - range.begin, inside + 2);
}

void ExpectConsistent(const GridAxis& axis, float first, float last, int intervals, const CellAxis& cells,
                      Random& random) {
  const auto count = static_cast<std::ptrdiff_t>(axis.size());
  ASSERT_EQ(count, intervals + 1);
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const auto i = static_cast<int>(axis.GridIndex(k));
    EXPECT_EQ(axis[k], PositionOf(first, last, i, intervals));
    EXPECT_LE(axis[k > 0 ? k - 1 : 0], axis[k]);
    const bool listed = k >= axis.begin() && k < axis.end();
    EXPECT_EQ(listed, cells.Has(cells.IndexOf(axis[k])));
  }
  for (int cell = 0; cell < cells.resolution; ++cell) {
    for (std::ptrdiff_t k = axis.CellBegin(cell); k < axis.CellBegin(cell + 1); ++k) {
      EXPECT_EQ(axis.CellOf(k), cell);
    }
  }
  for (int round = 0; round < 200; ++round) {
    const double spread = 1.2 * (std::abs(static_cast<double>(last) - first) + 1e-3);
    double position = first + random.Between(-spread, spread);
    if (round % 3 == 0) position = axis[random.Below(static_cast<int>(count))];
    std::ptrdiff_t expected = axis.begin();
    while (expected < axis.end() && axis[expected] < position) ++expected;
    EXPECT_EQ(axis.FirstFrom(position), expected);
    ExpectRange(axis, position, position + random.Between(0.0, 0.3 * spread));
    ExpectRange(axis, position, position);
  }
}

}  // namespace

TEST(GridAxis, RandomPlacements_LikeSearching) {
  Random random(41);
  for (int round = 0; round < 400; ++round) {
    const double offset = random.Chance(0.3) ? random.Between(-1e8, 1e8) : random.Between(-2.0, 2.0);
    const CellAxis cells = {offset + random.Between(-1.0, 1.0), random.Between(0.01, 3.0),
                            random.Between(1, 80)};
    const auto first = static_cast<float>(offset + random.Between(-3.0, 3.0));
    const auto last = random.Chance(0.1) ? first : static_cast<float>(offset + random.Between(-3.0, 3.0));
    const int intervals = random.Between(1, 60);
    GridAxis axis;
    ASSERT_TRUE(axis.Place(first, static_cast<double>(last) - first, intervals, cells));
    ExpectConsistent(axis, first, last, intervals, cells, random);
  }
}

TEST(GridAxis, FarBeyondIntegers_StillOutside) {
  const CellAxis cells = {0, 1e-20, 3};
  Random random(42);
  GridAxis axis;
  ASSERT_TRUE(axis.Place(-1e20F, 2.0 * static_cast<double>(1e20F), 10, cells));
  ExpectConsistent(axis, -1e20F, 1e20F, 10, cells, random);
  EXPECT_EQ(axis.end() - axis.begin(), 1);
}

TEST(GridAxis, NotFinite_NoSampleInAnyCell) {
  for (const float bad : {INFINITY, -INFINITY, NAN}) {
    for (int end = 0; end < 2; ++end) {
      GridAxis axis;
      ASSERT_TRUE(axis.Place(end == 0 ? bad : 0.0F, end == 0 ? 1.0F : bad, 4, {0, 1, 2}));
      EXPECT_EQ(axis.size(), 5U);
      EXPECT_EQ(axis.begin(), axis.end());
      EXPECT_EQ(axis.CellBegin(0), axis.CellBegin(2));
    }
  }
}

TEST(CellAxis, Edges_TruncatedAndClosed) {
  const CellAxis cells = {10, 4, 4};
  EXPECT_EQ(cells.IndexOf(10), 0);
  EXPECT_EQ(cells.IndexOf(13.9F), 3);
  EXPECT_EQ(cells.IndexOf(14), 3);     // the far edge
  EXPECT_EQ(cells.IndexOf(14.9F), 3);  // and a cell's width behind it
  EXPECT_EQ(cells.IndexOf(9.1F), 0);   // truncated toward zero
  EXPECT_EQ(cells.IndexOf(9), -1);
  EXPECT_EQ(cells.IndexOf(15), 5);
  EXPECT_FALSE(cells.Has(cells.IndexOf(1e30F)));
  EXPECT_FALSE(cells.Has(cells.IndexOf(-1e30F)));
  EXPECT_FALSE(cells.Has(cells.IndexOf(NAN)));
}
