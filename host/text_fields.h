// Lines of numbers in text files, read independently of the locale.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace qv3d {

/// Without blanks, tabs and carriage returns at the ends.
inline std::string_view Trim(std::string_view text) {
  constexpr const char* kBlank = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// The number that the whole field is, with a decimal point; nothing where it is none.
inline std::optional<double> ParseNumber(std::string_view field) {
  if (!field.empty() && field.front() == '+') field.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
  if (error != std::errc() || end != field.data() + field.size()) return std::nullopt;
  return number;
}

/// Hands the trimmed fields of a trimmed line to `visit`: separated by semicolons where there is one, else by
/// commas, else by blanks and tabs, several of which separate as one does.
template <class Visit>
void ForEachField(std::string_view line, Visit visit) {
  const bool semicolons = line.find(';') != std::string_view::npos;
  const bool blanks = !semicolons && line.find(',') == std::string_view::npos;
  const std::string_view separators = semicolons ? ";" : blanks ? " \t" : ",";
  while (true) {
    const std::size_t end = line.find_first_of(separators);
    visit(Trim(line.substr(0, end)));
    if (end == std::string_view::npos) return;
    line.remove_prefix(end + 1);
    if (blanks) line = Trim(line);
  }
}

/// Hands the trimmed lines of a text and their numbers, from 1, to `visit`.
template <class Visit>
void ForEachLine(std::string_view text, Visit visit) {
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    visit(Trim(text.substr(0, end)), number);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

}  // namespace qv3d
