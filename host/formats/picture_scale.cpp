#include "formats/picture_scale.h"

#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "formats/key_values.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr double kHighestLevel = 65535;
constexpr const char* kMissingLevel = "0";

/// height = level * scale + offset; as the file has it, or nothing.
struct LevelScale {
  double scale = 1, offset = 0;
  bool known = false;
};

/// Notes of Gwyddion's pictures, "Gwy::XReal" and so on: the extent of all cells, and the heights of the
/// lowest and of the highest level that there can be.
LevelScale ApplyGwyddionNotes(const std::string& name, const KeyValues& notes, FileGrid& grid) {
  std::string foreign;
  grid.lateralMetres = UnitOf(notes.Text("gwyxyunit"), foreign);
  const double width = notes.Number("gwyxreal", 0), height = notes.Number("gwyyreal", 0);
  if (!foreign.empty() || width < 0 || height < 0) {
    RefuseCorrupt(name, fmt::format("the picture's notes state an extent of {:g} x {:g} \"{}\"", width,
                                    height, notes.Text("gwyxyunit").substr(0, 40)));
  }
  grid.spacingX = width / grid.width;
  grid.spacingY = height / grid.height;
  grid.x0 = notes.Number("gwyxoffset", 0) + grid.spacingX / 2;
  grid.y0 = notes.Number("gwyyoffset", 0) + grid.spacingY / 2;
  grid.heightMetres = UnitOf(notes.Text("gwyzunit"), grid.foreignUnit);
  const double low = notes.Number("gwyzmin"), high = notes.Number("gwyzmax");
  return {(high - low) / kHighestLevel, low, true};
}

void ApplyPlace(const std::string& name, const KeyValues& notes, FileGrid& grid) {
  std::string foreign;
  grid.lateralMetres = UnitOf(notes.Text("spacing unit"), foreign);
  grid.spacingX = notes.Number("spacing x", 0);
  grid.spacingY = notes.Number("spacing y", 0);
  if (!foreign.empty() || grid.spacingX < 0 || grid.spacingY < 0) {
    RefuseCorrupt(name, fmt::format("the picture's notes state a spacing of {:g} x {:g} \"{}\"",
                                    grid.spacingX, grid.spacingY, notes.Text("spacing unit").substr(0, 40)));
  }
  grid.x0 = notes.Number("first x", 0);
  grid.y0 = notes.Number("first y", 0);
}

LevelScale ApplyScale(const std::string& name, const KeyValues& notes, FileGrid& grid) {
  if (notes.Has("gwyzmin") && notes.Has("gwyzmax")) return ApplyGwyddionNotes(name, notes, grid);
  ApplyPlace(name, notes, grid);
  grid.heightMetres = UnitOf(notes.Text("height unit"), grid.foreignUnit);
  return {notes.Number("z scale", 1), notes.Number("z offset", 0), notes.Has("z scale")};
}

}  // namespace

GreyLevels LevelsOf(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  const auto [low, high] = HeightRange(map);
  GreyLevels grey;
  grey.scale = high > low ? (double{high} - low) / (kHighestLevel - 1) : 1;
  grey.offset = low - grey.scale;
  grey.levels.reserve(map.heights.size());
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int i = 0; i < map.width; ++i) {
      const double level = IsMissing(heights[i]) ? 0 : std::round((heights[i] - grey.offset) / grey.scale);
      grey.levels.push_back(static_cast<std::uint16_t>(level));
    }
  }
  return grey;
}

PictureNotes NotesOf(const GridToWrite& grid, const GreyLevels* levels) {
  PictureNotes notes;
  if (grid.areHeights) notes.emplace_back("Height unit", grid.unit);
  if (levels != nullptr) {
    notes.emplace_back("Z scale", fmt::format("{}", levels->scale));
    notes.emplace_back("Z offset", fmt::format("{}", levels->offset));
    notes.emplace_back("Missing level", kMissingLevel);
  }
  notes.emplace_back("Spacing unit", grid.unit);
  notes.emplace_back("Spacing x", fmt::format("{:.9g}", grid.map.SpacingX()));
  notes.emplace_back("Spacing y", fmt::format("{:.9g}", grid.map.SpacingY()));
  notes.emplace_back("First x", fmt::format("{}", grid.map.x0));
  notes.emplace_back("First y", fmt::format("{}", grid.map.y0));
  if (grid.origin == Origin::kBottom) notes.emplace_back("First row", "bottom");
  return notes;
}

void ApplyNotes(const std::string& name, const std::string& lines, bool areLevels, FileGrid& grid) {
  const KeyValues notes(name, lines, ':');
  const LevelScale level = ApplyScale(name, notes, grid);
  if (notes.Text("first row") == "bottom") grid.origin = Origin::kBottom;
  const bool hasMissing = notes.Has("missing level");
  const double missing = notes.Number("missing level", 0);
  grid.scaleMissing = areLevels && !level.known;
  for (double& value : grid.values) {
    value = hasMissing && value == missing ? std::numeric_limits<double>::quiet_NaN()
                                           : value * level.scale + level.offset;
  }
}

}  // namespace qv3d
