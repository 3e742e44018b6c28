// Reads profiles of one revolution from text.
#include <cmath>
#include <fmt/format.h>

#include "analysis/round_profile.h"
#include "failure.h"
#include "files/number_lines.h"

namespace qv3d {
namespace {

constexpr std::size_t kFewestSamples = 8;
constexpr std::size_t kMostSamples = std::size_t{1} << 24;

constexpr const char* kAdvice =
    "A profile is lines of a radius or deviation each, or of an angle in degrees and one, over one "
    "revolution.";

struct Columns {
  std::vector<double> angles, values;  ///< angles: empty, or one for every value
};

void AddLine(const NumberLines& lines, const std::vector<double>& numbers, Columns& columns) {
  const bool first = columns.values.empty(), hasAngle = numbers.size() == 2;
  if (numbers.size() > 2 || (!first && hasAngle != !columns.angles.empty())) {
    lines.Refuse(fmt::format("{} numbers", numbers.size()));
  }
  for (const double number : numbers) {
    if (!std::isfinite(number)) lines.Refuse("a sample is missing");
  }
  if (hasAngle) columns.angles.push_back(numbers.front());
  columns.values.push_back(numbers.back());
  if (columns.values.size() > kMostSamples) lines.Refuse("more samples than can be held");
}

[[noreturn]] void Refuse(const std::string& name, const std::string& what) {
  throw Failure(ExitCode::kCorrupt, fmt::format("{}: {}", name, what), kAdvice);
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
  NumberLines lines(path, kAdvice);
  Columns columns;
  for (std::vector<double> numbers; lines.Next(numbers);) AddLine(lines, numbers, columns);
  CheckAngles(path.string(), columns);
  if (columns.values.size() < kFewestSamples) {
    Refuse(path.string(),
           fmt::format("{} samples; a profile has at least {}", columns.values.size(), kFewestSamples));
  }
  return {std::move(columns.values), columns.angles.empty() ? 0 : columns.angles.front()};
}

}  // namespace qv3d
