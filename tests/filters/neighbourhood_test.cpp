#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/window_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::reference::WindowAt;
using qv::reference::WindowGrid;
using qv::reference::WindowResult;
using qv::reference::WindowStatistic;
using qv::test::ForEachVariant;
using qv::test::GridKind;
using qv::test::Guarded;
using qv::test::Random;
using qv::test::RandomSamples;
using qv::test::SameBits;

constexpr float kBad = -1e10F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMin = std::numeric_limits<int>::min();

/// One export: with or without a residual.
template <class T>
struct Filter {
  const char* name;
  WindowStatistic statistic;
  unsigned(QV_CALL* plain)(int, int, int, const T*, T*);
  unsigned(QV_CALL* two)(int, int, int, const T*, T*, T*);

  [[nodiscard]] bool IsRank() const {
    return statistic == WindowStatistic::kLowRank || statistic == WindowStatistic::kMedianResidual;
  }
  [[nodiscard]] bool IsFullSize() const { return statistic == WindowStatistic::kClippedMean; }
  /// Members that divide an int or take a rank write nothing for size 0.
  [[nodiscard]] bool NeedsSize() const {
    return IsRank() || (std::numeric_limits<T>::is_integer && statistic == WindowStatistic::kMean);
  }
};

using S = WindowStatistic;
const std::vector<Filter<double>> kDoubleFilters = {
    {"FilterMean", S::kMean, FilterMean, nullptr},
    {"FilterMinimum", S::kMinimum, FilterMinimum, nullptr},
    {"FilterMaximum", S::kMaximum, FilterMaximum, nullptr},
    {"FilterMedian", S::kLowRank, FilterMedian, nullptr},
};
const std::vector<Filter<int>> kIntFilters = {
    {"FilterMeani", S::kMean, FilterMeani, nullptr},
    {"FilterMinimumi", S::kMinimum, FilterMinimumi, nullptr},
    {"FilterMaximumi", S::kMaximum, FilterMaximumi, nullptr},
    {"FilterMediani", S::kLowRank, FilterMediani, nullptr},
};
const std::vector<Filter<float>> kFloatFilters = {
    {"FilterMeanf", S::kMean, FilterMeanf, nullptr},
    {"FilterMinimumf", S::kMinimum, FilterMinimumf, nullptr},
    {"FilterMaximumf", S::kMaximum, FilterMaximumf, nullptr},
    {"FilterMedianf", S::kLowRank, FilterMedianf, nullptr},
    {"FilterMeanf2", S::kMeanResidual, nullptr, FilterMeanf2},
    {"FilterMeanf3", S::kClippedMean, nullptr, FilterMeanf3},
    {"FilterMinimumf2", S::kMinimumResidual, nullptr, FilterMinimumf2},
    {"FilterMaximumf2", S::kMaximumResidual, nullptr, FilterMaximumf2},
    {"FilterMedianf2", S::kMedianResidual, nullptr, FilterMedianf2},
    {"FilterLaplacianf2", S::kLaplacian, nullptr, FilterLaplacianf2},
};

template <class T>
const std::vector<Filter<T>>& Filters();
template <>
const std::vector<Filter<double>>& Filters() {
  return kDoubleFilters;
}
template <>
const std::vector<Filter<int>>& Filters() {
  return kIntFilters;
}
template <>
const std::vector<Filter<float>>& Filters() {
  return kFloatFilters;
}

template <class T>
struct Outputs {
  std::vector<T> out, residual;
};

/// How many results a call writes.
template <class T>
std::size_t ResultCount(const Filter<T>& filter, int size, int nx, int ny) {
  const std::ptrdiff_t half = size / 2;
  if (nx < 1 || ny < 1 || (size == 0 && filter.NeedsSize())) return 0;
  if (filter.IsFullSize()) return static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny);
  if (half < 0 || nx <= 2 * half || ny <= 2 * half) return 0;
  return static_cast<std::size_t>(nx - 2 * half) * static_cast<std::size_t>(ny - 2 * half);
}

/// Calls a filter on guarded arrays of exactly the sizes that it needs; checks the input, the guard bands,
/// the status, and that a call with nothing to write leaves everything alone.
template <class T>
Outputs<T> Apply(const Filter<T>& filter, int size, int nx, int ny, const std::vector<T>& samples) {
  const std::size_t count = ResultCount(filter, size, nx, ny);
  const Guarded<T> in(samples);
  Guarded<T> out(count), residual(filter.two == nullptr ? 0 : count);
  const unsigned status = filter.two == nullptr
                              ? filter.plain(size, nx, ny, in.data(), out.data())
                              : filter.two(size, nx, ny, in.data(), out.data(), residual.data());
  EXPECT_EQ(status, 0U);
  EXPECT_TRUE(SameBits(in.data(), samples.data(), samples.size()));
  return {out.Values(), residual.Values()};
}

/// Equal to the exact value within its slack and one rounding to T; NaN only for NaN, infinities exactly.
template <class T>
bool Near(T actual, long double expected, long double slack) {
  if (std::isnan(expected)) return std::isnan(static_cast<double>(actual));
  if (std::isinf(expected)) return static_cast<long double>(actual) == expected;
  if (std::isinf(static_cast<double>(actual))) {  // rounded beyond the largest T
    return std::fabs(expected) * (1 + 0x1p-20L) >= std::numeric_limits<T>::max();
  }
  const long double digits = sizeof(T) == 4 ? 0x1p-24L : 0x1p-53L;
  const long double smallest = sizeof(T) == 4 ? 0x1p-149L : 0x1p-1074L;
  return std::fabs(actual - expected) <= slack + std::fabs(expected) * digits * 1.0001L + smallest;
}

template <class T>
bool SameValue(T actual, long double expected) {
  const T exact = static_cast<T>(expected);
  if (exact != exact) {  // always the same NaN
    const T nan = std::numeric_limits<T>::quiet_NaN();
    return std::memcmp(&actual, &nan, sizeof nan) == 0;
  }
  return std::memcmp(&actual, &exact, sizeof exact) == 0;
}

template <class T>
bool Agrees(const WindowResult& expected, T out, const T* residual) {
  if (expected.exact) {
    return SameValue(out, expected.value) && (residual == nullptr || SameValue(*residual, expected.residual));
  }
  const long double rounding = std::fabs(expected.residual) * 0x1p-53L;
  return Near(out, expected.value, expected.slack) &&
         (residual == nullptr || Near(*residual, expected.residual, expected.slack + rounding));
}

/// Every result of every filter of a type, on every instruction set, which must agree to the bit.
template <class T>
void CheckAll(int size, int nx, int ny, const std::vector<T>& samples) {
  SCOPED_TRACE("size " + std::to_string(size) + ", grid " + std::to_string(nx) + " x " + std::to_string(ny));
  const WindowGrid<T> grid = {size, nx, ny, &samples};
  for (const auto& filter : Filters<T>()) {
    SCOPED_TRACE(filter.name);
    std::vector<Outputs<T>> all;
    ForEachVariant([&] { all.push_back(Apply(filter, size, nx, ny, samples)); });
    const Outputs<T>& first = all.front();
    for (const auto& other : all) {
      ASSERT_TRUE(SameBits(other.out.data(), first.out.data(), first.out.size()));
      ASSERT_TRUE(SameBits(other.residual.data(), first.residual.data(), first.residual.size()));
    }
    if (first.out.empty() || size < -1) continue;
    const std::ptrdiff_t border = filter.IsFullSize() ? 0 : grid.Half();
    const std::ptrdiff_t width = grid.OutWidth(filter.statistic);
    for (std::size_t i = 0; i < first.out.size(); ++i) {
      const auto at = static_cast<std::ptrdiff_t>(i);
      const WindowResult expected =
          WindowAt(filter.statistic, grid, at / width + border, at % width + border);
      const T* residual = filter.two == nullptr ? nullptr : &first.residual[i];
      ASSERT_TRUE(Agrees(expected, first.out[i], residual))
          << "result " << i << " is " << +first.out[i] << ", expected " << static_cast<double>(expected.value)
          << "; residual " << (residual != nullptr ? +*residual : T{}) << ", expected "
          << static_cast<double>(expected.residual);
    }
  }
}

template <class T>
std::vector<T> Grid(Random& random, int nx, int ny, const GridKind& kind) {
  return RandomSamples<T>(random, static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny), kind);
}
/// Ints of every size, so that sums wrap, or small ones with many ties.
template <>
std::vector<int> Grid<int>(Random& random, int nx, int ny, const GridKind& kind) {
  std::vector<int> samples(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny));
  for (int& z : samples) {
    z = static_cast<int>(static_cast<std::uint32_t>(random.Next()));
    if (kind.magnitude == 1) z %= 5;
  }
  return samples;
}

const GridKind kKinds[] = {
    {},
    {.missing = 0.05},
    {.missing = 0.4, .nan = 0.3, .repeated = 0.3},
    {.missing = 0.02, .nan = 0.02, .infinite = 0.02, .repeated = 0.5, .magnitude = 1e-3},
    {.nan = 0.02, .repeated = 0.9},
    {.repeated = 0.2, .magnitude = 1e38},
    {.missing = 0.1, .magnitude = 1e-40},
    {.nan = 1},
    {.missing = 1},
    {.infinite = 0.5, .magnitude = 1e20},
};

template <class T>
class EveryType : public ::testing::Test {};
using Types = ::testing::Types<float, double, int>;
TYPED_TEST_SUITE(EveryType, Types);

TYPED_TEST(EveryType, EverySize_AgreesWithTheWindowWalker) {
  Random random(1);
  int kind = 0;
  for (int size = -3; size <= 33; ++size) {
    const int side = std::max(1, 2 * (size / 2) + 1);
    for (const int extra : {0, 1, 5, 18}) {
      const int nx = side + extra, ny = side + random.Below(6) + (extra == 0 ? side : 0);
      const auto& chosen = kKinds[static_cast<std::size_t>(kind++) % std::size(kKinds)];
      CheckAll<TypeParam>(size, nx, ny, Grid<TypeParam>(random, nx, ny, chosen));
      if (this->HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(EveryType, EveryWidth_AgreesWithTheWindowWalker) {
  Random random(2);
  for (int nx = 1; nx <= 70; ++nx) {
    for (const int size : {1, 2, 3, 5, 7}) {
      const int ny = size + random.Below(12);
      const auto& chosen = kKinds[static_cast<std::size_t>(nx + size) % std::size(kKinds)];
      CheckAll<TypeParam>(size, nx, ny, Grid<TypeParam>(random, nx, ny, chosen));
      if (this->HasFatalFailure()) return;
    }
  }
}

TYPED_TEST(EveryType, EveryKindOfData_AgreesWithTheWindowWalker) {
  Random random(3);
  for (const GridKind& kind : kKinds) {
    for (const int size : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15}) {
      const int nx = random.Between(17, 50), ny = random.Between(17, 50);
      CheckAll<TypeParam>(size, nx, ny, Grid<TypeParam>(random, nx, ny, kind));
      if (this->HasFatalFailure()) return;
    }
  }
}

// Windows of 3 x 3 are ranked in strips of 768 columns: the last one may be narrower than a vector.
TYPED_TEST(EveryType, EveryWidthOfTheLastStrip_AgreesWithTheWindowWalker) {
  Random random(31);
  const GridKind kind = {.missing = 0.05, .nan = 0.005, .repeated = 0.1};
  for (int nx = 768 + 2; nx <= 768 + 2 + 33; ++nx) {
    CheckAll<TypeParam>(3, nx, 5, Grid<TypeParam>(random, nx, 5, kind));
    if (this->HasFatalFailure()) return;
  }
}

// Wide enough for several strips, and heights of several blocks.
TYPED_TEST(EveryType, LargeGrids_AgreeWithTheWindowWalker) {
  Random random(4);
  const GridKind kind = {.missing = 0.01, .nan = 0.005, .repeated = 0.1};
  CheckAll<TypeParam>(3, 2500, 9, Grid<TypeParam>(random, 2500, 9, kind));
  CheckAll<TypeParam>(5, 1100, 23, Grid<TypeParam>(random, 1100, 23, kind));
  CheckAll<TypeParam>(15, 700, 40, Grid<TypeParam>(random, 700, 40, kind));
  CheckAll<TypeParam>(31, 300, 70, Grid<TypeParam>(random, 300, 70, kind));
  CheckAll<TypeParam>(63, 200, 66, Grid<TypeParam>(random, 200, 66, kind));
  CheckAll<TypeParam>(101, 140, 105, Grid<TypeParam>(random, 140, 105, kind));
  CheckAll<TypeParam>(44, 60, 130, Grid<TypeParam>(random, 60, 130, kind));
}

// Several tiles of running sums, one of them next to a sample that only additions can take.
TYPED_TEST(EveryType, SeveralTiles_AgreeWithTheWindowWalker) {
  Random random(8);
  for (const double missing : {0.0, 0.02}) {
    const GridKind kind = {.missing = missing, .magnitude = 100};
    CheckAll<TypeParam>(5, 2100, 9, Grid<TypeParam>(random, 2100, 9, kind));
    CheckAll<TypeParam>(5, 9, 1100, Grid<TypeParam>(random, 9, 1100, kind));
    auto samples = Grid<TypeParam>(random, 2100, 9, kind);
    samples.back() = std::numeric_limits<TypeParam>::max();
    CheckAll<TypeParam>(7, 2100, 9, samples);
    samples = Grid<TypeParam>(random, 9, 1100, kind);
    samples.front() = std::numeric_limits<TypeParam>::min();
    CheckAll<TypeParam>(6, 9, 1100, samples);
  }
}

TYPED_TEST(EveryType, NothingToVisit_WritesNothing) {
  const std::vector<TypeParam> samples(64, TypeParam{3});
  for (const auto& filter : Filters<TypeParam>()) {
    if (filter.IsFullSize()) continue;
    SCOPED_TRACE(filter.name);
    ForEachVariant([&] {
      for (const auto& [size, nx, ny] : {std::array{3, 2, 8},
                                         {3, 8, 2},
                                         {2, 2, 2},
                                         {9, 8, 8},
                                         {-2, 8, 8},
                                         {-3, 8, 8},
                                         {kIntMin, 8, 8},
                                         {2147483647, 8, 8},
                                         {3, 0, 8},
                                         {3, 8, 0},
                                         {1, 0, 0},
                                         {3, -8, 8},
                                         {3, 8, -8},
                                         {3, -8, -8},
                                         {1, kIntMin, 1},
                                         {1, 1, kIntMin}}) {
        EXPECT_EQ(ResultCount(filter, size, nx, ny), 0U);
        Apply(filter, size, nx, ny, samples);
      }
    });
  }
}

TYPED_TEST(EveryType, SizesOneAndMinusOne_CopyWhatIsInRange) {
  const std::vector<TypeParam> samples = {1, -2, 3, 4, 5, -6};
  for (const auto& filter : Filters<TypeParam>()) {
    SCOPED_TRACE(filter.name);
    ForEachVariant([&] {
      for (const int size : {1, -1}) {
        const auto result = Apply(filter, size, 3, 2, samples);
        EXPECT_EQ(result.out, samples);
        if (filter.two != nullptr) {
          EXPECT_EQ(result.residual, std::vector<TypeParam>(6, TypeParam{0}));
        }
      }
    });
  }
}

// A huge or special sample inside one window leaves the others as they are, to the bit.
template <class T>
void CheckPoison(const Filter<T>& filter, int size, T poison) {
  constexpr int kNx = 75, kNy = 60, kRow = 29, kColumn = 37;
  const std::ptrdiff_t half = size / 2;
  Random random(5);
  const std::vector<T> clean = Grid<T>(random, kNx, kNy, {});
  std::vector<T> poisoned = clean;
  poisoned[kRow * kNx + kColumn] = poison;
  const auto before = Apply(filter, size, kNx, kNy, clean);
  const auto after = Apply(filter, size, kNx, kNy, poisoned);
  const std::ptrdiff_t border = filter.IsFullSize() ? 0 : half, width = kNx - 2 * border;
  ASSERT_EQ(before.out.size(), after.out.size());
  for (std::size_t i = 0; i < before.out.size(); ++i) {
    const std::ptrdiff_t r = static_cast<std::ptrdiff_t>(i) / width + border;
    const std::ptrdiff_t c = static_cast<std::ptrdiff_t>(i) % width + border;
    if (std::abs(r - kRow) <= half && std::abs(c - kColumn) <= half) continue;
    ASSERT_TRUE(SameBits(&after.out[i], &before.out[i], 1)) << "row " << r << ", column " << c;
    if (filter.two != nullptr) {
      ASSERT_TRUE(SameBits(&after.residual[i], &before.residual[i], 1));
    }
  }
}

TYPED_TEST(EveryType, PoisonedWindow_LeavesNoTraceInTheNext) {
  for (const auto& filter : Filters<TypeParam>()) {
    SCOPED_TRACE(filter.name);
    ForEachVariant([&] {
      for (const int size : {2, 3, 4, 5, 7, 9, 15, 16, 31}) {
        SCOPED_TRACE(size);
        CheckPoison(filter, size, static_cast<TypeParam>(-1e9));
        if constexpr (!std::numeric_limits<TypeParam>::is_integer) {
          for (const double poison : {-1e10, 3e38, static_cast<double>(kNaN), static_cast<double>(kInfinity),
                                      -static_cast<double>(kInfinity)}) {
            CheckPoison(filter, size, static_cast<TypeParam>(poison));
          }
        }
      }
    });
  }
}

// Whole numbers: every order of adding gives the same sum, so means must have the bits of the sequential one.
TEST(FilterMean, WholeNumbersWithSentinels_ExactBits) {
  Random random(6);
  for (const int size : {1, 2, 3, 5, 7, 8, 15, 31}) {
    const int nx = 60, ny = 50, half = size / 2, width = nx - 2 * half;
    std::vector<float> samples(static_cast<std::size_t>(nx) * ny);
    for (float& z : samples) z = random.Chance(0.05) ? kBad : static_cast<float>(random.Between(-1000, 1000));
    const std::vector<double> doubles(samples.begin(), samples.end());
    std::vector<float> means;
    std::vector<double> doubleMeans;
    for (int r = half; r < ny - half; ++r) {
      for (int c = half; c < nx - half; ++c) {
        double sum = 0;
        for (int i = r - half; i <= r + half; ++i) {
          for (int j = c - half; j <= c + half; ++j) sum += samples[static_cast<std::size_t>(i * nx + j)];
        }
        doubleMeans.push_back(sum / (size * size));
        means.push_back(static_cast<float>(doubleMeans.back()));
      }
    }
    ASSERT_EQ(means.size(), static_cast<std::size_t>(width * (ny - 2 * half)));
    ForEachVariant([&] {
      const auto floats = Apply(kFloatFilters[0], size, nx, ny, samples);
      EXPECT_TRUE(SameBits(floats.out.data(), means.data(), means.size()));
      const auto widened = Apply(kDoubleFilters[0], size, nx, ny, doubles);
      EXPECT_TRUE(SameBits(widened.out.data(), doubleMeans.data(), doubleMeans.size()));
    });
  }
}

// Quotients midway between two floats: a product by the reciprocal would round some of them the wrong way.
TEST(FilterMeanf, QuotientsMidwayBetweenFloats_RoundedOnce) {
  Random random(7);
  const int nx = 60, ny = 20, width = nx - 2;
  std::vector<float> samples(static_cast<std::size_t>(nx) * ny, 0.0F);
  for (float& z : samples) z = random.Chance(0.3) ? 0x1p24F : static_cast<float>(random.Between(-3, 3));
  std::vector<float> means;
  int midway = 0;
  for (int r = 0; r < ny - 2; ++r) {
    for (int c = 0; c < width; ++c) {
      double sum = 0;
      for (int i = 0; i < 9; ++i) sum += samples[static_cast<std::size_t>((r + i / 3) * nx + c + i % 3)];
      means.push_back(static_cast<float>(sum / 4));
      const double up = std::nextafter(means.back(), kInfinity),
                   down = std::nextafter(means.back(), -kInfinity);
      midway += sum / 4 == (means.back() + up) / 2 || sum / 4 == (means.back() + down) / 2 ? 1 : 0;
    }
  }
  ASSERT_GT(midway, 10);
  ForEachVariant([&] {
    const auto floats = Apply(kFloatFilters[0], 2, nx, ny, samples);
    EXPECT_TRUE(SameBits(floats.out.data(), means.data(), means.size()));
  });
}

template <class T>
const Filter<T>& Named(const std::string& name) {
  for (const auto& filter : Filters<T>()) {
    if (name == filter.name) return filter;
  }
  throw std::runtime_error(name);
}

template <class T>
void ExpectOutputs(const std::string& name, int size, int nx, int ny, const std::vector<T>& samples,
                   const std::vector<T>& out, const std::vector<T>& residual = {}) {
  SCOPED_TRACE(name);
  ForEachVariant([&] {
    const auto result = Apply(Named<T>(name), size, nx, ny, samples);
    ASSERT_EQ(result.out.size(), out.size());
    EXPECT_TRUE(SameBits(result.out.data(), out.data(), out.size()));
    if (!residual.empty()) {
      ASSERT_EQ(result.residual.size(), residual.size());
      EXPECT_TRUE(SameBits(result.residual.data(), residual.data(), residual.size()));
    }
  });
}

/// Heights of `digits` binary digits from the first of the largest to the last of the smallest, which is the
/// unit. In every window of size x size the large ones cancel, and most of the small ones.
std::vector<float> CancellingHeights(Random& random, int size, int nx, int ny, int digits, double unit) {
  std::vector<double> large(static_cast<std::size_t>(size), 0.0);
  for (std::size_t i = 0; i + 1 < large.size(); i += 2) {
    large[i] = std::ldexp(random.Between(0x800000, 0xFFFFFF), digits - 24);
    large[i + 1] = -large[i];
  }
  std::vector<float> samples;
  for (int i = 0; i < nx * ny; ++i) {
    const double small = (i / nx % 2 == 0 ? 1 : -1) * random.Between(0x800000, 0x80000F);
    const double height = large[static_cast<std::size_t>(i % nx % size)];
    samples.push_back(static_cast<float>((height == 0 ? small : height) * unit));
  }
  return samples;
}

// Sums that a double cannot carry are exact all the same while their terms have a common unit.
TEST(FilterMeanf, TermsWithACommonUnit_ExactBits) {
  Random random(9);
  for (const auto& [size, digits] : {std::array{5, 51}, {9, 51}, {31, 51}, {65, 50}, {127, 49}}) {
    for (const double unit : {0x1p-149, 0x1p-40, 1.0, 0x1p70}) {
      const int nx = size + 20, ny = size + 9, width = nx - size + 1;
      const auto samples = CancellingHeights(random, size, nx, ny, digits, unit);
      std::vector<float> means;
      for (int r = 0; r < ny - size + 1; ++r) {
        for (int c = 0; c < width; ++c) {
          std::int64_t sum = 0;
          for (int i = 0; i < size * size; ++i) {
            const std::ptrdiff_t row = r + i / size, column = c + i % size;
            sum += static_cast<std::int64_t>(samples[static_cast<std::size_t>(row * nx + column)] / unit);
          }
          means.push_back(static_cast<float>(static_cast<double>(sum) * unit / (size * size)));
        }
      }
      ExpectOutputs<float>("FilterMeanf", size, nx, ny, samples, means);
      ExpectOutputs<float>("FilterMeanf2", size, nx, ny, samples, means);
    }
  }
}

// From the largest terms whose sums are kept exactly to some too large for that.
TEST(FilterMeanf, TermsAtTheLimitOfExactSums_AgreeWithTheWindowWalker) {
  Random random(10);
  for (const auto& [size, limit] : {std::array{5, 51}, {65, 50}}) {
    for (int digits = limit - 1; digits <= limit + 4; ++digits) {
      const int nx = size + 3, ny = size + 2;
      std::vector<float> samples(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny));
      for (float& z : samples)
        z = std::ldexp(static_cast<float>(random.Between(0xFFFF00, 0xFFFFFF)), digits - 24);
      samples[samples.size() / 2] = 0x1p23F;  // its last digit is 1
      CheckAll<float>(size, nx, ny, samples);
      for (float& z : samples) z = -z;
      CheckAll<float>(size, nx, ny, samples);
    }
  }
}

const std::vector<float> kNine = {5, 1, 9, 2, 7, 3, 8, 4, 6};

TEST(FilterMedian, ThreeByThree_SecondSmallestButTrueMedianWithResidual) {
  ExpectOutputs<float>("FilterMedianf", 3, 3, 3, kNine, {2});
  ExpectOutputs<double>("FilterMedian", 3, 3, 3, {kNine.begin(), kNine.end()}, {2});
  ExpectOutputs<int>("FilterMediani", 3, 3, 3, {kNine.begin(), kNine.end()}, {2});
  ExpectOutputs<float>("FilterMedianf2", 3, 3, 3, kNine, {5}, {2});
}

TEST(FilterMedian, FiveByFive_ThirdSmallestButTrueMedianWithResidual) {
  std::vector<float> samples;
  for (int i = 0; i < 25; ++i) samples.push_back(static_cast<float>(i * 7 % 25));
  ExpectOutputs<float>("FilterMedianf", 5, 5, 5, samples, {2});
  ExpectOutputs<float>("FilterMedianf2", 5, 5, 5, samples, {12}, {samples[12] - 12});
}

// The window of an even size has more samples than size * size: only the first of them in row order are
// sorted.
TEST(FilterMedian, EvenSize_SortsTheFirstSamplesInRowOrder) {
  ExpectOutputs<float>("FilterMedianf", 2, 3, 3, {5, 6, 9, 7, -1, -2, -3, -4, -5}, {6});
  ExpectOutputs<float>("FilterMedianf2", 2, 3, 3, {5, 6, 9, 7, -1, -2, -3, -4, -5}, {7}, {-8});
}

TEST(FilterMedian, SignedZerosAndNaN_SortedByADocumentedOrder) {
  ExpectOutputs<float>("FilterMedianf", 3, 3, 3, {0, 0, 1, 1, 1, -0.0F, 1, 1, 1}, {0});
  ExpectOutputs<float>("FilterMedianf", 3, 3, 3, {0, -0.0F, 1, 1, 1, -0.0F, 1, 1, 1}, {-0.0F});
  ExpectOutputs<float>("FilterMedianf", 3, 3, 3, {-kNaN, -kNaN, kNaN, 1, 2, kNaN, kNaN, -kNaN, -kInfinity},
                       {1});
  ExpectOutputs<float>("FilterMedianf", 3, 3, 3, {-kNaN, -kNaN, kNaN, 1, kNaN, kNaN, kNaN, -kNaN, -kNaN},
                       {kNaN});
  ExpectOutputs<float>("FilterMedianf2", 3, 3, 3, {-kNaN, -kNaN, kNaN, 1, kNaN, 1, kNaN, 1, 1}, {kBad},
                       {kBad});
  ExpectOutputs<float>("FilterMedianf2", 3, 3, 3, {kBad, kBad, 1, kBad, 2, 3, kBad, kBad, 4}, {kBad}, {kBad});
}

TEST(Filters, OneMissingSampleInTheWindow_EachMembersRule) {
  std::vector<float> samples = kNine;
  samples[4] = kBad;
  const float mean = static_cast<float>((38.0 - 1e10) / 9), goodMean = static_cast<float>(38.0 / 8);
  ExpectOutputs<float>("FilterMeanf", 3, 3, 3, samples, {mean});
  ExpectOutputs<double>("FilterMean", 3, 3, 3, {samples.begin(), samples.end()}, {(38.0 - 1e10) / 9});
  for (const char* marking : {"FilterMeanf2", "FilterMinimumf2", "FilterLaplacianf2"}) {
    ExpectOutputs<float>(marking, 3, 3, 3, samples, {kBad}, {kBad});
  }
  ExpectOutputs<float>("FilterMaximumf2", 3, 3, 3, samples, {9}, {-4});
  ExpectOutputs<float>("FilterMinimumf", 3, 3, 3, samples, {kBad});
  ForEachVariant([&] {
    const auto clipped = Apply(Named<float>("FilterMeanf3"), 3, 3, 3, samples);
    EXPECT_EQ(clipped.out[4], goodMean);
    EXPECT_EQ(clipped.residual[4], static_cast<float>(-1e10 - 38.0 / 8));
    EXPECT_EQ(clipped.out[0], static_cast<float>(8.0 / 3));  // a corner: 5, 1 and 2
  });
}

TEST(Filters, NaN_CountsAsMissingExceptForExtremes) {
  std::vector<float> samples = kNine;
  samples[0] = kNaN;
  for (const char* marking : {"FilterMeanf2", "FilterLaplacianf2"}) {
    ExpectOutputs<float>(marking, 3, 3, 3, samples, {kBad}, {kBad});
  }
  ExpectOutputs<float>("FilterMinimumf2", 3, 3, 3, samples, {1}, {kNaN});
  ExpectOutputs<float>("FilterMaximumf2", 3, 3, 3, samples, {9}, {kNaN});
  ExpectOutputs<float>("FilterMeanf", 3, 3, 3, samples, {kNaN});
}

TEST(FilterMaximumf2, AllMissing_MarksBoth) {
  ExpectOutputs<float>("FilterMaximumf2", 3, 3, 3, std::vector<float>(9, kBad), {kBad}, {kBad});
}

TEST(FilterMinimumf2, LowerThanTheSentinel_IsNotMarked) {
  std::vector<float> samples = kNine;
  samples[1] = kBad;
  samples[2] = -2e10F;
  ExpectOutputs<float>("FilterMinimumf2", 3, 3, 3, samples, {-2e10F}, {static_cast<float>(5 + 2e10)});
}

TEST(Filters, StartValues_WhereNoSampleBeatsThem) {
  const double infinity = std::numeric_limits<double>::infinity();
  ExpectOutputs<float>("FilterMinimumf", 1, 3, 1, {kInfinity, kNaN, 2e32F}, {1e32F, 1e32F, 1e32F});
  ExpectOutputs<float>("FilterMaximumf", 1, 3, 1, {-kInfinity, kNaN, -2e32F}, {-1e32F, -1e32F, -1e32F});
  ExpectOutputs<double>("FilterMinimum", 1, 2, 1, {infinity, static_cast<double>(1e32F)}, {1e32, 1e32});
  ExpectOutputs<double>("FilterMaximum", 1, 2, 1, {-infinity, -static_cast<double>(1e32F)}, {-1e32, -1e32});
  ExpectOutputs<int>("FilterMinimumi", 1, 3, 1, {1000000001, 2147483647, -5}, {1000000000, 1000000000, -5});
  ExpectOutputs<int>("FilterMaximumi", 1, 3, 1, {-1000000001, kIntMin, 5}, {-1000000000, -1000000000, 5});
}

TEST(Filters, SignedZeros_FirstInRowOrderWins) {
  ExpectOutputs<float>("FilterMinimumf", 3, 3, 3, {1, 1, -0.0F, 0, 0, 0, 0, 0, 0}, {-0.0F});
  ExpectOutputs<float>("FilterMinimumf", 3, 3, 3, {1, 1, 0, -0.0F, -0.0F, 0, 0, 0, 0}, {0});
  ExpectOutputs<float>("FilterMaximumf", 3, 3, 3, {-1, -1, -0.0F, 0, 0, 0, 0, 0, 0}, {-0.0F});
  ExpectOutputs<float>("FilterMeanf", 1, 1, 1, {-0.0F}, {0});
}

TEST(FilterMeani, Sum_WrapsAndTruncatesTowardZero) {
  ExpectOutputs<int>("FilterMeani", 3, 3, 3, {0, 0, 0, 0, -17, 0, 0, 0, 0}, {-1});
  ExpectOutputs<int>("FilterMeani", 3, 3, 3, std::vector<int>(9, 1000000000), {410065408 / 9});
  ExpectOutputs<int>("FilterMeani", 1, 1, 1, {kIntMin}, {kIntMin});
}

TEST(Filters, EvenSize_DividesByItsOwnSquare) {
  ExpectOutputs<float>("FilterMeanf", 2, 3, 3, std::vector<float>(9, 4), {9});
  ExpectOutputs<int>("FilterMeani", 2, 3, 3, std::vector<int>(9, 4), {9});
  ExpectOutputs<float>("FilterLaplacianf2", 2, 3, 3, std::vector<float>(9, 4), {-4}, {8});
}

TEST(Filters, SizeZero_DividesByZeroOrWritesNothing) {
  ExpectOutputs<float>("FilterMeanf", 0, 3, 1, {2, -2, 0}, {kInfinity, -kInfinity, kNaN});
  ExpectOutputs<float>("FilterMeanf2", 0, 2, 1, {2, kBad}, {kInfinity, kBad}, {-kInfinity, kBad});
  ExpectOutputs<float>("FilterMeanf3", 0, 2, 1, {2, kBad}, {2, kBad}, {0, kBad});
  ExpectOutputs<float>("FilterLaplacianf2", 0, 2, 1, {2, kBad}, {kNaN, kBad}, {kNaN, kBad});
  ExpectOutputs<float>("FilterMinimumf", 0, 2, 1, {2, kBad}, {2, kBad});
  ExpectOutputs<int>("FilterMeani", 0, 2, 1, {2, 3}, {});
  ExpectOutputs<float>("FilterMedianf2", 0, 2, 1, {2, 3}, {});
}

TEST(FilterLaplacianf2, FlatSurface_IsDividedHeight) {
  ExpectOutputs<float>("FilterLaplacianf2", 3, 3, 3, std::vector<float>(9, 18), {2}, {16});
  ExpectOutputs<float>("FilterLaplacianf2", 3, 3, 3, {0, 0, 0, 0, kInfinity, 0, 0, 0, 0}, {kInfinity},
                       {-kInfinity});
  ExpectOutputs<float>("FilterLaplacianf2", 3, 3, 3, {0, 0, 0, 0, 0, 0, kInfinity, 0, 0}, {-kInfinity},
                       {kInfinity});
}

TEST(Filters, TiltedPlane_ResidualAgainstTheTopLeftSample) {
  const int nx = 20, ny = 15;
  std::vector<float> plane;
  for (int i = 0; i < nx * ny; ++i) plane.push_back(static_cast<float>(i % nx) * 0.5F);
  for (const int size : {3, 5, 9}) {
    const std::size_t count = static_cast<std::size_t>(nx - size + 1) * (ny - size + 1);
    ForEachVariant([&] {
      const auto mean = Apply(Named<float>("FilterMeanf2"), size, nx, ny, plane);
      EXPECT_EQ(mean.residual, std::vector<float>(count, -0.5F * static_cast<float>(size / 2)));
      const auto lowest = Apply(Named<float>("FilterMinimumf2"), size, nx, ny, plane);
      EXPECT_EQ(lowest.residual, std::vector<float>(count, 0));
      const auto highest = Apply(Named<float>("FilterMaximumf2"), size, nx, ny, plane);
      EXPECT_EQ(highest.residual, std::vector<float>(count, -0.5F * static_cast<float>(size - 1)));
      const auto median = Apply(Named<float>("FilterMedianf2"), size, nx, ny, plane);
      EXPECT_EQ(median.residual, std::vector<float>(count, 0));
    });
  }
}

TEST(FilterMeanf3, HugeOrNegativeSizes) {
  const std::vector<float> samples = {1, 2, 3, kBad, 5, 7};
  for (const int size : {7, 12, 1000, 2147483647}) {
    const float mean = static_cast<float>(18.0 / 5);
    ExpectOutputs<float>("FilterMeanf3", size, 3, 2, samples, std::vector<float>(6, mean));
  }
  for (const int size : {-2, -3, kIntMin}) {
    ExpectOutputs<float>("FilterMeanf3", size, 3, 2, samples, std::vector<float>(6, kBad),
                         std::vector<float>(6, kBad));
  }
  ExpectOutputs<float>("FilterMeanf3", 3, 0, 5, samples, {});
  ExpectOutputs<float>("FilterMeanf3", 3, -1, 5, samples, {});
  ExpectOutputs<float>("FilterMeanf3", 3, 5, 0, samples, {});
}

}  // namespace
