// What the neighbourhood filters take from the heap, by replacing the allocation functions that the archive
// asks for.
#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"
#include "tests/support/variants.h"

namespace {
std::size_t mallocTotal = 0;
bool mallocFails = false;
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_malloc(std::size_t size) {
  mallocTotal += size;
  return mallocFails ? nullptr : __real_malloc(size);
}
// Compilers turn a zeroed malloc into this one.
void* __wrap_calloc(std::size_t count, std::size_t size) {
  mallocTotal += count * size;
  return mallocFails ? nullptr : __real_calloc(count, size);
}
}

namespace {

template <class Filter>
std::size_t BytesTaken(Filter filter, int size, int nx, int ny) {
  const std::vector<double> in(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny), 1.0);
  std::vector<double> out(in.size());
  mallocTotal = 0;
  filter(size, nx, ny, in.data(), out.data());
  return mallocTotal;
}

TEST(FilterMinimum, OneGridOfDoublesIsKept_UnlessBuiltWithout) {
  for (const int size : {1, 3, 5, 99}) {
    const std::size_t kept =
        BytesTaken(FilterMinimum, size, 40, 30) - BytesTaken(FilterMaximum, size, 40, 30);
    EXPECT_EQ(kept, QV_TEST_KEEPS_LEAKS ? 40U * 30U * sizeof(double) : 0U);
  }
}

TEST(Filters, NoWorkMemory_SucceedWithoutAResult) {
  const std::vector<float> in(100, 1.0F);
  qv::test::ForEachVariant([&] {
    qv::test::Guarded<float> out(100), residual(100);
    mallocFails = true;
    for (const int size : {3, 5, 7, 9}) {
      EXPECT_EQ(FilterMeanf(size, 10, 10, in.data(), out.data()), 0U);
      EXPECT_EQ(FilterMinimumf(size, 10, 10, in.data(), out.data()), 0U);
      EXPECT_EQ(FilterMedianf(size, 10, 10, in.data(), out.data()), 0U);
      EXPECT_EQ(FilterMeanf2(size, 10, 10, in.data(), out.data(), residual.data()), 0U);
      EXPECT_EQ(FilterMeanf3(size, 10, 10, in.data(), out.data(), residual.data()), 0U);
      EXPECT_EQ(FilterMedianf2(size, 10, 10, in.data(), out.data(), residual.data()), 0U);
    }
    mallocFails = false;
    EXPECT_TRUE(out.Untouched());
    EXPECT_TRUE(residual.Untouched());
  });
}

}  // namespace
