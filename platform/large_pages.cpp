#include "platform/large_pages.h"

#ifdef __linux__

#include <cstdint>
#include <sys/mman.h>

void qv::platform::PreferLargePages(void* block, std::size_t bytes) {
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  // Only whole large pages inside the block: nothing that it shares a page with is touched.
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t begin = (address + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t end = (address + bytes) & ~(kLargePage - 1);
  // A refusal changes nothing.
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

#else

void qv::platform::PreferLargePages(void*, std::size_t) {}

#endif
