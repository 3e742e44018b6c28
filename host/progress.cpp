#include "progress.h"

#include <cstdio>
#include <fmt/format.h>

#include "terminal.h"

namespace qv3d {
namespace {

constexpr double kPatienceOnTerminal = 0.3;
constexpr double kPatienceInLog = 1.0;
constexpr std::chrono::milliseconds kRefresh{100};

}  // namespace

Progress::Progress(bool quiet) : quiet_(quiet), terminal_(CanRewriteLines()) {}

void Progress::Phase(const std::string& name) {
  if (name == name_) return;
  Finish();
  name_ = name;
  start_ = Clock::now();
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Progress::Tick() {
  Show(fmt::format("{:.1f} s", Seconds()));
}

void Progress::Tick(double done) {
  const double seconds = Seconds();
  // The first moments say little about the rest.
  const bool knows = seconds >= kPatienceInLog && done > 0;
  Show(knows ? fmt::format("{:.0f} %, {:.0f} s left", 100 * done, seconds * (1 - done) / done)
             : fmt::format("{:.0f} %", 100 * done));
}

void Progress::Show(const std::string& state) {
  if (quiet_ || name_.empty()) return;
  const Clock::time_point now = Clock::now();
  if (terminal_ && Seconds() >= kPatienceOnTerminal && now - shownAt_ >= kRefresh) {
    shownAt_ = now;
    fmt::print(stderr, "\r\033[K{} ... {}", name_, state);
    std::fflush(stderr);
    shown_ = true;
  } else if (!terminal_ && !shown_ && Seconds() >= kPatienceInLog) {
    fmt::print(stderr, "qv3d: {} ... {}\n", name_, state);
    shown_ = true;
  }
}

void Progress::Finish() {
  const double seconds = Seconds();
  // A phase that never found time for a tick is mentioned too when it was a long one.
  const bool late = !quiet_ && !terminal_ && !name_.empty() && seconds >= kPatienceInLog;
  if (shown_ && terminal_) fmt::print(stderr, "\r\033[K");
  if (late) fmt::print(stderr, "qv3d: {}: {:.1f} s\n", name_, seconds);
  shown_ = false;
  name_.clear();
}

}  // namespace qv3d
