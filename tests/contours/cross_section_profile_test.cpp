#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/profile_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Guarded;
using qv::test::Random;
using qv::test::reference::ProfileRequest;

constexpr float kBad = -1e10F, kNaN = std::numeric_limits<float>::quiet_NaN();

/// The profile that the request gives where `before` stood.
std::vector<float> Profile(const ProfileRequest& q, const std::vector<float>& heights,
                           const std::vector<float>& before) {
  const Guarded<float> input(heights);
  Guarded<float> out(before);
  EXPECT_EQ(ComputeCrossSectionProfile(q.width, q.height, q.direction, q.bandMode, 77, q.position, q.halfBand,
                                       input.data(), out.data(), q.scale),
            0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), heights.data(), heights.size()));
  return out.Values();
}

std::vector<float> Profile(const ProfileRequest& q, const std::vector<float>& heights) {
  return Profile(q, heights,
                 std::vector<float>(static_cast<std::size_t>(q.direction == 0 ? q.width : q.height), 5.0F));
}

const std::vector<float> kSmall = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};  // 3 columns, 4 rows

TEST(ComputeCrossSectionProfile, PositionsZeroAndOne_TakeTheFirstAndTheLastRow) {
  EXPECT_EQ(Profile({3, 4, 0, 1, 0, 0, 1}, kSmall), (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(Profile({3, 4, 0, 1, 1, 0, 1}, kSmall), (std::vector<float>{10, 11, 12}));
}

TEST(ComputeCrossSectionProfile, PositionBetweenRows_IsInterpolatedAndScaled) {
  EXPECT_EQ(Profile({3, 4, 0, 1, 0.5F, 0, 2}, kSmall), (std::vector<float>{11, 13, 15}));
}

TEST(ComputeCrossSectionProfile, ColumnProfile_RunsFromTheLastRowToTheFirst) {
  EXPECT_EQ(Profile({3, 4, 1, 1, 0, 0, 1}, kSmall), (std::vector<float>{10, 7, 4, 1}));
  EXPECT_EQ(Profile({3, 4, 1, 1, 0.25F, 0, 1}, kSmall), (std::vector<float>{10.5F, 7.5F, 4.5F, 1.5F}));
  EXPECT_EQ(Profile({3, 4, 1, 0, 0.5F, 1, 1}, kSmall), (std::vector<float>{12, 9, 6, 3}));
}

TEST(ComputeCrossSectionProfile, BandModes_GiveMaximumMeanAndMinimum) {
  qv::test::ForEachVariant([] {
    EXPECT_EQ(Profile({3, 4, 0, 0, 0.5F, 1, 1}, kSmall), (std::vector<float>{7, 8, 9}));
    EXPECT_EQ(Profile({3, 4, 0, 1, 0.5F, 1, 1}, kSmall), (std::vector<float>{4, 5, 6}));
    EXPECT_EQ(Profile({3, 4, 0, 2, 0.5F, 1, 1}, kSmall), (std::vector<float>{1, 2, 3}));
  });
}

TEST(ComputeCrossSectionProfile, HalfBandPastTheGrid_IsClamped) {
  EXPECT_EQ(Profile({3, 4, 0, 0, 0, 0.6F, 1}, kSmall), (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(Profile({3, 4, 0, 0, 0, 1e30F, 1}, kSmall), (std::vector<float>{10, 11, 12}));
  EXPECT_EQ(Profile({3, 4, 0, 2, 1, std::numeric_limits<float>::infinity(), 1}, kSmall),
            (std::vector<float>{1, 2, 3}));
}

TEST(ComputeCrossSectionProfile, NegativeHalfBand_IsAnEmptyBandWhoseStartValueIsScaled) {
  qv::test::ForEachVariant([] {
    for (const int direction : {0, 1}) {
      EXPECT_EQ(Profile({3, 4, direction, 0, 0.5F, -1, 2}, kSmall)[1], -1e32F * 2);
      EXPECT_EQ(Profile({3, 4, direction, 2, 0.5F, -1, 2}, kSmall)[1], 1e32F * 2);
      EXPECT_TRUE(std::isnan(Profile({3, 4, direction, 1, 0.5F, -1, 2}, kSmall)[1]));
    }
  });
}

TEST(ComputeCrossSectionProfile, BandWithoutValidSamples_GivesTheStartValue) {
  qv::test::ForEachVariant([] {
    const std::vector<float> heights = {kBad, 1, kNaN, kBad, 2, kBad};  // 3 columns, 2 rows
    EXPECT_EQ(Profile({3, 2, 0, 0, 0, 2, 1}, heights), (std::vector<float>{-1e32F, 2, -1e32F}));
    EXPECT_EQ(Profile({3, 2, 0, 2, 0, 2, 1}, heights), (std::vector<float>{1e32F, 1, 1e32F}));
    const auto mean = Profile({3, 2, 0, 1, 0, 2, 1}, heights);
    EXPECT_TRUE(std::isnan(mean[0]) && std::isnan(mean[2]));
    EXPECT_EQ(mean[1], 1.5F);
  });
}

TEST(ComputeCrossSectionProfile, MissingSamplesOfASingleRow_GoByBitPattern) {
  const std::vector<float> heights = {kBad, 1, kNaN, 4, kBad, 5};  // 3 columns, 2 rows
  const auto profile = Profile({3, 2, 0, 1, 0.5F, 0, 3}, heights);
  EXPECT_EQ(profile[0], kBad);  // not scaled
  EXPECT_EQ(profile[1], 3);     // no neighbour
  EXPECT_TRUE(std::isnan(profile[2]));
}

TEST(ComputeCrossSectionProfile, MissingSamplesOfASingleColumn_GoByValueThenByBitPattern) {
  const std::vector<float> heights = {kBad, 1, 2, kBad, kNaN, 1, 3, kNaN};  // 2 columns, 4 rows
  const auto profile = Profile({2, 4, 1, 1, 0.5F, 0, 3}, heights);
  EXPECT_TRUE(std::isnan(profile[0]));  // the neighbour is a NaN
  EXPECT_EQ(profile[1], kBad);          // the sample is
  EXPECT_EQ(profile[2], 6);
  EXPECT_EQ(profile[3], kBad);
}

TEST(ComputeCrossSectionProfile, UnknownMode_ScalesWhatWasThere) {
  for (const int mode : {-1, 3, 100}) {
    EXPECT_EQ(Profile({3, 4, 0, mode, 0.5F, 1, 2}, kSmall, {5, kBad, 7}), (std::vector<float>{10, kBad, 14}));
    // A single row is not a matter of the mode.
    EXPECT_EQ(Profile({3, 4, 0, mode, 0, 0, 2}, kSmall), (std::vector<float>{2, 4, 6}));
  }
}

TEST(ComputeCrossSectionProfile, UnknownDirectionOrNoSamples_DoesNothing) {
  for (const ProfileRequest& q : {ProfileRequest{3, 4, 2, 0, 0, 0, 2},
                                  {3, 4, -1, 0, 0, 0, 2},
                                  {0, 4, 0, 0, 0, 0, 2},
                                  {3, 0, 0, 0, 0, 0, 2},
                                  {-3, 4, 1, 0, 0, 0, 2},
                                  {3, -4, 1, 1, 0, 5, 2}}) {
    EXPECT_EQ(Profile(q, kSmall, {5, 6, 7, 8}), (std::vector<float>{5, 6, 7, 8}));
  }
}

TEST(ComputeCrossSectionProfile, FirstOfEqualExtremes_IsKept) {
  qv::test::ForEachVariant([] {
    const std::vector<float> heights = {-0.0F, 0.0F, 0.0F, -0.0F};  // 2 columns, 2 rows
    for (const int mode : {0, 2}) {
      const auto row = Profile({2, 2, 0, mode, 0, 2, 1}, heights),
                 column = Profile({2, 2, 1, mode, 0, 2, 1}, heights);
      EXPECT_TRUE(std::signbit(row[0]) && !std::signbit(row[1]));
      EXPECT_TRUE(!std::signbit(column[0]) && std::signbit(column[1]));
    }
  });
}

TEST(ComputeCrossSectionProfile, RandomRequests_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(81);
    for (int round = 0; round < 1500; ++round) {
      const bool wide = round % 50 == 0;
      const ProfileRequest q = {wide ? random.Between(1000, 2100) : random.Between(1, 70),
                                random.Between(1, 60),
                                round % 2,
                                random.Between(-1, 3),
                                static_cast<float>(random.Between(-0.2, 1.2)),
                                static_cast<float>(random.Between(-3.0, 40.0) * random.Between(0.0, 1.0)),
                                static_cast<float>(random.Between(-3.0, 3.0))};
      const auto count = static_cast<std::size_t>(q.width) * static_cast<std::size_t>(q.height);
      const auto heights = qv::test::RandomSamples(
          random, count,
          {.missing = 0.1, .nan = round % 3 == 0 ? 0.02 : 0.0, .repeated = 0.2, .magnitude = 3});
      const auto before = qv::test::RandomSamples(
          random, static_cast<std::size_t>(q.direction == 0 ? q.width : q.height), {.missing = 0.1});
      const auto expected = qv::test::reference::ReferenceProfile(q, heights, before);
      const auto actual = Profile(q, heights, before);
      for (std::size_t k = 0; k < expected.size(); ++k) {
        if (std::isnan(expected[k])) {
          ASSERT_TRUE(std::isnan(actual[k]));
        } else {
          ASSERT_TRUE(qv::test::SameBits(&actual[k], &expected[k], 1)) << k;
        }
      }
    }
  });
}

}  // namespace
