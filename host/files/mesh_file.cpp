#include "files/mesh_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <sys/stat.h>

#include "failure.h"

namespace qv3d {

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) {
  return text.size() == lower.size() &&
         std::equal(text.begin(), text.end(), lower.begin(), [](char a, char b) {
           return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
         });
}

bool ParseForgivingly(std::string_view word, double& value, bool& hasComma) {
  std::string copy;
  if (const std::size_t comma = word.find(','); comma != std::string_view::npos) {
    hasComma = true;
    copy = word;
    copy[comma] = '.';
    word = copy;
  }
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  // What a double cannot hold is far outside a float, whether it is huge or next to nothing.
  if (error == std::errc::result_out_of_range)
    value = word.find("e-") != word.npos || word.find("E-") != word.npos ? 0 : HUGE_VAL;
  return error != std::errc::invalid_argument && end == word.data() + word.size();
}

std::string ReadWholeFile(const std::filesystem::path& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", path.string(), std::strerror(errno)),
                  "Check the name and the permissions.");
  }
  if (!S_ISREG(info.st_mode)) {
    throw Failure(
        ExitCode::kUnreadable,
        fmt::format("{}: {}", path.string(), S_ISDIR(info.st_mode) ? "is a directory" : "is not a file"),
        "Name a file.");
  }
  std::ifstream file(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
  if (!file || !file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    throw Failure(ExitCode::kUnreadable,
                  fmt::format("{}: cannot be read ({})", path.string(), std::strerror(errno)),
                  "Check the permissions.");
  }
  return bytes;
}

double DoubledArea(const Triangle& t) {
  return (double{t[4]} - t[7]) * t[0] + (double{t[7]} - t[1]) * t[3] + (double{t[1]} - t[4]) * t[6];
}

}  // namespace qv3d
