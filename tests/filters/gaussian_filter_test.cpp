#include "filters/gaussian_filter.h"

#include <cfloat>
#include <climits>
#include <thread>

#include "filters/extended_precision.h"
#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using qv::reference::GaussianLine;
using qv::reference::Separable;
using qv::reference::Split;

void ExpectReference(int nx, int ny, const Spacings& s, const std::vector<float>& in) {
  const Split expected = Separable(nx, ny, s.dx, s.dy, s.cutoff, in, GaussianLine);
  ForEachVariant([&] {
    const Split split = RunSeparable(GaussianFilter, nx, ny, s, in);
    ASSERT_TRUE(SameNumbers(split.filtered, expected.filtered));
    ASSERT_TRUE(SameNumbers(split.residual, expected.residual));
  });
}

/// The cut-off whose half-width is m at spacing 1.
float CutoffFor(int m) {
  return static_cast<float>((m + 0.25) / 0.183);
}

TEST(GaussianFilter, CutoffZero_PassesTheInputThrough) {
  const std::vector<float> in = {1, -2, 3, kBad, 5, 6.5F};
  ForEachVariant([&] {
    const Split split = RunSeparable(GaussianFilter, 3, 2, {1, 1, 0}, in);
    EXPECT_TRUE(SameNumbers(split.filtered, in));
    EXPECT_TRUE(SameNumbers(split.residual, std::vector<float>(6, 0.0F)));
  });
}

TEST(GaussianFilter, HalfWidthBelowOneInOneDirection_SmoothsOnlyTheOther) {
  Random random(1);
  const int nx = 40, ny = 30;
  const auto in = RandomSamples(random, nx * ny, {});
  ForEachVariant([&] {
    const Split rows = RunSeparable(GaussianFilter, nx, ny, {1, 100, 20}, in);
    for (std::size_t r = 0; r < ny; ++r) {
      const std::vector<float> line(in.begin() + r * nx, in.begin() + (r + 1) * nx);
      const std::vector<float> smooth(rows.filtered.begin() + r * nx, rows.filtered.begin() + (r + 1) * nx);
      ASSERT_TRUE(SameNumbers(smooth, GaussianLine(line, 1, 20)));
    }
    const Split columns = RunSeparable(GaussianFilter, nx, ny, {100, 1, 20}, in);
    for (std::size_t c = 0; c < nx; ++c) {
      std::vector<float> line, smooth;
      for (std::size_t r = 0; r < ny; ++r)
        line.push_back(in[r * nx + c]), smooth.push_back(columns.filtered[r * nx + c]);
      ASSERT_TRUE(SameNumbers(smooth, GaussianLine(line, 1, 20)));
    }
  });
}

TEST(GaussianFilter, HalfWidth_TruncatesAndSaturates) {
  using qv::filters::HalfWidth;
  EXPECT_EQ(HalfWidth(0, 0), 0);
  EXPECT_EQ(HalfWidth(5.4F, 1), 0);
  EXPECT_EQ(HalfWidth(5.5F, 1), 1);
  EXPECT_EQ(HalfWidth(-5.5F, 1), -1);
  EXPECT_EQ(HalfWidth(-5.5F, -1), 1);
  EXPECT_EQ(HalfWidth(1, 0), INT_MIN);
  EXPECT_EQ(HalfWidth(FLT_MAX, 1), INT_MIN);
  EXPECT_EQ(HalfWidth(kNaN, 1), INT_MIN);
  EXPECT_EQ(HalfWidth(1, kNaN), INT_MIN);
  EXPECT_EQ(HalfWidth(1e10F, 1), 1830000000);
  EXPECT_EQ(HalfWidth(1000, 1), 183) << "0.183 is the double: the float is a little less";
}

TEST(GaussianFilter, CutoffsThatDoNothing_CopyTheInput) {
  Random random(2);
  const auto in = RandomSamples(random, 35 * 34, {});
  for (const float cutoff : {-30.0F, 5.0F, FLT_MAX, -FLT_MAX, kInfinity, kNaN, 1e-44F}) {
    ForEachVariant([&] {
      const Split split = RunSeparable(GaussianFilter, 35, 34, {1, 1, cutoff}, in);
      EXPECT_TRUE(SameNumbers(split.filtered, in)) << cutoff;
    });
  }
}

TEST(GaussianFilter, ConstantLine_KeepsItsInteriorAndFallsAtBothEnds) {
  const int n = 400, m = 7;
  const float v = 3.25F;
  const std::vector<float> in(n, v);
  ForEachVariant([&] {
    const Split split = RunSeparable(GaussianFilter, n, 1, {1, 1000, CutoffFor(m)}, in);
    for (std::size_t k = 3 * m; k < n - 3 * m - 1; ++k) {
      ASSERT_NEAR(split.filtered[k], v, v * 4e-7) << k;  // the weight is a float
    }
    EXPECT_LT(split.filtered[0], v / 2);
    EXPECT_LT(split.filtered[n - 1], split.filtered[0]) << "the tail lacks one sample more than the head";
  });
}

TEST(BoxAverageLine, ConstantLine_HeadAndTailAsStated) {
  const int n = 20, m = 2, length = 5;
  const double v = 1.5;
  const std::vector<float> src(n, static_cast<float>(v));
  Guarded<float> dst(n);
  qv::filters::BoxAverageLine(src.data(), dst.data(), n, 1, qv::filters::Window(m));
  const float w = 1.0F / length;
  for (int k = 0; k < n; ++k) {
    // full windows but for the ends; from the last full window on, one sample less
    double samples = length;
    if (k < m) samples = m + 1 + k;
    if (k >= n - 1 - m) samples = m + (n - 1 - k);
    EXPECT_EQ(dst[static_cast<std::size_t>(k)], static_cast<float>(samples * v * w)) << k;
  }
}

TEST(GaussianFilter, RandomGrids_EqualTheExtendedSums) {
  Random random(3);
  for (int round = 0; round < 400; ++round) {
    const int nx = random.Between(1, 90), ny = random.Between(1, 90);
    const auto in = RandomSamples(random, static_cast<std::size_t>(nx) * ny, AnyKind(random));
    const float dx = static_cast<float>(random.Between(0.2, 3.0)),
                dy = static_cast<float>(random.Between(0.2, 3.0));
    const auto cutoff = static_cast<float>(random.Between(-10.0, random.Chance(0.2) ? 1000.0 : 100.0));
    SCOPED_TRACE(testing::Message() << nx << " x " << ny << " cutoff " << cutoff << " round " << round);
    ASSERT_NO_FATAL_FAILURE(ExpectReference(nx, ny, {dx, dy, cutoff}, in));
  }
}

TEST(GaussianFilter, EveryHalfWidthAndLengthAroundIt_EqualsTheExtendedSums) {
  Random random(4);
  for (int n = 1; n <= 70; ++n) {
    for (const int m : {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 34, 35, 69, 70, 71, 140}) {
      const auto in = RandomSamples(random, static_cast<std::size_t>(n) * 3, {.magnitude = 10});
      ASSERT_NO_FATAL_FAILURE(ExpectReference(n, 3, {1, 1e9F, CutoffFor(m)}, in)) << n << " " << m;
      ASSERT_NO_FATAL_FAILURE(ExpectReference(3, n, {1e9F, 1, CutoffFor(m)}, in)) << n << " " << m;
    }
  }
}

TEST(GaussianFilter, HugeHalfWidth_SumsWhatIsThere) {
  const std::vector<float> in = {1, 2, 4, 8, 16};
  ForEachVariant([&] {
    const Split split = RunSeparable(GaussianFilter, 5, 1, {1, kInfinity, 1e10F}, in);
    const qv::filters::Window window(1830000000);
    const double w = window.weight;
    const float once = static_cast<float>(31 * w), twice = static_cast<float>(5.0 * once * w);
    const float thrice = static_cast<float>(5.0 * twice * w);
    EXPECT_TRUE(SameNumbers(split.filtered, std::vector<float>(5, thrice)));
  });
}

TEST(GaussianFilter, SentinelNextToSmallHeights_EqualsTheExtendedSums) {
  Random random(5);
  for (const double magnitude : {1e-6, 1e-3, 1.0, 1e3}) {
    for (const int m : {1, 5, 20}) {
      auto in = RandomSamples(random, 300 * 40, {.missing = 0.003, .magnitude = magnitude});
      ASSERT_NO_FATAL_FAILURE(ExpectReference(300, 40, {1, 1, CutoffFor(m)}, in)) << magnitude << " " << m;
    }
  }
}

/// A 40-bit whole number whose product with the odd 24-bit number w has 64 bits, the lower 40 of which lie
/// next to the middle: rounded to 53 bits first and then to 24, it rounds to even; rounded to 64 bits first,
/// it does not. 0 where there is none for this distance from the middle.
std::uint64_t SumNextToTie(std::uint64_t w, std::int64_t distance) {
  constexpr std::uint64_t kMask = (std::uint64_t{1} << 40) - 1;
  std::uint64_t inverse = 1;
  for (int i = 0; i < 6; ++i) inverse *= 2 - w * inverse;
  const std::uint64_t sum =
      (((std::uint64_t{1} << 39) + static_cast<std::uint64_t>(distance)) * inverse) & kMask;
  const long double product = static_cast<long double>(sum) * static_cast<long double>(w);
  return product >= 0x1p63L ? sum : 0;
}

/// Such a sum for the weight of a window, as two samples that a double adds exactly.
std::vector<float> LineNextToTie(float weight, Random& random) {
  const auto w = static_cast<std::uint64_t>(std::ldexp(weight, 24 - (std::ilogb(weight) + 1)));
  std::uint64_t sum = 0;
  for (int attempt = 0; sum == 0 && attempt < 1000; ++attempt)
    sum = SumNextToTie(w, 2 * random.Between(-400, 400) + 1);
  if (sum == 0) return {};
  const std::uint64_t low = std::uint64_t{1} << 23, high = (sum - low) >> 16 << 16;
  std::vector<float> line(200, 0.0F);
  line[100] = static_cast<float>(static_cast<double>(high) * 0x1p-30);
  line[101] = static_cast<float>(static_cast<double>(sum - high) * 0x1p-30);
  return line;
}

TEST(GaussianFilter, ProductsNextToTheMiddleOfTwoFloats_RoundAsFromExtended) {
  Random random(6);
  int told = 0;
  for (int m = 2; m <= 40; ++m) {
    const qv::filters::Window window(m);
    if (static_cast<std::uint64_t>(std::ldexp(window.weight, 24 - (std::ilogb(window.weight) + 1))) % 2 == 0)
      continue;
    const std::vector<float> line = LineNextToTie(window.weight, random);
    if (line.empty()) continue;
    ASSERT_NO_FATAL_FAILURE(ExpectReference(200, 1, {1, 1e9F, CutoffFor(m)}, line)) << m;

    std::vector<float> block(200 * qv::kernels::kBlockLines), plain(block.size()), exact(200);
    for (std::size_t k = 0; k < 200; ++k) block[k * qv::kernels::kBlockLines + 3] = line[k];
    qv::kernels::LineRanges ranges;
    qv::kernels::Active().smoothing.boxAverage(block.data(), plain.data(), 200, m, window.weight, false,
                                               &ranges);
    qv::filters::BoxAverageLine(line.data(), exact.data(), 200, 1, window);
    EXPECT_NE(ranges.ties[3], 0U) << m;
    EXPECT_EQ(ranges.ties[2], 0U) << m;
    told += plain[100 * qv::kernels::kBlockLines + 3] != exact[100];
  }
  EXPECT_GT(told, 3) << "plain doubles would have passed too";
}

TEST(GaussianFilter, LargeGrid_SameBitsOnEveryInstructionSet) {
  Random random(7);
  const int nx = 517, ny = 389;
  const auto in = RandomSamples(random, static_cast<std::size_t>(nx) * ny, {.magnitude = 5});
  ExpectReference(nx, ny, {0.5F, 0.7F, 60}, in);
}

TEST(GaussianFilter, NoSamples_NothingWritten) {
  const float in = 1;
  Guarded<float> residual(0), filtered(0);
  for (const auto& [nx, ny] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {0, 0}, {INT_MIN, INT_MIN}}) {
    EXPECT_EQ(GaussianFilter(nx, ny, 1, 1, 20, &in, residual.data(), filtered.data()), 0U);
    EXPECT_EQ(SplineFilter(nx, ny, 1, 1, 20, &in, residual.data(), filtered.data()), 0U);
  }
}

unsigned short ControlWord() {
  unsigned short word = 0;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}

TEST(GaussianFilter, ThreadWithShortPrecision_SameSumsAndPrecisionRestored) {
  Random random(8);
  const auto in = RandomSamples(random, 200 * 20, {.missing = 0.01});
  const Split expected = Separable(200, 20, 1, 1, 30, in, GaussianLine);
  Split split;
  unsigned short after = 0;
  std::thread([&] {
    const unsigned short shortPrecision = 0x027F;  // 53 bits, as Windows threads may start
    asm volatile("fldcw %0" ::"m"(shortPrecision));
    split = RunSeparable(GaussianFilter, 200, 20, {1, 1, 30}, in);
    after = ControlWord();
  }).join();
  EXPECT_TRUE(SameNumbers(split.filtered, expected.filtered));
  EXPECT_EQ(after, 0x027F);
}

TEST(LineFilters, SeveralThreadsAtOnce_SameResults) {
  Random random(9);
  const auto in = RandomSamples(random, 100 * 100, {});
  const Split gaussian = Separable(100, 100, 1, 1, 30, in, GaussianLine);
  const Split spline = Separable(100, 100, 1, 1, 30, in, qv::reference::SplineLine);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      EXPECT_TRUE(
          SameNumbers(RunSeparable(GaussianFilter, 100, 100, {1, 1, 30}, in).filtered, gaussian.filtered));
      EXPECT_TRUE(
          SameNumbers(RunSeparable(SplineFilter, 100, 100, {1, 1, 30}, in).filtered, spline.filtered));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
