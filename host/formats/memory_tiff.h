// TIFF files in memory, by libtiff.
#pragma once

#include <memory>
#include <string>
#include <tiffio.h>

namespace qv3d {

/// A file that libtiff reads or writes as it would one on a disk.
class MemoryTiff {
 public:
  /// mode: "rm" over the bytes, or a writing one with none. handle() is null where libtiff does not open it.
  MemoryTiff(std::string bytes, const char* mode);
  MemoryTiff(const MemoryTiff&) = delete;
  MemoryTiff& operator=(const MemoryTiff&) = delete;
  ~MemoryTiff();

  TIFF* handle() const { return tiff_; }
  const std::string& bytes() const { return bytes_; }

  /// The most bytes that a block of memory may have when reading: what the most effective compression makes
  /// of the file, or what a codec needs for itself.
  std::size_t LargestBlock() const;

  /// Writes out what is left and returns the whole file.
  std::string Close();

 private:
  struct Calls;

  std::string bytes_;
  std::size_t at_ = 0;
  TIFF* tiff_ = nullptr;
};

/// What libtiff said last on this thread, for messages.
std::string TakeTiffError();

}  // namespace qv3d
