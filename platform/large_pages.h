#pragma once

#include <cstddef>

namespace qv::platform {

/// The bytes to ask malloc for instead of `bytes`, as many or a few more: big blocks then fill large pages
/// from the first to the last, where the system places them so.
std::size_t WholeLargePages(std::size_t bytes);

/// Tells the system that a block of memory from the heap will be filled from end to end, so that it may back
/// it with large pages: one page fault instead of hundreds, which otherwise cost as much as filling the block
/// does. Small blocks, and systems that do not ask, are left as they are. The content is not touched.
void PreferLargePages(void* block, std::size_t bytes);

/// The bytes to ask malloc for, so that AlignedInside finds room for `bytes`.
std::size_t RoomForAligned(std::size_t bytes);

/// The place in a block of RoomForAligned(bytes) where `bytes` start at a cache line (vectors that lie across
/// two come more slowly) or, if they are many, at a large page, which is then asked for.
void* AlignedInside(void* block, std::size_t bytes);

}  // namespace qv::platform
