// Without a child.
#include <chrono>
#include <cstdio>
#include <exception>

#include "import/child_process.h"

namespace qv3d {

ChildOutcome RunInChild(const ChildLimits& /*limits*/, const std::function<int(const Reporter&)>& work,
                        const std::function<void(const ChildState&)>& /*tick*/) {
  using Clock = std::chrono::steady_clock;
  ChildOutcome outcome;
  const Clock::time_point start = Clock::now();
  try {
    outcome.code = work([&outcome](const void* bytes, std::size_t count) {
      outcome.output.append(static_cast<const char*>(bytes), count);
      return true;
    });
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    outcome.code = 1;
  }
  outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return outcome;
}

}  // namespace qv3d
