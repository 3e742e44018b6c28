#include <unistd.h>

#include "terminal.h"

namespace qv3d {

bool CanRewriteLines() {
  return isatty(STDERR_FILENO) != 0;
}

}  // namespace qv3d
