// Sums in 64-bit mantissas (long double of the x87 unit).
#pragma once

#include <cfloat>

namespace qv::filters {

static_assert(LDBL_MANT_DIG == 64, "the box averages need the 80-bit format");

/// Sets the x87 unit to 64-bit precision and restores its control word at the end of the scope: Windows
/// starts threads with 53 bits, and a host may do so anywhere. Only calls in between are covered, inlined
/// arithmetic is not: the compiler may move that.
class ExtendedPrecision {
 public:
  ExtendedPrecision() {
    asm volatile("fnstcw %0" : "=m"(saved_)::"memory");
    const unsigned short extended = saved_ | 0x0300U;
    asm volatile("fldcw %0" ::"m"(extended) : "memory");
  }
  ~ExtendedPrecision() { asm volatile("fldcw %0" ::"m"(saved_) : "memory"); }
  ExtendedPrecision(const ExtendedPrecision&) = delete;
  ExtendedPrecision& operator=(const ExtendedPrecision&) = delete;

 private:
  unsigned short saved_ = 0;
};

}  // namespace qv::filters
