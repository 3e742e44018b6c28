// A file with given bytes that goes with its object.
#pragma once

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace qv::test {

class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& bytes, const std::string& ending = ".stl")
      : name_(UniqueName(ending)) {
    Write(bytes);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::remove(name_.c_str()); }

  const char* name() const { return name_.c_str(); }

  /// Replaces the content: by a new file, for some file systems wait for the disk where an old one is emptied
  /// and filled again. What is no ordinary file is written to.
  void Write(const std::string& bytes) const {
    if (std::filesystem::is_regular_file(name_)) std::remove(name_.c_str());
    std::FILE* file = std::fopen(name_.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
    std::fclose(file);
  }

 private:
  static std::string UniqueName(const std::string& ending) {
    static const unsigned process = std::random_device{}();
    static std::atomic<unsigned> number{0};
    const std::string name = "qv3d_test_" + std::to_string(process) + "_" + std::to_string(number++) + ending;
    return (std::filesystem::temp_directory_path() / name).string();
  }

  std::string name_;
};

}  // namespace qv::test
