// Allocations of the library, watched and made to fail through the linker's --wrap.
#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"

namespace {
int callocsUntilFailure = -1;  // below zero: none fails
std::size_t mallocTotal = 0;
bool mallocFails = false;
}  // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_malloc(std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (callocsUntilFailure >= 0 && callocsUntilFailure-- == 0) return nullptr;
  return __real_calloc(count, size);
}

void* __wrap_malloc(std::size_t size) {
  mallocTotal += size;
  return mallocFails ? nullptr : __real_malloc(size);
}
}

namespace {

TEST(ComputeTenPointHeight, FailedAllocation_SucceedsWithoutAResult) {
  const std::vector<float> grid(9, 0.0F);
  for (const int survivors : {0, 1}) {
    qv::test::Guarded<float> result(1);
    callocsUntilFailure = survivors;
    const unsigned status = ComputeTenPointHeight(grid.data(), 3, 3, result.data());
    const bool failed = callocsUntilFailure < 0;
    callocsUntilFailure = -1;
    EXPECT_TRUE(failed) << "the allocation under test was not made";
    EXPECT_EQ(status, 0U);
    EXPECT_TRUE(result.Untouched());
  }
}

TEST(SetVertices, ACopyIsKept_UnlessBuiltWithout) {
  const QV_VertexRecord records[3] = {};
  mallocTotal = 0;
  SetVertices(3, records);
  EXPECT_EQ(mallocTotal, QV_TEST_KEEPS_LEAKS ? sizeof records : 0);
  mallocTotal = 0;
  SetVertices(3, nullptr);
  SetVertices(-3, records);
  SetVertices(0, records);
  EXPECT_EQ(mallocTotal, 0U);
}

TEST(SetVertices, FailedAllocation_StillSetsTheCount) {
  const QV_VertexRecord records[3] = {};
  mallocFails = true;
  const int count = SetVertices(3, records);
  mallocFails = false;
  EXPECT_EQ(count, 3);
  SetVertices(0, nullptr);
}

}  // namespace
