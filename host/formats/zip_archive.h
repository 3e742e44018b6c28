// Zip archives in memory, by libzip.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct zip;

namespace qv3d {

class ZipArchive {
 public:
  /// Throws Failure (corrupt) where the bytes, which must outlive the object, are no archive.
  ZipArchive(const std::string& name, const std::string& bytes);
  ZipArchive(const ZipArchive&) = delete;
  ZipArchive& operator=(const ZipArchive&) = delete;
  ~ZipArchive();

  /// The content of a member, of which `most` bytes are read; nothing where it is not there. What its entry
  /// says of its size is not believed. Throws Failure (corrupt) where it cannot be unpacked.
  std::optional<std::string> Read(const std::string& member, std::size_t most) const;

 private:
  std::string name_;
  zip* archive_ = nullptr;
};

/// An archive of the members (name and content) as bytes. Throws Failure (not computable).
std::string WriteZip(const std::vector<std::pair<std::string, std::string>>& members);

}  // namespace qv3d
