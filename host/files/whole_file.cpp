#include "files/whole_file.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <system_error>

#include "failure.h"

namespace qv3d {
namespace {

std::size_t SizeOf(const std::filesystem::path& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", path.string(), error.message()),
                  "Check the name and the permissions.");
  }
  if (!fs::is_regular_file(status)) {
    throw Failure(
        ExitCode::kUnreadable,
        fmt::format("{}: {}", path.string(), fs::is_directory(status) ? "is a directory" : "is not a file"),
        "Name a file.");
  }
  return static_cast<std::size_t>(fs::file_size(path));
}

}  // namespace

std::string ReadWholeFile(const std::filesystem::path& path) {
  std::string bytes(SizeOf(path), '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file || !file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    throw Failure(ExitCode::kUnreadable,
                  fmt::format("{}: cannot be read ({})", path.string(), std::strerror(errno)),
                  "Check the permissions.");
  }
  return bytes;
}

void WriteWholeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: cannot be written", path.string()),
                  "Check that the folder exists and that you may write there.");
  }
}

}  // namespace qv3d
