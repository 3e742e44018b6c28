#include "files/number_lines.h"

#include <charconv>
#include <fmt/format.h>
#include <limits>

#include "failure.h"
#include "files/whole_file.h"

namespace qv3d {
namespace {

constexpr const char* kBlanks = " \t\r";

/// Whether blanks lie inside of what the commas separate, as in "1,5 2,5": then the commas are decimal ones.
bool HasDecimalCommas(std::string_view line) {
  while (true) {
    const std::size_t end = line.find(',');
    if (Trim(line.substr(0, end)).find_first_of(kBlanks) != std::string_view::npos) return true;
    if (end == std::string_view::npos) return false;
    line.remove_prefix(end + 1);
  }
}

/// The characters that separate the fields of a line, the first kind that it has.
std::string_view SeparatorsOf(std::string_view line) {
  if (line.find(';') != std::string_view::npos) return ";";
  if (line.find(',') != std::string_view::npos && !HasDecimalCommas(line)) return ",";
  return kBlanks;
}

bool ReadNumber(std::string_view field, double& number) {
  if (field.empty() || field == "-") {
    number = std::numeric_limits<double>::quiet_NaN();
    return true;
  }
  if (field.front() == '+') field.remove_prefix(1);
  std::string copy;
  if (const std::size_t comma = field.find(','); comma != std::string_view::npos) {
    copy = field;
    copy[comma] = '.';
    field = copy;
  }
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
  return error == std::errc() && end == field.data() + field.size();
}

/// Calls visit(field) until it returns false.
template <class Visit>
void ForEachField(std::string_view line, Visit visit) {
  const std::string_view separators = SeparatorsOf(line);
  while (true) {
    const std::size_t end = line.find_first_of(separators);
    if (!visit(Trim(line.substr(0, end))) || end == std::string_view::npos) return;
    line.remove_prefix(end + 1);
    // Several blanks separate as one does.
    if (separators == kBlanks) line = Trim(line);
  }
}

bool IsLineOfNames(std::string_view line) {
  bool names = true;
  ForEachField(line, [&](std::string_view field) {
    double number = 0;
    names = !ReadNumber(field, number);
    return names;
  });
  return names;
}

}  // namespace

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

NumberLines::NumberLines(const std::filesystem::path& path, std::string advice)
    : NumberLines(path, ReadWholeFile(path), std::move(advice)) {}

NumberLines::NumberLines(const std::filesystem::path& path, std::string bytes, std::string advice)
    : name_(path.string()), advice_(std::move(advice)), bytes_(std::move(bytes)) {
  // Spreadsheets begin a text in UTF-8 with it.
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (bytes_.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0) at_ = kByteOrderMark.size();
}

void NumberLines::Refuse(const std::string& what) const {
  throw Failure(ExitCode::kCorrupt, fmt::format("{}, line {}: {}", name_, line_, what), advice_);
}

void NumberLines::ReadFields(std::string_view line, std::vector<double>& numbers) const {
  ForEachField(line, [&](std::string_view field) {
    if (!ReadNumber(field, numbers.emplace_back())) {
      Refuse(fmt::format("\"{}\" is no number", field.substr(0, 40)));
    }
    return true;
  });
}

bool NumberLines::Next(std::vector<double>& numbers) {
  numbers.clear();
  const std::string_view all = bytes_;
  while (at_ < all.size()) {
    const std::size_t end = std::min(all.find('\n', at_), all.size());
    const std::string_view line = Trim(all.substr(at_, end - at_));
    at_ = end + 1;
    ++line_;
    if (line.empty()) continue;
    if (line.front() == '#') {
      comments_.emplace_back(line.substr(1));
    } else if (hadNumbers_ || !IsLineOfNames(line)) {
      ReadFields(line, numbers);
      hadNumbers_ = true;
      return true;
    } else {
      hadNumbers_ = true;  // a second line of names is an error
    }
  }
  return false;
}

}  // namespace qv3d
