#include "drawing/picture_layout.h"

#include <algorithm>

namespace qv3d {

Layout::Layout(const PictureOptions& options)
    : width(options.width), height(options.height), unit(std::max(7, std::min(width / 64, height / 46))) {
  if (options.bare) {
    const double rim = 0.02 * std::min(width, height);
    plot = {rim, rim, width - 2 * rim, height - 2 * rim};
    return;
  }
  const bool hasBar = FactsOf(options.style).legend != Legend::kNone;
  const double left = 1.5 * unit, top = 5.5 * unit, bottom = 2.0 * unit,
               right = hasBar ? 9.5 * unit : 1.5 * unit;
  plot = {left, top, std::max(8.0, width - left - right), std::max(8.0, height - top - bottom)};
}

Camera CameraOf(const Surface& surface, const PictureOptions& options, const Layout& layout) {
  const Point &low = surface.low, &high = surface.high;
  std::vector<Point> corners;
  for (int i = 0; i < 8; ++i)
    corners.push_back({(i & 1 ? high : low)[0], (i & 2 ? high : low)[1], (i & 4 ? high : low)[2]});
  Rectangle area = layout.plot;
  if (!options.bare) {
    // Room for the numbers along the edges.
    area.left += 6 * layout.unit;
    area.width = std::max(8.0, area.width - 9.5 * layout.unit);
    area.top += 1.5 * layout.unit;
    area.height = std::max(8.0, area.height - 3.5 * layout.unit);
  }
  return {options.angles, corners, area, layout.width, layout.height};
}

PixelBox MapBox(const HeightMap& map, const PictureOptions& options, const Layout& layout) {
  Rectangle area = layout.plot;
  if (!options.bare) {
    area.top += 2 * layout.unit;
    area.height = std::max(8.0, area.height - 4.0 * layout.unit);
    area.left += 3.5 * layout.unit;
    area.width = std::max(8.0, area.width - 3.5 * layout.unit);
  }
  const double scale = std::min(area.width / map.xSize, area.height / map.ySize);
  const int width = std::max(1, static_cast<int>(map.xSize * scale));
  const int height = std::max(1, static_cast<int>(map.ySize * scale));
  return {static_cast<int>(area.left + (area.width - width) / 2), static_cast<int>(area.top), width, height};
}

}  // namespace qv3d
