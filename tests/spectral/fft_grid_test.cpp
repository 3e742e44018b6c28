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

std::vector<float> Spectrum(const std::vector<float>& heights, int width, int height) {
  const Guarded<float> input(heights);
  const int columns = reference::PaddedSize(width), rows = reference::PaddedSize(height);
  Guarded<float> spectrum(2 * static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  EXPECT_EQ(ComputeFFTGrid(input.data(), width, height, spectrum.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), heights.data(), heights.size()));
  return spectrum.Values();
}

std::vector<float> Inverse(int width, int height, const std::vector<float>& spectrum) {
  const Guarded<float> input(spectrum);
  Guarded<float> heights(spectrum.size() / 2);
  EXPECT_EQ(DoFFTInverse(width, height, input.data(), heights.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), spectrum.data(), spectrum.size()));
  return heights.Values();
}

TEST(ComputeFFTGrid, ConstantHeights_GiveZeros) {
  qv::test::ForEachVariant([] {
    for (const float z : Spectrum(std::vector<float>(16, 2.5F), 4, 4)) EXPECT_EQ(z, 0.0F);
    for (const float z : Spectrum(std::vector<float>(15, -7.0F), 3, 5)) EXPECT_EQ(z, 0.0F);
  });
}

TEST(ComputeFFTGrid, OneSineWaveInARow_GivesTwoImaginaryTerms) {
  qv::test::ForEachVariant([] {
    const std::vector<float> spectrum = Spectrum({0, 1, 0, -1}, 4, 1), expected = {0, 0, 0, 2, 0, 0, 0, -2};
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(spectrum[i], expected[i]) << i;
  });
}

TEST(ComputeFFTGrid, ThreeByFive_IsPaddedToFourByEight) {
  qv::test::ForEachVariant([] {
    std::vector<float> heights(15);
    for (int i = 0; i < 15; ++i) heights[i] = static_cast<float>(i - 7);  // mean 0
    const std::vector<float> padded = Inverse(4, 8, Spectrum(heights, 3, 5));
    for (int r = 0; r < 8; ++r) {
      for (int c = 0; c < 4; ++c) {
        const bool inside = r >= 1 && r <= 5 && c <= 2;
        EXPECT_NEAR(padded[r * 4 + c], inside ? heights[(r - 1) * 3 + c] : 0, 1e-5) << r << ' ' << c;
      }
    }
  });
}

TEST(ComputeFFTGrid, RandomSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(41);
    for (int round = 0; round < 120; ++round) {
      const int width = round % 5 == 0 ? 1 : random.Between(1, 140),
                height = round % 5 == 1 ? 1 : random.Between(1, 140);
      const auto heights = qv::test::ExactHeights(random, width, height);
      const auto expected = reference::ComputeFFTGrid(heights, width, height);
      ASSERT_TRUE(
          qv::test::SameBits(Spectrum(heights, width, height).data(), expected.data(), expected.size()))
          << width << " x " << height;
    }
  });
}

TEST(DoFFTInverse, RandomSizes_EqualTheReferenceBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(42);
    for (int round = 0; round < 120; ++round) {
      const int width = round % 5 == 0 ? 1 : random.Between(1, 140),
                height = round % 5 == 1 ? 1 : random.Between(1, 140);
      const auto spectrum = qv::test::RandomSamples(
          random, 2 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height), {});
      const auto expected = reference::DoFFTInverse(width, height, spectrum);
      ASSERT_TRUE(
          qv::test::SameBits(Inverse(width, height, spectrum).data(), expected.data(), expected.size()))
          << width << " x " << height;
    }
  });
}

TEST(DoFFTInverse, WidthSix_TransformsTheFirstFourTermsOfARow) {
  qv::test::ForEachVariant([] {
    const std::vector<float> heights = Inverse(6, 1, {4, 0, 0, 0, 0, 0, 0, 0, 7, 1, 9, 2});
    const std::vector<float> expected = {1, 1, 1, 1, 7, 9};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(heights[i], expected[i]) << i;
  });
}

TEST(DoFFTInverse, SpectrumOfAPowerOfTwoGrid_GivesTheHeightsLessTheirMean) {
  qv::test::ForEachVariant([] {
    Random random(43);
    for (const int side : {1, 2, 8, 64, 256}) {
      const auto heights = qv::test::ExactHeights(random, side, side);
      double mean = 0;
      for (const float z : heights) mean += z;
      mean /= static_cast<double>(heights.size());
      const auto back = Inverse(side, side, Spectrum(heights, side, side));
      for (std::size_t i = 0; i < heights.size(); ++i) ASSERT_NEAR(back[i], heights[i] - mean, 1e-5);
    }
  });
}

TEST(ComputeFFTGrid, SquaresOfTheTerms_AddUpToThoseOfTheHeights) {
  Random random(44);
  const int width = 128, height = 64;
  auto heights = qv::test::ExactHeights(random, width, height);
  double mean = 0, squares = 0, terms = 0;
  for (const float z : heights) mean += z / static_cast<double>(heights.size());
  for (const float z : heights) squares += (z - mean) * (z - mean);
  for (const float x : Spectrum(heights, width, height)) terms += static_cast<double>(x) * x;
  EXPECT_NEAR(terms / (width * height), squares, 1e-6 * squares);
}

TEST(ComputeFFTGrid, RealHeights_GiveConjugateTerms) {
  Random random(45);
  const int width = 64, height = 32;
  const auto spectrum = Spectrum(qv::test::ExactHeights(random, width, height), width, height);
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) {
      const int at = 2 * (r * width + c),
                mirrored = 2 * ((height - r) % height * width + (width - c) % width);
      ASSERT_NEAR(spectrum[at], spectrum[mirrored], 2e-3);
      ASSERT_NEAR(spectrum[at + 1], -spectrum[mirrored + 1], 2e-3);
    }
  }
}

TEST(ComputeFFTGrid, HeightsShiftedByOneColumn_TurnThePhase) {
  Random random(46);
  const int width = 32, height = 16;
  const auto heights = qv::test::ExactHeights(random, width, height);
  auto shifted = heights;
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) shifted[r * width + (c + 1) % width] = heights[r * width + c];
  }
  const auto a = Spectrum(heights, width, height), b = Spectrum(shifted, width, height);
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) {
      // The kernel is exp(+i ...): a shift to the right multiplies by exp(+2 pi i c / width).
      const double angle = 2 * 3.14159265358979323846 * c / width, cosine = std::cos(angle),
                   sine = std::sin(angle);
      const int at = 2 * (r * width + c);
      ASSERT_NEAR(b[at], a[at] * cosine - a[at + 1] * sine, 1e-3);
      ASSERT_NEAR(b[at + 1], a[at] * sine + a[at + 1] * cosine, 1e-3);
    }
  }
}

TEST(ComputeFFTGrid, Sentinels_AreHeightsLikeAnyOther) {
  const auto spectrum = Spectrum({-1e10F, 0, 0, 0}, 2, 2);
  EXPECT_FLOAT_EQ(spectrum[2], -1e10F);
}

TEST(SpectralExports, SizesBelowOne_ReturnZeroAndWriteNothing) {
  for (const auto& [width, height] :
       {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -3}, {std::numeric_limits<int>::min(), 1}}) {
    const std::vector<float> input(64, 1.0F);
    Guarded<float> out(64);
    EXPECT_EQ(ComputeFFTGrid(input.data(), width, height, out.data()), 0U);
    EXPECT_EQ(DoFFTInverse(width, height, input.data(), out.data()), 0U);
    EXPECT_EQ(PowerSpectrum(input.data(), width, height, 1, out.data()), 0U);
    EXPECT_EQ(Autocorrelate(input.data(), width, height, out.data()), 0U);
    EXPECT_EQ(FFTFilter(input.data(), width, height, 2, 0.5F, 0, out.data()), 0U);
    EXPECT_TRUE(out.Untouched());
  }
}

TEST(SpectralExports, PaddedSizeOfTwoToThe31_Returns3) {
  const float height = 1;
  Guarded<float> out(4);
  const int large = (1 << 30) + 1;
  EXPECT_EQ(ComputeFFTGrid(&height, large, 1, out.data()), 3U);
  EXPECT_EQ(PowerSpectrum(&height, 1, large, 1, out.data()), 3U);
  EXPECT_EQ(Autocorrelate(&height, std::numeric_limits<int>::max(), 1, out.data()), 3U);
  EXPECT_EQ(FFTFilter(&height, 1, std::numeric_limits<int>::max(), 2, 0.5F, 0, out.data()), 3U);
  EXPECT_TRUE(out.Untouched());
}

TEST(ComputeFFTGrid, MoreSamplesThanAFloatCounts_DividesTheMeanByTwoToThe24) {
  // 2^24 + 2^15 samples of 1: the mean comes out as 1 + 2^-9, and every height as -2^-9.
  const int width = 32768, height = 513;
  const std::vector<float> heights(static_cast<std::size_t>(width) * height, 1.0F);
  std::vector<float> filtered(heights.size());
  ASSERT_EQ(FFTFilter(heights.data(), width, height, 9, 0, 0, filtered.data()), 0U);
  EXPECT_NEAR(filtered[heights.size() / 2], -0x1p-9, 1e-6);
}

}  // namespace
