// Memory that some exports have always left allocated. Hosts have been sized around it, so it is kept by
// default; the build option QV_3D_KEEP_LEAKS=OFF turns it off.
#pragma once

#include <cstddef>

namespace qv {

/// Takes a block of `count` elements of `size` bytes from the heap and forgets it, untouched. A failure is
/// ignored.
void KeepBlock(std::ptrdiff_t count, std::size_t size);

}  // namespace qv
