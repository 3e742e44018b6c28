// Reads a file in blocks through one buffer that is used again and again: fresh pages cost as much as parsing
// them.
#pragma once

#include <cstddef>
#include <cstdio>

#include "mesh/growing_array.h"

namespace qv::mesh {

/// The bytes that were read and not yet consumed are contiguous, from Cursor() to End(), and are followed by
/// kPadding zero bytes, so that a scanner may look a little ahead without asking.
class BlockReader {
 public:
  static constexpr std::size_t kBlock = std::size_t{256} * 1024;
  static constexpr std::size_t kPadding = 32;

  /// The file stays the caller's. It is read from its present position; it need not be seekable.
  explicit BlockReader(std::FILE* file);

  const char* Cursor() const { return cursor_; }
  const char* End() const { return end_; }
  std::size_t Available() const { return static_cast<std::size_t>(end_ - cursor_); }

  /// Everything before `position`, which lies in Cursor()..End(), has been consumed.
  void ConsumeTo(const char* position) { cursor_ = position; }

  /// Reads on, keeping what is not consumed (which may move). Returns false when nothing was added: at the
  /// end of the file, on a read error, or when memory ran out.
  bool ReadMore();

  /// Whether `count` unconsumed bytes could be had, reading on as necessary.
  bool Have(std::size_t count) {
    while (Available() < count) {
      if (!ReadMore()) return false;
    }
    return true;
  }

  /// All that was read so far.
  std::size_t BytesRead() const { return bytesRead_; }

  /// Whether reading ended because memory ran out.
  bool OutOfMemory() const { return outOfMemory_; }

 private:
  void PlaceData(std::size_t count);

  std::FILE* file_;
  GrowingArray<char> buffer_;
  const char* cursor_ = nullptr;
  const char* end_ = nullptr;
  std::size_t bytesRead_ = 0;
  bool atEnd_ = false;
  bool outOfMemory_ = false;
};

}  // namespace qv::mesh
