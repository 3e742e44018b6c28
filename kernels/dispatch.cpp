#include <atomic>

#include "kernels/kernels.h"

namespace qv::kernels {

namespace baseline {
extern const KernelTable table;
}
namespace avx2 {
extern const KernelTable table;
}
namespace avx512 {
extern const KernelTable table;
}

const KernelTable* const kVariants[kVariantCount] = {&baseline::table, &avx2::table, &avx512::table};

namespace {

std::atomic<const KernelTable*> active = nullptr;

const KernelTable* Best() {
  int best = kVariantCount - 1;
  while (best > 0 && !kVariants[best]->supported()) --best;
  return kVariants[best];
}

}  // namespace

const KernelTable& Active() {
  const KernelTable* table = active.load(std::memory_order_relaxed);
  if (table == nullptr) {
    table = Best();
    active.store(table, std::memory_order_relaxed);
  }
  return *table;
}

void SetActive(const KernelTable& table) {
  active.store(&table, std::memory_order_relaxed);
}

}  // namespace qv::kernels
