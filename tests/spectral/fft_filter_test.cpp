#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/spectra_reference.h"
#include "tests/spectral/exact_heights.h"
#include "tests/support/guarded.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Guarded;
using qv::test::Random;
namespace reference = qv::test::reference;

std::vector<float> Filtered(const std::vector<float>& heights, int width, int height, int type,
                            float parameter1) {
  const Guarded<float> input(heights);
  Guarded<float> out(heights.size());
  // The second parameter is not read.
  const float unread = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(FFTFilter(input.data(), width, height, type, parameter1, unread, out.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), heights.data(), heights.size()));
  return out.Values();
}

TEST(FFTFilter, EveryTypeAndRandomSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(61);
    for (int round = 0; round < 160; ++round) {
      const int width = round % 7 == 0 ? 1 : random.Between(1, 100),
                height = round % 7 == 1 ? 1 : random.Between(1, 100);
      const int type = round % 8 - 1;
      const auto parameter = static_cast<float>(random.Between(0.05, 1.5));
      const auto heights = qv::test::ExactHeights(random, width, height);
      const auto expected = reference::FFTFilter(heights, width, height, type, parameter);
      ASSERT_TRUE(qv::test::SameBits(Filtered(heights, width, height, type, parameter).data(),
                                     expected.data(), expected.size()))
          << width << " x " << height << " type " << type << " parameter " << parameter;
    }
  });
}

TEST(FFTFilter, UnknownType_GivesTheHeightsLessTheirMean) {
  Random random(62);
  for (const auto& [width, height] : {std::pair{16, 16}, {13, 21}, {1, 5}, {1, 1}}) {
    const auto heights = qv::test::ExactHeights(random, width, height);
    double mean = 0;
    for (const float z : heights) mean += z / static_cast<double>(heights.size());
    for (const int type : {9, 6, -1}) {
      const auto out = Filtered(heights, width, height, type, 0.5F);
      for (std::size_t i = 0; i < out.size(); ++i) ASSERT_NEAR(out[i], heights[i] - mean, 1e-5);
    }
  }
}

TEST(FFTFilter, ConstantHeights_GiveZeros) {
  for (int type = 0; type < 6; ++type) {
    for (const float z : Filtered(std::vector<float>(24, 3.0F), 6, 4, type, 0.3F)) EXPECT_EQ(z, 0.0F);
  }
}

std::vector<float> Wave(int side, int wavesPerSide) {
  std::vector<float> heights;
  for (int i = 0; i < side * side; ++i) {
    heights.push_back(
        std::cos(2 * 3.14159265F * static_cast<float>(wavesPerSide * (i % side)) / static_cast<float>(side)));
  }
  return heights;
}

double Energy(const std::vector<float>& values) {
  double sum = 0;
  for (const float v : values) sum += static_cast<double>(v) * v;
  return sum / static_cast<double>(values.size());
}

TEST(FFTFilter, IdealTypes_KeepTheWavesThatTheirNamesWouldRemove) {
  // Measured from the middle of the array: type 0 takes long waves away, type 1 short ones. The middle row is
  // that of the highest frequency along y, so a wave along x alone lies half a side away from it: use both.
  const int side = 64;
  auto lengthwise = Wave(side, 2), finest = Wave(side, 30);
  for (int i = 0; i < side * side; ++i) finest[i] *= i / side % 2 == 0 ? 1.0F : -1.0F;
  EXPECT_NEAR(Energy(Filtered(lengthwise, side, side, 0, 0.5F)), 0, 1e-9);
  EXPECT_NEAR(Energy(Filtered(lengthwise, side, side, 1, 0.5F)), 0.5, 1e-3);
  EXPECT_NEAR(Energy(Filtered(finest, side, side, 0, 0.5F)), 0.5, 1e-3);
  EXPECT_NEAR(Energy(Filtered(finest, side, side, 1, 0.5F)), 0, 1e-9);
}

TEST(FFTFilter, CutoffOfTheGainTables_HalvesTheEnergyAboutThere) {
  // 16 waves on a side of 64: distance 16 = R * 0.5. The mirrored term is damped by the gain of distance 15.
  const int side = 64;
  const auto wave = Wave(side, 16);
  const double butterworth = (1 / 1.414 + 1 / (1 + 0.414 * 225 / 256)) / 2;
  EXPECT_NEAR(std::sqrt(2 * Energy(Filtered(wave, side, side, 2, 0.5F))), butterworth, 0.01);
  const double gaussian = (std::sqrt(0.5) + std::pow(0.5, 0.5 * 225 / 256)) / 2;
  EXPECT_NEAR(std::sqrt(2 * Energy(Filtered(wave, side, side, 4, 0.5F))), gaussian, 0.01);
}

TEST(FFTFilter, CutoffZero_FollowsTheArithmetic) {
  Random random(63);
  const auto heights = qv::test::ExactHeights(random, 8, 8);
  EXPECT_TRUE(std::isnan(Filtered(heights, 8, 8, 2, 0)[0]));  // 0/0 at distance zero
  // Only the term in the middle has distance zero: what is left is a checkerboard.
  const auto checkerboard = Filtered(heights, 8, 8, 0, 0);
  for (int i = 0; i < 64; ++i) {
    const float sign = (i / 8 + i % 8) % 2 == 0 ? 1.0F : -1.0F;
    EXPECT_NEAR(checkerboard[i], sign * checkerboard[0], 1e-6);
  }
}

TEST(FFTFilter, OutputInTheInputArray_GivesTheSame) {
  Random random(64);
  const auto heights = qv::test::ExactHeights(random, 33, 20);
  auto inPlace = heights;
  FFTFilter(inPlace.data(), 33, 20, 4, 0.3F, 0, inPlace.data());
  EXPECT_EQ(inPlace, Filtered(heights, 33, 20, 4, 0.3F));
}

}  // namespace
