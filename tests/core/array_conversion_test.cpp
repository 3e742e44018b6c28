#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/statistics_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::reference::Missing;
using qv::test::ForEachVariant;
using qv::test::GridKind;
using qv::test::Guarded;
using qv::test::Random;
using qv::test::RandomSamples;
using qv::test::SameBits;

constexpr float kBad = -1e10F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class T>
int Count(const Guarded<T>& data) {
  return static_cast<int>(data.size());
}

/// Calls check(samples) on arrays of every size around the vector width and on some longer ones.
template <class Check>
void ForEachRandomArray(std::uint64_t seed, Check check) {
  Random random(seed);
  for (int round = 0; round < 130; ++round) {
    const auto count = static_cast<std::size_t>(round < 100 ? round : random.Below(3000));
    const GridKind kind = {.missing = 0.1 * random.Below(3),
                           .nan = 0.1 * random.Below(2),
                           .infinite = 0.05 * random.Below(2),
                           .repeated = 0.3 * random.Below(2),
                           .magnitude = std::pow(10.0, random.Between(-3, 11))};
    SCOPED_TRACE(count);
    const auto samples = RandomSamples(random, count, kind);
    ForEachVariant([&] { check(samples, random); });
  }
}

// NormalizeArrayDoubles

TEST(NormalizeArrayDoubles, OneThreeTwo_IsStretchedToTargets) {
  Guarded<double> data(std::vector<double>{1, 3, 2}), extremes(2);
  EXPECT_EQ(NormalizeArrayDoubles(data.data(), 3, 10, 0, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_EQ(data.Values(), (std::vector<double>{0, 10, 5}));
  EXPECT_EQ(extremes.Values(), (std::vector<double>{3, 1}));
}

TEST(NormalizeArrayDoubles, ExtremesOnly_LeavesTheData) {
  Guarded<double> data(std::vector<double>{1, 3, 2}), extremes(2);
  EXPECT_EQ(NormalizeArrayDoubles(data.data(), 3, 10, 0, &extremes[0], &extremes[1], 1), 0U);
  EXPECT_EQ(data.Values(), (std::vector<double>{1, 3, 2}));
  EXPECT_EQ(extremes.Values(), (std::vector<double>{3, 1}));
}

TEST(NormalizeArrayDoubles, ConstantArray_BecomesTargetMinimum) {
  Guarded<double> data(std::vector<double>{4, 4}), extremes(2);
  EXPECT_EQ(NormalizeArrayDoubles(data.data(), 2, 10, 2, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_EQ(data.Values(), (std::vector<double>{2, 2}));
}

TEST(NormalizeArrayDoubles, NothingUsable_FailsWithStartValues) {
  for (const std::vector<double>& values : {std::vector<double>{}, {-1e10, -1e10}, {std::nan("")}}) {
    Guarded<double> data(values), extremes(2);
    EXPECT_EQ(NormalizeArrayDoubles(data.data(), Count(data), 10, 2, &extremes[0], &extremes[1], 0), 1U);
    EXPECT_EQ(extremes.Values(), (std::vector<double>{-1e32, 1e32}));
    EXPECT_TRUE(SameBits(data.data(), values.data(), values.size()));
  }
}

TEST(NormalizeArrayDoubles, Missing_IsTheBitPatternSoNaNTakesPart) {
  // The float neighbour of -1e10 as a double is a height; a NaN leaves the extremes alone but is stretched.
  Guarded<double> data(std::vector<double>{1, std::nan(""), -1e10, 2}), extremes(2);
  EXPECT_EQ(NormalizeArrayDoubles(data.data(), 4, 1, 0, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_EQ(extremes.Values(), (std::vector<double>{2, 1}));
  EXPECT_EQ(data[0], 0);
  EXPECT_TRUE(std::isnan(data[1]));
  EXPECT_EQ(data[2], -1e10);
  EXPECT_EQ(data[3], 1);
}

TEST(NormalizeArrayDoubles, TargetMinimumZero_IsNotAdded) {
  // Adding 0.0 would turn the -0.0 that the stretch gives here into 0.0.
  Guarded<double> data(std::vector<double>{1, 2}), extremes(2);
  EXPECT_EQ(NormalizeArrayDoubles(data.data(), 2, -1, 0, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_TRUE(std::signbit(data[0]));
}

// NormalizeArrayFloats

TEST(NormalizeArrayFloats, NothingUsable_SucceedsWithStartValues) {
  for (const std::vector<float>& values : {std::vector<float>{}, {kBad, kBad}, {kNaN}}) {
    for (const int extremesOnly : {0, 1}) {
      ForEachVariant([&] {
        Guarded<float> data(values), extremes(2);
        EXPECT_EQ(
            NormalizeArrayFloats(data.data(), Count(data), 1, 0, &extremes[0], &extremes[1], extremesOnly),
            0U);
        EXPECT_EQ(extremes.Values(), (std::vector<float>{-1e32F, 1e32F}));
        EXPECT_TRUE(SameBits(data.data(), values.data(), values.size()));
      });
    }
  }
}

TEST(NormalizeArrayFloats, RandomArrays_EqualTheFormulaBitForBit) {
  ForEachRandomArray(11, [](const std::vector<float>& samples, Random& random) {
    const auto targetMaximum = static_cast<float>(random.Between(-5, 300));
    const auto targetMinimum = static_cast<float>(random.Below(3) * 0.3);
    const float high = qv::reference::Peak(samples), low = qv::reference::Lowest(samples);
    const double range = static_cast<double>(high) - low;
    const auto scale =
        static_cast<float>(range == 0 ? 1.0 : (static_cast<double>(targetMaximum) - targetMinimum) / range);
    std::vector<float> expected = samples;
    for (float& z : expected) {
      if (Missing(z)) continue;
      const double moved = (static_cast<double>(z) - low) * scale;
      z = static_cast<float>(targetMinimum == 0 ? moved : moved + targetMinimum);
    }
    Guarded<float> data(samples), extremes(2);
    EXPECT_EQ(NormalizeArrayFloats(data.data(), Count(data), targetMaximum, targetMinimum, &extremes[0],
                                   &extremes[1], 0),
              0U);
    EXPECT_TRUE(SameBits(&extremes[0], &high, 1));
    EXPECT_TRUE(SameBits(&extremes[1], &low, 1));
    EXPECT_TRUE(SameBits(data.data(), expected.data(), expected.size()));

    Guarded<float> untouched(samples);
    NormalizeArrayFloats(untouched.data(), Count(untouched), targetMaximum, targetMinimum, &extremes[0],
                         &extremes[1], -1);
    EXPECT_TRUE(SameBits(untouched.data(), samples.data(), samples.size()));
  });
}

// NormalizeArrayBytes

TEST(NormalizeArrayBytes, AllZeroOrAll255_FailsAndLeavesTheData) {
  for (const unsigned char value : {0, 255}) {
    Guarded<unsigned char> data(40, value), extremes(2);
    EXPECT_EQ(NormalizeArrayBytes(data.data(), 40, 100, 0, &extremes[0], &extremes[1], 0), 1U);
    EXPECT_EQ(data.Values(), std::vector<unsigned char>(40, value));
    EXPECT_EQ(extremes.Values(), (std::vector<unsigned char>{value, value}));
  }
}

TEST(NormalizeArrayBytes, ZeroAnd255_Succeeds) {
  Guarded<unsigned char> data(std::vector<unsigned char>{0, 255, 128}), extremes(2);
  EXPECT_EQ(NormalizeArrayBytes(data.data(), 3, 100, 0, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_EQ(extremes.Values(), (std::vector<unsigned char>{255, 0}));
  EXPECT_EQ(data.Values(), (std::vector<unsigned char>{0, 100, 50}));
}

TEST(NormalizeArrayBytes, EmptyArray_FailsWithStartValues) {
  unsigned char maximum = 7, minimum = 7;
  EXPECT_EQ(NormalizeArrayBytes(nullptr, 0, 100, 0, &maximum, &minimum, 0), 1U);
  EXPECT_EQ(maximum, 0);
  EXPECT_EQ(minimum, 255);
}

TEST(NormalizeArrayBytes, RandomArrays_EqualTheFormula) {
  Random random(12);
  for (int round = 0; round < 200; ++round) {
    std::vector<unsigned char> values(static_cast<std::size_t>(random.Between(1, 200)));
    const int top = random.Between(1, 255);
    for (auto& value : values) value = static_cast<unsigned char>(random.Below(top + 1));
    const int targetMaximum = random.Below(256), targetMinimum = random.Below(256);
    const int high = *std::max_element(values.begin(), values.end());
    const int low = *std::min_element(values.begin(), values.end());
    if (high == 0 || low == 255) continue;
    const double scale =
        high == low ? 1.0 : static_cast<double>(targetMaximum - targetMinimum) / (high - low);
    Guarded<unsigned char> data(values), extremes(2);
    EXPECT_EQ(NormalizeArrayBytes(data.data(), Count(data), static_cast<unsigned char>(targetMaximum),
                                  static_cast<unsigned char>(targetMinimum), &extremes[0], &extremes[1], 0),
              0U);
    for (std::size_t i = 0; i < values.size(); ++i) {
      EXPECT_EQ(data[i], qv::reference::TruncatedByte((values[i] - low) * scale + targetMinimum));
    }
  }
}

TEST(NormalizeArrayBytes, DirtyUpperBitsOfByteArguments_AreIgnored) {
  using WithSlots =
      unsigned(QV_CALL*)(unsigned char*, int, unsigned, unsigned, unsigned char*, unsigned char*, int);
  const auto call = reinterpret_cast<WithSlots>(reinterpret_cast<void*>(NormalizeArrayBytes));
  Guarded<unsigned char> data(std::vector<unsigned char>{0, 255, 128}), extremes(2);
  EXPECT_EQ(call(data.data(), 3, 0x164, 0x100, &extremes[0], &extremes[1], 0), 0U);
  EXPECT_EQ(data.Values(), (std::vector<unsigned char>{0, 100, 50}));
}

// Conversions to bytes

TEST(ConvertFloatsToBytes, KnownValues_LowByteOfTheTruncation) {
  const std::vector<float> source = {300,           -0.5F,         255.9F, 256,       -1,
                                     2147483520.0F, 2147483648.0F, -3e9F,  kInfinity, kBad};
  ForEachVariant([&] {
    Guarded<unsigned char> bytes(source.size(), 99);
    EXPECT_EQ(ConvertFloatsToBytes(source.data(), bytes.data(), Count(bytes)), 0U);
    EXPECT_EQ(bytes.Values(), (std::vector<unsigned char>{44, 0, 255, 0, 255, 128, 0, 0, 0, 99}));
  });
}

TEST(ConvertFloatsToBytes, RandomArrays_EqualTheFormula) {
  ForEachRandomArray(13, [](const std::vector<float>& samples, Random&) {
    const Guarded<float> source(samples);
    Guarded<unsigned char> bytes(samples.size(), 99);
    EXPECT_EQ(ConvertFloatsToBytes(source.data(), bytes.data(), Count(bytes)), 0U);
    EXPECT_TRUE(SameBits(source.data(), samples.data(), samples.size()));
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_EQ(bytes[i], Missing(samples[i]) ? 99 : qv::reference::TruncatedByte(samples[i])) << samples[i];
    }
  });
}

TEST(ConvertFloatsToBytesWithThreshold, EqualValue_GivesAtOrBelow) {
  const std::vector<float> source = {1, 2, 3, kBad, kNaN};
  ForEachVariant([&] {
    Guarded<unsigned char> bytes(5, 99);
    EXPECT_EQ(ConvertFloatsToBytesWithThreshold(source.data(), bytes.data(), 5, 2.0, 200, 10), 0U);
    EXPECT_EQ(bytes.Values(), (std::vector<unsigned char>{10, 10, 200, 99, 99}));
  });
}

TEST(ConvertFloatsToBytesWithThreshold, ComparesInDouble) {
  // 0.1F is above the double 0.1; as floats the two would be equal.
  const float source = 0.1F;
  unsigned char byte = 0;
  ConvertFloatsToBytesWithThreshold(&source, &byte, 1, 0.1, 1, 2);
  EXPECT_EQ(byte, 1);
}

TEST(ConvertFloatsToBytesWithThreshold, DirtyUpperBitsOfByteArguments_AreIgnored) {
  using WithSlots = unsigned(QV_CALL*)(const float*, unsigned char*, int, double, unsigned, unsigned);
  const auto call = reinterpret_cast<WithSlots>(reinterpret_cast<void*>(ConvertFloatsToBytesWithThreshold));
  const std::vector<float> source = {0, 1};
  Guarded<unsigned char> bytes(2);
  call(source.data(), bytes.data(), 2, 0.5, 0x1FF, 0x101);
  EXPECT_EQ(bytes.Values(), (std::vector<unsigned char>{1, 255}));
}

TEST(ConvertFloatsToBytesWithThreshold, RandomArrays_EqualTheFormula) {
  ForEachRandomArray(14, [](const std::vector<float>& samples, Random& random) {
    const double threshold = random.Between(-1.0, 1.0);
    Guarded<unsigned char> bytes(samples.size(), 99);
    EXPECT_EQ(ConvertFloatsToBytesWithThreshold(samples.data(), bytes.data(), Count(bytes), threshold, 7, 8),
              0U);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_EQ(bytes[i], Missing(samples[i]) ? 99 : samples[i] > threshold ? 7 : 8);
    }
  });
}

// In place

TEST(ReplaceBadSamplesWithMinimum, FiveBadTwo_FillsWithTwo) {
  for (const float missing : {kBad, kNaN}) {
    ForEachVariant([&] {
      Guarded<float> data(std::vector<float>{5, missing, 2});
      EXPECT_EQ(ReplaceBadSamplesWithMinimum(data.data(), 3), 0U);
      EXPECT_EQ(data.Values(), (std::vector<float>{5, 2, 2}));
    });
  }
}

TEST(ReplaceBadSamplesWithMinimum, NothingUsable_FillsWithTheStartValue) {
  Guarded<float> data(std::vector<float>{kBad, kBad});
  EXPECT_EQ(ReplaceBadSamplesWithMinimum(data.data(), 2), 0U);
  EXPECT_EQ(data.Values(), (std::vector<float>{1e32F, 1e32F}));
}

TEST(ReplaceBadSamplesWithMinimum, RandomArrays_FillsAndKeepsTheRest) {
  ForEachRandomArray(15, [](const std::vector<float>& samples, Random&) {
    Guarded<float> data(samples);
    EXPECT_EQ(ReplaceBadSamplesWithMinimum(data.data(), Count(data)), 0U);
    std::vector<float> expected = samples;
    for (float& z : expected) {
      if (Missing(z)) z = qv::reference::Lowest(samples);
    }
    EXPECT_TRUE(SameBits(data.data(), expected.data(), expected.size()));
  });
}

TEST(ScaleArrayFloats, RandomArrays_EqualTheFormulaBitForBit) {
  ForEachRandomArray(16, [](const std::vector<float>& samples, Random& random) {
    const double factor = random.Between(-3.0, 3.0);
    Guarded<float> data(samples);
    EXPECT_EQ(ScaleArrayFloats(data.data(), Count(data), factor), 0U);
    std::vector<float> expected = samples;
    for (float& z : expected) {
      if (!Missing(z)) z = static_cast<float>(factor * z);
    }
    EXPECT_TRUE(SameBits(data.data(), expected.data(), expected.size()));
  });
}

TEST(ScaleArrayFloats, CountBelowOne_Succeeds) {
  EXPECT_EQ(ScaleArrayFloats(nullptr, 0, 2), 0U);
  EXPECT_EQ(ScaleArrayFloats(nullptr, -1, 2), 0U);
  EXPECT_EQ(ConvertFloatsToBytes(nullptr, nullptr, -1), 0U);
}

TEST(RemoveAverage, OneBadThree_LeavesTheSentinel) {
  ForEachVariant([&] {
    Guarded<float> data(std::vector<float>{1, kBad, 3});
    EXPECT_EQ(RemoveAverage(data.data(), 3), 0U);
    EXPECT_EQ(data.Values(), (std::vector<float>{-1, kBad, 1}));
  });
}

TEST(RemoveAverage, NothingUsable_FailsAndLeavesTheData) {
  EXPECT_EQ(RemoveAverage(nullptr, 0), 1U);
  Guarded<float> data(std::vector<float>{kBad, kBad});
  EXPECT_EQ(RemoveAverage(data.data(), 2), 1U);
  EXPECT_EQ(data.Values(), (std::vector<float>{kBad, kBad}));
}

TEST(RemoveAverage, RandomArrays_LeaveNoMean) {
  Random random(17);
  for (int round = 0; round < 100; ++round) {
    const auto samples = RandomSamples(random, static_cast<std::size_t>(random.Between(1, 2000)),
                                       {.missing = 0.1, .nan = 0.05});
    const auto before = qv::reference::SumOfPowers(samples, 1);
    if (before.used == 0) continue;
    const double mean = static_cast<double>(before.sum / before.used);
    std::vector<float> first;
    ForEachVariant([&] {
      Guarded<float> data(samples);
      EXPECT_EQ(RemoveAverage(data.data(), Count(data)), 0U);
      for (std::size_t i = 0; i < samples.size(); ++i) {
        if (Missing(samples[i])) continue;
        ASSERT_NEAR(data[i], samples[i] - mean, 2e-7);
      }
      if (first.empty()) first = data.Values();
      EXPECT_TRUE(SameBits(data.data(), first.data(), first.size()));
    });
  }
}

}  // namespace
