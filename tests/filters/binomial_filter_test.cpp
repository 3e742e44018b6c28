#include <climits>

#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using qv::reference::Split;

Split RunBinomial(int nx, int ny, const std::vector<float>& in) {
  const Guarded<float> input(in);
  const std::size_t count =
      nx > 2 && ny > 2 ? static_cast<std::size_t>(nx - 2) * static_cast<std::size_t>(ny - 2) : 0;
  Guarded<float> filtered(count), residual(count);
  EXPECT_EQ(FilterGaussianf2(nx, ny, input.data(), filtered.data(), residual.data()), 0U);
  EXPECT_TRUE(SameBits(input.data(), in.data(), in.size()));
  return {residual.Values(), filtered.Values()};
}

TEST(FilterGaussianf2, ThreeByThree_WritesOneValue) {
  ForEachVariant([&] {
    const Split split = RunBinomial(3, 3, {16, 32, 48, 64, 80, 96, 112, 128, 144});
    EXPECT_EQ(split.filtered, std::vector<float>{80});
    EXPECT_EQ(split.residual, std::vector<float>{16 - 80}) << "against the top-left sample";
  });
}

TEST(FilterGaussianf2, MissingSampleAnywhere_MarksBoth) {
  ForEachVariant([&] {
    for (const float missing : {kBad, kNaN}) {
      for (std::size_t i = 0; i < 9; ++i) {
        std::vector<float> in(9, 1.0F);
        in[i] = missing;
        const Split split = RunBinomial(3, 3, in);
        EXPECT_EQ(split.filtered[0], kBad);
        EXPECT_EQ(split.residual[0], kBad);
      }
    }
  });
}

TEST(FilterGaussianf2, GridsWithoutAnInterior_NothingWritten) {
  const std::vector<float> in(60, 1.0F);
  for (const auto& [nx, ny] : {std::pair{2, 30}, {30, 2}, {0, 5}, {5, 0}, {-4, 9}, {9, INT_MIN}})
    RunBinomial(nx, ny, in);
}

TEST(FilterGaussianf2, RandomGrids_EqualTheReference) {
  Random random(21);
  for (int round = 0; round < 500; ++round) {
    const int nx = random.Between(1, 70), ny = random.Between(1, 12);
    const auto in = RandomSamples(random, static_cast<std::size_t>(nx) * ny, AnyKind(random));
    const Split expected = qv::reference::Binomial(nx, ny, in);
    ForEachVariant([&] {
      const Split split = RunBinomial(nx, ny, in);
      ASSERT_TRUE(SameNumbers(split.filtered, expected.filtered)) << nx << " x " << ny;
      ASSERT_TRUE(SameNumbers(split.residual, expected.residual)) << nx << " x " << ny;
    });
  }
}

}  // namespace
