#include "core/kept_memory.h"

#include <cstdint>
#include <cstdlib>

namespace qv {

#ifdef QV_3D_KEEP_LEAKS
void KeepBlock(std::ptrdiff_t count, std::size_t size) {
  if (count <= 0 || static_cast<std::size_t>(count) > PTRDIFF_MAX / size) return;
  // volatile: an allocation that nothing uses would be optimised away.
  [[maybe_unused]] void* volatile forgotten = std::malloc(static_cast<std::size_t>(count) * size);
}  // NOLINT(clang-analyzer-unix.Malloc): the leak is the purpose.
#else
void KeepBlock(std::ptrdiff_t, std::size_t) {}
#endif

}  // namespace qv
