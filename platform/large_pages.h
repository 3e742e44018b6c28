#pragma once

#include <cstddef>

namespace qv::platform {

/// Tells the system that a block of memory from the heap will be filled from end to end, so that it may back
/// it with large pages: one page fault instead of hundreds, which otherwise cost as much as filling the block
/// does. Small blocks, and systems that do not ask, are left as they are. The content is not touched.
void PreferLargePages(void* block, std::size_t bytes);
// Fewer, larger pages for large blocks of memory, where the system has them.
#pragma once

#include <cstddef>
#include <cstdint>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace qv::platform {

/// Asks for large pages for the part of the block that they can cover. Best effort: first use of a block of
/// 16 MiB costs thousands of page faults without them.
inline void PreferLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifdef __linux__
  constexpr std::uintptr_t kLargePage = std::uintptr_t{1} << 21;
  const auto begin = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (begin + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = (begin + bytes) & ~(kLargePage - 1);
  if (first < last) static_cast<void>(madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE));
#endif
}

}  // namespace qv::platform
