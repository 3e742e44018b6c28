// What the standard error stream leads to.
#pragma once

namespace qv3d {

/// True where a line can be written over and cleared, by a carriage return and the escape sequence for it.
bool CanRewriteLines();

}  // namespace qv3d
