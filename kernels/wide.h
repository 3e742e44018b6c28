// Vectors as wide as the registers are, for what no lane shares with its neighbours: results do not depend on
// the width. Only for kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

#if defined(__AVX512F__)
inline constexpr int kWide = 8;
#elif defined(__AVX2__)
inline constexpr int kWide = 4;
#else
inline constexpr int kWide = 2;
#endif
using Wide = double __attribute__((vector_size(8 * kWide)));
using Narrow = float __attribute__((vector_size(4 * kWide)));

QV_INLINE Wide LoadWide(const double* from) {
  Wide v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
QV_INLINE void StoreWide(double* to, const Wide& v) {
  __builtin_memcpy(to, &v, sizeof v);
}

}  // namespace qv::kernels::QV_KERNEL_ISA
