// Every message that the library prints and every path on which it ends the process goes through these
// functions. Tests link their own versions (tests/support/fake_diagnostics.cpp) to watch them.
#pragma once

namespace qv::diagnostics {

/// Writes a message to the standard error stream, printf fashion, byte for byte, and flushes it.
void Print(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Ends the host process with exit status -1. Only the mesh import does so, on files that it cannot use.
[[noreturn]] void EndProcess();

}  // namespace qv::diagnostics
