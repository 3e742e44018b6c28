#include "files/temporary_file.h"

#include <fmt/format.h>
#include <random>
#include <system_error>

#include "failure.h"

namespace qv3d {
namespace {

namespace fs = std::filesystem;

/// A new folder that nobody else may look into; empty where none can be created. Unlike a file, a folder is
/// created by every system only where its name is free: nobody can have put a link in its place.
fs::path NewFolder() {
  constexpr int kAttempts = 100;
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  std::random_device random;
  for (int attempt = 0; !error && attempt < kAttempts; ++attempt) {
    fs::path folder = parent / fmt::format("qv3d-{:08x}{:08x}", random(), random());
    if (!fs::create_directory(folder, error)) continue;
    fs::permissions(folder, fs::perms::owner_all, error);
    return folder;
  }
  return {};
}

}  // namespace

TemporaryFile TemporaryFile::Create() {
  const fs::path folder = NewFolder();
  if (folder.empty()) {
    throw Failure(ExitCode::kUnreadable, "cannot create a temporary copy of the mesh",
                  "Set TMPDIR to a folder with room for it.");
  }
  TemporaryFile file;
  file.path_ = folder / "file";
  return file;
}

TemporaryFile::~TemporaryFile() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_.parent_path(), ignored);
}

}  // namespace qv3d
