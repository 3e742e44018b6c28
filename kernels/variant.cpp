// The table of one instruction set. Compiled once per variant, like every kernel file.
#include "kernels/kernels.h"

#define QV_TEXT(x) #x
#define QV_TEXT_OF(x) QV_TEXT(x)

namespace qv::kernels::QV_KERNEL_ISA {

#define QV_DECLARE(Type, name) extern const Type name;
QV_KERNEL_FAMILIES(QV_DECLARE)
#undef QV_DECLARE

namespace {

bool Supported() {
#if defined(__AVX512F__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
#elif defined(__AVX2__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
#else
  return true;
#endif
}

}  // namespace

extern const KernelTable table;
const KernelTable table = {QV_TEXT_OF(QV_KERNEL_ISA), Supported,
#define QV_VALUE(Type, name) name,
                           QV_KERNEL_FAMILIES(QV_VALUE)
#undef QV_VALUE
};

}  // namespace qv::kernels::QV_KERNEL_ISA
