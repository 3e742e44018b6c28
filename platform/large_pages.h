#pragma once

#include <cstddef>

namespace qv::platform {

/// Tells the system that a block of memory from the heap will be filled from end to end, so that it may back
/// it with large pages: one page fault instead of hundreds, which otherwise cost as much as filling the block
/// does. Small blocks, and systems that do not ask, are left as they are. The content is not touched.
void PreferLargePages(void* block, std::size_t bytes);

}  // namespace qv::platform
