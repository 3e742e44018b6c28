#include <algorithm>
#include <climits>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Guarded;
using qv::test::Random;

std::vector<std::uint32_t> Numbered(int width, int height) {
  std::vector<std::uint32_t> grid(static_cast<std::size_t>(std::max(width, 0)) * std::max(height, 0));
  for (std::size_t i = 0; i < grid.size(); ++i) grid[i] = 0xD0150200U + static_cast<std::uint32_t>(i);
  return grid;
}

TEST(CropSurface, BlockPastTheEnd_IsClipped) {
  const auto grid = Numbered(4, 3);
  Guarded<std::uint32_t> block(4);
  EXPECT_EQ(CropSurface(grid.data(), block.data(), 1, 1, 4, 3, 2, 5), 1);
  EXPECT_EQ(block.Values(), (std::vector<std::uint32_t>{grid[5], grid[6], grid[9], grid[10]}));
}

TEST(CropSurface, NothingToCopy_ReturnsOneAndWritesNothing) {
  const auto grid = Numbered(4, 3);
  struct Case {
    int column, row, width, height, cropWidth, cropHeight;
  };
  for (const Case& c : {Case{0, 0, 4, 0, 2, 2},
                        {0, 0, 4, -1, 2, 2},
                        {0, 0, 0, 3, 2, 2},
                        {4, 0, 4, 3, 2, 2},
                        {0, 3, 4, 3, 2, 2},
                        {-5, 0, 4, 3, 5, 2},
                        {0, 0, 4, 3, 0, 2},
                        {0, 0, 4, 3, 2, -2},
                        {INT_MAX, INT_MAX, 4, 3, INT_MAX, INT_MAX},
                        {INT_MIN, 0, 4, 3, 5, 3}}) {
    Guarded<std::uint32_t> block(0);
    EXPECT_EQ(
        CropSurface(grid.data(), block.data(), c.column, c.row, c.width, c.height, c.cropWidth, c.cropHeight),
        1);
  }
}

TEST(CropSurface, RandomBlocks_EqualTheWalkOverEverySample) {
  Random random(31);
  for (int round = 0; round < 1000; ++round) {
    const int width = random.Between(1, 9), height = random.Between(1, 9);
    const int column = random.Between(-4, 11), row = random.Between(-4, 11);
    const int cropWidth = random.Chance(0.1) ? INT_MAX : random.Between(-2, 12);
    const int cropHeight = random.Chance(0.1) ? INT_MAX : random.Between(-2, 12);
    const auto grid = Numbered(width, height);
    std::vector<std::uint32_t> expected;
    for (int r = 0; r < height && r < std::int64_t{row} + cropHeight; ++r) {
      for (int c = 0; c < width && c < std::int64_t{column} + cropWidth; ++c) {
        if (r >= row && c >= column) expected.push_back(grid[static_cast<std::size_t>(r) * width + c]);
      }
    }
    Guarded<std::uint32_t> block(expected.size());
    ASSERT_EQ(CropSurface(grid.data(), block.data(), column, row, width, height, cropWidth, cropHeight), 1);
    ASSERT_EQ(block.Values(), expected);
  }
}

}  // namespace
