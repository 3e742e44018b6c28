#include "plots/map_sheet.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {
namespace {

constexpr int kPanelWidth = 800;
constexpr int kLeastPanel = 64;

}  // namespace

std::pair<int, int> SheetSize(std::size_t count, const HeightMap& map) {
  // Beside the map itself there is room for the colour bar, above and below for title and scales.
  const double shape = double{map.ySize} / map.xSize;
  const int height = static_cast<int>(std::lround(std::clamp(0.68 * shape + 0.2, 0.35, 1.5) * kPanelWidth));
  return {static_cast<int>(count) * kPanelWidth, height};
}

Picture DrawMapSheet(const OffscreenContext& context, const std::vector<SheetMap>& maps, int width,
                     int height, const std::string& unit) {
  const int panel = width / static_cast<int>(maps.size());
  if (panel < kLeastPanel) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("{} maps do not fit side by side in {} pixels", maps.size(), width));
  }
  PictureOptions options;
  options.style = Style::kMap;
  options.width = panel;
  options.height = height;
  options.unit = unit;
  Picture sheet{Image(width, height), 1, true};
  for (std::size_t i = 0; i < maps.size(); ++i) {
    options.title = maps[i].title;
    // The last panel takes what the division left over.
    if (i + 1 == maps.size()) options.width = width - static_cast<int>(i) * panel;
    const Picture picture = DrawPicture(context, *maps[i].map, options);
    sheet.image.Paste(picture.image, static_cast<int>(i) * panel, 0);
    sheet.hasText = picture.hasText;
  }
  return sheet;
}

}  // namespace qv3d
