// Text files of numbers: one record per line, whatever separates the numbers.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qv3d {

/// Reads a file line by line. Numbers are separated by commas, semicolons or white space; "nan", "-" and
/// empty fields between commas or semicolons are NaN. Empty lines are passed over. Numbers have a decimal
/// point, or a decimal comma where semicolons or white space separate them.
class NumberLines {
 public:
  /// Throws Failure (unreadable). `advice` says what such a file looks like, for the failures to come.
  NumberLines(const std::filesystem::path& path, std::string advice);

  /// The same for bytes that have been read already.
  NumberLines(const std::filesystem::path& path, std::string bytes, std::string advice);

  /// The numbers of the next line; false at the end of the file. Throws Failure (corrupt) on anything else,
  /// except that a first line of names is passed over.
  bool Next(std::vector<double>& numbers);

  /// The lines so far that began with "#", without it.
  const std::vector<std::string>& comments() const { return comments_; }

  /// Throws Failure (corrupt) about the current line.
  [[noreturn]] void Refuse(const std::string& what) const;

 private:
  void ReadFields(std::string_view line, std::vector<double>& numbers) const;

  std::string name_, advice_, bytes_;
  std::vector<std::string> comments_;
  std::size_t at_ = 0, line_ = 0;
  bool hadNumbers_ = false;
};

/// Without blanks at the ends.
std::string_view Trim(std::string_view text);

}  // namespace qv3d
