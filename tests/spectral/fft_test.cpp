#include "spectral/fft.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

#include "spectral/work_grid.h"
#include "tests/reference/spectra_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Random;
namespace reference = qv::test::reference;

constexpr int kPaddingMark = 3;

qv::spectral::WorkGrid GridOf(const reference::Plane& real, const reference::Plane& imaginary) {
  qv::spectral::WorkGrid grid;
  EXPECT_EQ(grid.Allocate(static_cast<int>(real.size()), static_cast<int>(real[0].size())), 0U);
  for (std::size_t r = 0; r < real.size(); ++r) {
    for (std::size_t c = 0; c < real[r].size(); ++c) {
      grid.real[static_cast<std::ptrdiff_t>(r)][c] = real[r][c];
      grid.imaginary[static_cast<std::ptrdiff_t>(r)][c] = imaginary[r][c];
    }
    // What lies behind a row must not matter.
    grid.real[static_cast<std::ptrdiff_t>(r)][real[r].size()] = kPaddingMark;
  }
  return grid;
}

reference::Plane RandomPlane(Random& random, int rows, int columns, const qv::test::GridKind& kind) {
  reference::Plane plane;
  for (int r = 0; r < rows; ++r) {
    plane.push_back(qv::test::RandomSamples(random, static_cast<std::size_t>(columns), kind));
  }
  return plane;
}

void ExpectSamePlane(const qv::spectral::Rows& actual, const reference::Plane& expected) {
  for (std::size_t r = 0; r < expected.size(); ++r) {
    ASSERT_TRUE(
        qv::test::SameBits(actual[static_cast<std::ptrdiff_t>(r)], expected[r].data(), expected[r].size()))
        << "row " << r;
  }
}

void ExpectLikeReference(Random& random, int rows, int columns, short direction,
                         const qv::test::GridKind& kind) {
  SCOPED_TRACE(testing::Message() << rows << " x " << columns << ", direction " << direction);
  reference::Plane real = RandomPlane(random, rows, columns, kind);
  reference::Plane imaginary = RandomPlane(random, rows, columns, kind);
  const qv::spectral::WorkGrid grid = GridOf(real, imaginary);
  EXPECT_EQ(qv::spectral::FFT2D(grid.real.pointers(), grid.imaginary.pointers(), rows, columns, direction),
            1);
  reference::FFT2D(real, imaginary, rows, columns, direction);
  ExpectSamePlane(grid.real, real);
  ExpectSamePlane(grid.imaginary, imaginary);
}

TEST(FFT2D, EverySmallSize_EqualsTheSequentialTransformBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(31);
    for (int rows = 1; rows <= 36; ++rows) {
      for (int columns = 1; columns <= 36; ++columns) {
        ExpectLikeReference(random, rows, columns, random.Chance(0.5) ? 1 : -1, {.repeated = 0.5});
      }
    }
  });
}

TEST(FFT2D, EveryPowerOfTwo_EqualsTheSequentialTransformBitForBit) {
  qv::test::ForEachVariant([] {
    Random random(32);
    for (int m = 0; m <= 12; ++m) {
      for (const int lines : {1, 2, 3, 16, 19}) {
        for (const short direction : {short{1}, short{-1}}) {
          ExpectLikeReference(random, 1 << m, lines, direction, {.magnitude = 100});
          ExpectLikeReference(random, lines, 1 << m, direction, {.magnitude = 100});
        }
      }
    }
    ExpectLikeReference(random, 256, 512, -1, {.magnitude = 1});
    ExpectLikeReference(random, 512, 128, 1, {.magnitude = 1});
  });
}

TEST(FFT2D, SizesThatAreNoPowerOfTwo_TransformOnlyTheFirstTerms) {
  qv::test::ForEachVariant([] {
    Random random(33);
    for (int round = 0; round < 60; ++round) {
      ExpectLikeReference(random, random.Between(1, 150), random.Between(1, 150), round % 2 == 0 ? 1 : -1,
                          {});
    }
  });
}

TEST(FFT2D, ZerosOfBothSignsDenormalsAndInfinities_AreTreatedLikeTheSequentialTransformDoes) {
  qv::test::ForEachVariant([] {
    Random random(34);
    for (int round = 0; round < 20; ++round) {
      ExpectLikeReference(random, 32, 64, round % 2 == 0 ? 1 : -1, {.repeated = 0.99});
      ExpectLikeReference(random, 32, 64, round % 2 == 0 ? 1 : -1, {.magnitude = 1e-41});
      ExpectLikeReference(random, 32, 64, round % 2 == 0 ? 1 : -1, {.magnitude = 3e38});
    }
  });
}

TEST(FFT1D, AllLengths_EqualTheReferenceAndTheSumOfExponentials) {
  Random random(35);
  for (int m = -1; m <= 9; ++m) {
    const int n = m < 0 ? 1 : 1 << m;
    for (const short direction : {short{1}, short{-1}}) {
      const auto inRe = qv::test::RandomSamples(random, static_cast<std::size_t>(n), {});
      const auto inIm = qv::test::RandomSamples(random, static_cast<std::size_t>(n), {});
      qv::test::Guarded<float> re(inRe), im(inIm);
      EXPECT_EQ(qv::spectral::FFT1D(direction, m, re.data(), im.data()), 1);
      auto expectedRe = inRe, expectedIm = inIm;
      reference::FFT1D(direction, m, expectedRe, expectedIm);
      EXPECT_TRUE(qv::test::SameBits(re.data(), expectedRe.data(), expectedRe.size()));
      EXPECT_TRUE(qv::test::SameBits(im.data(), expectedIm.data(), expectedIm.size()));
      for (int k = 0; k < n; ++k) {
        std::complex<double> sum = 0;
        for (int j = 0; j < n; ++j) {
          const double angle =
              (direction == 1 ? -2 : 2) * std::numbers::pi * (static_cast<long>(j) * k % n) / n;
          sum += std::complex<double>(inRe[j], inIm[j]) * std::polar(1.0, angle);
        }
        if (direction == 1) sum /= n;
        ASSERT_NEAR(re[k], sum.real(), 2e-6 * n);
        ASSERT_NEAR(im[k], sum.imag(), 2e-6 * n);
      }
    }
  }
}

TEST(FFT2D, Sums_TransformToSums) {
  Random random(36);
  const int rows = 64, columns = 128;
  const reference::Plane zero = reference::Zeros(rows, columns);
  const reference::Plane a = RandomPlane(random, rows, columns, {}),
                         b = RandomPlane(random, rows, columns, {});
  reference::Plane sum = a;
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) sum[r][c] = 2 * a[r][c] - 3 * b[r][c];
  }
  const auto gridA = GridOf(a, zero), gridB = GridOf(b, zero), gridSum = GridOf(sum, zero);
  for (const auto* grid : {&gridA, &gridB, &gridSum}) grid->Transform(qv::spectral::kToSpectrum);
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      ASSERT_NEAR(gridSum.real[r][c], 2 * gridA.real[r][c] - 3 * gridB.real[r][c], 2e-3);
      ASSERT_NEAR(gridSum.imaginary[r][c], 2 * gridA.imaginary[r][c] - 3 * gridB.imaginary[r][c], 2e-3);
    }
  }
}

TEST(PaddedSize, EveryIntNearAPowerOfTwo_FollowsTheLogarithmicRule) {
  for (int k = 1; k <= 30; ++k) {
    for (int offset = -3; offset <= 3; ++offset) {
      const long size = (1L << k) + offset;
      if (size < 1) continue;
      const long expected = size <= 1 << 30 ? reference::PaddedSize(static_cast<int>(size)) : 0;
      EXPECT_EQ(qv::spectral::PaddedSize(static_cast<int>(size)), expected) << size;
      EXPECT_EQ(qv::spectral::FloorLog2(static_cast<int>(size)),
                static_cast<int>(std::log(static_cast<double>(size)) * 1.4426950408890578))
          << size;
    }
  }
  for (int size = 1; size < 5000; ++size) {
    ASSERT_EQ(qv::spectral::PaddedSize(size), reference::PaddedSize(size));
    ASSERT_EQ(qv::spectral::FloorLog2(size), static_cast<int>(std::log(size) * 1.4426950408890578));
  }
  EXPECT_EQ(qv::spectral::PaddedSize(2147483647), 0);
}

}  // namespace
