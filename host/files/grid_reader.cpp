// Reads height maps from text: rows of numbers, with comment lines that may state extent and unit.
#include <QV_3D.h>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>

#include "failure.h"
#include "files/grid_file.h"
#include "files/number_lines.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr std::size_t kMostSamples = std::size_t{1} << 30;
constexpr const char* kAdvice = "A height map is rows of as many numbers each, with a decimal point.";

/// What the comment lines say, in metres; 0 where they say nothing.
struct Scales {
  double width = 0, height = 0, value = 0;
};

/// "10.00 µm" in metres; 0 where it is no length.
double LengthOf(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return 0;
  const auto used = static_cast<std::size_t>(end - text.data());
  return number * UnitInMetres(std::string(Trim(text.substr(used))));
}

Scales ScalesOf(const std::vector<std::string>& comments) {
  Scales scales;
  for (const std::string_view line : comments) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    const std::string_view key = Trim(line.substr(0, colon)), value = Trim(line.substr(colon + 1));
    if (key == "Width") scales.width = LengthOf(value);
    if (key == "Height") scales.height = LengthOf(value);
    if (key == "Value units") scales.value = UnitInMetres(std::string(value));
  }
  return scales;
}

void SetExtent(HeightMap& map, const Scales& scales, const std::string& unit, double spacing) {
  const double metres = UnitInMetres(unit);
  const auto step = [&](double extent, int samples) {
    if (spacing > 0) return spacing;
    return extent > 0 ? extent / metres / samples : 1.0;
  };
  map.xSize = static_cast<float>(step(scales.width, map.width) * (map.width - 1));
  map.ySize = static_cast<float>(step(scales.height, map.height) * (map.height - 1));
  if (scales.value > 0 && scales.value != metres) {
    ScaleArrayFloats(map.heights.data(), map.Count(), scales.value / metres);
  }
}

}  // namespace

bool IsGridFile(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".csv" || extension == ".txt";
}

HeightMap ReadGrid(const std::filesystem::path& path, const std::string& unit, double spacing) {
  NumberLines lines(path, kAdvice);
  HeightMap map;
  std::vector<double> row;
  while (lines.Next(row)) {
    if (map.height > 0 && row.size() != static_cast<std::size_t>(map.width)) {
      lines.Refuse(fmt::format("{} samples where the rows before have {}", row.size(), map.width));
    }
    if (map.heights.size() + row.size() > kMostSamples) lines.Refuse("more samples than can be held");
    for (const double number : row) {
      const auto height = static_cast<float>(number);
      map.heights.push_back(IsMissing(height) ? static_cast<float>(QV_BAD_SAMPLE) : height);
    }
    map.width = static_cast<int>(row.size());
    ++map.height;
  }
  if (map.width < 2 || map.height < 2) {
    throw Failure(ExitCode::kCorrupt, fmt::format("{}: {} x {} samples; a height map has at least 2 x 2",
                                                  path.string(), map.width, map.height));
  }
  SetExtent(map, ScalesOf(lines.comments()), unit, spacing);
  return map;
}

}  // namespace qv3d
