#include "platform/large_pages.h"

#include <cstdint>
#include <limits>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace qv::platform {

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kSmallPage = 4096;
constexpr std::size_t kCacheLine = 64;

/// At most what malloc keeps for itself in front of a big block.
constexpr std::size_t kBookkeeping = 64;

std::size_t Alignment(std::size_t bytes) {
  return bytes < kLargePage ? kCacheLine : kLargePage;
}

std::uintptr_t RoundedUp(std::uintptr_t value, std::uintptr_t unit) {
  return (value + unit - 1) / unit * unit;
}

void Advise([[maybe_unused]] std::uintptr_t begin, [[maybe_unused]] std::uintptr_t end) {
#ifdef __linux__
  // A refusal changes nothing.
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

}  // namespace

std::size_t WholeLargePages(std::size_t bytes) {
  // A big block is a mapping of its own, and Linux starts one at a large page where its length is a multiple
  // of large pages.
  if (bytes < kLargePage || bytes > std::numeric_limits<std::size_t>::max() / 2) return bytes;
  return RoundedUp(bytes + kBookkeeping, kLargePage) - kBookkeeping;
}

void PreferLargePages(void* block, std::size_t bytes) {
  // Whole large pages inside the block; but the one that it begins at the start of counts, as only
  // bookkeeping comes before it there.
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t begin =
      address % kLargePage < kSmallPage ? address - address % kLargePage : RoundedUp(address, kLargePage);
  Advise(begin, (address + bytes + kBookkeeping) / kLargePage * kLargePage);
}

std::size_t RoomForAligned(std::size_t bytes) {
  return RoundedUp(bytes, Alignment(bytes)) + Alignment(bytes);
}

void* AlignedInside(void* block, std::size_t bytes) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t begin = RoundedUp(address, Alignment(bytes));
  if (bytes >= kLargePage) Advise(begin, RoundedUp(begin + bytes, kLargePage));
  return static_cast<char*>(block) + (begin - address);
}

}  // namespace qv::platform
