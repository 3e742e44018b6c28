// Runs a piece of work in a forked child with limits, so that whatever ends the child does not end the
// program. Windows does not fork: there the work is done in the program itself, without limits, and the
// program imports no files but its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace qv3d {

struct ChildLimits {
  double timeoutSeconds = 300;
  std::size_t memoryMiB = 4096;  ///< on top of what the program has mapped when the child starts
};

struct ChildOutcome {
  enum class End { kExited, kSignalled, kTimedOut };
  End end = End::kExited;
  int code = 0;        ///< exit status, or the signal
  std::string signal;  ///< its name
  std::string output;  ///< what the work reported
  std::string errors;  ///< what it wrote to the standard error stream; empty on Windows
  double seconds = 0;
};

/// What is known of a child at work.
struct ChildState {
  const std::string& received;  ///< what it has reported so far
  std::uint64_t bytesRead;      ///< from files; 0 where the system does not tell
};

/// How the work reports results: bytes that are added to the outcome's output. False where that fails.
using Reporter = std::function<bool(const void* bytes, std::size_t count)>;

/// Calls `work` in the child; what it returns is the child's exit status. `tick` is called in the parent
/// several times a second.
ChildOutcome RunInChild(const ChildLimits& limits, const std::function<int(const Reporter&)>& work,
                        const std::function<void(const ChildState&)>& tick);

}  // namespace qv3d
