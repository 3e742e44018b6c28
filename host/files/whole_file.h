// The bytes of a file, all at once.
#pragma once

#include <filesystem>
#include <string>

namespace qv3d {

/// The bytes of a regular file. Throws Failure (unreadable) where it cannot be opened or read.
std::string ReadWholeFile(const std::filesystem::path& path);

/// Writes bytes to a file. Throws Failure (unreadable) where that fails.
void WriteWholeFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace qv3d
