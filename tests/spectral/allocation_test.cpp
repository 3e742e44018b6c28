// Allocations of the library made to fail through the linker's --wrap.
#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"

namespace {
int mallocsUntilFailure = -1;  // below zero: none fails
bool allFailFromThere = false;
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);

void* __wrap_malloc(std::size_t size) {
  if (mallocsUntilFailure < 0) return __real_malloc(size);
  if (mallocsUntilFailure == 0) {
    if (!allFailFromThere) mallocsUntilFailure = -1;
    return nullptr;
  }
  --mallocsUntilFailure;
  return __real_malloc(size);
}
}

namespace {

constexpr int kWidth = 20, kHeight = 24, kTerms = 32 * 32;

/// Calls export number `which` of the five.
unsigned Call(int which, const float* in, float* out) {
  switch (which) {
    case 0:
      return ComputeFFTGrid(in, kWidth, kHeight, out);
    case 1:
      return DoFFTInverse(kWidth, kHeight, in, out);
    case 2:
      return PowerSpectrum(in, kWidth, kHeight, 1, out);
    case 3:
      return Autocorrelate(in, kWidth, kHeight, out);
    default:
      return FFTFilter(in, kWidth, kHeight, 2, 0.5F, 0, out);
  }
}

std::vector<float> Input() {
  std::vector<float> in(2 * kTerms);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<float>(i % 37);
  return in;
}

TEST(SpectralExports, FailedAllocationOfTheGrids_ReturnsWhichOneFailed) {
  const std::vector<float> in = Input();
  for (int which = 0; which < 5; ++which) {
    for (int survivors = 0; survivors < 4; ++survivors) {
      qv::test::Guarded<float> out(2 * kTerms);
      mallocsUntilFailure = survivors;
      const unsigned status = Call(which, in.data(), out.data());
      const bool failed = mallocsUntilFailure < 0;
      mallocsUntilFailure = -1;
      EXPECT_TRUE(failed) << "the allocation under test was not made";
      EXPECT_EQ(status, static_cast<unsigned>(survivors + 2)) << which;
      EXPECT_TRUE(out.Untouched());
    }
  }
}

/// Any one of the allocations of the transforms may fail: lines then go one by one, with the same results.
TEST(SpectralExports, FailedAllocationInsideTheTransform_ChangesNothing) {
  const std::vector<float> in = Input();
  for (int which = 0; which < 5; ++which) {
    std::vector<float> expected(2 * kTerms, -1), out;
    ASSERT_EQ(Call(which, in.data(), expected.data()), 0U);
    for (int survivors = 4; survivors < 10; ++survivors) {
      out.assign(2 * kTerms, -1);
      mallocsUntilFailure = survivors;
      const unsigned status = Call(which, in.data(), out.data());
      const bool failed = mallocsUntilFailure < 0;
      mallocsUntilFailure = -1;
      EXPECT_TRUE(failed) << "the allocation under test was not made";
      EXPECT_EQ(status, 0U);
      EXPECT_EQ(out, expected);
    }
  }
}

TEST(SpectralExports, NoMemoryForTheTransform_GoesUnreported) {
  const std::vector<float> in = Input();
  std::vector<float> out(2 * kTerms, -1);
  for (int which = 0; which < 4; ++which) {
    mallocsUntilFailure = 4;
    allFailFromThere = true;
    const unsigned status = Call(which, in.data(), out.data());
    mallocsUntilFailure = -1;
    allFailFromThere = false;
    EXPECT_EQ(status, 0U) << which;
  }
}

}  // namespace
