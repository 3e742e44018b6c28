#include "files/grid_file.h"

#include <QV_3D.h>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <string>
#include <vector>

#include "failure.h"
#include "plots/image.h"

namespace qv3d {
namespace {

std::string Csv(const HeightMap& map, const std::string& unit, bool isHeights) {
  // The extent of all cells, as image programs state it: the reader gets the spacing back from it.
  std::string text = fmt::format("# Width: {:.12g} {}\n# Height: {:.12g} {}\n", map.width * map.SpacingX(),
                                 unit, map.height * map.SpacingY(), unit);
  if (isHeights) text += fmt::format("# Value units: {}\n", unit);
  const auto out = std::back_inserter(text);
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      if (column > 0) text += ',';
      const float h = map.At(column, row);
      if (IsMissing(h)) {
        text += "nan";
      } else {
        fmt::format_to(out, "{}", h);
      }
    }
    text += '\n';
  }
  return text;
}

std::string Xyz(const HeightMap& map) {
  std::string text;
  for (int row = 0; row < map.height; ++row) {
    const double y = map.y0 + row * map.SpacingY();
    for (int column = 0; column < map.width; ++column) {
      const float h = map.At(column, row);
      if (IsMissing(h)) continue;
      fmt::format_to(std::back_inserter(text), "{:.9g} {:.9g} {}\n", map.x0 + column * map.SpacingX(), y, h);
    }
  }
  return text;
}

void WriteGrey(const std::filesystem::path& path, const HeightMap& map) {
  std::vector<float> levels = map.heights;
  float maximum, minimum;
  NormalizeArrayFloats(levels.data(), map.Count(), 255, 1, &maximum, &minimum, 0);
  std::vector<unsigned char> grey(levels.size(), 0);
  ConvertFloatsToBytes(levels.data(), grey.data(), map.Count());
  // Pictures begin at the top, height maps at the lowest y.
  const auto width = static_cast<std::ptrdiff_t>(map.width);
  for (std::ptrdiff_t low = 0, high = map.height - 1; low < high; ++low, --high) {
    std::swap_ranges(grey.begin() + low * width, grey.begin() + (low + 1) * width,
                     grey.begin() + high * width);
  }
  WriteGreyPng(path, grey, map.width, map.height);
}

}  // namespace

void RequireGridFormat(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  if (extension == ".csv" || extension == ".xyz" || extension == ".png") return;
  throw Failure(ExitCode::kUsage,
                fmt::format("{}: the output must end in .csv, .xyz or .png", path.string()));
}

void WriteGrid(const std::filesystem::path& path, const HeightMap& map, const std::string& unit) {
  const std::string extension = path.extension().string();
  if (extension == ".png") {
    WriteGrey(path, map);
  } else {
    WriteWholeFile(path, extension == ".csv" ? Csv(map, unit, true) : Xyz(map));
  }
}

void WriteGridOfNumbers(const std::filesystem::path& path, const HeightMap& map, const std::string& unit) {
  WriteWholeFile(path, Csv(map, unit, false));
}

}  // namespace qv3d
