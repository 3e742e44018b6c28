#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "failure.h"
#include "import/child_process.h"

namespace qv3d {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTickMilliseconds = 100;
constexpr std::size_t kMostErrorBytes = 64 * 1024;

struct Pipe {
  int read = -1;
  int write = -1;

  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(ExitCode::kNotComputable, "cannot create a pipe");
    read = ends[0];
    write = ends[1];
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    Close(read);
    Close(write);
  }
  static void Close(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
};

rlim_t MappedBytes() {
  std::ifstream statm("/proc/self/statm");
  rlim_t pages = 0;
  statm >> pages;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

/// A soft limit that stays below what the hard limit allows.
void SetLimit(int resource, rlim_t value) {
  rlimit limit;
  if (getrlimit(resource, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max == RLIM_INFINITY ? value : std::min(value, limit.rlim_max);
  setrlimit(resource, &limit);
}

/// False where that fails.
bool WriteAll(int descriptor, const void* bytes, std::size_t count) {
  const char* at = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = write(descriptor, at, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    at += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

[[noreturn]] void BeChild(const ChildLimits& limits, const std::function<int(const Reporter&)>& work,
                          Pipe& results, Pipe& errors, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  dup2(errors.write, STDERR_FILENO);
  // Nothing that the work prints may get between the results that the program prints.
  if (const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC); nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
  SetLimit(RLIMIT_CORE, 0);
  SetLimit(RLIMIT_AS, MappedBytes() + static_cast<rlim_t>(limits.memoryMiB) * 1024 * 1024);
  int status = 1;
  try {
    status =
        work([&](const void* bytes, std::size_t count) { return WriteAll(results.write, bytes, count); });
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  std::fflush(nullptr);
  _exit(status);
}

/// Takes what is ready; closes the pipe's end at its end.
void Drain(int& end, std::string& into, std::size_t most) {
  char buffer[65536];
  const ssize_t count = read(end, buffer, sizeof buffer);
  if (count > 0) {
    into.append(buffer,
                std::min<std::size_t>(static_cast<std::size_t>(count), most - std::min(most, into.size())));
  } else if (count == 0 || errno != EINTR) {
    Pipe::Close(end);
  }
}

std::uint64_t BytesReadBy(pid_t process) {
  std::ifstream io("/proc/" + std::to_string(process) + "/io");
  std::string name;
  std::uint64_t count = 0;
  return io >> name >> count && name == "rchar:" ? count : 0;
}

/// Collects both streams until they end. False when the time is over.
bool Collect(pid_t child, Pipe& results, Pipe& errors, Clock::time_point deadline, ChildOutcome& outcome,
             const std::function<void(const ChildState&)>& tick) {
  while (results.read >= 0 || errors.read >= 0) {
    pollfd ends[2] = {{results.read, POLLIN, 0}, {errors.read, POLLIN, 0}};
    poll(ends, 2, kTickMilliseconds);
    if (ends[0].revents != 0) Drain(results.read, outcome.output, outcome.output.max_size());
    if (ends[1].revents != 0) Drain(errors.read, outcome.errors, kMostErrorBytes);
    if (Clock::now() >= deadline) return false;
    tick({outcome.output, BytesReadBy(child)});
  }
  return true;
}

}  // namespace

ChildOutcome RunInChild(const ChildLimits& limits, const std::function<int(const Reporter&)>& work,
                        const std::function<void(const ChildState&)>& tick) {
  Pipe results, errors;
  ChildOutcome outcome;
  const Clock::time_point start = Clock::now();
  const auto allowed =
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits.timeoutSeconds));
  // The library ends the process through exit(), which would write buffered output a second time.
  std::fflush(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) throw Failure(ExitCode::kNotComputable, "cannot start the import process");
  if (child == 0) BeChild(limits, work, results, errors, parent);
  Pipe::Close(results.write);
  Pipe::Close(errors.write);
  const bool inTime = Collect(child, results, errors, start + allowed, outcome, tick);
  if (!inTime) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  outcome.end = !inTime               ? ChildOutcome::End::kTimedOut
                : WIFSIGNALED(status) ? ChildOutcome::End::kSignalled
                                      : ChildOutcome::End::kExited;
  outcome.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = strsignal(outcome.code);
  return outcome;
}

}  // namespace qv3d
