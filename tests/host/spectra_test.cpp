// Spectra, autocorrelation and frequency filters as the host uses them, against slow sums.
#include <QV_3D.h>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

#include "analysis/correlation.h"
#include "analysis/frequency_filter.h"
#include "analysis/padding.h"
#include "analysis/spectrum.h"
#include "failure.h"

namespace qv3d {
namespace {

constexpr double kPi = std::numbers::pi;

HeightMap Empty(int width, int height, double spacing) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.xSize = static_cast<float>(spacing * (width - 1));
  map.ySize = static_cast<float>(spacing * (height - 1));
  map.heights.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  return map;
}

HeightMap Sine(int width, int height, double spacing, double wavelength, double degrees, double amplitude) {
  HeightMap map = Empty(width, height, spacing);
  const double a = degrees * kPi / 180;
  for (int k = 0; k < map.Count(); ++k) {
    const int column = k % width, row = k / width;
    const double along = spacing * (column * std::cos(a) + row * std::sin(a));
    map.heights[static_cast<std::size_t>(k)] =
        static_cast<float>(amplitude * std::sin(2 * kPi * along / wavelength + 0.7));
  }
  return map;
}

HeightMap Random(int width, int height) {
  HeightMap map = Empty(width, height, 0.5);
  std::mt19937 random(static_cast<unsigned>(width * 100 + height));
  for (float& h : map.heights) h = 5 + static_cast<float>(random() % 1000) / 500;
  return map;
}

double Mean(const HeightMap& map) {
  double sum = 0;
  for (const float h : map.heights) sum += h;
  return sum / map.Count();
}

TEST(AmplitudesOf, SmallMaps_AreTheFourierSums) {
  for (const auto& [width, height] : {std::pair(8, 8), std::pair(5, 7), std::pair(16, 3)}) {
    const HeightMap map = Random(width, height);
    const double mean = Mean(map);
    const Spectrum s = AmplitudesOf(map);
    EXPECT_EQ(s.columns, PowerOfTwoAbove(width));
    EXPECT_EQ(s.rows, PowerOfTwoAbove(height));
    for (int v = 0; v < s.rows; ++v) {
      for (int u = 0; u < s.columns; ++u) {
        std::complex<double> sum = 0;
        for (int k = 0; k < map.Count(); ++k) {
          const int column = k % width, row = k / width, fx = u - s.columns / 2, fy = v - s.rows / 2;
          const double turns = double{1.0} * fx * column / s.columns + double{1.0} * fy * row / s.rows;
          sum += std::polar(map.heights[static_cast<std::size_t>(k)] - mean, 2 * kPi * turns);
        }
        EXPECT_NEAR(s.At(u, v), 2 * std::abs(sum) / map.Count(), 1e-5) << u << "," << v;
      }
    }
    EXPECT_NEAR(s.stepX, 1 / (0.5 * s.columns), 1e-6);
  }
}

TEST(DominantWave, Sines_AreFoundInEveryDirection) {
  for (const double degrees : {-60.0, -15.0, 0.0, 30.0, 45.0, 80.0, 90.0}) {
    for (const auto& [width, height] : {std::pair(300, 200), std::pair(256, 256), std::pair(100, 400)}) {
      const HeightMap map = Sine(width, height, 0.01, 0.237, degrees, 0.5);
      const auto wave = DominantWave(AmplitudesOf(map), map);
      ASSERT_TRUE(wave.has_value());
      EXPECT_NEAR(wave->wavelength, 0.237, 0.0005) << degrees;
      EXPECT_NEAR(wave->direction, degrees, 0.1);
      EXPECT_NEAR(wave->amplitude, 0.5, 0.01);
    }
  }
}

TEST(DominantWave, FlatMap_HasNone) {
  const HeightMap map = Empty(20, 30, 1);
  EXPECT_FALSE(DominantWave(AmplitudesOf(map), map).has_value());
}

TEST(RadialAverage, Sine_PeaksAtItsFrequencyAndAllTermsAreCounted) {
  const HeightMap map = Sine(256, 128, 0.01, 0.08, 33, 1);
  const auto rings = RadialAverage(AmplitudesOf(map));
  const auto peak =
      std::max_element(rings.begin(), rings.end(),
                       [](const RadialTerm& a, const RadialTerm& b) { return a.amplitude < b.amplitude; });
  EXPECT_NEAR(peak->frequency, 1 / 0.08, 0.8);
  EXPECT_NEAR(rings.back().frequency, 50, 0.01);
  EXPECT_EQ(rings.size(), 64u);
  std::size_t terms = 0;
  for (const RadialTerm& ring : rings) terms += ring.terms;
  // A circle in a grid of 256 x 128 terms that are half as far apart in x.
  EXPECT_NEAR(static_cast<double>(terms), kPi * 64.5 * 64.5 * 2, 300);
}

TEST(AutocorrelationOf, RandomMaps_AreTheSumsOverTheOverlap) {
  for (const auto& [width, height] : {std::pair(9, 6), std::pair(16, 16), std::pair(3, 2)}) {
    const HeightMap map = Random(width, height);
    const double mean = Mean(map);
    const HeightMap c = AutocorrelationOf(map);
    ASSERT_EQ(c.width, 2 * (width / 2) + 1);
    ASSERT_EQ(c.height, 2 * (height / 2) + 1);
    double square = 0;
    for (const float h : map.heights) square += (h - mean) * (h - mean) / map.Count();
    for (int dy = 0; dy <= height / 2; ++dy) {
      for (int dx = 0; dx <= width / 2; ++dx) {
        double sum = 0;
        for (int j = 0; j + dy < height; ++j) {
          for (int i = 0; i + dx < width; ++i) sum += (map.At(i, j) - mean) * (map.At(i + dx, j + dy) - mean);
        }
        const double expected = sum / ((width - dx) * (height - dy)) / square;
        EXPECT_NEAR(c.At(width / 2 + dx, height / 2 + dy), expected, 2e-5);
        EXPECT_NEAR(c.At(width / 2 - dx, height / 2 - dy), expected, 2e-5);
      }
    }
  }
}

TEST(AutocorrelationOf, FlatMap_IsRefused) {
  EXPECT_THROW(AutocorrelationOf(Empty(8, 8, 1)), Failure);
}

TEST(LengthOfCorrelation, Wave_DecaysAcrossAndNotAlong) {
  for (const double degrees : {0.0, 30.0, 90.0, 120.0}) {
    const HeightMap map = Sine(300, 300, 0.01, 0.4, degrees, 1);
    const CorrelationLength length = LengthOfCorrelation(AutocorrelationOf(map), kCorrelationThreshold);
    EXPECT_NEAR(length.fastest, 0.4 * std::acos(0.2) / (2 * kPi), 0.002);
    EXPECT_NEAR(length.fastestDirection, degrees, 2);
    EXPECT_EQ(length.slowest, 0);
  }
}

TEST(LengthOfCorrelation, Bumps_HaveTheLengthsOfTheirShape) {
  // exp(-(x/a)^2 - (y/b)^2) falls to 0.2 at sqrt(ln 5) times a and b.
  HeightMap c = Empty(401, 401, 0.01);
  for (int k = 0; k < c.Count(); ++k) {
    const int column = k % 401 - 200, row = k / 401 - 200;
    const double x = column * 0.01, y = row * 0.01;
    c.heights[static_cast<std::size_t>(k)] =
        static_cast<float>(std::exp(-std::pow(x / 0.3, 2) - std::pow(y / 0.9, 2)));
  }
  const CorrelationLength length = LengthOfCorrelation(c, 0.2);
  EXPECT_NEAR(length.fastest, 0.3 * std::sqrt(std::log(5)), 0.002);
  EXPECT_NEAR(length.slowest, 0.9 * std::sqrt(std::log(5)), 0.002);
  EXPECT_EQ(length.fastestDirection, 0);
  EXPECT_EQ(length.slowestDirection, 90);
}

/// What is left of a wave, in the middle of the map where edges do not matter.
double Transmission(const HeightMap& map, const FrequencyFilter& filter) {
  const FrequencyFiltered filtered = FilterByFrequency(map, filter);
  double before = 0, after = 0;
  for (int j = map.height / 4; j < 3 * map.height / 4; ++j) {
    for (int i = map.width / 4; i < 3 * map.width / 4; ++i) {
      before += std::pow(map.At(i, j), 2);
      after += std::pow(filtered.heights[static_cast<std::size_t>(j) * static_cast<std::size_t>(map.width) +
                                         static_cast<std::size_t>(i)],
                        2);
    }
  }
  return std::sqrt(after / before);
}

constexpr FrequencyFilterKind kAllKinds[] = {FrequencyFilterKind::kGaussian,
                                             FrequencyFilterKind::kButterworth, FrequencyFilterKind::kIdeal};

TEST(FilterByFrequency, LongWaves_SurviveLowPassAndShortOnesHighPass) {
  for (const FrequencyFilterKind kind : kAllKinds) {
    for (const auto& [width, height] : {std::pair(256, 256), std::pair(512, 256), std::pair(300, 300)}) {
      for (const double degrees : {0.0, 45.0, 90.0}) {
        const HeightMap longWave = Sine(width, height, 0.01, 1.28, degrees, 1);
        const HeightMap shortWave = Sine(width, height, 0.01, 0.04, degrees, 1);
        EXPECT_GT(Transmission(longWave, {Pass::kLow, kind, 0.25}), 0.9);
        EXPECT_LT(Transmission(longWave, {Pass::kHigh, kind, 0.25}), 0.1);
        EXPECT_GT(Transmission(shortWave, {Pass::kHigh, kind, 0.25}), 0.9);
        EXPECT_LT(Transmission(shortWave, {Pass::kLow, kind, 0.25}), 0.1);
      }
    }
  }
}

TEST(FilterByFrequency, WaveAtTheCutoff_KeepsHalf) {
  for (const FrequencyFilterKind kind : {FrequencyFilterKind::kGaussian, FrequencyFilterKind::kButterworth}) {
    for (const double degrees : {0.0, 30.0, 90.0}) {
      for (const auto& [width, height] : {std::pair(512, 512), std::pair(512, 256), std::pair(500, 400)}) {
        const HeightMap map = Sine(width, height, 0.01, 0.25, degrees, 1);
        EXPECT_NEAR(Transmission(map, {Pass::kLow, kind, 0.25}), 0.5, 0.06);
        EXPECT_NEAR(Transmission(map, {Pass::kHigh, kind, 0.25}), 0.5, 0.06);
      }
    }
  }
}

TEST(FilterByFrequency, LowAndHighPass_MakeUpTheSurface) {
  const HeightMap map = Random(60, 45);
  for (const FrequencyFilterKind kind : {FrequencyFilterKind::kGaussian, FrequencyFilterKind::kButterworth}) {
    const FrequencyFiltered low = FilterByFrequency(map, {Pass::kLow, kind, 5});
    const FrequencyFiltered high = FilterByFrequency(map, {Pass::kHigh, kind, 5});
    for (std::size_t k = 0; k < map.heights.size(); ++k)
      ASSERT_NEAR(low.heights[k] + high.heights[k], map.heights[k], 1e-4);
  }
}

TEST(FilterByFrequency, IdealCutoff_HoldsAlongTheAxesAndIsToldForDiagonals) {
  const FrequencyFilter filter{Pass::kLow, FrequencyFilterKind::kIdeal, 0.25};
  const HeightMap any = Sine(512, 512, 0.01, 0.25, 0, 1);
  const Cutoffs cutoffs = FilterByFrequency(any, filter).cutoffs;
  EXPECT_NEAR(cutoffs.x, 0.25, 1e-9);
  for (const auto& [degrees, cutoff] :
       {std::pair(0.0, cutoffs.x), std::pair(90.0, cutoffs.y), std::pair(45.0, cutoffs.diagonal)}) {
    EXPECT_GT(Transmission(Sine(512, 512, 0.01, cutoff * 1.1, degrees, 1), filter), 0.9) << degrees;
    EXPECT_LT(Transmission(Sine(512, 512, 0.01, cutoff * 0.9, degrees, 1), filter), 0.1) << degrees;
  }
}

TEST(FilterByFrequency, CutoffOutsideTheSurface_IsAUsageError) {
  const HeightMap map = Random(20, 20);
  for (const double cutoff : {0.9, 10.5}) {
    try {
      FilterByFrequency(map, {Pass::kLow, FrequencyFilterKind::kGaussian, cutoff});
      ADD_FAILURE() << cutoff;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::kUsage);
    }
  }
}

}  // namespace
}  // namespace qv3d
