// Runs a fuzz target over the files of a corpus, also truncated and damaged a little. Arguments: the corpus
// folders.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

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

}  // namespace

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      Replay(Load(entry.path()));
      ++files;
    }
  }
  std::printf("replayed %d files\n", files);
  return files > 0 ? 0 : 1;
}
