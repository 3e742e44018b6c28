// Profiles of height maps, and planes through meshes.
#include "analysis/section.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "drawing/mesh_cut.h"

namespace qv3d {
namespace {

HeightMap Random(int width, int height) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.x0 = 2;
  map.y0 = -1;
  map.xSize = static_cast<float>(width - 1);
  map.ySize = static_cast<float>(2 * (height - 1));
  std::mt19937 random(5);
  for (int k = 0; k < map.Count(); ++k) map.heights.push_back(static_cast<float>(random() % 1000) / 8);
  return map;
}

TEST(ProfileOf, EveryRowAndColumn_IsItself) {
  for (const auto& [width, height] :
       {std::pair(37, 53), std::pair(1000, 3), std::pair(3, 997), std::pair(2, 2)}) {
    const HeightMap map = Random(width, height);
    for (int row = 0; row < height; ++row) {
      const Profile profile = ProfileOf(map, {true, double(row)});
      for (int i = 0; i < width; ++i)
        ASSERT_NEAR(profile.heights[static_cast<std::size_t>(i)], map.At(i, row), 0.01);
      EXPECT_DOUBLE_EQ(profile.positions[0], 2);
      EXPECT_DOUBLE_EQ(profile.positions[1], 3);
    }
    for (int column = 0; column < width; ++column) {
      const Profile profile = ProfileOf(map, {false, double(column)});
      for (int j = 0; j < height; ++j)
        ASSERT_NEAR(profile.heights[static_cast<std::size_t>(j)], map.At(column, j), 0.01);
      EXPECT_DOUBLE_EQ(profile.positions[0], -1);
      EXPECT_DOUBLE_EQ(profile.positions[1], 1);
    }
  }
}

TEST(ProfileOf, BetweenTwoRows_IsInterpolated) {
  const HeightMap map = Random(10, 12);
  const Profile profile = ProfileOf(map, {true, 4.25});
  for (int i = 0; i < 10; ++i) {
    EXPECT_NEAR(profile.heights[static_cast<std::size_t>(i)], 0.75 * map.At(i, 4) + 0.25 * map.At(i, 5),
                1e-3);
  }
}

TEST(ProfileOf, MissingSamples_StayMissingAndTheNeighboursDoNotMatter) {
  HeightMap map = Random(20, 15);
  for (int i = 0; i < 20; ++i)
    map.heights[std::size_t{6 * 20} + static_cast<std::size_t>(i)] = float{QV_BAD_SAMPLE};
  for (const int row : {5, 7}) {
    const Profile profile = ProfileOf(map, {true, double(row)});
    for (int i = 0; i < 20; ++i)
      EXPECT_NEAR(profile.heights[static_cast<std::size_t>(i)], map.At(i, row), 1e-3);
  }
  for (const float h : ProfileOf(map, {true, 6}).heights) EXPECT_EQ(h, float{QV_BAD_SAMPLE});
  EXPECT_EQ(ProfileOf(map, {false, 3}).heights[6], float{QV_BAD_SAMPLE});
}

TEST(ProfileOf, Bands_TakeSoManyLinesAround) {
  const HeightMap map = Random(24, 31);
  for (const bool alongX : {true, false}) {
    const int lines = alongX ? map.height : map.width, samples = alongX ? map.width : map.height;
    for (const int band : {2, 3, 4, 7}) {
      for (int line = 0; line < lines; ++line) {
        const int first = std::max(0, line - (band - 1) / 2), last = std::min(lines - 1, line + band / 2);
        if (first == last) continue;
        const Profile mean = ProfileOf(map, {alongX, double(line), band, BandMode::kMean});
        const Profile highest = ProfileOf(map, {alongX, double(line), band, BandMode::kHighest});
        const Profile lowest = ProfileOf(map, {alongX, double(line), band, BandMode::kLowest});
        for (int k = 0; k < samples; ++k) {
          double sum = 0, low = 1e9, high = -1e9;
          for (int l = first; l <= last; ++l) {
            const double h = alongX ? map.At(k, l) : map.At(l, k);
            sum += h, low = std::min(low, h), high = std::max(high, h);
          }
          const auto at = static_cast<std::size_t>(k);
          ASSERT_NEAR(mean.heights[at], sum / (last - first + 1), 1e-3) << line << " of " << band;
          ASSERT_EQ(highest.heights[at], high);
          ASSERT_EQ(lowest.heights[at], low);
        }
      }
    }
  }
}

TEST(ProfileOf, BandWithoutSamples_IsMissing) {
  HeightMap map = Random(10, 10);
  for (int j = 0; j < 10; ++j)
    map.heights[std::size_t{10} * static_cast<std::size_t>(j) + 4] = float{QV_BAD_SAMPLE};
  for (const BandMode mode : {BandMode::kHighest, BandMode::kMean, BandMode::kLowest}) {
    const Profile profile = ProfileOf(map, {true, 5, 3, mode});
    for (std::size_t k = 0; k < 10; ++k) EXPECT_EQ(IsMissing(profile.heights[k]), k == 4);
  }
}

TEST(PlaneOf, Directions_AreSquareAndReadableFromTheFront) {
  const auto expectPoint = [](const Point& p, double x, double y, double z) {
    EXPECT_NEAR(p[0], x, 1e-12);
    EXPECT_NEAR(p[1], y, 1e-12);
    EXPECT_NEAR(p[2], z, 1e-12);
  };
  const CutPlane level = PlaneOf(0, 0, 2, 6);
  EXPECT_DOUBLE_EQ(level.offset, 3);
  expectPoint(level.right, 1, 0, 0);
  expectPoint(level.up, 0, 1, 0);
  expectPoint(PlaneOf(1, 0, 0, 0).right, 0, 1, 0);
  expectPoint(PlaneOf(1, 0, 0, 0).up, 0, 0, 1);
  expectPoint(PlaneOf(0, -1, 0, 0).right, 1, 0, 0);
  const CutPlane p = PlaneOf(1, -2, 3, 4);
  double right = 0, up = 0, both = 0, length = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    right += p.normal[k] * p.right[k];
    up += p.normal[k] * p.up[k];
    both += p.right[k] * p.up[k];
    length += p.up[k] * p.up[k];
  }
  EXPECT_NEAR(right, 0, 1e-12);
  EXPECT_NEAR(up, 0, 1e-12);
  EXPECT_NEAR(both, 0, 1e-12);
  EXPECT_NEAR(length, 1, 1e-12);
}

}  // namespace
}  // namespace qv3d
