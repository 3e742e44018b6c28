// Runs a fuzz target over the files of a corpus, also truncated and damaged a little. Arguments: the corpus
// folders; --hostile adds large inputs that are made to take long.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "hostile_inputs.h"

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Load(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// From a block of exactly this size, so that a sanitizer sees reads past the end.
void Run(const Bytes& bytes, std::size_t size) {
  const Bytes exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void Replay(const Bytes& bytes) {
  Run(bytes, bytes.size());
  const std::size_t step = bytes.size() / 64 + 1;
  for (std::size_t size = 0; size < bytes.size(); size += step) Run(bytes, size);
  for (std::size_t i = 0; i < bytes.size(); i += step) {
    Bytes damaged = bytes;
    damaged[i] ^= static_cast<std::uint8_t>(1U << (i % 8));
    Run(damaged, damaged.size());
  }
}

/// A reader that hangs is ended by the test's time limit; how long the slowest took is for people to see.
void RunHostileInputs() {
  using Clock = std::chrono::steady_clock;
  double slowest = 0;
  for (const std::string& input : qv::test::HostileInputs()) {
    const auto start = Clock::now();
    Run(Bytes(input.begin(), input.end()), input.size());
    slowest = std::max(slowest, std::chrono::duration<double>(Clock::now() - start).count());
  }
  std::printf("the slowest hostile megabyte took %.3f s\n", slowest);
}

}  // namespace

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--hostile") {
      RunHostileInputs();
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      Replay(Load(entry.path()));
      ++files;
    }
  }
  std::printf("replayed %d files\n", files);
  return files > 0 ? 0 : 1;
}
