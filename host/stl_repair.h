// Makes a file fit for the library: checks it, and mends a temporary copy where the user asked for it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "stl_check.h"

namespace qv3d {

/// A file that goes when its owner goes.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  /// Creates an empty file in the folder for temporary files.
  static TemporaryFile Create();
  TemporaryFile(TemporaryFile&& other) noexcept : path_(std::move(other.path_)) { other.path_.clear(); }
  TemporaryFile& operator=(TemporaryFile&& other) noexcept {
    std::swap(path_, other.path_);
    return *this;
  }
  ~TemporaryFile();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// What was done to the triangles, and the factor by which they were made larger (a power of two, so that
/// dividing by it gives the old coordinates exactly).
struct RepairedMesh {
  std::vector<Triangle> triangles;
  std::vector<std::string> actions;
  double scale = 1;
};

/// Mends what can be mended. `actions` is empty where nothing needed it.
RepairedMesh RepairStl(std::string_view bytes, const StlCheck& check);

/// Divides every triangle at its edge midpoints into four, which keeps the surface.
std::vector<Triangle> DivideInFour(const std::vector<Triangle>& triangles);

/// A file that the library can be trusted with: the given one, or a mended copy.
struct PreparedMesh {
  std::filesystem::path path;
  double scale = 1;
  std::uint64_t triangles = 0;       ///< that the library should find; 0 where nothing was checked
  StlCheck check;                    ///< of the given file
  std::vector<std::string> actions;  ///< what was mended
  TemporaryFile copy;
};

struct PrepareOptions {
  bool repair = false;
  bool check = true;
};

/// Throws Failure with the first error, all others and the advice where the file is not in order and must not
/// or cannot be mended.
PreparedMesh PrepareMesh(const std::filesystem::path& path, const PrepareOptions& options);

}  // namespace qv3d
