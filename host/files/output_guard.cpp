#include "files/output_guard.h"

#include <fmt/format.h>
#include <system_error>

#include "failure.h"

namespace qv3d {
namespace {

std::filesystem::path Canonical(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::path canonical =
      std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
  return error ? path : canonical;
}

}  // namespace

void OutputGuard::Protect(const std::filesystem::path& path) {
  taken_.insert(Canonical(path));
}

void OutputGuard::Claim(const std::filesystem::path& path) {
  if (taken_.insert(Canonical(path)).second) return;
  throw Failure(
      ExitCode::kUsage,
      fmt::format("{}: this is one of the files to be read, or was written before", path.string()),
      "Give it another name; in those of qv3d pipe {stem} stands for the input's, without folder and "
      "extension.");
}

}  // namespace qv3d
