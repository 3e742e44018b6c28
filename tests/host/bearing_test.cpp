// The distribution of heights, against counting.
#include "analysis/bearing.h"

#include <QV_3D.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>

#include "failure.h"
#include "random.h"

namespace qv3d {
namespace {

HeightMap MapOf(std::vector<float> heights) {
  HeightMap map;
  map.width = static_cast<int>(heights.size()) / 2;
  map.height = 2;
  map.xSize = map.ySize = 1;
  map.heights = std::move(heights);
  return map;
}

HeightMap RandomMap(int count, int holes) {
  Random random(11);
  std::vector<float> heights;
  for (int i = 0; i < count; ++i) {
    heights.push_back(i < holes ? static_cast<float>(QV_BAD_SAMPLE) : static_cast<float>(random.Normal()));
  }
  return MapOf(heights);
}

TEST(HistogramOf, RandomHeights_EveryClassHoldsWhatIsCounted) {
  const HeightMap map = RandomMap(4000, 300);
  const Histogram histogram = HistogramOf(map, 37);
  ASSERT_EQ(histogram.shares.size(), 37u);
  EXPECT_NEAR(std::accumulate(histogram.shares.begin(), histogram.shares.end(), 0.0), 1, 1e-9);
  const auto [low, high] = HeightRange(map);
  EXPECT_EQ(histogram.low, low);
  EXPECT_NEAR(histogram.low + 37 * histogram.step, high, 1e-9);
  for (std::size_t k = 0; k < 37; ++k) {
    const double from = histogram.low + static_cast<double>(k) * histogram.step, to = from + histogram.step;
    const auto inside = std::count_if(map.heights.begin(), map.heights.end(), [&](float h) {
      return !IsMissing(h) && h >= from && (h < to || k == 36);
    });
    EXPECT_NEAR(histogram.shares[k], static_cast<double>(inside) / 3700, 1.5 / 3700) << k;
  }
}

TEST(HistogramOf, FlatMap_OneClass) {
  const Histogram histogram = HistogramOf(MapOf({3, 3, static_cast<float>(QV_BAD_SAMPLE), 3}), 10);
  EXPECT_EQ(histogram.shares, std::vector<double>{1});
  EXPECT_EQ(histogram.low, 3);
}

TEST(BearingCurve, RandomHeights_ThatShareReachesTheHeight) {
  const HeightMap map = RandomMap(4000, 300);
  const auto curve = BearingCurve(map, 40);
  ASSERT_EQ(curve.size(), 41u);
  const auto [low, high] = HeightRange(map);
  EXPECT_EQ(curve.front(), (std::pair<double, double>(0, high)));
  EXPECT_EQ(curve.back(), (std::pair<double, double>(1, low)));
  for (std::size_t k = 1; k < curve.size(); ++k) {
    const auto [ratio, height] = curve[k];
    const auto reach = std::count_if(map.heights.begin(), map.heights.end(),
                                     [&, z = height](float h) { return !IsMissing(h) && h >= z; });
    EXPECT_NEAR(static_cast<double>(reach) / 3700, ratio, 1.0 / 3700);
    EXPECT_LE(height, curve[k - 1].second);
  }
}

TEST(BearingCurve, FourSamples_StandAtTheirShares) {
  const auto curve = BearingCurve(MapOf({1, 4, 2, 3}), 4);
  const std::vector<std::pair<double, double>> expected{{0, 4}, {0.25, 4}, {0.5, 3}, {0.75, 2}, {1, 1}};
  EXPECT_EQ(curve, expected);
}

TEST(Distribution, NothingMeasured_IsRefused) {
  const HeightMap map = RandomMap(8, 8);
  EXPECT_THROW(HistogramOf(map, 5), Failure);
  EXPECT_THROW(BearingCurve(map, 5), Failure);
}

}  // namespace
}  // namespace qv3d
