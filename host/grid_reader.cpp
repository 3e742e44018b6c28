// Reads height maps from text: rows of numbers, with comment lines that may state extent and unit.
#include <QV_3D.h>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <string_view>

#include "failure.h"
#include "grid_file.h"
#include "stl_file.h"
#include "text_fields.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr std::size_t kMostSamples = std::size_t{1} << 30;

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

void ReadComment(std::string_view line, Scales& scales) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view key = Trim(line.substr(1, colon - 1));
  const std::string_view value = Trim(line.substr(colon + 1));
  if (key == "Width") scales.width = LengthOf(value);
  if (key == "Height") scales.height = LengthOf(value);
  if (key == "Value units") scales.value = UnitInMetres(std::string(value));
}

struct Text {
  std::string name;
  std::size_t line = 0;

  [[noreturn]] void Refuse(const std::string& what) const {
    throw Failure(ExitCode::kCorrupt, fmt::format("{}, line {}: {}", name, line, what),
                  "A height map is rows of as many numbers each, with a decimal point.");
  }
};

float HeightOf(std::string_view field, const Text& text) {
  if (field.empty() || field == "-") return static_cast<float>(QV_BAD_SAMPLE);
  const std::optional<double> number = ParseNumber(field);
  if (!number) text.Refuse(fmt::format("\"{}\" is no number", field.substr(0, 40)));
  const auto height = static_cast<float>(*number);
  return IsMissing(height) ? static_cast<float>(QV_BAD_SAMPLE) : height;
}

/// Appends the line's heights and returns how many there are.
int ReadRow(std::string_view line, const Text& text, std::vector<float>& heights) {
  int count = 0;
  ForEachField(line, [&](std::string_view field) {
    if (heights.size() >= kMostSamples) text.Refuse("more samples than can be held");
    heights.push_back(HeightOf(field, text));
    ++count;
  });
  return count;
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
  const std::string bytes = ReadWholeFile(path);
  Text text{path.string()};
  HeightMap map;
  Scales scales;
  ForEachLine(bytes, [&](std::string_view line, std::size_t number) {
    text.line = number;
    if (line.empty()) return;
    if (line.front() == '#') {
      ReadComment(line, scales);
      return;
    }
    const int count = ReadRow(line, text, map.heights);
    if (map.height > 0 && count != map.width) {
      text.Refuse(fmt::format("{} samples where the rows before have {}", count, map.width));
    }
    map.width = count;
    ++map.height;
  });
  if (map.width < 2 || map.height < 2) {
    throw Failure(ExitCode::kCorrupt, fmt::format("{}: {} x {} samples; a height map has at least 2 x 2",
                                                  path.string(), map.width, map.height));
  }
  SetExtent(map, scales, unit, spacing);
  return map;
}

}  // namespace qv3d
