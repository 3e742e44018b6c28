// Reads profiles of one revolution from text.
#include <array>
#include <cmath>
#include <fmt/format.h>

#include "failure.h"
#include "round_profile.h"
#include "stl_file.h"
#include "text_fields.h"

namespace qv3d {
namespace {

constexpr std::size_t kFewestSamples = 8;
constexpr std::size_t kMostSamples = std::size_t{1} << 24;

/// A file that cannot be used: `where` names it, and the line where there is one.
[[noreturn]] void Refuse(const std::string& where, const std::string& what) {
  throw Failure(
      ExitCode::kCorrupt, fmt::format("{}: {}", where, what),
      "A profile is lines of a radius or deviation each, or of an angle in degrees and one, over one "
      "revolution.");
}

struct Columns {
  std::size_t count = 0;  ///< of the first line; 0 before it
  std::vector<double> angles, values;
};

void AddLine(std::string_view line, const std::string& where, Columns& columns) {
  std::array<double, 2> numbers{};
  std::size_t count = 0, good = 0;
  ForEachField(line, [&](std::string_view field) {
    const std::optional<double> number = ParseNumber(field);
    if (number && std::isfinite(*number)) {
      ++good;
      if (count < numbers.size()) numbers[count] = *number;
    }
    ++count;
  });
  if (good == 0 && columns.count == 0) return;  // a heading
  if (good != count || count > numbers.size() || (columns.count != 0 && count != columns.count)) {
    Refuse(where, fmt::format("\"{}\" is not what a profile is made of", line.substr(0, 60)));
  }
  columns.count = count;
  if (count == numbers.size()) columns.angles.push_back(numbers[0]);
  columns.values.push_back(numbers[count - 1]);
  if (columns.values.size() > kMostSamples) Refuse(where, "more samples than can be held");
}

/// Drops a last sample that repeats the first, and checks that the others divide the turn evenly.
void CheckAngles(const std::string& name, Columns& columns) {
  std::vector<double>& angles = columns.angles;
  if (angles.size() < 2) return;
  const double step = angles[1] - angles[0];
  if (std::abs(angles.back() - angles.front() - 360) < 0.01 * step) {
    angles.pop_back();
    columns.values.pop_back();
  }
  const double even = 360.0 / static_cast<double>(angles.size());
  for (std::size_t i = 1; i < angles.size(); ++i) {
    const double expected = angles[0] + static_cast<double>(i) * even;
    if (std::abs(angles[i] - expected) > 0.05 * even) {
      Refuse(name, fmt::format("the angles do not rise in equal steps over one revolution: number {} is {:g} "
                               "degrees, not {:g}",
                               i + 1, angles[i], expected));
    }
  }
}

}  // namespace

RoundProfile ReadRoundProfile(const std::filesystem::path& path) {
  const std::string bytes = ReadWholeFile(path);
  Columns columns;
  ForEachLine(bytes, [&](std::string_view line, std::size_t number) {
    if (line.empty() || line.front() == '#') return;
    AddLine(line, fmt::format("{}, line {}", path.string(), number), columns);
  });
  CheckAngles(path.string(), columns);
  if (columns.values.size() < kFewestSamples) {
    Refuse(path.string(),
           fmt::format("{} samples; a profile has at least {}", columns.values.size(), kFewestSamples));
  }
  return {std::move(columns.values), columns.angles.empty() ? 0 : columns.angles.front()};
}

}  // namespace qv3d
