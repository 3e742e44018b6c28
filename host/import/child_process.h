// Runs a piece of work in a forked child with limits, so that whatever ends the child does not end the
// program.
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
  std::string output;  ///< what the work wrote to its descriptor
  std::string errors;  ///< what it wrote to the standard error stream
  double seconds = 0;
};

/// What is known of a child at work.
struct ChildState {
  const std::string& received;  ///< what it has written to its descriptor so far
  std::uint64_t bytesRead;      ///< from files; 0 where the system does not tell
};

/// Calls `work` in the child with a descriptor to write its results to; what it returns is the child's exit
/// status. `tick` is called in the parent several times a second.
ChildOutcome RunInChild(const ChildLimits& limits, const std::function<int(int)>& work,
                        const std::function<void(const ChildState&)>& tick);

/// Writes all bytes to a descriptor; false where that fails.
bool WriteAll(int descriptor, const void* bytes, std::size_t count);

}  // namespace qv3d
