#include <climits>

#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using qv::reference::CubicSample;
using qv::reference::Resizing;

std::size_t Area(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// Floats from the first sample of a strided grid to its last.
std::size_t Span(int nx, int ny, int stride) {
  return Area(stride, ny - 1) + static_cast<std::size_t>(nx);
}

using Resampler = int(QV_CALL*)(int, int, int, int, const float*, float*, int, int);

/// Runs between guard bands; what no row covers must stay as it was, so the whole buffer is returned.
std::vector<float> Apply(Resampler resampler, const Resizing& s, const std::vector<float>& in) {
  const Guarded<float> input(in);
  Guarded<float> out(Span(s.outNx, s.outNy, s.outStride), -77.0F);
  EXPECT_EQ(resampler(s.outNx, s.outNy, s.inNx, s.inNy, input.data(), out.data(), s.inStride, s.outStride),
            1);
  EXPECT_TRUE(SameBits(input.data(), in.data(), in.size()));
  return out.Values();
}

void ExpectLinear(const Resizing& s, const std::vector<float>& in) {
  std::vector<float> expected(Span(s.outNx, s.outNy, s.outStride), -77.0F);
  qv::reference::ResampleLinear(s, in.data(), expected.data());
  ForEachVariant([&] { ASSERT_TRUE(SameNumbers(Apply(Resample, s, in), expected)); });
}

void ExpectCubic(const Resizing& s, const std::vector<float>& in) {
  std::vector<float> first;
  ForEachVariant([&] {
    const auto out = Apply(ResampleBicubic, s, in);
    if (first.empty()) first = out;
    ASSERT_TRUE(SameNumbers(out, first)) << "differs from the plainest instruction set";
  });
  for (int r = 0; r < s.outNy; ++r) {
    for (int c = 0; c < s.outStride && Area(s.outStride, r) + c < first.size(); ++c) {
      const float actual = first[Area(s.outStride, r) + static_cast<std::size_t>(c)];
      if (c >= s.outNx) {
        ASSERT_EQ(actual, -77.0F) << "between rows";
        continue;
      }
      const CubicSample expected = qv::reference::ResampleCubicAt(s, in, c, r);
      if (expected.bad) {
        ASSERT_EQ(actual, kBad) << c << " " << r;
      } else if (!std::isfinite(static_cast<double>(expected.sum))) {
        ASSERT_FALSE(std::isfinite(actual)) << c << " " << r;
      } else {
        const auto rounded = static_cast<float>(expected.sum);
        if (!std::isfinite(rounded) || !std::isfinite(actual)) continue;
        const double tolerance = static_cast<double>(expected.magnitude) * 1e-14 +
                                 std::fabs(static_cast<double>(rounded)) * 0x1p-24 + 1e-45;
        ASSERT_NEAR(actual, static_cast<double>(expected.sum), tolerance) << c << " " << r;
      }
    }
  }
}

TEST(Resample, SameSizeAndStrides_IsAPlainCopy) {
  Random random(51);
  const auto in = RandomSamples(random, 5 * 4, {.missing = 0.2, .nan = 0.2});
  for (const int stride : {5, 9}) {
    const Guarded<float> input(in);
    Guarded<float> out(20);
    EXPECT_EQ(Resample(5, 4, 5, 4, input.data(), out.data(), stride, stride), 1);
    EXPECT_TRUE(SameBits(out.data(), in.data(), in.size())) << "strides are not applied";
  }
}

TEST(Resample, SameSizeDifferentStrides_RunsTheGeneralPath) {
  Random random(52);
  const auto in = RandomSamples(random, 5 * 4, {.missing = 0.1});
  ExpectLinear({5, 4, 5, 4, 5, 8}, in);
}

TEST(Resample, TwoToFour_RepeatsTheEdge) {
  const std::vector<float> in = {0, 8, 16, 24};
  ForEachVariant([&] {
    const auto out = Apply(Resample, {4, 4, 2, 2, 2, 4}, in);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0.375F * 8);
    EXPECT_EQ(out[2], 0.75F * 8);
    EXPECT_EQ(out[3], 8) << "x = 1.125 lies beyond the last sample";
    EXPECT_EQ(out[15], 24);
  });
}

TEST(ResampleBicubic, SameSize_IsAPlainCopyWhateverTheStrides) {
  Random random(53);
  const auto in = RandomSamples(random, 5 * 4, {.missing = 0.2, .nan = 0.2});
  const Guarded<float> input(in);
  Guarded<float> out(20);
  EXPECT_EQ(ResampleBicubic(5, 4, 5, 4, input.data(), out.data(), -3, 100), 1);
  EXPECT_TRUE(SameBits(out.data(), in.data(), in.size()));
}

TEST(ResampleBicubic, ConstantInput_CarriesTheAsymmetry) {
  const float v = 5;
  const int outNx = 23, inNx = 8;
  const std::vector<float> in(8 * 6, v);
  ForEachVariant([&] {
    const auto out = Apply(ResampleBicubic, {outNx, 17, inNx, 6, 8, outNx}, in);
    for (int c = 0; c < outNx; ++c) {
      const double x = std::min(c * (static_cast<double>(inNx) / outNx), inNx - 1.0), t = x - std::floor(x);
      for (int r = 0; r < 17; ++r) {
        ASSERT_NEAR(out[Area(outNx, r) + static_cast<std::size_t>(c)], v * (1 + 2 * t * t - 2 * t * t * t),
                    2e-6);
      }
    }
  });
}

TEST(Resamplers, OneMissingSample_MarksEverySampleThatTouchesIt) {
  for (std::size_t hole = 0; hole < 7 * 6; ++hole) {
    for (const float missing : {kBad, kNaN}) {
      std::vector<float> in(7 * 6, 1.0F);
      in[hole] = missing;
      ASSERT_NO_FATAL_FAILURE(ExpectLinear({17, 15, 7, 6, 7, 17}, in));
      ASSERT_NO_FATAL_FAILURE(ExpectCubic({17, 15, 7, 6, 7, 17}, in));
      ASSERT_NO_FATAL_FAILURE(ExpectLinear({4, 5, 7, 6, 7, 4}, in));
      ASSERT_NO_FATAL_FAILURE(ExpectCubic({4, 5, 7, 6, 7, 4}, in));
    }
  }
}

TEST(Resamplers, RefusedArguments_GiveZeroAndWriteNothing) {
  const std::vector<float> in(64, 1.0F);
  Guarded<float> out(64);
  for (const Resampler resampler : {Resample, ResampleBicubic}) {
    const auto refused = [&](int outNx, int outNy, int inNx, int inNy) {
      EXPECT_EQ(resampler(outNx, outNy, inNx, inNy, in.data(), out.data(), 8, 8), 0);
    };
    for (const int bad : {0, -1, INT_MIN}) {
      refused(bad, 4, 4, 4);
      refused(4, bad, 4, 4);
      refused(4, 4, bad, 4);
      refused(4, 4, 4, bad);
      refused(bad, bad, bad, bad);
    }
    EXPECT_EQ(resampler(4, 4, 3, 3, nullptr, out.data(), 8, 8), 0);
    EXPECT_EQ(resampler(4, 4, 3, 3, in.data(), nullptr, 8, 8), 0);
    EXPECT_EQ(resampler(4, 4, 3, 3, out.data(), out.data(), 8, 8), 0);
  }
  EXPECT_EQ(Resample(4, 4, 3, 3, in.data(), out.data(), 2, 8), 0);
  EXPECT_EQ(Resample(4, 4, 3, 3, in.data(), out.data(), 8, 3), 0);
  EXPECT_TRUE(out.Untouched());
}

TEST(Resample, RandomGrids_EqualTheReference) {
  Random random(54);
  for (int round = 0; round < 1000; ++round) {
    const int limit = random.Chance(0.2) ? 150 : 40;
    Resizing s{random.Between(1, limit),
               random.Between(1, 40),
               random.Between(1, limit),
               random.Between(1, 40),
               0,
               0};
    s.inStride = s.inNx + (random.Chance(0.3) ? random.Below(9) : 0);
    s.outStride = s.outNx + (random.Chance(0.3) ? random.Below(9) : 0);
    if (s.outNx == s.inNx && s.outNy == s.inNy) continue;
    const auto in = RandomSamples(random, Span(s.inNx, s.inNy, s.inStride), AnyKind(random));
    SCOPED_TRACE(testing::Message() << s.inNx << " x " << s.inNy << " to " << s.outNx << " x " << s.outNy);
    ASSERT_NO_FATAL_FAILURE(ExpectLinear(s, in));
  }
}

TEST(ResampleBicubic, RandomGrids_AgreeWithTheReference) {
  Random random(55);
  for (int round = 0; round < 1000; ++round) {
    const int limit = random.Chance(0.2) ? 150 : 40;
    Resizing s{random.Between(1, limit),
               random.Between(1, 40),
               random.Between(1, limit),
               random.Between(1, 40),
               0,
               0};
    s.inStride = random.Between(-5, 5);  // ignored
    s.outStride = s.outNx + (random.Chance(0.3) ? random.Below(9) : 0);
    if (s.outNx == s.inNx && s.outNy == s.inNy) continue;
    const auto in = RandomSamples(random, Area(s.inNx, s.inNy), AnyKind(random));
    SCOPED_TRACE(testing::Message() << s.inNx << " x " << s.inNy << " to " << s.outNx << " x " << s.outNy);
    ASSERT_NO_FATAL_FAILURE(ExpectCubic(s, in));
  }
}

}  // namespace
