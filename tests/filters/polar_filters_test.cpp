#include <climits>

#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using PolarFilter = unsigned(QV_CALL*)(const double*, double*, double, double, int);
using Reference = std::vector<double> (*)(const std::vector<double>&, double, double);

constexpr double kAlpha = 0.469718639349826;

std::vector<double> Apply(PolarFilter filter, const std::vector<double>& in, double spacing, double cutoff) {
  const Guarded<double> input(in);
  Guarded<double> out(in.size());
  EXPECT_EQ(filter(input.data(), out.data(), spacing, cutoff, static_cast<int>(in.size())), 0U);
  EXPECT_TRUE(SameBits(input.data(), in.data(), in.size()));
  return out.Values();
}

void ExpectReference(PolarFilter filter, Reference reference, const std::vector<double>& in, double spacing,
                     double cutoff) {
  const auto expected = reference(in, spacing, cutoff);
  ForEachVariant([&] { ASSERT_TRUE(SameNumbers(Apply(filter, in, spacing, cutoff), expected)); });
}

TEST(FilterGaussianPolar, ShortCutoff_CopiesTheInput) {
  Random random(41);
  const auto in = RandomSamples<double>(random, 100, {});
  ASSERT_EQ(qv::reference::PolarHalfLength(1, 3), 0);
  EXPECT_TRUE(SameNumbers(Apply(FilterGaussianPolar, in, 1, 3), in));
}

TEST(FilterGaussianPolar, CutoffTooLongForAKernel_CopiesTheInput) {
  Random random(42);
  const auto in = RandomSamples<double>(random, 100, {});
  // g falls below 0.001*spacing, whose logarithm is negative.
  for (const double cutoff : {3000.0, 1e300, -50.0, 0.0, std::numeric_limits<double>::infinity()}) {
    EXPECT_TRUE(SameNumbers(Apply(FilterGaussianPolar, in, 1, cutoff), in)) << cutoff;
  }
}

TEST(FilterGaussianPolar, ConstantProfile_IsScaledByTheSumOfWeights) {
  const double v = 3.5, spacing = 1, cutoff = 40;
  const double g = spacing / (cutoff * kAlpha);
  const long long reach = qv::reference::PolarHalfLength(spacing, cutoff);
  double sum = g;
  for (long long j = 1; j <= reach; ++j)
    sum += 2 * g * std::exp(-3.14159265358979323846 * g * g * static_cast<double>(j * j));
  ForEachVariant([&] {
    for (const double z : Apply(FilterGaussianPolar, std::vector<double>(360, v), spacing, cutoff)) {
      ASSERT_NEAR(z, v * sum, 1e-12);
      ASSERT_NE(z, v);
    }
  });
}

TEST(FilterGaussianPolar, OneRaisedSample_SpreadsWithTheHalfSampleShift) {
  const std::size_t n = 200;
  const double spacing = 1, cutoff = 30, g = spacing / (cutoff * kAlpha);
  std::vector<double> in(n, 0.0);
  in[0] = 1;
  const long long reach = qv::reference::PolarHalfLength(spacing, cutoff);
  ForEachVariant([&] {
    const auto out = Apply(FilterGaussianPolar, in, spacing, cutoff);
    EXPECT_EQ(out[0], g);
    EXPECT_EQ(out[1], 0) << "no pair reaches the next sample";
    for (long long j = 1; j <= reach; ++j) {
      const double w = g * std::exp(-3.14159265358979323846 * g * g * static_cast<double>(j * j));
      EXPECT_NEAR(out[n - static_cast<std::size_t>(j)], w, 1e-14);
      EXPECT_NEAR(out[static_cast<std::size_t>(j) + 1], w, 1e-14);
    }
  });
}

TEST(FilterGaussianPolar, KernelLongerThanTheProfile_WrapsAround) {
  Random random(43);
  for (const std::size_t n : {1U, 2U, 3U, 5U, 31U, 32U, 33U, 64U, 65U}) {
    const auto in = RandomSamples<double>(random, n, {});
    for (const double cutoff : {10.0, 100.0, 800.0}) {
      ASSERT_NO_FATAL_FAILURE(
          ExpectReference(FilterGaussianPolar, qv::reference::GaussianPolar, in, 1, cutoff))
          << n;
    }
  }
}

TEST(Filter2RCPolar, ConstantProfile_PassesOnceSettled) {
  ForEachVariant([&] {
    for (const double z : Apply(Filter2RCPolar, std::vector<double>(400, 2.0), 0.01, 0.05))
      ASSERT_NEAR(z, 2.0, 1e-12);
  });
}

TEST(Filter2RCPCPolar, ConstantProfile_StillFeelsTheBackwardStart) {
  const double v = 2, spacing = 0.01, cutoff = 0.05;
  const double p = spacing * 9.42477796076937, s = std::sqrt(3.0) * cutoff, k = p / (p + s);
  ForEachVariant([&] {
    const auto out = Apply(Filter2RCPCPolar, std::vector<double>(400, v), spacing, cutoff);
    EXPECT_NEAR(out[0], v, 1e-12);
    const auto two = Apply(Filter2RCPCPolar, std::vector<double>(2, v), spacing, cutoff);
    EXPECT_NEAR(two[1], 2 * k * v, 1e-15) << "B[N-2]";
    EXPECT_EQ(Apply(Filter2RCPCPolar, {v}, spacing, cutoff)[0], 0) << "B[N-1]";
  });
}

TEST(PolarFilters, RandomProfiles_EqualTheReference) {
  Random random(44);
  for (int round = 0; round < 300; ++round) {
    const auto n = static_cast<std::size_t>(random.Between(1, round < 100 ? 20 : 700));
    GridKind kind = AnyKind(random);
    if (kind.magnitude > 1e300) kind.magnitude = 1;
    const auto in = RandomSamples<double>(random, n, kind);
    const double spacing = std::pow(10.0, random.Between(-3.0, 1.0));
    const double cutoff = spacing * random.Between(-1.0, 300.0);
    SCOPED_TRACE(testing::Message() << n << " samples, spacing " << spacing << ", cutoff " << cutoff);
    ASSERT_NO_FATAL_FAILURE(
        ExpectReference(FilterGaussianPolar, qv::reference::GaussianPolar, in, spacing, cutoff));
    ASSERT_NO_FATAL_FAILURE(
        ExpectReference(Filter2RCPolar, qv::reference::TwoStagesPolar, in, spacing, cutoff));
    ASSERT_NO_FATAL_FAILURE(
        ExpectReference(Filter2RCPCPolar, qv::reference::PhaseCorrectedPolar, in, spacing, cutoff));
  }
}

TEST(PolarFilters, EverySmallSize_EqualsTheReference) {
  Random random(45);
  for (std::size_t n = 1; n <= 100; ++n) {
    const auto in = RandomSamples<double>(random, n, {});
    ASSERT_NO_FATAL_FAILURE(ExpectReference(FilterGaussianPolar, qv::reference::GaussianPolar, in, 1, 20))
        << n;
    ASSERT_NO_FATAL_FAILURE(ExpectReference(Filter2RCPolar, qv::reference::TwoStagesPolar, in, 0.1, 0.5))
        << n;
    ASSERT_NO_FATAL_FAILURE(
        ExpectReference(Filter2RCPCPolar, qv::reference::PhaseCorrectedPolar, in, 0.1, 0.5))
        << n;
  }
}

TEST(PolarFilters, NoSamples_NothingWritten) {
  const double in = 1;
  Guarded<double> out(0);
  for (const PolarFilter filter : {FilterGaussianPolar, Filter2RCPolar, Filter2RCPCPolar}) {
    for (const int n : {0, -1, INT_MIN}) EXPECT_EQ(filter(&in, out.data(), 1, 20, n), 0U);
  }
}

}  // namespace
