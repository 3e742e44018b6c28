#include <cmath>
#include <gtest/gtest.h>
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

std::vector<float> Amplitudes(const std::vector<float>& heights, int width, int height, int linear) {
  const Guarded<float> input(heights);
  Guarded<float> out(heights.size());
  EXPECT_EQ(PowerSpectrum(input.data(), width, height, linear, out.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), heights.data(), heights.size()));
  return out.Values();
}

std::vector<float> Correlation(const std::vector<float>& heights, int width, int height) {
  const Guarded<float> input(heights);
  Guarded<float> out(heights.size());
  EXPECT_EQ(Autocorrelate(input.data(), width, height, out.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), heights.data(), heights.size()));
  return out.Values();
}

TEST(PowerSpectrum, ConstantHeights_GiveZerosInBothForms) {
  qv::test::ForEachVariant([] {
    for (const int linear : {0, 1}) {
      for (const float v : Amplitudes(std::vector<float>(35, 4.0F), 5, 7, linear)) EXPECT_EQ(v, 0.0F);
    }
  });
}

TEST(PowerSpectrum, OneSineWaveInARow_GivesAmplitudesOrDecades) {
  qv::test::ForEachVariant([] {
    const auto linear = Amplitudes({0, 1, 0, -1}, 4, 1, 1), decades = Amplitudes({0, 1, 0, -1}, 4, 1, 0);
    const auto two = static_cast<float>(std::log10(2.0));
    EXPECT_EQ(linear, (std::vector<float>{0, 2, 0, 2}));
    EXPECT_EQ(decades, (std::vector<float>{0, two, 0, two}));
  });
}

TEST(PowerSpectrum, RandomSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(51);
    for (int round = 0; round < 120; ++round) {
      const int width = round % 5 == 0 ? 1 : random.Between(1, 140),
                height = round % 5 == 1 ? 1 : random.Between(1, 140);
      const auto heights = qv::test::ExactHeights(random, width, height);
      const int linear = round % 2 == 0 ? 0 : -5;
      const auto expected = reference::PowerSpectrum(heights, width, height, linear != 0);
      ASSERT_TRUE(qv::test::SameBits(Amplitudes(heights, width, height, linear).data(), expected.data(),
                                     expected.size()))
          << width << " x " << height;
    }
  });
}

TEST(PowerSpectrum, SizesThatArePadded_ShowTheMiddleAroundFrequencyZero) {
  // A constant slope along x has its greatest term next to frequency zero, which lies at padded/2 - offset.
  const int width = 20, height = 12;
  std::vector<float> heights;
  for (int i = 0; i < width * height; ++i) heights.push_back(static_cast<float>(i % width));
  const auto out = Amplitudes(heights, width, height, 1);
  const int zeroColumn = 16 - (32 - width) / 2, zeroRow = 8 - (16 - height) / 2;
  EXPECT_NEAR(out[zeroRow * width + zeroColumn], 0, 1e-3);
  std::size_t greatest = 0;
  for (std::size_t i = 0; i < out.size(); ++i) greatest = out[i] > out[greatest] ? i : greatest;
  EXPECT_EQ(static_cast<int>(greatest) / width, zeroRow);
  EXPECT_EQ(std::abs(static_cast<int>(greatest) % width - zeroColumn), 1);
}

TEST(PowerSpectrum, OutputInTheInputArray_GivesTheSame) {
  Random random(52);
  const auto heights = qv::test::ExactHeights(random, 33, 20);
  auto inPlace = heights;
  PowerSpectrum(inPlace.data(), 33, 20, 0, inPlace.data());
  EXPECT_EQ(inPlace, Amplitudes(heights, 33, 20, 0));
  inPlace = heights;
  Autocorrelate(inPlace.data(), 33, 20, inPlace.data());
  EXPECT_EQ(inPlace, Correlation(heights, 33, 20));
}

TEST(Autocorrelate, OneRaisedSample_HasTheSumOfSquaresInTheMiddle) {
  qv::test::ForEachVariant([] {
    std::vector<float> heights(16, 0.0F);
    heights[5] = 1;
    const auto out = Correlation(heights, 4, 4);
    EXPECT_NEAR(out[2 * 4 + 2], 15.0 / 16 * 15 / 16 + 15.0 / 256, 1e-6);
    for (int i = 0; i < 16; ++i) {
      if (i != 10) {
        EXPECT_NEAR(out[i], -1.0 / 16, 1e-6);
      }
    }
  });
}

TEST(Autocorrelate, SmallGrids_EqualTheSumOverAllPositions) {
  Random random(53);
  for (const auto& [width, height] : {std::pair{8, 4}, {5, 7}, {1, 9}, {16, 1}}) {
    const auto heights = qv::test::ExactHeights(random, width, height);
    const int columns = reference::PaddedSize(width), rows = reference::PaddedSize(height);
    const int columnOffset = (columns - width) / 2, rowOffset = (rows - height) / 2;
    double mean = 0;
    for (const float z : heights) mean += z / static_cast<double>(heights.size());
    std::vector<double> padded(static_cast<std::size_t>(columns) * rows, 0.0);
    for (int r = 0; r < height; ++r) {
      for (int c = 0; c < width; ++c) {
        padded[(r + rowOffset) * columns + c + columnOffset] = heights[r * width + c] - mean;
      }
    }
    const auto out = Correlation(heights, width, height);
    for (int r = 0; r < height; ++r) {
      for (int c = 0; c < width; ++c) {
        const int dy = r + rowOffset - rows / 2 + rows, dx = c + columnOffset - columns / 2 + columns;
        double sum = 0;
        for (int y = 0; y < rows; ++y) {
          for (int x = 0; x < columns; ++x) {
            sum += padded[y * columns + x] * padded[(y + dy) % rows * columns + (x + dx) % columns];
          }
        }
        ASSERT_NEAR(out[r * width + c], sum, 1e-4) << width << " x " << height << ' ' << r << ' ' << c;
      }
    }
  }
}

TEST(Autocorrelate, RandomSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(54);
    for (int round = 0; round < 100; ++round) {
      const int width = round % 5 == 0 ? 1 : random.Between(1, 140),
                height = round % 5 == 1 ? 1 : random.Between(1, 140);
      const auto heights = qv::test::ExactHeights(random, width, height);
      const auto expected = reference::Autocorrelate(heights, width, height);
      ASSERT_TRUE(
          qv::test::SameBits(Correlation(heights, width, height).data(), expected.data(), expected.size()))
          << width << " x " << height;
    }
  });
}

}  // namespace
