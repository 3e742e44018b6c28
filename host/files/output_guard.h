// Keeps a command from writing over what it reads, or has just written.
#pragma once

#include <filesystem>
#include <set>

namespace qv3d {

/// Files that must not be written: the inputs, and what has been written already.
class OutputGuard {
 public:
  /// Throws Failure (usage) where the file is taken.
  void Claim(const std::filesystem::path& path);
  void Protect(const std::filesystem::path& path);

 private:
  std::set<std::filesystem::path> taken_;
};

}  // namespace qv3d
