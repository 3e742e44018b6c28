// Rows of numbers as text, with comment lines that may state extent and unit.
#include <QV_3D.h>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <limits>

#include "files/number_lines.h"
#include "formats/readers.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr const char* kAdvice = "A height map is rows of as many numbers each.";
constexpr const char* kFirstRowOnTop = "# First row: top\n";

/// "10.00 µm" or "10,00 µm" in metres; 0 where it is no length.
double LengthOf(std::string text) {
  std::replace(text.begin(), text.end(), ',', '.');
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return 0;
  return number * UnitInMetres(std::string(Trim(end)));
}

/// What the comment lines say: the extent of all cells, the unit of the heights, where the first row lies.
void ApplyComments(const std::vector<std::string>& comments, FileGrid& grid) {
  for (const std::string_view line : comments) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    const std::string_view key = Trim(line.substr(0, colon)), value = Trim(line.substr(colon + 1));
    if (key == "Width") grid.spacingX = LengthOf(std::string(value)) / grid.width;
    if (key == "Height") grid.spacingY = LengthOf(std::string(value)) / grid.height;
    if (key == "Value units") grid.heightMetres = UnitOf(value, grid.foreignUnit);
    // Gwyddion's: it names the channel, and writes the row first that it shows on top.
    if (key == "Channel" && !grid.origin) grid.origin = Origin::kTop;
    if (key == "First row" && value == "top") grid.origin = Origin::kTop;
    if (key == "First row" && value == "bottom") grid.origin = Origin::kBottom;
  }
  if (grid.spacingX > 0 || grid.spacingY > 0) grid.lateralMetres = 1;
}

void AppendRow(const NumberLines& lines, const std::vector<double>& row, FileGrid& grid) {
  if (grid.height > 0 && row.size() != static_cast<std::size_t>(grid.width)) {
    lines.Refuse(fmt::format("{} samples where the rows before have {}", row.size(), grid.width));
  }
  for (const double number : row) {
    const bool missing = IsMissing(static_cast<float>(number));
    grid.values.push_back(missing ? std::numeric_limits<double>::quiet_NaN() : number);
  }
  grid.width = static_cast<int>(row.size());
  ++grid.height;
}

}  // namespace

FileGrid ReadTextMatrix(const std::string& name, std::string&& bytes) {
  NumberLines lines(name, std::move(bytes), kAdvice);
  FileGrid grid;
  grid.kind = "rows of numbers as text";
  for (std::vector<double> row; lines.Next(row);) AppendRow(lines, row, grid);
  SetSize(grid, name, grid.width, grid.height);
  ApplyComments(lines.comments(), grid);
  return grid;
}

std::string WriteTextMatrix(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  // The extent of all cells, as image programs state it: the reader gets the spacing back from it.
  std::string text = fmt::format("# Width: {:.12g} {}\n# Height: {:.12g} {}\n", map.width * map.SpacingX(),
                                 grid.unit, map.height * map.SpacingY(), grid.unit);
  if (grid.areHeights) text += fmt::format("# Value units: {}\n", grid.unit);
  if (grid.origin == Origin::kTop) text += kFirstRowOnTop;
  const auto out = std::back_inserter(text);
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int column = 0; column < map.width; ++column) {
      if (column > 0) text += ',';
      if (IsMissing(heights[column])) {
        text += "nan";
      } else {
        fmt::format_to(out, "{}", heights[column]);
      }
    }
    text += '\n';
  }
  return text;
}

}  // namespace qv3d
