#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/contour_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Guarded;
using qv::test::Random;
namespace reference = qv::test::reference;

int Compute(const float* h, int width, int height, const float* x, const float* y, float level,
            float* segments) {
  return ComputeContoursf(h, width, height, x, y, level, segments);
}
int Compute(const double* h, int width, int height, const double* x, const double* y, double level,
            double* segments) {
  return ComputeContours(h, width, height, x, y, level, segments);
}

template <class Real>
struct Map {
  int width, height;
  std::vector<Real> heights, x, y;
};

template <class Real>
std::vector<Real> Segments(const Map<Real>& map, Real level) {
  const Guarded<Real> heights(map.heights), x(map.x), y(map.y);
  const std::size_t cells =
      map.width < 2 || map.height < 2 ? 0 : static_cast<std::size_t>(map.width - 1) * (map.height - 1);
  Guarded<Real> out(16 * cells);
  const Guarded<Real> pattern(16 * cells);
  const int count = Compute(heights.data(), map.width, map.height, x.data(), y.data(), level, out.data());
  EXPECT_TRUE(qv::test::SameBits(heights.data(), map.heights.data(), map.heights.size()));
  EXPECT_TRUE(qv::test::SameBits(x.data(), map.x.data(), map.x.size()));
  EXPECT_TRUE(qv::test::SameBits(y.data(), map.y.data(), map.y.size()));
  const std::size_t used = 4 * static_cast<std::size_t>(count);
  EXPECT_LE(used, out.size());
  EXPECT_TRUE(qv::test::SameBits(out.data() + used, pattern.data() + used, out.size() - used))
      << "written behind the last segment";
  return std::vector<Real>(out.data(), out.data() + used);
}

template <class Real>
Map<Real> Evenly(int width, int height, std::vector<Real> heights) {
  Map<Real> map = {width, height, std::move(heights), {}, {}};
  for (int i = 0; i < width; ++i) map.x.push_back(static_cast<Real>(i));
  for (int j = 0; j < height; ++j) map.y.push_back(static_cast<Real>(j));
  return map;
}

/// Spacings that grow, shrink and go backwards.
template <class Real>
Map<Real> Unevenly(Random& random, int width, int height, std::vector<Real> heights) {
  Map<Real> map = Evenly(width, height, std::move(heights));
  for (Real& x : map.x) x = static_cast<Real>(random.Between(-100.0, 100.0));
  for (Real& y : map.y) y = random.Chance(0.2) ? Real{0} : static_cast<Real>(random.Between(-1e-3, 1e-3));
  return map;
}

template <class Real>
void ExpectLikeReference(const Map<Real>& map, Real level, reference::CaseCounts* counts = nullptr) {
  const auto actual = Segments(map, level);
  const auto expected = reference::Contours(map.heights, map.width, map.height, map.x, map.y, level, counts);
  ASSERT_EQ(actual.size(), expected.size()) << map.width << " x " << map.height;
  ASSERT_TRUE(qv::test::SameBits(actual.data(), expected.data(), expected.size()))
      << map.width << " x " << map.height;
}

template <class Real>
class ContoursOf : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ContoursOf, Reals);

TYPED_TEST(ContoursOf, StepThroughTheMiddle_GivesTwoSegmentsFromTheCentre) {
  qv::test::ForEachVariant([] {
    const auto map = Evenly<TypeParam>(2, 2, {0, 0, 2, 2});
    const TypeParam half = 0.5;
    EXPECT_EQ(Segments<TypeParam>(map, 1),
              (std::vector<TypeParam>{half, half, 1, half, half, half, 0, half}));
  });
}

TYPED_TEST(ContoursOf, LevelAboveOrBelowEverything_GivesNothing) {
  qv::test::ForEachVariant([] {
    Random random(71);
    const auto map = Evenly(41, 23, qv::test::RandomSamples<TypeParam>(random, 41 * 23, {}));
    EXPECT_TRUE(Segments<TypeParam>(map, 1.5).empty());
    EXPECT_TRUE(Segments<TypeParam>(map, -1.5).empty());
  });
}

TYPED_TEST(ContoursOf, FlatCellsOnTheLevel_GiveTheirFourSidesEach) {
  qv::test::ForEachVariant([] {
    const auto one = Evenly<TypeParam>(2, 2, {7, 7, 7, 7});
    EXPECT_EQ(Segments<TypeParam>(one, 7),
              (std::vector<TypeParam>{1, 0, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0, 0, 1}));
    const auto flat = Evenly<TypeParam>(30, 20, std::vector<TypeParam>(600, 7));
    EXPECT_EQ(Segments<TypeParam>(flat, 7).size(), 16U * 29 * 19);
    ExpectLikeReference<TypeParam>(flat, 7);
  });
}

TYPED_TEST(ContoursOf, CornerOnTheLevelBelowTheOthers_GivesNothing) {
  EXPECT_TRUE(Segments<TypeParam>(Evenly<TypeParam>(2, 2, {0, 1, 1, 1}), 0).empty());
}

TYPED_TEST(ContoursOf, OneRowOrColumn_GivesNothing) {
  for (const auto& [width, height] : {std::pair{1, 5}, {5, 1}, {1, 1}, {0, 0}, {-3, 4}, {4, -3}}) {
    const Map<TypeParam> map = {width, height, std::vector<TypeParam>(5), std::vector<TypeParam>(5),
                                std::vector<TypeParam>(5)};
    EXPECT_TRUE(Segments<TypeParam>(map, 0).empty());
  }
}

TYPED_TEST(ContoursOf, EverySignCaseOfATriangle_IsReachedAndEqualsTheReference) {
  qv::test::ForEachVariant([] {
    reference::CaseCounts counts = {};
    Random random(72);
    for (int round = 0; round < 40; ++round) {
      std::vector<TypeParam> heights(23 * 17);
      for (TypeParam& z : heights) z = static_cast<TypeParam>(random.Between(-2, 2));
      ExpectLikeReference<TypeParam>(Unevenly(random, 23, 17, heights), 0, &counts);
    }
    for (const auto& plane : counts) {
      for (const auto& row : plane) {
        for (const int count : row) EXPECT_GT(count, 0);
      }
    }
  });
}

TYPED_TEST(ContoursOf, RandomGridsOfAllSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(73);
    const auto grid = [&](int width, int height, const qv::test::GridKind& kind) {
      const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
      return Unevenly(random, width, height, qv::test::RandomSamples<TypeParam>(random, count, kind));
    };
    for (int width = 2; width < 80; ++width) {
      ExpectLikeReference<TypeParam>(grid(width, 5, {.repeated = 0.3}), 0);
      ExpectLikeReference<TypeParam>(grid(width, 3, {.missing = 0.1, .repeated = 0.1}), TypeParam(0.3));
    }
    // Around the number of cells that are looked at together.
    for (const int width : {511, 512, 513, 514, 520, 529, 1024, 1025, 1026, 1045}) {
      ExpectLikeReference<TypeParam>(grid(width, 3, {.repeated = 0.05}), TypeParam(0.9));
    }
    for (int round = 0; round < 30; ++round) {
      const int width = random.Between(2, 200), height = random.Between(2, 60);
      ExpectLikeReference<TypeParam>(grid(width, height, {.missing = 0.05, .magnitude = 1e-42}), 0);
      ExpectLikeReference<TypeParam>(grid(width, height, {.repeated = 1}), 1);
      ExpectLikeReference<TypeParam>(grid(width, height, {.missing = 0.5}), TypeParam(0.5));
    }
  });
}

template <class Real, class Height>
std::vector<Real> Sampled(int width, int height, Height f) {
  std::vector<Real> heights;
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) heights.push_back(static_cast<Real>(f(i, j)));
  }
  return heights;
}

/// The triangles beside a side cross it in opposite directions, and a zero between equal products takes its
/// sign from that.
TYPED_TEST(ContoursOf, CrossingsAtZero_HaveTheSignOfTheirDirection) {
  qv::test::Random random(21);
  qv::test::ForEachVariant([&] {
    for (int k = 0; k < 50; ++k) {
      std::vector<TypeParam> heights(40 * 3);
      for (TypeParam& z : heights) z = static_cast<TypeParam>(random.Chance(0.5) ? 1 : -1);
      auto map = Evenly<TypeParam>(40, 3, heights);
      for (int i = 0; i < 40; ++i)
        map.x[static_cast<std::size_t>(i)] = static_cast<TypeParam>(i % 2 == 0 ? -1 : 1);
      map.y = {-2, 2, -2};
      ExpectLikeReference<TypeParam>(map, 0);
    }
  });
}

TYPED_TEST(ContoursOf, SteppedSaddleRichAndSmoothGrids_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(74);
    const int width = 130, height = 90;
    const auto stairs = Sampled<TypeParam>(width, height, [](int i, int j) { return (i / 7 + j / 5) % 4; });
    const auto saddles = Sampled<TypeParam>(
        width, height, [&](int i, int j) { return ((i + j) % 2 == 0 ? 1 : -1) * random.Between(0.5, 1.5); });
    const auto waves = Sampled<TypeParam>(
        width, height, [](int i, int j) { return std::sin(i * 0.2) + std::cos(j * 0.13); });
    for (const TypeParam level :
         {TypeParam(0), TypeParam(1), TypeParam(2), TypeParam(0.37), TypeParam(-0.8)}) {
      for (const auto* heights : {&stairs, &saddles, &waves}) {
        ExpectLikeReference<TypeParam>(Evenly<TypeParam>(width, height, *heights), level);
        ExpectLikeReference<TypeParam>(Unevenly<TypeParam>(random, width, height, *heights), level);
      }
    }
  });
}

TYPED_TEST(ContoursOf, NaNHeights_CountAsOnTheLevel) {
  qv::test::ForEachVariant([] {
    Random random(75);
    for (int round = 0; round < 20; ++round) {
      const auto map = Evenly(40, 12, qv::test::RandomSamples<TypeParam>(random, 480, {.nan = 0.1}));
      const auto expected = reference::Contours<TypeParam>(map.heights, 40, 12, map.x, map.y, 0);
      const auto actual = Segments<TypeParam>(map, 0);
      ASSERT_EQ(actual.size(), expected.size());
      for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_TRUE(actual[i] == expected[i] || (std::isnan(actual[i]) && std::isnan(expected[i]))) << i;
      }
    }
  });
}

TEST(ComputeContoursf, MissingSample_SilencesTheCellsThatTouchIt) {
  qv::test::ForEachVariant([] {
    // The level crosses every cell.
    std::vector<float> heights = Sampled<float>(20, 20, [](int i, int j) { return (i + j) % 2; });
    const auto all = Segments(Evenly<float>(20, 20, heights), 0.25F);
    heights[5 * 20 + 5] = -1e10F;
    const auto holed = Segments(Evenly<float>(20, 20, heights), 0.25F);
    for (std::size_t k = 0; k < holed.size(); k += 2) {
      EXPECT_FALSE(holed[k] > 4 && holed[k] < 6 && holed[k + 1] > 4 && holed[k + 1] < 6);
    }
    EXPECT_EQ(all.size() % (19 * 19), 0U);
    EXPECT_EQ(holed.size(), all.size() / (19 * 19) * (19 * 19 - 4));
  });
}

TEST(ComputeContours, Sentinel_IsAHeightLikeAnyOther) {
  qv::test::ForEachVariant([] {
    const auto map = Evenly<double>(3, 3, {1, 1, 1, 1, -1e10, 1, 1, 1, 1});
    EXPECT_FALSE(Segments(map, 0.0).empty());
    const auto floats = Evenly<float>(3, 3, {1, 1, 1, 1, -1e10F, 1, 1, 1, 1});
    EXPECT_TRUE(Segments(floats, 0.0F).empty());
  });
}

}  // namespace
