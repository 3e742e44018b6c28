// A file with given bytes, named as an STL file, that goes with its object.
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
  explicit TemporaryFile(const std::string& bytes) : name_(UniqueName()) { Write(bytes); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::remove(name_.c_str()); }

  const char* name() const { return name_.c_str(); }

  /// Replaces the content.
  void Write(const std::string& bytes) const {
    std::FILE* file = std::fopen(name_.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
    std::fclose(file);
  }

 private:
  static std::string UniqueName() {
    static const unsigned process = std::random_device{}();
    static std::atomic<unsigned> number{0};
    const std::string name = "qv3d_test_" + std::to_string(process) + "_" + std::to_string(number++) + ".stl";
    return (std::filesystem::temp_directory_path() / name).string();
  }

  std::string name_;
};

}  // namespace qv::test
