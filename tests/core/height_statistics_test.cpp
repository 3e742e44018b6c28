#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/statistics_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::ForEachVariant;
using qv::test::GridKind;
using qv::test::Guarded;
using qv::test::Random;
using qv::test::RandomSamples;
using qv::test::SameBits;

constexpr float kBad = -1e10F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Statistic = unsigned(QV_CALL*)(const float*, int, float*);

struct Outcome {
  unsigned status;
  float value;
  bool written;
};

/// Calls a statistic on a guarded copy and checks that the copy stays as it was.
Outcome Measure(Statistic statistic, const std::vector<float>& samples) {
  const Guarded<float> input(samples);
  Guarded<float> result(1);
  const unsigned status = statistic(input.data(), static_cast<int>(samples.size()), result.data());
  EXPECT_TRUE(SameBits(input.data(), samples.data(), samples.size()));
  return {status, result[0], !result.Untouched()};
}

void ExpectValue(Statistic statistic, const std::vector<float>& samples, float expected) {
  ForEachVariant([&] {
    const Outcome outcome = Measure(statistic, samples);
    EXPECT_EQ(outcome.status, 0U);
    EXPECT_EQ(outcome.value, expected);
  });
}

void ExpectFailure(Statistic statistic, const std::vector<float>& samples) {
  ForEachVariant([&] {
    const Outcome outcome = Measure(statistic, samples);
    EXPECT_EQ(outcome.status, 1U);
    EXPECT_FALSE(outcome.written);
  });
}

// All five ways of having no usable sample.
const std::vector<std::vector<float>> kNothingUsable = {
    {}, {kBad}, {kNaN}, std::vector<float>(100, kBad), {kBad, kNaN, kBad, kNaN, kNaN}};

TEST(Statistics, MinusTwoZeroTwo_KnownValues) {
  const std::vector<float> samples = {-2, 0, 2};
  ExpectValue(ComputeAverage, samples, static_cast<float>(4.0 / 3));
  ExpectValue(ComputeRMS, samples, static_cast<float>(std::sqrt(8.0 / 3)));
  ExpectValue(ComputePeak, samples, 2);
  ExpectValue(ComputeValley, samples, 2);
  ExpectValue(ComputePeakToValley, samples, 4);
  ExpectValue(ComputeSkewness, samples, 0);
}

TEST(Statistics, MissingSample_IsIgnored) {
  for (const float missing : {kBad, kNaN, -kNaN}) {
    const std::vector<float> samples = {-3, missing, 1};
    ExpectValue(ComputeAverage, samples, 2);
    ExpectValue(ComputeRMS, samples, static_cast<float>(std::sqrt(5.0)));
    ExpectValue(ComputePeak, samples, 1);
    ExpectValue(ComputeValley, samples, 3);
    ExpectValue(ComputePeakToValley, samples, 4);
  }
}

TEST(Statistics, NothingUsable_MeansFailAndExtremesGiveStartValues) {
  for (const auto& samples : kNothingUsable) {
    SCOPED_TRACE(samples.size());
    for (const Statistic mean : {ComputeAverage, ComputeRMS, ComputeSkewness, ComputeKurtosis}) {
      ExpectFailure(mean, samples);
    }
    ExpectValue(ComputePeak, samples, -1.0000000331813535e32F);
    ExpectValue(ComputeValley, samples, 1.0000000331813535e32F);
    ExpectValue(ComputePeakToValley, samples, static_cast<float>(-2.0000000663627070e32));
  }
}

TEST(Statistics, NegativeCount_LikeNothingUsable) {
  const float samples[] = {1, 2, 3};
  ForEachVariant([&] {
    Guarded<float> result(1);
    for (const Statistic mean : {ComputeAverage, ComputeRMS, ComputeSkewness, ComputeKurtosis}) {
      EXPECT_EQ(mean(samples, -3, result.data()), 1U);
    }
    EXPECT_TRUE(result.Untouched());
    EXPECT_EQ(ComputePeak(samples, std::numeric_limits<int>::min(), result.data()), 0U);
    EXPECT_EQ(result[0], -1e32F);
  });
}

TEST(Statistics, AllZero_ShapeParametersAreNaN) {
  const std::vector<float> zeros(33, 0.0F);
  ExpectValue(ComputeAverage, zeros, 0);
  ExpectValue(ComputeRMS, zeros, 0);
  ForEachVariant([&] {
    for (const Statistic shape : {ComputeSkewness, ComputeKurtosis}) {
      const Outcome outcome = Measure(shape, zeros);
      EXPECT_EQ(outcome.status, 0U);
      EXPECT_TRUE(std::isnan(outcome.value));
    }
  });
}

TEST(ComputeValley, PositiveHeights_WritesTheMinimumsMagnitude) {
  ExpectValue(ComputeValley, {2, 5}, 2);
}

TEST(ComputePeak, SignedZeros_FirstOneWins) {
  for (const std::vector<float>& samples :
       {std::vector<float>{-0.0F, 0.0F}, {0.0F, -0.0F}, {-1, kBad, -0.0F, 0.0F, -3}, {-1, 0.0F, -0.0F}}) {
    ForEachVariant([&] {
      const float expected = qv::reference::Peak(samples);
      const Outcome outcome = Measure(ComputePeak, samples);
      EXPECT_TRUE(SameBits(&outcome.value, &expected, 1));
    });
  }
}

TEST(Statistics, Infinities_AreHeights) {
  ExpectValue(ComputeAverage, {1, -kInfinity}, kInfinity);
  ExpectValue(ComputePeak, {1, kInfinity, kBad}, kInfinity);
  ExpectValue(ComputeValley, {1, -kInfinity}, kInfinity);
}

TEST(ComputeSkewness, Rq_IsRoundedToFloatFirst) {
  // One sample: skewness is z^3 / Rq^3 with Rq = |z| rounded to float, which is exact here, and 1 in any
  // case.
  ExpectValue(ComputeSkewness, {0.1F}, 1);
  // 1 and 2: Rq = sqrt(2.5) is not a float; the rounding shows in the result.
  const double rq = static_cast<float>(std::sqrt(2.5));
  ExpectValue(ComputeSkewness, {1, 2}, static_cast<float>(4.5 / (rq * rq * rq)));
  ExpectValue(ComputeKurtosis, {1, 2}, static_cast<float>(8.5 / (rq * rq * rq * rq)));
}

/// A sum of n doubles in any order is off by at most n * 2^-53 * sum of magnitudes.
long double Bound(const qv::reference::PowerSum& sum) {
  return static_cast<long double>(sum.used + 4) * 0x1p-53L * sum.magnitude;
}

/// Within a relative slack (the error of the sums) of a value, then rounded to float.
::testing::AssertionResult Near(float actual, long double expected, long double slack) {
  const long double rounding = std::fabs(expected) * 0x1p-24L + 0x1p-149L;
  if (std::fabs(actual - expected) <= slack + rounding) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << actual << " is not within rounding of " << static_cast<double>(expected);
}

void CheckAgainstReference(const std::vector<float>& samples) {
  const auto absolutes = qv::reference::SumOfPowers(samples, 0),
             squares = qv::reference::SumOfPowers(samples, 2);
  const auto cubes = qv::reference::SumOfPowers(samples, 3), fourths = qv::reference::SumOfPowers(samples, 4);
  const Outcome average = Measure(ComputeAverage, samples), rms = Measure(ComputeRMS, samples);
  const Outcome skewness = Measure(ComputeSkewness, samples), kurtosis = Measure(ComputeKurtosis, samples);
  const float peak = qv::reference::Peak(samples), lowest = qv::reference::Lowest(samples);
  const float valley = std::fabs(lowest), range = static_cast<float>(static_cast<double>(peak) - lowest);
  const Outcome extremes[] = {Measure(ComputePeak, samples), Measure(ComputeValley, samples),
                              Measure(ComputePeakToValley, samples)};
  EXPECT_TRUE(SameBits(&extremes[0].value, &peak, 1));
  EXPECT_TRUE(SameBits(&extremes[1].value, &valley, 1));
  EXPECT_TRUE(SameBits(&extremes[2].value, &range, 1));
  if (absolutes.used == 0) {
    EXPECT_EQ(average.status + rms.status + skewness.status + kurtosis.status, 4U);
    return;
  }
  const long double n = static_cast<long double>(absolutes.used);
  EXPECT_TRUE(Near(average.value, absolutes.sum / n, Bound(absolutes) / n));
  EXPECT_TRUE(Near(rms.value, std::sqrt(squares.sum / n), std::sqrt(squares.sum / n) * Bound(squares)));
  if (rms.value == 0) return;
  const long double rq = rms.value;
  EXPECT_TRUE(Near(skewness.value, cubes.sum / n / (rq * rq * rq), 2 * Bound(cubes) / n / (rq * rq * rq)));
  EXPECT_TRUE(Near(kurtosis.value, fourths.sum / n / (rq * rq * rq * rq),
                   2 * Bound(fourths) / n / (rq * rq * rq * rq)));
}

TEST(Statistics, EverySizeAroundTheVectorWidth_AgreesWithReference) {
  Random random(1);
  for (std::size_t count = 0; count <= 100; ++count) {
    SCOPED_TRACE(count);
    const auto samples = RandomSamples(random, count, {.missing = 0.1, .nan = 0.05, .repeated = 0.3});
    ForEachVariant([&] { CheckAgainstReference(samples); });
  }
}

TEST(Statistics, RandomArrays_AgreeWithReference) {
  Random random(2);
  for (int round = 0; round < 60; ++round) {
    const GridKind kind = {.missing = random.Unit() * random.Below(2),
                           .nan = 0.2 * random.Below(2),
                           .repeated = random.Unit() * random.Below(2),
                           .magnitude = std::pow(10.0, random.Between(-6, 6))};
    const auto samples = RandomSamples(random, static_cast<std::size_t>(random.Below(5000)), kind);
    ForEachVariant([&] { CheckAgainstReference(samples); });
  }
}

TEST(Statistics, EveryInstructionSet_GivesTheSameBits) {
  Random random(3);
  for (int round = 0; round < 200; ++round) {
    const GridKind kind = {.missing = 0.2 * random.Below(2), .infinite = 0.001 * random.Below(2)};
    const auto samples = RandomSamples(random, static_cast<std::size_t>(random.Below(3000)), kind);
    for (const Statistic statistic : {ComputeAverage, ComputeRMS, ComputePeak, ComputeValley,
                                      ComputePeakToValley, ComputeSkewness, ComputeKurtosis}) {
      std::vector<float> values;
      ForEachVariant([&] {
        const Outcome outcome = Measure(statistic, samples);
        if (outcome.status == 0) values.push_back(outcome.value);
      });
      for (const float& value : values) EXPECT_TRUE(SameBits(&value, values.data(), 1));
    }
  }
}

// Ten-point height

Outcome MeasureTenPoint(const std::vector<float>& grid, int width, int height) {
  const Guarded<float> input(grid);
  Guarded<float> result(1);
  const unsigned status = ComputeTenPointHeight(input.data(), width, height, result.data());
  EXPECT_TRUE(SameBits(input.data(), grid.data(), grid.size()));
  return {status, result[0], !result.Untouched()};
}

/// A flat grid with single raised or lowered samples at every other inner position.
std::vector<float> Spikes(int width, int height, const std::vector<float>& spikes) {
  std::vector<float> grid(static_cast<std::size_t>(width) * height, 0.0F);
  std::size_t next = 0;
  for (int y = 1; y + 1 < height; y += 2) {
    for (int x = 1; x + 1 < width && next < spikes.size(); x += 2) {
      grid[static_cast<std::size_t>(y) * width + x] = spikes[next++];
    }
  }
  EXPECT_EQ(next, spikes.size());
  return grid;
}

TEST(ComputeTenPointHeight, TooFewRowsOrColumns_Fails) {
  for (const auto& [width, height] :
       {std::pair{3, 2}, {2, 3}, {2, 20}, {20, 2}, {0, 0}, {-5, 9}, {9, -5}, {3, 3}}) {
    const Outcome outcome = MeasureTenPoint(std::vector<float>(40, 1.0F), width, height);
    EXPECT_EQ(outcome.status, 1U) << width << " x " << height;
    EXPECT_FALSE(outcome.written);
  }
}

TEST(ComputeTenPointHeight, FivePeaksNoValleys_DividesByFive) {
  const Outcome outcome = MeasureTenPoint(Spikes(13, 3, {1, 2, 3, 4, 5, 6}), 13, 3);
  EXPECT_EQ(outcome.status, 0U);
  EXPECT_FLOAT_EQ(outcome.value, (2 + 3 + 4 + 5 + 6) / 5.0F);
}

TEST(ComputeTenPointHeight, ThreePeaksSevenValleys_ShortListIsFilledWithZeros) {
  const Outcome outcome = MeasureTenPoint(Spikes(11, 5, {1, 2, 3, -1, -2, -3, -4, -5, -6, -7}), 11, 5);
  EXPECT_EQ(outcome.status, 0U);
  EXPECT_FLOAT_EQ(outcome.value, (1 + 2 + 3 + 3 + 4 + 5 + 6 + 7) / 5.0F);
}

TEST(ComputeTenPointHeight, FourPeaksFourValleys_Fails) {
  EXPECT_EQ(MeasureTenPoint(Spikes(17, 3, {1, 2, 3, 4, -1, -2, -3, -4}), 17, 3).status, 1U);
}

TEST(ComputeTenPointHeight, PeakBesideAMissingOrEqualSample_IsNoPeak) {
  for (const float neighbour : {kBad, kNaN, 5.0F}) {
    auto grid = Spikes(11, 3, {5, 5, 5, 5, 5});
    EXPECT_EQ(MeasureTenPoint(grid, 11, 3).status, 0U);
    grid[0] = neighbour;  // touches the first spike only
    EXPECT_EQ(MeasureTenPoint(grid, 11, 3).status, 1U);
  }
}

TEST(ComputeTenPointHeight, RandomGrids_AgreeWithReference) {
  Random random(4);
  for (int round = 0; round < 300; ++round) {
    const int width = random.Between(1, 24), height = random.Between(1, 24);
    const auto grid = RandomSamples(
        random, static_cast<std::size_t>(width) * height,
        {.missing = 0.1 * random.Below(2), .nan = 0.05 * random.Below(2), .repeated = 0.5 * random.Below(2)});
    float expected = 0;
    const bool measurable = qv::reference::TenPointHeight(grid, width, height, &expected);
    const Outcome outcome = MeasureTenPoint(grid, width, height);
    ASSERT_EQ(outcome.status, measurable ? 0U : 1U) << width << " x " << height;
    ASSERT_EQ(outcome.written, measurable);
    if (!measurable) continue;
    ASSERT_EQ(outcome.value, expected);
  }
}

}  // namespace
