// A file for as long as somebody needs it.
#pragma once

#include <filesystem>
#include <utility>

namespace qv3d {

/// A file that goes when its owner goes.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  /// A place for a file in the folder for temporary files. Throws Failure (unreadable) where nothing can be
  /// created there.
  static TemporaryFile Create();
  TemporaryFile(TemporaryFile&& other) noexcept : path_(std::move(other.path_)) { other.path_.clear(); }
  TemporaryFile& operator=(TemporaryFile&& other) noexcept {
    std::swap(path_, other.path_);
    return *this;
  }
  ~TemporaryFile();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;  ///< in a folder of its own
};

}  // namespace qv3d
