#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "kernels/kernels.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using Limits = std::numeric_limits<float>;
using qv::test::Guarded;

/// The extended type leaves no doubt about the nearest float.
float Expected(float value) {
  return value > 0 ? static_cast<float>(std::log10(static_cast<long double>(value))) : 0.0F;
}

void ExpectDecades(const std::vector<float>& values) {
  Guarded<float> out(values);
  qv::kernels::Active().decades.replace(out.data(), static_cast<std::ptrdiff_t>(values.size()));
  const std::vector<float> decades = out.Values();
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(std::bit_cast<std::uint32_t>(decades[i]), std::bit_cast<std::uint32_t>(Expected(values[i])))
        << values[i] << " at " << i << " of " << values.size();
  }
}

TEST(Decades, EveryExponentWithFractionsSpreadOut_NearestFloat) {
  std::vector<float> values;
  for (std::uint32_t bits = 0; bits < 0x7F800000U; bits += 9973) values.push_back(std::bit_cast<float>(bits));
  qv::test::ForEachVariant([&] { ExpectDecades(values); });
}

TEST(Decades, AroundOneAndAroundTheSeamOfTheSeries_NearestFloat) {
  std::vector<float> values;
  for (const float middle : {1.0F, 0.70710677F, 1.4142135F, 10.0F, 0.1F}) {
    const auto bits = std::bit_cast<std::uint32_t>(middle);
    for (std::uint32_t k = 0; k < 4000; ++k) values.push_back(std::bit_cast<float>(bits - 2000 + k));
  }
  qv::test::ForEachVariant([&] { ExpectDecades(values); });
}

TEST(Decades, LogarithmsNextToTheMiddleBetweenTwoFloats_NearestFloat) {
  // All floats whose logarithm lies within two units of a double's last bit of a middle.
  const std::vector<float> values = {0x1.218c0ep-99F,  0x1.fddcf4p-98F, 0x1.5cf1a6p-88F, 0x1.292424p-33F,
                                     0x1.f451d2p+5F,   0x1.f190ecp+46F, 0x1.4d83bap+70F, 0x1.207a4ap+76F,
                                     0x1.4be4b2p-123F, 0x1.9a99dp-107F, 0x1.1727b8p-91F, 0x1.36e7f2p-41F,
                                     0x1.0f399cp+7F,   0x1.7bdb9p+12F,  0x1.fe9bb8p+28F, 0x1.c21fd2p+59F,
                                     0x1.9be058p+65F,  0x1.0acfc8p+67F, 0x1.b25878p+95F, 0x1.c6c5cep+127F};
  qv::test::ForEachVariant([&] {
    ExpectDecades(values);
    for (const float value : values) ExpectDecades({value});
  });
}

// Takes a minute or more, so it is run by hand, with --gtest_also_run_disabled_tests, when the kernel
// changes.
TEST(Decades, DISABLED_EveryPositiveFloat_NearestFloat) {
  constexpr std::uint32_t kBlock = 1U << 20, kInfinity = 0x7F800000U;
  std::vector<float> values(kBlock);
  for (std::uint32_t first = 0; first < kInfinity; first += kBlock) {
    for (std::uint32_t k = 0; k < kBlock; ++k) values[k] = std::bit_cast<float>(first + k);
    ASSERT_NO_FATAL_FAILURE(ExpectDecades(values));
  }
}

TEST(Decades, PowersOfTen_Whole) {
  qv::test::ForEachVariant([] {
    std::vector<float> values = {1, 10, 100, 1000, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
    qv::kernels::Active().decades.replace(values.data(), static_cast<std::ptrdiff_t>(values.size()));
    EXPECT_EQ(values, (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_FALSE(std::signbit(values[0]));
  });
}

TEST(Decades, NothingPositive_Zeros) {
  qv::test::ForEachVariant([] {
    ExpectDecades({0.0F, -0.0F, -1.0F, -Limits::infinity(), Limits::quiet_NaN(), -Limits::quiet_NaN(),
                   -Limits::denorm_min(), Limits::lowest()});
  });
}

TEST(Decades, EveryLengthWithValuesOutOfTheOrdinary_NearestFloat) {
  qv::test::ForEachVariant([] {
    qv::test::Random random(61);
    for (std::size_t count = 0; count < 300; ++count) {
      std::vector<float> values;
      for (std::size_t i = 0; i < count; ++i) {
        values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random.Next()) & 0x7FFFFFFFU));
      }
      if (count > 2 && random.Chance(0.5)) values[count / 2] = Limits::infinity();
      if (count > 2 && random.Chance(0.5)) values[count / 3] = 3 * Limits::denorm_min();
      ExpectDecades(values);
    }
  });
}

}  // namespace
