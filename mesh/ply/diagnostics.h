// What the PLY module prints, and where it ends the process.
#pragma once

#include "core/diagnostics.h"
#include "mesh/ply/types.h"

namespace qv::ply {

/// Says that memory ran out, or would; the caller then does without it.
inline void ReportAllocation(int line = __builtin_LINE()) {
  diagnostics::Print("Memory allocation bombed on line %d in %s\n", line, "ply");
}

/// A record cannot be read or stored, because a type is none. `routine` is what the message begins with.
[[noreturn]] inline void EndForType(const char* routine, Type type) {
  diagnostics::Print("%s: bad type = %d\n", routine, static_cast<int>(type));
  diagnostics::EndProcess();
}

}  // namespace qv::ply
