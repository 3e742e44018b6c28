// Memory of the line filters, watched and made to fail through the linker's --wrap.
#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"

namespace {
bool watching = false;
int mallocsUntilFailure = -1;  // below zero: none fails
std::ptrdiff_t mallocs = 0, frees = 0;
std::size_t largest = 0, total = 0;
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
  if (watching && mallocsUntilFailure >= 0 && mallocsUntilFailure-- == 0) return nullptr;
  if (watching) ++mallocs, total += size, largest = size > largest ? size : largest;
  return __real_malloc(size);
}

void __wrap_free(void* block) {
  if (watching && block != nullptr) ++frees;
  __real_free(block);
}
}

namespace {

template <class Body>
void Watch(int failAt, Body body) {
  mallocs = frees = 0;
  largest = total = 0;
  mallocsUntilFailure = failAt;
  watching = true;
  body();
  watching = false;
}

constexpr int kNx = 300, kNy = 200;
constexpr std::size_t kCount = std::size_t{kNx} * kNy;

TEST(GaussianFilter, ScratchLines_AreKeptUnlessBuiltWithout) {
  const std::vector<float> in(kCount, 1.0F);
  std::vector<float> residual(kCount), filtered(kCount);
  for (const float cutoff : {0.0F, 30.0F}) {
    Watch(-1, [&] { GaussianFilter(kNx, kNy, 1, 1, cutoff, in.data(), residual.data(), filtered.data()); });
    EXPECT_EQ(mallocs - frees, QV_TEST_KEEPS_LEAKS ? 2 : 0);
    if (QV_TEST_KEEPS_LEAKS) {
      EXPECT_EQ(largest, 3 * kCount * sizeof(float)) << "three lines for each line";
    }
  }
}

TEST(SplineFilter, TemporaryGrid_IsKeptUnlessBuiltWithout) {
  const std::vector<float> in(kCount, 1.0F);
  std::vector<float> residual(kCount), filtered(kCount);
  for (const float cutoff : {0.0F, 30.0F}) {
    Watch(-1, [&] { SplineFilter(kNx, kNy, 1, 1, cutoff, in.data(), residual.data(), filtered.data()); });
    EXPECT_EQ(mallocs - frees, QV_TEST_KEEPS_LEAKS ? 1 : 0);
    if (QV_TEST_KEEPS_LEAKS) {
      EXPECT_EQ(largest, kCount * sizeof(float));
    }
  }
}

/// Makes each allocation fail in turn until none does; nothing may be written nor left behind on the way.
template <class T, class Call>
void ExpectFailuresWithoutTrace(std::size_t count, unsigned statusOfFailure, Call call) {
  for (int failAt = 0;; ++failAt) {
    qv::test::Guarded<T> out(count), second(count);
    unsigned status = 0;
    Watch(failAt, [&] { status = call(out.data(), second.data()); });
    if (mallocsUntilFailure >= 0) {
      EXPECT_GT(failAt, 0) << "no allocation was made";
      return;
    }
    if (out.Untouched()) {
      EXPECT_EQ(status, statusOfFailure);
      EXPECT_TRUE(second.Untouched());
      EXPECT_EQ(mallocs, frees);
    }
  }
}

TEST(LineFilters, FailedAllocations_WriteNothingAndReleaseTheRest) {
  const std::vector<float> in(kCount, 1.0F);
  ExpectFailuresWithoutTrace<float>(kCount, 0, [&](float* residual, float* filtered) {
    return GaussianFilter(kNx, kNy, 1, 1, 30, in.data(), residual, filtered);
  });
  ExpectFailuresWithoutTrace<float>(kCount, 0, [&](float* residual, float* filtered) {
    return SplineFilter(kNx, kNy, 1, 1, 30, in.data(), residual, filtered);
  });
}

TEST(ProfileFilters, FailedAllocations_WriteNothingAndReleaseTheRest) {
  const std::vector<double> in(1000, 1.0);
  ExpectFailuresWithoutTrace<double>(
      1000, 0, [&](double* out, double*) { return Convolve_Radius(in.data(), out, 1000, 5, 1); });
  ExpectFailuresWithoutTrace<double>(
      1000, 0, [&](double* out, double*) { return FilterGaussianPolar(in.data(), out, 1, 30, 1000); });
  ExpectFailuresWithoutTrace<double>(
      1000, 0, [&](double* out, double*) { return Filter2RCPCPolar(in.data(), out, 1, 30, 1000); });
}

TEST(Resamplers, FailedAllocations_GiveZeroAndWriteNothing) {
  const std::vector<float> in(30 * 20, 1.0F);
  ExpectFailuresWithoutTrace<float>(50 * 40, 0, [&](float* out, float*) {
    return static_cast<unsigned>(Resample(50, 40, 30, 20, in.data(), out, 30, 50));
  });
  ExpectFailuresWithoutTrace<float>(50 * 40, 0, [&](float* out, float*) {
    return static_cast<unsigned>(ResampleBicubic(50, 40, 30, 20, in.data(), out, 30, 50));
  });
}

}  // namespace
